#include "app/mainwindow.h"
#include "cloud/accountsession.h"
#include "cloud/config.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloudprocess.h"

#include <QDir>
#include <QDirIterator>
#include <QLabel>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QStringList logLines;
void keepLog(QtMsgType, const QMessageLogContext &, const QString &message)
{
    logLines << message;
}

// Every byte the server keeps: the store and its journal files.
QByteArray storeBytes(const QString &dir)
{
    QByteArray all;
    QDirIterator it(dir, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        if (!it.filePath().contains(QLatin1String("/mail/")) && file.open(QIODevice::ReadOnly)) {
            all += file.readAll();
        }
    }
    return all;
}

QJsonObject waitForAccountReply(NetworkServices &net)
{
    QSignalSpy replies(&net, &NetworkServices::accountResponse);
    if (!replies.wait(30000)) {
        return {};
    }
    return replies.first().first().toJsonObject();
}

int countOf(const QByteArray &log, const QByteArray &what)
{
    return int(log.count(what));
}

} // namespace

class CloudAccountTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void session_data();
    void session();
    void expiry_data();
    void expiry();
    void onlyReleaseCheckWithoutConsent();
    void windowSignsOutOnWithdrawal();

private:
    QTemporaryDir settingsDir;
    CloudProcess server;
};

void CloudAccountTest::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    QString why;
    QVERIFY2(server.start({}, &why), qPrintable(why));
    PrivacyConsent::grant();
}

void CloudAccountTest::cleanupTestCase()
{
    server.stop();
}

void CloudAccountTest::session_data()
{
    QTest::addColumn<bool>("remember");
    QTest::newRow("without remember me") << false;
    QTest::newRow("remember me") << true;
}

void CloudAccountTest::session()
{
    // Register with the mailed code, sign out, log in, refresh, sign out: the server
    // takes each step, and no token lands anywhere in clear but the refresh token of a
    // remembered session in the profile.
    QFETCH(bool, remember);
    const QString email = QStringLiteral("user%1@example.com").arg(remember ? 1 : 0);
    const QString password = QStringLiteral("correct horse %1").arg(remember);
    const QString profile = settingsDir.filePath(QStringLiteral("profile%1.ini").arg(remember));
    NetworkServices net;
    net.setHostAddress(server.baseUrl());
    AccountSession account(&net, profile);
    account.setRememberSession(remember);
    QSettings profileSettings(profile, QSettings::IniFormat);
    const QString cid = DeviceIdentity::cid(profileSettings);
    profileSettings.sync();

    logLines.clear();
    const QtMessageHandler previous = qInstallMessageHandler(keepLog);
    QStringList secrets{password};

    net.sendRegisterCode(email);
    QVERIFY(waitForAccountReply(net).value(QStringLiteral("status")).toBool());
    const QString code = server.mailedCode(email);
    QCOMPARE(code.size(), 6);
    secrets << code;
    net.registerAccount(email, QStringLiteral("Ada %1").arg(remember), password, code, cid,
                        QStringLiteral("Bench PC"), QStringLiteral("0.1.0"));
    QJsonObject reply = waitForAccountReply(net);
    QVERIFY2(reply.contains(QStringLiteral("access_token")), qPrintable(reply.value("description").toString()));
    account.applyLoginResponse(reply);
    QVERIFY(account.isSignedIn());
    QCOMPARE(account.displayName(), QStringLiteral("Ada %1").arg(remember));
    QCOMPARE(reply.value(QStringLiteral("device")).toObject().value(QStringLiteral("cid")).toString(),
             cid);
    secrets << account.accessToken() << account.refreshToken();

    const QString firstRefresh = account.refreshToken();
    account.signOut();
    QVERIFY(!account.isSignedIn());
    QCOMPARE(waitForAccountReply(net).value(QStringLiteral("code")).toString(), QStringLiteral("ok"));
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/token/refresh"),
                         QJsonObject{{QStringLiteral("refresh_token"), firstRefresh}})
                 .status,
             401);

    net.loginAccount(email, password, cid, QStringLiteral("Bench PC"), QStringLiteral("0.1.0"));
    reply = waitForAccountReply(net);
    account.applyLoginResponse(reply);
    QVERIFY(account.isSignedIn());
    secrets << account.accessToken() << account.refreshToken();

    // Two refresh requests within the retry time send one.
    const int refreshesBefore = countOf(server.log(), "POST /api/v3/account/token/refresh");
    const QString oldAccess = account.accessToken();
    QSignalSpy refreshed(&account, &AccountSession::refreshFinished);
    QVERIFY(account.requestTokenRefresh(cid));
    QVERIFY(account.requestTokenRefresh(cid));
    QVERIFY(refreshed.wait(30000));
    QCOMPARE(refreshed.first().first().toBool(), true);
    QVERIFY(account.isSignedIn());
    QVERIFY(account.accessToken() != oldAccess);
    QVERIFY(!account.tokenRefreshPending());
    QTRY_COMPARE(countOf(server.log(), "POST /api/v3/account/token/refresh"), refreshesBefore + 1);
    secrets << account.accessToken() << account.refreshToken();

    // What this computer keeps.
    QFile file(profile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray stored = file.readAll();
    for (const QString &secret : std::as_const(secrets)) {
        const bool allowed = remember && secret == account.refreshToken();
        QVERIFY2(stored.contains(secret.toUtf8()) == allowed, qPrintable(secret.left(8)));
    }
    QVERIFY(stored.contains(email.toUtf8()));

    account.signOut();
    QVERIFY(waitForAccountReply(net).value(QStringLiteral("status")).toBool());
    qInstallMessageHandler(previous);

    // Nor in the logs of either side, nor in the server's store.
    const QString log = logLines.join(u'\n');
    QVERIFY(log.contains(QStringLiteral("/api/v3/account/login")));
    const QByteArray serverSide = server.log() + storeBytes(server.dataDir());
    for (const QString &secret : std::as_const(secrets)) {
        QVERIFY2(!log.contains(secret), qPrintable(secret.left(8)));
        QVERIFY2(!serverSide.contains(secret.toUtf8()), qPrintable(secret.left(8)));
    }
}

