// Fuzzes AutoReplyEngine: rules of every kind built from the input (text with escapes,
// hex with "??", wildcards, regular expressions with anchors, lookarounds, classes and
// alternation), compiled, then fed chunks from several sources at increasing times,
// with hit limits, every-N, drops, small windows and count resets.
//
// Besides crashes and sanitizer reports it checks the engine against a plain reading of
// the matching rules: each pass runs every rule's expression over the whole window and
// takes the earliest end. The engine scans incrementally; both must give the same hits,
// in the same order, and leave the same bytes in every window. Patterns are kept small
// enough that no search reaches the engine's work limit, where the two could part.

#include "automation/autoreplyengine.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QHash>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// What led to the present state, printed when an invariant breaks.
QString trace;

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "%s", qPrintable(trace));
        std::fprintf(stderr, "invariant broken: auto reply: %s\n", what);
        std::abort();
    }
}

QString escaped(const QByteArray &bytes)
{
    QString text;
    for (const char byte : bytes) {
        const uchar value = uchar(byte);
        text += value >= 0x20 && value < 0x7f && value != '\\'
                    ? QString(QChar(char16_t(value)))
                    : QStringLiteral("\\x%1").arg(value, 2, 16, QLatin1Char('0'));
    }
    return text;
}

template<size_t N>
const char *pick(FuzzedDataProvider &input, const char *const (&tokens)[N])
{
    return tokens[input.ConsumeIntegralInRange<size_t>(0, N - 1)];
}

QString textPattern(FuzzedDataProvider &input)
{
    static const char *const tokens[] = {"a", "b", "c", "\\r", "\\n", "\\x41", "\\x00", "\\xff",
                                         "*", "é", " ", "\\q", "\\"};
    QString pattern;
    const int count = input.ConsumeIntegralInRange(0, 5);
    for (int i = 0; i < count; ++i) {
        pattern += QString::fromUtf8(pick(input, tokens));
    }
    return pattern;
}

QString hexPattern(FuzzedDataProvider &input, bool wildcards)
{
    static const char *const tokens[] = {"61", "62", "??", "0d", "0A", "00", "ff", "c3a9", " ",
                                         ",", "6", "zz", "?1"};
    QString pattern;
    const int count = input.ConsumeIntegralInRange(0, 5);
    for (int i = 0; i < count; ++i) {
        const QString token = QString::fromLatin1(pick(input, tokens));
        if (!wildcards && token.contains(u'?') && input.ConsumeBool()) {
            continue;
        }
        pattern += token + u' ';
    }
    return pattern;
}

QString wildcardPattern(FuzzedDataProvider &input)
{
    static const char *const tokens[] = {"a", "b", "*", "?", "\\r", "\\x2A", "\\n", "é", "\\*"};
    QString pattern;
    int stars = 0;
    const int count = input.ConsumeIntegralInRange(0, 5);
    for (int i = 0; i < count; ++i) {
        QString token = QString::fromUtf8(pick(input, tokens));
        if (token == QStringLiteral("*") && ++stars > 3) {
            token = QStringLiteral("a");
        }
        pattern += token;
    }
    return pattern;
}

