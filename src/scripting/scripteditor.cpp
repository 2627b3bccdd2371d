#include "scripting/scripteditor.h"

#include "scripting/luahighlighter.h"

#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QPaintEvent>
#include <QPainter>
#include <QTextBlock>

ScriptEditor::ScriptEditor(QWidget *parent)
    : QPlainTextEdit(parent)
    , gutter(new QWidget(this))
    , lua(new LuaHighlighter(document()))
{
    setObjectName(QStringLiteral("scriptEditor"));
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setTabStopDistance(fontMetrics().horizontalAdvance(QString(TabSpaces, u' ')));
    gutter->installEventFilter(this);

    connect(this, &QPlainTextEdit::blockCountChanged, this, &ScriptEditor::updateGutterWidth);
    connect(this, &QPlainTextEdit::updateRequest, this, &ScriptEditor::updateGutter);
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &ScriptEditor::highlightLines);
    updateGutterWidth();
    highlightLines();
}

int ScriptEditor::lineNumberAreaWidth() const
{
    int digits = 1;
    for (int count = std::max(1, blockCount()); count >= 10; count /= 10) {
        ++digits;
    }
    // At least two digits' room, so the gutter does not jump at line 10.
    return 8 + fontMetrics().horizontalAdvance(u'9') * std::max(2, digits);
}

void ScriptEditor::goToLine(int line)
{
    const QTextBlock block = document()->findBlockByNumber(std::max(0, line - 1));
    if (!block.isValid()) {
        return;
    }
    QTextCursor cursor(block);
    setTextCursor(cursor);
    centerCursor();
    setFocus(Qt::OtherFocusReason);
}

void ScriptEditor::setErrorLine(int line)
{
    errorLineNumber = line;
    highlightLines();
}

void ScriptEditor::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Tab && event->modifiers() == Qt::NoModifier) {
        textCursor().insertText(QString(TabSpaces, u' '));
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void ScriptEditor::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    const QRect area = contentsRect();
    gutter->setGeometry(QRect(area.left(), area.top(), lineNumberAreaWidth(), area.height()));
}

void ScriptEditor::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        lua->setPalette(palette());
        highlightLines();
    } else if (event->type() == QEvent::FontChange) {
        setTabStopDistance(fontMetrics().horizontalAdvance(QString(TabSpaces, u' ')));
        updateGutterWidth();
    }
}

void ScriptEditor::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    QAction *undoAction = menu.addAction(tr("Undo"), this, &QPlainTextEdit::undo);
    undoAction->setEnabled(document()->isUndoAvailable());
    QAction *redoAction = menu.addAction(tr("Redo"), this, &QPlainTextEdit::redo);
    redoAction->setEnabled(document()->isRedoAvailable());
    menu.addSeparator();
    const bool selection = textCursor().hasSelection();
    menu.addAction(tr("Cut"), this, &QPlainTextEdit::cut)->setEnabled(selection && !isReadOnly());
    menu.addAction(tr("Copy"), this, &QPlainTextEdit::copy)->setEnabled(selection);
    menu.addAction(tr("Paste"), this, &QPlainTextEdit::paste)->setEnabled(canPaste());
    menu.addSeparator();
    menu.addAction(tr("Select All"), this, &QPlainTextEdit::selectAll);
    menu.exec(event->globalPos());
}

bool ScriptEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == gutter && event->type() == QEvent::Paint) {
        paintGutter(static_cast<QPaintEvent *>(event));
        return true;
    }
    return QPlainTextEdit::eventFilter(watched, event);
}

void ScriptEditor::updateGutterWidth()
{
    setViewportMargins(lineNumberAreaWidth(), 0, 0, 0);
    const QRect area = contentsRect();
    gutter->setGeometry(QRect(area.left(), area.top(), lineNumberAreaWidth(), area.height()));
}

void ScriptEditor::updateGutter(const QRect &rect, int dy)
{
    if (dy != 0) {
        gutter->scroll(0, dy);
    } else {
        gutter->update(0, rect.y(), gutter->width(), rect.height());
    }
    if (rect.contains(viewport()->rect())) {
        updateGutterWidth();
    }
}

void ScriptEditor::highlightLines()
{
    QList<QTextEdit::ExtraSelection> marks;
    const bool dark = palette().color(QPalette::Base).lightness() < 128;

    QTextEdit::ExtraSelection current;
    current.format.setBackground(dark ? QColor(0x2a, 0x2d, 0x33) : QColor(0xf2, 0xf5, 0xfa));
    current.format.setProperty(QTextFormat::FullWidthSelection, true);
    current.cursor = textCursor();
    current.cursor.clearSelection();
    marks << current;

    const QTextBlock block = document()->findBlockByNumber(errorLineNumber - 1);
    if (errorLineNumber > 0 && block.isValid()) {
        QTextEdit::ExtraSelection error;
        error.format.setBackground(dark ? QColor(0x5a, 0x1e, 0x1e) : QColor(0xfd, 0xe2, 0xe2));
        error.format.setProperty(QTextFormat::FullWidthSelection, true);
        error.cursor = QTextCursor(block);
        marks << error;
    }
    setExtraSelections(marks);
    gutter->update();
}

void ScriptEditor::paintGutter(QPaintEvent *event)
{
    QPainter painter(gutter);
    const QPalette &colours = palette();
    painter.fillRect(event->rect(), colours.color(QPalette::AlternateBase));
    const QColor number = colours.color(QPalette::PlaceholderText);
    const QColor currentNumber = colours.color(QPalette::Text);
    const int currentBlock = textCursor().blockNumber();

    QTextBlock block = firstVisibleBlock();
    int top = qRound(blockBoundingGeometry(block).translated(contentOffset()).top());
    int bottom = top + qRound(blockBoundingRect(block).height());
    const int width = gutter->width() - 4;
    const int height = fontMetrics().height();
    while (block.isValid() && top <= event->rect().bottom()) {
        if (block.isVisible() && bottom >= event->rect().top()) {
            const int line = block.blockNumber() + 1;
            painter.setPen(line == errorLineNumber       ? QColor(0xd0, 0x30, 0x30)
                           : block.blockNumber() == currentBlock ? currentNumber
                                                                 : number);
            painter.drawText(0, top, width, height, Qt::AlignRight, QString::number(line));
        }
        block = block.next();
        top = bottom;
        bottom = top + qRound(blockBoundingRect(block).height());
    }
}
