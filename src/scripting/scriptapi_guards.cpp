// Guards around the string and table functions of Lua's own libraries. The instruction
// hook counts Lua instructions only, so a single call that loops inside C (a
// table.insert on a table whose __len claims 2^62 elements, string.rep of an empty
// string, a pattern that backtracks over a long subject) would hold the GUI thread for
// as long as it runs. Each wrapper checks its arguments and then calls the library's
// own function on the same stack, so results and error messages stay Lua's.
//
// These functions keep to the rule of scriptengine_p.h: no C++ object with a
// destructor lives in a frame that calls into Lua.

#include "scripting/scriptapi.h"

#include <lua.hpp>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cmath>
#include <cstring>

namespace {

// --- Element counts ---

// Raises when `count` elements are more than a call may handle.
void checkCount(lua_State *L, const char *function, lua_Integer count)
{
    if (count > ScriptApi::MaxElements) {
        luaL_error(L, "%s would handle %I elements; one call may handle at most %I", function,
                   count, lua_Integer(ScriptApi::MaxElements));
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

int guardedInsert(lua_State *L)
{
    lua_Integer length = 0;
    lua_Integer position = 0;
    // With a position, the elements from there to the end move up by one.
    if (lua_gettop(L) == 3 && integerArg(L, 2, &position) && tableLength(L, &length) &&
        position >= 1 && position <= length) {
        checkCount(L, "table.insert", span(position, length));
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
    }
    return callOriginal(L);
}

int guardedSort(lua_State *L)
{
    lua_Integer length = 0;
    if (tableLength(L, &length)) {
        checkCount(L, "table.sort", length);
    }
    return callOriginal(L);
}

int guardedRep(lua_State *L)
{
    lua_Integer count = 0;
    if (integerArg(L, 2, &count)) {
        checkCount(L, "string.rep", count);
    }
    return callOriginal(L);
}

// --- Patterns ---
//
// A Lua pattern is matched by backtracking: an item with the quantifier '*', '+' or '-'
// tries every length its class allows and, for each, the rest of the pattern again; an
// item with '?' tries two ways; %b and back references scan the subject. A call can
// therefore take a time that grows with a power of the subject's length, all of it
// inside C. Before a call runs, the number of steps is bounded from the pattern alone:
// start positions times (length + 1) for every item that can make the matcher come
// back. Most calls stop there. When the bound is too high, the match is tried once with
// a step counter, in the same order as Lua tries it, and the call is refused when the
// counter passes the limit; otherwise the library runs it for real, so a call that is
// let through costs at most twice its own work.

bool classMatches(int c, int cls)
{
    bool result = false;
    switch (std::tolower(cls)) {
    case 'a':
        result = std::isalpha(c);
        break;
    case 'c':
        result = std::iscntrl(c);
        break;
    case 'd':
        result = std::isdigit(c);
        break;
    case 'g':
        result = std::isgraph(c);
        break;
    case 'l':
        result = std::islower(c);
        break;
    case 'p':
        result = std::ispunct(c);
        break;
    case 's':
        result = std::isspace(c);
        break;
    case 'u':
        result = std::isupper(c);
        break;
    case 'w':
        result = std::isalnum(c);
        break;
    case 'x':
        result = std::isxdigit(c);
        break;
    default:
        return cls == c;
    }
    return std::isupper(cls) ? !result : result;
}

// Whether byte `c` belongs to the set from '[' to its closing ']' (`end` points at it).
bool setMatches(int c, const char *p, const char *end)
{
    bool match = true;
    ++p;
    if (*p == '^') {
        match = false;
        ++p;
    }
    for (; p < end; ++p) {
        if (*p == '%' && p + 1 < end) {
            ++p;
            if (classMatches(c, static_cast<unsigned char>(*p))) {
                return match;
            }
        } else if (p + 2 < end && p[1] == '-') {
            if (static_cast<unsigned char>(p[0]) <= c && c <= static_cast<unsigned char>(p[2])) {
                return match;
            }
            p += 2;
        } else if (static_cast<unsigned char>(*p) == c) {
            return match;
        }
    }
    return !match;
}

// Whether byte `c` matches the single-character class from `p` to `classEnd`.
bool singleMatch(int c, const char *p, const char *classEnd)
{
    switch (*p) {
    case '.':
        return true;
    case '%':
        return classMatches(c, static_cast<unsigned char>(p[1]));
    case '[':
        return setMatches(c, p, classEnd - 1);
    default:
        return static_cast<unsigned char>(*p) == c;
    }
}

// The end of the single-character class at `p`, or null for a malformed one (which
// the library reports itself).
const char *classEnd(const char *p, const char *end)
{
    if (*p == '%') {
        return p + 1 < end ? p + 2 : nullptr;
    }
    if (*p != '[') {
        return p + 1;
    }
    ++p;
    if (p < end && *p == '^') {
        ++p;
    }
    // The first character of a set may be ']' itself.
    do {
        if (p >= end) {
            return nullptr;
        }
        if (*p == '%') {
            ++p;
            if (p >= end) {
                return nullptr;
            }
        }
        ++p;
    } while (p < end && *p != ']');
    return p < end ? p + 1 : nullptr;
}

// The number of items that can make the matcher come back, or -1 for a malformed
// pattern. A quantified item in the last place (followed only by capture brackets) is
// tried once per attempt and then either fails at its first byte or ends the match.
int retryingItems(const char *p, const char *end)
{
    int count = 0;
    bool pendingQuantifier = false; // the last item that can fail is quantified
    while (p < end) {
        if (*p == '(' || *p == ')') {
            p += (*p == '(' && p + 1 < end && p[1] == ')') ? 2 : 1;
            continue; // capture brackets always succeed
        }
        count += pendingQuantifier ? 1 : 0;
        pendingQuantifier = false;
        if (*p == '$' && p + 1 == end) {
            ++p;
        } else if (*p == '%' && p + 1 < end && p[1] == 'b') {
            if (end - p < 4) {
                return -1;
            }
            ++count;
            p += 4;
        } else if (*p == '%' && p + 1 < end && p[1] == 'f') {
            const char *setEnd = p + 2 < end && p[2] == '[' ? classEnd(p + 2, end) : nullptr;
            if (!setEnd) {
                return -1;
            }
            p = setEnd;
        } else if (*p == '%' && p + 1 < end && std::isdigit(static_cast<unsigned char>(p[1]))) {
            ++count;
            p += 2;
        } else {
            p = classEnd(p, end);
            if (!p) {
                return -1;
            }
            if (p < end && (*p == '*' || *p == '+' || *p == '-' || *p == '?')) {
                pendingQuantifier = true;
                ++p;
            }
        }
    }
    return count;
}

// Matches a pattern the way the string library does, counting its steps: one for each
// item tried and one for each subject byte scanned. It stops, without an answer, when
// the count passes the budget or the pattern is one the library refuses itself
// (malformed, too many captures, nested too deeply).
struct PatternProbe
{
    static constexpr int MaxDepth = 200;   // the string library's own limits
    static constexpr int MaxCaptures = 32;
    static constexpr std::ptrdiff_t Unfinished = -1;
    static constexpr std::ptrdiff_t Position = -2;

    const char *subject = nullptr;
    const char *subjectEnd = nullptr;
    const char *patternEnd = nullptr;
    long long budget = 0;
    long long steps = 0;
    bool tooLong = false;
    bool undecided = false;
    int depth = 0;
    int level = 0;
    const char *captureStart[MaxCaptures] = {};
    std::ptrdiff_t captureLength[MaxCaptures] = {};

    bool stopped() const { return tooLong || undecided; }

    bool spend(long long count)
    {
        steps += count;
        tooLong = tooLong || steps > budget;
        return !tooLong;
    }

    const char *match(const char *s, const char *p)
    {
        if (stopped() || !spend(1)) {
            return nullptr;
        }
        if (++depth > MaxDepth) {
            undecided = true;
            return nullptr;
        }
        const char *result = matchHere(s, p);
        --depth;
        return result;
    }

    const char *matchHere(const char *s, const char *p)
    {
        while (p != patternEnd) {
            if (stopped() || !spend(1)) {
                return nullptr;
            }
            switch (*p) {
            case '(':
                return p + 1 < patternEnd && p[1] == ')' ? startCapture(s, p + 2, Position)
                                                         : startCapture(s, p + 1, Unfinished);
            case ')':
                return endCapture(s, p + 1);
            case '$':
                if (p + 1 == patternEnd) {
                    return s == subjectEnd ? s : nullptr;
                }
                break;
            case '%':
                if (p + 1 >= patternEnd) {
                    undecided = true;
                    return nullptr;
                }
                if (p[1] == 'b') {
                    s = matchBalance(s, p + 2);
                    if (!s) {
                        return nullptr;
                    }
                    p += 4;
                    continue;
                }
                if (p[1] == 'f') {
                    p += 2;
                    const char *setEnd = p < patternEnd && *p == '[' ? classEnd(p, patternEnd)
                                                                     : nullptr;
                    if (!setEnd) {
                        undecided = true;
                        return nullptr;
                    }
                    const int previous = s == subject ? 0 : static_cast<unsigned char>(s[-1]);
                    const int current = s < subjectEnd ? static_cast<unsigned char>(*s) : 0;
                    if (setMatches(previous, p, setEnd - 1) || !setMatches(current, p, setEnd - 1)) {
                        return nullptr;
                    }
                    p = setEnd;
                    continue;
                }
                if (std::isdigit(static_cast<unsigned char>(p[1]))) {
                    s = matchCapture(s, p[1] - '1');
                    if (!s) {
                        return nullptr;
                    }
                    p += 2;
                    continue;
                }
                break;
            default:
                break;
            }
            const char *end = classEnd(p, patternEnd);
            if (!end) {
                undecided = true;
                return nullptr;
            }
            const bool matches = s < subjectEnd && singleMatch(static_cast<unsigned char>(*s), p, end);
            const char quantifier = end < patternEnd ? *end : 0;
            switch (quantifier) {
            case '?': {
                if (matches) {
                    if (const char *result = match(s + 1, end + 1)) {
                        return result;
                    }
                }
                p = end + 1;
                continue;
            }
            case '+':
                return matches ? maxExpand(s + 1, p, end) : nullptr;
            case '*':
                return maxExpand(s, p, end);
            case '-':
                return minExpand(s, p, end);
            default:
                if (!matches) {
                    return nullptr;
                }
                ++s;
                p = end;
                continue;
            }
        }
        return s;
    }

    const char *maxExpand(const char *s, const char *p, const char *end)
    {
        std::ptrdiff_t count = 0;
        while (s + count < subjectEnd &&
               singleMatch(static_cast<unsigned char>(s[count]), p, end)) {
            ++count;
        }
        if (!spend(count)) {
            return nullptr;
        }
        for (; count >= 0; --count) {
            if (const char *result = match(s + count, end + 1)) {
                return result;
            }
            if (stopped()) {
                return nullptr;
            }
        }
        return nullptr;
    }

    const char *minExpand(const char *s, const char *p, const char *end)
    {
        for (;;) {
            if (const char *result = match(s, end + 1)) {
                return result;
            }
            if (stopped() || !spend(1)) {
                return nullptr;
            }
            if (s < subjectEnd && singleMatch(static_cast<unsigned char>(*s), p, end)) {
                ++s;
            } else {
                return nullptr;
            }
        }
    }

    const char *startCapture(const char *s, const char *p, std::ptrdiff_t what)
    {
        if (level >= MaxCaptures) {
            undecided = true;
            return nullptr;
        }
        captureStart[level] = s;
        captureLength[level] = what;
        ++level;
        const char *result = match(s, p);
        if (!result) {
            --level;
        }
        return result;
    }

    const char *endCapture(const char *s, const char *p)
    {
        int open = level - 1;
        while (open >= 0 && captureLength[open] != Unfinished) {
            --open;
        }
        if (open < 0) {
            undecided = true;
            return nullptr;
        }
        captureLength[open] = s - captureStart[open];
        const char *result = match(s, p);
        if (!result) {
            captureLength[open] = Unfinished;
        }
        return result;
    }

    const char *matchBalance(const char *s, const char *p)
    {
        if (p + 1 >= patternEnd) {
            undecided = true;
            return nullptr;
        }
        if (s >= subjectEnd || *s != *p) {
            return nullptr;
        }
        const char open = p[0];
        const char close = p[1];
        int nesting = 1;
        for (const char *at = s + 1; at < subjectEnd; ++at) {
            if (*at == close) {
                if (--nesting == 0) {
                    return spend(at - s) ? at + 1 : nullptr;
                }
            } else if (*at == open) {
                ++nesting;
            }
        }
        spend(subjectEnd - s);
        return nullptr;
    }

    const char *matchCapture(const char *s, int index)
    {
        if (index < 0 || index >= level || captureLength[index] == Unfinished) {
            undecided = true;
            return nullptr;
        }
        // A position capture has no text and never matches again.
        const std::ptrdiff_t length = captureLength[index];
        if (length == Position || !spend(length)) {
            return nullptr;
        }
        if (subjectEnd - s >= length && std::memcmp(captureStart[index], s, size_t(length)) == 0) {
            return s + length;
        }
        return nullptr;
    }
};

// How the library drives the matcher for a call.
enum class PatternCall {
    Search,  // string.find, string.match: from `init` until the first match
    Iterate, // string.gmatch: every match from `init`, '^' is an ordinary character
    Replace, // string.gsub: every match up to `limit` replacements
};

// Whether the call could take more than the step limit. `offset` is where the search
// starts in the subject (0-based, at most its length); `limit` the most replacements.
bool patternTooCostly(const char *subject, size_t subjectLength, const char *pattern,
                      size_t patternLength, PatternCall call, size_t offset, lua_Integer limit)
{
    const char *p = pattern;
    const char *patternEnd = pattern + patternLength;
    const bool anchored = call != PatternCall::Iterate && p < patternEnd && *p == '^';
    if (anchored) {
        ++p;
    }
    const int retrying = retryingItems(p, patternEnd);
    if (retrying < 0) {
        return false; // malformed: the library says so
    }
    const double whole = double(subjectLength - offset) + 1.0;
    const double starts = anchored ? 1.0 : whole;
    if (starts * std::pow(whole, retrying) <= ScriptApi::MaxPatternSteps) {
        return false;
    }

    PatternProbe probe;
    probe.subject = subject;
    probe.subjectEnd = subject + subjectLength;
    probe.patternEnd = patternEnd;
    probe.budget = static_cast<long long>(ScriptApi::MaxPatternSteps);
    const char *at = subject + offset;
    const char *lastMatch = nullptr;
    lua_Integer replaced = 0;
    while (!probe.stopped()) {
        probe.level = 0;
        probe.depth = 0;
        const char *end = probe.match(at, p);
        switch (call) {
        case PatternCall::Search:
            if (end || at >= probe.subjectEnd || anchored) {
                return probe.tooLong;
            }
            ++at;
            break;
        case PatternCall::Iterate:
            if (end && end != lastMatch) {
                at = lastMatch = end;
            } else if (at < probe.subjectEnd) {
                ++at;
            } else {
                return probe.tooLong;
            }
            break;
        case PatternCall::Replace:
            if (end && end != lastMatch) {
                at = lastMatch = end;
                ++replaced;
            } else if (at < probe.subjectEnd) {
                ++at;
            } else {
                return probe.tooLong;
            }
            if (anchored || replaced >= limit) {
                return probe.tooLong;
            }
            break;
        }
    }
    return probe.tooLong;
}

// The start of a search as the library computes it from a 1-based, possibly negative
// position; false when the search starts beyond the end and finds nothing.
bool searchOffset(lua_State *L, int index, size_t length, size_t *offset)
{
    lua_Integer init = 1;
    if (!lua_isnoneornil(L, index)) {
        int isInteger = 0;
        init = lua_tointegerx(L, index, &isInteger);
        if (!isInteger) {
            return false; // the library raises its own argument error
        }
    }
    const auto size = lua_Integer(length);
    if (init == 0 || init < -size) {
        init = 1;
    } else if (init < 0) {
        init = size + init + 1;
    }
    if (init > size + 1) {
        return false;
    }
    *offset = size_t(init - 1);
    return true;
}

// Raises when the call's pattern could take too long on its subject (argument 1).
void checkPattern(lua_State *L, const char *function, PatternCall call)
{
    const int subjectType = lua_type(L, 1);
    const int patternType = lua_type(L, 2);
    if ((subjectType != LUA_TSTRING && subjectType != LUA_TNUMBER) ||
        (patternType != LUA_TSTRING && patternType != LUA_TNUMBER)) {
        return; // the library raises its own argument error
    }
    size_t subjectLength = 0;
    size_t patternLength = 0;
    const char *subject = lua_tolstring(L, 1, &subjectLength);
    const char *pattern = lua_tolstring(L, 2, &patternLength);
    size_t offset = 0;
    lua_Integer limit = lua_Integer(subjectLength) + 1;
    if (call == PatternCall::Replace) {
        int isInteger = 0;
        const lua_Integer given = lua_tointegerx(L, 4, &isInteger);
        limit = isInteger ? given : limit;
    } else if (!searchOffset(L, 3, subjectLength, &offset)) {
        return;
    }
    if (patternTooCostly(subject, subjectLength, pattern, patternLength, call, offset, limit)) {
        luaL_error(L,
                   "%s: the pattern could backtrack for a very long time on a subject of %I "
                   "bytes; anchor it with '^', use fewer '-', '*' and '+' items, or search "
                   "a shorter string",
                   function, lua_Integer(subjectLength));
    }
}

int guardedFind(lua_State *L)
{
    // A plain search (fourth argument true) takes no pattern.
    if (!lua_toboolean(L, 4)) {
        checkPattern(L, "string.find", PatternCall::Search);
    }
    return callOriginal(L);
}

int guardedMatch(lua_State *L)
{
    checkPattern(L, "string.match", PatternCall::Search);
    return callOriginal(L);
}

int guardedGmatch(lua_State *L)
{
    // gmatch treats '^' as an ordinary character. One check covers the whole iteration:
    // its start positions together are those of one unanchored search.
    checkPattern(L, "string.gmatch", PatternCall::Iterate);
    return callOriginal(L);
}

int guardedGsub(lua_State *L)
{
    checkPattern(L, "string.gsub", PatternCall::Replace);
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
    lua_getglobal(L, LUA_TABLIBNAME);
    wrapField(L, "insert", guardedInsert);
    wrapField(L, "remove", guardedRemove);
    wrapField(L, "move", guardedMove);
    wrapField(L, "concat", guardedConcat);
    wrapField(L, "sort", guardedSort);
    lua_pop(L, 1);
    // The string table is also the __index of strings, so s:find() is guarded too.
    lua_getglobal(L, LUA_STRLIBNAME);
    wrapField(L, "rep", guardedRep);
    wrapField(L, "find", guardedFind);
    wrapField(L, "match", guardedMatch);
    wrapField(L, "gmatch", guardedGmatch);
    wrapField(L, "gsub", guardedGsub);
    lua_pop(L, 1);
}
