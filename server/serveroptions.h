#pragma once

// The server's settings, from its command line.

#include <QHostAddress>
#include <QString>
#include <QStringList>

struct ServerOptions
{
    QHostAddress listenAddress = QHostAddress::LocalHost;
    quint16 port = 8750;
    QString dataDir;
    QString databaseUrl;   // empty: SQLite in dataDir
    QString mailDir;       // empty: dataDir/mail
    qint64 accessTokenSeconds = 900;
    qint64 refreshTokenDays = 30;
    qint64 monthlyQuotaBytes = 0; // 0: no limit
    qint64 relayAllowanceBytes = 0; // bytes one relay may carry; 0: only the monthly quota
    qint64 relayRateBytes = 0;      // bytes per second one relay may carry; 0: no limit
    QString publicUrl;              // the address guests are sent to; empty: the request's Host

    enum class Parsed { Run, Exit, Error };
    // Reads `arguments` (argv). --help and --version print and give Exit; a bad
    // option gives Error with `error` set.
    static Parsed parse(const QStringList &arguments, ServerOptions *options, QString *error);
    // "ADDR:PORT", "[v6]:PORT" or ":PORT"; false when not of that form.
    static bool parseListen(const QString &text, QHostAddress *address, quint16 *port);
};
