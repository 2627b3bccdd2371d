#pragma once

// Reads a recording line by line in large blocks, from any offset. A line longer than
// the limit is reported once, with its true length and no bytes, and never held in
// memory: a corrupt file cannot make the reader grow without bound.

#include <QByteArray>
#include <QString>

class QIODevice;

namespace Vlmlog {

class LineReader
{
public:
    static constexpr qint64 BlockSize = 262144;

    struct Line
    {
        qint64 offset = 0;    // of the line's first byte in the file
        QByteArrayView bytes; // valid until the next call
        qint64 length = 0;    // without the LF
        bool terminated = false;
        bool oversized = false; // longer than the limit: `bytes` is empty
    };

    LineReader(QIODevice *device, qint64 maxLine);

    // False at the end of the data or after a read error.
    bool next(Line *line);
    // Starts reading at `offset`; false (and no more reading) when the device cannot.
    bool seek(qint64 offset);
    QString errorString() const { return error; }
    bool failed() const { return !error.isEmpty(); }

private:
    bool fill();

    QIODevice *device;
    qint64 maxLine;
    QByteArray buffer;
    qsizetype pos = 0;     // first unread byte in the buffer
    qsizetype scanned = 0; // bytes after pos known to hold no LF
    qint64 bufferOffset = 0;
    bool skipping = false;
    qint64 skipStart = 0;
    bool atEnd = false;
    QString error;
};

} // namespace Vlmlog
