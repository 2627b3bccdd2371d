#pragma once

// What a script sees beside Lua's own libraries: the 34 global functions, the
// read-only `port` object, the guarded setmetatable and xpcall, the guarded string and
// table functions, and the strict globals table that turns a misspelt name into an
// error.

#include <QStringList>

struct lua_State;

class ScriptApi
{
public:
    // The most elements that one call of table.insert, table.remove, table.move,
    // table.concat or table.sort may handle, and the most repetitions of string.rep.
    static constexpr long long MaxElements = 1LL << 24;
    // The most matching steps (items tried and subject bytes scanned) that one call of
    // string.find, string.match, string.gmatch or string.gsub may take.
    static constexpr double MaxPatternSteps = 5e7;

    // Installs everything into the globals of a fresh state, in the order of set-up:
    // the guarded base functions, the script functions, `port`, and last the strict
    // globals table (which declares every global present at that moment). Runs inside
    // a protected call: it raises on a memory error.
    static void install(lua_State *L);
    // Wraps the string and table functions whose work a single call could make
    // unbounded (the instruction hook never sees time spent inside C): element counts
    // above MaxElements are refused, and so are Lua patterns that would backtrack for
    // more than MaxPatternSteps on the subject they are given.
    static void installLibraryGuards(lua_State *L);
    // The function names in the order in which they are registered.
    static QStringList functionNames();
};
