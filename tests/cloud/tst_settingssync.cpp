#include "cloud/accountsession.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloud/sessionsynccoordinator.h"
#include "cloudprocess.h"

#include <QJsonArray>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using Choice = SessionSyncCoordinator::ConflictChoice;
Q_DECLARE_METATYPE(SessionSyncCoordinator::ConflictChoice)

namespace {

// One computer: its own settings file, network client, account session, preferences
// and sync coordinator, all speaking to the same server.
struct Computer
{
    Computer(const QString &base, const QString &file)
        : session(&net, file)
    {
        net.setHostAddress(base);
        SessionSyncCoordinator::Hooks hooks;
        hooks.currentState = [this] {
            if (beforeUpload && sync->state() == SessionSyncCoordinator::State::Uploading) {
                std::exchange(beforeUpload, nullptr)();
            }
            return state;
        };
        hooks.applyState = [this](const SessionState &next) { state = next; };
        hooks.confirmSync = [] { return false; };
        sync = std::make_unique<SessionSyncCoordinator>(hooks, &session);
        for (const auto &[signal, name] :
             std::initializer_list<std::pair<void (SessionSyncCoordinator::*)(), const char *>>{
                 {&SessionSyncCoordinator::cancelled, "cancelled"},
                 {&SessionSyncCoordinator::conflictDeferred, "conflictDeferred"},
                 {&SessionSyncCoordinator::conflictChoiceNeeded, "conflictChoiceNeeded"},
                 {&SessionSyncCoordinator::incompatible, "incompatible"}}) {
            QObject::connect(sync.get(), signal, [this, name] { ends << QLatin1String(name); });
        }
        QObject::connect(sync.get(), &SessionSyncCoordinator::succeeded,
                         [this] { ends << QStringLiteral("succeeded"); });
        QObject::connect(sync.get(), &SessionSyncCoordinator::cloudApplied,
                         [this] { ends << QStringLiteral("cloudApplied"); });
        QObject::connect(sync.get(), &SessionSyncCoordinator::failed,
                         [this](const QString &text) { ends << QStringLiteral("failed: ") + text; });
        QObject::connect(sync.get(), &SessionSyncCoordinator::signInExpired,
                         [this] { ends << QStringLiteral("signInExpired"); });
    }

    // Runs the coordinator until it ends or asks; returns how it ended.
    QString run(SessionSyncCoordinator::Mode mode)
    {
        ends.clear();
        sync->start(mode);
        return waitForEnd();
    }
    QString resolve(Choice choice)
    {
        ends.clear();
        sync->resolveConflict(choice);
        return waitForEnd();
    }
    QString waitForEnd()
    {
        QDeadlineTimer deadline(30000);
        while (ends.isEmpty() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        }
        return ends.isEmpty() ? QStringLiteral("nothing") : ends.last();
    }
    qint64 agreedRevision() const
    {
        return QSettings(session.settingsFile(), QSettings::IniFormat)
            .value(QStringLiteral("AccountSyncRevision"))
            .toLongLong();
    }

    NetworkServices net;
    AccountSession session;
    SessionState state = SettingsService::defaults();
    std::unique_ptr<SessionSyncCoordinator> sync;
    std::function<void()> beforeUpload;
    QStringList ends;
};

} // namespace

class SettingsSyncTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void firstSyncCreatesItem();
    void conflictFromOneRevision_data();
    void conflictFromOneRevision();
    void automaticRunDefers();
    void foreignSchemaLeftAlone();

private:
    void signIn(Computer &computer);
    // The cloud item as the server has it.
    QJsonObject cloudItem();
    // Brings both computers to the same revision with the same preferences.
    void agree();

    QTemporaryDir dir;
    CloudProcess server;
    std::unique_ptr<Computer> a;
    std::unique_ptr<Computer> b;
    const QString email = QStringLiteral("sync@example.com");
    const QString password = QStringLiteral("sync password");
};

