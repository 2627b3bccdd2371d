// velmora-cli as a user runs it: the program itself, against real peers (socat pty
// pairs, Python peers on loopback with pyserial), checked by exit code, output and the
// bytes on the wire.

#include "../decode/templates.h"
#include "app/projectcodec.h"
#include "automation/autoreplycodec.h"
#include "automation/commandlibrarycodec.h"
#include "decode/frametemplatecodec.h"
#include "recording/vlmlog.h"
#include "recording/vlmlogwriter.h"
#include "support/testsupport.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {
const QString Python = QStringLiteral("/usr/bin/python3");

// The program as the build leaves it, beside the test programs' folder.
QString cliPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../src/cli/velmora-cli");
}

struct Result
{
    int code = -1;
    QString out;
    QString err;
};
} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private:
    QString peerScript() const { return QFINDTESTDATA("cli_peer.py"); }
    // Runs velmora-cli to its end.
    Result cli(const QStringList &args, const QByteArray &input = {});
    // Starts velmora-cli; the caller waits for it.
    std::unique_ptr<QProcess> startCli(const QStringList &args);
    // Starts a Python peer; for the listening modes returns its port in `port`.
    std::unique_ptr<QProcess> startPeer(const QStringList &args, quint16 *port = nullptr);
    // A project with one port on `url`'s connection, a sequence library and rules.
    QString writeProject(const QString &name);
    // A recording written as the recorder writes it: `events` of port "p1" (and of "p2"
    // when given) at their times.
    QString writeRecording(const QString &name, const QList<SessionEvent> &p1,
                           const QList<SessionEvent> &p2 = {});
    // A Modbus RTU slave seen from its host: two requests and their responses.
    QString modbusRecording();
    // Records a pty and a TCP peer with velmora-cli; leaves the file in `twoPorts`.
    void recordTwoPorts();

    QTemporaryDir dir;
    QString twoPorts;

private slots:
    void initTestCase();
    void linksNeitherGuiNorWidgets();
    void refusesWithExitCodeAndReason_data();
    void refusesWithExitCodeAndReason();
    void everyCommandHasHelp();
    void crcPrintsHexAndDecimal_data();
    void crcPrintsHexAndDecimal();
    void sendTakesTheSendPath_data();
    void sendTakesTheSendPath();
    void monitorPrintsAndSendsStandardInput();
    void sendOverRemoteSerial_data();
    void sendOverRemoteSerial();
    void monitorOverRemoteSerial();
    void runScriptExitCodesAndJUnit_data();
    void runScriptExitCodesAndJUnit();
    void interruptRunsOnStopAndWritesReport();
    void runSequenceAgainstEchoPeer_data();
    void runSequenceAgainstEchoPeer();
    void simulateAnswersPeerOnPty();
    void forwardsExactBytesBothWays_data();
    void forwardsExactBytesBothWays();
    void decodeEventsFile_data();
    void decodeEventsFile();
    void recordTwoPortsAndReadBack_data();
    void recordTwoPortsAndReadBack();
    void replayIntoPtyReproducesBytes_data();
    void replayIntoPtyReproducesBytes();
    void replayAnswersModbusMaster();
    void serveGatewayAnswersMbpoll();
};

Result TestCli::cli(const QStringList &args, const QByteArray &input)
{
    QProcess process;
    process.start(cliPath(), args);
    if (!process.waitForStarted()) {
        return {};
    }
    if (!input.isEmpty()) {
        process.write(input);
    }
    process.closeWriteChannel();
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

std::unique_ptr<QProcess> TestCli::startCli(const QStringList &args)
{
    auto process = std::make_unique<QProcess>();
    process->start(cliPath(), args);
    process->waitForStarted();
    return process;
}

std::unique_ptr<QProcess> TestCli::startPeer(const QStringList &args, quint16 *port)
{
    auto process = std::make_unique<QProcess>();
    process->start(Python, QStringList{peerScript()} + args);
    if (port) {
        *port = 0;
        if (process->waitForReadyRead(10000)) {
            *port = quint16(process->readLine().trimmed().toUInt());
        }
    }
    return process;
}

QString TestCli::writeProject(const QString &name)
{
    const QString path = dir.filePath(name);
    QSettings file(path, QSettings::IniFormat);
    ProjectRecord project;
    project.ports[0].settings.connMode = ModeTcpClient;
    ProjectCodec::save(file, project);

    // "ping" answered by an echo passes; "pong" never comes and fails after 300 ms.
    CommandLibrary library;
    for (const QString &expected : {QStringLiteral("ping"), QStringLiteral("pong")}) {
        Sequence sequence;
        sequence.name = expected == QLatin1String("ping") ? QStringLiteral("Echo")
                                                          : QStringLiteral("Silent");
        SequenceStep send;
        send.command.text = QStringLiteral("ping");
        SequenceStep expect;
        expect.kind = SequenceStepKind::Expect;
        expect.pattern = expected;
        expect.ms = 300;
        sequence.steps = {send, expect, send, expect};
        library.sequences.append(sequence);
    }
    CommandLibraryCodec::save(file, ProjectCodec::commandLibraryGroup() + QLatin1Char('/'), library);
    FrameTemplateCodec::save(file, FrameTemplateCodec::projectPrefix(), {templates::sensor()});
    file.sync();
    return path;
}

QString TestCli::writeRecording(const QString &name, const QList<SessionEvent> &p1,
                               const QList<SessionEvent> &p2)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return QString();
    }
    VlmlogWriter writer(&file);
    Vlmlog::RecordingHeader header;
    header.appVersion = QStringLiteral("test");
    header.timeZone = QStringLiteral("UTC");
    header.startedAt = 1700000000000000;
    header.ports = {{QStringLiteral("p1"), QStringLiteral("Device"), QStringLiteral("serial"),
                     QStringLiteral("115200 8N1"), QStringLiteral("UTF-8"), QStringLiteral("UTF-8"),
                     {}, {}, 0, 0}};
    if (!p2.isEmpty()) {
        header.ports.append({QStringLiteral("p2"), QStringLiteral("Other"), QStringLiteral("tcp"),
                             {}, {}, {}, {}, {}, 0, 0});
    }
    writer.header(header);
    // Merged by time, as the recorder writes them.
    QList<std::pair<SessionEvent, QString>> all;
    for (const SessionEvent &event : p1) {
        all.append({event, QStringLiteral("p1")});
    }
    for (const SessionEvent &event : p2) {
        all.append({event, QStringLiteral("p2")});
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const auto &a, const auto &b) { return a.first.t < b.first.t; });
    for (const auto &[event, port] : all) {
        writer.event(event, port);
    }
    writer.end(all.isEmpty() ? header.startedAt : all.last().first.t, QStringLiteral("stopped"), {});
    writer.flush();
    return path;
}

