#include "recording/exporttext.h"

#include "recording/sessionexport.h"

#include <QDateTime>

#include <cstring>

namespace {

constexpr char Digits[] = "0123456789ABCDEF";

// Floor division: the millisecond and second of a time before the epoch lie before it.
qint64 floorDiv(qint64 value, qint64 by)
{
    qint64 q = value / by;
    if (value % by < 0) {
        --q;
    }
    return q;
}

} // namespace

namespace ExportText {

void appendHex(QByteArray &out, QByteArrayView bytes, bool spaced)
{
    if (bytes.isEmpty()) {
        return;
    }
    const qsizetype start = out.size();
    const qsizetype length = spaced ? bytes.size() * 3 - 1 : bytes.size() * 2;
    out.resize(start + length);
    char *p = out.data() + start;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto byte = quint8(bytes[i]);
        if (spaced && i > 0) {
            *p++ = ' ';
        }
        *p++ = Digits[byte >> 4];
        *p++ = Digits[byte & 15];
    }
}

void appendEscaped(QByteArray &out, QByteArrayView bytes)
{
    // At most four characters a byte; written through a pointer, then cut to size.
    const qsizetype start = out.size();
    out.resize(start + bytes.size() * 4);
    char *p = out.data() + start;
    for (const char c : bytes) {
        const auto byte = quint8(c);
        if (byte >= 32 && byte <= 126 && byte != '\\') {
            *p++ = c;
            continue;
        }
        *p++ = '\\';
        switch (byte) {
        case '\r':
            *p++ = 'r';
            break;
        case '\n':
            *p++ = 'n';
            break;
        case '\t':
            *p++ = 't';
            break;
        case '\\':
            *p++ = '\\';
            break;
        default:
            *p++ = 'x';
            *p++ = Digits[byte >> 4];
            *p++ = Digits[byte & 15];
        }
    }
    out.resize(p - out.constData());
}

void appendCsvAscii(QByteArray &out, QByteArrayView text, bool neutralize)
{
    const bool guard = neutralize && !text.isEmpty() &&
                       (text[0] == '\t' || text[0] == '+' || text[0] == '-' || text[0] == '=' ||
                        text[0] == '@');
    qsizetype quotes = 0;
    bool quote = false;
    for (const char c : text) {
        quotes += c == '"';
        quote = quote || c == ',' || c == '"' || c == '\r' || c == '\n';
    }
    const qsizetype start = out.size();
    out.resize(start + text.size() + quotes + (quote ? 2 : 0) + (guard ? 1 : 0));
    char *p = out.data() + start;
    if (quote) {
        *p++ = '"';
    }
    if (guard) {
        *p++ = '\'';
    }
    if (quotes == 0) {
        std::memcpy(p, text.data(), size_t(text.size()));
        p += text.size();
    } else {
        for (const char c : text) {
            if (c == '"') {
                *p++ = '"';
            }
            *p++ = c;
        }
    }
    if (quote) {
        *p++ = '"';
    }
}

void appendEventJson(QByteArray &out, const SessionEvent &event, const QByteArray &portJson,
                     const QByteArray &peerJson)
{
    out += "{\"t\":";
    out += QByteArray::number(event.t);
    out += ",\"port\":";
    out += portJson;
    switch (event.kind) {
    case SessionEvent::Tx:
        out += ",\"dir\":\"tx\"";
        break;
    case SessionEvent::Note:
        out += ",\"dir\":\"note\"";
        break;
    default:
        out += ",\"dir\":\"rx\"";
    }
    if (!peerJson.isEmpty()) {
        out += ",\"peer\":";
        out += peerJson;
    }
    if (event.kind == SessionEvent::Note) {
        out += ",\"text\":";
        out += SessionExport::jsonString(event.text);
    } else {
        out += ",\"hex\":\"";
        appendHex(out, event.bytes, false);
        out += '"';
    }
    out += '}';
}

TimeFormatter::TimeFormatter(const QTimeZone &zone)
    : zone(zone.isValid() ? zone : QTimeZone::systemTimeZone())
{}

void TimeFormatter::append(QByteArray &out, qint64 us)
{
    const qint64 ms = floorDiv(us, 1000);
    const qint64 sec = floorDiv(ms, 1000);
    if (!cached || sec != second) {
        // Within one second of UTC the zone's offset cannot change.
        prefix = QDateTime::fromMSecsSinceEpoch(sec * 1000, zone)
                     .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                     .toLatin1();
        second = sec;
        cached = true;
    }
    const int milli = int(ms - sec * 1000);
    const char tail[4] = {'.', char('0' + milli / 100), char('0' + milli / 10 % 10),
                          char('0' + milli % 10)};
    out += prefix;
    out.append(tail, 4);
}

} // namespace ExportText
