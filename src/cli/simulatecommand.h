#pragma once

#include "cli/clicommand.h"

// "simulate URL (--project P [--port N] | --reply PATTERN=REPLY ...) [--duration SEC]":
// stands in for a device with the port's auto reply rules, or with text rules given
// inline, printing a line per hit until the duration ends or it is interrupted.
class SimulateCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("simulate"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
