#include "app/settingsservice.h"
#include "samplerecords.h"

#include <QDir>
#include <QStandardPaths>
#include <QtTest>

class TestSettingsService : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void defaultsAndSeeds();
    void roundTripWritesEveryKey();
    void readsClampedAndDefaulted_data();
    void readsClampedAndDefaulted();

private:
    QTemporaryDir dir;
};

void TestSettingsService::defaultsAndSeeds()
{
    const SessionState d = SettingsService::defaults();
    QCOMPARE(d.settings.targetHostList, QStringList({"127.0.0.1"}));
    QCOMPARE(QStringList({d.settings.targetHost, d.format.receiveEncoding, d.format.sendEncoding,
                          d.format.rxTimeFormat, d.format.txTimeFormat, d.logFileName,
                          d.format.logFileTime, d.format.sendTextColor, d.format.receiveTextColor}),
             QStringList({"127.0.0.1", "UTF-8", "UTF-8", "[Rx][hh:mm:ss.zzz] ",
                          "[Tx][hh:mm:ss.zzz] ", "vlm_", "[%h:%m:%s.%z] ", "#000000", "#000000"}));
    QCOMPARE(d.format.logFilePath, QDir(QDir::homePath()).filePath("vlm_%S-%Y%M%D.log"));
    QVERIFY(d.settings.dtrOn && d.settings.rtsOn && d.settings.useRemoteSerialConfig);
    QVERIFY(!d.lastConnectionOpen && !d.openLastConnection && !d.autoReconnect);

    Settings seed = SettingsService::defaultPortSettings("ttyACM0");
    QCOMPARE(seed.name, QString("ttyACM0"));
    seed.name = d.settings.name;
    QVERIFY(seed == d.settings);
    QVERIFY(SettingsService::defaultFormatSettings() == d.format);

    QSettings empty(dir.filePath("empty.conf"), QSettings::IniFormat);
    QVERIFY(SettingsService::load(empty) == d);
}

void TestSettingsService::roundTripWritesEveryKey()
{
    SessionState state;
    makeUnusual(state.settings, state.format, 3);
    state.settings.connMode = ModeRemoteSerial;
    state.settings.relayCid = state.settings.relayPortName = state.settings.relayPortKey = "";
    state.settings.relayShareLabel = state.settings.relayGuestName = "";
    state.settings.useRemoteSerialConfig = true; // none of these is kept here
    state.format.autoSend = state.format.supportComment = state.format.formatSend = false;
    state.format.sendInterval = FormatSetting().sendInterval; // auto send is per project
    state.format.sendTimeUnit = FormatSetting().sendTimeUnit;
    state.recentFiles = {"/home/zoë/a.vlm", "/tmp/b, c.vlm"};
    state.lastFile = "/home/zoë/a.vlm";
    state.lastLogFile = "/var/log/串口.log";
    state.lastDirectory = "/home/zoë";
    state.logFileName = "bench_";
    state.lastConnectionOpen = state.layoutTabs = true;
    state.openLastConnection = state.autoReconnect = true;
    state.quickSettings.setGroupVisible("send", false);
    state.quickSettings.setHiddenFields("connection", {"parity"});
    state.sendList = {"AT", "ATI"};

    const QString path = dir.filePath("state.conf");
    {
        QSettings out(path, QSettings::IniFormat);
        SettingsService::save(out, state);
    }
    QSettings in(reparsedCopy(path), QSettings::IniFormat);
    const SessionState loaded = SettingsService::load(in);
    QCOMPARE(loaded.format.logRotateTime, QTime(23, 59, 58, 250));
    QCOMPARE(loaded.settings.targetHostList, state.settings.targetHostList);
    QVERIFY(loaded.settings == state.settings);
    QVERIFY(loaded.format == state.format);
    QVERIFY(loaded == state);

    QStringList keys = in.allKeys();
    QStringList expected = {"RecentFiles",
                            "LastFile",
                            "LastLogFile",
                            "LastDirectory",
                            "LastConnMode",
                            "LastPortName",
                            "LastBaudrate",
                            "LastDatabits",
                            "LastStopbits",
                            "LastParity",
                            "LastFlowControl",
                            "LastDtrOn",
                            "LastRtsOn",
                            "LastTargetPort",
                            "LastUdpLocalPort",
                            "LastUdpServerPort",
                            "LastConnectionOpen",
                            "LastSendMessageFormat",
                            "LastSendChecksum",
                            "LastSendEscapes",
                            "LastAutoFeedInterval",
                            "LastSendEncoding",
                            "LastTerminalEnterMode",
                            "LastTxAutoFeedLine",
                            "LastTxLineEndingMode",
                            "SendList",
                            "LastReceiveMessageFormat",
                            "LastReceiveEncoding",
                            "LastRxAutoFeedLine",
                            "LastRxLineEndingMode",
                            "LastDisplaySendMsg",
                            "LastLocalEcho",
                            "LastDisplaySendTime",
                            "LastDisplayRxTimeFormat",
                            "LastDisplayTxTimeFormat",
                            "LastDisplayBufferSize",
                            "LastDisplayFontFamily",
                            "LastDisplayFontSize",
                            "LastDisplayFontWeight",
                            "LastDisplayFontItalic",
                            "LastFormatDisplayColor",
                            "LastSendTextColor",
                            "LastReceiveTextColor",
                            "LastShowControlLineLeds",
                            "LastLogFileName",
                            "LastLogSaveFlag",
                            "LastLogAppend",
                            "LastLogPromptForName",
                            "LastLogStartOnConnect",
                            "LastLogFilePath",
                            "LastLogTimestampEnabled",
                            "LastLogTimestamp",
                            "LastLogRotateAtSize",
                            "LastLogRotateSize",
                            "LastLogRotateAtTime",
                            "LastLogRotateTime",
                            "LastNeedHourTimeStamp",
                            "LastLayoutTabs",
                            "LastSplitterLeft",
                            "LastSplitterRight",
                            "QuickSettings/Connection",
                            "QuickSettings/Receive",
                            "QuickSettings/Send",
                            "QuickSettings/GroupOrder",
                            "QuickSettings/Fields/connection/Hidden",
                            "OpenLastConnection",
                            "AutoReconnect",
                            "LastTargetHost",
                            "LastTargetHosts",
                            "LastTransferProtocol",
                            "LastTransferSendDir",
                            "LastTransferRecvDir",
                            "TransferRecvSizeCapMiB"};
    keys.sort();
    expected.sort();
    QCOMPARE(keys, expected);
}

