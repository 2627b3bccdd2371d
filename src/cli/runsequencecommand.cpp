#include "cli/runsequencecommand.h"

#include "automation/commandlibrary.h"
#include "automation/sequencereport.h"
#include "automation/sequencerunner.h"
#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/junitreport.h"
#include "cli/portopener.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QJsonObject>
#include <QTimeZone>

namespace {
QString outcomeWord(SequenceRunOutcome outcome)
{
    return SequenceReport::outcomeName(outcome);
}
} // namespace

QString RunSequenceCommand::summary() const
{
    return tr("Runs a sequence of a project's command library; exit 0 when it passes.");
}

void RunSequenceCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 tr("The connection (leave out to use the project's port)."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("sequence"), tr("The sequence, by name."),
                      QStringLiteral("NAME")});
    parser.addOption({QStringLiteral("junit"), tr("Writes a JUnit XML report to FILE."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("report"),
                      tr("Writes the sequence report to FILE (.json or .txt)."),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("json"), tr("One JSON object per event.")});
}

int RunSequenceCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    if (parser.positionalArguments().size() > 1) {
        out.error(tr("Give one connection."));
        return ExitUsage;
    }
    const QString name = parser.value(QStringLiteral("sequence"));
    if (name.isEmpty()) {
        out.error(tr("Name the sequence with --sequence NAME."));
        return ExitUsage;
    }
    PortOpener opener;
    int code = opener.prepare(parser, parser.positionalArguments().value(0), true, out);
    if (code != ExitOk) {
        return code;
    }
    const QList<Sequence> &sequences = opener.commands().sequences;
    const auto found = std::find_if(sequences.begin(), sequences.end(),
                                    [&](const Sequence &s) { return s.name == name; });
    if (found == sequences.end()) {
        QStringList names;
        for (const Sequence &s : sequences) {
            names << s.name;
        }
        out.error(names.isEmpty()
                      ? tr("The project has no sequences.")
                      : tr("The project has no sequence called \"%1\"; it has: %2.")
                            .arg(name, names.join(QStringLiteral(", "))));
        return ExitUsage;
    }
    PortSession *session = opener.session();
    session->connectRunners();
    SequenceRunner *runner = session->sequences();
    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }

    QString transcript;
    const auto note = [&](const QString &kind, const QJsonObject &fields, const QString &text) {
        transcript += text + QLatin1Char('\n');
        out.event(kind, fields, text);
    };
    QObject::connect(runner, &SequenceRunner::started, session,
                     [&] { note(QStringLiteral("started"), {}, runner->startedNote()); });
    QObject::connect(runner, &SequenceRunner::stepFinished, session,
                     [&](int step, bool ok, const QString &detail) {
                         note(QStringLiteral("step"),
                              {{QStringLiteral("step"), step + 1},
                               {QStringLiteral("ok"), ok},
                               {QStringLiteral("detail"), detail}},
                              QStringLiteral("%1 %2%3")
                                  .arg(step + 1)
                                  .arg(ok ? QStringLiteral("ok") : QStringLiteral("FAILED"))
                                  .arg(detail.isEmpty() ? QString() : QStringLiteral(": ") + detail));
                     });
    CommandLoop loop;
    loop.watch(&opener);
    QObject::connect(runner, &SequenceRunner::finished, &loop, [&loop] { loop.finish(); });
    loop.setInterruptHandler([runner] {
        runner->stop(SequenceRunner::stopReasonText(SequenceRunner::StopReason::User));
    });
    QString error;
    if (!session->startSequence(*found, &error)) {
        out.error(tr("%1 did not start: %2").arg(name, error));
        session->close();
        return ExitUsage;
    }
    const CommandLoop::End end = loop.exec();
    // Closing ends a run still going (the connection was lost) as stopped.
    session->close();
    const SequenceRunRecord *run = session->sequenceReportLog().current();
    if (!run && !session->sequenceReportLog().runs().isEmpty()) {
        run = &session->sequenceReportLog().runs().last();
    }
    const SequenceRunOutcome outcome = run ? run->outcome : SequenceRunOutcome::Stopped;
    note(QStringLiteral("finished"),
         {{QStringLiteral("outcome"), outcomeWord(outcome)},
          {QStringLiteral("failures"), run ? run->failures : 0},
          {QStringLiteral("reason"), run ? run->reason : QString()}},
         runner->finishedNote());

    if (parser.isSet(QStringLiteral("report")) &&
        !SequenceReport::writeFile(parser.value(QStringLiteral("report")),
                                   session->sequenceReportLog().runs(), QTimeZone::systemTimeZone(),
                                   &error)) {
        out.error(tr("Cannot write %1: %2").arg(parser.value(QStringLiteral("report")), error));
    }
    if (parser.isSet(QStringLiteral("junit")) && run) {
        JUnitReport report(name);
        for (const SequenceStepRecord &step : run->steps) {
            if (!step.isExpect) {
                continue;
            }
            JUnitReport::Case testCase;
            testCase.name = QStringLiteral("%1 %2").arg(step.index + 1).arg(step.title);
            testCase.seconds = double(step.endUs - step.startUs) / 1e6;
            testCase.failed = !step.ok;
            testCase.message = step.finished ? step.detail : run->reason;
            testCase.detail = step.detail;
            report.addCase(testCase);
        }
        report.setOutput(transcript);
        report.setSeconds(double(run->endUs - run->startUs) / 1e6);
        if (!report.write(parser.value(QStringLiteral("junit")), &error)) {
            out.error(tr("Cannot write %1: %2").arg(parser.value(QStringLiteral("junit")), error));
        }
    }
    if (end == CommandLoop::Interrupted) {
        return ExitInterrupted;
    }
    return outcome == SequenceRunOutcome::Passed ? ExitOk : ExitFailed;
}
