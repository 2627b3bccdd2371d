#pragma once

// Runs one file transfer on one port: owns the XmodemCodec and the file end, gives the
// codec a monotonic clock and one precise single-shot timer, passes received bytes in
// and the codec's bytes out through a sender callback, and turns every end into a
// sentence. The port session writes what the sender callback gets, reports with
// egressDrained() when its write buffer has emptied, hands it the received bytes while
// the transfer runs, and deletes it after ended().
//
// A failure first enters Cancelling: the cancel bytes get cancelBudgetMs() to leave the
// port (or until egressDrained()), then the session is Ended.

#include "transfer/xferconfig.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

class QTimer;
class XmodemCodec;
class XferFileSink;
class XferFileSource;

class FileTransferSession : public QObject
{
    Q_OBJECT
public:
    enum class State : int { Idle = 0, Running = 1, Cancelling = 2, Finished = 3, Ended = 4 };
    enum class CancelCause : int { User, Remote, Protocol, PortClosed, PortLost };

    // Hands bytes to the port; false when the port did not take them.
    using Sender = std::function<bool(const QByteArray &bytes)>;

    FileTransferSession(const XferConfig &config, const QString &displayName,
                        QObject *parent = nullptr);
    ~FileTransferSession() override;

    // The file to send, or where to receive to; the session owns it.
    void setSource(std::unique_ptr<XferFileSource> source);
    void setSink(std::unique_ptr<XferFileSink> sink);
    void setSender(Sender sender);

    // Begins the transfer. False, with the sentence in `error`, when it could not
    // begin (no file end, the destination could not be created); ended() is not
    // emitted then.
    bool start(QString *error = nullptr);
    // Bytes received from the port (from the peer this transfer owns).
    void ingest(const QByteArray &bytes);
    // The port's write buffer is empty: what the sender got has left.
    void egressDrained();
    // Stops the transfer for `cause`; does nothing once it is ending.
    void beginCancel(CancelCause cause);
    // Ends a cancel without waiting for its bytes to leave.
    void finishCancel();
    int cancelBudgetMs() const;

    const XferConfig &config() const { return cfg; }
    QString displayName() const { return portName; }
    State state() const { return current; }
    // Running or cancelling: the port belongs to the transfer.
    bool isActive() const { return current == State::Running || current == State::Cancelling; }
    bool isOver() const { return current == State::Finished || current == State::Ended; }
    CancelCause cancelCause() const { return cause; }
    qint64 elapsedMs() const;

    XferProgress progress() const;
    double bytesPerSecond() const;
    // Seconds left at the current speed; -1 when it cannot be told.
    qint64 secondsRemaining() const;
    XferEnd end() const;
    QString summaryText() const;
    QString startedText() const;
    QString cancelledText() const;
    // Notes about the saved file ("saved as ...", "kept as ..."), each handed out once.
    QStringList takeNotices();
    // Whether bytes from `peer` belong to this transfer.
    bool ownsPeer(const QString &peer) const;

    static QString protocolLabel(XferProtocol protocol);
    // The lines the port's log records.
    QString logStartedText() const;
    QString logEndedText() const;

signals:
    void progressed();
    void stateChanged();
    // Once, when the transfer has finished or ended.
    void ended(const XferEnd &end);

private:
    qint64 now() const;
    void drive(const XferStep &step);
    void apply(const XferStep &step);
    void onTimeout();
    void finishWith(State state);
    void noteSinkOutcome(bool ok);
    QString fileName() const;

    XferConfig cfg;
    QString portName;
    std::unique_ptr<XferFileSource> source;
    std::unique_ptr<XferFileSink> sink;
    std::unique_ptr<XmodemCodec> codec;
    Sender sender;
    QTimer *timer = nullptr;
    QElapsedTimer clock;
    State current = State::Idle;
    CancelCause cause = CancelCause::User;
    XferError finalError = XferError::None;
    QString finalMessage;
    qint64 startedMs = 0;
    qint64 endedMs = -1;
    qint64 finalBytes = 0;
    QStringList notices;
    QByteArray inbox;        // bytes that arrived while a step was being applied
    bool drainPending = false;
    bool driving = false;
    bool starting = false;
};
