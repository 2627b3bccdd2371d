#include "decode/modbusstreamdecoder.h"

#include "decode/modbusdecoder.h"

#include <limits>

namespace {

constexpr qsizetype GarbagePiece = 256;

quint16 wordAt(QByteArrayView bytes, qsizetype index)
{
    return quint16((quint8(bytes.at(index)) << 8) | quint8(bytes.at(index + 1)));
}

// Drops the first `length` bytes' worth of chunks: those wholly passed go, the one that
// straddles the cut starts the rest at 0.
void dropChunks(QList<ModbusStreamDecoder::Chunk> &chunks, qsizetype length)
{
    qsizetype passed = 0;
    while (passed + 1 < chunks.size() && chunks.at(passed + 1).offset <= length) {
        ++passed;
    }
    chunks.remove(0, passed);
    for (auto &chunk : chunks) {
        chunk.offset = std::max<qint64>(0, chunk.offset - length);
    }
}

} // namespace

ModbusStreamDecoder::ModbusStreamDecoder(Variant variant)
    : ModbusStreamDecoder(variant, Options())
{}

ModbusStreamDecoder::ModbusStreamDecoder(Variant variant, const Options &options)
    : kind(variant)
    , opts(options)
{
    opts.gapMs = std::max(opts.gapMs, 1);
    opts.pairTimeoutMs = std::max(opts.pairTimeoutMs, 1);
    opts.maxPending = std::max(opts.maxPending, 1);
    opts.maxBufferBytes = std::max(opts.maxBufferBytes, 513);
    opts.resyncWindow = std::max(opts.resyncWindow, 1);
}

QString ModbusStreamDecoder::protocolName(Variant variant)
{
    switch (variant) {
    case Variant::Ascii:
        return QStringLiteral("Modbus ASCII");
    case Variant::Tcp:
        return QStringLiteral("Modbus TCP");
    case Variant::Rtu:
        break;
    }
    return QStringLiteral("Modbus RTU");
}

qsizetype ModbusStreamDecoder::heldBytes() const
{
    qsizetype total = 0;
    for (const auto &[key, s] : streams) {
        total += s.buffer.size() + s.garbage.size();
    }
    return total;
}

void ModbusStreamDecoder::ingest(FrameDirection direction, const QString &peer,
                                 const QByteArray &bytes, qint64 nowMs, const QDateTime &wallTime,
                                 DecodeOutput &out)
{
    if (bytes.isEmpty()) {
        return;
    }
    const Key key{direction, peer};
    auto it = streams.try_emplace(key).first;
    Stream &s = it->second;
    if ((!s.buffer.isEmpty() || !s.garbage.isEmpty()) && nowMs - s.lastMs >= opts.gapMs) {
        parse(key, s, true, out); // the silence ended what came before
    }
    s.chunks.append({s.buffer.size(), nowMs, wallTime});
    s.buffer.append(bytes);
    s.lastMs = nowMs;
    parse(key, s, false, out);
    if (s.buffer.isEmpty() && s.garbage.isEmpty() && s.aligned) {
        streams.erase(it);
    }
}

void ModbusStreamDecoder::tick(qint64 nowMs, DecodeOutput &out)
{
    for (auto it = streams.begin(); it != streams.end();) {
        Stream &s = it->second;
        if (nowMs - s.lastMs >= opts.gapMs) {
            parse(it->first, s, true, out);
        }
        if (s.buffer.isEmpty() && s.garbage.isEmpty() && s.aligned) {
            it = streams.erase(it);
        } else {
            ++it;
        }
    }
    expirePending(nowMs);
}

int ModbusStreamDecoder::nextTimeoutMs(qint64 nowMs) const
{
    qint64 due = std::numeric_limits<qint64>::max();
    for (const auto &[key, s] : streams) {
        due = std::min(due, s.lastMs + opts.gapMs);
    }
    for (const Pending &p : pending) {
        due = std::min(due, p.elapsedMs + opts.pairTimeoutMs + 1);
    }
    return due == std::numeric_limits<qint64>::max() ? -1 : delayUntil(due, nowMs);
}

void ModbusStreamDecoder::flush(DecodeOutput &out)
{
    for (auto &[key, s] : streams) {
        parse(key, s, true, out);
    }
    streams.clear(); // open requests stay: their responses may still come
}

void ModbusStreamDecoder::reset()
{
    streams.clear();
    pending.clear();
}

QList<DecodedField> ModbusStreamDecoder::explain(const DecodedFrame &frame) const
{
    return explainFrame(kind, frame);
}

