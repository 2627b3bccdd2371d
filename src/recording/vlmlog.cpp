#include "recording/vlmlog.h"

#include "recording/exporttext.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstring>

namespace Vlmlog {

namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

void appendOptional(QByteArray &out, const char *key, const QString &value)
{
    if (!value.isEmpty()) {
        out += ",\"";
        out += key;
        out += "\":";
        out += SessionExport::jsonString(value);
    }
}

QByteArray bookmarkBody(const ReplayBookmark &bookmark)
{
    QByteArray out;
    appendOptional(out, "port", bookmark.port);
    appendOptional(out, "name", bookmark.name);
    appendOptional(out, "note", bookmark.note);
    return out;
}

// A JSON integer in the range of times.
bool timeOf(const QJsonValue &value, qint64 *out)
{
    if (!value.isDouble()) {
        return false;
    }
    const qint64 n = value.toInteger(-1);
    if (n < 0 || n > MaxTime) {
        return false;
    }
    *out = n;
    return true;
}

bool optionalString(const QJsonObject &object, const char *key, QString *out)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined()) {
        return true;
    }
    if (!value.isString()) {
        return false;
    }
    *out = value.toString();
    return true;
}

bool portFromJson(const QJsonObject &object, SessionExport::PortInfo *info)
{
    const QJsonValue id = object.value(QLatin1String("id"));
    if (!id.isString()) {
        return false;
    }
    info->id = id.toString();
    info->label = object.value(QLatin1String("label")).toString();
    info->mode = object.value(QLatin1String("mode")).toString();
    info->settings = object.value(QLatin1String("settings")).toString();
    info->rxEncoding = object.value(QLatin1String("rxEncoding")).toString();
    info->txEncoding = object.value(QLatin1String("txEncoding")).toString();
    info->rxFormat = object.value(QLatin1String("rxFormat")).toString();
    info->txFormat = object.value(QLatin1String("txFormat")).toString();
    return true;
}

bool bookmarkFromJson(const QJsonObject &object, ReplayBookmark *bookmark)
{
    const QJsonValue id = object.value(QLatin1String("id"));
    if (!timeOf(object.value(QLatin1String("t")), &bookmark->t) || !id.isString()) {
        return false;
    }
    bookmark->id = id.toString();
    return optionalString(object, "port", &bookmark->port) &&
           optionalString(object, "name", &bookmark->name) &&
           optionalString(object, "note", &bookmark->note);
}

ParsedLine invalid()
{
    ParsedLine line;
    line.kind = ParsedLine::Invalid;
    return line;
}

ParsedLine eventFromJson(const QJsonObject &object, bool decode)
{
    ParsedLine line;
    const QJsonValue port = object.value(QLatin1String("port"));
    const QJsonValue dir = object.value(QLatin1String("dir"));
    if (!port.isString() || !dir.isString() ||
        !timeOf(object.value(QLatin1String("t")), &line.event.t) ||
        !optionalString(object, "peer", &line.event.peer)) {
        return invalid();
    }
    const QString direction = dir.toString();
    if (direction == QLatin1String("rx") || direction == QLatin1String("tx")) {
        const QJsonValue hex = object.value(QLatin1String("hex"));
        if (!hex.isString()) {
            return invalid();
        }
        const QByteArray digits = hex.toString().toLatin1();
        if (hex.toString().size() != digits.size() || !isHex(digits)) {
            return invalid();
        }
        if (decode) {
            decodeHex(digits, &line.event.bytes);
        }
        line.payloadSize = digits.size() / 2;
        line.event.kind = direction == QLatin1String("rx") ? SessionEvent::Rx : SessionEvent::Tx;
    } else if (direction == QLatin1String("note")) {
        const QJsonValue text = object.value(QLatin1String("text"));
        if (!text.isString()) {
            return invalid();
        }
        line.event.kind = SessionEvent::Note;
        line.event.text = text.toString();
        line.payloadSize = line.event.text.size();
    } else {
        return invalid();
    }
    line.kind = ParsedLine::Event;
    line.portId = port.toString();
    return line;
}

ParsedLine headerFromJson(const QJsonObject &object)
{
    ParsedLine line;
    line.kind = ParsedLine::Header;
    line.format = object.value(QLatin1String("format")).toString();
    line.version = object.value(QLatin1String("version")).toInt();
    line.appVersion = object.value(QLatin1String("appVersion")).toString();
    const QJsonArray ports = object.value(QLatin1String("ports")).toArray();
    for (const QJsonValue &value : ports) {
        SessionExport::PortInfo info;
        if (value.isObject() && portFromJson(value.toObject(), &info)) {
            line.ports.append(info);
        }
    }
    timeOf(object.value(QLatin1String("exportedAt")), &line.exportedAt);
    line.truncated = object.value(QLatin1String("truncated")).toBool();
    line.source = object.value(QLatin1String("source")).toString();
    line.isRecording = line.source == QLatin1String("recording");
    timeOf(object.value(QLatin1String("startedAt")), &line.startedAt);
    line.part = std::max(1, object.value(QLatin1String("part")).toInt(1));
    line.previous = object.value(QLatin1String("previous")).toString();
    line.timeZone = object.value(QLatin1String("timeZone")).toString();
    return line;
}

