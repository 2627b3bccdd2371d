// The engine around the script: loading, the life of a run, time, sends, received data,
// callbacks, output and its limits, error texts and hints.

#include "scriptharness.h"

#include <QtTest>

class TestScriptEngine : public QObject
{
    Q_OBJECT
private slots:
    void loadLimits_data();
    void loadLimits();
    void syntaxErrors_data();
    void syntaxErrors();
    void lifecycle();
    void runtimeErrors_data();
    void runtimeErrors();
    void sleepAndDeadline();
    void onReceiveAnswersDuringSleep();
    void onStop_data();
    void onStop();
    void sends_data();
    void sends();
    void receiveLimits();
    void callbacksPerPoll();
    void output();
    void waitingFor_data();
    void waitingFor();
    void displayText_data();
    void displayText();
    void hints_data();
    void hints();
    void suggestions_data();
    void suggestions();
};

void TestScriptEngine::loadLimits_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<bool>("ok");
    const QString ascii = "--" + QString(ScriptEngine::MaxSourceBytes - 2, u'x');
    QTest::newRow("262144 bytes") << ascii << true;
    QTest::newRow("one more") << ascii + u'x' << false;
    // Counted in UTF-8 bytes: 131071 two-byte characters and the comment mark.
    const QString wide = "--" + QString(ScriptEngine::MaxSourceBytes / 2 - 1, QChar(0xE9));
    QTest::newRow("262144 UTF-8 bytes") << wide << true;
    QTest::newRow("one byte more") << wide + u'x' << false;
}

void TestScriptEngine::loadLimits()
{
    QFETCH(QString, source);
    QFETCH(bool, ok);
    const QString tooLarge = "The script is larger than 256 KB.";
    QString error;
    int line = 0;
    QCOMPARE(ScriptEngine::checkSyntax(source, &error, &line), ok);
    QCOMPARE(error, ok ? QString() : tooLarge);
    QCOMPARE(line, -1);
    ScriptEngine engine([] { return 0; });
    QCOMPARE(engine.load({"big", source}, {}, &error, &line), ok);
    QCOMPARE(error, ok ? QString() : tooLarge);
    QCOMPARE(line, -1);
    QCOMPARE(engine.state(), ScriptState::Idle);
}

void TestScriptEngine::syntaxErrors_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("line");
    QTest::newRow("unexpected symbol") << "x = = 1" << "unexpected symbol near '='" << 1;
    QTest::newRow("missing end") << "if x then\n  y = 1\n"
                                 << "'end' expected (to close 'if' at line 1) near <eof>" << 3;
    QTest::newRow("precompiled chunk") << "\x1bLua\x54" << "attempt to load a binary chunk (mode "
                                                           "is 't')"
                                       << -1;
    QTest::newRow("unfinished string") << "x = 'abc\ny = 1" << "unfinished string near ''abc'" << 1;
}

// A syntax error gives its message without the position, and the line; nothing runs.
void TestScriptEngine::syntaxErrors()
{
    QFETCH(QString, source);
    QString error;
    int line = 0;
    QVERIFY(!ScriptEngine::checkSyntax(source, &error, &line));
    QTEST(error, "message");
    QTEST(line, "line");

    ScriptEngine engine([] { return 0; });
    error.clear();
    QVERIFY(!engine.load({"s", source}, {}, &error, &line));
    QTEST(error, "message");
    QTEST(line, "line");
    engine.start();
    QCOMPARE(engine.state(), ScriptState::Idle);
    QCOMPARE(engine.poll().kind, ScriptAction::Done);
}

