#pragma once

#include "connection/wiretextdecoder.h"
#include "session/displayspanindex.h"

#include <QByteArray>
#include <QColor>
#include <QDateTime>
#include <QList>
#include <QMetaObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class QObject;
class QPlainTextEdit;
class QTextCursor;
struct FormatSetting;
struct rxData;

// Turns display records into text in a port's receive view and keeps, beside the text,
// the index from view positions back to the bytes that arrived.
//
// Two kinds of position are in play. A document position counts characters of what the
// view holds now; a stream position counts from the start of the stream, before any
// trimming: stream = document + spanIndex().trimmedChars(). Spans are kept in stream
// positions, so they stay valid while the view drops its oldest text.
//
// The view and the format belong to the port session; both must outlive the renderer.
// Main thread only.
class ReceiveRenderer
{
public:
    // The view never holds fewer characters than this before it is trimmed, so a stored
    // buffer size of 0 (or any tiny one) cannot empty it at every tick, nor let it grow
    // without bound.
    static constexpr int MinimumCharacterBudget = 1 << 20;
    // Hex lines are cut before they grow past this many characters (1024 bytes).
    static constexpr int HexLineLimit = 3072;

    // Document positions of an appended run: [start, end).
    struct Range
    {
        int start = 0;
        int end = 0;
    };

    ReceiveRenderer(QPlainTextEdit *view, const FormatSetting *format);
    ~ReceiveRenderer();
    Q_DISABLE_COPY_MOVE(ReceiveRenderer)

    // Shows one record and indexes its bytes. Returns the text appended, which is empty
    // when the record showed nothing (its bytes then wait in the index's chain for the
    // next span of their direction).
    QString render(const rxData &rx);
    // Appends `text` at the end of the view in one edit block, in `color` made readable
    // on the view's palette, or in the default format when `color` is invalid. A view
    // that stood at its end follows the new end; one scrolled back keeps its place.
    Range append(const QString &text, const QColor &color = QColor());
    // `text` on a line of its own; it has no bytes behind it and is not indexed.
    Range appendSystemLine(const QString &text, const QColor &color = QColor());
    // Opens a batch: appends until endBatch() still use one edit block each, but nest
    // in one outer block, so the view lays itself out and scrolls once at endBatch()
    // instead of after every record. A visible view lays out its last screenful after
    // each outermost edit block, which costs more than inserting the text itself. The
    // scroll position is taken at beginBatch() and restored (or moved to the new end)
    // at endBatch(). Batches do not nest; clear() keeps an open batch, trimToBudget()
    // ends it.
    void beginBatch();
    void endBatch();
    bool inBatch() const { return batch.active; }
    // Empties the view and the index, starts a new line and resets the decoders.
    void clear();
    // Ends the view's open line, so that what comes next (after a switch between text
    // and hex, say) starts a line of its own.
    void startNewLine();

    // Whether the view follows new data to its end. It does until the user scrolls up
    // (by the scroll bar, the wheel or the keys), and again once the end is reached or
    // followEnd() is called; a layout change of the view does not stop it.
    bool followingEnd() const { return following; }
    void followEnd();
    // Tells the renderer that the user acts on the view (a key, a mouse button held),
    // so that the scrolling that follows is the user's.
    void noteUserScroll();
    // While a mouse button is held in the view (selecting drags the view along).
    void setUserHolding(bool holding);
    // Called with the new state whenever following starts or stops.
    std::function<void(bool following)> followingChanged;
    // When the view holds more than characterBudget() characters, removes the oldest
    // half of the budget. Returns the number of characters removed (0 most of the time).
    int trimToBudget();
    // Fresh decoders for the receive and send encodings of the format; a character
    // split between two records is lost once, which is what a change of encoding needs.
    void resetDecoders();
    // The find bar is told of each trim through its invokable noteTrimmedChars(int), so
    // that its match positions follow the text. It is held weakly.
    void setFindBar(QObject *bar);
    // Records the span of `rx` shown at `range`, whose first `prefixLength` characters
    // stand for no byte.
    void index(const rxData &rx, Range range, int prefixLength);
    // The time (microseconds since the epoch) of the record shown at a document
    // position, or -1 when nothing with bytes is shown there.
    qint64 frameTimeAt(int position) const;
    // The view's selection as UTF-8 text. The byte-exact selection, mapped through the
    // span index, comes with the find bar's selection mapper.
    QByteArray selectedBytes() const;

    // max(MinimumCharacterBudget, displayBufferSize).
    int characterBudget() const;
    // The characters the view holds now.
    int characterCount() const;
    qint64 streamPosition(int documentPosition) const;
    const DisplaySpanIndex &spanIndex() const { return spans; }
    // Whether the view's last line has ended, so the next text starts a line.
    bool atLineStart() const { return lineStart; }
    // Whether a trim happened since the last append.
    bool trimmedSinceAppend() const { return trimmedSinceLastAppend; }

private:
    QString renderLocalEcho(const rxData &rx);
    void indexSpan(const rxData &rx, Range range, int prefixLength, const QString &stamp);
    void holdBytes(const rxData &rx);
    QColor readableColor(const QColor &color);
    void scrollToTop(int position);
    void onScrollValueChanged(int value);
    void setFollowing(bool on);

    QPlainTextEdit *view;
    const FormatSetting *format;
    QPointer<QObject> findBar;
    DisplaySpanIndex spans{DisplaySpanIndex::DefaultBudget};
    WireTextDecoderPtr rxDecoder;
    WireTextDecoderPtr txDecoder;
    bool rxIsUtf8 = true;
    bool txIsUtf8 = true;
    QDateTime lastRxTime;
    QDateTime lastTxTime;
    bool lineStart = true;
    qsizetype currentLineLength = 0; // characters after the last line feed
    bool trimmedSinceLastAppend = false;
    bool following = true;
    bool userScrolling = false;
    bool userHolding = false;
    QList<QMetaObject::Connection> barConnections;

    struct Batch
    {
        bool active = false;
        bool followEnd = false;
        int scrollValue = 0;
        std::unique_ptr<QTextCursor> cursor;
    } batch;

    // The last colour made readable, since a stream asks for the same one per record.
    struct ColorCache
    {
        QColor chosen;
        QColor base;
        QColor text;
        QColor readable;
    } colorCache;
};
