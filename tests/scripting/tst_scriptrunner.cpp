// Script runs on live ports against real peers, and the runner's timing and view lines.

#include "automation/commandlibrary.h"
#include "connection/connectioncontroller.h"
#include "connection/multiclientserver.h"
#include "scripting/scriptlibrary.h"
#include "session/scriptportlink.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include <QProcess>
#include <QSerialPort>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

namespace {
constexpr int Timeout = 15000;

Script sample(int index)
{
    return ScriptLibrary::sample(index);
}

// 0, 1, 2 in the order the window offers them.
constexpr int AtRegression = 0;
constexpr int ModbusSlave = 1;
constexpr int EchoResponder = 2;

// The line of `source` (from 1) that holds `text`.
int lineOf(const QString &source, const QString &text)
{
    const QStringList lines = source.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines.at(i).contains(text)) {
            return int(i + 1);
        }
    }
    return -1;
}

// Runs the event loop until `done` holds or `ms` have passed.
bool waitUntil(const std::function<bool()> &done, int ms = Timeout)
{
    QDeadlineTimer deadline(ms);
    while (!done() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return done();
}

// What a runner reported, in order: "started", the output texts, "finished <state>".
struct Recorder
{
    QStringList events;
    QStringList receiveView;

    void attach(ScriptRunner *runner, QObject *context)
    {
        QObject::connect(runner, &ScriptRunner::started, context,
                         [this] { events << QStringLiteral("started"); });
        QObject::connect(runner, &ScriptRunner::output, context,
                         [this](const ScriptOutput &entry) { events << entry.text; });
        QObject::connect(runner, &ScriptRunner::finished, context, [this](ScriptState state) {
            events << QStringLiteral("finished %1").arg(int(state));
        });
        QObject::connect(runner, &ScriptRunner::receiveViewLine, context,
                         [this](const QString &text) { receiveView << text; });
    }
};

// A modem on a TCP port: answers each command line, AT+CGMI with `cgmiAnswer`.
class Modem : public QObject
{
public:
    explicit Modem(const QByteArray &cgmiAnswer)
        : cgmi(cgmiAnswer)
    {
        connect(&server, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *peer = server.nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, peer, [this, peer] { answer(peer); });
        });
    }

    bool listen() { return server.listen(QHostAddress::LocalHost, 0); }
    quint16 port() const { return server.serverPort(); }
    QStringList commands;

private:
    void answer(QTcpSocket *peer)
    {
        pending += peer->readAll();
        for (qsizetype end = pending.indexOf('\r'); end >= 0; end = pending.indexOf('\r')) {
            const QByteArray command = pending.left(end).trimmed();
            pending.remove(0, end + 1);
            if (command.isEmpty()) {
                continue;
            }
            commands << QString::fromLatin1(command);
            if (command == "AT+CGMI") {
                peer->write(cgmi);
            } else if (command == "AT+GMR") {
                peer->write("\r\nVM-1.4.2\r\n\r\nOK\r\n");
            } else if (command == "AT+CSQ") {
                peer->write("\r\n+CSQ: 21,0\r\n\r\nOK\r\n");
            } else {
                peer->write("\r\nOK\r\n");
            }
        }
    }

    QTcpServer server;
    QByteArray cgmi;
    QByteArray pending;
};

Settings tcpClient(quint16 port)
{
    Settings settings;
    settings.connMode = ModeTcpClient;
    settings.targetHost = QStringLiteral("127.0.0.1");
    settings.targetPort = port;
    return settings;
}
} // namespace

class TestScriptRunner : public QObject
{
    Q_OBJECT
private slots:
    void atRegressionAgainstModem_data();
    void atRegressionAgainstModem();
    void pingPongResponderAnswersClient();
    void modbusSlaveAnswersMaster();
    void tightSendLoopKeepsBacklogNearLimit();
    void sequenceAndScriptExcludeEachOther();
    void refusalsLeaveThePortAlone();
    void sleepWakesOnTime();
    void logLinesReachReceiveViewAtLimitedRate();
};

void TestScriptRunner::atRegressionAgainstModem_data()
{
    QTest::addColumn<QByteArray>("cgmiAnswer");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("summary");
    QTest::newRow("every command answered")
        << QByteArray("\r\nVelmora Labs\r\n\r\nOK\r\n") << int(ScriptState::Passed)
        << "5 passed, 0 failed of 5 (passed)";
    QTest::newRow("ERROR for one command")
        << QByteArray("\r\nERROR\r\n") << int(ScriptState::Failed)
        << "4 passed, 1 failed of 5 (failed)";
}