void TestScriptEngine::lifecycle()
{
    ScriptHarness h;
    QCOMPARE(h.engine.poll().kind, ScriptAction::Done);
    QCOMPARE(h.engine.deadline(), -1);
    QVERIFY(h.load("sleep(500)\nprint(now())"));
    QCOMPARE(h.engine.state(), ScriptState::Idle);
    QCOMPARE(h.engine.name(), "test");
    QCOMPARE(h.engine.poll().kind, ScriptAction::Done); // loaded, not started

    h.engine.start();
    QCOMPARE(h.engine.state(), ScriptState::Running);
    QCOMPARE(h.engine.deadline(), 0);
    QString error;
    int line = 0;
    QVERIFY(!h.engine.load({"other", "print(1)"}, {}, &error, &line));
    QCOMPARE(error, "A script is already running.");
    QCOMPARE(line, -1);

    h.clockMs += 100;
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Passed);
    QCOMPARE(h.printed(), QStringList{"600"}); // now() counts from start()
    QCOMPARE(h.engine.elapsedMs(), 600);
    QCOMPARE(h.engine.finishReason(), QString());
    QCOMPARE(h.engine.errorLine(), -1);
    h.engine.start(); // a finished run does not start again
    QCOMPARE(h.engine.state(), ScriptState::Passed);
    QCOMPARE(h.engine.deadline(), -1);
    h.engine.stop("late");
    QCOMPARE(h.engine.state(), ScriptState::Passed);
}

void TestScriptEngine::runtimeErrors_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("shown"); // the Error output
    QTest::newRow("calling lines") << "local function inner()\n  error('deep')\nend\n"
                                      "local function outer()\n  inner()\nend\nouter()"
                                   << "deep" << 2 << "deep\ncalled from line 5\ncalled from line 7";
    QTest::newRow("at most five callers")
        << "local function f(n)\n  if n == 0 then error('x') end\n  f(n - 1)\nend\nf(9)" << "x" << 2
        << "x\ncalled from line 3\ncalled from line 3\ncalled from line 3\ncalled from line 3\n"
           "called from line 3";
    QTest::newRow("table error") << "\nerror({})" << "(error object is a table value)" << 2
                                 << "(error object is a table value)";
    QTest::newRow("nil error") << "error(nil)" << "nil" << 1 << "nil";
    QTest::newRow("number error") << "error(12)" << "12" << 1 << "12";
    QTest::newRow("level 0") << "\n\nerror('plain', 0)" << "plain" << 3 << "plain";
    QTest::newRow("bytes in the message") << "error('\\1\\255ok')" << "\\x01\\xFFok" << 1
                                          << "\\x01\\xFFok";
    QTest::newRow("argument error") << "sleep('x')"
                                    << "bad argument #1 to 'sleep' (number expected, got string)"
                                    << 1 << "bad argument #1 to 'sleep' (number expected, got string)";
    QTest::newRow("timeout") << "\nexpect('OK', 250)" << "timeout waiting for \"OK\" (250 ms)" << 2
                             << "timeout waiting for \"OK\" (250 ms)";
}

// A failed body reports the message, the line, and up to five calling lines.
void TestScriptEngine::runtimeErrors()
{
    QFETCH(QString, source);
    QFETCH(QString, message);
    QFETCH(int, line);
    ScriptHarness h;
    QVERIFY(h.start(source));
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Failed);
    QCOMPARE(h.engine.finishReason(), message);
    QCOMPARE(h.engine.errorLine(), line);
    QCOMPARE(h.output.size(), 1);
    QCOMPARE(h.output.first().kind, ScriptOutput::Error);
    QTEST(h.output.first().text, "shown");
    QCOMPARE(h.output.first().line, line);
}

void TestScriptEngine::sleepAndDeadline()
{
    ScriptHarness h;
    QVERIFY(h.start("sleep(250)\nprint('a')\nsleep(0)\nprint('b')"));
    const qint64 started = h.clockMs;
    QCOMPARE(h.engine.poll().kind, ScriptAction::Wait);
    QCOMPARE(h.engine.deadline(), started + 250);
    QCOMPARE(h.engine.waitingFor(), "sleep 250 ms");
    h.clockMs += 249;
    QCOMPARE(h.engine.poll().kind, ScriptAction::Wait);
    h.clockMs += 1;
    // sleep(0) hands the event loop a turn.
    QCOMPARE(h.engine.poll().kind, ScriptAction::Yield);
    QCOMPARE(h.engine.takeOutput().first().text, "a");
    QCOMPARE(h.engine.deadline(), h.clockMs);
    QCOMPARE(h.engine.poll().kind, ScriptAction::Done);
    QCOMPARE(h.engine.takeOutput().first().elapsedMs, 250);
    QCOMPARE(h.engine.state(), ScriptState::Passed);
}

