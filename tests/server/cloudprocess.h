#pragma once

// A velmora-cloud started by a test on a free loopback port with its own data folder,
// and a plain HTTP client for it.

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

class QNetworkAccessManager;

class CloudProcess
{
public:
    struct Reply
    {
        int status = 0;          // HTTP status; 0 when no reply came
        QJsonObject json;        // the body, when it was a JSON object
        QByteArray raw;
    };

    CloudProcess();
    ~CloudProcess();

    // Starts the server with `extraArguments` after --listen and --data. False with
    // `why` set when it does not come up.
    bool start(const QStringList &extraArguments, QString *why);
    void stop();
    bool isRunning() const;
    QString dataDir() const;
    // "http://127.0.0.1:PORT", the base URL the app is pointed at.
    QString baseUrl() const;
    // The code of the newest registration mail to `email`, read from its last line.
    QString mailedCode(const QString &email) const;
    // What the server wrote on stderr so far.
    QByteArray log();

    // `token` is sent as the bearer token, or, for a relay guest's "rgt_..." token, as
    // X-Relay-Guest-Token.
    Reply call(const QByteArray &method, const QString &path, const QByteArray &body = {},
               const QString &token = {});
    Reply call(const QByteArray &method, const QString &path, const QJsonObject &body,
               const QString &token = {});

private:
    QTemporaryDir dir;
    std::unique_ptr<QProcess> process;
    std::unique_ptr<QNetworkAccessManager> network;
    QByteArray errors;
    quint16 port = 0;
};
