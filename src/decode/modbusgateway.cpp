#include "decode/modbusgateway.h"

#include "decode/modbuscodec.h"
#include "decode/modbusdecoder.h"

#include <limits>

ModbusGateway::ModbusGateway(int transactionTimeoutMs)
{
    setTransactionTimeoutMs(transactionTimeoutMs);
}

void ModbusGateway::setTransactionTimeoutMs(int ms)
{
    timeoutMs = std::clamp(ms, 1, 600000);
}

void ModbusGateway::setMaxPendingTransactions(int count)
{
    maxPending = std::clamp(count, 1, 4096);
}

QByteArray ModbusGateway::tcpToRtu(QByteArrayView bytes, qint64 nowMs)
{
    tcpBuffer.append(bytes);
    QByteArray out;
    for (;;) {
        ModbusDecoder::MbapHeader header;
        const int verdict = ModbusDecoder::parseMbapHeader(tcpBuffer, &header);
        if (verdict == 0) {
            return out;
        }
        if (verdict == 1) {
            // Nothing after a broken header can be trusted to start a frame.
            ++count.malformedTcp;
            tcpBuffer.clear();
            return out;
        }
        const qsizetype total = header.length + 6;
        if (tcpBuffer.size() < total) {
            return out;
        }
        if (pending.size() >= maxPending) {
            pending.removeFirst();
            ++count.expired;
        }
        pending.append({header.transaction, header.unit, nowMs});
        out.append(appendCrc(tcpBuffer.sliced(6, total - 6)));
        tcpBuffer.remove(0, total);
    }
}

QByteArray ModbusGateway::rtuToTcp(QByteArrayView frame, qint64 nowMs)
{
    Q_UNUSED(nowMs)
    if (!crcValid(frame)) {
        ++count.crcErrors;
        return {};
    }
    const quint8 unit = quint8(frame.at(0));
    for (qsizetype i = 0; i < pending.size(); ++i) {
        if (pending.at(i).unit == unit) {
            const Pending request = pending.takeAt(i);
            return buildMbap(request.transaction, unit, frame.sliced(1, frame.size() - 3));
        }
    }
    ++count.unmatchedResponses;
    return {};
}

void ModbusGateway::tick(qint64 nowMs)
{
    while (!pending.isEmpty() && nowMs - pending.first().elapsedMs > timeoutMs) {
        pending.removeFirst();
        ++count.expired;
    }
}

int ModbusGateway::nextTimeoutMs(qint64 nowMs) const
{
    if (pending.isEmpty()) {
        return -1;
    }
    const qint64 left = pending.first().elapsedMs + timeoutMs - nowMs;
    return int(std::clamp<qint64>(left, 0, std::numeric_limits<int>::max()));
}

void ModbusGateway::reset()
{
    tcpBuffer.clear();
    pending.clear();
}

bool ModbusGateway::crcValid(QByteArrayView frame)
{
    return ModbusDecoder::rtuCrcValid(frame);
}

QByteArray ModbusGateway::appendCrc(QByteArray frame)
{
    const quint16 crc = ModbusCodec::crc16(frame);
    frame.append(char(crc & 0xFF));
    frame.append(char(crc >> 8));
    return frame;
}

QByteArray ModbusGateway::buildMbap(quint16 transaction, quint8 unit, QByteArrayView pdu)
{
    const int length = int(pdu.size()) + 1;
    QByteArray out;
    out.reserve(7 + pdu.size());
    out.append(char(transaction >> 8));
    out.append(char(transaction & 0xFF));
    out.append(2, '\0');
    out.append(char(length >> 8));
    out.append(char(length & 0xFF));
    out.append(char(unit));
    out.append(pdu);
    return out;
}
