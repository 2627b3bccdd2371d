#pragma once

// The script library in a QSettings tree (the project's "ScriptLibrary/" group) and
// single scripts as ".lua" files. Reading never fails on content: counts are clamped,
// names and sources cut to their limits, line ends made "\n".

#include "scripting/scriptlibrary.h"

#include <QCoreApplication>
#include <QString>

class QSettings;

class ScriptLibraryCodec
{
    Q_DECLARE_TR_FUNCTIONS(ScriptLibraryCodec)

public:
    static constexpr int MaxSourceBytes = 262144;

    // Replaces everything under prefix + "Scripts", so no key of a longer earlier
    // library remains. `prefix` is empty or ends in "/".
    static void save(QSettings &settings, const QString &prefix, const ScriptLibrary &library);
    static ScriptLibrary load(QSettings &settings, const QString &prefix);
    // Whether prefix + "Scripts/Count" is present.
    static bool contains(QSettings &settings, const QString &prefix);
    // The stored library, or the samples when the settings hold none.
    static ScriptLibrary loadOrSamples(QSettings &settings, const QString &prefix);

    // Trimmed and cut to 80 characters.
    static QString clampName(const QString &name);
    // Cut at the last whole UTF-8 sequence within 262144 bytes.
    static QString clampSource(const QString &source);
    // "\r\n" and a lone "\r" become "\n".
    static QString normalizeLineEnds(const QString &text);

    // A ".lua" file: UTF-8, an optional byte order mark that is dropped and does not
    // count towards the size limit; the name is the file's base name. On failure false
    // with the reason in `error` (which may be null); `out` stays untouched.
    static bool readScriptFile(const QString &path, Script *out, QString *error);
    // UTF-8 without a byte order mark, with "\r\n" line ends.
    static bool writeScriptFile(const QString &path, const Script &script, QString *error);
};
