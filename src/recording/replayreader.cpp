#include "recording/replayreader.h"

#include "recording/replayindex.h"
#include "recording/vlmlog.h"

ReplayReader::ReplayReader(QIODevice *device, const ReplayIndex *index)
    : index(index)
    , lines(device, index->maxLine)
{
    seekOrdinal(0);
}

bool ReplayReader::seekOrdinal(qint64 n)
{
    const ReplayIndex::Checkpoint at = index->checkpointAtOrBefore(n);
    held = false;
    pos = at.ordinal;
    playUs = at.playUs;
    if (!lines.seek(at.offset)) {
        return false;
    }
    while (pos < n) {
        if (!load(false)) {
            return false;
        }
        pop();
    }
    return true;
}

qint64 ReplayReader::ordinalAtTime(qint64 t)
{
    if (index->eventCount == 0 || t <= index->firstUs) {
        seekOrdinal(0);
        return 0;
    }
    seekOrdinal(index->checkpointAtOrBeforeTime(t).ordinal);
    ReplayEvent event;
    while (peek(&event)) {
        if (event.playUs >= t) {
            return event.ordinal;
        }
        pop();
    }
    return index->eventCount;
}

bool ReplayReader::load(bool decode)
{
    if (held) {
        return true;
    }
    Vlmlog::LineReader::Line line;
    while (pos < index->eventCount && lines.next(&line)) {
        if (line.offset >= index->indexedTo) {
            return false;
        }
        if (line.oversized) {
            continue;
        }
        Vlmlog::ParsedLine parsed;
        Vlmlog::EventView view;
        if (Vlmlog::scanEvent(line.bytes, &view)) {
            // The writer's own form, read in place; skipping needs no bytes at all.
            current.event = SessionEvent();
            current.event.t = view.t;
            current.event.kind = view.kind;
            current.portIndex = index->portIndex(view.port);
            if (decode) {
                Vlmlog::decodeValidHex(view.hex, &current.event.bytes);
                if (QLatin1StringView(view.peer) != lastPeer) {
                    lastPeer = QString::fromLatin1(view.peer);
                }
                current.event.peer = lastPeer;
            }
        } else {
            parsed = Vlmlog::parseLine(line.bytes, decode);
            if (parsed.kind == Vlmlog::ParsedLine::Malformed && line.length > 0) {
                ++malformed;
            }
            if (parsed.kind != Vlmlog::ParsedLine::Event) {
                continue;
            }
            current.event = std::move(parsed.event);
            current.portIndex = index->portIndex(parsed.portId);
        }
        current.ordinal = pos;
        current.playUs = std::max(playUs, current.event.t);
        held = true;
        heldDecoded = decode;
        return true;
    }
    return false;
}

bool ReplayReader::peek(ReplayEvent *event)
{
    if (!held || !heldDecoded) {
        if (held) {
            // Held without its bytes: read its line again, decoded.
            seekOrdinal(pos);
        }
        if (!load(true)) {
            // The index may have grown past where the lines ran out (a file still being
            // written): read again from the nearest checkpoint.
            if (pos >= index->eventCount || !seekOrdinal(pos) || !load(true)) {
                return false;
            }
        }
    }
    *event = current;
    return true;
}

void ReplayReader::pop()
{
    if (held) {
        held = false;
        playUs = current.playUs;
        ++pos;
    }
}
