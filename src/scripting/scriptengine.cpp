#include "scripting/scriptengine.h"

#include "common/logging.h"
#include "scripting/scriptapi.h"
#include "scripting/scriptengine_p.h"
#include "tools/crccatalog.h"

#include <QRegularExpression>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

using Impl = ScriptEngine::Impl;

// Raised into the script; kept in English like Lua's own messages, so that a script
// that inspects an error behaves alike in every language.
constexpr char BudgetText[] = "instruction budget exceeded";
constexpr char UnpausableText[] = "ran too long where it cannot pause (inside a function called "
                                  "by table.sort, string.gsub or a metamethod)";
constexpr char BodyKey[] = "vlm.body";

Impl *&implSlot(lua_State *L)
{
    return *static_cast<Impl **>(lua_getextraspace(L));
}

int scriptPanic(lua_State *L)
{
    const char *message = lua_tostring(L, -1);
    qCCritical(lcTerminal, "Lua panic: %s", message ? message : "?");
    return 0;
}

// Raises `text` with the position of the running Lua function. In a hook, level 0 is
// the function that was interrupted (luaL_error would name its caller).
int raiseHere(lua_State *L, const char *text, size_t length)
{
    luaL_where(L, 0);
    lua_pushlstring(L, text, length);
    lua_concat(L, 2);
    return lua_error(L);
}

// Opens the libraries a script may use, removes what it must not, installs the script
// functions and makes the body's thread. Runs inside a protected call.
int setupState(lua_State *L)
{
    static const luaL_Reg libraries[] = {
        {LUA_GNAME, luaopen_base},         {LUA_STRLIBNAME, luaopen_string},
        {LUA_TABLIBNAME, luaopen_table},   {LUA_MATHLIBNAME, luaopen_math},
        {LUA_UTF8LIBNAME, luaopen_utf8},
    };
    for (const luaL_Reg &library : libraries) {
        luaL_requiref(L, library.name, library.func, 1);
        lua_pop(L, 1);
    }
    // Ways to load code, to reach the collector, and the names print and warn that the
    // script functions replace.
    static const char *const removed[] = {"dofile",  "loadfile", "load",   "collectgarbage",
                                          "print",   "warn",     "require"};
    for (const char *name : removed) {
        lua_pushnil(L);
        lua_setglobal(L, name);
    }
    lua_getglobal(L, LUA_STRLIBNAME);
    lua_pushnil(L);
    lua_setfield(L, -2, "dump");
    lua_pop(L, 1);

    ScriptApi::install(L);

    Impl *d = scriptImpl(L);
    d->body = lua_newthread(L);
    lua_sethook(d->body, scriptHook, LUA_MASKCOUNT, ScriptEngine::HookInterval);
    lua_setfield(L, LUA_REGISTRYINDEX, BodyKey);
    lua_sethook(L, scriptHook, LUA_MASKCOUNT, ScriptEngine::HookInterval);
    return 0;
}

// Records the innermost script line of an error in a callback, while its frames are
// still there; the error itself passes unchanged.
int callbackMessageHandler(lua_State *L)
{
    Impl *d = scriptImpl(L);
    if (!d->budgetExceeded) {
        d->callbackErrorLine = scriptInnermostLine(L, 1);
    }
    return 1;
}

// Calls a callback with its two arguments, inside the protected call of runCallback,
// so that pushing the arguments may fail too.
struct CallbackCall
{
    int ref;
    const QByteArray *first;
    const QByteArray *second;
};

int callbackTrampoline(lua_State *L)
{
    const auto *call = static_cast<const CallbackCall *>(lua_touserdata(L, 1));
    lua_rawgeti(L, LUA_REGISTRYINDEX, call->ref);
    lua_pushlstring(L, call->first->constData(), size_t(call->first->size()));
    lua_pushlstring(L, call->second->constData(), size_t(call->second->size()));
    lua_call(L, 2, 0);
    return 0;
}

bool isContinuation(uchar byte)
{
    return (byte & 0xC0) == 0x80;
}

// The length of a well-formed UTF-8 sequence of two to four bytes at `i`, or 0.
qsizetype utf8SequenceLength(const QByteArray &bytes, qsizetype i)
{
    const auto at = [&](qsizetype k) { return uchar(bytes.at(k)); };
    const uchar lead = at(i);
    const qsizetype left = bytes.size() - i;
    if (lead >= 0xC2 && lead <= 0xDF) {
        return left >= 2 && isContinuation(at(i + 1)) ? 2 : 0;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (left < 3 || !isContinuation(at(i + 1)) || !isContinuation(at(i + 2))) {
            return 0;
        }
        if ((lead == 0xE0 && at(i + 1) < 0xA0) || (lead == 0xED && at(i + 1) >= 0xA0)) {
            return 0; // overlong, or a surrogate
        }
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (left < 4 || !isContinuation(at(i + 1)) || !isContinuation(at(i + 2)) ||
            !isContinuation(at(i + 3))) {
            return 0;
        }
        if ((lead == 0xF0 && at(i + 1) < 0x90) || (lead == 0xF4 && at(i + 1) >= 0x90)) {
            return 0; // overlong, or beyond U+10FFFF
        }
        return 4;
    }
    return 0;
}

} // namespace

