#include "transfer/xmodemcodec.h"

#include "transfer/xfersource.h"

#include <algorithm>

XferProtocol xferProtocolFromInt(int value)
{
    if (value >= 0 && value <= int(XferProtocol::YmodemG)) {
        return XferProtocol(value);
    }
    return XferProtocol::XmodemCrc;
}

bool xferProtocolHasHeader(XferProtocol protocol)
{
    return protocol == XferProtocol::Ymodem || protocol == XferProtocol::YmodemG;
}

XmodemCodec::XmodemCodec(Role role, XferProtocol protocol, int blockSize)
    : role(role)
    , protocol(protocol)
    , blockSize(blockSize == 128 ? 128 : 1024)
    , state(role == Role::Sender ? State::WaitRequest : State::Handshake)
    , useCrc(protocol != XferProtocol::Xmodem)
{
}

char XmodemCodec::handshakeChar() const
{
    if (!useCrc) {
        return NAK;
    }
    return protocol == XferProtocol::YmodemG ? 'G' : 'C';
}

QByteArray XmodemCodec::cancelSequence()
{
    return QByteArray(8, CAN) + QByteArray(8, BS);
}

quint16 XmodemCodec::crc16(const char *data, qsizetype size)
{
    quint16 crc = 0;
    for (qsizetype i = 0; i < size; ++i) {
        crc ^= quint16(quint8(data[i])) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000) ? quint16((crc << 1) ^ 0x1021) : quint16(crc << 1);
        }
    }
    return crc;
}

quint8 XmodemCodec::checksum(const char *data, qsizetype size)
{
    quint8 sum = 0;
    for (qsizetype i = 0; i < size; ++i) {
        sum = quint8(sum + quint8(data[i]));
    }
    return sum;
}

QByteArray XmodemCodec::frameBlock(quint8 number, const QByteArray &payload) const
{
    QByteArray frame;
    frame.reserve(payload.size() + 5);
    frame.append(payload.size() <= 128 ? SOH : STX);
    frame.append(char(number));
    frame.append(char(0xFF - number));
    frame.append(payload);
    if (useCrc) {
        const quint16 crc = crc16(payload.constData(), payload.size());
        frame.append(char(crc >> 8));
        frame.append(char(crc & 0xFF));
    } else {
        frame.append(char(checksum(payload.constData(), payload.size())));
    }
    return frame;
}

bool XmodemCodec::trailerOk(const QByteArray &payload, const QByteArray &trailer) const
{
    if (useCrc) {
        const quint16 crc = crc16(payload.constData(), payload.size());
        return trailer.size() == 2 && quint8(trailer[0]) == (crc >> 8) &&
               quint8(trailer[1]) == (crc & 0xFF);
    }
    return trailer.size() == 1 && quint8(trailer[0]) == checksum(payload.constData(), payload.size());
}

QByteArray XmodemCodec::buildHeaderBlock() const
{
    // A nameless header would read as the end of the batch, so a name is always given.
    QByteArray name = meta.name.isEmpty() ? QByteArrayLiteral("unnamed.bin") : meta.name.toUtf8();
    if (name.size() > 100) {
        // Cut at a character boundary: never in the middle of a UTF-8 sequence.
        qsizetype cut = 100;
        while (cut > 0 && (quint8(name[cut]) & 0xC0) == 0x80) {
            --cut;
        }
        name.truncate(cut);
    }
    QByteArray text = name;
    text.append('\0');
    text.append(QByteArray::number(std::max<qint64>(0, meta.size)));
    if (meta.modified > 0) {
        text.append(' ');
        text.append(QByteArray::number(meta.modified, 8));
        text.append('\0');
    }
    if (text.size() > 128) {
        text.truncate(128);
    }
    text.append(QByteArray(128 - text.size(), '\0'));
    return frameBlock(0, text);
}

