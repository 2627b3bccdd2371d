#pragma once

// One command of velmora-cli ("monitor", "send", ...). A command declares its options on
// a QCommandLineParser and runs with the parsed result; the dispatcher handles --help,
// unknown options and the exit code of bad arguments for every command alike.

#include <QCoreApplication>
#include <QString>

class CliOutput;
class QCommandLineParser;

class CliCommand
{
    Q_DECLARE_TR_FUNCTIONS(CliCommand)

public:
    // The exit codes every command shares.
    enum ExitCode {
        ExitOk = 0,          // passed or done
        ExitFailed = 1,      // a script or sequence failed or was stopped
        ExitUsage = 2,       // bad arguments or input
        ExitConnection = 3,  // the connection could not be opened
        ExitInterrupted = 130,
    };

    virtual ~CliCommand() = default;

    virtual QString name() const = 0;
    // One line for the command list of "velmora-cli --help".
    virtual QString summary() const = 0;
    // The positional arguments as the usage line shows them, e.g. "URL".
    virtual QString arguments() const { return QString(); }
    virtual void configure(QCommandLineParser &parser) const = 0;
    // Runs with parsed options; returns an ExitCode. Bad values are reported through
    // `out` with ExitUsage.
    virtual int execute(const QCommandLineParser &parser, CliOutput &out) = 0;
};
