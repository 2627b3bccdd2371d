#include "automation/sequencerunner.h"

#include "automation/sequencereportlog.h"

#include <QDateTime>
#include <QScopeGuard>
#include <QTimer>

#include <algorithm>
#include <limits>

namespace {
SequenceRunOutcome outcomeOf(SequenceState state)
{
    switch (state) {
    case SequenceState::Passed:
        return SequenceRunOutcome::Passed;
    case SequenceState::Failed:
        return SequenceRunOutcome::Failed;
    case SequenceState::Stopped:
        return SequenceRunOutcome::Stopped;
    default:
        return SequenceRunOutcome::Running;
    }
}

QString secondsText(qint64 ms)
{
    return QString::number(double(ms) / 1000.0, 'f', 2);
}
} // namespace

SequenceRunner::SequenceRunner(QObject *parent)
    : QObject(parent)
    , timer(new QTimer(this))
{
    clockOriginUs = QDateTime::currentMSecsSinceEpoch() * 1000;
    clock.start();
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, &SequenceRunner::pump);
}

SequenceRunner::~SequenceRunner() = default;

void SequenceRunner::setSender(Sender callback)
{
    sender = std::move(callback);
}

void SequenceRunner::setBacklog(Backlog callback)
{
    backlog = std::move(callback);
}

void SequenceRunner::setStartGuard(StartGuard callback)
{
    guard = std::move(callback);
}

void SequenceRunner::setReportLog(SequenceReportLog *log, PortDescription port,
                                  PortDescription settings)
{
    reportLog = log;
    describePort = std::move(port);
    describeSettings = std::move(settings);
}

QString SequenceRunner::scriptRunningMessage()
{
    return tr("A script is running on this port; stop it first.");
}

QString SequenceRunner::stopReasonText(StopReason reason)
{
    switch (reason) {
    case StopReason::User:
        return tr("stopped by the user");
    case StopReason::ConnectionLost:
        return tr("the connection was lost");
    case StopReason::ConnectionClosed:
        return tr("the connection was closed");
    case StopReason::TransferTookOver:
        return tr("a file transfer took the port over");
    }
    return QString();
}

qint64 SequenceRunner::nowMs() const
{
    return clock.elapsed();
}

qint64 SequenceRunner::nowUs() const
{
    return clockOriginUs + clock.nsecsElapsed() / 1000;
}

