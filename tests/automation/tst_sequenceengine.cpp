#include "automation/sequenceengine.h"

#include "connection/settings.h"
#include "steps.h"

#include <QtTest>

namespace {
using namespace steps;

Sequence sequenceOf(const QList<SequenceStep> &steps)
{
    return Sequence{QStringLiteral("Test"), steps};
}

// Loads and starts at `nowMs`; fails the test on a load error.
bool startEngine(SequenceEngine &engine, const QList<SequenceStep> &steps, qint64 nowMs = 0)
{
    QString error;
    if (!engine.load(sequenceOf(steps), FormatSetting(), &error)) {
        qWarning("load failed: %s", qPrintable(error));
        return false;
    }
    engine.start(nowMs);
    return true;
}

// Runs a sequence whose sends all succeed at one point in time until it rests; returns
// what it sent, one entry per Send.
QList<QByteArray> driveSends(SequenceEngine &engine, qint64 nowMs, int maxPolls = 100000)
{
    QList<QByteArray> sent;
    for (int i = 0; i < maxPolls; ++i) {
        const SequenceAction action = engine.poll(nowMs);
        if (action.kind == SequenceAction::Send) {
            sent << action.bytes;
            engine.sendFinished(true, nowMs);
        } else if (action.kind != SequenceAction::Yield) {
            break;
        }
    }
    return sent;
}

// The events as compact text: "s0" started, "p0" passed, "f0" failed, "end" finished.
QStringList eventCodes(SequenceEngine &engine)
{
    QStringList codes;
    for (const SequenceEvent &event : engine.takeEvents()) {
        switch (event.type) {
        case SequenceEvent::StepStarted:
            codes << QStringLiteral("s%1").arg(event.step);
            break;
        case SequenceEvent::StepPassed:
            codes << QStringLiteral("p%1").arg(event.step);
            break;
        case SequenceEvent::StepFailed:
            codes << QStringLiteral("f%1").arg(event.step);
            break;
        case SequenceEvent::Finished:
            codes << QStringLiteral("end");
            break;
        }
    }
    return codes;
}
} // namespace

class TestSequenceEngine : public QObject
{
    Q_OBJECT
private slots:
    void loadChecks_data();
    void loadChecks();
    void waitPassesAtElapsedMs_data();
    void waitPassesAtElapsedMs();
    void expectTimesOutAtItsLimit();
    void expectWithoutLimitWaitsForData();
    void dataBeforeSendNeverSatisfiesTheExpect();
    void dataDuringWaitIsKept();
    void matchesUseUpTheirBytes();
    void continueOnFailReportsAtTheEnd();
    void refusedSendEndsTheRun();
    void loopsRunTheirCount_data();
    void loopsRunTheirCount();
    void endlessLoopEndsByStop();
    void labelsYieldAfter256Steps();
    void stopWhileAwaitingSend();
    void receiveBufferKeepsNewest64KiB();
};

void TestSequenceEngine::loadChecks_data()
{
    QTest::addColumn<QList<SequenceStep>>("steps");
    QTest::addColumn<QString>("error");

    QTest::newRow("no steps") << QList<SequenceStep>{} << "The sequence has no steps.";
    QTest::newRow("empty command") << QList<SequenceStep>{send("")}
                                   << "Step 1 (Send (empty)): The command is empty.";
    QTest::newRow("encoder error") << QList<SequenceStep>{send("a\\q")}
                                   << "Step 1 (Send a\\q): Unknown escape sequence \\q. Write \\\\ "
                                      "to send a backslash.";
    QTest::newRow("empty pattern") << QList<SequenceStep>{send("x"), expect("", 500)}
                                   << "Step 2 (Expect \"\" within 500 ms): The pattern is empty.";
    QTest::newRow("pattern matching nothing")
        << QList<SequenceStep>{expect("a*", 0, false, AutoReplyMatch::Regex)}
        << "Step 1 (Expect \"a*\" (no time limit)): The pattern matches empty input.";
    QTest::newRow("label below the loop")
        << QList<SequenceStep>{send("x"), loop("back", 2), label("back")}
        << "Step 2 (Repeat from \"back\", 2 time(s) in all): there is no label \"back\" above "
           "this step.";
    QTest::newRow("loop over a zero wait only")
        << QList<SequenceStep>{wait(0), loop("", 0)}
        << "Step 2 (Repeat from the start until stopped): the steps it repeats neither send, "
           "wait nor expect anything.";
    QTest::newRow("loop over labels only")
        << QList<SequenceStep>{send("x"), label("a"), wait(0), loop("a", 3)}
        << "Step 4 (Repeat from \"a\", 3 time(s) in all): the steps it repeats neither send, "
           "wait nor expect anything.";
    QTest::newRow("loop over nothing") << QList<SequenceStep>{loop("", 2)}
                                       << "Step 1 (Repeat from the start, 2 time(s) in all): the "
                                          "steps it repeats neither send, wait nor expect anything.";
    QTest::newRow("loop over a 1 ms wait") << QList<SequenceStep>{wait(1), loop("", 0)} << "";
    QTest::newRow("loop over an expect") << QList<SequenceStep>{expect("A", 0), loop("", 0)} << "";
    QTest::newRow("negative numbers count as 0")
        << QList<SequenceStep>{send("x"), wait(-5), loop("", -3)} << "";
}

