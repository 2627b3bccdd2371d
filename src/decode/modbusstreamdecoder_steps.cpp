// The cut decisions of the three variants: where the frame at the head of a buffer
// ends, what is garbage, and what a silence makes of what is left.

#include "decode/modbuscodec.h"
#include "decode/modbusdecoder.h"
#include "decode/modbusstreamdecoder.h"

#include <limits>

namespace {

using Step = ModbusStreamDecoder::Step;

constexpr qint64 Never = std::numeric_limits<qint64>::max();
constexpr int MaxRtuFrame = 256;
// The longest ASCII line, colon and CR LF included.
constexpr qsizetype MaxAsciiLine = 513;

Step needMore()
{
    return {};
}

Step cutFrame(qsizetype length, FrameStatus status)
{
    return {Step::CutFrame, int(length), status};
}

Step cutGarbage(qsizetype length)
{
    return {Step::CutGarbage, int(length), FrameStatus::Unrecognized};
}

quint8 byteAt(QByteArrayView bytes, qsizetype index)
{
    return quint8(bytes.at(index));
}

bool plausibleHead(QByteArrayView bytes, qsizetype at)
{
    return byteAt(bytes, at) <= 247 && ModbusDecoder::knownFunction(byteAt(bytes, at + 1));
}

FrameStatus statusOf(quint8 function)
{
    return (function & 0x80) ? FrameStatus::Exception : FrameStatus::Ok;
}

} // namespace

ModbusStreamDecoder::Candidates ModbusStreamDecoder::rtuCandidates(QByteArrayView bytes,
                                                                   FrameDirection direction)
{
    Candidates c;
    if (bytes.size() < 2) {
        c.needMore = c.waiting = true;
        return c;
    }
    const quint8 function = byteAt(bytes, 1);
    if (function & 0x80) {
        c.len[c.count++] = 5;
        return c;
    }
    // A frame sent is expected to be a request and one received a response; the other
    // reading is kept as the second guess.
    const int request = ModbusDecoder::rtuRequestLength(bytes);
    const int response = ModbusDecoder::rtuResponseLength(bytes);
    const int first = direction == FrameDirection::Tx ? request : response;
    const int second = direction == FrameDirection::Tx ? response : request;
    const auto usable = [](int length) { return length >= 4 && length <= MaxRtuFrame; };
    if (first > 0 && usable(first)) {
        c.len[c.count++] = first;
        if (usable(second) && second != first) {
            c.len[c.count++] = second;
        }
    } else if (usable(second)) {
        c.len[c.count++] = second;
    }
    // With no length from either reading, each one speaks for itself: one that needs
    // more bytes asks for them, one that cannot tell asks for a free-length search.
    if (first <= 0 && second <= 0) {
        c.needMore = first == 0 || second == 0;
        c.scan = first < 0 || second < 0;
    }
    c.waiting = first == 0 || second == 0;
    if (function == 8 || function == 43) {
        c.scan = true; // their true length is free
    }
    return c;
}

