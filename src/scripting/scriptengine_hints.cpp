// The hints that the script window shows below an error, and the "did you mean" of
// mistaken function and checksum names.

#include "scripting/scriptengine.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <numeric>

namespace {

// Levenshtein distance: insertions, deletions and substitutions of one character.
int editDistance(const QString &a, const QString &b)
{
    QList<int> previous(b.size() + 1);
    std::iota(previous.begin(), previous.end(), 0);
    QList<int> current(b.size() + 1);
    for (qsizetype i = 1; i <= a.size(); ++i) {
        current[0] = int(i);
        for (qsizetype j = 1; j <= b.size(); ++j) {
            const int substitution = previous[j - 1] + (a.at(i - 1) == b.at(j - 1) ? 0 : 1);
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, substitution});
        }
        std::swap(previous, current);
    }
    return previous[b.size()];
}

QString suggestionText(const QString &name, const QString &candidate)
{
    if (name.compare(candidate, Qt::CaseInsensitive) == 0) {
        return ScriptEngine::tr("Names are case-sensitive: did you mean %1?").arg(candidate);
    }
    return ScriptEngine::tr("Perhaps a typo: did you mean %1?").arg(candidate);
}

// The line as Lua reads it for the hints: the comment cut off, and nothing left
// inside strings (quoted or long-bracket), so that what a string holds never looks
// like code.
QString codeOf(const QString &line)
{
    QString code;
    const qsizetype n = line.size();
    qsizetype i = 0;
    const auto at = [&](qsizetype k) { return k < n ? line.at(k) : QChar(); };
    while (i < n) {
        const QChar c = line.at(i);
        if (c == u'-' && at(i + 1) == u'-') {
            break;
        }
        if (c == u'"' || c == u'\'') {
            code += c;
            ++i;
            while (i < n && line.at(i) != c) {
                i += line.at(i) == u'\\' ? 2 : 1;
            }
            if (i < n) {
                code += c;
                ++i;
            }
            continue;
        }
        if (c == u'[') {
            qsizetype level = 0;
            while (at(i + 1 + level) == u'=') {
                ++level;
            }
            if (at(i + 1 + level) == u'[') {
                const QString close = u']' + QString(level, u'=') + u']';
                const qsizetype end = line.indexOf(close, i + 2 + level);
                code += QStringLiteral("[[]]");
                i = end < 0 ? n : end + close.size();
                continue;
            }
        }
        code += c;
        ++i;
    }
    return code;
}

// Punctuation that a Chinese input method types in place of the ASCII one.
const QString &fullWidthPunctuation()
{
    static const QString characters = QString::fromUtf8(
        "\xEF\xBC\x8C"   // ，
        "\xE3\x80\x82"   // 。
        "\xEF\xBC\x9B"   // ；
        "\xEF\xBC\x9A"   // ：
        "\xEF\xBC\x88"   // （
        "\xEF\xBC\x89"   // ）
        "\xE2\x80\x9C"   // “
        "\xE2\x80\x9D"   // ”
        "\xE2\x80\x98"   // ‘
        "\xE2\x80\x99"   // ’
        "\xE3\x80\x90"   // 【
        "\xE3\x80\x91"   // 】
        "\xE3\x80\x80"   // ideographic space
        "\xEF\xBC\x81"   // ！
        "\xEF\xBC\x9F"   // ？
        "\xE3\x80\x8A"   // 《
        "\xE3\x80\x8B"   // 》
        "\xE3\x80\x81"   // 、
        "\xEF\xBD\x9B"   // ｛
        "\xEF\xBD\x9D"   // ｝
        "\xEF\xBC\xBB"   // ［
        "\xEF\xBC\xBD"   // ］
        "\xEF\xBC\x9D"   // ＝
        "\xEF\xBC\x8B"   // ＋
        "\xEF\xBC\x8D"   // －
        "\xEF\xBC\x82"   // ＂
        "\xEF\xBC\x87"   // ＇
        "\xEF\xBC\x9C"   // ＜
        "\xEF\xBC\x9E"   // ＞
        "\xE2\x80\xA6"); // …
    return characters;
}