QString TestCli::modbusRecording()
{
    const qint64 t0 = 1700000000000000;
    const auto event = [](qint64 t, quint8 kind, const char *hex) {
        return SessionEvent{0, t, kind, {}, QByteArray::fromHex(hex), {}};
    };
    // Holding registers 0-1 read as 0x1234 0x5678 after 20 ms, register 10 as 0xABCD; the
    // second request came 300 ms later, split over two reads.
    return writeRecording(QStringLiteral("modbus.vlmlog"),
                          {event(t0, SessionEvent::Tx, "010300000002c40b"),
                           event(t0 + 20000, SessionEvent::Rx, "010304123456788107"),
                           event(t0 + 320000, SessionEvent::Tx, "0103000a"),
                           event(t0 + 320400, SessionEvent::Tx, "0001a408"),
                           event(t0 + 340000, SessionEvent::Rx, "010302abcd06e1")});
}

void TestCli::initTestCase()
{
    QVERIFY(dir.isValid());
    QVERIFY(QFileInfo::exists(cliPath()));
    QProcess probe;
    probe.start(Python, {QStringLiteral("-c"), QStringLiteral("import serial")});
    if (!probe.waitForFinished(20000) || probe.exitCode() != 0) {
        QSKIP("Debian's python3-serial is needed for the peers");
    }
}

void TestCli::linksNeitherGuiNorWidgets()
{
    QProcess ldd;
    ldd.start(QStringLiteral("ldd"), {cliPath()});
    QVERIFY(ldd.waitForFinished(20000));
    const QString libraries = QString::fromUtf8(ldd.readAllStandardOutput());
    QVERIFY(libraries.contains(QLatin1String("libQt6Core")));
    QVERIFY2(!libraries.contains(QLatin1String("libQt6Gui")), qPrintable(libraries));
    QVERIFY2(!libraries.contains(QLatin1String("libQt6Widgets")), qPrintable(libraries));
}

void TestCli::refusesWithExitCodeAndReason_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    const QString closed = QStringLiteral("127.0.0.1:%1").arg(testsupport::closedTcpPort());
    const QString missing = dir.filePath(QStringLiteral("no-such-tty"));
    const auto row = [](const char *name, const QStringList &args, int code, const QString &why) {
        QTest::newRow(name) << args << code << why;
    };
    row("no command", {}, 2, QString());
    row("unknown command", {QStringLiteral("fly")}, 2, QStringLiteral("\"fly\""));
    row("unknown option", {QStringLiteral("send"), QStringLiteral("--loud")}, 2,
        QStringLiteral("loud"));
    row("bad url", {QStringLiteral("send"), QStringLiteral("bogus://x"), QStringLiteral("--text"),
                    QStringLiteral("a")},
        2, QStringLiteral("bogus://x"));
    row("bad baud", {QStringLiteral("send"), QStringLiteral("serial:/dev/null?baud=fast"),
                     QStringLiteral("--text"), QStringLiteral("a")},
        2, QStringLiteral("baud=fast"));
    row("bad hex is refused before opening",
        {QStringLiteral("send"), QStringLiteral("tcp://") + closed, QStringLiteral("--hex"),
         QStringLiteral("0G")},
        2, QStringLiteral("G"));
    row("closed tcp port", {QStringLiteral("send"), QStringLiteral("tcp://") + closed,
                            QStringLiteral("--text"), QStringLiteral("a")},
        3, closed);
    row("missing serial device", {QStringLiteral("monitor"), QStringLiteral("serial:") + missing},
        3, missing);
    row("crc unknown name", {QStringLiteral("crc"), QStringLiteral("crc99"), QStringLiteral("--hex"),
                             QStringLiteral("00")},
        2, QStringLiteral("crc99"));
    row("sequence needs a project", {QStringLiteral("run-sequence"), QStringLiteral("tcp://") + closed,
                                     QStringLiteral("--sequence"), QStringLiteral("Echo")},
        2, QStringLiteral("--project"));
    row("serve on a TCP port out of range",
        {QStringLiteral("serve"), QStringLiteral("serial:") + missing, QStringLiteral("--listen"),
         QStringLiteral("127.0.0.1:65536")},
        2, QStringLiteral("--listen"));
    row("serve speaking an unknown protocol",
        {QStringLiteral("serve"), QStringLiteral("serial:") + missing, QStringLiteral("--listen"),
         QStringLiteral("0"), QStringLiteral("--protocol"), QStringLiteral("http")},
        2, QStringLiteral("http"));
    row("bridge with one end", {QStringLiteral("bridge"), QStringLiteral("serial:") + missing}, 2,
        QStringLiteral("URL_A URL_B"));
    const QString garbage = dir.filePath(QStringLiteral("garbage.vlmlog"));
    {
        QFile file(garbage);
        file.open(QIODevice::WriteOnly);
        file.write("this is\nnot a recording\n");
    }
    row("not a recording", {QStringLiteral("info"), garbage}, 2, QStringLiteral("not a recording"));
    row("missing recording", {QStringLiteral("export"), dir.filePath(QStringLiteral("none.vlmlog")),
                              QStringLiteral("--format"), QStringLiteral("csv")},
        2, QStringLiteral("none.vlmlog"));
    row("replay of a port the recording lacks",
        {QStringLiteral("replay"), modbusRecording(), QStringLiteral("--port"), QStringLiteral("p7"),
         QStringLiteral("--to"), QStringLiteral("tcp://") + closed},
        2, QStringLiteral("p1"));
    row("search of bytes that are not hex",
        {QStringLiteral("search"), modbusRecording(), QStringLiteral("--hex"), QStringLiteral("0x4")},
        2, QString());
    row("script syntax error names the line",
        {QStringLiteral("run-script"), QStringLiteral("tcp://") + closed,
         QFINDTESTDATA("broken.lua")},
        2, QStringLiteral("line 2"));
}

