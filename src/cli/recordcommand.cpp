#include "cli/recordcommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/durationoption.h"
#include "cli/portopener.h"
#include "recording/sessionrecording.h"
#include "session/porthistories.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QDir>

#include <memory>
#include <vector>

QString RecordCommand::summary() const
{
    return tr("Records what one or more connections receive and send into a .vlmlog file.");
}

void RecordCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"), tr("A connection to record; give several "
                                                           "to record them together."));
    parser.addOption({QStringLiteral("out"), tr("The recording file to write."),
                      QStringLiteral("FILE.vlmlog")});
    DurationOption::add(parser);
    PortOpener::addCloudOptions(parser);
}

int RecordCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const QStringList urls = parser.positionalArguments();
    if (urls.isEmpty()) {
        out.error(tr("Name at least one connection to record."));
        return ExitUsage;
    }
    const QString path = parser.value(QStringLiteral("out"));
    if (path.isEmpty()) {
        out.error(tr("Give the recording file with --out FILE.vlmlog."));
        return ExitUsage;
    }
    qint64 durationMs = -1;
    QString error;
    if (!DurationOption::read(parser, &durationMs, &error)) {
        out.error(error);
        return ExitUsage;
    }

    std::vector<std::unique_ptr<PortOpener>> openers;
    for (const QString &url : urls) {
        auto opener = std::make_unique<PortOpener>();
        const int code = opener->prepareUrl(url, out, &parser);
        if (code != ExitOk) {
            return code;
        }
        openers.push_back(std::move(opener));
    }
    const auto ports = [&] {
        QList<SessionRecording::Port> list;
        for (const auto &opener : openers) {
            PortSession *session = opener->session();
            list.append({QString::number(list.size() + 1), PortHistories::portInfo(session),
                         PortHistories::historyOf(session)});
        }
        return list;
    };
    // The histories start before the ports open, so that nothing they receive at once
    // is missed.
    ports();
    SessionRecording recording(ports);
    recording.setClock(&PortHistories::nowUs);
    recording.setAppVersion(QCoreApplication::applicationVersion());
    SessionRecording::Options options;
    options.path = path;
    if (!recording.start(options, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const auto closeAll = [&] {
        for (const auto &opener : openers) {
            opener->session()->close();
        }
    };
    for (const auto &opener : openers) {
        const int code = opener->open(out);
        if (code != ExitOk) {
            closeAll();
            recording.stop(QStringLiteral("stopped"));
            return code;
        }
    }

    CommandLoop loop;
    loop.setDuration(durationMs);
    for (const auto &opener : openers) {
        loop.watch(opener.get());
    }
    QObject::connect(&recording, &SessionRecording::failed, &loop,
                     [&](const QString &message) {
                         error = message;
                         loop.finish();
                     });
    const CommandLoop::End end = loop.exec();
    closeAll();
    recording.stop(QStringLiteral("stopped"));
    if (!error.isEmpty()) {
        out.error(error);
        return ExitFailed;
    }
    out.line(tr("Recorded %1 bytes into %2.")
                 .arg(recording.bytesWritten())
                 .arg(QDir::toNativeSeparators(path)));
    return loop.exitCode(end, out);
}
