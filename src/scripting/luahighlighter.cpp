#include "scripting/luahighlighter.h"

#include "scripting/scriptengine.h"

#include <QGuiApplication>
#include <QPalette>
#include <QSet>

namespace {
// The block state inside a long bracket: 1 + 2 * level, plus 1 for a comment. -1 and 0
// are the plain state.
int longState(int level, bool comment)
{
    return 1 + 2 * level + (comment ? 1 : 0);
}

bool isNameStart(QChar c)
{
    return c.isLetter() || c == u'_';
}

bool isNameChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

// The level of a long bracket opening at `at` ("[[", "[=[", ...), or -1.
int longBracketLevel(const QString &text, qsizetype at)
{
    if (at >= text.size() || text.at(at) != u'[') {
        return -1;
    }
    qsizetype i = at + 1;
    while (i < text.size() && text.at(i) == u'=') {
        ++i;
    }
    return i < text.size() && text.at(i) == u'[' ? int(i - at - 1) : -1;
}

const QSet<QString> &keywordSet()
{
    static const QSet<QString> set = [] {
        const QStringList words = LuaHighlighter::keywords();
        return QSet<QString>(words.cbegin(), words.cend());
    }();
    return set;
}

const QSet<QString> &apiSet()
{
    static const QSet<QString> set = [] {
        const QStringList names = ScriptEngine::apiNames();
        return QSet<QString>(names.cbegin(), names.cend());
    }();
    return set;
}
} // namespace

LuaHighlighter::LuaHighlighter(QTextDocument *document)
    : QSyntaxHighlighter(document)
{
    setPalette(QGuiApplication::palette());
}

QStringList LuaHighlighter::keywords()
{
    return {QStringLiteral("and"),   QStringLiteral("break"),  QStringLiteral("do"),
            QStringLiteral("else"),  QStringLiteral("elseif"), QStringLiteral("end"),
            QStringLiteral("false"), QStringLiteral("for"),    QStringLiteral("function"),
            QStringLiteral("goto"),  QStringLiteral("if"),     QStringLiteral("in"),
            QStringLiteral("local"), QStringLiteral("nil"),    QStringLiteral("not"),
            QStringLiteral("or"),    QStringLiteral("repeat"), QStringLiteral("return"),
            QStringLiteral("then"),  QStringLiteral("true"),   QStringLiteral("until"),
            QStringLiteral("while")};
}

void LuaHighlighter::setPalette(const QPalette &palette)
{
    const bool dark = palette.color(QPalette::Base).lightness() < 128;
    keywordFormat = QTextCharFormat();
    keywordFormat.setForeground(dark ? QColor(0x8a, 0xb4, 0xf8) : QColor(0x1a, 0x4f, 0xb0));
    keywordFormat.setFontWeight(QFont::Bold);
    apiFormat = QTextCharFormat();
    apiFormat.setForeground(dark ? QColor(0x4e, 0xc9, 0xb0) : QColor(0x00, 0x7a, 0x6e));
    stringFormat = QTextCharFormat();
    stringFormat.setForeground(dark ? QColor(0xce, 0x91, 0x78) : QColor(0xa3, 0x15, 0x15));
    numberFormat = QTextCharFormat();
    numberFormat.setForeground(dark ? QColor(0xb5, 0xce, 0xa8) : QColor(0x09, 0x86, 0x58));
    commentFormat = QTextCharFormat();
    commentFormat.setForeground(dark ? QColor(0x8b, 0x94, 0x9e) : QColor(0x6a, 0x73, 0x7d));
    commentFormat.setFontItalic(true);
    rehighlight();
}

QTextCharFormat LuaHighlighter::formatFor(Token token) const
{
    switch (token) {
    case Token::Keyword:
        return keywordFormat;
    case Token::ApiName:
        return apiFormat;
    case Token::String:
        return stringFormat;
    case Token::Number:
        return numberFormat;
    case Token::Comment:
        return commentFormat;
    case Token::Plain:
        break;
    }
    return QTextCharFormat();
}

