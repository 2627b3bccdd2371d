#include "cli/xfercommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/portopener.h"
#include "connection/connectioncontroller.h"
#include "session/portsession.h"
#include "transfer/filetransfersession.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"
#include "transfer/xferprogresstext.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonObject>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int ProgressEveryMs = 500;
// How long the last answer of a transfer may take to leave before the port closes.
constexpr int DrainLimitMs = 5000;
constexpr int DrainPollMs = 5;

struct ProtocolName
{
    const char *name;
    XferProtocol protocol;
};
constexpr ProtocolName Protocols[] = {
    {"xmodem", XferProtocol::Xmodem},   {"xmodem-crc", XferProtocol::XmodemCrc},
    {"xmodem-1k", XferProtocol::Xmodem1k}, {"ymodem", XferProtocol::Ymodem},
    {"ymodem-g", XferProtocol::YmodemG},
};

// One file to move: the file sent, or the folder and name received into.
struct Job
{
    QString path;   // sending
    QString folder; // receiving
    QString saveAs; // receiving; empty: the name the device sends
};

// The progress line, rewritten in place on a terminal.
void printProgress(const FileTransferSession &transfer)
{
    const XferProgress p = transfer.progress();
    QString line = (p.fileName.isEmpty() ? transfer.displayName() : p.fileName) +
                   QStringLiteral(": ") + XferProgressText::bytesText(p.bytesDone, p.bytesTotal) +
                   QStringLiteral(" · ") + XferProgressText::speedText(transfer.bytesPerSecond());
    const QString left = XferProgressText::timeLeftText(transfer.secondsRemaining());
    if (!left.isEmpty()) {
        line += QStringLiteral(" · ") + left;
    }
    std::fprintf(stderr, "\r%s\033[K", line.toLocal8Bit().constData());
    std::fflush(stderr);
}

} // namespace

QString XferCommand::summary() const
{
    return tr("Sends or receives files with XMODEM or YMODEM.");
}

QString XferCommand::arguments() const
{
    return QStringLiteral("send|receive URL (FILE... | FOLDER | FILE)");
}

void XferCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("direction"), tr("send or receive."));
    parser.addPositionalArgument(QStringLiteral("URL"), tr("The connection."));
    parser.addPositionalArgument(
        QStringLiteral("files"),
        tr("Sending: the files. Receiving: the folder to save into, or the file to save as."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("protocol"),
                      tr("xmodem, xmodem-crc, xmodem-1k, ymodem (default) or ymodem-g."),
                      QStringLiteral("P"), QStringLiteral("ymodem")});
    parser.addOption({QStringLiteral("block-size"),
                      tr("The largest block to send: 128 or 1024 (default)."), QStringLiteral("N"),
                      QStringLiteral("1024")});
    parser.addOption({QStringLiteral("limit-mb"),
                      tr("Receiving: stop after this many MiB (default 0, no limit)."),
                      QStringLiteral("N"), QStringLiteral("0")});
}

int XferCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    QStringList args = parser.positionalArguments();
    const QString direction = args.value(0);
    if (direction != QLatin1String("send") && direction != QLatin1String("receive")) {
        out.error(tr("Say send or receive, then the connection."));
        return ExitUsage;
    }
    const bool sending = direction == QLatin1String("send");
    const QString url = args.value(1);
    args = args.mid(2);

    XferConfig config;
    config.direction = sending ? XferDirection::Send : XferDirection::Receive;
    const QString protocolName = parser.value(QStringLiteral("protocol")).toLower();
    bool known = false;
    for (const ProtocolName &p : Protocols) {
        if (protocolName == QLatin1String(p.name)) {
            config.protocol = p.protocol;
            known = true;
        }
    }
    if (!known) {
        out.error(tr("--protocol %1: use xmodem, xmodem-crc, xmodem-1k, ymodem or ymodem-g.")
                      .arg(parser.value(QStringLiteral("protocol"))));
        return ExitUsage;
    }
    bool ok = false;
    config.blockSize = parser.value(QStringLiteral("block-size")).toInt(&ok);
    if (!ok || (config.blockSize != 128 && config.blockSize != 1024)) {
        out.error(tr("--block-size %1: use 128 or 1024.").arg(parser.value(QStringLiteral("block-size"))));
        return ExitUsage;
    }
    const int limitMiB = parser.value(QStringLiteral("limit-mb")).toInt(&ok);
    if (!ok || limitMiB < 0) {
        out.error(tr("--limit-mb %1: give MiB, 0 or more.").arg(parser.value(QStringLiteral("limit-mb"))));
        return ExitUsage;
    }
    config.receiveLimit = sending ? 0 : qint64(limitMiB) << 20;

    // Every file is checked before the port opens: bad input never reaches the device.
    QList<Job> jobs;
    if (sending) {
        if (args.isEmpty()) {
            out.error(tr("Name the files to send."));
            return ExitUsage;
        }
        for (const QString &path : std::as_const(args)) {
            XferFileSource probe;
            QString error;
            if (!probe.open(path, &error)) {
                out.error(error);
                return ExitUsage;
            }
            jobs.append({path, QString(), QString()});
        }
    } else {
        if (args.size() != 1) {
            out.error(tr("Name one folder to save into, or one file to save as."));
            return ExitUsage;
        }
        const QFileInfo target(args.constFirst());
        if (target.isDir()) {
            if (!xferProtocolHasHeader(config.protocol)) {
                out.error(tr("XMODEM carries no file name: name the file to save as."));
                return ExitUsage;
            }
            jobs.append({QString(), target.absoluteFilePath(), QString()});
        } else {
            if (!target.absoluteDir().exists()) {
                out.error(tr("The folder %1 does not exist.")
                              .arg(QDir::toNativeSeparators(target.absolutePath())));
                return ExitUsage;
            }
            jobs.append({QString(), target.absolutePath(), target.fileName()});
        }
    }

    PortOpener opener;
    int code = opener.prepare(parser, url, false, out);
    if (code != ExitOk) {
        return code;
    }
    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }
    PortSession *session = opener.session();
    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    bool allOk = true;
    bool interrupted = false;
    for (const Job &job : std::as_const(jobs)) {
        auto *transfer = new FileTransferSession(config, session->label());
        QString error;
        if (sending) {
            auto source = std::make_unique<XferFileSource>();
            if (!source->open(job.path, &error)) {
                delete transfer;
                out.error(error);
                allOk = false;
                continue;
            }
            transfer->setSource(std::move(source));
        } else {
            auto sink = std::make_unique<XferFileSink>(job.folder, job.saveAs, config.receiveLimit);
            sink->setNow(QDateTime::currentDateTime());
            transfer->setSink(std::move(sink));
        }
        CommandLoop loop;
        XferEnd end;
        QStringList notices;
        QString summaryText;
        QObject::connect(session, &PortSession::transferFinished, &loop, [&](const XferEnd &e) {
            end = e;
            if (FileTransferSession *t = session->transfer()) {
                summaryText = t->summaryText();
                notices = t->takeNotices();
            }
            loop.finish();
        });
        QTimer progress;
        progress.setInterval(ProgressEveryMs);
        if (terminal) {
            QObject::connect(&progress, &QTimer::timeout, &loop, [&] {
                if (FileTransferSession *t = session->transfer()) {
                    printProgress(*t);
                }
            });
        }
        loop.setInterruptHandler([session] {
            if (FileTransferSession *t = session->transfer()) {
                t->beginCancel(FileTransferSession::CancelCause::User);
            }
        });
        if (!session->startTransfer(transfer, &error)) {
            out.error(error);
            allOk = false;
            break;
        }
        out.error(session->transfer()->startedText());
        progress.start();
        static_cast<void>(loop.exec());
        progress.stop();
        if (terminal) {
            std::fprintf(stderr, "\r\033[K");
            std::fflush(stderr);
        }
        QJsonObject fields{{QStringLiteral("ok"), end.ok},
                           {QStringLiteral("name"), end.name},
                           {QStringLiteral("bytes"), end.bytes},
                           {QStringLiteral("elapsedMs"), end.elapsedMs},
                           {QStringLiteral("retries"), end.retries},
                           {QStringLiteral("message"), end.message}};
        out.event(QStringLiteral("transfer"), fields, summaryText);
        for (const QString &notice : std::as_const(notices)) {
            out.error(notice);
        }
        allOk = allOk && end.ok;
        if (loop.wasInterrupted()) {
            interrupted = true;
            break;
        }
        if (!end.ok) {
            break; // the device is out of step now; later files would only fail too
        }
    }

    // The last answer (the acknowledgement of the end) leaves before the port closes.
    ConnectionController *controller = session->connectionController();
    for (int waited = 0; waited < DrainLimitMs && session->portIsOpen() &&
                         controller->pendingWriteBytes(session->settings().connMode) > 0;
         waited += DrainPollMs) {
        QEventLoop pause;
        QTimer::singleShot(DrainPollMs, &pause, &QEventLoop::quit);
        pause.exec();
    }
    session->close();
    if (interrupted) {
        return ExitInterrupted;
    }
    return allOk ? ExitOk : ExitFailed;
}
