#include "automation/sequencereportlog.h"
#include "automation/sequencerunner.h"
#include "connection/connectioncontroller.h"
#include "steps.h"
#include "support/testsupport.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr int Timeout = 10000;

using steps::expect;
using steps::send;

SequenceStep loop(int count)
{
    return steps::loop(QString(), count);
}

// A device on 127.0.0.1 that answers "PONG" to every "PING", or stays silent, and a
// client socket that the runner sends through and receives from.
struct TcpBench
{
    QTcpServer server;
    QTcpSocket client;
    QTcpSocket *device = nullptr;
    QByteArray heard;
    bool answers = true;

    bool open()
    {
        if (!server.listen(QHostAddress::LocalHost, 0)) {
            return false;
        }
        client.connectToHost(QHostAddress::LocalHost, server.serverPort());
        if (!QTest::qWaitFor([&] { return server.hasPendingConnections(); }, Timeout) ||
            !client.waitForConnected(Timeout)) {
            return false;
        }
        device = server.nextPendingConnection();
        QObject::connect(device, &QTcpSocket::readyRead, device, [this] {
            heard += device->readAll();
            qsizetype at;
            while ((at = heard.indexOf("PING")) >= 0) {
                heard.remove(0, at + 4);
                if (answers) {
                    device->write("PONG");
                }
            }
        });
        return true;
    }

    void attach(SequenceRunner &runner)
    {
        runner.setSender([this](const QByteArray &bytes) {
            return client.write(bytes) == bytes.size();
        });
        QObject::connect(&client, &QTcpSocket::readyRead, &runner,
                         [this, &runner] { runner.ingest(client.readAll(), QString()); });
    }
};

// The runner's signals as compact text, in the order they came.
struct SignalLog
{
    QStringList entries;

    explicit SignalLog(SequenceRunner &runner)
    {
        QObject::connect(&runner, &SequenceRunner::started, &runner,
                         [this] { entries << "started"; });
        QObject::connect(&runner, &SequenceRunner::stepStarted, &runner,
                         [this](int step) { entries << QStringLiteral("step %1").arg(step); });
        QObject::connect(&runner, &SequenceRunner::stepFinished, &runner,
                         [this](int step, bool ok, const QString &detail) {
                             entries << QStringLiteral("%1 %2: %3")
                                            .arg(ok ? "pass" : "fail")
                                            .arg(step)
                                            .arg(detail);
                         });
        QObject::connect(&runner, &SequenceRunner::finished, &runner,
                         [this](SequenceState state) {
                             entries << QStringLiteral("finished %1").arg(int(state));
                         });
    }
};

bool waitForEnd(SequenceRunner &runner, int timeoutMs = Timeout)
{
    return QTest::qWaitFor([&] { return !runner.isRunning(); }, timeoutMs);
}
} // namespace

class TestSequenceRunner : public QObject
{
    Q_OBJECT
private slots:
    void passesAgainstAnsweringPeer();
    void failsAgainstSilentPeerAfterTheLimit();
    void startRefusals();
    void secondStartDoesNotDisturbTheRun();
    void stopEndsAnEndlessLoop();
    void reentrantDataAndSlotsAreSafe();
    void throttlesOnTheWriteBacklog();
};

void TestSequenceRunner::passesAgainstAnsweringPeer()
{
    TcpBench bench;
    QVERIFY(bench.open());
    SequenceRunner runner;
    bench.attach(runner);
    SequenceReportLog log;
    runner.setReportLog(&log, [] { return QStringLiteral("tcpc-0"); },
                        [] { return QStringLiteral("127.0.0.1"); });
    SignalLog signalLog(runner);
    QSignalSpy changes(&runner, &SequenceRunner::stateChanged);

    QString error;
    QVERIFY(runner.start(Sequence{"Ping", {send("PING"), expect("PONG", 2000), loop(3)}},
                         FormatSetting(), &error));
    QVERIFY(signalLog.entries.isEmpty() == false); // started comes at once
    QCOMPARE(runner.engine().currentStep(), 0);    // the first step waits for the event loop
    QVERIFY(waitForEnd(runner));
    QCOMPARE(runner.state(), SequenceState::Passed);
    QCOMPARE(signalLog.entries.mid(0, 4),
             (QStringList{"started", "step 0", "pass 0: 4 byte(s) sent", "step 1"}));
    QVERIFY(signalLog.entries.at(4).startsWith("pass 1: matched after "));
    QCOMPARE(signalLog.entries.size(), 1 + 3 * 4 + 1);
    QCOMPARE(signalLog.entries.last(), "finished 2");
    QVERIFY(changes.size() >= 4);
    QCOMPARE(runner.startedNote(), "Sequence \"Ping\" started, 3 step(s)");
    QVERIFY(runner.finishedNote().startsWith("Sequence \"Ping\" passed in "));
    QCOMPARE(runner.stepElapsedMs(), 0);

    QCOMPARE(log.runs().size(), 1);
    const SequenceRunRecord &run = log.runs().first();
    QCOMPARE(run.outcome, SequenceRunOutcome::Passed);
    QCOMPARE(run.port, "tcpc-0");
    QCOMPARE(run.steps.size(), 6);
    QVERIFY(run.steps.at(1).isExpect && run.steps.at(1).ok && run.steps.at(1).finished);
    QVERIFY(run.endUs >= run.steps.last().endUs);
}

