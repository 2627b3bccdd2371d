#pragma once

// The command library in a QSettings tree: under the project's "CommandLibrary/" group,
// or at the top of a ".vlmcmd" share file, which adds a "VlmCmd" header group. Reading
// never fails on content: counts and numbers are clamped, missing keys take defaults.

#include "automation/commandlibrary.h"

#include <QCoreApplication>
#include <QString>

class QSettings;

class CommandLibraryCodec
{
    Q_DECLARE_TR_FUNCTIONS(CommandLibraryCodec)

public:
    static constexpr int ShareFileFormat = 1;

    // Replaces everything under prefix + "Commands" and prefix + "Sequences", so no key
    // of a longer earlier library remains. `prefix` is empty or ends in "/".
    static void save(QSettings &settings, const QString &prefix, const CommandLibrary &library);
    static CommandLibrary load(QSettings &settings, const QString &prefix);
    // Whether prefix + "Commands/Count" is present.
    static bool contains(QSettings &settings, const QString &prefix);

    // A ".vlmcmd" file: the header group and the library at the top level. On failure
    // false with the reason in `error` (which may be null); `out` stays untouched.
    static bool writeShareFile(const QString &path, const CommandLibrary &library,
                               QString *error);
    static bool readShareFile(const QString &path, CommandLibrary *out, QString *error);

    // "vlmcmd"
    static QString shareFileExtension();
};
