#include "automation/sequencereport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QtTest>

namespace {
constexpr qint64 T0 = 1'800'000'000'000'000; // microseconds since the epoch

QStringList sortedKeys(const QJsonObject &object)
{
    QStringList keys = object.keys();
    keys.sort();
    return keys;
}

// A run of a Send, an Expect that passes, a looped Expect that fails, then a stop in the
// middle of a Wait.
SequenceReportLog sampleLog()
{
    SequenceReportLog log;
    log.runStarted("Probe", 4, T0, "tcpc-0", "127.0.0.1:6000");
    log.stepStarted(0, "Send PING", false, T0);
    log.stepFinished(0, true, "4 byte(s) sent", T0 + 1000);
    log.stepStarted(1, "Expect \"PONG\" within 500 ms", true, T0 + 1000);
    log.stepFinished(1, true, "matched after 12 ms", T0 + 13000);
    log.stepStarted(1, "Expect \"PONG\" within 500 ms", true, T0 + 13000);
    log.stepFinished(1, false, "no match within 500 ms", T0 + 513000);
    log.stepStarted(2, "Wait 1000 ms", false, T0 + 513000);
    log.runFinished(SequenceRunOutcome::Running, 1, 2, "stopped by the user", T0 + 600000);
    return log;
}
} // namespace

class TestSequenceReport : public QObject
{
    Q_OBJECT
private slots:
    void logKeepsTwentyRuns();
    void logListsTwoThousandSteps();
    void stepFinishedFillsTheNewestOpenRecord();
    void runFinishedOnlyClosesARunningRun();
    void jsonHasExactlyTheKeys();
    void textShowsEachRun_data();
    void textShowsEachRun();
    void writesTextOrJsonByName();
};

void TestSequenceReport::logKeepsTwentyRuns()
{
    SequenceReportLog log;
    for (int i = 0; i < 21; ++i) {
        log.runStarted(QString::number(i), 1, T0 + i, "p", "s");
        log.runFinished(SequenceRunOutcome::Passed, 0, -1, QString(), T0 + i);
    }
    QCOMPARE(log.runs().size(), SequenceReportLog::MaxRuns);
    QCOMPARE(log.runs().first().name, "1");
    QCOMPARE(log.runs().last().name, "20");
    QVERIFY(!log.current());

    // A run left open is closed as stopped when the next begins.
    log.runStarted("open", 1, T0, "p", "s");
    log.runStarted("next", 1, T0 + 5, "p", "s");
    QCOMPARE(log.runs().at(18).outcome, SequenceRunOutcome::Stopped);
    QCOMPARE(log.runs().at(18).endUs, T0 + 5);
    QCOMPARE(log.current()->name, "next");
}

void TestSequenceReport::logListsTwoThousandSteps()
{
    SequenceReportLog log;
    log.runStarted("Loop", 2, T0, "p", "s");
    for (int i = 0; i < 3000; ++i) {
        log.stepStarted(i % 2, "step", false, T0 + i);
        log.stepFinished(i % 2, true, QString(), T0 + i);
    }
    log.runFinished(SequenceRunOutcome::Passed, 0, -1, QString(), T0 + 3000);
    const SequenceRunRecord &run = log.runs().first();
    QCOMPARE(run.steps.size(), SequenceReportLog::MaxStepRecords);
    QCOMPARE(run.unlistedSteps, 1000);
    QVERIFY(std::all_of(run.steps.begin(), run.steps.end(),
                        [](const SequenceStepRecord &step) { return step.finished; }));
    const QString text = SequenceReport::toText(log.runs(), QTimeZone::utc());
    QVERIFY(text.endsWith("(1000 more step execution(s) not listed)\n"));
    QCOMPARE(QJsonDocument::fromJson(SequenceReport::toJson(log.runs()))
                 .array()
                 .at(0)["unlistedSteps"]
                 .toInt(),
             1000);
}

void TestSequenceReport::stepFinishedFillsTheNewestOpenRecord()
{
    SequenceReportLog log;
    log.stepStarted(0, "no run", false, T0); // ignored
    log.runStarted("R", 2, T0, "p", "s");
    log.stepStarted(0, "a", false, T0);
    log.stepStarted(1, "b", true, T0 + 1);
    log.stepStarted(0, "a", false, T0 + 2);
    log.stepFinished(0, false, "late", T0 + 3);
    log.stepFinished(1, true, "ok", T0 + 4);
    log.stepFinished(5, true, "unknown step", T0 + 5);
    const QList<SequenceStepRecord> &steps = log.current()->steps;
    QCOMPARE(steps.size(), 3);
    QVERIFY(!steps.at(0).finished);
    QVERIFY(steps.at(1).finished && steps.at(1).ok);
    QCOMPARE(steps.at(1).endUs, T0 + 4);
    QVERIFY(steps.at(2).finished && !steps.at(2).ok);
    QCOMPARE(steps.at(2).detail, "late");
}

void TestSequenceReport::runFinishedOnlyClosesARunningRun()
{
    SequenceReportLog log = sampleLog();
    const SequenceRunRecord &run = log.runs().first();
    QCOMPARE(run.outcome, SequenceRunOutcome::Stopped); // Running given counts as stopped
    QCOMPARE(run.endUs, T0 + 600000);
    log.runFinished(SequenceRunOutcome::Passed, 0, -1, "later", T0 + 700000);
    QCOMPARE(log.runs().first().outcome, SequenceRunOutcome::Stopped);
    QCOMPARE(log.runs().first().reason, "stopped by the user");
    QVERIFY(!log.runs().first().steps.last().finished);
}

