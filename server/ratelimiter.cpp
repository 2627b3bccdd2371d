#include "ratelimiter.h"

namespace {

// Past this many keys the table is pruned, and emptied if that does not help: under
// a flood of distinct addresses the limiter forgets rather than grows without bound.
constexpr qsizetype kMaxKeys = 100000;

} // namespace

RateLimiter::RateLimiter(int maxEvents, qint64 windowMs)
    : maxEvents(maxEvents)
    , windowMs(windowMs)
{
}

qint64 RateLimiter::retryAfter(const QString &key, qint64 nowMs) const
{
    const auto it = events.constFind(key);
    if (it == events.constEnd())
        return 0;
    const QList<qint64> &times = it.value();
    qsizetype recent = 0;
    for (const qint64 t : times)
        recent += t > nowMs - windowMs ? 1 : 0;
    if (recent < maxEvents)
        return 0;
    // The oldest event inside the window leaves it first.
    const qint64 oldest = times[times.size() - maxEvents];
    return qMax<qint64>(1, (oldest + windowMs - nowMs + 999) / 1000);
}

void RateLimiter::hit(const QString &key, qint64 nowMs)
{
    if (events.size() >= kMaxKeys && !events.contains(key)) {
        prune(nowMs);
        if (events.size() >= kMaxKeys)
            events.clear();
    }
    QList<qint64> &times = events[key];
    times.append(nowMs);
    while (times.size() > maxEvents)
        times.removeFirst();
}

void RateLimiter::clear(const QString &key)
{
    events.remove(key);
}

void RateLimiter::prune(qint64 nowMs)
{
    for (auto it = events.begin(); it != events.end();) {
        QList<qint64> &times = it.value();
        while (!times.isEmpty() && times.front() <= nowMs - windowMs)
            times.removeFirst();
        it = times.isEmpty() ? events.erase(it) : std::next(it);
    }
}
