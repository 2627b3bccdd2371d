#include "connection/messagecodec.h"

#include "connection/wiretextcodecregistry.h"
#include "connection/wiretextdecoder.h"
#include "tools/crccatalog.h"

namespace {

constexpr QChar LineFeed = u'\n';
constexpr QChar CarriageReturn = u'\r';
const QString CommentMark = QStringLiteral("//");

// The single byte an escape letter stands for, or -1.
int escapedByte(QChar letter)
{
    switch (letter.unicode()) {
    case u'0':
        return 0x00;
    case u'\\':
        return 0x5C;
    case u'a':
        return 0x07;
    case u'b':
        return 0x08;
    case u'e':
        return 0x1B;
    case u'f':
        return 0x0C;
    case u'n':
        return 0x0A;
    case u'r':
        return 0x0D;
    case u't':
        return 0x09;
    case u'v':
        return 0x0B;
    default:
        return -1;
    }
}

bool isTextFormat(const rxData &rx, const FormatSetting &format)
{
    return rx.direction == Sent ? format.sendMsgFormat == TextFormat
                                : format.receiveMsgFormat == TextFormat;
}

// The state that differs between the view and the log.
struct LineState
{
    bool &atLineStart;
    QDateTime &lastRxTime;
    bool forLog = false;
    bool openLineIsTx = false; // the log only
};

// The shared rules of decodeForUi and decodeForLog. A block whose text decodes to
// nothing (the decoder is holding back the start of a character) yields nothing and
// leaves the state alone: its time belongs to the character it starts, which comes
// with the next block.
QString shapeBlock(const rxData &rx, const FormatSetting &format, LineState state,
                   WireTextDecoder *decoder, int &prefixLength)
{
    prefixLength = 0;
    if (rx.data.isEmpty()) {
        return QString();
    }
    const bool isTx = rx.direction == Sent;
    const bool asText = isTextFormat(rx, format);
    QString body;
    if (asText) {
        body = MessageCodec::decodeWireText(rx.data, decoder,
                                            isTx ? format.sendEncoding : format.receiveEncoding);
        if (body.isEmpty()) {
            return QString();
        }
    }

    const bool stamped = format.displayMsgTime;
    const QString stamp =
        stamped ? rx.time.toString(isTx ? format.txTimeFormat : format.rxTimeFormat) : QString();
    bool atLineStart = state.atLineStart;
    bool breakLine = false;  // a line feed goes in front
    bool stampLeads = false; // the text starts with the stamp
    QString out;

    if (isTx) {
        breakLine = !atLineStart;
        if (asText) {
            out = stamped ? MessageCodec::insertTimeStamp(body, stamp) : body;
        } else {
            out = stamp + MessageCodec::toHexString(rx.data) + LineFeed;
        }
        stampLeads = stamped;
    } else {
        // The idle gap is measured from the previous received block, so a steady
        // stream stays on one line however long it runs, and any pause longer than
        // the interval starts a new one.
        const QDateTime &last = state.lastRxTime;
        const bool gap = format.rxAutoFeedLine && last.isValid() && rx.time.isValid() &&
                         last.msecsTo(rx.time) > format.autoFeedInterval;
        state.lastRxTime = rx.time;
        if (asText) {
            if (stamped) {
                out = MessageCodec::insertTimeStamp(body, stamp);
                breakLine = !atLineStart;
                stampLeads = true;
            } else {
                out = body;
                breakLine = gap && !atLineStart;
            }
        } else {
            // A hex block starts a new (stamped) line after a gap. Each stamped line
            // begins with a stamp, so a block that opens a line starts one too. The log
            // has no endless lines: without the gap rule every block starts its own.
            bool newBlock = gap || (state.forLog && !format.rxAutoFeedLine);
            if (stamped) {
                newBlock = newBlock || atLineStart;
            }
            breakLine = newBlock && !atLineStart;
            stampLeads = stamped && newBlock;
            out = (stampLeads ? stamp : QString()) + MessageCodec::toHexString(rx.data);
        }
    }

    // In the log a line holds one direction: data never continues a line that the
    // other direction left open.
    if (state.forLog && !atLineStart && state.openLineIsTx != isTx) {
        breakLine = true;
    }
    if (breakLine) {
        out.prepend(LineFeed);
    }
    prefixLength = (breakLine ? 1 : 0) + (stampLeads ? int(stamp.size()) : 0);
    state.atLineStart = out.endsWith(LineFeed);
    return out;
}

} // namespace

// --- Encoding ---

