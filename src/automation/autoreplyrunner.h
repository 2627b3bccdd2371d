#pragma once

// Auto reply on a live port: one AutoReplyEngine stamped with a monotonic clock, the
// replies it decides on queued by due time and sent from one precise timer through a
// sender that answers the source that asked.

#include "automation/autoreplyengine.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

#include <functional>

class AutoReplyRunner : public QObject
{
    Q_OBJECT

public:
    // Writes the bytes to the source (peer key, empty for single-peer transports) and
    // returns true when at least one byte went out.
    using Sender = std::function<bool(const QByteArray &bytes, const QString &source)>;

    // One queued reply.
    struct Pending
    {
        qint64 dueMs = 0;
        int rule = -1;
        QByteArray bytes;
        QString source;
    };

    static constexpr int MaxPending = 1024;

    explicit AutoReplyRunner(QObject *parent = nullptr);

    // Replaces the rules: the queue is emptied first, so no reply of the old rules goes
    // out, and the counts start again from zero.
    void setConfig(const AutoReplyConfig &config);
    // The port's received-data and sent-data encodings.
    void setEncodings(const QString &rxEncoding, const QString &txEncoding);
    void setSender(Sender sender);

    const AutoReplyEngine &engine() const { return replies; }
    const AutoReplyConfig &config() const { return replies.config(); }
    int repliesSent() const { return sentCount; }
    int pendingCount() const { return int(pending.size()); }
    const QList<Pending> &pendingReplies() const { return pending; }

public slots:
    void ingest(const QByteArray &data, const QString &source);
    // Drops the queued replies; windows and counts stay.
    void cancelPending();
    // Drops every window and the queued replies; counts stay, so what a user sees
    // survives the closing of the port.
    void reset();

signals:
    void replied(int rule, const QString &source, int bytes);
    void silent(int rule, AutoReplyOutcome outcome);
    void stateChanged();

private:
    void schedule();
    void fire();
    bool dropQueue();

    AutoReplyEngine replies;
    Sender sender;
    QList<Pending> pending; // ordered by dueMs, arrivals in order among equals
    QTimer timer;
    QElapsedTimer clock;
    int sentCount = 0;
};
