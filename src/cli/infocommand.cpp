#include "cli/infocommand.h"

#include "cli/clioutput.h"
#include "cli/recordingfile.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QTimeZone>

QString InfoCommand::summary() const
{
    return tr("Tells what a recording holds and how long indexing it took.");
}

void InfoCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("FILE"), tr("The recording."));
}

int InfoCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    RecordingFile recording;
    QString error;
    const QString path = parser.positionalArguments().value(0);
    if (!recording.open(path, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const ReplayIndex &idx = recording.index();
    const QTimeZone zone = QTimeZone::systemTimeZone();
    out.line(tr("File: %1 (%2 bytes)").arg(path).arg(QFileInfo(path).size()));
    out.line(tr("Part: %1").arg(idx.part));
    if (!idx.previous.isEmpty()) {
        out.line(tr("Previous part: %1").arg(idx.previous));
    }
    if (!idx.endNext.isEmpty()) {
        out.line(tr("Next part: %1").arg(idx.endNext));
    }
    out.line(tr("Ports: %1").arg(idx.ports.size()));
    for (int i = 0; i < idx.ports.size(); ++i) {
        const SessionExport::PortInfo &port = idx.ports.at(i);
        out.line(tr("  %1  %2  %3  (%4 events)")
                     .arg(port.id, port.label, port.settings.isEmpty() ? port.mode : port.settings)
                     .arg(idx.portEvents.value(i)));
    }
    out.line(tr("Events: %1").arg(idx.eventCount));
    out.line(tr("Bytes: %1").arg(idx.byteCount));
    if (idx.eventCount > 0) {
        out.line(tr("First: %1").arg(SessionExport::formatTime(idx.firstUs, zone)));
        out.line(tr("Last: %1").arg(SessionExport::formatTime(idx.lastUs, zone)));
    }
    out.line(idx.torn ? tr("Torn tail: yes, the last line is cut") : tr("Torn tail: no"));
    if (!idx.endReason.isEmpty()) {
        out.line(tr("Ended: %1").arg(idx.endReason));
    }
    out.line(tr("Unreadable lines: %1").arg(idx.skippedLines + idx.badLines));
    out.line(tr("Indexed in %1 ms").arg(double(recording.indexingUs()) / 1000.0, 0, 'f', 1));
    return ExitOk;
}
