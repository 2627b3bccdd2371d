#pragma once

// Building Modbus frames: the two checks (CRC-16/MODBUS for RTU, LRC for ASCII) and a
// request turned into a PDU, an RTU frame or an ASCII line, as the request builder and
// the decoders' tests need them.

#include <QByteArray>
#include <QByteArrayView>
#include <QCoreApplication>
#include <QList>
#include <QString>

class ModbusCodec
{
    Q_DECLARE_TR_FUNCTIONS(ModbusCodec)

public:
    struct Request
    {
        int slave = 1;
        quint8 function = 3;
        quint16 address = 0;
        int quantity = 1;      // functions 1 to 4
        QList<quint16> values; // functions 5, 6, 15, 16
    };

    // CRC-16/MODBUS of `bytes` (0xFFFF for none); on the wire low byte first.
    static quint16 crc16(QByteArrayView bytes);
    // Continues a CRC-16/MODBUS register over more bytes; start from 0xFFFF.
    static quint16 crc16Update(quint16 crc, QByteArrayView bytes);
    // The two's complement of the 8-bit sum.
    static quint8 lrc(QByteArrayView bytes);

    // The function code and its data, or empty with `error` set.
    static QByteArray buildPdu(const Request &request, QString *error = nullptr);
    // Slave, PDU and CRC, low byte first.
    static QByteArray buildRtuFrame(const Request &request, QString *error = nullptr);
    // ":" and the upper-case hex of slave, PDU and LRC, then CR LF.
    static QByteArray buildAsciiFrame(const Request &request, QString *error = nullptr);
};