EncodeSendResult MessageCodec::encodeSend(const QString &text, bool isHex,
                                          const FormatSetting &format)
{
    EncodeSendResult result;
    result.text = text;
    if (text.isEmpty()) {
        result.ok = true;
        return result;
    }

    if (isHex) {
        // Everything after the first "//" is a comment: it stays in the box, formatted
        // or not, and is never sent.
        const qsizetype cut = text.indexOf(CommentMark);
        const QString comment = cut < 0 ? QString() : text.mid(cut + CommentMark.size());
        QString error;
        const QByteArray bytes = fromHexString(text, &error);
        if (!error.isEmpty()) {
            result.error = error;
            return result;
        }
        if (format.formatSend) {
            result.text = toHexString(bytes);
            if (!comment.isEmpty()) {
                result.text += CommentMark + comment;
            }
        }
        // A line that is all comment sends nothing, not a checksum of nothing.
        result.bytes = bytes.isEmpty() ? bytes : appendChecksum(bytes, format.sendChecksum);
        result.ok = true;
        return result;
    }

    QString body = text;
    if (format.txAutoFeedLine()) {
        if (!body.endsWith(LineFeed)) {
            body += LineFeed;
        }
        body = applyLineEnding(body, format.txLineEndingMode);
    }

    QByteArray bytes;
    if (!format.sendEscapes) {
        const auto encoded = WireTextCodecRegistry::encode(body, format.sendEncoding);
        if (!encoded.ok) {
            result.error = encoded.error;
            return result;
        }
        bytes = encoded.bytes;
    } else {
        // Plain characters are gathered and encoded together; an escape flushes them
        // and adds its byte as it is, so escaped bytes never pass the encoder.
        QString plain;
        const auto flushPlain = [&]() {
            if (plain.isEmpty()) {
                return true;
            }
            const auto encoded = WireTextCodecRegistry::encode(plain, format.sendEncoding);
            if (!encoded.ok) {
                result.error = encoded.error;
                return false;
            }
            bytes += encoded.bytes;
            plain.clear();
            return true;
        };

        const qsizetype size = body.size();
        for (qsizetype i = 0; i < size; ++i) {
            const QChar c = body.at(i);
            if (c != u'\\') {
                plain += c;
                continue;
            }
            if (!flushPlain()) {
                return result;
            }
            if (i + 1 >= size) {
                result.error =
                    tr("The message ends with a lone backslash. Write \\\\ to send one.");
                return result;
            }
            const QChar letter = body.at(++i);
            if (letter == u'x') {
                const int high = i + 1 < size ? MessageCodec::hexDigitValue(body.at(i + 1)) : -1;
                const int low = i + 2 < size ? MessageCodec::hexDigitValue(body.at(i + 2)) : -1;
                if (high < 0 || low < 0) {
                    result.error = tr("\\x must be followed by two hex digits, as in \\x1B.");
                    return result;
                }
                bytes.append(char(high << 4 | low));
                i += 2;
                continue;
            }
            const int byte = escapedByte(letter);
            if (byte < 0) {
                QString shown(letter);
                if (letter.isHighSurrogate() && i + 1 < size && body.at(i + 1).isLowSurrogate()) {
                    shown += body.at(i + 1);
                }
                result.error =
                    tr("Unknown escape sequence \\%1. Write \\\\ to send a backslash.").arg(shown);
                return result;
            }
            bytes.append(char(byte));
        }
        if (!flushPlain()) {
            return result;
        }
    }

    result.bytes = appendChecksum(bytes, format.sendChecksum);
    result.ok = true;
    return result;
}

int MessageCodec::hexDigitValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9') {
        return u - u'0';
    }
    if (u >= u'a' && u <= u'f') {
        return u - u'a' + 10;
    }
    if (u >= u'A' && u <= u'F') {
        return u - u'A' + 10;
    }
    return -1;
}

QList<qsizetype> MessageCodec::hexProblems(const QString &text)
{
    QList<qsizetype> problems;
    qsizetype pending = -1; // a first digit waiting for its second
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isSpace()) {
            if (pending >= 0) {
                problems.append(pending);
                pending = -1;
            }
        } else if (hexDigitValue(c) < 0) {
            problems.append(i);
            pending = -1;
        } else {
            pending = pending < 0 ? i : -1;
        }
    }
    if (pending >= 0) {
        problems.append(pending);
    }
    return problems;
}

QByteArray MessageCodec::GetHexValue(const QString &text, QString *error)
{
    const QList<qsizetype> problems = hexProblems(text);
    if (!problems.isEmpty()) {
        if (error) {
            const qsizetype at = problems.first();
            const QChar c = text.at(at);
            const QString shown = c.isPrint() ? QString(c)
                                              : QStringLiteral("U+%1").arg(
                                                    uint(c.unicode()), 4, 16, QLatin1Char('0'));
            *error = hexDigitValue(c) < 0
                         ? tr("\"%1\" at position %2 is not a hex digit.").arg(shown).arg(at + 1)
                         : tr("\"%1\" at position %2 has no second digit: use two hex digits "
                              "per byte.")
                               .arg(shown)
                               .arg(at + 1);
        }
        return QByteArray();
    }
    QByteArray bytes;
    bytes.reserve(text.size() / 2);
    int high = -1;
    for (const QChar c : text) {
        const int nibble = hexDigitValue(c);
        if (nibble < 0) {
            continue; // white space between pairs
        }
        if (high < 0) {
            high = nibble;
        } else {
            bytes.append(char(high << 4 | nibble));
            high = -1;
        }
    }
    return bytes;
}

