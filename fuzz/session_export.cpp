// Writes the events the input describes (ports with any label and id, peers, bytes,
// notes, any times) as JSON Lines, CSV and text, and reads the files back: every JSON
// line is an object that gives back the event (time, port, direction, peer, bytes or
// text), as Python's json would read it; every CSV row has eight cells after a
// standard CSV parse, the hex cell gives back the bytes, the escaped text cell gives
// them back too, and no text cell starts like a formula; the text export has one line
// per event. The quick path of jsonString agrees with QJsonDocument.

#include "recording/sessionexport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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

QString anyText(FuzzedDataProvider &input, size_t length)
{
    const std::string raw = input.ConsumeRandomLengthString(length);
    return input.ConsumeBool() ? QString::fromUtf8(raw.data(), qsizetype(raw.size()))
                               : QString::fromLatin1(raw.data(), qsizetype(raw.size()));
}

// RFC 4180 records: quoted cells may hold commas, quotes (doubled) and line breaks.
QList<QStringList> parseCsv(const QString &text)
{
    QList<QStringList> rows;
    QStringList row;
    QString cell;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (quoted) {
            if (c == u'"' && i + 1 < text.size() && text.at(i + 1) == u'"') {
                cell += u'"';
                ++i;
            } else if (c == u'"') {
                quoted = false;
            } else {
                cell += c;
            }
        } else if (c == u'"') {
            check(cell.isEmpty(), "a quote opens a cell");
            quoted = true;
        } else if (c == u',') {
            row.append(cell);
            cell.clear();
        } else if (c == u'\r' && i + 1 < text.size() && text.at(i + 1) == u'\n') {
            row.append(cell);
            rows.append(row);
            row.clear();
            cell.clear();
            ++i;
        } else {
            check(c != u'\r' && c != u'\n', "line breaks only inside quotes or as CR LF");
            cell += c;
        }
    }
    check(!quoted && row.isEmpty() && cell.isEmpty(), "the file ends with a whole row");
    return rows;
}

