#pragma once

#include "cli/clicommand.h"

// "send URL (--text T | --hex H | --file F) [--escapes] [--eol ...] [--checksum NAME]
// [--wait-ms N]": sends through the send path and prints what comes back within N ms,
// as hex pairs when the input was hex, as text otherwise.
class SendCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("send"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
