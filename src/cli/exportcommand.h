#pragma once

#include "cli/clicommand.h"

// "export FILE.vlmlog --format text|csv|jsonl [--port ID] [--out FILE]": writes a
// recording, or one port of it, as a session export. It streams: the recording is read a
// slice at a time, so a file of any size is exported in bounded memory.
class ExportCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("export"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("FILE.vlmlog"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
