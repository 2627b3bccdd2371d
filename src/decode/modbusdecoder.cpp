#include "decode/modbusdecoder.h"

#include "decode/modbuscodec.h"

namespace {

quint8 byteAt(QByteArrayView bytes, qsizetype index)
{
    return quint8(bytes.at(index));
}

quint16 wordAt(QByteArrayView bytes, qsizetype index)
{
    return quint16((byteAt(bytes, index) << 8) | byteAt(bytes, index + 1));
}

QString hexDigits(uint value, int digits)
{
    return QString::number(value, 16).rightJustified(digits, u'0').toUpper();
}

} // namespace

int ModbusDecoder::parseMbapHeader(QByteArrayView bytes, MbapHeader *header)
{
    if (bytes.size() < 7) {
        return 0;
    }
    const MbapHeader h{wordAt(bytes, 0), wordAt(bytes, 2), wordAt(bytes, 4), byteAt(bytes, 6)};
    if (header) {
        *header = h;
    }
    return h.protocol == 0 && h.length >= 2 && h.length <= 254 ? 2 : 1;
}

bool ModbusDecoder::rtuCrcValid(QByteArrayView frame)
{
    return frame.size() >= 4 &&
           ModbusCodec::crc16(frame.first(frame.size() - 2)) == rtuStoredCrc(frame);
}

quint16 ModbusDecoder::rtuStoredCrc(QByteArrayView frame)
{
    const qsizetype n = frame.size();
    return n < 2 ? 0 : quint16(byteAt(frame, n - 2) | (byteAt(frame, n - 1) << 8));
}

bool ModbusDecoder::splitRtu(QByteArrayView frame, quint8 *slave, QByteArray *pdu)
{
    if (frame.size() < 4) {
        return false;
    }
    if (slave) {
        *slave = byteAt(frame, 0);
    }
    if (pdu) {
        *pdu = frame.sliced(1, frame.size() - 3).toByteArray();
    }
    return true;
}

int ModbusDecoder::rtuRequestLength(QByteArrayView b)
{
    if (b.size() < 2) {
        return 0;
    }
    switch (byteAt(b, 1)) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 8:
        return 8;
    case 7:
    case 11:
    case 12:
    case 17:
        return 4;
    case 15:
    case 16:
        return b.size() < 7 ? 0 : byteAt(b, 6) + 9;
    case 22:
        return 10;
    case 23:
        return b.size() < 11 ? 0 : byteAt(b, 10) + 13;
    case 43:
        return 7;
    default: // the top bit set included: requests never have it
        return -1;
    }
}

int ModbusDecoder::rtuResponseLength(QByteArrayView b)
{
    if (b.size() < 2) {
        return 0;
    }
    const quint8 function = byteAt(b, 1);
    if (function & 0x80) {
        return 5;
    }
    switch (function) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 12:
    case 17:
    case 23:
        return b.size() < 3 ? 0 : byteAt(b, 2) + 5;
    case 5:
    case 6:
    case 8:
    case 11:
    case 15:
    case 16:
        return 8;
    case 7:
        return 5;
    case 22:
        return 10;
    default:
        return -1;
    }
}

int ModbusDecoder::roleFit(QByteArrayView pdu)
{
    const qsizetype n = pdu.size();
    if (n == 0) {
        return 0;
    }
    const quint8 function = byteAt(pdu, 0);
    // The byte count at offset 1 covers the rest; `nonZero` and `even` add the rules
    // of the functions that read bits and registers.
    const auto counted = [&](bool nonZero, bool even) {
        if (n < 2 || n != byteAt(pdu, 1) + 2) {
            return false;
        }
        const quint8 count = byteAt(pdu, 1);
        return (!nonZero || count != 0) && (!even || count % 2 == 0);
    };
    if (function & 0x80) {
        return n == 2 ? FitsResponse : 0;
    }
    switch (function) {
    case 1:
    case 2:
    case 3:
    case 4: {
        const bool response = counted(true, function >= 3);
        return (n == 5 ? FitsRequest : 0) | (response ? FitsResponse : 0);
    }
    case 5:
    case 6:
        return n == 5 ? FitsRequest | FitsResponse : 0;
    case 7:
        return n == 1 ? FitsRequest : n == 2 ? FitsResponse : 0;
    case 8:
        return n >= 3 ? FitsRequest | FitsResponse : 0;
    case 11:
        return n == 1 ? FitsRequest : n == 5 ? FitsResponse : 0;
    case 12:
    case 17:
        return (n == 1 ? FitsRequest : 0) | (counted(false, false) ? FitsResponse : 0);
    case 15:
    case 16:
        if (n == 5) {
            return FitsResponse;
        }
        if (n >= 6) {
            const quint8 count = byteAt(pdu, 5);
            return count != 0 && n == count + 6 ? FitsRequest : 0;
        }
        return 0;
    case 22:
        return n == 7 ? FitsRequest | FitsResponse : 0;
    case 23: {
        int role = 0;
        if (n >= 10 && n == byteAt(pdu, 9) + 10 && byteAt(pdu, 9) % 2 == 0 && byteAt(pdu, 9)) {
            role |= FitsRequest;
        }
        return role | (counted(true, true) ? FitsResponse : 0);
    }
    case 43:
        return n >= 2 ? FitsRequest | FitsResponse : 0;
    default:
        return FitsRequest | FitsResponse;
    }
}

