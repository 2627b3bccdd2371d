#pragma once

// The clock of replay. Given a source of events and readings of the caller's monotonic
// clock, it says which events are due. Every due time is computed from the recording's
// own times and the previous due time, never from "now", so a late tick catches up and
// the schedule does not drift. Long silences can be capped, speed changed and play
// paused without the position jumping.

#include "recording/replaysource.h"

#include <QList>

class ReplayEngine
{
public:
    enum Stop {
        None = 0,
        EndOfSource = 1,
        ReachedEnd = 2, // the limit set with setEndUs
    };

    struct TickResult
    {
        QList<ReplayEvent> events;
        Stop stop = None;
        qint64 lagUs = 0;
    };

    static constexpr double kSpeeds[] = {0.25, 0.5, 1, 2, 5, 10, 100, 0};

    explicit ReplayEngine(ReplaySource *source = nullptr);

    void setSource(ReplaySource *source) { src = source; }
    void play(qint64 nowUs);
    void pause(qint64 nowUs);
    // Above 0: times faster than recorded; anything else: as fast as possible.
    void setSpeed(double speed, qint64 nowUs);
    // Silences longer than this pass in this time; 0 is off.
    void setIdleCapUs(qint64 capUs, qint64 nowUs);
    // Play stops before the first event at or after this time; -1 is none.
    void setEndUs(qint64 us) { endUs = us; }
    void reset(qint64 playUs, qint64 nowUs);
    void rebase(qint64 nowUs);
    TickResult tick(qint64 nowUs);
    // The next event whatever its time; pauses.
    bool step(ReplayEvent *event, Stop *stop);
    qint64 playheadUs(qint64 nowUs);
    // The wall time at which the recording's time `us` is due.
    qint64 dueAt(qint64 us) const;
    // -1 when nothing is due (paused or at the end); 0 at full speed.
    qint64 usUntilNextDue(qint64 nowUs);

    bool isPlaying() const { return playing; }
    bool isAnchored() const { return anchored; }
    double speed() const { return rate; }
    qint64 idleCapUs() const { return cap; }
    qint64 endAtUs() const { return endUs; }
    qint64 positionUs() const { return playUs; }

    int maxEventsPerTick = 4096;
    qint64 maxBytesPerTick = 262144;

private:
    bool target(qint64 *us, bool *isEnd);
    qint64 effectiveGap(qint64 targetUs) const;
    void anchor();

    ReplaySource *src = nullptr;
    double rate = 1.0;
    qint64 cap = 0;
    qint64 endUs = -1;
    bool playing = false;
    qint64 playUs = 0;
    qint64 wallUs = 0;
    bool anchored = false;
};
