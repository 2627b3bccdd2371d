#include "trafficmeter.h"

#include "serverlog.h"
#include "userstore.h"

#include <QDateTime>

TrafficMeter::TrafficMeter(UserStore &users, qint64 monthlyLimit)
    : users(users)
    , limit(monthlyLimit)
{
}

QString TrafficMeter::period(qint64 nowMs)
{
    return QDateTime::fromMSecsSinceEpoch(nowMs, Qt::UTC).toString(QStringLiteral("yyyy-MM"));
}

TrafficMeter::Account *TrafficMeter::account(qint64 userId, qint64 nowMs)
{
    const QString current = period(nowMs);
    Account &entry = accounts[userId];
    if (entry.period != current) {
        // A new month (or a first look): what was gathered belongs to the old period.
        if (entry.pending > 0 && !entry.period.isEmpty())
            users.addTraffic(userId, entry.period, entry.pending);
        const qint64 used = users.trafficUsed(userId, current);
        if (used < 0) {
            accounts.remove(userId);
            return nullptr;
        }
        entry = {current, used, 0};
    }
    return &entry;
}

qint64 TrafficMeter::remaining(qint64 userId, qint64 nowMs)
{
    if (limit <= 0)
        return kUnlimited;
    const Account *entry = account(userId, nowMs);
    if (!entry)
        return -1;
    return qMax<qint64>(0, limit - entry->stored - entry->pending);
}

void TrafficMeter::add(qint64 userId, qint64 bytes, qint64 nowMs)
{
    if (bytes <= 0)
        return;
    if (Account *entry = account(userId, nowMs))
        entry->pending += bytes;
}

void TrafficMeter::flush()
{
    for (auto it = accounts.begin(); it != accounts.end(); ++it) {
        if (it->pending == 0)
            continue;
        if (users.addTraffic(it.key(), it->period, it->pending)) {
            it->stored += it->pending;
            it->pending = 0;
        } else {
            qCWarning(lcServer) << "could not record live traffic; kept for the next try";
        }
    }
}
