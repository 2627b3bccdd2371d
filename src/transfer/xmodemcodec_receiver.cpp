// The receiving half of XmodemCodec: ask the sender to start, check and store blocks,
// answer each one (not in YMODEM-G), save the file at EOT and close the batch.

#include "transfer/xmodemcodec.h"

#include "transfer/xfersource.h"

#include <algorithm>

bool XmodemCodec::receiverStep()
{
    if (rxAt >= rx.size()) {
        return false;
    }
    const char byte = rx[rxAt];
    if (byte == CAN) {
        ++rxAt;
        if (++cancelRun >= 2) {
            fail(XferError::RemoteCancelled, tr("The device cancelled the transfer."), false);
        }
        return true;
    }
    cancelRun = 0;
    if (byte == EOT) {
        ++rxAt;
        receiverEot();
        return true;
    }
    if (byte == SOH || byte == STX) {
        const int payloadSize = byte == SOH ? 128 : 1024;
        const qsizetype need = 3 + payloadSize + (useCrc ? 2 : 1);
        if (rx.size() - rxAt < need) {
            return false; // the rest of the block is still on its way
        }
        const QByteArray frame = rx.mid(rxAt, need);
        rxAt += need;
        receiverFrame(frame, payloadSize);
        return true;
    }
    ++rxAt; // noise between blocks
    return true;
}

void XmodemCodec::receiverFrame(const QByteArray &frame, int payloadSize)
{
    const quint8 number = quint8(frame[1]);
    const quint8 complement = quint8(frame[2]);
    const QByteArray payload = frame.mid(3, payloadSize);
    if (quint8(number + complement) != 0xFF || !trailerOk(payload, frame.mid(3 + payloadSize))) {
        ++retries;
        ++totalRetries;
        if (streaming) {
            fail(XferError::TooManyRetries,
                 tr("A block failed its checksum. YMODEM-G cannot ask for it again, so the "
                    "transfer has failed."),
                 true);
        } else if (retries > MaxRetries) {
            fail(XferError::TooManyRetries,
                 tr("Data kept failing its checksum. This is usually a baud rate mismatch or "
                    "line noise."),
                 true);
        } else {
            send(QByteArray(1, NAK), AnswerWaitMs);
        }
        return;
    }
    receiverGoodBlock(number, payload);
}

void XmodemCodec::receiverGoodBlock(int number, QByteArray payload)
{
    retries = 0;
    const auto acknowledge = [this] {
        if (streaming) {
            arm(AnswerWaitMs);
        } else {
            send(QByteArray(1, ACK), AnswerWaitMs);
        }
    };
    if (state == State::WaitNextHeader) {
        // Only one file is taken from a batch: whatever comes next ends it.
        work.out.append(ACK);
        waitingEgress = true;
        succeed();
        return;
    }
    if (xferProtocolHasHeader(protocol) && number == 0 && lastBlock == -1) {
        XferFileMeta header;
        if (!parseHeaderBlock(payload, &header)) {
            fail(XferError::ProtocolViolation, tr("The device sent a malformed file header."), true);
            return;
        }
        if (header.name.isEmpty()) {
            work.out.append(ACK);
            waitingEgress = true;
            succeed();
            return;
        }
        if (receiveLimit > 0 && header.size > receiveLimit) {
            fail(XferError::TooLarge,
                 tr("The device offered a %1 byte file, which is over the receive limit.")
                     .arg(header.size),
                 true);
            return;
        }
        meta = header;
        if (!snk || !snk->open(meta)) {
            fail(XferError::SinkCreate, tr("Could not create the destination file."), true);
            return;
        }
        sinkOpen = true;
        nextBlock = 1;
        lastBlock = 0;
        state = State::WaitBlock;
        send(QByteArray(1, ACK) + handshakeChar(), AnswerWaitMs);
        return;
    }
    if (number == lastBlock) {
        // Our answer was lost and the sender repeated the block: it is stored already.
        state = State::WaitBlock;
        acknowledge();
        return;
    }
    if (number != nextBlock || !sinkOpen) {
        fail(XferError::ProtocolViolation,
             tr("Block %1 arrived when block %2 was expected; the transfer is out of step.")
                 .arg(number)
                 .arg(nextBlock),
             true);
        return;
    }
    if (meta.size >= 0) {
        // The announced size tells where the padding of the last block starts.
        payload.truncate(std::max<qint64>(0, std::min<qint64>(payload.size(), meta.size - receivedBytes)));
    }
    if (receiveLimit > 0 && receivedBytes + payload.size() > receiveLimit) {
        fail(XferError::TooLarge,
             tr("Received %1 bytes without an end of transfer. XMODEM has no length field, so "
                "there is no way to tell when it should stop.")
                 .arg(receivedBytes + payload.size()),
             true);
        return;
    }
    if (!payload.isEmpty()) {
        if (!snk->write(payload)) {
            fail(XferError::SinkWrite, tr("Writing to disk failed."), true);
            return;
        }
        receivedBytes += payload.size();
    }
    lastBlock = number;
    nextBlock = quint8(number + 1);
    state = State::WaitBlock;
    acknowledge();
}

void XmodemCodec::receiverEot()
{
    if (state == State::WaitNextHeader) {
        // The sender missed our answer to its EOT and repeated it: the file is saved.
        send(QByteArray(1, ACK) + handshakeChar(), AnswerWaitMs);
        return;
    }
    if (!sinkOpen) {
        return; // YMODEM before any header: there is no file to end
    }
    if (!snk->commit(meta.size >= 0 ? meta.size : -1)) {
        fail(XferError::SinkCommit, tr("The data was received but could not be saved."), false);
        return;
    }
    sinkOpen = false;
    // The first EOT is believed: it is not refused once to see whether it comes again.
    if (!xferProtocolHasHeader(protocol)) {
        work.out.append(ACK);
        waitingEgress = true;
        succeed();
        return;
    }
    state = State::WaitNextHeader;
    send(QByteArray(1, ACK) + handshakeChar(), AnswerWaitMs);
}

void XmodemCodec::receiverTimeout(qint64 nowMs)
{
    // Whatever is held is part of a block that will not be completed: the sender starts
    // the block again after our answer, so the buffer starts clean.
    rx.clear();
    switch (state) {
    case State::Handshake:
        if (nowMs - startMs < HandshakeWindowMs) {
            ++handshakeTries;
            if (!xferProtocolHasHeader(protocol) && useCrc && handshakeTries > CrcAttempts) {
                useCrc = false; // six requests for CRC went unanswered: try the checksum
            }
            send(QByteArray(1, handshakeChar()),
                 useCrc ? HandshakeRepeatCrcMs : HandshakeRepeatChecksumMs);
        } else {
            fail(XferError::NoHandshake,
                 tr("The device did not start sending. Check that it is ready to send and that "
                    "the baud rate matches."),
                 false);
        }
        return;
    case State::WaitBlock:
        ++retries;
        if (streaming) {
            fail(XferError::TooManyRetries,
                 tr("The device stopped sending. YMODEM-G cannot recover, so the transfer has "
                    "failed."),
                 true);
        } else if (retries > MaxRetries) {
            giveUp();
        } else {
            ++totalRetries;
            send(QByteArray(1, useCrc && receivedBytes == 0 ? handshakeChar() : NAK), AnswerWaitMs);
        }
        return;
    case State::WaitNextHeader:
        succeed();
        return;
    default:
        return;
    }
}