bool XmodemCodec::parseHeaderBlock(const QByteArray &payload, XferFileMeta *meta)
{
    const qsizetype nul = payload.indexOf('\0');
    if (nul < 0) {
        return false;
    }
    XferFileMeta parsed;
    parsed.name = QString::fromUtf8(payload.left(nul));
    qsizetype end = payload.indexOf('\0', nul + 1);
    if (end < 0) {
        end = payload.size();
    }
    // Size, then the time in octal; senders add more fields (mode, serial number) after
    // them, which are of no use here.
    const QList<QByteArray> fields = payload.mid(nul + 1, end - nul - 1).simplified().split(' ');
    bool ok = false;
    if (!fields.isEmpty() && !fields[0].isEmpty()) {
        const qint64 size = fields[0].toLongLong(&ok, 10);
        parsed.size = ok && size >= 0 ? size : -1;
    }
    if (fields.size() > 1) {
        const qint64 modified = fields[1].toLongLong(&ok, 8);
        parsed.modified = ok && modified > 0 ? modified : 0;
    }
    if (meta) {
        *meta = parsed;
    }
    return true;
}

QByteArray XmodemCodec::buildTerminatorBlock() const
{
    return frameBlock(0, QByteArray(128, '\0'));
}

XferStep XmodemCodec::begin(const XferFileMeta &fileMeta, qint64 nowMs)
{
    if (startMs >= 0) {
        return XferStep();
    }
    startMs = nowMs;
    meta = fileMeta;
    if (role == Role::Sender) {
        state = State::WaitRequest;
        if (!src) {
            fail(XferError::SourceRead, tr("Could not read the file being sent."), false);
        } else {
            arm(RequestWaitMs);
        }
        return finishStep(nowMs);
    }
    streaming = protocol == XferProtocol::YmodemG;
    if (xferProtocolHasHeader(protocol)) {
        nextBlock = 0;
    } else {
        nextBlock = 1;
        if (!snk || !snk->open(meta)) {
            fail(XferError::SinkCreate, tr("Could not create the destination file."), false);
            return finishStep(nowMs);
        }
        sinkOpen = true;
    }
    handshakeTries = 1;
    state = State::Handshake;
    send(QByteArray(1, handshakeChar()), useCrc ? HandshakeRepeatCrcMs : HandshakeRepeatChecksumMs);
    return finishStep(nowMs);
}

XferStep XmodemCodec::receive(const QByteArray &bytes, qint64 nowMs)
{
    if (startMs < 0 || isEnded()) {
        return XferStep();
    }
    rx.append(bytes);
    if (rx.size() > MaxBufferedBytes) {
        // Only a streaming sender may run ahead of our answers, and its blocks are taken
        // as they come; anyone else who sends this much unasked is not in the protocol.
        fail(XferError::ProtocolViolation,
             tr("The device sent more data than the transfer asked for."), true);
        return finishStep(nowMs);
    }
    if (parsingAllowed()) {
        process(nowMs);
    }
    return finishStep(nowMs);
}

XferStep XmodemCodec::tick(qint64 nowMs)
{
    if (startMs < 0 || isEnded() || waitingEgress) {
        return XferStep();
    }
    if (deadlineMs < 0 || nowMs < deadlineMs) {
        XferStep step;
        step.nextTimeoutMs = int(remainingMs(nowMs));
        return step;
    }
    deadlineMs = -1;
    if (role == Role::Sender) {
        senderTimeout(nowMs);
    } else {
        receiverTimeout(nowMs);
    }
    return finishStep(nowMs);
}

bool XmodemCodec::parsingAllowed() const
{
    // A YMODEM-G sender streams without waiting for us: its blocks are taken even while
    // our last answer is still leaving, or they would pile up behind it.
    return !waitingEgress || (role == Role::Receiver && streaming);
}

XferStep XmodemCodec::pump(qint64 nowMs)
{
    if (startMs < 0 || isEnded() || waitingEgress) {
        return XferStep();
    }
    process(nowMs);
    return finishStep(nowMs);
}