// --- Helpers shared with the script functions ---

ScriptEngine::Impl *scriptImpl(lua_State *L)
{
    return implSlot(L);
}

void *scriptAlloc(void *ud, void *ptr, size_t osize, size_t nsize)
{
    auto *memory = static_cast<ScriptMemory *>(ud);
    const size_t old = ptr ? osize : 0;
    if (old >= ScriptEngine::LongStringBytes && memory->owner) {
        memory->owner->forgetLongString(ptr);
    }
    if (nsize == 0) {
        std::free(ptr);
        memory->used -= old;
        return nullptr;
    }
    if (nsize > old && nsize - old > memory->limit - std::min(memory->limit, memory->used)) {
        // Lua collects all garbage and tries again, then reports "not enough memory": a
        // walk over the whole heap, which a script can provoke in a loop under pcall.
        if (memory->owner) {
            memory->owner->charge(qint64(memory->used / ScriptEngine::AllocatedBytesPerUnit));
        }
        return nullptr;
    }
    void *block = std::realloc(ptr, nsize);
    if (!block) {
        return nullptr;
    }
    memory->used = memory->used - old + nsize;
    memory->peak = std::max(memory->peak, memory->used);
    if (memory->owner) {
        // Building bytes takes time in proportion, whether a library function or an
        // instruction (a concatenation) asked for them.
        if (nsize > old) {
            memory->owner->charge(qint64((nsize - old) / ScriptEngine::AllocatedBytesPerUnit));
        }
        // A new object tells its type in place of the old size.
        if (!ptr && osize == LUA_TSTRING && nsize >= ScriptEngine::LongStringBytes) {
            memory->owner->noteLongString(block, nsize);
        }
    }
    return block;
}

void scriptCharge(lua_State *L, long long units)
{
    scriptImpl(L)->charge(units);
}

QString scriptDisplayText(const char *data, size_t length)
{
    // A character takes at most four bytes, so more bytes than this always give more
    // characters than a text keeps.
    const qsizetype keep =
        std::min<qsizetype>(qsizetype(length), 4 * qsizetype(ScriptEngine::OutputTextLimit) + 4);
    return ScriptEngine::clipText(ScriptEngine::displayText(QByteArray::fromRawData(data, keep)));
}

void scriptHook(lua_State *L, lua_Debug *ar)
{
    Impl *d = scriptImpl(L);
    if (ar->event != LUA_HOOKCOUNT || d->callback == Impl::Callback::Closing) {
        return;
    }
    const bool sticky = (d->callback != Impl::Callback::None && d->budgetExceeded) ||
                        d->fault.pending;
    if (d->hookArmed) {
        // A charge brought the hook forward; back to the usual interval, unless the run
        // is being ended, which keeps the hook at every instruction.
        d->hookArmed = false;
        if (!sticky) {
            lua_sethook(L, scriptHook, LUA_MASKCOUNT, d->hookInterval);
        }
    }
    if (d->callback != Impl::Callback::None) {
        // A callback runs to its end or is stopped: it cannot pause.
        if (d->budgetExceeded) {
            d->callbackCount += 1;
            raiseHere(L, BudgetText, sizeof BudgetText - 1);
            return;
        }
        d->callbackCount += d->hookInterval;
        const bool late = d->pastBackstop();
        if (d->callbackCount >= ScriptEngine::CallbackLimit || late) {
            d->budgetExceeded = true;
            d->budgetByTime = late && d->callbackCount < ScriptEngine::CallbackLimit;
            d->callbackErrorLine = scriptInnermostLine(L, 0); // where it ran, not where it ends
            lua_sethook(L, scriptHook, LUA_MASKCOUNT, 1);
            raiseHere(L, BudgetText, sizeof BudgetText - 1);
            return;
        }
        if (d->fault.pending) {
            raiseHere(L, d->fault.text.constData(), size_t(d->fault.text.size()));
        }
        return;
    }
    if (d->fault.pending) {
        if (lua_isyieldable(L)) {
            d->wait = Impl::Wait::Fault;
            lua_yield(L, 0);
            return;
        }
        raiseHere(L, d->fault.text.constData(), size_t(d->fault.text.size()));
        return;
    }
    // A slice ends after its instructions, or when the poll has held the thread for
    // the backstop's time (C work that nothing charged, a machine under load).
    d->bodyCount += d->hookInterval;
    const bool late = d->pastBackstop();
    if (d->bodyCount < ScriptEngine::BodySlice && !late) {
        return;
    }
    if (lua_isyieldable(L)) {
        d->bodyCount = 0;
        d->wait = Impl::Wait::Slice;
        lua_yield(L, 0);
        return;
    }
    if (d->bodyCount < ScriptEngine::UnpausableLimit && !late) {
        return;
    }
    d->setFault(UnpausableText, scriptInnermostLine(L, 0));
    lua_sethook(L, scriptHook, LUA_MASKCOUNT, 1);
    raiseHere(L, UnpausableText, sizeof UnpausableText - 1);
}

