#include "cli/runscriptcommand.h"

#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/junitreport.h"
#include "cli/portopener.h"
#include "scripting/scriptengine.h"
#include "scripting/scriptlibrarycodec.h"
#include "scripting/scriptrunner.h"
#include "session/portsession.h"
#include "session/scriptportlink.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QTimer>

namespace {
QString outputKind(ScriptOutput::Kind kind)
{
    switch (kind) {
    case ScriptOutput::Log:
        return QStringLiteral("log");
    case ScriptOutput::Warning:
        return QStringLiteral("warning");
    case ScriptOutput::Error:
        return QStringLiteral("error");
    case ScriptOutput::Print:
        break;
    }
    return QStringLiteral("print");
}

QString stateWord(ScriptState state)
{
    switch (state) {
    case ScriptState::Passed:
        return QStringLiteral("passed");
    case ScriptState::Failed:
        return QStringLiteral("failed");
    case ScriptState::Stopped:
        return QStringLiteral("stopped");
    case ScriptState::Idle:
    case ScriptState::Running:
        break;
    }
    return QStringLiteral("running");
}
} // namespace

QString RunScriptCommand::summary() const
{
    return tr("Runs a Lua script on the port; exit 0 when it passes.");
}

void RunScriptCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 tr("The connection (leave out with --project and --port)."));
    parser.addPositionalArgument(QStringLiteral("FILE.lua"), tr("The script file."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("script"), tr("A script of the project's library, by name."),
                      QStringLiteral("NAME")});
    parser.addOption({QStringLiteral("junit"), tr("Writes a JUnit XML report to FILE."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("timeout"), tr("Stops the script after SEC seconds."),
                      QStringLiteral("SEC")});
    parser.addOption({QStringLiteral("json"), tr("One JSON object per event.")});
}

int RunScriptCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    // "URL FILE", "FILE" with --project, or "URL" with --script.
    QStringList args = parser.positionalArguments();
    QString file;
    if (!parser.isSet(QStringLiteral("script")) && !args.isEmpty() &&
        args.last().endsWith(QLatin1String(".lua"), Qt::CaseInsensitive)) {
        file = args.takeLast();
    }
    if (args.size() > 1 || (file.isEmpty() == !parser.isSet(QStringLiteral("script")))) {
        out.error(tr("Give the connection and either a script file or --script NAME."));
        return ExitUsage;
    }
    double timeoutSeconds = -1;
    if (parser.isSet(QStringLiteral("timeout"))) {
        bool ok = false;
        timeoutSeconds = parser.value(QStringLiteral("timeout")).toDouble(&ok);
        if (!ok || timeoutSeconds <= 0) {
            out.error(tr("--timeout %1: give seconds, more than 0.")
                          .arg(parser.value(QStringLiteral("timeout"))));
            return ExitUsage;
        }
    }
    PortOpener opener;
    int code = opener.prepare(parser, args.value(0), parser.isSet(QStringLiteral("script")), out);
    if (code != ExitOk) {
        return code;
    }
    Script script;
    QString error;
    if (!file.isEmpty()) {
        if (!ScriptLibraryCodec::readScriptFile(file, &script, &error)) {
            out.error(error);
            return ExitUsage;
        }
    } else {
        const int index = opener.scripts().indexOf(parser.value(QStringLiteral("script")));
        if (index < 0) {
            out.error(tr("The project has no script called \"%1\".")
                          .arg(parser.value(QStringLiteral("script"))));
            return ExitUsage;
        }
        script = opener.scripts().scripts.at(index);
    }
    int line = -1;
    if (!ScriptEngine::checkSyntax(script.source, &error, &line)) {
        out.error(line > 0 ? tr("%1, line %2: %3").arg(script.name).arg(line).arg(error)
                           : tr("%1: %2").arg(script.name, error));
        return ExitUsage;
    }

    PortSession *session = opener.session();
    session->connectRunners();
    auto *link = new ScriptPortLink(session);
    ScriptRunner *runner = link->runner();
    const CommandLibrary &library = opener.commands();
    runner->setCommandLookup([&library](const QString &name, Command *command, QString *why) {
        if (const Command *found = library.findCommand(name)) {
            *command = *found;
            return true;
        }
        if (why) {
            *why = tr("there is no command of that name in the command library");
        }
        return false;
    });
    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }

    QString transcript;
    QObject::connect(runner, &ScriptRunner::output, session, [&](const ScriptOutput &entry) {
        const QString kind = outputKind(entry.kind);
        const QString text = entry.kind == ScriptOutput::Print
                                 ? entry.text
                                 : entry.line > 0 ? QStringLiteral("%1 (line %2): %3")
                                                        .arg(kind)
                                                        .arg(entry.line)
                                                        .arg(entry.text)
                                                  : QStringLiteral("%1: %2").arg(kind, entry.text);
        transcript += text + QLatin1Char('\n');
        out.event(kind,
                  {{QStringLiteral("text"), entry.text},
                   {QStringLiteral("line"), entry.line},
                   {QStringLiteral("ms"), entry.elapsedMs}},
                  text);
    });
    CommandLoop loop;
    loop.watch(&opener);
    QObject::connect(runner, &ScriptRunner::finished, &loop, [&loop] { loop.finish(); });
    // An interrupt stops the run the way the Stop button does: onStop runs, and the
    // run's end finishes the loop.
    loop.setInterruptHandler(
        [link] { link->stopScript(ScriptRunner::StopReason::User); });
    if (timeoutSeconds > 0) {
        QTimer::singleShot(qint64(timeoutSeconds * 1000), runner, [runner, timeoutSeconds] {
            runner->stop(tr("timed out after %1 s").arg(timeoutSeconds));
        });
    }
    QElapsedTimer clock;
    clock.start();
    int errorLine = -1;
    if (!link->startScript(script, &error, &errorLine)) {
        out.error(tr("%1 did not start: %2").arg(script.name, error));
        session->close();
        return session->portTakesData() ? ExitUsage : ExitConnection;
    }
    const CommandLoop::End end = loop.exec();
    if (end == CommandLoop::ConnectionLost) {
        // Losing the connection ends the run with that reason.
        session->stopRuns(int(ScriptRunner::StopReason::ConnectionLost));
    }
    const ScriptEngine &engine = runner->engine();
    const ScriptState state = runner->state();
    const QString reason = engine.finishReason();
    out.event(QStringLiteral("finished"),
              {{QStringLiteral("state"), stateWord(state)},
               {QStringLiteral("reason"), reason},
               {QStringLiteral("line"), engine.errorLine()}},
              runner->finishedNote());
    session->close();

    if (parser.isSet(QStringLiteral("junit"))) {
        JUnitReport report(script.name);
        JUnitReport::Case testCase;
        testCase.name = script.name;
        testCase.seconds = double(clock.elapsed()) / 1000.0;
        testCase.failed = state != ScriptState::Passed;
        testCase.message = engine.errorLine() > 0
                               ? tr("%1 (line %2)").arg(reason).arg(engine.errorLine())
                               : reason;
        testCase.detail = runner->finishedNote();
        report.addCase(testCase);
        report.setOutput(transcript);
        report.setSeconds(testCase.seconds);
        if (!report.write(parser.value(QStringLiteral("junit")), &error)) {
            out.error(tr("Cannot write %1: %2").arg(parser.value(QStringLiteral("junit")), error));
        }
    }
    if (end == CommandLoop::Interrupted) {
        return ExitInterrupted;
    }
    return state == ScriptState::Passed ? ExitOk : ExitFailed;
}
