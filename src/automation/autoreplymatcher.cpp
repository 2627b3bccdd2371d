#include "automation/autoreplymatcher.h"

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <functional>

namespace {

constexpr int ByteValues = 256;
// Consumed characters are removed from the window's text once there are this many
// and they are at least half of it, so that removal costs O(1) a byte on average.
constexpr qsizetype CompactAt = 4096;
// The window's text holds Latin-1 characters only, always valid UTF-16: checking it again
// on every search would cost a pass over the whole window each time.
constexpr QRegularExpression::MatchOptions WindowMatch =
    QRegularExpression::DontCheckSubjectStringMatchOption;
// Units at and below this stand for a byte set of the segment: SetUnitBase - index.
constexpr int SetUnitBase = -3;

char16_t charAt(QStringView text, qsizetype index)
{
    return index < text.size() ? text.at(index).unicode() : u'\0';
}

bool isAsciiAlnum(char16_t c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isAsciiLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

int hexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9') {
        return c - u'0';
    }
    if (c >= u'a' && c <= u'f') {
        return c - u'a' + 10;
    }
    if (c >= u'A' && c <= u'F') {
        return c - u'A' + 10;
    }
    return -1;
}

bool isStartOption(QStringView name)
{
    static const QStringList plain = {
        QStringLiteral("UTF"),          QStringLiteral("UCP"),
        QStringLiteral("NOTEMPTY"),     QStringLiteral("NOTEMPTY_ATSTART"),
        QStringLiteral("NO_AUTO_POSSESS"), QStringLiteral("NO_DOTSTAR_ANCHOR"),
        QStringLiteral("NO_JIT"),       QStringLiteral("NO_START_OPT"),
        QStringLiteral("CR"),           QStringLiteral("LF"),
        QStringLiteral("CRLF"),         QStringLiteral("ANYCRLF"),
        QStringLiteral("ANY"),          QStringLiteral("NUL"),
        QStringLiteral("BSR_ANYCRLF"),  QStringLiteral("BSR_UNICODE"),
    };
    static const QStringList valued = {
        QStringLiteral("LIMIT_HEAP="),
        QStringLiteral("LIMIT_MATCH="),
        QStringLiteral("LIMIT_DEPTH="),
        QStringLiteral("LIMIT_RECURSION="),
    };
    for (const QString &option : plain) {
        if (name == option) {
            return true;
        }
    }
    for (const QString &option : valued) {
        if (name.startsWith(option) && name.size() > option.size()) {
            const QStringView digits = name.sliced(option.size());
            return std::all_of(digits.begin(), digits.end(),
                               [](QChar c) { return c >= u'0' && c <= u'9'; });
        }
    }
    return false;
}

// What the matcher needs to know of a regular expression's structure. The scan is
// conservative: anything it cannot place makes the expression context-dependent.
struct ExpressionShape
{
    // Whether the expression matches at a position depends only on the bytes from that
    // position on, never on what lies before it or on where the search starts, and a
    // match always takes at least one byte (an expression that matches no bytes at some
    // place could do so only through a lookahead).
    bool contextFree = true;
    // A "|" outside any group: the expression has no single head.
    bool alternation = false;
};

