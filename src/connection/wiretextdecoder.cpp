#include "connection/wiretextdecoder.h"

#include <QTextCodec>

WireTextDecoder::~WireTextDecoder() = default;

namespace {

bool inRange(uchar b, uchar low, uchar high)
{
    return b >= low && b <= high;
}

bool isUtf8Continuation(uchar b)
{
    return inRange(b, 0x80, 0xBF);
}

// The length of the UTF-8 character at `p`; see characterLength.
int utf8Length(const uchar *p, qsizetype available)
{
    const uchar lead = p[0];
    int length;
    uchar secondLow = 0x80;
    uchar secondHigh = 0xBF;
    if (lead < 0xC2) {
        return 1; // ASCII, or a byte the converter turns into U+FFFD by itself
    } else if (lead < 0xE0) {
        length = 2;
    } else if (lead < 0xF0) {
        length = 3;
        if (lead == 0xE0) {
            secondLow = 0xA0; // no overlong forms
        } else if (lead == 0xED) {
            secondHigh = 0x9F; // no surrogates
        }
    } else if (lead < 0xF5) {
        length = 4;
        if (lead == 0xF0) {
            secondLow = 0x90;
        } else if (lead == 0xF4) {
            secondHigh = 0x8F; // nothing above U+10FFFF
        }
    } else {
        return 1;
    }
    for (int i = 1; i < length; ++i) {
        if (i >= available) {
            return 0;
        }
        const bool valid = i == 1 ? inRange(p[1], secondLow, secondHigh) : isUtf8Continuation(p[i]);
        if (!valid) {
            return -1;
        }
    }
    return length;
}

// Trail bytes of the two-byte characters of GBK, Big5 and code page 949: the ranges the
// converters accept as the second byte of a pair, assigned or not.
bool isDoubleByteTrail(uchar b)
{
    return inRange(b, 0x40, 0x7E) || inRange(b, 0x80, 0xFE);
}

// The length of the character at `p` (1 to 4); 0 if the `available` bytes are the valid
// start of a longer character; -1 if `p` is a lead byte without a valid continuation.
int characterLength(WireByteLayout layout, const uchar *p, qsizetype available)
{
    const uchar lead = p[0];
    switch (layout) {
    case WireByteLayout::SingleByte:
        return 1;
    case WireByteLayout::Utf8:
        return utf8Length(p, available);
    case WireByteLayout::DoubleByte:
        if (!inRange(lead, 0x81, 0xFE)) {
            return 1;
        }
        if (available < 2) {
            return 0;
        }
        return isDoubleByteTrail(p[1]) ? 2 : -1;
    case WireByteLayout::ShiftJis:
        if (!inRange(lead, 0x81, 0x9F) && !inRange(lead, 0xE0, 0xFC)) {
            return 1; // ASCII, single-byte katakana, or a byte the converter marks invalid
        }
        if (available < 2) {
            return 0;
        }
        return (inRange(p[1], 0x40, 0x7E) || inRange(p[1], 0x80, 0xFC)) ? 2 : -1;
    case WireByteLayout::Gb18030:
        if (!inRange(lead, 0x81, 0xFE)) {
            return 1;
        }
        if (available < 2) {
            return 0;
        }
        if (inRange(p[1], 0x40, 0x7E) || inRange(p[1], 0x80, 0xFF)) {
            return 2;
        }
        if (!inRange(p[1], 0x30, 0x39)) {
            return -1;
        }
        // Four bytes: lead, digit, lead-range byte, digit.
        if (available < 3) {
            return 0;
        }
        if (!inRange(p[2], 0x81, 0xFE)) {
            return -1;
        }
        if (available < 4) {
            return 0;
        }
        return inRange(p[3], 0x30, 0x39) ? 4 : -1;
    }
    return 1;
}

// Decodes `pending` followed by `bytes`: runs of whole characters through
// `convert(data, size)`, broken lead bytes as U+FFFD, and single bytes listed in
// `asciiOverrides` as ASCII. What remains of an incomplete character is left in
// `pending`.
template<typename Convert>
QString decodeWholeCharacters(WireByteLayout layout, QByteArray &pending, const QByteArray &bytes,
                              const QByteArray &asciiOverrides, Convert convert)
{
    const QByteArray buffer = pending.isEmpty() ? bytes : pending + bytes;
    const auto *data = reinterpret_cast<const uchar *>(buffer.constData());
    const qsizetype size = buffer.size();
    QString out;
    qsizetype runStart = 0;
    qsizetype i = 0;
    const auto flushRun = [&](qsizetype end) {
        if (end > runStart) {
            out += convert(buffer.constData() + runStart, end - runStart);
        }
    };

    while (i < size) {
        const int length = characterLength(layout, data + i, size - i);
        if (length == 1 && !asciiOverrides.isEmpty() && asciiOverrides.contains(char(data[i]))) {
            flushRun(i);
            out += QLatin1Char(char(data[i]));
            ++i;
            runStart = i;
        } else if (length > 0) {
            i += length;
        } else if (length == 0) {
            break; // the rest is the start of a character still on its way
        } else {
            flushRun(i);
            out += QChar(QChar::ReplacementCharacter);
            ++i;
            runStart = i;
        }
    }
    flushRun(i);
    pending = buffer.mid(i);
    return out;
}

// A byte-order mark is data on a wire: it is shown, not swallowed.
constexpr auto ConverterFlags = QStringConverter::Flag::ConvertInitialBom;

} // namespace

