#include "decode/framesplitter.h"

#include "decode/frameinterpreter.h"

namespace {

constexpr qsizetype GarbagePiece = 256;
constexpr qint64 Never = std::numeric_limits<qint64>::max();
// The framer holds a frame at most this long when no delimiter or gap ends it.
constexpr int FramerHoldMs = 60000;

template<typename E> E clampEnum(E value, int high)
{
    return E(std::clamp(int(value), 0, high));
}

FramingPolicy policyFor(const FrameTemplate &t)
{
    FramingPolicy policy;
    policy.mode =
        t.framing == FrameTemplate::Delimited ? FramingPolicy::Delimiter : FramingPolicy::IdleGap;
    policy.delimiter = t.delimiter;
    policy.idleGapMs = t.idleGapMs;
    policy.maxBytes = std::max(t.maxFrameBytes, 1);
    policy.maxHoldMs = FramerHoldMs;
    return policy;
}

} // namespace

FrameTemplate FrameSplitter::sanitized(FrameTemplate t)
{
    t.framing = clampEnum(t.framing, FrameTemplate::IdleGap);
    t.lengthEndian = clampEnum(t.lengthEndian, 3);
    t.lengthScope = clampEnum(t.lengthScope, FrameTemplate::AfterFieldToChecksum);
    t.checksumOrder = clampEnum(t.checksumOrder, 3);
    t.checksum.kind = clampEnum(t.checksum.kind, ChecksumSpec::Crc);
    t.header.truncate(FrameTemplate::MaxMarkerBytes);
    t.trailer.truncate(FrameTemplate::MaxMarkerBytes);
    t.delimiter.truncate(FrameTemplate::MaxMarkerBytes);
    t.maxFrameBytes =
        std::clamp(t.maxFrameBytes, FrameTemplate::MinFrameBytes, FrameTemplate::MaxFrameBytes);
    t.frameTimeoutMs = std::clamp(t.frameTimeoutMs, 5, 10000);
    t.idleGapMs = std::clamp(t.idleGapMs, 1, 60000);
    return t;
}

FrameSplitter::FrameSplitter(const FrameTemplate &frameTemplate)
    : tmpl(sanitized(frameTemplate))
    , checksumBits(FrameInterpreter::checksumWidthBits(tmpl.checksum))
    , framer(policyFor(tmpl))
{}

bool FrameSplitter::idle() const
{
    return headerFraming() ? buf.size() == head && garbage.isEmpty() : framer.heldBytes() == 0;
}

qsizetype FrameSplitter::heldBytes() const
{
    return buf.size() - head + garbage.size() + framer.heldBytes();
}

QList<FrameSplitter::Piece> FrameSplitter::ingest(const QByteArray &bytes, qint64 nowMs,
                                                  const QDateTime &wallTime)
{
    QList<Piece> out;
    if (bytes.isEmpty()) {
        return out;
    }
    if (tmpl.framing == FrameTemplate::IdleGap) {
        evaluateFramed(framer.tick(nowMs), out);
    } else if (!idle() && nowMs - lastInMs >= tmpl.frameTimeoutMs) {
        flushInto(out); // the silence ended what came before
    }
    chunks.push_back({totalIn, nowMs, wallTime});
    lastInMs = nowMs;
    totalIn += bytes.size();
    if (headerFraming()) {
        if (buf.size() == head) {
            buf = bytes; // shares the arrival: a frame that is all of it costs no copy
            head = 0;
        } else {
            buf.append(bytes);
        }
        parseHeaderMode(false, out);
    } else {
        evaluateFramed(framer.ingest(bytes, nowMs), out);
    }
    prune();
    return out;
}

QList<FrameSplitter::Piece> FrameSplitter::tick(qint64 nowMs)
{
    QList<Piece> out;
    const bool silent = !idle() && nowMs - lastInMs >= tmpl.frameTimeoutMs;
    if (headerFraming()) {
        if (silent) {
            flushInto(out);
        }
    } else if (tmpl.framing == FrameTemplate::Delimited && silent) {
        evaluateFramed(framer.flush(), out);
    } else {
        evaluateFramed(framer.tick(nowMs), out);
    }
    prune();
    return out;
}