void TestSequenceReport::jsonHasExactlyTheKeys()
{
    const QJsonArray runs =
        QJsonDocument::fromJson(SequenceReport::toJson(sampleLog().runs())).array();
    QCOMPARE(runs.size(), 1);
    const QJsonObject run = runs.first().toObject();
    QCOMPARE(sortedKeys(run),
             (QStringList{"endUs", "failedStep", "failures", "name", "outcome", "port", "reason",
                          "settings", "startUs", "stepCount", "steps", "unlistedSteps"}));
    QCOMPARE(run["outcome"].toString(), "stopped");
    QCOMPARE(run["failedStep"].toInt(), 2);
    QCOMPARE(run["startUs"].toInteger(), T0);
    QCOMPARE(run["settings"].toString(), "127.0.0.1:6000");
    const QJsonArray steps = run["steps"].toArray();
    QCOMPARE(steps.size(), 4);
    const QJsonObject expect = steps.at(2).toObject();
    QCOMPARE(sortedKeys(expect),
             (QStringList{"detail", "endUs", "index", "kind", "ok", "startUs", "title"}));
    QCOMPARE(expect["kind"].toString(), "expect");
    QCOMPARE(expect["ok"].toBool(), false);
    QCOMPARE(expect["endUs"].toInteger(), T0 + 513000);
    QCOMPARE(steps.at(0)["kind"].toString(), "step");
    QCOMPARE(SequenceReport::toJson({}).trimmed(), "[\n]");
}

void TestSequenceReport::textShowsEachRun_data()
{
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("result");
    QTest::newRow("passed") << int(SequenceRunOutcome::Passed) << "" << "Result: PASSED";
    QTest::newRow("failed") << int(SequenceRunOutcome::Failed) << "2 expectation(s) not met"
                            << "Result: FAILED at step 2 (2 expectation(s) not met)";
    QTest::newRow("stopped") << int(SequenceRunOutcome::Stopped) << "the connection was lost"
                             << "Result: STOPPED at step 2 (the connection was lost)";
    QTest::newRow("running") << int(SequenceRunOutcome::Running) << "" << "Result: RUNNING";
}

void TestSequenceReport::textShowsEachRun()
{
    QFETCH(int, outcome);
    QFETCH(QString, reason);
    QFETCH(QString, result);
    SequenceReportLog log = sampleLog();
    log.runStarted("Second", 2, T0 + 2'000'000, "tcpc-0", QString());
    log.stepStarted(1, "Expect \"A\" within 5 ms", true, T0 + 2'000'000);
    log.stepFinished(1, true, "matched after 0 ms", T0 + 2'250'000);
    if (outcome != int(SequenceRunOutcome::Running)) {
        log.runFinished(SequenceRunOutcome(outcome), 0, 1, reason, T0 + 3'500'000);
    }
    const QString text = SequenceReport::toText(log.runs(), QTimeZone::utc());
    const QStringList runs = text.split("\n----\n\n");
    QCOMPARE(runs.size(), 2);

    const QStringList first = runs.at(0).split('\n');
    QCOMPARE(first.at(0), "Sequence report: \"Probe\"");
    QCOMPARE(first.at(1), "Port: tcpc-0 (127.0.0.1:6000)");
    QCOMPARE(first.at(2), "Started: 2027-01-15 08:00:00.000");
    QCOMPARE(first.at(3), "Duration: 0.600 s");
    QCOMPARE(first.at(4), "Result: STOPPED at step 3 (stopped by the user)");
    QCOMPARE(first.at(5), "Checks: 1 pass, 1 failed");
    QVERIFY(first.at(7).startsWith("Start"));
    QVERIFY(first.at(7).contains("Took") && first.at(7).contains("Detail"));
    QVERIFY(first.at(9).contains("pass") && first.at(9).endsWith("matched after 12 ms"));
    QVERIFY(first.at(10).contains("FAIL") && first.at(10).startsWith("0.013 s"));
    // The Wait the run stopped in has a start and no result.
    QCOMPARE(first.at(11).simplified(), "0.513 s 3 Wait 1000 ms");

    const QStringList second = runs.at(1).split('\n');
    QCOMPARE(second.at(1), "Port: tcpc-0");
    QCOMPARE(second.at(4), result);
    if (outcome == int(SequenceRunOutcome::Running)) {
        QCOMPARE(second.at(3), "Duration: 0.250 s"); // up to the last known time
    } else {
        QCOMPARE(second.at(3), "Duration: 1.500 s");
    }
    QCOMPARE(second.at(5), "Checks: 1 pass, 0 failed");
}

void TestSequenceReport::writesTextOrJsonByName()
{
    QTemporaryDir dir;
    const QList<SequenceRunRecord> runs = sampleLog().runs();
    QString error;
    QVERIFY(SequenceReport::writeFile(dir.filePath("r.JSON"), runs, QTimeZone::utc(), &error));
    QVERIFY(SequenceReport::writeFile(dir.filePath("r.txt"), runs, QTimeZone::utc(), &error));
    QFile json(dir.filePath("r.JSON"));
    QVERIFY(json.open(QIODevice::ReadOnly));
    QVERIFY(QJsonDocument::fromJson(json.readAll()).isArray());
    QFile text(dir.filePath("r.txt"));
    QVERIFY(text.open(QIODevice::ReadOnly));
    QVERIFY(text.readAll().startsWith("Sequence report: \"Probe\""));
    QVERIFY(!SequenceReport::writeFile(dir.filePath("missing/r.txt"), runs, QTimeZone::utc(),
                                       &error));
    QVERIFY(!error.isEmpty());
}

QTEST_GUILESS_MAIN(TestSequenceReport)
#include "tst_sequencereport.moc"
