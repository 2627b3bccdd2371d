#pragma once

// The whole XMODEM / YMODEM wire protocol, both directions, all five variants. It owns
// no socket, timer or file: the owner feeds it received bytes and the current time, and
// every call answers with an XferStep that says what to write, when to call tick() and
// whether the transfer ended. One codec serves one transfer and is then thrown away.
//
// Calling order: begin(); receive() for every read; tick() when the step's timeout
// falls due; onEgressDrained() once the `out` of the last step has left the port. A
// timeout set together with output only starts counting when that output has drained,
// so a slow line never eats a deadline while a 1 KB block is still leaving.

#include "transfer/xferstep.h"

#include <QCoreApplication>

class XferSource;
class XferSink;

class XmodemCodec
{
    Q_DECLARE_TR_FUNCTIONS(XmodemCodec)
public:
    enum class Role : int { Sender = 0, Receiver = 1 };

    enum class State : int {
        WaitRequest = 0,    // sender: waiting for the receiver's "C", "G" or NAK
        WaitAck = 1,        // sender: a header, block, EOT or end block is out
        WaitStart = 2,      // sender: header acknowledged, waiting for "C" or "G"
        WaitEndOfBatch = 3, // sender: EOT acknowledged, waiting to close the batch
        Streaming = 4,      // sender: YMODEM-G, blocks go out without answers
        Handshake = 5,      // receiver: asking the sender to start
        WaitBlock = 6,      // receiver: taking blocks
        WaitNextHeader = 7, // receiver: the file is saved, the batch end is due
        Done = 8,
        Failed = 9,
    };

    // What the sender has on the wire and waits an answer for.
    enum InFlight : int { InFlightNone = 0, InFlightHeader = 1, InFlightData = 2, InFlightEot = 3,
                          InFlightEndOfBatch = 4 };

    static constexpr char SOH = 0x01;
    static constexpr char STX = 0x02;
    static constexpr char EOT = 0x04;
    static constexpr char ACK = 0x06;
    static constexpr char BS = 0x08;
    static constexpr char NAK = 0x15;
    static constexpr char CAN = 0x18;
    static constexpr char SUB = 0x1A;

    static constexpr int RequestWaitMs = 60000;
    static constexpr int AnswerWaitMs = 10000;
    static constexpr int HandshakeRepeatCrcMs = 3000;
    static constexpr int HandshakeRepeatChecksumMs = 10000;
    static constexpr int HandshakeWindowMs = 60000;
    static constexpr int MaxRetries = 10;
    static constexpr int CrcAttempts = 6;
    // Received bytes held while output drains; a peer that sends more than this
    // unanswered is not speaking the protocol.
    static constexpr qsizetype MaxBufferedBytes = 65536;

    // `blockSize` is the largest block to send: 128 or 1024 (others read as 1024).
    XmodemCodec(Role role, XferProtocol protocol, int blockSize = 1024);

    void setSource(XferSource *source) { src = source; }
    void setSink(XferSink *sink) { snk = sink; }
    // Bytes after which a receiver gives up; 0 or less for no limit.
    void setReceiveLimit(qint64 bytes) { receiveLimit = bytes; }

    XferStep begin(const XferFileMeta &meta, qint64 nowMs);
    XferStep receive(const QByteArray &bytes, qint64 nowMs);
    XferStep tick(qint64 nowMs);
    XferStep pump(qint64 nowMs);
    XferStep onEgressDrained(qint64 nowMs);
    XferStep cancel(qint64 nowMs);

    XferProgress progress() const;
    // Milliseconds until the running deadline; -1 when none runs.
    qint64 remainingMs(qint64 nowMs) const;

    Role codecRole() const { return role; }
    XferProtocol codecProtocol() const { return protocol; }
    State currentState() const { return state; }
    bool isEnded() const { return state == State::Done || state == State::Failed; }
    bool isWaitingEgress() const { return waitingEgress; }
    bool usesCrc() const { return useCrc; }
    bool isStreaming() const { return streaming; }
    // Whether a data block has been put on the wire: a cancel may then leave the device
    // with one more block than was acknowledged.
    bool hasSentData() const { return dataSent; }
    // What the header said (receiving YMODEM) or what begin() was given.
    const XferFileMeta &fileMeta() const { return meta; }
    qsizetype bufferedBytes() const { return rx.size(); }

    // NAK when checksums are in use, "G" in YMODEM-G, else "C".
    char handshakeChar() const;
    // Eight CAN, then eight BS to wipe them from a terminal that shows them.
    static QByteArray cancelSequence();

    // A block on the wire: SOH (payload up to 128) or STX, the number and its complement,
    // the payload, and the checksum or CRC as this codec uses them.
    QByteArray frameBlock(quint8 number, const QByteArray &payload) const;
    // Block 0 of YMODEM: name, size and time of `fileMeta()`.
    QByteArray buildHeaderBlock() const;
    // Reads a header payload. False when it holds no NUL; an empty name means the
    // batch has ended.
    static bool parseHeaderBlock(const QByteArray &payload, XferFileMeta *meta);
    // Block 0 with 128 zero bytes: the end of a batch.
    QByteArray buildTerminatorBlock() const;
    bool trailerOk(const QByteArray &payload, const QByteArray &trailer) const;

    // CRC-16 of XMODEM (polynomial 0x1021, initial 0), bit by bit.
    static quint16 crc16(const char *data, qsizetype size);
    static quint8 checksum(const char *data, qsizetype size);

private:
    XferStep finishStep(qint64 nowMs);
    bool parsingAllowed() const;
    void process(qint64 nowMs);
    void send(const QByteArray &bytes, int timeoutMs);
    void arm(int timeoutMs);
    void succeed();
    void fail(XferError error, const QString &message, bool sendCancel);
    void giveUp();

    // Sender.
    void senderByte(char byte, qint64 nowMs);
    void senderTimeout(qint64 nowMs);
    void startFile();
    void emitNextBlock();
    void advanceAfterAck();
    void sendFrame(const QByteArray &frame, InFlight what);

    // Receiver.
    void receiverTimeout(qint64 nowMs);
    bool receiverStep();
    void receiverFrame(const QByteArray &frame, int payloadSize);
    void receiverGoodBlock(int number, QByteArray payload);
    void receiverEot();

    Role role;
    XferProtocol protocol;
    int blockSize;
    State state;
    XferSource *src = nullptr;
    XferSink *snk = nullptr;
    XferFileMeta meta;
    qint64 receiveLimit = 0;
    QByteArray rx;
    qsizetype rxAt = 0; // receiver: how much of rx the current call has used
    QByteArray lastFrame;
    bool useCrc;
    bool streaming = false;
    bool headerSent = false;
    bool sinkOpen = false;
    bool dataSent = false;
    int inFlight = InFlightNone;
    bool waitingEgress = false;
    int lastPayload = 0;
    qint64 sentOffset = 0;
    qint64 receivedBytes = 0;
    quint8 nextBlock = 0;
    int lastBlock = -1;
    int retries = 0;
    int totalRetries = 0;
    int handshakeTries = 0;
    int cancelRun = 0;
    qint64 startMs = -1;
    qint64 deadlineMs = -1;
    int deferredTimeoutMs = -1;

    // The step being built by the current call.
    XferStep work;
    int armMs = -1;
    bool armRequested = false;
};
