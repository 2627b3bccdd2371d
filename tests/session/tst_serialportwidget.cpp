#include "automation/autoreplyengine.h"
#include "connection/connectioncontroller.h"
#include "connection/multiclientserver.h"
#include "session/hled.h"
#include "session/receiverenderer.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QNetworkDatagram>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QPushButton>
#include <QSerialPort>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>
#include <QUdpSocket>

namespace {
using testsupport::closedTcpPort;
using testsupport::sttySettings;
constexpr int Timeout = 10000;

Settings tcpClientSettings(const QString &host, int port)
{
    Settings settings;
    settings.connMode = ModeTcpClient;
    settings.targetHost = host;
    settings.targetPort = port;
    return settings;
}

Settings tcpServerSettings(int port)
{
    Settings settings;
    settings.connMode = ModeTcpServer;
    settings.targetPort = port;
    return settings;
}

Settings serialSettings(const QString &path)
{
    Settings settings;
    settings.connMode = ModeSerial;
    settings.name = path;
    settings.baudRate = 115200;
    return settings;
}

// Answers the next file dialog with `path`, or cancels it when `path` is empty.
void answerFileDialog(const QString &path)
{
    auto *poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, poll, [poll, path] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog) {
            return;
        }
        poll->deleteLater();
        if (path.isEmpty()) {
            dialog->reject();
        } else {
            dialog->setDirectory(QFileInfo(path).absolutePath());
            auto *name = dialog->findChild<QLineEdit *>("fileNameEdit");
            name->setText(QFileInfo(path).fileName());
            QMetaObject::invokeMethod(dialog, "accept");
        }
    });
    poll->start(20);
}

bool anyStartsWith(const QSignalSpy &spy, const QString &prefix)
{
    for (const QList<QVariant> &args : spy) {
        if (args.at(0).toString().startsWith(prefix)) {
            return true;
        }
    }
    return false;
}
} // namespace

class TestSerialPortWidget : public QObject
{
    Q_OBJECT
private slots:
    void tcpClientShowsWhatTheServerSends();
    void tcpServerKeepsPeersApart();
    void tcpClientRetriesUntilThePeerIsUp();
    void pausedSerialKeepsTheNewestBytes();
    void pausedUdpLosesNothing();
    void textAndHexDoNotShareALine();
    void displayTicksHonourTheBudget();
    void fullViewsTrimInTurn();
    void badInputLeavesPanelStoppedAndUsable_data();
    void badInputLeavesPanelStoppedAndUsable();
    void ptyPortIsLostOnlyWhenItsPathVanishes();
    void logFileHoldsWhatArrivedAndWasSent();
    void shortBreakPressLastsTheMinimum();
    void controlLinesOfNetworkPortsExplainThemselves_data();
    void controlLinesOfNetworkPortsExplainThemselves();
    void logPromptChoosesTheFileOnly();
    void lineSettingsReachARunningPort();
    void panelFieldsEditTheWholeRecord();
};

