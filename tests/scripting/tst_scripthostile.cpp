// Hostile scripts on a port panel with the Scripts window open: each fails with its reason
// or keeps running until stopped, within the output limit; a broken guard shows as a time-out.

#include "scripting/scriptapi.h"
#include "session/scriptportlink.h"
#include "app/scriptwindow.h"
#include "session/serialportwidget.h"

#include <QSignalSpy>
#include <QStringTokenizer>
#include <QTextBrowser>
#include <QtTest>

#include <memory>

namespace {
constexpr int Timeout = 20000;
const QString Running = QStringLiteral("running");

// The body of `loop`, then a line "alive" once it has gone round three times.
QString looping(const QString &setup, const QString &body)
{
    return setup + QStringLiteral("\nlocal n = 0\nwhile true do\n  %1\n  n = n + 1\n"
                                  "  if n == 3 then print('alive') end\nend")
                       .arg(body);
}

int longestLine(const QString &text)
{
    qsizetype longest = 0;
    for (const QStringView line : QStringTokenizer(text, u'\n')) {
        longest = std::max(longest, line.size());
    }
    return int(longest);
}
} // namespace

class TestScriptHostile : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void hostile_data();
    void hostile();
    void outputFloodStaysInBudget();

private:
    void runScript(const QString &source);

    std::unique_ptr<SerialPortWidget> panel;
    ScriptPortLink *link = nullptr;
    std::unique_ptr<ScriptWindow> window;
};

void TestScriptHostile::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    panel = std::make_unique<SerialPortWidget>();
    Settings settings;
    settings.connMode = ModeTcpServer;
    settings.targetPort = 0;
    panel->applySettings(settings);
    link = new ScriptPortLink(panel->session());
    window = std::make_unique<ScriptWindow>();
    window->setPortLister([this] {
        return QList<ScriptWindow::PortEntry>{{panel.get(), QStringLiteral("Port 1"), link}};
    });
    window->show();
}

void TestScriptHostile::cleanupTestCase()
{
    window->closeWithoutAsking();
    window.reset();
    panel.reset();
}

void TestScriptHostile::runScript(const QString &source)
{
    ScriptLibrary library;
    library.scripts << Script{QStringLiteral("hostile"), source};
    window->setLibrary(library);
    window->selectScript(0);
    window->run();
}