bool containsAny(const QString &text, std::initializer_list<const char *> needles)
{
    return std::any_of(needles.begin(), needles.end(),
                       [&](const char *needle) { return text.contains(QLatin1String(needle)); });
}

} // namespace

QString ScriptEngine::hintFor(const QString &message, const QString &sourceLine)
{
    const QString code = codeOf(sourceLine);

    static const QRegularExpression elif(QStringLiteral("\\belif\\b"));
    if (elif.match(code).hasMatch()) {
        return tr("Lua writes elif as elseif.");
    }

    static const QRegularExpression highByte(QStringLiteral("<\\\\(1[2-9][0-9]|2[0-5][0-9])>"));
    if (highByte.match(message).hasMatch()) {
        for (const QChar c : code) {
            if (fullWidthPunctuation().contains(c)) {
                return tr("This line has the full-width character \"%1\", typed with a Chinese "
                          "input method. Switch to the English input method and type it again.")
                    .arg(c);
            }
        }
        return tr("This line has a full-width character (a Chinese comma, quote, bracket or "
                  "space). Switch to the English input method and type it again.");
    }

    static const QRegularExpression undefined(QStringLiteral("variable '([^']*)' is not defined"));
    const QRegularExpressionMatch undefinedMatch = undefined.match(message);
    if (undefinedMatch.hasMatch()) {
        const QString name = undefinedMatch.captured(1);
        static const QStringList otherLiterals = {
            QStringLiteral("True"), QStringLiteral("False"), QStringLiteral("None"),
            QStringLiteral("null"), QStringLiteral("NULL"),  QStringLiteral("TRUE"),
            QStringLiteral("FALSE")};
        if (otherLiterals.contains(name)) {
            return tr("Lua's booleans are lower case, true and false, and 'no value' is nil.");
        }
        const QString suggestion = apiSuggestion(name);
        if (!suggestion.isEmpty()) {
            return suggestion;
        }
        return tr("It has no value yet. Check the spelling (names are case-sensitive), or declare "
                  "it at the top of the script with %1 = nil, or use local.")
            .arg(name);
    }

    if (message.contains(QLatin1String("number has no integer representation"))) {
        return tr("sleep() and timeouts take whole milliseconds: write 1500, not 1.5.");
    }

    if (message.contains(QLatin1String("attempt to call a nil value"))) {
        static const QRegularExpression called(QStringLiteral("'([A-Za-z_][A-Za-z0-9_]*)'\\)"));
        const QRegularExpressionMatch calledMatch = called.match(message);
        const QString suggestion =
            calledMatch.hasMatch() ? apiSuggestion(calledMatch.captured(1)) : QString();
        if (!suggestion.isEmpty()) {
            return suggestion;
        }
        return tr("A function is called that does not exist: check the spelling of its name, and "
                  "that it is defined above this line.");
    }

    static const QRegularExpression stringArithmetic(QStringLiteral(
        "attempt to (add|sub|mul|div|mod|pow|idiv|unm) a '(string|number)' with a 'string'|"
        "attempt to (add|sub|mul|div|mod|pow|idiv|unm) a 'string'|"
        "perform arithmetic on a string value"));
    if (stringArithmetic.match(message).hasMatch()) {
        return tr("Text is joined with .., not +: \"a\" .. \"b\".");
    }

    if (message.contains(QLatin1String("nil value")) &&
        containsAny(message, {"attempt to concatenate", "attempt to index",
                              "attempt to perform arithmetic", "attempt to compare"})) {
        return tr("A value is nil. The usual causes are a tryExpect or read that timed out, or a "
                  "misspelt variable name.");
    }

    if (message.contains(QLatin1String("invalid escape sequence"))) {
        return tr("A backslash in a string must start an escape such as \\r, \\n or \\x0D. Write "
                  "regular expressions as long strings, [[like this]], so their backslashes are "
                  "left alone.");
    }
    if (message.contains(QLatin1String("near '#'"))) {
        return tr("Lua comments start with --, not #.");
    }
    if (message.contains(QLatin1String("near '!'"))) {
        return tr("Lua writes \"not equal\" as ~=, not !=.");
    }
    if (message.contains(QLatin1String("'}' expected"))) {
        return tr("The items of a table are separated by commas: {1, 2, 3}.");
    }
    if (message.contains(QLatin1String("'end' expected"))) {
        return tr("An if, for, while or function is missing its end.");
    }
    if (message.contains(QLatin1String("'=' expected"))) {
        return tr("Lua read a name where it expected a statement: check the spelling, and that a "
                  "function call has its parentheses.");
    }

    static const QRegularExpression compound(QStringLiteral("[-+*/%]=|\\+\\+"));
    if (containsAny(message,
                    {"syntax error near", "near '+'", "near '-'", "near '*'", "near '/'"}) &&
        compound.match(code).hasMatch()) {
        return tr("Lua has no +=, -= or ++: write x = x + 1.");
    }
    return QString();
}

