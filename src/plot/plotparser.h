#pragma once

// Received bytes to samples, without a clock: each call to feed() appends the rows it
// found, one row per sample and one column per channel. One parser serves one data
// source and keeps that source's unfinished line (or JustFloat bytes) between calls.
// Bad input never stops the stream; it only counts.

#include "plot/plotconfig.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

class PlotParser
{
public:
    using Row = QList<double>;
    using Rows = QList<Row>;

    static constexpr int MaxChannels = PlotConfig::MaxChannels;
    // A line longer than this is skipped and counted once, however it arrives.
    static constexpr qsizetype MaxLineBytes = 4096;
    // A JustFloat frame carries 1 to 32 floats before its tail.
    static constexpr qsizetype MaxFramePayload = 128;
    // Bytes held while no tail comes: 131 may still be a full frame short of its last
    // tail byte; at 132 the frame cannot end well, and all but 3 bytes go.
    static constexpr qsizetype MaxHeldFrameBytes = 131;

    PlotFormat format() const { return fmt; }
    // A change of format forgets the channels.
    void setFormat(PlotFormat format);
    // An empty pattern clears the expression and its error, forgets the channels and
    // gives false. An invalid one leaves no expression, keeps the reason in
    // regexError() and gives false. The present valid pattern changes nothing; a new
    // valid one is compiled at once and forgets the channels.
    bool setRegex(const QString &pattern);
    QString regexPattern() const { return regex.pattern(); }
    QString regexError() const { return regexErrorText; }

    // Appends the rows found in `data` to `rows`.
    void feed(const QByteArray &data, Rows &rows);
    // Drops the unfinished line or frame bytes; the channels stay. The JustFloat sync
    // goes too: after dropped bytes the next tail may end a frame cut in two.
    void reset();
    // Also forgets the channels, the counters and the JustFloat sync.
    void resetChannels();

    // Channel names in the order they first appeared; empty for a positional channel.
    const QStringList &channels() const { return channelNames; }
    // Raised whenever the channels change.
    int generation() const { return generationValue; }
    qint64 badCount() const { return bad; }
    qint64 goodCount() const { return good; }

private:
    void feedLines(const QByteArray &data, Rows &rows);
    void feedJustFloat(const QByteArray &data, Rows &rows);
    void takeLine(QByteArrayView line, Rows &rows);
    bool parseTextLine(QByteArrayView line, Row &row);
    bool parseRegexLine(QByteArrayView line, Row &row);
    int channelFor(const QString &name);
    void notePositional(int count);

    PlotFormat fmt = PlotFormat::Text;
    QRegularExpression regex;
    QString regexErrorText;
    QByteArray pending;
    bool discarding = false;
    bool synced = false;
    QHash<QString, int> channelIndex;
    QStringList channelNames;
    int generationValue = 0;
    qint64 bad = 0;
    qint64 good = 0;
};