QByteArray MessageCodec::fromHexString(const QString &text, QString *error)
{
    const qsizetype cut = text.indexOf(CommentMark);
    return GetHexValue(cut < 0 ? text : text.left(cut), error);
}

QString MessageCodec::applyLineEnding(const QString &text, _tagLineEndingMode mode)
{
    QString out = text;
    switch (mode) {
    case LineEndingCR:
        out.replace(LineFeed, CarriageReturn);
        break;
    case LineEndingCRLF:
        out.replace(LineFeed, QStringLiteral("\r\n"));
        break;
    case LineEndingLFCR:
        out.replace(LineFeed, QStringLiteral("\n\r"));
        break;
    case LineEndingNone:
    case LineEndingLF:
        break;
    }
    return out;
}

QByteArray MessageCodec::applyLineEnding(const QByteArray &bytes, _tagLineEndingMode mode)
{
    QByteArray out = bytes;
    switch (mode) {
    case LineEndingCR:
        out.replace('\n', '\r');
        break;
    case LineEndingCRLF:
        out.replace("\n", "\r\n");
        break;
    case LineEndingLFCR:
        out.replace("\n", "\n\r");
        break;
    case LineEndingNone:
    case LineEndingLF:
        break;
    }
    return out;
}

QByteArray MessageCodec::terminalEnterBytes(_tagLineEndingMode mode)
{
    switch (mode) {
    case LineEndingLF:
        return QByteArrayLiteral("\n");
    case LineEndingCRLF:
        return QByteArrayLiteral("\r\n");
    case LineEndingLFCR:
        return QByteArrayLiteral("\n\r");
    case LineEndingNone:
    case LineEndingCR:
        break;
    }
    return QByteArrayLiteral("\r");
}

QByteArray MessageCodec::appendChecksum(const QByteArray &bytes, int mode)
{
    const int size = CrcCatalog::sendChecksumSize(mode);
    if (size == 0) {
        return bytes;
    }
    quint64 value = CrcCatalog::sendChecksumValue(mode, bytes);
    QByteArray out = bytes;
    for (int i = 0; i < size; ++i) {
        out.append(char(value & 0xFF));
        value >>= 8;
    }
    return out;
}

// --- Decoding ---

QString MessageCodec::decodeForUi(const rxData &rx, const FormatSetting &format, bool &atLineStart,
                                  QDateTime &lastRxTime, QDateTime &lastTxTime,
                                  WireTextDecoder *decoder, int &prefixLength)
{
    const QString out = shapeBlock(rx, format, {atLineStart, lastRxTime}, decoder, prefixLength);
    if (rx.direction == Sent && !out.isEmpty()) {
        lastTxTime = rx.time;
    }
    return out;
}

QString MessageCodec::decodeForLog(const rxData &rx, const FormatSetting &format, bool &atLineStart,
                                   bool &pendingFlag, QDateTime &lastTime, WireTextDecoder *decoder,
                                   WireTextDecoder *decoderRx)
{
    if (rx.isLocalEcho) {
        return QString(); // typed input is shown, never logged
    }
    const bool isTx = rx.direction == Sent;
    int prefixLength = 0;
    const QString out = shapeBlock(rx, format, {atLineStart, lastTime, true, pendingFlag},
                                   isTx ? decoder : decoderRx, prefixLength);
    if (!out.isEmpty()) {
        pendingFlag = isTx && !atLineStart;
    }
    return out;
}

QString MessageCodec::insertTimeStamp(const QString &text, const QString &stamp)
{
    QString out = text;
    out.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    out.replace(QStringLiteral("\n\r"), QStringLiteral("\n"));
    out.remove(CarriageReturn);
    const bool finalFeed = out.endsWith(LineFeed);
    if (finalFeed) {
        out.chop(1);
    }
    out.replace(LineFeed, LineFeed + stamp);
    out.prepend(stamp);
    if (finalFeed) {
        out += LineFeed;
    }
    return out;
}

QString MessageCodec::sanitizeText(const QString &text)
{
    QString out = text;
    for (QChar &c : out) {
        if (c.category() == QChar::Other_Control && c != u'\t' && c != LineFeed &&
            c != CarriageReturn) {
            c = QChar(0x25A1);
        }
    }
    return out;
}

QString MessageCodec::toHexString(const QByteArray &bytes)
{
    static constexpr char16_t digits[] = u"0123456789ABCDEF";
    QString out(bytes.size() * 3, Qt::Uninitialized);
    QChar *p = out.data();
    for (char c : bytes) {
        const auto u = quint8(c);
        *p++ = QChar(digits[u >> 4]);
        *p++ = QChar(digits[u & 0x0F]);
        *p++ = QChar(u' ');
    }
    return out;
}

QString MessageCodec::decodeWireText(const QByteArray &bytes, WireTextDecoder *decoder,
                                     const QString &encoding)
{
    if (decoder) {
        return sanitizeText(decoder->decode(bytes));
    }
    return sanitizeText(WireTextCodecRegistry::createDecoder(encoding)->decode(bytes));
}
