#include "recording/sessionrecorder.h"

#include <algorithm>

namespace {

// A peer key this long is not worth a hash entry; it is kept as it came.
constexpr qsizetype InternLimit = 255;
// A server with ever new peers must not grow the intern table without end.
constexpr qsizetype InternTableLimit = 4096;

} // namespace

SessionRecorder::SessionRecorder(qint64 capacity)
    : cap(std::max(capacity, MinimumCapacity))
{}

qint64 SessionRecorder::capacityForPorts(int count)
{
    if (count < 1) {
        return 8388608;
    }
    return std::clamp<qint64>(33554432 / count, 2097152, 8388608);
}

void SessionRecorder::setCapacity(qint64 bytes)
{
    cap = std::max(bytes, MinimumCapacity);
    evict();
}

qint64 SessionRecorder::payloadOf(const SessionEvent &event)
{
    return event.kind == SessionEvent::Note ? event.text.size() : event.bytes.size();
}

qint64 SessionRecorder::costOf(const SessionEvent &event)
{
    return EventOverhead + payloadOf(event);
}

void SessionRecorder::recordRx(const QByteArray &bytes, const QString &peer, qint64 t)
{
    if (bytes.isEmpty()) {
        return;
    }
    rxTotal += bytes.size();
    if (!held.empty()) {
        SessionEvent &last = held.back();
        if (last.kind == SessionEvent::Rx && last.peer == peer && last.t <= t &&
            t - lastAppendT <= MergeWindowUs && last.bytes.size() + bytes.size() <= MergeLimit) {
            last.bytes.append(bytes);
            usedBytes += bytes.size();
            payloadBytes += bytes.size();
            lastAppendT = t;
            evict();
            return;
        }
    }
    SessionEvent event;
    event.t = t;
    event.kind = SessionEvent::Rx;
    event.peer = internPeer(peer);
    event.bytes = bytes;
    append(std::move(event));
}

void SessionRecorder::recordTx(const QByteArray &bytes, const QString &peer, qint64 t)
{
    if (bytes.isEmpty()) {
        return;
    }
    txTotal += bytes.size();
    SessionEvent event;
    event.t = t;
    event.kind = SessionEvent::Tx;
    event.peer = internPeer(peer);
    event.bytes = bytes;
    append(std::move(event));
}

void SessionRecorder::recordNote(const QString &text, qint64 t)
{
    if (text.isEmpty()) {
        return;
    }
    SessionEvent event;
    event.t = t;
    event.kind = SessionEvent::Note;
    event.text = text.left(NoteLimit);
    append(std::move(event));
}

void SessionRecorder::markClear(qint64 t)
{
    recordNote(tr("Display cleared"), t);
    lastClearSeq = nextSeq - 1;
}

void SessionRecorder::clear()
{
    held.clear();
    usedBytes = 0;
    payloadBytes = 0;
    peers.clear();
}

void SessionRecorder::append(SessionEvent event)
{
    event.seq = nextSeq++;
    usedBytes += costOf(event);
    payloadBytes += payloadOf(event);
    lastAppendT = event.t;
    held.push_back(std::move(event));
    evict();
}

void SessionRecorder::evict()
{
    while (held.size() > 1 && (usedBytes > cap || qsizetype(held.size()) > MaxEvents)) {
        const SessionEvent &first = held.front();
        usedBytes -= costOf(first);
        payloadBytes -= payloadOf(first);
        ++evictedEvents;
        evictedBytes += payloadOf(first);
        held.pop_front();
    }
}

QString SessionRecorder::internPeer(const QString &peer)
{
    if (peer.isEmpty() || peer.size() > InternLimit) {
        return peer;
    }
    const auto found = peers.constFind(peer);
    if (found != peers.cend()) {
        return *found;
    }
    if (peers.size() >= InternTableLimit) {
        peers.clear();
    }
    peers.insert(peer, peer);
    return peer;
}

quint64 SessionRecorder::firstRetainedSeq() const
{
    return held.empty() ? nextSeq : held.front().seq;
}

qsizetype SessionRecorder::firstIndexAfter(quint64 seq) const
{
    if (held.empty()) {
        return 0;
    }
    // Held events carry consecutive numbers, so the index is a subtraction.
    const quint64 first = held.front().seq;
    if (seq < first) {
        return 0;
    }
    return qsizetype(std::min<quint64>(seq - first + 1, held.size()));
}

qsizetype SessionRecorder::countAfter(quint64 seq) const
{
    return qsizetype(held.size()) - firstIndexAfter(seq);
}

QList<SessionEvent> SessionRecorder::eventsAfter(quint64 seq) const
{
    QList<SessionEvent> list;
    const qsizetype from = firstIndexAfter(seq);
    list.reserve(qsizetype(held.size()) - from);
    std::copy(held.begin() + from, held.end(), std::back_inserter(list));
    return list;
}

quint64 SessionRecorder::settled(qint64 now) const
{
    if (held.empty()) {
        return nextSeq - 1;
    }
    const SessionEvent &last = held.back();
    if (last.kind == SessionEvent::Rx && now - lastAppendT <= MergeWindowUs &&
        last.bytes.size() < MergeLimit) {
        return last.seq - 1;
    }
    return last.seq;
}

SessionRecorder::Stats SessionRecorder::stats() const
{
    Stats s;
    s.events = qint64(held.size());
    s.usedBytes = usedBytes;
    s.payloadBytes = payloadBytes;
    s.capacity = cap;
    s.rxBytes = rxTotal;
    s.txBytes = txTotal;
    s.evictedEvents = evictedEvents;
    s.evictedBytes = evictedBytes;
    if (!held.empty()) {
        s.firstT = held.front().t;
        s.lastT = held.back().t;
    }
    return s;
}

QList<SessionEvent> SessionRecorder::tail(qsizetype count, qint64 fromT, qint64 toT) const
{
    QList<SessionEvent> list;
    for (auto it = held.rbegin(); it != held.rend() && list.size() < count; ++it) {
        if (it->t >= fromT && it->t <= toT) {
            list.append(*it);
        }
    }
    std::reverse(list.begin(), list.end());
    return list;
}
