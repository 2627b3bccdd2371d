#include "transfer/filetransfersession.h"

#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"
#include "transfer/xmodemcodec.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
// A name as the device sent it may hold control characters; shown, they become "?".
QString printable(QString text)
{
    for (QChar &c : text) {
        if (c.unicode() < 32 || c.unicode() == 127) {
            c = QLatin1Char('?');
        }
    }
    return text;
}
} // namespace

FileTransferSession::FileTransferSession(const XferConfig &config, const QString &displayName,
                                         QObject *parent)
    : QObject(parent)
    , cfg(config)
    , portName(displayName)
    , timer(new QTimer(this))
{
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, &FileTransferSession::onTimeout);
}

FileTransferSession::~FileTransferSession()
{
    // The codec points at the file ends: it goes first.
    codec.reset();
}

void FileTransferSession::setSource(std::unique_ptr<XferFileSource> fileSource)
{
    source = std::move(fileSource);
}

void FileTransferSession::setSink(std::unique_ptr<XferFileSink> fileSink)
{
    sink = std::move(fileSink);
}

void FileTransferSession::setSender(Sender callback)
{
    sender = std::move(callback);
}

QString FileTransferSession::protocolLabel(XferProtocol protocol)
{
    switch (protocol) {
    case XferProtocol::Xmodem:
        return QStringLiteral("XMODEM");
    case XferProtocol::XmodemCrc:
        return QStringLiteral("XMODEM-CRC");
    case XferProtocol::Xmodem1k:
        return QStringLiteral("XMODEM-1K");
    case XferProtocol::Ymodem:
        return QStringLiteral("YMODEM");
    case XferProtocol::YmodemG:
        return QStringLiteral("YMODEM-G");
    }
    return QString();
}

qint64 FileTransferSession::now() const
{
    return clock.isValid() ? clock.elapsed() : 0;
}

qint64 FileTransferSession::elapsedMs() const
{
    if (current == State::Idle) {
        return 0;
    }
    return (endedMs >= 0 ? endedMs : now()) - startedMs;
}

