#include "automation/autoreplyengine.h"
#include "automation/commandlibrary.h"
#include "automation/sequencerunner.h"
#include "connection/connectioncontroller.h"
#include "connection/multiclientserver.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QToolButton>
#include <QtTest>

namespace {
constexpr int Timeout = 10000;

AutoReplyRule rule(AutoReplyMatch match, const QString &pattern, int replyFormat,
                   const QString &reply, int checksum = 0, int delayMs = 0)
{
    AutoReplyRule r;
    r.match = match;
    r.pattern = pattern;
    r.replyFormat = replyFormat;
    r.reply = reply;
    r.checksum = checksum;
    r.delayMs = delayMs;
    return r;
}

QByteArray readFor(QTcpSocket &socket, qsizetype size, int ms = Timeout)
{
    QByteArray got;
    QDeadlineTimer deadline(ms);
    while (got.size() < size && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        got += socket.readAll();
    }
    return got;
}

Command textCommand(const QString &text)
{
    Command command;
    command.name = text;
    command.text = text;
    return command;
}
} // namespace

class TestAutomationSession : public QObject
{
    Q_OBJECT
private slots:
    void tcpServerAnswersEachClient();
    void ptyDeviceAnswersWithModbusCrc();
    void sequencePassesAndFailsAgainstARealPeer();
};

void TestAutomationSession::tcpServerAnswersEachClient()
{
    SerialPortWidget panel;
    Settings settings;
    settings.connMode = ModeTcpServer;
    settings.targetPort = 0;
    panel.applySettings(settings);
    AutoReplyConfig config;
    config.rules = {rule(AutoReplyMatch::Text, "PING\\r\\n", 0, "PONG\\r\\n"),
                    rule(AutoReplyMatch::Text, "SLOW", 0, "LATE", 0, 200)};
    panel.setAutoReplyConfig(config);
    QVERIFY(panel.start(QString()));
    const quint16 port = panel.connectionController()->server()->serverPort();

    QTcpSocket a, b;
    a.connectToHost(QHostAddress::LocalHost, port);
    b.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(a.waitForConnected(Timeout) && b.waitForConnected(Timeout));
    QTRY_COMPARE_WITH_TIMEOUT(panel.connectedPeers().size(), 2, Timeout);

    // Half a message from each client never completes the other's.
    a.write("PI");
    b.write("NG\r\n");
    QCOMPARE(readFor(a, 1, 300), QByteArray());
    QCOMPARE(readFor(b, 1, 300), QByteArray());
    a.write("NG\r\n");
    QCOMPARE(readFor(a, 6), QByteArray("PONG\r\n"));
    QCOMPARE(b.bytesAvailable(), qint64(0));

    QElapsedTimer delay;
    delay.start();
    b.write("SLOW");
    QCOMPARE(readFor(b, 4), QByteArray("LATE"));
    QVERIFY2(delay.elapsed() >= 190, qPrintable(QString::number(delay.elapsed())));
    // The port's badge counts rules and replies.
    auto *badge = panel.findChild<QToolButton *>("autoReplyBadge");
    QCOMPARE(badge->text(), QString("Auto reply · 2 rule(s) · 2 reply(s)"));
    config.playDead = true;
    panel.setAutoReplyConfig(config);
    QCOMPARE(badge->text(), QString("Auto reply · 2 rule(s) · 0 reply(s) · playing dead"));

    // A stopped port forgets what waited.
    panel.stop();
    QVERIFY(!panel.autoReplyEngine().windowCount());
}

void TestAutomationSession::ptyDeviceAnswersWithModbusCrc()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    Settings settings;
    settings.name = pty.portA();
    panel.applySettings(settings);
    AutoReplyConfig config;
    // Any read of holding registers of unit 1 answers two registers, with the CRC.
    config.rules = {
        rule(AutoReplyMatch::Hex, "01 03 ?? ?? ?? ?? ?? ??", 1, "01 03 04 00 2A 00 07", 4)};
    panel.setAutoReplyConfig(config);
    QVERIFY(panel.start(QString()));

    ConnectionController master;
    Settings masterSettings;
    masterSettings.name = pty.portB();
    QVERIFY(master.openSerial(masterSettings, QString(), "B", true));
    QByteArray answer;
    connect(&master, &ConnectionController::readyRead, this,
            [&] { answer += master.readAvailable(ModeSerial); });
    QVERIFY(master.sendSerial(QByteArray::fromHex("010300000002C40B"), masterSettings, QString()));
    QTRY_COMPARE_WITH_TIMEOUT(answer.size(), 9, Timeout);
    QCOMPARE(answer.toHex(' '), QByteArray("01 03 04 00 2a 00 07 9a 39"));
}

void TestAutomationSession::sequencePassesAndFailsAgainstARealPeer()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    bool silent = false;
    QList<QTcpSocket *> peers;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *peer = server.nextPendingConnection();
        peers << peer;
        connect(peer, &QTcpSocket::readyRead, peer, [&silent, peer] {
            if (peer->readAll().contains("PING") && !silent) {
                peer->write("PONG\r\n");
            }
        });
    });
    SerialPortWidget panel;
    Settings settings;
    settings.connMode = ModeTcpClient;
    settings.targetHost = "127.0.0.1";
    settings.targetPort = server.serverPort();
    panel.applySettings(settings);

    Sequence sequence;
    sequence.name = "ping";
    SequenceStep send;
    send.kind = SequenceStepKind::Send;
    send.command = textCommand("PING");
    SequenceStep expect;
    expect.kind = SequenceStepKind::Expect;
    expect.pattern = "PONG";
    expect.ms = 500;
    sequence.steps = {send, expect};

    // Started on a closed port: the port connects, and the first send waits for it.
    QSignalSpy finished(panel.sequences(), &SequenceRunner::finished);
    QString error;
    QVERIFY(!panel.portIsOpen());
    QVERIFY2(panel.startSequence(sequence, &error), qPrintable(error));
    QVERIFY(finished.wait(Timeout));
    QCOMPARE(finished.last().at(0).value<SequenceState>(), SequenceState::Passed);

    silent = true;
    QVERIFY2(panel.startSequence(sequence, &error), qPrintable(error));
    QVERIFY(finished.wait(Timeout));
    QCOMPARE(finished.last().at(0).value<SequenceState>(), SequenceState::Failed);
    QCOMPARE(panel.sequenceReportLog().runs().size(), 2);
    QVERIFY(panel.viewText().contains(panel.sequences()->finishedNote()));
}

QTEST_MAIN(TestAutomationSession)
#include "tst_automationsession.moc"
