#pragma once

#include "cli/clicommand.h"

// "xfer send URL FILE... --protocol P" and "xfer receive URL (FOLDER|FILE) --protocol P":
// XMODEM and YMODEM file transfer over the connection, one transfer per file, with a
// progress line on standard error when it is a terminal. Exit 0 only when every file
// arrived whole.
class XferCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("xfer"); }
    QString summary() const override;
    QString arguments() const override;
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
