#pragma once

// The read side of a bridge end, as a flow sees it: a source can be asked to stop
// reading while its sink cannot keep up.
class BridgeSource
{
public:
    virtual ~BridgeSource() = default;

    virtual void setReadThrottled(bool on) = 0;
    // False for a source that cannot be slowed down (a serial line without flow
    // control, UDP): holding it would only lose bytes in the driver instead.
    virtual bool supportsThrottle() const = 0;
};
