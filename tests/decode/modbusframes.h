#pragma once

// Frames and captures for the decode tests, written as hex with the checks added here.

#include "decode/decodeevents.h"
#include "decode/modbuscodec.h"
#include "decode/modbusgateway.h"

namespace frames {

// Hex digits; blanks are skipped.
inline QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}

// Slave and PDU with their CRC.
inline QByteArray rtu(const char *digits)
{
    QByteArray bytes = hex(digits);
    const quint16 crc = ModbusCodec::crc16(bytes);
    bytes.append(char(crc & 0xFF));
    bytes.append(char(crc >> 8));
    return bytes;
}

// The same frame with one CRC bit flipped.
inline QByteArray damaged(QByteArray frame)
{
    frame.back() = char(frame.back() ^ 0x01);
    return frame;
}

// Slave and PDU as an ASCII line with its LRC.
inline QByteArray ascii(const char *digits)
{
    QByteArray bytes = hex(digits);
    bytes.append(char(ModbusCodec::lrc(bytes)));
    return ':' + bytes.toHex().toUpper() + "\r\n";
}

// Unit and PDU behind an MBAP header.
inline QByteArray tcp(quint16 transaction, const char *digits)
{
    const QByteArray bytes = hex(digits);
    return ModbusGateway::buildMbap(transaction, quint8(bytes.at(0)),
                                    QByteArrayView(bytes).sliced(1));
}

inline DecodeEvent tx(qint64 ms, const QByteArray &bytes, const QString &peer = {})
{
    return {ms, FrameDirection::Tx, bytes, peer, 0};
}

inline DecodeEvent rx(qint64 ms, const QByteArray &bytes, const QString &peer = {})
{
    return {ms, FrameDirection::Rx, bytes, peer, 0};
}

} // namespace frames

Q_DECLARE_METATYPE(DecodeEvent)