// The AT sample goes through its table against a modem on a TCP port, prints a line
// per command and the summary from onStop, and the receive view gets the end.
void TestScriptRunner::atRegressionAgainstModem()
{
    QFETCH(QByteArray, cgmiAnswer);
    QFETCH(int, state);
    QFETCH(QString, summary);
    Modem modem(cgmiAnswer);
    QVERIFY(modem.listen());
    SerialPortWidget panel;
    panel.applySettings(tcpClient(modem.port()));
    auto *link = new ScriptPortLink(panel.session());
    // A TCP client connects in the background; like a sequence, a script needs it open.
    QVERIFY(panel.start(QString()));
    QTRY_VERIFY_WITH_TIMEOUT(panel.portIsOpen(), Timeout);
    Recorder recorder;
    recorder.attach(link->runner(), this);
    QSignalSpy finished(link->runner(), &ScriptRunner::finished);

    const Script script = sample(AtRegression);
    QString error;
    int line = 0;
    QVERIFY2(link->startScript(script, &error, &line), qPrintable(error));
    QCOMPARE(line, -1);
    QVERIFY(finished.wait(Timeout));
    QCOMPARE(int(link->runner()->state()), state);
    QCOMPARE(modem.commands, (QStringList{"AT", "ATE0", "AT+GMR", "AT+CSQ", "AT+CGMI"}));
    QVERIFY2(recorder.events.contains(summary), qPrintable(recorder.events.join(" | ")));
    QCOMPARE(recorder.events.first(), "started");
    QCOMPARE(recorder.events.last(), QStringLiteral("finished %1").arg(state));

    const QString note = link->runner()->finishedNote();
    if (state == int(ScriptState::Failed)) {
        QCOMPARE(link->runner()->engine().errorLine(), lineOf(script.source, "fail(string.format"));
        QVERIFY2(note.startsWith(QStringLiteral("Script \"AT command regression\" failed at line %1 after ")
                                     .arg(link->runner()->engine().errorLine())),
                 qPrintable(note));
        QVERIFY(note.endsWith(": 1 of 5 commands failed"));
    } else {
        QVERIFY2(note.startsWith("Script \"AT command regression\" passed in "), qPrintable(note));
    }
    QCOMPARE(recorder.receiveView, QStringList{note});
    QVERIFY(panel.viewText().contains(note));
}

// The PING/PONG sample answers a TCP client however the request is split, and a stop
// runs its onStop before finished(Stopped).
void TestScriptRunner::pingPongResponderAnswersClient()
{
    SerialPortWidget panel;
    Settings settings;
    settings.connMode = ModeTcpServer;
    settings.targetPort = 0;
    panel.applySettings(settings);
    auto *link = new ScriptPortLink(panel.session());
    Recorder recorder;
    recorder.attach(link->runner(), this);
    QString error;
    int line = 0;
    QVERIFY2(link->startScript(sample(EchoResponder), &error, &line), qPrintable(error));
    QVERIFY(panel.portIsOpen());

    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost,
                         panel.connectionController()->server()->serverPort());
    QVERIFY(client.waitForConnected(Timeout));
    QTRY_COMPARE_WITH_TIMEOUT(panel.connectedPeers().size(), 1, Timeout);
    client.write("PI");
    QTest::qWait(50);
    client.write("NG\r\nPING\r\n");
    QByteArray answer;
    QTRY_VERIFY_WITH_TIMEOUT((answer += client.readAll()).size() >= 12, Timeout);
    QCOMPARE(answer, QByteArray("PONG\r\nPONG\r\n"));
    QVERIFY(link->scriptRunning());
    QCOMPARE(link->runner()->engine().waitingFor(), "idle, answering with onReceive");

    link->stopScript(ScriptRunner::StopReason::User);
    QVERIFY(!link->scriptRunning());
    QCOMPARE(recorder.events.mid(recorder.events.size() - 2),
             (QStringList{"answered 2 PING(s)", QStringLiteral("finished %1").arg(int(ScriptState::Stopped))}));
    QVERIFY(recorder.events.at(1).startsWith("waiting for PING on :"));
    QVERIFY(recorder.receiveView.last().startsWith("Script \"Answer PING with PONG\" stopped after "));
    QVERIFY(recorder.receiveView.last().endsWith(" s: stopped by the user"));
}

