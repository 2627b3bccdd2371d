// What a script cannot do: reach outside the sandbox, run away with the event loop,
// take the heap, or escape a fatal condition with pcall.

#include "scriptharness.h"

#include <QtTest>

namespace {
const QString Unpausable = QStringLiteral(
    "ran too long where it cannot pause (inside a function called by table.sort, string.gsub "
    "or a metamethod)");
}

class TestScriptSandbox : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void unavailable_data();
    void unavailable();
    void allowed_data();
    void allowed();
    void runawayBodyIsSliced_data();
    void runawayBodyIsSliced();
    void unpausable_data();
    void unpausable();
    void memory_data();
    void memory();
    void callbacks_data();
    void callbacks();
};

void TestScriptSandbox::initTestCase()
{
    // The instruction budget message writes its number with "%L2".
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
}

void TestScriptSandbox::unavailable_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("line");
    for (const char *name : {"load", "loadfile", "dofile", "require", "collectgarbage", "io",
                             "os", "debug", "package", "coroutine", "warn", "True"}) {
        QTest::newRow(name) << QStringLiteral("local x = 1\nlocal f = %1").arg(QLatin1String(name))
                            << QStringLiteral("variable '%1' is not defined").arg(QLatin1String(name))
                            << 2;
    }
    QTest::newRow("string.dump") << "local f = function() end\nstring.dump(f)"
                                 << "attempt to call a nil value (field 'dump')" << 2;
    QTest::newRow("__gc") << "setmetatable({}, {__gc = function() end})"
                          << "__gc is not available in scripts" << 1;
    QTest::newRow("__gc under pcall, then rethrown")
        << "local ok, e = pcall(setmetatable, {}, {__gc = print})\nerror(e, 0)"
        << "__gc is not available in scripts" << 2;
    QTest::newRow("port.name written") << "\n\nport.name = 'x'" << "port is read-only" << 3;
    QTest::newRow("port metatable")
        << "setmetatable(port, {})"
        << "bad argument #1 to 'setmetatable' (table expected, got userdata)" << 1;
}

// Each ends the run Failed with its message and line, and the code after it never runs.
void TestScriptSandbox::unavailable()
{
    QFETCH(QString, source);
    ScriptHarness h;
    QVERIFY(h.start(source + "\nprint('after')"));
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Failed);
    QTEST(h.engine.finishReason(), "message");
    QTEST(h.engine.errorLine(), "line");
    QCOMPARE(h.printed(), QStringList());
}

void TestScriptSandbox::allowed_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("printed");
    QTest::newRow("declared by nil") << "x = nil\nprint(x)" << "nil";
    QTest::newRow("declared, then set") << "x = nil\nx = 2\nprint(x)" << "2";
    QTest::newRow("port reads") << "print(port.name, port.mode, tostring(port), port.other)"
                                << "COM7\tSerial\tport: COM7\tnil";
    QTest::newRow("port metatable hidden") << "print(getmetatable(port))" << "false";
    QTest::newRow("libraries") << "print(type(string.format), type(table.sort), "
                                  "type(math.floor), type(utf8.char), string.dump)"
                               << "function\tfunction\tfunction\tfunction\tnil";
    QTest::newRow("metatables without __gc") << "local t = setmetatable({}, {__index = "
                                                "function() return 7 end})\nprint(t.x)"
                                             << "7";
    QTest::newRow("pcall catches ordinary errors") << "print(pcall(error, 'x', 0))" << "false\tx";
    QTest::newRow("xpcall calls the handler")
        << "print(xpcall(function() error('e', 0) end, function(m) return 'h:' .. m end))"
        << "false\th:e";
    QTest::newRow("xpcall passes results")
        << "print(xpcall(function(a, b) return a + b end, print, 2, 3))" << "true\t5";
    QTest::newRow("waiting inside xpcall")
        << "print(xpcall(function() sleep(10) return 'slept' end, print))" << "true\tslept";
}

void TestScriptSandbox::allowed()
{
    QFETCH(QString, source);
    QFETCH(QString, printed);
    ScriptHarness h;
    ScriptPortInfo info;
    info.name = "COM7";
    info.mode = "Serial";
    QVERIFY(h.start(source, info));
    h.run();
    QCOMPARE(h.engine.finishReason(), QString());
    QCOMPARE(h.engine.state(), ScriptState::Passed);
    QCOMPARE(h.printed(), QStringList{printed});
}