void ModbusStreamDecoder::parse(const Key &key, Stream &s, bool final, DecodeOutput &out)
{
    for (;;) {
        if (s.buffer.isEmpty()) {
            if (final) {
                emitGarbage(key, s, true, out);
                s.aligned = true;
            }
            return;
        }
        Step cut = step(key, s);
        if (cut.action == Step::NeedMore) {
            if (s.buffer.size() > opts.maxBufferBytes) {
                moveToGarbage(key, s, s.buffer.size() - opts.maxBufferBytes, out);
                continue;
            }
            if (!final) {
                return;
            }
            cut = flushStep(key.direction, s);
        }
        const qsizetype length = std::clamp<qsizetype>(cut.length, 1, s.buffer.size());
        if (cut.action == Step::CutFrame) {
            emitFrame(key, s, length, cut.status, out);
        } else {
            moveToGarbage(key, s, length, out);
        }
    }
}

ModbusStreamDecoder::Step ModbusStreamDecoder::step(const Key &key, Stream &s)
{
    switch (kind) {
    case Variant::Ascii:
        return stepAscii(s);
    case Variant::Tcp:
        return stepTcp(s);
    case Variant::Rtu:
        break;
    }
    return stepRtu(key.direction, s);
}

void ModbusStreamDecoder::emitFrame(const Key &key, Stream &s, qsizetype length, FrameStatus status,
                                    DecodeOutput &out)
{
    emitGarbage(key, s, true, out); // what came before it on the wire goes out first
    DecodedFrame frame;
    frame.seq = takeSeq();
    frame.elapsedMs = s.chunks.first().elapsedMs;
    frame.time = s.chunks.first().time;
    frame.direction = key.direction;
    frame.peer = key.peer;
    // A frame that is the whole buffer shares its bytes: the common case of one frame
    // an arrival costs no copy.
    frame.raw = length == s.buffer.size() ? s.buffer : s.buffer.first(length);
    frame.status = status;
    consume(s, length);
    s.aligned = true;
    classify(frame, out);
    out.frames.append(std::move(frame));
}

void ModbusStreamDecoder::moveToGarbage(const Key &key, Stream &s, qsizetype length,
                                        DecodeOutput &out)
{
    for (const Chunk &chunk : std::as_const(s.chunks)) {
        if (chunk.offset >= length) {
            break;
        }
        if (!s.garbageChunks.isEmpty() && s.garbageChunks.last().elapsedMs == chunk.elapsedMs &&
            s.garbageChunks.last().time == chunk.time) {
            continue;
        }
        s.garbageChunks.append({s.garbage.size() + chunk.offset, chunk.elapsedMs, chunk.time});
    }
    s.garbage.append(s.buffer.first(length));
    consume(s, length);
    s.aligned = false;
    emitGarbage(key, s, false, out);
}

void ModbusStreamDecoder::emitGarbage(const Key &key, Stream &s, bool all, DecodeOutput &out)
{
    while (s.garbage.size() >= GarbagePiece || (all && !s.garbage.isEmpty())) {
        const qsizetype length = std::min(GarbagePiece, s.garbage.size());
        DecodedFrame frame;
        frame.seq = takeSeq();
        frame.elapsedMs = s.garbageChunks.first().elapsedMs;
        frame.time = s.garbageChunks.first().time;
        frame.direction = key.direction;
        frame.peer = key.peer;
        frame.raw = s.garbage.first(length);
        frame.status = FrameStatus::Unrecognized;
        frame.summary = unrecognizedSummary(length);
        s.garbage.remove(0, length);
        dropChunks(s.garbageChunks, length);
        if (s.garbage.isEmpty()) {
            s.garbage.clear();
            s.garbageChunks.clear();
        }
        out.frames.append(std::move(frame));
    }
}

void ModbusStreamDecoder::consume(Stream &s, qsizetype length)
{
    if (length >= s.buffer.size()) {
        s.buffer.clear(); // lets go of bytes shared with a frame
        s.chunks.clear();
    } else {
        s.buffer.remove(0, length);
        dropChunks(s.chunks, length);
    }
    // Offsets examined by the resync keep their verdict: it depends on the bytes from
    // the offset on, which have not changed.
    s.nextRecheck = std::numeric_limits<qint64>::max();
    qsizetype kept = 0;
    for (const OpenOffset &entry : std::as_const(s.open)) {
        if (entry.offset - length >= 1) {
            s.open[kept++] = {entry.offset - length, entry.recheckAt - length};
            s.nextRecheck = std::min(s.nextRecheck, entry.recheckAt - length);
        }
    }
    s.open.resize(kept);
    s.scanFrom = std::max<qint64>(1, s.scanFrom - length);
    s.headTried[0] = s.headTried[1] = 0;
    s.headScanned = 4;
    s.headCrcBytes = 0;
    s.headCrc = 0xFFFF;
    s.searched = 1;
}

