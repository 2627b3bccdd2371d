#include "connection/connectioncontroller.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"

#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTextBlock>
#include <QTextLayout>
#include <QTcpSocket>
#include <QtTest>

namespace {
constexpr int Timeout = 10000;

// What the device at the far end of a panel receives: a TCP peer, or the other end of
// a pseudo-terminal pair.
class Device
{
public:
    virtual ~Device() = default;
    virtual QByteArray takeReceived() = 0;
    virtual void send(const QByteArray &bytes) = 0;
};

class TcpDevice : public Device
{
public:
    explicit TcpDevice(QTcpSocket *socket)
        : socket(socket)
    {}
    QByteArray takeReceived() override { return socket->readAll(); }
    void send(const QByteArray &bytes) override { socket->write(bytes); }

private:
    QTcpSocket *socket;
};

class PtyDevice : public Device
{
public:
    explicit PtyDevice(const QString &path)
    {
        Settings settings;
        settings.name = path;
        controller.openSerial(settings, QString(), path, true);
        QObject::connect(&controller, &ConnectionController::readyRead, &controller,
                         [this] { received += controller.readAvailable(ModeSerial); });
        this->path = path;
    }
    QByteArray takeReceived() override { return std::exchange(received, QByteArray()); }
    void send(const QByteArray &bytes) override
    {
        Settings settings;
        settings.name = path;
        controller.sendSerial(bytes, settings, path);
    }

private:
    ConnectionController controller;
    QByteArray received;
    QString path;
};

// A running panel with a device at the far end, over TCP or a pseudo-terminal.
struct Bench
{
    SerialPortWidget panel;
    QTcpServer server;
    testsupport::PtyPair pty;
    std::unique_ptr<Device> device;

    bool open(const QString &transport, QString *why)
    {
        if (transport == "tcp") {
            if (!server.listen(QHostAddress::LocalHost, 0)) {
                *why = server.errorString();
                return false;
            }
            Settings settings;
            settings.connMode = ModeTcpClient;
            settings.targetHost = "127.0.0.1";
            settings.targetPort = server.serverPort();
            panel.applySettings(settings);
            panel.start(QString());
            if (!QTest::qWaitFor([&] { return server.hasPendingConnections(); }, Timeout)) {
                *why = QStringLiteral("the panel did not connect");
                return false;
            }
            device = std::make_unique<TcpDevice>(server.nextPendingConnection());
            return QTest::qWaitFor([&] { return panel.portIsOpen(); }, Timeout);
        }
        if (!pty.start(why)) {
            return false;
        }
        Settings settings;
        settings.connMode = ModeSerial;
        settings.name = pty.portA();
        panel.applySettings(settings);
        device = std::make_unique<PtyDevice>(pty.portB());
        return panel.start(QString());
    }

    // Everything the device receives within the time-out, once `size` bytes came.
    QByteArray receive(qsizetype size)
    {
        QByteArray got;
        QDeadlineTimer deadline(Timeout);
        while (got.size() < size && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            got += device->takeReceived();
        }
        return got;
    }
};
} // namespace

class TestSendPath : public QObject
{
    Q_OBJECT
private slots:
    void sendBoxReachesTheDevice_data();
    void sendBoxReachesTheDevice();
    void badInputSendsNothingAndKeepsTheBox_data();
    void badInputSendsNothingAndKeepsTheBox();
    void historyKeepsNewestFirstWithoutDuplicates();
    void lineByLineWrapsAroundAndKeepsTheBox_data();
    void lineByLineWrapsAroundAndKeepsTheBox();
    void sentBlocksShowOnLinesOfTheirOwn_data();
    void sentBlocksShowOnLinesOfTheirOwn();
    void keyboardSendsFromTheBoxAndTheTerminal();
    void splitLegacyCharacterDecodesWhole();
};

