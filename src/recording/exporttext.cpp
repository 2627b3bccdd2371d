#include "recording/exporttext.h"

#include "recording/sessionexport.h"

#include <QDateTime>

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
    out.reserve(out.size() + bytes.size() + 16);
    for (const char c : bytes) {
        const auto byte = quint8(c);
        switch (byte) {
        case '\r':
            out += "\\r";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            if (byte >= 32 && byte <= 126) {
                out += c;
            } else {
                const char escape[4] = {'\\', 'x', Digits[byte >> 4], Digits[byte & 15]};
                out.append(escape, 4);
            }
        }
    }
}

void appendCsvAscii(QByteArray &out, QByteArrayView text, bool neutralize)
{
    const bool guard = neutralize && !text.isEmpty() &&
                       (text[0] == '\t' || text[0] == '+' || text[0] == '-' || text[0] == '=' ||
                        text[0] == '@');
    bool quote = false;
    for (const char c : text) {
        if (c == ',' || c == '"' || c == '\r' || c == '\n') {
            quote = true;
            break;
        }
    }
    if (!quote) {
        if (guard) {
            out += '\'';
        }
        out += text;
        return;
    }
    out += '"';
    if (guard) {
        out += '\'';
    }
    for (const char c : text) {
        if (c == '"') {
            out += '"';
        }
        out += c;
    }
    out += '"';
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