ExpressionShape shapeOf(QStringView e)
{
    ExpressionShape shape;
    const qsizetype n = e.size();
    qsizetype i = AutoReplyMatcher::startOptionsLength(e);
    // Refusing an empty match only at the search's start makes the start matter.
    if (e.first(i).contains(u"NOTEMPTY_ATSTART")) {
        shape.contextFree = false;
    }
    int depth = 0;
    bool inClass = false;
    while (i < n) {
        const char16_t c = e.at(i).unicode();
        if (c == u'\\') {
            const char16_t d = charAt(e, i + 1);
            if (d == u'Q') {
                const qsizetype close = e.indexOf(u"\\E", i + 2);
                i = close < 0 ? n : close + 2;
                continue;
            }
            // \b and \B look behind; \A and \G depend on where the search starts; \K
            // moves the reported start in front of which the match really began.
            if (!inClass && (d == u'b' || d == u'B' || d == u'A' || d == u'G' || d == u'K')) {
                shape.contextFree = false;
            }
            i += d == u'c' ? 3 : 2;
            continue;
        }
        if (inClass) {
            if (c == u'[' && charAt(e, i + 1) == u':') {
                const qsizetype close = e.indexOf(u":]", i + 2);
                i = close < 0 ? n : close + 2;
                continue;
            }
            if (c == u']') {
                inClass = false;
            }
            ++i;
            continue;
        }
        switch (c) {
        case u'[':
            inClass = true;
            ++i;
            if (charAt(e, i) == u'^') {
                ++i;
            }
            if (charAt(e, i) == u']') {
                ++i;
            }
            continue;
        case u'(': {
            const char16_t x = charAt(e, i + 1);
            if (x == u'*') {
                // Backtracking verbs and the (*name:...) assertions.
                shape.contextFree = false;
            } else if (x == u'?') {
                const char16_t y = charAt(e, i + 2);
                if (y == u'#') {
                    const qsizetype close = e.indexOf(u')', i + 3);
                    i = close < 0 ? n : close + 1;
                    continue;
                }
                if (y == u'<') {
                    const char16_t z = charAt(e, i + 3);
                    if (z == u'=' || z == u'!' || z == u'*') {
                        shape.contextFree = false; // lookbehind
                    }
                } else if (y == u'=' || y == u'!' || y == u'(' || y == u'C' || y == u'*') {
                    // Lookaheads can make a match of no bytes that blocks the rule at
                    // its place; conditions and callouts are not followed here.
                    shape.contextFree = false;
                } else {
                    // Option settings such as (?i) or (?-s:...); extended syntax (x)
                    // gives blanks and # a meaning this scan does not follow.
                    qsizetype k = i + 2;
                    bool extended = false;
                    while (k < n && (isAsciiLetter(e.at(k).unicode()) || e.at(k) == u'-' ||
                                     e.at(k) == u'^')) {
                        extended = extended || e.at(k) == u'x';
                        ++k;
                    }
                    if (extended && (charAt(e, k) == u':' || charAt(e, k) == u')')) {
                        shape.contextFree = false;
                    }
                }
            }
            ++depth;
            ++i;
            continue;
        }
        case u')':
            depth = std::max(0, depth - 1);
            break;
        case u'|':
            if (depth == 0) {
                shape.alternation = true;
            }
            break;
        case u'^':
            shape.contextFree = false;
            break;
        default:
            break;
        }
        ++i;
    }
    return shape;
}

// Where the character class opening at `open` ends, or -1 when this scan cannot tell.
qsizetype classEnd(QStringView e, qsizetype open)
{
    const qsizetype n = e.size();
    qsizetype j = open + 1;
    if (charAt(e, j) == u'^') {
        ++j;
    }
    if (charAt(e, j) == u']') {
        ++j;
    }
    while (j < n) {
        const char16_t c = e.at(j).unicode();
        if (c == u'\\') {
            if (charAt(e, j + 1) == u'Q') {
                return -1;
            }
            j += 2;
        } else if (c == u'[' && charAt(e, j + 1) == u':') {
            const qsizetype close = e.indexOf(u":]", j + 2);
            if (close < 0) {
                return -1;
            }
            j = close + 2;
        } else if (c == u']') {
            return j;
        } else {
            ++j;
        }
    }
    return -1;
}

// The bytes one single-character atom (a class, ".", \d and the like) matches, found
// by asking the expression engine about each byte under the pattern's start options.
bool atomBytes(const QString &options, QStringView atom, std::bitset<256> &bytes)
{
    const QRegularExpression regex(options + atom.toString());
    if (!regex.isValid()) {
        return false;
    }
    for (int byte = 0; byte < 256; ++byte) {
        const QString one(1, QChar(char16_t(byte)));
        const QRegularExpressionMatch match =
            regex.match(one, 0, QRegularExpression::NormalMatch,
                        QRegularExpression::AnchorAtOffsetMatchOption);
        bytes.set(size_t(byte), match.hasMatch() && match.capturedLength(0) == 1);
    }
    return true;
}

