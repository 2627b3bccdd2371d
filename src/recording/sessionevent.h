#pragma once

// One entry of a port's session history: bytes received or sent, or a note about the
// session (opened, closed, an error). Plain value, shared by the history, its exports
// and recordings.

#include <QByteArray>
#include <QString>

struct SessionEvent
{
    enum Kind : quint8 {
        Rx = 0,
        Tx = 1,
        Note = 2,
    };

    quint64 seq = 0; // from 1 within one port's history, set when it is stored
    qint64 t = 0;    // microseconds since the epoch
    quint8 kind = Rx;
    QString peer;
    QByteArray bytes; // Rx and Tx
    QString text;     // notes only

    bool operator==(const SessionEvent &) const = default;
};
