#pragma once

#include "cli/clicommand.h"

// "ports": the serial ports, with description and USB VID:PID where known.
class PortsCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("ports"); }
    QString summary() const override;
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