// A hand-written store is read and saved again: the written value shows what was read.
void TestSettingsService::readsClampedAndDefaulted_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("read");
    const auto row = [](const char *key, const char *value, const QString &read) {
        QTest::newRow((QByteArray(key) + "=" + value).constData())
            << QString(key) << QByteArray(value) << read;
    };
    row("LastBaudrate", "-1", "0");
    row("LastBaudrate", "4000000000", "100000000");
    row("LastConnMode", "9", "0");
    row("LastDatabits", "4", "8");
    row("LastUdpLocalPort", "99999", "65535");
    row("LastSendMessageFormat", "7", "1");
    row("LastReceiveMessageFormat", "x", "2");
    row("LastTerminalEnterMode", "5", "1");
    row("LastSendTextColor", "banana", "#000000");
    row("LastReceiveTextColor", "#00FF7f", "#00ff7f");
    row("LastDisplayRxTimeFormat", "\"  \"", "[Rx][hh:mm:ss.zzz] ");
    row("LastLogRotateTime", "08:30", "08:30:00.000");
    row("LastLogRotateTime", "25:00", "00:00:00.000");
    row("LastTargetHosts", "a-||-b-||-a", "b|a");
    row("LastTargetHost", "\" h \"", "h");
    row("LastConnectionOpen", "", "false");
    row("LastDtrOn", "maybe", "true");
    row("LastTxAutoFeedLine", "true", "false");
}

void TestSettingsService::readsClampedAndDefaulted()
{
    QFETCH(QString, key);
    QFETCH(QByteArray, value);
    QSettings in(writeFile(dir, "[General]\n" + key.toUtf8() + "=" + value + "\n"),
                 QSettings::IniFormat);
    QSettings out(writeFile(dir, {}), QSettings::IniFormat);
    SettingsService::save(out, SettingsService::load(in));
    QTEST(storedText(out, key), "read");
}

QTEST_GUILESS_MAIN(TestSettingsService)
#include "tst_settingsservice.moc"
