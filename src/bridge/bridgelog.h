#pragma once

// The lines of a bridge capture file: a header, then one line per frame of either
// direction, so that the file reads as a protocol trace.

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QString>

class BridgeLog
{
    Q_DECLARE_TR_FUNCTIONS(BridgeLog)

public:
    enum Direction : qint32 { AtoB = 0, BtoA = 1 };

    // "HH:mm:ss.zzz  A->B  peer  data", with "-" for no peer. Hex data is upper-case
    // pairs; text data writes \r, \n, \t and \xHH for other control bytes and 127, and
    // any other byte as the character of that code.
    static QString formatLine(const QDateTime &time, Direction direction, const QString &peer,
                              const QByteArray &bytes, bool hex);
    // The lines that open a new file; `started` in the form "yyyy-MM-dd HH:mm:ss".
    static QString formatHeader(const QString &link, const QString &endA, const QString &endB,
                                const QDateTime &started);
    static QString formatData(const QByteArray &bytes, bool hex);
};