// The Modbus sample is a slave on one end of a pseudo-terminal pair; a master on the
// other end reads two holding registers, writes one, and reads it back.
void TestScriptRunner::modbusSlaveAnswersMaster()
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("mbpoll"));
    if (tool.isEmpty()) {
        QSKIP("mbpoll is not installed (scripts/test.sh installs it)");
    }
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    Settings settings;
    settings.name = pty.portA();
    panel.applySettings(settings);
    auto *link = new ScriptPortLink(panel.session());
    QString error;
    int line = 0;
    QVERIFY2(link->startScript(sample(ModbusSlave), &error, &line), qPrintable(error));

    // mbpoll blocks on the port, so it runs beside the event loop that answers it.
    const auto poll = [&](const QStringList &extra) {
        QProcess process;
        process.start(tool, QStringList{"-m", "rtu", "-a", "1", "-0", "-t", "4", "-b", "9600", "-P",
                                        "none", "-1", "-o", "2"} +
                                extra);
        waitUntil([&] { return process.state() == QProcess::NotRunning; });
        return QString::fromLocal8Bit(process.readAllStandardOutput() +
                                      process.readAllStandardError());
    };
    QString out = poll({"-r", "0", "-c", "2", pty.portB()});
    QVERIFY2(out.contains("[0]: \t1234") && out.contains("[1]: \t5678"), qPrintable(out));
    out = poll({"-r", "5", pty.portB(), "4321"});
    QVERIFY2(out.contains("Written 1 references"), qPrintable(out));
    out = poll({"-r", "5", "-c", "1", pty.portB()});
    QVERIFY2(out.contains("[5]: \t4321"), qPrintable(out));
    // The sample logs each write; log lines also reach the receive view.
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("register 5 = 4321"), Timeout);
    QVERIFY(link->scriptRunning());
    // Closing the port ends the run with that reason.
    panel.stop();
    QVERIFY(!link->scriptRunning());
    QCOMPARE(link->runner()->engine().finishReason(), "the connection was closed");
}

// A script that sends as fast as it can to a peer that does not keep up: the runner
// waits while more than 4096 bytes wait to be written, so the queue stays near that.
void TestScriptRunner::tightSendLoopKeepsBacklogNearLimit()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    Settings settings;
    settings.name = pty.portA();
    panel.applySettings(settings);
    auto *link = new ScriptPortLink(panel.session());

    // The peer reads at most 256 bytes every 5 ms, far slower than the loop sends.
    QSerialPort peer(pty.portB());
    QVERIFY(peer.open(QIODevice::ReadOnly));
    peer.setReadBufferSize(256);
    qint64 received = 0;
    QTimer reader;
    connect(&reader, &QTimer::timeout, this, [&] { received += peer.read(256).size(); });
    reader.start(5);

    constexpr int Chunk = 200;
    QString error;
    int line = 0;
    QVERIFY2(link->startScript(Script{"flood", QStringLiteral("while true do send(('x'):rep(%1)) end")
                                                   .arg(Chunk)},
                               &error, &line),
             qPrintable(error));
    qint64 highest = 0;
    QTimer sampler;
    connect(&sampler, &QTimer::timeout, this, [&] {
        highest = std::max(highest, panel.connectionController()->pendingWriteBytes(ModeSerial));
    });
    sampler.start(1);
    QTest::qWait(1500);
    sampler.stop();
    QVERIFY(link->scriptRunning());
    link->stopScript(ScriptRunner::StopReason::User);

    // The queue filled up to the limit and never went far past it.
    QVERIFY2(highest >= ScriptRunner::BacklogLimitBytes, qPrintable(QString::number(highest)));
    QVERIFY2(highest <= ScriptRunner::BacklogLimitBytes + Chunk, qPrintable(QString::number(highest)));
    // The peer kept receiving: the run went on behind the limit, it did not stall.
    QVERIFY2(received > 2 * ScriptRunner::BacklogLimitBytes, qPrintable(QString::number(received)));
    QVERIFY(panel.txByteCount() - received < 4 * 65536);
}

// A port runs a sequence or a script, never both: each refuses while the other runs.
void TestScriptRunner::sequenceAndScriptExcludeEachOther()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
    SerialPortWidget panel;
    panel.applySettings(tcpClient(silent.serverPort()));
    auto *link = new ScriptPortLink(panel.session());
    QVERIFY(panel.start(QString()));
    QTRY_VERIFY_WITH_TIMEOUT(panel.portIsOpen(), Timeout);

    Sequence sequence;
    sequence.name = "wait";
    SequenceStep expect;
    expect.kind = SequenceStepKind::Expect;
    expect.pattern = "never";
    expect.ms = 60000;
    sequence.steps = {expect};
    QString error;
    QVERIFY2(panel.startSequence(sequence, &error), qPrintable(error));

    int line = 0;
    const Script idle{"idle", "idle()"};
    QVERIFY(!link->startScript(idle, &error, &line));
    QCOMPARE(error, "A sequence is running on this port; stop it first.");
    QCOMPARE(line, -1);
    QVERIFY(!link->scriptRunning());

    panel.stopSequence(int(SequenceRunner::StopReason::User));
    QVERIFY2(link->startScript(idle, &error, &line), qPrintable(error));
    QVERIFY(!panel.startSequence(sequence, &error));
    QCOMPARE(error, "A script is running on this port; stop it first.");
    QVERIFY(!panel.sequenceRunning());
    QVERIFY(!link->startScript(idle, &error, &line));
    QCOMPARE(error, "A script is already running on this port.");

    link->stopScript(ScriptRunner::StopReason::User);
    QVERIFY2(panel.startSequence(sequence, &error), qPrintable(error));
    panel.stopSequence(int(SequenceRunner::StopReason::User));
}