// A small expression without nested quantifiers; unbounded quantifiers are few (two
// over windows of 16 bytes, one over 64, none over larger ones), so that no search
// comes near the work limit.
QString regexPattern(FuzzedDataProvider &input, int windowBytes)
{
    const int openAllowed = windowBytes <= 16 ? 2 : windowBytes <= 64 ? 1 : 0;
    static const char *const atoms[] = {"a",      "b",     "c",   ".",     "[ab]",   "[^a]",
                                        "\\d",    "\\r",   "\\n", "(a|b)", "(?=a)",  "(?<=a)",
                                        "(?!b)",  "^",     "$",   "\\b",   "\\x00",  "é",
                                        "(?i)A",  "\\z",   "\\G", "(?:ab)", "[[:alpha:]]",
                                        "\\Qa.\\E", "(*COMMIT)", "\\K", "(?<n>a)\\k<n>"};
    static const char *const quantifiers[] = {"", "", "", "?", "*", "+", "*?", "{1,2}", "{2}"};
    QString pattern;
    int unbounded = 0;
    const int count = input.ConsumeIntegralInRange(1, 4);
    for (int i = 0; i < count; ++i) {
        pattern += QString::fromUtf8(pick(input, atoms));
        QString quantifier = QString::fromLatin1(pick(input, quantifiers));
        const bool open = quantifier.contains(u'*') || quantifier.contains(u'+');
        if (open && ++unbounded > openAllowed) {
            quantifier = QStringLiteral("?");
        }
        pattern += quantifier;
        if (input.ConsumeIntegralInRange(0, 9) == 0) {
            pattern += u'|';
        }
    }
    return pattern;
}

// The plain reading: windows of bytes, every expression over all of them each pass.
class Reference
{
public:
    Reference(const AutoReplyEngine &engine, int windowBytes, std::uint32_t seed)
        : engine(engine), windowBytes(windowBytes), hitCounts(engine.ruleCount(), 0), state(seed)
    {
    }

    QList<AutoReplyHit> feed(const QByteArray &data, const QString &source, qint64 nowMs)
    {
        QList<AutoReplyHit> result;
        if (data.isEmpty() || engine.activeRuleCount() == 0) {
            return result;
        }
        if (windows.size() >= AutoReplyEngine::PruneWindowCount && !windows.contains(source)) {
            windows.removeIf([&](const QHash<QString, Window>::iterator &it) {
                return nowMs - it.value().lastMs > AutoReplyEngine::WindowIdleMs;
            });
        }
        Window &window = windows[source];
        if (!window.bytes.isEmpty() && nowMs - window.lastMs > AutoReplyEngine::WindowIdleMs) {
            window.bytes.clear();
        }
        window.bytes += data;
        window.lastMs = nowMs;
        if (window.bytes.size() > windowBytes) {
            window.bytes.remove(0, window.bytes.size() - windowBytes);
        }
        while (!window.bytes.isEmpty()) {
            const QString text = QString::fromLatin1(window.bytes);
            int winner = -1;
            qsizetype winnerEnd = 0;
            for (int i = 0; i < engine.ruleCount(); ++i) {
                const int limit = engine.config().rules.at(i).maxHits;
                if (!engine.ruleActive(i) || (limit > 0 && hitCounts[i] >= limit)) {
                    continue;
                }
                const QRegularExpressionMatch match = engine.compiled(i).regex.match(text);
                if (match.hasMatch() && match.capturedLength() > 0 &&
                    (winner < 0 || match.capturedEnd() < winnerEnd)) {
                    winner = i;
                    winnerEnd = match.capturedEnd();
                }
            }
            if (winner < 0) {
                break;
            }
            window.bytes.remove(0, winnerEnd);
            result.append(resolve(winner, source, nowMs));
        }
        return result;
    }

    QByteArray windowData(const QString &source) const { return windows.value(source).bytes; }
    int hits(int rule) const { return hitCounts.at(rule); }
    void resetCounts() { hitCounts.fill(0); }
    int random() { return int((state = state * 1103515245U + 12345U) >> 16) % 101; }

private:
    struct Window
    {
        QByteArray bytes;
        qint64 lastMs = 0;
    };

