#pragma once

#include "cli/clicommand.h"

// "search FILE.vlmlog (--text T | --hex H) [--port ID] [--match-case]": finds bytes or
// text in a recording, also where one stream's bytes were split over several events, and
// prints one line per hit with its time.
class SearchCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("search"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("FILE.vlmlog"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;
};
