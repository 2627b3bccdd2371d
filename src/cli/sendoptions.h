#pragma once

// The send-path options that send and monitor share: --eol, --escapes, --checksum.
// They set the port's format, so bytes leave exactly as the window's send box makes
// them.

#include <QCoreApplication>

class QCommandLineParser;
struct FormatSetting;

class SendOptions
{
    Q_DECLARE_TR_FUNCTIONS(SendOptions)

public:
    static void add(QCommandLineParser &parser);
    // False with a sentence in `error` for a value it does not know.
    static bool apply(const QCommandLineParser &parser, FormatSetting *format, QString *error);
};
