#pragma once

#include "cli/clicommand.h"

// "serve URL --listen [ADDR:]PORT [--protocol raw|rfc2217|modbus-gateway] [--capture FILE]":
// serves one port on a TCP listener of its own, as raw bytes, RFC 2217 or Modbus TCP.
class ServeCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("serve"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