// A syntax error or a port that cannot open leaves the port as it was.
void TestScriptRunner::refusalsLeaveThePortAlone()
{
    SerialPortWidget panel;
    Settings settings;
    settings.name = QStringLiteral("/dev/velmora-no-such-port");
    panel.applySettings(settings);
    auto *link = new ScriptPortLink(panel.session());
    QSignalSpy started(link->runner(), &ScriptRunner::started);

    QString error;
    int line = 0;
    QVERIFY(!link->startScript(Script{"broken", "print('a')\n\nif x then\n"}, &error, &line));
    QCOMPARE(line, 4);
    QVERIFY2(error.contains("'end' expected"), qPrintable(error));
    QCOMPARE(panel.portState(), int(SerialPortWidget::Stopped));

    QVERIFY(!link->startScript(Script{"fine", "print('a')"}, &error, &line));
    QVERIFY(!error.isEmpty());
    QCOMPARE(line, -1);
    QCOMPARE(started.count(), 0);

    // The sender refuses while the port is closed, and the script sees why.
    QCOMPARE(link->sendScriptBytes("x", &error), false);
    QCOMPARE(error, "The connection is not open.");
}

// One precise timer: a sleep ends on time, not a poll interval later.
void TestScriptRunner::sleepWakesOnTime()
{
    ScriptRunner runner;
    QSignalSpy finished(&runner, &ScriptRunner::finished);
    QList<ScriptOutput> output;
    connect(&runner, &ScriptRunner::output, this,
            [&](const ScriptOutput &entry) { output << entry; });
    QString error;
    int line = 0;
    QVERIFY(runner.start(Script{"sleepy", "local t = now()\nsleep(150)\nprint(now() - t)"},
                         ScriptPortInfo(), &error, &line));
    QVERIFY(finished.wait(Timeout));
    QCOMPARE(finished.at(0).at(0).value<ScriptState>(), ScriptState::Passed);
    QCOMPARE(output.size(), 1);
    const int slept = output.at(0).text.toInt();
    QVERIFY2(slept >= 150 && slept < 250, qPrintable(output.at(0).text));
}

// log lines reach the receive view at up to 20 in any second, with one note when more
// came; every line still goes out as output.
void TestScriptRunner::logLinesReachReceiveViewAtLimitedRate()
{
    qint64 clock = 1000;
    ScriptRunner runner;
    runner.setClock([&clock] { return clock; });
    Recorder recorder;
    recorder.attach(&runner, this);
    QString error;
    int line = 0;
    QVERIFY(runner.start(Script{"chatty", "for i = 1, 30 do log(i) end\n"
                                          "onReceive(function() for i = 31, 35 do log(i) end end)\n"
                                          "idle()"},
                         ScriptPortInfo(), &error, &line));
    QTRY_VERIFY_WITH_TIMEOUT(recorder.events.size() == 31, Timeout);

    QStringList expected;
    for (int i = 1; i <= 20; ++i) {
        expected << QString::number(i);
    }
    expected << "Script log lines are arriving faster than 20 a second; the rest are only in the "
                "Scripts window.";
    QCOMPARE(recorder.receiveView, expected);

    clock += 999;
    runner.ingest("x", QString());
    QCOMPARE(recorder.receiveView, expected);
    clock += 1;
    runner.ingest("x", QString());
    expected << "31" << "32" << "33" << "34" << "35";
    QCOMPARE(recorder.receiveView, expected);
    QCOMPARE(recorder.events.size(), 41);

    runner.stop(ScriptRunner::stopReasonText(ScriptRunner::StopReason::User));
    QCOMPARE(recorder.receiveView.last(), "Script \"chatty\" stopped after 1.00 s: stopped by the user");
}

QTEST_MAIN(TestScriptRunner)
#include "tst_scriptrunner.moc"
