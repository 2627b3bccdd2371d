#pragma once

// Runs one sequence on a port: owns a SequenceEngine, gives it a monotonic clock and
// one precise single-shot timer, passes received data in and the engine's bytes out
// through a sender callback, and turns the engine's events into signals. A port session
// owns one runner and wires the callbacks to its send path and write queue.

#include "automation/sequenceengine.h"

#include <QElapsedTimer>
#include <QObject>

#include <functional>

class QTimer;
class SequenceReportLog;

class SequenceRunner : public QObject
{
    Q_OBJECT
public:
    // Hands bytes to the port; false when the port did not take them.
    using Sender = std::function<bool(const QByteArray &bytes)>;
    // The number of bytes waiting in the port's write queue.
    using Backlog = std::function<qint64()>;
    // Why the port cannot run a sequence now (a script or a file transfer has it), or
    // an empty text when it can.
    using StartGuard = std::function<QString()>;
    // The port's label and a one-line description of its settings, for the report.
    using PortDescription = std::function<QString()>;

    // Above this many bytes in the write queue the runner waits before going on.
    static constexpr qint64 BacklogLimitBytes = 4096;
    static constexpr int BacklogRetryMs = 10;

    enum class StopReason {
        User,
        ConnectionLost,
        ConnectionClosed,
        TransferTookOver,
    };

    explicit SequenceRunner(QObject *parent = nullptr);
    ~SequenceRunner() override;

    // Loads `sequence` with the port's format and starts it from the event loop. Fails,
    // leaving a running sequence alone, while one runs, while the start guard objects,
    // or when the sequence does not load.
    bool start(const Sequence &sequence, const FormatSetting &format, QString *error);

    void setSender(Sender sender);
    void setBacklog(Backlog backlog);
    void setStartGuard(StartGuard guard);
    // Records every run in `log` (owned by the caller; null stops recording). The
    // describers are asked once at the start of each run.
    void setReportLog(SequenceReportLog *log, PortDescription port, PortDescription settings);

    const SequenceEngine &engine() const { return current; }
    SequenceState state() const { return current.currentState(); }
    bool isRunning() const { return current.isRunning(); }
    // Milliseconds since the current step began; 0 when not running.
    qint64 stepElapsedMs() const;
    // Milliseconds of the whole run, up to its end once it has ended.
    qint64 elapsedMs() const;

    // The lines the receive view shows at the start and the end of a run.
    QString startedNote() const;
    QString finishedNote() const;

    // "A script is running on this port; stop it first."
    static QString scriptRunningMessage();
    // The reason a stop gives, as the end message shows it.
    static QString stopReasonText(StopReason reason);

public slots:
    // Data received on the port, from any of its peers: all goes into one buffer.
    void ingest(const QByteArray &data, const QString &source);
    void stop(const QString &reason);

signals:
    void started();
    void stepStarted(int step);
    void stepFinished(int step, bool ok, const QString &detail);
    void finished(SequenceState state);
    void stateChanged();

private:
    qint64 nowMs() const;
    qint64 nowUs() const;
    void pump();
    void drainEvents();
    void schedule(qint64 delayMs);
    void record(const SequenceEvent &event);

    SequenceEngine current;
    QElapsedTimer clock;
    qint64 clockOriginUs = 0; // wall time of the clock's start, for report times
    QTimer *timer = nullptr;
    Sender sender;
    Backlog backlog;
    StartGuard guard;
    SequenceReportLog *reportLog = nullptr;
    PortDescription describePort;
    PortDescription describeSettings;
    bool pumping = false;
    quint64 generation = 0; // counts starts, so a pump notices a run replaced under it
};
