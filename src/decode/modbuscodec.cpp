#include "decode/modbuscodec.h"

#include "tools/crccatalog.h"

#include <array>

namespace {

// The byte table of the reflected CRC-16/MODBUS, taken from the catalogue's definition:
// with a zero start and no final XOR, the CRC of one byte is its table entry.
const std::array<quint16, 256> &crcTable()
{
    static const std::array<quint16, 256> table = [] {
        CrcCatalog::CustomParameters p = CrcCatalog::parameters(CrcCatalog::Crc16Modbus);
        p.initial = 0;
        p.finalXor = 0;
        std::array<quint16, 256> t{};
        for (int b = 0; b < 256; ++b) {
            const char byte = char(b);
            t[b] = quint16(CrcCatalog::calculateCustom(QByteArrayView(&byte, 1), p));
        }
        return t;
    }();
    return table;
}

void appendWord(QByteArray &out, int word)
{
    out.append(char((word >> 8) & 0xFF));
    out.append(char(word & 0xFF));
}

} // namespace

quint16 ModbusCodec::crc16(QByteArrayView bytes)
{
    return crc16Update(0xFFFF, bytes);
}

quint16 ModbusCodec::crc16Update(quint16 crc, QByteArrayView bytes)
{
    // From a few bytes on, the catalogue's sliced tables take eight bytes a step. It
    // starts from the reflected register, so the running value is given reversed.
    constexpr qsizetype SlicedFrom = 16;
    if (bytes.size() >= SlicedFrom) {
        CrcCatalog::CustomParameters p = CrcCatalog::parameters(CrcCatalog::Crc16Modbus);
        quint16 reversed = 0;
        for (int bit = 0; bit < 16; ++bit) {
            reversed |= quint16(((crc >> bit) & 1U) << (15 - bit));
        }
        p.initial = reversed;
        return quint16(CrcCatalog::calculateCustom(bytes, p));
    }
    const auto &table = crcTable();
    for (char c : bytes) {
        crc = quint16((crc >> 8) ^ table[(crc ^ quint8(c)) & 0xFF]);
    }
    return crc;
}

quint8 ModbusCodec::lrc(QByteArrayView bytes)
{
    return quint8(-int(CrcCatalog::sum8(bytes)));
}

QByteArray ModbusCodec::buildPdu(const Request &request, QString *error)
{
    const auto fail = [error](const QString &text) {
        if (error) {
            *error = text;
        }
        return QByteArray();
    };
    const auto outside = [&](const QString &name, int value, int low, int high) {
        return value < low || value > high
                   ? tr("%1 must be between %2 and %3.").arg(name).arg(low).arg(high)
                   : QString();
    };
    const auto addressCheck = [&](int count) {
        return int(request.address) + count > 65536
                   ? tr("Address %1 plus count %2 exceeds the 65536 address space.")
                         .arg(request.address)
                         .arg(count)
                   : QString();
    };

    if (request.slave < 0 || request.slave > 247) {
        return fail(tr("Slave ID must be between 0 and 247."));
    }
    QByteArray pdu(1, char(request.function));
    QString problem;
    const int count = int(request.values.size());
    switch (request.function) {
    case 1:
    case 2:
    case 3:
    case 4: {
        const bool coils = request.function <= 2;
        problem = coils ? outside(tr("Coil count"), request.quantity, 1, 2000)
                        : outside(tr("Register count"), request.quantity, 1, 125);
        if (problem.isEmpty()) {
            problem = addressCheck(request.quantity);
        }
        appendWord(pdu, request.address);
        appendWord(pdu, request.quantity);
        break;
    }
    case 5:
        if (count != 1) {
            problem = tr("Write Single Coil needs exactly one value.");
            break;
        }
        appendWord(pdu, request.address);
        appendWord(pdu, request.values.first() ? 0xFF00 : 0x0000);
        break;
    case 6:
        if (count != 1) {
            problem = tr("Write Single Register needs exactly one value.");
            break;
        }
        appendWord(pdu, request.address);
        appendWord(pdu, request.values.first());
        break;
    case 15: {
        problem = outside(tr("Coil count"), count, 1, 1968);
        if (problem.isEmpty()) {
            problem = addressCheck(count);
        }
        appendWord(pdu, request.address);
        appendWord(pdu, count);
        QByteArray bits((count + 7) / 8, '\0');
        for (int i = 0; i < count; ++i) {
            if (request.values.at(i)) {
                bits[i / 8] = char(quint8(bits.at(i / 8)) | (1U << (i % 8)));
            }
        }
        pdu.append(char(bits.size()));
        pdu.append(bits);
        break;
    }
    case 16:
        problem = outside(tr("Register count"), count, 1, 123);
        if (problem.isEmpty()) {
            problem = addressCheck(count);
        }
        appendWord(pdu, request.address);
        appendWord(pdu, count);
        pdu.append(char(count * 2));
        for (quint16 value : request.values) {
            appendWord(pdu, value);
        }
        break;
    default:
        problem = tr("Unsupported function code 0x%1.")
                      .arg(QString::number(request.function, 16).rightJustified(2, u'0').toUpper());
    }
    if (!problem.isEmpty()) {
        return fail(problem);
    }
    if (error) {
        error->clear();
    }
    return pdu;
}

QByteArray ModbusCodec::buildRtuFrame(const Request &request, QString *error)
{
    const QByteArray pdu = buildPdu(request, error);
    if (pdu.isEmpty()) {
        return {};
    }
    QByteArray frame = char(request.slave) + pdu;
    const quint16 crc = crc16(frame);
    frame.append(char(crc & 0xFF));
    frame.append(char(crc >> 8));
    return frame;
}

QByteArray ModbusCodec::buildAsciiFrame(const Request &request, QString *error)
{
    const QByteArray pdu = buildPdu(request, error);
    if (pdu.isEmpty()) {
        return {};
    }
    QByteArray body = char(request.slave) + pdu;
    body.append(char(lrc(body)));
    return ':' + body.toHex().toUpper() + "\r\n";
}
