#pragma once

#include "cli/clicommand.h"

// "replay FILE.vlmlog --port ID --to URL [--speed X | --fastest] [--answer]": plays what
// one port of a recording received into a connection, with the recorded timing. With
// --answer each response waits until the connection has sent what the recorded port
// sent before it, so a recorded device answers a live host.
class ReplayCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("replay"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("FILE.vlmlog"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
