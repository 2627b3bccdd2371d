#pragma once

#include "cli/clicommand.h"

// "monitor URL [--hex] [--timestamps] [--log FILE] [--duration SEC] [--eol ...]": prints
// what arrives and sends each line of standard input with the chosen ending.
class MonitorCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("monitor"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
