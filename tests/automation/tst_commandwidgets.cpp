#include "automation/commandeditor.h"
#include "automation/commandlibrarydialog.h"
#include "automation/commandpanel.h"
#include "automation/sequencebar.h"
#include "automation/sequencerunner.h"
#include "automation/sequencestepdialog.h"
#include "steps.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

namespace {
Command fullCommand()
{
    Command command;
    command.name = "Version";
    command.format = Command::TextForm;
    command.text = "AT+GMR\nsecond";
    command.lineEnding = 3;
    command.checksum = 4;
    command.shortcut = "Ctrl+Shift+1";
    command.note = "Asks for the firmware";
    return command;
}

using namespace steps;

// The dialog with its file prompts and questions answered by the test.
class ScriptedLibraryDialog : public CommandLibraryDialog
{
public:
    using CommandLibraryDialog::CommandLibraryDialog;
    QString importPath;
    QString exportPath;
    QStringList questions;

protected:
    bool confirm(const QString &question) override
    {
        questions << question;
        return true;
    }
    QString askImportPath() override { return importPath; }
    QString askExportPath() override { return exportPath; }
};
} // namespace

class TestCommandWidgets : public QObject
{
    Q_OBJECT
private slots:
    void editorPreviewsOnTheFocusedPort();
    void stepDialogRoundTrips_data();
    void stepDialogRoundTrips();
    void panelRequestsByButton();
    void libraryDialogChecksAndShares();
    void sequenceBarFollowsTheRunner();
};

void TestCommandWidgets::editorPreviewsOnTheFocusedPort()
{
    CommandEditor editor;
    FormatSetting format;
    format.txLineEndingMode = LineEndingCRLF;
    editor.setFormat(format);
    Command command;
    command.text = "AT";
    editor.setCommand(command);
    auto *preview = editor.findChild<QLabel *>("commandPreview");
    QCOMPARE(preview->text(), "On the focused port this sends 4 byte(s): 41 54 0D 0A");
    QVERIFY(editor.encodes());
    command.format = Command::HexForm;
    command.text = "0";
    editor.setCommand(command);
    QCOMPARE(preview->text(), "\"0\" is not whole bytes: use two hex digits per byte.");
    QVERIFY(!editor.encodes());

    // Box positions: the port's setting first, then the stored values; only user edits
    // count as edits.
    QSignalSpy changed(&editor, &CommandEditor::changed);
    editor.setCommand(fullCommand());
    QCOMPARE(editor.findChild<QComboBox *>("commandLineEndingBox")->currentIndex(), 4);
    QCOMPARE(editor.findChild<QComboBox *>("commandChecksumBox")->currentIndex(), 5);
    QCOMPARE(editor.command(), fullCommand());
    QCOMPARE(changed.size(), 0);
    editor.findChild<QComboBox *>("commandChecksumBox")->setCurrentIndex(0);
    QCOMPARE(changed.size(), 1);
    QCOMPARE(editor.command().checksum, -1);
}

void TestCommandWidgets::stepDialogRoundTrips_data()
{
    QTest::addColumn<SequenceStep>("step");
    SequenceStep send = stepOf(SequenceStepKind::Send);
    send.command = fullCommand();
    QTest::newRow("send") << send;
    QTest::newRow("wait") << wait(0);
    QTest::newRow("expect") << expect("OK*\\r", 0, true, AutoReplyMatch::Wildcard);
    QTest::newRow("loop to a label") << loop("retry", 0);
    QTest::newRow("loop to the start") << loop("", 7);
    QTest::newRow("label") << label("retry");
}

void TestCommandWidgets::stepDialogRoundTrips()
{
    QFETCH(SequenceStep, step);
    SequenceStepDialog dialog(step, {"retry", "top", "retry"}, CommandLibrary(), FormatSetting());
    QCOMPARE(dialog.step(), step);
    auto *targets = dialog.findChild<QComboBox *>("stepLoopTargetBox");
    QCOMPARE(targets->count(), 3); // the start, then each label once
    QCOMPARE(targets->itemText(0), "The start of the sequence");
    QCOMPARE(targets->itemText(1), "Label \"retry\"");
}