QString ScriptEngine::apiSuggestion(const QString &name)
{
    // Names that other tools and languages use for what these functions do.
    static const QHash<QString, QString> usual = {
        {QStringLiteral("sendln"), QStringLiteral("sendLine")},
        {QStringLiteral("writeln"), QStringLiteral("sendLine")},
        {QStringLiteral("writeline"), QStringLiteral("sendLine")},
        {QStringLiteral("write"), QStringLiteral("send")},
        {QStringLiteral("wait"), QStringLiteral("expect")},
        {QStringLiteral("read_until"), QStringLiteral("expect")},
        {QStringLiteral("waitfor"), QStringLiteral("expect")},
        {QStringLiteral("recvln"), QStringLiteral("readLine")},
        {QStringLiteral("waitln"), QStringLiteral("readLine")},
        {QStringLiteral("readline"), QStringLiteral("readLine")},
        {QStringLiteral("mpause"), QStringLiteral("sleep")},
        {QStringLiteral("pause"), QStringLiteral("sleep")},
        {QStringLiteral("delay"), QStringLiteral("sleep")},
        {QStringLiteral("msleep"), QStringLiteral("sleep")},
        {QStringLiteral("printf"), QStringLiteral("print")},
        {QStringLiteral("println"), QStringLiteral("print")},
    };
    if (name.isEmpty()) {
        return QString();
    }
    const QStringList names = apiNames();
    if (names.contains(name)) {
        return QString();
    }
    const QString known = usual.value(name.toLower());
    if (!known.isEmpty()) {
        return suggestionText(name, known);
    }
    const QString lower = name.toLower();
    const int allowed = lower.size() <= 4 ? 1 : 2;
    QString best;
    int bestDistance = allowed + 1;
    for (const QString &candidate : names) {
        const int distance = editDistance(lower, candidate.toLower());
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best.isEmpty() ? QString() : suggestionText(name, best);
}

QStringList ScriptEngine::checksumSuggestions(const QString &name)
{
    static const QRegularExpression separators(QStringLiteral("[-/_ ]"));
    const QString wanted = name.toLower().remove(separators);
    if (wanted == QLatin1String("ccitt") || wanted == QLatin1String("crc16ccitt")) {
        // Three algorithms go by this name; which one a device means varies.
        return {QStringLiteral("crc16ccittfalse"), QStringLiteral("crc16xmodem"),
                QStringLiteral("crc16kermit")};
    }
    const QStringList names = checksumNames();
    if (wanted.isEmpty() || names.contains(wanted)) {
        return {};
    }
    constexpr int Most = 3;
    QStringList found;
    // Part of a name: "modbus", "xmodem", "crc16".
    if (wanted.size() >= 3) {
        for (const QString &candidate : names) {
            if (found.size() < Most && candidate.contains(wanted)) {
                found << candidate;
            }
        }
    }
    // Then the near misses, nearest first.
    QList<std::pair<int, qsizetype>> near;
    const int allowed = wanted.size() <= 4 ? 1 : 2;
    for (qsizetype i = 0; i < names.size(); ++i) {
        const int distance = editDistance(wanted, names.at(i));
        if (distance <= allowed && !found.contains(names.at(i))) {
            near.append({distance, i});
        }
    }
    std::sort(near.begin(), near.end());
    for (const auto &[distance, index] : std::as_const(near)) {
        if (found.size() < Most) {
            found << names.at(index);
        }
    }
    return found;
}
