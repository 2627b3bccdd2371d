#pragma once

// Live traffic (console events, relay bytes) counted against each account's monthly
// allowance. Counts gather in memory and reach the store in batches, so a relay at
// full speed costs no store write per frame; what one account has used is read from
// the store once per month and then kept up to date here.

#include <QHash>
#include <QString>

class UserStore;

class TrafficMeter
{
public:
    // Quota values that a client reading them as doubles still gets exactly.
    static constexpr qint64 kUnlimited = (qint64(1) << 53) - 1;

    // `monthlyLimit` 0 means no limit.
    TrafficMeter(UserStore &users, qint64 monthlyLimit);

    // Bytes `userId` may still use this month: kUnlimited without a limit, -1 when the
    // store failed.
    qint64 remaining(qint64 userId, qint64 nowMs);
    void add(qint64 userId, qint64 bytes, qint64 nowMs);
    // Writes the gathered counts to the store.
    void flush();
    bool limited() const { return limit > 0; }

    static QString period(qint64 nowMs);

private:
    struct Account
    {
        QString period;
        qint64 stored = 0;   // read from the store, plus what this meter wrote since
        qint64 pending = 0;  // counted here, not yet written
    };
    Account *account(qint64 userId, qint64 nowMs);

    UserStore &users;
    qint64 limit;
    QHash<qint64, Account> accounts;
};
