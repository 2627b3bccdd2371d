#include "recording/sessionexportwriter.h"

#include "recording/exporttext.h"
#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"

#include <QIODevice>

#include <algorithm>
#include <array>
#include <vector>

namespace {

// Output is handed to the device whenever it passes this size.
constexpr qsizetype FlushAt = 65535;

struct Row
{
    qint64 t = 0;
    quint32 source = 0;
    quint32 index = 0;
};

// The text export keeps one record to a line, whatever a label, peer or note holds.
QString oneLine(QString text)
{
    text.replace(u'\r', QStringLiteral("\\r"));
    text.replace(u'\n', QStringLiteral("\\n"));
    return text;
}

const char *directionWord(quint8 kind)
{
    switch (kind) {
    case SessionEvent::Tx:
        return "tx";
    case SessionEvent::Note:
        return "note";
    default:
        return "rx";
    }
}

} // namespace

struct SessionExportWriter::Private
{
    SessionExport::Format format = SessionExport::Format::Text;
    QIODevice *device = nullptr;
    QList<SessionExport::Source> sources;
    SessionExport::Options options;
    std::vector<Row> rows;
    size_t next = 0;
    bool started = false;
    bool finished = false;
    bool failed = false;
    QString error;
    QByteArray buffer;
    QByteArray scratch; // an escaped text cell, its capacity kept between rows
    qint64 written = 0;
    ExportText::TimeFormatter time;

    // Per source: the label as a CSV cell and as text, the id as a JSON string.
    QList<QByteArray> labelCells;
    QList<QByteArray> labelTexts;
    QList<QByteArray> portIds;
    // Peers are shared strings, and a port talks to few of them in a row.
    QString lastPeer;
    QByteArray lastPeerOut;
    bool peerCached = false;
    // The CSV's decoded text column: one decoder per source and direction, so that a
    // character split between two events comes out whole.
    std::vector<std::array<WireTextDecoderPtr, 2>> decoders;

    explicit Private(const QTimeZone &zone)
        : time(zone)
    {}

    void writeHeader();
    void writeRow(const SessionEvent &event, quint32 source);
    void flush(bool all);
    const QByteArray &peerOut(const QString &peer);
};

SessionExportWriter::SessionExportWriter(SessionExport::Format format, QIODevice *device,
                                         QList<SessionExport::Source> sources,
                                         SessionExport::Options options)
    : d(std::make_unique<Private>(options.timeZone))
{
    d->format = format;
    d->device = device;
    d->sources = std::move(sources);
    d->options = std::move(options);

    qsizetype total = 0;
    for (const SessionExport::Source &source : std::as_const(d->sources)) {
        total += source.events.size();
    }
    d->rows.reserve(size_t(total));
    for (qsizetype s = 0; s < d->sources.size(); ++s) {
        const QList<SessionEvent> &events = d->sources.at(s).events;
        for (qsizetype i = 0; i < events.size(); ++i) {
            d->rows.push_back({events.at(i).t, quint32(s), quint32(i)});
        }
    }
    // Stable: at equal times a port keeps its order, and earlier sources come first.
    const auto byTime = [](const Row &a, const Row &b) { return a.t < b.t; };
    if (!std::is_sorted(d->rows.begin(), d->rows.end(), byTime)) {
        std::stable_sort(d->rows.begin(), d->rows.end(), byTime);
    }

    for (const SessionExport::Source &source : std::as_const(d->sources)) {
        d->labelCells.append(SessionExport::csvField(source.info.label, true).toUtf8());
        d->labelTexts.append(oneLine(source.info.label).toUtf8());
        d->portIds.append(SessionExport::jsonString(source.info.id));
    }
    if (d->format == SessionExport::Format::Csv && d->options.textColumn == 1) {
        d->decoders.resize(size_t(d->sources.size()));
        for (qsizetype s = 0; s < d->sources.size(); ++s) {
            const SessionExport::PortInfo &info = d->sources.at(s).info;
            d->decoders[size_t(s)][0] = WireTextCodecRegistry::createDecoder(info.rxEncoding);
            d->decoders[size_t(s)][1] = WireTextCodecRegistry::createDecoder(info.txEncoding);
        }
    }
}

SessionExportWriter::~SessionExportWriter() = default;

bool SessionExportWriter::step(qsizetype rows)
{
    if (d->failed) {
        return false;
    }
    if (d->finished) {
        return true;
    }
    if (!d->device || !d->device->isWritable()) {
        d->failed = true;
        d->error = d->device ? d->device->errorString() : QString();
        return false;
    }
    if (!d->started) {
        d->started = true;
        if (!d->options.rowsOnly) {
            d->writeHeader();
        }
    }
    for (qsizetype n = 0; n < rows && d->next < d->rows.size() && !d->failed; ++n) {
        const Row &row = d->rows[d->next++];
        d->writeRow(d->sources.at(row.source).events.at(row.index), row.source);
        if (d->buffer.size() > FlushAt) {
            d->flush(true);
        }
    }
    if (!d->failed && d->next == d->rows.size()) {
        d->flush(true);
        d->finished = !d->failed;
    }
    return !d->failed;
}

bool SessionExportWriter::run()
{
    while (!atEnd()) {
        step(4096);
    }
    return !d->failed;
}

bool SessionExportWriter::atEnd() const
{
    return d->finished || d->failed;
}

bool SessionExportWriter::failed() const
{
    return d->failed;
}

QString SessionExportWriter::errorString() const
{
    return d->error;
}

