#pragma once

// Turns a selection in the receive view back into the bytes behind its text, through
// the span index the renderer keeps beside the view.
//
// Each span's text is aligned to its bytes: in hex every byte is two upper-case digits
// and a blank, in text every character is decoded from its bytes again. A character
// that stands for no byte (a time stamp, a line feed put in by the display) maps to
// nothing. Where the text cannot be aligned (an encoding with several bytes to a
// character other than UTF-8, stamps inside a text, escape sequences taken out), the
// span's bytes are taken whole and the result says so.

#include "session/displayspanindex.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// One contiguous run of a selection: bytes of one direction and peer.
struct SelectionPiece
{
    bool isTx = false;
    QString peer;
    QByteArray bytes;
    qint64 timeUs = 0; // of the first span it came from

    bool operator==(const SelectionPiece &) const = default;
};

struct SelectionResult
{
    QList<SelectionPiece> pieces;
    // Some span could not be aligned to its characters, so whole spans were taken.
    bool wholeFrames = false;
    // The selection began before the oldest text that still has bytes behind it.
    bool olderLeftOut = false;

    qint64 byteCount() const;
    // All pieces' bytes, in order.
    QByteArray bytes() const;
    bool isEmpty() const { return byteCount() == 0; }
};

class SelectionMapper
{
public:
    // `spans` are the spans of the index that meet [start, end) (stream positions),
    // `spanTexts` the text each shows, prefix included. `horizon` is the first position
    // with bytes behind it, negative for none.
    static SelectionResult map(const QList<DisplaySpan> &spans, const QStringList &spanTexts,
                               qint64 start, qint64 end, qint64 horizon);

    // For each character of `text` the index of the first and last byte it stands for,
    // or -1 for a character that stands for none. False when the text does not show
    // these bytes. Line feeds may stand between byte groups in hex.
    static bool alignHex(const DisplaySpan &span, const QString &text, QList<qint32> *first,
                         QList<qint32> *last);
    static bool alignText(const DisplaySpan &span, const QString &text, QList<qint32> *first,
                          QList<qint32> *last);
};
