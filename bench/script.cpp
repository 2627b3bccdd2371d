// What the script sandbox costs: the instruction hook on a tight loop next to a plain
// Lua state without it (and with a hook that does nothing), the wall time of one body slice, and how many received bytes a
// script's onReceive takes per second in small and large chunks.

#include "scripting/scriptengine.h"

#include <benchmark/benchmark.h>
#include <lua.hpp>

#include <QCoreApplication>
#include <QElapsedTimer>

namespace {

// 1e8 iterations of two instructions each (ADD and FORLOOP).
const char *const LoopSource = "local x = 0\nfor i = 1, 100000000 do x = x + i end\n";

// The loop on a bare state: all libraries, no hook, no allocator cap.
void BM_LoopPlain(benchmark::State &state)
{
    for (auto _ : state) {
        lua_State *L = luaL_newstate();
        luaL_openlibs(L);
        if (luaL_dostring(L, LoopSource) != LUA_OK) {
            state.SkipWithError(lua_tostring(L, -1));
        }
        lua_close(L);
    }
    state.counters["ns_per_iteration"] =
        benchmark::Counter(1e8, benchmark::Counter::kIsIterationInvariantRate |
                                    benchmark::Counter::kInvert);
}

void countNothing(lua_State *, lua_Debug *) {}

// The bare state with a count hook that does nothing: what any count hook costs, since
// the interpreter then checks the count at every instruction.
void BM_LoopPlainHooked(benchmark::State &state)
{
    for (auto _ : state) {
        lua_State *L = luaL_newstate();
        luaL_openlibs(L);
        lua_sethook(L, countNothing, LUA_MASKCOUNT, ScriptEngine::HookInterval);
        if (luaL_dostring(L, LoopSource) != LUA_OK) {
            state.SkipWithError(lua_tostring(L, -1));
        }
        lua_close(L);
    }
    state.counters["ns_per_iteration"] =
        benchmark::Counter(1e8, benchmark::Counter::kIsIterationInvariantRate |
                                    benchmark::Counter::kInvert);
}

// The same loop as a script: counted every 10000 instructions, paused every million,
// resumed by poll until it is done.
void BM_LoopScript(benchmark::State &state)
{
    qint64 clock = 0;
    long long polls = 0;
    for (auto _ : state) {
        ScriptEngine engine([&clock] { return clock; });
        QString error;
        if (!engine.load({QStringLiteral("loop"), QString::fromLatin1(LoopSource)}, {}, &error,
                         nullptr)) {
            state.SkipWithError(qPrintable(error));
            return;
        }
        engine.start();
        while (engine.poll().kind != ScriptAction::Done) {
            ++polls;
        }
        if (engine.state() != ScriptState::Passed) {
            state.SkipWithError(qPrintable(engine.finishReason()));
            return;
        }
    }
    state.counters["ns_per_iteration"] =
        benchmark::Counter(1e8, benchmark::Counter::kIsIterationInvariantRate |
                                    benchmark::Counter::kInvert);
    state.counters["polls"] = double(polls) / double(state.iterations());
}

// One poll of an endless body: a slice of a million instructions and the yield.
void BM_Slice(benchmark::State &state)
{
    qint64 clock = 0;
    ScriptEngine engine([&clock] { return clock; });
    engine.load({QStringLiteral("spin"), QStringLiteral("local n = 0\nwhile true do n = n + 1 "
                                                        "end")},
                {}, nullptr, nullptr);
    engine.start();
    for (auto _ : state) {
        if (engine.poll().kind != ScriptAction::Yield) {
            state.SkipWithError("the body did not yield");
            return;
        }
    }
    engine.stop(QStringLiteral("done"));
}

// Received data through onReceive, fed and polled chunk by chunk as a runner does.
void BM_OnReceive(benchmark::State &state)
{
    const QByteArray chunk(state.range(0), 'x');
    qint64 clock = 0;
    ScriptEngine engine([&clock] { return clock; });
    engine.load({QStringLiteral("count"),
                 QStringLiteral("total = 0\nonReceive(function(bytes) total = total + #bytes "
                                "end)\nidle()")},
                {}, nullptr, nullptr);
    engine.start();
    engine.poll();
    for (auto _ : state) {
        engine.feed(chunk, QString());
        engine.poll();
    }
    if (!engine.isRunning()) {
        state.SkipWithError(qPrintable(engine.finishReason()));
    }
    state.SetBytesProcessed(state.iterations() * chunk.size());
    engine.stop(QStringLiteral("done"));
}

} // namespace

BENCHMARK(BM_LoopPlain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_LoopPlainHooked)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_LoopScript)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Slice)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OnReceive)->Arg(1)->Arg(4096)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