int scriptInnermostLine(lua_State *L, int level)
{
    lua_Debug ar;
    for (int i = level; lua_getstack(L, i, &ar); ++i) {
        if (lua_getinfo(L, "Sl", &ar) && ar.currentline > 0 &&
            std::strcmp(ar.source, "=script") == 0) {
            return ar.currentline;
        }
    }
    return -1;
}

QList<int> scriptCallerLines(lua_State *L, int level, int count)
{
    QList<int> lines;
    bool innermost = true;
    lua_Debug ar;
    for (int i = level; lines.size() < count && lua_getstack(L, i, &ar); ++i) {
        if (!lua_getinfo(L, "Sl", &ar) || ar.currentline <= 0 ||
            std::strcmp(ar.source, "=script") != 0) {
            continue;
        }
        if (innermost) {
            innermost = false;
        } else {
            lines.append(ar.currentline);
        }
    }
    return lines;
}

QString scriptErrorText(lua_State *L, int index)
{
    switch (lua_type(L, index)) {
    case LUA_TSTRING: {
        size_t length = 0;
        const char *text = lua_tolstring(L, index, &length);
        return scriptDisplayText(text, length);
    }
    case LUA_TNUMBER:
        // Not through lua_tolstring, which would convert the value in place.
        if (lua_isinteger(L, index)) {
            return QString::number(lua_tointeger(L, index));
        }
        return QString::number(lua_tonumber(L, index), 'g', 14);
    case LUA_TNIL:
        return QStringLiteral("nil");
    default:
        return QStringLiteral("(error object is a %1 value)")
            .arg(QString::fromUtf8(luaL_typename(L, index)));
    }
}

int scriptStripPosition(QString *message)
{
    static const QRegularExpression position(QStringLiteral("^script:(\\d+): "));
    const QRegularExpressionMatch match = position.match(*message);
    if (!match.hasMatch()) {
        return -1;
    }
    const int line = match.captured(1).toInt();
    message->remove(0, match.capturedLength());
    return line;
}

// --- Impl ---

ScriptEngine::Impl::Impl(const Clock &clock, const CommandLookup &lookup)
    : clock(clock)
    , lookup(lookup)
{}

ScriptEngine::Impl::~Impl()
{
    closeState();
}

bool ScriptEngine::Impl::createState(QString *message)
{
    memory.owner = this;
    L = lua_newstate(scriptAlloc, &memory);
    if (!L) {
        *message = QStringLiteral("not enough memory");
        return false;
    }
    implSlot(L) = this;
    lua_atpanic(L, scriptPanic);
    portName = port.name.toUtf8();
    portMode = port.mode.toUtf8();
    lua_pushcfunction(L, setupState);
    if (lua_pcall(L, 0, 0, 0) != LUA_OK) {
        *message = scriptErrorText(L, -1);
        closeState();
        return false;
    }
    return true;
}

void ScriptEngine::Impl::closeState()
{
    if (!L) {
        return;
    }
    callback = Callback::Closing;
    lua_close(L);
    L = nullptr;
    body = nullptr;
    onReceiveRef = LUA_NOREF;
    onStopRef = LUA_NOREF;
}

void ScriptEngine::Impl::charge(long long units)
{
    if (units <= 0 || !running || callback == Callback::Closing) {
        return;
    }
    long long *counter = &bodyCount;
    long long limit = bodyCount < BodySlice ? BodySlice : UnpausableLimit;
    if (callback != Callback::None) {
        counter = &callbackCount;
        limit = CallbackLimit;
    }
    *counter += units;
    // The hook adds a whole interval when it runs; from here that reaches the limit.
    if (!hookArmed && *counter + hookInterval >= limit) {
        hookArmed = true;
        lua_sethook(running, scriptHook, LUA_MASKCOUNT, 1);
    }
}

bool ScriptEngine::Impl::pastBackstop() const
{
    return backstopStartMs >= 0 && now() - backstopStartMs >= TimeBackstopMs;
}

bool ScriptEngine::Impl::roomFor(qint64 bytes) const
{
    return bytes <= qint64(memory.limit) - qint64(std::min(memory.limit, memory.used));
}

bool ScriptEngine::Impl::holdScratch(qint64 count)
{
    if (!roomFor(count)) {
        return false;
    }
    memory.used += size_t(count);
    scratchHeld += count;
    return true;
}

void ScriptEngine::Impl::noteLongString(const void *block, size_t size)
{
    const int sizeClass = std::bit_width(size) - 1;
    longStrings.insert(block, sizeClass);
    ++longStringClasses[size_t(sizeClass)];
    updateHookInterval();
}

void ScriptEngine::Impl::forgetLongString(const void *block)
{
    const auto found = longStrings.constFind(block);
    if (found == longStrings.cend()) {
        return;
    }
    --longStringClasses[size_t(*found)];
    longStrings.erase(found);
    updateHookInterval();
}

