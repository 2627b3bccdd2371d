#include "scripting/scriptrunner.h"

#include <QScopeGuard>
#include <QTimer>

#include <algorithm>
#include <limits>

namespace {
QString secondsText(qint64 ms)
{
    return QString::number(double(ms) / 1000.0, 'f', 2);
}
} // namespace

ScriptRunner::ScriptRunner(QObject *parent)
    : QObject(parent)
    , timer(new QTimer(this))
{
    ownClock.start();
    clock = [this] { return ownClock.elapsed(); };
    current = std::make_unique<ScriptEngine>(clock);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, &ScriptRunner::pump);
}

ScriptRunner::~ScriptRunner() = default;

void ScriptRunner::setSender(Sender callback)
{
    sender = std::move(callback);
}

void ScriptRunner::setBacklog(Backlog callback)
{
    backlog = std::move(callback);
}

void ScriptRunner::setCommandLookup(ScriptEngine::CommandLookup callback)
{
    lookup = std::move(callback);
}

void ScriptRunner::setClock(ScriptEngine::Clock callback)
{
    clock = callback ? std::move(callback) : ScriptEngine::Clock([this] { return ownClock.elapsed(); });
}

void ScriptRunner::setStartGuard(StartGuard callback)
{
    guard = std::move(callback);
}

bool ScriptRunner::isRunning() const
{
    return current->isRunning();
}

qint64 ScriptRunner::now() const
{
    return clock();
}

QString ScriptRunner::alreadyRunningMessage()
{
    return tr("A script is already running on this port.");
}

QString ScriptRunner::sequenceRunningMessage()
{
    return tr("A sequence is running on this port; stop it first.");
}

QString ScriptRunner::logRateMessage()
{
    return tr("Script log lines are arriving faster than %1 a second; the rest are only in "
              "the Scripts window.")
        .arg(ReceiveViewLogLinesPerSecond);
}

QString ScriptRunner::stopReasonText(StopReason reason)
{
    return SequenceRunner::stopReasonText(reason);
}

QString ScriptRunner::finishedNote() const
{
    const QString name = current->name();
    const QString seconds = secondsText(current->elapsedMs());
    // One line of the receive view, cut as its log lines are.
    const auto line = [](const QString &text) {
        return ScriptEngine::clipText(text, ReceiveViewLineLimit);
    };
    switch (current->state()) {
    case ScriptState::Passed:
        return line(tr("Script \"%1\" passed in %2 s").arg(name, seconds));
    case ScriptState::Stopped:
        return line(tr("Script \"%1\" stopped after %2 s: %3")
                        .arg(name, seconds, current->finishReason()));
    case ScriptState::Failed:
        if (current->errorLine() >= 0) {
            return line(tr("Script \"%1\" failed at line %2 after %3 s: %4")
                            .arg(name, QString::number(current->errorLine()), seconds,
                                 current->finishReason()));
        }
        return line(tr("Script \"%1\" failed after %2 s: %3")
                        .arg(name, seconds, current->finishReason()));
    default:
        return QString();
    }
}

bool ScriptRunner::start(const Script &script, const ScriptPortInfo &port, QString *error,
                         int *errorLine)
{
    const auto refuse = [&](const QString &text, int line) {
        if (error) {
            *error = text;
        }
        if (errorLine) {
            *errorLine = line;
        }
        return false;
    };
    // A script with a syntax error never takes the port, whatever else is going on.
    QString message;
    int line = -1;
    if (!ScriptEngine::checkSyntax(script.source, &message, &line)) {
        return refuse(message, line);
    }
    // `running` stays on until finished() has gone out.
    if (running || current->isRunning()) {
        return refuse(alreadyRunningMessage(), -1);
    }
    if (guard) {
        const QString why = guard();
        if (!why.isEmpty()) {
            return refuse(why, -1);
        }
    }
    auto fresh = std::make_unique<ScriptEngine>(clock);
    fresh->setCommandLookup(lookup);
    if (!fresh->load(script, port, &message, &line)) {
        return refuse(message, line);
    }
    timer->stop();
    current = std::move(fresh);
    ++generation;
    logLineTimes.clear();
    logRateNoted = false;
    current->start();
    running = true;
    if (error) {
        error->clear();
    }
    if (errorLine) {
        *errorLine = -1;
    }
    emit started();
    emit stateChanged();
    // The body starts from the event loop, not inside the caller.
    schedule(0);
    return true;
}

void ScriptRunner::ingest(const QByteArray &data, const QString &source)
{
    if (!current->isRunning()) {
        return;
    }
    current->feed(data, source);
    pump();
}

void ScriptRunner::stop(const QString &reason)
{
    if (!current->isRunning()) {
        return;
    }
    timer->stop();
    current->stop(reason);
    drain();
}

void ScriptRunner::schedule(qint64 delayMs)
{
    timer->start(int(std::clamp<qint64>(delayMs, 0, std::numeric_limits<int>::max())));
}

void ScriptRunner::pump()
{
    // The sender may run the event loop, and received data may arrive during the call;
    // the outer pump goes on from where the engine stands afterwards.
    if (pumping) {
        return;
    }
    pumping = true;
    const auto release = qScopeGuard([this] { pumping = false; });
    const quint64 run = generation;

    if (current->isRunning() && backlog && backlog() > BacklogLimitBytes) {
        schedule(BacklogRetryMs);
        return;
    }
    const ScriptAction action = current->poll();
    drain();
    // A slot of the signals above may have stopped this run or started another.
    if (run != generation || !current->isRunning()) {
        return;
    }
    switch (action.kind) {
    case ScriptAction::Send: {
        QString why;
        const bool ok = sender ? sender(action.bytes, &why) : false;
        if (run != generation || !current->isRunning()) {
            return;
        }
        current->sendFinished(ok, why);
        drain();
        if (run == generation && current->isRunning()) {
            schedule(0);
        }
        break;
    }
    case ScriptAction::Yield:
        schedule(0);
        break;
    case ScriptAction::Wait: {
        const qint64 due = current->deadline();
        if (due < 0) {
            timer->stop();
        } else {
            schedule(due - now());
        }
        break;
    }
    case ScriptAction::Done:
        break;
    }
}

void ScriptRunner::drain()
{
    pendingOutput += current->takeOutput();
    // A slot of output() may stop the run, which drains again: its lines join the queue
    // here, so that every line still comes before finished().
    if (draining) {
        return;
    }
    draining = true;
    const auto release = qScopeGuard([this] { draining = false; });
    bool any = false;
    while (!pendingOutput.isEmpty()) {
        const ScriptOutput entry = pendingOutput.takeFirst();
        any = true;
        emit output(entry);
        if (entry.kind == ScriptOutput::Log) {
            passLogLine(entry.text);
        }
    }
    if (running && !current->isRunning()) {
        running = false;
        timer->stop();
        emit receiveViewLine(finishedNote());
        emit finished(current->state());
        emit stateChanged();
    } else if (any) {
        emit stateChanged();
    }
}

void ScriptRunner::passLogLine(const QString &text)
{
    const qint64 at = now();
    while (!logLineTimes.isEmpty() && at - logLineTimes.first() >= 1000) {
        logLineTimes.removeFirst();
    }
    if (logLineTimes.size() < ReceiveViewLogLinesPerSecond) {
        logLineTimes.append(at);
        emit receiveViewLine(ScriptEngine::clipText(text, ReceiveViewLineLimit));
    } else if (!logRateNoted) {
        logRateNoted = true;
        emit receiveViewLine(logRateMessage());
    }
}
