#include "connection/wiretextcodecregistry.h"

#include <QHash>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTextCodec>

#include <iterator>

namespace {

enum class Backend { Utf8, Latin1, System, Codec };

struct EncodingEntry
{
    const char *name;
    const char *alternatives; // blank-separated
    Backend backend;
    const char *codecNames; // for Backend::Codec: names to ask QTextCodec for, in turn
    WireByteLayout layout;  // for Backend::Codec
};

using Layout = WireByteLayout;

// GB2312 is read and written as GBK, its superset, as Windows and browsers do with
// that label: devices that say GB2312 routinely send GBK characters. EUC-KR likewise
// stands for code page 949, the superset that its alternative names also denote.
constexpr EncodingEntry encodingTable[] = {
    {"UTF-8", "65001 cp65001", Backend::Utf8, nullptr, Layout::Utf8},
    {"GB18030", "54936 cp54936", Backend::Codec, "GB18030", Layout::Gb18030},
    {"GBK", "936 cp936 ms936 windows-936", Backend::Codec, "GBK", Layout::DoubleByte},
    {"GB2312", "euc-cn csgb2312 cp20936 20936 chinese", Backend::Codec, "GBK", Layout::DoubleByte},
    {"Big5", "950 cp950 csbig5", Backend::Codec, "Big5", Layout::DoubleByte},
    {"Shift-JIS", "Shift_JIS sjis ms_kanji 932 cp932 windows-31j csshiftjis", Backend::Codec,
     "Shift_JIS", Layout::ShiftJis},
    {"EUC-KR", "949 cp949 windows-949 ks_c_5601-1987 cseuckr", Backend::Codec, "windows-949 EUC-KR",
     Layout::DoubleByte},
    {"ISO-8859-1", "latin1 l1 819 cp819 iec_8859-1", Backend::Latin1, nullptr, Layout::SingleByte},
    {"Windows-1252", "windows-1252 1252 cp1252", Backend::Codec, "windows-1252",
     Layout::SingleByte},
    {"System", "locale", Backend::System, nullptr, Layout::SingleByte},
};

const EncodingEntry &defaultEntry()
{
    return encodingTable[0];
}

const EncodingEntry *findEntry(const QString &name)
{
    const QString wanted = name.trimmed();
    if (wanted.isEmpty()) {
        return nullptr;
    }
    for (const EncodingEntry &entry : encodingTable) {
        if (wanted.compare(QLatin1String(entry.name), Qt::CaseInsensitive) == 0) {
            return &entry;
        }
        const QStringList alternatives =
            QString::fromLatin1(entry.alternatives).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        for (const QString &alternative : alternatives) {
            if (wanted.compare(alternative, Qt::CaseInsensitive) == 0) {
                return &entry;
            }
        }
    }
    return nullptr;
}

const EncodingEntry &entryFor(const QString &name)
{
    const EncodingEntry *entry = findEntry(name);
    return entry ? *entry : defaultEntry();
}

QStringConverter::Encoding converterEncoding(Backend backend)
{
    switch (backend) {
    case Backend::Latin1:
        return QStringConverter::Latin1;
    case Backend::System:
        return QStringConverter::System;
    case Backend::Utf8:
    case Backend::Codec:
        break;
    }
    return QStringConverter::Utf8;
}

QTextCodec *codecFor(const EncodingEntry &entry)
{
    if (!entry.codecNames) {
        return nullptr;
    }
    const QList<QByteArray> names = QByteArray(entry.codecNames).split(' ');
    for (const QByteArray &name : names) {
        if (QTextCodec *codec = QTextCodec::codecForName(name)) {
            return codec;
        }
    }
    return nullptr;
}

// The ASCII characters that `codec` writes as something other than their own byte:
// ICU's Shift_JIS swaps U+001A, U+001C and U+007F, as IBM code pages do. On the wire
// ASCII is ASCII in every encoding served here, so those are written as themselves.
QString asciiWrittenElsewhere(QTextCodec *codec)
{
    static QHash<QTextCodec *, QString> known; // codecs live as long as the program
    const auto found = known.constFind(codec);
    if (found != known.constEnd()) {
        return *found;
    }
    QString elsewhere;
    for (char16_t c = 0; c < 0x80; ++c) {
        const QByteArray bytes = codec->fromUnicode(QString(QChar(c)));
        if (bytes.size() != 1 || quint8(bytes.at(0)) != c) {
            elsewhere += QChar(c);
        }
    }
    known.insert(codec, elsewhere);
    return elsewhere;
}

QByteArray codecEncode(QTextCodec *codec, const QString &text, bool *flagged)
{
    const QString elsewhere = asciiWrittenElsewhere(codec);
    QByteArray bytes;
    qsizetype runStart = 0;
    const auto encodeRun = [&](qsizetype end) {
        if (end > runStart) {
            QTextCodec::ConverterState state(QTextCodec::ConvertInvalidToNull);
            bytes += codec->fromUnicode(text.constData() + runStart, int(end - runStart), &state);
            *flagged = *flagged || state.invalidChars != 0 || state.remainingChars != 0;
        }
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.unicode() < 0x80 && elsewhere.contains(c)) {
            encodeRun(i);
            bytes += char(c.unicode());
            runStart = i + 1;
        }
    }
    encodeRun(text.size());
    return bytes;
}

