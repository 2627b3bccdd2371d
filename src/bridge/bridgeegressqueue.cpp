#include "bridge/bridgeegressqueue.h"

BridgeEgressQueue::BridgeEgressQueue(const FlowControlPolicy &policy)
    : current(policy.sanitized())
{}

void BridgeEgressQueue::setPolicy(const FlowControlPolicy &policy)
{
    current = policy.sanitized();
    updateThrottle();
}

BridgeEgressQueue::Result BridgeEgressQueue::enqueue(const BridgeFrame &frame)
{
    const qint64 size = frame.bytes.size();
    if (size == 0) {
        return Queued;
    }
    Result result = Queued;
    if (queued + size > current.queueLimitBytes) {
        switch (current.overflowPolicy) {
        case FlowControlPolicy::DropOldest:
            while (!frames.empty() && queued + size > current.queueLimitBytes) {
                const qint64 oldest = frames.front().bytes.size();
                frames.pop_front();
                queued -= oldest;
                countDrop(oldest);
                result = QueuedAfterDrop;
            }
            // Even a frame larger than the whole limit is kept, alone.
            break;
        case FlowControlPolicy::StopBridge:
            countDrop(size);
            return Overflow;
        default:
            // Holding the source cannot spare a frame that finds the queue full already.
            countDrop(size);
            return Dropped;
        }
    }
    frames.push_back(frame);
    queued += size;
    peak = std::max(peak, queued);
    updateThrottle();
    return result;
}

void BridgeEgressQueue::consume(qint64 n)
{
    while (n > 0 && !frames.empty()) {
        BridgeFrame &front = frames.front();
        const qint64 size = front.bytes.size();
        if (n >= size) {
            frames.pop_front();
            queued -= size;
            n -= size;
        } else {
            front.bytes = front.bytes.sliced(n);
            queued -= n;
            n = 0;
        }
    }
    updateThrottle();
}

void BridgeEgressQueue::clear()
{
    frames.clear();
    queued = 0;
    updateThrottle();
}

void BridgeEgressQueue::countDrop(qint64 bytes)
{
    dropBytes += bytes;
    ++dropFrames;
}

void BridgeEgressQueue::updateThrottle()
{
    if (queued >= current.highWatermark) {
        isThrottled = true;
    } else if (queued <= current.lowWatermark) {
        isThrottled = false;
    }
}
