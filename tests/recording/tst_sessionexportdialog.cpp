#include "recording/sessionexportdialog.h"
#include "recording/sessionrecorder.h"

#include "support/testdata.h"

#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

class TestSessionExportDialog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void overviewAndScope();
    void longExportKeepsTheWindowResponsive();
};

using testdata::readFile;

namespace {

const qint64 T0 = 1760000000000000; // microseconds

SessionExport::PortInfo info(const QString &id, const QString &label)
{
    SessionExport::PortInfo port;
    port.id = id;
    port.label = label;
    port.mode = QStringLiteral("serial");
    return port;
}

} // namespace

void TestSessionExportDialog::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestSessionExportDialog::overviewAndScope()
{
    SessionRecorder com3(SessionRecorder::EventOverhead * 3 + 30);
    SessionRecorder com4;
    for (int i = 0; i < 5; ++i) {
        com3.recordTx("ping", {}, T0 + i * 10000);
    }
    com3.markClear(T0 + 60000);
    com3.recordRx("pong", {}, T0 + 70000);
    const QList<SessionExportDialog::Port> ports{{info("p1", "COM3"), &com3},
                                                 {info("p2", "COM4"), &com4}};
    SessionExportDialog dialog(ports, 0);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Export Session"));
    QCOMPARE(dialog.findChild<QComboBox *>("sessionFormatCombo")->currentText(),
             QStringLiteral("CSV (Excel)"));
    const QString since =
        QDateTime::fromMSecsSinceEpoch((T0 + 40000) / 1000).toString("yyyy-MM-dd HH:mm:ss");
    const QString dropped = QStringLiteral("Older data was dropped: VLM keeps the most recent %1 "
                                           "per port.")
                                .arg(QLocale().formattedDataSize(SessionRecorder::EventOverhead * 3 + 30));
    QCOMPARE(dialog.overviewText(),
             QStringLiteral("COM3 holds 3 record(s) (%1) since %2.\n")
                     .arg(QLocale().formattedDataSize(4 + 15 + 4), since) +
                 dropped);
    dialog.setAllPorts(true);
    QVERIFY(dialog.overviewText().contains(QStringLiteral("\nCOM4 holds no records yet.\n")));

    // After the last Clear only; what was left out and what was dropped are counted.
    dialog.setAllPorts(false);
    dialog.setAfterClear(true);
    QList<SessionExport::Source> sources = dialog.sources();
    QCOMPARE(sources.size(), 1);
    QCOMPARE(sources.first().events.size(), 1);
    QCOMPARE(sources.first().info.omitted, 2);
    QCOMPARE(sources.first().info.dropped, 4);
    QVERIFY(dialog.options().truncated);

    // The export itself writes what the export functions write, and the choice persists.
    dialog.setAfterClear(false);
    dialog.setAllPorts(true);
    dialog.setFormat(SessionExportDialog::Format::Text);
    QTemporaryDir dir;
    const QString path = dir.filePath(dialog.defaultFileName(QDateTime::currentDateTime()));
    QVERIFY(path.endsWith(".txt"));
    QSignalSpy finished(&dialog, &SessionExportDialog::exportFinished);
    QString error;
    QVERIFY(dialog.startExport(path, &error));
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(finished.first().at(0).toBool(), true);
    QCOMPARE(finished.first().at(1).toString(),
             QStringLiteral("Exported 3 record(s) to %1.").arg(QDir::toNativeSeparators(path)));
    QCOMPARE(readFile(path), SessionExport::toText(dialog.sources(), dialog.options()));
    SessionExportDialog again(ports, 1);
    QCOMPARE(again.format(), SessionExportDialog::Format::Text);
    QVERIFY(again.allPorts());

    QVERIFY(!dialog.startExport(dir.filePath("no/such/folder/x.txt"), &error));
    QVERIFY(error.contains(QStringLiteral("could not be written")));
}

void TestSessionExportDialog::longExportKeepsTheWindowResponsive()
{
    // Some 30 MB of CSV: written in slices, with a timer of the window firing between
    // them and the progress bar showing.
    SessionRecorder recorder(qint64(1) << 30);
    const QByteArray payload(1000, 'v');
    for (int i = 0; i < 30000; ++i) {
        recorder.recordTx(payload, {}, T0 + i * 2000);
    }
    SessionExportDialog dialog({{info("p1", "COM9"), &recorder}}, 0);
    dialog.setFormat(SessionExportDialog::Format::Csv);
    dialog.show();
    int ticks = 0;
    bool progressShown = false;
    QTimer tick;
    connect(&tick, &QTimer::timeout, &dialog, [&] {
        ++ticks;
        progressShown = progressShown ||
                        dialog.findChild<QProgressBar *>("exportProgress")->isVisible();
    });
    tick.start(1);
    QSignalSpy finished(&dialog, &SessionExportDialog::exportFinished);
    QTemporaryDir dir;
    const QString path = dir.filePath("long.csv");
    QString error;
    // Cancelled, it leaves nothing; started again, it runs to the end.
    QVERIFY(dialog.startExport(path, &error));
    dialog.cancelExport();
    QVERIFY(!dialog.isExporting());
    QVERIFY(!QFile::exists(path));
    QVERIFY(dialog.startExport(path, &error));
    QVERIFY(dialog.isExporting());
    QVERIFY(!QFile::exists(path)); // the file appears when it is complete
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 60000);
    QVERIFY(finished.first().at(0).toBool());
    QVERIFY(ticks > 2);
    QVERIFY(progressShown);
    QCOMPARE(readFile(path), SessionExport::toCsv(dialog.sources(), dialog.options()));
}

QTEST_MAIN(TestSessionExportDialog)
#include "tst_sessionexportdialog.moc"