// The head of an expression without top-level alternation: the run of unquantified
// single-character atoms (literals, simple escapes, classes, ".", \d and the like)
// every match begins with, as bytes and byte sets. Stops at the first construct it
// does not know.
std::vector<qint16> expressionHead(QStringView e, std::vector<std::bitset<256>> &sets)
{
    constexpr int MaxHead = 16;
    std::vector<qint16> units;
    const qsizetype n = e.size();
    const qsizetype optionsLength = AutoReplyMatcher::startOptionsLength(e);
    const QString options = e.first(optionsLength).toString();
    static const QString special = QStringLiteral(".^$|()[]{}*+?");
    static const QString quantifiers = QStringLiteral("*+?{");
    static const QString classEscapes = QStringLiteral("dDwWsShHvVN");
    qsizetype i = optionsLength;
    while (i < n && int(units.size()) < MaxHead) {
        const char16_t c = e.at(i).unicode();
        int value = -1;
        qsizetype length = 0;
        bool isSet = false;
        if (c == u'\\') {
            const char16_t d = charAt(e, i + 1);
            if (i + 1 >= n) {
                break;
            }
            length = 2;
            if (!isAsciiAlnum(d)) {
                value = d;
            } else if (classEscapes.contains(QChar(d))) {
                isSet = true;
            } else if (d == u'x') {
                if (charAt(e, i + 2) == u'{') {
                    const qsizetype close = e.indexOf(u'}', i + 3);
                    if (close < 0 || close == i + 3) {
                        break;
                    }
                    int parsed = 0;
                    for (qsizetype k = i + 3; k < close && parsed <= 0xFF; ++k) {
                        const int digit = hexDigit(e.at(k).unicode());
                        parsed = digit < 0 ? 0x100 : parsed * 16 + digit;
                    }
                    value = parsed;
                    length = close + 1 - i;
                } else {
                    int parsed = 0;
                    qsizetype digits = 0;
                    while (digits < 2 && hexDigit(charAt(e, i + 2 + digits)) >= 0) {
                        parsed = parsed * 16 + hexDigit(charAt(e, i + 2 + digits));
                        ++digits;
                    }
                    if (digits == 0) {
                        break;
                    }
                    value = parsed;
                    length = 2 + digits;
                }
            } else {
                switch (d) {
                case u'a': value = 0x07; break;
                case u'e': value = 0x1B; break;
                case u'f': value = 0x0C; break;
                case u'n': value = 0x0A; break;
                case u'r': value = 0x0D; break;
                case u't': value = 0x09; break;
                default: break;
                }
            }
        } else if (c == u'[') {
            const qsizetype close = classEnd(e, i);
            if (close < 0) {
                break;
            }
            isSet = true;
            length = close + 1 - i;
        } else if (c == u'.') {
            isSet = true;
            length = 1;
        } else if (!special.contains(QChar(c))) {
            value = c;
            length = 1;
        }
        if (!isSet && (value < 0 || value > 0xFF)) {
            break;
        }
        if (i + length < n && quantifiers.contains(e.at(i + length))) {
            break; // the atom may repeat or be absent
        }
        if (isSet) {
            std::bitset<256> bytes;
            if (!atomBytes(options, e.sliced(i, length), bytes)) {
                break;
            }
            if (bytes.all()) {
                units.push_back(qint16(AutoReplyMatcher::AnyByte));
            } else if (bytes.count() == 1) {
                int only = 0;
                while (!bytes.test(size_t(only))) {
                    ++only;
                }
                units.push_back(qint16(only));
            } else if (bytes.none()) {
                break;
            } else {
                units.push_back(qint16(SetUnitBase - int(sets.size())));
                sets.push_back(bytes);
            }
        } else {
            units.push_back(qint16(value));
        }
        i += length;
    }
    return units;
}

template<typename Entry>
void pushEntry(std::vector<Entry> &heap, const Entry &entry)
{
    heap.push_back(entry);
    std::push_heap(heap.begin(), heap.end(), std::greater<Entry>());
}

