#pragma once

// Events files: a captured conversation as text, one arrival per line,
//
//     <ms> <tx|rx> <hex> [peer]
//
// with the monotonic time in milliseconds, the direction, the bytes as hex digits (no
// blanks) and the peer for network captures. "#" starts a comment; blank lines are
// ignored. A line that does not read is an error with its line number; nothing else is
// refused (times may repeat or go back, and are passed on as they are).

#include "decode/decodedframe.h"

#include <QCoreApplication>

class QIODevice;

struct DecodeEvent
{
    qint64 ms = 0;
    FrameDirection direction = FrameDirection::Rx;
    QByteArray bytes;
    QString peer;
    int line = 0; // from 1

    bool operator==(const DecodeEvent &) const = default;
};

class DecodeEvents
{
    Q_DECLARE_TR_FUNCTIONS(DecodeEvents)

public:
    enum class LineKind { Event, Blank, Bad };

    // One line, without or with its line end. A bad line sets `error` to what is wrong
    // with it (without the line number).
    static LineKind parseLine(QByteArrayView line, DecodeEvent *event, QString *error);
    // Every event of `text`; false at the first bad line, with `error` "Line %1: ..." and
    // `badLine` its number.
    static bool parse(QByteArrayView text, QList<DecodeEvent> *events, QString *error,
                      int *badLine = nullptr);
    // The same from a device read to its end; a read error is reported as such.
    static bool read(QIODevice &device, QList<DecodeEvent> *events, QString *error,
                     int *badLine = nullptr);
    // The line of an event, as parseLine reads it back.
    static QByteArray formatLine(const DecodeEvent &event);
};