void TestSequenceRunner::failsAgainstSilentPeerAfterTheLimit()
{
    TcpBench bench;
    bench.answers = false;
    QVERIFY(bench.open());
    SequenceRunner runner;
    bench.attach(runner);
    QSignalSpy finished(&runner, &SequenceRunner::finished);
    QString error;
    QElapsedTimer clock;
    clock.start();
    QVERIFY(runner.start(Sequence{"Probe", {send("PING"), expect("PONG", 300)}}, FormatSetting(),
                         &error));
    QVERIFY(waitForEnd(runner));
    QVERIFY(clock.elapsed() >= 300);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().value<SequenceState>(), SequenceState::Failed);
    QCOMPARE(runner.engine().failedStepIndex(), 1);
    QCOMPARE(runner.engine().endMessage(), "no match within 300 ms");
    QVERIFY(runner.elapsedMs() >= 300);
    const QRegularExpression note(
        "^Sequence \"Probe\" failed at step 2 after \\d+\\.\\d\\d s: no match within 300 ms$");
    QVERIFY2(note.match(runner.finishedNote()).hasMatch(), qPrintable(runner.finishedNote()));
}

void TestSequenceRunner::startRefusals()
{
    SequenceRunner runner;
    QString busy = SequenceRunner::scriptRunningMessage();
    runner.setStartGuard([&busy] { return busy; });
    QSignalSpy started(&runner, &SequenceRunner::started);
    QString message;
    QVERIFY(!runner.start(Sequence{"S", {send("x")}}, FormatSetting(), &message));
    QCOMPARE(message, "A script is running on this port; stop it first.");
    busy.clear();
    QVERIFY(!runner.start(Sequence{"S", {}}, FormatSetting(), &message));
    QCOMPARE(message, "The sequence has no steps.");
    QCOMPARE(runner.state(), SequenceState::Idle);
    QCOMPARE(started.size(), 0);
}

void TestSequenceRunner::secondStartDoesNotDisturbTheRun()
{
    SequenceRunner runner;
    QByteArray sent;
    runner.setSender([&](const QByteArray &bytes) {
        sent += bytes;
        return true;
    });
    QString error;
    QVERIFY(runner.start(Sequence{"First", {send("a"), expect("OK", 0)}}, FormatSetting(),
                         &error));
    QVERIFY(QTest::qWaitFor([&] { return sent == "a"; }, Timeout));
    QVERIFY(!runner.start(Sequence{"Second", {send("b")}}, FormatSetting(), &error));
    QCOMPARE(error, "A sequence is already running on this port.");
    QCOMPARE(runner.engine().sequenceName(), "First");
    runner.ingest("O", "10.0.0.1:5000");
    runner.ingest("K", "10.0.0.2:5000"); // all peers feed one buffer
    QCOMPARE(runner.state(), SequenceState::Passed);
    QCOMPARE(sent, "a");

    // Without a sender every send is refused.
    SequenceRunner silent;
    QVERIFY(silent.start(Sequence{"", {send("a")}}, FormatSetting(), &error));
    QVERIFY(waitForEnd(silent));
    QCOMPARE(silent.state(), SequenceState::Failed);
    QCOMPARE(silent.engine().endMessage(), "the port did not accept the data");
}

void TestSequenceRunner::stopEndsAnEndlessLoop()
{
    SequenceRunner runner;
    int sends = 0;
    runner.setSender([&](const QByteArray &) { return ++sends > 0; });
    QSignalSpy finished(&runner, &SequenceRunner::finished);
    QString error;
    QVERIFY(runner.start(Sequence{"Forever", {send("x"), loop(0)}}, FormatSetting(), &error));
    QVERIFY(QTest::qWaitFor([&] { return sends >= 100; }, Timeout));
    runner.stop(SequenceRunner::stopReasonText(SequenceRunner::StopReason::User));
    QCOMPARE(runner.state(), SequenceState::Stopped);
    QCOMPARE(finished.size(), 1);
    const int after = sends;
    QTest::qWait(50);
    QCOMPARE(sends, after);
    QVERIFY(runner.finishedNote().endsWith(": stopped by the user"));
    QVERIFY(runner.finishedNote().startsWith("Sequence \"Forever\" stopped at step "));
    runner.stop("twice"); // nothing left to stop
    QCOMPARE(finished.size(), 1);
}

