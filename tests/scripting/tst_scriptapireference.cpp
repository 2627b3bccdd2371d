#include "scripting/scriptapireference.h"
#include "scriptharness.h"

#include <QtTest>

// The reference that Help and the Scripts window show is held to the engine: it names
// exactly the functions a running script can call, and every example compiles.
class TestScriptApiReference : public QObject
{
    Q_OBJECT
private slots:
    void namesAreTheRegisteredFunctions();
    void examplesCompile_data();
    void examplesCompile();
};

void TestScriptApiReference::namesAreTheRegisteredFunctions()
{
    ScriptHarness harness;
    QVERIFY(harness.start("local names = {}\n"
                          "for name, value in pairs(_G) do\n"
                          "  if type(value) == 'function' then names[#names + 1] = name end\n"
                          "end\n"
                          "table.sort(names)\n"
                          "print(table.concat(names, ' '))\n"));
    harness.run();
    QCOMPARE(harness.printed().size(), 1);
    QStringList globals = harness.printed().first().split(' ');

    const QStringList reference = ScriptApiReference::functionNames();
    // Lua's own base functions, which the reference does not describe (print, which a
    // script sees in the program's version, is described).
    for (const char *base : {"assert", "collectgarbage", "dofile", "error", "getmetatable",
                             "ipairs", "load", "loadfile", "next", "pairs", "pcall", "rawequal",
                             "rawget", "rawlen", "rawset", "require", "select", "setmetatable",
                             "tonumber", "tostring", "type", "xpcall", "warn"}) {
        globals.removeAll(QString::fromLatin1(base));
    }
    QStringList sorted = reference;
    sorted.sort();
    QCOMPARE(globals, sorted);
    // The names the engine suggests from are the same, and port beside them.
    QStringList api = ScriptEngine::apiNames();
    QVERIFY(api.removeAll(QStringLiteral("port")) == 1);
    api.sort();
    QCOMPARE(api, sorted);
    for (const ScriptApiReference::Entry &entry : ScriptApiReference::entries()) {
        QVERIFY2(!entry.results.isEmpty() && !entry.description.isEmpty(), qPrintable(entry.name));
    }
}

void TestScriptApiReference::examplesCompile_data()
{
    QTest::addColumn<QString>("example");
    for (const ScriptApiReference::Entry &entry : ScriptApiReference::entries()) {
        QTest::newRow(qPrintable(entry.name)) << entry.example;
        // Each example shows its own function.
        QVERIFY2(entry.example.contains(entry.name + "("), qPrintable(entry.name));
    }
}

void TestScriptApiReference::examplesCompile()
{
    QFETCH(QString, example);
    ScriptHarness harness;
    QVERIFY(harness.load(example));
}

QTEST_GUILESS_MAIN(TestScriptApiReference)
#include "tst_scriptapireference.moc"
