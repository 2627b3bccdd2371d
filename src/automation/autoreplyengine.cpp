#include "automation/autoreplyengine.h"

#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"

#include <QRandomGenerator>

#include <limits>

namespace {

// The literal byte rule: an ASCII letter or digit stands as itself, every other byte
// as \x{hh}, so that no byte can mean anything to the expression syntax.
QString literalByte(int byte)
{
    const bool alnum = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                       (byte >= 'A' && byte <= 'Z');
    if (alnum) {
        return QString(QChar(char16_t(byte)));
    }
    return QStringLiteral("\\x{%1}").arg(byte, 2, 16, QLatin1Char('0'));
}

// Every expression carries a bound on the work one search may do, so that a pattern
// with catastrophic backtracking gives up (and finds nothing) instead of freezing the
// event loop. It goes behind the user's own start options: of two limits the later
// one counts, and start options must stay at the very start.
QString boundedExpression(const QString &expression)
{
    const qsizetype at = AutoReplyMatcher::startOptionsLength(expression);
    return expression.left(at) +
           QStringLiteral("(*LIMIT_MATCH=%1)").arg(AutoReplyEngine::MatchLimit) +
           expression.mid(at);
}

// A Regex pattern as the expression it stands for: its bytes in the received-data
// encoding, read as Latin-1.
bool regexExpression(const QString &pattern, const QString &rxEncoding, QString &expressionOut,
                     QString &errorOut)
{
    const WireTextCodecRegistry::Encoded encoded = WireTextCodecRegistry::encode(pattern, rxEncoding);
    if (!encoded.ok) {
        errorOut = encoded.error;
        return false;
    }
    expressionOut = QString::fromLatin1(encoded.bytes);
    return true;
}

int defaultRandom()
{
    // Uniform over 0..99: a 32-bit number scaled by 100, the upper 32 bits taken.
    return int((quint64(QRandomGenerator::global()->generate()) * 100U) >> 32);
}

} // namespace

AutoReplyEngine::AutoReplyEngine()
    : rxName(WireTextCodecRegistry::defaultEncoding()),
      txName(WireTextCodecRegistry::defaultEncoding()),
      random(defaultRandom)
{
}

void AutoReplyEngine::setConfig(const AutoReplyConfig &config, const QString &rxEncoding,
                                const QString &txEncoding)
{
    current = config;
    rxName = rxEncoding;
    txName = txEncoding;
    hitCounts = QList<int>(config.rules.size(), 0);
    compileAll();
}

void AutoReplyEngine::setEncodings(const QString &rxEncoding, const QString &txEncoding)
{
    if (rxEncoding == rxName && txEncoding == txName) {
        return;
    }
    rxName = rxEncoding;
    txName = txEncoding;
    compileAll();
}

void AutoReplyEngine::compileAll()
{
    const qsizetype count = current.rules.size();
    compiledRules.clear();
    compiledRules.reserve(count);
    active = QList<quint8>(count, 0);
    hitCounts.resize(count);
    QList<AutoReplyMatcher::Pattern> patterns(count);

    for (qsizetype i = 0; i < count; ++i) {
        const AutoReplyRule &rule = current.rules.at(i);
        Compiled compiled;
        if (compilePattern(rule, rxName, compiled.regex, compiled.error)) {
            compiled.valid = encodeReply(rule, txName, compiled.reply, compiled.error);
        }
        active[i] = rule.enabled && compiled.valid;

        AutoReplyMatcher::Pattern &pattern = patterns[i];
        pattern.active = active[i];
        if (pattern.active) {
            QString ignored;
            if (rule.match == AutoReplyMatch::Regex) {
                pattern.isRegex = true;
                pattern.regex = compiled.regex;
                regexExpression(rule.pattern, rxName, pattern.expression, ignored);
            } else {
                patternUnits(rule, rxName, pattern.units, ignored);
            }
        }
        compiledRules.append(compiled);
    }

    activeTotal = activeRuleCount();
    windows.clear();
    matcher.setPatterns(patterns);
    for (int i = 0; i < int(count); ++i) {
        updateEligible(i);
    }
}