void TestSequenceRunner::reentrantDataAndSlotsAreSafe()
{
    // The reply arrives while the sender is still running: the nested pump is skipped
    // and the data is not lost.
    SequenceRunner runner;
    int sends = 0;
    runner.setSender([&](const QByteArray &) {
        ++sends;
        runner.ingest("PONG", QString());
        return true;
    });
    QString error;
    QVERIFY(runner.start(Sequence{"Nested", {send("PING"), expect("PONG", 1000)}},
                         FormatSetting(), &error));
    QVERIFY(waitForEnd(runner, 2000));
    QCOMPARE(runner.state(), SequenceState::Passed);
    QCOMPARE(sends, 1);

    // A slot that stops the run as a step starts keeps that step's bytes from going out.
    SequenceRunner stopping;
    sends = 0;
    stopping.setSender([&](const QByteArray &) { return ++sends > 0; });
    connect(&stopping, &SequenceRunner::stepStarted, &stopping,
            [&](int step) { if (step == 1) { stopping.stop("the connection was closed"); } });
    QVERIFY(stopping.start(Sequence{"Cut", {send("a"), send("b")}}, FormatSetting(), &error));
    QVERIFY(waitForEnd(stopping));
    QCOMPARE(sends, 1);
    QCOMPARE(stopping.state(), SequenceState::Stopped);
    QCOMPARE(stopping.engine().failedStepIndex(), 1);
}

void TestSequenceRunner::throttlesOnTheWriteBacklog()
{
    testsupport::PtyPair pty;
    QString why;
    if (!testsupport::socatAvailable()) {
        QSKIP("socat is not installed");
    }
    QVERIFY2(pty.start(&why), qPrintable(why));

    // The port end, as a session's controller holds it, and a device that reads slowly.
    ConnectionController port;
    Settings settings;
    settings.name = pty.portA();
    QVERIFY(port.openSerial(settings, QString(), pty.portA(), true));
    QFile device(pty.portB());
    QVERIFY(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    qint64 taken = 0;
    QTimer slowReader;
    connect(&slowReader, &QTimer::timeout, &slowReader, [&] {
        char buffer[512];
        const qint64 got = ::read(device.handle(), buffer, sizeof buffer);
        taken += std::max<qint64>(got, 0);
    });
    ::fcntl(device.handle(), F_SETFL, ::fcntl(device.handle(), F_GETFL) | O_NONBLOCK);
    slowReader.start(20);

    const QString block(256, 'x');
    const auto measure = [&](bool throttled, int ms) {
        SequenceRunner runner;
        runner.setSender([&](const QByteArray &bytes) { return port.sendSerial(bytes, settings, pty.portA()); });
        if (throttled) {
            runner.setBacklog([&] { return port.pendingWriteBytes(ModeSerial); });
        }
        qint64 highest = 0;
        QTimer sampler;
        connect(&sampler, &QTimer::timeout, &sampler,
                [&] { highest = std::max(highest, port.pendingWriteBytes(ModeSerial)); });
        sampler.start(2);
        QString error;
        if (!runner.start(Sequence{"Flood", {send(block), loop(0)}}, FormatSetting(), &error)) {
            qWarning("%s", qPrintable(error));
            return qint64(-1);
        }
        QTest::qWait(ms);
        highest = std::max(highest, port.pendingWriteBytes(ModeSerial));
        runner.stop(QStringLiteral("done"));
        return highest;
    };

    const qint64 throttled = measure(true, 1500);
    const qint64 takenWhileThrottled = taken;
    QVERIFY2(throttled > SequenceRunner::BacklogLimitBytes / 2,
             qPrintable(QStringLiteral("the backlog never built up: %1").arg(throttled)));
    QVERIFY2(throttled <= SequenceRunner::BacklogLimitBytes + 2 * block.size(),
             qPrintable(QStringLiteral("backlog reached %1").arg(throttled)));
    QVERIFY(takenWhileThrottled > 0); // the device kept receiving

    // The same loop without the backlog check lets the queue grow without bound.
    const qint64 unthrottled = measure(false, 300);
    QVERIFY2(unthrottled > 16 * SequenceRunner::BacklogLimitBytes,
             qPrintable(QStringLiteral("unthrottled backlog only %1").arg(unthrottled)));
}

QTEST_MAIN(TestSequenceRunner)
#include "tst_sequencerunner.moc"
