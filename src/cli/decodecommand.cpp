#include "cli/decodecommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/durationoption.h"
#include "cli/portopener.h"
#include "cli/recordingfile.h"
#include "decode/decodedriver.h"
#include "decode/frametemplatecodec.h"
#include "decode/templatestreamdecoder.h"
#include "recording/replayreader.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QSaveFile>
#include <QTimer>

namespace {
bool writeText(const QString &path, const QString &text, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}
} // namespace

QString DecodeCommand::summary() const
{
    return tr("Decodes Modbus or template frames from an events file or a live port.");
}

void DecodeCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"), tr("A live connection to decode."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("modbus"), tr("Decodes Modbus: rtu, ascii or tcp."),
                      QStringLiteral("rtu|ascii|tcp")});
    parser.addOption({QStringLiteral("template"),
                      tr("Decodes with a frame template of the --project library."),
                      QStringLiteral("NAME")});
    parser.addOption({QStringLiteral("events"),
                      tr("An events file (lines of \"<ms> <tx|rx> <hex> [peer]\") or a "
                         ".vlmlog recording, with --port ID for one of its ports."),
                      QStringLiteral("FILE")});
    DurationOption::add(parser);
    parser.addOption({QStringLiteral("csv"), tr("Writes the frames CSV to FILE."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("fields-csv"), tr("Writes the fields CSV to FILE."),
                      QStringLiteral("FILE")});
}

int DecodeCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const bool modbus = parser.isSet(QStringLiteral("modbus"));
    const bool byTemplate = parser.isSet(QStringLiteral("template"));
    if (modbus == byTemplate) {
        out.error(tr("Give either --modbus rtu|ascii|tcp or --template NAME --project FILE."));
        return ExitUsage;
    }
    const QString url = parser.positionalArguments().value(0);
    const bool fromEvents = parser.isSet(QStringLiteral("events"));
    if (fromEvents == !url.isEmpty() && !(!fromEvents && parser.isSet(QStringLiteral("port")))) {
        out.error(tr("Give either --events FILE or a connection to decode."));
        return ExitUsage;
    }
    qint64 durationMs = -1;
    QString error;
    if (!DurationOption::read(parser, &durationMs, &error)) {
        out.error(error);
        return ExitUsage;
    }

    std::unique_ptr<DecodeDriver> driver;
    if (modbus) {
        const QString variant = parser.value(QStringLiteral("modbus")).toLower();
        const QStringList variants = {QStringLiteral("rtu"), QStringLiteral("ascii"),
                                      QStringLiteral("tcp")};
        if (!variants.contains(variant)) {
            out.error(tr("--modbus %1: use rtu, ascii or tcp.").arg(variant));
            return ExitUsage;
        }
        driver = std::make_unique<DecodeDriver>(
            static_cast<ModbusStreamDecoder::Variant>(variants.indexOf(variant)));
    } else {
        const QString project = parser.value(QStringLiteral("project"));
        if (project.isEmpty()) {
            out.error(tr("--template names a template of a project: give --project FILE too."));
            return ExitUsage;
        }
        FrameTemplate found;
        if (!FrameTemplateCodec::loadFromProject(project, parser.value(QStringLiteral("template")),
                                                 &found, &error)) {
            out.error(error);
            return ExitUsage;
        }
        driver = std::make_unique<DecodeDriver>(std::make_unique<TemplateStreamDecoder>(found),
                                                found.name);
    }
    const bool csv = parser.isSet(QStringLiteral("csv")) || parser.isSet(QStringLiteral("fields-csv"));
    driver->setKeepFrames(csv);
    const auto printLines = [&] {
        for (const QString &line : driver->takeLines()) {
            if (!csv) {
                out.line(line);
            }
        }
    };

    int code = ExitOk;
    const QString eventsPath = parser.value(QStringLiteral("events"));
    if (fromEvents && eventsPath.endsWith(QLatin1String(".vlmlog"), Qt::CaseInsensitive)) {
        // A recording: one port's data, timed as recorded, read a slice at a time.
        RecordingFile recording;
        int port = -1;
        if (!recording.open(eventsPath, &error) ||
            !recording.portIndex(parser.isSet(QStringLiteral("port")) ? parser.value(QStringLiteral("port"))
                                                                   : QString(),
                                 &port, &error)) {
            out.error(error);
            return ExitUsage;
        }
        const ReplayIndex &idx = recording.index();
        if (port < 0 && idx.ports.size() > 1) {
            out.error(tr("%1 holds %2 ports: choose one with --port ID.")
                          .arg(eventsPath)
                          .arg(idx.ports.size()));
            return ExitUsage;
        }
        const std::unique_ptr<QIODevice> input = recording.document().openDevice();
        if (!input) {
            out.error(tr("Could not read the recording again."));
            return ExitUsage;
        }
        ReplayReader reader(input.get(), &idx);
        driver->setWallBase(QDateTime::fromMSecsSinceEpoch(idx.firstUs / 1000));
        ReplayEvent event;
        for (; reader.peek(&event); reader.pop()) {
            const SessionEvent &e = event.event;
            if (e.kind == SessionEvent::Note || (port >= 0 && event.portIndex != port)) {
                continue;
            }
            DecodeEvent decoded;
            decoded.ms = (event.playUs - idx.firstUs) / 1000;
            decoded.direction = e.kind == SessionEvent::Tx ? FrameDirection::Tx : FrameDirection::Rx;
            decoded.bytes = e.bytes;
            decoded.peer = e.peer;
            driver->feed(decoded);
            printLines();
        }
        driver->finish();
        printLines();
    } else if (fromEvents) {
        QFile file(parser.value(QStringLiteral("events")));
        if (!file.open(QIODevice::ReadOnly)) {
            out.error(tr("Cannot read %1: %2").arg(file.fileName(), file.errorString()));
            return ExitUsage;
        }
        QList<DecodeEvent> events;
        if (!DecodeEvents::read(file, &events, &error)) {
            out.error(tr("%1: %2").arg(file.fileName(), error));
            return ExitUsage;
        }
        for (const DecodeEvent &event : std::as_const(events)) {
            driver->feed(event);
            printLines();
        }
        driver->finish();
        printLines();
    } else {
        PortOpener opener;
        code = opener.prepare(parser, url, false, out);
        if (code != ExitOk) {
            return code;
        }
        code = opener.open(out);
        if (code != ExitOk) {
            return code;
        }
        PortSession *session = opener.session();
        QElapsedTimer clock;
        clock.start();
        QTimer tick;
        tick.setSingleShot(true);
        const auto arm = [&] {
            const int wait = driver->nextTimeoutMs(clock.elapsed());
            if (wait >= 0) {
                tick.start(wait);
            }
        };
        QObject::connect(&tick, &QTimer::timeout, session, [&] {
            driver->tick(clock.elapsed());
            printLines();
            arm();
        });
        const auto take = [&](FrameDirection direction, const QByteArray &bytes,
                              const QString &peer) {
            driver->ingest(direction, bytes, peer, clock.elapsed(), QDateTime::currentDateTime());
            printLines();
            arm();
        };
        QObject::connect(session, &PortSession::rxTapped, session,
                         [&](const QByteArray &bytes, const QString &peer) {
                             take(FrameDirection::Rx, bytes, peer);
                         });
        QObject::connect(session, &PortSession::txTapped, session,
                         [&](const QByteArray &bytes, const QString &peer) {
                             take(FrameDirection::Tx, bytes, peer);
                         });
        CommandLoop loop;
        loop.setDuration(durationMs);
        loop.watch(&opener);
        const CommandLoop::End end = loop.exec();
        session->close();
        driver->finish();
        printLines();
        code = end == CommandLoop::Interrupted ? ExitInterrupted
               : end == CommandLoop::ConnectionLost ? ExitConnection
                                                    : ExitOk;
    }
    if (parser.isSet(QStringLiteral("csv")) &&
        !writeText(parser.value(QStringLiteral("csv")), driver->framesCsv(), &error)) {
        out.error(tr("Cannot write %1: %2").arg(parser.value(QStringLiteral("csv")), error));
        return ExitUsage;
    }
    if (parser.isSet(QStringLiteral("fields-csv")) &&
        !writeText(parser.value(QStringLiteral("fields-csv")), driver->fieldsCsv(), &error)) {
        out.error(tr("Cannot write %1: %2").arg(parser.value(QStringLiteral("fields-csv")), error));
        return ExitUsage;
    }
    return code;
}
