#pragma once

// Whether a port can carry a file transfer now, with the sentence that says why not.
// The port session gathers the facts; the rules live here, beside the transfer.

#include "connection/settings.h"
#include "transfer/xferconfig.h"

#include <QCoreApplication>
#include <QStringList>

struct XferPortFacts
{
    connectionMode mode = ModeSerial;
    int flowControl = 0;          // of a serial port: 0 none, 1 RTS/CTS, 2 XON/XOFF
    bool transferRunning = false;
    bool bridged = false;         // the port is an end of a bridge link
    bool paused = false;          // the view is paused
    QStringList clients;          // the connected clients of a TCP server
};

class XferStartCheck
{
    Q_DECLARE_TR_FUNCTIONS(XferStartCheck)
public:
    // Before the dialog opens: empty when a transfer may be set up on the port.
    static QString canStartTransfer(const XferPortFacts &facts);
    // When the user starts: everything above, then the choices of `config`.
    static QString startRefusal(const XferPortFacts &facts, const XferConfig &config);
    // Whether the transport itself can neither drop nor reorder bytes, so that a
    // protocol without retransmission is safe on it.
    static bool transportIsLossless(const XferPortFacts &facts);
};