void TestCli::refusesWithExitCodeAndReason()
{
    QFETCH(QStringList, args);
    QFETCH(int, code);
    QFETCH(QString, reason);
    const Result result = cli(args);
    QCOMPARE(result.code, code);
    QVERIFY2(result.err.contains(reason), qPrintable(result.err));
}

void TestCli::everyCommandHasHelp()
{
    for (const char *command : {"ports", "monitor", "send", "run-script", "run-sequence",
                                "simulate", "decode", "crc", "record", "replay", "info",
                                "export", "search"}) {
        const Result result = cli({QLatin1String(command), QStringLiteral("--help")});
        QCOMPARE(result.code, 0);
        QVERIFY2(result.out.startsWith(QStringLiteral("Usage: velmora-cli %1").arg(command)),
                 qPrintable(result.out));
    }
}

void TestCli::crcPrintsHexAndDecimal_data()
{
    QTest::addColumn<QStringList>("input");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("printed");
    // The check values of "123456789", as the algorithms' catalogues publish them.
    const QStringList check = {QStringLiteral("--text"), QStringLiteral("123456789")};
    QTest::newRow("crc16modbus") << check << "crc16modbus" << "0x4B37 19255";
    QTest::newRow("crc32 upper case name") << check << "CRC32" << "0xCBF43926 3421780262";
    QTest::newRow("crc5usb keeps its width") << check << "crc5usb" << "0x19 25";
    QTest::newRow("hex input") << QStringList{QStringLiteral("--hex"), QStringLiteral("01 02")}
                               << "sum8" << "0x03 3";
}

void TestCli::crcPrintsHexAndDecimal()
{
    QFETCH(QStringList, input);
    QFETCH(QString, name);
    QFETCH(QString, printed);
    const Result result = cli(QStringList{QStringLiteral("crc"), name} + input);
    QCOMPARE(result.code, 0);
    QCOMPARE(result.out.trimmed(), printed);
}

void TestCli::sendTakesTheSendPath_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("wireHex");
    QTest::addColumn<QString>("printed");
    QTest::newRow("hex with the Modbus CRC")
        << QStringList{QStringLiteral("--hex"), QStringLiteral("01 03 00 00 00 01"),
                       QStringLiteral("--checksum"), QStringLiteral("crc16modbus")}
        << "010300000001840a" << "01 03 00 00 00 01 84 0A\n";
    QTest::newRow("text with escapes and CR LF")
        << QStringList{QStringLiteral("--text"), QStringLiteral("A\\x42"), QStringLiteral("--escapes"),
                       QStringLiteral("--eol"), QStringLiteral("crlf")}
        << "41420d0a" << "AB\r\n";
    QTest::newRow("text without escapes keeps the backslash")
        << QStringList{QStringLiteral("--text"), QStringLiteral("A\\n")} << "415c6e" << "A\\n";
}