void TestSerialPortWidget::tcpClientShowsWhatTheServerSends()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    SerialPortWidget panel;
    panel.applySettings(tcpClientSettings("127.0.0.1", server.serverPort()));
    QSignalSpy tapped(&panel, &SerialPortWidget::rxTapped);
    QVERIFY(panel.start(QString()));
    QCOMPARE(panel.portState(), int(SerialPortWidget::Running));
    QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), Timeout);
    QTcpSocket *peer = server.nextPendingConnection();

    // Colour codes vanish from the view but count as received bytes.
    const QByteArray wire = "\x1b[31mhello\x1b[0m world\n";
    peer->write(wire);
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("hello world"), Timeout);
    QVERIFY(!panel.viewText().contains("[31m"));
    QCOMPARE(panel.rxByteCount(), qint64(wire.size()));
    QCOMPARE(tapped.count(), 1);
    QCOMPARE(tapped.first().at(0).toByteArray(), wire);

    // The send box road: text goes out and counts as sent.
    QSignalSpy txTapped(&panel, &SerialPortWidget::txTapped);
    QVERIFY(panel.sendMessage("ping"));
    QTRY_COMPARE_WITH_TIMEOUT(peer->bytesAvailable(), qint64(4), Timeout);
    QCOMPARE(peer->readAll(), QByteArray("ping"));
    QCOMPARE(panel.txByteCount(), qint64(4));
    QCOMPARE(txTapped.count(), 1);

    // The peer's last words show; its close stops the panel.
    peer->write("bye\n");
    peer->disconnectFromHost();
    QTRY_COMPARE_WITH_TIMEOUT(panel.portState(), int(SerialPortWidget::Stopped), Timeout);
    QVERIFY(!panel.portIsOpen());
    // The view tells the story, naming the peer, in order.
    const QString endpoint = QStringLiteral("127.0.0.1:%1").arg(server.serverPort());
    const QString text = panel.viewText();
    const qsizetype connected = text.indexOf("Connected to " + endpoint);
    const qsizetype bye = text.indexOf("bye");
    const qsizetype lost = text.indexOf("Connection to " + endpoint + " lost");
    QVERIFY2(connected >= 0 && connected < bye && bye < lost, qPrintable(text));
}

void TestSerialPortWidget::tcpServerKeepsPeersApart()
{
    SerialPortWidget panel;
    panel.setPortNumber(3);
    panel.applySettings(tcpServerSettings(0));
    QCOMPARE(panel.consolePortKey(), QString("tcps-3"));
    QVERIFY(panel.start(QString()));
    const quint16 port = panel.connectionController()->server()->serverPort();
    QVERIFY(panel.settings().name.endsWith(QStringLiteral(":%1").arg(port)));

    QSignalSpy arrived(&panel, &SerialPortWidget::peerArrived);
    QTcpSocket a, b;
    a.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(arrived.wait(Timeout));
    b.connectToHost(QHostAddress::LocalHost, port);
    QTRY_COMPARE_WITH_TIMEOUT(arrived.count(), 2, Timeout);
    const QString keyA = QStringLiteral("127.0.0.1:%1").arg(a.localPort());
    const QString keyB = QStringLiteral("127.0.0.1:%1").arg(b.localPort());
    QCOMPARE(panel.connectedPeers(), QStringList({keyA, keyB}));

    // A multi-byte character split between two packets of one peer survives.
    QSignalSpy tapped(&panel, &SerialPortWidget::rxTapped);
    a.write("caf\xc3");
    QTRY_COMPARE_WITH_TIMEOUT(tapped.count(), 1, Timeout);
    b.write("from b");
    QTRY_COMPARE_WITH_TIMEOUT(tapped.count(), 2, Timeout);
    a.write("\xa9!");
    QTRY_COMPARE_WITH_TIMEOUT(tapped.count(), 3, Timeout);
    QCOMPARE(tapped.at(1).at(1).toString(), keyB);
    QCOMPARE(panel.peerTranscript(keyA), QString::fromUtf8("café!"));
    QCOMPARE(panel.peerTranscript(keyB), QString("from b"));
    QCOMPARE(panel.rxByteCount(), qint64(4 + 6 + 2));

    // Bytes for one peer reach only that peer.
    QVERIFY(panel.writeBytes("only b", keyB));
    QTRY_COMPARE_WITH_TIMEOUT(b.bytesAvailable(), qint64(6), Timeout);
    QCOMPARE(a.bytesAvailable(), qint64(0));

    QSignalSpy lost(&panel, &SerialPortWidget::peerLost);
    a.disconnectFromHost();
    QVERIFY(lost.wait(Timeout));
    QCOMPARE(lost.first().at(0).toString(), keyA);
    QCOMPARE(panel.connectedPeers(), QStringList({keyB}));
    // Stopping the server lets b go too, transcript and all.
    panel.stop();
    QCOMPARE(panel.peerTranscript(keyB), QString());
}

