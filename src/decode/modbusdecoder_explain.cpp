// The detail rows of a Modbus PDU.

#include "decode/framedecoder.h"
#include "decode/modbusdecoder.h"

#include <functional>

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

// Collects rows of one PDU; a row is added only when its bytes are all there.
class PduRows
{
public:
    PduRows(QByteArrayView pdu, int base)
        : pdu(pdu)
        , base(base)
    {}

    bool has(int offset, int length) const { return offset + length <= pdu.size(); }

    void add(const QString &name, const QString &value, int offset, int length, bool bad = false,
             int indent = 0)
    {
        rows.append({name, value, base + offset, length, indent, bad});
    }
    void word(const QString &name, int offset, const std::function<QString(quint16)> &text)
    {
        if (has(offset, 2)) {
            add(name, text(wordAt(pdu, offset)), offset, 2);
        }
    }
    void start(const QString &name, int offset)
    {
        word(name, offset,
             [](quint16 v) { return QStringLiteral("%1 (0x%2)").arg(v).arg(hexDigits(v, 4)); });
    }
    void number(const QString &name, int offset)
    {
        word(name, offset, [](quint16 v) { return QString::number(v); });
    }
    void address(const QString &name, int offset, int function)
    {
        word(name, offset, [function](quint16 v) { return ModbusDecoder::reference(function, v); });
    }
    // The byte count at `offset` and the bytes it counts (as many as are there).
    int byteCount(int offset)
    {
        if (!has(offset, 1)) {
            return -1;
        }
        const int count = byteAt(pdu, offset);
        add(ModbusDecoder::tr("Byte count"), QString::number(count), offset, 1,
            count != pdu.size() - offset - 1);
        return int(std::min<qsizetype>(count, pdu.size() - offset - 1));
    }
    // A group of registers or bits at `offset`, `span` bytes; items are named by their
    // reference when `start` is known, else by their index.
    void group(const QString &name, int offset, int span, int function, int start, bool bits,
               int items)
    {
        if (span < 0) {
            return;
        }
        add(name, QString(), offset, span);
        const auto itemName = [&](int i) {
            return start >= 0 ? ModbusDecoder::reference(function, start + i)
                              : QStringLiteral("[%1]").arg(i);
        };
        if (bits) {
            for (int i = 0; i < std::min(items, span * 8); ++i) {
                const bool on = (byteAt(pdu, offset + i / 8) >> (i % 8)) & 1;
                add(itemName(i), on ? QStringLiteral("ON") : QStringLiteral("OFF"), offset + i / 8,
                    1, false, 1);
            }
        } else {
            for (int i = 0; i < span / 2; ++i) {
                add(itemName(i), ModbusDecoder::registerText(wordAt(pdu, offset + 2 * i)),
                    offset + 2 * i, 2, false, 1);
            }
        }
    }
    void data(int offset)
    {
        if (pdu.size() > offset) {
            add(ModbusDecoder::tr("Data"), FrameDecoder::hexText(pdu.sliced(offset)), offset,
                int(pdu.size() - offset));
        }
    }

    QByteArrayView pdu;
    int base;
    QList<DecodedField> rows;
};

} // namespace

QList<DecodedField> ModbusDecoder::explainPdu(QByteArrayView pdu, int base,
                                              const ModbusFrameInfo &info)
{
    if (pdu.isEmpty()) {
        return {};
    }
    PduRows r(pdu, base);
    const quint8 function = byteAt(pdu, 0);
    const QString name = (function & 0x80) ? tr("Exception (%1)").arg(functionName(function))
                                           : functionName(function);
    r.add(tr("Function"), QStringLiteral("0x%1 ").arg(hexDigits(function, 2)) + name, 0, 1);
    if (function & 0x80) {
        if (r.has(1, 1)) {
            const quint8 code = byteAt(pdu, 1);
            r.add(tr("Exception"),
                  QStringLiteral("0x%1 ").arg(hexDigits(code, 2)) + exceptionName(code), 1, 1);
        }
        return r.rows;
    }
    const bool response = info.isResponse;
    const int knownStart = info.requestKnown ? int(info.requestStart) : -1;
    switch (function) {
    case 1:
    case 2:
    case 3:
    case 4:
        if (!response) {
            r.start(tr("Start"), 1);
            r.number(tr("Quantity"), 3);
        } else if (function <= 2) {
            const int span = r.byteCount(1);
            const int items = info.requestKnown ? int(info.requestQuantity) : span * 8;
            r.group(function == 1 ? tr("Coils") : tr("Inputs"), 2, span, function, knownStart, true,
                    items);
        } else {
            r.group(tr("Registers"), 2, r.byteCount(1), function, knownStart, false, 0);
        }
        break;
    case 5:
        r.address(tr("Address"), 1, 5);
        if (r.has(3, 2)) {
            const quint16 value = wordAt(pdu, 3);
            const bool valid = value == 0 || value == 0xFF00;
            r.add(tr("Value"),
                  valid ? coilText(value) : tr("0x%1 (invalid)").arg(hexDigits(value, 4)), 3, 2,
                  !valid);
        }
        break;
    case 6:
        r.address(tr("Address"), 1, 6);
        r.word(tr("Value"), 3, [](quint16 v) { return registerText(v); });
        break;
    case 8:
        r.word(tr("Sub-function"), 1,
               [](quint16 v) { return QStringLiteral("0x") + hexDigits(v, 4); });
        r.data(3);
        break;
    case 15:
    case 16:
        r.start(tr("Start"), 1);
        r.number(tr("Quantity"), 3);
        if (!response && r.has(5, 1)) {
            const int start = r.has(1, 2) ? wordAt(pdu, 1) : -1;
            const int quantity = r.has(3, 2) ? wordAt(pdu, 3) : 0;
            const int span = r.byteCount(5);
            if (function == 15) {
                r.group(tr("Coils"), 6, span, 15, start, true, quantity);
            } else {
                r.group(tr("Registers"), 6, span, 16, start, false, 0);
            }
        }
        break;
    case 22: {
        const auto mask = [](quint16 v) { return QStringLiteral("0x") + hexDigits(v, 4); };
        r.address(tr("Address"), 1, 22);
        r.word(tr("AND mask"), 3, mask);
        r.word(tr("OR mask"), 5, mask);
        break;
    }
    case 23:
        if (response) {
            r.group(tr("Registers"), 2, r.byteCount(1), 23, knownStart, false, 0);
        } else {
            r.start(tr("Read start"), 1);
            r.number(tr("Read quantity"), 3);
            r.start(tr("Write start"), 5);
            r.number(tr("Write quantity"), 7);
            const int writeStart = r.has(5, 2) ? wordAt(pdu, 5) : -1;
            if (r.has(9, 1)) {
                r.group(tr("Write values"), 10, r.byteCount(9), 23, writeStart, false, 0);
            }
        }
        break;
    default:
        r.data(1);
    }
    return r.rows;
}