    AutoReplyHit resolve(int rule, const QString &source, qint64 nowMs)
    {
        const AutoReplyRule &r = engine.config().rules.at(rule);
        const int count = ++hitCounts[rule];
        AutoReplyHit hit;
        hit.rule = rule;
        hit.source = source;
        if (engine.config().playDead) {
            hit.outcome = AutoReplyOutcome::PlayingDead;
        } else if (r.everyN > 1 && count % r.everyN != 0) {
            hit.outcome = AutoReplyOutcome::NotNth;
        } else if (r.dropPercent > 0 && r.dropPercent > random()) {
            hit.outcome = AutoReplyOutcome::Dropped;
        } else if (engine.compiled(rule).reply.isEmpty()) {
            hit.outcome = AutoReplyOutcome::EmptyReply;
        } else {
            hit.outcome = AutoReplyOutcome::Send;
            hit.reply = engine.compiled(rule).reply;
            hit.dueMs = nowMs + std::max(r.delayMs, 0);
        }
        return hit;
    }

    const AutoReplyEngine &engine;
    const int windowBytes;
    QHash<QString, Window> windows;
    QList<int> hitCounts;
    std::uint32_t state;
};

bool sameHit(const AutoReplyHit &a, const AutoReplyHit &b)
{
    return a.rule == b.rule && a.outcome == b.outcome && a.reply == b.reply &&
           a.dueMs == b.dueMs && a.source == b.source;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    static const int windowSizes[] = {4, 16, 64, 4096};
    const int windowBytes = windowSizes[input.ConsumeIntegralInRange(0, 3)];
    const bool largeWindow = windowBytes > 64;
    static const char *const encodings[] = {"UTF-8", "ISO-8859-1", "GB18030", "Shift-JIS"};
    const QString rxEncoding = QString::fromLatin1(pick(input, encodings));
    const QString txEncoding = QString::fromLatin1(pick(input, encodings));

    AutoReplyConfig config;
    config.playDead = input.ConsumeIntegralInRange(0, 7) == 0;
    const int ruleCount = input.ConsumeIntegralInRange(1, 6);
    for (int i = 0; i < ruleCount; ++i) {
        AutoReplyRule rule;
        rule.enabled = input.ConsumeIntegralInRange(0, 7) != 0;
        rule.match = AutoReplyMatch(input.ConsumeIntegralInRange(0, 3));
        switch (rule.match) {
        case AutoReplyMatch::Text: rule.pattern = textPattern(input); break;
        case AutoReplyMatch::Hex: rule.pattern = hexPattern(input, true); break;
        case AutoReplyMatch::Wildcard: rule.pattern = wildcardPattern(input); break;
        case AutoReplyMatch::Regex: rule.pattern = regexPattern(input, windowBytes); break;
        }
        rule.replyFormat = input.ConsumeIntegralInRange(0, 1);
        rule.reply = rule.replyFormat == 1 ? hexPattern(input, false) : textPattern(input);
        rule.delayMs = input.ConsumeIntegralInRange(-5, 300);
        rule.checksum = input.ConsumeIntegralInRange(0, 6);
        rule.maxHits = input.ConsumeIntegralInRange(0, 3);
        rule.everyN = input.ConsumeIntegralInRange(0, 3);
        rule.dropPercent = input.ConsumeIntegralInRange(0, 2) * 50;
        config.rules.append(rule);
    }

    trace = QStringLiteral("window %1, encodings %2 %3, play dead %4\n")
                .arg(windowBytes)
                .arg(rxEncoding, txEncoding)
                .arg(config.playDead);
    for (const AutoReplyRule &rule : std::as_const(config.rules)) {
        trace += QStringLiteral("rule %1 kind %2 pattern [%3] reply [%4] max %5 every %6 drop %7\n")
                     .arg(rule.enabled)
                     .arg(int(rule.match))
                     .arg(rule.pattern, rule.reply)
                     .arg(rule.maxHits)
                     .arg(rule.everyN)
                     .arg(rule.dropPercent);
    }

    AutoReplyEngine engine;
    engine.setWindowBytes(windowBytes);
    engine.setConfig(config, rxEncoding, txEncoding);
    const std::uint32_t seed = input.ConsumeIntegral<std::uint32_t>();
    Reference reference(engine, windowBytes, seed);
    std::uint32_t state = seed;
    engine.setRandomSource(
        [&state] { return int((state = state * 1103515245U + 12345U) >> 16) % 101; });

    for (int i = 0; i < ruleCount; ++i) {
        const AutoReplyEngine::Compiled &compiled = engine.compiled(i);
        require(compiled.valid == compiled.error.isEmpty(), "valid and error disagree");
        require(engine.ruleActive(i) == (config.rules.at(i).enabled && compiled.valid),
                "active is not enabled and valid");
        require(compiled.valid || compiled.reply.isEmpty(), "invalid rule with a reply");
        require(!compiled.valid || !compiled.regex.match(QString()).hasMatch(),
                "a valid pattern matches empty input");
    }

    static const QString sources[] = {QString(), QStringLiteral("10.0.0.1:5000"),
                                      QStringLiteral("10.0.0.2:5001")};
    static const char alphabet[] = {'a', 'b', 'c', '\r', '\n', 'A', '0', '1', '\0', '*', ' ',
                                    char(0xff), char(0xc3), char(0xa9)};
    static const int gaps[] = {0, 0, 1, 10, 999, 1000, 1001, 5000};
    qint64 nowMs = 0;
    while (input.remaining_bytes() > 0) {
        const int action = input.ConsumeIntegralInRange(0, 31);
        if (action == 0) {
            trace += QStringLiteral("reset counts\n");
            engine.resetCounts();
            reference.resetCounts();
            continue;
        }
        nowMs += gaps[input.ConsumeIntegralInRange(0, 7)];
        const QString &source = sources[input.ConsumeIntegralInRange(0, 2)];
        QByteArray chunk;
        const int length = input.ConsumeIntegralInRange(1, largeWindow ? 300 : 24);
        for (int k = 0; k < length && input.remaining_bytes() > 0; ++k) {
            chunk += alphabet[input.ConsumeIntegralInRange<size_t>(0, sizeof alphabet - 1)];
        }
        if (chunk.isEmpty()) {
            break;
        }

        const QList<AutoReplyHit> hits = engine.feed(chunk, source, nowMs);
        const QList<AutoReplyHit> expected = reference.feed(chunk, source, nowMs);
        trace += QStringLiteral("feed [%1] from [%2] at %3: %4 hits, expected %5\n")
                     .arg(escaped(chunk), source)
                     .arg(nowMs)
                     .arg(hits.size())
                     .arg(expected.size());
        for (const AutoReplyHit &hit : hits) {
            trace += QStringLiteral(" hit %1").arg(hit.rule);
        }
        trace += QStringLiteral(", expected");
        for (const AutoReplyHit &hit : expected) {
            trace += QStringLiteral(" hit %1").arg(hit.rule);
        }
        trace += u'\n';
        require(hits.size() == expected.size(), "hit count differs from a full rescan");
        for (qsizetype k = 0; k < hits.size(); ++k) {
            require(sameHit(hits.at(k), expected.at(k)), "hit differs from a full rescan");
            const AutoReplyHit &hit = hits.at(k);
            require(hit.outcome != AutoReplyOutcome::Send || !hit.reply.isEmpty(),
                    "a reply without bytes is sent");
        }
        if (engine.windowData(source) != reference.windowData(source)) {
            trace += QStringLiteral("window [%1], expected [%2]\n")
                         .arg(escaped(engine.windowData(source)),
                              escaped(reference.windowData(source)));
        }
        require(engine.windowData(source) == reference.windowData(source),
                "window differs from a full rescan");
        require(engine.windowData(source).size() <= windowBytes, "window above its size");
        for (int i = 0; i < ruleCount; ++i) {
            require(engine.hits(i) == reference.hits(i), "hit counts differ");
            const int limit = config.rules.at(i).maxHits;
            require(limit <= 0 || engine.hits(i) <= limit, "a rule went past its hit limit");
        }
    }
    return 0;
}
