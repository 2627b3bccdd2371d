#pragma once

// Runs one Lua script on a port at a time: gives a ScriptEngine its clock, one precise
// single-shot timer and its port. Received data goes in through ingest(); what the
// script sends goes out through the sender callback, held back while the port's write
// queue is longer than 4096 bytes. The run's output leaves as signals. A port session
// owns one runner and makes it a new engine for each run.

#include "automation/sequencerunner.h"
#include "scripting/scriptengine.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>

class QTimer;

class ScriptRunner : public QObject
{
    Q_OBJECT
public:
    // Hands bytes to the port; false with the port's reason in `error` when it did not
    // take them.
    using Sender = std::function<bool(const QByteArray &bytes, QString *error)>;
    // The number of bytes waiting in the port's write queue.
    using Backlog = std::function<qint64()>;
    // Why the port cannot run a script now (a sequence or a file transfer has it), or an
    // empty text when it can.
    using StartGuard = std::function<QString()>;
    // The reasons a run is stopped for; the same words as for sequences.
    using StopReason = SequenceRunner::StopReason;

    // Above this many bytes in the write queue the runner waits before going on.
    static constexpr qint64 BacklogLimitBytes = 4096;
    static constexpr int BacklogRetryMs = 10;
    // Lines of `log` that reach the port's receive view in any one second.
    static constexpr int ReceiveViewLogLinesPerSecond = 20;
    // The most characters of a line the runner puts in the receive view (a longer one
    // ends in "…"): a data view lays out a long line slowly, and the whole text is in
    // the Scripts window.
    static constexpr int ReceiveViewLineLimit = 1024;

    explicit ScriptRunner(QObject *parent = nullptr);
    ~ScriptRunner() override;

    // Checks the syntax, then loads the script into a new engine and starts it from the
    // event loop. Fails, leaving a running script alone, on a syntax error (with its
    // line), while a script runs, while the start guard objects, or when the script
    // does not load; `errorLine` is -1 when the failure has no line.
    bool start(const Script &script, const ScriptPortInfo &port, QString *error, int *errorLine);

    bool isRunning() const;
    // The runner's clock in milliseconds: the one set with setClock, or its own.
    qint64 now() const;

    void setSender(Sender sender);
    void setBacklog(Backlog backlog);
    void setCommandLookup(ScriptEngine::CommandLookup lookup);
    // Replaces the runner's own monotonic clock; for the next run on.
    void setClock(ScriptEngine::Clock clock);
    void setStartGuard(StartGuard guard);

    // The engine of the current or last run; it stays after the run for its state,
    // reason and error line.
    const ScriptEngine &engine() const { return *current; }
    ScriptState state() const { return current->state(); }
    // The name of the current or last script.
    QString scriptName() const { return current->name(); }

    // The line the receive view shows at the end of a run; empty before any has ended.
    QString finishedNote() const;

    // "A script is already running on this port."
    static QString alreadyRunningMessage();
    // "A sequence is running on this port; stop it first."
    static QString sequenceRunningMessage();
    // "Script log lines are arriving faster than 20 a second; ..."
    static QString logRateMessage();
    // The reason a stop gives, as the end messages show it.
    static QString stopReasonText(StopReason reason);

public slots:
    // Data received on the port, from the peer `source` (empty for a single peer).
    void ingest(const QByteArray &data, const QString &source);
    void stop(const QString &reason);

signals:
    void started();
    void output(const ScriptOutput &entry);
    void finished(ScriptState state);
    void stateChanged();
    // A line for the port's receive view: `log` lines at up to 20 a second, once a run
    // the note that more came, and the end of the run (emitted before finished()).
    void receiveViewLine(const QString &text);

private:
    void pump();
    void drain();
    void schedule(qint64 delayMs);
    void passLogLine(const QString &text);

    std::unique_ptr<ScriptEngine> current;
    QElapsedTimer ownClock;
    ScriptEngine::Clock clock;
    QTimer *timer = nullptr;
    Sender sender;
    Backlog backlog;
    ScriptEngine::CommandLookup lookup;
    StartGuard guard;
    bool pumping = false;
    bool draining = false;
    bool running = false; // from started() until finished()
    QList<ScriptOutput> pendingOutput;
    quint64 generation = 0; // counts starts, so a pump notices a run replaced under it
    QList<qint64> logLineTimes; // when the latest receive view log lines were passed on
    bool logRateNoted = false;
};
