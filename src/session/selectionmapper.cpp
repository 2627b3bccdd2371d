#include "session/selectionmapper.h"

#include <algorithm>

namespace {

constexpr char16_t WhiteSquare = 0x25A1;

// A line break as the document gives it back: the view stores line ends as paragraph
// separators.
char16_t normalized(QChar c)
{
    return c == QChar::ParagraphSeparator ? u'\n' : c.unicode();
}

int hexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9') {
        return c - u'0';
    }
    if (c >= u'A' && c <= u'F') {
        return c - u'A' + 10;
    }
    return -1; // lower case is not what the view writes
}

// One character decoded from UTF-8 as the view's decoder reads it: an invalid or
// truncated sequence is one U+FFFD for its lead byte. `length` 0: the bytes end inside
// a character, which the next span shows.
struct Decoded
{
    char32_t code = 0;
    int length = 0;
};

Decoded decodeUtf8(const QByteArray &bytes, qsizetype at)
{
    const auto lead = quint8(bytes[at]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    int count = 0;
    char32_t code = 0;
    char32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        count = 1;
        code = lead & 0x1F;
        minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        count = 2;
        code = lead & 0x0F;
        minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        count = 3;
        code = lead & 0x07;
        minimum = 0x10000;
    } else {
        return {0xFFFD, 1};
    }
    for (int i = 1; i <= count; ++i) {
        if (at + i >= bytes.size()) {
            return {0, 0};
        }
        const auto next = quint8(bytes[at + i]);
        if ((next & 0xC0) != 0x80) {
            return {0xFFFD, 1};
        }
        code = (code << 6) | (next & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        return {0xFFFD, 1};
    }
    return {code, count + 1};
}

// The characters the view shows for a decoded character: controls other than tab,
// line feed and carriage return show as a white square.
QString shown(char32_t code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code <= 0x9F);
    if (control && code != u'\t' && code != u'\n' && code != u'\r') {
        return QString(QChar(WhiteSquare));
    }
    return QString::fromUcs4(&code, 1);
}

} // namespace

qint64 SelectionResult::byteCount() const
{
    qint64 total = 0;
    for (const SelectionPiece &piece : pieces) {
        total += piece.bytes.size();
    }
    return total;
}

QByteArray SelectionResult::bytes() const
{
    QByteArray out;
    out.reserve(byteCount());
    for (const SelectionPiece &piece : pieces) {
        out += piece.bytes;
    }
    return out;
}

bool SelectionMapper::alignHex(const DisplaySpan &span, const QString &text, QList<qint32> *first,
                               QList<qint32> *last)
{
    const qsizetype n = text.size();
    const qsizetype prefix = std::min<qsizetype>(span.prefixLength, n);
    first->fill(-1, n);
    last->fill(-1, n);
    qsizetype byte = 0;
    qsizetype i = prefix;
    while (i < n) {
        if (normalized(text[i]) == u'\n') {
            ++i;
            continue;
        }
        if (byte >= span.bytes.size() || i + 2 >= n) {
            return false;
        }
        const auto value = quint8(span.bytes[byte]);
        if (hexDigit(text[i].unicode()) != value >> 4 ||
            hexDigit(text[i + 1].unicode()) != (value & 15) || text[i + 2] != u' ') {
            return false;
        }
        for (qsizetype k = i; k < i + 3; ++k) {
            (*first)[k] = qint32(byte);
            (*last)[k] = qint32(byte);
        }
        ++byte;
        i += 3;
    }
    return byte == span.bytes.size();
}

