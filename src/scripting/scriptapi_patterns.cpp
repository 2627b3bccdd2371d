// The string functions that take a Lua pattern (find, match, gmatch, gsub), guarded so
// that one call cannot hold the GUI thread: the instruction hook counts Lua
// instructions only, and a pattern can make the matcher run for hours inside C. A plain
// find (no pattern, or a fourth argument true) is done here with a linear search, where
// the library's own search compares the whole needle at each position. Each wrapper
// checks its arguments, charges the work, and then calls the library's function on the
// same stack, so results and error messages stay Lua's.
//
// These functions keep to the rule of scriptengine_p.h: no C++ object with a
// destructor lives in a frame that calls into Lua.

#include "scripting/scriptapi.h"
#include "scripting/scriptengine_p.h"

#include <lua.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstring>
#if !defined(__GLIBC__) && !defined(__APPLE__) && !defined(__FreeBSD__)
#include <functional>
#endif

namespace {

// --- The matcher's cost ---
//
// A Lua pattern is matched by backtracking: an item with the quantifier '*', '+' or '-'
// tries every length its class allows and, for each, the rest of the pattern again; an
// item with '?' tries two ways; %b and back references scan the subject; and every
// start position may compare the whole pattern. A call can therefore take a time that
// grows with the pattern's length times a power of the subject's length, all of it
// inside C. Before a call runs, the number of steps is bounded from the pattern alone:
// start positions times the pattern's length, times (length + 1) for every item that
// can make the matcher come back. Most calls stop there. When the bound is too high, the
// match is tried once with a step counter, in the same order as Lua tries it, and the
// call is refused when the counter passes the limit; otherwise the library runs it for
// real, so a call that is let through costs at most twice its own work. Either way the
// steps are charged to the script's instruction count.

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

// What a call costs: the steps to charge, and whether it is refused.
struct PatternCost
{
    long long steps = 0;
    bool refused = false;
};

// The steps a call takes at most. `offset` is where the search starts in the subject
// (0-based, at most its length); `limit` the most replacements; `perMatch` what each
// match costs beyond finding it (building a replacement).
PatternCost patternCost(const char *subject, size_t subjectLength, const char *pattern,
                        size_t patternLength, PatternCall call, size_t offset, lua_Integer limit,
                        long long perMatch)
{
    const char *p = pattern;
    const char *patternEnd = pattern + patternLength;
    const bool anchored = call != PatternCall::Iterate && p < patternEnd && *p == '^';
    if (anchored) {
        ++p;
    }
    const int retrying = retryingItems(p, patternEnd);
    if (retrying < 0) {
        return {}; // malformed: the library says so
    }
    const double whole = double(subjectLength - offset) + 1.0;
    const double starts = anchored ? 1.0 : whole;
    const double matches = call == PatternCall::Search ? 0.0 : std::min(starts, double(limit));
    const double bound = starts * (double(patternEnd - p) + 1.0) * std::pow(whole, retrying) +
                         matches * double(perMatch);
    if (bound <= ScriptApi::MaxPatternSteps) {
        return {static_cast<long long>(bound), false};
    }

    PatternProbe probe;
    probe.subject = subject;
    probe.subjectEnd = subject + subjectLength;
    probe.patternEnd = patternEnd;
    probe.budget = static_cast<long long>(ScriptApi::MaxPatternSteps);
    const char *at = subject + offset;
    const char *lastMatch = nullptr;
    lua_Integer replaced = 0;
    const auto outcome = [&probe] {
        // The probe's steps, and as many again for the library's run that follows.
        return PatternCost{2 * probe.steps, probe.tooLong};
    };
    while (!probe.stopped()) {
        probe.level = 0;
        probe.depth = 0;
        const char *end = probe.match(at, p);
        switch (call) {
        case PatternCall::Search:
            if (end || at >= probe.subjectEnd || anchored) {
                return outcome();
            }
            ++at;
            break;
        case PatternCall::Iterate:
            if (end && end != lastMatch) {
                at = lastMatch = end;
                probe.spend(perMatch);
            } else if (at < probe.subjectEnd) {
                ++at;
            } else {
                return outcome();
            }
            break;
        case PatternCall::Replace:
            if (end && end != lastMatch) {
                at = lastMatch = end;
                ++replaced;
                probe.spend(perMatch);
            } else if (at < probe.subjectEnd) {
                ++at;
            } else {
                return outcome();
            }
            if (anchored || replaced >= limit) {
                return outcome();
            }
            break;
        }
    }
    return outcome();
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

// What building one replacement of string.gsub costs, by the kind of its third
// argument: a string is copied (with its %-escapes), a table is indexed, a function is
// called (its own instructions are counted by the hook).
long long replacementCost(lua_State *L)
{
    if (lua_type(L, 3) == LUA_TSTRING) {
        return 2 + static_cast<long long>(lua_rawlen(L, 3)) / 4;
    }
    return 6;
}

// Charges the call's pattern work, and raises when it could take too long on its
// subject (argument 1).
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
    long long perMatch = 0;
    if (call == PatternCall::Replace) {
        int isInteger = 0;
        const lua_Integer given = lua_tointegerx(L, 4, &isInteger);
        limit = isInteger ? given : limit;
        perMatch = replacementCost(L);
    } else if (call == PatternCall::Iterate) {
        perMatch = 2; // a call of the iterator
        if (!searchOffset(L, 3, subjectLength, &offset)) {
            return;
        }
    } else if (!searchOffset(L, 3, subjectLength, &offset)) {
        return;
    }
    const PatternCost cost = patternCost(subject, subjectLength, pattern, patternLength, call,
                                         offset, limit, perMatch);
    scriptCharge(L, cost.steps);
    if (cost.refused) {
        luaL_error(L,
                   "%s: the pattern could take a very long time on a subject of %I bytes; "
                   "anchor it with '^', use fewer '-', '*' and '+' items, or search a "
                   "shorter string",
                   function, lua_Integer(subjectLength));
    }
}

// Whether the library would take the pattern as plain text: no special character.
bool hasNoSpecials(const char *pattern, size_t length)
{
    static constexpr char specials[] = "^$*+?.([%-";
    for (size_t i = 0; i < length; ++i) {
        if (std::memchr(specials, pattern[i], sizeof specials - 1)) {
            return false;
        }
    }
    return true;
}

// The first occurrence of `needle` in `haystack`, in time linear in both.
const char *findBytes(const char *haystack, size_t haystackLength, const char *needle,
                      size_t needleLength)
{
#if defined(__GLIBC__) || defined(__APPLE__) || defined(__FreeBSD__)
    return static_cast<const char *>(memmem(haystack, haystackLength, needle, needleLength));
#else
    const char *end = haystack + haystackLength;
    const char *at = std::search(haystack, end,
                                 std::boyer_moore_searcher(needle, needle + needleLength));
    return at == end && needleLength > 0 ? nullptr : at;
#endif
}

int guardedFind(lua_State *L)
{
    size_t subjectLength = 0;
    size_t needleLength = 0;
    const char *subject = lua_tolstring(L, 1, &subjectLength);
    const char *needle = lua_tolstring(L, 2, &needleLength);
    size_t offset = 0;
    // A plain search, as the library would make it: the fourth argument is true or the
    // pattern has nothing special. Anything unusual (a wrong argument) is left to it.
    if (!subject || !needle || !searchOffset(L, 3, subjectLength, &offset) ||
        !(lua_toboolean(L, 4) || hasNoSpecials(needle, needleLength))) {
        if (!lua_toboolean(L, 4)) {
            checkPattern(L, "string.find", PatternCall::Search);
        }
        return lua_tocfunction(L, lua_upvalueindex(1))(L);
    }
    // Short needles are looked for a word at a time; a long one that keeps almost
    // matching costs a few nanoseconds a byte.
    const auto scanned = static_cast<long long>(subjectLength - offset);
    scriptCharge(L, needleLength <= 32 ? scanned / 16 : 2 * scanned);
    const char *at = findBytes(subject + offset, subjectLength - offset, needle, needleLength);
    if (!at) {
        luaL_pushfail(L);
        return 1;
    }
    lua_pushinteger(L, lua_Integer(at - subject) + 1);
    lua_pushinteger(L, lua_Integer(at - subject) + lua_Integer(needleLength));
    return 2;
}

int guardedMatch(lua_State *L)
{
    checkPattern(L, "string.match", PatternCall::Search);
    return lua_tocfunction(L, lua_upvalueindex(1))(L);
}

int guardedGmatch(lua_State *L)
{
    // gmatch treats '^' as an ordinary character. One check covers the whole iteration:
    // its start positions together are those of one unanchored search.
    checkPattern(L, "string.gmatch", PatternCall::Iterate);
    return lua_tocfunction(L, lua_upvalueindex(1))(L);
}

int guardedGsub(lua_State *L)
{
    checkPattern(L, "string.gsub", PatternCall::Replace);
    return lua_tocfunction(L, lua_upvalueindex(1))(L);
}

void wrapField(lua_State *L, const char *name, lua_CFunction wrapper)
{
    lua_getfield(L, -1, name);
    lua_pushcclosure(L, wrapper, 1);
    lua_setfield(L, -2, name);
}

} // namespace

void ScriptApi::installPatternGuards(lua_State *L)
{
    // The string table is also the __index of strings, so s:find() is guarded too.
    lua_getglobal(L, LUA_STRLIBNAME);
    wrapField(L, "find", guardedFind);
    wrapField(L, "match", guardedMatch);
    wrapField(L, "gmatch", guardedGmatch);
    wrapField(L, "gsub", guardedGsub);
    lua_pop(L, 1);
}
