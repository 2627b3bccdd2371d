// The transfer dialog's rules for starting, and the progress strip following a real
// session to each kind of end.

#include "transfer/filetransferbar.h"
#include "transfer/filetransferdialog.h"
#include "transfer/filetransfersession.h"
#include "transfer/xferfilesink.h"
#include "transfer/xmodemcodec.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

class TestFileTransferUi : public QObject
{
    Q_OBJECT
private slots:
    void dialog_data();
    void dialog();
    void bar_data();
    void bar();
};

void TestFileTransferUi::dialog_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<int>("protocol");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("flow");
    QTest::addColumn<QStringList>("clients");
    QTest::addColumn<bool>("validPath");
    QTest::addColumn<QString>("hint");    // start of the hint; empty for none
    QTest::addColumn<QString>("refusal"); // start of the refusal; empty when OK starts

    const int send = int(XferDirection::Send);
    const int receive = int(XferDirection::Receive);
    const int g = int(XferProtocol::YmodemG);
    const int y = int(XferProtocol::Ymodem);
    const int x = int(XferProtocol::Xmodem);
    QTest::newRow("YMODEM-G, serial without RTS/CTS") << send << g << int(ModeSerial) << 0 << QStringList() << true << "YMODEM-G does not resend" << "YMODEM-G does not retransmit";
    QTest::newRow("YMODEM-G over TCP") << receive << g << int(ModeTcpClient) << 0 << QStringList() << true << "" << "";
    QTest::newRow("XMODEM send pads") << send << x << int(ModeSerial) << 0 << QStringList() << true << "XMODEM carries no file name or length. The device" << "";
    QTest::newRow("XMODEM receive needs a name") << receive << x << int(ModeSerial) << 0 << QStringList() << true << "XMODEM carries no file name or length, so you" << "";
    QTest::newRow("no file to send") << send << y << int(ModeSerial) << 0 << QStringList() << false << "" << "Choose a file to send.";
    QTest::newRow("missing folder") << receive << y << int(ModeSerial) << 0 << QStringList() << false << "" << "The folder";
    QTest::newRow("UDP") << send << y << int(ModeUdpClient) << 0 << QStringList() << true << "" << "File transfer needs an ordered";
    QTest::newRow("several clients: the chosen one") << send << y << int(ModeTcpServer) << 0 << QStringList{"a:1", "b:2"} << true << "" << "";
}

void TestFileTransferUi::dialog()
{
    QFETCH(int, direction);
    QFETCH(int, protocol);
    QFETCH(int, mode);
    QFETCH(int, flow);
    QFETCH(QStringList, clients);
    QFETCH(bool, validPath);
    QFETCH(QString, hint);
    QFETCH(QString, refusal);
    QTemporaryDir dir;
    const QString file = dir.filePath("firmware.bin");
    QFile(file).open(QIODevice::WriteOnly);

    Settings port;
    port.connMode = connectionModeFromInt(mode);
    port.flowControl = flow;
    XferPortFacts facts;
    facts.mode = port.connMode;
    facts.flowControl = flow;
    facts.clients = clients;
    const auto dirn = XferDirection(direction);
    FileTransferDialog dialog(dirn, port, facts);
    dialog.setProtocol(XferProtocol(protocol));
    dialog.setSizeCapMiB(3);
    const QString path = validPath ? (dirn == XferDirection::Send ? file : dir.path())
                                   : dir.filePath("missing");
    dialog.setFilePath(path);
    dialog.setFolder(path);

    const auto opens = [](const QString &text, const QString &start) {
        return start.isEmpty() ? text.isEmpty() : text.startsWith(start);
    };
    QVERIFY2(opens(dialog.protocolHint(), hint), qPrintable(dialog.protocolHint()));
    QVERIFY2(opens(dialog.refusal(), refusal), qPrintable(dialog.refusal()));
    // OK starts only what can start; a refusal stays on screen instead.
    dialog.accept();
    QCOMPARE(dialog.result() == QDialog::Accepted, refusal.isEmpty());

    const XferConfig config = dialog.config();
    QCOMPARE(int(config.protocol), protocol);
    QCOMPARE(config.receiveLimit, dirn == XferDirection::Receive ? qint64(3) << 20 : 0);
    QCOMPARE(config.peer, clients.size() > 1 ? clients.first() : QString());
    QCOMPARE(dialog.saveAsName(),
             dirn == XferDirection::Receive && protocol == int(XferProtocol::Xmodem) ? QStringLiteral("received.bin") : QString());
}

void TestFileTransferUi::bar_data()
{
    QTest::addColumn<bool>("cancel");    // the user presses Cancel half way
    QTest::addColumn<QString>("summary"); // start of the text after the end

    QTest::newRow("finished") << false << "Transfer complete: 128 bytes";
    QTest::newRow("cancelled") << true << "Transfer failed: Cancelled.";
}

void TestFileTransferUi::bar()
{
    QFETCH(bool, cancel);
    QFETCH(QString, summary);
    QTemporaryDir dir;
    XferConfig config;
    config.protocol = XferProtocol::XmodemCrc;
    config.direction = XferDirection::Receive;
    auto *session = new FileTransferSession(config, QStringLiteral("port"));
    session->setSink(std::make_unique<XferFileSink>(dir.path(), QStringLiteral("got.bin")));
    session->setSender([session](const QByteArray &) {
        QMetaObject::invokeMethod(session, &FileTransferSession::egressDrained, Qt::QueuedConnection);
        return true;
    });
    FileTransferBar bar;
    bar.follow(session);
    connect(&bar, &FileTransferBar::cancelRequested, session,
            [session] { session->beginCancel(FileTransferSession::CancelCause::User); });
    auto *button = bar.findChild<QPushButton *>();
    auto *progress = bar.findChild<QProgressBar *>();
    QVERIFY(session->start());

    // XMODEM has no length: the bar is busy, and counts what arrived.
    const XmodemCodec framer(XmodemCodec::Role::Sender, XferProtocol::XmodemCrc);
    session->ingest(framer.frameBlock(1, QByteArray(128, 'x')));
    QTRY_VERIFY(bar.findChildren<QLabel *>().last()->text().startsWith(FileTransferBar::bytesText(128, -1)));
    QCOMPARE(progress->maximum(), 0);
    QVERIFY(button->isEnabled());

    if (cancel) {
        QTest::mouseClick(button, Qt::LeftButton);
    } else {
        session->ingest(QByteArray(1, XmodemCodec::EOT));
    }
    QTRY_VERIFY(session->isOver());
    const QString shown = bar.findChildren<QLabel *>().last()->text();
    QVERIFY2(shown.startsWith(summary), qPrintable(shown));
    QVERIFY(!button->isEnabled());
    QVERIFY(progress->isHidden()); // the summary takes its place
    delete session;
}

QTEST_MAIN(TestFileTransferUi)
#include "tst_filetransferui.moc"