// Callbacks go ahead of the body: a body in a long sleep answers at once.
void TestScriptEngine::onReceiveAnswersDuringSleep()
{
    ScriptHarness h;
    QVERIFY(h.start("onReceive(function(bytes, source)\n"
                    "  print(source)\n  send('got ' .. bytes)\nend)\nsleep(60000)"));
    h.run(1000);
    const qint64 before = h.clockMs;
    QCOMPARE(h.engine.deadline(), h.clockMs - 1000 + 60000);
    h.engine.feed("ping", "10.0.0.2:5000");
    QCOMPARE(h.engine.deadline(), 0);
    h.run(0);
    QCOMPARE(h.clockMs, before);
    QCOMPARE(h.sent, "got ping");
    QCOMPARE(h.printed(), QStringList{"10.0.0.2:5000"});
    QVERIFY(h.engine.isRunning());
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Passed);
}

void TestScriptEngine::onStop_data()
{
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("handler");
    QTest::addColumn<int>("state");
    QTest::addColumn<QStringList>("printed");
    QTest::addColumn<QString>("warning");
    QTest::newRow("passed") << "" << "print(how, why)" << int(ScriptState::Passed)
                            << QStringList{"passed\t"} << "";
    QTest::newRow("failed") << "error('bad', 0)" << "print(how, why)" << int(ScriptState::Failed)
                            << QStringList{"failed\tbad"} << "";
    QTest::newRow("stopped during sleep")
        << "sleep(60000)" << "print(how, why)" << int(ScriptState::Stopped)
        << QStringList{"stopped\tStopped by the user."} << "";
    QTest::newRow("error in onStop")
        << "" << "error('boom', 0)" << int(ScriptState::Passed) << QStringList() << "onStop: boom";
    QTest::newRow("send in onStop") << "" << "send('x')" << int(ScriptState::Passed)
                                    << QStringList()
                                    << "onStop: cannot send inside onStop: the run is over";
    QTest::newRow("wait in onStop") << "" << "sleep(1)" << int(ScriptState::Passed)
                                    << QStringList() << "onStop: cannot wait inside onStop";
    QTest::newRow("runaway onStop")
        << "" << "while true do end" << int(ScriptState::Passed) << QStringList()
        << "onStop: onStop ran for more than 10000000 instructions without returning";
    QTest::newRow("cleared") << "onStop(nil)" << "print(how)" << int(ScriptState::Passed)
                             << QStringList() << "";
}

// onStop runs once at the end, whatever the end; its failure is only a warning.
void TestScriptEngine::onStop()
{
    QFETCH(QString, body);
    QFETCH(QString, handler);
    QLocale::setDefault(QLocale::c());
    ScriptHarness h;
    QVERIFY(h.start(QStringLiteral("onStop(function(how, why) %1 end)\n%2").arg(handler, body)));
    h.run(1000);
    if (h.engine.isRunning()) {
        h.stop("Stopped by the user.");
    }
    QTEST(int(h.engine.state()), "state");
    QTEST(h.printed(), "printed");
    QFETCH(QString, warning);
    QCOMPARE(h.texts(ScriptOutput::Warning), warning.isEmpty() ? QStringList() : QStringList{warning});
    QCOMPARE(h.engine.memoryUsed(), 0);
}

void TestScriptEngine::sends_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("accepted"); // sends the port takes before it refuses, -1 all
    QTest::addColumn<QString>("refusal");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("result"); // printed, or the failure
    QTest::addColumn<int>("line");
    const QString closed = "The connection is not open.";
    QTest::newRow("refused, caught") << "print(pcall(send, 'x'))" << 0 << closed
                                     << int(ScriptState::Passed)
                                     << "false\tsend failed: " + closed << -1;
    QTest::newRow("refused") << "\nsend('x')" << 0 << closed << int(ScriptState::Failed)
                             << "send failed: " + closed << 2;
    QTest::newRow("refused without a reason") << "send('x')" << 0 << "" << int(ScriptState::Failed)
                                              << "send failed: the port did not accept the data"
                                              << 1;
    QTest::newRow("accepted") << "send('x')\nprint('sent')" << -1 << "" << int(ScriptState::Passed)
                              << "sent" << -1;
    QTest::newRow("queued from onReceive, refused")
        << "onReceive(function()\n  send('a')\nend)\nsend('go')\nsleep(100)" << 1 << closed
        << int(ScriptState::Failed) << "send failed: " + closed << 2;
    QTest::newRow("send in a comparator")
        << "table.sort({1, 2}, function() send('x') end)" << -1 << "" << int(ScriptState::Failed)
        << "cannot send here: it was called from code that Lua runs for a C function" << 1;
}