void ScriptEngine::Impl::updateHookInterval()
{
    // One instruction that compares two strings (==, <, a table key) goes over them
    // byte by byte, in C: with long strings alive a few such instructions take as long
    // as the whole interval of ordinary ones. So the hook, and with it the clock's
    // backstop, comes after about CompareBytesPerInterval bytes of the longest string.
    int interval = HookInterval;
    for (int sizeClass = int(longStringClasses.size()) - 1; sizeClass >= 0; --sizeClass) {
        if (longStringClasses[size_t(sizeClass)] > 0) {
            const qint64 longest = qint64(2) << sizeClass;
            interval = int(std::clamp<qint64>(CompareBytesPerInterval / longest, 1, HookInterval));
            break;
        }
    }
    if (interval == hookInterval) {
        return;
    }
    hookInterval = interval;
    // An armed or sticky hook runs at every instruction already; it takes the interval
    // when it goes back.
    if (hookArmed || budgetExceeded || fault.pending || callback == Callback::Closing) {
        return;
    }
    for (lua_State *thread : {L, body}) {
        if (thread) {
            lua_sethook(thread, scriptHook, LUA_MASKCOUNT, interval);
        }
    }
}

void ScriptEngine::Impl::releaseScratch()
{
    error = QByteArray();
    bytes = QByteArray();
    values = QList<Value>();
    memory.used -= size_t(scratchHeld);
    scratchHeld = 0;
}

void ScriptEngine::Impl::setFault(const char *text, int line)
{
    fault.pending = true;
    fault.text = text;
    fault.line = line;
}

void ScriptEngine::Impl::setError(const QString &text)
{
    // A message may quote what the script passed, which can be megabytes long.
    error = clipText(text).toUtf8();
}

void ScriptEngine::Impl::setError(const char *text)
{
    error = text;
}

int ScriptEngine::Impl::suspend(lua_State *thread, Wait what, qint64 ms)
{
    wait = what;
    waitStartMs = now();
    waitMs = ms;
    results.clear();
    hasResumeError = false;
    resumeError.clear();
    rxScanned = 0;
    return lua_yieldk(thread, 0, 0, [](lua_State *T, int, lua_KContext) -> int {
        Impl *d = scriptImpl(T);
        if (d->hasResumeError) {
            d->hasResumeError = false;
            return luaL_error(T, "%s", d->resumeError.constData());
        }
        lua_settop(T, 0);
        const int count = int(d->results.size());
        luaL_checkstack(T, count, "too many results");
        for (const Value &value : std::as_const(d->results)) {
            if (const auto *bytes = std::get_if<QByteArray>(&value)) {
                lua_pushlstring(T, bytes->constData(), size_t(bytes->size()));
            } else if (const auto *number = std::get_if<qint64>(&value)) {
                lua_pushinteger(T, lua_Integer(*number));
            } else {
                lua_pushnil(T);
            }
        }
        return count;
    });
}

void ScriptEngine::Impl::clearRx()
{
    rxBuffer.clear();
    rxScanned = 0;
}

void ScriptEngine::Impl::emitOutput(ScriptOutput::Kind kind, const QString &text, int line)
{
    if (kind != ScriptOutput::Error && output.size() >= OutputQueueLimit) {
        ++outputLeftOut;
        return;
    }
    ScriptOutput entry;
    entry.kind = kind;
    entry.text = clipText(text);
    entry.line = line;
    entry.elapsedMs = (state == ScriptState::Running ? now() : endMs) - startMs;
    output.append(entry);
}

ScriptAction ScriptEngine::Impl::poll()
{
    if (state != ScriptState::Running) {
        return {ScriptAction::Done, {}};
    }
    if (sendOutstanding) {
        return {ScriptAction::Wait, {}};
    }
    bodyCount = 0;
    pollCallbackCount = 0;
    pollCallbackCalls = 0;
    const qint64 pollStartMs = now();
    backstopStartMs = pollStartMs;
    for (int pass = 0; pass < PassesPerPoll; ++pass) {
        if (!sendQueue.isEmpty()) {
            QueuedSend next = sendQueue.takeFirst();
            sendQueueBytes -= next.bytes.size();
            sendOutstanding = true;
            sendFromBody = false;
            sendLine = next.line;
            return {ScriptAction::Send, next.bytes};
        }
        if (rxDropped > 0 &&
            (!dropWarned || now() - lastDropWarningMs >= DropWarningIntervalMs)) {
            emitOutput(ScriptOutput::Warning,
                       tr("onReceive fell behind; bytes dropped: %1").arg(rxDropped), -1);
            rxDropped = 0;
            dropWarned = true;
            lastDropWarningMs = now();
        }
        if (!rxQueue.isEmpty()) {
            // Callbacks that took half the backstop's time leave the rest for the next
            // poll, as do 64 of them or a million instructions.
            if (pollCallbackCalls >= CallbacksPerPoll ||
                pollCallbackCount >= CallbackInstructionsPerPoll ||
                (pollCallbackCalls > 0 && now() - pollStartMs >= TimeBackstopMs / 2)) {
                return {ScriptAction::Yield, {}};
            }
            const Received next = rxQueue.takeFirst();
            rxQueueBytes -= next.bytes.size();
            ++pollCallbackCalls;
            QString message;
            int line = -1;
            if (!runCallback(onReceiveRef, Callback::OnReceive, next.bytes, next.source, &message,
                             &line)) {
                finish(ScriptState::Failed, message, line, QString());
                return {ScriptAction::Done, {}};
            }
            continue;
        }

        // Matching the received bytes is work of the body too: once it has taken the
        // slice, the event loop gets its turn before the body is resumed again.
        if (bodyCount >= BodySlice) {
            return {ScriptAction::Yield, {}};
        }
        switch (wait) {
        case Wait::Sleep:
            if (now() - waitStartMs < waitMs) {
                return {ScriptAction::Wait, {}};
            }
            break;
        case Wait::Expect:
        case Wait::Read:
        case Wait::ReadLine:
            if (!tryMatch()) {
                if (waitMs == 0 || now() - waitStartMs < waitMs) {
                    return {ScriptAction::Wait, {}};
                }
                results.clear();
                if (wait == Wait::Expect && expectation.mustMatch) {
                    hasResumeError = true;
                    resumeError = QStringLiteral("timeout waiting for %1 (%2 ms)")
                                      .arg(expectation.description)
                                      .arg(waitMs)
                                      .toUtf8();
                } else {
                    results.append(Value());
                }
            }
            break;
        case Wait::Start:
        case Wait::Resume:
        case Wait::Slice:
            break;
        case Wait::None:
        case Wait::Sending:
        case Wait::Idle:
        case Wait::Fault:
            return {ScriptAction::Wait, {}};
        }

        resumeBody();
        if (state != ScriptState::Running) {
            return {ScriptAction::Done, {}};
        }
        if (wait == Wait::Sending) {
            sendOutstanding = true;
            sendFromBody = true;
            sendLine = -1;
            return {ScriptAction::Send, std::exchange(bodySend, QByteArray())};
        }
        if ((wait == Wait::Sleep && waitMs == 0) || wait == Wait::Slice) {
            return {ScriptAction::Yield, {}};
        }
    }
    return {ScriptAction::Yield, {}};
}

