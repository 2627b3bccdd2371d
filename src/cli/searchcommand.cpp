#include "cli/searchcommand.h"

#include "cli/clioutput.h"
#include "cli/recordingfile.h"
#include "recording/replaysearch.h"

#include <QCommandLineParser>
#include <QJsonObject>
#include <QTimeZone>

#include <algorithm>
#include <climits>

QString SearchCommand::summary() const
{
    return tr("Finds text or bytes in a recording, one line per hit.");
}

void SearchCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("FILE"), tr("The recording."));
    parser.addOption({QStringLiteral("text"), tr("The text to find (UTF-8)."),
                      QStringLiteral("T")});
    parser.addOption({QStringLiteral("hex"), tr("The bytes to find, as hex pairs."),
                      QStringLiteral("H")});
    parser.addOption({QStringLiteral("match-case"), tr("Text must match in case too.")});
    parser.addOption({QStringLiteral("port"), tr("Lists only hits in this port of the recording."),
                      QStringLiteral("ID")});
    parser.addOption({QStringLiteral("json"), tr("One JSON object per hit.")});
}

int SearchCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    const bool byText = parser.isSet(QStringLiteral("text"));
    const bool byHex = parser.isSet(QStringLiteral("hex"));
    if (byText == byHex) {
        out.error(tr("Give either --text T or --hex H."));
        return ExitUsage;
    }
    QString error;
    const ReplayQuery query =
        ReplayQuery::fromInput(parser.value(byHex ? QStringLiteral("hex") : QStringLiteral("text")),
                               byHex, parser.isSet(QStringLiteral("match-case")), &error);
    if (query.isEmpty()) {
        out.error(error);
        return ExitUsage;
    }
    RecordingFile recording;
    int only = -1;
    if (!recording.open(parser.positionalArguments().value(0), &error) ||
        !recording.portIndex(parser.value(QStringLiteral("port")), &only, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const ReplayIndex &idx = recording.index();
    const std::unique_ptr<QIODevice> input = recording.document().openDevice();
    if (!input) {
        out.error(tr("Could not read the recording again."));
        return ExitUsage;
    }
    ReplaySearch search(input.get(), &idx, query);
    while (search.countAll(4194304)) {
    }
    const QTimeZone zone = QTimeZone::systemTimeZone();
    qint64 shown = 0;
    for (const ReplayHit &hit : search.hits()) {
        if (only >= 0 && hit.portIndex != only) {
            continue;
        }
        ++shown;
        const QString time = SessionExport::formatTime(hit.playUs, zone);
        const QString port = idx.ports.value(hit.portIndex).id;
        out.event(QStringLiteral("hit"),
                  {{QStringLiteral("t_us"), hit.playUs},
                   {QStringLiteral("time"), time},
                   {QStringLiteral("port"), port},
                   {QStringLiteral("event"), hit.ordinal},
                   {QStringLiteral("offset"), hit.offsetInEvent},
                   {QStringLiteral("length"), hit.length},
                   {QStringLiteral("split"), hit.splitAcrossEvents}},
                  tr("%1  %2  event %3 at byte %4%5")
                      .arg(time, port)
                      .arg(hit.ordinal)
                      .arg(hit.offsetInEvent)
                      .arg(hit.splitAcrossEvents ? tr(" (split over events)") : QString()));
    }
    out.error(tr("%n hit(s).", nullptr, int(std::min<qint64>(shown, INT_MAX))));
    return ExitOk;
}
