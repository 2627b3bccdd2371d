// Guards around the functions of Lua's own libraries that do their work inside C, where
// the instruction hook cannot see it: a table.insert on a table whose __len claims 2^62
// elements, a table.move over millions of slots, string.byte of a megabyte, utf8.len of
// a long string. Each wrapper refuses a call that would do more than one call may, so
// that a single call stays within about a body slice; charges what it lets through to
// the script's instruction count, so that a loop of such calls pauses as often as a loop
// of instructions; and then calls the library's own function on the same stack, so
// results and error messages stay Lua's. string.rep is done here: the library's loop
// takes time for every repetition, even of an empty string. The functions that take a
// pattern are guarded in scriptapi_patterns.cpp; bytes that a function builds are
// charged by the allocator.
//
// These functions keep to the rule of scriptengine_p.h: no C++ object with a
// destructor lives in a frame that calls into Lua.

#include "scripting/scriptapi.h"
#include "scripting/scriptengine_p.h"

#include <lua.hpp>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>

namespace {

// What one element costs, in units of about one instruction's time.
constexpr long long ShiftCost = 2;   // table.insert and table.remove move the rest
constexpr long long MoveCost = 4;    // table.move reads and writes through the API
constexpr long long ConcatCost = 6;  // table.concat reads and appends one value
constexpr long long CompareCost = 6; // table.sort, per comparison
constexpr long long PushCost = 3;    // a value pushed as a result

// Raises when `count` elements (or bytes) are more than a call may handle.
void checkCount(lua_State *L, const char *function, lua_Integer count,
                long long limit = ScriptApi::MaxElements, const char *what = "elements")
{
    if (count > limit) {
        luaL_error(L, "%s would handle %I %s; one call may handle at most %I", function, count,
                   what, lua_Integer(limit));
    }
}

// Calls the library's function that this closure wraps, with the arguments as given.
int callOriginal(lua_State *L)
{
    return lua_tocfunction(L, lua_upvalueindex(1))(L);
}

// The length of argument 1 as the table library reads it (honouring __len), when it is
// a table or has a __len metamethod; false otherwise, and the library's own check then
// gives its usual error.
bool tableLength(lua_State *L, lua_Integer *length)
{
    if (lua_type(L, 1) != LUA_TTABLE) {
        if (luaL_getmetafield(L, 1, "__len") == LUA_TNIL) {
            return false;
        }
        lua_pop(L, 1);
    }
    *length = luaL_len(L, 1);
    return true;
}

bool integerArg(lua_State *L, int index, lua_Integer *value)
{
    int isInteger = 0;
    *value = lua_tointegerx(L, index, &isInteger);
    return isInteger != 0;
}

// Differences of two integers without overflow; saturates at the maximum.
lua_Integer span(lua_Integer from, lua_Integer to)
{
    if (to < from) {
        return 0;
    }
    const lua_Unsigned difference = lua_Unsigned(to) - lua_Unsigned(from);
    return difference >= lua_Unsigned(LUA_MAXINTEGER) ? LUA_MAXINTEGER
                                                       : lua_Integer(difference) + 1;
}

// A 1-based, possibly negative string position as the string library reads it, from 0
// to `length` + 1.
lua_Integer stringPosition(lua_Integer position, size_t length)
{
    const auto size = lua_Integer(length);
    if (position > 0) {
        return std::min(position, size + 1);
    }
    if (position == 0) {
        return 1;
    }
    return position < -size ? 0 : size + position + 1;
}

// --- Tables ---

int guardedInsert(lua_State *L)
{
    lua_Integer length = 0;
    lua_Integer position = 0;
    // With a position, the elements from there to the end move up by one.
    if (lua_gettop(L) == 3 && integerArg(L, 2, &position) && tableLength(L, &length) &&
        position >= 1 && position <= length) {
        checkCount(L, "table.insert", span(position, length));
        scriptCharge(L, span(position, length) * ShiftCost);
    }
    return callOriginal(L);
}

int guardedRemove(lua_State *L)
{
    lua_Integer length = 0;
    if (tableLength(L, &length)) {
        lua_Integer position = length;
        if (lua_isnoneornil(L, 2) || integerArg(L, 2, &position)) {
            if (position >= 1 && position <= length) {
                checkCount(L, "table.remove", span(position, length));
                scriptCharge(L, span(position, length) * ShiftCost);
            }
        }
    }
    return callOriginal(L);
}

int guardedMove(lua_State *L)
{
    lua_Integer first = 0;
    lua_Integer last = 0;
    if (integerArg(L, 2, &first) && integerArg(L, 3, &last)) {
        checkCount(L, "table.move", span(first, last));
        scriptCharge(L, span(first, last) * MoveCost);
    }
    return callOriginal(L);
}

int guardedConcat(lua_State *L)
{
    lua_Integer first = 1;
    lua_Integer last = 0;
    const bool firstOk = lua_isnoneornil(L, 3) || integerArg(L, 3, &first);
    const bool lastOk =
        lua_isnoneornil(L, 4) ? tableLength(L, &last) : integerArg(L, 4, &last);
    if (firstOk && lastOk) {
        checkCount(L, "table.concat", span(first, last));
        scriptCharge(L, span(first, last) * ConcatCost);
    }
    return callOriginal(L);
}

int guardedSort(lua_State *L)
{
    lua_Integer length = 0;
    if (tableLength(L, &length)) {
        checkCount(L, "table.sort", length, ScriptApi::MaxSortElements);
        // About n log n comparisons; those of a comparator function also run its code.
        const lua_Integer n = std::max<lua_Integer>(length, 1);
        scriptCharge(L, n * std::bit_width(lua_Unsigned(n)) * CompareCost);
    }
    return callOriginal(L);
}

int guardedUnpack(lua_State *L)
{
    lua_Integer first = 1;
    lua_Integer last = 0;
    const bool firstOk = lua_isnoneornil(L, 2) || integerArg(L, 2, &first);
    const bool lastOk =
        lua_isnoneornil(L, 3) ? tableLength(L, &last) : integerArg(L, 3, &last);
    if (firstOk && lastOk) {
        checkCount(L, "table.unpack", span(first, last));
        scriptCharge(L, span(first, last) * PushCost);
    }
    return callOriginal(L);
}

// --- Strings ---

// string.rep(s, n [, sep]), built in one buffer by copying what is made so far again
// and again: its time goes with the bytes it makes (charged as they are allocated), not
// with the count. The checks and messages are the library's.
int guardedRep(lua_State *L)
{
    size_t length = 0;
    size_t sepLength = 0;
    const char *s = luaL_checklstring(L, 1, &length);
    const lua_Integer n = luaL_checkinteger(L, 2);
    const char *sep = luaL_optlstring(L, 3, "", &sepLength);
    if (n <= 0 || length + sepLength == 0) {
        lua_pushliteral(L, "");
        return 1;
    }
    const size_t unit = length + sepLength;
    if (unit < length || unit > size_t(INT_MAX) / size_t(n)) {
        return luaL_error(L, "resulting string too large");
    }
    const size_t total = size_t(n) * length + size_t(n - 1) * sepLength;
    luaL_Buffer buffer;
    char *out = luaL_buffinitsize(L, &buffer, total);
    std::memcpy(out, s, length);
    if (n > 1) {
        // From `length` on the result repeats sep .. s; each copy doubles that run.
        std::memcpy(out + length, sep, sepLength);
        std::memcpy(out + length + sepLength, s, length);
        for (size_t filled = length + unit; filled < total;) {
            const size_t chunk = std::min(filled - length, total - filled);
            std::memcpy(out + filled, out + length, chunk);
            filled += chunk;
        }
    }
    luaL_pushresultsize(&buffer, total);
    return 1;
}

int guardedByte(lua_State *L)
{
    size_t length = 0;
    lua_Integer first = 1;
    if (lua_type(L, 1) == LUA_TSTRING && (lua_isnoneornil(L, 2) || integerArg(L, 2, &first))) {
        lua_tolstring(L, 1, &length);
        lua_Integer last = first;
        if (lua_isnoneornil(L, 3) || integerArg(L, 3, &last)) {
            const lua_Integer from = std::max<lua_Integer>(stringPosition(first, length), 1);
            const lua_Integer to = std::min<lua_Integer>(stringPosition(last, length),
                                                         lua_Integer(length));
            scriptCharge(L, span(from, to) * PushCost);
        }
    }
    return callOriginal(L);
}

// string.unpack reads its format item by item, and an item "z" looks for the end of a
// zero-terminated string, up to the end of the data.
int guardedStringUnpack(lua_State *L)
{
    size_t formatLength = 0;
    size_t dataLength = 0;
    const char *format = lua_type(L, 1) == LUA_TSTRING ? lua_tolstring(L, 1, &formatLength)
                                                       : nullptr;
    if (format && lua_type(L, 2) == LUA_TSTRING) {
        lua_tolstring(L, 2, &dataLength);
        long long units = static_cast<long long>(formatLength) * PushCost;
        if (std::memchr(format, 'z', formatLength)) {
            units += static_cast<long long>(dataLength) / 16;
        }
        scriptCharge(L, units);
    }
    return callOriginal(L);
}

// tonumber of a string goes over it a few times: its blanks, its digits.
int guardedTonumber(lua_State *L)
{
    if (lua_type(L, 1) == LUA_TSTRING) {
        const auto length = lua_Integer(lua_rawlen(L, 1));
        checkCount(L, "tonumber", length, ScriptApi::MaxScanBytes, "bytes");
        scriptCharge(L, length);
    }
    return callOriginal(L);
}

// rawequal compares two strings of the same length byte by byte.
int guardedRawequal(lua_State *L)
{
    if (lua_type(L, 1) == LUA_TSTRING && lua_type(L, 2) == LUA_TSTRING &&
        lua_rawlen(L, 1) == lua_rawlen(L, 2)) {
        scriptCharge(L, static_cast<long long>(lua_rawlen(L, 1)) / 16);
    }
    return callOriginal(L);
}

// --- UTF-8 ---

// The bytes from position `first` to `last` (1-based, possibly negative) of argument 1,
// when it is a string; 0 otherwise.
lua_Integer scannedBytes(lua_State *L, lua_Integer first, lua_Integer last)
{
    if (lua_type(L, 1) != LUA_TSTRING) {
        return 0;
    }
    const size_t length = lua_rawlen(L, 1);
    return span(std::max<lua_Integer>(stringPosition(first, length), 1),
                std::min<lua_Integer>(stringPosition(last, length), lua_Integer(length)));
}

// utf8.len(s [, i [, j]]) decodes every character from i to j.
int guardedUtf8Len(lua_State *L)
{
    lua_Integer first = 1;
    lua_Integer last = -1;
    if ((lua_isnoneornil(L, 2) || integerArg(L, 2, &first)) &&
        (lua_isnoneornil(L, 3) || integerArg(L, 3, &last))) {
        const lua_Integer bytes = scannedBytes(L, first, last);
        checkCount(L, "utf8.len", bytes, ScriptApi::MaxScanBytes, "bytes");
        scriptCharge(L, bytes);
    }
    return callOriginal(L);
}

// utf8.codepoint(s [, i [, j]]) pushes every character from i to j.
int guardedUtf8Codepoint(lua_State *L)
{
    lua_Integer first = 1;
    if (lua_isnoneornil(L, 2) || integerArg(L, 2, &first)) {
        lua_Integer last = first;
        if (lua_isnoneornil(L, 3) || integerArg(L, 3, &last)) {
            scriptCharge(L, scannedBytes(L, first, last) * PushCost);
        }
    }
    return callOriginal(L);
}

// utf8.offset(s, n [, i]) walks n characters, up to the whole string.
int guardedUtf8Offset(lua_State *L)
{
    lua_Integer count = 0;
    if (lua_type(L, 1) == LUA_TSTRING && integerArg(L, 2, &count)) {
        // A character takes at most four bytes.
        const lua_Unsigned steps = count < 0 ? lua_Unsigned(0) - lua_Unsigned(count)
                                             : lua_Unsigned(count);
        const lua_Unsigned reach = steps > (lua_Unsigned(1) << 40) ? lua_Unsigned(1) << 42
                                                                     : 4 * steps + 4;
        const auto bytes = lua_Integer(std::min<lua_Unsigned>(lua_rawlen(L, 1), reach));
        checkCount(L, "utf8.offset", bytes, ScriptApi::MaxScanBytes, "bytes");
        scriptCharge(L, bytes);
    }
    return callOriginal(L);
}

void wrapField(lua_State *L, const char *name, lua_CFunction wrapper)
{
    lua_getfield(L, -1, name);
    lua_pushcclosure(L, wrapper, 1);
    lua_setfield(L, -2, name);
}

} // namespace

