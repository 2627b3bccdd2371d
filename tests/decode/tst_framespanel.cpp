#include "decode/frametablemodel.h"
#include "decode/framespanel.h"
#include "faketemplate.h"
#include "modbusframes.h"
#include "support/pythonrun.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

using namespace frames;

class TestFramesPanel : public QObject
{
    Q_OBJECT
private slots:
    void statusBannerAndDecoderList();
    void csvExportsReadByPython();
    void tableActions();
};

namespace {

const QString Python = pythonrun::Python;

// Python's csv module reading a file we wrote.
QList<QStringList> readCsv(const QString &path, QString *error)
{
    const QByteArray out = pythonrun::run(
        "import csv, json, sys\n"
        "with open(sys.argv[1], encoding='utf-8-sig', newline='') as f:\n"
        "    print(json.dumps(list(csv.reader(f))))\n",
        {path}, error);
    QList<QStringList> rows;
    for (const QJsonValue &row : QJsonDocument::fromJson(out).array()) {
        rows.append(row.toVariant().toStringList());
    }
    return rows;
}

template<typename T>
T *child(QWidget *panel, const char *name)
{
    return panel->findChild<T *>(QString::fromLatin1(name));
}

QAction *tableAction(QWidget *panel, const QString &text)
{
    for (QAction *action : child<QTableView>(panel, "framesTable")->actions()) {
        if (action->text() == text) {
            return action;
        }
    }
    return nullptr;
}

} // namespace

void TestFramesPanel::statusBannerAndDecoderList()
{
    DecodeRunner runner;
    runner.setTemplates(fakeLibrary({"Meter", "Broken"}));
    FramesPanel panel(&runner);
    panel.setTemplateNames({"Meter", "Broken"});
    auto *combo = child<QComboBox>(&panel, "framesDecoderCombo");
    auto *banner = child<QLabel>(&panel, "framesBanner");
    QCOMPARE(panel.statusText(), QStringLiteral("Choose a decoder to start"));
    QCOMPARE(combo->count(), 7); // Off, three Modbus, a separator, two templates

    // The user picks a template; the runner takes it and the port is told.
    QSignalSpy choices(&panel, &FramesPanel::choiceChanged);
    runner.setPanelVisible(true);
    emit combo->activated(combo->findText("Meter"));
    QCOMPARE(choices.size(), 1);
    QCOMPARE(runner.choice().templateName, QStringLiteral("Meter"));
    QCOMPARE(panel.statusText(), QStringLiteral("Decoder changed; frames cleared"));

    // The 5001st frame pushes out the first.
    for (int i = 0; i < 5001; ++i) {
        runner.ingestRx(QByteArray::number(i), {});
    }
    QCOMPARE(panel.model()->rowCount(), 5000);
    QCOMPARE(panel.statusText(), QStringLiteral("5000 frame(s) (1 older dropped)"));

    emit combo->activated(combo->findText("Broken"));
    QVERIFY(!banner->isHidden());
    QCOMPARE(banner->text(), QStringLiteral("The frame template \"Broken\" cannot decode: The "
                                            "length field lies outside the frame. Fix it in "
                                            "Frame Templates."));
    QCOMPARE(panel.model()->rowCount(), 0);

    // The chosen template disappears from the library.
    emit combo->activated(combo->findText("Meter"));
    runner.setTemplates(fakeLibrary({"Broken"}));
    panel.setTemplateNames({"Broken"});
    QCOMPARE(combo->currentText(), QStringLiteral("Meter (missing)"));
    QCOMPARE(banner->text(), QStringLiteral("The frame template \"Meter\" no longer exists. "
                                            "Choose another decoder."));
    emit combo->activated(0);
    QVERIFY(banner->isHidden());
    QCOMPARE(panel.statusText(), QStringLiteral("Choose a decoder to start"));
}

