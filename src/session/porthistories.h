#pragma once

// What a file recording needs from the ports: each port's history (the session keeps it
// from the port's first byte), a description of the port, and the clock its events are
// stamped with.

#include "recording/sessionexport.h"

class PortSession;
class SessionRecorder;

class PortHistories
{
public:
    // The history `session` keeps of what it received and sent.
    static const SessionRecorder *historyOf(const PortSession *session);
    // What a recording says about the port.
    static SessionExport::PortInfo portInfo(const PortSession *session);
    // Microseconds since the epoch, the time every event is stamped with.
    static qint64 nowUs();
};