void TestSequenceEngine::loadChecks()
{
    QFETCH(QList<SequenceStep>, steps);
    QFETCH(QString, error);
    SequenceEngine engine;
    QString message;
    QCOMPARE(engine.load(sequenceOf(steps), FormatSetting(), &message), error.isEmpty());
    QCOMPARE(message, error);
    QCOMPARE(engine.currentState(), SequenceState::Idle);
    if (!error.isEmpty()) {
        QCOMPARE(engine.stepCount(), 0);
    }
}

void TestSequenceEngine::waitPassesAtElapsedMs_data()
{
    QTest::addColumn<int>("ms");
    QTest::newRow("0 ms") << 0;
    QTest::newRow("1 ms") << 1;
    QTest::newRow("1000 ms") << 1000;
}

void TestSequenceEngine::waitPassesAtElapsedMs()
{
    QFETCH(int, ms);
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {wait(ms)}, 5000));
    QCOMPARE(engine.deadline(), 0);
    if (ms > 0) {
        QCOMPARE(engine.poll(5000).kind, SequenceAction::Wait);
        QCOMPARE(engine.deadline(), 5000 + ms);
        QCOMPARE(engine.poll(5000 + ms - 1).kind, SequenceAction::Wait);
        QCOMPARE(eventCodes(engine), QStringList{"s0"});
    }
    QCOMPARE(engine.poll(5000 + ms).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Passed);
    QCOMPARE(engine.elapsedMs(999999), ms);
}

void TestSequenceEngine::expectTimesOutAtItsLimit()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {wait(100), expect("OK", 500), wait(1)}, 0));
    QCOMPARE(engine.poll(0).kind, SequenceAction::Wait);
    QCOMPARE(engine.poll(100).kind, SequenceAction::Wait); // the Expect is entered at 100
    QCOMPARE(engine.deadline(), 600);
    QCOMPARE(engine.poll(599).kind, SequenceAction::Wait);
    QCOMPARE(engine.currentState(), SequenceState::Running);
    QCOMPARE(engine.poll(600).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Failed);
    QCOMPARE(engine.endMessage(), "no match within 500 ms");
    QCOMPARE(engine.failedStepIndex(), 1);
    QCOMPARE(eventCodes(engine), (QStringList{"s0", "p0", "s1", "f1", "end"}));
    QCOMPARE(engine.deadline(), -1);
}

void TestSequenceEngine::expectWithoutLimitWaitsForData()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {expect("OK", 0)}));
    QCOMPARE(engine.poll(0).kind, SequenceAction::Wait);
    QCOMPARE(engine.deadline(), -1);
    QCOMPARE(engine.poll(1000000000).kind, SequenceAction::Wait);
    engine.feed("xxO", 1000000001);
    QCOMPARE(engine.poll(1000000001).kind, SequenceAction::Wait);
    engine.feed("K", 1000000002);
    QCOMPARE(engine.poll(1000000002).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Passed);
    const QList<SequenceEvent> events = engine.takeEvents();
    QCOMPARE(events.at(1).text, "matched after 1000000002 ms");
}

