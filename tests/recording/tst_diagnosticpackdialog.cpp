#include "support/pythonrun.h"
#include "recording/diagnosticpackdialog.h"

#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestDiagnosticPackDialog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void boxesShapeTheContentsAndPersist();
    void cancelWhileWritingKeepsAReadablePack();
};

namespace {

DiagnosticPack::Input sampleInput(qsizetype eventBytes)
{
    DiagnosticPack::Input input;
    input.userNames = {QStringLiteral("quintus")};
    for (int i = 0; i < 4; ++i) {
        DiagnosticPack::PortSnapshot port;
        port.index = i;
        port.id = QStringLiteral("ser-%1").arg(i);
        port.label = QStringLiteral("COM%1").arg(i + 3);
        SessionRecorder recorder(64 * 1024 * 1024);
        // Varied bytes, so that neither the scrubber nor deflate has it easy.
        QByteArray block(4096, Qt::Uninitialized);
        for (qsizetype k = 0; k < block.size(); ++k) {
            block[k] = char((k * 131 + i) % 251);
        }
        for (qsizetype done = 0; done < eventBytes; done += block.size()) {
            recorder.recordRx(block, QString(), 1000 + done * 10);
        }
        recorder.recordTx("login quintus\r\n", QString(), 1000 + eventBytes * 10 + 5000);
        DiagnosticPack::fillTraffic(port, recorder);
        input.ports.append(port);
    }
    return input;
}

} // namespace

void TestDiagnosticPackDialog::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestDiagnosticPackDialog::boxesShapeTheContentsAndPersist()
{
    QTemporaryDir dir;
    {
        DiagnosticPackDialog dialog(0);
        dialog.setInput(sampleInput(0));
        auto *traffic = dialog.findChild<QCheckBox *>(QStringLiteral("packTrafficBox"));
        auto *project = dialog.findChild<QCheckBox *>(QStringLiteral("packProjectBox"));
        auto *library = dialog.findChild<QCheckBox *>(QStringLiteral("packLibraryBox"));
        QVERIFY(traffic && project && library);
        QVERIFY(!traffic->isChecked());
        QVERIFY(!dialog.contentsText().contains(QStringLiteral("session.jsonl")));
        traffic->setChecked(true);
        QVERIFY(dialog.contentsText().contains(QStringLiteral("ports/03-COM6/session.jsonl")));
        project->setChecked(false);
        QVERIFY(!library->isEnabled());
        QVERIFY(!dialog.contentsText().contains(QStringLiteral("project/project.vlm")));

        QSignalSpy finished(&dialog, &DiagnosticPackDialog::packFinished);
        QVERIFY(dialog.startPack(dir.filePath(QStringLiteral("a.zip"))));
        QVERIFY(finished.wait(30000));
        QVERIFY(finished.at(0).at(0).toBool());
        // The manifest replaces the plan: sizes and the scrubbed count (the user name
        // in each port's sent line, once in JSON Lines and once in text).
        QVERIFY(dialog.contentsText().contains(QStringLiteral("8 item(s) replaced")));
        QVERIFY(QFileInfo::exists(dir.filePath(QStringLiteral("a.zip"))));
    }
    DiagnosticPackDialog again(0);
    DiagnosticPack::Options expected;
    expected.traffic = true;
    expected.project = false;
    QCOMPARE(again.options(), expected);
}

void TestDiagnosticPackDialog::cancelWhileWritingKeepsAReadablePack()
{
    QTemporaryDir dir;
    DiagnosticPackDialog dialog(0);
    DiagnosticPack::Options options;
    options.traffic = true;
    dialog.setOptions(options);
    dialog.setInput(sampleInput(4 * 1024 * 1024));
    QSignalSpy finished(&dialog, &DiagnosticPackDialog::packFinished);
    const QString path = dir.filePath(QStringLiteral("cut.zip"));
    // Writing happens off the GUI thread: startPack returns at once, and Close asks
    // the writer to stop at the next entry instead of closing.
    QVERIFY(dialog.startPack(path));
    QVERIFY(dialog.isWriting());
    dialog.reject();
    QVERIFY(finished.wait(60000));
    QVERIFY(finished.at(0).at(0).toBool());
    QVERIFY2(finished.at(0).at(1).toString().startsWith(QStringLiteral("Cancelled")),
             qPrintable(finished.at(0).at(1).toString()));
    QVERIFY(!dialog.isWriting());
    if (!pythonrun::available()) {
        QSKIP("/usr/bin/python3 is missing");
    }
    QString error;
    const QByteArray manifest = pythonrun::run(
        QStringLiteral("import sys, zipfile\n"
                       "z = zipfile.ZipFile(sys.argv[1])\n"
                       "assert z.testzip() is None\n"
                       "sys.stdout.write(z.read('manifest.json').decode())\n"),
        {path}, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(manifest.contains("\"cancelled\": true"));
}

QTEST_MAIN(TestDiagnosticPackDialog)
#include "tst_diagnosticpackdialog.moc"
