#pragma once

// The user's consent to online features, the gate on every request but the release
// check. Kept in the application's settings: "PrivacyConsentVersion" (1 when given),
// "PrivacyConsentAt" (when, UTC) and "PrivacyConsentAsked" (1 once asked; kept when the
// consent is withdrawn).

#include <QObject>

class QUrl;

class PrivacyConsent
{
public:
    static constexpr int CurrentVersion = 1;

    static bool given();
    // Given, or the URL is the release check (path exactly /api/v3/releases/latest).
    static bool allowsUrl(const QUrl &url);
    // Stores the consent and its time; signals granted().
    static void grant();
    // Signals withdrawing() while the consent still holds, so that listeners can still
    // sign out on the server, then removes it.
    static void withdraw();
    static bool shouldAskOnStartup();
    static void markAsked();
};

// Tells the program when the consent comes and goes.
class PrivacyConsentEvents : public QObject
{
    Q_OBJECT
public:
    static PrivacyConsentEvents *instance();

signals:
    void granted();
    void withdrawing();

private:
    PrivacyConsentEvents() = default;
};