void TestSerialPortWidget::tcpClientRetriesUntilThePeerIsUp()
{
    const quint16 port = closedTcpPort();
    SerialPortWidget panel;
    panel.setAutoReconnect(true);
    panel.applySettings(tcpClientSettings("127.0.0.1", port));
    QSignalSpy status(&panel, &SerialPortWidget::statusShown);
    QVERIFY(panel.start(QString()));
    QTRY_VERIFY_WITH_TIMEOUT(anyStartsWith(status, "TCP connect FAILED"), Timeout);
    // Still waiting for the peer, not given up.
    QCOMPARE(panel.portState(), int(SerialPortWidget::Running));

    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, port));
    QTRY_VERIFY_WITH_TIMEOUT(panel.portIsOpen(), 3 * Timeout);
    QTRY_VERIFY_WITH_TIMEOUT(anyStartsWith(status, "TCP connection RESTORED"), Timeout);
    QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), Timeout);
    QTcpSocket *peer = server.nextPendingConnection();
    peer->write("up");
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("up"), Timeout);

    // A lost connection is retried too, and switching auto reconnect off ends it.
    peer->abort();
    QTRY_VERIFY_WITH_TIMEOUT(anyStartsWith(status, "Connection lost, reconnecting..."), Timeout);
    QCOMPARE(panel.portState(), int(SerialPortWidget::Running));
    panel.stop();
    QCOMPARE(panel.portState(), int(SerialPortWidget::Stopped));
}

void TestSerialPortWidget::pausedSerialKeepsTheNewestBytes()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    FormatSetting format = panel.formatSettings();
    format.displayBufferSize = 64;
    format.displayMsgTime = true;
    format.rxTimeFormat = "<hh:mm:ss.zzz>";
    panel.applyFormatSetting(format);
    panel.applySettings(serialSettings(pty.portA()));
    QVERIFY(panel.start(QString()));

    ConnectionController device;
    QVERIFY(device.openSerial(serialSettings(pty.portB()), QString(), "B", true));
    panel.pause();
    QCOMPARE(panel.portState(), int(SerialPortWidget::Paused));

    QByteArray sent;
    for (int i = 0; i < 10; ++i) {
        sent += QByteArray("line") + QByteArray::number(i) + QByteArray(15, '.') + '\n';
    }
    QVERIFY(device.sendSerial(sent, serialSettings(pty.portB()), QString()));
    QTRY_COMPARE_WITH_TIMEOUT(panel.rxByteCount(), qint64(sent.size()), Timeout);
    QCOMPARE(panel.pausedByteCount(), qsizetype(64));
    QCOMPARE(panel.pendingDisplayRecords(), qsizetype(0));
    QVERIFY(!panel.viewText().contains("line"));

    // Held lines keep the time they arrived at, not the time of the resume.
    const QTime arrived = QTime::currentTime();
    QTRY_VERIFY(QTime::currentTime().msecsSinceStartOfDay() >
                arrived.msecsSinceStartOfDay() + 50);
    QVERIFY(panel.start(QString()));
    QCOMPARE(panel.portState(), int(SerialPortWidget::Running));
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("line9"), Timeout);
    QVERIFY(!panel.viewText().contains("line0"));
    const QString text = panel.viewText();
    const qsizetype stamp = text.lastIndexOf(QLatin1Char('<'));
    QVERIFY(stamp >= 0);
    const QTime shown = QTime::fromString(text.mid(stamp + 1, 12), "hh:mm:ss.zzz");
    QVERIFY2(shown.isValid() && shown <= arrived, qPrintable(text));
    // Resuming does not count the held bytes twice.
    QCOMPARE(panel.rxByteCount(), qint64(sent.size()));
}