void TestCli::sendTakesTheSendPath()
{
    QFETCH(QStringList, args);
    QFETCH(QString, wireHex);
    QFETCH(QString, printed);
    wireHex.remove(QLatin1Char(' '));

    // Over a pty the peer on the other end sees exactly the window's bytes.
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    auto reader = startPeer({QStringLiteral("serial-read"), pty.portB(),
                             QString::number(wireHex.size() / 2)});
    QVERIFY(reader->waitForReadyRead(10000)); // "ready"
    Result result = cli(QStringList{QStringLiteral("send"), QStringLiteral("serial:") + pty.portA(),
                                    QStringLiteral("--wait-ms"), QStringLiteral("0")} +
                        args);
    QCOMPARE(result.code, 0);
    QVERIFY(reader->waitForFinished(15000));
    QCOMPARE(QString::fromLatin1(reader->readAll()).split(QLatin1Char('\n')).value(1), wireHex);

    // An echo peer answers; the answer is printed as the input was written.
    quint16 port = 0;
    auto echo = startPeer({QStringLiteral("tcp-echo")}, &port);
    QVERIFY(port != 0);
    result = cli(QStringList{QStringLiteral("send"), QStringLiteral("tcp://127.0.0.1:%1").arg(port),
                             QStringLiteral("--wait-ms"), QStringLiteral("1500")} +
                 args);
    echo->kill();
    echo->waitForFinished();
    QCOMPARE(result.code, 0);
    QCOMPARE(result.out, printed);
}

void TestCli::monitorPrintsAndSendsStandardInput()
{
    quint16 port = 0;
    auto peer = startPeer({QStringLiteral("tcp-say"), QStringLiteral("hello device\n")}, &port);
    QVERIFY(port != 0);
    const Result result = cli({QStringLiteral("monitor"), QStringLiteral("tcp://127.0.0.1:%1").arg(port),
                               QStringLiteral("--duration"), QStringLiteral("1.5"),
                               QStringLiteral("--eol"), QStringLiteral("crlf")},
                              "AT\nATI\n");
    QCOMPARE(result.code, 0);
    QCOMPARE(result.out, QStringLiteral("hello device\n"));
    QVERIFY(peer->waitForFinished(10000));
    QCOMPARE(peer->readAll().trimmed(), QByteArray("41540d0a4154490d0a")); // "AT\r\nATI\r\n"
}

void TestCli::sendOverRemoteSerial_data()
{
    QTest::addColumn<QString>("query");
    // A pty keeps only the rate of what ser2net sets (it forces 8N1), so the rate tells.
    QTest::addColumn<QString>("stty");
    QTest::newRow("parameters pushed") << "?baud=115200&data=8&parity=none&stop=1"
                                       << "speed 115200 baud";
    QTest::newRow("remote keeps its own") << "" << "speed 9600 baud";
}

void TestCli::sendOverRemoteSerial()
{
    QFETCH(QString, query);
    QFETCH(QString, stty);
    testsupport::PtyPair pty;
    testsupport::Ser2net server;
    QString why;
    if (!pty.start(&why) || !server.start(pty.portA(), &why)) {
        QSKIP(qPrintable(why));
    }
    auto reader = startPeer({QStringLiteral("serial-read"), pty.portB(), QStringLiteral("5")});
    QVERIFY(reader->waitForReadyRead(10000)); // "ready"
    const Result result = cli({QStringLiteral("send"),
                               QStringLiteral("rfc2217://127.0.0.1:%1%2").arg(server.port()).arg(query),
                               QStringLiteral("--hex"), QStringLiteral("FF 00 FF FF 41"),
                               QStringLiteral("--wait-ms"), QStringLiteral("500")});
    QCOMPARE(result.code, 0);
    QVERIFY(reader->waitForFinished(15000));
    // The escape byte reaches the device as it was given, neither doubled nor eaten.
    QCOMPARE(QString::fromLatin1(reader->readAll()).split(QLatin1Char('\n')).value(1),
             QStringLiteral("ff00ffff41"));
    const QString settings = testsupport::sttySettings(pty.portA());
    QVERIFY2(settings.contains(stty), qPrintable(settings));
}

void TestCli::monitorOverRemoteSerial()
{
    testsupport::PtyPair pty;
    testsupport::Ser2net server;
    QString why;
    if (!pty.start(&why) || !server.start(pty.portA(), &why)) {
        QSKIP(qPrintable(why));
    }
    auto monitor = startCli({QStringLiteral("monitor"),
                             QStringLiteral("rfc2217://127.0.0.1:%1?baud=57600").arg(server.port()),
                             QStringLiteral("--hex"), QStringLiteral("--duration"),
                             QStringLiteral("6")});
    // The pushed rate shows that the monitor is connected and in control of the line.
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::sttySettings(pty.portA()).contains("speed 57600 baud"),
                             10000);
    auto device = startPeer({QStringLiteral("serial-talk"), pty.portB(),
                             QStringLiteral("ff00ff41ffff"), QStringLiteral("0")});
    QVERIFY(device->waitForFinished(15000));
    QVERIFY(monitor->waitForFinished(20000));
    QCOMPARE(monitor->exitCode(), 0);
    QCOMPARE(QString::fromLatin1(monitor->readAllStandardOutput()).remove(QRegularExpression("\\s")),
             QStringLiteral("FF00FF41FFFF"));
}

void TestCli::runScriptExitCodesAndJUnit_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("failures");
    QTest::addColumn<QString>("printed");
    QTest::newRow("passes") << "sendLine('ping')\nexpect('ping', 3000)\nprint('got it')\n" << 0
                            << 0 << "got it";
    QTest::newRow("fails with its reason and line")
        << "sendLine('ping')\nexpect('ping', 3000)\nfail('wrong answer')\n" << 1 << 1
        << "wrong answer";
    QTest::newRow("times out waiting") << "expect('never', 300)\n" << 1 << 1 << QString();
}

