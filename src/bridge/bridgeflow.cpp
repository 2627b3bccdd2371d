#include "bridge/bridgeflow.h"

#include "bridge/bridgesink.h"
#include "bridge/bridgesource.h"

BridgeFlow::BridgeFlow() = default;

void BridgeFlow::setFraming(const FramingPolicy &policy)
{
    if (policy.sanitized() == framer.policy()) {
        return;
    }
    if (!enqueue(framer.flush(), lastPeer)) {
        suspend(tr("Egress queue overflowed"));
    }
    framer.setPolicy(policy);
}

void BridgeFlow::setPolicy(const FlowControlPolicy &policy)
{
    queue.setPolicy(policy);
    if (!queue.policy().floodGuardEnabled) {
        floodOpen = false;
    }
}

void BridgeFlow::ingest(const QByteArray &bytes, qint64 nowMs, const QString &peer)
{
    if (bytes.isEmpty()) {
        return;
    }
    lastNowMs = nowMs;
    if (suspended) {
        countUnrouted(bytes.size(), 1);
        return;
    }
    noteFlood(bytes.size(), nowMs);
    if (suspended) {
        countUnrouted(bytes.size(), 1);
        return;
    }
    const FramingPolicy &framing = framer.policy();
    bool fits = true;
    if (framing.mode == FramingPolicy::AtOnce && framer.heldBytes() == 0 &&
        bytes.size() <= framing.maxBytes) {
        // The block is the frame: it is queued as it is, shared, not copied.
        fits = enqueue({bytes}, peer);
    } else {
        fits = enqueue(framer.ingest(bytes, nowMs), peer);
    }
    if (!fits) {
        suspend(tr("Egress queue overflowed"));
    }
    lastPeer = peer;
    drain(nowMs);
}

bool BridgeFlow::enqueue(const QList<QByteArray> &frames, const QString &peer)
{
    for (qsizetype i = 0; i < frames.size(); ++i) {
        if (suspended) {
            countUnrouted(frames.at(i).size(), 1);
            continue;
        }
        if (queue.enqueue({frames.at(i), peer}) == BridgeEgressQueue::Overflow) {
            // What came with the frame that overflowed is dropped with it.
            for (qsizetype j = i + 1; j < frames.size(); ++j) {
                countUnrouted(frames.at(j).size(), 1);
            }
            return false;
        }
    }
    return true;
}

void BridgeFlow::drain(qint64 nowMs)
{
    lastNowMs = nowMs;
    sinkBlocked = false;
    while (!queue.isEmpty()) {
        if (!target || !target->isOpen()) {
            sinkBlocked = true;
            break;
        }
        const BridgeFrame &head = queue.head();
        const qint64 size = head.bytes.size();
        if (!target->hasRecipients() ||
            (!head.peer.isEmpty() && !target->hasRecipient(head.peer))) {
            countUnrouted(size, 1);
            queue.consume(size);
            continue;
        }
        if (target->pendingBytes() >= queue.policy().sinkPendingLimitBytes) {
            sinkBlocked = true;
            break;
        }
        const qint64 written = target->writeBytes(head.bytes, head.peer);
        if (written < 1) {
            sinkBlocked = true;
            ++failures;
            break;
        }
        const qint64 taken = std::min(written, size);
        forwardedBytes += taken;
        if (taken == size) {
            ++forwardedFrames;
        }
        queue.consume(taken);
    }
    applyThrottle(nowMs);
}

void BridgeFlow::tick(qint64 nowMs)
{
    lastNowMs = nowMs;
    if (suspended) {
        return;
    }
    if (!enqueue(framer.tick(nowMs), lastPeer)) {
        suspend(tr("Egress queue overflowed"));
        return;
    }
    drain(nowMs);
}

void BridgeFlow::suspend(const QString &why)
{
    if (suspended) {
        return;
    }
    suspended = true;
    reason = why;
    error = why;
    // A suspended flow takes nothing more from its source, so holding it helps nobody.
    if (sourceThrottled) {
        sourceThrottled = false;
        throttledTotalMs += lastNowMs - throttleStartMs;
        if (origin) {
            origin->setReadThrottled(false);
        }
    }
}

void BridgeFlow::resume(qint64 nowMs)
{
    lastNowMs = nowMs;
    suspended = false;
    reason.clear();
    floodOpen = false;
    drain(nowMs);
}

void BridgeFlow::finish(qint64 nowMs)
{
    lastNowMs = nowMs;
    enqueue(framer.flush(), lastPeer);
    drain(nowMs);
    if (!queue.isEmpty()) {
        countUnrouted(queue.queuedBytes(), queue.frameCount());
        queue.clear();
    }
    floodOpen = false;
    applyThrottle(nowMs);
}

int BridgeFlow::nextTimeoutMs(qint64 nowMs) const
{
    if (suspended) {
        return -1;
    }
    int next = framer.nextTimeoutMs(nowMs);
    if (!queue.isEmpty()) {
        next = next < 0 ? DrainRetryMs : std::min(next, DrainRetryMs);
    }
    return next;
}

qint64 BridgeFlow::throttledMs(qint64 nowMs) const
{
    return throttledTotalMs + (sourceThrottled ? std::max<qint64>(0, nowMs - throttleStartMs) : 0);
}

void BridgeFlow::countUnrouted(qint64 bytes, qint64 frames)
{
    unroutedBytes += bytes;
    unroutedFrames += frames;
}

void BridgeFlow::noteFlood(qint64 size, qint64 nowMs)
{
    const FlowControlPolicy &policy = queue.policy();
    if (!policy.floodGuardEnabled) {
        return;
    }
    if (!floodOpen) {
        floodOpen = true;
        floodStartMs = nowMs;
        floodBytes = size;
        floodBaseQueue = queue.queuedBytes();
        return;
    }
    floodBytes += size;
    const qint64 elapsed = nowMs - floodStartMs;
    if (elapsed < policy.floodWindowMs) {
        return;
    }
    // A fast stream alone is no loop: the queue must also be growing, which a sink that
    // keeps up never lets it do.
    const qint64 rate = floodBytes * 1000 / std::max<qint64>(elapsed, 1);
    if (rate > policy.floodRateBytesPerSec && queue.queuedBytes() > floodBaseQueue) {
        suspend(tr("Flood guard tripped (possible cable loop)"));
        return;
    }
    floodStartMs = nowMs;
    floodBytes = 0;
    floodBaseQueue = queue.queuedBytes();
}

void BridgeFlow::applyThrottle(qint64 nowMs)
{
    const bool hold = !suspended && (queue.throttled() || (sinkBlocked && !queue.isEmpty()));
    if (hold == sourceThrottled) {
        return;
    }
    // The state is settled before the source is told: releasing it may deliver its
    // waiting bytes into this flow at once.
    sourceThrottled = hold;
    if (hold) {
        throttleStartMs = nowMs;
    } else {
        throttledTotalMs += nowMs - throttleStartMs;
    }
    if (origin) {
        origin->setReadThrottled(hold);
    }
}