void TestSendPath::sendBoxReachesTheDevice_data()
{
    QTest::addColumn<QString>("transport");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<bool>("escapes");
    QTest::addColumn<int>("lineEnding");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("wire");

    for (const QString transport : {"tcp", "pty"}) {
        const auto row = [&](const char *name) -> QTestData & {
            return QTest::newRow(qPrintable(transport + ": " + name)) << transport;
        };
        row("hex comment is not sent")
            << "01 02 // note" << true << false << 0 << 0 << "UTF-8" << QByteArray("\x01\x02");
        row("hex dump over lines") << "01 02\n03\t04" << true << false << 0 << 0 << "UTF-8"
                                   << QByteArray("\x01\x02\x03\x04");
        row("text with CR LF endings")
            << "a\nb" << false << false << 3 << 0 << "UTF-8" << QByteArray("a\r\nb\r\n");
        row("escaped byte skips the encoder")
            << "\\x41\\xff" << false << true << 0 << 0 << "GB18030" << QByteArray("\x41\xff");
        row("checksum after the line ending")
            << "AB" << false << false << 1 << 1 << "UTF-8" << QByteArray("AB\r\x90");
        row("modbus request with CRC") << "01 03 00 00 00 01" << true << false << 2 << 4 << "UTF-8"
                                       << QByteArray::fromHex("010300000001840a");
        row("GBK text") << QString::fromUtf8("中文") << false << false << 0 << 0 << "GBK"
                        << QByteArray("\xd6\xd0\xce\xc4");
    }
}

void TestSendPath::sendBoxReachesTheDevice()
{
    QFETCH(QString, transport);
    QFETCH(QString, text);
    QFETCH(bool, hex);
    QFETCH(QByteArray, wire);
    Bench bench;
    QString why;
    if (!bench.open(transport, &why)) {
        QSKIP(qPrintable(why));
    }
    FormatSetting format = bench.panel.formatSettings();
    QFETCH(bool, escapes);
    QFETCH(int, lineEnding);
    QFETCH(int, checksum);
    QFETCH(QString, encoding);
    format.sendMsgFormat = hex ? HexFormat : TextFormat;
    format.sendEscapes = escapes;
    format.txLineEndingMode = _tagLineEndingMode(lineEnding);
    format.sendChecksum = checksum;
    format.sendEncoding = encoding;
    bench.panel.applyFormatSetting(format);
    bench.panel.setSendText(text, false);
    bench.panel.on_sendButton_clicked();
    QCOMPARE(bench.receive(wire.size()).toHex(' '), wire.toHex(' '));
    QCOMPARE(bench.panel.txByteCount(), qint64(wire.size()));
}

void TestSendPath::badInputSendsNothingAndKeepsTheBox_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("message");
    QTest::newRow("lone backslash") << "abc\\" << false << "UTF-8"
                                    << "The message ends with a lone backslash.";
    QTest::newRow("short \\x") << "\\x4" << false << "UTF-8"
                               << "\\x must be followed by two hex digits";
    QTest::newRow("unknown escape") << "\\q" << false << "UTF-8"
                                    << "Unknown escape sequence \\q.";
    QTest::newRow("unencodable") << QString::fromUtf8("€uro") << false << "ISO-8859-1"
                                 << QString::fromUtf8("The character '€' cannot be encoded as "
                                                      "ISO-8859-1.");
    // Hex is never guessed at: no byte goes out for text that is not whole hex bytes.
    QTest::newRow("hex with a bad digit") << "41 4G ZZ 1" << true << "UTF-8"
                                          << "\"G\" at position 5 is not a hex digit.";
    QTest::newRow("hex in C notation") << "0x41,0x42" << true << "UTF-8"
                                       << "\"x\" at position 2 is not a hex digit.";
    QTest::newRow("hex lone digit") << "41 4" << true << "UTF-8"
                                    << "\"4\" at position 4 has no second digit";
}