void SettingsSyncTest::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.path());
    QString why;
    QVERIFY2(server.start({}, &why), qPrintable(why));
    PrivacyConsent::grant();
    QVERIFY(server.call("POST", QStringLiteral("/api/v3/account/register/code"),
                        QJsonObject{{QStringLiteral("email"), email}})
                .json.value(QStringLiteral("status"))
                .toBool());
    QCOMPARE(server.call("POST", QStringLiteral("/api/v3/account/register"),
                         QJsonObject{{QStringLiteral("email"), email},
                                     {QStringLiteral("username"), QStringLiteral("Sync")},
                                     {QStringLiteral("password"), password},
                                     {QStringLiteral("code"), server.mailedCode(email)}})
                 .status,
             200);
    a = std::make_unique<Computer>(server.baseUrl(), dir.filePath(QStringLiteral("a.ini")));
    b = std::make_unique<Computer>(server.baseUrl(), dir.filePath(QStringLiteral("b.ini")));
    signIn(*a);
    signIn(*b);
}

void SettingsSyncTest::signIn(Computer &computer)
{
    QSettings profile(computer.session.settingsFile(), QSettings::IniFormat);
    computer.net.loginAccount(email, password, DeviceIdentity::cid(profile), QStringLiteral("pc"),
                              QStringLiteral("0.1.0"));
    QSignalSpy replies(&computer.net, &NetworkServices::accountResponse);
    QVERIFY(replies.wait(30000));
    computer.session.applyLoginResponse(replies.first().first().toJsonObject());
    QVERIFY(computer.session.isSignedIn());
}

QJsonObject SettingsSyncTest::cloudItem()
{
    const QJsonArray items =
        server.call("GET", QStringLiteral("/api/v3/sync/items?namespace=settings.session"),
                    QByteArray(), a->session.accessToken())
            .json.value(QStringLiteral("items"))
            .toArray();
    return items.isEmpty() ? QJsonObject() : items.first().toObject();
}

void SettingsSyncTest::agree()
{
    QString end = a->run(SessionSyncCoordinator::Manual);
    if (end == QLatin1String("conflictChoiceNeeded")) {
        end = a->resolve(Choice::KeepLocal);
    }
    QCOMPARE(end, QStringLiteral("succeeded"));
    end = b->run(SessionSyncCoordinator::Manual);
    if (end == QLatin1String("conflictChoiceNeeded")) {
        end = b->resolve(Choice::UseCloud);
        QCOMPARE(end, QStringLiteral("cloudApplied"));
    } else {
        QCOMPARE(end, QStringLiteral("succeeded"));
    }
    QCOMPARE(a->agreedRevision(), b->agreedRevision());
    QCOMPARE(a->state, b->state);
}

void SettingsSyncTest::firstSyncCreatesItem()
{
    // A new account has no item: the first sync creates it from revision 0.
    QVERIFY(cloudItem().isEmpty());
    a->state.format.logFont.pointSize = 14;
    QCOMPARE(a->run(SessionSyncCoordinator::Manual), QStringLiteral("succeeded"));
    QCOMPARE(a->agreedRevision(), 1);
    const QJsonObject item = cloudItem();
    QCOMPARE(item.value(QStringLiteral("revision")).toInt(), 1);
    QCOMPARE(item[u"payload"][u"settings"][u"display"][u"font"][u"point_size"].toInt(), 14);
}

void SettingsSyncTest::conflictFromOneRevision_data()
{
    QTest::addColumn<Choice>("choice");
    QTest::newRow("use cloud") << Choice::UseCloud;
    QTest::newRow("keep local") << Choice::KeepLocal;
    QTest::newRow("merge lists") << Choice::MergeLists;
}

