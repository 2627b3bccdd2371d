// The script window on real port panels, the editor and the highlighter.

#include "scripting/luahighlighter.h"
#include "scripting/scripteditor.h"
#include "session/scriptportlink.h"
#include "app/scriptwindow.h"
#include "session/serialportwidget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextBrowser>
#include <QtTest>

#include <memory>

namespace {
constexpr int Timeout = 10000;

// A port panel on a local TCP server port, with its script link.
struct Port
{
    Port()
    {
        Settings settings;
        settings.connMode = ModeTcpServer;
        settings.targetPort = 0;
        panel.applySettings(settings);
        link = new ScriptPortLink(panel.session());
    }
    SerialPortWidget panel;
    ScriptPortLink *link = nullptr;
};

ScriptLibrary libraryOf(const QList<Script> &scripts)
{
    ScriptLibrary library;
    library.scripts = scripts;
    return library;
}

// Clicks the button called `text` of the next message box, once it is shown.
void answerNextMessageBox(const QString &text)
{
    auto *timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, timer, [timer, text] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box) {
            return;
        }
        for (QAbstractButton *button : box->buttons()) {
            if (button->text() == text) {
                button->click();
            }
        }
        timer->deleteLater();
    });
    timer->start(10);
}

QStringList outputLines(const ScriptWindow &window)
{
    return window.outputText().split(u'\n');
}

// The links of the output lines that have one, in order.
QStringList anchors(const ScriptWindow &window)
{
    QStringList links;
    const auto *view = window.findChild<QTextBrowser *>(QStringLiteral("scriptOutput"));
    for (QTextBlock block = view->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            if (it.fragment().charFormat().isAnchor()) {
                links << it.fragment().charFormat().anchorHref();
                break;
            }
        }
    }
    return links;
}
} // namespace

class TestScriptWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void checkShowsResult_data();
    void checkShowsResult();
    void runShowsOutputAndLinksErrors();
    void closingKeepsTheRunGoing();
    void severalPortsPrefixTheirLines();
    void withoutPortsNothingRuns();
    void libraryEdits();
    void editorTabAndGutter();
    void highlighter_data();
    void highlighter();
    void screenshotSample();
};

void TestScriptWindow::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestScriptWindow::checkShowsResult_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("output");
    QTest::addColumn<int>("errorLine");
    QTest::newRow("fine") << "print('hello')\n" << QStringList{"✓ \"s\": no syntax errors."} << -1;
    QTest::newRow("elif") << "local x = 1\nif x then\nelif x > 1 then\nend\n"
                          << QStringList{"✗ line 3: syntax error near 'x'",
                                         "Hint: Lua writes elif as elseif."}
                          << 3;
}

void TestScriptWindow::checkShowsResult()
{
    QFETCH(QString, source);
    QFETCH(int, errorLine);
    ScriptWindow window;
    window.setLibrary(libraryOf({Script{"s", source}}));
    QCOMPARE(window.check(), errorLine < 0);
    QTEST(outputLines(window), "output");
    QCOMPARE(window.editor()->errorLine(), errorLine);
}