QList<AutoReplyHit> AutoReplyEngine::feed(const QByteArray &data, const QString &source,
                                          qint64 nowMs)
{
    QList<AutoReplyHit> result;
    if (data.isEmpty() || activeTotal == 0) {
        return result;
    }
    if (windows.size() >= PruneWindowCount && !windows.contains(source)) {
        windows.removeIf([&](const QHash<QString, Window>::iterator &it) {
            return nowMs - it.value().lastMs > windowIdleMs;
        });
    }
    Window &window = windows[source];
    // A pause of more than a second ends any partial message.
    if (!window.bytes.isEmpty() && nowMs - window.lastMs > windowIdleMs) {
        matcher.clear(window.bytes);
    }
    matcher.append(window.bytes, data, windowLimit);
    window.lastMs = nowMs;

    while (!window.bytes.isEmpty()) {
        const AutoReplyMatcher::Match match = matcher.next(window.bytes);
        if (match.rule < 0) {
            break; // what remains waits for more data
        }
        // The match and any junk in front of it are used up.
        matcher.consume(window.bytes, match.end);
        result.append(resolve(match.rule, source, nowMs));
    }
    return result;
}

AutoReplyHit AutoReplyEngine::resolve(int ruleIndex, const QString &source, qint64 nowMs)
{
    AutoReplyHit hit;
    hit.rule = ruleIndex;
    hit.source = source;
    if (ruleIndex < 0 || ruleIndex >= ruleCount()) {
        hit.outcome = AutoReplyOutcome::EmptyReply;
        return hit;
    }
    const AutoReplyRule &rule = current.rules.at(ruleIndex);
    // Every match counts, silent or not: the hit limit and the every-N cycle see them all.
    int &count = hitCounts[ruleIndex];
    if (count < std::numeric_limits<int>::max()) {
        ++count;
    }
    updateEligible(ruleIndex);

    if (current.playDead) {
        hit.outcome = AutoReplyOutcome::PlayingDead;
    } else if (rule.everyN > 1 && count % rule.everyN != 0) {
        hit.outcome = AutoReplyOutcome::NotNth;
    } else if (rule.dropPercent > 0 && rule.dropPercent > random()) {
        hit.outcome = AutoReplyOutcome::Dropped;
    } else if (compiledRules.at(ruleIndex).reply.isEmpty()) {
        hit.outcome = AutoReplyOutcome::EmptyReply;
    } else {
        hit.outcome = AutoReplyOutcome::Send;
        hit.reply = compiledRules.at(ruleIndex).reply;
        hit.dueMs = nowMs + std::max(rule.delayMs, 0);
    }
    return hit;
}

bool AutoReplyEngine::encodeEscapedText(const QString &text, const QString &encoding,
                                        QByteArray &bytesOut, QString &errorOut)
{
    static const FormatSetting plain = [] {
        FormatSetting format;
        format.sendEscapes = true;
        format.txLineEndingMode = LineEndingNone;
        format.sendChecksum = 0;
        return format;
    }();
    FormatSetting format = plain;
    format.sendEncoding = encoding;
    const EncodeSendResult result = MessageCodec::encodeSend(text, false, format);
    bytesOut = result.ok ? result.bytes : QByteArray();
    errorOut = result.ok ? QString() : result.error;
    return result.ok;
}