void SettingsSyncTest::conflictFromOneRevision()
{
    // Both computers change their preferences from one revision; A uploads while B is
    // between its fetch and its upload. B's write is refused as a conflict and, run by
    // hand, B is asked; each answer leaves both sides and the cloud as it says.
    QFETCH(Choice, choice);
    agree();
    const qint64 from = a->agreedRevision();
    a->state.format.logFont.pointSize = 20 + int(choice);
    a->state.settings.targetHostList = {QStringLiteral("a-host"), QStringLiteral("shared")};
    b->state.format.localEcho = !b->state.format.localEcho;
    b->state.settings.targetHostList = {QStringLiteral("b-host"), QStringLiteral("shared")};
    const SessionState aChanged = a->state;
    const SessionState bChanged = b->state;
    QString aEnd;
    b->beforeUpload = [&] { aEnd = a->run(SessionSyncCoordinator::Manual); };

    QCOMPARE(b->run(SessionSyncCoordinator::Manual), QStringLiteral("conflictChoiceNeeded"));
    QCOMPARE(aEnd, QStringLiteral("succeeded"));
    QCOMPARE(b->sync->state(), SessionSyncCoordinator::State::Choosing);
    QCOMPARE(cloudItem().value(QStringLiteral("revision")).toInt(), from + 1);

    switch (choice) {
    case Choice::UseCloud:
        QCOMPARE(b->resolve(choice), QStringLiteral("cloudApplied"));
        QCOMPARE(b->state.format, aChanged.format);
        QCOMPARE(b->state.settings.targetHostList, aChanged.settings.targetHostList);
        QCOMPARE(b->agreedRevision(), from + 1);
        QCOMPARE(cloudItem().value(QStringLiteral("revision")).toInt(), from + 1);
        break;
    case Choice::KeepLocal:
        QCOMPARE(b->resolve(choice), QStringLiteral("succeeded"));
        QCOMPARE(b->state, bChanged);
        QCOMPARE(cloudItem().value(QStringLiteral("revision")).toInt(), from + 2);
        // The other way round: A now finds B's preferences in the cloud and takes them.
        QCOMPARE(a->run(SessionSyncCoordinator::Manual), QStringLiteral("conflictChoiceNeeded"));
        QCOMPARE(a->resolve(Choice::UseCloud), QStringLiteral("cloudApplied"));
        QCOMPARE(a->state.format, bChanged.format);
        QCOMPARE(a->agreedRevision(), from + 2);
        break;
    case Choice::MergeLists:
        QCOMPARE(b->resolve(choice), QStringLiteral("succeeded"));
        QCOMPARE(b->state.settings.targetHostList,
                 (QStringList{QStringLiteral("b-host"), QStringLiteral("shared"),
                              QStringLiteral("a-host")}));
        QCOMPARE(b->state.format, bChanged.format);
        QCOMPARE(cloudItem()[u"payload"][u"settings"][u"connection"][u"network"][u"target_hosts"]
                     .toArray()
                     .size(),
                 3);
        QCOMPARE(b->agreedRevision(), from + 2);
        break;
    case Choice::Cancel:
        break;
    }
}

void SettingsSyncTest::automaticRunDefers()
{
    // An automatic run that finds the cloud moved on touches neither side.
    agree();
    a->state.format.displayMsgTime = !a->state.format.displayMsgTime;
    QCOMPARE(a->run(SessionSyncCoordinator::Manual), QStringLiteral("succeeded"));
    const QJsonObject before = cloudItem();
    b->state.format.sendEscapes = !b->state.format.sendEscapes;
    const SessionState bLocal = b->state;
    const qint64 bAgreed = b->agreedRevision();
    QCOMPARE(b->run(SessionSyncCoordinator::Auto), QStringLiteral("conflictDeferred"));
    QCOMPARE(b->sync->state(), SessionSyncCoordinator::State::Idle);
    QCOMPARE(b->state, bLocal);
    QCOMPARE(b->agreedRevision(), bAgreed);
    QCOMPARE(cloudItem(), before);
}

void SettingsSyncTest::foreignSchemaLeftAlone()
{
    // A payload this program cannot read is never applied.
    agree();
    const QJsonObject item = cloudItem();
    const qint64 revision = item.value(QStringLiteral("revision")).toInteger();
    QCOMPARE(server.call("PUT", QStringLiteral("/api/v3/sync/items/settings.session/default"),
                         QJsonObject{{QStringLiteral("base_revision"), revision},
                                     {QStringLiteral("payload"),
                                      QJsonObject{{QStringLiteral("schema"),
                                                   QStringLiteral("vlm.future-settings")}}}},
                         a->session.accessToken())
                 .status,
             200);
    const SessionState before = b->state;
    QCOMPARE(b->run(SessionSyncCoordinator::Manual), QStringLiteral("conflictChoiceNeeded"));
    QCOMPARE(b->resolve(Choice::UseCloud), QStringLiteral("incompatible"));
    QCOMPARE(b->state, before);
    QCOMPARE(b->agreedRevision(), revision);
}

QTEST_MAIN(SettingsSyncTest)
#include "tst_settingssync.moc"