bool SelectionMapper::alignText(const DisplaySpan &span, const QString &text, QList<qint32> *first,
                                QList<qint32> *last)
{
    const qsizetype n = text.size();
    const qsizetype prefix = std::min<qsizetype>(span.prefixLength, n);
    first->fill(-1, n);
    last->fill(-1, n);
    const QByteArray &bytes = span.bytes;
    qsizetype b = 0;
    qsizetype i = prefix;
    const auto mapChars = [&](qsizetype from, qsizetype count, qsizetype lo, qsizetype hi) {
        for (qsizetype k = from; k < from + count; ++k) {
            (*first)[k] = qint32(lo);
            (*last)[k] = qint32(hi);
        }
    };
    while (b < bytes.size()) {
        Decoded d;
        if (span.isUtf8) {
            d = decodeUtf8(bytes, b);
            if (d.length == 0) {
                break; // the rest of a character the next span shows
            }
        } else if (quint8(bytes[b]) < 0x80) {
            d = {char32_t(quint8(bytes[b])), 1};
        } else {
            return false; // several bytes to a character: only the decoder knows where
        }
        const QString expected = shown(d.code);
        if (i + expected.size() <= n) {
            bool same = true;
            for (qsizetype k = 0; k < expected.size(); ++k) {
                same = same && normalized(text[i + k]) == expected[k].unicode();
            }
            if (same) {
                mapChars(i, expected.size(), b, b + d.length - 1);
                i += expected.size();
                b += d.length;
                continue;
            }
        }
        const bool lineFeedShown = i < n && normalized(text[i]) == u'\n';
        if (d.code == u'\r' && lineFeedShown) {
            // A carriage return shown as a line break; CR LF shown as one when the text
            // has no second line break for the LF.
            const bool pair = b + 1 < bytes.size() && bytes[b + 1] == '\n' &&
                              !(i + 1 < n && normalized(text[i + 1]) == u'\n');
            mapChars(i, 1, b, pair ? b + 1 : b);
            ++i;
            b += pair ? 2 : 1;
            continue;
        }
        if (d.code == u'\r' || d.code == u'\n') {
            // Line ends the view left out: a removed CR, or a line feed after a line
            // that had already ended.
            ++b;
            continue;
        }
        return false;
    }
    // Characters left over stand for no bytes of this span (a stamp inside the text).
    return i == n;
}

SelectionResult SelectionMapper::map(const QList<DisplaySpan> &spans, const QStringList &spanTexts,
                                     qint64 start, qint64 end, qint64 horizon)
{
    SelectionResult result;
    if (start >= end) {
        return result;
    }
    result.olderLeftOut = horizon >= 0 && start < horizon;
    QList<qint32> first;
    QList<qint32> last;
    for (qsizetype s = 0; s < spans.size(); ++s) {
        const DisplaySpan &span = spans.at(s);
        const qint64 length = span.docEnd() - span.docStart;
        if (span.bytes.isEmpty() || end <= span.docStart || start >= span.docEnd()) {
            continue;
        }
        const qint64 from = std::max<qint64>(start - span.docStart, 0);
        const qint64 to = std::min<qint64>(length, end - span.docStart);
        const QString text = s < spanTexts.size() ? spanTexts.at(s) : QString();
        const bool aligned = text.size() == length &&
                             (span.isHex ? alignHex(span, text, &first, &last)
                                         : alignText(span, text, &first, &last));
        QByteArray bytes;
        if (aligned) {
            qint32 lo = -1;
            qint32 hi = -1;
            for (qint64 k = from; k < to; ++k) {
                if (first.at(k) >= 0) {
                    lo = lo < 0 ? first.at(k) : std::min(lo, first.at(k));
                    hi = std::max(hi, last.at(k));
                }
            }
            if (lo < 0) {
                continue;
            }
            bytes = span.bytes.mid(lo, hi - lo + 1);
        } else {
            bytes = span.bytes;
            result.wholeFrames = true;
        }
        if (!result.pieces.isEmpty() && result.pieces.last().isTx == span.isTx &&
            result.pieces.last().peer == span.peer) {
            result.pieces.last().bytes += bytes;
        } else {
            result.pieces.append({span.isTx, span.peer, bytes, span.timeUs});
        }
    }
    return result;
}
