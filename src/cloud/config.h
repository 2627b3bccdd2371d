#pragma once

// Where the cloud features find their server: the base URL the user entered in the
// settings page ("Cloud server"), such as "https://cloud.example.com". Empty means no
// server, and the cloud stays off.

#include <QCoreApplication>
#include <QString>

class QSettings;

class Config
{
    Q_DECLARE_TR_FUNCTIONS(Config)

public:
    // The key in the application's settings.
    static QString dasHostKey();
    // The stored base URL, cleaned as normalizeHostAddress leaves it; empty when unset or
    // unusable.
    static QString dasHostAddress();
    static QString dasHostAddress(const QSettings &settings);
    static void setDasHostAddress(QSettings &settings, const QString &address);

    // Cleans an entered address: blanks trimmed, a trailing "/" or "/api/v3" dropped.
    // Empty input is valid (no server). Anything but an http or https URL with a host
    // and no query is refused with `error` (may be null) saying why.
    static bool normalizeHostAddress(const QString &text, QString *normalized, QString *error);
};
