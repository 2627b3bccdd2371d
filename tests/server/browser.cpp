#include "browser.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

Browser::~Browser()
{
    if (process.state() != QProcess::NotRunning) {
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
        process.waitForFinished(5000);
    }
}

QString Browser::executable()
{
    return QStandardPaths::findExecutable(QStringLiteral("chromium"));
}

bool Browser::start(const QString &executable, const QString &url, QString *why)
{
    process.start(executable, {QStringLiteral("--headless=new"), QStringLiteral("--no-sandbox"),
                               QStringLiteral("--disable-gpu"), QStringLiteral("--no-first-run"),
                               QStringLiteral("--remote-debugging-port=0"),
                               QStringLiteral("--window-size=1280,760"),
                               QStringLiteral("--user-data-dir=") + profile.path(),
                               QStringLiteral("about:blank")});
    static const QRegularExpression listening(QStringLiteral("DevTools listening on (ws://\\S+)"));
    QByteArray err;
    QString endpoint;
    const bool up = QTest::qWaitFor(
        [&]() {
            err += process.readAllStandardError();
            endpoint = listening.match(QString::fromUtf8(err)).captured(1);
            return !endpoint.isEmpty() || process.state() == QProcess::NotRunning;
        },
        30000);
    if (!up || endpoint.isEmpty()) {
        *why = QStringLiteral("Chromium did not start: ") + QString::fromUtf8(err.left(500));
        return false;
    }
    QObject::connect(&devtools, &QWebSocket::textMessageReceived, [this](const QString &text) {
        const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
        if (message.contains(QStringLiteral("id")))
            replies.insert(message.value(QStringLiteral("id")).toInt(), message);
    });
    devtools.open(QUrl(endpoint));
    if (!QTest::qWaitFor([this]() { return devtools.state() == QAbstractSocket::ConnectedState; },
                         10000)) {
        *why = QStringLiteral("The DevTools socket did not open.");
        return false;
    }
    const QString target = call(QStringLiteral("Target.createTarget"), {{QStringLiteral("url"), url}})
                               .value(QStringLiteral("targetId"))
                               .toString();
    session = call(QStringLiteral("Target.attachToTarget"),
                   {{QStringLiteral("targetId"), target}, {QStringLiteral("flatten"), true}})
                  .value(QStringLiteral("sessionId"))
                  .toString();
    if (session.isEmpty())
        *why = QStringLiteral("Chromium opened no page.");
    return !session.isEmpty();
}

QJsonObject Browser::call(const QString &method, const QJsonObject &params)
{
    const int id = ++lastId;
    QJsonObject message{{QStringLiteral("id"), id},
                        {QStringLiteral("method"), method},
                        {QStringLiteral("params"), params}};
    if (!session.isEmpty())
        message.insert(QStringLiteral("sessionId"), session);
    devtools.sendTextMessage(QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
    if (!QTest::qWaitFor([&]() { return replies.contains(id); }, 20000))
        return {};
    return replies.take(id).value(QStringLiteral("result")).toObject();
}

QJsonValue Browser::eval(const QString &expression)
{
    return call(QStringLiteral("Runtime.evaluate"),
                {{QStringLiteral("expression"), expression}, {QStringLiteral("returnByValue"), true}})
        .value(QStringLiteral("result"))
        .toObject()
        .value(QStringLiteral("value"));
}

bool Browser::waitUntil(const QString &expression, int timeoutMs)
{
    return QTest::qWaitFor([&]() { return eval(expression).toBool(); }, timeoutMs);
}

QByteArray Browser::screenshotPng()
{
    const QByteArray png = QByteArray::fromBase64(
        call(QStringLiteral("Page.captureScreenshot"), {{QStringLiteral("format"), QStringLiteral("png")}})
            .value(QStringLiteral("data"))
            .toString()
            .toLatin1());
    return png.startsWith("\x89PNG") ? png : QByteArray();
}