void CloudAccountTest::expiry_data()
{
    QTest::addColumn<int>("expiresIn");
    QTest::addColumn<bool>("signedIn");
    QTest::newRow("20 s left") << 20 << false;
    QTest::newRow("90 s left") << 90 << true;
}

void CloudAccountTest::expiry()
{
    QFETCH(int, expiresIn);
    QFETCH(bool, signedIn);
    NetworkServices net;
    AccountSession account(&net, settingsDir.filePath(QStringLiteral("expiry.ini")));
    account.applyLoginResponse({{QStringLiteral("access_token"), QStringLiteral("vat_x")},
                                {QStringLiteral("expires_in"), expiresIn}});
    QCOMPARE(account.isSignedIn(), signedIn);
}

void CloudAccountTest::onlyReleaseCheckWithoutConsent()
{
    // Without consent every call but the release check stays on this computer: the
    // server sees one connection, for the release, and the other calls say nothing.
    PrivacyConsent::withdraw();
    NetworkServices net;
    net.setHostAddress(server.baseUrl());
    QSignalSpy releases(&net, &NetworkServices::releaseResponse);
    QSignalSpy accounts(&net, &NetworkServices::accountResponse);
    QSignalSpy syncs(&net, &NetworkServices::syncResponse);
    QSignalSpy clients(&net, &NetworkServices::clientResponse);
    QSignalSpy errors(&net, &NetworkServices::networkError);
    const QByteArray before = server.log();

    const QString cid = QStringLiteral("0a1b2c3d-0000-4000-8000-00000000abcd");
    net.loginAccount(QStringLiteral("a@example.com"), QStringLiteral("password1"), cid,
                     QStringLiteral("pc"), QStringLiteral("0.1.0"));
    net.sendRegisterCode(QStringLiteral("b@example.com"));
    net.refreshAccountToken(QStringLiteral("vrt_x"), cid);
    net.fetchSyncItems(QStringLiteral("vat_x"), QStringLiteral("settings.session"));
    net.postClientInfo({{QStringLiteral("client_version"), QStringLiteral("0.1.0")}}, cid);
    net.fetchClientInfo(cid);
    net.fetchLatestRelease(QStringLiteral("linux-x86_64"));
    QVERIFY(releases.wait(30000));
    QTRY_VERIFY(server.log().contains("/api/v3/releases/latest"));

    const QByteArray after = server.log().mid(before.size());
    QCOMPARE(countOf(after, "connection "), 1);
    QCOMPARE(countOf(after, "/api/v3/"), 1);
    QVERIFY(after.contains("GET /api/v3/releases/latest"));
    QCOMPARE(accounts.size() + syncs.size() + clients.size() + errors.size(), 0);
    PrivacyConsent::grant();
}

void CloudAccountTest::windowSignsOutOnWithdrawal()
{
    // The status bar names the signed-in user; turning the online features off signs
    // this computer out, on the server too.
    QSettings app;
    Config::setDasHostAddress(app, server.baseUrl());
    app.setValue(QStringLiteral("AccountAutoSync"), false);
    app.setValue(QStringLiteral("CONFIG_FILE_PATH"), settingsDir.filePath(QStringLiteral("last.ini")));
    const QString email = QStringLiteral("window@example.com");
    NetworkServices *net = NetworkServices::instance();
    net->sendRegisterCode(email);
    QVERIFY(waitForAccountReply(*net).value(QStringLiteral("status")).toBool());
    net->registerAccount(email, QStringLiteral("Grace"), QStringLiteral("password123"),
                         server.mailedCode(email), DeviceIdentity::cid(app), QStringLiteral("pc"),
                         QStringLiteral("0.1.0"));
    AccountSession::instance()->applyLoginResponse(waitForAccountReply(*net));

    MainWindow window;
    auto *label = window.findChild<QLabel *>(QStringLiteral("accountLabel"));
    QVERIFY(label->text().contains(QStringLiteral("Grace")));
    const QString refresh = AccountSession::instance()->refreshToken();

    QSignalSpy replies(net, &NetworkServices::accountResponse);
    PrivacyConsent::withdraw();
    QVERIFY(label->text().contains(QStringLiteral("Not signed in")));
    QVERIFY(replies.wait(30000)); // the sign-out went out before the consent ended
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/token/refresh"),
                         QJsonObject{{QStringLiteral("refresh_token"), refresh}})
                 .status,
             401);
    PrivacyConsent::grant();
    Config::setDasHostAddress(app, QString());
}

QTEST_MAIN(CloudAccountTest)
#include "tst_cloudaccount.moc"
