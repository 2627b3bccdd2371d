#pragma once

#include "cli/clicommand.h"

class QByteArray;

// "crc NAME (--hex H | --text T | --file F)": the checksum of the bytes under any of the
// script API's names, as upper-case hex with 0x and as a decimal value.
class CrcCommand : public CliCommand
{
public:
    QString name() const override { return QStringLiteral("crc"); }
    QString summary() const override;
    QString arguments() const override { return QStringLiteral("NAME"); }
    void configure(QCommandLineParser &parser) const override;
    int execute(const QCommandLineParser &parser, CliOutput &out) override;

    // The input bytes of --hex, --text or --file (exactly one); false with a sentence.
    static bool readInput(const QCommandLineParser &parser, QByteArray *bytes, QString *error);
};
