#pragma once

// Finds, in a window of received bytes, the rule whose match ends first. Every rule's
// pattern is a regular expression over the bytes read as Latin-1, matched from the
// start of the window; the matcher gives the same answer as running each expression
// over the whole window, without doing so on every arrival:
//
// - Each rule remembers, per window, the earliest position at which a match could still
//   start once more bytes come (a partial match), so new bytes are scanned from there
//   and not from the window's start.
// - A table from byte value to the rules whose match can begin with that byte tells
//   which rules new bytes can concern at all; the others are not looked at.
// - Text, Hex and Wildcard patterns (bytes, any-byte and lazy any-run) are matched by a
//   direct scan that finds what the expression would; a regular expression that begins
//   with single characters (literals, classes, \d, ...) is only run where that head
//   occurs whole.
// - A rule that was not matching only needs looking at when new bytes fit the end of
//   its pattern (its last two units), since a match that was not there before ends in
//   them; until then it only notes where a match may start.
// - Regular expressions whose match can depend on more than the bytes from its start on,
//   or take no bytes (anchors, lookaround, word boundaries, backtracking verbs, \G, \K),
//   cannot be resumed and are run over the whole window each time.
//
// Every expression carries a bound on its work (see AutoReplyEngine::compilePattern).
// A search that reaches it finds nothing; only then can the answer differ from a full
// rescan, which would give up as well, though at other places.

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringView>

#include <bitset>
#include <vector>

class AutoReplyMatcher
{
public:
    static constexpr int AnyByte = -1;
    static constexpr int AnyRun = -2;

    // What a rule contributes to matching.
    struct Pattern
    {
        bool active = false;
        bool isRegex = false;
        // Text, Hex, Wildcard: 0..255 a byte, AnyByte, AnyRun.
        QList<int> units;
        // The compiled expression, run for Regex patterns.
        QRegularExpression regex;
        // Regex: the expression as written, its bytes read as Latin-1.
        QString expression;
    };

    struct Match
    {
        int rule = -1;     // -1: no rule matches
        qsizetype end = 0; // from the window's start to the end of the match
    };

    // The bytes of one source not consumed yet, and where each rule stands in them.
    class Window
    {
    public:
        qsizetype size() const { return text.size() - base; }
        bool isEmpty() const { return size() == 0; }
        QByteArray toByteArray() const { return view().toLatin1(); }

    private:
        friend class AutoReplyMatcher;
        // Stream positions count every byte the window was ever given.
        struct Scan
        {
            qint64 from = 0;   // no match can start before this
            qint64 start = -1; // a complete match, while the matched bit is set
            qint64 end = -1;
            // The end of a complete match whose start was consumed: its last segment
            // is still the earliest one after any later chain that reaches it.
            qint64 lostEnd = -1;
            // No whole match lies before this: one that came with new bytes ends there
            // or later. -1 when not known.
            qint64 settled = -1;
            quint32 version = 0; // counts evaluations; older queue entries are void
        };
        // A queue entry: a rule's complete match by its end or its start.
        struct Entry
        {
            qint64 key = 0;
            int rule = -1;
            quint32 version = 0;
            bool operator>(const Entry &other) const
            {
                return key != other.key ? key > other.key : rule > other.rule;
            }
        };
        QStringView view() const { return QStringView(text).sliced(base); }
        qint64 startPos() const { return origin + base; }
        qint64 endPos() const { return origin + text.size(); }

        QString text;       // from `base` on, one Latin-1 character per byte
        qsizetype base = 0; // consumed characters not yet removed from `text`
        qint64 origin = 0;  // stream position of text[0]
        std::vector<Scan> scans;
        std::vector<quint64> pending; // rules with a partial match from scans[i].from
        std::vector<quint64> matched; // rules with a complete match in scans[i]
        std::vector<quint64> stale;   // rules to look at again before the next answer
        std::vector<quint64> scratch;
        // Heaps, earliest first: complete matches by end, and those of expressions by
        // start (an expression's match that loses its start must be found again before
        // any choice; one of units keeps its end as a lower bound until it might win).
        std::vector<Entry> byEnd;
        std::vector<Entry> byStart;
    };

    // Rebuilds the per-rule plans. Windows used before must be cleared.
    void setPatterns(const QList<Pattern> &patterns);
    int ruleCount() const { return int(plans.size()); }
    // Whether the rule takes part in matching (active and below its hit limit).
    void setEligible(int rule, bool eligible);
    bool isEligible(int rule) const;

    // Appends bytes, then drops the oldest so that at most `limit` remain.
    void append(Window &window, QByteArrayView data, qsizetype limit) const;
    void clear(Window &window) const;
    // The eligible rule whose match ends first; on equal ends the lower index.
    Match next(Window &window) const;
    // Drops `count` bytes from the front.
    void consume(Window &window, qsizetype count) const;
    // Makes a rule that was not eligible look at the whole window again.
    void restart(Window &window, int rule) const;

    // The length of the start-of-pattern options ("(*UTF)", "(*LIMIT_MATCH=9)", ...)
    // that open an expression; anything inserted there still counts as one of them.
    static qsizetype startOptionsLength(QStringView expression);

private:
    enum class Method {
        Inactive,
        Units,     // direct scan of byte, any-byte and any-run units
        Search,    // the expression, resumed, after an optional literal start
        Dependent, // the expression over the whole window, every time
    };
    // A run of units without any-run: a byte, AnyByte, or one of the segment's byte sets.
    struct Segment
    {
        std::vector<qint16> units;
        std::vector<std::bitset<256>> sets; // unit -3 is sets[0], -4 sets[1], ...
        int anchor = -1; // index of the first single-byte unit, -1 if there is none

        bool matches(qint16 unit, char16_t c) const
        {
            if (unit >= 0) {
                return c == char16_t(unit);
            }
            return unit == AnyByte || sets[size_t(-3 - unit)].test(c & 0xFF);
        }
        std::bitset<256> bytesOf(qint16 unit) const
        {
            if (unit >= 0) {
                return std::bitset<256>().set(size_t(unit));
            }
            return unit == AnyByte ? std::bitset<256>().set() : sets[size_t(-3 - unit)];
        }
    };
    struct Plan
    {
        Method method = Method::Inactive;
        int fixedLength = 0; // units of one segment without any-run: every match's length
        // Units: the segments between any-runs. Search: at most one, the literal start.
        std::vector<Segment> segments;
        QRegularExpression regex;
    };

    void prepare(Window &window) const;
    void evaluate(Window &window, int rule) const;
    bool wordBit(const std::vector<quint64> &mask, int rule) const;

    static Segment makeSegment(const std::vector<qint16> &units,
                               std::vector<std::bitset<256>> sets);
    static qsizetype findSegment(const Segment &segment, QStringView text, qsizetype from);
    static qsizetype findSegmentTail(const Segment &segment, QStringView text, qsizetype from);

    std::vector<Plan> plans;
    int words = 0;
    std::vector<quint64> eligible;
    std::vector<quint64> dependent;
    // Rules whose last byte is not known in advance (expressions).
    std::vector<quint64> openEnded;
    // 256 rows of twice `words`: the rules whose match can begin with that byte, then
    // the rules whose match can end with it.
    std::vector<quint64> byteRules;
};
