#include "bridge/bridgearbiter.h"

#include <algorithm>
#include <limits>

BridgeArbiter::BridgeArbiter() = default;
BridgeArbiter::~BridgeArbiter() = default;

void BridgeArbiter::setPolicy(const FramingPolicy &next)
{
    policy = next.sanitized();
    for (const auto &framer : std::as_const(framers)) {
        framer->setPolicy(policy);
    }
}

void BridgeArbiter::setResponseTimeoutMs(int ms)
{
    timeoutMs = std::clamp(ms, 1, 600000);
}

void BridgeArbiter::setMaxQueuedRequests(int count)
{
    maxQueued = std::clamp(count, 1, 4096);
}

void BridgeArbiter::submit(const QString &peer, const QByteArray &bytes, qint64 nowMs)
{
    if (bytes.isEmpty()) {
        return;
    }
    std::shared_ptr<BridgeFramer> &framer = framers[peer];
    if (!framer) {
        framer = std::make_shared<BridgeFramer>(policy);
        peerOrder.append(peer);
    }
    for (const QByteArray &frame : framer->ingest(bytes, nowMs)) {
        enqueueRequest(peer, frame);
    }
}

void BridgeArbiter::enqueueRequest(const QString &peer, const QByteArray &bytes)
{
    if (qsizetype(queue.size()) >= maxQueued) {
        queue.pop_front();
        ++droppedCount;
    }
    queue.push_back({peer, bytes});
}

bool BridgeArbiter::takeNext(qint64 nowMs, Request *request)
{
    tick(nowMs);
    if (open || queue.empty()) {
        return false;
    }
    *request = std::move(queue.front());
    queue.pop_front();
    open = true;
    owner = request->peer;
    answered = false;
    deadline = nowMs + timeoutMs;
    return true;
}

QString BridgeArbiter::routeResponse(qint64 nowMs)
{
    if (!open || nowMs > deadline) {
        closeTurn();
        return {};
    }
    answered = true;
    // The turn waits a little for the rest of a reply in several frames. Holding it for
    // a whole response time-out after every answer would make an answering device
    // slower to share than a silent one.
    deadline = nowMs + std::min(timeoutMs, AnswerLingerMs);
    return owner;
}

void BridgeArbiter::tick(qint64 nowMs)
{
    for (const QString &peer : std::as_const(peerOrder)) {
        const std::shared_ptr<BridgeFramer> framer = framers.value(peer);
        for (const QByteArray &frame : framer->tick(nowMs)) {
            enqueueRequest(peer, frame);
        }
    }
    if (open && nowMs >= deadline) {
        if (!answered) {
            ++timedOutCount;
        }
        closeTurn();
    }
}

void BridgeArbiter::forgetPeer(const QString &peer)
{
    framers.remove(peer);
    peerOrder.removeAll(peer);
    std::erase_if(queue, [&peer](const Request &request) { return request.peer == peer; });
    if (open && owner == peer) {
        closeTurn();
    }
}

int BridgeArbiter::nextTimeoutMs(qint64 nowMs) const
{
    qint64 next = -1;
    const auto take = [&next](qint64 value) {
        if (value >= 0 && (next < 0 || value < next)) {
            next = value;
        }
    };
    for (const auto &framer : std::as_const(framers)) {
        take(framer->nextTimeoutMs(nowMs));
    }
    if (open) {
        take(std::max<qint64>(0, deadline - nowMs));
    } else if (!queue.empty()) {
        take(0);
    }
    return int(std::min<qint64>(next, std::numeric_limits<int>::max()));
}

void BridgeArbiter::reset()
{
    framers.clear();
    peerOrder.clear();
    queue.clear();
    closeTurn();
}

void BridgeArbiter::closeTurn()
{
    open = false;
    owner.clear();
    answered = false;
}