void ScriptApi::installLibraryGuards(lua_State *L)
{
    lua_pushglobaltable(L);
    wrapField(L, "tonumber", guardedTonumber);
    wrapField(L, "rawequal", guardedRawequal);
    lua_pop(L, 1);
    lua_getglobal(L, LUA_TABLIBNAME);
    wrapField(L, "insert", guardedInsert);
    wrapField(L, "remove", guardedRemove);
    wrapField(L, "move", guardedMove);
    wrapField(L, "concat", guardedConcat);
    wrapField(L, "sort", guardedSort);
    wrapField(L, "unpack", guardedUnpack);
    lua_pop(L, 1);
    // The string table is also the __index of strings, so s:rep() is guarded too.
    lua_getglobal(L, LUA_STRLIBNAME);
    lua_pushcfunction(L, guardedRep);
    lua_setfield(L, -2, "rep");
    wrapField(L, "byte", guardedByte);
    wrapField(L, "unpack", guardedStringUnpack);
    lua_pop(L, 1);
    lua_getglobal(L, LUA_UTF8LIBNAME);
    wrapField(L, "len", guardedUtf8Len);
    wrapField(L, "codepoint", guardedUtf8Codepoint);
    wrapField(L, "offset", guardedUtf8Offset);
    lua_pop(L, 1);
    installPatternGuards(L);
}
