#pragma once

// The event loop of a running command. It ends when the command says it is done, when
// its duration is over, on SIGINT or SIGTERM, or when the connection goes away, and
// tells which.

#include <QObject>

#include <functional>

class CliOutput;
class PortOpener;

class CommandLoop : public QObject
{
    Q_OBJECT
public:
    enum End {
        Finished,
        DurationOver,
        Interrupted,
        ConnectionLost,
    };

    explicit CommandLoop(QObject *parent = nullptr);
    ~CommandLoop() override;

    // Ends the loop after `ms` (not before exec()); negative for no limit.
    void setDuration(qint64 ms) { durationMs = ms; }
    // The connection going away ends the loop, with its reason in lostReason().
    void watch(PortOpener *opener);
    // While set, an interrupt only calls `handler` (which stops the run, whose end then
    // calls finish()); the loop still reports Interrupted.
    void setInterruptHandler(std::function<void()> handler) { onInterrupt = std::move(handler); }

    End exec();
    void finish(End end = Finished);
    QString lostReason() const { return reason; }
    bool wasInterrupted() const { return interrupted; }
    // The exit code for a loop that ended with `end`: a lost connection is told on `out`.
    int exitCode(End end, CliOutput &out) const;

private:
    class QEventLoop *loop = nullptr;
    qint64 durationMs = -1;
    End result = Finished;
    bool ended = false;
    bool interrupted = false;
    QString reason;
    std::function<void()> onInterrupt;
};
