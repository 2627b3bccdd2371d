#pragma once

// Paces the modem-state notifications a server sends: the owner polls its port's lines
// when nextTimeoutMs() says, and report() returns a notification only when what the
// client may see (the state under its mask) has changed.

#include <QByteArray>

#include <limits>

class Rfc2217Codec;

class Rfc2217ModemReporter
{
public:
    static constexpr qint64 PollIntervalMs = 250;

    void reset();
    // The notification to send for `modemState`, or nothing when the client would
    // learn nothing new. Starts the next poll interval.
    QByteArray report(const Rfc2217Codec &codec, quint8 modemState, qint64 nowMs);
    // 0 once the next poll is due, else the milliseconds until it (at most one interval).
    qint64 nextTimeoutMs(qint64 nowMs) const;

private:
    QByteArray lastSent;
    qint64 deadline = std::numeric_limits<qint64>::min();
};