void TestScriptEngine::sends()
{
    QFETCH(QString, source);
    QFETCH(int, accepted);
    QFETCH(QString, refusal);
    QFETCH(QString, result);
    ScriptHarness h;
    h.port = [&](const QByteArray &, QString *why) {
        if (accepted < 0 || accepted-- > 0) {
            return true;
        }
        *why = refusal;
        return false;
    };
    h.device = [](const QByteArray &) { return QByteArray("reply"); };
    QVERIFY(h.start(source));
    h.run();
    QTEST(int(h.engine.state()), "state");
    if (h.engine.state() == ScriptState::Failed) {
        QCOMPARE(h.engine.finishReason(), result);
    } else {
        QCOMPARE(h.printed(), QStringList{result});
    }
    QTEST(h.engine.errorLine(), "line");
}

// The unread bytes keep their newest 64 KiB; the onReceive queue its newest 1 MiB in at
// most 4096 entries, with a warning of dropped bytes at most every 5 s.
void TestScriptEngine::receiveLimits()
{
    ScriptHarness h;
    QVERIFY(h.start("total = 0\nonReceive(function(bytes) total = total + #bytes end)\n"
                    "sleep(60000)\nlocal all = readAll()\nprint(total, #all, all:sub(-3))"));
    h.run(0);
    QByteArray block(64 * 1024, 'a');
    for (int i = 0; i < 32; ++i) {
        h.engine.feed(block, QString());
    }
    h.engine.feed("xyz", QString());
    QCOMPARE(h.engine.windowBytes(), ScriptEngine::RxBufferBytes);
    h.run(1000);
    QStringList warnings = h.texts(ScriptOutput::Warning);
    QCOMPARE(warnings, QStringList{"onReceive fell behind; bytes dropped: 1048579"});

    // A second overflow within 5 s is told only when the 5 s are over.
    for (int i = 0; i < 17; ++i) {
        h.engine.feed(block, QString());
    }
    h.run(3000);
    QCOMPARE(h.texts(ScriptOutput::Warning).size(), 1);
    h.run(1000);
    QCOMPARE(h.texts(ScriptOutput::Warning).size(), 1);
    h.feed("b");
    QCOMPARE(h.texts(ScriptOutput::Warning).size(), 2);
    QCOMPARE(h.texts(ScriptOutput::Warning).last(), "onReceive fell behind; bytes dropped: 65536");
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Passed);
    QCOMPARE(h.printed(), QStringList{QStringLiteral("%1\t65536\taab")
                                          .arg(1048576 + 1048576 + 1)});

    // The queue holds 4096 entries: single bytes beyond that join the newest one, and
    // nothing is lost.
    QVERIFY(h.start("calls, total = 0, 0\nonReceive(function(b) calls = calls + 1 "
                    "total = total + #b end)\nsleep(10)\nprint(calls, total)"));
    h.run(0);
    for (int i = 0; i < 10000; ++i) {
        h.engine.feed("x", QString());
    }
    h.run();
    QCOMPARE(h.printed().last(), "4096\t10000");
}

