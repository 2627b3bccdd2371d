#pragma once

// The in-memory history of everything a port received and sent, always on and bounded.
// It is what a session export reads and what a file recording polls.
//
// Each event costs EventOverhead bytes plus its payload against the capacity; when the
// history is over its capacity, or holds more than MaxEvents events, the oldest events
// go. The newest event always stays, however large. Received bytes that arrive within a
// millisecond of each other from the same peer join one event, so a driver's dribble of
// small reads costs one entry. Sequence numbers count from 1 and never go back, so a
// reader that remembers the last one it took sees exactly what it missed.
//
// No clock: the caller passes the time of every event in microseconds.

#include "recording/sessionevent.h"

#include <QCoreApplication>
#include <QHash>
#include <QList>

#include <deque>

class SessionRecorder
{
    Q_DECLARE_TR_FUNCTIONS(SessionRecorder)

public:
    static constexpr qint64 EventOverhead = 140;
    static constexpr qint64 MinimumCapacity = EventOverhead;
    static constexpr qsizetype MaxEvents = 200000;
    // Received bytes join the last event while it stays within this size ...
    static constexpr qsizetype MergeLimit = 4096;
    // ... and arrive no later than this after the last append.
    static constexpr qint64 MergeWindowUs = 1000;
    static constexpr int NoteLimit = 512;

    struct Stats
    {
        qint64 events = 0;
        qint64 usedBytes = 0;    // with the per-event overhead
        qint64 payloadBytes = 0; // bytes and note text only
        qint64 capacity = 0;
        qint64 rxBytes = 0; // all ever recorded, also those evicted since
        qint64 txBytes = 0;
        qint64 evictedEvents = 0;
        qint64 evictedBytes = 0; // payload
        qint64 firstT = 0;       // of the oldest held event; 0 when empty
        qint64 lastT = 0;
    };

    explicit SessionRecorder(qint64 capacity = 8388608);

    // 32 MiB shared by `count` ports, 2 to 8 MiB each; 8 MiB for no port.
    static qint64 capacityForPorts(int count);
    // At least MinimumCapacity; evicts at once when the history is now over it.
    void setCapacity(qint64 bytes);
    qint64 capacity() const { return cap; }

    void recordRx(const QByteArray &bytes, const QString &peer, qint64 t);
    void recordTx(const QByteArray &bytes, const QString &peer, qint64 t);
    // Cut to NoteLimit characters; empty text records nothing.
    void recordNote(const QString &text, qint64 t);
    // The note "Display cleared"; exports may start after it. Nothing is dropped.
    void markClear(qint64 t);
    // Drops every held event. Numbering goes on, so a reader sees the gap.
    void clear();

    const std::deque<SessionEvent> &events() const { return held; }
    // The seq of the last "Display cleared" note, 0 for none.
    quint64 clearSeq() const { return lastClearSeq; }
    // The seq the oldest held event has, or the next one when nothing is held.
    quint64 firstRetainedSeq() const;
    // The seq of the newest event, 0 before the first.
    quint64 latestSeq() const { return nextSeq - 1; }
    // Index in events() of the first event after `seq`.
    qsizetype firstIndexAfter(quint64 seq) const;
    qsizetype countAfter(quint64 seq) const;
    // The events after `seq`, in order.
    QList<SessionEvent> eventsAfter(quint64 seq) const;
    // How far a reader may take events at `now`: the last event is still open (one less
    // than its seq is returned) while it is received data that may still grow.
    quint64 settled(qint64 now) const;
    Stats stats() const;
    // Up to `count` of the newest events whose time lies in [fromT, toT], oldest first.
    QList<SessionEvent> tail(qsizetype count, qint64 fromT, qint64 toT) const;

private:
    void append(SessionEvent event);
    void evict();
    QString internPeer(const QString &peer);
    static qint64 costOf(const SessionEvent &event);
    static qint64 payloadOf(const SessionEvent &event);

    std::deque<SessionEvent> held;
    qint64 cap = 0;
    qint64 usedBytes = 0;
    qint64 payloadBytes = 0;
    quint64 nextSeq = 1;
    quint64 lastClearSeq = 0;
    qint64 lastAppendT = 0;
    qint64 rxTotal = 0;
    qint64 txTotal = 0;
    qint64 evictedEvents = 0;
    qint64 evictedBytes = 0;
    QHash<QString, QString> peers;
};
