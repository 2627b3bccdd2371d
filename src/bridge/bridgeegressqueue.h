#pragma once

// The frames of one bridge direction that its sink has not taken yet, bounded by the
// flow-control policy. `throttled` follows the watermarks with hysteresis: set when the
// queue reaches the high one, cleared at the low one or below.

#include "bridge/bridgeframe.h"
#include "bridge/flowcontrolpolicy.h"

#include <deque>

class BridgeEgressQueue
{
public:
    enum Result : int {
        Queued = 0,
        QueuedAfterDrop = 1, // older frames made room
        Dropped = 2,         // this frame was dropped
        Overflow = 3,        // this frame was dropped and the bridge is to stop
    };

    explicit BridgeEgressQueue(const FlowControlPolicy &policy = FlowControlPolicy());

    // Keeps the frames and re-tests the watermarks.
    void setPolicy(const FlowControlPolicy &policy);
    const FlowControlPolicy &policy() const { return current; }

    Result enqueue(const BridgeFrame &frame);
    bool isEmpty() const { return frames.empty(); }
    qsizetype frameCount() const { return qsizetype(frames.size()); }
    // The oldest frame; the queue must not be empty.
    const BridgeFrame &head() const { return frames.front(); }
    // Removes `n` bytes from the front, the part of a frame when needed.
    void consume(qint64 n);
    void clear();

    qint64 queuedBytes() const { return queued; }
    qint64 peakQueuedBytes() const { return peak; }
    qint64 droppedBytes() const { return dropBytes; }
    qint64 droppedFrames() const { return dropFrames; }
    bool throttled() const { return isThrottled; }

private:
    void countDrop(qint64 bytes);
    void updateThrottle();

    FlowControlPolicy current;
    std::deque<BridgeFrame> frames;
    qint64 queued = 0;
    qint64 peak = 0;
    qint64 dropBytes = 0;
    qint64 dropFrames = 0;
    bool isThrottled = false;
};
