#pragma once

// The user's scripts of a project, in the order the script window lists them, and the
// three sample scripts that ship with the program.

#include "scripting/script.h"

#include <QCoreApplication>
#include <QList>
#include <QString>

struct ScriptLibrary
{
    Q_DECLARE_TR_FUNCTIONS(ScriptLibrary)

public:
    static constexpr int MaxScripts = 64;
    static constexpr int MaxNameLength = 80;
    static constexpr int SampleCount = 3;

    QList<Script> scripts; // at most MaxScripts

    bool operator==(const ScriptLibrary &) const = default;

    bool isFull() const { return scripts.size() >= MaxScripts; }
    // The index of the first script called `name`, or -1.
    int indexOf(const QString &name) const;
    // `base` when no script has that name, else `base` with the first free " (n)" from 2,
    // cut so that the result keeps within the name limit. The script at `ignore` (the
    // one being renamed) does not count.
    QString uniqueName(const QString &base, int ignore = -1) const;

    // The samples in the order the script window offers them: the resource file under
    // ":/scripts/", the title a new script takes, and a one-line description.
    static QString sampleResource(int index);
    static QString sampleTitle(int index);
    static QString sampleToolTip(int index);
    // A sample as a script: its title and the resource text with "\n" line ends. An
    // empty source when the resource is missing.
    static Script sample(int index);
    // A library of the three samples: what a project without scripts starts with.
    static ScriptLibrary samples();
};
