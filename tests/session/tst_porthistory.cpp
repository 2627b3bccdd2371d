// A port's traffic as its panel keeps it: decoded into frames live from a real Modbus
// slave (pymodbus on a pseudo-terminal), held in the port's history and exported to
// files that Python reads back, selected in the view and saved byte for byte, and found
// in a view that a flood keeps trimming.

#include "decode/decodedframe.h"
#include "decode/decoderunner.h"
#include "decode/framespanel.h"
#include "decode/frametablemodel.h"
#include "decode/modbuscodec.h"
#include "recording/sessionexportdialog.h"
#include "recording/sessionrecorder.h"
#include "session/receivefindbar.h"
#include "session/selectionactions.h"
#include "session/selectionsavedialog.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");
constexpr int Timeout = 20000;

// Whether `process` has `path` open: the slave is ready once it holds its port.
bool holdsOpen(const QProcess &process, const QString &path)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/%1/fd").arg(process.processId()));
    const QFileInfoList entries = fds.entryInfoList(QDir::Files | QDir::System);
    return std::any_of(entries.begin(), entries.end(),
                       [&](const QFileInfo &fd) { return fd.symLinkTarget() == device; });
}

QByteArray rtu(QByteArray pdu)
{
    const quint16 crc = ModbusCodec::crc16(pdu);
    pdu.append(char(crc & 0xFF));
    pdu.append(char(crc >> 8));
    return pdu;
}

// Runs a Python snippet on `path` and returns what it printed.
QByteArray python(const QString &code, const QString &path)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(Python, {"-c", code, path});
    if (!process.waitForFinished(30000) || process.exitCode() != 0) {
        return "failed";
    }
    return process.readAllStandardOutput().trimmed();
}

} // namespace

class TestPortHistory : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void modbusSlaveDecodesExportsAndSaves();
    void findCountsWhatAFloodLeavesInView();
};

