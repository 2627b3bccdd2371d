#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "support/testsupport.h"

#include <QJsonDocument>
#include <QNetworkReply>
#include <QPointer>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// A server that answers every request with the same bytes (or never, when they are
// empty) and keeps what it was sent.
class CannedServer : public QTcpServer
{
public:
    explicit CannedServer(QByteArray answer)
        : answer(std::move(answer))
    {
        listen(QHostAddress::LocalHost, 0);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    received += socket->readAll();
                    if (!this->answer.isEmpty() && received.contains("\r\n\r\n") &&
                        bodyComplete()) {
                        socket->write(this->answer);
                        socket->disconnectFromHost();
                    }
                });
            }
        });
    }
    QString base() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }
    bool bodyComplete() const
    {
        const qsizetype head = received.indexOf("\r\n\r\n");
        const QRegularExpression length(QStringLiteral("(?i)content-length:\\s*(\\d+)"));
        const auto match = length.match(QString::fromLatin1(received.left(head)));
        return !match.hasMatch() || received.size() - head - 4 >= match.captured(1).toLongLong();
    }
    QByteArray received;

private:
    QByteArray answer;
};

QByteArray http(int status, const QByteArray &reason, const QByteArray &type,
                const QByteArray &body)
{
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + reason + "\r\nContent-Type: " + type +
           "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\nConnection: close\r\n\r\n" + body;
}

QStringList logLines;
void keepLog(QtMsgType, const QMessageLogContext &, const QString &message)
{
    logLines << message;
}

} // namespace

class NetworkServicesTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void replies_data();
    void replies();
    void requestHeaders_data();
    void requestHeaders();
    void logsCarryNoSecrets();

private:
    QTemporaryDir settingsDir;
};

void NetworkServicesTest::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    PrivacyConsent::grant();
}

void NetworkServicesTest::replies_data()
{
    QTest::addColumn<QByteArray>("answer"); // empty: the server never answers
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("signal"); // the one signal expected, or "none"
    QTest::addColumn<QString>("text");   // networkError's message, or the peek code

    const QByteArray html = "<html><body><h1>Bad Gateway</h1></body></html>";
    const QString internal =
        QStringLiteral("The server encountered an internal error. Please try again later.");
    QTest::newRow("502 html") << http(502, "Bad Gateway", "text/html", html) << false
                              << "account" << "networkError" << internal;
    QTest::newRow("500 empty") << http(500, "Internal Server Error", "text/plain", "") << false
                               << "sync" << "networkError" << internal;
    QTest::newRow("404 html") << http(404, "Not Found", "text/html", html) << false << "console"
                              << "networkError"
                              << "The server does not offer this feature yet. The service may "
                                 "be under maintenance or being upgraded; please try again later "
                                 "or check for a newer version.";
    QTest::newRow("401 html") << http(401, "Unauthorized", "text/html", html) << false << "sync"
                              << "networkError"
                              << "The server declined the request. Please sign in again and retry.";
    QTest::newRow("429 text") << http(429, "Too Many Requests", "text/plain", "slow down") << false
                              << "account" << "networkError"
                              << "The server rejected the request (HTTP 429). Please try again "
                                 "later.";
    QTest::newRow("200 garbage") << http(200, "OK", "application/json", "\x01\xff{not json")
                                 << false << "quota" << "networkError"
                                 << "The server returned an unexpected response. Please try "
                                    "again later.";
    QTest::newRow("200 array") << http(200, "OK", "application/json", "[1,2]") << false << "sync"
                               << "networkError"
                               << "The server returned an unexpected response. Please try "
                                  "again later.";
    QTest::newRow("500 json with type") << http(500, "Internal Server Error", "application/json",
                                                R"({"type":"Account ","status":false})")
                                        << false << "account" << "accountResponse" << "";
    QTest::newRow("403 json relay") << http(403, "Forbidden", "application/json",
                                            R"({"type":"relay","status":false})")
                                    << false << "relay" << "relayResponse" << "";
    QTest::newRow("500 json without type")
        << http(500, "Internal Server Error", "application/json", R"({"status":false})") << false
        << "sync" << "networkError" << internal;
    QTest::newRow("200 json without type")
        << http(200, "OK", "application/json", R"({"status":true})") << false << "sync" << "none"
        << "";
    QTest::newRow("200 unknown type")
        << http(200, "OK", "application/json", R"({"type":"weather"})") << false << "sync" << "none"
        << "";
    QTest::newRow("relay peek") << http(200, "OK", "application/json", R"({"type":"relay"})")
                                << false << "relaypeek:AB12CD" << "relayPeekResponse" << "AB12CD";
    QTest::newRow("relay operation") << http(200, "OK", "application/json", R"({"type":"relay"})")
                                     << false << "relayop:open" << "relayOperationResponse" << "";
    QTest::newRow("share overview") << http(200, "OK", "application/json", R"({"type":"relay"})")
                                    << false << "shareall" << "relayShareOverviewResponse" << "";
    QTest::newRow("sync reply") << http(409, "Conflict", "application/json", R"({"type":"sync"})")
                                << false << "sync" << "syncResponse" << "";
    QTest::newRow("no answer in time")
        << QByteArray() << false << "account" << "networkError"
        << "The server did not respond in time. Please check your network connection and try "
           "again.";
    QTest::newRow("connection refused")
        << QByteArray() << true << "sync" << "networkError"
        << "Could not connect to the server. Please check your network connection and try again.";
}

