#pragma once

// The commands of velmora-cli by name. main() adds each command once; run() picks the
// command named by the first argument, parses its options and runs it. A new command is
// one CliCommand subclass and one add() call.

#include <QStringList>

#include <memory>
#include <vector>

class CliCommand;
class CliOutput;

class CommandRegistry
{
public:
    CommandRegistry();
    ~CommandRegistry();

    void add(std::unique_ptr<CliCommand> command);
    // `arguments` as QCoreApplication::arguments() gives them (program name first).
    int run(const QStringList &arguments, CliOutput &out);
    // "velmora-cli --help": the commands with their summaries.
    QString overview() const;

private:
    CliCommand *find(const QString &name) const;

    std::vector<std::unique_ptr<CliCommand>> commands;
};