ParsedLine slowPath(QByteArrayView bytes, bool decode)
{
    QJsonParseError error;
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(bytes.data(), bytes.size()), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return {};
    }
    const QJsonObject object = document.object();
    const QJsonValue typeValue = object.value(QLatin1String("type"));
    if (typeValue.isUndefined()) {
        return eventFromJson(object, decode);
    }
    ParsedLine line;
    const QString type = typeValue.toString();
    if (type == QLatin1String("header")) {
        return headerFromJson(object);
    }
    if (type == QLatin1String("port")) {
        if (!timeOf(object.value(QLatin1String("t")), &line.t) ||
            !portFromJson(object, &line.port)) {
            return invalid();
        }
        line.kind = ParsedLine::Port;
    } else if (type == QLatin1String("bookmark")) {
        if (!bookmarkFromJson(object, &line.bookmark)) {
            return invalid();
        }
        line.t = line.bookmark.t;
        line.kind = ParsedLine::Bookmark;
    } else if (type == QLatin1String("bookmarks")) {
        const QJsonValue items = object.value(QLatin1String("items"));
        if (!items.isArray() || !timeOf(object.value(QLatin1String("savedAt")), &line.savedAt)) {
            return invalid();
        }
        const QJsonArray array = items.toArray();
        for (const QJsonValue &value : array) {
            ReplayBookmark bookmark;
            if (value.isObject() && bookmarkFromJson(value.toObject(), &bookmark)) {
                line.bookmarks.append(bookmark);
            }
        }
        line.kind = ParsedLine::Bookmarks;
    } else if (type == QLatin1String("end")) {
        if (!timeOf(object.value(QLatin1String("t")), &line.t) ||
            !optionalString(object, "reason", &line.reason) ||
            !optionalString(object, "next", &line.next)) {
            return invalid();
        }
        line.kind = ParsedLine::End;
    } else {
        line.kind = ParsedLine::Unknown;
    }
    return line;
}

// Moves `at` past `literal` when the text continues with it.
bool expect(QByteArrayView line, qsizetype &at, QByteArrayView literal)
{
    if (line.size() - at < literal.size() ||
        std::memcmp(line.data() + at, literal.data(), size_t(literal.size())) != 0) {
        return false;
    }
    at += literal.size();
    return true;
}

// A string without escapes or control characters, up to its closing quote; printable
// ASCII only, so that both paths read exactly the same characters.
bool plainString(QByteArrayView line, qsizetype &at, QByteArrayView *out)
{
    const char *data = line.data();
    const void *quote = std::memchr(data + at, '"', size_t(line.size() - at));
    if (!quote) {
        return false;
    }
    const qsizetype end = static_cast<const char *>(quote) - data;
    // Branch-free over the string, so that the compiler can run it on whole words.
    bool plain = true;
    for (qsizetype i = at; i < end; ++i) {
        const auto c = quint8(data[i]);
        plain &= (c >= 32) & (c <= 126) & (c != '\\');
    }
    if (!plain) {
        return false;
    }
    *out = line.sliced(at, end - at);
    at = end + 1;
    return true;
}

} // namespace

bool isHex(QByteArrayView hex)
{
    if (hex.size() % 2 != 0) {
        return false;
    }
    // No early exit and no table: a loop the compiler vectorises, since the hex of a
    // large event is most of what an index pass reads.
    bool ok = true;
    const char *data = hex.data();
    for (qsizetype i = 0; i < hex.size(); ++i) {
        const auto c = quint8(data[i]);
        const auto lower = quint8(c | 0x20);
        ok &= (quint8(c - '0') < 10) | (quint8(lower - 'a') < 6);
    }
    return ok;
}

bool decodeHex(QByteArrayView hex, QByteArray *out)
{
    if (hex.size() % 2 != 0) {
        return false;
    }
    out->resize(hex.size() / 2);
    char *dst = out->data();
    const char *src = hex.data();
    for (qsizetype i = 0; i < hex.size(); i += 2) {
        const int high = hexValue(src[i]);
        const int low = hexValue(src[i + 1]);
        if ((high | low) < 0) {
            out->clear();
            return false;
        }
        *dst++ = char((high << 4) | low);
    }
    return true;
}

void decodeValidHex(QByteArrayView hex, QByteArray *out)
{
    out->resize(hex.size() / 2);
    char *dst = out->data();
    const auto *src = reinterpret_cast<const quint8 *>(hex.data());
    // A digit's low four bits, plus 9 for a letter (bit 6 set): no branch, no table.
    for (qsizetype i = 0; i < hex.size() / 2; ++i) {
        const quint8 high = quint8((src[2 * i] & 0x0F) + (src[2 * i] >> 6) * 9);
        const quint8 low = quint8((src[2 * i + 1] & 0x0F) + (src[2 * i + 1] >> 6) * 9);
        dst[i] = char((high << 4) | low);
    }
}