// One poll runs at most 64 callbacks, then hands the event loop a turn.
void TestScriptEngine::callbacksPerPoll()
{
    ScriptHarness h;
    QVERIFY(h.start("calls = 0\nonReceive(function() calls = calls + 1 end)\nidle()"));
    h.run(0);
    for (int i = 0; i < 100; ++i) {
        h.engine.feed("x", QString());
    }
    QCOMPARE(h.engine.poll().kind, ScriptAction::Yield);
    QCOMPARE(h.engine.deadline(), 0);
    QCOMPARE(h.engine.poll().kind, ScriptAction::Wait);
    QCOMPARE(h.engine.deadline(), -1);
    h.stop();
    QVERIFY(h.start("onReceive(function() for i = 1, 300000 do end end)\nidle()"));
    h.run(0);
    for (int i = 0; i < 10; ++i) {
        h.engine.feed("x", QString());
    }
    // About a million instructions of callbacks, then a turn for the event loop.
    QCOMPARE(h.engine.poll().kind, ScriptAction::Yield);
    QCOMPARE(h.engine.poll().kind, ScriptAction::Yield);
    QCOMPARE(h.engine.poll().kind, ScriptAction::Wait);
    QVERIFY(h.engine.isRunning());
}

void TestScriptEngine::output()
{
    ScriptHarness h;
    ScriptPortInfo info;
    info.autoReplyOn = true;
    QVERIFY(h.start("print(1, nil, true)\nlog('to the view')\nprint(('\\1'):rep(3))\n"
                    "onReceive(print)\nonReceive(print)\n"
                    "print(('x'):rep(20000))\nfor i = 1, 1001 do print(i) end\n"
                    "error('last')",
                    info));
    h.run();
    const QList<ScriptOutput> &out = h.output;
    QCOMPARE(out.at(0).text, "1\tnil\ttrue");
    QCOMPARE(out.at(0).kind, ScriptOutput::Print);
    QCOMPARE(out.at(0).line, 1);
    QCOMPARE(out.at(1).kind, ScriptOutput::Log);
    QCOMPARE(out.at(1).line, 2);
    QCOMPARE(out.at(2).text, "\\x01\\x01\\x01");
    // The auto reply warning comes once.
    QCOMPARE(out.at(3).kind, ScriptOutput::Warning);
    QCOMPARE(out.at(3).text, "This port also has Auto Reply rules switched on: the device may "
                             "get two answers to one request.");
    QCOMPARE(out.at(4).text, QString(16383, u'x') + QChar(0x2026));
    // 1000 entries wait at most; the error is never left out, and the note comes last.
    QCOMPARE(out.size(), 1000 + 2);
    QCOMPARE(out.at(999).text, "995");
    QCOMPARE(out.at(1000).kind, ScriptOutput::Error);
    QCOMPARE(out.at(1000).text, "last");
    QCOMPARE(out.at(1001).kind, ScriptOutput::Warning);
    QCOMPARE(out.at(1001).text, "Too much output; lines left out: 6");
    QVERIFY(h.engine.takeOutput().isEmpty());
}

void TestScriptEngine::waitingFor_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("text");
    QTest::newRow("sleep") << "sleep(100)" << "sleep 100 ms";
    QTest::newRow("read") << "read(5, 0)" << "read(5)";
    QTest::newRow("readLine") << "readLine()" << "readLine (1000 ms)";
    QTest::newRow("readLine, no limit") << "readLine(0)" << "readLine (no time limit)";
    QTest::newRow("idle") << "idle()" << "idle";
    QTest::newRow("idle with onReceive") << "onReceive(print)\nidle()"
                                         << "idle, answering with onReceive";
    QTest::newRow("expect") << "expect('OK\\r\\n\\tx', 500)" << "expect \"OK\\r\\n\\tx\" (500 ms)";
    QTest::newRow("expect, long") << "tryExpect(('a'):rep(41), 0)"
                                  << "tryExpect \"" + QString(39, u'a') + QChar(0x2026) +
                                         "\" (no time limit)";
    QTest::newRow("expect, 40") << "tryExpect(('a'):rep(40), 0)"
                                << "tryExpect \"" + QString(40, u'a') + "\" (no time limit)";
    QTest::newRow("expectRegex") << "expectRegex('a+b')" << "expectRegex /a+b/ (1000 ms)";
    QTest::newRow("expectHex") << "tryExpectHex('01  03 ?\?', 20)"
                               << "tryExpectHex 01 03 ?\? (20 ms)";
    QTest::newRow("expectAny") << "tryExpectAny({'OK', 'ERROR'})"
                               << "tryExpectAny any of OK, ERROR (1000 ms)";
    QTest::newRow("sending") << "send('x')" << "sending";
}

