#include "decode/framebytes.h"

#include "decode/modbusdecoder.h"

bool FrameBytes::countsDecodedBytes(const DecodedFrame &frame)
{
    return frame.modbus.valid && frame.raw.startsWith(':') &&
           ModbusDecoder::parseAsciiFrame(frame.raw, nullptr, nullptr, nullptr);
}

std::pair<int, int> FrameBytes::wireSpan(const DecodedFrame &frame, int offset, int length)
{
    if (countsDecodedBytes(frame)) {
        offset = offset * 2 + 1;
        length *= 2;
    }
    const int size = int(frame.raw.size());
    if (offset < 0 || length < 1 || offset >= size) {
        return {0, 0};
    }
    return {offset, std::min(length, size - offset)};
}

QByteArray FrameBytes::fieldImage(const DecodedFrame &frame)
{
    QByteArray decoded;
    quint8 stored = 0;
    if (frame.modbus.valid && frame.raw.startsWith(':') &&
        ModbusDecoder::parseAsciiFrame(frame.raw, &decoded, &stored, nullptr)) {
        decoded.append(char(stored));
        return decoded;
    }
    return frame.raw;
}