bool ModbusDecoder::knownFunction(quint8 function)
{
    switch (function & 0x7F) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 11:
    case 12:
    case 15:
    case 16:
    case 17:
    case 22:
    case 23:
    case 43:
        return true;
    default:
        return false;
    }
}

QString ModbusDecoder::exceptionName(quint8 code)
{
    switch (code) {
    case 1:
        return tr("Illegal Function");
    case 2:
        return tr("Illegal Data Address");
    case 3:
        return tr("Illegal Data Value");
    case 4:
        return tr("Slave Device Failure");
    case 5:
        return tr("Acknowledge");
    case 6:
        return tr("Slave Device Busy");
    case 8:
        return tr("Memory Parity Error");
    case 10:
        return tr("Gateway Path Unavailable");
    case 11:
        return tr("Gateway Target Device Failed to Respond");
    default:
        return tr("Unknown Exception");
    }
}

QString ModbusDecoder::functionName(quint8 function)
{
    switch (function & 0x7F) {
    case 1:
        return tr("Read Coils");
    case 2:
        return tr("Read Discrete Inputs");
    case 3:
        return tr("Read Holding Registers");
    case 4:
        return tr("Read Input Registers");
    case 5:
        return tr("Write Single Coil");
    case 6:
        return tr("Write Single Register");
    case 7:
        return tr("Read Exception Status");
    case 8:
        return tr("Diagnostics");
    case 11:
        return tr("Get Comm Event Counter");
    case 12:
        return tr("Get Comm Event Log");
    case 15:
        return tr("Write Multiple Coils");
    case 16:
        return tr("Write Multiple Registers");
    case 17:
        return tr("Report Server ID");
    case 22:
        return tr("Mask Write Register");
    case 23:
        return tr("Read/Write Multiple Registers");
    case 43:
        return tr("Encapsulated Interface Transport");
    default:
        return tr("Function 0x%1").arg(hexDigits(function & 0x7F, 2));
    }
}

ModbusFrameInfo ModbusDecoder::describe(quint8 slave, QByteArrayView pdu, bool isResponse)
{
    ModbusFrameInfo info;
    info.valid = true;
    info.slave = slave;
    info.function = pdu.isEmpty() ? 0 : byteAt(pdu, 0);
    info.isResponse = isResponse;
    return info;
}

bool ModbusDecoder::parseAsciiFrame(QByteArrayView raw, QByteArray *decoded, quint8 *storedLrc,
                                    quint8 *computedLrc)
{
    const qsizetype n = raw.size();
    if (n < 9 || n % 2 == 0 || raw.front() != ':' || !raw.endsWith("\r\n")) {
        return false;
    }
    const QByteArrayView hex = raw.sliced(1, n - 3);
    const auto isHex = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    };
    if (!std::all_of(hex.begin(), hex.end(), isHex)) {
        return false;
    }
    QByteArray bytes = QByteArray::fromHex(hex.toByteArray());
    const quint8 stored = quint8(bytes.back());
    bytes.chop(1);
    if (storedLrc) {
        *storedLrc = stored;
    }
    if (computedLrc) {
        *computedLrc = ModbusCodec::lrc(bytes);
    }
    if (decoded) {
        *decoded = bytes;
    }
    return true;
}

QString ModbusDecoder::reference(int function, int address)
{
    QString out;
    appendReference(out, function, address);
    return out;
}

