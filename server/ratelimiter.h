#pragma once

// Counts events per key (an address, an email) in a sliding window and tells how long
// a key must wait once it has had its share. Kept in memory: each server instance
// counts for itself.

#include <QHash>
#include <QList>
#include <QString>

class RateLimiter
{
public:
    RateLimiter(int maxEvents, qint64 windowMs);

    // Seconds until `key` may have another event; 0 when it may now.
    qint64 retryAfter(const QString &key, qint64 nowMs) const;
    void hit(const QString &key, qint64 nowMs);
    void clear(const QString &key);
    // Forgets events older than the window.
    void prune(qint64 nowMs);

private:
    int maxEvents;
    qint64 windowMs;
    QHash<QString, QList<qint64>> events;
};
