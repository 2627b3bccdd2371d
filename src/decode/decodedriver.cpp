#include "decode/decodedriver.h"

#include "decode/framecsv.h"

DecodeDriver::DecodeDriver(std::unique_ptr<FrameDecoder> frameDecoder, const QString &name)
    : decoder(std::move(frameDecoder))
    , protocol(name)
    , wallBase(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC))
{}

DecodeDriver::DecodeDriver(ModbusStreamDecoder::Variant variant)
    : DecodeDriver(std::make_unique<ModbusStreamDecoder>(variant),
                   ModbusStreamDecoder::protocolName(variant))
{}

DecodeDriver::~DecodeDriver() = default;

void DecodeDriver::feed(const DecodeEvent &event)
{
    // The ticks a live runner's timer would have run before this arrival. Each tick
    // settles what was due, so the next deadline lies later; the count is a guard.
    for (int guard = 0; started && guard < 1000000; ++guard) {
        const int delay = decoder->nextTimeoutMs(lastMs);
        if (delay < 0 || lastMs + delay > event.ms) {
            break;
        }
        tick(lastMs + delay);
    }
    ingest(event.direction, event.bytes, event.peer, event.ms, wallBase.addMSecs(event.ms));
}

void DecodeDriver::run(const QList<DecodeEvent> &events)
{
    for (const DecodeEvent &event : events) {
        feed(event);
    }
    finish();
}

void DecodeDriver::ingest(FrameDirection direction, const QByteArray &bytes, const QString &peer,
                          qint64 nowMs, const QDateTime &wallTime)
{
    DecodeOutput out;
    decoder->ingest(direction, peer, bytes, nowMs, wallTime, out);
    started = true;
    lastMs = nowMs;
    take(out);
}

void DecodeDriver::tick(qint64 nowMs)
{
    DecodeOutput out;
    decoder->tick(nowMs, out);
    lastMs = nowMs;
    take(out);
}

int DecodeDriver::nextTimeoutMs(qint64 nowMs) const
{
    return decoder->nextTimeoutMs(nowMs);
}

void DecodeDriver::finish()
{
    // A flush closes every stream exactly as a silence of the gap would.
    DecodeOutput out;
    decoder->flush(out);
    take(out);
}

QStringList DecodeDriver::takeLines()
{
    return std::exchange(lines, {});
}

QList<DecodedField> DecodeDriver::explain(const DecodedFrame &frame) const
{
    return decoder->explain(frame);
}

QString DecodeDriver::framesCsv() const
{
    return FrameCsv::frames(
        kept, [this](const DecodedFrame &f) { return explain(f); }, protocol);
}

QString DecodeDriver::fieldsCsv() const
{
    return FrameCsv::fields(kept, [this](const DecodedFrame &f) { return explain(f); });
}

QString DecodeDriver::lineText(const DecodedFrame &frame)
{
    QString line = QStringLiteral("%1  %2  %3  %4")
                       .arg(QString::number(frame.seq), FrameCsv::directionToken(frame.direction),
                            FrameCsv::statusToken(frame.status), frame.summary);
    if (frame.pairedSeq != 0 && frame.pairedSeq < frame.seq) {
        line += QStringLiteral("  (#%1, %2 ms)").arg(frame.pairedSeq).arg(frame.latencyMs);
    }
    return line;
}

void DecodeDriver::take(DecodeOutput &out)
{
    count += out.frames.size();
    for (const DecodedFrame &frame : std::as_const(out.frames)) {
        lines.append(lineText(frame));
    }
    if (!keep) {
        return;
    }
    kept.append(out.frames);
    for (const PairUpdate &pair : std::as_const(out.pairs)) {
        const auto it = std::lower_bound(
            kept.begin(), kept.end(), pair.requestSeq,
            [](const DecodedFrame &frame, quint64 seq) { return frame.seq < seq; });
        if (it != kept.end() && it->seq == pair.requestSeq) {
            it->pairedSeq = pair.responseSeq;
            it->latencyMs = pair.latencyMs;
        }
    }
}
