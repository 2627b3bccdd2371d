#pragma once

// One direction of a bridge: received blocks are cut into frames, queued, and written
// to the sink as fast as it takes them. A full queue or a blocked sink holds the
// source; a queue that overflows under "stop the bridge", or a flood that grows the
// queue (a cable loop), suspends the flow until resume(). No clock of its own: every
// call takes the time in milliseconds of the owner's monotonic clock.

#include "bridge/bridgeegressqueue.h"
#include "bridge/bridgeframer.h"

#include <QCoreApplication>

class BridgeSink;
class BridgeSource;

class BridgeFlow
{
    Q_DECLARE_TR_FUNCTIONS(BridgeFlow)

public:
    // A queue waits at most this long for a sink before it tries again.
    static constexpr int DrainRetryMs = 20;

    BridgeFlow();

    // Framing changes keep the bytes already held: they are queued first.
    void setFraming(const FramingPolicy &policy);
    void setPolicy(const FlowControlPolicy &policy);
    void setSink(BridgeSink *sink) { target = sink; }
    void setSource(BridgeSource *source) { origin = source; }

    void ingest(const QByteArray &bytes, qint64 nowMs, const QString &peer = QString());
    // Writes queued frames while the sink takes them, then holds or releases the source.
    void drain(qint64 nowMs);
    void tick(qint64 nowMs);
    void suspend(const QString &reason);
    void resume(qint64 nowMs);
    // The end of the flow: what is held is queued and written if the sink takes it;
    // what is left is counted as unrouted.
    void finish(qint64 nowMs);
    // -1 when nothing is due; at most DrainRetryMs while frames wait.
    int nextTimeoutMs(qint64 nowMs) const;
    bool isIdle() const { return queue.isEmpty() && framer.heldBytes() == 0; }

    bool isSuspended() const { return suspended; }
    QString suspendReason() const { return reason; }
    bool isSinkBlocked() const { return sinkBlocked; }
    bool isSourceThrottled() const { return sourceThrottled; }

    qint64 bytesForwarded() const { return forwardedBytes; }
    qint64 framesForwarded() const { return forwardedFrames; }
    // Queue drops plus frames nobody could receive.
    qint64 bytesDropped() const { return queue.droppedBytes() + unroutedBytes; }
    qint64 framesDropped() const { return queue.droppedFrames() + unroutedFrames; }
    qint64 unrouted() const { return unroutedBytes; }
    quint64 oversizeCuts() const { return framer.oversizeCuts(); }
    qint64 writeFailures() const { return failures; }
    qint64 queueBytes() const { return queue.queuedBytes(); }
    qint64 peakQueueBytes() const { return queue.peakQueuedBytes(); }
    bool queueThrottled() const { return queue.throttled(); }
    // Time the source was held in all, including a hold still going on at `nowMs`.
    qint64 throttledMs(qint64 nowMs) const;
    QString lastError() const { return error; }
    const FramingPolicy &framing() const { return framer.policy(); }
    const FlowControlPolicy &policy() const { return queue.policy(); }

private:
    // False when the queue overflowed under "stop the bridge".
    bool enqueue(const QList<QByteArray> &frames, const QString &peer);
    void countUnrouted(qint64 bytes, qint64 frames);
    void noteFlood(qint64 size, qint64 nowMs);
    void applyThrottle(qint64 nowMs);

    BridgeFramer framer;
    BridgeEgressQueue queue;
    BridgeSink *target = nullptr;
    BridgeSource *origin = nullptr;
    bool suspended = false;
    QString reason;
    bool sinkBlocked = false;
    bool sourceThrottled = false;
    qint64 throttleStartMs = 0;
    qint64 throttledTotalMs = 0;
    qint64 lastNowMs = 0;

    bool floodOpen = false;
    qint64 floodStartMs = 0;
    qint64 floodBytes = 0;
    qint64 floodBaseQueue = 0;

    QString lastPeer;
    qint64 forwardedBytes = 0;
    qint64 forwardedFrames = 0;
    qint64 unroutedBytes = 0;
    qint64 unroutedFrames = 0;
    qint64 failures = 0;
    QString error;
};