bool FileTransferSession::start(QString *error)
{
    const auto refuse = [&](const QString &text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (current != State::Idle) {
        return refuse(tr("A file transfer is already running on this port."));
    }
    const bool sending = cfg.direction == XferDirection::Send;
    XferFileMeta meta;
    codec = std::make_unique<XmodemCodec>(sending ? XmodemCodec::Role::Sender
                                                  : XmodemCodec::Role::Receiver,
                                          cfg.protocol, cfg.blockSize);
    if (sending) {
        if (!source) {
            return refuse(tr("Choose the file to send."));
        }
        codec->setSource(source.get());
        meta = source->meta();
    } else {
        if (!sink) {
            return refuse(tr("Choose where to save the file."));
        }
        sink->setNow(QDateTime::currentDateTime());
        codec->setSink(sink.get());
        codec->setReceiveLimit(cfg.receiveLimit);
    }
    clock.start();
    startedMs = 0;
    current = State::Running;
    starting = true;
    drive(codec->begin(meta, now()));
    starting = false;
    if (current == State::Ended) {
        return refuse(finalMessage);
    }
    emit stateChanged();
    return true;
}

void FileTransferSession::ingest(const QByteArray &bytes)
{
    if (current != State::Running || bytes.isEmpty()) {
        return;
    }
    if (driving) {
        inbox.append(bytes);
        return;
    }
    drive(codec->receive(bytes, now()));
}

void FileTransferSession::egressDrained()
{
    if (current == State::Cancelling) {
        finishCancel(); // the cancel bytes have left
        return;
    }
    if (current != State::Running) {
        return;
    }
    if (driving) {
        drainPending = true;
        return;
    }
    drive(codec->onEgressDrained(now()));
}

void FileTransferSession::drive(const XferStep &first)
{
    // A sender that answers at once (a test peer, a loopback) re-enters through ingest
    // and egressDrained; what comes in meanwhile is queued and fed in order here.
    driving = true;
    apply(first);
    while (current == State::Running && (drainPending || !inbox.isEmpty())) {
        if (drainPending) {
            drainPending = false;
            apply(codec->onEgressDrained(now()));
        } else {
            const QByteArray bytes = std::exchange(inbox, QByteArray());
            apply(codec->receive(bytes, now()));
        }
    }
    inbox.clear();
    drainPending = false;
    driving = false;
}

void FileTransferSession::apply(const XferStep &step)
{
    bool delivered = true;
    if (!step.out.isEmpty()) {
        delivered = sender && sender(step.out);
    }
    if (step.finished) {
        endedMs = now();
        finalBytes = codec->progress().bytesDone;
        finishWith(State::Finished);
        return;
    }
    if (step.failed) {
        endedMs = now();
        finalBytes = codec->progress().bytesDone;
        finalError = step.error;
        finalMessage = step.message;
        const bool sinkError = step.error == XferError::SinkCreate ||
                               step.error == XferError::SinkWrite ||
                               step.error == XferError::SinkCommit;
        if (sinkError && sink && !sink->errorString().isEmpty()) {
            finalMessage = sink->errorString(); // names the file and the reason
        }
        cause = step.error == XferError::RemoteCancelled ? CancelCause::Remote
                : step.error == XferError::LocalCancelled ? CancelCause::User
                                                          : CancelCause::Protocol;
        current = State::Cancelling;
        if (step.out.isEmpty() || !delivered) {
            finishCancel();
        } else {
            timer->start(cancelBudgetMs());
            emit stateChanged();
        }
        return;
    }
    if (!delivered) {
        beginCancel(CancelCause::PortLost);
        return;
    }
    if (step.nextTimeoutMs >= 0) {
        timer->start(step.nextTimeoutMs);
    } else {
        timer->stop();
    }
    emit progressed();
}

void FileTransferSession::onTimeout()
{
    if (current == State::Cancelling) {
        finishCancel(); // the budget for the cancel bytes is spent
    } else if (current == State::Running) {
        drive(codec->tick(now()));
    }
}

void FileTransferSession::beginCancel(CancelCause why)
{
    if (current != State::Running) {
        return;
    }
    cause = why;
    endedMs = now();
    finalBytes = codec->progress().bytesDone;
    const QString userText = cancelledText(); // before the codec forgets what it sent
    const XferStep step = codec->cancel(now());
    switch (why) {
    case CancelCause::User:
        finalError = XferError::LocalCancelled;
        finalMessage = userText;
        break;
    case CancelCause::Remote:
        finalError = XferError::RemoteCancelled;
        finalMessage = tr("The device cancelled the transfer.");
        break;
    case CancelCause::Protocol:
        finalError = XferError::ProtocolViolation;
        finalMessage = tr("The device sent a malformed file header.");
        break;
    case CancelCause::PortClosed:
        finalError = XferError::ConnectionLost;
        finalMessage = tr("The connection was closed, so the transfer stopped. If this was a "
                          "firmware update the device may be left with an incomplete image -- "
                          "run the update again.");
        break;
    case CancelCause::PortLost:
        finalError = XferError::ConnectionLost;
        finalMessage = tr("The connection was lost, so the transfer stopped. If this was a "
                          "firmware update the device may be left with an incomplete image -- "
                          "run the update again.");
        break;
    }
    current = State::Cancelling;
    // A device that cancelled needs no answer; a lost port can take none.
    const bool tell = why != CancelCause::Remote && why != CancelCause::PortLost;
    if (tell && !step.out.isEmpty() && sender && sender(step.out) && cancelBudgetMs() > 0) {
        timer->start(cancelBudgetMs());
        emit stateChanged();
        return;
    }
    finishCancel();
}

void FileTransferSession::finishCancel()
{
    if (current != State::Cancelling) {
        return;
    }
    finishWith(State::Ended);
}

void FileTransferSession::finishWith(State state)
{
    timer->stop();
    current = state;
    noteSinkOutcome(state == State::Finished);
    if (source) {
        source->close();
    }
    if (starting) {
        return; // start() reports it
    }
    emit stateChanged();
    emit progressed();
    emit ended(end());
}

int FileTransferSession::cancelBudgetMs() const
{
    switch (cause) {
    case CancelCause::PortLost:
        return 0;
    case CancelCause::PortClosed:
        return 200;
    default:
        return 2000;
    }
}

void FileTransferSession::noteSinkOutcome(bool ok)
{
    if (!sink) {
        return;
    }
    if (!ok) {
        sink->discard(true);
        if (!sink->keptPath().isEmpty()) {
            notices << tr("What arrived was kept as \"%1\".").arg(QFileInfo(sink->keptPath()).fileName());
        }
        return;
    }
    if (!sink->isCommitted()) {
        notices << tr("The device ended the batch without sending a file.");
        return;
    }
    const QString saved = QFileInfo(sink->finalPath()).fileName();
    if (xferProtocolHasHeader(cfg.protocol) && !sink->hasExplicitName() &&
        sink->requestedName() != sink->chosenName()) {
        notices << tr("The device asked for the name \"%1\"; it was saved as \"%2\".")
                       .arg(printable(sink->requestedName()), sink->chosenName());
    }
    if (saved != sink->chosenName()) {
        notices << tr("A file of that name already existed, so this one was saved as \"%1\".")
                       .arg(saved);
    }
}

QStringList FileTransferSession::takeNotices()
{
    return std::exchange(notices, QStringList());
}

bool FileTransferSession::ownsPeer(const QString &peer) const
{
    return cfg.peer.isEmpty() || peer == cfg.peer;
}

XferProgress FileTransferSession::progress() const
{
    XferProgress p = codec ? codec->progress() : XferProgress();
    if (isOver()) {
        p.bytesDone = finalBytes;
    }
    if (p.fileName.isEmpty()) {
        p.fileName = fileName();
    }
    return p;
}

double FileTransferSession::bytesPerSecond() const
{
    const qint64 elapsed = elapsedMs();
    if (elapsed <= 0) {
        return 0.0;
    }
    return double(progress().bytesDone) * 1000.0 / double(elapsed);
}

qint64 FileTransferSession::secondsRemaining() const
{
    const XferProgress p = progress();
    const double speed = bytesPerSecond();
    if (p.bytesTotal < 0 || p.bytesDone < 1 || speed <= 0.0) {
        return -1;
    }
    return qint64(std::ceil(double(std::max<qint64>(0, p.bytesTotal - p.bytesDone)) / speed));
}

QString FileTransferSession::fileName() const
{
    if (cfg.direction == XferDirection::Send) {
        return codec ? codec->fileMeta().name : QString();
    }
    if (!sink) {
        return QString();
    }
    if (sink->isCommitted()) {
        return QFileInfo(sink->finalPath()).fileName();
    }
    if (!sink->keptPath().isEmpty()) {
        return QFileInfo(sink->keptPath()).fileName();
    }
    return sink->chosenName();
}

XferEnd FileTransferSession::end() const
{
    XferEnd e;
    e.ok = current == State::Finished;
    e.direction = cfg.direction;
    e.error = e.ok ? XferError::None : finalError;
    e.bytes = progress().bytesDone;
    e.elapsedMs = elapsedMs();
    e.name = fileName();
    e.retries = progress().retries;
    e.message = e.ok ? summaryText() : finalMessage;
    return e;
}

QString FileTransferSession::summaryText() const
{
    const XferProgress p = progress();
    if (current == State::Finished) {
        const double seconds = double(elapsedMs()) / 1000.0;
        return tr("Transfer complete: %1 bytes in %2 s, %3 KB/s, %4 retries")
            .arg(QString::number(p.bytesDone), QString::number(seconds, 'f', 1),
                 QString::number(bytesPerSecond() / 1024.0, 'f', 1), QString::number(p.retries));
    }
    QString text = tr("Transfer failed: %1").arg(finalMessage);
    if (p.bytesTotal > 0) {
        text += tr(" (%1% transferred)").arg(p.bytesDone * 100 / p.bytesTotal);
    }
    return text;
}

QString FileTransferSession::startedText() const
{
    if (cfg.direction == XferDirection::Receive) {
        return tr("Receiving with %1").arg(protocolLabel(cfg.protocol));
    }
    const XferFileMeta meta = source ? source->meta() : XferFileMeta();
    const QString name = meta.name.isEmpty() ? tr("(unnamed)") : meta.name;
    return tr("Sending %1 (%2, %3 bytes)")
        .arg(name, protocolLabel(cfg.protocol), QString::number(std::max<qint64>(0, meta.size)));
}

QString FileTransferSession::cancelledText() const
{
    if (cfg.direction == XferDirection::Send && codec && codec->hasSentData()) {
        return tr("Cancelled. The device may still have received up to one more block of data -- "
                  "if this was a firmware update, run the whole update again.");
    }
    return tr("Cancelled.");
}

QString FileTransferSession::logStartedText() const
{
    return tr("File transfer started: %1").arg(startedText());
}

QString FileTransferSession::logEndedText() const
{
    const QString bytes = QString::number(progress().bytesDone);
    if (current == State::Finished) {
        return tr("File transfer finished: %1, %2 bytes").arg(fileName(), bytes);
    }
    return tr("File transfer ended (%1): %2, %3 bytes")
        .arg(QString::number(int(finalError)), finalMessage, bytes);
}
