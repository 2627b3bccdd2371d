#include "bridge/rfc2217modemreporter.h"

#include "bridge/rfc2217codec.h"

#include <algorithm>

void Rfc2217ModemReporter::reset()
{
    lastSent.clear();
    deadline = std::numeric_limits<qint64>::min();
}

QByteArray Rfc2217ModemReporter::report(const Rfc2217Codec &codec, quint8 modemState, qint64 nowMs)
{
    deadline = nowMs + PollIntervalMs;
    const QByteArray notification = codec.modemStateNotification(modemState);
    if (notification.isEmpty()) {
        // A mask of 0 silences the lines; the state is sent again once it is set anew.
        lastSent.clear();
        return {};
    }
    if (notification == lastSent) {
        return {};
    }
    lastSent = notification;
    return notification;
}

qint64 Rfc2217ModemReporter::nextTimeoutMs(qint64 nowMs) const
{
    if (deadline <= nowMs) {
        return 0;
    }
    return std::min(deadline - nowMs, PollIntervalMs);
}
