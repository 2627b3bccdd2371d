#pragma once

// Colours Lua source: comments, strings, numbers, the reserved words and the names of
// the script functions. Long comments and long strings ("--[[ ... ]]", "[==[ ... ]==]")
// carry over from line to line in the block state.

#include <QSyntaxHighlighter>
#include <QTextCharFormat>

class QPalette;

class LuaHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    // What a character is coloured as; Plain text keeps the editor's format.
    enum class Token {
        Plain,
        Keyword,
        ApiName,
        String,
        Number,
        Comment,
    };

    explicit LuaHighlighter(QTextDocument *document);

    // Picks the colours for a light or a dark palette and colours the document again.
    void setPalette(const QPalette &palette);
    QTextCharFormat formatFor(Token token) const;

    // Lua's reserved words.
    static QStringList keywords();

protected:
    void highlightBlock(const QString &text) override;

private:
    // Where a long bracket ends, from `from` on, for its level; -1 when not on this line.
    static qsizetype longBracketEnd(const QString &text, qsizetype from, int level);

    QTextCharFormat keywordFormat;
    QTextCharFormat apiFormat;
    QTextCharFormat stringFormat;
    QTextCharFormat numberFormat;
    QTextCharFormat commentFormat;
};
