#pragma once

#include "cli/clicommand.h"

// "decode (--modbus rtu|ascii|tcp | --template NAME --project P) (--events FILE | URL
// [--duration SEC]) [--csv FILE] [--fields-csv FILE]": turns a capture or a live port
// into frames, one line per frame, or into the frames and fields CSV forms.
class DecodeCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("decode"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("[URL]"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