template<typename Entry>
void popEntry(std::vector<Entry> &heap)
{
    std::pop_heap(heap.begin(), heap.end(), std::greater<Entry>());
    heap.pop_back();
}

template<typename Visit>
void forEachBit(quint64 bits, int word, Visit visit)
{
    while (bits != 0) {
        visit(word * 64 + std::countr_zero(bits));
        bits &= bits - 1;
    }
}

void setBit(std::vector<quint64> &mask, int bit, bool on)
{
    const quint64 flag = quint64(1) << (bit & 63);
    if (on) {
        mask[bit >> 6] |= flag;
    } else {
        mask[bit >> 6] &= ~flag;
    }
}

} // namespace

qsizetype AutoReplyMatcher::startOptionsLength(QStringView expression)
{
    qsizetype i = 0;
    while (expression.sliced(i).startsWith(u"(*")) {
        const qsizetype close = expression.indexOf(u')', i + 2);
        if (close < 0 || !isStartOption(expression.sliced(i + 2, close - i - 2))) {
            break;
        }
        i = close + 1;
    }
    return i;
}

AutoReplyMatcher::Segment AutoReplyMatcher::makeSegment(const std::vector<qint16> &units,
                                                        std::vector<std::bitset<256>> sets)
{
    Segment segment;
    segment.units = units;
    segment.sets = std::move(sets);
    const auto literal =
        std::find_if(units.begin(), units.end(), [](qint16 unit) { return unit >= 0; });
    segment.anchor = literal == units.end() ? -1 : int(literal - units.begin());
    return segment;
}

void AutoReplyMatcher::setPatterns(const QList<Pattern> &patterns)
{
    const int count = int(patterns.size());
    words = (count + 63) / 64;
    plans.assign(size_t(count), Plan());
    eligible.assign(size_t(words), 0);
    dependent.assign(size_t(words), 0);
    openEnded.assign(size_t(words), 0);
    byteRules.assign(size_t(ByteValues) * 3 * size_t(words), 0);

    for (int rule = 0; rule < count; ++rule) {
        const Pattern &pattern = patterns.at(rule);
        if (!pattern.active) {
            continue;
        }
        Plan &plan = plans[size_t(rule)];
        std::bitset<ByteValues> first;
        std::bitset<ByteValues> last;
        std::bitset<ByteValues> beforeLast;
        last.set();
        beforeLast.set();
        if (!pattern.isRegex) {
            // Segments between any-runs. A leading any-run changes where a match starts
            // but not where it ends, which alone decides; a trailing one matches nothing.
            std::vector<qint16> run;
            for (const int unit : pattern.units) {
                if (unit == AnyRun) {
                    if (!run.empty()) {
                        plan.segments.push_back(makeSegment(run, {}));
                        run.clear();
                    }
                } else {
                    run.push_back(qint16(unit));
                }
            }
            if (!run.empty()) {
                plan.segments.push_back(makeSegment(run, {}));
            }
            if (plan.segments.empty()) {
                continue; // matches only empty input; never compiled as valid
            }
            plan.method = Method::Units;
            if (plan.segments.size() == 1 && !pattern.units.contains(AnyRun)) {
                plan.fixedLength = int(plan.segments.front().units.size());
            }
            first = plan.segments.front().bytesOf(plan.segments.front().units.front());
            const Segment &tail = plan.segments.back();
            last = tail.bytesOf(tail.units.back());
            if (tail.units.size() >= 2) {
                beforeLast = tail.bytesOf(tail.units[tail.units.size() - 2]);
            }
        } else {
            plan.regex = pattern.regex;
            const ExpressionShape shape = shapeOf(pattern.expression);
            if (!shape.contextFree) {
                plan.method = Method::Dependent;
                setBit(dependent, rule, true);
                continue;
            }
            plan.method = Method::Search;
            setBit(openEnded, rule, true);
            if (!shape.alternation) {
                std::vector<std::bitset<ByteValues>> sets;
                const std::vector<qint16> head = expressionHead(pattern.expression, sets);
                if (!head.empty()) {
                    plan.segments.push_back(makeSegment(head, std::move(sets)));
                    first = plan.segments.front().bytesOf(head.front());
                }
            }
            if (plan.segments.empty()) {
                // Ask the expression itself which bytes a match can begin with: one
                // that neither matches nor runs out of subject at a lone byte cannot
                // start there, whatever follows.
                for (int byte = 0; byte < ByteValues; ++byte) {
                    const QString one(1, QChar(char16_t(byte)));
                    const QRegularExpressionMatch probe =
                        plan.regex.match(one, 0, QRegularExpression::PartialPreferFirstMatch,
                                         QRegularExpression::AnchorAtOffsetMatchOption);
                    if (probe.hasMatch() || probe.hasPartialMatch()) {
                        first.set(size_t(byte));
                    }
                }
            }
        }
        for (int byte = 0; byte < ByteValues; ++byte) {
            const std::bitset<ByteValues> *parts[] = {&first, &last, &beforeLast};
            for (int part = 0; part < 3; ++part) {
                if (parts[part]->test(size_t(byte))) {
                    setBit(byteRules, ((byte * 3 + part) * words) * 64 + rule, true);
                }
            }
        }
    }
}