void TestScriptEngine::waitingFor()
{
    QFETCH(QString, source);
    ScriptHarness h;
    QVERIFY(h.start(source));
    const ScriptAction action = h.engine.poll();
    QVERIFY(h.engine.isRunning());
    QTEST(h.engine.waitingFor(), "text");
    if (action.kind == ScriptAction::Send) {
        QCOMPARE(h.engine.deadline(), -1);
        QCOMPARE(h.engine.poll().kind, ScriptAction::Wait); // until sendFinished
    }
}

void TestScriptEngine::displayText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("printable") << QByteArray("a ~") << "a ~";
    QTest::newRow("tab and line feed") << QByteArray("a\tb\n") << "a\tb\n";
    QTest::newRow("CR LF") << QByteArray("a\r\nb") << "a\r\nb";
    QTest::newRow("lone CR") << QByteArray("a\rb\r") << "a\\x0Db\\x0D";
    QTest::newRow("controls") << QByteArray("\x00\x1b\x7f", 3) << "\\x00\\x1B\\x7F";
    QTest::newRow("UTF-8") << QByteArray("\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80")
                           << QString::fromUtf8("é中😀");
    QTest::newRow("overlong") << QByteArray("\xc0\x80\xe0\x80\x80") << "\\xC0\\x80\\xE0\\x80\\x80";
    QTest::newRow("surrogate") << QByteArray("\xed\xa0\x80") << "\\xED\\xA0\\x80";
    QTest::newRow("beyond U+10FFFF") << QByteArray("\xf4\x90\x80\x80") << "\\xF4\\x90\\x80\\x80";
    QTest::newRow("cut off") << QByteArray("\xe4\xb8") << "\\xE4\\xB8";
    QTest::newRow("stray continuation") << QByteArray("\x80" "a") << "\\x80a";
}

void TestScriptEngine::displayText()
{
    QFETCH(QByteArray, bytes);
    QTEST(ScriptEngine::displayText(bytes), "text");
}

void TestScriptEngine::hints_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("hint");
    const QString undeclared = "It has no value yet. Check the spelling (names are "
                               "case-sensitive), or declare it at the top of the script with %1 "
                               "= nil, or use local.";
    QTest::newRow("elif") << "if a then\nelif b then\nend" << "Lua writes elif as elseif.";
    QTest::newRow("elif in a string") << "print('elif') x" << "";
    QTest::newRow("full-width comma")
        << QString::fromUtf8("print(1\xef\xbc\x8c 2)")
        << QString::fromUtf8("This line has the full-width character \"\xef\xbc\x8c\", typed with "
                             "a Chinese input method. Switch to the English input method and type "
                             "it again.");
    QTest::newRow("other full-width character")
        << QString::fromUtf8("x = 1\xe2\x80\x8b")
        << "This line has a full-width character (a Chinese comma, quote, bracket or space). "
           "Switch to the English input method and type it again.";
    QTest::newRow("True") << "local x = True"
                          << "Lua's booleans are lower case, true and false, and 'no value' is nil.";
    QTest::newRow("usual name") << "sendln('AT')" << "Perhaps a typo: did you mean sendLine?";
    QTest::newRow("case") << "SendLine('AT')" << "Names are case-sensitive: did you mean sendLine?";
    QTest::newRow("undeclared") << "print(counter)" << undeclared.arg("counter");
    QTest::newRow("sleep(1.5)")
        << "sleep(1.5)" << "sleep() and timeouts take whole milliseconds: write 1500, not 1.5.";
    QTest::newRow("field call") << "local t = {}\nt.sendln('x')"
                                << "Perhaps a typo: did you mean sendLine?";
    QTest::newRow("unknown call") << "local t = {}\nt.frobnicate()"
                                  << "A function is called that does not exist: check the "
                                     "spelling of its name, and that it is defined above this "
                                     "line.";
    QTest::newRow("string plus") << "local x = 'a' + 'b'"
                                 << "Text is joined with .., not +: \"a\" .. \"b\".";
    QTest::newRow("index nil") << "local t\nprint(t.x)"
                               << "A value is nil. The usual causes are a tryExpect or read that "
                                  "timed out, or a misspelt variable name.";
    QTest::newRow("concatenate nil") << "local v\nprint('v=' .. v)"
                                     << "A value is nil. The usual causes are a tryExpect or read "
                                        "that timed out, or a misspelt variable name.";
    QTest::newRow("escape") << "expectRegex('\\d+')"
                            << "A backslash in a string must start an escape such as \\r, \\n or "
                               "\\x0D. Write regular expressions as long strings, [[like this]], "
                               "so their backslashes are left alone.";
    QTest::newRow("hash comment") << "# note" << "Lua comments start with --, not #.";
    QTest::newRow("not equal") << "if a != b then end" << "Lua writes \"not equal\" as ~=, not !=.";
    QTest::newRow("table commas") << "local t = {1 2}"
                                  << "The items of a table are separated by commas: {1, 2, 3}.";
    QTest::newRow("missing end") << "function f()\n  x = 1\n"
                                 << "An if, for, while or function is missing its end.";
    QTest::newRow("equals expected") << "a, b 1"
                                     << "Lua read a name where it expected a statement: check the "
                                        "spelling, and that a function call has its parentheses.";
    QTest::newRow("+=") << "x = 0\nx += 1" << "Lua has no +=, -= or ++: write x = x + 1.";
    QTest::newRow("++") << "x = 0\nx++" << "Lua has no +=, -= or ++: write x = x + 1.";
    QTest::newRow("+= in a comment") << "x y -- x += 1" << "";
    QTest::newRow("none") << "error('custom')" << "";
}