void TestSendPath::badInputSendsNothingAndKeepsTheBox()
{
    QFETCH(QString, text);
    QFETCH(bool, hex);
    QFETCH(QString, encoding);
    QFETCH(QString, message);
    Bench bench;
    QString why;
    if (!bench.open("tcp", &why)) {
        QSKIP(qPrintable(why));
    }
    FormatSetting format = bench.panel.formatSettings();
    format.sendMsgFormat = hex ? HexFormat : TextFormat;
    format.sendEscapes = true;
    format.sendEncoding = encoding;
    bench.panel.applyFormatSetting(format);
    bench.panel.setSendText(text, false);
    QSignalSpy status(&bench.panel, &SerialPortWidget::statusShown);
    bench.panel.on_sendButton_clicked();
    QCOMPARE(status.count(), 1);
    QVERIFY2(status.first().at(0).toString().startsWith(message),
             qPrintable(status.first().at(0).toString()));
    QCOMPARE(status.first().at(1).toInt(), 10000);
    QCOMPARE(bench.panel.sendText(), text);
    QCOMPARE(bench.panel.txByteCount(), qint64(0));
    QVERIFY(bench.panel.sendHistory().isEmpty());
    QCOMPARE(bench.receive(1), QByteArray());
    // Hex that would be refused is marked in the box as it stands.
    const auto *box = bench.panel.findChild<QPlainTextEdit *>("sendTextEdit");
    QCOMPARE(!box->document()->firstBlock().layout()->formats().isEmpty(), hex);
}

void TestSendPath::historyKeepsNewestFirstWithoutDuplicates()
{
    Bench bench;
    QString why;
    if (!bench.open("tcp", &why)) {
        QSKIP(qPrintable(why));
    }
    for (const QString text : {"one", "two", "one"}) {
        bench.panel.setSendText(text, false);
        bench.panel.on_sendButton_clicked();
    }
    QCOMPARE(bench.panel.sendHistory(), QStringList({"one", "two"}));
    bench.panel.setSendHex(true);
    FormatSetting format = bench.panel.formatSettings();
    format.formatSend = true;
    bench.panel.applyFormatSetting(format);
    bench.panel.setSendText("0a0b // tail", false);
    bench.panel.on_sendButton_clicked();
    // Hex is reformatted in the box, comment kept, and remembered in upper case.
    QCOMPARE(bench.panel.sendText(), QString("0A 0B // tail"));
    QCOMPARE(bench.panel.sendHistory().first(), QString("0A 0B // TAIL"));
    QCOMPARE(bench.receive(11), QByteArray("onetwoone\x0a\x0b"));

    bench.panel.mergeSendHistory({"two", "three"});
    QCOMPARE(bench.panel.sendHistory(), QStringList({"0A 0B // TAIL", "one", "two", "three"}));
}

void TestSendPath::lineByLineWrapsAroundAndKeepsTheBox_data()
{
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("text") << false << "L1\n\nL2\nL3" << QByteArray("L1L2L3L1");
    // Reformatting hex must not put the line sent in place of the whole box.
    QTest::newRow("formatted hex") << true << "4c31\n\n4c32\n4c33" << QByteArray("L1L2L3L1");
}

void TestSendPath::lineByLineWrapsAroundAndKeepsTheBox()
{
    QFETCH(bool, hex);
    QFETCH(QString, box);
    QFETCH(QByteArray, wire);
    Bench bench;
    QString why;
    if (!bench.open("tcp", &why)) {
        QSKIP(qPrintable(why));
    }
    FormatSetting format = bench.panel.formatSettings();
    format.lineByLine = true;
    format.autoSend = true;
    format.sendInterval = 10;
    format.sendMsgFormat = hex ? HexFormat : TextFormat;
    format.formatSend = true;
    bench.panel.applyFormatSetting(format);
    bench.panel.setSendText(box, false);
    // Four ticks send the three non-empty lines and then the first again.
    QCOMPARE(bench.receive(wire.size()).left(wire.size()), wire);
    QCOMPARE(bench.panel.sendText(), box);
}

// Two sends in one display tick (a sequence, a script, auto reply) stay two lines in the
// view, as text and as hex.
void TestSendPath::sentBlocksShowOnLinesOfTheirOwn_data()
{
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QString>("shown");
    QTest::newRow("text") << false << "AT\nAT";
    QTest::newRow("hex") << true << "41 54 0D \n41 54 0D \n";
}

