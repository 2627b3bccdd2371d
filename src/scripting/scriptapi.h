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
    // table.concat or table.unpack may handle. With the costs below, each of these limits
    // keeps a single call within about a body slice of instructions.
    static constexpr long long MaxElements = 1LL << 18;
    // The most elements one table.sort may order (about n log n comparisons).
    static constexpr long long MaxSortElements = 1LL << 16;
    // The most bytes one utf8.len, utf8.offset or tonumber may go over.
    static constexpr long long MaxScanBytes = 1LL << 22;
    // The most matching steps (items tried, subject bytes scanned, replacements built)
    // that one call of string.find, string.match, string.gmatch or string.gsub may take.
    static constexpr double MaxPatternSteps = 3e6;
    // The most texts one expectAny or tryExpectAny may wait for.
    static constexpr int MaxExpectTexts = 256;

    // Installs everything into the globals of a fresh state, in the order of set-up:
    // the guarded base functions, the script functions, `port`, and last the strict
    // globals table (which declares every global present at that moment). Runs inside
    // a protected call: it raises on a memory error.
    static void install(lua_State *L);
    // Wraps the library functions whose work happens inside C, where the instruction
    // hook never sees it: calls above the limits above are refused, and the work of the
    // others is charged to the instruction count.
    static void installLibraryGuards(lua_State *L);
    // The part of installLibraryGuards for string.find, match, gmatch and gsub: a plain
    // find in linear time, and Lua patterns that would take more than MaxPatternSteps on
    // the subject they are given refused.
    static void installPatternGuards(lua_State *L);
    // The function names in the order in which they are registered.
    static QStringList functionNames();
};
