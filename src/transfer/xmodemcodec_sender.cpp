// The sending half of XmodemCodec: wait for the receiver's request, send the header
// (YMODEM), the blocks and EOT, resend on NAK or silence, close the batch.

#include "transfer/xmodemcodec.h"

#include "transfer/xfersource.h"

namespace {
bool isStartLetter(char byte)
{
    return byte == 'C' || byte == 'G';
}
} // namespace

void XmodemCodec::senderByte(char byte, qint64 nowMs)
{
    Q_UNUSED(nowMs)
    if (byte == CAN) {
        if (++cancelRun >= 2) {
            fail(XferError::RemoteCancelled, tr("The device cancelled the transfer."), false);
        }
        return;
    }
    cancelRun = 0;
    switch (state) {
    case State::WaitRequest:
        // The receiver decides the check and the pace, whatever was configured here.
        if (byte == 'C' || byte == 'G') {
            useCrc = true;
            streaming = byte == 'G';
        } else if (byte == NAK) {
            useCrc = false;
            streaming = false;
        } else {
            return;
        }
        startFile();
        return;
    case State::WaitAck:
        if (byte == ACK) {
            retries = 0;
            switch (inFlight) {
            case InFlightHeader:
                inFlight = InFlightNone;
                state = State::WaitStart;
                arm(AnswerWaitMs);
                break;
            case InFlightData:
                advanceAfterAck();
                break;
            case InFlightEot:
                if (xferProtocolHasHeader(protocol)) {
                    inFlight = InFlightNone;
                    state = State::WaitEndOfBatch;
                    arm(AnswerWaitMs);
                } else {
                    succeed();
                }
                break;
            case InFlightEndOfBatch:
                succeed();
                break;
            default:
                break;
            }
        } else if (byte == NAK) {
            if (streaming) {
                fail(XferError::TooManyRetries,
                     tr("The device reported an error. YMODEM-G cannot resend a block, so the "
                        "transfer has been abandoned."),
                     true);
            } else if (++retries > MaxRetries) {
                giveUp();
            } else {
                ++totalRetries;
                send(lastFrame, AnswerWaitMs);
            }
        } else if (isStartLetter(byte) && inFlight == InFlightEot &&
                   xferProtocolHasHeader(protocol)) {
            // The receiver took EOT without acknowledging it and asks for the next file.
            sendFrame(buildTerminatorBlock(), InFlightEndOfBatch);
        }
        return;
    case State::WaitStart:
        if (isStartLetter(byte)) {
            nextBlock = 1;
            streaming = byte == 'G';
            emitNextBlock();
        }
        return;
    case State::WaitEndOfBatch:
        if (isStartLetter(byte)) {
            state = State::WaitAck;
            sendFrame(buildTerminatorBlock(), InFlightEndOfBatch);
        }
        return;
    case State::Streaming:
        if (byte == NAK) {
            fail(XferError::TooManyRetries,
                 tr("The device reported an error. YMODEM-G cannot resend a block, so the "
                    "transfer has been abandoned."),
                 true);
        }
        return;
    default:
        return;
    }
}

void XmodemCodec::senderTimeout(qint64 nowMs)
{
    Q_UNUSED(nowMs)
    const auto streamingStopped = [this] {
        fail(XferError::TooManyRetries,
             tr("The device stopped responding. YMODEM-G has no retransmission, so the transfer "
                "has failed."),
             true);
    };
    switch (state) {
    case State::WaitRequest:
        fail(XferError::NoHandshake,
             tr("The device did not request the transfer. Check that it is waiting to receive "
                "and that the baud rate matches."),
             false);
        return;
    case State::WaitAck:
        if (streaming) {
            streamingStopped();
        } else if (++retries > MaxRetries) {
            giveUp();
        } else {
            ++totalRetries;
            send(lastFrame, AnswerWaitMs);
        }
        return;
    case State::WaitStart:
        if (++retries > MaxRetries) {
            giveUp();
        } else {
            ++totalRetries;
            arm(AnswerWaitMs);
        }
        return;
    case State::WaitEndOfBatch:
        // A receiver that never asks for the end block already has the whole file.
        succeed();
        return;
    case State::Streaming:
        streamingStopped();
        return;
    default:
        return;
    }
}

void XmodemCodec::startFile()
{
    if (xferProtocolHasHeader(protocol) && !headerSent) {
        headerSent = true;
        state = State::WaitAck;
        sendFrame(buildHeaderBlock(), InFlightHeader);
        return;
    }
    nextBlock = 1;
    emitNextBlock();
}

void XmodemCodec::emitNextBlock()
{
    const qint64 total = src->size();
    if (sentOffset >= total) {
        if (!src->stillIntact()) {
            fail(XferError::SourceChanged, tr("The file changed while it was being sent."), true);
            return;
        }
        state = State::WaitAck;
        sendFrame(QByteArray(1, EOT), InFlightEot);
        return;
    }
    const bool smallOnly = protocol == XferProtocol::Xmodem || protocol == XferProtocol::XmodemCrc ||
                           blockSize == 128;
    const int size = (smallOnly || total - sentOffset <= 128) ? 128 : 1024;
    QByteArray data = src->read(sentOffset, size);
    if (data.isEmpty() || src->hasError()) {
        if (!src->stillIntact()) {
            fail(XferError::SourceChanged, tr("The file changed while it was being sent."), true);
        } else {
            fail(XferError::SourceRead, tr("Could not read the file being sent."), true);
        }
        return;
    }
    if (data.size() > size) {
        data.truncate(size);
    }
    lastPayload = int(data.size());
    data.append(QByteArray(size - data.size(), SUB));
    retries = 0;
    dataSent = true;
    state = streaming ? State::Streaming : State::WaitAck;
    sendFrame(frameBlock(nextBlock, data), InFlightData);
}

void XmodemCodec::advanceAfterAck()
{
    sentOffset += lastPayload;
    lastPayload = 0;
    ++nextBlock;
    emitNextBlock();
}

void XmodemCodec::sendFrame(const QByteArray &frame, InFlight what)
{
    lastFrame = frame;
    inFlight = what;
    send(frame, AnswerWaitMs);
}