void TestSequenceEngine::dataBeforeSendNeverSatisfiesTheExpect()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {send("PING"), expect("PONG", 1000)}));
    engine.feed("PONG", 0); // an answer to something earlier
    const SequenceAction action = engine.poll(0);
    QCOMPARE(action.kind, SequenceAction::Send);
    QCOMPARE(action.bytes, "PING");
    QCOMPARE(engine.deadline(), -1);
    QCOMPARE(engine.poll(1).kind, SequenceAction::Wait); // still awaiting the send result
    engine.sendFinished(true, 1);
    QCOMPARE(engine.poll(1).kind, SequenceAction::Wait); // the Expect is entered at 1
    QCOMPARE(engine.poll(1000).kind, SequenceAction::Wait);
    QCOMPARE(engine.poll(1001).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Failed);

    // The same answer after the send passes.
    QVERIFY(startEngine(engine, {send("PING"), expect("PONG", 1000)}));
    QCOMPARE(engine.poll(0).kind, SequenceAction::Send);
    engine.feed("PO", 0); // may arrive while the send is reported
    engine.sendFinished(true, 0);
    engine.feed("NG", 5);
    QCOMPARE(engine.poll(5).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Passed);
    QCOMPARE(engine.takeEvents().at(1).text, "4 byte(s) sent");
}

void TestSequenceEngine::dataDuringWaitIsKept()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {wait(100), expect("READY", 10)}));
    QCOMPARE(engine.poll(0).kind, SequenceAction::Wait);
    engine.feed("READY", 50);
    QCOMPARE(engine.poll(100).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Passed);
}

void TestSequenceEngine::matchesUseUpTheirBytes()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {expect("A", 10), expect("B", 10), expect("A", 10)}));
    engine.feed("xxAB", 0);
    QCOMPARE(engine.poll(0).kind, SequenceAction::Wait);
    QCOMPARE(engine.currentStep(), 2); // the first A and the B are used up
    QVERIFY(engine.receiveBuffer().isEmpty());
    QCOMPARE(engine.poll(10).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Failed);
    QCOMPARE(engine.failedStepIndex(), 2);
}

void TestSequenceEngine::continueOnFailReportsAtTheEnd()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {expect("A", 10, true), expect("B", 10), expect("C", 10, true),
                                 wait(5)}));
    engine.feed("B", 0);
    QCOMPARE(engine.poll(0).kind, SequenceAction::Wait);
    QCOMPARE(engine.poll(10).kind, SequenceAction::Wait); // A failed, B matched, C waits
    QCOMPARE(engine.currentState(), SequenceState::Running);
    QCOMPARE(engine.failureCount(), 1);
    QCOMPARE(engine.poll(20).kind, SequenceAction::Wait); // C failed, wait entered
    QCOMPARE(engine.poll(25).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Failed);
    QCOMPARE(engine.endMessage(), "2 expectation(s) not met");
    QCOMPARE(engine.failedStepIndex(), 0);
    QCOMPARE(engine.currentStep(), 3);
}

void TestSequenceEngine::refusedSendEndsTheRun()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {expect("A", 1, true), send("x"), send("y")}));
    QCOMPARE(engine.poll(1).kind, SequenceAction::Wait);
    QCOMPARE(engine.poll(2).kind, SequenceAction::Send);
    engine.sendFinished(false, 3);
    QCOMPARE(engine.currentState(), SequenceState::Failed);
    QCOMPARE(engine.endMessage(), "the port did not accept the data");
    QCOMPARE(engine.failedStepIndex(), 1);
    QCOMPARE(engine.failureCount(), 2);
    QCOMPARE(engine.poll(4).kind, SequenceAction::Done);
}