QList<FrameSplitter::Piece> FrameSplitter::flush()
{
    QList<Piece> out;
    flushInto(out);
    prune();
    return out;
}

void FrameSplitter::flushInto(QList<Piece> &out)
{
    if (headerFraming()) {
        parseHeaderMode(true, out);
    } else {
        evaluateFramed(framer.flush(), out);
    }
}

int FrameSplitter::nextTimeoutMs(qint64 nowMs) const
{
    if (idle()) {
        return -1;
    }
    qint64 due = lastInMs + tmpl.frameTimeoutMs;
    if (!headerFraming()) {
        const int framerDelay = framer.nextTimeoutMs(nowMs);
        const qint64 framerDue = framerDelay < 0 ? Never : nowMs + framerDelay;
        due = tmpl.framing == FrameTemplate::IdleGap ? framerDue : std::min(due, framerDue);
    }
    return due == Never ? -1
                        : int(std::clamp<qint64>(due - nowMs, 0, std::numeric_limits<int>::max()));
}

void FrameSplitter::reset()
{
    framer.setPolicy(policyFor(tmpl));
    buf.clear();
    head = 0;
    bufferOffset = 0;
    garbage.clear();
    garbageOffset = 0;
    totalIn = 0;
    framedOffset = 0;
    lastInMs = 0;
    chunks.clear();
    memoBase = -1;
    nextSearch = 1;
    memo.clear();
    memoRecheck = Never;
    memoPassed = false;
    headBase = -1;
}

// --- Header framings -------------------------------------------------------------------

FrameSplitter::Candidate FrameSplitter::candidateAt(QByteArrayView data, qint64 offset) const
{
    const QByteArrayView from = data.sliced(offset);
    const qint64 length = FrameInterpreter::frameLength(tmpl, from);
    if (length == 0) {
        return {NeedMore, 0};
    }
    if (length < 0) {
        return {Invalid, 0};
    }
    if (length > from.size()) {
        return {NeedMore, length};
    }
    const bool good = FrameInterpreter::frameStatus(tmpl, from.first(length)) == FrameStatus::Ok;
    return {good ? Good : Bad, length};
}

FrameSplitter::Candidate FrameSplitter::headCandidate(QByteArrayView data)
{
    // A frame known to fail stays failed as bytes arrive behind it, and one that needs
    // more bytes stays so until they have come.
    if (headBase == bufferOffset &&
        (headCache.kind == Bad || (headCache.kind == NeedMore && data.size() < headRecheck))) {
        return headCache;
    }
    headCache = candidateAt(data, 0);
    headBase = bufferOffset;
    headRecheck =
        headCache.length > 0 ? headCache.length : qint64(tmpl.lengthOffset) + tmpl.lengthWidth;
    return headCache;
}

FrameSplitter::Verdict FrameSplitter::examine(QByteArrayView data, qint64 offset,
                                              CandidateKind headKind, bool final, Open *open) const
{
    const Candidate c = candidateAt(data, offset);
    switch (c.kind) {
    case Invalid:
    case Bad:
        return Reject;
    case NeedMore:
        *open = {offset,
                 offset + (c.length > 0 ? c.length : qint64(tmpl.lengthOffset) + tmpl.lengthWidth),
                 false, 0};
        return Wait;
    case Good:
        break;
    }
    if (headKind == Bad || checksumBits >= 16) {
        return Accept;
    }
    // A weak checksum passes by chance too often to cut a half-received frame short for
    // it: only a header right behind the inner frame, or the end of the stream right at
    // its end, confirms it.
    const qint64 end = offset + c.length;
    const qint64 hs = tmpl.header.size();
    if (data.size() >= end + hs && data.sliced(end).startsWith(tmpl.header)) {
        return Accept;
    }
    if (final && end == data.size()) {
        return Accept;
    }
    *open = {offset, data.size() < end + hs ? end + hs : Never, true, end};
    return Wait;
}

