#include "session/hexinputhighlighter.h"

#include "connection/messagecodec.h"

#include <QTextCharFormat>

namespace {
// Block states: whether a "//" earlier in the box made the rest of it a comment.
constexpr int NoComment = 0;
constexpr int InComment = 1;
} // namespace

HexInputHighlighter::HexInputHighlighter(QTextDocument *document)
    : QSyntaxHighlighter(document)
{
}

void HexInputHighlighter::setHexMode(bool on)
{
    if (hex != on) {
        hex = on;
        rehighlight();
    }
}

void HexInputHighlighter::highlightBlock(const QString &text)
{
    // Everything after the first "//" of the box is a comment, as the sender reads it.
    if (previousBlockState() == InComment) {
        setCurrentBlockState(InComment);
        return;
    }
    const qsizetype cut = text.indexOf(QLatin1String("//"));
    setCurrentBlockState(cut < 0 ? NoComment : InComment);
    if (!hex) {
        return;
    }
    QTextCharFormat mark;
    mark.setForeground(QColor(0xd3, 0x2f, 0x2f));
    mark.setBackground(QColor(0xff, 0xe0, 0xe0));
    mark.setUnderlineStyle(QTextCharFormat::WaveUnderline);
    mark.setUnderlineColor(QColor(0xd3, 0x2f, 0x2f));
    for (const qsizetype at : MessageCodec::hexProblems(cut < 0 ? text : text.left(cut))) {
        setFormat(int(at), 1, mark);
    }
}
