#include "recording/replaysearch.h"

#include "recording/replayindex.h"
#include "recording/replayreader.h"

#include <QRegularExpression>

#include <cctype>
#include <cstring>

namespace {

QByteArray asciiLower(QByteArray bytes)
{
    for (char &c : bytes) {
        if (c >= 'A' && c <= 'Z') {
            c = char(c + 32);
        }
    }
    return bytes;
}

} // namespace

ReplayQuery ReplayQuery::fromInput(const QString &input, bool isHex, bool matchCase,
                                   QString *error)
{
    ReplayQuery query;
    query.isHex = isHex;
    query.matchCase = matchCase || isHex;
    if (input.trimmed().isEmpty()) {
        if (error) {
            *error = tr("Type what to find.");
        }
        return query;
    }
    if (!isHex) {
        query.text = input;
        query.needle = input.toUtf8();
        return query;
    }
    static const QRegularExpression separators(QStringLiteral("[\\s,]+"));
    const QStringList parts = input.trimmed().split(separators, Qt::SkipEmptyParts);
    QByteArray bytes;
    for (QString part : parts) {
        if (part.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            part = part.mid(2);
        }
        const QByteArray latin = part.toLatin1();
        QByteArray decoded = QByteArray::fromHex(latin);
        bool ok = latin.size() % 2 == 0 && !latin.isEmpty() && decoded.size() * 2 == latin.size();
        for (const char c : latin) {
            ok = ok && std::isxdigit(static_cast<unsigned char>(c));
        }
        if (!ok) {
            if (error) {
                *error = tr("\"%1\" is not hex: use byte pairs such as 48 65.").arg(part);
            }
            return ReplayQuery{{}, {}, true, true};
        }
        bytes += decoded;
    }
    query.needle = bytes;
    query.text = input;
    return query;
}

ReplaySearch::ReplaySearch(QIODevice *device, const ReplayIndex *index, const ReplayQuery &query)
    : index(index)
    , query(query)
    , foldedNeedle(query.matchCase ? query.needle : asciiLower(query.needle))
    , reader(std::make_unique<ReplayReader>(device, index))
{}

ReplaySearch::~ReplaySearch() = default;

void ReplaySearch::startPass(qint64 fromOrdinal, qint64 toOrdinal, bool first)
{
    from = std::max<qint64>(fromOrdinal, 0);
    to = std::min(toOrdinal, index->eventCount);
    firstOnly = first;
    passing = true;
    tails.clear();
    reader->seekOrdinal(from);
}

void ReplaySearch::endPass()
{
    passing = false;
    tails.clear();
}

bool ReplaySearch::countAll(qint64 budgetBytes)
{
    if (!countStarted) {
        countStarted = true;
        found.clear();
        startPass(0, index->eventCount, false);
    }
    return step(budgetBytes);
}

bool ReplaySearch::step(qint64 budgetBytes)
{
    if (!passing || foldedNeedle.isEmpty()) {
        return false;
    }
    qint64 budget = 0;
    ReplayEvent event;
    const qsizetype before = found.size();
    while (budget < budgetBytes && reader->position() < to && reader->peek(&event)) {
        reader->pop();
        take(event);
        const qint64 size = event.event.kind == SessionEvent::Note ? event.event.text.size()
                                                                   : event.event.bytes.size();
        budget += size + 64;
        searched += size;
        if (firstOnly && found.size() > before) {
            endPass();
            return false;
        }
    }
    if (reader->position() >= to || !reader->peek(&event)) {
        endPass();
        return false;
    }
    return true;
}

double ReplaySearch::progress() const
{
    const qint64 span = to - from;
    return span <= 0 ? 1.0 : std::clamp(double(reader->position() - from) / double(span), 0.0, 1.0);
}

void ReplaySearch::take(const ReplayEvent &replay)
{
    const SessionEvent &event = replay.event;
    const qsizetype n = foldedNeedle.size();
    if (event.kind == SessionEvent::Note) {
        if (query.isHex) {
            return;
        }
        const qsizetype at = event.text.indexOf(
            query.text, 0, query.matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive);
        if (at >= 0) {
            record({replay.ordinal, replay.playUs, replay.portIndex, query.text.size(), at, false});
        }
        return;
    }
    const QByteArray bytes = query.matchCase ? event.bytes : asciiLower(event.bytes);
    if (n == 1) {
        for (qsizetype at = bytes.indexOf(foldedNeedle[0]); at >= 0;
             at = bytes.indexOf(foldedNeedle[0], at + 1)) {
            record({replay.ordinal, replay.playUs, replay.portIndex, n, at, false});
        }
        return;
    }
    Tail &tail = tails[StreamKey{replay.portIndex, event.kind, event.peer}];
    if (!tail.bytes.isEmpty()) {
        // Matches that begin in the tail and end in this event.
        const qsizetype head = std::min<qsizetype>(bytes.size(), n - 1);
        joint.resize(tail.bytes.size() + head);
        std::memcpy(joint.data(), tail.bytes.constData(), size_t(tail.bytes.size()));
        std::memcpy(joint.data() + tail.bytes.size(), bytes.constData(), size_t(head));
        for (qsizetype at = joint.indexOf(foldedNeedle); at >= 0 && at < tail.bytes.size();
             at = joint.indexOf(foldedNeedle, at + 1)) {
            record({tail.ordinals[size_t(at)], replay.playUs, replay.portIndex, n,
                    tail.offsets[size_t(at)], true});
        }
    }
    for (qsizetype at = bytes.indexOf(foldedNeedle); at >= 0;
         at = bytes.indexOf(foldedNeedle, at + 1)) {
        record({replay.ordinal, replay.playUs, replay.portIndex, n, at, false});
    }
    keepTail(tail, bytes, replay.ordinal);
}

void ReplaySearch::keepTail(Tail &tail, const QByteArray &bytes, qint64 ordinal)
{
    const qsizetype keep = foldedNeedle.size() - 1;
    if (bytes.size() >= keep) {
        // The event alone fills the tail: overwrite in place, no allocation once sized.
        tail.bytes.resize(keep);
        std::memcpy(tail.bytes.data(), bytes.constData() + bytes.size() - keep, size_t(keep));
        tail.ordinals.assign(size_t(keep), ordinal);
        tail.offsets.resize(size_t(keep));
        for (qsizetype i = 0; i < keep; ++i) {
            tail.offsets[size_t(i)] = bytes.size() - keep + i;
        }
        return;
    }
    tail.bytes.append(bytes);
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        tail.ordinals.push_back(ordinal);
        tail.offsets.push_back(i);
    }
    const qsizetype drop = tail.bytes.size() - keep;
    if (drop > 0) {
        tail.bytes.remove(0, drop);
        tail.ordinals.erase(tail.ordinals.begin(), tail.ordinals.begin() + drop);
        tail.offsets.erase(tail.offsets.begin(), tail.offsets.begin() + drop);
    }
}

QList<ReplayBookmark> ReplaySearch::matchBookmarks(const QList<ReplayBookmark> &list,
                                                   const ReplayQuery &query)
{
    QList<ReplayBookmark> out;
    if (query.isHex || query.text.isEmpty()) {
        return out;
    }
    const Qt::CaseSensitivity cs = query.matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    for (const ReplayBookmark &bookmark : list) {
        if (bookmark.name.contains(query.text, cs) || bookmark.note.contains(query.text, cs)) {
            out.append(bookmark);
        }
    }
    return out;
}