// A run prints its header, its lines and its end; an error names its line with a hint,
// and its link selects the script and puts the cursor on the line.
void TestScriptWindow::runShowsOutputAndLinksErrors()
{
    Port port;
    ScriptWindow window;
    window.setPortLister([&] {
        return QList<ScriptWindow::PortEntry>{{&port.panel, QStringLiteral("Port 1"), port.link}};
    });
    window.setLibrary(libraryOf({Script{"hello", "print('hello')\nlog('to the view')\n"},
                                 Script{"typo", "local count = 1\n\nprint(cuont)\n"}}));
    QSignalSpy requested(&window, &ScriptWindow::runRequested);
    window.selectScript(0);
    window.run();
    QCOMPARE(requested.count(), 1);
    QCOMPARE(requested.at(0).at(0).toInt(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(window.outputText().contains("✓ passed in"), Timeout);
    QStringList lines = outputLines(window);
    QVERIFY2(lines.at(0).startsWith("── \"hello\" on Port 1 · ") && lines.at(0).endsWith(" ──"),
             qPrintable(lines.at(0)));
    QCOMPARE(lines.mid(1, 2), (QStringList{"hello", "to the view"}));
    QVERIFY(lines.at(3).startsWith("✓ passed in "));
    QVERIFY(window.stateText().startsWith("\"hello\" passed in "));
    QVERIFY(port.panel.viewText().contains("to the view"));

    window.selectScript(1);
    window.editor()->goToLine(1);
    window.run();
    QTRY_VERIFY_WITH_TIMEOUT(window.outputText().contains("✗ failed at line 3"), Timeout);
    lines = outputLines(window);
    QVERIFY(lines.contains("✗ line 3: variable 'cuont' is not defined"));
    QVERIFY(lines.contains(QStringLiteral("Hint: It has no value yet. Check the spelling (names "
                                          "are case-sensitive), or declare it at the top of the "
                                          "script with cuont = nil, or use local.")));
    QCOMPARE(window.stateText(), "\"typo\" failed at line 3");
    QCOMPARE(window.editor()->errorLine(), 3);

    // Printed and logged lines link to their line as errors do.
    window.selectScript(0);
    QCOMPARE(anchors(window), (QStringList{"line:0:1", "line:0:2", "line:1:3", "line:1:3"}));
    auto *view = window.findChild<QTextBrowser *>(QStringLiteral("scriptOutput"));
    emit view->anchorClicked(QUrl(QStringLiteral("line:1:3")));
    QCOMPARE(window.currentScriptIndex(), 1);
    QCOMPARE(window.editor()->textCursor().blockNumber(), 2);
}

// Closing the window does not stop a run; "Stop and Close" does.
void TestScriptWindow::closingKeepsTheRunGoing()
{
    Port port;
    ScriptWindow window;
    window.setPortLister([&] {
        return QList<ScriptWindow::PortEntry>{{&port.panel, QStringLiteral("Port 1"), port.link}};
    });
    window.setLibrary(libraryOf({Script{"waiter", "print('waiting')\nidle()\n"}}));
    window.show();
    window.run();
    QTRY_VERIFY_WITH_TIMEOUT(window.outputText().contains("waiting"), Timeout);
    QCOMPARE(window.runningCount(), 1);
    QCOMPARE(window.stateText(), "Running \"waiter\" idle");

    answerNextMessageBox("Keep Running");
    QVERIFY(window.close());
    QVERIFY(!window.isVisible());
    QVERIFY(port.link->scriptRunning());

    window.show();
    window.closeWithoutAsking();
    QVERIFY(!window.isVisible());
    QVERIFY(port.link->scriptRunning());

    window.show();
    answerNextMessageBox("Cancel");
    QVERIFY(!window.close());
    QVERIFY(window.isVisible());

    answerNextMessageBox("Stop and Close");
    QVERIFY(window.close());
    QVERIFY(!port.link->scriptRunning());
    QVERIFY(outputLines(window).last().startsWith("■ stopped after "));
    QVERIFY(outputLines(window).last().endsWith(" s: stopped by the user"));
}

void TestScriptWindow::severalPortsPrefixTheirLines()
{
    Port first;
    Port second;
    ScriptWindow window;
    window.setPortLister([&] {
        return QList<ScriptWindow::PortEntry>{{&first.panel, QStringLiteral("Port 1"), first.link},
                                              {&second.panel, QStringLiteral("Port 2"), second.link}};
    });
    window.setLibrary(libraryOf({Script{"wait", "print('up')\nidle()\n"}}));
    window.run();
    QTRY_VERIFY_WITH_TIMEOUT(window.outputText().contains("up"), Timeout);
    QCOMPARE(outputLines(window).last(), "up");

    auto *combo = window.findChild<QComboBox *>(QStringLiteral("scriptPortCombo"));
    combo->setCurrentIndex(1);
    window.run();
    QTRY_VERIFY_WITH_TIMEOUT(window.outputText().contains("[Port 2] up"), Timeout);
    QCOMPARE(window.runningCount(), 2);
    window.stop();
    QVERIFY(!second.link->scriptRunning());
    QVERIFY(first.link->scriptRunning());
    first.link->stopScript(ScriptRunner::StopReason::User);
}

void TestScriptWindow::withoutPortsNothingRuns()
{
    ScriptWindow window;
    window.setLibrary(libraryOf({Script{"s", "print(1)"}}));
    QSignalSpy requested(&window, &ScriptWindow::runRequested);
    window.run();
    QCOMPARE(window.stateText(), "No port");
    QCOMPARE(outputLines(window), QStringList{"✗ There is no port to run the script on."});
    QCOMPARE(requested.count(), 0);
}

void TestScriptWindow::libraryEdits()
{
    ScriptWindow window;
    QSignalSpy edited(&window, &ScriptWindow::libraryEdited);
    QCOMPARE(window.addExample(0), 0);
    QCOMPARE(window.addExample(0), 1);
    QCOMPARE(window.library().scripts.at(1).name, "AT command regression (2)");
    QCOMPARE(window.library().scripts.at(1).source, window.library().scripts.at(0).source);
    QCOMPARE(edited.count(), 2);

    // Typing reaches library() at once and libraryEdited once the typing settles.
    window.editor()->selectAll();
    QTest::keyClicks(window.editor(), "print(2)");
    QCOMPARE(window.library().scripts.at(1).source, "print(2)");
    QTRY_COMPARE_WITH_TIMEOUT(edited.count(), 3, Timeout);
    QCOMPARE(edited.last().at(0).value<ScriptLibrary>().scripts.at(1).source, "print(2)");

    for (int i = 2; i < ScriptLibrary::MaxScripts; ++i) {
        QVERIFY(window.addScript(Script{"more", "x = nil"}) >= 0);
    }
    QCOMPARE(window.addScript(Script{"one too many", "x = nil"}), -1);
    QCOMPARE(window.library().scripts.size(), ScriptLibrary::MaxScripts);
    QCOMPARE(window.library().scripts.last().name, "more (62)");
}

void TestScriptWindow::editorTabAndGutter()
{
    ScriptEditor editor;
    editor.setPlainText("x");
    QTextCursor cursor = editor.textCursor();
    cursor.movePosition(QTextCursor::Start);
    editor.setTextCursor(cursor);
    QTest::keyClick(&editor, Qt::Key_Tab);
    QCOMPARE(editor.toPlainText(), "    x");

    const int narrow = editor.lineNumberAreaWidth();
    editor.setPlainText(QString(98, u'\n')); // 99 lines
    QCOMPARE(editor.lineNumberAreaWidth(), narrow);
    editor.setPlainText(QString(1000, u'\n'));
    QVERIFY(editor.lineNumberAreaWidth() > narrow);

    editor.goToLine(500);
    QCOMPARE(editor.textCursor().blockNumber(), 499);
}

void TestScriptWindow::highlighter_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("word"); // the first occurrence on that line
    QTest::addColumn<int>("token");
    using T = LuaHighlighter::Token;
    QTest::newRow("keyword") << 0 << "local" << int(T::Keyword);
    QTest::newRow("dashes inside a string") << 0 << "-- b" << int(T::String);
    QTest::newRow("line comment") << 0 << "note" << int(T::Comment);
    QTest::newRow("long comment opens") << 1 << "long" << int(T::Comment);
    QTest::newRow("long comment goes on") << 2 << "comment" << int(T::Comment);
    QTest::newRow("script function after it") << 2 << "send" << int(T::ApiName);
    QTest::newRow("number") << 2 << "10" << int(T::Number);
    QTest::newRow("long string with a level") << 3 << "str" << int(T::String);
    QTest::newRow("]] inside a level-2 string") << 4 << "still" << int(T::String);
    QTest::newRow("hexadecimal number") << 4 << "0x1F" << int(T::Number);
    QTest::newRow("field is not the function") << 5 << "send" << int(T::Plain);
    QTest::newRow("escaped quote stays in the string") << 6 << "after" << int(T::String);
    QTest::newRow("plain name") << 6 << "y" << int(T::Plain);
}

void TestScriptWindow::highlighter()
{
    QFETCH(int, line);
    QFETCH(QString, word);
    QFETCH(int, token);
    ScriptEditor editor;
    QTextDocument &document = *editor.document();
    const LuaHighlighter *lua = editor.highlighter();
    editor.setPlainText("local s = \"a -- b\" -- note\n"
                          "--[[ long\n"
                          "comment ]] send(\"x\", 10)\n"
                          "x = [==[ str\n"
                          "]] still ]==] + 0x1F\n"
                          "t.send(1)\n"
                          "y = 'it\\'s after'\n");
    const QTextBlock block = document.findBlockByNumber(line);
    const qsizetype column = block.text().indexOf(word);
    QVERIFY(column >= 0);
    QTextCharFormat found;
    for (const QTextLayout::FormatRange &range : block.layout()->formats()) {
        if (range.start <= column && column < range.start + range.length) {
            found = range.format;
        }
    }
    const QTextCharFormat expected = lua->formatFor(LuaHighlighter::Token(token));
    QCOMPARE(found.foreground(), expected.foreground());
    QCOMPARE(found.fontItalic(), expected.fontItalic());
}

// The screenshot scene's failure points at the script's fail() line.
void TestScriptWindow::screenshotSample()
{
    std::unique_ptr<ScriptWindow> window(ScriptWindow::createScreenshotSample());
    const int failLine = window->editor()->errorLine();
    QVERIFY(window->editor()->document()->findBlockByNumber(failLine - 1).text().contains("fail("));
    QCOMPARE(outputLines(*window).last(),
             QStringLiteral("✗ failed at line %1 after 1.21 s").arg(failLine));
}

QTEST_MAIN(TestScriptWindow)
#include "tst_scriptwindow.moc"