void TestSendPath::sentBlocksShowOnLinesOfTheirOwn()
{
    QFETCH(bool, hex);
    QFETCH(QString, shown);
    Bench bench;
    QString why;
    if (!bench.open("tcp", &why)) {
        QSKIP(qPrintable(why));
    }
    FormatSetting format = bench.panel.formatSettings();
    format.displaySendMsg = true;
    format.sendMsgFormat = hex ? HexFormat : TextFormat;
    bench.panel.applyFormatSetting(format);
    QVERIFY(bench.panel.sendSequenceBytes("AT\r"));
    QVERIFY(bench.panel.sendSequenceBytes("AT\r"));
    QCOMPARE(bench.receive(6), QByteArray("AT\rAT\r"));
    // The view's own lines (connecting, connected) come first.
    QTRY_VERIFY2_WITH_TIMEOUT(bench.panel.viewText().endsWith("\n" + shown),
                              qPrintable(bench.panel.viewText()), Timeout);
}

void TestSendPath::keyboardSendsFromTheBoxAndTheTerminal()
{
    Bench bench;
    QString why;
    if (!bench.open("tcp", &why)) {
        QSKIP(qPrintable(why));
    }
    FormatSetting format = bench.panel.formatSettings();
    format.localEcho = true;
    format.terminalEnterMode = LineEndingCRLF;
    format.txLineEndingMode = LineEndingNone;
    bench.panel.applyFormatSetting(format);
    bench.panel.show();
    QSignalSpy status(&bench.panel, &SerialPortWidget::statusShown);

    // In the send box Enter starts a new line and Ctrl+Enter sends the box.
    QWidget *box = bench.panel.findChild<QWidget *>("sendTextEdit");
    box->setFocus();
    QTest::keyClicks(box, "AT");
    QTest::keyClick(box, Qt::Key_Return);
    QTest::keyClicks(box, "I");
    QCOMPARE(bench.receive(1), QByteArray());
    QTest::keyClick(box, Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(bench.receive(4), QByteArray("AT\nI"));
    QCOMPARE(bench.panel.sendHistory(), QStringList{"AT\nI"});

    // The receive view says that it takes keys for the device before it sends them.
    QWidget *view = bench.panel.findChild<QWidget *>("receiveBrowser");
    QVERIFY(view);
    view->setFocus();
    QVERIFY(!view->styleSheet().isEmpty());
    QVERIFY(!status.isEmpty());
    QVERIFY(status.last().at(0).toString().startsWith("Keys typed in the receive view go to "
                                                      "the device"));
    QTest::keyClicks(view, "hi");
    QTest::keyClick(view, Qt::Key_Return);
    QCOMPARE(bench.receive(4), QByteArray("hi\r\n"));
    QTRY_VERIFY_WITH_TIMEOUT(bench.panel.viewText().contains("\nhi"), Timeout);
    // Typed keys do not enter the history; a control chord is not sent.
    QCOMPARE(bench.panel.sendHistory().size(), 1);
    QTest::keyClick(view, Qt::Key_C, Qt::ControlModifier);
    QTest::keyClick(view, Qt::Key_Z);
    QCOMPARE(bench.receive(1), QByteArray("z"));
}

void TestSendPath::splitLegacyCharacterDecodesWhole()
{
    Bench bench;
    QString why;
    if (!bench.open("tcp", &why)) {
        QSKIP(qPrintable(why));
    }
    FormatSetting format = bench.panel.formatSettings();
    format.receiveEncoding = "Shift-JIS";
    bench.panel.applyFormatSetting(format);
    // "日本" in Shift-JIS is 93 FA 96 7B; the first character is split between reads.
    QSignalSpy tapped(&bench.panel, &SerialPortWidget::rxTapped);
    bench.device->send("\x93");
    QVERIFY(tapped.wait(Timeout));
    bench.device->send("\xfa\x96\x7b\n");
    QTRY_VERIFY_WITH_TIMEOUT(bench.panel.viewText().contains(QString::fromUtf8("日本")), Timeout);
}

QTEST_MAIN(TestSendPath)
#include "tst_sendpath.moc"
