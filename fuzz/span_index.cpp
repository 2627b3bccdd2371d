// Drives the span index with random appends, chain breaks, trims, budget changes and
// look-ups, and checks after each step that the byte total is the sum of the spans, that
// spans stay ordered and inside the covered range, that the covered range only moves
// forward, and that the look-ups agree with a plain scan.

#include "session/displayspanindex.h"

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

const QString Peers[] = {QString(), QStringLiteral("10.0.0.1:5000"), QStringLiteral("[::1]:23")};

void checkInvariants(const DisplaySpanIndex &index)
{
    qint64 sum = 0;
    qint64 end = index.coversFrom();
    for (const DisplaySpan &s : index.spans()) {
        check(s.docLength >= 0 && s.prefixLength >= 0, "lengths not negative");
        check(s.docStart >= end, "spans ordered, after the covered start");
        end = s.docEnd();
        sum += s.bytes.size();
    }
    check(sum == index.byteTotal(), "byteTotal is the sum of the spans");
    check(index.byteTotal() <= index.budget() || index.size() <= 1, "within budget");
    check(index.coversFrom() >= index.trimmedChars(), "covered start not before the front");
    check(index.firstDocStart() == (index.isEmpty() ? -1 : index.spans().front().docStart),
          "first start");
}

// The span containing `position` by a plain scan.
const DisplaySpan *scanAt(const DisplaySpanIndex &index, qint64 position)
{
    for (const DisplaySpan &s : index.spans()) {
        if (s.docStart <= position && position < s.docEnd()) {
            return &s;
        }
    }
    return nullptr;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider in(data, size);
    DisplaySpanIndex index(in.ConsumeIntegralInRange<qint64>(0, 512));
    qint64 lastCovers = index.coversFrom();
    qint64 timeUs = 0;

    while (in.remaining_bytes() > 0) {
        const qint64 end = index.isEmpty() ? index.coversFrom() : index.spans().back().docEnd();
        switch (in.ConsumeIntegralInRange(0, 7)) {
        case 0: {
            DisplaySpan s;
            s.docStart = end + in.ConsumeIntegralInRange(0, 3);
            s.prefixLength = in.ConsumeBool() ? 0 : in.ConsumeIntegralInRange(1, 20);
            s.docLength = in.ConsumeIntegralInRange(0, 64);
            s.isTx = in.ConsumeBool();
            s.isHex = in.ConsumeBool();
            s.isLocalEcho = in.ConsumeIntegralInRange(0, 7) == 0;
            s.peer = Peers[in.ConsumeIntegralInRange(0, 2)];
            s.timestampText = s.prefixLength > 2 && in.ConsumeBool() ? QStringLiteral("[t] ")
                                                                     : QString();
            s.bytes = QByteArray::fromStdString(
                in.ConsumeRandomLengthString(in.ConsumeBool() ? 8 : 3000));
            s.timeUs = ++timeUs;
            const qint64 before = index.byteTotal();
            const qsizetype chained = index.chainBytes(s.isTx ? Sent : Received).size();
            check(index.append(s), "an append at the end is taken");
            check(index.byteTotal() <= before + s.bytes.size() + chained, "append adds its bytes");
            break;
        }
        case 1: {
            const QByteArray bytes = QByteArray::fromStdString(in.ConsumeRandomLengthString(5000));
            index.breakChain(bytes, in.ConsumeBool() ? Sent : Received,
                             Peers[in.ConsumeIntegralInRange(0, 2)]);
            check(index.chainBytes(Received).size() <= DisplaySpanIndex::ChainLimit &&
                      index.chainBytes(Sent).size() <= DisplaySpanIndex::ChainLimit,
                  "chains within their limit");
            break;
        }
        case 2:
            index.trimFront(in.ConsumeIntegralInRange<qint64>(-5, 200));
            break;
        case 3:
            index.setBudget(in.ConsumeIntegralInRange<qint64>(-5, 20000));
            break;
        case 4: {
            const qint64 from = in.ConsumeIntegralInRange<qint64>(0, end + 10);
            const qint64 to = from + in.ConsumeIntegralInRange<qint64>(-3, 300);
            qint64 previous = -1;
            for (const DisplaySpan &s : index.intersecting(from, to)) {
                const bool overlaps = s.docStart < to && (s.docEnd() > from ||
                                                          (s.docStart == s.docEnd() &&
                                                           s.docStart >= from));
                check(overlaps, "intersecting returns overlapping spans only");
                check(s.docStart >= previous, "intersecting in order");
                previous = s.docStart;
            }
            break;
        }
        case 5: {
            const qint64 position = in.ConsumeIntegralInRange<qint64>(-2, end + 3);
            const DisplaySpan *found = index.spanAt(position);
            check(found == scanAt(index, position), "spanAt agrees with a scan");
            check(index.timeUsAt(position) == (found ? found->timeUs : -1), "timeUsAt");
            break;
        }
        case 6: {
            DisplaySpan late;
            late.docStart = end - in.ConsumeIntegralInRange(1, 10);
            late.bytes = "x";
            late.docLength = 1;
            const qsizetype count = index.size();
            check(!index.append(late), "a span before the end is refused");
            check(index.size() == count, "a refused span leaves the index alone");
            break;
        }
        default:
            if (in.ConsumeIntegralInRange(0, 15) == 0) {
                index.clear();
                lastCovers = 0;
            }
            break;
        }
        checkInvariants(index);
        check(index.coversFrom() >= lastCovers, "coversFrom never moves back");
        lastCovers = index.coversFrom();
    }
    return 0;
}
