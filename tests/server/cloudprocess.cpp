#include "cloudprocess.h"

#include "cloudbinary.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSignalSpy>

CloudProcess::CloudProcess()
    : network(std::make_unique<QNetworkAccessManager>())
{
}

CloudProcess::~CloudProcess()
{
    stop();
}

QString CloudProcess::dataDir() const
{
    return dir.filePath(QStringLiteral("data"));
}

QString CloudProcess::baseUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(port);
}

bool CloudProcess::start(const QStringList &extraArguments, QString *why)
{
    process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_LOGGING_RULES"));
    process->setProcessEnvironment(environment);
    process->start(QStringLiteral(VELMORA_CLOUD_BINARY),
                   QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                               QStringLiteral("--data"), dataDir()}
                       + extraArguments);
    static const QRegularExpression listening(QStringLiteral("listening on http://[^:]+:(\\d+)"));
    QByteArray out;
    const QDeadlineTimer deadline(30000);
    while (!deadline.hasExpired() && process->state() != QProcess::NotRunning) {
        process->waitForReadyRead(200);
        out += process->readAllStandardOutput();
        const auto match = listening.match(QString::fromUtf8(out));
        if (match.hasMatch()) {
            port = quint16(match.captured(1).toUInt());
            return true;
        }
    }
    *why = QStringLiteral("velmora-cloud did not start: ")
           + QString::fromUtf8(out + process->readAllStandardError());
    return false;
}

void CloudProcess::stop()
{
    if (process && process->state() != QProcess::NotRunning) {
        process->terminate();
        if (!process->waitForFinished(10000))
            process->kill();
        process->waitForFinished(5000);
    }
}

bool CloudProcess::isRunning() const
{
    return process && process->state() == QProcess::Running;
}

QString CloudProcess::mailedCode(const QString &email) const
{
    QFile mail(dir.filePath(QStringLiteral("data/mail/")) + email);
    if (!mail.open(QIODevice::ReadOnly))
        return {};
    const QList<QByteArray> lines = mail.readAll().trimmed().split('\n');
    return QString::fromUtf8(lines.last().trimmed());
}

QByteArray CloudProcess::log()
{
    if (process)
        errors += process->readAllStandardError();
    return errors;
}

CloudProcess::Reply CloudProcess::call(const QByteArray &method, const QString &path,
                                       const QByteArray &body, const QString &token)
{
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    if (token.startsWith(u"rgt_"))
        request.setRawHeader("X-Relay-Guest-Token", token.toUtf8());
    else if (!token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    std::unique_ptr<QNetworkReply> reply(
        network->sendCustomRequest(request, method, body));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    if (!reply->isFinished())
        finished.wait(30000);
    Reply result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.raw = reply->readAll();
    result.json = QJsonDocument::fromJson(result.raw).object();
    return result;
}

CloudProcess::Reply CloudProcess::call(const QByteArray &method, const QString &path,
                                       const QJsonObject &body, const QString &token)
{
    return call(method, path, QJsonDocument(body).toJson(QJsonDocument::Compact), token);
}