void TestScriptSandbox::runawayBodyIsSliced_data()
{
    QTest::addColumn<QString>("loop");
    QTest::newRow("while") << "while true do end";
    QTest::newRow("inside pcall") << "pcall(function() while true do end end)";
    QTest::newRow("inside xpcall") << "xpcall(function() while true do end end, print)";
    QTest::newRow("in a metamethod called by Lua")
        << "local t = setmetatable({}, {__index = function() while true do end end})\n"
           "local x = t.key";
    QTest::newRow("handler ignores errors") << "while true do pcall(error, 'again') end";
}

// An endless body keeps giving the event loop its turn, one slice per poll, until stop;
// onStop runs with the reason.
void TestScriptSandbox::runawayBodyIsSliced()
{
    QFETCH(QString, loop);
    ScriptHarness h;
    QVERIFY(h.start("onStop(function(how, why) print(how, why) end)\n" + loop));
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(h.engine.poll().kind, ScriptAction::Yield);
        QCOMPARE(h.engine.deadline(), 0);
        QVERIFY(h.engine.isRunning());
    }
    h.stop("Stopped by the user.");
    QCOMPARE(h.engine.state(), ScriptState::Stopped);
    QCOMPARE(h.engine.errorLine(), -1);
    QCOMPARE(h.printed(), QStringList{"stopped\tStopped by the user."});
    QCOMPARE(h.engine.poll().kind, ScriptAction::Done);
    QCOMPARE(h.engine.memoryUsed(), 0);
}

void TestScriptSandbox::unpausable_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("line");
    QTest::newRow("table.sort comparator")
        << "local t = {3, 1, 2}\ntable.sort(t, function(a, b)\n  while true do end\nend)"
        << Unpausable << 3;
    QTest::newRow("__tostring") << "local o = setmetatable({}, {__tostring = function()\n"
                                   "  while true do end\nend})\nprint(tostring(o))"
                                << Unpausable << 2;
    QTest::newRow("string.gsub") << "local s = ('abc'):gsub('.', function()\n"
                                    "  while true do end\nend)"
                                 << Unpausable << 2;
    QTest::newRow("sort under pcall")
        << "local ok = pcall(table.sort, {3, 1, 2}, function()\n  while true do end\nend)"
        << Unpausable << 2;
    QTest::newRow("pcall inside the comparator")
        << "table.sort({3, 1, 2}, function()\n  while true do\n"
           "    pcall(function() while true do end end)\n  end\nend)"
        << Unpausable << 3;
    QTest::newRow("xpcall handler inside the comparator")
        << "table.sort({3, 1, 2}, function()\n"
           "  xpcall(function() while true do end end, function() while true do end end)\nend)"
        << Unpausable << 2;
    QTest::newRow("pcall(fail)") << "\n\npcall(fail, 'boom')" << "boom" << 3;
    QTest::newRow("fail inside pcall") << "pcall(function()\n  fail('boom')\nend)" << "boom" << 2;
    QTest::newRow("xpcall(fail)") << "xpcall(fail, print, 'boom')" << "boom" << 1;
    QTest::newRow("fail without a value") << "fail()" << "fail() was called" << 1;
    QTest::newRow("fail with nil") << "fail(nil)" << "fail() was called" << 1;
    QTest::newRow("fail with a number") << "fail(42)" << "42" << 1;
    QTest::newRow("fail with a table")
        << "fail(setmetatable({}, {__tostring = function() return 'T' end}))" << "T" << 1;
    QTest::newRow("fail in a comparator under pcall")
        << "pcall(table.sort, {2, 1}, function()\n  fail('deep')\nend)" << "deep" << 2;
    QTest::newRow("error after a caught fail in a comparator")
        << "pcall(table.sort, {2, 1}, function()\n  pcall(fail, 'deep')\n  return true\nend)"
        << "deep" << 2;
}

// Fatal conditions that pcall, xpcall and their handlers cannot catch: the run fails
// with the text and line, and nothing after the statement runs.
void TestScriptSandbox::unpausable()
{
    unavailable();
}

void TestScriptSandbox::memory_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("result"); // the failure, or what was printed
    QTest::newRow("string.rep under pcall")
        << "local ok, e = pcall(string.rep, 'xx', 1 << 24)\nprint(ok, e)"
        << int(ScriptState::Passed) << "false\tnot enough memory";
    QTest::newRow("growing table") << "local t = {}\nwhile true do\n  t[#t + 1] = ('x'):rep(1000) "
                                      ".. #t\nend"
                                   << int(ScriptState::Failed) << "not enough memory";
    QTest::newRow("doubling string") << "local s = 'x'\nwhile true do s = s .. s end"
                                     << int(ScriptState::Failed) << "not enough memory";
    QTest::newRow("many strings") << "local t = {}\nfor i = 1, 1e6 do t[i] = ('y'):rep(100) end"
                                  << int(ScriptState::Failed) << "not enough memory";
    QTest::newRow("exhausted under pcall, then freed")
        << "local ok = pcall(function() local t = {} while true do t[#t + 1] = {} end end)\n"
           "print(ok, #('z'):rep(1000))"
        << int(ScriptState::Passed) << "false\t1000";
}