void TestCli::runScriptExitCodesAndJUnit()
{
    QFETCH(QString, source);
    QFETCH(int, code);
    QFETCH(int, failures);
    QFETCH(QString, printed);
    const QString script = dir.filePath(QStringLiteral("%1.lua").arg(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('_')));
    {
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(source.toUtf8());
    }
    quint16 port = 0;
    auto echo = startPeer({QStringLiteral("tcp-echo")}, &port);
    QVERIFY(port != 0);
    const QString junit = dir.filePath(QStringLiteral("script.xml"));
    const Result result = cli({QStringLiteral("run-script"), QStringLiteral("tcp://127.0.0.1:%1").arg(port),
                               script, QStringLiteral("--junit"), junit});
    echo->kill();
    echo->waitForFinished();
    QCOMPARE(result.code, code);
    QVERIFY2(result.out.contains(printed), qPrintable(result.out));

    // Python's own XML reader sees one suite with one case and the failures counted.
    QProcess reader;
    reader.start(Python, {QStringLiteral("-c"),
                          QStringLiteral("import sys, xml.etree.ElementTree as E\n"
                                         "s = E.parse(sys.argv[1]).getroot().find('testsuite')\n"
                                         "print(s.get('tests'), s.get('failures'),"
                                         " len(s.findall('testcase/failure')))"),
                          junit});
    QVERIFY(reader.waitForFinished(20000));
    QCOMPARE(reader.readAll().trimmed(), QStringLiteral("1 %1 %1").arg(failures).toUtf8());
}

void TestCli::interruptRunsOnStopAndWritesReport()
{
    quint16 port = 0;
    auto echo = startPeer({QStringLiteral("tcp-echo")}, &port);
    QVERIFY(port != 0);
    const QString script = dir.filePath(QStringLiteral("forever.lua"));
    {
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("onStop(function(how, why) print('cleaned up ' .. how) end)\n"
                   "print('running')\nwhile true do sleep(50) end\n");
    }
    const QString junit = dir.filePath(QStringLiteral("interrupted.xml"));
    for (int signal : {SIGINT, SIGTERM}) {
        QFile::remove(junit);
        auto run = startCli({QStringLiteral("run-script"), QStringLiteral("tcp://127.0.0.1:%1").arg(port),
                             script, QStringLiteral("--junit"), junit});
        QByteArray seen;
        QTRY_VERIFY_WITH_TIMEOUT((seen += run->readAllStandardOutput()).contains("running") ||
                                     run->state() != QProcess::Running,
                                 15000);
        ::kill(pid_t(run->processId()), signal);
        QVERIFY(run->waitForFinished(15000));
        QCOMPARE(run->exitCode(), 130);
        QVERIFY(run->readAllStandardOutput().contains("cleaned up"));
        QVERIFY(QFileInfo::exists(junit));
    }
    echo->kill();
    echo->waitForFinished();
}

void TestCli::runSequenceAgainstEchoPeer_data()
{
    QTest::addColumn<QString>("sequence");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("junitCounts");
    QTest::newRow("echo passes") << "Echo" << 0 << "2 0";
    QTest::newRow("silent fails") << "Silent" << 1 << "1 1";
}

void TestCli::runSequenceAgainstEchoPeer()
{
    QFETCH(QString, sequence);
    QFETCH(int, code);
    QFETCH(QString, junitCounts);
    const QString project = writeProject(QStringLiteral("sequences.vlm"));
    quint16 port = 0;
    auto echo = startPeer({QStringLiteral("tcp-echo")}, &port);
    QVERIFY(port != 0);
    const QString junit = dir.filePath(QStringLiteral("sequence.xml"));
    const QString report = dir.filePath(QStringLiteral("sequence.json"));
    const Result result =
        cli({QStringLiteral("run-sequence"), QStringLiteral("tcp://127.0.0.1:%1").arg(port),
             QStringLiteral("--project"), project, QStringLiteral("--sequence"), sequence,
             QStringLiteral("--junit"), junit, QStringLiteral("--report"), report});
    echo->kill();
    echo->waitForFinished();
    QVERIFY2(result.code == code, qPrintable(result.out + result.err));
    QFile json(report);
    QVERIFY(json.open(QIODevice::ReadOnly));
    QVERIFY(json.readAll().contains(sequence.toUtf8()));
    // A failing Expect stops the run: the second one never runs and is not a case.
    QProcess reader;
    reader.start(Python, {QStringLiteral("-c"),
                          QStringLiteral("import sys, xml.etree.ElementTree as E\n"
                                         "s = E.parse(sys.argv[1]).getroot().find('testsuite')\n"
                                         "print(s.get('tests'), s.get('failures'))"),
                          junit});
    QVERIFY(reader.waitForFinished(20000));
    QCOMPARE(QString::fromUtf8(reader.readAll().trimmed()), junitCounts);
}

