#include "cli/sendcommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/portopener.h"
#include "cli/receiveprinter.h"
#include "cli/sendoptions.h"
#include "connection/connectioncontroller.h"
#include "connection/messagecodec.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QFile>
#include <QTimer>

namespace {
// How long the bytes may take to leave before the command gives up on them.
constexpr int DrainLimitMs = 10000;
constexpr int DrainPollMs = 5;
} // namespace

QString SendCommand::summary() const
{
    return tr("Sends text, hex or a file through the send path and prints the answer.");
}

void SendCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"), tr("The connection."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("text"), tr("Text to send."), QStringLiteral("T")});
    parser.addOption({QStringLiteral("hex"), tr("Hex pairs to send."), QStringLiteral("H")});
    parser.addOption({QStringLiteral("file"), tr("A file to send as it is."), QStringLiteral("F")});
    SendOptions::add(parser);
    parser.addOption({QStringLiteral("wait-ms"),
                      tr("How long to print what comes back (default 500)."), QStringLiteral("N"),
                      QStringLiteral("500")});
}

int SendCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const int given = int(parser.isSet(QStringLiteral("text"))) +
                      int(parser.isSet(QStringLiteral("hex"))) +
                      int(parser.isSet(QStringLiteral("file")));
    if (given != 1) {
        out.error(tr("Give exactly one of --text, --hex and --file."));
        return ExitUsage;
    }
    bool ok = false;
    const int waitMs = parser.value(QStringLiteral("wait-ms")).toInt(&ok);
    if (!ok || waitMs < 0) {
        out.error(tr("--wait-ms %1: give milliseconds, 0 or more.")
                      .arg(parser.value(QStringLiteral("wait-ms"))));
        return ExitUsage;
    }
    PortOpener opener;
    int code = opener.prepare(parser, parser.positionalArguments().value(0), false, out);
    if (code != ExitOk) {
        return code;
    }
    PortSession *session = opener.session();
    FormatSetting &format = session->format();
    QString error;
    if (!SendOptions::apply(parser, &format, &error)) {
        out.error(error);
        return ExitUsage;
    }
    // The bytes are made before the port opens: bad input never touches the device.
    const bool hex = parser.isSet(QStringLiteral("hex"));
    QByteArray bytes;
    if (parser.isSet(QStringLiteral("file"))) {
        QFile file(parser.value(QStringLiteral("file")));
        if (!file.open(QIODevice::ReadOnly)) {
            out.error(tr("Cannot read %1: %2").arg(file.fileName(), file.errorString()));
            return ExitUsage;
        }
        bytes = file.readAll();
    } else {
        const EncodeSendResult encoded = MessageCodec::encodeSend(
            parser.value(hex ? QStringLiteral("hex") : QStringLiteral("text")), hex, format);
        if (!encoded.ok) {
            out.error(encoded.error);
            return ExitUsage;
        }
        bytes = encoded.bytes;
    }
    if (bytes.isEmpty()) {
        out.error(tr("There is nothing to send."));
        return ExitUsage;
    }

    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }
    ReceivePrinter printer(format.receiveEncoding, hex, false);
    QObject::connect(session, &PortSession::rxTapped, session,
                     [&](const QByteArray &received, const QString &) {
                         out.raw(printer.print(received));
                     });
    QObject::connect(session, &PortSession::statusMessage, session,
                     [&](const QString &text, int) { error = text; });
    if (!session->sendMessage(bytes)) {
        out.error(tr("%1 did not take the data%2")
                      .arg(session->label(),
                           error.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + error));
        session->close();
        return ExitConnection;
    }
    CommandLoop loop;
    loop.watch(&opener);
    ConnectionController *controller = session->connectionController();
    qint64 drainedFor = 0;
    QTimer drain;
    drain.setInterval(DrainPollMs);
    QObject::connect(&drain, &QTimer::timeout, &loop, [&] {
        drainedFor += DrainPollMs;
        if (controller->pendingWriteBytes(session->settings().connMode) == 0 ||
            drainedFor >= DrainLimitMs) {
            drain.stop();
            QTimer::singleShot(waitMs, &loop, [&] { loop.finish(); });
        }
    });
    drain.start();
    const CommandLoop::End end = loop.exec();
    session->close();
    if (end == CommandLoop::Interrupted) {
        return ExitInterrupted;
    }
    return ExitOk;
}