void TestSerialPortWidget::pausedUdpLosesNothing()
{
    SerialPortWidget panel;
    Settings settings;
    settings.connMode = ModeUdpServer;
    settings.udpServerPort = 0;
    panel.applySettings(settings);
    QVERIFY(panel.start(QString()));
    const quint16 port = panel.connectionController()->udpBoundPort();
    QVERIFY(port != 0);
    panel.pause();

    QUdpSocket peer, other;
    QVERIFY(peer.bind(QHostAddress::LocalHost, 0));
    QVERIFY(other.bind(QHostAddress::LocalHost, 0));
    auto *peers = panel.findChild<QComboBox *>("peerCombo");
    QVERIFY(peers);
    QSignalSpy peerRowsRemoved(peers->model(), &QAbstractItemModel::rowsRemoved);
    for (int i = 0; i < 3; ++i) {
        (i == 1 ? other : peer)
            .writeDatagram(QByteArray("datagram-") + QByteArray::number(i) + '\n',
                           QHostAddress::LocalHost, port);
    }
    // Nothing is dropped and nothing shown while paused: all 33 bytes wait.
    QTRY_COMPARE_WITH_TIMEOUT(panel.pendingDisplayBytes(), qint64(3 * 11), Timeout);
    QVERIFY(!panel.viewText().contains("datagram"));
    // Paused is still open: the send button sends.
    QCOMPARE(panel.findChild<QPushButton *>("sendButton")->text(), QString("Send"));
    // A new peer adds its row; the list is not rebuilt for it.
    QCOMPARE(peers->count(), 2);
    QCOMPARE(peerRowsRemoved.count(), 0);

    // A paused panel's queue takes no share of another panel's display budget: the
    // other shows a 300000-byte block in one tick, not in halves.
    SerialPortWidget busy;
    busy.applySettings(tcpServerSettings(0));
    QVERIFY(busy.start(QString()));
    busy.pushByteArray(QByteArray(300000, 'b'), true, Received, QString());
    QTRY_VERIFY_WITH_TIMEOUT(busy.pendingDisplayBytes() < 300000, Timeout);
    QCOMPARE(busy.pendingDisplayBytes(), qint64(0));

    QVERIFY(panel.start(QString()));
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("datagram-2"), Timeout);
    QVERIFY(panel.viewText().contains("datagram-0"));
    QVERIFY(panel.viewText().contains("datagram-1"));
    // The peers were kept across the pause, and are answered.
    QCOMPARE(panel.connectedPeers().size(), 2);
    QVERIFY(panel.sendMessage("answer"));
    QTRY_VERIFY_WITH_TIMEOUT(peer.hasPendingDatagrams(), Timeout);
    QCOMPARE(peer.receiveDatagram().data(), QByteArray("answer"));
}

void TestSerialPortWidget::textAndHexDoNotShareALine()
{
    SerialPortWidget panel;
    panel.pushByteArray("abc", true, Received, QString());
    panel.displayPortBuffer();
    FormatSetting format = panel.formatSettings();
    format.receiveMsgFormat = HexFormat;
    panel.applyFormatSetting(format);
    panel.pushByteArray("\x01\x02", true, Received, QString());
    panel.displayPortBuffer();
    QCOMPARE(panel.viewText(), QString("abc\n01 02 "));
}

void TestSerialPortWidget::displayTicksHonourTheBudget()
{
    SerialPortWidget panel;
    panel.pushByteArray(QByteArray(300000, 'a'), true, Received, QString());
    panel.pushByteArray(QByteArray(300000, 'b'), true, Received, QString());
    QCOMPARE(panel.rxByteCount(), qint64(600000));
    QCOMPARE(panel.pendingDisplayRecords(), qsizetype(2));
    panel.displayPortBuffer(SerialPortWidget::DisplayBudgetPerTick);
    QCOMPARE(panel.pendingDisplayRecords(), qsizetype(1));
    QVERIFY(!panel.viewText().contains('b'));
    panel.displayPortBuffer(SerialPortWidget::DisplayBudgetPerTick);
    QCOMPARE(panel.pendingDisplayRecords(), qsizetype(0));
    QCOMPARE(panel.viewText().size(), 600000);
}

