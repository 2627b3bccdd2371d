#pragma once

#include "cli/clicommand.h"

// "bridge URL_A URL_B [--capture FILE]": forwards what each connection receives to the
// other, both ways, until interrupted.
class BridgeCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("bridge"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL_A URL_B"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
