#include "connection/settings.h"
#include "connection/settingscodec.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestSettings : public QObject
{
    Q_OBJECT
private slots:
    void modeFromStoredInt_data();
    void modeFromStoredInt();
    void patchSerialParams_data();
    void patchSerialParams();
    void remoteLabel_data();
    void remoteLabel();
    void hostListKeepsNewestLastWithoutDuplicates();
    void codecConversions();
};

void TestSettings::modeFromStoredInt_data()
{
    QTest::addColumn<int>("stored");
    QTest::addColumn<int>("mode");
    QTest::newRow("serial") << 0 << 0;
    QTest::newRow("relay") << 8 << 8;
    QTest::newRow("reserved stays") << 3 << 3;
    QTest::newRow("nine") << 9 << 0;
    QTest::newRow("minus one") << -1 << 0;
    QTest::newRow("huge") << 0x7fffffff << 0;
}

void TestSettings::modeFromStoredInt()
{
    QFETCH(int, stored);
    QFETCH(int, mode);
    QCOMPARE(int(connectionModeFromInt(stored)), mode);
}

void TestSettings::patchSerialParams_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("baud");
    QTest::addColumn<QString>("dataBits");
    QTest::addColumn<int>("parity");
    QTest::addColumn<QString>("parityText");
    QTest::addColumn<int>("stopBits");
    QTest::addColumn<QString>("stopText");
    QTest::addColumn<int>("flow");
    QTest::addColumn<QString>("flowText");

    // The record starts as 115200 7O2 RTS/CTS so that every reset to a default shows.
    QTest::newRow("empty object changes nothing")
        << QByteArray("{}") << 115200 << "7" << 3 << "Odd" << 2 << "2" << 1 << "RTS/CTS";
    QTest::newRow("unknown parity selects none, nothing else")
        << QByteArray(R"({"parity":"banana"})") << 115200 << "7" << 0 << "None" << 2 << "2" << 1
        << "RTS/CTS";
    QTest::newRow("all keys")
        << QByteArray(
               R"({"baud_rate":9600,"data_bits":8,"parity":"mark","stop_bits":1.5,"flow_control":"xonxoff"})")
        << 9600 << "8" << 5 << "Mark" << 3 << "1.5" << 2 << "XON/XOFF";
    QTest::newRow("space parity and one stop bit")
        << QByteArray(R"({"parity":"space","stop_bits":1,"flow_control":"none"})") << 115200 << "7"
        << 4 << "Space" << 1 << "1" << 0 << "None";
    QTest::newRow("even, stop bits 7 read as one")
        << QByteArray(R"({"parity":"even","stop_bits":7})") << 115200 << "7" << 2 << "Even" << 1
        << "1" << 1 << "RTS/CTS";
    QTest::newRow("impossible rates and widths are not taken")
        << QByteArray(R"({"baud_rate":0,"data_bits":12})") << 115200 << "7" << 3 << "Odd" << 2
        << "2" << 1 << "RTS/CTS";
}

void TestSettings::patchSerialParams()
{
    QFETCH(QByteArray, json);
    Settings s;
    s.baudRate = 115200;
    s.dataBits = 7;
    s.stringDataBits = "7";
    s.parity = 3;
    s.stringParity = "Odd";
    s.stopBits = 2;
    s.stringStopBits = "2";
    s.flowControl = 1;
    s.stringFlowControl = "RTS/CTS";
    s.targetHost = "example";
    const Settings before = s;

    ::patchSerialParams(QJsonDocument::fromJson(json).object(), s);

    QTEST(s.baudRate, "baud");
    QTEST(s.stringDataBits, "dataBits");
    QCOMPARE(s.dataBits, s.stringDataBits.toInt());
    QTEST(s.parity, "parity");
    QTEST(s.stringParity, "parityText");
    QTEST(s.stopBits, "stopBits");
    QTEST(s.stringStopBits, "stopText");
    QTEST(s.flowControl, "flow");
    QTEST(s.stringFlowControl, "flowText");
    QCOMPARE(s.targetHost, before.targetHost);
}

void TestSettings::remoteLabel_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("portName");
    QTest::addColumn<QString>("shareLabel");
    QTest::addColumn<QString>("label");
    QTest::newRow("ipv4") << 7 << "10.0.0.2" << "" << "" << "10.0.0.2:23";
    QTest::newRow("ipv6 bracketed") << 7 << "::1" << "" << "" << "[::1]:23";
    QTest::newRow("already bracketed") << 7 << "[::1]" << "" << "" << "[::1]:23";
    QTest::newRow("empty host") << 7 << "" << "" << "" << "";
    QTest::newRow("relay port name") << 8 << "h" << "COM7" << "bench" << "COM7";
    QTest::newRow("relay share label") << 8 << "h" << "" << "bench" << "bench";
    QTest::newRow("tcp client has none") << 2 << "h" << "x" << "y" << "";
}

void TestSettings::remoteLabel()
{
    QFETCH(int, mode);
    Settings s;
    s.connMode = connectionMode(mode);
    QFETCH(QString, host);
    s.targetHost = host;
    s.targetPort = 23;
    QFETCH(QString, portName);
    QFETCH(QString, shareLabel);
    s.relayPortName = portName;
    s.relayShareLabel = shareLabel;
    QTEST(remoteSerialPortLabel(s), "label");
}

void TestSettings::hostListKeepsNewestLastWithoutDuplicates()
{
    Settings s;
    s.rememberHost(" 10.0.0.1 ");
    s.rememberHost("");
    s.rememberHost("   ");
    s.rememberHost("127.0.0.1");
    QCOMPARE(s.targetHostList, QStringList({"10.0.0.1", "127.0.0.1"}));
    s.rememberHost("10.0.0.1");
    QCOMPARE(s.targetHostList, QStringList({"127.0.0.1", "10.0.0.1"}));
}

void TestSettings::codecConversions()
{
    QCOMPARE(SettingsCodec::msToSpinValue(5000, 0), 5000);
    QCOMPARE(SettingsCodec::msToSpinValue(5999, 1000), 5);
    QCOMPARE(SettingsCodec::sendIntervalToMs(1000000, 60000), 60000000000LL);
    QCOMPARE(SettingsCodec::sendIntervalToMs(7, -3), 7);
    QCOMPARE(SettingsCodec::rotateSizeBytesToMb(104857599), 99);
}

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
