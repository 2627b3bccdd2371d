#pragma once

// Several clients taking turns on one request/response device: each client's bytes are
// cut into requests by its own framer, requests wait in one queue, and a turn gives one
// request the device until its answer has come or the response time-out has passed.
// No clock of its own: every call takes the time in milliseconds.

#include "bridge/bridgeframer.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <deque>
#include <memory>

class BridgeArbiter
{
public:
    struct Request
    {
        QString peer;
        QByteArray bytes;
    };

    // An answered turn stays open this long at most for the rest of a reply that comes
    // in several frames.
    static constexpr int AnswerLingerMs = 50;

    BridgeArbiter();
    ~BridgeArbiter();

    // Each peer's framer takes the policy; bytes held are dropped.
    void setPolicy(const FramingPolicy &policy);
    void setResponseTimeoutMs(int ms);    // 1 .. 600000
    void setMaxQueuedRequests(int count); // 1 .. 4096
    int responseTimeoutMs() const { return timeoutMs; }
    int maxQueuedRequests() const { return maxQueued; }

    void submit(const QString &peer, const QByteArray &bytes, qint64 nowMs);
    // The next request, which opens a turn; false while a turn is open or none waits.
    bool takeNext(qint64 nowMs, Request *request);
    // The owner of the open turn for an answer arriving now, which keeps the turn for a
    // reply in several frames; empty when no turn is open or it has expired.
    QString routeResponse(qint64 nowMs);
    void tick(qint64 nowMs);
    void forgetPeer(const QString &peer);
    int nextTimeoutMs(qint64 nowMs) const;
    void reset();

    qsizetype queuedRequests() const { return qsizetype(queue.size()); }
    qint64 dropped() const { return droppedCount; }
    qint64 timedOut() const { return timedOutCount; }
    bool turnOpen() const { return open; }
    QString turnOwner() const { return owner; }

private:
    void enqueueRequest(const QString &peer, const QByteArray &bytes);
    void closeTurn();

    FramingPolicy policy;
    int timeoutMs = 1000;
    int maxQueued = 64;
    QHash<QString, std::shared_ptr<BridgeFramer>> framers;
    QStringList peerOrder; // framers in order of first use, so ticks run in a fixed order
    std::deque<Request> queue;
    QString owner;
    bool open = false;
    qint64 deadline = 0;
    bool answered = false;
    qint64 droppedCount = 0;
    qint64 timedOutCount = 0;
};
