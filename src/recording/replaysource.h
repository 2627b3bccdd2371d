#pragma once

// Where replay takes its events from, one at a time and in order. The engine knows only
// this, so that it runs as well on a file as on a list in a test.

#include "recording/sessionevent.h"

struct ReplayEvent
{
    SessionEvent event;
    int portIndex = -1;
    qint64 ordinal = 0;
    qint64 playUs = 0; // on the replay axis, which never goes back
};

class ReplaySource
{
public:
    ReplaySource() = default;
    virtual ~ReplaySource() = default;
    ReplaySource(const ReplaySource &) = delete;
    ReplaySource &operator=(const ReplaySource &) = delete;

    // The next event without taking it; false at the end.
    virtual bool peek(ReplayEvent *event) = 0;
    virtual void pop() = 0;
};