qsizetype SessionExportWriter::rowsDone() const
{
    return qsizetype(d->next);
}

qsizetype SessionExportWriter::rowsTotal() const
{
    return qsizetype(d->rows.size());
}

qint64 SessionExportWriter::bytesWritten() const
{
    return d->written;
}

void SessionExportWriter::Private::flush(bool all)
{
    if (buffer.isEmpty() || (!all && buffer.size() <= FlushAt)) {
        return;
    }
    const qint64 count = device->write(buffer);
    if (count != buffer.size()) {
        failed = true;
        error = device->errorString();
        return;
    }
    written += count;
    buffer.clear();
}

const QByteArray &SessionExportWriter::Private::peerOut(const QString &peer)
{
    if (peerCached && peer == lastPeer) {
        return lastPeerOut;
    }
    lastPeer = peer;
    peerCached = true;
    switch (format) {
    case SessionExport::Format::Csv:
        lastPeerOut = SessionExport::csvField(peer, true).toUtf8();
        break;
    case SessionExport::Format::Jsonl:
        lastPeerOut = peer.isEmpty() ? QByteArray() : SessionExport::jsonString(peer);
        break;
    case SessionExport::Format::Text:
        lastPeerOut = peer.isEmpty() ? QByteArray("-") : oneLine(peer).toUtf8();
        break;
    }
    return lastPeerOut;
}

void SessionExportWriter::Private::writeHeader()
{
    switch (format) {
    case SessionExport::Format::Jsonl: {
        QList<SessionExport::PortInfo> ports;
        for (const SessionExport::Source &source : std::as_const(sources)) {
            ports.append(source.info);
        }
        buffer += SessionExport::headerJson(ports, options);
        buffer += '\n';
        break;
    }
    case SessionExport::Format::Csv:
        // The byte order mark makes spreadsheets read the file as UTF-8.
        buffer += "\xEF\xBB\xBFtime,t_us,port,dir,peer,bytes,hex,text\r\n";
        break;
    case SessionExport::Format::Text: {
        buffer += options.appVersion.isEmpty()
                      ? QByteArray("# Velmora session export\n")
                      : "# Velmora " + oneLine(options.appVersion).toUtf8() + " session export\n";
        QStringList ports;
        for (const SessionExport::Source &source : std::as_const(sources)) {
            ports.append(oneLine(QStringLiteral("%1 (%2)").arg(source.info.label, source.info.mode)));
        }
        buffer += "# Ports:   " + ports.join(QStringLiteral("; ")).toUtf8() + '\n';
        if (options.records > 0) {
            buffer += "# Records: " + QByteArray::number(options.records) + ", ";
            time.append(buffer, options.firstUs);
            buffer += " to ";
            time.append(buffer, options.lastUs);
            buffer += '\n';
        } else if (rows.empty() || options.records == 0) {
            buffer += "# Records: 0\n";
        } else {
            buffer += "# Records: " + QByteArray::number(qsizetype(rows.size())) + ", ";
            time.append(buffer, rows.front().t);
            buffer += " to ";
            time.append(buffer, rows.back().t);
            buffer += '\n';
        }
        buffer += "# Columns: time  port  direction  peer  data\n";
        break;
    }
    }
}

void SessionExportWriter::Private::writeRow(const SessionEvent &event, quint32 source)
{
    const bool note = event.kind == SessionEvent::Note;
    switch (format) {
    case SessionExport::Format::Jsonl:
        ExportText::appendEventJson(buffer, event, portIds.at(source), peerOut(event.peer));
        buffer += '\n';
        break;

    case SessionExport::Format::Csv: {
        time.append(buffer, event.t);
        buffer += ',';
        buffer += QByteArray::number(event.t);
        buffer += ',';
        buffer += labelCells.at(source);
        buffer += ',';
        buffer += directionWord(event.kind);
        buffer += ',';
        buffer += peerOut(event.peer);
        buffer += ',';
        if (note) {
            const QByteArray text = event.text.toUtf8();
            buffer += QByteArray::number(text.size());
            buffer += ",,";
            buffer += SessionExport::csvField(event.text, true).toUtf8();
        } else {
            buffer += QByteArray::number(event.bytes.size());
            buffer += ',';
            ExportText::appendHex(buffer, event.bytes, true);
            buffer += ',';
            if (options.textColumn == 1) {
                WireTextDecoder *decoder =
                    decoders[source][event.kind == SessionEvent::Tx ? 1 : 0].get();
                const QString text = MessageCodec::sanitizeText(decoder->decode(event.bytes));
                buffer += SessionExport::csvField(text, true).toUtf8();
            } else {
                scratch.resize(0);
                ExportText::appendEscaped(scratch, event.bytes);
                ExportText::appendCsvAscii(buffer, scratch, true);
            }
        }
        buffer += "\r\n";
        break;
    }

    case SessionExport::Format::Text: {
        time.append(buffer, event.t);
        buffer += "  ";
        buffer += labelTexts.at(source);
        buffer += note ? "  --  " : (event.kind == SessionEvent::Tx ? "  TX  " : "  RX  ");
        buffer += peerOut(event.peer);
        buffer += "  ";
        if (note) {
            buffer += oneLine(event.text).toUtf8();
        } else if (options.dataAs == 1) {
            ExportText::appendEscaped(buffer, event.bytes);
        } else {
            ExportText::appendHex(buffer, event.bytes, true);
        }
        buffer += '\n';
        break;
    }
    }
}
