#pragma once

// The editor of the script window: a plain text editor in a fixed-width font with a
// gutter of line numbers, Tab as four spaces, the current line and an error line
// marked, and Lua colouring.

#include <QPlainTextEdit>

class LuaHighlighter;

class ScriptEditor : public QPlainTextEdit
{
    Q_OBJECT
public:
    static constexpr int TabSpaces = 4;

    explicit ScriptEditor(QWidget *parent = nullptr);

    // Puts the cursor at the start of `line` (from 1) and shows it.
    void goToLine(int line);
    // Marks `line` (from 1) as the line of an error; -1 clears the mark.
    void setErrorLine(int line);
    int errorLine() const { return errorLineNumber; }

    // The width of the line-number gutter for the current line count.
    int lineNumberAreaWidth() const;
    LuaHighlighter *highlighter() const { return lua; }

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void updateGutterWidth();
    void updateGutter(const QRect &rect, int dy);
    void highlightLines();
    void paintGutter(QPaintEvent *event);

    QWidget *gutter = nullptr;
    LuaHighlighter *lua = nullptr;
    int errorLineNumber = -1;
};
