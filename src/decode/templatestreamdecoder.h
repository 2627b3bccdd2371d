#pragma once

// Frames of a user's frame template, found in both directions of any number of peers:
// one FrameSplitter per direction and peer cuts the stream, and each frame's summary
// comes from its fields. There is no request/response pairing.

#include "decode/framedecoder.h"
#include "decode/frameinterpreter.h"
#include "decode/framesplitter.h"

#include <map>

class TemplateStreamDecoder : public FrameDecoder
{
    Q_DECLARE_TR_FUNCTIONS(TemplateStreamDecoder)

public:
    // Takes its own copy: later edits of the template do not reach it.
    explicit TemplateStreamDecoder(const FrameTemplate &frameTemplate);

    void ingest(FrameDirection direction, const QString &peer, const QByteArray &bytes,
                qint64 nowMs, const QDateTime &wallTime, DecodeOutput &out) override;
    void tick(qint64 nowMs, DecodeOutput &out) override;
    int nextTimeoutMs(qint64 nowMs) const override;
    void flush(DecodeOutput &out) override;
    void reset() override;
    QList<DecodedField> explain(const DecodedFrame &frame) const override;

    const FrameTemplate &frameTemplate() const { return prepared.frameTemplate(); }
    int streamCount() const { return int(splitters.size()); }
    qsizetype heldBytes() const;

private:
    struct Key
    {
        FrameDirection direction;
        QString peer;
        bool operator<(const Key &other) const
        {
            return direction != other.direction ? direction < other.direction : peer < other.peer;
        }
    };

    void append(const Key &key, const QList<FrameSplitter::Piece> &pieces, DecodeOutput &out);

    FrameInterpreter::Prepared prepared;
    std::map<Key, FrameSplitter> splitters; // direction first, then peer
};