void ModbusDecoder::appendReference(QString &out, int function, int address)
{
    char prefix = 0;
    switch (function) {
    case 1:
    case 5:
    case 15:
        prefix = '0';
        break;
    case 2:
        prefix = '1';
        break;
    case 4:
        prefix = '3';
        break;
    case 3:
    case 6:
    case 16:
    case 22:
    case 23:
        prefix = '4';
        break;
    default:
        return;
    }
    // The number in at least four digits, five from 10000 on: written backwards into a
    // small buffer, as this runs for every frame.
    char digits[12];
    int at = int(sizeof digits);
    for (unsigned value = unsigned(address + 1); value != 0 || at > int(sizeof digits) - 4;
         value /= 10) {
        digits[--at] = char('0' + value % 10);
    }
    digits[--at] = prefix;
    out += QLatin1StringView(digits + at, qsizetype(sizeof digits) - at);
}

QString ModbusDecoder::rangeText(int function, int address, int quantity)
{
    QString out;
    appendRange(out, function, address, quantity);
    return out;
}

void ModbusDecoder::appendRange(QString &out, int function, int address, int quantity)
{
    appendReference(out, function, address);
    if (quantity >= 2) {
        out += u'-';
        appendReference(out, function, address + quantity - 1);
    }
    out += u" (";
    out += QString::number(quantity);
    out += u')';
}

QString ModbusDecoder::coilText(quint16 value)
{
    if (value == 0xFF00) {
        return QStringLiteral("ON");
    }
    if (value == 0) {
        return QStringLiteral("OFF");
    }
    return QStringLiteral("0x") + hexDigits(value, 4);
}

QString ModbusDecoder::registerText(quint16 value)
{
    if (value & 0x8000) {
        return QStringLiteral("0x%1 (%2 / %3)")
            .arg(hexDigits(value, 4))
            .arg(value)
            .arg(qint16(value));
    }
    return QStringLiteral("0x%1 (%2)").arg(hexDigits(value, 4)).arg(value);
}

QString ModbusDecoder::summary(const ModbusFrameInfo &info, QByteArrayView pdu)
{
    // Built in one string: this runs for every frame.
    QString out;
    out.reserve(96);
    out += tr("Slave %1").arg(info.slave);
    out += u" \u00B7 ";
    if (!info.valid || pdu.isEmpty()) {
        return out += tr("Empty PDU");
    }
    const qsizetype n = pdu.size();
    const quint8 function = byteAt(pdu, 0);
    if (function & 0x80) {
        if (n < 2) {
            return out += tr("Exception (%1)").arg(functionName(function));
        }
        const quint8 code = byteAt(pdu, 1);
        return out += tr("Exception %1 %2 (%3)")
                          .arg(hexDigits(code, 2), exceptionName(code), functionName(function));
    }
    const bool response = info.isResponse;
    // Each case needs its PDU this long; a shorter one stops after the function name.
    qsizetype needed = 1;
    switch (function) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 23:
        needed = response ? 2 : function == 23 ? 9 : 5;
        break;
    case 5:
    case 6:
    case 15:
    case 16:
        needed = 5;
        break;
    case 22:
        needed = 3;
        break;
    default:
        break;
    }
    out += functionName(function);
    if (n < needed) {
        return out;
    }
    out += response ? u" \u2192 " : u" ";
    switch (function) {
    case 1:
    case 2:
        if (!response) {
            appendRange(out, function, wordAt(pdu, 1), wordAt(pdu, 3));
        } else if (info.requestKnown) {
            out +=
                tr("%n coil(s)", nullptr, std::min(byteAt(pdu, 1) * 8, int(info.requestQuantity)));
        } else {
            out += tr("%n byte(s)", nullptr, byteAt(pdu, 1));
        }
        break;
    case 3:
    case 4:
        if (response) {
            out += tr("%n register(s)", nullptr, byteAt(pdu, 1) / 2);
        } else {
            appendRange(out, function, wordAt(pdu, 1), wordAt(pdu, 3));
        }
        break;
    case 5:
    case 6:
        appendReference(out, function, wordAt(pdu, 1));
        out += u" = ";
        out += function == 5 ? coilText(wordAt(pdu, 3)) : QString::number(wordAt(pdu, 3));
        break;
    case 15:
    case 16:
        appendRange(out, function, wordAt(pdu, 1), wordAt(pdu, 3));
        break;
    case 22:
        appendReference(out, function, wordAt(pdu, 1));
        break;
    case 23:
        if (response) {
            out += tr("%n register(s)", nullptr, byteAt(pdu, 1) / 2);
        } else {
            out += tr("read %1, write %2")
                       .arg(rangeText(23, wordAt(pdu, 1), wordAt(pdu, 3)),
                            rangeText(23, wordAt(pdu, 5), wordAt(pdu, 7)));
        }
        break;
    default:
        out += tr("%n byte(s)", nullptr, int(n - 1));
    }
    return out;
}
