#include "decode/framedecoder.h"

#include <limits>

FrameDecoder::~FrameDecoder() = default;

QString FrameDecoder::unrecognizedSummary(qsizetype bytes)
{
    return bytes == 1 ? tr("1 unrecognized byte") : tr("%1 unrecognized bytes").arg(bytes);
}

QString FrameDecoder::hexText(QByteArrayView bytes)
{
    return QString::fromLatin1(bytes.toByteArray().toHex(' ').toUpper());
}

int FrameDecoder::delayUntil(qint64 dueMs, qint64 nowMs)
{
    const qint64 delay = dueMs - nowMs;
    return int(std::clamp<qint64>(delay, 0, std::numeric_limits<int>::max()));
}