bool scanEvent(QByteArrayView line, EventView *view)
{
    qsizetype at = 0;
    if (!expect(line, at, "{\"t\":")) {
        return false;
    }
    // Digits only, no leading zero (not JSON), no more than a time can hold.
    const qsizetype digitsAt = at;
    qint64 t = 0;
    while (at < line.size() && line[at] >= '0' && line[at] <= '9') {
        t = t * 10 + (line[at] - '0');
        ++at;
        if (at - digitsAt > 16 || t > MaxTime) {
            return false;
        }
    }
    const qsizetype digits = at - digitsAt;
    if (digits == 0 || (digits > 1 && line[digitsAt] == '0')) {
        return false;
    }
    QByteArrayView dir;
    if (!expect(line, at, ",\"port\":\"") || !plainString(line, at, &view->port) ||
        !expect(line, at, ",\"dir\":\"") || !plainString(line, at, &dir)) {
        return false;
    }
    if (dir == "rx") {
        view->kind = SessionEvent::Rx;
    } else if (dir == "tx") {
        view->kind = SessionEvent::Tx;
    } else {
        return false;
    }
    view->peer = {};
    if (expect(line, at, ",\"peer\":\"") && !plainString(line, at, &view->peer)) {
        return false;
    }
    if (!expect(line, at, ",\"hex\":\"")) {
        return false;
    }
    const qsizetype hexAt = at;
    // The line must end in the closing quote and brace; what lies between is the hex.
    if (line.size() - hexAt < 2 || line[line.size() - 1] != '}' || line[line.size() - 2] != '"') {
        return false;
    }
    view->hex = line.sliced(hexAt, line.size() - 2 - hexAt);
    view->t = t;
    return isHex(view->hex);
}

QByteArray portObject(const SessionExport::PortInfo &info)
{
    return SessionExport::portJson(info, 0, 0);
}

QByteArray headerLine(const RecordingHeader &header)
{
    QByteArrayList objects;
    for (const SessionExport::PortInfo &info : header.ports) {
        objects.append(portObject(info));
    }
    const QByteArray started = QByteArray::number(header.startedAt);
    QByteArray out = "{\"type\":\"header\",\"format\":\"vlm-session\",\"version\":1,"
                     "\"app\":\"Velmora\",\"appVersion\":" +
                     SessionExport::jsonString(header.appVersion) + ",\"ports\":[" +
                     objects.join(',') + "],\"exportedAt\":" + started +
                     ",\"truncated\":false,\"source\":\"recording\",\"startedAt\":" + started +
                     ",\"part\":" + QByteArray::number(header.part) +
                     ",\"timeZone\":" + SessionExport::jsonString(header.timeZone);
    if (header.part > 1) {
        out += ",\"previous\":" + SessionExport::jsonString(header.previous);
    }
    out += '}';
    return out;
}

QByteArray portLine(const SessionExport::PortInfo &info, qint64 t)
{
    return "{\"type\":\"port\",\"t\":" + QByteArray::number(t) + ',' + portObject(info).mid(1);
}

QByteArray eventLine(const SessionEvent &event, const QString &portId)
{
    return SessionExport::jsonlEvent(event, portId);
}

QByteArray bookmarkLine(const ReplayBookmark &bookmark)
{
    return "{\"type\":\"bookmark\",\"t\":" + QByteArray::number(bookmark.t) +
           ",\"id\":" + SessionExport::jsonString(bookmark.id) + bookmarkBody(bookmark) + '}';
}

QByteArray bookmarksLine(const QList<ReplayBookmark> &list, qint64 savedAt)
{
    QByteArrayList items;
    for (const ReplayBookmark &bookmark : list) {
        items.append("{\"id\":" + SessionExport::jsonString(bookmark.id) +
                     ",\"t\":" + QByteArray::number(bookmark.t) + bookmarkBody(bookmark) + '}');
    }
    return "{\"type\":\"bookmarks\",\"savedAt\":" + QByteArray::number(savedAt) + ",\"items\":[" +
           items.join(',') + "]}";
}

QByteArray endLine(qint64 t, const QString &reason, const QString &next)
{
    QByteArray out = "{\"type\":\"end\",\"t\":" + QByteArray::number(t) +
                     ",\"reason\":" + SessionExport::jsonString(reason);
    if (!next.isEmpty()) {
        out += ",\"next\":" + SessionExport::jsonString(next);
    }
    out += '}';
    return out;
}

ParsedLine parseLine(QByteArrayView bytes, bool decode)
{
    EventView view;
    if (scanEvent(bytes, &view)) {
        ParsedLine line;
        if (decode) {
            decodeValidHex(view.hex, &line.event.bytes);
        }
        line.kind = ParsedLine::Event;
        line.event.t = view.t;
        line.event.kind = view.kind;
        line.event.peer = QString::fromLatin1(view.peer);
        line.portId = QString::fromLatin1(view.port);
        line.payloadSize = view.hex.size() / 2;
        return line;
    }
    return slowPath(bytes, decode);
}

ParsedLine parseLineSlowForTest(QByteArrayView bytes, bool decode)
{
    return slowPath(bytes, decode);
}

} // namespace Vlmlog
