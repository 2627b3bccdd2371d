#pragma once

// Drives one frame decoder over a capture or a live port without a window: the events
// of an events file in order, with the ticks a timer would have run between them, and
// the end of input taken as lasting silence. It yields a printable line per frame and
// keeps the frames (with their pairing brought up to date) for the CSV forms.

#include "decode/decodeevents.h"
#include "decode/modbusstreamdecoder.h"

#include <QStringList>

#include <memory>

class DecodeDriver
{
public:
    // Owns `decoder`; `protocol` names it in the frames CSV.
    DecodeDriver(std::unique_ptr<FrameDecoder> decoder, const QString &protocol);
    // A Modbus decoder of `variant` with the default options.
    explicit DecodeDriver(ModbusStreamDecoder::Variant variant);
    ~DecodeDriver();

    // Events carry no wall time: theirs is `base` plus their milliseconds. The default
    // base is the Unix epoch in UTC, so that the times read as time into the capture.
    void setWallBase(const QDateTime &base) { wallBase = base; }
    // Whether frames are kept for frames() and the CSV forms (default on). Off, only the
    // lines are produced and memory stays bounded however long the input.
    void setKeepFrames(bool on) { keep = on; }

    // One event of an events file: first the ticks due before it, then the event.
    void feed(const DecodeEvent &event);
    // All events, then finish().
    void run(const QList<DecodeEvent> &events);

    // Live input: an arrival at `nowMs`, a tick when nextTimeoutMs() says so.
    void ingest(FrameDirection direction, const QByteArray &bytes, const QString &peer,
                qint64 nowMs, const QDateTime &wallTime);
    void tick(qint64 nowMs);
    int nextTimeoutMs(qint64 nowMs) const;

    // The input has ended: what is held is closed as a silence would close it.
    void finish();

    // The lines of the frames decoded since the last call, in order.
    QStringList takeLines();
    // Every frame so far, requests carrying the pairing learned later.
    const QList<DecodedFrame> &frames() const { return kept; }
    qsizetype frameCount() const { return count; }
    QList<DecodedField> explain(const DecodedFrame &frame) const;
    QString framesCsv() const;
    QString fieldsCsv() const;

    // "<seq>  <TX|RX>  <status>  <summary>", and for a paired response "  (#<request>,
    // <latency> ms)".
    static QString lineText(const DecodedFrame &frame);

private:
    void take(DecodeOutput &out);

    std::unique_ptr<FrameDecoder> decoder;
    QString protocol;
    QDateTime wallBase;
    bool keep = true;
    bool started = false;
    qint64 lastMs = 0;
    qsizetype count = 0;
    QList<DecodedFrame> kept;
    QStringList lines;
};
