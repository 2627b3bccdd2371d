#include "automation/autoreplyrunner.h"

#include <algorithm>

AutoReplyRunner::AutoReplyRunner(QObject *parent)
    : QObject(parent)
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &AutoReplyRunner::fire);
    clock.start();
}

void AutoReplyRunner::setConfig(const AutoReplyConfig &config)
{
    pending.clear();
    timer.stop();
    sentCount = 0;
    replies.setConfig(config, replies.rxEncoding(), replies.txEncoding());
    emit stateChanged();
}

void AutoReplyRunner::setEncodings(const QString &rxEncoding, const QString &txEncoding)
{
    if (rxEncoding == replies.rxEncoding() && txEncoding == replies.txEncoding()) {
        return;
    }
    replies.setEncodings(rxEncoding, txEncoding);
    // Rules may have become valid or invalid in the new encodings.
    emit stateChanged();
}

void AutoReplyRunner::setSender(Sender newSender)
{
    sender = std::move(newSender);
}

void AutoReplyRunner::ingest(const QByteArray &data, const QString &source)
{
    const QList<AutoReplyHit> hits = replies.feed(data, source, clock.elapsed());
    if (hits.isEmpty()) {
        return;
    }
    for (const AutoReplyHit &hit : hits) {
        if (hit.outcome != AutoReplyOutcome::Send) {
            emit silent(hit.rule, hit.outcome);
            continue;
        }
        if (pending.size() >= MaxPending) {
            emit silent(hit.rule, AutoReplyOutcome::Dropped);
            continue;
        }
        // Behind every reply due at the same time or earlier: equal due times keep
        // their order of arrival.
        const auto at = std::upper_bound(pending.begin(), pending.end(), hit.dueMs,
                                         [](qint64 due, const Pending &entry) {
                                             return due < entry.dueMs;
                                         });
        pending.insert(at, Pending{hit.dueMs, hit.rule, hit.reply, hit.source});
    }
    // Even a reply due now goes out from the timer, never from inside ingest.
    schedule();
    emit stateChanged();
}

void AutoReplyRunner::cancelPending()
{
    if (dropQueue()) {
        emit stateChanged();
    }
}

void AutoReplyRunner::reset()
{
    replies.clearWindows();
    if (dropQueue()) {
        emit stateChanged();
    }
}

bool AutoReplyRunner::dropQueue()
{
    if (pending.isEmpty()) {
        return false;
    }
    pending.clear();
    timer.stop();
    return true;
}

void AutoReplyRunner::schedule()
{
    if (pending.isEmpty()) {
        timer.stop();
        return;
    }
    const qint64 wait = pending.constFirst().dueMs - clock.elapsed();
    timer.start(int(std::clamp<qint64>(wait, 0, AutoReplyEngine::MaxDelayMs)));
}

void AutoReplyRunner::fire()
{
    const qint64 nowMs = clock.elapsed();
    while (!pending.isEmpty() && pending.constFirst().dueMs <= nowMs) {
        const Pending entry = pending.takeFirst();
        // A sender that refuses (a file transfer holds the port) loses the reply.
        if (sender && sender(entry.bytes, entry.source)) {
            ++sentCount;
            emit replied(entry.rule, entry.source, int(entry.bytes.size()));
        }
    }
    schedule();
    emit stateChanged();
}
