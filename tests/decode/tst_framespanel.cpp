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
#include <QProcess>
#include <QSignalSpy>
#include <QTableView>
#include <QTcpServer>
#include <QTcpSocket>
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
    void liveModbusFromPymodbus();
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

void TestFramesPanel::liveModbusFromPymodbus()
{
    // A Modbus TCP slave of pymodbus answers our requests; what went each way is fed to
    // the runner as a port session would, and the table exports to a CSV Python reads.
    if (QProcess::execute(Python, {"-c", "import pymodbus"}) != 0) {
        QSKIP("python3-pymodbus is not installed (scripts/deps.sh test installs it)");
    }
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
    const quint16 port = probe.serverPort();
    probe.close();
    QProcess slave;
    slave.start(Python, {QFINDTESTDATA("modbus_peer.py"), "server", "tcp", QString::number(port)});
    const auto stopSlave = qScopeGuard([&slave] {
        slave.terminate();
        if (!slave.waitForFinished(5000)) {
            slave.kill();
            slave.waitForFinished(5000);
        }
    });
    QTcpSocket socket;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            socket.abort();
            socket.connectToHost(QHostAddress::LocalHost, port);
            return socket.waitForConnected(200);
        }(),
        20000);

    DecodeRunner runner;
    runner.setChoice({DecoderChoice::ModbusTcp, {}, true});
    FramesPanel panel(&runner);
    const QString peer = QStringLiteral("127.0.0.1:%1").arg(port);
    connect(&socket, &QTcpSocket::readyRead, &runner,
            [&] { runner.ingestRx(socket.readAll(), peer); });
    const QList<QByteArray> requests{tcp(1, "01 04 00 02 00 03"), tcp(2, "01 02 00 00 00 08"),
                                     tcp(3, "01 03 03 E8 00 02")};
    for (const QByteArray &request : requests) {
        const int rows = panel.model()->rowCount();
        socket.write(request);
        runner.ingestTx(request, peer);
        QTRY_COMPARE_WITH_TIMEOUT(panel.model()->rowCount(), rows + 2, 10000);
    }
    QCOMPARE(panel.statusText(), QStringLiteral("6 frame(s)"));

    QTemporaryDir dir;
    QString error;
    const QString path = dir.filePath("live.csv");
    QVERIFY2(panel.writeCsv(path, false, &error), qPrintable(error));
    const QList<QStringList> rows = readCsv(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(rows.size(), 7);
    QStringList statuses;
    for (const QStringList &row : rows.mid(1)) {
        QCOMPARE(row.at(4), QStringLiteral("Modbus TCP"));
        statuses.append(row.at(2) + u' ' + row.at(5));
    }
    QCOMPARE(statuses, QStringList({"TX OK", "RX OK", "TX OK", "RX OK", "TX OK", "RX EXCEPTION"}));
    // Input registers 2..4 hold 1002..1004 on the slave.
    QVERIFY2(rows.at(2).at(11).contains(QStringLiteral("1002")), qPrintable(rows.at(2).at(11)));
    QVERIFY(rows.at(2).at(11).contains(QStringLiteral("1004")));
    QCOMPARE(rows.at(2).at(9), QStringLiteral("1")); // paired with the request
}

QTEST_MAIN(TestFramesPanel)
#include "tst_framespanel.moc"