void TestCommandWidgets::panelRequestsByButton()
{
    CommandLibrary library;
    Command plain;
    plain.text = "AT";
    library.groups << CommandGroup{"Modem", {fullCommand(), plain}}
                   << CommandGroup{"Other", {}};
    CommandPanel panel;
    panel.setLibrary(library);
    QSignalSpy sendSpy(&panel, &CommandPanel::commandSendRequested);

    auto *first = panel.findChild<QPushButton *>("commandButton_0");
    auto *second = panel.findChild<QPushButton *>("commandButton_1");
    QVERIFY(first && second);
    QCOMPARE(first->text(), "Version");
    QCOMPARE(first->toolTip(), "Asks for the firmware\n\nShortcut: Ctrl+Shift+1");
    QCOMPARE(second->text(), "AT");
    QVERIFY(second->toolTip().isEmpty());
    second->click();
    QCOMPARE(sendSpy.size(), 1);
    QCOMPARE(sendSpy.first().first().value<Command>(), plain);

    // The shortcut works anywhere in the host's window.
    QWidget host;
    panel.setShortcutHost(&host);
    host.show();
    QVERIFY(QTest::qWaitForWindowActive(&host));
    QTest::keyClick(&host, Qt::Key_1, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(sendSpy.size(), 2);
    QCOMPARE(sendSpy.last().first().value<Command>(), fullCommand());
}

void TestCommandWidgets::libraryDialogChecksAndShares()
{
    QTemporaryDir dir;
    CommandLibrary library;
    library.groups << CommandGroup{"Sensors", {fullCommand()}};
    const SequenceStep ok = expect("OK", SequenceStep::DefaultMs);
    library.sequences << Sequence{"Empty", {}} << Sequence{"Good", {ok, ok}}
                      << Sequence{"Bad", {ok, loop("nowhere", SequenceStep::DefaultLoopCount)}};

    ScriptedLibraryDialog dialog(library, FormatSetting());
    auto *sequences = dialog.findChild<QListWidget *>("sequenceList");
    QCOMPARE(dialog.sequenceCheckText(), "Add steps with Add Step.");
    sequences->setCurrentRow(1);
    QCOMPARE(dialog.sequenceCheckText(), "\u2713 Ready to run, 2 step(s).");
    sequences->setCurrentRow(2);
    QCOMPARE(dialog.sequenceCheckText(),
             "Step 2 (Repeat from \"nowhere\", 2 time(s) in all): there is no label \"nowhere\" "
             "above this step.");

    dialog.exportPath = dir.filePath("shared.vlmcmd");
    dialog.findChild<QPushButton *>("exportButton")->click();
    QVERIFY(dialog.statusText().isEmpty());
    dialog.importPath = dialog.exportPath;
    dialog.findChild<QPushButton *>("importButton")->click();
    QCOMPARE(dialog.statusText(), "Added 4 group(s) and sequence(s) from shared.vlmcmd. Names "
                                  "already in use got a number.");
    QCOMPARE(dialog.library().groups.at(1).name, "Sensors (2)");
    QCOMPARE(dialog.library().sequences.at(5).name, "Bad (2)");

    dialog.importPath = dir.filePath("none.vlmcmd");
    dialog.findChild<QPushButton *>("importButton")->click();
    QCOMPARE(dialog.statusText(), "none.vlmcmd could not be imported: The file does not exist.");
    QFile blocker(dir.filePath("blocker")); // a file where a folder would have to be
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    dialog.exportPath = dir.filePath("blocker/folder.vlmcmd");
    dialog.findChild<QPushButton *>("exportButton")->click();
    QCOMPARE(dialog.statusText(), "folder.vlmcmd could not be written: The file could not be "
                                  "written.");

    auto *groups = dialog.findChild<QListWidget *>("groupList");
    groups->setCurrentRow(0);
    dialog.findChild<QPushButton *>("groupRemoveButton")->click();
    QCOMPARE(dialog.questions.last(), "Remove the group \"Sensors\" and its 1 command(s)?");
    QCOMPARE(dialog.library().groups.size(), 1);
    dialog.findChild<QPushButton *>("groupAddButton")->click();
    dialog.findChild<QPushButton *>("groupAddButton")->click();
    QCOMPARE(dialog.library().groups.at(1).name, "Group");
    QCOMPARE(dialog.library().groups.at(2).name, "Group (2)");
    dialog.findChild<QPushButton *>("sequenceAddButton")->click();
    QCOMPARE(dialog.library().sequences.last().name, "Sequence 7");
}

void TestCommandWidgets::sequenceBarFollowsTheRunner()
{
    SequenceRunner runner;
    runner.setSender([](const QByteArray &) { return true; });
    SequenceBar bar;
    bar.setRunner(&runner);
    QSignalSpy stop(&bar, &SequenceBar::stopRequested);
    QVERIFY(bar.isHidden());

    SequenceStep okStep = expect("OK", 0);
    QString error;
    QVERIFY(runner.start(Sequence{"Bar", {okStep}}, FormatSetting(), &error));
    QVERIFY(QTest::qWaitFor([&] { return bar.text().contains("Expect"); }, 5000));
    QVERIFY(!bar.isHidden());
    QVERIFY(bar.text().startsWith(
        "\u25b6 \"Bar\" \u00b7 step 1/1: Expect \"OK\" (no time limit) \u00b7 "));
    auto *stopButton = bar.findChild<QPushButton *>("sequenceBarStopButton");
    QVERIFY(!stopButton->isHidden());
    stopButton->click();
    QCOMPARE(stop.size(), 1);

    runner.stop(SequenceRunner::stopReasonText(SequenceRunner::StopReason::ConnectionLost));
    QCOMPARE(bar.text(), "\u25a0 \"Bar\" stopped at step 1: the connection was lost");
    QVERIFY(stopButton->isHidden());
    auto *close = bar.findChild<QToolButton *>("sequenceBarCloseButton");
    QCOMPARE(close->toolTip(), "Hide the result");
    close->click();
    QVERIFY(bar.isHidden());

    okStep.ms = 1;
    QVERIFY(runner.start(Sequence{QString(), {okStep}}, FormatSetting(), &error));
    QVERIFY(QTest::qWaitFor([&] { return !runner.isRunning(); }, 5000));
    QVERIFY(!bar.isHidden());
    QCOMPARE(bar.text(),
             "\u2716 Sequence failed at step 1 (Expect \"OK\" within 1 ms): no match within 1 ms");
}

QTEST_MAIN(TestCommandWidgets)
#include "tst_commandwidgets.moc"