void ScriptEngine::Impl::resumeBody()
{
    wait = Wait::None;
    int count = 0;
    running = body;
    const int status = lua_resume(body, nullptr, 0, &count);
    running = nullptr;
    if (std::exchange(hookArmed, false) && !fault.pending) {
        // Brought forward by a charge just before the body paused or ended.
        lua_sethook(body, scriptHook, LUA_MASKCOUNT, hookInterval);
    }
    releaseScratch();
    if (status == LUA_YIELD) {
        lua_pop(body, count);
        if (wait == Wait::Fault) {
            finish(ScriptState::Failed, QString::fromUtf8(fault.text), fault.line, QString());
        } else if (wait == Wait::None) {
            wait = Wait::Resume;
        }
        return;
    }
    if (status == LUA_OK) {
        if (fault.pending) {
            finish(ScriptState::Failed, QString::fromUtf8(fault.text), fault.line, QString());
        } else {
            finish(ScriptState::Passed, QString(), -1, QString());
        }
        return;
    }

    QString message = scriptErrorText(body, -1);
    int line = scriptStripPosition(&message);
    if (fault.pending) {
        message = QString::fromUtf8(fault.text);
        line = fault.line;
    }
    if (line < 0) {
        line = scriptInnermostLine(body, 0);
    }
    QString detail;
    const QList<int> callers = scriptCallerLines(body, 0, 5);
    if (!callers.isEmpty()) {
        detail = message;
        for (int caller : callers) {
            detail += u'\n' + tr("called from line %1").arg(caller);
        }
    }
    finish(ScriptState::Failed, message, line, detail);
}

bool ScriptEngine::Impl::tryMatch()
{
    switch (wait) {
    case Wait::Read:
        if (rxBuffer.size() < readCount) {
            return false;
        }
        results = {rxBuffer.left(readCount)};
        rxBuffer.remove(0, readCount);
        return true;
    case Wait::ReadLine: {
        const qsizetype end = rxBuffer.indexOf('\n', rxScanned);
        if (end < 0) {
            rxScanned = rxBuffer.size();
            return false;
        }
        QByteArray line = rxBuffer.left(end);
        while (line.endsWith('\r')) {
            line.chop(1);
        }
        results = {line};
        rxBuffer.remove(0, end + 1);
        return true;
    }
    case Wait::Expect:
        break;
    default:
        return false;
    }

    // The search is the body's work: it counts towards the body's slice (a unit for
    // every byte a regular expression looks at, and for every 16 bytes a text search
    // goes over), so that a body that matches again and again still yields.
    qsizetype end = -1;
    switch (expectation.kind) {
    case Expectation::Text: {
        bodyCount += (rxBuffer.size() - rxScanned) / 16 + 1;
        const qsizetype from =
            std::max<qsizetype>(0, rxScanned - expectation.needle.size() + 1);
        const qsizetype at = rxBuffer.indexOf(expectation.needle, from);
        if (at >= 0) {
            end = at + expectation.needle.size();
            results = {expectation.needle};
        }
        break;
    }
    case Expectation::Any: {
        bodyCount += (rxBuffer.size() - rxScanned) * expectation.needles.size() / 16 + 1;
        int winner = -1;
        for (int i = 0; i < expectation.needles.size(); ++i) {
            const QByteArray &needle = expectation.needles.at(i);
            const qsizetype from = std::max<qsizetype>(0, rxScanned - needle.size() + 1);
            const qsizetype at = rxBuffer.indexOf(needle, from);
            if (at >= 0 && (winner < 0 || at + needle.size() < end)) {
                winner = i;
                end = at + needle.size();
            }
        }
        if (winner >= 0) {
            results = {expectation.needles.at(winner), qint64(winner + 1)};
        }
        break;
    }
    case Expectation::Pattern: {
        bodyCount += rxBuffer.size() + 1;
        const QRegularExpressionMatch match =
            expectation.regex.match(QString::fromLatin1(rxBuffer));
        if (match.hasMatch() && match.capturedLength(0) > 0) {
            end = match.capturedEnd(0);
            results = {match.captured(0).toLatin1()};
            for (int group = 1; group <= expectation.regex.captureCount(); ++group) {
                if (match.capturedStart(group) < 0) {
                    results.append(Value());
                } else {
                    results.append(match.captured(group).toLatin1());
                }
            }
        }
        break;
    }
    }
    if (end < 0) {
        rxScanned = rxBuffer.size();
        return false;
    }
    results.append(rxBuffer.left(end));
    rxBuffer.remove(0, end);
    rxScanned = 0;
    return true;
}

