#pragma once

// What a transfer is asked to do, and how it ended, as the port session and the
// command line see it.

#include "transfer/xferstep.h"

enum class XferDirection : int { Send = 0, Receive = 1 };

struct XferConfig
{
    XferProtocol protocol = XferProtocol::Ymodem;
    XferDirection direction = XferDirection::Send;
    int blockSize = 1024;      // the largest block to send: 128 or 1024
    qint64 receiveLimit = 0;   // bytes; 0 for no limit
    QString peer;              // the client of a multi-client port; empty for the only one
    bool keepOpen = false;     // the dialog stays open after the end
};

// The transfer dialog's last choices, kept between runs of the program.
struct XferChoices
{
    XferProtocol protocol = XferProtocol::Ymodem;
    QString sendDir;     // the folder of the last file sent
    QString recvDir;     // the last folder received into
    int sizeCapMiB = 0;  // 0 for no limit

    bool operator==(const XferChoices &) const = default;
};

struct XferEnd
{
    bool ok = false;
    XferDirection direction = XferDirection::Send;
    XferError error = XferError::None;
    qint64 bytes = 0;
    qint64 elapsedMs = 0;
    QString name;
    int retries = 0;
    QString message;
};
