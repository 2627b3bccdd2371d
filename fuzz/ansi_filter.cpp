// Feeds the escape filter the same bytes twice, whole and in random pieces, and checks
// that the split changes nothing, that the output is the input with bytes only taken
// away, and that the bytes held back stay bounded.

#include "session/ansiescapefilter.h"

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

bool isSubsequence(const QByteArray &part, const QByteArray &whole)
{
    qsizetype at = 0;
    for (char c : part) {
        while (at < whole.size() && whole.at(at) != c) {
            ++at;
        }
        if (at == whole.size()) {
            return false;
        }
        ++at;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider provider(data, size);
    const bool eightBit = provider.ConsumeBool();
    const QByteArray input = QByteArray::fromStdString(provider.ConsumeRemainingBytesAsString());

    AnsiEscapeFilter whole;
    whole.setEightBitControls(eightBit);
    const QByteArray out = whole.process(input);

    // The split comes from the input itself, so the fuzzer explores it too.
    AnsiEscapeFilter pieces;
    pieces.setEightBitControls(eightBit);
    QByteArray outPieces;
    qsizetype at = 0;
    size_t seed = size_t(input.size()) * 2654435761u;
    while (at < input.size()) {
        seed = seed * 6364136223846793005ull + 1442695040888963407ull;
        const qsizetype piece = qsizetype((seed >> 33) % 7);
        outPieces += pieces.process(input.mid(at, piece));
        at += piece;
        check(pieces.pendingBytes().size() <= 4097, "pending within the string limit");
    }

    check(outPieces == out, "pieces give the same output as the whole");
    check(pieces.state() == whole.state(), "pieces end in the same state");
    check(pieces.pendingBytes() == whole.pendingBytes(), "pieces hold the same bytes back");
    check(out.size() + whole.pendingBytes().size() <= input.size(), "nothing is invented");
    check(isSubsequence(out, input), "output is the input with bytes taken away");
    check((whole.state() == 0) == whole.pendingBytes().isEmpty(), "pending only inside a sequence");

    bool introducer = input.contains('\x1b');
    if (eightBit) {
        introducer = introducer || input.contains('\x9b') || input.contains('\x9d');
    }
    if (!introducer) {
        check(out == input, "text without introducers passes untouched");
    }
    return 0;
}