void TestCli::simulateAnswersPeerOnPty()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    auto simulator = startCli({QStringLiteral("simulate"), QStringLiteral("serial:") + pty.portA(),
                               QStringLiteral("--reply"), QStringLiteral("PING\\r=PONG\\r\\n"),
                               QStringLiteral("--json")});
    auto device = startPeer({QStringLiteral("serial-talk"), pty.portB(),
                             QStringLiteral("50494e470d"), QStringLiteral("6")});
    QVERIFY(device->waitForFinished(15000));
    QCOMPARE(device->readAll().trimmed(), QByteArray("504f4e470d0a"));
    QTRY_VERIFY_WITH_TIMEOUT(simulator->bytesAvailable() > 0, 10000);
    ::kill(pid_t(simulator->processId()), SIGTERM);
    QVERIFY(simulator->waitForFinished(15000));
    QCOMPARE(simulator->exitCode(), 130);
    const QJsonObject hit = QJsonDocument::fromJson(simulator->readLine()).object();
    QCOMPARE(hit.value(QStringLiteral("event")).toString(), QStringLiteral("reply"));
    QCOMPARE(hit.value(QStringLiteral("bytes")).toInt(), 6);
}

void TestCli::forwardsExactBytesBothWays_data()
{
    QTest::addColumn<bool>("serve");
    QTest::newRow("serve: a pty to a TCP client") << true;
    QTest::newRow("bridge: a pty to a pty") << false;
}

// A device on a pty answers what comes from the far end: over TCP through serve, or from
// a second pty through bridge. Every byte value travels each way, and an interrupt ends
// the forwarding with 130.
void TestCli::forwardsExactBytesBothWays()
{
    QFETCH(bool, serve);
    testsupport::PtyPair device;
    testsupport::PtyPair far;
    QString why;
    if (!device.start(&why) || (!serve && !far.start(&why))) {
        QSKIP(qPrintable(why));
    }
    QByteArray up;
    QByteArray down;
    for (int i = 0; i < 1024; ++i) {
        up += char(i);
        down += char((i * 7 + 3) & 0xFF);
    }
    auto answer = startPeer({QStringLiteral("serial-answer"), device.portB(),
                             QString::number(up.size()), QString::fromLatin1(down.toHex())});
    QVERIFY(answer->waitForReadyRead(10000));
    QCOMPARE(answer->readLine().trimmed(), QByteArray("ready"));

    const QString served = QStringLiteral("serial:") + device.portA();
    auto run = startCli(serve ? QStringList{QStringLiteral("serve"), served, QStringLiteral("--listen"),
                                            QStringLiteral("127.0.0.1:0")}
                              : QStringList{QStringLiteral("bridge"), served,
                                            QStringLiteral("serial:") + far.portA()});
    QByteArray said;
    QTRY_VERIFY_WITH_TIMEOUT((said += run->readAllStandardError()).contains('\n') ||
                                 run->state() != QProcess::Running,
                             15000);
    QVERIFY2(run->state() == QProcess::Running, said.constData());
    std::unique_ptr<QProcess> talk;
    if (serve) {
        const QRegularExpressionMatch port =
            QRegularExpression(QStringLiteral("TCP port (\\d+)")).match(QString::fromUtf8(said));
        QVERIFY2(port.hasMatch(), said.constData());
        talk = startPeer({QStringLiteral("tcp-talk"), port.captured(1),
                          QString::fromLatin1(up.toHex()), QString::number(down.size())});
    } else {
        talk = startPeer({QStringLiteral("serial-talk"), far.portB(), QString::fromLatin1(up.toHex()),
                          QString::number(down.size())});
    }
    QVERIFY(answer->waitForFinished(20000));
    QCOMPARE(answer->readAll().trimmed(), up.toHex());
    QVERIFY(talk->waitForFinished(20000));
    QCOMPARE(talk->readAll().trimmed(), down.toHex());

    ::kill(pid_t(run->processId()), SIGINT);
    QVERIFY(run->waitForFinished(15000));
    QCOMPARE(run->exitStatus(), QProcess::NormalExit);
    QCOMPARE(run->exitCode(), 130);
}

void TestCli::decodeEventsFile_data()
{
    QTest::addColumn<QByteArray>("events");
    QTest::addColumn<QStringList>("decoder");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("lines");
    const QStringList rtu = {QStringLiteral("--modbus"), QStringLiteral("rtu")};
    // Read holding register 0 of slave 1, answered with 0x002A after 12 ms.
    QTest::newRow("modbus request and paired response")
        << QByteArray("# a capture\n0 tx 010300000001840A\n12 rx 010302002A399B\n")
        << rtu << 0
        << QStringList{QStringLiteral("1  TX"), QStringLiteral("2  RX"), QStringLiteral("(#1, 12 ms)")};
    QTest::newRow("bad line names its number")
        << QByteArray("0 tx 0103\nsoon rx 01\n") << rtu << 2 << QStringList{QStringLiteral("2")};
    QTest::newRow("template of a project")
        << QByteArray("0 rx AA5507010102412000006C\n")
        << QStringList{QStringLiteral("--template"), QStringLiteral("Sensor"),
                       QStringLiteral("--project"), QStringLiteral("@project")}
        << 0 << QStringList{QStringLiteral("1  RX")};
    // No events: the recording of modbusRecording(), timed as recorded.
    QTest::newRow("recording") << QByteArray() << rtu << 0
                               << QStringList{QStringLiteral("2  RX"), QStringLiteral("(#1, 20 ms)"),
                                              QStringLiteral("4  RX"), QStringLiteral("(#3, 20 ms)")};
}

