#pragma once

#include "cli/clicommand.h"

// "run-script URL (FILE.lua | --script NAME) [--junit FILE] [--timeout SEC]": runs a Lua
// script on the port as the Scripts window does and prints its output; exit 0 when it
// passes, 1 when it fails or is stopped.
class RunScriptCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("run-script"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL [FILE.lua]"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
