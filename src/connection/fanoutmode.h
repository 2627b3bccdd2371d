#pragma once

#include <QtGlobal>

// How a TCP server that a bridge drives shares its port between clients.
enum class FanoutMode : qint32 {
    Shared = 0,    // all clients share the port
    Exclusive = 1, // one client at a time; others are refused at the door
    TakeTurns = 2, // clients take turns, one request at a time
};
