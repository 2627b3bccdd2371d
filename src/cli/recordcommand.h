#pragma once

#include "cli/clicommand.h"

// "record URL... --out FILE.vlmlog [--duration SEC]": records what every named connection
// receives and sends into one recording file, until the duration is over or the run is
// interrupted; the file then ends with its end line.
class RecordCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("record"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("URL..."); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