void TestSequenceEngine::loopsRunTheirCount_data()
{
    QTest::addColumn<QList<SequenceStep>>("steps");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("count 1 runs once") << QList<SequenceStep>{send("a"), loop("", 1), send("b")}
                                       << QByteArray("ab");
    QTest::newRow("count 2 runs twice") << QList<SequenceStep>{send("a"), loop("", 2), send("b")}
                                        << QByteArray("aab");
    QTest::newRow("nested loops reset the inner count")
        << QList<SequenceStep>{label("outer"), send("o"), label("inner"), send("i"),
                               loop("inner", 2), loop("outer", 3)}
        << QByteArray("oiioiioii");
    QTest::newRow("nearest label wins")
        << QList<SequenceStep>{label("a"), send("x"), label("a"), send("y"), loop("a", 3)}
        << QByteArray("xyyy");
}

void TestSequenceEngine::loopsRunTheirCount()
{
    QFETCH(QList<SequenceStep>, steps);
    QFETCH(QByteArray, sent);
    SequenceEngine engine;
    QVERIFY(startEngine(engine, steps));
    QCOMPARE(driveSends(engine, 0).join(), sent);
    QCOMPARE(engine.currentState(), SequenceState::Passed);
}

void TestSequenceEngine::endlessLoopEndsByStop()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {label("top"), send("x"), loop("top", 0), send("never")}));
    QCOMPARE(driveSends(engine, 0, 5000).size(), 5000);
    QCOMPARE(engine.currentState(), SequenceState::Running);
    engine.stop("stopped by the user", 42);
    QCOMPARE(engine.currentState(), SequenceState::Stopped);
    QCOMPARE(engine.endMessage(), "stopped by the user");
    QCOMPARE(engine.failedStepIndex(), engine.currentStep());
    QCOMPARE(engine.elapsedMs(1000), 42);
    QCOMPARE(eventCodes(engine).last(), "end");
    engine.stop("again", 50); // only a running sequence stops
    QCOMPARE(engine.endMessage(), "stopped by the user");
}

void TestSequenceEngine::labelsYieldAfter256Steps()
{
    QList<SequenceStep> steps;
    for (int i = 0; i < 300; ++i) {
        steps << label(QString::number(i));
    }
    SequenceEngine engine;
    QVERIFY(startEngine(engine, steps));
    QCOMPARE(engine.poll(0).kind, SequenceAction::Yield);
    QCOMPARE(engine.currentStep(), 256);
    QVERIFY(engine.takeEvents().isEmpty());
    QCOMPARE(engine.poll(1).kind, SequenceAction::Done);
    QCOMPARE(engine.currentState(), SequenceState::Passed);
    QCOMPARE(engine.currentStep(), 299);
    QCOMPARE(eventCodes(engine), QStringList{"end"});
}

void TestSequenceEngine::stopWhileAwaitingSend()
{
    SequenceEngine engine;
    QVERIFY(startEngine(engine, {send("x"), send("y")}));
    QCOMPARE(engine.poll(0).kind, SequenceAction::Send);
    engine.stop("the connection was lost", 1);
    QVERIFY(!engine.isAwaitingSend());
    engine.sendFinished(true, 2); // too late: ignored
    QCOMPARE(engine.currentState(), SequenceState::Stopped);
    QCOMPARE(engine.failedStepIndex(), 0);
    QCOMPARE(eventCodes(engine), (QStringList{"s0", "end"}));

    // A new start clears everything of the last run.
    engine.start(10);
    QCOMPARE(engine.currentState(), SequenceState::Running);
    QCOMPARE(engine.failedStepIndex(), -1);
    QVERIFY(engine.endMessage().isEmpty());
    QCOMPARE(driveSends(engine, 10), (QList<QByteArray>{"x", "y"}));
}

void TestSequenceEngine::receiveBufferKeepsNewest64KiB()
{
    SequenceEngine engine;
    engine.feed("ignored while idle", 0);
    QVERIFY(startEngine(engine, {expect("never", 0)}));
    QVERIFY(engine.receiveBuffer().isEmpty());
    QByteArray data(70000, 'a');
    data[70000 - SequenceEngine::MaxBufferBytes] = 'b';
    engine.feed(data, 0);
    QCOMPARE(engine.receiveBuffer().size(), SequenceEngine::MaxBufferBytes);
    QCOMPARE(engine.receiveBuffer().front(), 'b');
}

QTEST_GUILESS_MAIN(TestSequenceEngine)
#include "tst_sequenceengine.moc"
