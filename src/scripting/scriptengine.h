#pragma once

// One run of a user's Lua script against one port, without a clock, a timer or a port
// of its own. The script body is a coroutine that the owner resumes in short slices by
// calling poll(); every call that waits (expect, read, sleep, idle, a send) yields, and
// so does a body that has run a million instructions. The owner passes the clock in,
// sends the bytes that poll() hands out, reports how the send went, feeds received
// bytes, and sleeps until deadline(). Everything runs on the caller's thread.
//
// The Lua state is a sandbox: only the base, string, table, math and utf8 libraries,
// no way to load code other than the script itself, a 32 MiB heap, instruction limits
// that no pcall can escape, and bounded queues between the script and the port.

#include "connection/settings.h"
#include "scripting/script.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

struct Command;

enum class ScriptState : qint32 {
    Idle = 0,
    Running = 1,
    Passed = 2,
    Failed = 3,
    Stopped = 4,
};

// One line of what a run reports.
struct ScriptOutput
{
    enum Kind : qint32 {
        Print = 0,
        Log = 1, // also shown in the port's receive view
        Warning = 2,
        Error = 3,
    };
    Kind kind = Print;
    QString text;
    int line = -1;        // the script line, -1 when none
    qint64 elapsedMs = 0; // since the run began
};

// What a run is told about its port.
struct ScriptPortInfo
{
    QString name; // port.name
    QString mode; // port.mode
    FormatSetting format;
    bool autoReplyOn = false; // the port's auto reply rules are switched on
};

// What poll() asks of the owner.
struct ScriptAction
{
    enum Kind : qint32 {
        Wait = 0,  // nothing to do until deadline() or new data
        Send = 1,  // send `bytes`, then call sendFinished()
        Yield = 2, // call poll() again soon, after the event loop had its turn
        Done = 3,  // the run is over
    };
    Kind kind = Wait;
    QByteArray bytes;
};

class ScriptEngine
{
    Q_DECLARE_TR_FUNCTIONS(ScriptEngine)

public:
    using Clock = std::function<qint64()>;
    // Finds a command of the library by name; false with the reason otherwise.
    using CommandLookup = std::function<bool(const QString &, Command *, QString *)>;

    static constexpr int MaxSourceBytes = 262144;
    static constexpr qsizetype MemoryLimit = 33554432;
    static constexpr int HookInterval = 10000;
    // While strings of LongStringBytes or more live, the hook comes sooner: after about
    // CompareBytesPerInterval bytes' worth of comparisons of the longest of them.
    static constexpr size_t LongStringBytes = 4096;
    static constexpr qint64 CompareBytesPerInterval = 1 << 24;
    static constexpr long long BodySlice = 1000000;
    static constexpr long long UnpausableLimit = 10000000;
    static constexpr long long CallbackLimit = 10000000;
    static constexpr int RxBufferBytes = 65536;
    static constexpr qsizetype ReceiveQueueBytes = 1048576;
    // Entries the onReceive queue holds; beyond that, chunks from the peer of the newest
    // entry join it, and a chunk from another peer pushes the oldest entry out.
    static constexpr int ReceiveQueueEntries = 4096;
    static constexpr qsizetype CallbackSendBytes = 1048576;
    static constexpr int OutputQueueLimit = 1000;
    static constexpr int OutputTextLimit = 16384;
    static constexpr int CallbacksPerPoll = 64;
    static constexpr long long CallbackInstructionsPerPoll = 1000000;
    static constexpr int DropWarningIntervalMs = 5000;
    static constexpr int PassesPerPoll = 64;
    static constexpr int MaxTimeoutMs = 86400000;
    static constexpr int DefaultTimeoutMs = 1000;
    static constexpr int MaxReadBytes = 65536;
    // Work done inside C on the script's behalf (bytes built or scanned, elements moved,
    // pattern steps) is charged to the instruction count in units of about one
    // instruction's time: an allocation costs a unit per this many bytes.
    static constexpr int AllocatedBytesPerUnit = 4;
    // However the work is counted, no stretch of script code holds the thread for much
    // longer than this by the owner's clock: then the body pauses, and a callback, or
    // body code that cannot pause, is ended as if it had run out of instructions. The
    // body's time runs from the start of a poll (or the end of its callbacks), each
    // callback's from its own start.
    static constexpr int TimeBackstopMs = 20;

    // `clock` gives monotonic milliseconds; the engine reads it for every time it needs.
    explicit ScriptEngine(Clock clock);
    // Closes the Lua state, without running onStop.
    ~ScriptEngine();
    ScriptEngine(const ScriptEngine &) = delete;
    ScriptEngine &operator=(const ScriptEngine &) = delete;

    void setCommandLookup(CommandLookup lookup);

    // Prepares a run: a fresh Lua state with the script compiled on its body thread.
    // A syntax error gives its message and line; state() stays Idle either way.
    bool load(const Script &script, const ScriptPortInfo &port, QString *error, int *errorLine);
    // Compiles the source on a plain state, without running anything.
    static bool checkSyntax(const QString &source, QString *error, int *errorLine);

    // Starts a loaded run: state() becomes Running and the body is due.
    void start();
    // Does what is due: runs callbacks for received data, resumes the body once or a
    // few times, and says what the owner has to do next.
    ScriptAction poll();
    // The clock value at which poll() has something to do; 0 (or any past value) for
    // at once, -1 for not before new data, a finished send or a stop.
    qint64 deadline() const;
    // Received bytes, with the peer they came from (empty for a single-peer port).
    void feed(const QByteArray &data, const QString &source);
    // How the send that poll() asked for went; `error` is the port's reason.
    void sendFinished(bool ok, const QString &error);
    // Ends a run in progress as Stopped; onStop runs with `reason`.
    void stop(const QString &reason);
    // The output since the last call, oldest first.
    QList<ScriptOutput> takeOutput();

    ScriptState state() const;
    bool isRunning() const;
    QString name() const;
    qint64 elapsedMs() const;
    int errorLine() const;
    QString finishReason() const;
    // A short text of what the body waits for, for a status line; empty when nothing.
    QString waitingFor() const;
    // Received bytes that the script has not read yet.
    int windowBytes() const;
    // Bytes the Lua heap holds now, and the most it held during this run.
    qsizetype memoryUsed() const;
    qsizetype memoryPeak() const;

    // Bytes as text that is safe to show: printable ASCII, tab, line feed, CR LF and
    // well-formed UTF-8 stand as they are, any other byte becomes "\xHH".
    static QString displayText(const QByteArray &bytes);
    // `text` cut to `limit` characters: a longer one keeps limit - 1 and ends in "…".
    static QString clipText(const QString &text, int limit = OutputTextLimit);
    // A one-line hint for an error message and the source line it points at, or an
    // empty string.
    static QString hintFor(const QString &message, const QString &sourceLine);
    // "did you mean" for a mistaken function name, or an empty string.
    static QString apiSuggestion(const QString &name);
    // Checksum names close to a mistaken one, best first.
    static QStringList checksumSuggestions(const QString &name);
    // The 34 function names in their order, then "port".
    static QStringList apiNames();
    // The 53 checksum names.
    static QStringList checksumNames();

    struct Impl;

private:
    Clock clock;
    CommandLookup lookup;
    std::unique_ptr<Impl> d;
};

Q_DECLARE_METATYPE(ScriptOutput)
Q_DECLARE_METATYPE(ScriptState)
