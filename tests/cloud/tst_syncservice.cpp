#include "cloud/syncservice.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

Q_DECLARE_METATYPE(SessionState)

namespace {

// A state with every synced field away from its default.
SessionState changedState()
{
    SessionState state = SettingsService::defaults();
    Settings &s = state.settings;
    s.connMode = ModeTcpClient;
    s.name = QStringLiteral("/dev/ttyACM3");
    s.baudRate = 921600;
    s.dataBits = 7;
    s.parity = 2;
    s.stopBits = 2;
    s.flowControl = 1;
    s.stringDataBits = QStringLiteral("7");
    s.stringParity = serialParityText(s.parity);
    s.stringStopBits = serialStopBitsText(s.stopBits);
    s.stringFlowControl = serialFlowControlText(s.flowControl);
    s.targetHost = QStringLiteral("10.0.0.7");
    s.targetHostList = {QStringLiteral("10.0.0.7"), QStringLiteral("bench.local")};
    s.targetPort = 5020;
    s.udpLocalPort = 7001;
    s.udpServerPort = 7002;
    FormatSetting &f = state.format;
    f.receiveMsgFormat = HexFormat;
    f.sendMsgFormat = HexFormat;
    f.receiveEncoding = QStringLiteral("GB18030");
    f.sendEncoding = QStringLiteral("ISO-8859-1");
    f.sendChecksum = 3;
    f.sendEscapes = true;
    f.rxAutoFeedLine = true;
    f.rxLineEndingMode = LineEndingCRLF;
    f.txLineEndingMode = LineEndingLF;
    f.terminalEnterMode = LineEndingCRLF;
    f.autoFeedInterval = 55;
    f.splitterLeft = 123;
    f.splitterRight = 456;
    f.displaySendMsg = true;
    f.localEcho = true;
    f.displayMsgTime = true;
    f.rxTimeFormat = QStringLiteral("<hh:mm> ");
    f.txTimeFormat = QStringLiteral(">hh:mm< ");
    f.displayBufferSize = 4096;
    f.logFont.family = QStringLiteral("DejaVu Sans Mono");
    f.logFont.pointSize = 15;
    f.formatDisplayColor = true;
    f.sendTextColor = QStringLiteral("#112233");
    f.receiveTextColor = QStringLiteral("#445566");
    state.autoReconnect = true;
    state.openLastConnection = true;
    state.sendList = {QStringLiteral("AT"), QStringLiteral("ATI")};
    return state;
}

QJsonObject withSetting(QJsonObject payload, const QStringList &path, const QJsonValue &value)
{
    // Replaces settings/<path...> in a copy of the payload.
    std::function<QJsonObject(QJsonObject, int)> set = [&](QJsonObject object, int depth) {
        if (depth == path.size() - 1) {
            object.insert(path.at(depth), value);
        } else {
            object.insert(path.at(depth), set(object.value(path.at(depth)).toObject(), depth + 1));
        }
        return object;
    };
    payload.insert(QStringLiteral("settings"),
                   set(payload.value(QStringLiteral("settings")).toObject(), 0));
    return payload;
}

} // namespace

class SyncServiceTest : public QObject
{
    Q_OBJECT
private slots:
    void roundTrip_data();
    void roundTrip();
    void refusedPayloads_data();
    void refusedPayloads();
    void hostileValuesKeepLocal_data();
    void hostileValuesKeepLocal();
    void mergedLists();
};

void SyncServiceTest::roundTrip_data()
{
    QTest::addColumn<bool>("withHistory");
    QTest::newRow("without history") << false;
    QTest::newRow("with history") << true;
}

void SyncServiceTest::roundTrip()
{
    // What one computer uploads is what the other takes over; the send history only
    // travels when asked to, and what is not synced stays the receiver's own.
    QFETCH(bool, withHistory);
    const SessionState sent = changedState();
    const QJsonObject payload = SyncService::toSnapshot(sent, QStringLiteral("cid-a"), 1, withHistory);
    QCOMPARE(payload.value(QStringLiteral("schema")).toString(), SyncService::schemaName());
    QCOMPARE(payload.value(QStringLiteral("updated_by")).toString(), QStringLiteral("cid-a"));
    // Through the wire form, as the server stores it.
    const QJsonObject wire =
        QJsonDocument::fromJson(QJsonDocument(payload).toJson(QJsonDocument::Compact)).object();

    SessionState received = SettingsService::defaults();
    received.recentFiles = {QStringLiteral("/home/b/local.vlm")};
    received.sendList = {QStringLiteral("local only")};
    int language = 0;
    QVERIFY(SyncService::applySnapshot(wire, &received, &language));
    QCOMPARE(language, 1);

    SessionState expected = sent;
    expected.recentFiles = received.recentFiles;
    expected.sendList = withHistory ? sent.sendList : QStringList{QStringLiteral("local only")};
    QCOMPARE(received.settings, expected.settings);
    QCOMPARE(received.format, expected.format);
    QCOMPARE(received, expected);
}

