// Scrubs input bytes with machine ids, user and host names taken from the input (made of
// the characters such names have), then checks what support would receive: no machine
// id survives anywhere, no user or host name survives as a whole word, and the count
// equals the "[redacted]" marks that were added. Home folder redaction runs on the same
// text and must not crash or grow without bound.

#include "recording/diagnosticpack.h"

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

const QByteArray Mark = QByteArrayLiteral("[redacted]");

QString nameFrom(FuzzedDataProvider &data, size_t maxLength)
{
    static const char alphabet[] = "abcdeABCDE0129-_.xyXY";
    const size_t length = data.ConsumeIntegralInRange<size_t>(0, maxLength);
    QString out;
    for (size_t i = 0; i < length; ++i) {
        out += QLatin1Char(alphabet[data.ConsumeIntegralInRange<size_t>(0, sizeof alphabet - 2)]);
    }
    return out;
}

bool isWordByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           c == '_' || c == '-';
}

// Whether `needle` stands in `text` with no word byte on either side (ASCII case folded).
bool standsAsWord(const QByteArray &text, const QByteArray &needle)
{
    const QByteArray lower = text.toLower();
    for (qsizetype at = lower.indexOf(needle); at >= 0; at = lower.indexOf(needle, at + 1)) {
        const bool before = at > 0 && isWordByte(text.at(at - 1));
        const qsizetype end = at + needle.size();
        const bool after = end < text.size() && isWordByte(text.at(end));
        if (!before && !after) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    QStringList ids;
    QStringList users;
    QStringList hosts;
    for (int i = data.ConsumeIntegralInRange(0, 2); i > 0; --i) {
        ids << nameFrom(data, 16);
    }
    for (int i = data.ConsumeIntegralInRange(0, 3); i > 0; --i) {
        users << nameFrom(data, 8);
    }
    for (int i = data.ConsumeIntegralInRange(0, 3); i > 0; --i) {
        hosts << nameFrom(data, 8);
    }
    const QString home = nameFrom(data, 12);
    const std::string rest = data.ConsumeRemainingBytesAsString();
    const QByteArray input(rest.data(), qsizetype(rest.size()));

    DiagnosticPack::Scrubber scrubber(ids, users, hosts);
    const QByteArray output = scrubber.apply(input);
    check(output.count(Mark) == input.count(Mark) + scrubber.replaced,
          "one mark for each counted replacement");

    // With every mark blanked, nothing that should have gone is left.
    QByteArray masked = output;
    masked.replace(Mark, QByteArray(1, '\x01'));
    for (const QByteArray &id : scrubber.exact) {
        check(!masked.contains(id), "no machine id left");
    }
    for (const QByteArray &name : scrubber.words + scrubber.hosts) {
        check(!standsAsWord(masked, name), "no user or host name left as a word");
    }
    // A second run finds nothing new only when the needles cannot meet a mark; here
    // they are made of name characters, which "[" and "]" are not.
    DiagnosticPack::Scrubber again(ids, users, hosts);
    check(again.apply(output) == output && again.replaced == 0, "scrubbing twice changes nothing");

    const QString text = QString::fromUtf8(input);
    const QString redacted = DiagnosticPack::redactHome(text, QStringList{home, home.toUpper()});
    check(redacted.size() <= text.size() + 2, "redaction does not grow the text");
    return 0;
}
