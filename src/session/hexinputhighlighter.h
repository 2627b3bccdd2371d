#pragma once

#include <QSyntaxHighlighter>

// Marks, as they are typed, the characters that would refuse a hex send: anything
// before a "//" comment that is neither a hex digit nor white space, and digits left
// without their pair. It marks nothing while the send box takes text.
class HexInputHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    explicit HexInputHighlighter(QTextDocument *document);

    // Whether the send box holds hex; the marks follow at once.
    void setHexMode(bool hex);
    bool hexMode() const { return hex; }

protected:
    void highlightBlock(const QString &text) override;

private:
    bool hex = false;
};
