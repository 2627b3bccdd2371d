#pragma once

#include "connection/settings.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// One block queued for display: received or sent bytes with their time and peer.
struct rxData
{
    QDateTime time;
    RXorTx direction = Received;
    QByteArray data;          // bytes to show, after the escape filter
    bool isLocalEcho = false; // echo of typed terminal input: shown, never logged
    QByteArray raw;           // the bytes as they came off the wire
    QString peer;             // peer key; empty for single-peer transports
};
