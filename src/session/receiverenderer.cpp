#include "session/receiverenderer.h"

#include "common/textcontrast.h"
#include "connection/messagecodec.h"
#include "connection/rxdata.h"
#include "connection/settings.h"
#include "connection/wiretextcodecregistry.h"

#include <QMetaObject>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>
#include <QTimer>

#include <algorithm>

namespace {

constexpr QChar LineFeed = u'\n';
constexpr QChar CarriageReturn = u'\r';

// The bytes a span stands for: as they came off the wire when the record kept them,
// else what was shown.
const QByteArray &bytesOf(const rxData &rx)
{
    return rx.raw.isEmpty() ? rx.data : rx.raw;
}

} // namespace

ReceiveRenderer::ReceiveRenderer(QPlainTextEdit *view, const FormatSetting *format)
    : view(view)
    , format(format)
{
    resetDecoders();
    QScrollBar *bar = view->verticalScrollBar();
    // The scroll bar's own actions (drag, click, wheel) are the user's.
    barConnections << QObject::connect(bar, &QScrollBar::actionTriggered, view,
                                       [this](int) { noteUserScroll(); });
    barConnections << QObject::connect(bar, &QScrollBar::valueChanged, view,
                                       [this](int value) { onScrollValueChanged(value); });
    // A view that follows stays at the end when its range grows or shrinks.
    barConnections << QObject::connect(bar, &QScrollBar::rangeChanged, view,
                                       [this, bar](int, int maximum) {
                                           if (following && !batch.active) {
                                               bar->setValue(maximum);
                                           }
                                       });
}

ReceiveRenderer::~ReceiveRenderer()
{
    for (const QMetaObject::Connection &connection : std::as_const(barConnections)) {
        QObject::disconnect(connection);
    }
    // The view may already be gone; only the document's edit block is closed (a cursor
    // whose document died does nothing).
    if (batch.active) {
        batch.cursor->endEditBlock();
    }
}

QString ReceiveRenderer::render(const rxData &rx)
{
    if (rx.data.isEmpty()) {
        return QString();
    }
    if (rx.isLocalEcho) {
        return renderLocalEcho(rx);
    }

    const bool isTx = rx.direction == Sent;
    const bool lineHadEnded = lineStart;
    int prefixLength = 0;
    QString text =
        MessageCodec::decodeForUi(rx, *format, lineStart, lastRxTime, lastTxTime,
                                  isTx ? txDecoder.get() : rxDecoder.get(), prefixLength);
    // A line feed right after a line that already ended would only add an empty line:
    // devices that end lines with CR LF in separate reads, or print LF after a prompt,
    // would show every line double spaced. An empty text means the decoder holds the
    // start of a character that the next record completes.
    if (text.isEmpty() || (lineHadEnded && text.size() == 1 && text.front() == LineFeed)) {
        holdBytes(rx);
        return QString();
    }

    // The prefix is an optional line feed (only when the line had not ended) followed
    // by the stamp, when the format stamps this block.
    QString stamp;
    if (format->displayMsgTime && prefixLength > 0) {
        const int lead = !lineHadEnded && text.front() == LineFeed ? 1 : 0;
        stamp = text.mid(lead, prefixLength - lead);
    }

    // A hex stream without pauses would otherwise grow one line without end, and the
    // view lays a changed line out again as a whole: the line is cut at a length.
    const bool hex = (isTx ? format->sendMsgFormat : format->receiveMsgFormat) != TextFormat;
    if (hex && !lineHadEnded && text.front() != LineFeed &&
        currentLineLength + text.size() > HexLineLimit) {
        text.prepend(LineFeed);
        ++prefixLength;
    }

    QColor color;
    if (format->formatDisplayColor) {
        color = QColor(isTx ? format->sendTextColor : format->receiveTextColor);
    } else if (text.contains(CarriageReturn)) {
        // The plain view shows a carriage return as a line break of its own, so CR LF
        // would become two. Line breaks come from line feeds alone.
        prefixLength -= int(QStringView(text).left(prefixLength).count(CarriageReturn));
        text.remove(CarriageReturn);
        if (text.isEmpty()) {
            // Nothing is shown, so the view's line stands where it stood.
            lineStart = lineHadEnded;
            holdBytes(rx);
            return QString();
        }
        lineStart = text.endsWith(LineFeed);
    }

    const Range range = append(text, color);
    indexSpan(rx, range, prefixLength, stamp);
    return text;
}

