// Runs BridgeFramer under a policy made from the input (any mode, short delimiters,
// small sizes and times) over arrivals, ticks at random times and at the times it asks
// for, and flushes. Checks that the frames are the input, in order, each byte once;
// that no frame is empty or longer than maxBytes; that a frame cut on arrival in the
// fixed and delimiter modes has the fixed length, ends in the delimiter, or was cut at
// maxBytes; that less than maxBytes is ever held, and nothing in the at-once mode; and
// that a tick at the time it asks for releases everything.

#include "bridge/bridgeframer.h"

#include <fuzzer/FuzzedDataProvider.h>

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    FramingPolicy requested;
    requested.mode = input.ConsumeIntegralInRange(-1, 4);
    requested.idleGapMs = input.ConsumeIntegralInRange(-5, 40);
    const std::string delimiter = input.ConsumeRandomLengthString(3);
    requested.delimiter = QByteArray(delimiter.data(), qsizetype(delimiter.size()));
    requested.fixedLength = input.ConsumeIntegralInRange(-1, 40);
    requested.maxBytes = input.ConsumeIntegralInRange(-1, 64);
    requested.maxHoldMs = input.ConsumeIntegralInRange(-1, 300);
    BridgeFramer framer(requested);
    const FramingPolicy &policy = framer.policy();
    check(policy == policy.sanitized(), "a sanitised policy is its own sanitised form");

    QByteArray in;
    qsizetype out = 0;
    qint64 now = 0;
    const auto take = [&](const QList<QByteArray> &frames, bool arrival) {
        for (const QByteArray &frame : frames) {
            check(!frame.isEmpty() && frame.size() <= policy.maxBytes, "frame size");
            check(QByteArrayView(in).sliced(out).startsWith(frame),
                  "frames are the input in order");
            out += frame.size();
            if (arrival && policy.mode == FramingPolicy::FixedLength) {
                check(frame.size() == policy.fixedLength, "fixed frames have the fixed length");
            }
            if (arrival && policy.mode == FramingPolicy::Delimiter) {
                // The last piece of a cut frame may hold only the delimiter's tail.
                check(frame.endsWith(policy.delimiter) || frame.size() == policy.maxBytes ||
                          policy.delimiter.endsWith(frame),
                      "delimiter frames end in it or were cut at the limit");
            }
        }
    };

    while (input.remaining_bytes() > 0) {
        now += input.ConsumeIntegralInRange(0, 50);
        switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
        case 1: {
            const std::string bytes = input.ConsumeRandomLengthString(200);
            in.append(bytes.data(), qsizetype(bytes.size()));
            take(framer.ingest(QByteArrayView(bytes.data(), qsizetype(bytes.size())), now), true);
            break;
        }
        case 2:
            take(framer.tick(now), false);
            break;
        default: {
            const int delay = framer.nextTimeoutMs(now);
            check((delay < 0) == (framer.heldBytes() == 0), "a deadline exactly when bytes wait");
            if (delay >= 0) {
                now += delay;
                take(framer.tick(now), false);
                check(framer.heldBytes() == 0, "a tick when asked releases everything");
            }
        }
        }
        check(framer.heldBytes() < policy.maxBytes, "less than maxBytes is held");
        check(policy.mode != FramingPolicy::AtOnce || framer.heldBytes() == 0,
              "nothing is held in the at-once mode");
        check(out + framer.heldBytes() == in.size(), "every byte is out or held");
    }
    take(framer.flush(), false);
    check(out == in.size() && framer.heldBytes() == 0, "a flush releases everything");
    return 0;
}
