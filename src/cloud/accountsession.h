#pragma once

// The signed-in state of this computer: who, the short-lived access token (in memory
// only) and the refresh token (stored only with "remember me", as "AccountRefreshToken").
// The profile is kept in "AccountUserId", "AccountEmail", "AccountUsername" and
// "AccountRememberMe".

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QString>

class NetworkServices;

class AccountSession : public QObject
{
    Q_OBJECT
public:
    // A refresh attempt younger than this is not repeated.
    static constexpr int RefreshRetryMs = 15000;
    // An access token this close to its expiry no longer counts.
    static constexpr int ExpiryMarginSeconds = 30;

    // The program's session: the application's settings and network client.
    static AccountSession *instance();
    // A session of its own over `network`, keeping its keys in `settingsFile` (the
    // application's settings when empty).
    AccountSession(NetworkServices *network, const QString &settingsFile,
                   QObject *parent = nullptr);

    bool isSignedIn() const;
    bool hasRefreshToken() const { return !refreshTokenValue.isEmpty(); }
    // Asks for a new token pair unless one was asked for under RefreshRetryMs ago;
    // true while a refresh is under way.
    bool requestTokenRefresh(const QString &cid);
    bool tokenRefreshPending() const;
    // The user name, else the email; empty when signed out.
    QString displayName() const;
    // Takes a token-issuing reply: user, access_token, refresh_token (the old one stays
    // when absent) and expires_in; stores the profile and signals changed().
    void applyLoginResponse(const QJsonObject &object);
    void clear();
    // Ends the sign-in on the server (while it can still be reached) and here.
    void signOut();
    void setRememberSession(bool remember);
    bool rememberSession() const { return remember; }
    void setUpRemaining(qint64 bytes, bool exhausted);
    void clearQuota();

    QString accessToken() const { return accessTokenValue; }
    QString refreshToken() const { return refreshTokenValue; }
    QDateTime accessExpiry() const { return expiresAt; }
    qint64 userId() const { return userIdValue; }
    QString email() const { return emailValue; }
    QString username() const { return usernameValue; }
    QString settingsFile() const { return file; }
    NetworkServices *network() const { return net; }
    bool quotaKnown() const { return upKnown; }
    bool quotaExhausted() const { return upExhausted; }
    qint64 upRemaining() const { return upRemainingBytes; }

signals:
    void changed();
    // A refresh ended: signed in again, or not with the server's or the network's reason.
    void refreshFinished(bool ok, const QString &text);

private:
    void onAccountResponse(const QJsonObject &object);
    void onNetworkError(const QString &tag, const QString &message);
    void storeProfile();
    void storeRefreshToken();

    NetworkServices *net = nullptr;
    QString file;
    qint64 userIdValue = 0;
    QString emailValue;
    QString usernameValue;
    QString accessTokenValue;
    QDateTime expiresAt;
    QString refreshTokenValue;
    bool remember = false;
    QElapsedTimer refreshAsked;
    bool refreshAnswered = true;
    bool upKnown = false;
    bool upExhausted = false;
    qint64 upRemainingBytes = 0;
};
