// Runs one direction of a bridge (BridgeFlow) under framing and flow control made from
// the input, against a sink that opens and closes, loses its recipients, takes part of
// a write or nothing, and lets its pending bytes go out at random. Arrivals, ticks,
// suspends and resumes come in any order at times that only move forward. Checks:
// - what the sink received is the input with bytes only taken away, in order (a
//   subsequence), and its size is the bytes forwarded;
// - every byte is accounted for: arrived = forwarded + dropped + queued + held in the
//   framer, where the framer holds less than maxBytes; after finish() nothing is held;
// - the queue never passes its limit, except that "drop the oldest" keeps one frame
//   that alone is over it;
// - the source is held exactly when the flow says so, and never after finish().

#include "bridge/bridgeflow.h"
#include "bridge/bridgesink.h"
#include "bridge/bridgesource.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

class Sink : public BridgeSink, public BridgeSource
{
public:
    qint64 writeBytes(const QByteArray &bytes, const QString &) override
    {
        const qint64 taken = std::min<qint64>(bytes.size(), accept);
        if (taken > 0) {
            received += bytes.left(taken);
            pending += taken;
        }
        return taken;
    }
    qint64 pendingBytes() const override { return pending; }
    bool isOpen() const override { return open; }
    bool hasRecipients() const override { return recipients; }
    void setReadThrottled(bool on) override
    {
        check(on != held, "the source is told only of changes");
        held = on;
    }
    bool supportsThrottle() const override { return true; }

    QByteArray received;
    qint64 accept = 1 << 20; // the most one write takes
    qint64 pending = 0;
    bool open = true;
    bool recipients = true;
    bool held = false;
};

bool isSubsequence(const QByteArray &part, const QByteArray &whole)
{
    qsizetype at = 0;
    for (const char c : part) {
        at = whole.indexOf(c, at);
        if (at < 0) {
            return false;
        }
        ++at;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    FramingPolicy framing;
    framing.mode = input.ConsumeIntegralInRange(0, 3);
    framing.idleGapMs = input.ConsumeIntegralInRange(1, 20);
    framing.delimiter = QByteArray(1, char(input.ConsumeIntegralInRange('a', 'd')));
    framing.fixedLength = input.ConsumeIntegralInRange(1, 40);
    framing.maxBytes = input.ConsumeIntegralInRange(1, 96);
    framing.maxHoldMs = input.ConsumeIntegralInRange(1, 100);
    FlowControlPolicy policy;
    policy.queueLimitBytes = input.ConsumeIntegralInRange(1, 256);
    policy.highWatermark = input.ConsumeIntegralInRange<qint64>(1, policy.queueLimitBytes);
    policy.lowWatermark = input.ConsumeIntegralInRange<qint64>(0, policy.highWatermark - 1);
    policy.sinkPendingLimitBytes = input.ConsumeIntegralInRange(1, 128);
    policy.overflowPolicy = input.ConsumeIntegralInRange(0, 3);
    policy.floodGuardEnabled = input.ConsumeBool();
    policy.floodRateBytesPerSec = input.ConsumeIntegralInRange(1024, 100000);
    policy.floodWindowMs = input.ConsumeIntegralInRange(100, 1000);

    Sink sink;
    BridgeFlow flow;
    flow.setFraming(framing);
    flow.setPolicy(policy);
    flow.setSink(&sink);
    flow.setSource(&sink);
    const FramingPolicy &actual = flow.framing();
    const FlowControlPolicy &limits = flow.policy();

    QByteArray in;
    qint64 now = 0;
    const auto verify = [&] {
        check(sink.received.size() == flow.bytesForwarded(), "the sink got what was forwarded");
        const qint64 held =
            in.size() - flow.bytesForwarded() - flow.bytesDropped() - flow.queueBytes();
        check(held >= 0 && held < actual.maxBytes, "every byte is accounted for");
        check(flow.queueBytes() <= std::max<qint64>(limits.queueLimitBytes,
                                                    limits.overflowPolicy == 0 ? actual.maxBytes : 0),
              "the queue keeps its limit");
        check(sink.held == flow.isSourceThrottled(), "the source is held as the flow says");
    };

    while (input.remaining_bytes() > 0) {
        now += input.ConsumeIntegralInRange(0, 30);
        switch (input.ConsumeIntegralInRange(0, 7)) {
        case 0:
        case 1: {
            const std::string bytes = input.ConsumeRandomLengthString(200);
            const QByteArray block(bytes.data(), qsizetype(bytes.size()));
            in += block;
            flow.ingest(block, now);
            break;
        }
        case 2:
            flow.tick(now);
            break;
        case 3:
            sink.pending = std::max<qint64>(0, sink.pending - input.ConsumeIntegralInRange(0, 200));
            flow.drain(now);
            break;
        case 4:
            sink.accept = input.ConsumeIntegralInRange(0, 64);
            break;
        case 5:
            sink.open = input.ConsumeBool();
            sink.recipients = input.ConsumeBool();
            break;
        case 6:
            flow.suspend(QStringLiteral("test"));
            check(!sink.held, "a suspended flow releases its source");
            break;
        case 7:
            flow.resume(now);
            break;
        }
        verify();
        const int due = flow.nextTimeoutMs(now);
        check(due >= -1, "a timeout is -1 or ahead");
        check(flow.isSuspended() || flow.queueBytes() == 0 || (due >= 0 && due <= 20),
              "waiting frames are retried within 20 ms");
    }
    sink.pending = 0;
    sink.accept = 1 << 20;
    now += 1;
    flow.finish(now);
    verify();
    check(flow.queueBytes() == 0 && in.size() == flow.bytesForwarded() + flow.bytesDropped(),
          "after finish nothing is held");
    check(!sink.held, "finish releases the source");
    check(isSubsequence(sink.received, in), "the sink got the input with bytes taken away");
    return 0;
}