void TestScriptHostile::hostile_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QByteArray>("received"); // fed to the run once it has started
    QTest::addColumn<QString>("outcome");     // Running, or a part of the failure

    const QString count = QStringLiteral("%1 would handle %2 elements; one call may handle at "
                                         "most %3");
    const QString pattern = QStringLiteral("%1: the pattern could take a very long time");
    const QString huge = "local huge = setmetatable({}, {__len = function() return 1 << 40 end})";

    // Calls refused before they start, with the reason.
    QTest::newRow("find with a pattern as long as the subject")
        << "string.find(('a'):rep(200000), ('a'):rep(100000) .. 'b.')" << QByteArray()
        << pattern.arg("string.find");
    QTest::newRow("find with four lazy items, under pcall, rethrown")
        << "local ok, e = pcall(string.find, ('a'):rep(3000), '.-.-.-.-b')\nerror(e, 0)"
        << QByteArray() << pattern.arg("string.find");
    QTest::newRow("match with greedy items")
        << "print(('a'):rep(3000):match('(a*)(a*)(a*)b'))" << QByteArray()
        << pattern.arg("string.match");
    QTest::newRow("gmatch over a long run")
        << "for w in ('a'):rep(20000):gmatch('a*b') do end" << QByteArray()
        << pattern.arg("string.gmatch");
    QTest::newRow("balanced match everywhere")
        << "print(('('):rep(20000):find('%b()'))" << QByteArray() << pattern.arg("string.find");
    QTest::newRow("gsub of every byte of 8 MB")
        << "local s = ('x'):rep(8 << 20)\ns:gsub('.', {})" << QByteArray()
        << pattern.arg("string.gsub");
    QTest::newRow("table.move over 2^24 slots, in a loop")
        << "local t = {}\nwhile true do table.move(t, 1, 1 << 24, 1) end" << QByteArray()
        << count.arg("table.move").arg(1 << 24).arg(ScriptApi::MaxElements);
    QTest::newRow("table.insert shifting a huge length")
        << huge + "\ntable.insert(huge, 1, 0)" << QByteArray()
        << count.arg("table.insert").arg(1LL << 40).arg(ScriptApi::MaxElements);
    QTest::newRow("table.concat over a huge length")
        << huge + "\nprint(table.concat(huge))" << QByteArray()
        << count.arg("table.concat").arg(1LL << 40).arg(ScriptApi::MaxElements);
    QTest::newRow("table.unpack of 900000")
        << "local t = {}\nfor i = 1, 900000 do t[i] = i end\nprint(table.unpack(t, 1, 900000))"
        << QByteArray() << count.arg("table.unpack").arg(900000).arg(ScriptApi::MaxElements);
    QTest::newRow("table.sort of a huge length")
        << huge + "\ntable.sort(huge, rawequal)" << QByteArray()
        << count.arg("table.sort").arg(1LL << 40).arg(ScriptApi::MaxSortElements);
    QTest::newRow("utf8.len of 8 MB")
        << "print(utf8.len(('x'):rep(8e6)))" << QByteArray()
        << "utf8.len would handle 8000000 bytes; one call may handle at most 4194304";
    QTest::newRow("expectAny of 300 texts")
        << "local t = {}\nfor i = 1, 300 do t[i] = 'x' .. i end\nexpectAny(t)" << QByteArray()
        << "expectAny: the list has 300 texts; it may have at most 256";
    QTest::newRow("toHex of 10 MB") << "local h = toHex(('x'):rep(10e6))" << QByteArray()
                                    << "not enough memory";
    // Texts of a megabyte and more: the reason is cut to the output limit.
    QTest::newRow("fail with 1 MB") << "fail(string.rep('x', 1e6))" << QByteArray()
                                    << QString(16383, u'x') + QChar(0x2026);
    QTest::newRow("error with 3 MB") << "error(('y'):rep(3e6))" << QByteArray()
                                     << QString(100, u'y');

    // Loops of calls that are each allowed: the run goes on, in slices, until stopped.
    QTest::newRow("plain find of a long needle")
        << looping("local s, needle = ('a'):rep(2e6), ('a'):rep(1e6) .. 'b'",
                   "string.find(s, needle, 1, true)")
        << QByteArray() << Running;
    QTest::newRow("table.move at the limit")
        << looping("local t = {}", "table.move(t, 1, 1 << 18, 1)") << QByteArray() << Running;
    QTest::newRow("string.rep of nothing")
        << looping("", "string.rep('', 1 << 24)") << QByteArray() << Running;
    QTest::newRow("table.unpack at the limit")
        << looping("local t = {}\nfor i = 1, 1 << 18 do t[i] = i end",
                   "local _ = select('#', table.unpack(t))")
        << QByteArray() << Running;
    QTest::newRow("a refused pattern under pcall")
        << looping("local s = ('a'):rep(3000)", "pcall(string.find, s, '.-.-.-.-b')")
        << QByteArray() << Running;
    QTest::newRow("gsub of every byte of 1 MB under pcall")
        << looping("local s = ('x'):rep(1 << 20)", "pcall(string.gsub, s, '.', {})")
        << QByteArray() << Running;
    QTest::newRow("a full heap, string.rep under pcall")
        << looping("local t = {}\nfor i = 1, 250000 do t[i] = {} end",
                   "pcall(string.rep, 'x', 1 << 24)")
        << QByteArray() << Running;
    QTest::newRow("concatenations of 8 MB")
        << looping("local a = ('x'):rep(8e6)", "local b = a .. a") << QByteArray() << Running;
    QTest::newRow("toHex and fromHex of 1 MB")
        << looping("local s = ('x'):rep(1e6)", "local b = fromHex(toHex(s))") << QByteArray()
        << Running;
    QTest::newRow("regex over 8 MB")
        << looping("local s = ('x'):rep(8e6)", "regex('x+y', s)") << QByteArray() << Running;
    QTest::newRow("print flood")
        << looping("", "print(('x'):rep(16000))") << QByteArray() << Running;
    QTest::newRow("log flood, into the receive view too")
        << looping("", "log(('x'):rep(16000))") << QByteArray() << Running;
    QTest::newRow("onStop that never returns, after a plain loop")
        << looping("onStop(function() while true do end end)", "") << QByteArray() << Running;
}

