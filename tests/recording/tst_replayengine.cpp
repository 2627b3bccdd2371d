#include "recording/replayengine.h"

#include <QtTest>

// Events from a list, for the engine alone.
class ListSource : public ReplaySource
{
public:
    explicit ListSource(const QList<qint64> &times, int bytes = 1)
    {
        for (qsizetype i = 0; i < times.size(); ++i) {
            ReplayEvent e;
            e.ordinal = i;
            e.playUs = times[i];
            e.event.t = times[i];
            e.event.bytes = QByteArray(bytes, 'x');
            events.append(e);
        }
    }
    bool peek(ReplayEvent *event) override
    {
        if (at >= events.size()) {
            return false;
        }
        *event = events[at];
        return true;
    }
    void pop() override { ++at; }

    QList<ReplayEvent> events;
    qsizetype at = 0;
};

class TestReplayEngine : public QObject
{
    Q_OBJECT
private slots:
    void schedule_data();
    void schedule();
    void fastestTicksInBoundedBatches();
    void stepAndLimits();
};

constexpr qint64 S = 1000000;

// A script of actions on a wall clock: "play@W", "pause@W", "speed@W=X", "cap@W=C",
// "end=U", and "tick@W" which records the events it delivered as "W:ordinals" and the
// playhead as "W=us" for "head@W".
void TestReplayEngine::schedule_data()
{
    QTest::addColumn<QList<qint64>>("times");
    QTest::addColumn<QStringList>("script");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("gap cap: 10 s pass in 2 s, the playhead glides")
        << QList<qint64>{100 * S, 110 * S}
        << QStringList{"cap@0=2000000", "play@0", "tick@0", "head@1000000", "tick@1999999",
                       "tick@2000000"}
        << QStringList{"tick@0:0", "head@1000000=105000000", "tick@1999999:", "tick@2000000:1,stop1"};
    QTest::newRow("speed 2 then pause at 1 s")
        << QList<qint64>{0, 10 * S}
        << QStringList{"speed@0=2", "play@0", "tick@0", "pause@1000000", "head@5000000",
                       "play@9000000", "tick@12999999", "tick@13000000"}
        << QStringList{"tick@0:0", "head@5000000=2000000", "tick@12999999:", "tick@13000000:1,stop1"};
    QTest::newRow("speed change mid-gap neither jumps nor replays")
        << QList<qint64>{0, 4 * S, 5 * S}
        << QStringList{"play@0", "tick@0", "tick@1000000", "speed@1000000=0.5", "head@1000000",
                       "tick@6999999", "tick@7000000", "speed@7000000=1", "tick@8000000"}
        << QStringList{"tick@0:0", "tick@1000000:", "head@1000000=1000000", "tick@6999999:",
                       "tick@7000000:1", "tick@8000000:2,stop1"};
    QTest::newRow("a late tick catches up without drift")
        << QList<qint64>{0, S, 2 * S, 3 * S}
        << QStringList{"play@0", "tick@0", "tick@2500000", "tick@2999999", "tick@3000000"}
        << QStringList{"tick@0:0", "tick@2500000:1,2", "tick@2999999:", "tick@3000000:3,stop1"};
    QTest::newRow("end exactly at an event stops before it")
        << QList<qint64>{0, S, 2 * S}
        << QStringList{"end=1000000", "play@0", "tick@0", "tick@999999", "tick@1000000",
                       "tick@5000000"}
        << QStringList{"tick@0:0", "tick@999999:", "tick@1000000:stop2", "tick@5000000:"};
    QTest::newRow("end of source") << QList<qint64>{0} << QStringList{"play@0", "tick@0", "tick@1"}
                                   << QStringList{"tick@0:0,stop1", "tick@1:"};
}

void TestReplayEngine::schedule()
{
    QFETCH(QList<qint64>, times);
    QFETCH(QStringList, script);
    QFETCH(QStringList, expected);
    ListSource source(times);
    ReplayEngine engine(&source);
    QStringList got;
    for (const QString &action : script) {
        const QString verb = action.section(u'@', 0, 0).section(u'=', 0, 0);
        const qint64 wall = action.section(u'@', 1).section(u'=', 0, 0).toLongLong();
        const QString value = action.section(u'=', 1);
        if (verb == "play") {
            engine.play(wall);
        } else if (verb == "pause") {
            engine.pause(wall);
        } else if (verb == "speed") {
            engine.setSpeed(value.toDouble(), wall);
        } else if (verb == "cap") {
            engine.setIdleCapUs(value.toLongLong(), wall);
        } else if (verb == "end") {
            engine.setEndUs(value.toLongLong());
        } else if (verb == "head") {
            got << QStringLiteral("head@%1=%2").arg(wall).arg(engine.playheadUs(wall));
        } else if (verb == "tick") {
            const ReplayEngine::TickResult result = engine.tick(wall);
            QStringList items;
            for (const ReplayEvent &e : result.events) {
                items << QString::number(e.ordinal);
            }
            if (result.stop != ReplayEngine::None) {
                items << QStringLiteral("stop%1").arg(int(result.stop));
            }
            got << QStringLiteral("tick@%1:%2").arg(wall).arg(items.join(u','));
        }
    }
    QCOMPARE(got, expected);
}

void TestReplayEngine::fastestTicksInBoundedBatches()
{
    ListSource source(QList<qint64>(10000, 7));
    ReplayEngine engine(&source);
    engine.setSpeed(0, 0);
    engine.play(0);
    QList<qsizetype> sizes;
    for (int i = 0; i < 4; ++i) {
        sizes << engine.tick(i).events.size();
    }
    QCOMPARE(sizes, (QList<qsizetype>{4096, 4096, 1808, 0}));
    QCOMPARE(engine.usUntilNextDue(10), -1);

    // Large events: the byte limit cuts the batch, and a slow tick reports its lag.
    ListSource big(QList<qint64>{0, 1, 2, 3, 4, 5}, 100000);
    ReplayEngine lagging(&big);
    lagging.play(0);
    const ReplayEngine::TickResult result = lagging.tick(S);
    QCOMPARE(result.events.size(), 3);
    QCOMPARE(result.lagUs, S - 3);
}

void TestReplayEngine::stepAndLimits()
{
    ListSource source(QList<qint64>{10, 20, 30});
    ReplayEngine engine(&source);
    QCOMPARE(engine.playheadUs(0), 10); // unanchored: the first event's time
    engine.play(0);
    ReplayEvent event;
    ReplayEngine::Stop stop = ReplayEngine::None;
    QVERIFY(engine.step(&event, &stop));
    QCOMPARE(event.ordinal, 0);
    QVERIFY(!engine.isPlaying());
    QVERIFY(engine.tick(100).events.isEmpty());
    engine.setEndUs(20);
    QVERIFY(!engine.step(&event, &stop));
    QCOMPARE(stop, ReplayEngine::ReachedEnd);
    QCOMPARE(engine.positionUs(), 20);
    engine.setEndUs(-1);
    QVERIFY(engine.step(&event, &stop));
    QVERIFY(engine.step(&event, &stop));
    QVERIFY(!engine.step(&event, &stop));
    QCOMPARE(stop, ReplayEngine::EndOfSource);
}

QTEST_GUILESS_MAIN(TestReplayEngine)
#include "tst_replayengine.moc"
