#pragma once

// The state of one script run, shared by the engine (scriptengine.cpp) and the
// functions that scripts call (scriptapi.cpp).
//
// Lua raises errors and yields with longjmp, which skips C++ destructors. Every C
// function that Lua calls therefore keeps to one rule: while it calls anything of Lua
// that can raise or yield, no C++ object with a destructor lives in its frame. Work
// with Qt types is done in Impl members that return before Lua is called again, and
// what is to be pushed or raised waits in Impl's own fields.

#include "scripting/scriptengine.h"

#include <QRegularExpression>

#include <lua.hpp>

#include <array>
#include <variant>

// The allocator's counters; the allocator refuses to grow beyond `limit`. With an
// owner, what it allocates (and the full collection a refusal leads to) is charged to
// the owner's instruction count.
struct ScriptMemory
{
    size_t used = 0;
    size_t limit = size_t(ScriptEngine::MemoryLimit);
    size_t peak = 0;
    ScriptEngine::Impl *owner = nullptr;
};

void *scriptAlloc(void *ud, void *ptr, size_t osize, size_t nsize);

struct ScriptEngine::Impl
{
    // What the body is doing.
    enum class Wait {
        None = 0,     // running, or not started
        Start = 1,    // due to start
        Resume = 2,   // due to resume at once
        Slice = 3,    // paused by the instruction hook
        Sending = 4,  // bytes are to be sent for the body
        Sleep = 5,    // sleep
        Expect = 6,   // one of the expect calls
        Read = 7,     // read
        ReadLine = 8, // readLine
        Idle = 9,     // idle: until the run is stopped
        Fault = 10,   // a fault that nothing may catch
    };

    // The callback in progress.
    enum class Callback {
        None = 0,
        OnReceive = 1,
        OnStop = 2,
        Closing = 3,
    };

    struct Expectation
    {
        enum Kind { Text, Pattern, Any };
        Kind kind = Text;
        bool mustMatch = false;
        QByteArray needle;        // Text
        QList<QByteArray> needles; // Any
        QRegularExpression regex; // Pattern (expectRegex and expectHex)
        QString call;             // "expect", "tryExpectAny", ...
        QString description;      // for the timeout message and waitingFor
    };

    // A value handed to the body when it resumes.
    using Value = std::variant<std::monostate, QByteArray, qint64>;

    struct Received
    {
        QByteArray bytes;
        QByteArray source;
    };

    struct QueuedSend
    {
        QByteArray bytes;
        int line = -1;
    };

    // A fault that nothing in the script may catch: the hook raises it again and
    // again until the run ends.
    struct Fault
    {
        bool pending = false;
        QByteArray text; // UTF-8
        int line = -1;
    };

    Impl(const Clock &clock, const CommandLookup &lookup);
    ~Impl();

    qint64 now() const { return clock ? clock() : 0; }

    // --- Set-up ---
    bool createState(QString *error);
    void closeState();

    // --- Running ---
    ScriptAction poll();
    void resumeBody();
    bool tryMatch();
    bool runCallback(int ref, Callback kind, const QByteArray &first, const QByteArray &second,
                     QString *message, int *line);
    void finish(ScriptState final, const QString &message, int line, const QString &detail);
    void emitOutput(ScriptOutput::Kind kind, const QString &text, int line);
    void feed(const QByteArray &data, const QString &source);
    void sendFinished(bool ok, const QString &error);
    qint64 deadline() const;
    QString waitingFor() const;
    void clearRx();

    // --- Used by the script functions; none of these calls Lua ---
    // Prepares a wait and yields the body; never returns to the caller.
    int suspend(lua_State *L, Wait what, qint64 ms);
    void setFault(const char *text, int line);
    void setError(const QString &text);
    void setError(const char *text);
    QString limitText() const;
    // Charges `units` of work done in C to the counter of what is running (the body or
    // a callback). When that takes the counter to the point where the hook acts, the
    // hook is made to run at the next instruction rather than up to 10000 later.
    void charge(long long units);
    // Bytes that C++ copies of a call's data would take: refused (false) when they would
    // not fit in what the heap has left, so that the copies made outside the Lua heap
    // stay within the same cap.
    bool roomFor(qint64 bytes) const;
    // Whether the current poll (or onStop) has run for TimeBackstopMs by the clock.
    bool pastBackstop() const;
    // Counts `bytes` of scratch space (a result about to be copied into Lua) as heap in
    // use until releaseScratch(), so that the copy and the original share the cap;
    // false, counting nothing, when they do not fit.
    bool holdScratch(qint64 bytes);
    // Lets go of the scratch space of the script functions.
    void releaseScratch();
    // The allocator's notes of strings of LongStringBytes and more, which shorten the
    // hook's interval while they live.
    void noteLongString(const void *block, size_t size);
    void forgetLongString(const void *block);
    void updateHookInterval();