void TestCli::decodeEventsFile()
{
    QFETCH(QByteArray, events);
    QFETCH(QStringList, decoder);
    QFETCH(int, code);
    QFETCH(QStringList, lines);
    decoder.replaceInStrings(QStringLiteral("@project"), writeProject(QStringLiteral("decode.vlm")));
    QString path = dir.filePath(QStringLiteral("events.txt"));
    if (events.isEmpty()) {
        path = modbusRecording();
    } else {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(events);
    }
    const Result result = cli(QStringList{QStringLiteral("decode"), QStringLiteral("--events"), path} +
                              decoder);
    QCOMPARE(result.code, code);
    const QString shown = code == 0 ? result.out : result.err;
    for (const QString &line : lines) {
        QVERIFY2(shown.contains(line), qPrintable(shown));
    }
}

void TestCli::recordTwoPorts()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    quint16 port = 0;
    auto tcp = startPeer({QStringLiteral("tcp-say"), QStringLiteral("TCP-HELLO")}, &port);
    QVERIFY(port != 0);
    const QString path = dir.filePath(QStringLiteral("two.vlmlog"));
    auto recorder = startCli({QStringLiteral("record"), QStringLiteral("serial:") + pty.portA(),
                              QStringLiteral("tcp://127.0.0.1:%1").arg(port), QStringLiteral("--out"),
                              path});
    const auto holds = [&path](const char *text) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) &&
               file.readAll().toLower().contains(QByteArray(text).toHex());
    };
    // The TCP peer greets as soon as it is connected; by then both ports are open.
    QTRY_VERIFY_WITH_TIMEOUT(holds("TCP-HELLO"), 15000);
    auto device = startPeer({QStringLiteral("serial-talk"), pty.portB(),
                             QByteArray("PTY-HELLO\r\n").toHex(), QStringLiteral("0")});
    QVERIFY(device->waitForFinished(15000));
    QTRY_VERIFY_WITH_TIMEOUT(holds("PTY-HELLO\r\n"), 15000);
    ::kill(pid_t(recorder->processId()), SIGINT);
    QVERIFY(recorder->waitForFinished(15000));
    QCOMPARE(recorder->exitCode(), 130);
    tcp->kill();
    tcp->waitForFinished();
    twoPorts = path;
}

void TestCli::recordTwoPortsAndReadBack_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QStringList>("absent");
    const auto row = [](const char *name, const QStringList &args, const QStringList &present,
                        const QStringList &absent = {}) {
        QTest::newRow(name) << args << present << absent;
    };
    // p1 is the pty (named first), p2 the TCP peer.
    row("info", {QStringLiteral("info")},
        {QStringLiteral("Ports: 2"), QStringLiteral("  p1  "), QStringLiteral("  p2  "),
         QStringLiteral("Bytes: 20"), QStringLiteral("Torn tail: no"), QStringLiteral("Ended: stopped"),
         QStringLiteral("Indexed in")});
    row("text export of both ports", {QStringLiteral("export"), QStringLiteral("--format"),
                                      QStringLiteral("text")},
        {QStringLiteral("# Records: 2"), QStringLiteral("50 54 59 2D 48 45 4C 4C 4F 0D 0A"),
         QStringLiteral("54 43 50 2D 48 45 4C 4C 4F")});
    row("csv export of one port",
        {QStringLiteral("export"), QStringLiteral("--format"), QStringLiteral("csv"),
         QStringLiteral("--port"), QStringLiteral("p2")},
        {QStringLiteral("time,t_us,port,dir,peer,bytes,hex,text"), QStringLiteral("TCP-HELLO")},
        {QStringLiteral("PTY-HELLO")});
    row("jsonl export", {QStringLiteral("export"), QStringLiteral("--format"), QStringLiteral("jsonl")},
        {QStringLiteral("\"p1\""), QStringLiteral("5054592d48454c4c4f0d0a")});
    row("text search finds both streams", {QStringLiteral("search"), QStringLiteral("--text"),
                                           QStringLiteral("hello")},
        {QStringLiteral("  p1  event"), QStringLiteral("  p2  event")});
    row("hex search in one port",
        {QStringLiteral("search"), QStringLiteral("--hex"), QStringLiteral("0D 0A"),
         QStringLiteral("--port"), QStringLiteral("p1")},
        {QStringLiteral("  p1  event")}, {QStringLiteral("  p2  ")});
}

void TestCli::recordTwoPortsAndReadBack()
{
    QFETCH(QStringList, args);
    QFETCH(QStringList, present);
    QFETCH(QStringList, absent);
    if (twoPorts.isEmpty()) {
        recordTwoPorts();
        if (QTest::currentTestFailed() || twoPorts.isEmpty()) {
            return;
        }
    }
    args.insert(1, twoPorts);
    const Result result = cli(args);
    QVERIFY2(result.code == 0, qPrintable(result.err));
    for (const QString &text : present) {
        QVERIFY2(result.out.contains(text, Qt::CaseInsensitive), qPrintable(result.out));
    }
    for (const QString &text : absent) {
        QVERIFY2(!result.out.contains(text), qPrintable(result.out));
    }
}

void TestCli::replayIntoPtyReproducesBytes_data()
{
    QTest::addColumn<QStringList>("pacing");
    QTest::newRow("recorded timing") << QStringList();
    QTest::newRow("four times faster") << QStringList{QStringLiteral("--speed"), QStringLiteral("4")};
    QTest::newRow("fastest") << QStringList{QStringLiteral("--fastest")};
}

