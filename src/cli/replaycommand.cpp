#include "cli/replaycommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/portopener.h"
#include "cli/portreplaysource.h"
#include "cli/recordingfile.h"
#include "connection/connectioncontroller.h"
#include "recording/replayengine.h"
#include "recording/replayreader.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QTimer>

#include <deque>

namespace {
constexpr int TickMs = 2;
constexpr int DrainLimitMs = 10000;
// Live bytes kept while waiting for a recorded request: far more than any request.
constexpr qsizetype LiveLimit = 1048576;
} // namespace

QString ReplayCommand::summary() const
{
    return tr("Plays what a recorded port received into a connection.");
}

void ReplayCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("FILE"), tr("The recording."));
    parser.addOption({QStringLiteral("port"), tr("The recorded port to play."),
                      QStringLiteral("ID")});
    parser.addOption({QStringLiteral("to"), tr("The connection to play into."),
                      QStringLiteral("URL")});
    parser.addOption({QStringLiteral("speed"), tr("Plays this many times faster than recorded."),
                      QStringLiteral("X")});
    parser.addOption({QStringLiteral("fastest"), tr("Plays as fast as the connection takes it.")});
    parser.addOption({QStringLiteral("answer"),
                      tr("Waits for the recorded request before each response.")});
    PortOpener::addCloudOptions(parser);
}

int ReplayCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const QString portId = parser.value(QStringLiteral("port"));
    const QString url = parser.value(QStringLiteral("to"));
    if (portId.isEmpty() || url.isEmpty()) {
        out.error(tr("Give the recorded port with --port ID and the connection with --to URL."));
        return ExitUsage;
    }
    double speed = 1.0;
    if (parser.isSet(QStringLiteral("fastest"))) {
        if (parser.isSet(QStringLiteral("speed"))) {
            out.error(tr("Give either --speed X or --fastest."));
            return ExitUsage;
        }
        speed = 0;
    } else if (parser.isSet(QStringLiteral("speed"))) {
        bool ok = false;
        speed = parser.value(QStringLiteral("speed")).toDouble(&ok);
        if (!ok || !(speed > 0) || speed > 1e6) {
            out.error(tr("--speed %1: give a factor above 0, such as 0.5 or 10.")
                          .arg(parser.value(QStringLiteral("speed"))));
            return ExitUsage;
        }
    }
    const bool answer = parser.isSet(QStringLiteral("answer"));

    RecordingFile recording;
    QString error;
    int port = -1;
    if (!recording.open(parser.positionalArguments().value(0), &error) ||
        !recording.portIndex(portId, &port, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const std::unique_ptr<QIODevice> input = recording.document().openDevice();
    if (!input) {
        out.error(tr("Could not read the recording again."));
        return ExitUsage;
    }
    ReplayReader reader(input.get(), &recording.index());
    PortReplaySource source(&reader, port);

    PortOpener opener;
    int code = opener.prepareUrl(url, out, &parser);
    if (code == ExitOk) {
        code = opener.open(out);
    }
    if (code != ExitOk) {
        return code;
    }
    PortSession *session = opener.session();
    ConnectionController *controller = session->connectionController();

    QElapsedTimer clock;
    clock.start();
    const auto nowUs = [&clock] { return clock.nsecsElapsed() / 1000; };
    ReplayEngine engine(&source);
    engine.setSpeed(speed, nowUs());
    engine.play(nowUs());

    CommandLoop loop;
    loop.watch(&opener);
    QTimer tick;
    tick.setInterval(TickMs);
    qint64 played = 0;
    bool ended = false;

    // --answer: what the recorded port sent before the response now due, and what the
    // live connection has received since the last match.
    QByteArray expected;
    QByteArray live;
    bool waiting = false;
    std::deque<ReplayEvent> held; // events due while waiting

    const auto finishWhenWritten = [&] {
        ended = true;
        tick.stop();
        auto *drain = new QTimer(&loop);
        QElapsedTimer drained;
        drained.start();
        QObject::connect(drain, &QTimer::timeout, &loop, [&loop, controller, session, drained] {
            if (controller->pendingWriteBytes(session->settings().connMode) == 0 ||
                drained.elapsed() >= DrainLimitMs) {
                loop.finish();
            }
        });
        drain->start(TickMs);
    };
    // Plays events in order until one makes it wait for the live host.
    const auto playHeld = [&] {
        while (!held.empty() && !waiting) {
            const ReplayEvent event = std::move(held.front());
            held.pop_front();
            if (event.event.kind == SessionEvent::Rx) {
                if (!session->sendMessage(event.event.bytes)) {
                    error = tr("%1 did not take the recorded bytes.").arg(session->label());
                    loop.finish();
                    return;
                }
                played += event.event.bytes.size();
            } else if (ReplayEvent next; answer && (!held.empty() || source.peek(&next))) {
                // The recorded host's request: the replay holds its clock until the live
                // host has sent the same bytes. A request the recording ends on needs no
                // wait.
                expected += event.event.bytes;
                waiting = true;
                engine.pause(nowUs());
            }
        }
    };
    // Plays on for as long as the live bytes hold what the recording waits for: one read
    // may carry several recorded requests.
    const auto matchLive = [&] {
        while (waiting) {
            const qsizetype at = live.indexOf(expected);
            if (at < 0) {
                if (live.size() > LiveLimit) {
                    live.remove(0, live.size() - expected.size());
                }
                return;
            }
            live.remove(0, at + expected.size());
            expected.clear();
            waiting = false;
            engine.play(nowUs());
            playHeld();
        }
    };
    if (answer) {
        QObject::connect(session, &PortSession::rxTapped, &loop,
                         [&](const QByteArray &bytes, const QString &) {
                             live += bytes;
                             if (waiting) {
                                 matchLive();
                             }
                         });
    }
    QObject::connect(&tick, &QTimer::timeout, &loop, [&] {
        if (waiting || ended) {
            return;
        }
        ReplayEngine::TickResult result = engine.tick(nowUs());
        for (ReplayEvent &event : result.events) {
            held.push_back(std::move(event));
        }
        playHeld();
        if (waiting) {
            matchLive();
        }
        if (!waiting && held.empty() && result.stop != ReplayEngine::None) {
            finishWhenWritten();
        }
    });
    tick.start();
    const CommandLoop::End end = loop.exec();
    session->close();
    if (!error.isEmpty()) {
        out.error(error);
        return ExitConnection;
    }
    out.error(tr("Played %1 bytes into %2.").arg(played).arg(session->label()));
    return loop.exitCode(end, out);
}
