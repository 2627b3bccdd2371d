#pragma once

// What a port's sequences did since the program started: one record per run, with one
// record per executed step. The runner fills it from its signals; SequenceReport turns
// it into a file.

#include <QList>
#include <QString>

enum class SequenceRunOutcome : qint32 {
    Running = 0,
    Passed = 1,
    Failed = 2,
    Stopped = 3,
};

struct SequenceStepRecord
{
    int index = -1;        // the step's index in the sequence, from 0
    QString title;
    bool isExpect = false; // an Expect step, counted among the checks
    qint64 startUs = 0;
    qint64 endUs = 0;
    bool finished = false; // false when the run ended during the step
    bool ok = false;
    QString detail;

    bool operator==(const SequenceStepRecord &) const = default;
};

struct SequenceRunRecord
{
    QString name;
    QString port;
    QString settings;
    int stepCount = 0;
    SequenceRunOutcome outcome = SequenceRunOutcome::Running;
    int failures = 0;
    int failedStep = -1; // index from 0, -1 for none
    QString reason;
    qint64 startUs = 0;
    qint64 endUs = 0;
    QList<SequenceStepRecord> steps;
    int unlistedSteps = 0; // step executions beyond the listed ones

    bool operator==(const SequenceRunRecord &) const = default;
};

class SequenceReportLog
{
public:
    static constexpr int MaxRuns = 20;
    static constexpr int MaxStepRecords = 2000;

    // Opens a run record; the oldest run goes when there are more than 20. A run still
    // open is closed as stopped first.
    void runStarted(const QString &name, int stepCount, qint64 startUs, const QString &port,
                    const QString &settings);
    // A step execution of the open run; beyond 2000 records it is only counted.
    void stepStarted(int index, const QString &title, bool isExpect, qint64 startUs);
    // Completes the newest unfinished record of step `index`.
    void stepFinished(int index, bool ok, const QString &detail, qint64 timeUs);
    // Closes the open run; an outcome of Running counts as Stopped.
    void runFinished(SequenceRunOutcome outcome, int failures, int failedStep,
                     const QString &reason, qint64 timeUs);

    // The run in progress, or null.
    SequenceRunRecord *current();
    const SequenceRunRecord *current() const;
    const QList<SequenceRunRecord> &runs() const { return records; }
    bool isEmpty() const { return records.isEmpty(); }
    void clear() { records.clear(); }

private:
    QList<SequenceRunRecord> records;
};