void TestPortHistory::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestPortHistory::modbusSlaveDecodesExportsAndSaves()
{
    if (QProcess::execute(Python, {"-c", "import pymodbus, serial_asyncio"}) != 0) {
        QSKIP("python3-pymodbus and python3-serial-asyncio are not installed (scripts/deps.sh "
              "test installs them)");
    }
    testsupport::PtyPair line;
    QString why;
    if (!line.start(&why)) {
        QSKIP(qPrintable(why));
    }
    QProcess slave;
    slave.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    slave.start(Python, {QFINDTESTDATA("modbus_peer.py"), "server", "rtu", line.portB()});
    QTRY_VERIFY_WITH_TIMEOUT(holdsOpen(slave, line.portB()), Timeout);

    SerialPortWidget panel;
    Settings settings;
    settings.connMode = ModeSerial;
    settings.name = line.portA();
    settings.baudRate = 19200;
    panel.applySettings(settings);
    FormatSetting format = panel.formatSettings();
    format.receiveMsgFormat = HexFormat;
    format.displaySendMsg = false;
    panel.applyFormatSetting(format);
    panel.setDecoderChoice({DecoderChoice::ModbusRtu, {}, true});
    QVERIFY(panel.framesPanel()->isVisibleTo(&panel));
    QVERIFY(panel.viewMenu()->findChild<QAction *>("acViewFrames")->isChecked());
    QVERIFY(panel.start(QString()));

    // Input registers 2..4 hold 1002..1004; then an address the slave does not have.
    const QList<QByteArray> requests{rtu(QByteArray::fromHex("010400020003")),
                                     rtu(QByteArray::fromHex("010403E80002"))};
    QByteArray answers;
    for (const QByteArray &request : requests) {
        const qsizetype before = panel.framesPanel()->model()->rowCount();
        QVERIFY(panel.writeBytes(request, QString()));
        QTRY_COMPARE_WITH_TIMEOUT(panel.framesPanel()->model()->rowCount(), before + 2, Timeout);
    }
    const FrameTableModel *model = panel.framesPanel()->model();
    for (int row = 0; row < 4; ++row) {
        const DecodedFrame frame = model->frameAt(row);
        QCOMPARE(frame.direction, row % 2 ? FrameDirection::Rx : FrameDirection::Tx);
        QCOMPARE(frame.pairedSeq, model->frameAt(row ^ 1).seq);
        if (row % 2 == 0) {
            QCOMPARE(frame.raw, requests.at(row / 2));
        } else {
            answers += frame.raw;
        }
    }
    QCOMPARE(answers.left(11), rtu(QByteArray::fromHex("010406" "03EA03EB03EC")));
    QCOMPARE(model->frameAt(3).status, FrameStatus::Exception);

    // The history holds the same bytes, in order, with the open note first.
    const SessionRecorder *history = panel.sessionRecorder();
    QByteArray tx;
    QByteArray rx;
    for (const SessionEvent &event : history->events()) {
        (event.kind == SessionEvent::Tx ? tx : rx) += event.bytes;
    }
    QCOMPARE(tx, requests.join());
    QCOMPARE(rx, answers);
    QVERIFY(history->events().front().text.startsWith("Opened "));

    QTemporaryDir dir;
    // Frames CSV, session JSON Lines and session CSV, each read back by Python.
    const QString framesCsv = dir.filePath("frames.csv");
    QString error;
    QVERIFY2(panel.framesPanel()->writeCsv(framesCsv, false, &error), qPrintable(error));
    QCOMPARE(python("import csv,sys\n"
                    "rows=list(csv.DictReader(open(sys.argv[1],encoding='utf-8-sig')))\n"
                    "print(' '.join(r['Direction']+':'+r['Raw'].replace(' ','') for r in rows))",
                    framesCsv),
             QByteArray("TX:" + requests.at(0).toHex().toUpper() + " RX:" +
                        model->frameAt(1).raw.toHex().toUpper() + " TX:" +
                        requests.at(1).toHex().toUpper() + " RX:" +
                        model->frameAt(3).raw.toHex().toUpper()));

    const QByteArray expected = "tx:" + requests.join().toHex().toUpper() + " rx:" +
                                answers.toHex().toUpper();
    const struct
    {
        SessionExportDialog::Format format;
        QString code;
    } exports[] = {
        {SessionExportDialog::Format::Jsonl,
         "import json,sys\n"
         "lines=[json.loads(l) for l in open(sys.argv[1],encoding='utf-8')]\n"
         "assert lines[0]['type']=='header'\n"
         "d={'tx':'','rx':''}\n"
         "for e in lines[1:]:\n"
         "  if e.get('dir') in d: d[e['dir']]+=e['hex'].replace(' ','')\n"
         "print('tx:'+d['tx']+' rx:'+d['rx'])"},
        {SessionExportDialog::Format::Csv,
         "import csv,sys\n"
         "d={'tx':'','rx':''}\n"
         "for r in csv.DictReader(open(sys.argv[1],encoding='utf-8-sig',newline='')):\n"
         "  if r['dir'] in d: d[r['dir']]+=r['hex'].replace(' ','')\n"
         "print('tx:'+d['tx']+' rx:'+d['rx'])"},
    };
    for (const auto &item : exports) {
        SessionExportDialog dialog({{panel.sessionExportInfo("p1"), history}}, 0);
        dialog.setFormat(item.format);
        const QString path = dir.filePath("session." + SessionExportDialog::formatSuffix(item.format));
        QSignalSpy finished(&dialog, &SessionExportDialog::exportFinished);
        QVERIFY(dialog.startExport(path, &error));
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, Timeout);
        QVERIFY(finished.at(0).at(0).toBool());
        QCOMPARE(python(item.code, path), expected);
    }

    // The whole receive view, selected, saves as exactly the bytes the slave sent.
    auto *view = panel.findChild<QPlainTextEdit *>("receiveBrowser");
    panel.displayPortBuffer();
    view->selectAll();
    const SelectionResult selected = panel.selectionActions()->currentResult();
    QCOMPARE(selected.bytes(), answers);
    QVERIFY(!selected.wholeFrames);
    SelectionSaveDialog save(selected, panel.sessionPortLabel());
    save.setFormat(SelectionSaveDialog::Format::Binary);
    const QString binary = dir.filePath("answers.bin");
    QVERIFY(save.writeTo(binary, &error));
    QFile saved(binary);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), answers);

    // Clear marks the history and empties the table; closing the panel stops decoding.
    panel.clear();
    QCOMPARE(panel.framesPanel()->model()->rowCount(), 0);
    QCOMPARE(history->events().back().text, QStringLiteral("Display cleared"));
    panel.setFramesVisible(false);
    QCOMPARE(panel.decodeRunner()->hold(), DecodeRunner::PanelClosed);
    QVERIFY(panel.writeBytes(requests.at(0), QString()));
    QTRY_VERIFY_WITH_TIMEOUT(history->events().back().kind == SessionEvent::Rx, Timeout);
    QCOMPARE(panel.framesPanel()->model()->rowCount(), 0);

    panel.stop();
    slave.kill();
    slave.waitForFinished(5000);
}