bool ScriptEngine::Impl::runCallback(int ref, Callback kind, const QByteArray &first,
                                     const QByteArray &second, QString *message, int *line)
{
    if (ref == LUA_NOREF || !L) {
        return true;
    }
    callbackCount = 0;
    budgetExceeded = false;
    budgetByTime = false;
    callbackErrorLine = -1;
    fault = Fault();
    callback = kind;
    lua_sethook(L, scriptHook, LUA_MASKCOUNT, hookInterval);

    CallbackCall call{ref, &first, &second};
    lua_State *const outer = std::exchange(running, L);
    // Each callback has the backstop's time; the body's time starts after it.
    backstopStartMs = now();
    lua_pushcfunction(L, callbackMessageHandler);
    lua_pushcfunction(L, callbackTrampoline);
    lua_pushlightuserdata(L, &call);
    const int status = lua_pcall(L, 1, 0, -3);

    running = outer;
    backstopStartMs = now();
    callback = Callback::None;
    hookArmed = false;
    lua_sethook(L, scriptHook, LUA_MASKCOUNT, hookInterval);
    releaseScratch();
    pollCallbackCount += callbackCount;
    const QString name = kind == Callback::OnStop ? QStringLiteral("onStop")
                                                  : QStringLiteral("onReceive");
    bool ok = status == LUA_OK && !budgetExceeded && !fault.pending;
    if (!ok) {
        if (budgetExceeded && budgetByTime) {
            *message = tr("%1 held the window for more than %2 ms without returning")
                           .arg(name)
                           .arg(TimeBackstopMs);
            *line = callbackErrorLine;
        } else if (budgetExceeded) {
            *message = tr("%1 ran for more than %L2 instructions without returning")
                           .arg(name)
                           .arg(CallbackLimit);
            *line = callbackErrorLine;
        } else if (fault.pending) {
            *message = QString::fromUtf8(fault.text);
            *line = fault.line;
        } else {
            *message = scriptErrorText(L, -1);
            *line = scriptStripPosition(message);
            if (*line < 0) {
                *line = callbackErrorLine;
            }
        }
    }
    lua_settop(L, 0);
    budgetExceeded = false;
    fault = Fault();
    return ok;
}

void ScriptEngine::Impl::finish(ScriptState final, const QString &message, int line,
                                const QString &detail)
{
    if (state != ScriptState::Running) {
        return;
    }
    state = final;
    finishReason = clipText(message);
    endMs = now();
    errorLine = final == ScriptState::Failed ? line : -1;
    sendOutstanding = false;
    wait = Wait::None;
    sendQueue.clear();
    sendQueueBytes = 0;
    rxQueue.clear();
    rxQueueBytes = 0;
    bodySend.clear();
    results.clear();
    if (final == ScriptState::Failed) {
        emitOutput(ScriptOutput::Error, detail.isEmpty() ? message : detail, line);
    }
    if (L && onStopRef != LUA_NOREF) {
        const QByteArray how = final == ScriptState::Failed   ? QByteArrayLiteral("failed")
                               : final == ScriptState::Passed ? QByteArrayLiteral("passed")
                                                              : QByteArrayLiteral("stopped");
        QString failure;
        int failureLine = -1;
        if (!runCallback(onStopRef, Callback::OnStop, how, finishReason.toUtf8(), &failure,
                         &failureLine)) {
            emitOutput(ScriptOutput::Warning, tr("onStop: %1").arg(failure), failureLine);
        }
    }
    closeState();
    // The run is over: what it held for matching and for the script functions goes.
    rxBuffer = QByteArray();
    rxScanned = 0;
    regexCache = {};
    expectation = Expectation();
    resumeError = QByteArray();
    fault = Fault();
    releaseScratch();
}

