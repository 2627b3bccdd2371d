#include "recording/replayindex.h"

#include <algorithm>

int ReplayIndex::portIndex(const QString &id) const
{
    for (int i = 0; i < ports.size(); ++i) {
        if (ports[i].id == id) {
            return i;
        }
    }
    return -1;
}

int ReplayIndex::portIndex(QByteArrayView id) const
{
    // Events of one port come in runs: try the last answer first.
    if (lastPortHit >= 0 && lastPortHit < ports.size() &&
        QLatin1StringView(id) == ports[lastPortHit].id) {
        return lastPortHit;
    }
    const QLatin1StringView key(id);
    for (int i = 0; i < ports.size(); ++i) {
        if (ports[i].id == key) {
            lastPortHit = i;
            return i;
        }
    }
    return -1;
}

ReplayIndex::Checkpoint ReplayIndex::checkpointAtOrBefore(qint64 ordinal) const
{
    if (checkpoints.empty()) {
        return {};
    }
    auto it = std::upper_bound(checkpoints.begin(), checkpoints.end(), ordinal,
                               [](qint64 n, const Checkpoint &c) { return n < c.ordinal; });
    return it == checkpoints.begin() ? checkpoints.front() : *(it - 1);
}

ReplayIndex::Checkpoint ReplayIndex::checkpointAtOrBeforeTime(qint64 t) const
{
    if (checkpoints.empty()) {
        return {};
    }
    auto it = std::lower_bound(checkpoints.begin(), checkpoints.end(), t,
                               [](const Checkpoint &c, qint64 us) { return c.playUs < us; });
    return it == checkpoints.begin() ? checkpoints.front() : *(it - 1);
}

ReplayIndex::Checkpoint ReplayIndex::prefillStart(qint64 ordinal, qint64 maxBytes,
                                                  qint64 maxEvents) const
{
    if (checkpoints.empty()) {
        return {};
    }
    auto it = std::upper_bound(checkpoints.begin(), checkpoints.end(), ordinal,
                               [](qint64 n, const Checkpoint &c) { return n < c.ordinal; });
    if (it == checkpoints.begin()) {
        return checkpoints.front();
    }
    --it;
    // The bytes before the target: exact at a checkpoint, else those of the nearest
    // one (the whole count at the end of the file).
    const qint64 bytesAt = ordinal >= eventCount ? byteCount : it->bytes;
    while (it != checkpoints.begin() && ordinal - it->ordinal < maxEvents &&
           bytesAt - it->bytes < maxBytes) {
        --it;
    }
    return *it;
}

QList<qint64> ReplayIndex::activity(int buckets) const
{
    QList<qint64> out(std::max(buckets, 0), 0);
    if (buckets <= 0 || checkpoints.empty()) {
        return out;
    }
    const qint64 from = firstUs;
    const qint64 span = lastPlayUs - from;
    if (span <= 0) {
        out[0] = byteCount;
        return out;
    }
    const auto bucketOf = [&](qint64 us) {
        return int(std::clamp<qint64>((us - from) * buckets / (span + 1), 0, buckets - 1));
    };
    for (size_t i = 0; i < checkpoints.size(); ++i) {
        const Checkpoint &c = checkpoints[i];
        const bool last = i + 1 == checkpoints.size();
        const qint64 toUs = last ? lastPlayUs : checkpoints[i + 1].playUs;
        const qint64 bytes = (last ? byteCount : checkpoints[i + 1].bytes) - c.bytes;
        const int a = bucketOf(c.playUs);
        const int b = bucketOf(toUs);
        // Even shares by cumulative rounding: the buckets add up to the span's bytes.
        const qint64 n = b - a + 1;
        for (qint64 k = 0; k < n; ++k) {
            out[a + int(k)] += bytes * (k + 1) / n - bytes * k / n;
        }
    }
    return out;
}

qint64 ReplayIndex::memoryBytes() const
{
    qint64 total = qint64(checkpoints.capacity() * sizeof(Checkpoint)) + sizeof(*this);
    total += ports.size() * qint64(sizeof(SessionExport::PortInfo) + 64);
    total += bookmarks.size() * qint64(sizeof(ReplayBookmark) + 32) * 2;
    return total;
}