void TestPortHistory::findCountsWhatAFloodLeavesInView()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    SerialPortWidget panel;
    Settings settings;
    settings.connMode = ModeTcpClient;
    settings.targetHost = QStringLiteral("127.0.0.1");
    settings.targetPort = server.serverPort();
    panel.applySettings(settings);
    FormatSetting format = panel.formatSettings();
    format.displayBufferSize = 200000; // the view keeps about this many characters
    panel.applyFormatSetting(format);
    panel.resize(800, 600);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QVERIFY(panel.start(QString()));
    QVERIFY(server.waitForNewConnection(Timeout));
    QTcpSocket *peer = server.nextPendingConnection();

    // Ctrl+F on the view opens the bar; the needle is typed before the flood comes.
    auto *view = panel.findChild<QPlainTextEdit *>("receiveBrowser");
    view->setFocus();
    QTest::keyClick(view, Qt::Key_F, Qt::ControlModifier);
    ReceiveFindBar *bar = panel.findBar();
    QVERIFY(bar->active());
    QTest::keyClicks(bar->findChild<QLineEdit *>("receiveFindEdit"), "MARK");
    QCOMPARE(bar->statusText(), QStringLiteral("0/0"));

    // 2 MB of lines, every 100th with the needle: the view trims as it goes.
    QByteArray flood;
    for (int i = 0; i < 40000; ++i) {
        flood += i % 100 == 99 ? QByteArray("line MARK ") : QByteArray("line data ");
        flood += QByteArray::number(i).rightJustified(38, '.') + '\n';
    }
    peer->write(flood);
    QTRY_COMPARE_WITH_TIMEOUT(panel.rxByteCount(), qint64(flood.size()), Timeout);
    QTRY_COMPARE_WITH_TIMEOUT(panel.pendingDisplayBytes(), qint64(0), Timeout);
    const qsizetype shown = view->toPlainText().count(QStringLiteral("MARK"));
    QVERIFY(shown > 0 && shown < 400);
    QTRY_COMPARE_WITH_TIMEOUT(bar->matchList().size(), shown, Timeout);
    QCOMPARE(bar->statusText().section(u'/', 1), QString::number(shown));

    // F3 steps on and wraps; Esc closes the bar.
    const int first = bar->currentMatchIndex();
    QTest::keyClick(bar->findChild<QLineEdit *>("receiveFindEdit"), Qt::Key_F3);
    QCOMPARE(bar->currentMatchIndex(), (first + 1) % int(shown));
    QTest::keyClick(bar->findChild<QLineEdit *>("receiveFindEdit"), Qt::Key_Escape);
    QVERIFY(!bar->active());
    panel.stop();
}

QTEST_MAIN(TestPortHistory)
#include "tst_porthistory.moc"
