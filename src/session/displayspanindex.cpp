#include "session/displayspanindex.h"

#include <algorithm>

DisplaySpanIndex::DisplaySpanIndex(qint64 budget)
    : byteBudget(std::max<qint64>(budget, 1))
{}

void DisplaySpanIndex::setBudget(qint64 bytes)
{
    byteBudget = std::max<qint64>(bytes, 1);
    evictOverBudget();
}

bool DisplaySpanIndex::continues(const DisplaySpan &span, qint64 position) const
{
    if (entries.empty() || chains[chainIndex(span.isTx)].broken) {
        return false;
    }
    const DisplaySpan &last = entries.back();
    if (last.docEnd() != position || last.isTx != span.isTx || last.peer != span.peer ||
        last.isHex != span.isHex || last.isUtf8 != span.isUtf8 ||
        last.isLocalEcho != span.isLocalEcho) {
        return false;
    }
    // A stamp or a prefix inside a merged span would stand between its bytes and break
    // the character-to-byte alignment of a selection.
    if (!last.timestampText.isEmpty() || !span.timestampText.isEmpty() || span.prefixLength) {
        return false;
    }
    if (span.isHex) {
        return last.bytes.size() + span.bytes.size() <= HexMergeLimit;
    }
    // In text views a span ends with its line, so that lines stay separate entries.
    return !last.bytes.endsWith('\n') && !last.bytes.endsWith('\r');
}

bool DisplaySpanIndex::append(DisplaySpan span)
{
    if (span.docLength < 0 || span.prefixLength < 0) {
        return false;
    }
    const qint64 front = entries.empty() ? coverage : entries.back().docEnd();
    if (span.docStart < front) {
        return false;
    }

    Chain &chain = chains[chainIndex(span.isTx)];
    const bool merge = continues(span, span.docStart);
    if (chain.broken) {
        // The blocks that showed nothing came before this one on the wire.
        if (chain.peer == span.peer || chain.bytes.isEmpty()) {
            span.bytes.prepend(chain.bytes);
        } else {
            chain.missing = true;
        }
        span.bytesMissing = span.bytesMissing || chain.missing;
        chain = Chain();
    }

    bytesHeld += span.bytes.size();
    if (merge) {
        DisplaySpan &last = entries.back();
        last.docLength += span.docLength;
        last.bytes.append(span.bytes);
    } else {
        entries.push_back(std::move(span));
    }
    evictOverBudget();
    return true;
}

void DisplaySpanIndex::breakChain(const QByteArray &bytes, RXorTx direction, const QString &peer)
{
    Chain &chain = chains[chainIndex(direction == Sent)];
    chain.broken = true;
    if (bytes.isEmpty()) {
        return;
    }
    if (chain.bytes.isEmpty() && !chain.missing) {
        chain.peer = peer;
    }
    if (chain.peer == peer && !chain.missing && chain.bytes.size() + bytes.size() <= ChainLimit) {
        chain.bytes.append(bytes);
    } else {
        chain.missing = true;
    }
}

QByteArray DisplaySpanIndex::chainBytes(RXorTx direction) const
{
    return chains[chainIndex(direction == Sent)].bytes;
}

void DisplaySpanIndex::dropFront()
{
    const DisplaySpan &first = entries.front();
    bytesHeld -= first.bytes.size();
    coverage = std::max(coverage, first.docEnd());
    entries.pop_front();
}

void DisplaySpanIndex::evictOverBudget()
{
    while (bytesHeld > byteBudget && entries.size() > 1) {
        dropFront();
    }
}

void DisplaySpanIndex::trimFront(qint64 chars)
{
    if (chars <= 0) {
        return;
    }
    trimmed += chars;
    while (!entries.empty() && entries.front().docStart < trimmed) {
        dropFront();
    }
    // Positions before the new front no longer exist, so no bytes are known there.
    coverage = std::max(coverage, trimmed);
}

QList<DisplaySpan> DisplaySpanIndex::intersecting(qint64 from, qint64 to) const
{
    QList<DisplaySpan> result;
    if (from >= to) {
        return result;
    }
    // Spans do not overlap, so their ends rise with their starts.
    auto it = std::lower_bound(entries.begin(), entries.end(), from,
                               [](const DisplaySpan &s, qint64 p) { return s.docEnd() <= p; });
    // An empty span at exactly `from` ends there too; it still lies inside the range.
    while (it != entries.begin() && std::prev(it)->docEnd() == from &&
           std::prev(it)->docStart == from) {
        --it;
    }
    for (; it != entries.end() && it->docStart < to; ++it) {
        if (it->docEnd() > from || (it->docStart == it->docEnd() && it->docStart >= from)) {
            result.append(*it);
        }
    }
    return result;
}

const DisplaySpan *DisplaySpanIndex::spanAt(qint64 position) const
{
    auto it = std::upper_bound(entries.begin(), entries.end(), position,
                               [](qint64 p, const DisplaySpan &s) { return p < s.docStart; });
    // Spans do not overlap, so only the last one starting at or before `position` can
    // hold it.
    if (it == entries.begin()) {
        return nullptr;
    }
    --it;
    return position < it->docEnd() ? &*it : nullptr;
}

qint64 DisplaySpanIndex::timeUsAt(qint64 position) const
{
    const DisplaySpan *span = spanAt(position);
    return span ? span->timeUs : -1;
}

qint64 DisplaySpanIndex::firstDocStart() const
{
    return entries.empty() ? -1 : entries.front().docStart;
}

void DisplaySpanIndex::clear()
{
    entries.clear();
    chains = {};
    bytesHeld = 0;
    trimmed = 0;
    coverage = 0;
}