qint64 FrameSplitter::searchInside(QByteArrayView data, CandidateKind headKind, qint64 window,
                                   bool final)
{
    if (memoBase != bufferOffset) {
        memoBase = bufferOffset;
        nextSearch = 1;
        memo.clear();
        memoRecheck = Never;
        memoPassed = false;
    }
    const qint64 size = data.size();
    // The remembered starts are looked at only when one of them can have changed: its
    // bytes have come, the head has failed (a start that passed is then taken), or the
    // stream ends.
    if (final || memoRecheck <= size || (headKind == Bad && memoPassed)) {
        QList<Open> kept;
        kept.reserve(memo.size());
        for (const Open &entry : std::as_const(memo)) {
            Open open = entry;
            if (entry.offset < window &&
                (final || entry.recheckAt <= size || (entry.passed && headKind == Bad))) {
                const Verdict verdict = examine(data, entry.offset, headKind, final, &open);
                if (verdict == Accept) {
                    return earliestBefore(entry.offset);
                }
                if (verdict == Reject) {
                    continue;
                }
            }
            kept.append(open);
        }
        memo = std::move(kept);
        memoRecheck = Never;
        memoPassed = false;
        for (const Open &entry : std::as_const(memo)) {
            memoRecheck = std::min(memoRecheck, entry.recheckAt);
            memoPassed = memoPassed || entry.passed;
        }
    }
    // Header positions not examined before, each whole inside the window; they lie
    // behind every remembered one, so the memory stays in offset order.
    const QByteArrayView inside = data.first(window);
    for (qint64 q = nextSearch; q <= window;) {
        q = inside.indexOf(tmpl.header, q);
        if (q < 0) {
            break;
        }
        Open open;
        const Verdict verdict = examine(data, q, headKind, final, &open);
        if (verdict == Accept) {
            return earliestBefore(q);
        }
        if (verdict == Wait) {
            memo.append(open);
            memoRecheck = std::min(memoRecheck, open.recheckAt);
            memoPassed = memoPassed || open.passed;
        }
        ++q;
    }
    nextSearch = std::max({window - qint64(tmpl.header.size()) + 1, nextSearch, qint64(1)});
    return -1;
}

qint64 FrameSplitter::earliestBefore(qint64 accepted) const
{
    // A start that passed its checks but waited for confirmation, and ends before the
    // accepted one, is a frame too: the head is cut short at the first of them, so that
    // it is kept rather than lost with the head.
    for (const Open &entry : memo) {
        if (entry.offset >= accepted) {
            break;
        }
        if (entry.passed && entry.end <= accepted) {
            return entry.offset;
        }
    }
    return accepted;
}

void FrameSplitter::parseHeaderMode(bool final, QList<Piece> &out)
{
    const QByteArray &header = tmpl.header;
    for (;;) {
        const QByteArrayView data = buffer();
        if (data.isEmpty()) {
            if (final) {
                emitGarbage(true, out);
            }
            return;
        }
        const qsizetype at = data.indexOf(header);
        if (at < 0) {
            // The last bytes may begin a header that the next arrival completes.
            const qsizetype keep = final ? 0 : std::min<qsizetype>(header.size() - 1, data.size());
            toGarbage(data.size() - keep, out);
            if (final) {
                emitGarbage(true, out);
            }
            return;
        }
        if (at > 0) {
            toGarbage(at, out);
            continue;
        }
        const Candidate head = headCandidate(data);
        if (head.kind == Invalid) {
            toGarbage(1, out);
            continue;
        }
        if (head.kind == Good) {
            emitFrame(head.length, FrameStatus::Ok, out);
            continue;
        }
        // The head is incomplete or fails: a real frame may start inside it.
        const qint64 window = head.kind == Bad ? head.length : data.size();
        const qint64 better = searchInside(data, head.kind, window, final);
        if (better > 0) {
            toGarbage(better, out);
            continue;
        }
        if (head.kind == NeedMore) {
            if (final) {
                emitFrame(data.size(), FrameStatus::Incomplete, out);
            }
            return;
        }
        // An inner start still waiting for its bytes may yet turn out to be the frame.
        if (!final && !memo.isEmpty() && memo.first().offset < window) {
            return;
        }
        emitFrame(head.length, FrameInterpreter::frameStatus(tmpl, data.first(head.length)), out);
    }
}