void ScriptEngine::Impl::feed(const QByteArray &data, const QString &source)
{
    if (state != ScriptState::Running || data.isEmpty()) {
        return;
    }
    rxBuffer += data;
    if (rxBuffer.size() > RxBufferBytes) {
        const qsizetype excess = rxBuffer.size() - RxBufferBytes;
        rxBuffer.remove(0, excess);
        rxScanned = std::max<qsizetype>(0, rxScanned - excess);
    }
    if (onReceiveRef == LUA_NOREF) {
        return;
    }
    const QByteArray peer = source.toUtf8();
    if (rxQueue.size() < ReceiveQueueEntries) {
        rxQueue.append({data, peer});
    } else if (rxQueue.constLast().source == peer) {
        // Small chunks arriving while onReceive is held back would each cost an entry
        // many times their size: at the limit they join the newest entry.
        rxQueue.last().bytes += data;
    } else {
        const Received oldest = rxQueue.takeFirst();
        rxQueueBytes -= oldest.bytes.size();
        rxDropped += oldest.bytes.size();
        rxQueue.append({data, peer});
    }
    rxQueueBytes += data.size();
    while (rxQueueBytes > ReceiveQueueBytes) {
        const qsizetype excess = rxQueueBytes - ReceiveQueueBytes;
        Received &oldest = rxQueue.first();
        if (oldest.bytes.size() <= excess) {
            rxQueueBytes -= oldest.bytes.size();
            rxDropped += oldest.bytes.size();
            rxQueue.removeFirst();
        } else {
            oldest.bytes.remove(0, excess);
            rxQueueBytes -= excess;
            rxDropped += excess;
        }
    }
}

void ScriptEngine::Impl::sendFinished(bool ok, const QString &error)
{
    if (state != ScriptState::Running || !sendOutstanding) {
        return;
    }
    sendOutstanding = false;
    const QString failure =
        ok ? QString()
           : QStringLiteral("send failed: %1")
                 .arg(error.isEmpty() ? QStringLiteral("the port did not accept the data") : error);
    if (sendFromBody) {
        if (!ok) {
            hasResumeError = true;
            resumeError = failure.toUtf8();
        }
        wait = Wait::Resume;
    } else if (!ok) {
        finish(ScriptState::Failed, failure, sendLine, QString());
    }
}

qint64 ScriptEngine::Impl::deadline() const
{
    if (state != ScriptState::Running || sendOutstanding) {
        return -1;
    }
    if (!sendQueue.isEmpty() || !rxQueue.isEmpty()) {
        return 0;
    }
    switch (wait) {
    case Wait::Sleep:
        return waitStartMs + waitMs;
    case Wait::Expect:
    case Wait::Read:
    case Wait::ReadLine:
        return waitMs == 0 ? -1 : waitStartMs + waitMs;
    case Wait::Start:
    case Wait::Resume:
    case Wait::Slice:
        return 0;
    default:
        return -1;
    }
}

QString ScriptEngine::Impl::limitText() const
{
    return waitMs > 0 ? tr("(%1 ms)").arg(waitMs) : tr("(no time limit)");
}

QString ScriptEngine::Impl::waitingFor() const
{
    if (state != ScriptState::Running) {
        return QString();
    }
    if (sendOutstanding || wait == Wait::Sending) {
        return tr("sending");
    }
    switch (wait) {
    case Wait::Sleep:
        return tr("sleep %1 ms").arg(waitMs);
    case Wait::Read:
        return tr("read(%1)").arg(readCount);
    case Wait::ReadLine:
        return tr("readLine %1").arg(limitText());
    case Wait::Idle:
        return onReceiveRef != LUA_NOREF ? tr("idle, answering with onReceive") : tr("idle");
    case Wait::Expect:
        return tr("%1 %2 %3").arg(expectation.call, expectation.description, limitText());
    default:
        return QString();
    }
}

// --- ScriptEngine ---

ScriptEngine::ScriptEngine(Clock clock)
    : clock(std::move(clock))
    , d(std::make_unique<Impl>(this->clock, lookup))
{}

ScriptEngine::~ScriptEngine() = default;

void ScriptEngine::setCommandLookup(CommandLookup lookup)
{
    this->lookup = std::move(lookup);
    d->lookup = this->lookup;
}

bool ScriptEngine::load(const Script &script, const ScriptPortInfo &port, QString *error,
                        int *errorLine)
{
    const auto fail = [&](const QString &message, int line) {
        if (error) {
            *error = message;
        }
        if (errorLine) {
            *errorLine = line;
        }
        return false;
    };
    if (d->state == ScriptState::Running) {
        return fail(tr("A script is already running."), -1);
    }
    const QByteArray source = script.source.toUtf8();
    if (source.size() > MaxSourceBytes) {
        return fail(tr("The script is larger than %1 KB.").arg(MaxSourceBytes / 1024), -1);
    }
    d = std::make_unique<Impl>(clock, lookup);
    d->port = port;
    d->name = script.name;
    QString message;
    if (!d->createState(&message)) {
        return fail(message, -1);
    }
    if (luaL_loadbufferx(d->body, source.constData(), size_t(source.size()), "=script", "t") !=
        LUA_OK) {
        message = scriptErrorText(d->body, -1);
        const int line = scriptStripPosition(&message);
        d->closeState();
        return fail(message, line);
    }
    d->loaded = true;
    if (error) {
        error->clear();
    }
    if (errorLine) {
        *errorLine = -1;
    }
    return true;
}