StringWireTextDecoder::StringWireTextDecoder(QStringConverter::Encoding encoding,
                                             const QString &name)
    : layout(WireByteLayout::SingleByte)
    , name(name)
{
    bool utf8 = encoding == QStringConverter::Utf8;
#ifndef Q_OS_WIN
    utf8 = utf8 || encoding == QStringConverter::System; // the system encoding is UTF-8 here
#endif
    if (utf8) {
        layout = WireByteLayout::Utf8;
        decoder = QStringDecoder(encoding, ConverterFlags | QStringConverter::Flag::Stateless);
    } else {
        decoder = QStringDecoder(encoding, ConverterFlags);
    }
}

QString StringWireTextDecoder::decode(const QByteArray &bytes)
{
    if (layout == WireByteLayout::SingleByte) {
        return decoder.decode(bytes);
    }
    return decodeWholeCharacters(layout, pending, bytes, QByteArray(),
                                 [this](const char *data, qsizetype size) {
                                     return decoder.decode(QByteArrayView(data, size));
                                 });
}

void StringWireTextDecoder::reset()
{
    pending.clear();
    decoder.resetState();
}

LegacyWireTextDecoder::LegacyWireTextDecoder(QTextCodec *codec, WireByteLayout layout,
                                             const QString &name)
    : codec(codec)
    , layout(layout)
    , name(name)
    , asciiOverrides(asciiReadElsewhere(codec))
{}

QByteArray LegacyWireTextDecoder::asciiReadElsewhere(QTextCodec *codec)
{
    QByteArray ascii(0x80, Qt::Uninitialized);
    for (int b = 0; b < 0x80; ++b) {
        ascii[b] = char(b);
    }
    // In every encoding served here the bytes below 0x80 are single characters, so one
    // call reads them all, one character each.
    const QString read = codec ? codec->toUnicode(ascii) : QString();
    QByteArray elsewhere;
    for (int b = 0; b < 0x80; ++b) {
        if (read.size() != ascii.size() || read.at(b).unicode() != b) {
            elsewhere.append(char(b));
        }
    }
    return elsewhere;
}

QString LegacyWireTextDecoder::decode(const QByteArray &bytes)
{
    if (!codec) {
        return QString();
    }
    if (layout == WireByteLayout::SingleByte && asciiOverrides.isEmpty()) {
        return codec->toUnicode(bytes);
    }
    return decodeWholeCharacters(
        layout, pending, bytes, asciiOverrides,
        [this](const char *data, qsizetype size) { return codec->toUnicode(data, int(size)); });
}

void LegacyWireTextDecoder::reset()
{
    pending.clear();
}