// Each hint against the message Lua really gives for the source, and the line it names.
void TestScriptEngine::hints()
{
    QFETCH(QString, source);
    QString message;
    int line = -1;
    if (ScriptEngine::checkSyntax(source, &message, &line)) {
        ScriptHarness h;
        QVERIFY(h.start(source));
        h.run();
        QCOMPARE(h.engine.state(), ScriptState::Failed);
        message = h.engine.finishReason();
        line = h.engine.errorLine();
    }
    QVERIFY2(line >= 1, qPrintable(message));
    const QString sourceLine = source.split(u'\n').value(line - 1);
    QTEST(ScriptEngine::hintFor(message, sourceLine), "hint");
}

void TestScriptEngine::suggestions_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("api");
    QTest::addColumn<QStringList>("checksums");
    QTest::newRow("usual name") << "delay" << "Perhaps a typo: did you mean sleep?" << QStringList();
    QTest::newRow("usual name, case") << "readline"
                                      << "Names are case-sensitive: did you mean readLine?"
                                      << QStringList();
    QTest::newRow("case") << "Print" << "Names are case-sensitive: did you mean print?"
                          << QStringList();
    QTest::newRow("typo") << "expct" << "Perhaps a typo: did you mean expect?" << QStringList();
    QTest::newRow("port") << "Port" << "Names are case-sensitive: did you mean port?"
                          << QStringList();
    QTest::newRow("exact") << "send" << "" << QStringList();
    QTest::newRow("nothing close") << "zzzzzz" << "" << QStringList();
    const QStringList ccitt{"crc16ccittfalse", "crc16xmodem", "crc16kermit"};
    QTest::newRow("ccitt") << "ccitt" << "" << ccitt;
    QTest::newRow("CRC-16/CCITT") << "CRC-16/CCITT" << "" << ccitt;
    QTest::newRow("part of a name") << "modbus" << "" << QStringList{"crc16modbus"};
    QTest::newRow("near miss") << "crc16modbs" << "" << QStringList{"crc16modbus"};
    QTest::newRow("prefix, at most three")
        << "crc16" << "" << QStringList{"crc16modbus", "crc16arc", "crc16buypass"};
}

void TestScriptEngine::suggestions()
{
    QFETCH(QString, name);
    QTEST(ScriptEngine::apiSuggestion(name), "api");
    QTEST(ScriptEngine::checksumSuggestions(name), "checksums");
}

QTEST_GUILESS_MAIN(TestScriptEngine)
#include "tst_scriptengine.moc"
