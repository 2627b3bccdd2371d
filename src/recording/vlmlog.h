#pragma once

// The recording file: JSON Lines, one object per LF-terminated line, in time order. The
// first line is a header; events have no "type" key; port, bookmark, bookmarks and end
// lines carry one. The file is only ever appended to, so it is usable at every instant
// and a crash costs at most a torn last line.
//
// Times are integers: microseconds since the epoch, 0 .. 2^53 (what a JSON reader that
// keeps numbers as doubles still reads exactly).

#include "recording/replaybookmark.h"
#include "recording/sessionevent.h"
#include "recording/sessionexport.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace Vlmlog {

constexpr qint64 MaxTime = 9007199254740992LL; // 2^53

struct RecordingHeader
{
    QList<SessionExport::PortInfo> ports;
    QString appVersion;
    QString timeZone;
    QString previous; // file name of the part before this one
    qint64 startedAt = 0;
    int part = 1;
};

struct ParsedLine
{
    enum Kind {
        Event,
        Header,
        Port,
        Bookmark,
        Bookmarks,
        End,
        Unknown,   // valid JSON of a line type this version does not know
        Invalid,   // a known line with missing or wrong fields
        Malformed, // not a JSON object
    };

    Kind kind = Malformed;

    // Event: the event and its port id. Without decoding, `bytes` stays empty and
    // `payloadSize` tells the size the hex stands for (or the note's length).
    SessionEvent event;
    QString portId;
    qint64 payloadSize = 0;

    // Port (with `t`), Bookmark, End (with `t`).
    SessionExport::PortInfo port;
    qint64 t = 0;
    ReplayBookmark bookmark;

    // Bookmarks snapshot.
    qint64 savedAt = 0;
    QList<ReplayBookmark> bookmarks;

    // End.
    QString reason;
    QString next;

    // Header.
    QString format;
    int version = 0;
    QString appVersion;
    QList<SessionExport::PortInfo> ports;
    qint64 exportedAt = 0;
    bool truncated = false;
    QString source;
    bool isRecording = false;
    qint64 startedAt = 0;
    int part = 1;
    QString previous;
    QString timeZone;
};

// An event line as the writer produces it, read in place: the views point into the
// line. What the index pass uses, since it needs no strings.
struct EventView
{
    qint64 t = 0;
    QByteArrayView port;
    QByteArrayView peer; // empty when the line has none
    QByteArrayView hex;
    quint8 kind = SessionEvent::Rx;
};

// Reads `line` when it has exactly the writer's form of an rx or tx event with plain
// strings and valid hex; false for anything else (which the full parser then reads).
bool scanEvent(QByteArrayView line, EventView *view);

QByteArray portObject(const SessionExport::PortInfo &info);
QByteArray headerLine(const RecordingHeader &header);
QByteArray portLine(const SessionExport::PortInfo &info, qint64 t);
QByteArray eventLine(const SessionEvent &event, const QString &portId);
QByteArray bookmarkLine(const ReplayBookmark &bookmark);
QByteArray bookmarksLine(const QList<ReplayBookmark> &list, qint64 savedAt);
QByteArray endLine(qint64 t, const QString &reason, const QString &next);

// With `decode` false the hex of an event is checked but not converted.
ParsedLine parseLine(QByteArrayView bytes, bool decode = true);
// The same without the quick path for event lines; they must agree.
ParsedLine parseLineSlowForTest(QByteArrayView bytes, bool decode = true);

// Hex digits of even number to bytes; false on anything else.
bool decodeHex(QByteArrayView hex, QByteArray *out);
bool isHex(QByteArrayView hex);
// The same for hex already checked with isHex.
void decodeValidHex(QByteArrayView hex, QByteArray *out);

} // namespace Vlmlog
