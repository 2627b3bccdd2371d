// Fuzzes ScriptEngine with arbitrary sources: load, start, then a bounded number of
// polls on a fake clock that jumps to each deadline, with received data fed in, sends
// accepted or refused, and a stop at the end. The first byte chooses the port's
// behaviour, the rest is the script. Besides crashes, leaks and sanitizer reports it
// checks what must hold for every input: the heap stays under its cap, output keeps
// its limits, and a stopped run has let go of its Lua state.

#include "scripting/scriptengine.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "script_load: %s\n", what);
        std::abort();
    }
}

void checkOutput(ScriptEngine &engine)
{
    const QList<ScriptOutput> output = engine.takeOutput();
    require(output.size() <= ScriptEngine::OutputQueueLimit + 16, "output queue beyond its limit");
    for (const ScriptOutput &entry : output) {
        require(entry.text.size() <= ScriptEngine::OutputTextLimit, "output text beyond its limit");
        require(entry.elapsedMs >= 0, "output before the run began");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1) {
        return 0;
    }
    const uint8_t flags = data[0];
    qint64 clock = 1000;
    ScriptEngine engine([&clock] { return clock; });
    ScriptPortInfo port;
    port.name = QStringLiteral("fuzz");
    port.autoReplyOn = flags & 1;
    const QString source =
        QString::fromUtf8(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));

    QString error;
    int line = 0;
    if (!engine.load(Script{QStringLiteral("fuzz"), source}, port, &error, &line)) {
        require(!error.isEmpty(), "a refused load without a message");
        require(engine.state() == ScriptState::Idle, "a refused load changed the state");
        require(engine.memoryUsed() == 0, "a refused load kept its state");
        return 0;
    }
    require(line == -1, "a load that worked has an error line");
    engine.start();
    require(engine.isRunning(), "start did not start");

    static const QByteArray received[] = {"OK\r\n", "PING", QByteArray(3, '\0'), "ERROR\n",
                                          QByteArray(70000, 'x')};
    int sends = 0;
    for (int poll = 0; poll < 16 && engine.isRunning(); ++poll) {
        const ScriptAction action = engine.poll();
        require(engine.memoryPeak() <= ScriptEngine::MemoryLimit, "heap beyond its cap");
        checkOutput(engine);
        switch (action.kind) {
        case ScriptAction::Send:
            require(!action.bytes.isEmpty(), "an empty send");
            require(engine.deadline() == -1, "a deadline while a send is outstanding");
            // Every third send is refused, when the first byte says so.
            engine.sendFinished(!(flags & 2) || ++sends % 3 != 0, QStringLiteral("refused"));
            break;
        case ScriptAction::Wait: {
            const qint64 next = engine.deadline();
            if (next > clock) {
                clock = next;
            } else if (next < 0) {
                engine.feed(received[(flags >> 2) % std::size(received)],
                            (flags & 0x40) ? QStringLiteral("peer") : QString());
            }
            break;
        }
        case ScriptAction::Yield:
            clock += 1;
            break;
        case ScriptAction::Done:
            require(!engine.isRunning(), "Done while running");
            break;
        }
        require(engine.windowBytes() <= ScriptEngine::RxBufferBytes, "rx buffer beyond its limit");
        if (poll % 4 == 3 && engine.isRunning()) {
            engine.feed(received[poll % 4], QString());
        }
    }
    (void)engine.waitingFor();
    engine.stop(QStringLiteral("fuzz"));
    checkOutput(engine);
    require(!engine.isRunning(), "still running after stop");
    require(engine.finishReason().size() <= ScriptEngine::OutputTextLimit,
            "end reason beyond the output limit");
    require(engine.memoryUsed() == 0, "the Lua state outlived the run");
    require(engine.poll().kind == ScriptAction::Done, "poll after the end is not Done");
    return 0;
}