void AutoReplyMatcher::setEligible(int rule, bool on)
{
    if (rule < 0 || rule >= ruleCount()) {
        return;
    }
    setBit(eligible, rule, on && plans[size_t(rule)].method != Method::Inactive);
}

bool AutoReplyMatcher::isEligible(int rule) const
{
    return rule >= 0 && rule < ruleCount() && wordBit(eligible, rule);
}

bool AutoReplyMatcher::wordBit(const std::vector<quint64> &mask, int rule) const
{
    return (mask[size_t(rule >> 6)] >> (rule & 63)) & 1U;
}

void AutoReplyMatcher::prepare(Window &window) const
{
    if (window.scans.size() == plans.size() && window.pending.size() == size_t(words)) {
        return;
    }
    // A window from before the rules changed: every rule looks at it afresh.
    window.scans.assign(plans.size(), Window::Scan{window.startPos(), -1, -1, -1, -1, 0});
    window.pending.assign(size_t(words), 0);
    window.matched.assign(size_t(words), 0);
    window.stale.assign(size_t(words), window.isEmpty() ? 0 : ~quint64(0));
    window.scratch.assign(2 * size_t(words), 0);
    window.byEnd.clear();
    window.byStart.clear();
}

void AutoReplyMatcher::append(Window &window, QByteArrayView data, qsizetype limit) const
{
    prepare(window);
    const qint64 freshPos = window.endPos();
    window.text.append(QLatin1StringView(data.data(), data.size()));
    limit = std::max<qsizetype>(limit, 1);
    if (window.size() > limit) {
        consume(window, window.size() - limit);
    }
    const qint64 scanFrom = std::max(freshPos, window.startPos());
    const QStringView fresh = QStringView(window.text).sliced(qsizetype(scanFrom - window.origin));
    if (fresh.isEmpty()) {
        return;
    }

    // The rules whose match can begin with one of the new bytes (scratch[0, words)),
    // and those whose match can end at one of them (scratch[words, 2 words)): the byte
    // there and the one before it fit the rule's last two units.
    std::fill(window.scratch.begin(), window.scratch.end(), 0);
    quint64 *reach = window.scratch.data();
    quint64 *wake = reach + words;
    const size_t rowSize = 3 * size_t(words);
    const auto row = [&](char16_t byte) { return byteRules.data() + size_t(byte) * rowSize; };
    std::array<quint64, ByteValues / 64> present{};
    const QStringView view = window.view();
    const qsizetype first = view.size() - fresh.size();
    for (qsizetype at = first; at < view.size(); ++at) {
        const char16_t byte = view.at(at).unicode();
        present[byte >> 6] |= quint64(1) << (byte & 63);
        const quint64 *ending = row(byte) + words;
        if (at == 0) {
            for (int k = 0; k < words; ++k) {
                wake[k] |= ending[k];
            }
        } else {
            const quint64 *before = row(view.at(at - 1).unicode()) + 2 * words;
            for (int k = 0; k < words; ++k) {
                wake[k] |= ending[k] & before[k];
            }
        }
    }
    for (int part = 0; part < ByteValues / 64; ++part) {
        forEachBit(present[size_t(part)], part, [&](int byte) {
            const quint64 *starting = row(char16_t(byte));
            for (int k = 0; k < words; ++k) {
                reach[k] |= starting[k];
            }
        });
    }
    for (int k = 0; k < words; ++k) {
        const quint64 starts = reach[k] & eligible[size_t(k)];
        // Rules without a partial match in older bytes, and not due to look at them
        // anyway, can only start in the new ones.
        forEachBit(starts & ~(window.pending[size_t(k)] | window.stale[size_t(k)]), k,
                   [&](int rule) { window.scans[size_t(rule)].from = scanFrom; });
        const quint64 concerned = (starts | window.pending[size_t(k)]) & eligible[size_t(k)];
        // A match that was not there before ends in the new bytes, where they fit its end.
        // Without such a place the rule only notes where a match may start and is looked
        // at when one comes.
        const quint64 woken = wake[k] | openEnded[size_t(k)];
        forEachBit(concerned & woken & ~window.stale[size_t(k)], k,
                   [&](int rule) { window.scans[size_t(rule)].settled = freshPos; });
        window.stale[size_t(k)] |= concerned & woken;
        window.pending[size_t(k)] |= concerned & ~woken;
    }
}

