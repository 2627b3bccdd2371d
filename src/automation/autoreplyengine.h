#pragma once

// Auto reply without a clock, a timer or a port: the rules that let a port play a
// device, compiled once, and the per-source byte windows in which received data is
// matched against them. The caller passes the time with every call and gets back what
// each match amounts to; AutoReplyRunner owns an engine on a live port, and the rule
// dialog's test box builds one of its own.

#include "automation/autoreplymatcher.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QMetaType>
#include <QRegularExpression>
#include <QString>

#include <functional>

// How a rule's pattern is read; the values are the stored ones.
enum class AutoReplyMatch : qint32 {
    Text = 0,
    Hex = 1,
    Wildcard = 2,
    Regex = 3,
};

// What became of a match.
enum class AutoReplyOutcome : qint32 {
    Send = 0,        // a reply is to be sent
    EmptyReply = 1,  // the rule's compiled reply has no bytes
    PlayingDead = 2, // the configuration's play-dead switch is on
    NotNth = 3,      // the rule answers only every N-th match
    Dropped = 4,     // the random drop took it, or the pending queue was full
};

struct AutoReplyRule
{
    bool enabled = true;
    QString name;
    AutoReplyMatch match = AutoReplyMatch::Text;
    QString pattern;
    int replyFormat = 0; // 0 text, 1 hex
    QString reply;       // empty: the rule swallows what it matches
    int delayMs = 0;     // 0 to 600000
    int checksum = 0;    // send-path checksum mode, 0 to 5
    int maxHits = 0;     // 0: no limit
    int everyN = 1;      // 1: every match
    int dropPercent = 0; // 0 to 100

    bool operator==(const AutoReplyRule &) const = default;
};

struct AutoReplyConfig
{
    bool playDead = false;
    bool showNotes = true;
    QList<AutoReplyRule> rules;

    bool operator==(const AutoReplyConfig &) const = default;
};

struct AutoReplyHit
{
    int rule = -1;
    AutoReplyOutcome outcome = AutoReplyOutcome::Send;
    QByteArray reply; // only for Send
    qint64 dueMs = 0; // only for Send
    QString source;
};

class AutoReplyEngine
{
    Q_DECLARE_TR_FUNCTIONS(AutoReplyEngine)

public:
    // One per rule, index-parallel to the rules.
    struct Compiled
    {
        QRegularExpression regex;
        QByteArray reply;
        QString error; // empty when valid
        bool valid = false;
    };

    // One per data source: the bytes not yet consumed (kept by the matcher together
    // with where each rule stands in them) and the clock value of the last data.
    struct Window
    {
        AutoReplyMatcher::Window bytes;
        qint64 lastMs = 0;
    };

    using RandomSource = std::function<int()>;

    static constexpr int DefaultWindowBytes = 4096;
    static constexpr int WindowIdleMs = 1000;
    // Sources beyond this many make a new source prune the idle windows first.
    static constexpr int PruneWindowCount = 256;
    static constexpr int MaxDelayMs = 600000;
    // The work one search may do before it gives up and counts as finding nothing
    // (PCRE2's match limit, written into every expression). A search that reaches it
    // takes well under a millisecond on a current machine; the library's own default
    // would let one run for tens of milliseconds.
    static constexpr int MatchLimit = 200000;

    AutoReplyEngine();

    // Stores all three, zeroes the hit counts, drops every window and recompiles.
    void setConfig(const AutoReplyConfig &config, const QString &rxEncoding,
                   const QString &txEncoding);
    // Stores new encodings, drops every window and recompiles; hit counts stay.
    // Nothing happens when both names are the ones stored.
    void setEncodings(const QString &rxEncoding, const QString &txEncoding);
    const AutoReplyConfig &config() const { return current; }
    QString rxEncoding() const { return rxName; }
    QString txEncoding() const { return txName; }

    // Appends `data` to the window of `source` and returns a hit for each match it
    // consumed, in the order in which the matches end in the stream.
    QList<AutoReplyHit> feed(const QByteArray &data, const QString &source, qint64 nowMs);
    // Counts a match of the rule and decides what becomes of it.
    AutoReplyHit resolve(int ruleIndex, const QString &source, qint64 nowMs);

    // Rebuilds the compiled list, the active flags and the matcher from the rules.
    // Windows are dropped, since their scan state belongs to the old rules.
    void compileAll();

    // The pattern as one regular expression over bytes read as Latin-1, one character
    // per byte. Every expression is bounded: "(*LIMIT_MATCH=MatchLimit)" goes behind
    // the pattern's own start options, so that a search with catastrophic backtracking
    // gives up and finds nothing instead of holding the event loop.
    static bool compilePattern(const AutoReplyRule &rule, const QString &rxEncoding,
                               QRegularExpression &regexOut, QString &errorOut);
    // The reply's bytes with its checksum; an empty reply gives no bytes.
    static bool encodeReply(const AutoReplyRule &rule, const QString &txEncoding,
                            QByteArray &bytesOut, QString &errorOut);
    // "01 03 ?? FF": bytes in pairs of hex digits, separated by blanks or commas; "??"
    // stands for any byte (-1) where wildcards are allowed.
    static bool parseHex(const QString &text, bool allowWildcard, QList<int> &valuesOut,
                         QString &errorOut);
    // The byte units of a Text, Hex or Wildcard pattern: 0 to 255 a byte,
    // AutoReplyMatcher::AnyByte any one byte, AutoReplyMatcher::AnyRun any run of
    // bytes. A Regex pattern has none and fails with an empty error.
    static bool patternUnits(const AutoReplyRule &rule, const QString &rxEncoding,
                             QList<int> &unitsOut, QString &errorOut);
    // Text in `encoding` with the send path's escapes, nothing added.
    static bool encodeEscapedText(const QString &text, const QString &encoding,
                                  QByteArray &bytesOut, QString &errorOut);

    // "Text", "Hex", "Wildcard", "Regular expression".
    static QString matchName(AutoReplyMatch match);
    // The word the port session prints for a silent match; empty for Send.
    static QString outcomeWord(AutoReplyOutcome outcome);

    int ruleCount() const { return int(current.rules.size()); }
    const Compiled &compiled(int index) const { return compiledRules.at(index); }
    QString ruleError(int index) const;
    bool ruleActive(int index) const;
    int hits(int index) const;
    int enabledRuleCount() const;
    int activeRuleCount() const;
    void resetCounts();

    int windowBytes() const { return windowLimit; }
    void setWindowBytes(int bytes);
    int windowCount() const { return int(windows.size()); }
    // The bytes of the source's window that no match has consumed yet.
    QByteArray windowData(const QString &source) const;
    void clearWindows();

    // Replaces the random source of the drop; a null function restores the default,
    // which draws uniformly from 0 to 99.
    void setRandomSource(RandomSource source);

private:
    bool withinHitLimit(int index) const;
    void updateEligible(int index);

    AutoReplyConfig current;
    QString rxName;
    QString txName;
    QList<Compiled> compiledRules;
    QList<int> hitCounts;
    QList<quint8> active;
    int activeTotal = 0;
    int windowLimit = DefaultWindowBytes;
    int windowIdleMs = WindowIdleMs;
    RandomSource random;
    QHash<QString, Window> windows;
    AutoReplyMatcher matcher;
};

Q_DECLARE_METATYPE(AutoReplyOutcome)
