// File transfer as a user runs it: through the port panel's dialog and through
// velmora-cli, against Debian's lrzsz on the far end of a pseudo-terminal relay.

#include "ptyrelay.h"
#include "session/portsession.h"
#include "session/serialportwidget.h"
#include "transfer/filetransferbar.h"
#include "transfer/filetransferdialog.h"
#include "transfer/filetransfersession.h"
#include "transfer/xmodemcodec.h"

#include "support/testdata.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using P = XferProtocol;

using testdata::randomBytes;
using testdata::readFile;
using testdata::writeFile;

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");

// Starts `command` ("rb -b", "sx -b f", "python ...") in `folder` on side B of `pty`.
// lrzsz empties its terminal's queues as it exits, so it writes into the relay's pipe.
bool startPeer(QProcess &process, const testsupport::PtyRelay &pty, const QString &folder,
               const QString &command)
{
    process.setWorkingDirectory(folder);
    process.setStandardInputFile(pty.portB());
    const int writer = pty.writerFor(1);
    process.setChildProcessModifier([writer] { ::dup2(writer, STDOUT_FILENO); });
    QStringList args = QProcess::splitCommand(command);
    const QString program = args.takeFirst();
    process.start(program == QLatin1String("python") ? Python : program, args);
    return process.waitForStarted();
}

// XMODEM pads the last block with SUB; the data itself must be whole and unchanged.
bool arrivedWhole(const QByteArray &got, const QByteArray &sent, bool padded)
{
    if (!padded) {
        return got == sent;
    }
    return got.startsWith(sent) && got.size() - sent.size() < 1024 &&
           got.mid(sent.size()) == QByteArray(got.size() - sent.size(), XmodemCodec::SUB);
}

Settings serialSettings(const QString &path)
{
    Settings settings;
    settings.connMode = ModeSerial;
    settings.name = path;
    settings.baudRate = 115200;
    return settings;
}

QString cliPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../src/cli/velmora-cli");
}

} // namespace

class TestXferIntegration : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void panelAgainstLrzsz_data();
    void panelAgainstLrzsz();
    void othersRefusedWhileRunning_data();
    void othersRefusedWhileRunning();
    void cliAgainstPeers_data();
    void cliAgainstPeers();

private:
    bool havePeers = false;
};

void TestXferIntegration::initTestCase()
{
    havePeers = !QStandardPaths::findExecutable(QStringLiteral("sx")).isEmpty();
}

void TestXferIntegration::panelAgainstLrzsz_data()
{
    QTest::addColumn<P>("protocol");
    QTest::addColumn<bool>("sending");
    QTest::addColumn<QString>("peer");
    QTest::addColumn<int>("size");
    QTest::newRow("send ymodem to rb") << P::Ymodem << true << "rb -b" << 5000;
    QTest::newRow("receive xmodem-1k from sx -k") << P::Xmodem1k << false << "sx -b -k f" << 1025;
    QTest::newRow("receive ymodem from sb -k") << P::Ymodem << false << "sb -b -k f" << 70000;
}