void AutoReplyMatcher::clear(Window &window) const
{
    prepare(window);
    window.origin = window.endPos();
    window.text.resize(0);
    window.base = 0;
    std::fill(window.pending.begin(), window.pending.end(), 0);
    std::fill(window.matched.begin(), window.matched.end(), 0);
    window.byEnd.clear();
    window.byStart.clear();
    std::fill(window.stale.begin(), window.stale.end(), 0);
}

void AutoReplyMatcher::consume(Window &window, qsizetype count) const
{
    prepare(window);
    window.base += std::clamp<qsizetype>(count, 0, window.size());
    const qint64 start = window.startPos();
    // A complete match that began in the consumed bytes is gone, and the rule looks
    // again from the new start. For units that can wait: their next match cannot end
    // earlier, so the old end stays as a lower bound until the rule might win (next()).
    // A partial match there is left to the next arrival, which looks again from the new
    // start as well.
    while (!window.byStart.empty() && window.byStart.front().key < start) {
        const Window::Entry entry = window.byStart.front();
        popEntry(window.byStart);
        Window::Scan &scan = window.scans[size_t(entry.rule)];
        if (entry.version == scan.version && wordBit(window.matched, entry.rule)) {
            setBit(window.matched, entry.rule, false);
            setBit(window.stale, entry.rule, true);
            scan.from = start;
        }
    }
    if (window.base == window.text.size()) {
        window.origin += window.base;
        window.text.resize(0);
        window.base = 0;
    } else if (window.base >= CompactAt && window.base * 2 >= window.text.size()) {
        window.text.remove(0, window.base);
        window.origin += window.base;
        window.base = 0;
    }
}

void AutoReplyMatcher::restart(Window &window, int rule) const
{
    prepare(window);
    if (rule < 0 || rule >= ruleCount()) {
        return;
    }
    // The window may hold whole matches the rule has not seen: look before anything else.
    window.scans[size_t(rule)].from = window.startPos();
    window.scans[size_t(rule)].lostEnd = -1;
    window.scans[size_t(rule)].settled = -1;
    setBit(window.matched, rule, false);
    setBit(window.stale, rule, true);
}