bool SequenceRunner::start(const Sequence &sequence, const FormatSetting &format, QString *error)
{
    const auto refuse = [&](const QString &text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (current.isRunning()) {
        return refuse(tr("A sequence is already running on this port."));
    }
    if (guard) {
        const QString why = guard();
        if (!why.isEmpty()) {
            return refuse(why);
        }
    }
    SequenceEngine fresh;
    QString why;
    if (!fresh.load(sequence, format, &why)) {
        return refuse(why);
    }
    current = fresh;
    ++generation;
    current.start(nowMs());
    if (reportLog) {
        reportLog->runStarted(current.sequenceName(), current.stepCount(), nowUs(),
                              describePort ? describePort() : QString(),
                              describeSettings ? describeSettings() : QString());
    }
    emit started();
    emit stateChanged();
    // The first step runs from the event loop, not inside the caller.
    schedule(0);
    return true;
}

void SequenceRunner::ingest(const QByteArray &data, const QString &source)
{
    Q_UNUSED(source) // every peer's data goes into the one buffer
    if (!current.isRunning()) {
        return;
    }
    current.feed(data, nowMs());
    pump();
}

void SequenceRunner::stop(const QString &reason)
{
    if (!current.isRunning()) {
        return;
    }
    timer->stop();
    current.stop(reason, nowMs());
    drainEvents();
}

qint64 SequenceRunner::stepElapsedMs() const
{
    return current.isRunning() ? std::max<qint64>(0, nowMs() - current.stepStartedAtMs()) : 0;
}

qint64 SequenceRunner::elapsedMs() const
{
    return current.elapsedMs(nowMs());
}

QString SequenceRunner::startedNote() const
{
    return tr("Sequence \"%1\" started, %n step(s)", nullptr, current.stepCount())
        .arg(current.sequenceName());
}

QString SequenceRunner::finishedNote() const
{
    const QString name = current.sequenceName();
    const QString seconds = secondsText(elapsedMs());
    const int stepNumber = current.failedStepIndex() + 1;
    switch (current.currentState()) {
    case SequenceState::Passed:
        return tr("Sequence \"%1\" passed in %2 s").arg(name, seconds);
    case SequenceState::Failed:
        return tr("Sequence \"%1\" failed at step %2 after %3 s: %4")
            .arg(name, QString::number(stepNumber), seconds, current.endMessage());
    case SequenceState::Stopped:
        return tr("Sequence \"%1\" stopped at step %2 after %3 s: %4")
            .arg(name, QString::number(stepNumber), seconds, current.endMessage());
    default:
        return QString();
    }
}

void SequenceRunner::schedule(qint64 delayMs)
{
    timer->start(int(std::clamp<qint64>(delayMs, 0, std::numeric_limits<int>::max())));
}

void SequenceRunner::pump()
{
    // A sender may run the event loop, and received data may arrive during the call;
    // the outer pump goes on from where the engine stands afterwards.
    if (pumping) {
        return;
    }
    pumping = true;
    const auto release = qScopeGuard([this] { pumping = false; });
    const quint64 run = generation;

    if (current.isRunning() && backlog && backlog() > BacklogLimitBytes) {
        schedule(BacklogRetryMs);
        return;
    }
    const SequenceAction action = current.poll(nowMs());
    drainEvents();
    // A slot of the signals above may have stopped this run or started another.
    if (run != generation || !current.isRunning()) {
        return;
    }
    switch (action.kind) {
    case SequenceAction::Send: {
        const bool ok = sender ? sender(action.bytes) : false;
        if (run != generation) {
            return;
        }
        current.sendFinished(ok, nowMs());
        drainEvents();
        if (run == generation && current.isRunning()) {
            schedule(0);
        }
        break;
    }
    case SequenceAction::Yield:
        schedule(0);
        break;
    case SequenceAction::Wait: {
        const qint64 due = current.deadline();
        if (due < 0) {
            timer->stop();
        } else {
            schedule(due - nowMs());
        }
        break;
    }
    case SequenceAction::Done:
        break;
    }
}

void SequenceRunner::drainEvents()
{
    const QList<SequenceEvent> batch = current.takeEvents();
    if (batch.isEmpty()) {
        return;
    }
    // The batch describes the run as it stands now, even if a slot replaces it midway.
    const quint64 run = generation;
    const SequenceState endState = current.currentState();
    for (const SequenceEvent &event : batch) {
        if (run == generation) {
            record(event);
        }
        switch (event.type) {
        case SequenceEvent::StepStarted:
            emit stepStarted(event.step);
            break;
        case SequenceEvent::StepPassed:
            emit stepFinished(event.step, true, event.text);
            break;
        case SequenceEvent::StepFailed:
            emit stepFinished(event.step, false, event.text);
            break;
        case SequenceEvent::Finished:
            if (run == generation) {
                timer->stop();
            }
            emit finished(endState);
            break;
        }
    }
    emit stateChanged();
}

void SequenceRunner::record(const SequenceEvent &event)
{
    if (!reportLog) {
        return;
    }
    const qint64 us = nowUs();
    switch (event.type) {
    case SequenceEvent::StepStarted:
        reportLog->stepStarted(event.step, current.stepTitle(event.step),
                               current.stepKind(event.step) == SequenceStepKind::Expect, us);
        break;
    case SequenceEvent::StepPassed:
    case SequenceEvent::StepFailed:
        reportLog->stepFinished(event.step, event.type == SequenceEvent::StepPassed, event.text, us);
        break;
    case SequenceEvent::Finished:
        reportLog->runFinished(outcomeOf(current.currentState()), current.failureCount(),
                               current.failedStepIndex(), current.endMessage(), us);
        break;
    }
}
