#pragma once

// The received and sent data of one port of a recording, in order: the other ports'
// events and every note are stepped over.

#include "recording/replaysource.h"

class PortReplaySource : public ReplaySource
{
public:
    PortReplaySource(ReplaySource *all, int portIndex)
        : all(all)
        , port(portIndex)
    {}

    bool peek(ReplayEvent *event) override
    {
        while (all->peek(event)) {
            if (event->portIndex == port && event->event.kind != SessionEvent::Note) {
                return true;
            }
            all->pop();
        }
        return false;
    }
    void pop() override { all->pop(); }

private:
    ReplaySource *all;
    int port;
};