AutoReplyMatcher::Match AutoReplyMatcher::next(Window &window) const
{
    prepare(window);
    for (int k = 0; k < words; ++k) {
        const quint64 bits = window.stale[size_t(k)] & eligible[size_t(k)];
        window.stale[size_t(k)] = 0;
        forEachBit(bits, k, [&](int rule) { evaluate(window, rule); });
    }

    const qint64 start = window.startPos();
    const auto better = [](int rule, qsizetype end, const Match &than) {
        return than.rule < 0 || end < than.end || (end == than.end && rule < than.rule);
    };
    Match dependentBest;
    const QStringView text = window.view();
    for (int k = 0; k < words; ++k) {
        forEachBit(dependent[size_t(k)] & eligible[size_t(k)], k, [&](int rule) {
            const QRegularExpressionMatch match = plans[size_t(rule)].regex.match(
                text, 0, QRegularExpression::NormalMatch, WindowMatch);
            // A match of no bytes counts as none.
            if (match.hasMatch() && match.capturedLength(0) > 0 &&
                better(rule, match.capturedEnd(0), dependentBest)) {
                dependentBest = {rule, match.capturedEnd(0)};
            }
        });
    }

    for (;;) {
        // Entries of rules looked at again since, or no longer taking part, are void.
        while (!window.byEnd.empty()) {
            const Window::Entry &top = window.byEnd.front();
            if (top.version == window.scans[size_t(top.rule)].version &&
                wordBit(window.matched, top.rule) && wordBit(eligible, top.rule)) {
                break;
            }
            popEntry(window.byEnd);
        }
        if (window.byEnd.empty()) {
            return dependentBest;
        }
        const int rule = window.byEnd.front().rule;
        Window::Scan &scan = window.scans[size_t(rule)];
        const qsizetype end = qsizetype(scan.end - start);
        if (!better(rule, end, dependentBest)) {
            return dependentBest;
        }
        if (scan.start >= start) {
            return {rule, end};
        }
        // The winner lost its start to an earlier cut and its end is only a lower bound:
        // find its match now and choose again.
        popEntry(window.byEnd);
        scan.lostEnd = scan.end;
        scan.from = start;
        evaluate(window, rule);
    }
}

void AutoReplyMatcher::evaluate(Window &window, int rule) const
{
    const Plan &plan = plans[size_t(rule)];
    Window::Scan &scan = window.scans[size_t(rule)];
    ++scan.version;
    setBit(window.matched, rule, false);
    setBit(window.pending, rule, false);
    if (plan.method != Method::Units && plan.method != Method::Search) {
        return;
    }
    const QStringView text = window.view();
    const qint64 start = window.startPos();
    qint64 earliest = std::max(scan.from, start);
    // Of a fixed length, a match that ends in the new bytes starts at most that far back.
    if (plan.fixedLength > 0 && scan.settled >= 0) {
        earliest = std::max(earliest, scan.settled - plan.fixedLength + 1);
    }
    scan.settled = -1;
    const qsizetype from = qsizetype(earliest - start);
    qsizetype matchStart = -1;
    qsizetype matchEnd = -1;
    qsizetype partial = -1;

    if (plan.method == Method::Units) {
        // The leftmost place of the first segment, then each further segment at its
        // earliest place after the one before: what lazy any-runs give. If a segment
        // is missing, no later start can do better, and more bytes may still bring it.
        // After a cut through the rule's match, every segment of the new chain lies at or
        // after where it lay before; once the chain comes to the old last segment, that
        // is still the earliest place for it and the end stays.
        const qsizetype lastAt = scan.lostEnd < 0
                                     ? -1
                                     : qsizetype(scan.lostEnd - start) -
                                           qsizetype(plan.segments.back().units.size());
        scan.lostEnd = -1;
        const Segment &head = plan.segments.front();
        const qsizetype at = findSegment(head, text, from);
        if (at < 0) {
            partial = findSegmentTail(head, text, from);
        } else {
            qsizetype pos = at + qsizetype(head.units.size());
            bool complete = true;
            for (size_t k = 1; k < plan.segments.size(); ++k) {
                const qsizetype length = qsizetype(plan.segments[k].units.size());
                if (k + 1 == plan.segments.size() && lastAt >= 0 && pos <= lastAt) {
                    pos = lastAt + length;
                    break;
                }
                const qsizetype found = findSegment(plan.segments[k], text, pos);
                if (found < 0) {
                    complete = false;
                    break;
                }
                pos = found + length;
            }
            if (complete) {
                matchStart = at;
                matchEnd = pos;
            } else {
                partial = at;
            }
        }
    } else {
        qsizetype searchFrom = from;
        bool run = true;
        if (!plan.segments.empty()) {
            // Every match begins with the literal start: run the expression only from
            // where it occurs whole.
            const Segment &head = plan.segments.front();
            const qsizetype at = findSegment(head, text, from);
            if (at < 0) {
                partial = findSegmentTail(head, text, from);
                run = false;
            } else {
                searchFrom = at;
            }
        }
        if (run) {
            const QRegularExpressionMatch match =
                plan.regex.match(text, searchFrom, QRegularExpression::NormalMatch, WindowMatch);
            if (match.hasMatch() && match.capturedLength(0) > 0) {
                matchStart = match.capturedStart(0);
                matchEnd = match.capturedEnd(0);
            } else {
                // The earliest start from which more bytes could still complete a match.
                const QRegularExpressionMatch rest = plan.regex.match(
                    text, searchFrom, QRegularExpression::PartialPreferFirstMatch, WindowMatch);
                if (rest.hasPartialMatch()) {
                    partial = std::max(rest.capturedStart(0), searchFrom);
                } else if (rest.hasMatch()) {
                    // The two searches disagree only when one ran out of work; look
                    // again when more bytes come.
                    partial = searchFrom;
                }
            }
        }
    }

    if (matchEnd >= 0) {
        scan.start = start + matchStart;
        scan.end = start + matchEnd;
        setBit(window.matched, rule, true);
        pushEntry(window.byEnd, Window::Entry{scan.end, rule, scan.version});
        if (plan.method == Method::Search) {
            pushEntry(window.byStart, Window::Entry{scan.start, rule, scan.version});
        }
    } else if (partial >= 0) {
        scan.from = start + partial;
        setBit(window.pending, rule, true);
    }
}