void TestFramesPanel::csvExportsReadByPython()
{
    if (!QFileInfo(Python).isExecutable()) {
        QSKIP("/usr/bin/python3 is not installed");
    }
    DecodeRunner runner;
    runner.setTemplates(fakeLibrary({"Meter"}));
    runner.setWallClock([] { return QDateTime(QDate(2026, 2, 3), QTime(4, 5, 6, 7)); });
    runner.setChoice({DecoderChoice::Template, QStringLiteral("Meter"), true});
    FramesPanel panel(&runner);
    runner.ingestRx("\x01\x02", QStringLiteral("-peer"));
    runner.ingestTx("\x03", {});

    QTemporaryDir dir;
    QString error;
    const QString framesPath = dir.filePath("frames.csv");
    QVERIFY2(panel.writeCsv(framesPath, false, &error), qPrintable(error));
    const QList<QStringList> frames = readCsv(framesPath, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(frames.size(), 3);
    QCOMPARE(frames.at(0).first(), QStringLiteral("Seq"));
    QCOMPARE(frames.at(1),
             QStringList({"1", "2026-02-03 04:05:06.007", "RX", "'-peer", "Meter", "OK", "2",
                          "01 02", "'=SUM(A1)", "", "",
                          "Voltage=-5 mV; Sum=-5+3; Group=; @child==1"}));

    const QString fieldsPath = dir.filePath("fields.csv");
    QVERIFY2(panel.writeCsv(fieldsPath, true, &error), qPrintable(error));
    const QList<QStringList> fields = readCsv(fieldsPath, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(fields.size(), 1 + 2 * 4);
    // A number with a unit keeps its sign; an expression and a formula get the guard.
    QCOMPARE(fields.at(1), QStringList({"1", "2026-02-03 04:05:06.007", "RX", "OK", "Voltage",
                                        "-5 mV", "0", "1", "01"}));
    QCOMPARE(fields.at(2).at(5), QStringLiteral("'-5+3"));
    QCOMPARE(fields.at(3).mid(4), QStringList({"Group", "", "", "", ""}));
    QCOMPARE(fields.at(4).mid(4), QStringList({"Group / @child", "'=1", "0", "2", "01 02"}));

    QVERIFY(!panel.writeCsv(dir.filePath("no/such/folder.csv"), false, &error));
    QVERIFY(!error.isEmpty());
}

void TestFramesPanel::tableActions()
{
    DecodeRunner runner;
    runner.setChoice({DecoderChoice::ModbusTcp, {}, true});
    FramesPanel panel(&runner);
    panel.show();
    runner.ingestTx(tcp(1, "01 03 00 00 00 01"), {});
    runner.ingestRx(tcp(1, "01 03 02 00 2A"), {});
    QCOMPARE(panel.model()->rowCount(), 2);

    QAction *find = tableAction(&panel, "Find Bytes in Receive View");
    QAction *paired = tableAction(&panel, "Go to Paired Frame");
    QAction *copyRows = tableAction(&panel, "Copy Selected Rows");
    QVERIFY(find && paired && copyRows);
    panel.selectRow(1);
    QVERIFY(!find->isEnabled());
    QCOMPARE(find->toolTip(), QStringLiteral("Switch the receive view to Hex to find frames in it"));
    panel.setReceiveHexProbe([] { return true; });
    panel.selectRow(0);
    panel.selectRow(1);
    QVERIFY(find->isEnabled());
    QSignalSpy finds(&panel, &FramesPanel::findInReceiveRequested);
    find->trigger();
    QCOMPARE(finds.first().first().toString(), QStringLiteral("00 01 00 00 00 05 01 03 02 00 2A"));

    // The detail tree names the request and the strip shows the bytes.
    auto *tree = child<QTreeWidget>(&panel, "framesFieldTree");
    const QList<QTreeWidgetItem *> pairRow =
        tree->findItems(QStringLiteral("Paired with"), Qt::MatchExactly);
    QCOMPARE(pairRow.size(), 1);
    QVERIFY(pairRow.first()->text(1).startsWith(QStringLiteral("#1 · ")));
    QCOMPARE(child<QPlainTextEdit>(&panel, "framesHexStrip")->toPlainText(),
             QStringLiteral("00 01 00 00 00 05 01 03 02 00 2A"));

    QVERIFY(paired->isEnabled());
    paired->trigger();
    QCOMPARE(panel.currentRow(), 0);
    QCOMPARE(panel.model()->highlightedSeq(), 1U);

    QSignalSpy copied(&panel, &FramesPanel::rowsCopied);
    copyRows->trigger();
    QCOMPARE(copied.size(), 1);
    QVERIFY(copied.first().first().toString().startsWith(QStringLiteral("1\t")));
    QCOMPARE(QApplication::clipboard()->text(), copied.first().first().toString());
}

QTEST_MAIN(TestFramesPanel)
#include "tst_framespanel.moc"
