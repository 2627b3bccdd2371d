#include "recording/sessionexport.h"

#include "recording/exporttext.h"
#include "recording/sessionexportwriter.h"
#include "session/selectionmapper.h"

#include <QBuffer>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

bool writeAll(SessionExport::Format format, QIODevice *device,
              const QList<SessionExport::Source> &sources, const SessionExport::Options &options)
{
    SessionExportWriter writer(format, device, sources, options);
    return writer.run();
}

QByteArray toBytes(SessionExport::Format format, const QList<SessionExport::Source> &sources,
                   const SessionExport::Options &options)
{
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    writeAll(format, &buffer, sources, options);
    return out;
}

} // namespace

bool SessionExport::writeText(QIODevice *device, const QList<Source> &sources,
                              const Options &options)
{
    return writeAll(Format::Text, device, sources, options);
}

bool SessionExport::writeCsv(QIODevice *device, const QList<Source> &sources, const Options &options)
{
    return writeAll(Format::Csv, device, sources, options);
}

bool SessionExport::writeJsonl(QIODevice *device, const QList<Source> &sources,
                               const Options &options)
{
    return writeAll(Format::Jsonl, device, sources, options);
}

QByteArray SessionExport::toText(const QList<Source> &sources, const Options &options)
{
    return toBytes(Format::Text, sources, options);
}

QByteArray SessionExport::toCsv(const QList<Source> &sources, const Options &options)
{
    return toBytes(Format::Csv, sources, options);
}

QByteArray SessionExport::toJsonl(const QList<Source> &sources, const Options &options)
{
    return toBytes(Format::Jsonl, sources, options);
}

QByteArray SessionExport::jsonString(const QString &text)
{
    // Printable ASCII without quote or backslash is written as it is; everything else
    // goes through QJsonDocument, whose escapes are the reference.
    const bool plain = std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        const char16_t u = c.unicode();
        return u >= 0x20 && u < 0x7F && u != u'"' && u != u'\\';
    });
    if (plain) {
        QByteArray out;
        out.reserve(text.size() + 2);
        out.append('"').append(text.toLatin1()).append('"');
        return out;
    }
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

QByteArray SessionExport::jsonlEvent(const SessionEvent &event, const QString &portId)
{
    QByteArray out;
    ExportText::appendEventJson(out, event, jsonString(portId),
                                event.peer.isEmpty() ? QByteArray() : jsonString(event.peer));
    return out;
}

QByteArray SessionExport::portJson(const PortInfo &info, qint64 omitted, qint64 dropped)
{
    QByteArray out = "{\"id\":" + jsonString(info.id) + ",\"label\":" + jsonString(info.label) +
                     ",\"mode\":" + jsonString(info.mode) +
                     ",\"settings\":" + jsonString(info.settings);
    const auto optional = [&out](const char *key, const QString &value) {
        if (!value.isEmpty()) {
            out += ",\"" + QByteArray(key) + "\":" + jsonString(value);
        }
    };
    optional("rxEncoding", info.rxEncoding);
    optional("txEncoding", info.txEncoding);
    optional("rxFormat", info.rxFormat);
    optional("txFormat", info.txFormat);
    if (omitted > 0) {
        out += ",\"omitted\":" + QByteArray::number(omitted);
    }
    if (dropped > 0) {
        out += ",\"dropped\":" + QByteArray::number(dropped);
    }
    out += '}';
    return out;
}

QByteArray SessionExport::headerJson(const QList<PortInfo> &ports, const Options &options)
{
    QByteArrayList objects;
    for (const PortInfo &info : ports) {
        objects.append(portJson(info, info.omitted, info.dropped));
    }
    return "{\"type\":\"header\",\"format\":\"vlm-session\",\"version\":1,\"app\":\"Velmora\","
           "\"appVersion\":" +
           jsonString(options.appVersion) + ",\"ports\":[" + objects.join(',') +
           "],\"exportedAt\":" + QByteArray::number(options.exportedAtUs) +
           ",\"truncated\":" + (options.truncated ? "true" : "false") + '}';
}

QByteArray SessionExport::hexCompact(QByteArrayView bytes)
{
    QByteArray out;
    ExportText::appendHex(out, bytes, false);
    return out;
}

QByteArray SessionExport::hexSpaced(QByteArrayView bytes)
{
    QByteArray out;
    ExportText::appendHex(out, bytes, true);
    return out;
}

QString SessionExport::formatTime(qint64 us, const QTimeZone &zone)
{
    ExportText::TimeFormatter formatter(zone);
    QByteArray out;
    formatter.append(out, us);
    return QString::fromLatin1(out);
}

QString SessionExport::escapeText(QByteArrayView bytes)
{
    QByteArray out;
    ExportText::appendEscaped(out, bytes);
    return QString::fromLatin1(out);
}

QString SessionExport::toHexDump(QByteArrayView bytes, qint64 startOffset)
{
    static constexpr char Digits[] = "0123456789ABCDEF";
    QByteArray out;
    out.reserve((bytes.size() / 16 + 1) * 78);
    for (qsizetype line = 0; line < bytes.size(); line += 16) {
        out += QByteArray::number(startOffset + line, 16).toUpper().rightJustified(8, '0');
        out += "  ";
        const QByteArrayView row = bytes.sliced(line, std::min<qsizetype>(16, bytes.size() - line));
        for (qsizetype i = 0; i < 16; ++i) {
            if (i < row.size()) {
                const auto byte = quint8(row[i]);
                out += Digits[byte >> 4];
                out += Digits[byte & 15];
                out += ' ';
            } else {
                out += "   ";
            }
        }
        out += " |";
        for (const char c : row) {
            out += (quint8(c) >= 32 && quint8(c) <= 126) ? c : '.';
        }
        out += "|\n";
    }
    return QString::fromLatin1(out);
}