bool AutoReplyEngine::patternUnits(const AutoReplyRule &rule, const QString &rxEncoding,
                                   QList<int> &unitsOut, QString &errorOut)
{
    unitsOut.clear();
    errorOut.clear();
    if (rule.pattern.isEmpty()) {
        errorOut = tr("The pattern is empty.");
        return false;
    }
    const auto appendText = [&](const QString &text) {
        QByteArray bytes;
        if (!encodeEscapedText(text, rxEncoding, bytes, errorOut)) {
            return false;
        }
        for (const char byte : std::as_const(bytes)) {
            unitsOut.append(quint8(byte));
        }
        return true;
    };

    switch (rule.match) {
    case AutoReplyMatch::Regex:
        return false;
    case AutoReplyMatch::Hex:
        // parseHex gives -1 for "??", which is AnyByte.
        if (!parseHex(rule.pattern, true, unitsOut, errorOut)) {
            unitsOut.clear();
            return false;
        }
        return true;
    case AutoReplyMatch::Wildcard: {
        // A backslash and the character after it stay together, so "\*" is no wildcard
        // (the encoder then names it); "*" and "?" split the text, which goes through
        // the encoder piece by piece.
        const QString &pattern = rule.pattern;
        QString pending;
        for (qsizetype i = 0; i < pattern.size(); ++i) {
            const QChar c = pattern.at(i);
            if (c == u'\\' && i + 1 < pattern.size()) {
                pending += c;
                pending += pattern.at(++i);
            } else if (c == u'*' || c == u'?') {
                if (!pending.isEmpty() && !appendText(pending)) {
                    unitsOut.clear();
                    return false;
                }
                pending.clear();
                unitsOut.append(c == u'*' ? AutoReplyMatcher::AnyRun : AutoReplyMatcher::AnyByte);
            } else {
                pending += c;
            }
        }
        if (!pending.isEmpty() && !appendText(pending)) {
            unitsOut.clear();
            return false;
        }
        return true;
    }
    case AutoReplyMatch::Text:
    default:
        if (!appendText(rule.pattern)) {
            unitsOut.clear();
            return false;
        }
        return true;
    }
}

bool AutoReplyEngine::compilePattern(const AutoReplyRule &rule, const QString &rxEncoding,
                                     QRegularExpression &regexOut, QString &errorOut)
{
    regexOut = QRegularExpression();
    errorOut.clear();
    if (rule.pattern.isEmpty()) {
        errorOut = tr("The pattern is empty.");
        return false;
    }

    QString expression;
    QRegularExpression::PatternOptions options = QRegularExpression::DotMatchesEverythingOption;
    if (rule.match == AutoReplyMatch::Regex) {
        if (!regexExpression(rule.pattern, rxEncoding, expression, errorOut)) {
            return false;
        }
        options = QRegularExpression::NoPatternOption;
    } else {
        QList<int> units;
        if (!patternUnits(rule, rxEncoding, units, errorOut)) {
            return false;
        }
        for (const int unit : std::as_const(units)) {
            if (unit == AutoReplyMatcher::AnyByte) {
                expression += u'.';
            } else if (unit == AutoReplyMatcher::AnyRun) {
                expression += QStringLiteral(".*?");
            } else {
                expression += literalByte(unit);
            }
        }
    }

    QRegularExpression regex(boundedExpression(expression), options);
    if (!regex.isValid()) {
        errorOut = tr("Invalid regular expression: %1").arg(regex.errorString());
        return false;
    }
    if (regex.match(QString()).hasMatch()) {
        errorOut = tr("The pattern matches empty input.");
        return false;
    }
    regex.optimize();
    regexOut = regex;
    return true;
}

bool AutoReplyEngine::encodeReply(const AutoReplyRule &rule, const QString &txEncoding,
                                  QByteArray &bytesOut, QString &errorOut)
{
    bytesOut.clear();
    errorOut.clear();
    QByteArray bytes;
    if (rule.replyFormat == 1) {
        QList<int> values;
        if (!parseHex(rule.reply, false, values, errorOut)) {
            return false;
        }
        bytes.reserve(values.size());
        for (const int value : std::as_const(values)) {
            bytes.append(char(value));
        }
    } else if (!encodeEscapedText(rule.reply, txEncoding, bytes, errorOut)) {
        return false;
    }
    // The checksum is part of the compiled reply. Nothing gets no checksum: a reply
    // without bytes stays silent whatever the mode says.
    bytesOut = bytes.isEmpty() ? bytes : MessageCodec::appendChecksum(bytes, rule.checksum);
    return true;
}