// Encodes without any check; `flagged` reports what the converter itself noticed.
QByteArray rawEncode(const QString &text, const EncodingEntry &entry, bool *flagged)
{
    *flagged = false;
    if (entry.backend == Backend::Codec) {
        QTextCodec *codec = codecFor(entry);
        if (!codec) {
            *flagged = true;
            return QByteArray();
        }
        return codecEncode(codec, text, flagged);
    }
    QStringEncoder encoder(converterEncoding(entry.backend), QStringConverter::Flag::Stateless);
    const QByteArray bytes = encoder.encode(text);
    *flagged = encoder.hasError();
    return bytes;
}

// Some converters replace what they cannot represent with '?' or a null byte without
// saying so, or drop it (a byte-order mark, a lone surrogate); a text only counts as
// encoded when its bytes read back as the same text, through the decoder that reads
// the port's data.
bool encodesExactly(const QString &text, const EncodingEntry &entry, QByteArray *bytes)
{
    bool flagged = false;
    *bytes = rawEncode(text, entry, &flagged);
    if (flagged) {
        return false;
    }
    const WireTextDecoderPtr decoder =
        WireTextCodecRegistry::createDecoder(QString::fromLatin1(entry.name));
    return decoder->decode(*bytes) == text && decoder->pendingBytes().isEmpty();
}

} // namespace

QString WireTextCodecRegistry::defaultEncoding()
{
    return QString::fromLatin1(defaultEntry().name);
}

QStringList WireTextCodecRegistry::supportedEncodings()
{
    QStringList names;
    names.reserve(qsizetype(std::size(encodingTable)));
    for (const EncodingEntry &entry : encodingTable) {
        names << QString::fromLatin1(entry.name);
    }
    return names;
}

QString WireTextCodecRegistry::normalizeName(const QString &name)
{
    return QString::fromLatin1(entryFor(name).name);
}

bool WireTextCodecRegistry::isSupported(const QString &name)
{
    return findEntry(name) != nullptr;
}

WireTextDecoderPtr WireTextCodecRegistry::createDecoder(const QString &name)
{
    const EncodingEntry &entry = entryFor(name);
    const QString canonical = QString::fromLatin1(entry.name);
    if (entry.backend == Backend::Codec) {
        if (QTextCodec *codec = codecFor(entry)) {
            return std::make_unique<LegacyWireTextDecoder>(codec, entry.layout, canonical);
        }
        // A Qt without this codec: show the bytes as the default encoding reads them
        // rather than nothing at all.
        return createDecoder(defaultEncoding());
    }
    return std::make_unique<StringWireTextDecoder>(converterEncoding(entry.backend), canonical);
}

WireTextCodecRegistry::Encoded WireTextCodecRegistry::encode(const QString &text,
                                                             const QString &name)
{
    const EncodingEntry &entry = entryFor(name);
    const QString canonical = QString::fromLatin1(entry.name);
    Encoded result;
    if (text.isEmpty() || encodesExactly(text, entry, &result.bytes)) {
        result.ok = true;
        return result;
    }
    result.bytes.clear();

    // Find the first character that fails on its own; surrogate pairs stay together.
    for (qsizetype i = 0; i < text.size();) {
        const bool pair =
            text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        const qsizetype length = pair ? 2 : 1;
        if (!pair && text.at(i).isSurrogate()) {
            break; // half a character: there is nothing to name
        }
        const QString character = text.mid(i, length);
        QByteArray bytes;
        if (!encodesExactly(character, entry, &bytes)) {
            result.error = tr("The character '%1' cannot be encoded as %2. Change the encoding "
                              "or edit the message.")
                               .arg(character, canonical);
            return result;
        }
        i += length;
    }
    result.error =
        tr("This message cannot be encoded as %1. Change the encoding or edit the message.")
            .arg(canonical);
    return result;
}

bool WireTextCodecRegistry::isSingleByte(const QString &name)
{
    const QString canonical = normalizeName(name);
    if (canonical == QLatin1String("ISO-8859-1") || canonical == QLatin1String("Windows-1252")) {
        return true;
    }
    if (canonical != QLatin1String("System")) {
        return false;
    }
    // C4 9B is one character in UTF-8 and in the CJK encodings, two in a single-byte one.
    QStringDecoder decoder(QStringConverter::System);
    return QString(decoder.decode(QByteArrayView("\xC4\x9B", 2))).size() == 2;
}
