#include "recording/replayindexer.h"

#include "recording/replaybookmarks.h"
#include "recording/replayindex.h"
#include "recording/vlmlog.h"

#include <QIODevice>

ReplayIndexer::ReplayIndexer(QIODevice *device, ReplayIndex *index, ReplayIndexerOptions options)
    : device(device)
    , index(index)
    , options(options)
    , reader(device, options.maxLine)
{
    index->maxLine = options.maxLine;
}

bool ReplayIndexer::step(qint64 budgetBytes)
{
    if (!error.isEmpty()) {
        return false;
    }
    if (needSeek) {
        // Start (or start again, after the end) at the first line not yet taken.
        if (!reader.seek(index->indexedTo)) {
            error = QStringLiteral("seek failed");
            return false;
        }
        needSeek = false;
    }
    qint64 taken = 0;
    Vlmlog::LineReader::Line line;
    while (taken < budgetBytes) {
        if (!reader.next(&line)) {
            if (reader.failed()) {
                error = QStringLiteral("read failed");
            }
            needSeek = true;
            finishStep();
            return false;
        }
        take(line);
        taken += line.length + 1;
        if (!line.terminated) {
            // The last bytes of the file: whatever follows comes with a later step.
            needSeek = true;
            finishStep();
            return false;
        }
    }
    finishStep();
    return true;
}

double ReplayIndexer::progress() const
{
    const qint64 size = device ? device->size() : 0;
    return size <= 0 ? 1.0 : std::min(1.0, double(index->indexedTo) / double(size));
}

void ReplayIndexer::take(const Vlmlog::LineReader::Line &line)
{
    const auto commit = [&] { index->indexedTo = line.offset + line.length + (line.terminated ? 1 : 0); };
    if (line.oversized) {
        if (line.terminated) {
            ++index->skippedLines;
            index->torn = false;
            commit();
        } else {
            index->torn = true;
        }
        return;
    }
    index->torn = false;
    Vlmlog::EventView view;
    if (Vlmlog::scanEvent(line.bytes, &view)) {
        takeEvent(line.offset, view.port, view.t, view.hex.size() / 2);
        commit();
        return;
    }
    if (line.length == 0 && line.terminated) {
        // A blank line is no event and no damage: a line end that came after its line.
        commit();
        return;
    }
    const Vlmlog::ParsedLine parsed = Vlmlog::parseLine(line.bytes, false);
    switch (parsed.kind) {
    case Vlmlog::ParsedLine::Event:
        takeEvent(line.offset, parsed.portId.toUtf8(), parsed.event.t, parsed.payloadSize);
        break;
    case Vlmlog::ParsedLine::Header:
        if (!index->hasHeader) {
            index->hasHeader = true;
            index->startedAt = parsed.startedAt ? parsed.startedAt : parsed.exportedAt;
            index->appVersion = parsed.appVersion;
            index->format = parsed.format;
            index->version = parsed.version;
            index->timeZone = parsed.timeZone;
            index->part = parsed.part;
            index->previous = parsed.previous;
            index->isRecording = parsed.isRecording;
        } else {
            ++index->badLines;
        }
        for (const SessionExport::PortInfo &info : parsed.ports) {
            if (index->portIndex(info.id) < 0) {
                index->ports.append(info);
                index->portEvents.append(0);
            }
        }
        break;
    case Vlmlog::ParsedLine::Port: {
        const int at = index->portIndex(parsed.port.id);
        if (at < 0) {
            index->ports.append(parsed.port);
            index->portEvents.append(0);
        } else if (index->ports[at].label == index->ports[at].id &&
                   index->ports[at].mode.isEmpty()) {
            // A placeholder made for events seen before the port's line gets its details.
            index->ports[at] = parsed.port;
        }
        break;
    }
    case Vlmlog::ParsedLine::Bookmark:
        index->rawBookmarks.append(parsed.bookmark);
        break;
    case Vlmlog::ParsedLine::Bookmarks:
        index->rawBookmarks = parsed.bookmarks;
        break;
    case Vlmlog::ParsedLine::End:
        index->endReason = parsed.reason;
        index->endNext = parsed.next;
        break;
    case Vlmlog::ParsedLine::Invalid:
        ++index->badLines;
        break;
    case Vlmlog::ParsedLine::Malformed:
        if (!line.terminated) {
            // Cut off mid-line: not taken, so that a later pass reads it when complete.
            index->torn = true;
            return;
        }
        ++index->skippedLines;
        break;
    case Vlmlog::ParsedLine::Unknown:
        break;
    }
    commit();
}

int ReplayIndexer::portFor(QByteArrayView id)
{
    // Ids as bytes, compared without conversion: this runs for every event line.
    if (portIds.size() != index->ports.size()) {
        portIds.clear();
        for (const SessionExport::PortInfo &info : std::as_const(index->ports)) {
            portIds.append(info.id.toUtf8());
        }
    }
    for (qsizetype i = 0; i < portIds.size(); ++i) {
        if (portIds[i] == id) {
            return int(i);
        }
    }
    // An id no header named: a port labelled by its id.
    SessionExport::PortInfo info;
    info.id = QString::fromUtf8(id);
    info.label = info.id;
    index->ports.append(info);
    index->portEvents.append(0);
    portIds.append(id.toByteArray());
    return int(index->ports.size()) - 1;
}

void ReplayIndexer::takeEvent(qint64 offset, QByteArrayView portId, qint64 t, qint64 payload)
{
    const int port = portFor(portId);
    if (t < index->lastPlayUs) {
        ++index->outOfOrder;
    }
    const qint64 playUs = std::max(index->lastPlayUs, t);
    if (index->eventCount == 0 || index->sinceCheckpointEvents >= options.checkpointEvents ||
        index->sinceCheckpointBytes >= options.checkpointBytes) {
        index->checkpoints.push_back({offset, index->eventCount, playUs, index->byteCount});
        index->sinceCheckpointEvents = 0;
        index->sinceCheckpointBytes = 0;
    }
    if (index->eventCount == 0) {
        index->firstUs = t;
    }
    index->lastUs = t;
    index->lastPlayUs = playUs;
    ++index->portEvents[port];
    ++index->eventCount;
    index->byteCount += payload;
    ++index->sinceCheckpointEvents;
    index->sinceCheckpointBytes += payload;
}

void ReplayIndexer::finishStep()
{
    while (index->portEvents.size() < index->ports.size()) {
        index->portEvents.append(0);
    }
    index->bookmarks = ReplayBookmarks::normalized(index->rawBookmarks);
}