ModbusStreamDecoder::Step ModbusStreamDecoder::stepRtu(FrameDirection direction, Stream &s) const
{
    const QByteArrayView b = s.buffer;
    const qsizetype len = b.size();
    if (len < 2) {
        return needMore();
    }
    const quint8 head = byteAt(b, 0);
    const quint8 function = byteAt(b, 1);
    const bool plausible = plausibleHead(b, 0);
    const Candidates c = rtuCandidates(b, direction);

    // The lengths the header announces.
    for (int i = 0; i < c.count; ++i) {
        const int length = c.len[i];
        if (length > len || length == s.headTried[0] || length == s.headTried[1]) {
            continue;
        }
        if (ModbusDecoder::rtuCrcValid(b.first(length))) {
            return cutFrame(length, statusOf(function));
        }
        s.headTried[s.headTried[0] ? 1 : 0] = length;
    }

    // A length the header cannot tell: every length, carrying the CRC along so that each
    // byte enters it once.
    if (c.scan && s.aligned && head <= 247) {
        const qint64 top = std::min<qint64>(len, MaxRtuFrame);
        for (qint64 length = s.headScanned; length <= top; ++length) {
            s.headCrc = ModbusCodec::crc16Update(
                s.headCrc, b.sliced(s.headCrcBytes, length - 2 - s.headCrcBytes));
            s.headCrcBytes = length - 2;
            if (s.headCrc == ModbusDecoder::rtuStoredCrc(b.first(length))) {
                return cutFrame(length, statusOf(function));
            }
        }
        s.headScanned = std::max(s.headScanned, top + 1);
    }

    // Not a frame start: skip to the next place that looks like one.
    if ((!plausible && !s.aligned) || head > 247) {
        if (len == 2) {
            return cutGarbage(1);
        }
        qsizetype at = 1;
        while (at < len - 1 && !plausibleHead(b, at)) {
            ++at;
        }
        return cutGarbage(at);
    }

    // A frame start, or a boundary: look for where the next frame begins.
    const qint64 next = resync(direction, s);
    if (next > 0) {
        // A good frame just where this one should end: this one was damaged.
        const bool damaged =
            plausible && c.count > 0 && (next == c.len[0] || (c.count == 2 && next == c.len[1]));
        return damaged ? cutFrame(next, FrameStatus::ChecksumError) : cutGarbage(next);
    }
    if (len < qint64(opts.resyncWindow) + MaxRtuFrame) {
        return needMore();
    }
    return cutGarbage(std::min<qint64>(len - 1, opts.resyncWindow) + 1);
}

qint64 ModbusStreamDecoder::resync(FrameDirection direction, Stream &s) const
{
    const QByteArrayView b = s.buffer;
    const qsizetype len = b.size();
    const qint64 last = std::min<qint64>(len - 1, opts.resyncWindow);

    // Whether a frame starts at `at`: 1 yes, 0 not yet known (with `recheckAt`, the
    // buffer size at which the answer can change), -1 no.
    const auto examine = [&](qint64 at, qint64 *recheckAt) {
        if (byteAt(b, at) > 247 ||
            (at + 1 < len && !ModbusDecoder::knownFunction(byteAt(b, at + 1)))) {
            return -1;
        }
        const Candidates c = rtuCandidates(b.sliced(at), direction);
        qint64 recheck = Never;
        for (int i = 0; i < c.count; ++i) {
            if (at + c.len[i] > len) {
                recheck = std::min(recheck, at + c.len[i]);
            } else if (ModbusDecoder::rtuCrcValid(b.sliced(at, c.len[i]))) {
                return 1;
            }
        }
        // An offset where either reading still needs header bytes cannot be ruled out
        // yet, even when the other reading's length has come and failed: the missing
        // bytes may announce a frame that fits.
        if (c.needMore || c.waiting) {
            recheck = std::min<qint64>(recheck, len + 1);
        }
        *recheckAt = recheck;
        return recheck == Never ? -1 : 0;
    };

    // Offsets left open by earlier passes whose bytes have come since. They lie before
    // every offset not examined yet, so the first that holds a frame is the answer.
    if (len >= s.nextRecheck) {
        qint64 soonest = Never;
        for (qsizetype i = 0; i < s.open.size();) {
            OpenOffset &entry = s.open[i];
            if (entry.recheckAt <= len) {
                const int verdict = examine(entry.offset, &entry.recheckAt);
                if (verdict > 0) {
                    s.nextRecheck = 0; // the rest are not rechecked; look again next time
                    return entry.offset;
                }
                if (verdict < 0) {
                    s.open.removeAt(i);
                    continue;
                }
            }
            soonest = std::min(soonest, entry.recheckAt);
            ++i;
        }
        s.nextRecheck = soonest;
    }
    for (qint64 at = s.scanFrom; at <= last; ++at) {
        qint64 recheck = Never;
        const int verdict = examine(at, &recheck);
        s.scanFrom = at + 1;
        if (verdict > 0) {
            return at;
        }
        if (verdict == 0) {
            s.open.append({at, recheck});
            s.nextRecheck = std::min(s.nextRecheck, recheck);
        }
    }
    return -1;
}