// Views that fill up in the same turn of the event loop trim one per display tick, so
// that their trims do not add up to one long stall; none grows past one and a half
// budgets while it waits.
void TestSerialPortWidget::fullViewsTrimInTurn()
{
    SerialPortWidget first;
    SerialPortWidget second;
    for (SerialPortWidget *panel : {&first, &second}) {
        FormatSetting format = panel->formatSettings();
        format.displayBufferSize = ReceiveRenderer::MinimumCharacterBudget;
        panel->applyFormatSetting(format);
    }
    const int budget = first.receiveRenderer()->characterBudget();
    const QByteArray lines = QByteArray(63, 'x').append('\n').repeated(1024);
    const auto fill = [&](SerialPortWidget &panel, qsizetype bytes) {
        for (qsizetype done = 0; done < bytes; done += lines.size()) {
            panel.pushByteArray(lines, true, Received, QString());
            panel.displayPortBuffer(-1);
        }
    };
    QTest::qWait(SerialPortWidget::DisplayTickMs + 5);
    fill(first, budget + lines.size());
    fill(second, budget + lines.size());
    QVERIFY(first.receiveRenderer()->characterCount() <= budget);
    // The second waits for a later tick, a little over its budget, and trims then, even
    // with nothing more arriving.
    QVERIFY(second.receiveRenderer()->characterCount() > budget);
    QTRY_VERIFY_WITH_TIMEOUT(second.receiveRenderer()->characterCount() <= budget, Timeout);
    // Half again over the budget, a view trims at once.
    fill(first, budget);
    fill(second, budget);
    QVERIFY(first.receiveRenderer()->characterCount() <= budget + budget / 2);
    QVERIFY(second.receiveRenderer()->characterCount() <= budget + budget / 2);
}

void TestSerialPortWidget::badInputLeavesPanelStoppedAndUsable_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("target");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("failsAtOnce"); // start() itself returns false
    QTest::addColumn<QString>("inView");    // the line in the view, naming what failed
    QTest::newRow("reserved mode") << 3 << "" << 0 << "This connection type is not supported"
                                   << true << "Could not open";
    QTest::newRow("serial path missing")
        << 0 << "/nonexistent/ttyNothing" << 0 << "Serial Port /nonexistent/ttyNothing OPEN FAILED"
        << true << "Could not open /nonexistent/ttyNothing: Serial Port";
    QTest::newRow("serial without a name") << 0 << "" << 0 << "Choose a serial port" << true
                                           << "Could not open the serial port: Choose";
    QTest::newRow("host does not resolve") << 2 << "no-such-host.invalid" << 80
                                           << "TCP connect FAILED" << false
                                           << "Could not connect to no-such-host.invalid:80: TCP";
    const int refusing = int(closedTcpPort());
    QTest::newRow("peer refuses") << 2 << "127.0.0.1" << refusing << "TCP connect FAILED" << false
                                  << QStringLiteral("Could not connect to 127.0.0.1:%1: TCP")
                                         .arg(refusing);
    // The system refuses a connection to a broadcast address inside the call.
    QTest::newRow("address unreachable") << 2 << "255.255.255.255" << 80 << "TCP connect FAILED"
                                         << true << "Could not connect to 255.255.255.255:80";
    QTest::newRow("client port out of range") << 2 << "127.0.0.1" << 70000
                                              << "Port 70000 cannot be connected to" << true
                                              << "Could not open 127.0.0.1:70000: Port";
    QTest::newRow("client port zero") << 2 << "127.0.0.1" << 0 << "Port 0 cannot be connected to"
                                      << true << "Could not open 127.0.0.1:0: Port";
    QTest::newRow("server port negative") << 1 << "" << -5 << "Port -5 cannot be listened on"
                                          << true << "Could not open TCP server port -5: Port";
    QTest::newRow("relay without an account") << 8 << "" << 0 << "Live Relay needs a cloud account"
                                       << true << "Could not open";
}

