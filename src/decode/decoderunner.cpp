#include "decode/decoderunner.h"

#include "decode/modbusstreamdecoder.h"

#include <QTimer>

namespace {

ModbusStreamDecoder::Variant variantOf(quint8 kind)
{
    switch (kind) {
    case DecoderChoice::ModbusAscii:
        return ModbusStreamDecoder::Variant::Ascii;
    case DecoderChoice::ModbusTcp:
        return ModbusStreamDecoder::Variant::Tcp;
    default:
        return ModbusStreamDecoder::Variant::Rtu;
    }
}

bool isModbus(quint8 kind)
{
    return kind >= DecoderChoice::ModbusRtu && kind <= DecoderChoice::ModbusTcp;
}

} // namespace

DecodeRunner::DecodeRunner(QObject *parent)
    : QObject(parent)
    , timer(new QTimer(this))
{
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, &DecodeRunner::tick);
    elapsed.start();
}

DecodeRunner::~DecodeRunner() = default;

void DecodeRunner::setChoice(const DecoderChoice &choice)
{
    current = choice;
    if (current.kind > DecoderChoice::Template) {
        current.kind = DecoderChoice::None;
    }
    resolve();
}

void DecodeRunner::setPanelVisible(bool visible)
{
    if (current.panelVisible == visible) {
        return;
    }
    current.panelVisible = visible;
    resolve();
}

void DecodeRunner::setTemplates(TemplateResolver newResolver, const QHash<QString, QString> &renames)
{
    resolver = std::move(newResolver);
    if (current.kind == DecoderChoice::Template && renames.contains(current.templateName)) {
        const QString renamed = renames.value(current.templateName);
        if (renamed.isEmpty()) {
            current.kind = DecoderChoice::None;
            current.templateName.clear();
        } else {
            current.templateName = renamed;
        }
        resolve();
        emit choiceChanged(current);
        return;
    }
    resolve();
}

void DecodeRunner::resolve()
{
    const quint8 kind = current.kind;
    TemplateLookup lookup;
    if (kind == DecoderChoice::Template && resolver) {
        lookup = resolver(current.templateName);
    }
    Hold next = NoHold;
    if (kind == DecoderChoice::None) {
        next = NoDecoder;
    } else if (!current.panelVisible) {
        next = PanelClosed;
    } else if (kind == DecoderChoice::Template && !lookup.found) {
        next = TemplateMissing;
    } else if (kind == DecoderChoice::Template && (!lookup.error.isEmpty() || !lookup.create)) {
        next = TemplateInvalid;
    }

    // A real change is another kind or another template, not a reload of the same one.
    const QByteArray identity = kind == DecoderChoice::Template
                                    ? current.templateName.toUtf8() + '\0' + lookup.identity
                                    : QByteArray();
    const bool changed = kind != resolvedKind || identity != resolvedIdentity;
    if (changed || next != NoHold || !decoder) {
        // The old decoder goes without a flush.
        decoder.reset();
        timer->stop();
        if (next == NoHold) {
            if (isModbus(kind)) {
                decoder = std::make_unique<ModbusStreamDecoder>(variantOf(kind));
            } else {
                decoder = lookup.create();
            }
            if (!decoder) {
                next = TemplateInvalid;
            }
        }
        // A new decoder counts from 1; its numbers follow those already handed out.
        seqBase = last;
    }
    if (changed) {
        resolvedKind = kind;
        resolvedIdentity = identity;
        ++gen;
        emit generationChanged(gen);
    }
    const QString error = next == TemplateInvalid ? lookup.error : QString();
    if (next != held || error != heldError) {
        held = next;
        heldError = error;
        emit holdChanged();
    }
}

void DecodeRunner::ingestRx(const QByteArray &bytes, const QString &peer)
{
    ingest(FrameDirection::Rx, bytes, peer);
}

void DecodeRunner::ingestTx(const QByteArray &bytes, const QString &peer)
{
    ingest(FrameDirection::Tx, bytes, peer);
}

void DecodeRunner::ingest(FrameDirection direction, const QByteArray &bytes, const QString &peer)
{
    if (held != NoHold || !decoder || bytes.isEmpty()) {
        return;
    }
    DecodeOutput output;
    decoder->ingest(direction, peer, bytes, now(), wallNow(), output);
    deliver(output);
    rearm();
}

void DecodeRunner::tick()
{
    if (held != NoHold || !decoder) {
        return;
    }
    DecodeOutput output;
    decoder->tick(now(), output);
    deliver(output);
    rearm();
}

void DecodeRunner::flush()
{
    timer->stop();
    if (!decoder) {
        return;
    }
    DecodeOutput output;
    decoder->flush(output);
    deliver(output);
    decoder->reset();
}

void DecodeRunner::reset()
{
    timer->stop();
    if (decoder) {
        decoder->reset();
    }
}

void DecodeRunner::deliver(DecodeOutput &output)
{
    for (DecodedFrame &frame : output.frames) {
        frame.seq += quint64(seqBase);
        if (frame.pairedSeq != 0) {
            frame.pairedSeq += quint64(seqBase);
        }
        last = std::max(last, qint64(frame.seq));
        frame.generation = gen;
    }
    QList<PairUpdate> pairs;
    for (PairUpdate update : std::as_const(output.pairs)) {
        update.requestSeq += quint64(seqBase);
        update.responseSeq += quint64(seqBase);
        // A pairing is news only for a response that has been handed out.
        if (qint64(update.responseSeq) <= last) {
            pairs.append(update);
        }
    }
    if (!output.frames.isEmpty()) {
        emit framesDecoded(output.frames);
    }
    if (!pairs.isEmpty()) {
        emit framesPaired(pairs);
    }
}

void DecodeRunner::rearm()
{
    const int delay = nextTimeoutMs();
    if (delay >= 0) {
        timer->start(delay);
    } else {
        timer->stop();
    }
}

QList<DecodedField> DecodeRunner::explain(const DecodedFrame &frame) const
{
    if (!decoder || frame.generation != gen) {
        return {};
    }
    return decoder->explain(frame);
}

int DecodeRunner::nextTimeoutMs() const
{
    return decoder && held == NoHold ? decoder->nextTimeoutMs(now()) : -1;
}

void DecodeRunner::setClock(std::function<qint64()> newClock)
{
    clock = std::move(newClock);
}

void DecodeRunner::setWallClock(std::function<QDateTime()> newClock)
{
    wallClock = std::move(newClock);
}

qint64 DecodeRunner::now() const
{
    return clock ? clock() : elapsed.elapsed();
}

QDateTime DecodeRunner::wallNow() const
{
    return wallClock ? wallClock() : QDateTime::currentDateTime();
}

QString DecodeRunner::protocolName() const
{
    if (isModbus(current.kind)) {
        return ModbusStreamDecoder::protocolName(variantOf(current.kind));
    }
    return current.kind == DecoderChoice::Template ? current.templateName : QString();
}
