// The guarded library functions give Lua's own results for ordinary uses, also on
// subjects as long as the receive window; the calls they refuse are in the hostile
// scripts of tst_scripthostile.

#include "scriptharness.h"
#include "scripting/scriptapi.h"

#include <QtTest>

class TestScriptGuards : public QObject
{
    Q_OBJECT
private slots:
    void ordinaryUseWorks_data();
    void ordinaryUseWorks();
};

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
    QTest::newRow("rep with a separator, of nothing, and of an empty string")
        << "print(('ab'):rep(3, ','), ('x'):rep(0), ('x'):rep(1, '-'), #(''):rep(1 << 40))\n"
           "print(#('xyz'):rep(100000, '--'), ('xyz'):rep(100000, '--'):sub(-7))"
        << QStringList{"ab,ab,ab\t\tx\t0", "499998\tyz--xyz"};
    QTest::newRow("moves and unpacks at the limit")
        << "local t = table.move({}, 1, 1 << 18, 1)\nlocal u = {}\nfor i = 1, 1 << 18 do u[i] = i end\n"
           "print(select('#', table.unpack(u)), #table.concat(u, ''))"
        << QStringList{"262144\t1461759"};
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
    QTest::newRow("plain finds: positions, start, empty needle, no special characters")
        << "print(('hello world'):find('o w', 1, true))\nprint(('abc'):find('', 10, true))\n"
           "print(('abc'):find('', 4))\nprint(('abcabc'):find('c', -2))\n"
           "print(('a.b'):find('.', 1, true))\nprint(('a'):rep(2e6):find(('a'):rep(1e6) .. 'b', 1, true))"
        << QStringList{"5\t7", "nil", "4\t3", "6\t6", "2\t2", "nil"};
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