bool AutoReplyEngine::parseHex(const QString &text, bool allowWildcard, QList<int> &valuesOut,
                               QString &errorOut)
{
    static const QRegularExpression separators(QStringLiteral("[\\s,]+"));
    valuesOut.clear();
    errorOut.clear();
    const QStringList parts = text.split(separators, Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        if (part.size() % 2 != 0) {
            errorOut = tr("\"%1\" is not whole bytes: use two hex digits per byte.").arg(part);
            valuesOut.clear();
            return false;
        }
        for (qsizetype i = 0; i < part.size(); i += 2) {
            const QString pair = part.mid(i, 2);
            if (pair == QStringLiteral("??")) {
                if (!allowWildcard) {
                    errorOut = tr("?? (any byte) is only allowed in a pattern, not in a reply.");
                    valuesOut.clear();
                    return false;
                }
                valuesOut.append(-1);
                continue;
            }
            const auto digit = [](QChar c) {
                const char16_t u = c.unicode();
                if (u >= u'0' && u <= u'9') {
                    return int(u - u'0');
                }
                if (u >= u'a' && u <= u'f') {
                    return int(u - u'a' + 10);
                }
                if (u >= u'A' && u <= u'F') {
                    return int(u - u'A' + 10);
                }
                return -1;
            };
            const int high = digit(pair.at(0));
            const int low = digit(pair.at(1));
            if (high < 0 || low < 0) {
                errorOut = tr("\"%1\" is not a hex byte.").arg(pair);
                valuesOut.clear();
                return false;
            }
            valuesOut.append(high * 16 + low);
        }
    }
    return true;
}

QString AutoReplyEngine::matchName(AutoReplyMatch match)
{
    switch (match) {
    case AutoReplyMatch::Hex:
        return tr("Hex");
    case AutoReplyMatch::Wildcard:
        return tr("Wildcard");
    case AutoReplyMatch::Regex:
        return tr("Regular expression");
    case AutoReplyMatch::Text:
    default:
        return tr("Text");
    }
}

QString AutoReplyEngine::outcomeWord(AutoReplyOutcome outcome)
{
    switch (outcome) {
    case AutoReplyOutcome::EmptyReply:
        return tr("empty reply");
    case AutoReplyOutcome::PlayingDead:
        return tr("playing dead");
    case AutoReplyOutcome::NotNth:
        return tr("not the Nth match");
    case AutoReplyOutcome::Dropped:
        return tr("dropped");
    case AutoReplyOutcome::Send:
    default:
        return QString();
    }
}

QString AutoReplyEngine::ruleError(int index) const
{
    return index >= 0 && index < compiledRules.size() ? compiledRules.at(index).error : QString();
}

bool AutoReplyEngine::ruleActive(int index) const
{
    return index >= 0 && index < active.size() && active.at(index) != 0;
}

int AutoReplyEngine::hits(int index) const
{
    return index >= 0 && index < hitCounts.size() ? hitCounts.at(index) : 0;
}

int AutoReplyEngine::enabledRuleCount() const
{
    int count = 0;
    for (qsizetype i = 0; i < current.rules.size(); ++i) {
        count += current.rules.at(i).enabled && compiledRules.at(i).valid ? 1 : 0;
    }
    return count;
}

int AutoReplyEngine::activeRuleCount() const
{
    int count = 0;
    for (const quint8 flag : active) {
        count += flag;
    }
    return count;
}

void AutoReplyEngine::resetCounts()
{
    for (int i = 0; i < hitCounts.size(); ++i) {
        const bool was = matcher.isEligible(i);
        hitCounts[i] = 0;
        updateEligible(i);
        // A rule held back by its hit limit has not been looking at the data since.
        if (!was && matcher.isEligible(i)) {
            for (Window &window : windows) {
                matcher.restart(window.bytes, i);
            }
        }
    }
}

void AutoReplyEngine::setWindowBytes(int bytes)
{
    windowLimit = std::max(bytes, 1);
}

QByteArray AutoReplyEngine::windowData(const QString &source) const
{
    const auto it = windows.constFind(source);
    return it == windows.constEnd() ? QByteArray() : it->bytes.toByteArray();
}

void AutoReplyEngine::clearWindows()
{
    windows.clear();
}

void AutoReplyEngine::setRandomSource(RandomSource source)
{
    random = source ? std::move(source) : RandomSource(defaultRandom);
}

bool AutoReplyEngine::withinHitLimit(int index) const
{
    const int limit = current.rules.at(index).maxHits;
    return limit <= 0 || hitCounts.at(index) < limit;
}

void AutoReplyEngine::updateEligible(int index)
{
    matcher.setEligible(index, ruleActive(index) && withinHitLimit(index));
}
