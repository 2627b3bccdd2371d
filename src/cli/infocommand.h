#pragma once

#include "cli/clicommand.h"

// "info FILE.vlmlog": what a recording holds (ports, events, bytes, first and last time,
// its part and links, a torn tail, unreadable lines) and how long indexing it took.
class InfoCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("info"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("FILE.vlmlog"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