void TestSerialPortWidget::badInputLeavesPanelStoppedAndUsable()
{
    QFETCH(int, mode);
    QFETCH(QString, target);
    QFETCH(int, port);
    QFETCH(QString, message);
    QFETCH(bool, failsAtOnce);

    SerialPortWidget panel;
    Settings settings;
    settings.connMode = connectionMode(mode);
    settings.name = target;
    settings.targetHost = target;
    settings.targetPort = port;
    panel.applySettings(settings);
    QSignalSpy status(&panel, &SerialPortWidget::statusShown);
    const bool started = panel.start(QString());
    if (failsAtOnce) {
        // Nothing is taken as open: no timers, no log, no "Opened".
        QVERIFY(!started);
        QCOMPARE(panel.portState(), int(SerialPortWidget::Stopped));
    }
    QTRY_VERIFY_WITH_TIMEOUT(anyStartsWith(status, message), 30000);
    QTRY_COMPARE_WITH_TIMEOUT(panel.portState(), int(SerialPortWidget::Stopped), Timeout);
    QVERIFY(!panel.portIsOpen());
    QFETCH(QString, inView);
    QVERIFY2(panel.viewText().contains("] " + inView), qPrintable(panel.viewText()));

    // The panel still works afterwards.
    panel.applySettings(tcpServerSettings(0));
    QVERIFY(panel.start(QString()));
    QVERIFY(panel.portIsOpen());
    panel.stop();
    QCOMPARE(panel.portState(), int(SerialPortWidget::Stopped));
}

void TestSerialPortWidget::ptyPortIsLostOnlyWhenItsPathVanishes()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    panel.setAutoReconnect(true);
    panel.applySettings(serialSettings(pty.portA()));
    QVERIFY(panel.start(QString()));
    QSignalSpy status(&panel, &SerialPortWidget::statusShown);

    // A pseudo-terminal is never enumerated, yet it is not lost while it exists:
    // let the one-second port scan run past it.
    QTest::qWait(1500);
    QVERIFY(panel.portIsOpen());
    QVERIFY(!anyStartsWith(status, "Serial Port"));

    // Pull it: the scan notices the missing path and waits for it to come back.
    pty.stop();
    QTRY_VERIFY_WITH_TIMEOUT(!panel.portIsOpen(), Timeout);
    QTRY_VERIFY_WITH_TIMEOUT(anyStartsWith(status, "Serial Port " + pty.portA() + " lost"),
                             Timeout);
    QCOMPARE(panel.portState(), int(SerialPortWidget::Running));

    QVERIFY(pty.start(&why));
    QTRY_VERIFY_WITH_TIMEOUT(panel.portIsOpen(), 3 * Timeout);
    QVERIFY(anyStartsWith(status, "Serial Port " + pty.portA() + " RECONNECTED"));

    ConnectionController device;
    QVERIFY(device.openSerial(serialSettings(pty.portB()), QString(), "B", true));
    QVERIFY(device.sendSerial("back\n", serialSettings(pty.portB()), QString()));
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("back"), Timeout);
}

void TestSerialPortWidget::shortBreakPressLastsTheMinimum()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    panel.applySettings(serialSettings(pty.portA()));
    QVERIFY(panel.start(QString()));
    QElapsedTimer held;
    panel.pressBreak();
    held.start();
    if (!panel.breakIsHeld()) {
        QSKIP("this pseudo-terminal refuses break");
    }
    QVERIFY(panel.connectionController()->breakIsActive());
    QTest::qWait(10);
    panel.requestBreakRelease();
    QVERIFY(panel.connectionController()->breakIsActive());
    QTRY_VERIFY_WITH_TIMEOUT(!panel.connectionController()->breakIsActive(), Timeout);
    QVERIFY2(held.elapsed() >= SerialPortWidget::MinimumBreakMs - 5,
             qPrintable(QString::number(held.elapsed())));
    QVERIFY(!panel.breakIsHeld());

    // A long press is released at once.
    panel.pressBreak();
    QTest::qWait(SerialPortWidget::MinimumBreakMs + 20);
    panel.requestBreakRelease();
    QVERIFY(!panel.connectionController()->breakIsActive());
}

void TestSerialPortWidget::controlLinesOfNetworkPortsExplainThemselves_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("flow");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("linesShown"); // the serial lamps and Break
    QTest::newRow("tcp client") << 2 << 0 << "Control lines belong to a serial port." << false;
    QTest::newRow("udp") << 4 << 0 << "Control lines belong to a serial port." << false;
    QTest::newRow("rts under flow control")
        << 0 << 1 << "RTS is driven by RTS/CTS flow control and cannot be set by hand." << true;
    QTest::newRow("remote keeps its own config")
        << 7 << 0 << "The remote port is left under" << true;
}