qsizetype AutoReplyMatcher::findSegment(const Segment &segment, QStringView text, qsizetype from)
{
    const qsizetype length = qsizetype(segment.units.size());
    const qsizetype size = text.size();
    if (segment.anchor < 0) {
        // No single byte to look for: try each place.
        for (qsizetype at = from; at + length <= size; ++at) {
            bool whole = true;
            for (qsizetype k = 0; k < length && whole; ++k) {
                whole = segment.matches(segment.units[size_t(k)], text.at(at + k).unicode());
            }
            if (whole) {
                return at;
            }
        }
        return -1;
    }
    const QChar key(char16_t(segment.units[size_t(segment.anchor)]));
    if (size - from <= 2 * length + 16) {
        // A short stretch (typically the end of the window): try each place.
        for (qsizetype at = from; at + length <= size; ++at) {
            if (text.at(at + segment.anchor) != key) {
                continue;
            }
            bool whole = true;
            for (qsizetype k = 0; k < length && whole; ++k) {
                whole = segment.matches(segment.units[size_t(k)], text.at(at + k).unicode());
            }
            if (whole) {
                return at;
            }
        }
        return -1;
    }
    qsizetype pos = from;
    while (pos + length <= size) {
        const qsizetype hit = text.indexOf(key, pos + segment.anchor);
        if (hit < 0) {
            return -1;
        }
        const qsizetype at = hit - segment.anchor;
        if (at + length > size) {
            return -1;
        }
        bool whole = true;
        for (qsizetype k = 0; k < length && whole; ++k) {
            whole = segment.matches(segment.units[size_t(k)], text.at(at + k).unicode());
        }
        if (whole) {
            return at;
        }
        pos = at + 1;
    }
    return -1;
}

qsizetype AutoReplyMatcher::findSegmentTail(const Segment &segment, QStringView text,
                                            qsizetype from)
{
    const qsizetype size = text.size();
    const qsizetype length = qsizetype(segment.units.size());
    for (qsizetype at = std::max(from, size - length + 1); at < size; ++at) {
        bool fits = true;
        for (qsizetype k = 0; at + k < size && fits; ++k) {
            fits = segment.matches(segment.units[size_t(k)], text.at(at + k).unicode());
        }
        if (fits) {
            return at;
        }
    }
    return -1;
}