qsizetype LuaHighlighter::longBracketEnd(const QString &text, qsizetype from, int level)
{
    const QString closing = u']' + QString(level, u'=') + u']';
    const qsizetype at = text.indexOf(closing, from);
    return at < 0 ? -1 : at + closing.size();
}

void LuaHighlighter::highlightBlock(const QString &text)
{
    setCurrentBlockState(0);
    qsizetype i = 0;
    const qsizetype size = text.size();

    // A long comment or string left open on an earlier line.
    const int carried = previousBlockState();
    if (carried > 0) {
        const int level = (carried - 1) / 2;
        const bool comment = (carried - 1) % 2 == 1;
        const qsizetype end = longBracketEnd(text, 0, level);
        const QTextCharFormat &format = comment ? commentFormat : stringFormat;
        if (end < 0) {
            setFormat(0, int(size), format);
            setCurrentBlockState(carried);
            return;
        }
        setFormat(0, int(end), format);
        i = end;
    }

    while (i < size) {
        const QChar c = text.at(i);
        if (c == u'-' && i + 1 < size && text.at(i + 1) == u'-') {
            const int level = longBracketLevel(text, i + 2);
            if (level >= 0) {
                const qsizetype end = longBracketEnd(text, i + 4 + level, level);
                if (end < 0) {
                    setFormat(int(i), int(size - i), commentFormat);
                    setCurrentBlockState(longState(level, true));
                    return;
                }
                setFormat(int(i), int(end - i), commentFormat);
                i = end;
                continue;
            }
            setFormat(int(i), int(size - i), commentFormat);
            return;
        }
        if (c == u'[') {
            const int level = longBracketLevel(text, i);
            if (level >= 0) {
                const qsizetype end = longBracketEnd(text, i + 2 + level, level);
                if (end < 0) {
                    setFormat(int(i), int(size - i), stringFormat);
                    setCurrentBlockState(longState(level, false));
                    return;
                }
                setFormat(int(i), int(end - i), stringFormat);
                i = end;
                continue;
            }
        }
        if (c == u'"' || c == u'\'') {
            qsizetype j = i + 1;
            while (j < size && text.at(j) != c) {
                j += text.at(j) == u'\\' ? 2 : 1;
            }
            j = std::min(j + 1, size);
            setFormat(int(i), int(j - i), stringFormat);
            i = j;
            continue;
        }
        if (c.isDigit() || (c == u'.' && i + 1 < size && text.at(i + 1).isDigit())) {
            qsizetype j = i + 1;
            // Hexadecimal, exponents with signs, fractions: any run of these belongs to
            // the number.
            while (j < size) {
                const QChar d = text.at(j);
                const bool sign = (d == u'+' || d == u'-') &&
                                  (text.at(j - 1) == u'e' || text.at(j - 1) == u'E' ||
                                   text.at(j - 1) == u'p' || text.at(j - 1) == u'P');
                if (!(d.isLetterOrNumber() || d == u'.' || sign)) {
                    break;
                }
                ++j;
            }
            setFormat(int(i), int(j - i), numberFormat);
            i = j;
            continue;
        }
        if (isNameStart(c)) {
            qsizetype j = i + 1;
            while (j < size && isNameChar(text.at(j))) {
                ++j;
            }
            const QString name = text.mid(i, j - i);
            // A field (`t.send`) or method (`s:find`) is not the global function.
            const bool member = i > 0 && (text.at(i - 1) == u'.' || text.at(i - 1) == u':') &&
                                !(i > 1 && text.at(i - 2) == u'.');
            if (keywordSet().contains(name)) {
                setFormat(int(i), int(j - i), keywordFormat);
            } else if (!member && apiSet().contains(name)) {
                setFormat(int(i), int(j - i), apiFormat);
            }
            i = j;
            continue;
        }
        ++i;
    }
}
