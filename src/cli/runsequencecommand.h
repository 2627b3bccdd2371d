#pragma once

#include "cli/clicommand.h"

// "run-sequence URL --project P --sequence NAME [--junit FILE] [--report FILE]": runs a
// sequence of the project's command library; the report is the window's sequence
// report (JSON for ".json", text otherwise).
class RunSequenceCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("run-sequence"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
