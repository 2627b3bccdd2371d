#include "automation/autoreplyrunner.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

namespace {

AutoReplyRule textRule(const QString &pattern, const QString &reply, int delayMs = 0)
{
    AutoReplyRule rule;
    rule.pattern = pattern;
    rule.reply = reply;
    rule.delayMs = delayMs;
    return rule;
}

struct Sent
{
    QByteArray bytes;
    QString source;
};

} // namespace

class TestAutoReplyRunner : public QObject
{
    Q_OBJECT
private slots:
    void zeroDelayLeavesFromTheTimer_data();
    void zeroDelayLeavesFromTheTimer();
    void delaysAreHonouredAndEqualDueTimesKeepTheirOrder();
    void silentOutcomesAndAFullQueue();
    void newRulesNeverSendOldReplies();
    void resetDropsWindowsAndQueueButKeepsCounts();
};

void TestAutoReplyRunner::zeroDelayLeavesFromTheTimer_data()
{
    QTest::addColumn<bool>("accepted");
    QTest::newRow("the port takes the reply") << true;
    QTest::newRow("refused (a file transfer holds the port): the reply is lost") << false;
}

void TestAutoReplyRunner::zeroDelayLeavesFromTheTimer()
{
    QFETCH(bool, accepted);
    AutoReplyRunner runner;
    runner.setConfig({false, true, {textRule("PING", "PONG")}});
    QList<Sent> sent;
    runner.setSender([&](const QByteArray &bytes, const QString &source) {
        sent.append({bytes, source});
        return accepted;
    });
    QSignalSpy replied(&runner, &AutoReplyRunner::replied);
    QSignalSpy changed(&runner, &AutoReplyRunner::stateChanged);

    runner.ingest("PING", QStringLiteral("10.1.1.1:7"));
    QVERIFY(sent.isEmpty());
    QCOMPARE(runner.pendingCount(), 1);
    QCOMPARE(changed.count(), 1);

    QTRY_COMPARE_WITH_TIMEOUT(runner.pendingCount(), 0, 5000);
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent.first().bytes, QByteArray("PONG"));
    QCOMPARE(sent.first().source, QStringLiteral("10.1.1.1:7"));
    QCOMPARE(changed.count(), 2);
    QCOMPARE(runner.repliesSent(), accepted ? 1 : 0);
    QCOMPARE(replied.count(), accepted ? 1 : 0);
    if (accepted) {
        QCOMPARE(replied.first(), (QVariantList{0, QStringLiteral("10.1.1.1:7"), 4}));
    }

    // Data that matches nothing says nothing.
    changed.clear();
    runner.ingest("nothing", QString());
    QCOMPARE(changed.count(), 0);
}

void TestAutoReplyRunner::delaysAreHonouredAndEqualDueTimesKeepTheirOrder()
{
    AutoReplyRunner runner;
    runner.setConfig({false, true,
                      {textRule("A", "1", 50), textRule("B", "2", 50), textRule("C", "3", 50),
                       textRule("D", "4", 0), textRule("E", "5", 50)}});
    QByteArray order;
    runner.setSender([&](const QByteArray &bytes, const QString &) {
        order += bytes;
        return true;
    });
    QSignalSpy replied(&runner, &AutoReplyRunner::replied);
    QElapsedTimer clock;
    clock.start();
    // One chunk: every reply of delay 50 has the same due time.
    runner.ingest("ABCDE", QString());
    QCOMPARE(runner.pendingCount(), 5);
    QTRY_COMPARE_WITH_TIMEOUT(replied.count(), 5, 5000);
    QCOMPARE(order, QByteArray("41235"));
    // A loaded machine may send late, never early.
    QVERIFY(clock.elapsed() >= 50);
}

void TestAutoReplyRunner::silentOutcomesAndAFullQueue()
{
    AutoReplyRule everyThird = textRule("Q", "ok");
    everyThird.everyN = 3;
    AutoReplyRunner runner;
    runner.setConfig({false, true, {textRule("P", "x", 60000), everyThird, textRule("S", "")}});
    QSignalSpy silent(&runner, &AutoReplyRunner::silent);
    const auto outcome = [&](int i) { return silent.at(i).at(1).value<AutoReplyOutcome>(); };

    runner.ingest("QSQQ", QString());
    QCOMPARE(silent.count(), 3);
    QCOMPARE(outcome(0), AutoReplyOutcome::NotNth);
    QCOMPARE(outcome(1), AutoReplyOutcome::EmptyReply);
    QCOMPARE(silent.at(1).at(0).toInt(), 2);
    QCOMPARE(outcome(2), AutoReplyOutcome::NotNth);
    QCOMPARE(runner.pendingCount(), 1);

    // The queue holds 1024; the next reply is dropped, and its match still counts.
    silent.clear();
    runner.ingest(QByteArray(AutoReplyRunner::MaxPending, 'P'), QString());
    QCOMPARE(runner.pendingCount(), AutoReplyRunner::MaxPending);
    QCOMPARE(silent.count(), 1);
    QCOMPARE(silent.first().at(0).toInt(), 0);
    QCOMPARE(outcome(0), AutoReplyOutcome::Dropped);
    QCOMPARE(runner.engine().hits(0), AutoReplyRunner::MaxPending);
}

void TestAutoReplyRunner::newRulesNeverSendOldReplies()
{
    AutoReplyRunner runner;
    runner.setConfig({false, true, {textRule("PING", "PONG", 30)}});
    int offered = 0;
    runner.setSender([&](const QByteArray &, const QString &) { return ++offered > 0; });
    runner.ingest("PING", QString());
    QTRY_COMPARE_WITH_TIMEOUT(runner.repliesSent(), 1, 5000);
    runner.ingest("PING", QString());
    QCOMPARE(runner.pendingCount(), 1);

    QSignalSpy changed(&runner, &AutoReplyRunner::stateChanged);
    runner.setConfig(runner.config());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(runner.pendingCount(), 0);
    QCOMPARE(runner.repliesSent(), 0);
    QCOMPARE(runner.engine().hits(0), 0);
    QTest::qWait(100);
    QCOMPARE(offered, 1);
}

void TestAutoReplyRunner::resetDropsWindowsAndQueueButKeepsCounts()
{
    AutoReplyRunner runner;
    runner.setConfig({false, true, {textRule("PING", "PONG", 10000)}});
    runner.setSender([](const QByteArray &, const QString &) { return true; });
    runner.ingest("PINGPI", QString());
    QCOMPARE(runner.pendingCount(), 1);

    // Cancelling keeps the partial message and the counts.
    QSignalSpy changed(&runner, &AutoReplyRunner::stateChanged);
    runner.cancelPending();
    runner.cancelPending(); // nothing left: no signal
    QCOMPARE(changed.count(), 1);
    runner.ingest("NG", QString());
    QCOMPARE(runner.pendingCount(), 1);
    QCOMPARE(runner.engine().hits(0), 2);

    // A reset drops the partial message as well; the counts stay.
    runner.ingest("PI", QString());
    runner.reset();
    QCOMPARE(runner.pendingCount(), 0);
    runner.ingest("NG", QString());
    QCOMPARE(runner.pendingCount(), 0);
    QCOMPARE(runner.engine().hits(0), 2);
}

QTEST_MAIN(TestAutoReplyRunner)
#include "tst_autoreplyrunner.moc"
