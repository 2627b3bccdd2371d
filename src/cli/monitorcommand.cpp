#include "cli/monitorcommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/durationoption.h"
#include "cli/portopener.h"
#include "cli/receiveprinter.h"
#include "cli/sendoptions.h"
#include "connection/messagecodec.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QFile>
#include <QJsonObject>
#include <QSocketNotifier>

#include <unistd.h>

QString MonitorCommand::summary() const
{
    return tr("Prints what arrives; sends each line of standard input.");
}

void MonitorCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"), tr("The connection."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("hex"), tr("Prints hex pairs instead of text.")});
    parser.addOption({QStringLiteral("timestamps"), tr("Stamps each read with its time.")});
    parser.addOption({QStringLiteral("log"), tr("Also appends the output to FILE."),
                      QStringLiteral("FILE")});
    DurationOption::add(parser);
    SendOptions::add(parser);
    parser.addOption({QStringLiteral("json"), tr("One JSON object per event.")});
}

int MonitorCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    qint64 durationMs = -1;
    QString error;
    if (!DurationOption::read(parser, &durationMs, &error)) {
        out.error(error);
        return ExitUsage;
    }
    PortOpener opener;
    int code = opener.prepare(parser, parser.positionalArguments().value(0), false, out);
    if (code != ExitOk) {
        return code;
    }
    PortSession *session = opener.session();
    FormatSetting &format = session->format();
    if (!SendOptions::apply(parser, &format, &error)) {
        out.error(error);
        return ExitUsage;
    }
    QFile log(parser.value(QStringLiteral("log")));
    if (!log.fileName().isEmpty() && !log.open(QIODevice::Append | QIODevice::Unbuffered)) {
        out.error(tr("Cannot write %1: %2").arg(log.fileName(), log.errorString()));
        return ExitUsage;
    }
    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }

    ReceivePrinter printer(format.receiveEncoding, parser.isSet(QStringLiteral("hex")),
                           parser.isSet(QStringLiteral("timestamps")));
    QObject::connect(session, &PortSession::rxTapped, session,
                     [&](const QByteArray &bytes, const QString &peer) {
                         const QString text = printer.print(bytes);
                         if (log.isOpen()) {
                             log.write(text.toUtf8());
                         }
                         if (out.jsonMode()) {
                             out.event(QStringLiteral("rx"),
                                       {{QStringLiteral("hex"), QString::fromLatin1(bytes.toHex())},
                                        {QStringLiteral("peer"), peer},
                                        {QStringLiteral("text"), text}},
                                       text);
                         } else {
                             out.raw(text);
                         }
                     });

    // Standard input, a line at a time; its end leaves the monitor running.
    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, session, [&] {
        char buffer[4096];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got <= 0) {
            input.setEnabled(false);
            return;
        }
        pending.append(buffer, got);
        qsizetype end;
        while ((end = pending.indexOf('\n')) >= 0) {
            QByteArray line = pending.left(end);
            pending.remove(0, end + 1);
            if (line.endsWith('\r')) {
                line.chop(1);
            }
            const EncodeSendResult encoded =
                MessageCodec::encodeSend(QString::fromUtf8(line), false, format);
            if (!encoded.ok) {
                out.error(encoded.error);
            } else if (!encoded.bytes.isEmpty() && !session->sendMessage(encoded.bytes)) {
                out.error(tr("%1 did not take the line.").arg(session->label()));
            }
        }
    });

    CommandLoop loop;
    loop.setDuration(durationMs);
    loop.watch(&opener);
    const CommandLoop::End end = loop.exec();
    session->close();
    return loop.exitCode(end, out);
}