// The heap never passes its cap; running out is an error; the next run works.
void TestScriptSandbox::memory()
{
    QFETCH(QString, source);
    QFETCH(int, state);
    QFETCH(QString, result);
    ScriptHarness h;
    QVERIFY(h.start(source));
    h.run();
    QCOMPARE(int(h.engine.state()), state);
    if (h.engine.state() == ScriptState::Failed) {
        QCOMPARE(h.engine.finishReason(), result);
    } else {
        QCOMPARE(h.printed(), QStringList{result});
    }
    QVERIFY(h.engine.memoryPeak() <= ScriptEngine::MemoryLimit);
    QCOMPARE(h.engine.memoryUsed(), 0);

    // The same engine takes the next run as if nothing had happened.
    QVERIFY(h.start("print(#('x'):rep(1 << 20))"));
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Passed);
    QCOMPARE(h.printed().last(), "1048576");
}

void TestScriptSandbox::callbacks_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("line");
    const QString budget = "onReceive ran for more than 10,000,000 instructions without returning";
    QTest::newRow("runaway") << "onReceive(function()\n  while true do end\nend)\nidle()" << budget
                             << 2;
    QTest::newRow("runaway inside pcall")
        << "onReceive(function()\n  pcall(function() while true do end end)\nend)\nidle()"
        << budget << 2;
    QTest::newRow("runaway, handler loops too")
        << "onReceive(function()\n  xpcall(function() while true do end end,\n"
           "    function() while true do end end)\nend)\nidle()"
        << budget << 2;
    QTest::newRow("expect") << "onReceive(function()\n  expect('x')\nend)\nidle()"
                            << "cannot wait inside onReceive" << 2;
    QTest::newRow("sleep under pcall") << "onReceive(function()\n  pcall(sleep, 10)\nend)\nidle()"
                                       << "cannot wait inside onReceive" << 2;
    QTest::newRow("more than 1024 KB")
        << "onReceive(function()\n  for i = 1, 1100 do send(('x'):rep(1024)) end\nend)\nidle()"
        << "onReceive queued more than 1024 KB to send at once" << 2;
    QTest::newRow("more than 1024 KB under pcall")
        << "onReceive(function()\n  pcall(function()\n"
           "    for i = 1, 1100 do send(('x'):rep(1024)) end\n  end)\nend)\nidle()"
        << "onReceive queued more than 1024 KB to send at once" << 3;
    QTest::newRow("fail under pcall") << "onReceive(function(b)\n  pcall(fail, 'bad ' .. b)\nend)\n"
                                         "idle()"
                                      << "bad x" << 2;
    QTest::newRow("error") << "onReceive(function(b)\n  error('oops')\nend)\nidle()" << "oops" << 2;
    QTest::newRow("error in the body's function")
        << "local function check(b) if b == 'x' then error('no x') end end\n"
           "onReceive(function(b)\n  check(b)\nend)\nidle()"
        << "no x" << 1;
    QTest::newRow("memory") << "onReceive(function()\n  local s = 'x'\n  while true do s = s .. s "
                               "end\nend)\nidle()"
                            << "not enough memory" << -1;
}

// A callback's fatal error ends the run, whatever pcall the callback wraps it in.
void TestScriptSandbox::callbacks()
{
    QFETCH(QString, source);
    ScriptHarness h;
    QVERIFY(h.start("onStop(function(how, why) print(how) end)\n" + source));
    h.run();
    QVERIFY(h.engine.isRunning());
    QCOMPARE(h.engine.waitingFor(), "idle, answering with onReceive");
    h.feed("x");
    QCOMPARE(h.engine.state(), ScriptState::Failed);
    QTEST(h.engine.finishReason(), "message");
    QFETCH(int, line);
    QCOMPARE(h.engine.errorLine(), line < 0 ? -1 : line + 1);
    // onStop still ran, under a budget of its own.
    QCOMPARE(h.printed(), QStringList{"failed"});
    QVERIFY(h.engine.memoryPeak() <= ScriptEngine::MemoryLimit);
}

QTEST_GUILESS_MAIN(TestScriptSandbox)
#include "tst_scriptsandbox.moc"
