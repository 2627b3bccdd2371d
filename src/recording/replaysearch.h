#pragma once

// Finds bytes or text in a recording, a slice at a time, through its own device so
// that playback goes on beside it. A match may be cut in two by the reads it arrived
// in: each stream (port, direction, peer) keeps the last bytes it saw, so a needle
// split over two events of one stream is found, and never one split over two streams.

#include "recording/replaybookmark.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QString>

#include <memory>
#include <vector>

class QIODevice;
class ReplayIndex;
class ReplayReader;
struct ReplayEvent;

struct ReplayHit
{
    qint64 ordinal = 0;
    qint64 playUs = 0; // when the match is complete
    int portIndex = -1;
    qint64 length = 0;
    qint64 offsetInEvent = 0; // within the event `ordinal`, where the match begins
    bool splitAcrossEvents = false;

    bool operator==(const ReplayHit &) const = default;
};

struct ReplayQuery
{
    Q_DECLARE_TR_FUNCTIONS(ReplayQuery)

public:
    QByteArray needle;
    QString text;
    bool isHex = false;
    bool matchCase = false;

    // Empty text, or hex that is not byte pairs, gives an empty query and a message.
    static ReplayQuery fromInput(const QString &input, bool isHex, bool matchCase,
                                 QString *error);
    bool isEmpty() const { return needle.isEmpty(); }
};

class ReplaySearch
{
public:
    ReplaySearch(QIODevice *device, const ReplayIndex *index, const ReplayQuery &query);
    ~ReplaySearch();

    // A pass over the events [fromOrdinal, toOrdinal); with `firstOnly` it ends at the
    // first hit.
    void startPass(qint64 fromOrdinal, qint64 toOrdinal, bool firstOnly);
    // Reads events until `budgetBytes` of payload are searched; true while the pass goes
    // on.
    bool step(qint64 budgetBytes);
    void endPass();
    // Every hit of the whole file, for a count or a listing; true while it goes on.
    bool countAll(qint64 budgetBytes);
    void record(const ReplayHit &hit) { found.append(hit); }
    const QList<ReplayHit> &hits() const { return found; }
    double progress() const;
    qint64 searchedBytes() const { return searched; }

    // Bookmarks whose name or note holds the query's text.
    static QList<ReplayBookmark> matchBookmarks(const QList<ReplayBookmark> &list,
                                                const ReplayQuery &query);

private:
    // The last needle-size minus one bytes of a stream, with where each came from.
    struct Tail
    {
        QByteArray bytes;
        std::vector<qint64> ordinals; // of the event each byte came from
        std::vector<qint64> offsets;  // within that event
    };
    struct StreamKey
    {
        int port = -1;
        quint8 kind = 0;
        QString peer;
        bool operator==(const StreamKey &) const = default;
    };
    friend size_t qHash(const StreamKey &key, size_t seed)
    {
        return qHashMulti(seed, key.port, key.kind, key.peer);
    }
    void take(const ReplayEvent &event);
    void keepTail(Tail &tail, const QByteArray &bytes, qint64 ordinal);

    const ReplayIndex *index;
    ReplayQuery query;
    QByteArray foldedNeedle;
    std::unique_ptr<ReplayReader> reader;
    QHash<StreamKey, Tail> tails;
    QByteArray joint; // reused: a tail and the start of the next event
    qint64 from = 0;
    qint64 to = 0;
    bool firstOnly = false;
    bool passing = false;
    bool countStarted = false;
    qint64 searched = 0;
    QList<ReplayHit> found;
};