    Clock clock;
    CommandLookup lookup;
    ScriptMemory memory;
    lua_State *L = nullptr;    // the main state: callbacks run here
    lua_State *body = nullptr; // the body's thread, anchored in the registry
    lua_State *running = nullptr; // the thread that runs script code now, if any
    int onReceiveRef = LUA_NOREF;
    int onStopRef = LUA_NOREF;
    ScriptPortInfo port;
    QByteArray portName; // UTF-8 forms for the state's set-up
    QByteArray portMode;
    QString name;
    bool loaded = false;
    ScriptState state = ScriptState::Idle;
    qint64 startMs = 0;
    qint64 endMs = 0;
    int errorLine = -1;
    QString finishReason;

    Wait wait = Wait::None;
    qint64 waitStartMs = 0;
    qint64 waitMs = 0; // 0: no limit (sleep: the time to sleep)
    Expectation expectation;
    int readCount = 0;
    QList<Value> results;      // for the next resume
    bool hasResumeError = false;
    QByteArray resumeError;    // to raise at the next resume
    QByteArray rxBuffer;
    qsizetype rxScanned = 0;   // bytes of rxBuffer searched without a hit

    QList<Received> rxQueue; // for onReceive
    qsizetype rxQueueBytes = 0;
    qint64 rxDropped = 0;
    qint64 lastDropWarningMs = 0;
    bool dropWarned = false;

    QList<QueuedSend> sendQueue; // from onReceive
    qsizetype sendQueueBytes = 0;
    QByteArray bodySend;
    bool sendOutstanding = false;
    bool sendFromBody = false;
    int sendLine = -1;

    QList<ScriptOutput> output;
    int outputLeftOut = 0;

    // Instruction counting (the hook).
    Callback callback = Callback::None;
    long long bodyCount = 0;
    long long callbackCount = 0;
    bool budgetExceeded = false;
    bool budgetByTime = false; // exceeded by the time backstop, not the count
    bool hookArmed = false;    // a charge set the hook to run at the next instruction
    int hookInterval = HookInterval; // shorter while long strings live
    QHash<const void *, int> longStrings;       // string block to its size class (log2)
    std::array<int, 64> longStringClasses = {}; // live long strings by size class
    qint64 backstopStartMs = -1; // when the current poll (or onStop) began; -1: none
    long long pollCallbackCount = 0;
    int pollCallbackCalls = 0;
    int callbackErrorLine = -1;
    Fault fault;
    bool autoReplyWarned = false;

    // Scratch space of the script functions: what is to be raised or pushed.
    QByteArray error;
    QByteArray bytes;
    QList<Value> values;
    qint64 scratchHeld = 0; // bytes of scratch counted in memory.used
    QHash<QByteArray, QRegularExpression> regexCache;
};

// The run that a Lua state (any of its threads) belongs to.
ScriptEngine::Impl *scriptImpl(lua_State *L);
// The count hook of every thread of a run.
void scriptHook(lua_State *L, lua_Debug *ar);
// The current line of the innermost frame of the script at or above `level`; -1 when
// there is none.
int scriptInnermostLine(lua_State *L, int level);
// The lines of up to `count` script frames that called the innermost one.
QList<int> scriptCallerLines(lua_State *L, int level, int count);
// An error value as text: strings and numbers through displayText, nil as "nil", any
// other value by its type; cut to the output limit.
QString scriptErrorText(lua_State *L, int index);
// displayText of at most the bytes that can show within the output limit, cut to it.
QString scriptDisplayText(const char *data, size_t length);
// Impl::charge for the run that `L` belongs to.
void scriptCharge(lua_State *L, long long units);
// Cuts a leading "script:LINE: " from `message`; returns the line, or -1.
int scriptStripPosition(QString *message);