bool ScriptEngine::checkSyntax(const QString &source, QString *error, int *errorLine)
{
    const auto fail = [&](const QString &message, int line) {
        if (error) {
            *error = message;
        }
        if (errorLine) {
            *errorLine = line;
        }
        return false;
    };
    const QByteArray bytes = source.toUtf8();
    if (bytes.size() > MaxSourceBytes) {
        return fail(tr("The script is larger than %1 KB.").arg(MaxSourceBytes / 1024), -1);
    }
    ScriptMemory memory;
    lua_State *L = lua_newstate(scriptAlloc, &memory);
    if (!L) {
        return fail(QStringLiteral("not enough memory"), -1);
    }
    lua_atpanic(L, scriptPanic);
    bool ok = true;
    if (luaL_loadbufferx(L, bytes.constData(), size_t(bytes.size()), "=script", "t") != LUA_OK) {
        QString message = scriptErrorText(L, -1);
        const int line = scriptStripPosition(&message);
        ok = fail(message, line);
    } else {
        if (error) {
            error->clear();
        }
        if (errorLine) {
            *errorLine = -1;
        }
    }
    lua_close(L);
    return ok;
}

void ScriptEngine::start()
{
    if (!d->loaded || d->state != ScriptState::Idle) {
        return;
    }
    d->state = ScriptState::Running;
    d->startMs = d->now();
    d->wait = Impl::Wait::Start;
}

ScriptAction ScriptEngine::poll()
{
    return d->poll();
}

qint64 ScriptEngine::deadline() const
{
    return d->deadline();
}

void ScriptEngine::feed(const QByteArray &data, const QString &source)
{
    d->feed(data, source);
}

void ScriptEngine::sendFinished(bool ok, const QString &error)
{
    d->sendFinished(ok, error);
}

void ScriptEngine::stop(const QString &reason)
{
    d->finish(ScriptState::Stopped, reason, -1, QString());
}

QList<ScriptOutput> ScriptEngine::takeOutput()
{
    QList<ScriptOutput> taken = std::exchange(d->output, {});
    if (d->outputLeftOut > 0) {
        ScriptOutput note;
        note.kind = ScriptOutput::Warning;
        note.text = tr("Too much output; lines left out: %1").arg(d->outputLeftOut);
        note.elapsedMs = elapsedMs();
        taken.append(note);
        d->outputLeftOut = 0;
    }
    return taken;
}

ScriptState ScriptEngine::state() const
{
    return d->state;
}

bool ScriptEngine::isRunning() const
{
    return d->state == ScriptState::Running;
}

QString ScriptEngine::name() const
{
    return d->name;
}

qint64 ScriptEngine::elapsedMs() const
{
    switch (d->state) {
    case ScriptState::Idle:
        return 0;
    case ScriptState::Running:
        return d->now() - d->startMs;
    default:
        return d->endMs - d->startMs;
    }
}

int ScriptEngine::errorLine() const
{
    return d->errorLine;
}

QString ScriptEngine::finishReason() const
{
    return d->finishReason;
}

QString ScriptEngine::waitingFor() const
{
    return d->waitingFor();
}

int ScriptEngine::windowBytes() const
{
    return int(d->rxBuffer.size());
}

qsizetype ScriptEngine::memoryUsed() const
{
    return qsizetype(d->memory.used);
}

qsizetype ScriptEngine::memoryPeak() const
{
    return qsizetype(d->memory.peak);
}

QString ScriptEngine::clipText(const QString &text, int limit)
{
    if (text.size() <= limit) {
        return text;
    }
    qsizetype keep = std::max(limit - 1, 0);
    if (keep > 0 && text.at(keep - 1).isHighSurrogate()) {
        --keep;
    }
    return text.left(keep) + QChar(0x2026);
}

QString ScriptEngine::displayText(const QByteArray &bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size();) {
        const uchar byte = uchar(bytes.at(i));
        if ((byte >= 0x20 && byte < 0x7F) || byte == '\t' || byte == '\n') {
            text += QChar(byte);
            ++i;
        } else if (byte == '\r' && i + 1 < bytes.size() && bytes.at(i + 1) == '\n') {
            text += QStringLiteral("\r\n");
            i += 2;
        } else if (const qsizetype length = byte >= 0x80 ? utf8SequenceLength(bytes, i) : 0) {
            // Decoded here: QString::fromUtf8 would drop a U+FEFF as a byte order mark.
            char32_t code = byte & (0x7F >> length);
            for (qsizetype k = 1; k < length; ++k) {
                code = (code << 6) | (uchar(bytes.at(i + k)) & 0x3F);
            }
            text += QChar::fromUcs4(code);
            i += length;
        } else {
            text += QStringLiteral("\\x") +
                    QString::number(byte, 16).toUpper().rightJustified(2, u'0');
            ++i;
        }
    }
    return text;
}

QStringList ScriptEngine::apiNames()
{
    return ScriptApi::functionNames() << QStringLiteral("port");
}

QStringList ScriptEngine::checksumNames()
{
    return CrcCatalog::scriptChecksumNames();
}
