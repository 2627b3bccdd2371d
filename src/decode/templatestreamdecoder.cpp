#include "decode/templatestreamdecoder.h"

#include <limits>

TemplateStreamDecoder::TemplateStreamDecoder(const FrameTemplate &frameTemplate)
    : prepared(FrameSplitter::sanitized(frameTemplate))
{}

qsizetype TemplateStreamDecoder::heldBytes() const
{
    qsizetype total = 0;
    for (const auto &[key, splitter] : splitters) {
        total += splitter.heldBytes();
    }
    return total;
}

void TemplateStreamDecoder::ingest(FrameDirection direction, const QString &peer,
                                   const QByteArray &bytes, qint64 nowMs, const QDateTime &wallTime,
                                   DecodeOutput &out)
{
    if (bytes.isEmpty()) {
        return;
    }
    const Key key{direction, peer};
    auto it = splitters.try_emplace(key, prepared.frameTemplate()).first;
    append(key, it->second.ingest(bytes, nowMs, wallTime), out);
    if (it->second.idle()) {
        splitters.erase(it);
    }
}

void TemplateStreamDecoder::tick(qint64 nowMs, DecodeOutput &out)
{
    for (auto it = splitters.begin(); it != splitters.end();) {
        append(it->first, it->second.tick(nowMs), out);
        it = it->second.idle() ? splitters.erase(it) : std::next(it);
    }
}

int TemplateStreamDecoder::nextTimeoutMs(qint64 nowMs) const
{
    int next = -1;
    for (const auto &[key, splitter] : splitters) {
        const int delay = splitter.nextTimeoutMs(nowMs);
        if (delay >= 0 && (next < 0 || delay < next)) {
            next = delay;
        }
    }
    return next;
}

void TemplateStreamDecoder::flush(DecodeOutput &out)
{
    for (auto &[key, splitter] : splitters) {
        append(key, splitter.flush(), out);
    }
    splitters.clear();
}

void TemplateStreamDecoder::reset()
{
    splitters.clear();
}

QList<DecodedField> TemplateStreamDecoder::explain(const DecodedFrame &frame) const
{
    if (frame.status == FrameStatus::Unrecognized) {
        return {{tr("Data"), hexText(frame.raw), 0, int(frame.raw.size()), 0, false}};
    }
    return FrameInterpreter::explain(prepared.frameTemplate(), frame.raw);
}

void TemplateStreamDecoder::append(const Key &key, const QList<FrameSplitter::Piece> &pieces,
                                   DecodeOutput &out)
{
    for (const FrameSplitter::Piece &piece : pieces) {
        DecodedFrame frame;
        frame.seq = takeSeq();
        frame.time = piece.time;
        frame.elapsedMs = piece.elapsedMs;
        frame.direction = key.direction;
        frame.peer = key.peer;
        frame.raw = piece.bytes;
        frame.status = piece.status;
        if (piece.status == FrameStatus::Unrecognized) {
            frame.summary = unrecognizedSummary(piece.bytes.size());
        } else {
            frame.summary = FrameInterpreter::summary(prepared, piece.bytes);
            if (frame.summary.isEmpty()) {
                frame.summary = tr("%1 bytes").arg(piece.bytes.size());
            }
        }
        out.frames.append(std::move(frame));
    }
}
