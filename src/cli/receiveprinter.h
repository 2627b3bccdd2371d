#pragma once

// Received bytes as a command prints them: text in the port's receive encoding (a
// character split between two reads survives) or hex pairs, optionally each read
// stamped with the time it arrived.

#include "connection/wiretextdecoder.h"

#include <QString>

class ReceivePrinter
{
public:
    ReceivePrinter(const QString &encoding, bool hex, bool timestamps);

    QString print(const QByteArray &bytes);
    // Hex pairs separated by blanks, upper case: "01 03 00".
    static QString hexPairs(const QByteArray &bytes);

private:
    WireTextDecoderPtr decoder;
    bool hex = false;
    bool timestamps = false;
};
