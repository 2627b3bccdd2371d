// Any line through the quick parser and the full one: both give the same kind and the
// same fields, with and without decoding. Half the inputs are built around the
// writer's event form so that the quick path is taken often.

#include "recording/vlmlog.h"

#include <fuzzer/FuzzedDataProvider.h>

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

void compare(QByteArrayView line, bool decode)
{
    const Vlmlog::ParsedLine fast = Vlmlog::parseLine(line, decode);
    const Vlmlog::ParsedLine slow = Vlmlog::parseLineSlowForTest(line, decode);
    check(fast.kind == slow.kind, "kind");
    check(fast.event == slow.event, "event");
    check(fast.portId == slow.portId, "port id");
    check(fast.payloadSize == slow.payloadSize, "payload size");
    check(fast.port == slow.port && fast.t == slow.t, "port line");
    check(fast.bookmark == slow.bookmark && fast.bookmarks == slow.bookmarks, "bookmarks");
    check(fast.reason == slow.reason && fast.next == slow.next, "end");
    check(fast.ports == slow.ports && fast.startedAt == slow.startedAt, "header");
    if (fast.kind == Vlmlog::ParsedLine::Event && fast.event.kind != SessionEvent::Note) {
        check(Vlmlog::parseLine(Vlmlog::eventLine(fast.event, fast.portId)).event.bytes ==
                  (decode ? fast.event.bytes : slow.event.bytes),
              "written event reads back");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    QByteArray line;
    if (input.ConsumeBool()) {
        // Pieces of the event form, each possibly bent.
        static const char *pieces[] = {"{\"t\":", ",\"port\":\"", ",\"dir\":\"", "rx", "tx",
                                       "note", ",\"peer\":\"", ",\"hex\":\"", "\"}", "\"",
                                       "9007199254740992", "9007199254740993", "0", "01",
                                       "AB", "c", "\\\"", "\\u0041", ",\"text\":", "}"};
        const int count = input.ConsumeIntegralInRange(1, 16);
        for (int i = 0; i < count && input.remaining_bytes() > 0; ++i) {
            if (input.ConsumeIntegralInRange(0, 4) == 0) {
                line += QByteArray::fromStdString(input.ConsumeRandomLengthString(8));
            } else {
                line += pieces[input.ConsumeIntegralInRange<size_t>(0, std::size(pieces) - 1)];
            }
        }
    } else {
        line = QByteArray::fromStdString(input.ConsumeRemainingBytesAsString());
    }
    compare(line, true);
    compare(line, false);
    return 0;
}
