#pragma once

// Stateless Modbus knowledge: what length an RTU frame has by its first bytes, whether a
// PDU fits a request or a response, the names of functions and exceptions, the classic
// reference numbers, and the summary line and detail rows of a frame. The stream
// decoder cuts and pairs; this class says what the bytes mean.

#include "decode/decodedframe.h"

#include <QByteArrayView>
#include <QCoreApplication>

class ModbusDecoder
{
    Q_DECLARE_TR_FUNCTIONS(ModbusDecoder)

public:
    struct MbapHeader
    {
        quint16 transaction = 0;
        quint16 protocol = 0;
        quint16 length = 0; // unit and PDU
        quint8 unit = 0;
    };

    // Roles of a PDU, as bits: it fits a request, it fits a response.
    enum Role { FitsRequest = 1, FitsResponse = 2 };

    // 0 under 7 bytes, 2 for protocol 0 with a length of 2 to 254, else 1.
    static int parseMbapHeader(QByteArrayView bytes, MbapHeader *header = nullptr);

    // At least 4 bytes, and the last two are the CRC of the rest, low byte first.
    static bool rtuCrcValid(QByteArrayView frame);
    // The last two bytes as the CRC value; 0 under 2 bytes.
    static quint16 rtuStoredCrc(QByteArrayView frame);
    // Slave and PDU of an RTU frame of at least 4 bytes (the CRC left out).
    static bool splitRtu(QByteArrayView frame, quint8 *slave, QByteArray *pdu);

    // The size of an RTU request or response by its first bytes: 0 when more bytes are
    // needed to tell, -1 when the function does not tell.
    static int rtuRequestLength(QByteArrayView bytes);
    static int rtuResponseLength(QByteArrayView bytes);

    // FitsRequest and FitsResponse bits by the function and size of `pdu`.
    static int roleFit(QByteArrayView pdu);
    // 1 to 8, 11, 12, 15, 16, 17, 22, 23 and 43, with the top bit masked.
    static bool knownFunction(quint8 function);
    static QString exceptionName(quint8 code);
    static QString functionName(quint8 function);
    static ModbusFrameInfo describe(quint8 slave, QByteArrayView pdu, bool isResponse);

    // A whole ASCII line (colon, hex pairs, CR LF) split into the decoded bytes before
    // the LRC, the stored LRC and the LRC computed over those bytes.
    static bool parseAsciiFrame(QByteArrayView raw, QByteArray *decoded, quint8 *storedLrc,
                                quint8 *computedLrc);

    // The classic address text ("40001"): a prefix by the table of the function, then
    // address + 1 in at least 4 digits. Empty for functions without a table.
    static QString reference(int function, int address);
    static void appendReference(QString &out, int function, int address);
    // "40001 (1)" or "40001-40010 (10)".
    static QString rangeText(int function, int address, int quantity);
    static void appendRange(QString &out, int function, int address, int quantity);
    // "ON", "OFF", else "0x" and four hex digits.
    static QString coilText(quint16 value);
    // "0x%1 (%2)", with the signed reading behind the unsigned one when negative.
    static QString registerText(quint16 value);

    // The frame table's line: "Slave 1 · Read Holding Registers 40001-40002 (2)".
    static QString summary(const ModbusFrameInfo &info, QByteArrayView pdu);
    // The rows of a PDU, offsets counted from `base`.
    static QList<DecodedField> explainPdu(QByteArrayView pdu, int base,
                                          const ModbusFrameInfo &info);
};
