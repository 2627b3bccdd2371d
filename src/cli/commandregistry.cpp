#include "cli/commandregistry.h"

#include "cli/clicommand.h"
#include "cli/clioutput.h"

#include <QCommandLineParser>

CommandRegistry::CommandRegistry() = default;
CommandRegistry::~CommandRegistry() = default;

void CommandRegistry::add(std::unique_ptr<CliCommand> command)
{
    commands.push_back(std::move(command));
}

CliCommand *CommandRegistry::find(const QString &name) const
{
    for (const auto &command : commands) {
        if (command->name() == name) {
            return command.get();
        }
    }
    return nullptr;
}

QString CommandRegistry::overview() const
{
    QString text = CliCommand::tr("Usage: velmora-cli COMMAND [options]\n"
                                  "Runs Velmora's engines without a window.\n\nCommands:\n");
    for (const auto &command : commands) {
        text += QStringLiteral("  %1%2\n").arg(command->name(), -14).arg(command->summary());
    }
    text += CliCommand::tr(
        "\nConnections: serial:/dev/ttyUSB0?baud=115200&data=8&parity=none&stop=1&flow=none,\n"
        "a bare device path, tcp://HOST:PORT, tcp-server://[ADDR]:PORT,\n"
        "udp://HOST:PORT[?local=N], udp-server://[ADDR]:PORT, or --project FILE.vlm --port N.\n"
        "\nExit codes: 0 passed or done, 1 failed or stopped, 2 bad arguments or input,\n"
        "3 the connection could not be opened, 130 interrupted.\n"
        "\"velmora-cli COMMAND --help\" describes a command.\n");
    return text;
}

int CommandRegistry::run(const QStringList &arguments, CliOutput &out)
{
    const QString first = arguments.value(1);
    if (first.isEmpty() || first == QLatin1String("--help") || first == QLatin1String("-h") ||
        first == QLatin1String("help")) {
        out.raw(overview());
        return first.isEmpty() ? CliCommand::ExitUsage : CliCommand::ExitOk;
    }
    if (first == QLatin1String("--version")) {
        out.line(QStringLiteral("velmora-cli %1").arg(QCoreApplication::applicationVersion()));
        return CliCommand::ExitOk;
    }
    CliCommand *command = find(first);
    if (!command) {
        out.error(CliCommand::tr("\"%1\" is no command of velmora-cli; \"velmora-cli --help\" "
                                 "lists them.")
                      .arg(first));
        return CliCommand::ExitUsage;
    }
    QCommandLineParser parser;
    parser.setApplicationDescription(command->summary());
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  CliCommand::tr("Shows this help."));
    parser.addOption(help);
    command->configure(parser);
    QStringList rest = arguments.mid(1);
    rest[0] = QStringLiteral("velmora-cli %1").arg(first);
    if (!parser.parse(rest)) {
        out.error(parser.errorText());
        return CliCommand::ExitUsage;
    }
    if (parser.isSet(help)) {
        // The parser's own help text names the program; ours names the command too.
        QString text = parser.helpText();
        const QString usage = QStringLiteral("Usage: velmora-cli %1 [options]").arg(first);
        const qsizetype end = text.indexOf(QLatin1Char('\n'));
        text.replace(0, end, usage + (command->arguments().isEmpty()
                                          ? QString()
                                          : QLatin1Char(' ') + command->arguments()));
        out.raw(text);
        return CliCommand::ExitOk;
    }
    return command->execute(parser, out);
}
