// Connections written as URLs: each form fills the record's fields, anything it leaves
// out keeps the record's value, and a bad URL is refused with a sentence naming it.

#include "connection/connectionurl.h"

#include <QtTest>

class TestConnectionUrl : public QObject
{
    Q_OBJECT

private slots:
    void parses_data();
    void parses();
    void refuses_data();
    void refuses();
};

void TestConnectionUrl::parses_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("fields"); // the fields the URL sets, as parses() prints them

    QTest::newRow("serial with every parameter")
        << "serial:/dev/ttyUSB0?baud=115200&data=7&parity=even&stop=2&flow=rtscts"
        << int(ModeSerial) << "/dev/ttyUSB0 115200 7 2/Even 2/2 1/RTS/CTS";
    QTest::newRow("serial, one-and-a-half stop bits, names in any case")
        << "serial:/dev/ttyS1?stop=1.5&parity=MARK&flow=xonxoff" << int(ModeSerial)
        << "/dev/ttyS1 9600 8 5/Mark 3/1.5 2/XON/XOFF";
    QTest::newRow("bare path keeps the defaults") << "/dev/pts/7" << int(ModeSerial)
                                                  << "/dev/pts/7 9600 8 0/None 1/1 0/None";
    QTest::newRow("tcp client") << "tcp://example.org:502" << int(ModeTcpClient)
                                << "example.org:502";
    QTest::newRow("tcp client, IPv6 in brackets") << "tcp://[::1]:7000" << int(ModeTcpClient)
                                                  << "::1:7000";
    QTest::newRow("tcp server without address") << "tcp-server://:0" << int(ModeTcpServer) << ":0";
    QTest::newRow("udp with local port") << "udp://10.0.0.2:9000?local=9001"
                                         << int(ModeUdpClient) << "10.0.0.2:9000 local 9001";
    QTest::newRow("udp picks a free local port") << "udp://10.0.0.2:9000" << int(ModeUdpClient)
                                                 << "10.0.0.2:9000 local 0";
    QTest::newRow("udp server") << "udp-server://0.0.0.0:5000" << int(ModeUdpServer) << ":5000";
    QTest::newRow("remote serial pushes its parameters")
        << "rfc2217://dev.local:2217?baud=115200&parity=odd" << int(ModeRemoteSerial)
        << "dev.local:2217 push 115200 3/Odd";
    QTest::newRow("remote serial keeps the remote's own") << "rfc2217://[::1]:2217"
                                                          << int(ModeRemoteSerial) << "::1:2217 keep";
}

void TestConnectionUrl::parses()
{
    QFETCH(QString, url);
    QFETCH(int, mode);
    QFETCH(QString, fields);
    Settings s;
    QString error;
    QVERIFY2(ConnectionUrl::parse(url, Settings(), &s, &error), qPrintable(error));
    QCOMPARE(int(s.connMode), mode);
    QString printed;
    switch (s.connMode) {
    case ModeSerial:
        printed = QStringLiteral("%1 %2 %3 %4/%5 %6/%7 %8/%9")
                      .arg(s.name)
                      .arg(s.baudRate)
                      .arg(s.stringDataBits)
                      .arg(s.parity)
                      .arg(s.stringParity)
                      .arg(s.stopBits)
                      .arg(s.stringStopBits)
                      .arg(s.flowControl)
                      .arg(s.stringFlowControl);
        break;
    case ModeTcpServer:
        printed = QStringLiteral(":%1").arg(s.targetPort);
        break;
    case ModeUdpServer:
        printed = QStringLiteral(":%1").arg(s.udpServerPort);
        break;
    case ModeUdpClient:
        printed = QStringLiteral("%1:%2 local %3").arg(s.targetHost).arg(s.targetPort).arg(s.udpLocalPort);
        break;
    case ModeRemoteSerial:
        printed = QStringLiteral("%1:%2 ").arg(s.targetHost).arg(s.targetPort) +
                  (s.useRemoteSerialConfig
                       ? QStringLiteral("keep")
                       : QStringLiteral("push %1 %2/%3").arg(s.baudRate).arg(s.parity).arg(s.stringParity));
        break;
    default:
        printed = QStringLiteral("%1:%2").arg(s.targetHost).arg(s.targetPort);
        break;
    }
    QCOMPARE(printed, fields);
}

void TestConnectionUrl::refuses_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("named"); // what the sentence must name

    QTest::newRow("empty") << "  " << "No connection";
    QTest::newRow("unknown scheme") << "http://x:1" << "http://x:1";
    QTest::newRow("tcp without port") << "tcp://host" << "tcp://host";
    QTest::newRow("tcp port 0") << "tcp://host:0" << "1 to 65535";
    QTest::newRow("tcp port too big") << "tcp://host:65536" << "65536";
    QTest::newRow("tcp without slashes") << "tcp:host:1" << "//";
    QTest::newRow("serial without path") << "serial:?baud=9600" << "serial port";
    QTest::newRow("unknown serial parameter") << "serial:/dev/x?speed=9600" << "speed";
    QTest::newRow("bad baud") << "serial:/dev/x?baud=-5" << "baud=-5";
    QTest::newRow("bad data bits") << "serial:/dev/x?data=9" << "data=9";
    QTest::newRow("bad parity") << "serial:/dev/x?parity=maybe" << "parity=maybe";
    QTest::newRow("remote serial, bad stop bits") << "rfc2217://h:1?stop=3" << "stop=3";
    QTest::newRow("remote serial, unknown parameter") << "rfc2217://h:1?local=5" << "local";
    QTest::newRow("bad udp local") << "udp://h:1?local=x" << "local=x";
    QTest::newRow("parameter of another transport") << "tcp://h:1?local=5" << "local";
    QTest::newRow("share with a letter outside the code alphabet")
        << "share://ABCD-EFGH-JKMI" << "invite code";
    QTest::newRow("share, unknown parameter") << "share://ABCD-EFGH-JKMN?name=x" << "name";
}

void TestConnectionUrl::refuses()
{
    QFETCH(QString, url);
    QFETCH(QString, named);
    Settings untouched;
    untouched.name = QStringLiteral("kept");
    Settings s = untouched;
    QString error;
    QVERIFY(!ConnectionUrl::parse(url, Settings(), &s, &error));
    QVERIFY2(error.contains(named), qPrintable(error));
    QCOMPARE(s, untouched);
}

QTEST_APPLESS_MAIN(TestConnectionUrl)
#include "tst_connectionurl.moc"
