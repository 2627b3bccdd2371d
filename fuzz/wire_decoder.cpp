// Fuzzes the wire text decoders with the bytes cut into random pieces. The first byte
// chooses the encoding, the second seeds the cuts, the rest is the stream. Whatever the
// cuts, the text must be the same as from the stream in one piece; the bytes below 0x30,
// which are never part of a multi-byte character, must all come out; and a legacy
// decoder must agree with its codec on the complete part of the stream (unless the codec
// reads some ASCII byte in it as another character, which the decoder corrects).

#include "connection/wiretextcodecregistry.h"
#include "connection/wiretextdecoder.h"

#include <QTextCodec>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool condition, const char *what, const QString &encoding)
{
    if (!condition) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(encoding), what);
        std::abort();
    }
}

qsizetype countBelow0x30(QByteArrayView bytes)
{
    return std::count_if(bytes.begin(), bytes.end(), [](char c) { return quint8(c) < 0x30; });
}

qsizetype countBelow0x30(const QString &text)
{
    return std::count_if(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x30; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    static const QStringList encodings = WireTextCodecRegistry::supportedEncodings();
    const QString encoding = encodings.at(data[0] % encodings.size());
    quint32 seed = data[1] | 0x100U;
    const QByteArray stream(reinterpret_cast<const char *>(data + 2), qsizetype(size - 2));

    const auto whole = WireTextCodecRegistry::createDecoder(encoding);
    const QString expected = whole->decode(stream);
    const QByteArray held = whole->pendingBytes();
    require(held.size() <= 3, "holds back more than a character", encoding);
    require(stream.endsWith(held), "holds back bytes that are not the tail", encoding);

    const auto pieces = WireTextCodecRegistry::createDecoder(encoding);
    QString text;
    for (qsizetype at = 0; at < stream.size();) {
        seed = seed * 1103515245U + 12345U;
        const qsizetype length = qMin<qsizetype>(1 + (seed >> 16) % 6, stream.size() - at);
        text += pieces->decode(stream.mid(at, length));
        at += length;
    }
    require(text == expected, "text depends on where the stream was cut", encoding);
    require(pieces->pendingBytes() == held, "held bytes depend on the cuts", encoding);

    const QByteArrayView complete = QByteArrayView(stream).first(stream.size() - held.size());
    require(countBelow0x30(expected) == countBelow0x30(complete), "lost or invented a byte < 0x30",
            encoding);

    if (dynamic_cast<LegacyWireTextDecoder *>(whole.get())) {
        QTextCodec *codec = QTextCodec::codecForName(whole->encoding() == QLatin1String("GB2312")
                                                         ? QByteArray("GBK")
                                                         : whole->encoding().toLatin1());
        const QByteArray misread = LegacyWireTextDecoder::asciiReadElsewhere(codec);
        const bool corrected = std::any_of(complete.begin(), complete.end(),
                                           [&](char c) { return misread.contains(c); });
        if (codec && !corrected) {
            require(codec->toUnicode(complete.data(), int(complete.size())) == expected,
                    "differs from the codec over the complete part", encoding);
        }
    }
    return 0;
}
