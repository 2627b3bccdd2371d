#pragma once

#include "bridge/rfc2217codec.h"

#include <QString>

// A remote serial client's request passed on to a port that is itself remote: the
// answer goes back to `peer` when the far port gives it, or is given up at `deadline`.
struct PendingRemoteAnswer
{
    QString peer;
    Rfc2217Codec::Event event;
    qint64 deadline = 0; // milliseconds of the link's clock
};
