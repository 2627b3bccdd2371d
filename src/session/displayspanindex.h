#pragma once

#include "connection/settings.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <array>
#include <deque>

// One run of receive-view text with the bytes behind it. Positions count characters from
// the start of the stream, not from what is left of the document after trimming: a
// document position p is the stream position p + DisplaySpanIndex::trimmedChars().
//
// The span's text is `prefixLength` characters that stand for no byte (a line feed or a
// time stamp put in front by the format) followed by `docLength` characters of data, so
// it covers [docStart, docEnd()).
struct DisplaySpan
{
    qint64 docStart = 0;
    qint32 docLength = 0;
    qint32 prefixLength = 0;
    bool isTx = false;
    bool isHex = false;
    bool isUtf8 = false; // a partial selection can be cut on characters
    bool isLocalEcho = false;
    QByteArray bytes; // the record's raw bytes if it has any, else its shown data
    QString peer;
    qint64 timeUs = 0; // microseconds since the epoch
    QString timestampText;
    // Blocks of this direction that showed no text came just before this span, and their
    // bytes could not all be kept (another peer, or more than the chain holds).
    bool bytesMissing = false;

    qint64 docEnd() const { return docStart + prefixLength + docLength; }
};

// The index from view positions back to received and sent bytes: spans ordered by
// docStart in a double-ended queue, holding at most `budget` bytes (the newest span
// always stays). Spans of one-byte reads merge into their predecessor, so a stream of
// small reads keeps the entry count small. Blocks that add no text of their own hand
// their bytes to a per-direction chain that attaches them to the next span of that
// direction.
class DisplaySpanIndex
{
public:
    static constexpr qint64 DefaultBudget = 4194304;
    // Bytes a chain collects before it drops further blocks, and the size up to which
    // hex spans merge.
    static constexpr qsizetype ChainLimit = 4096;
    static constexpr qsizetype HexMergeLimit = 4096;

    explicit DisplaySpanIndex(qint64 budget = DefaultBudget);

    // Adds a span at the end, or extends the last span when continues() holds; then
    // evicts over budget. A span that would start before the end of the last one, or
    // before coversFrom(), or with a negative length is refused (false).
    bool append(DisplaySpan span);
    // Whether `span`, placed at `position`, extends the last span rather than adding one:
    // the chain of its direction is not broken, the last span ends exactly at
    // `position`, both have the same direction, peer, view format and echo mark, neither
    // carries a time stamp, `span` has no prefix, the last one's bytes do not end in a line
    // feed or carriage return (text views only), and hex spans stay within 4096 bytes.
    bool continues(const DisplaySpan &span, qint64 position) const;
    // Bytes of a block that showed no text: kept for the next span of `direction`, which
    // will not merge with the one before it. The collection holds one peer and at most
    // 4096 bytes; bytes beyond that are dropped and the next span is marked bytesMissing.
    void breakChain(const QByteArray &bytes, RXorTx direction, const QString &peer);
    // `chars` characters were removed from the front of the document: spans that start
    // before the new front go, also one that straddles it.
    void trimFront(qint64 chars);
    // Drops spans from the front while byteTotal exceeds the budget; the last one stays.
    void evictOverBudget();

    // Copies of the spans overlapping the stream positions [from, to). An empty span
    // counts when it lies inside the range.
    QList<DisplaySpan> intersecting(qint64 from, qint64 to) const;
    // The span whose text contains `position`, or nullptr. The pointer lives until the
    // next change of the index.
    const DisplaySpan *spanAt(qint64 position) const;
    // The time of the span at `position` in microseconds since the epoch, or -1.
    qint64 timeUsAt(qint64 position) const;

    // docStart of the oldest span, or -1 when the index is empty.
    qint64 firstDocStart() const;
    // The first stream position for which bytes are still known; never moves back.
    qint64 coversFrom() const { return coverage; }
    qint64 trimmedChars() const { return trimmed; }
    qint64 byteTotal() const { return bytesHeld; }
    qint64 budget() const { return byteBudget; }
    // A budget below 1 becomes 1. Evicts at once if the index is now over it.
    void setBudget(qint64 bytes);

    const std::deque<DisplaySpan> &spans() const { return entries; }
    qsizetype size() const { return qsizetype(entries.size()); }
    bool isEmpty() const { return entries.empty(); }
    // Bytes held by the chain of a direction, not yet attached to a span.
    QByteArray chainBytes(RXorTx direction) const;

    // Forgets everything: a new stream starts at position 0.
    void clear();

private:
    struct Chain
    {
        QByteArray bytes;
        QString peer;
        bool broken = false;
        bool missing = false;
    };

    static int chainIndex(bool isTx) { return isTx ? 1 : 0; }
    void dropFront();

    std::deque<DisplaySpan> entries;
    std::array<Chain, 2> chains;
    qint64 byteBudget = DefaultBudget;
    qint64 bytesHeld = 0;
    qint64 trimmed = 0;
    qint64 coverage = 0;
};
