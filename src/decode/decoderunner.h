#pragma once

// The per-port owner of the frame decoder. A port session hands it the bytes it
// receives and sends; the runner keeps time for the decoder (a monotonic and a wall
// clock, both replaceable so that a replay can run it on recorded time), wakes it for
// its silences with a single-shot timer, and publishes frames.
//
// Frame numbers keep rising within a port: each new decoder's numbers are shifted by
// the last number handed out before it. Decoding runs only while the frames panel is
// open and a decoder is chosen and usable; otherwise the runner holds, has no decoder,
// and what arrives is not decoded later.
//
// Templates are looked up through a resolver that the owner of the template library
// provides: for a name it says whether the template exists, why it cannot decode if it
// cannot, an identity that is equal for the same template (so that reloading an
// unchanged library keeps the running decoder), and how to make its decoder.
//
// Timers but no widgets: this file includes no widget header.

#include "decode/decodedframe.h"
#include "decode/decoderchoice.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>

#include <functional>
#include <memory>

class FrameDecoder;
class QTimer;

class DecodeRunner : public QObject
{
    Q_OBJECT
public:
    enum Hold {
        NoHold = 0,          // decoding
        NoDecoder = 1,       // no decoder chosen
        PanelClosed = 2,     // the frames panel is closed
        TemplateMissing = 5, // the chosen template does not exist
        TemplateInvalid = 6, // the chosen template cannot decode (holdError says why)
    };

    struct TemplateLookup
    {
        bool found = false;
        QString error;       // not empty: the template cannot decode
        QByteArray identity; // equal for an unchanged template
        std::function<std::unique_ptr<FrameDecoder>()> create;
    };
    using TemplateResolver = std::function<TemplateLookup(const QString &name)>;

    explicit DecodeRunner(QObject *parent = nullptr);
    ~DecodeRunner() override;

    void setChoice(const DecoderChoice &choice);
    DecoderChoice choice() const { return current; }
    void setPanelVisible(bool visible);
    // A new or edited template library. `renames` maps old names to new ones (empty for
    // a template that was deleted): a choice of a renamed template follows it, one of a
    // deleted template falls back to no decoder.
    void setTemplates(TemplateResolver resolver, const QHash<QString, QString> &renames = {});

    void ingestRx(const QByteArray &bytes, const QString &peer);
    void ingestTx(const QByteArray &bytes, const QString &peer);
    // Acts on the decoder's silences that have run out; the timer calls it.
    void tick();
    // The streams ended (the port closed): what the decoder holds comes out.
    void flush();
    // Drops what the decoder holds, with no output.
    void reset();
    // The detail rows of a frame; empty for a frame of an earlier decoder.
    QList<DecodedField> explain(const DecodedFrame &frame) const;
    int nextTimeoutMs() const;

    // Monotonic milliseconds and wall time; by default an elapsed timer and the
    // system clock.
    void setClock(std::function<qint64()> clock);
    void setWallClock(std::function<QDateTime()> clock);
    qint64 now() const;
    QDateTime wallNow() const;

    Hold hold() const { return held; }
    QString holdError() const { return heldError; }
    quint32 generation() const { return gen; }
    qint64 lastSeq() const { return last; }
    // The name the frames CSV gives the protocol: "Modbus RTU", or the template's name.
    QString protocolName() const;
    bool hasDecoder() const { return bool(decoder); }

signals:
    void framesDecoded(const QList<DecodedFrame> &frames);
    void framesPaired(const QList<PairUpdate> &updates);
    void generationChanged(unsigned generation);
    void holdChanged();
    // The choice changed by itself: its template was renamed or deleted.
    void choiceChanged(const DecoderChoice &choice);

private:
    void resolve();
    void ingest(FrameDirection direction, const QByteArray &bytes, const QString &peer);
    void deliver(DecodeOutput &output);
    void rearm();

    DecoderChoice current;
    TemplateResolver resolver;
    quint8 resolvedKind = DecoderChoice::None;
    QByteArray resolvedIdentity;
    std::unique_ptr<FrameDecoder> decoder;
    Hold held = NoDecoder;
    QString heldError;
    quint32 gen = 0;
    qint64 seqBase = 0;
    qint64 last = 0;
    QTimer *timer = nullptr;
    QElapsedTimer elapsed;
    std::function<qint64()> clock;
    std::function<QDateTime()> wallClock;
};
