#include "bridge/bridgeframer.h"

#include <algorithm>
#include <limits>

BridgeFramer::BridgeFramer(const FramingPolicy &policy)
    : current(policy.sanitized())
{}

void BridgeFramer::setPolicy(const FramingPolicy &policy)
{
    current = policy.sanitized();
    buffer.clear();
    scanFrom = 0;
}

QList<QByteArray> BridgeFramer::ingest(QByteArrayView bytes, qint64 nowMs)
{
    QList<QByteArray> out;
    if (bytes.isEmpty()) {
        return out;
    }
    if (current.mode == FramingPolicy::AtOnce && buffer.isEmpty()) {
        emitChunked(out, bytes);
        return out;
    }
    if (buffer.isEmpty()) {
        firstByteMs = nowMs;
    }
    lastByteMs = nowMs;
    buffer.append(bytes);
    harvest(out, current.mode == FramingPolicy::AtOnce);
    // Whatever is left after a cut came with this arrival (a cut always ends in it), so
    // the hold time of what is left starts now.
    if (!out.isEmpty() && !buffer.isEmpty()) {
        firstByteMs = nowMs;
    }
    return out;
}

QList<QByteArray> BridgeFramer::tick(qint64 nowMs)
{
    QList<QByteArray> out;
    if (buffer.isEmpty()) {
        return out;
    }
    const bool idle =
        current.mode == FramingPolicy::IdleGap && nowMs - lastByteMs >= current.idleGapMs;
    if (idle || nowMs - firstByteMs >= current.maxHoldMs) {
        harvest(out, true);
    }
    return out;
}

QList<QByteArray> BridgeFramer::flush()
{
    QList<QByteArray> out;
    harvest(out, true);
    return out;
}

int BridgeFramer::nextTimeoutMs(qint64 nowMs) const
{
    if (buffer.isEmpty()) {
        return -1;
    }
    qint64 due = firstByteMs + current.maxHoldMs;
    if (current.mode == FramingPolicy::IdleGap) {
        due = std::min(due, lastByteMs + current.idleGapMs);
    }
    return int(std::clamp<qint64>(due - nowMs, 0, std::numeric_limits<int>::max()));
}

void BridgeFramer::harvest(QList<QByteArray> &out, bool flushAll)
{
    // Frames are taken from the front by moving `taken`; the buffer is shortened once at
    // the end, so that a block of many small frames costs its own size.
    qsizetype taken = 0;
    const auto left = [&] { return buffer.size() - taken; };
    if (current.mode == FramingPolicy::Delimiter) {
        // Frames are cut exactly as if the bytes had come one at a time: a frame that
        // reaches maxBytes before its delimiter is cut there, and the search goes on
        // behind the cut (a delimiter the cut splits is not one), so that how the bytes
        // were split into arrivals never changes the frames.
        const QByteArray &delimiter = current.delimiter;
        qsizetype hit = -2; // not searched yet; -1: none up to the end
        for (;;) {
            if (hit == -2 || (hit >= 0 && hit < taken + scanFrom)) {
                hit = buffer.indexOf(delimiter, taken + scanFrom);
            }
            if (hit >= 0 && hit + delimiter.size() - taken <= current.maxBytes) {
                const qsizetype end = hit + delimiter.size();
                out.append(buffer.sliced(taken, end - taken));
                taken = end;
                scanFrom = 0;
                hit = -2;
            } else if (left() >= current.maxBytes) {
                out.append(buffer.sliced(taken, current.maxBytes));
                taken += current.maxBytes;
                scanFrom = 0;
                ++cuts;
            } else {
                // A delimiter split over two arrivals is found when the rest comes.
                scanFrom = std::max<qsizetype>(0, left() - delimiter.size() + 1);
                break;
            }
        }
    } else if (current.mode == FramingPolicy::FixedLength) {
        while (left() >= current.fixedLength) {
            out.append(buffer.sliced(taken, current.fixedLength));
            taken += current.fixedLength;
        }
    }
    while (left() >= current.maxBytes) {
        out.append(buffer.sliced(taken, current.maxBytes));
        taken += current.maxBytes;
        scanFrom = 0;
        ++cuts;
    }
    if (flushAll && left() > 0) {
        out.append(buffer.sliced(taken));
        taken = buffer.size();
        scanFrom = 0;
    }
    buffer.remove(0, taken);
}

void BridgeFramer::emitChunked(QList<QByteArray> &out, QByteArrayView block)
{
    while (block.size() > current.maxBytes) {
        out.append(block.first(current.maxBytes).toByteArray());
        block = block.sliced(current.maxBytes);
        ++cuts;
    }
    out.append(block.toByteArray());
}