void TestXferIntegration::panelAgainstLrzsz()
{
    QFETCH(P, protocol);
    QFETCH(bool, sending);
    QFETCH(QString, peer);
    QFETCH(int, size);
    if (!havePeers) {
        QSKIP("lrzsz is needed (scripts/deps.sh test installs it)");
    }
    testsupport::PtyRelay pty;
    QString why;
    QVERIFY2(pty.start({0, 1000, 4096}, &why), qPrintable(why));
    QTemporaryDir ours;
    QTemporaryDir theirs;
    const QByteArray data = randomBytes(size, quint32(size) + 7);
    QVERIFY(writeFile((sending ? ours : theirs).filePath(QStringLiteral("f")), data));

    SerialPortWidget panel;
    panel.applySettings(serialSettings(pty.portA()));
    QVERIFY(panel.start(QString()));
    QSignalSpy tapped(&panel, &SerialPortWidget::rxTapped);
    QSignalSpy ended(&panel, &SerialPortWidget::transferEnded);
    QProcess process;
    QVERIFY(startPeer(process, pty, theirs.path(), peer));

    FileTransferDialog *dialog =
        panel.openFileTransfer(sending ? XferDirection::Send : XferDirection::Receive);
    QVERIFY(dialog);
    dialog->setProtocol(protocol);
    if (sending) {
        dialog->setFilePath(ours.filePath(QStringLiteral("f")));
    } else {
        dialog->setFolder(ours.path());
    }
    dialog->accept();
    QVERIFY2(panel.session()->transferRunning(), qPrintable(dialog->refusal()));
    QVERIFY(panel.fileTransferBar()->isVisibleTo(&panel));
    if (qEnvironmentVariableIsSet("VELMORA_XFER_SCREENSHOT")) {
        panel.resize(900, 560);
        panel.show();
        QTRY_VERIFY_WITH_TIMEOUT(panel.session()->transfer() &&
                                     panel.session()->transfer()->progress().bytesDone > size / 3,
                                 30000);
        panel.grab().save(qEnvironmentVariable("VELMORA_XFER_SCREENSHOT"));
    }

    QVERIFY(ended.wait(60000));
    QVERIFY2(ended.at(0).at(0).toBool(), qPrintable(ended.at(0).at(1).toString()));
    // The panel's last answer leaves from the event loop, so wait while it runs.
    QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 30000);
    QCOMPARE(process.exitCode(), 0);
    // The transfer's bytes went to it alone: no decoder, plot or rule saw them.
    QCOMPARE(tapped.count(), 0);
    QCOMPARE(SerialPortWidget::lastTransferChoices().protocol, protocol);

    const QString arrived = sending ? theirs.filePath(QStringLiteral("f"))
                                    : ours.filePath(xferProtocolHasHeader(protocol)
                                                        ? QStringLiteral("f")
                                                        : QStringLiteral("received.bin"));
    QVERIFY(arrivedWhole(readFile(arrived), data, !xferProtocolHasHeader(protocol)));
    QVERIFY(!panel.session()->transferRunning());
}

void TestXferIntegration::othersRefusedWhileRunning_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("sentence");
    const QString data = QStringLiteral("A file transfer is using this port. Sending data now would corrupt it.");
    const QString lines = QStringLiteral("A file transfer is using this port. Changing the control lines would interrupt it.");
    QTest::newRow("send box") << 0 << data;
    QTest::newRow("break") << 2 << lines;
    QTest::newRow("dtr") << 3 << lines;
    QTest::newRow("pause") << 4 << QStringLiteral("A file transfer is running; the view cannot be paused.");
    QTest::newRow("second transfer") << 5 << QStringLiteral("A file transfer is already running on this port.");
}