QString SessionExport::csvField(const QString &text, bool neutralize)
{
    QString out = text;
    if (neutralize && !out.isEmpty()) {
        const QChar first = out.front();
        // Unlike the frames export, a leading CR is left alone here: the cell is quoted
        // for it anyway, and a spreadsheet does not read a formula after a line break.
        if (first == u'\t' || first == u'+' || first == u'-' || first == u'=' || first == u'@') {
            out.prepend(u'\'');
        }
    }
    if (out.contains(u',') || out.contains(u'"') || out.contains(u'\r') || out.contains(u'\n')) {
        out.replace(u'"', QStringLiteral("\"\""));
        out = u'"' + out + u'"';
    }
    return out;
}

QString SessionExport::cIdentifier(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const bool word = (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') ||
                          (u >= u'0' && u <= u'9') || u == u'_';
        if (word) {
            out += c;
        } else if (!out.isEmpty() && !out.endsWith(u'_')) {
            out += u'_';
        }
    }
    while (out.endsWith(u'_') && out.size() > 1) {
        out.chop(1);
    }
    if (out.isEmpty() || out == QStringLiteral("_")) {
        return QStringLiteral("vlm_data");
    }
    if (out.front().isDigit()) {
        out.prepend(QStringLiteral("n_"));
    }
    // A keyword cannot name an array.
    static const QStringList keywords{
        "auto", "break", "case", "char", "const", "continue", "default", "do", "double",
        "else", "enum", "extern", "float", "for", "goto", "if", "inline", "int", "long",
        "register", "restrict", "return", "short", "signed", "sizeof", "static", "struct",
        "switch", "typedef", "union", "unsigned", "void", "volatile", "while", "bool",
        "true", "false", "class", "new", "delete", "this", "template", "namespace"};
    if (keywords.contains(out)) {
        out += QStringLiteral("_data");
    }
    return out;
}

QString SessionExport::toCArray(QByteArrayView bytes, const CArrayOptions &options)
{
    const QString name = cIdentifier(options.name);
    const QString storage = options.staticStorage ? QStringLiteral("static ") : QString();
    QString out;
    if (options.includeHeaderLine) {
        out += QStringLiteral("#include <stdint.h>\n\n");
    }
    if (!options.comment.isEmpty()) {
        QString comment = options.comment;
        comment.replace(QStringLiteral("*/"), QStringLiteral("* /"));
        comment.replace(u'\n', u' ');
        comment.replace(u'\r', u' ');
        out += QStringLiteral("/* %1 */\n").arg(comment);
    }
    if (bytes.isEmpty()) {
        return out + QStringLiteral("%1const uint8_t %2[1] = {0}; /* no data: the selection "
                                    "holds 0 bytes */\n")
                         .arg(storage, name);
    }
    out += QStringLiteral("%1const uint8_t %2[%3] = {\n").arg(storage, name).arg(bytes.size());
    static constexpr char Digits[] = "0123456789ABCDEF";
    const qsizetype perLine = std::clamp(options.bytesPerLine, 1, 64);
    QByteArray rows;
    rows.reserve(bytes.size() * 6 + bytes.size() / perLine * 6);
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (i % perLine == 0) {
            rows += "    ";
        }
        const auto byte = quint8(bytes[i]);
        rows += "0x";
        rows += Digits[byte >> 4];
        rows += Digits[byte & 15];
        if (i + 1 == bytes.size()) {
            rows += '\n';
        } else if ((i + 1) % perLine == 0) {
            rows += ",\n";
        } else {
            rows += ", ";
        }
    }
    out += QString::fromLatin1(rows);
    out += QStringLiteral("};");
    if (options.sizeComment) {
        out += QStringLiteral(" /* sizeof(%1) == %2 */").arg(name).arg(bytes.size());
    }
    out += u'\n';
    if (options.lengthDefine) {
        out += QStringLiteral("#define %1_LEN %2\n").arg(name.toUpper()).arg(bytes.size());
    }
    return out;
}

QString SessionExport::selectionComment(const QList<SelectionPiece> &pieces, const QString &source,
                                        const QTimeZone &zone)
{
    qint64 rx = 0;
    qint64 tx = 0;
    qint64 first = 0;
    qint64 last = 0;
    bool timed = false;
    for (const SelectionPiece &piece : pieces) {
        (piece.isTx ? tx : rx) += piece.bytes.size();
        if (piece.timeUs > 0) {
            first = timed ? std::min(first, piece.timeUs) : piece.timeUs;
            last = timed ? std::max(last, piece.timeUs) : piece.timeUs;
            timed = true;
        }
    }
    QString what;
    if (tx == 0) {
        what = QStringLiteral("%1 bytes received").arg(rx);
    } else if (rx == 0) {
        what = QStringLiteral("%1 bytes sent").arg(tx);
    } else {
        what = QStringLiteral("%1 bytes (%2 received, %3 sent)").arg(rx + tx).arg(rx).arg(tx);
    }
    QString text = source.isEmpty() ? what : source + QStringLiteral(": ") + what;
    if (timed) {
        text += QStringLiteral(", ") + formatTime(first, zone);
        if (last != first) {
            text += QStringLiteral(" to ") + formatTime(last, zone);
        }
    }
    return text;
}
