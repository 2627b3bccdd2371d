#include "cli/exportcommand.h"

#include "cli/clioutput.h"
#include "cli/recordingfile.h"
#include "recording/replayreader.h"
#include "recording/sessionexportwriter.h"
#include "session/porthistories.h"

#include <QCommandLineParser>
#include <QFile>
#include <QSaveFile>

#include <cstdio>

namespace {
// Events handed to one writer: enough to keep the per-slice cost small, few enough to
// keep memory bounded.
constexpr qsizetype SliceEvents = 8192;
constexpr qint64 SliceBytes = 4194304;
} // namespace

QString ExportCommand::summary() const
{
    return tr("Writes a recording as text, CSV or JSON Lines.");
}

void ExportCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("FILE"), tr("The recording."));
    parser.addOption({QStringLiteral("format"), tr("text, csv or jsonl."),
                      QStringLiteral("text|csv|jsonl")});
    parser.addOption({QStringLiteral("port"), tr("Exports only this port of the recording."),
                      QStringLiteral("ID")});
    parser.addOption({QStringLiteral("out"), tr("Writes to FILE instead of standard output."),
                      QStringLiteral("FILE")});
}

int ExportCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const QStringList formats = {QStringLiteral("text"), QStringLiteral("csv"),
                                 QStringLiteral("jsonl")};
    const QString formatName = parser.value(QStringLiteral("format")).toLower();
    if (!formats.contains(formatName)) {
        out.error(tr("Give --format text, csv or jsonl."));
        return ExitUsage;
    }
    const auto format = static_cast<SessionExport::Format>(formats.indexOf(formatName));
    RecordingFile recording;
    QString error;
    int only = -1;
    if (!recording.open(parser.positionalArguments().value(0), &error) ||
        !recording.portIndex(parser.value(QStringLiteral("port")), &only, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const ReplayIndex &idx = recording.index();

    // A file is written whole or not at all; standard output as it goes.
    const QString outPath = parser.value(QStringLiteral("out"));
    QSaveFile saved(outPath);
    QFile stdOut;
    QIODevice *device = nullptr;
    if (outPath.isEmpty()) {
        if (!stdOut.open(stdout, QIODevice::WriteOnly)) {
            out.error(tr("Cannot write to standard output."));
            return ExitFailed;
        }
        device = &stdOut;
    } else {
        if (!saved.open(QIODevice::WriteOnly)) {
            out.error(tr("Cannot write %1: %2").arg(outPath, saved.errorString()));
            return ExitUsage;
        }
        device = &saved;
    }

    // One source per exported port; `slot` maps a recording port to its source.
    QList<SessionExport::Source> sources;
    QList<int> slot(idx.ports.size(), -1);
    for (int i = 0; i < idx.ports.size(); ++i) {
        if (only < 0 || only == i) {
            slot[i] = int(sources.size());
            sources.append({idx.ports.at(i), {}});
        }
    }
    SessionExport::Options options;
    options.exportedAtUs = PortHistories::nowUs();
    options.appVersion = QCoreApplication::applicationVersion();
    options.records = only < 0 ? idx.eventCount : idx.portEvents.value(only);
    options.firstUs = idx.firstUs;
    options.lastUs = idx.lastUs;

    const std::unique_ptr<QIODevice> input = recording.document().openDevice();
    if (!input) {
        out.error(tr("Could not read the recording again."));
        return ExitUsage;
    }
    ReplayReader reader(input.get(), &idx);
    ReplayEvent event;
    bool more = true;
    bool first = true;
    while (more) {
        qsizetype count = 0;
        qint64 bytes = 0;
        while (count < SliceEvents && bytes < SliceBytes && (more = reader.peek(&event))) {
            const int s = event.portIndex >= 0 ? slot.value(event.portIndex, -1) : -1;
            if (s >= 0) {
                bytes += event.event.bytes.size() + event.event.text.size();
                sources[s].events.append(std::move(event.event));
                ++count;
            }
            reader.pop();
        }
        if (count == 0 && !first) {
            break;
        }
        SessionExportWriter writer(format, device, sources, options);
        if (!writer.run()) {
            out.error(tr("Cannot write the export: %1").arg(writer.errorString()));
            return ExitFailed;
        }
        options.rowsOnly = true;
        first = false;
        for (SessionExport::Source &source : sources) {
            source.events.clear();
        }
    }
    if (!reader.errorString().isEmpty()) {
        out.error(tr("Could not read the recording: %1").arg(reader.errorString()));
        return ExitFailed;
    }
    if (saved.isOpen() && !saved.commit()) {
        out.error(tr("Cannot write %1: %2").arg(outPath, saved.errorString()));
        return ExitFailed;
    }
    stdOut.flush();
    return ExitOk;
}