void TestCli::replayIntoPtyReproducesBytes()
{
    QFETCH(QStringList, pacing);
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    // Every byte value, in reads of uneven sizes, among sent bytes and another port's
    // data that must not be played.
    const qint64 t0 = 1700000000000000;
    QList<SessionEvent> device;
    QList<SessionEvent> other;
    QByteArray expected;
    for (int i = 0; i < 40; ++i) {
        QByteArray bytes;
        for (int k = 0; k < 37 + i * 11; ++k) {
            bytes.append(char((i * 7 + k) & 0xFF));
        }
        expected += bytes;
        device.append({0, t0 + i * 5000, SessionEvent::Rx, {}, bytes, {}});
        device.append({0, t0 + i * 5000 + 1000, SessionEvent::Tx, {}, "TX", {}});
        other.append({0, t0 + i * 5000 + 2000, SessionEvent::Rx, {}, "OTHER", {}});
    }
    const QString path = writeRecording(QStringLiteral("play.vlmlog"), device, other);
    auto reader = startPeer({QStringLiteral("serial-read"), pty.portB(),
                             QString::number(expected.size())});
    QVERIFY(reader->waitForReadyRead(10000));
    QCOMPARE(reader->readLine().trimmed(), QByteArray("ready"));
    const Result result = cli(QStringList{QStringLiteral("replay"), path, QStringLiteral("--port"),
                                          QStringLiteral("p1"), QStringLiteral("--to"),
                                          QStringLiteral("serial:") + pty.portA()} +
                              pacing);
    QVERIFY2(result.code == 0, qPrintable(result.err));
    QVERIFY(reader->waitForFinished(15000));
    QCOMPARE(reader->readAll().trimmed(), expected.toHex());
}

void TestCli::replayAnswersModbusMaster()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    QProcess probe;
    probe.start(Python, {QStringLiteral("-c"), QStringLiteral("import pymodbus.client")});
    if (!probe.waitForFinished(20000) || probe.exitCode() != 0) {
        QSKIP("Debian's python3-pymodbus is needed for the Modbus master");
    }
    auto slave = startCli({QStringLiteral("replay"), modbusRecording(), QStringLiteral("--port"),
                           QStringLiteral("p1"), QStringLiteral("--to"),
                           QStringLiteral("serial:") + pty.portA(), QStringLiteral("--answer")});
    auto master = startPeer({QStringLiteral("modbus-master"), pty.portB()});
    QVERIFY(master->waitForFinished(60000));
    QCOMPARE(master->readAll(), QByteArray("[4660, 22136]\n[43981]\n"));
    // The recording ends after its last response, and so does the replay.
    QVERIFY(slave->waitForFinished(15000));
    QVERIFY2(slave->exitCode() == 0, slave->readAllStandardError().constData());
}

// serve --protocol modbus-gateway: mbpoll, a Modbus TCP master, reads a pymodbus RTU
// slave on a pseudo-terminal through the command.
void TestCli::serveGatewayAnswersMbpoll()
{
    const QString mbpoll = QStandardPaths::findExecutable(QStringLiteral("mbpoll"));
    QProcess probe;
    probe.start(Python, {QStringLiteral("-c"), QStringLiteral("import pymodbus.server")});
    if (mbpoll.isEmpty() || !probe.waitForFinished(20000) || probe.exitCode() != 0) {
        QSKIP("mbpoll and Debian's python3-pymodbus are needed (scripts/deps.sh installs them)");
    }
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    auto slave = startPeer({QStringLiteral("modbus-slave"), pty.portB()});
    QVERIFY(slave->waitForReadyRead(20000));
    auto gateway = startCli({QStringLiteral("serve"),
                             QStringLiteral("serial:%1?baud=19200").arg(pty.portA()),
                             QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                             QStringLiteral("--protocol"), QStringLiteral("modbus-gateway")});
    QByteArray said;
    QTRY_VERIFY_WITH_TIMEOUT((said += gateway->readAllStandardError()).contains('\n') ||
                                 gateway->state() != QProcess::Running,
                             15000);
    const QRegularExpressionMatch port =
        QRegularExpression(QStringLiteral("TCP port (\\d+)")).match(QString::fromUtf8(said));
    QVERIFY2(gateway->state() == QProcess::Running && port.hasMatch(), said.constData());
    // The slave may still be opening its end: ask until an answer comes. mbpoll runs
    // beside the event loop, and one that hangs is ended and asked again.
    QString out;
    const QDeadlineTimer deadline(60000);
    for (bool answered = false; !answered;) {
        QVERIFY2(!deadline.hasExpired(), qPrintable(out));
        QProcess master;
        QSignalSpy done(&master, &QProcess::finished);
        master.start(mbpoll, {"-m", "tcp", "-a", "1", "-r", "1", "-c", "5", "-1", "-o", "2", "-p",
                              port.captured(1), "127.0.0.1"});
        if (!done.wait(15000)) {
            master.kill();
            master.waitForFinished();
        }
        out = QString::fromLocal8Bit(master.readAllStandardOutput() +
                                     master.readAllStandardError());
        answered = master.exitStatus() == QProcess::NormalExit && master.exitCode() == 0;
    }
    for (const char *row : {"[1]: \t11", "[2]: \t22", "[3]: \t33", "[4]: \t44", "[5]: \t55"}) {
        QVERIFY2(out.contains(QLatin1String(row)), qPrintable(out));
    }
    gateway->terminate();
    QVERIFY(gateway->waitForFinished(10000));
    QCOMPARE(gateway->exitCode(), 130);
    slave->kill();
    slave->waitForFinished();
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