void TestScriptHostile::hostile()
{
    QFETCH(QString, source);
    QFETCH(QByteArray, received);
    QFETCH(QString, outcome);
    ScriptRunner *runner = link->runner();
    QSignalSpy output(runner, &ScriptRunner::output);
    runScript(source);
    QVERIFY(runner->isRunning());
    if (!received.isEmpty()) {
        QTRY_COMPARE_WITH_TIMEOUT(runner->engine().waitingFor(), "idle, answering with onReceive",
                                  Timeout);
        runner->ingest(received, QString());
    }
    if (outcome == Running) {
        QTRY_VERIFY_WITH_TIMEOUT(
            std::any_of(output.cbegin(), output.cend(),
                        [](const QList<QVariant> &args) {
                            return args.at(0).value<ScriptOutput>().text == "alive";
                        }),
            Timeout);
        QVERIFY2(runner->isRunning(), qPrintable(runner->engine().finishReason()));
        window->stop();
        QCOMPARE(runner->state(), ScriptState::Stopped);
    } else {
        QTRY_VERIFY_WITH_TIMEOUT(!runner->isRunning(), Timeout);
        QCOMPARE(runner->state(), ScriptState::Failed);
        QVERIFY2(runner->engine().finishReason().contains(outcome),
                 qPrintable(runner->engine().finishReason().left(200)));
    }
    QVERIFY(runner->engine().finishReason().size() <= ScriptEngine::OutputTextLimit);
    QTRY_VERIFY(window->outputText().contains(QStringLiteral("■ stopped after ")) ||
                window->outputText().contains(QStringLiteral("✗ failed ")));
    QVERIFY(longestLine(panel->viewText()) <= ScriptEngine::OutputTextLimit);
    QVERIFY(longestLine(window->outputText()) <= ScriptEngine::OutputTextLimit);

    // The port takes the next run as if nothing had happened.
    output.clear();
    runScript(QStringLiteral("print('next run')"));
    QTRY_VERIFY_WITH_TIMEOUT(!runner->isRunning(), Timeout);
    QCOMPARE(runner->state(), ScriptState::Passed);
    QCOMPARE(output.size(), 1);
    QCOMPARE(output.at(0).at(0).value<ScriptOutput>().text, "next run");
}

// A flood of output is shown at a limited rate, with a note of what was left out, and
// the window's text stays within its budget; once over it, the oldest lines go with a
// note in their place.
void TestScriptHostile::outputFloodStaysInBudget()
{
    const auto *view = window->findChild<QTextBrowser *>(QStringLiteral("scriptOutput"));
    ScriptRunner *runner = link->runner();
    runScript(QStringLiteral("while true do print(('x'):rep(16000)) end"));
    QTRY_VERIFY_WITH_TIMEOUT(
        window->outputText().contains("⚠ Output is coming faster than this window shows it; "
                                      "lines left out: "),
        Timeout);
    QVERIFY(view->document()->characterCount() <= ScriptWindow::OutputCharacterBudget);
    window->stop();
    QCOMPARE(runner->state(), ScriptState::Stopped);

    // Error lines are never left out: a hundred of them pass the budget.
    for (int i = 0; i < 100; ++i) {
        window->onRunnerOutput(panel.get(),
                               ScriptOutput{ScriptOutput::Error, QString(16000, u'e'), -1, 0});
    }
    QTRY_VERIFY(window->outputText().endsWith(QString(16000, u'e')));
    QVERIFY(view->document()->characterCount() <= ScriptWindow::OutputCharacterBudget);
    QVERIFY(window->outputText().startsWith(
        "… older output was removed; the window keeps the latest lines.\n"));
}

QTEST_MAIN(TestScriptHostile)
#include "tst_scripthostile.moc"
