#include "bridge/framingpolicy.h"

#include <algorithm>

FramingPolicy FramingPolicy::sanitized() const
{
    FramingPolicy p = *this;
    if (p.mode < AtOnce || p.mode > FixedLength || (p.mode == Delimiter && p.delimiter.isEmpty())) {
        p.mode = AtOnce;
    }
    p.idleGapMs = std::clamp(p.idleGapMs, 1, 60000);
    p.fixedLength = std::clamp(p.fixedLength, 1, 1048576);
    p.maxBytes = std::clamp(p.maxBytes, 1, 1048576);
    p.maxHoldMs = std::clamp(p.maxHoldMs, 1, 60000);
    if (p.mode == Delimiter) {
        p.maxBytes = std::max(p.maxBytes, int(p.delimiter.size()));
    } else if (p.mode == FixedLength) {
        p.maxBytes = std::max(p.maxBytes, p.fixedLength);
    }
    return p;
}