void TestSerialPortWidget::controlLinesOfNetworkPortsExplainThemselves()
{
    QFETCH(int, mode);
    QFETCH(int, flow);
    QFETCH(QString, message);
    SerialPortWidget panel;
    Settings settings;
    settings.connMode = connectionMode(mode);
    settings.flowControl = flow;
    panel.applySettings(settings);
    QSignalSpy status(&panel, &SerialPortWidget::statusShown);
    panel.toggleControlLine(ConnectionController::LineRts);
    QVERIFY(anyStartsWith(status, message));
    QVERIFY(panel.explainInertControlLine().startsWith(message));
    QVERIFY(!panel.breakIsHeld());
    // Lamps show only where a serial line exists, and none is lit on a closed port.
    QFETCH(bool, linesShown);
    for (const char *name : {"ledRTS", "ledDTR", "ledCTS", "breakButton"}) {
        QCOMPARE(!panel.findChild<QWidget *>(name)->isHidden(), linesShown);
    }
    for (const char *name : {"ledRTS", "ledDTR"}) {
        QVERIFY(!panel.findChild<HLed *>(name)->isOn());
    }
}

void TestSerialPortWidget::logFileHoldsWhatArrivedAndWasSent()
{
    QTemporaryDir dir;
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    SerialPortWidget panel;
    FormatSetting format = panel.formatSettings();
    format.logFilePath = dir.filePath("logs/vlm_%S.log");
    format.logSaveFlag = true;
    format.displaySendMsg = true;
    panel.applyFormatSetting(format);
    panel.applySettings(tcpClientSettings("127.0.0.1", server.serverPort()));
    QVERIFY(panel.start(QString()));
    QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), Timeout);
    QTcpSocket *peer = server.nextPendingConnection();
    QTRY_VERIFY_WITH_TIMEOUT(panel.portIsOpen(), Timeout);
    peer->write("\x1b[1mfirst\x1b[0m line\n");
    QTRY_VERIFY_WITH_TIMEOUT(panel.viewText().contains("first line"), Timeout);
    panel.setSendText("reply", false);
    panel.on_sendButton_clicked();
    panel.stop();

    const QString expected =
        dir.filePath(QStringLiteral("logs/vlm_127.0.0.1_%1.log").arg(server.serverPort()));
    QFile log(expected);
    QVERIFY2(log.open(QIODevice::ReadOnly), qPrintable(expected));
    const QString text = QString::fromUtf8(log.readAll());
    QVERIFY2(text.startsWith("Port Name: "), qPrintable(text));
    QVERIFY(text.contains("first line\n"));
    QVERIFY(text.contains("reply"));
    QVERIFY(!text.contains("[1m"));
}

// The prompt picks this log's file; the name template stays, and a cancelled prompt
// leaves the box unticked, so that ticking it asks again.
void TestSerialPortWidget::logPromptChoosesTheFileOnly()
{
    QTemporaryDir dir;
    SerialPortWidget panel;
    FormatSetting format = panel.formatSettings();
    format.logPromptForName = true;
    format.logFilePath = dir.filePath("vlm_%S-%Y%M%D.log");
    panel.applyFormatSetting(format);
    auto *box = panel.findChild<QCheckBox *>("logSaveBox");
    QVERIFY(box);

    answerFileDialog(QString());
    box->click();
    QVERIFY(!box->isChecked());
    QVERIFY(!panel.formatSettings().logSaveFlag);

    const QString chosen = dir.filePath("picked.log");
    answerFileDialog(chosen);
    box->click();
    QVERIFY(box->isChecked());
    QVERIFY(panel.formatSettings().logSaveFlag);
    QCOMPARE(panel.formatSettings().logFileName, chosen);
    QCOMPARE(panel.formatSettings().logFilePath, format.logFilePath);

    box->click();
    QVERIFY(!panel.formatSettings().logSaveFlag);
}