// --- Delimiter and idle-gap framings --------------------------------------------------

void FrameSplitter::evaluateFramed(const QList<QByteArray> &frames, QList<Piece> &out)
{
    for (const QByteArray &frame : frames) {
        const qint64 start = framedOffset;
        framedOffset += frame.size();
        const bool cut = frame.size() >= tmpl.maxFrameBytes; // the framer's size limit
        qsizetype from = 0;
        if (!tmpl.header.isEmpty()) {
            const qsizetype at = frame.indexOf(tmpl.header);
            from = at < 0 ? frame.size() : at;
            for (qsizetype p = 0; p < from; p += GarbagePiece) {
                const qsizetype n = std::min(GarbagePiece, from - p);
                emitPiece(frame.sliced(p, n), FrameStatus::Unrecognized, start + p, out);
            }
            if (from == frame.size()) {
                continue;
            }
        }
        const QByteArray body = from == 0 ? frame : frame.sliced(from);
        FrameStatus status = FrameStatus::Ok;
        if (tmpl.framing == FrameTemplate::Delimited && !body.endsWith(tmpl.delimiter)) {
            status = cut ? FrameStatus::Malformed : FrameStatus::Incomplete;
        } else if (tmpl.framing == FrameTemplate::IdleGap && cut) {
            status = FrameStatus::Malformed;
        } else {
            status = FrameInterpreter::frameStatus(tmpl, body);
        }
        emitPiece(body, status, start + from, out);
    }
}

// --- Pieces, garbage and times --------------------------------------------------------

const FrameSplitter::Chunk &FrameSplitter::chunkAt(qint64 position) const
{
    auto it = std::upper_bound(chunks.begin(), chunks.end(), position,
                               [](qint64 p, const Chunk &c) { return p < c.offset; });
    return it == chunks.begin() ? chunks.front() : *std::prev(it);
}

void FrameSplitter::emitPiece(QByteArray bytes, FrameStatus status, qint64 position,
                              QList<Piece> &out) const
{
    const Chunk &chunk = chunkAt(position);
    out.append({std::move(bytes), status, chunk.elapsedMs, chunk.time});
}

void FrameSplitter::emitFrame(qint64 length, FrameStatus status, QList<Piece> &out)
{
    emitGarbage(true, out); // what came before it on the wire goes out first
    const bool whole = head == 0 && length == buf.size();
    emitPiece(whole ? buf : buffer().first(length).toByteArray(), status, bufferOffset, out);
    consume(length);
}

void FrameSplitter::toGarbage(qint64 length, QList<Piece> &out)
{
    if (length <= 0) {
        return;
    }
    if (garbage.isEmpty()) {
        garbageOffset = bufferOffset;
    }
    garbage.append(buffer().first(length));
    consume(length);
    emitGarbage(false, out);
}

void FrameSplitter::emitGarbage(bool all, QList<Piece> &out)
{
    qsizetype at = 0;
    while (garbage.size() - at >= GarbagePiece || (all && at < garbage.size())) {
        const qsizetype n = std::min(GarbagePiece, garbage.size() - at);
        emitPiece(garbage.sliced(at, n), FrameStatus::Unrecognized, garbageOffset + at, out);
        at += n;
    }
    if (at == garbage.size()) {
        garbage.clear();
    } else if (at > 0) {
        garbage.remove(0, at);
    }
    garbageOffset += at;
}

void FrameSplitter::consume(qint64 length)
{
    head += length;
    bufferOffset += length;
    if (head >= buf.size()) {
        buf.clear(); // lets go of bytes shared with a frame
        head = 0;
    } else if (head >= 4096 && head * 2 >= buf.size()) {
        buf.remove(0, head);
        head = 0;
    }
}

void FrameSplitter::prune()
{
    qint64 needed = totalIn;
    if (headerFraming()) {
        needed = garbage.isEmpty() ? bufferOffset : garbageOffset;
    } else if (framer.heldBytes() > 0) {
        needed = framedOffset;
    }
    while (chunks.size() >= 2 && chunks[1].offset <= needed) {
        chunks.pop_front();
    }
}