void TestXferIntegration::othersRefusedWhileRunning()
{
    QFETCH(int, action);
    QFETCH(QString, sentence);
    testsupport::PtyRelay pty;
    QString why;
    QVERIFY2(pty.start({}, &why), qPrintable(why));
    QTemporaryDir folder;
    SerialPortWidget panel;
    panel.applySettings(serialSettings(pty.portA()));
    QVERIFY(panel.start(QString()));
    // A receiver with no sender: it keeps asking, and the port is the transfer's.
    FileTransferDialog *dialog = panel.openFileTransfer(XferDirection::Receive);
    QVERIFY(dialog);
    dialog->setProtocol(P::Ymodem);
    dialog->setFolder(folder.path());
    dialog->accept();
    QVERIFY(panel.session()->transferRunning());
    const qint64 sentBefore = panel.txByteCount();

    QSignalSpy shown(&panel, &SerialPortWidget::statusShown);
    switch (action) {
    case 0:
        panel.setSendText(QStringLiteral("hello"), false);
        panel.on_sendButton_clicked();
        break;
    case 2:
        panel.pressBreak();
        QVERIFY(!panel.breakIsHeld());
        break;
    case 3:
        panel.toggleControlLine(1);
        break;
    case 4:
        panel.pause();
        QCOMPARE(panel.portState(), int(SerialPortWidget::Running));
        break;
    case 5:
        QVERIFY(!panel.openFileTransfer(XferDirection::Send));
        break;
    }
    QVERIFY(!shown.isEmpty());
    QCOMPARE(shown.last().at(0).toString(), sentence);
    QCOMPARE(panel.txByteCount(), sentBefore);

    // Closing the port ends the transfer with the closing sentence; nothing is left in
    // the folder, as no header had arrived.
    QSignalSpy ended(&panel, &SerialPortWidget::transferEnded);
    panel.stop();
    QTRY_COMPARE(ended.count(), 1);
    QVERIFY(!ended.at(0).at(0).toBool());
    QVERIFY2(ended.at(0).at(1).toString().contains(QStringLiteral("The connection was closed")),
             qPrintable(ended.at(0).at(1).toString()));
    QVERIFY(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

void TestXferIntegration::cliAgainstPeers_data()
{
    QTest::addColumn<QString>("peer");   // "-" for none
    QTest::addColumn<QStringList>("args"); // after "xfer"; URL, "OURS/" and "THEIRS/" filled in
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("arrived"); // where the file must arrive whole; empty for nowhere

    QTest::newRow("send ymodem to rb")
        << "rb -b" << QStringList{"send", "URL", "OURS/f", "--protocol", "ymodem"} << 0 << "THEIRS/f";
    QTest::newRow("send xmodem-1k to rx -c")
        << "rx -b -c out" << QStringList{"send", "URL", "OURS/f", "--protocol", "xmodem-1k"} << 0
        << "THEIRS/out";
    QTest::newRow("receive xmodem-crc from sx into a file")
        << "sx -b f" << QStringList{"receive", "URL", "OURS/got.bin", "--protocol", "xmodem-crc"} << 0
        << "OURS/got.bin";
    QTest::newRow("receive ymodem from sb -k into a folder")
        << "sb -b -k f" << QStringList{"receive", "URL", "OURS/", "--protocol", "ymodem"} << 0
        << "OURS/f";
    QTest::newRow("ymodem-g refused on a serial port without flow control")
        << "-" << QStringList{"receive", "URL", "OURS/", "--protocol", "ymodem-g"} << 1 << "";
    QTest::newRow("the device cancels")
        << "python -c \"import os; os.read(0, 1); os.write(1, b'\\x18' * 8)\""
        << QStringList{"receive", "URL", "OURS/", "--protocol", "ymodem"} << 1 << "";
    QTest::newRow("a missing file never opens the port")
        << "-" << QStringList{"send", "URL", "OURS/missing", "--protocol", "ymodem"} << 2 << "";
    QTest::newRow("xmodem into a folder has no name")
        << "-" << QStringList{"receive", "URL", "OURS/", "--protocol", "xmodem"} << 2 << "";
}

void TestXferIntegration::cliAgainstPeers()
{
    QFETCH(QString, peer);
    QFETCH(QStringList, args);
    QFETCH(int, exitCode);
    QFETCH(QString, arrived);
    if (!havePeers) {
        QSKIP("lrzsz is needed (scripts/deps.sh test installs it)");
    }
    testsupport::PtyRelay pty;
    QString why;
    QVERIFY2(pty.start({0, 1000, 4096}, &why), qPrintable(why));
    QTemporaryDir ours;
    QTemporaryDir theirs;
    const QByteArray data = randomBytes(3000, 3007);
    const bool sending = args.first() == QLatin1String("send");
    QVERIFY(writeFile((sending ? ours : theirs).filePath(QStringLiteral("f")), data));
    const auto fill = [&](QString text) {
        text.replace(QStringLiteral("URL"), QStringLiteral("serial:") + pty.portA());
        text.replace(QStringLiteral("OURS/"), ours.path() + QLatin1Char('/'));
        return text.replace(QStringLiteral("THEIRS/"), theirs.path() + QLatin1Char('/'));
    };
    QStringList cliArgs{QStringLiteral("xfer")};
    for (const QString &arg : std::as_const(args)) {
        cliArgs << fill(arg);
    }

    QProcess process;
    if (peer != QLatin1String("-")) {
        QVERIFY(startPeer(process, pty, theirs.path(), peer));
    }
    QProcess cli;
    cli.start(cliPath(), cliArgs);
    QVERIFY(cli.waitForFinished(90000));
    const QString err = QString::fromUtf8(cli.readAllStandardError());
    QCOMPARE(cli.exitStatus(), QProcess::NormalExit);
    QVERIFY2(cli.exitCode() == exitCode, qPrintable(err));
    if (!arrived.isEmpty()) {
        QVERIFY(process.waitForFinished(30000));
        const bool padded = args.at(args.indexOf(QStringLiteral("--protocol")) + 1).startsWith(QLatin1String("xmodem"));
        QVERIFY2(arrivedWhole(readFile(fill(arrived)), data, padded), qPrintable(err));
        QVERIFY(QString::fromUtf8(cli.readAllStandardOutput()).startsWith(QStringLiteral("Transfer complete")));
    } else {
        QVERIFY(!err.isEmpty());
        QCOMPARE(QDir(ours.path()).entryList(QDir::Files | QDir::Hidden).size(), sending ? 1 : 0);
    }
    process.kill();
    process.waitForFinished();
}

QTEST_MAIN(TestXferIntegration)
#include "tst_xferintegration.moc"
