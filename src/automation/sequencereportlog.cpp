#include "automation/sequencereportlog.h"

void SequenceReportLog::runStarted(const QString &name, int stepCount, qint64 startUs,
                                   const QString &port, const QString &settings)
{
    if (current()) {
        runFinished(SequenceRunOutcome::Stopped, current()->failures, current()->failedStep,
                    QString(), startUs);
    }
    SequenceRunRecord run;
    run.name = name;
    run.port = port;
    run.settings = settings;
    run.stepCount = stepCount;
    run.startUs = run.endUs = startUs;
    records.append(run);
    while (records.size() > MaxRuns) {
        records.removeFirst();
    }
}

void SequenceReportLog::stepStarted(int index, const QString &title, bool isExpect,
                                    qint64 startUs)
{
    SequenceRunRecord *run = current();
    if (!run) {
        return;
    }
    if (run->steps.size() >= MaxStepRecords) {
        ++run->unlistedSteps;
        return;
    }
    SequenceStepRecord step;
    step.index = index;
    step.title = title;
    step.isExpect = isExpect;
    step.startUs = step.endUs = startUs;
    run->steps.append(step);
}

void SequenceReportLog::stepFinished(int index, bool ok, const QString &detail, qint64 timeUs)
{
    SequenceRunRecord *run = current();
    if (!run) {
        return;
    }
    for (qsizetype i = run->steps.size() - 1; i >= 0; --i) {
        SequenceStepRecord &step = run->steps[i];
        if (step.index == index && !step.finished) {
            step.finished = true;
            step.ok = ok;
            step.detail = detail;
            step.endUs = timeUs;
            return;
        }
    }
}

void SequenceReportLog::runFinished(SequenceRunOutcome outcome, int failures, int failedStep,
                                    const QString &reason, qint64 timeUs)
{
    SequenceRunRecord *run = current();
    if (!run) {
        return;
    }
    run->outcome = outcome == SequenceRunOutcome::Running ? SequenceRunOutcome::Stopped : outcome;
    run->failures = failures;
    run->failedStep = failedStep;
    run->reason = reason;
    run->endUs = timeUs;
}

SequenceRunRecord *SequenceReportLog::current()
{
    if (records.isEmpty() || records.last().outcome != SequenceRunOutcome::Running) {
        return nullptr;
    }
    return &records.last();
}

const SequenceRunRecord *SequenceReportLog::current() const
{
    if (records.isEmpty() || records.last().outcome != SequenceRunOutcome::Running) {
        return nullptr;
    }
    return &records.last();
}
