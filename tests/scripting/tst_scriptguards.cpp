// Library calls that loop inside C, where the instruction hook cannot reach: each is
// refused with a message that names it instead of holding the window, and ordinary uses
// of the same functions keep working, also on subjects as long as the receive window.
// Without the guards these cases run for hours, so a broken guard shows as a time-out.

#include "scriptharness.h"
#include "scripting/scriptapi.h"

#include <QtTest>

namespace {
const char HugeLength[] = "local huge = setmetatable({}, {__len = function() return 1 << 40 end})\n";
} // namespace

class TestScriptGuards : public QObject
{
    Q_OBJECT
private slots:
    void refusedFast_data();
    void refusedFast();
    void ordinaryUseWorks_data();
    void ordinaryUseWorks();
};

void TestScriptGuards::refusedFast_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message"); // a part of the failure text

    const QString huge = QString::fromLatin1(HugeLength);
    const QString count = QStringLiteral("%1 would handle 1099511627776 elements; one call "
                                         "may handle at most 16777216");
    QTest::newRow("table.insert shifting a huge length")
        << huge + "table.insert(huge, 1, 0)" << count.arg("table.insert");
    QTest::newRow("table.remove from the front of a huge length")
        << huge + "table.remove(huge, 1)" << count.arg("table.remove");
    QTest::newRow("table.move over a huge range")
        << "table.move({}, 1, 1 << 40, 2)" << count.arg("table.move");
    QTest::newRow("table.concat over a huge length")
        << huge + "print(table.concat(huge))" << count.arg("table.concat");
    QTest::newRow("table.concat with a huge end")
        << "print(table.concat({}, '', 1, 1 << 40))" << count.arg("table.concat");
    QTest::newRow("table.sort of a huge length")
        << huge + "table.sort(huge, rawequal)" << count.arg("table.sort");
    QTest::newRow("string.rep of an empty string")
        << "local s = (''):rep(1 << 40)" << count.arg("string.rep");
    QTest::newRow("string.rep just above the limit")
        << "local s = ('x'):rep(16777217)"
        << "string.rep would handle 16777217 elements";

    const QString pattern = QStringLiteral("%1: the pattern could backtrack for a very long time");
    QTest::newRow("find with four lazy items")
        << "print(('a'):rep(3000):find('.-.-.-.-b'))" << pattern.arg("string.find");
    QTest::newRow("match with greedy items")
        << "print(('a'):rep(3000):match('(a*)(a*)(a*)b'))" << pattern.arg("string.match");
    QTest::newRow("gmatch over a long run")
        << "for w in ('a'):rep(20000):gmatch('a*b') do end" << pattern.arg("string.gmatch");
    QTest::newRow("key and value after a long word")
        << "print((('x'):rep(60000) .. ' speed=42;'):match('(%w+)=(%w+)'))"
        << pattern.arg("string.match");
    QTest::newRow("gsub trimming after a long blank run")
        << "local s = (' '):rep(20000) .. 'x'\nprint((s:gsub('%s+$', '')))"
        << pattern.arg("string.gsub");
    QTest::newRow("balanced match everywhere")
        << "print(('('):rep(20000):find('%b()'))" << pattern.arg("string.find");
    QTest::newRow("many optional items")
        << "print(('a'):rep(40):find(('a?'):rep(30) .. 'b'))" << pattern.arg("string.find");
    QTest::newRow("method call through the string metatable, under pcall")
        << "local ok, e = pcall(string.find, ('a'):rep(3000), '.-.-.-.-b')\nerror(e, 0)"
        << pattern.arg("string.find");
}

// The run fails with the guard's message, long before the call could have finished.
void TestScriptGuards::refusedFast()
{
    QFETCH(QString, source);
    QFETCH(QString, message);
    ScriptHarness h;
    QVERIFY(h.start(source));
    h.run();
    QCOMPARE(h.engine.state(), ScriptState::Failed);
    QVERIFY2(h.engine.finishReason().contains(message), qPrintable(h.engine.finishReason()));
}

void TestScriptGuards::ordinaryUseWorks_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("printed");
    QTest::newRow("insert at the front")
        << "local t = {}\nfor i = 1, 2000 do table.insert(t, 1, i) end\nprint(#t, t[1], t[2000])"
        << QStringList{"2000\t2000\t1"};
    QTest::newRow("remove, move, concat, sort")
        << "local t = {5, 3, 1, 4, 2}\ntable.sort(t)\ntable.remove(t, 1)\n"
           "local u = table.move(t, 1, #t, 2, {0})\nprint(table.concat(u, ','))"
        << QStringList{"0,2,3,4,5"};
    QTest::newRow("rep at the limit")
        << "print(#(''):rep(16777216, ''))" << QStringList{"0"};
    QTest::newRow("anchored reply with two numbers")
        << "print(('+CSQ: 23,99'):match('^%+CSQ: (%d+),(%d+)'))" << QStringList{"23\t99"};
    QTest::newRow("key and value in a long text")
        << "print((('word '):rep(12000) .. ' speed=42;'):match('(%w+)=(%w+)'))"
        << QStringList{"speed\t42"};
    QTest::newRow("reply up to its line end in a 64 KB buffer")
        << "local buf = ('noise '):rep(10900) .. '+CSQ: 23,99\\r\\nOK\\r\\n'\n"
           "print(buf:match('%+CSQ:(.-)\\r\\n'))"
        << QStringList{" 23,99"};
    QTest::newRow("lines of a 64 KB buffer")
        << "local buf = ('line of text\\r\\n'):rep(4681)\nlocal n = 0\n"
           "for l in buf:gmatch('[^\\r\\n]+') do n = n + 1 end\nprint(#buf, n)"
        << QStringList{"65534\t4681"};
    QTest::newRow("collapse blanks in a long text")
        << "local s = ('a  b   '):rep(10000)\nprint(#(s:gsub('%s+', ' ')))"
        << QStringList{"40000"};
    QTest::newRow("trim a short run at the end")
        << "local s = ('word '):rep(10000) .. '   '\nprint(#(s:gsub('%s+$', '')))"
        << QStringList{"49999"};
    QTest::newRow("lazy item with a literal start")
        << "print(('abc'):rep(20000):find('a.-c'))" << QStringList{"1\t3"};
    QTest::newRow("anchored greedy over a long run")
        << "print(#(('a'):rep(100000) .. 'b'):match('^(a*)b'))" << QStringList{"100000"};
    QTest::newRow("plain find of a long subject")
        << "print(('a'):rep(3000):find('.-.-.-.-b', 1, true))" << QStringList{"nil"};
    QTest::newRow("malformed pattern keeps Lua's message")
        << "print(pcall(string.find, 'abc', '[a'))"
        << QStringList{"false\tmalformed pattern (missing ']')"};
}

void TestScriptGuards::ordinaryUseWorks()
{
    QFETCH(QString, source);
    ScriptHarness h;
    QVERIFY(h.start(source));
    h.run();
    QVERIFY2(h.engine.state() == ScriptState::Passed, qPrintable(h.engine.finishReason()));
    QTEST(h.printed(), "printed");
}

QTEST_MAIN(TestScriptGuards)
#include "tst_scriptguards.moc"