void NetworkServicesTest::replies()
{
    // Whatever a server sends, the feature that asked hears exactly one thing: its
    // reply when it is JSON with a type (whatever the status), otherwise one
    // networkError with the sentence for what went wrong.
    QFETCH(QByteArray, answer);
    QFETCH(bool, refused);
    QFETCH(QString, tag);
    QFETCH(QString, signal);
    QFETCH(QString, text);

    CannedServer server(answer);
    NetworkServices net;
    net.setHostAddress(refused
                           ? QStringLiteral("http://127.0.0.1:%1").arg(testsupport::closedTcpPort())
                           : server.base());
    net.setTransferTimeout(400);

    QStringList heard;
    QString message;
    QString detail;
    const auto note = [&heard](const char *name) { return [&heard, name] { heard << QLatin1String(name); }; };
    connect(&net, &NetworkServices::accountResponse, this, note("accountResponse"));
    connect(&net, &NetworkServices::syncResponse, this, note("syncResponse"));
    connect(&net, &NetworkServices::relayResponse, this, note("relayResponse"));
    connect(&net, &NetworkServices::relayOperationResponse, this, note("relayOperationResponse"));
    connect(&net, &NetworkServices::relayShareOverviewResponse, this,
            note("relayShareOverviewResponse"));
    connect(&net, &NetworkServices::cloudQuotaResponse, this, note("cloudQuotaResponse"));
    connect(&net, &NetworkServices::relayPeekResponse, this,
            [&](const QJsonObject &, const QString &code) {
                heard << QStringLiteral("relayPeekResponse");
                message = code;
            });
    connect(&net, &NetworkServices::networkError, this,
            [&](const QString &errorTag, const QString &m, const QString &d) {
                heard << QStringLiteral("networkError");
                QCOMPARE(errorTag, tag);
                message = m;
                detail = d;
            });

    QPointer<QNetworkReply> reply =
        net.get(QUrl(net.hostAddress() + QStringLiteral("/api/v3/x")), tag, QString());
    QVERIFY(reply);
    QTRY_VERIFY_WITH_TIMEOUT(reply.isNull(), 15000);
    QCOMPARE(heard, signal == QLatin1String("none") ? QStringList() : QStringList{signal});
    if (!text.isEmpty()) {
        QCOMPARE(message, text);
    }
    if (QTest::currentDataTag() == QByteArray("502 html")) {
        QVERIFY2(detail.contains(QStringLiteral("HTTP status: 502 Bad Gateway")), qPrintable(detail));
        QVERIFY(detail.startsWith(QStringLiteral("URL: ") + server.base()));
    }
}

void NetworkServicesTest::requestHeaders_data()
{
    QTest::addColumn<int>("language");
    QTest::addColumn<QByteArray>("acceptLanguage");
    QTest::newRow("Chinese chosen") << 1 << QByteArray("zh-CN,zh;q=0.9,en;q=0.8");
    QTest::newRow("English chosen") << 2 << QByteArray("en");
    QVERIFY(NetworkServices::acceptLanguage(0, QStringLiteral("zh_CN")).startsWith("zh-CN"));
    QCOMPARE(NetworkServices::acceptLanguage(0, QStringLiteral("de_DE")), QByteArray("en"));
}