XferStep XmodemCodec::onEgressDrained(qint64 nowMs)
{
    if (!waitingEgress) {
        return pump(nowMs);
    }
    waitingEgress = false;
    if (isEnded()) {
        return XferStep();
    }
    if (deferredTimeoutMs >= 0) {
        deadlineMs = nowMs + deferredTimeoutMs;
    }
    deferredTimeoutMs = -1;
    process(nowMs);
    return finishStep(nowMs);
}

XferStep XmodemCodec::cancel(qint64 nowMs)
{
    if (startMs < 0 || isEnded()) {
        return XferStep();
    }
    fail(XferError::LocalCancelled, tr("Cancelled."), true);
    return finishStep(nowMs);
}

XferProgress XmodemCodec::progress() const
{
    XferProgress p;
    p.fileName = meta.name;
    p.retries = totalRetries;
    if (role == Role::Sender) {
        p.bytesDone = sentOffset;
        p.bytesTotal = src ? src->size() : meta.size;
        p.block = nextBlock;
    } else {
        p.bytesDone = receivedBytes;
        p.bytesTotal = meta.size;
        p.block = std::max(lastBlock, 0);
    }
    return p;
}

qint64 XmodemCodec::remainingMs(qint64 nowMs) const
{
    if (deadlineMs < 0) {
        return -1;
    }
    return std::max<qint64>(0, deadlineMs - nowMs);
}

XferStep XmodemCodec::finishStep(qint64 nowMs)
{
    XferStep step = std::move(work);
    work = XferStep();
    const bool arming = armRequested;
    armRequested = false;
    if (isEnded()) {
        deadlineMs = -1;
        deferredTimeoutMs = -1;
        step.nextTimeoutMs = -1;
        return step;
    }
    if (waitingEgress) {
        // The timer waits for the output to leave: onEgressDrained arms it.
        deadlineMs = -1;
        if (arming || !step.out.isEmpty()) {
            deferredTimeoutMs = arming ? armMs : -1;
        }
        step.nextTimeoutMs = -1;
    } else if (arming) {
        deadlineMs = nowMs + armMs;
        step.nextTimeoutMs = armMs;
    } else {
        step.nextTimeoutMs = int(remainingMs(nowMs));
    }
    return step;
}

void XmodemCodec::process(qint64 nowMs)
{
    if (role == Role::Sender) {
        qsizetype at = 0;
        while (!waitingEgress && !isEnded()) {
            if (at < rx.size()) {
                senderByte(rx[at++], nowMs);
            } else if (state == State::Streaming) {
                advanceAfterAck();
            } else {
                break;
            }
        }
        if (!isEnded()) {
            rx.remove(0, at);
        }
        return;
    }
    rxAt = 0;
    while (parsingAllowed() && !isEnded() && receiverStep()) {
    }
    if (!isEnded()) {
        rx.remove(0, rxAt);
    }
    rxAt = 0;
}

void XmodemCodec::send(const QByteArray &bytes, int timeoutMs)
{
    work.out.append(bytes);
    waitingEgress = true;
    arm(timeoutMs);
}

void XmodemCodec::arm(int timeoutMs)
{
    armMs = timeoutMs;
    armRequested = true;
}

void XmodemCodec::succeed()
{
    state = State::Done;
    work.finished = true;
    rx.clear();
}

void XmodemCodec::fail(XferError error, const QString &message, bool sendCancel)
{
    state = State::Failed;
    work.failed = true;
    work.error = error;
    work.message = message;
    if (sendCancel) {
        work.out.append(cancelSequence());
        waitingEgress = true;
    }
    rx.clear();
    deadlineMs = -1;
    deferredTimeoutMs = -1;
    armRequested = false;
}

void XmodemCodec::giveUp()
{
    fail(XferError::TooManyRetries, tr("Gave up after %1 retries.").arg(MaxRetries), true);
}
