#pragma once

// What a script sees beside Lua's own libraries: the 34 global functions, the
// read-only `port` object, the guarded setmetatable and xpcall, and the strict globals
// table that turns a misspelt name into an error.

#include <QStringList>

struct lua_State;

class ScriptApi
{
public:
    // Installs everything into the globals of a fresh state, in the order of set-up:
    // the guarded base functions, the script functions, `port`, and last the strict
    // globals table (which declares every global present at that moment). Runs inside
    // a protected call: it raises on a memory error.
    static void install(lua_State *L);
    // The function names in the order in which they are registered.
    static QStringList functionNames();
};