void NetworkServicesTest::requestHeaders()
{
    // The language, the bearer token and the JSON body travel as the server reads them.
    QFETCH(int, language);
    QFETCH(QByteArray, acceptLanguage);
    QSettings().setValue(QStringLiteral("ValueL"), language);
    CannedServer server(http(200, "OK", "application/json", R"({"type":"sync","status":true})"));
    NetworkServices net;
    net.setHostAddress(server.base() + QStringLiteral("/api/v3/"));
    QSignalSpy replies(&net, &NetworkServices::syncResponse);
    net.putSyncItem(QStringLiteral("vat_token1"), QStringLiteral("settings.session"),
                    QStringLiteral("default"), 7, {{QStringLiteral("a"), 1}});
    QVERIFY(replies.wait(10000));

    const QByteArray request = server.received;
    QVERIFY2(request.startsWith("PUT /api/v3/sync/items/settings.session/default HTTP/1.1\r\n"),
             request.constData());
    const QByteArray head = request.left(request.indexOf("\r\n\r\n")).toLower();
    QVERIFY(head.contains("\r\naccept-language: " + acceptLanguage.toLower() + "\r\n"));
    QVERIFY(head.contains("\r\nauthorization: bearer vat_token1\r\n"));
    QVERIFY(head.contains("\r\ncontent-type: application/json\r\n"));
    const QJsonObject body =
        QJsonDocument::fromJson(request.mid(request.indexOf("\r\n\r\n") + 4)).object();
    QCOMPARE(body.value(QStringLiteral("base_revision")).toInt(), 7);
    QCOMPARE(body.value(QStringLiteral("payload")).toObject().value(QStringLiteral("a")).toInt(), 1);
    QSettings().remove(QStringLiteral("ValueL"));
}

void NetworkServicesTest::logsCarryNoSecrets()
{
    // Every call that carries a secret, against a server whose error page echoes
    // secrets back: the log has the calls and the failures, never the secrets.
    const QByteArray page = "<html>token=vrt_echoed1 {\"access_token\": \"vat_echoed2\"} "
                            "Authorization: Bearer vat_echoed3 passcode=PASS77</html>";
    CannedServer server(http(502, "Bad Gateway", "text/html", page));
    NetworkServices net;
    net.setHostAddress(server.base());
    QSignalSpy errors(&net, &NetworkServices::networkError);
    logLines.clear();
    const QtMessageHandler previous = qInstallMessageHandler(keepLog);
    QLoggingCategory::setFilterRules(QStringLiteral("vlm.cloud.info=true"));
    net.loginAccount(QStringLiteral("a@example.com"), QStringLiteral("pw-secret-1"),
                     QStringLiteral("cid"), QStringLiteral("pc"), QStringLiteral("1"));
    net.registerAccount(QStringLiteral("a@example.com"), QStringLiteral("A"),
                        QStringLiteral("pw-secret-1"), QStringLiteral("428913"),
                        QStringLiteral("cid"), QStringLiteral("pc"), QStringLiteral("1"));
    net.refreshAccountToken(QStringLiteral("vrt_stored9"), QStringLiteral("cid"));
    net.relayPeekShare(QStringLiteral("INVITE9"));
    net.relayJoin(QStringLiteral("INVITE9"), QStringLiteral("PASS77"), QStringLiteral("guest"));
    net.relayCloseGuestSession(QStringLiteral("5"), QStringLiteral("gst_guest1"));
    net.get(QUrl(server.base() + QStringLiteral("/api/v3/x?ticket=tk_ticket1&cid=c1")),
            QStringLiteral("relay"), QStringLiteral("vat_bearer1"));
    QTRY_COMPARE_WITH_TIMEOUT(errors.size(), 7, 20000);
    qInstallMessageHandler(previous);

    const QString log = logLines.join(u'\n');
    QVERIFY2(log.contains(QStringLiteral("/api/v3/account/login")), qPrintable(log));
    QVERIFY(log.contains(QStringLiteral("Bad Gateway")));
    for (const char *secret : {"pw-secret-1", "428913", "vrt_stored9", "INVITE9", "PASS77",
                               "gst_guest1", "tk_ticket1", "vat_bearer1", "vrt_echoed1",
                               "vat_echoed2", "vat_echoed3"}) {
        QVERIFY2(!log.contains(QLatin1String(secret)), secret);
    }
    for (const QVariantList &error : std::as_const(errors)) {
        QVERIFY(!error.at(2).toString().contains(QLatin1String("INVITE9")));
    }
}

QTEST_MAIN(NetworkServicesTest)
#include "tst_networkservices.moc"