ModbusStreamDecoder::Step ModbusStreamDecoder::stepAscii(Stream &s) const
{
    const QByteArrayView b = s.buffer;
    const qsizetype len = b.size();
    if (b.front() != ':') {
        const qsizetype colon = b.indexOf(':');
        return cutGarbage(colon < 0 ? len : colon);
    }
    // A line ends at CR LF; a second ":" first ends it as Malformed. Only the first
    // MaxAsciiLine bytes are searched, so that a line never grows longer whether its
    // bytes come at once or one by one.
    const qsizetype limit = std::min(len, MaxAsciiLine);
    qsizetype at = s.searched;
    for (; at < limit; ++at) {
        const char c = b.at(at);
        if (c == ':') {
            return cutFrame(at, FrameStatus::Malformed);
        }
        if (c == '\r' && at + 1 < limit && b.at(at + 1) == '\n') {
            break;
        }
    }
    if (at >= limit) {
        if (len >= MaxAsciiLine) {
            return cutFrame(MaxAsciiLine, FrameStatus::Malformed);
        }
        s.searched = std::max<qsizetype>(1, len - 1); // a CR at the end may yet meet its LF
        return needMore();
    }
    const qsizetype total = at + 2;
    QByteArray decoded;
    quint8 stored = 0;
    quint8 computed = 0;
    if (!ModbusDecoder::parseAsciiFrame(b.first(total), &decoded, &stored, &computed)) {
        return cutFrame(total, FrameStatus::Malformed);
    }
    if (stored != computed) {
        return cutFrame(total, FrameStatus::ChecksumError);
    }
    return cutFrame(total, statusOf(quint8(decoded.at(1))));
}

ModbusStreamDecoder::Step ModbusStreamDecoder::stepTcp(const Stream &s) const
{
    const QByteArrayView b = s.buffer;
    ModbusDecoder::MbapHeader header;
    switch (ModbusDecoder::parseMbapHeader(b, &header)) {
    case 0:
        return needMore();
    case 1:
        return cutGarbage(1);
    default:
        break;
    }
    if (!s.aligned && b.size() >= 8 && !ModbusDecoder::knownFunction(byteAt(b, 7))) {
        return cutGarbage(1);
    }
    const qsizetype total = header.length + 6;
    if (b.size() < total) {
        return needMore();
    }
    const quint8 function = byteAt(b, 7);
    return cutFrame(total, function == 0 ? FrameStatus::Malformed : statusOf(function));
}

ModbusStreamDecoder::Step ModbusStreamDecoder::flushStep(FrameDirection direction,
                                                         const Stream &s) const
{
    const QByteArrayView b = s.buffer;
    const qsizetype len = b.size();
    const auto incomplete = [len] { return cutFrame(len, FrameStatus::Incomplete); };
    switch (kind) {
    case Variant::Ascii:
        return b.front() == ':' ? incomplete() : cutGarbage(len);
    case Variant::Tcp:
        if (len < 7) {
            return s.aligned ? incomplete() : cutGarbage(1);
        }
        if (ModbusDecoder::parseMbapHeader(b) != 2) {
            return cutGarbage(1);
        }
        return s.aligned || (len >= 8 && ModbusDecoder::knownFunction(byteAt(b, 7)))
                   ? incomplete()
                   : cutGarbage(1);
    case Variant::Rtu:
        break;
    }
    if (!s.aligned || len < 2 || len > MaxRtuFrame || !plausibleHead(b, 0)) {
        return cutGarbage(1);
    }
    const Candidates c = rtuCandidates(b, direction);
    if (c.count == 0) {
        return c.needMore || c.scan ? incomplete() : cutGarbage(1);
    }
    bool shorter = false;
    for (int i = 0; i < c.count; ++i) {
        if (len == c.len[i]) {
            return cutFrame(len, FrameStatus::ChecksumError);
        }
        shorter = shorter || len < c.len[i];
    }
    return shorter || c.scan || c.needMore ? incomplete() : cutGarbage(1);
}
