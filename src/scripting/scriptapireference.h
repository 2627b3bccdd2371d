#pragma once

// The reference of the functions a script can call: one entry per function with its
// arguments, its results, what it does and a one-line example. Help and the Scripts
// window show it; a test holds its names to the functions the engine registers, so the
// reference cannot drift from the API.

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringList>

class ScriptApiReference
{
    Q_DECLARE_TR_FUNCTIONS(ScriptApiReference)

public:
    struct Entry
    {
        QString name;
        QString arguments;   // Lua notation: optional arguments in brackets
        QString results;     // Lua notation: "—" for none
        QString description; // translated
        QString example;     // one line of Lua
    };

    // The functions in the order in which the engine registers them.
    static QList<Entry> entries();
    static QStringList functionNames();
    // The whole reference as one HTML page: a short introduction and the table.
    static QString toHtml();
    // The release of the embedded Lua, such as "Lua 5.4.4".
    static QString luaRelease();
};
