#include "cli/simulatecommand.h"

#include "automation/autoreplyrunner.h"
#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/durationoption.h"
#include "cli/portopener.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QJsonObject>

QString SimulateCommand::summary() const
{
    return tr("Answers like a device with auto reply rules until stopped.");
}

void SimulateCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"),
                                 tr("The connection (leave out to use the project's port)."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("reply"),
                      tr("A text rule: what arrives = what to answer, with \\r, \\n and \\xHH "
                         "escapes. May repeat."),
                      QStringLiteral("PATTERN=REPLY")});
    DurationOption::add(parser);
    parser.addOption({QStringLiteral("json"), tr("One JSON object per event.")});
}

int SimulateCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    qint64 durationMs = -1;
    QString error;
    if (!DurationOption::read(parser, &durationMs, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const QStringList replies = parser.values(QStringLiteral("reply"));
    if (replies.isEmpty() == !parser.isSet(QStringLiteral("project"))) {
        out.error(tr("Give either --project FILE (with --port N) or --reply rules."));
        return ExitUsage;
    }
    PortOpener opener;
    int code = opener.prepare(parser, parser.positionalArguments().value(0), false, out);
    if (code != ExitOk) {
        return code;
    }
    AutoReplyConfig config = opener.autoReply();
    if (!replies.isEmpty()) {
        config = AutoReplyConfig();
        for (const QString &reply : replies) {
            // The first "=" splits; a pattern holding "=" writes it as \x3D.
            const qsizetype split = reply.indexOf(QLatin1Char('='));
            if (split <= 0) {
                out.error(tr("--reply %1: write PATTERN=REPLY.").arg(reply));
                return ExitUsage;
            }
            AutoReplyRule rule;
            rule.name = reply.left(split);
            rule.pattern = reply.left(split);
            rule.reply = reply.mid(split + 1);
            config.rules.append(rule);
        }
    }
    PortSession *session = opener.session();
    AutoReplyRunner *runner = session->autoReplies();
    runner->setEncodings(session->format().receiveEncoding, session->format().sendEncoding);
    runner->setConfig(config);
    if (runner->engine().enabledRuleCount() == 0) {
        out.error(tr("There is no enabled auto reply rule to simulate with."));
        return ExitUsage;
    }
    session->connectRunners();
    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }
    const auto title = [&config](int rule) {
        const QString name = rule >= 0 && rule < config.rules.size() ? config.rules.at(rule).name
                                                                     : QString();
        return name.isEmpty() ? tr("rule %1").arg(rule + 1) : QStringLiteral("\"%1\"").arg(name);
    };
    QObject::connect(runner, &AutoReplyRunner::replied, session,
                     [&](int rule, const QString &source, int bytes) {
                         out.event(QStringLiteral("reply"),
                                   {{QStringLiteral("rule"), rule + 1},
                                    {QStringLiteral("peer"), source},
                                    {QStringLiteral("bytes"), bytes}},
                                   source.isEmpty()
                                       ? tr("%1: %n byte(s) sent", nullptr, bytes).arg(title(rule))
                                       : tr("%1: %n byte(s) sent to %2", nullptr, bytes)
                                             .arg(title(rule), source));
                     });
    QObject::connect(runner, &AutoReplyRunner::silent, session,
                     [&](int rule, AutoReplyOutcome outcome) {
                         const QString word = AutoReplyEngine::outcomeWord(outcome);
                         out.event(QStringLiteral("silent"),
                                   {{QStringLiteral("rule"), rule + 1},
                                    {QStringLiteral("outcome"), word}},
                                   tr("%1: matched, no reply (%2)").arg(title(rule), word));
                     });
    CommandLoop loop;
    loop.setDuration(durationMs);
    loop.watch(&opener);
    const CommandLoop::End end = loop.exec();
    session->close();
    return loop.exitCode(end, out);
}
