// The detail rows of a whole Modbus frame: the envelope of its variant around the rows
// of its PDU.

#include "decode/modbuscodec.h"
#include "decode/modbusdecoder.h"
#include "decode/modbusstreamdecoder.h"

namespace {

QString hexDigits(uint value, int digits)
{
    return QString::number(value, 16).rightJustified(digits, u'0').toUpper();
}

DecodedField dataRow(const QByteArray &raw)
{
    return {ModbusDecoder::tr("Data"), FrameDecoder::hexText(raw), 0, int(raw.size()), 0, false};
}

// "0x%1 OK", or "0x%1 (expected 0x%2)" marked bad.
DecodedField checkRow(const QString &name, uint stored, uint computed, int digits, int offset,
                      int length)
{
    const bool ok = stored == computed;
    const QString value = ok ? ModbusStreamDecoder::tr("0x%1 OK").arg(hexDigits(stored, digits))
                             : ModbusStreamDecoder::tr("0x%1 (expected 0x%2)")
                                   .arg(hexDigits(stored, digits), hexDigits(computed, digits));
    return {name, value, offset, length, 0, !ok};
}

// The frame's own reading, or one made from the PDU for a frame that has none.
ModbusFrameInfo infoFor(const DecodedFrame &frame, quint8 slave, QByteArrayView pdu)
{
    if (frame.modbus.valid) {
        return frame.modbus;
    }
    const bool response = ModbusDecoder::roleFit(pdu) == ModbusDecoder::FitsResponse;
    return ModbusDecoder::describe(slave, pdu, response);
}

} // namespace

QList<DecodedField> ModbusStreamDecoder::explainFrame(Variant variant, const DecodedFrame &frame)
{
    const QByteArray &raw = frame.raw;
    const int n = int(raw.size());
    if (frame.status == FrameStatus::Unrecognized) {
        return {dataRow(raw)};
    }
    QList<DecodedField> rows;
    switch (variant) {
    case Variant::Tcp: {
        if (n < 8) {
            return {dataRow(raw)};
        }
        ModbusDecoder::MbapHeader h;
        ModbusDecoder::parseMbapHeader(raw, &h);
        rows.append({ModbusDecoder::tr("Transaction"), QString::number(h.transaction), 0, 2});
        rows.append({ModbusDecoder::tr("Protocol"), QString::number(h.protocol), 2, 2});
        rows.append(
            {ModbusDecoder::tr("Length"), QString::number(h.length), 4, 2, 0, h.length + 6 != n});
        rows.append({ModbusDecoder::tr("Unit"), QString::number(h.unit), 6, 1});
        const QByteArrayView pdu = QByteArrayView(raw).sliced(7);
        rows += ModbusDecoder::explainPdu(pdu, 7, infoFor(frame, h.unit, pdu));
        return rows;
    }
    case Variant::Ascii: {
        QByteArray decoded;
        quint8 stored = 0;
        quint8 computed = 0;
        if (!ModbusDecoder::parseAsciiFrame(raw, &decoded, &stored, &computed)) {
            return {dataRow(raw)};
        }
        rows.append(
            {ModbusDecoder::tr("Note"), tr("ASCII frame; offsets count the decoded bytes"), -1, 0});
        const quint8 slave = quint8(decoded.at(0));
        rows.append({ModbusDecoder::tr("Slave"), QString::number(slave), 0, 1});
        const QByteArrayView pdu = QByteArrayView(decoded).sliced(1);
        rows += ModbusDecoder::explainPdu(pdu, 1, infoFor(frame, slave, pdu));
        rows.append(
            checkRow(ModbusDecoder::tr("LRC"), stored, computed, 2, int(decoded.size()), 1));
        return rows;
    }
    case Variant::Rtu:
        break;
    }
    if (n == 0) {
        return rows;
    }
    const quint8 slave = quint8(raw.at(0));
    rows.append({ModbusDecoder::tr("Slave"), QString::number(slave), 0, 1});
    const bool withCrc = frame.status != FrameStatus::Incomplete && n >= 4;
    const QByteArrayView pdu = QByteArrayView(raw).sliced(1, withCrc ? n - 3 : n - 1);
    rows += ModbusDecoder::explainPdu(pdu, 1, infoFor(frame, slave, pdu));
    if (withCrc) {
        rows.append(checkRow(ModbusDecoder::tr("CRC"), ModbusDecoder::rtuStoredCrc(raw),
                             ModbusCodec::crc16(QByteArrayView(raw).first(n - 2)), 4, n - 2, 2));
    }
    return rows;
}
