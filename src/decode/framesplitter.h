#pragma once

// Cuts one directional byte stream into frames by a frame template and tells each
// frame's status. Header framings find the header, read the frame's length from the
// length field (or take the fixed length) and check the frame; delimiter and idle-gap
// framings let a BridgeFramer cut the stream and then look for the header inside each
// piece. Bytes that belong to no frame leave as Unrecognized pieces of at most 256 bytes,
// always before the frame that follows them; every byte leaves exactly once, in order.
//
// A frame that fails its check at the head of the buffer is not given up at once when a
// header inside it might start a real frame: such inner starts are remembered with the
// buffer size at which their verdict can change (the look-ahead memory), so that each
// arrival costs work in proportion to its own size and a long run of noise is never
// searched again from its start. A weak (under 16-bit) checksum alone does not justify
// abandoning a half-received frame for a header-like pair of bytes in its body.
//
// No clock of its own: the caller passes the monotonic time and the wall time.

#include "bridge/bridgeframer.h"
#include "decode/decodedframe.h"
#include "decode/frametemplate.h"

#include <deque>
#include <limits>

class FrameSplitter
{
public:
    struct Piece
    {
        QByteArray bytes;
        FrameStatus status = FrameStatus::Ok;
        qint64 elapsedMs = 0; // monotonic time of the first byte
        QDateTime time;       // wall time of the first byte
    };

    // Where an arrival begins in the stream, so that every byte keeps its time.
    struct Chunk
    {
        qint64 offset = 0; // stream position
        qint64 elapsedMs = 0;
        QDateTime time;
    };

    explicit FrameSplitter(const FrameTemplate &frameTemplate);

    // The template with every value the splitter relies on brought into range (a valid
    // template comes back unchanged), so that any template cuts with bounded memory.
    static FrameTemplate sanitized(FrameTemplate frameTemplate);

    QList<Piece> ingest(const QByteArray &bytes, qint64 nowMs, const QDateTime &wallTime);
    // Closes what silence has ended by `nowMs`.
    QList<Piece> tick(qint64 nowMs);
    // Everything held, now.
    QList<Piece> flush();
    // -1 when nothing is held, else the delay until tick() has work, 0 .. 2147483647.
    int nextTimeoutMs(qint64 nowMs) const;
    // Drops everything with no output.
    void reset();

    bool headerFraming() const { return tmpl.headerFraming(); }
    // Nothing is held.
    bool idle() const;
    // Bytes held: the frame buffer, unrecognised bytes not handed out, the framer's.
    qsizetype heldBytes() const;
    const FrameTemplate &frameTemplate() const { return tmpl; }

private:
    enum CandidateKind { NeedMore = 0, Invalid = 1, Good = 2, Bad = 3 };
    struct Candidate
    {
        CandidateKind kind = NeedMore;
        qint64 length = 0;
    };
    // An inner frame start whose verdict waits: for more bytes (until the buffer holds
    // `recheckAt`), or, having passed its checks, for a reason to cut the head short.
    struct Open
    {
        qint64 offset = 0; // in the buffer
        qint64 recheckAt = 0;
        bool passed = false;
        qint64 end = 0; // where a start that passed ends
    };
    enum Verdict { Reject, Accept, Wait };

    QByteArrayView buffer() const { return QByteArrayView(buf).sliced(head); }
    Candidate candidateAt(QByteArrayView data, qint64 offset) const;
    Candidate headCandidate(QByteArrayView data);
    Verdict examine(QByteArrayView data, qint64 offset, CandidateKind headKind, bool final,
                    Open *open) const;
    qint64 searchInside(QByteArrayView data, CandidateKind headKind, qint64 window, bool final);
    qint64 earliestBefore(qint64 accepted) const;
    void parseHeaderMode(bool final, QList<Piece> &out);

    void evaluateFramed(const QList<QByteArray> &frames, QList<Piece> &out);
    void flushInto(QList<Piece> &out);

    const Chunk &chunkAt(qint64 position) const;
    void emitPiece(QByteArray bytes, FrameStatus status, qint64 position, QList<Piece> &out) const;
    void emitFrame(qint64 length, FrameStatus status, QList<Piece> &out);
    void toGarbage(qint64 length, QList<Piece> &out);
    void emitGarbage(bool all, QList<Piece> &out);
    void consume(qint64 length);
    void prune();

    FrameTemplate tmpl;
    int checksumBits = 0;
    BridgeFramer framer;

    QByteArray buf; // the frame buffer is buf from `head` on
    qsizetype head = 0;
    qint64 bufferOffset = 0; // stream position of the buffer's first byte
    QByteArray garbage;
    qint64 garbageOffset = 0;
    qint64 totalIn = 0;
    qint64 framedOffset = 0; // stream position reached by the framer's output
    qint64 lastInMs = 0;
    std::deque<Chunk> chunks;

    // The look-ahead memory, valid while the buffer starts at `memoBase`.
    qint64 memoBase = -1;
    qint64 nextSearch = 1;
    QList<Open> memo; // by offset
    qint64 memoRecheck = std::numeric_limits<qint64>::max();
    bool memoPassed = false;
    // The verdict on the frame at the buffer's head, kept while it cannot change.
    qint64 headBase = -1;
    Candidate headCache;
    qint64 headRecheck = 0;
};
