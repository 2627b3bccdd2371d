#pragma once

// The interface of a streaming frame decoder. A decoder owns no clock and no timer:
// the caller passes the monotonic time in milliseconds and the wall time with every
// arrival, calls tick() when nextTimeoutMs() says so, and gets frames back in a
// DecodeOutput. The same bytes with the same times always give the same frames.

#include "decode/decodedframe.h"

#include <QCoreApplication>

class FrameDecoder
{
    Q_DECLARE_TR_FUNCTIONS(FrameDecoder)

public:
    FrameDecoder() = default;
    FrameDecoder(const FrameDecoder &) = delete;
    FrameDecoder &operator=(const FrameDecoder &) = delete;
    virtual ~FrameDecoder();

    // Feeds one arrival of `bytes` from `peer` in `direction`. Empty data is ignored.
    virtual void ingest(FrameDirection direction, const QString &peer, const QByteArray &bytes,
                        qint64 nowMs, const QDateTime &wallTime, DecodeOutput &out) = 0;
    // Acts on the silences and time-outs that have run out by `nowMs`.
    virtual void tick(qint64 nowMs, DecodeOutput &out) = 0;
    // Milliseconds until tick() has work, 0 .. 2147483647, or -1 for none. Asked again
    // after every call.
    virtual int nextTimeoutMs(qint64 nowMs) const = 0;
    // The streams have ended: everything held comes out and the streams are dropped.
    virtual void flush(DecodeOutput &out) = 0;
    // Drops everything with no output. Frame numbers go on rising.
    virtual void reset() = 0;
    // The detail rows of a frame, from the frame alone, so that a frame read back from a
    // recording can be explained as well.
    virtual QList<DecodedField> explain(const DecodedFrame &frame) const = 0;

    // The last frame number handed out; numbers count from 1.
    quint64 lastSeq() const { return seq; }

    // "1 unrecognized byte", "%1 unrecognized bytes".
    static QString unrecognizedSummary(qsizetype bytes);
    // Upper-case hex pairs separated by blanks.
    static QString hexText(QByteArrayView bytes);

protected:
    quint64 takeSeq() { return ++seq; }
    // A deadline `dueMs` as a delay from `nowMs`, clamped to 0 .. 2147483647.
    static int delayUntil(qint64 dueMs, qint64 nowMs);

private:
    quint64 seq = 0;
};
