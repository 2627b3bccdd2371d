#include "bridge/flowcontrolpolicy.h"

#include <algorithm>

FlowControlPolicy FlowControlPolicy::sanitized() const
{
    FlowControlPolicy p = *this;
    p.queueLimitBytes = std::clamp<qint64>(p.queueLimitBytes, 1, 1073741824);
    p.highWatermark = std::clamp<qint64>(p.highWatermark, 1, p.queueLimitBytes);
    p.lowWatermark = std::clamp<qint64>(p.lowWatermark, 0, p.highWatermark - 1);
    p.sinkPendingLimitBytes = std::clamp<qint64>(p.sinkPendingLimitBytes, 1, 268435456);
    if (p.overflowPolicy < DropOldest || p.overflowPolicy > StopBridge) {
        p.overflowPolicy = SlowSender;
    }
    p.floodRateBytesPerSec = std::max<qint64>(p.floodRateBytesPerSec, 1024);
    p.floodWindowMs = std::clamp(p.floodWindowMs, 100, 600000);
    return p;
}