// The line parameters edited in the pane of an open serial port reach the device at
// once, without reopening it; what the driver refuses leaves the line as it was and says
// why (Linux pseudo-terminals take only 8 data bits).
void TestSerialPortWidget::lineSettingsReachARunningPort()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    SerialPortWidget panel;
    Settings settings = serialSettings(pty.portA());
    settings.baudRate = 9600;
    panel.applySettings(settings);
    QVERIFY(panel.start(QString()));
    QVERIFY(sttySettings(pty.portA()).contains("speed 9600 baud"));
    QSignalSpy status(&panel, &SerialPortWidget::statusShown);

    auto *baud = panel.findChild<QComboBox *>("baudCombo");
    auto *dataBits = panel.findChild<QComboBox *>("dataBitsCombo");
    QVERIFY(baud && baud->isEnabled() && dataBits);
    baud->setCurrentIndex(baud->findData(115200));
    QVERIFY(sttySettings(pty.portA()).contains("speed 115200 baud"));
    QCOMPARE(panel.settings().baudRate, 115200);
    QVERIFY(status.isEmpty());

    dataBits->setCurrentIndex(dataBits->findData(7));
    const QString line = sttySettings(pty.portA());
    QVERIFY(line.contains("speed 115200 baud"));
    if (line.contains(" cs7")) {
        QCOMPARE(panel.settings().stringDataBits, QString("7"));
    } else {
        QVERIFY(anyStartsWith(status, "The line settings were not changed: 7 data bits was "
                                      "refused by the driver"));
        QCOMPARE(panel.settings().dataBits, 8);
        QCOMPARE(dataBits->currentText(), QString("8"));
    }
    QVERIFY(panel.portIsOpen());
}

// Each field of the panel edits its part of the records and leaves the rest as it is.
void TestSerialPortWidget::panelFieldsEditTheWholeRecord()
{
    SerialPortWidget panel;
    // A UDP group, which no pane offers, stays one when another field is edited.
    Settings group;
    group.connMode = ModeUdpGroup;
    group.targetPort = 5000;
    panel.applySettings(group);
    panel.findChild<QSpinBox *>("targetPortSpin")->setValue(5001);
    panel.updateSettings();
    QCOMPARE(panel.settings().connMode, ModeUdpGroup);
    QCOMPARE(panel.settings().targetPort, 5001);
    // "Custom" takes any rate, 0 too.
    panel.applySettings(serialSettings("/dev/ttyNothing"));
    auto *baud = panel.findChild<QComboBox *>("baudCombo");
    baud->setCurrentIndex(baud->findText("Custom"));
    baud->setEditText("0");
    Q_EMIT baud->lineEdit()->editingFinished();
    panel.updateSettings();
    QCOMPARE(panel.settings().baudRate, 0);

    FormatSetting format = panel.formatSettings();
    format.sendTimeUnit = 60000;
    format.sendInterval = 30 * 60000;
    format.logFont = {QString(), 11, int(QFont::Bold), true};
    panel.applyFormatSetting(format);
    // The interval box counts in the interval's unit; other edits leave the interval.
    auto *interval = panel.findChild<QSpinBox *>("sendIntervelSB");
    QCOMPARE(interval->value(), 30);
    QCOMPARE(interval->suffix(), QString(" min"));
    panel.findChild<QCheckBox *>("displayTimeBox")->click();
    QCOMPARE(panel.formatSettings().sendInterval, 30 * 60000);
    interval->setValue(2);
    QCOMPARE(panel.formatSettings().sendInterval, 2 * 60000);
    // The view has the whole font.
    const QFont font = panel.findChild<QPlainTextEdit *>("receiveBrowser")->font();
    QCOMPARE(font.weight(), QFont::Bold);
    QVERIFY(font.italic());
    // Auto reply rules match in the encoding the panel now reads.
    panel.findChild<QComboBox *>("receiveEncodingCombo")->setCurrentText("GBK");
    QCOMPARE(panel.autoReplyEngine().rxEncoding(), QString("GBK"));
}

QTEST_MAIN(TestSerialPortWidget)
#include "tst_serialportwidget.moc"