QString ReceiveRenderer::renderLocalEcho(const rxData &rx)
{
    // Typed input as a terminal echoes it: no stamps or line handling of the format,
    // and every line ending the user typed is a line break.
    QString text = MessageCodec::decodeWireText(rx.data, txDecoder.get(), format->sendEncoding);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(CarriageReturn, LineFeed);
    if (text.isEmpty()) {
        const int end = view->document()->characterCount() - 1;
        indexSpan(rx, {end, end}, 0, QString());
        return text;
    }
    const QColor color = format->formatDisplayColor ? QColor(format->sendTextColor) : QColor();
    const Range range = append(text, color);
    indexSpan(rx, range, 0, QString());
    lineStart = text.endsWith(LineFeed);
    return text;
}

ReceiveRenderer::Range ReceiveRenderer::append(const QString &text, const QColor &color)
{
    QTextDocument *document = view->document();
    if (text.isEmpty()) {
        const int end = document->characterCount() - 1;
        return {end, end};
    }
    QScrollBar *bar = view->verticalScrollBar();
    const int oldValue = bar->value();
    const bool followEnd = following;

    QTextCursor cursor(document);
    cursor.movePosition(QTextCursor::End);
    const int start = cursor.position();
    // An explicit format, also when there is no colour: the cursor would otherwise
    // carry on the colour of the text before it.
    QTextCharFormat charFormat;
    if (color.isValid()) {
        charFormat.setForeground(readableColor(color));
    }
    cursor.beginEditBlock();
    cursor.insertText(text, charFormat);
    cursor.endEditBlock();
    const int end = cursor.position();
    const qsizetype lastFeed = text.lastIndexOf(LineFeed);
    currentLineLength = lastFeed < 0 ? currentLineLength + text.size() : text.size() - lastFeed - 1;

    if (!batch.active) {
        bar->setValue(followEnd ? bar->maximum() : oldValue);
    }
    trimmedSinceLastAppend = false;
    return {start, end};
}

ReceiveRenderer::Range ReceiveRenderer::appendSystemLine(const QString &text, const QColor &color)
{
    const QString line = (lineStart ? QString() : QString(LineFeed)) + text + LineFeed;
    const Range range = append(line, color);
    lineStart = true;
    return range;
}

void ReceiveRenderer::beginBatch()
{
    if (batch.active) {
        return;
    }
    const QScrollBar *bar = view->verticalScrollBar();
    batch.active = true;
    batch.followEnd = following;
    batch.scrollValue = bar->value();
    batch.cursor = std::make_unique<QTextCursor>(view->document());
    batch.cursor->beginEditBlock();
}

void ReceiveRenderer::endBatch()
{
    if (!batch.active) {
        return;
    }
    batch.cursor->endEditBlock();
    batch.cursor.reset();
    batch.active = false;
    QScrollBar *bar = view->verticalScrollBar();
    bar->setValue(batch.followEnd ? bar->maximum() : batch.scrollValue);
}

void ReceiveRenderer::clear()
{
    // Clearing resets the document, which must not happen inside an edit block.
    const bool batching = batch.active;
    endBatch();
    view->clear();
    spans.clear();
    lineStart = true;
    currentLineLength = 0;
    lastRxTime = QDateTime();
    lastTxTime = QDateTime();
    trimmedSinceLastAppend = false;
    resetDecoders();
    if (batching) {
        beginBatch();
    }
}

void ReceiveRenderer::startNewLine()
{
    if (!lineStart) {
        append(QString(LineFeed));
        lineStart = true;
    }
}

void ReceiveRenderer::followEnd()
{
    setFollowing(true);
    QScrollBar *bar = view->verticalScrollBar();
    bar->setValue(bar->maximum());
}

void ReceiveRenderer::noteUserScroll()
{
    // Until the event loop turns: the scroll that the key, wheel or drag causes comes
    // within the same turn.
    if (!userScrolling) {
        userScrolling = true;
        QTimer::singleShot(0, view, [this] { userScrolling = false; });
    }
}

void ReceiveRenderer::setUserHolding(bool holding)
{
    userHolding = holding;
}

void ReceiveRenderer::onScrollValueChanged(int value)
{
    QScrollBar *bar = view->verticalScrollBar();
    if (value >= bar->maximum()) {
        setFollowing(true);
    } else if (userScrolling || userHolding) {
        setFollowing(false);
    } else if (following && !batch.active) {
        // The view laid itself out anew (a resize, a new font) and moved: back to the end.
        bar->setValue(bar->maximum());
    }
}

void ReceiveRenderer::setFollowing(bool on)
{
    if (following != on) {
        following = on;
        if (followingChanged) {
            followingChanged(on);
        }
    }
}

int ReceiveRenderer::characterCount() const
{
    return view->document()->characterCount();
}