QByteArray unescape(const QString &text)
{
    QByteArray out;
    const QByteArray latin = text.toLatin1();
    for (qsizetype i = 0; i < latin.size(); ++i) {
        if (latin[i] != '\\') {
            out += latin[i];
            continue;
        }
        check(i + 1 < latin.size(), "an escape is complete");
        const char next = latin[++i];
        if (next == 'x') {
            check(i + 2 < latin.size(), "a \\x escape has two digits");
            out += char(latin.mid(i + 1, 2).toInt(nullptr, 16));
            i += 2;
        } else {
            out += next == 'r' ? '\r' : next == 'n' ? '\n' : next == 't' ? '\t' : next;
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    QList<SessionExport::Source> sources(input.ConsumeIntegralInRange(1, 3));
    for (SessionExport::Source &source : sources) {
        source.info.id = anyText(input, 8);
        source.info.label = anyText(input, 12);
        source.info.rxEncoding = input.ConsumeBool() ? QStringLiteral("GBK") : QString();
    }
    const QStringList peers{QString(), anyText(input, 10), QStringLiteral("10.0.0.1:502")};
    const int events = input.ConsumeIntegralInRange(0, 40);
    for (int i = 0; i < events && input.remaining_bytes() > 0; ++i) {
        SessionEvent event;
        event.kind = input.ConsumeIntegralInRange<quint8>(0, 2);
        event.t = input.ConsumeBool() ? input.ConsumeIntegral<qint64>()
                                      : input.ConsumeIntegralInRange<qint64>(0, 4102444800000000);
        event.peer = peers.at(input.ConsumeIntegralInRange(0, 2));
        if (event.kind == SessionEvent::Note) {
            event.text = anyText(input, 60);
        } else {
            event.bytes = QByteArray::fromStdString(input.ConsumeRandomLengthString(80));
        }
        sources[input.ConsumeIntegralInRange<qsizetype>(0, sources.size() - 1)].events.append(event);
    }
    SessionExport::Options options;
    options.timeZone = input.ConsumeBool() ? QTimeZone::utc() : QTimeZone(3600 * 5 + 1800);
    options.appVersion = anyText(input, 6);
    options.textColumn = input.ConsumeIntegralInRange(0, 1);
    options.dataAs = input.ConsumeIntegralInRange(0, 1);

    // The merged order the writers promise.
    QList<std::pair<qsizetype, SessionEvent>> merged;
    for (qsizetype s = 0; s < sources.size(); ++s) {
        for (const SessionEvent &event : std::as_const(sources.at(s).events)) {
            merged.append({s, event});
        }
    }
    std::stable_sort(merged.begin(), merged.end(),
                     [](const auto &a, const auto &b) { return a.second.t < b.second.t; });

    // JSON Lines.
    const QList<QByteArray> lines = SessionExport::toJsonl(sources, options).split('\n');
    check(lines.size() == merged.size() + 2 && lines.last().isEmpty(), "one line per event");
    check(QJsonDocument::fromJson(lines.first()).object().value("type") == "header", "header");
    for (qsizetype i = 0; i < merged.size(); ++i) {
        const auto &[s, event] = merged.at(i);
        QJsonParseError error;
        const QJsonObject row = QJsonDocument::fromJson(lines.at(i + 1), &error).object();
        check(error.error == QJsonParseError::NoError, "every line is JSON");
        check(row.value("t").toVariant().toLongLong() == event.t ||
                  qAbs(row.value("t").toDouble() - double(event.t)) <= qAbs(double(event.t)) * 1e-15,
              "time");
        check(row.value("port").toString() == sources.at(s).info.id.toUtf8(), "port id");
        check(row.value("peer").toString() == event.peer.toUtf8(), "peer");
        if (event.kind == SessionEvent::Note) {
            check(row.value("text").toString() == QString::fromUtf8(event.text.toUtf8()), "text");
        } else {
            check(QByteArray::fromHex(row.value("hex").toString().toLatin1()) == event.bytes,
                  "bytes");
        }
    }

    // CSV.
    const QByteArray csv = SessionExport::toCsv(sources, options);
    check(csv.startsWith("\xEF\xBB\xBF"), "byte order mark");
    const QList<QStringList> rows = parseCsv(QString::fromUtf8(csv.mid(3)));
    check(rows.size() == merged.size() + 1, "one row per event");
    for (qsizetype i = 0; i < merged.size(); ++i) {
        const QStringList &row = rows.at(i + 1);
        const SessionEvent &event = merged.at(i).second;
        check(row.size() == 8, "eight cells");
        check(row.at(1).toLongLong() == event.t, "t_us");
        for (const int column : {2, 4, 7}) {
            const QString &cell = row.at(column);
            check(cell.isEmpty() || !QStringLiteral("=+-@\t").contains(cell.front()),
                  "no text cell starts like a formula");
        }
        if (event.kind != SessionEvent::Note) {
            check(QByteArray::fromHex(row.at(6).toLatin1()) == event.bytes, "hex cell");
            if (options.textColumn == 0) {
                // The guard goes before bytes that start like a formula, and only there.
                QString text = row.at(7);
                const bool guarded = !event.bytes.isEmpty() &&
                                     QByteArrayLiteral("=+-@").contains(event.bytes.front());
                check(!guarded || text.startsWith(u'\''), "guarded");
                text.remove(0, guarded ? 1 : 0);
                check(unescape(text) == event.bytes, "escaped text gives back the bytes");
            }
        }
    }

    // Text: a header of four lines, then one line per event.
    const QByteArray text = SessionExport::toText(sources, options);
    check(text.count('\n') == merged.size() + 4, "one line per event");

    // jsonString's quick path.
    const QString any = anyText(input, 40);
    const QByteArray array = QJsonDocument(QJsonArray{any}).toJson(QJsonDocument::Compact);
    check(SessionExport::jsonString(any) == array.mid(1, array.size() - 2), "jsonString");
    return 0;
}
