#pragma once

#include "cli/clicommand.h"

// "host URL... --server BASE --login EMAIL --password-file F [--device-name N]
// [--allow-send] [--allow-control] [--allow-relay] [--duration SEC]": signs in, keeps
// the given ports open and offers them to Live Console and Live Relay until
// interrupted, printing each command it carries out.
class HostCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("host"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL..."); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
