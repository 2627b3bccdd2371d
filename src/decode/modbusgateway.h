#pragma once

// Modbus TCP clients reaching a serial Modbus line: MBAP requests become RTU frames, and
// RTU responses go back wrapped in the MBAP header of the request they answer. The
// serial side answers in order, so a response is matched to the oldest open request of
// its unit. Plain logic: the caller passes the time and asks when to tick.

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

class ModbusGateway
{
public:
    struct Pending
    {
        quint16 transaction = 0;
        quint8 unit = 0;
        qint64 elapsedMs = 0;
    };

    // `transactionTimeoutMs` is clamped to 1 .. 600000.
    explicit ModbusGateway(int transactionTimeoutMs);

    // Takes bytes from the TCP client; returns the RTU frames to write, whole ones only.
    // A header that cannot be valid drops what is buffered (`malformedTcp`).
    QByteArray tcpToRtu(QByteArrayView bytes, qint64 nowMs);
    // One RTU frame from the line; returns the Modbus TCP frame for the client, or
    // nothing for a bad CRC (`crcErrors`) or a response nobody waits for
    // (`unmatchedResponses`).
    QByteArray rtuToTcp(QByteArrayView frame, qint64 nowMs);
    // Drops requests older than the timeout (`expired`).
    void tick(qint64 nowMs);
    // -1 with nothing open, else the time left for the oldest request, at least 0.
    int nextTimeoutMs(qint64 nowMs) const;
    void reset();

    void setTransactionTimeoutMs(int ms);      // 1 .. 600000
    void setMaxPendingTransactions(int count); // 1 .. 4096
    int transactionTimeoutMs() const { return timeoutMs; }
    int maxPendingTransactions() const { return maxPending; }

    static bool crcValid(QByteArrayView frame);
    static QByteArray appendCrc(QByteArray frame);
    // Transaction, protocol 0, length = PDU size + 1, unit, PDU.
    static QByteArray buildMbap(quint16 transaction, quint8 unit, QByteArrayView pdu);

    struct Counters
    {
        int crcErrors = 0;
        int malformedTcp = 0;
        int unmatchedResponses = 0;
        int expired = 0;
    };

    const QList<Pending> &pendingRequests() const { return pending; }
    const Counters &counters() const { return count; }

private:
    Counters count;
    int timeoutMs = 1000;
    int maxPending = 32;
    QByteArray tcpBuffer;
    QList<Pending> pending; // oldest first
};
