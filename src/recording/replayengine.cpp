#include "recording/replayengine.h"

#include <cmath>

ReplayEngine::ReplayEngine(ReplaySource *source)
    : src(source)
{}

void ReplayEngine::anchor()
{
    if (anchored) {
        return;
    }
    ReplayEvent first;
    if (src && src->peek(&first)) {
        playUs = first.playUs;
    }
    anchored = true;
}

bool ReplayEngine::target(qint64 *us, bool *isEnd)
{
    ReplayEvent next;
    if (!src || !src->peek(&next)) {
        return false;
    }
    *isEnd = endUs >= 0 && endUs <= next.playUs;
    *us = *isEnd ? endUs : next.playUs;
    return true;
}

qint64 ReplayEngine::effectiveGap(qint64 targetUs) const
{
    const qint64 gap = std::max<qint64>(targetUs - playUs, 0);
    return cap > 0 ? std::min(gap, cap) : gap;
}

qint64 ReplayEngine::dueAt(qint64 us) const
{
    if (rate <= 0) {
        return wallUs;
    }
    return wallUs + qint64(std::llround(double(effectiveGap(us)) / rate));
}

qint64 ReplayEngine::playheadUs(qint64 nowUs)
{
    if (!anchored) {
        ReplayEvent first;
        return src && src->peek(&first) ? first.playUs : playUs;
    }
    qint64 targetUs = 0;
    bool isEnd = false;
    if (!playing || rate <= 0 || !target(&targetUs, &isEnd) || playUs >= targetUs) {
        return playUs;
    }
    const qint64 gap = targetUs - playUs;
    const qint64 effective = effectiveGap(targetUs);
    if (effective <= 0) {
        return playUs;
    }
    const double elapsed = std::clamp(double(nowUs - wallUs) * rate, 0.0, double(effective));
    // Across a compressed gap the position glides, and reaches the target when it is due.
    return playUs + qint64(double(gap) * elapsed / double(effective));
}

void ReplayEngine::rebase(qint64 nowUs)
{
    playUs = playheadUs(nowUs);
    wallUs = nowUs;
}

void ReplayEngine::play(qint64 nowUs)
{
    anchor();
    if (!playing) {
        wallUs = nowUs;
        playing = true;
    }
}

void ReplayEngine::pause(qint64 nowUs)
{
    rebase(nowUs);
    playing = false;
}

void ReplayEngine::setSpeed(double speed, qint64 nowUs)
{
    rebase(nowUs);
    rate = speed > 0 ? speed : 0;
}

void ReplayEngine::setIdleCapUs(qint64 capUs, qint64 nowUs)
{
    rebase(nowUs);
    cap = std::max<qint64>(capUs, 0);
}

void ReplayEngine::reset(qint64 us, qint64 nowUs)
{
    anchored = true;
    playUs = us;
    wallUs = nowUs;
}

ReplayEngine::TickResult ReplayEngine::tick(qint64 nowUs)
{
    TickResult result;
    if (!playing || !src) {
        return result;
    }
    qint64 bytes = 0;
    ReplayEvent next;
    for (;;) {
        if (!src->peek(&next)) {
            result.stop = EndOfSource;
            playing = false;
            return result;
        }
        if (endUs >= 0 && endUs <= next.playUs) {
            const qint64 due = dueAt(endUs);
            if (rate > 0 && nowUs < due) {
                return result;
            }
            playUs = std::max(playUs, endUs);
            wallUs = rate > 0 ? due : nowUs;
            result.stop = ReachedEnd;
            playing = false;
            return result;
        }
        const qint64 due = dueAt(next.playUs);
        if (rate > 0 && nowUs < due) {
            return result;
        }
        src->pop();
        playUs = std::max(playUs, next.playUs);
        wallUs = rate > 0 ? due : nowUs;
        bytes += next.event.kind == SessionEvent::Note ? next.event.text.size()
                                                       : next.event.bytes.size();
        result.events.append(std::move(next));
        if (result.events.size() >= maxEventsPerTick || bytes >= maxBytesPerTick) {
            qint64 targetUs = 0;
            bool isEnd = false;
            if (rate > 0 && target(&targetUs, &isEnd)) {
                result.lagUs = std::max<qint64>(0, nowUs - dueAt(targetUs));
            }
            return result;
        }
    }
}

bool ReplayEngine::step(ReplayEvent *event, Stop *stop)
{
    anchor();
    playing = false;
    ReplayEvent next;
    if (!src || !src->peek(&next)) {
        *stop = EndOfSource;
        return false;
    }
    if (endUs >= 0 && endUs <= next.playUs) {
        playUs = std::max(playUs, endUs);
        *stop = ReachedEnd;
        return false;
    }
    src->pop();
    playUs = std::max(playUs, next.playUs);
    *stop = None;
    *event = std::move(next);
    return true;
}

qint64 ReplayEngine::usUntilNextDue(qint64 nowUs)
{
    qint64 targetUs = 0;
    bool isEnd = false;
    if (!playing || !target(&targetUs, &isEnd)) {
        return -1;
    }
    if (rate <= 0) {
        return 0;
    }
    return std::max<qint64>(0, dueAt(targetUs) - nowUs);
}