void ModbusStreamDecoder::classify(DecodedFrame &frame, DecodeOutput &out)
{
    const qsizetype n = frame.raw.size();
    QByteArray payload;
    quint16 transaction = 0;
    switch (kind) {
    case Variant::Ascii:
        ModbusDecoder::parseAsciiFrame(frame.raw, &payload, nullptr, nullptr);
        break;
    case Variant::Tcp:
        if (n >= 7) {
            transaction = wordAt(frame.raw, 0);
            payload = frame.raw.sliced(6);
        }
        break;
    case Variant::Rtu:
        payload =
            frame.status != FrameStatus::Incomplete && n > 3 ? frame.raw.first(n - 2) : frame.raw;
        break;
    }
    if (payload.size() < 2) {
        frame.summary = frame.status == FrameStatus::Incomplete ? tr("Incomplete frame")
                                                                : tr("Malformed frame");
        return;
    }
    const quint8 slave = quint8(payload.at(0));
    const QByteArrayView pdu = QByteArrayView(payload).sliced(1);
    const quint8 function = quint8(pdu.at(0));
    const int role = ModbusDecoder::roleFit(pdu);

    bool response = false;
    int found = -1;
    if (frame.status >= FrameStatus::ChecksumError) {
        response = role == ModbusDecoder::FitsResponse || (function & 0x80);
    } else if (role == 0) {
        frame.status = FrameStatus::Malformed;
    } else {
        // The age of a request is taken at the response's first byte, so the pairing does
        // not depend on when the response was closed.
        if (role & ModbusDecoder::FitsResponse) {
            found = findPending(frame.peer, slave, function, transaction, frame.elapsedMs);
        }
        response = role == ModbusDecoder::FitsResponse || found >= 0;
    }

    ModbusFrameInfo info = ModbusDecoder::describe(slave, pdu, response);
    info.transaction = transaction;
    if (response && found >= 0) {
        const Pending request = pending.takeAt(found);
        info.requestKnown = true;
        info.requestFunction = request.function;
        info.requestStart = request.start;
        info.requestQuantity = request.quantity;
        frame.pairedSeq = request.seq;
        frame.latencyMs = int(std::clamp<qint64>(frame.elapsedMs - request.elapsedMs, 0,
                                                 std::numeric_limits<int>::max()));
        out.pairs.append({request.seq, frame.seq, frame.latencyMs});
    }
    frame.modbus = info;
    frame.summary = ModbusDecoder::summary(info, pdu);
    // A broadcast on a serial line is never answered; on TCP unit 0 is an address.
    const bool broadcast = slave == 0 && kind != Variant::Tcp;
    if (!response && frame.status == FrameStatus::Ok && !broadcast) {
        addPending(frame, pdu);
    }
}

int ModbusStreamDecoder::findPending(const QString &peer, quint8 slave, quint8 function,
                                     quint16 transaction, qint64 nowMs) const
{
    for (int i = 0; i < pending.size(); ++i) {
        const Pending &p = pending.at(i);
        const qint64 age = nowMs - p.elapsedMs;
        if ((p.peer.isEmpty() || peer.isEmpty() || p.peer == peer) && p.slave == slave &&
            (p.function & 0x7F) == (function & 0x7F) &&
            (kind != Variant::Tcp || p.transaction == transaction) && age >= 0 &&
            age <= opts.pairTimeoutMs) {
            return i;
        }
    }
    return -1;
}

void ModbusStreamDecoder::addPending(const DecodedFrame &frame, QByteArrayView pdu)
{
    if (pending.size() >= opts.maxPending) {
        pending.removeFirst();
    }
    Pending p;
    p.peer = frame.peer;
    p.direction = frame.direction;
    p.slave = frame.modbus.slave;
    p.function = frame.modbus.function;
    p.transaction = frame.modbus.transaction;
    p.seq = frame.seq;
    p.elapsedMs = frame.elapsedMs;
    switch (p.function) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 15:
    case 16:
    case 23:
        if (pdu.size() > 4) {
            p.start = wordAt(pdu, 1);
            p.quantity = wordAt(pdu, 3);
        }
        break;
    case 5:
    case 6:
    case 22:
        if (pdu.size() > 2) {
            p.start = wordAt(pdu, 1);
            p.quantity = 1;
        }
        break;
    default:
        break;
    }
    pending.append(p);
}

void ModbusStreamDecoder::expirePending(qint64 nowMs)
{
    pending.removeIf([&](const Pending &p) { return nowMs - p.elapsedMs > opts.pairTimeoutMs; });
}