void SyncServiceTest::refusedPayloads_data()
{
    QTest::addColumn<QJsonObject>("payload");
    const QJsonObject good = SyncService::toSnapshot(changedState(), QString(), 2, true);
    QJsonObject other = good;
    other.insert(QStringLiteral("schema"), QStringLiteral("vlm.something-else"));
    QJsonObject newer = good;
    newer.insert(QStringLiteral("version"), SyncService::SchemaVersion + 1);
    QTest::newRow("another schema") << other;
    QTest::newRow("newer version") << newer;
    QTest::newRow("empty") << QJsonObject();
}

void SyncServiceTest::refusedPayloads()
{
    QFETCH(QJsonObject, payload);
    SessionState state = SettingsService::defaults();
    int language = 0;
    QVERIFY(!SyncService::applySnapshot(payload, &state, &language));
    QCOMPARE(state, SettingsService::defaults());
    QCOMPARE(language, 0);
}

void SyncServiceTest::hostileValuesKeepLocal_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<QJsonValue>("value");
    const auto path = [](const char *text) { return QString::fromLatin1(text).split(u'/'); };
    QTest::newRow("baud as text") << path("connection/serial/baud_rate") << QJsonValue("fast");
    QTest::newRow("negative baud") << path("connection/serial/baud_rate") << QJsonValue(-5);
    QTest::newRow("parity no choice") << path("connection/serial/parity") << QJsonValue(1);
    QTest::newRow("mode 3") << path("connection/conn_mode") << QJsonValue(3);
    QTest::newRow("port past 65535") << path("connection/network/target_port") << QJsonValue(1e12);
    QTest::newRow("hosts not a list") << path("connection/network/target_hosts") << QJsonValue(7);
    QTest::newRow("hosts all blank") << path("connection/network/target_hosts")
                                     << QJsonValue(QJsonArray{QStringLiteral("  ")});
    QTest::newRow("colour not a colour") << path("display/colors/send_text")
                                         << QJsonValue("red; font: huge");
    QTest::newRow("font size zero") << path("display/font/point_size") << QJsonValue(0);
    QTest::newRow("blank time format") << path("display/rx_time_format") << QJsonValue("   ");
    QTest::newRow("huge text") << path("display/send_encoding")
                               << QJsonValue(QString(100000, u'x'));
    QTest::newRow("display not an object") << path("display") << QJsonValue("x");
    QTest::newRow("language out of range") << path("behavior/language") << QJsonValue(9);
}

void SyncServiceTest::hostileValuesKeepLocal()
{
    // A value that cannot be taken leaves the local one (numbers out of range are held
    // to their limits); the rest of the payload still applies.
    QFETCH(QStringList, path);
    QFETCH(QJsonValue, value);
    const SessionState local = changedState();
    SessionState cloud = local;
    cloud.autoReconnect = false;
    const QJsonObject payload =
        withSetting(SyncService::toSnapshot(cloud, QString(), 1, false), path, value);

    SessionState state = local;
    int language = 1;
    QVERIFY(SyncService::applySnapshot(payload, &state, &language));
    QVERIFY(!state.autoReconnect);
    SessionState expected = local;
    expected.autoReconnect = false;
    int expectedLanguage = 1;
    if (path.last() == QLatin1String("target_port")) {
        expected.settings.targetPort = 65535;
    } else if (path.last() == QLatin1String("point_size")) {
        expected.format.logFont.pointSize = 1;
    } else if (path.last() == QLatin1String("language")) {
        expectedLanguage = 2;
    } else if (path.last() == QLatin1String("baud_rate") && value.isDouble()) {
        expected.settings.baudRate = 1;
    }
    QCOMPARE(state, expected);
    QCOMPARE(language, expectedLanguage);
}

void SyncServiceTest::mergedLists()
{
    // Local entries first in their order, then the cloud's new ones; nothing twice;
    // every other value stays local.
    SessionState local = SettingsService::defaults();
    local.settings.targetHostList = {QStringLiteral("b"), QStringLiteral("a")};
    local.sendList = {QStringLiteral("x"), QStringLiteral("y")};
    local.format.localEcho = true;
    SessionState cloud = SettingsService::defaults();
    cloud.settings.targetHostList = {QStringLiteral("a"), QStringLiteral("c"), QStringLiteral("b"),
                                     QStringLiteral("d")};
    cloud.sendList = {QStringLiteral("z"), QStringLiteral("x")};
    const SessionState merged = SyncService::mergedLists(local, cloud);
    QCOMPARE(merged.settings.targetHostList,
             (QStringList{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("c"),
                          QStringLiteral("d")}));
    QCOMPARE(merged.sendList,
             (QStringList{QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("z")}));
    QVERIFY(merged.format.localEcho);
}

QTEST_GUILESS_MAIN(SyncServiceTest)
#include "tst_syncservice.moc"