int ReceiveRenderer::trimToBudget()
{
    // Keeping the reader's place needs the layout, which a batch holds back.
    endBatch();
    QTextDocument *document = view->document();
    const int budget = characterBudget();
    const int count = document->characterCount();
    if (count <= budget) {
        return 0;
    }
    // The document's last character is the closing paragraph separator, which stays.
    const int removed = std::min(count - 1, budget / 2);
    QScrollBar *bar = view->verticalScrollBar();
    const bool followEnd = following;
    const int topPosition = followEnd ? 0 : view->cursorForPosition(QPoint(0, 0)).position();

    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(removed, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();

    spans.trimFront(removed);
    trimmedSinceLastAppend = true;
    if (findBar) {
        QMetaObject::invokeMethod(findBar.data(), "noteTrimmedChars", Qt::DirectConnection,
                                  Q_ARG(int, removed));
    }
    if (followEnd) {
        bar->setValue(bar->maximum());
    } else {
        scrollToTop(topPosition - removed);
    }
    return removed;
}

void ReceiveRenderer::scrollToTop(int position)
{
    // The vertical bar of a plain text view counts visual lines, so the reader's place
    // is the line that holds the character that stood at the top before the trim.
    QScrollBar *bar = view->verticalScrollBar();
    if (position <= 0) {
        bar->setValue(0);
        return;
    }
    const QTextBlock block = view->document()->findBlock(position);
    int line = block.firstLineNumber();
    const QTextLayout *layout = block.layout();
    if (layout && layout->lineCount() > 0) {
        line += layout->lineForTextPosition(position - block.position()).lineNumber();
    }
    bar->setValue(line);
}

void ReceiveRenderer::resetDecoders()
{
    rxDecoder = WireTextCodecRegistry::createDecoder(format->receiveEncoding);
    txDecoder = WireTextCodecRegistry::createDecoder(format->sendEncoding);
    const QString utf8 = WireTextCodecRegistry::defaultEncoding();
    rxIsUtf8 = rxDecoder->encoding() == utf8;
    txIsUtf8 = txDecoder->encoding() == utf8;
}

void ReceiveRenderer::setFindBar(QObject *bar)
{
    findBar = bar;
}

void ReceiveRenderer::index(const rxData &rx, Range range, int prefixLength)
{
    QString stamp;
    if (format->displayMsgTime && prefixLength > 0 && !rx.isLocalEcho) {
        stamp =
            rx.time.toString(rx.direction == Sent ? format->txTimeFormat : format->rxTimeFormat);
        if (stamp.size() > prefixLength) {
            stamp.clear();
        }
    }
    indexSpan(rx, range, prefixLength, stamp);
}

void ReceiveRenderer::indexSpan(const rxData &rx, Range range, int prefixLength,
                                const QString &stamp)
{
    const bool isTx = rx.direction == Sent;
    const int length = std::max(0, range.end - range.start);
    DisplaySpan span;
    span.docStart = spans.trimmedChars() + range.start;
    span.prefixLength = std::clamp(prefixLength, 0, length);
    span.docLength = length - span.prefixLength;
    span.isTx = isTx;
    span.isLocalEcho = rx.isLocalEcho;
    // Local echo is always shown as text, whatever the send view's format.
    span.isHex =
        !rx.isLocalEcho && (isTx ? format->sendMsgFormat : format->receiveMsgFormat) != TextFormat;
    span.isUtf8 = isTx ? txIsUtf8 : rxIsUtf8;
    span.bytes = bytesOf(rx);
    span.peer = rx.peer;
    span.timeUs = rx.time.isValid() ? rx.time.toMSecsSinceEpoch() * 1000 : 0;
    span.timestampText = stamp;
    spans.append(std::move(span));
}

void ReceiveRenderer::holdBytes(const rxData &rx)
{
    spans.breakChain(bytesOf(rx), rx.direction, rx.peer);
}

qint64 ReceiveRenderer::frameTimeAt(int position) const
{
    return spans.timeUsAt(streamPosition(position));
}

QByteArray ReceiveRenderer::selectedBytes() const
{
    QString text = view->textCursor().selectedText();
    text.replace(QChar::ParagraphSeparator, LineFeed);
    return text.toUtf8();
}

int ReceiveRenderer::characterBudget() const
{
    return std::max(MinimumCharacterBudget, format->displayBufferSize);
}

qint64 ReceiveRenderer::streamPosition(int documentPosition) const
{
    return spans.trimmedChars() + documentPosition;
}

QColor ReceiveRenderer::readableColor(const QColor &color)
{
    const QPalette palette = view->palette();
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    if (color != colorCache.chosen || base != colorCache.base || text != colorCache.text) {
        colorCache = {color, base, text, TextContrast::readableTextColor(color, base, text)};
    }
    return colorCache.readable;
}
