#include "session/receiverenderer.h"
#include "connection/rxdata.h"
#include "session/selectionactions.h"
#include "session/selectionsavedialog.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLocale>
#include <QPlainTextEdit>
#include <QProcess>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

class TestSelection : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void bytesBehindTheText_data();
    void bytesBehindTheText();
    void olderThanTheIndexIsLeftOut();
    void copyForms_data();
    void copyForms();
    void saveDialog();
    void peerBinarySavedExactly();

private:
    void render(const QByteArray &bytes, RXorTx direction = Received, qint64 ms = 0);
    void select(int from, int to);

    std::unique_ptr<QPlainTextEdit> view;
    FormatSetting format;
    std::unique_ptr<ReceiveRenderer> renderer;
};

namespace {

const QDateTime T0(QDate(2026, 5, 6), QTime(7, 8, 9));

struct Piece
{
    bool tx = false;
    QByteArray bytes;
};

} // namespace

Q_DECLARE_METATYPE(QList<Piece>)

void TestSelection::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestSelection::init()
{
    renderer.reset();
    view = std::make_unique<QPlainTextEdit>();
    view->setReadOnly(true);
    format = FormatSetting();
    format.rxTimeFormat = QStringLiteral("[hh:mm:ss.zzz] ");
    format.txTimeFormat = QStringLiteral("<hh:mm:ss.zzz> ");
    renderer = std::make_unique<ReceiveRenderer>(view.get(), &format);
}

void TestSelection::render(const QByteArray &bytes, RXorTx direction, qint64 ms)
{
    rxData rx;
    rx.time = T0.addMSecs(ms);
    rx.direction = direction;
    rx.data = bytes;
    renderer->render(rx);
}

void TestSelection::select(int from, int to)
{
    QTextCursor cursor(view->document());
    cursor.setPosition(from);
    cursor.setPosition(to, QTextCursor::KeepAnchor);
    view->setTextCursor(cursor);
}

void TestSelection::bytesBehindTheText_data()
{
    QTest::addColumn<QString>("setup"); // h: hex views, t: time stamps, g: GBK, s: sent shown
    QTest::addColumn<QList<QByteArray>>("records"); // "tx:" in front: sent
    QTest::addColumn<QString>("selected");          // the text selected in the view
    QTest::addColumn<QList<Piece>>("pieces");
    QTest::addColumn<bool>("wholeFrames");

    using Records = QList<QByteArray>;
    QTest::newRow("hex across records")
        << "h" << Records{QByteArray::fromHex("010203"), QByteArray::fromHex("0405")}
        << "02 03 04" << QList<Piece>{{false, QByteArray::fromHex("020304")}} << false;
    QTest::newRow("hex, half a byte's digits")
        << "h" << Records{QByteArray::fromHex("A1B2C3")} << "1 B" << QList<Piece>{{false, QByteArray::fromHex("A1B2")}}
        << false;
    QTest::newRow("hex with stamps: the stamps are no bytes")
        << "ht" << Records{QByteArray::fromHex("0A0B")} << "[07:08:10.000] 0A 0"
        << QList<Piece>{{false, QByteArray::fromHex("0A0B")}} << false;
    QTest::newRow("sent hex lines joined")
        << "hs" << Records{"tx:" + QByteArray::fromHex("1122"), "tx:" + QByteArray::fromHex("3344")}
        << "22 \n33" << QList<Piece>{{true, QByteArray::fromHex("2233")}} << false;
    QTest::newRow("UTF-8 character of three bytes")
        << "" << Records{"a\xC3\xA9\xE4\xB8\xAD" "b\n"} << QStringLiteral("中")
        << QList<Piece>{{false, "\xE4\xB8\xAD"}} << false;
    QTest::newRow("a removed CR stays in the bytes")
        << "" << Records{"ab\r\ncd\n"} << "b\nc" << QList<Piece>{{false, "b\r\nc"}} << false;
    QTest::newRow("a control byte shown as a square")
        << "" << Records{"x\x01y\n"} << QStringLiteral("\u25A1y") << QList<Piece>{{false, "\x01y"}}
        << false;
    QTest::newRow("GBK: whole frames")
        << "g" << Records{"A\xD6\xD0\xCE\xC4Z\n"} << QStringLiteral("文")
        << QList<Piece>{{false, "A\xD6\xD0\xCE\xC4Z\n"}} << true;
    QTest::newRow("stamps inside a text: whole frames")
        << "t" << Records{"one\ntwo\n"} << "tw"
        << QList<Piece>{{false, "one\ntwo\n"}} << true;
    QTest::newRow("received and sent")
        << "s" << Records{"ask\n", "tx:answer\n", "more\n"} << "k\nanswer\nm"
        << QList<Piece>{{false, "k\n"}, {true, "answer\n"}, {false, "m"}} << false;
}

void TestSelection::bytesBehindTheText()
{
    QFETCH(QString, setup);
    QFETCH(QList<QByteArray>, records);
    QFETCH(QString, selected);
    QFETCH(QList<Piece>, pieces);
    QFETCH(bool, wholeFrames);
    if (setup.contains(u'h')) {
        format.receiveMsgFormat = HexFormat;
        format.sendMsgFormat = HexFormat;
    }
    format.displayMsgTime = setup.contains(u't');
    if (setup.contains(u'g')) {
        format.receiveEncoding = QStringLiteral("GBK");
        renderer->resetDecoders();
    }
    qint64 ms = 0;
    for (const QByteArray &record : std::as_const(records)) {
        const bool tx = record.startsWith("tx:");
        render(tx ? record.mid(3) : record, tx ? Sent : Received, ms += 1000);
    }
    const QString text = view->toPlainText();
    const int at = int(text.indexOf(selected));
    QVERIFY2(at >= 0, qPrintable(text));
    select(at, at + int(selected.size()));

    const SelectionResult result = SelectionActions::resultFor(view.get(), *renderer);
    QCOMPARE(result.wholeFrames, wholeFrames);
    QVERIFY(!result.olderLeftOut);
    QCOMPARE(result.pieces.size(), pieces.size());
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        QCOMPARE(result.pieces.at(i).isTx, pieces.at(i).tx);
        QCOMPARE(result.pieces.at(i).bytes, pieces.at(i).bytes);
    }
    QCOMPARE(result.pieces.first().timeUs, T0.addMSecs(1000).toMSecsSinceEpoch() * 1000);
}

void TestSelection::olderThanTheIndexIsLeftOut()
{
    // More than the index's 4 MiB of bytes: the oldest text has no bytes behind it.
    QByteArray sent;
    for (int i = 0; sent.size() < 5 * 1024 * 1024; ++i) {
        const QByteArray block = (QByteArray::number(i).rightJustified(8, '0') + ' ' +
                                  QByteArray(54, 'a' + i % 26) + '\n')
                                     .repeated(1024);
        sent += block;
        render(block);
    }
    select(0, view->document()->characterCount() - 1);
    const SelectionResult result = SelectionActions::resultFor(view.get(), *renderer);
    QVERIFY(result.olderLeftOut);
    QVERIFY(!result.wholeFrames);
    const QByteArray known = result.bytes();
    QVERIFY(known.size() <= DisplaySpanIndex::DefaultBudget);
    QVERIFY(known.size() > DisplaySpanIndex::DefaultBudget - 70000);
    QVERIFY(sent.endsWith(known));
    QCOMPARE(SelectionActions::caveats(result),
             QStringList{"Part of the selection is older than VLM keeps byte-exact and was left "
                         "out."});
}

void TestSelection::copyForms_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("copied");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("clipboard"); // its start

    const auto size = [](qint64 n) { return QLocale().toString(n) + QStringLiteral(" bytes"); };
    QTest::newRow("hex") << int(SelectionActions::Format::Hex) << QByteArray("\x01\xAB", 2) << true
                         << "Copied 2 byte(s) as hex."
                         << "01 AB";
    QTest::newRow("hex dump") << int(SelectionActions::Format::HexDump) << QByteArray("AB") << true
                              << "Copied 2 byte(s) as a hex dump."
                              << "00000000  41 42 ";
    QTest::newRow("C array") << int(SelectionActions::Format::CArray) << QByteArray("AB") << true
                             << "Copied 2 byte(s) as a C array."
                             << "#include <stdint.h>\n\n/* COM7: 2 bytes received";
    QTest::newRow("nothing") << int(SelectionActions::Format::Hex) << QByteArray() << false
                             << "The selection contains no received or sent data." << QString();
    QTest::newRow("1 MiB copies") << int(SelectionActions::Format::Hex)
                                  << QByteArray(SelectionActions::CopyLimit, 'x') << true
                                  << "Copied 1048576 byte(s) as hex."
                                  << "78 78";
    QTest::newRow("1 MiB and a byte does not")
        << int(SelectionActions::Format::Hex) << QByteArray(SelectionActions::CopyLimit + 1, 'x')
        << false
        << QStringLiteral("The selection is %1; copying is limited to %2. Use Save Selection As... "
                          "instead.")
               .arg(size(1048577), size(1048576))
        << QString();
}

void TestSelection::copyForms()
{
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, copied);
    QFETCH(QString, message);
    QFETCH(QString, clipboard);
    QApplication::clipboard()->setText(QStringLiteral("before"));
    SelectionResult result;
    result.pieces.append({false, QString(), bytes, T0.toMSecsSinceEpoch() * 1000});
    QString said;
    qint64 count = -1;
    QCOMPARE(SelectionActions::copy(result, SelectionActions::Format(format), QStringLiteral("COM7"),
                                    &said, &count),
             copied);
    QCOMPARE(said, message);
    QCOMPARE(count, bytes.size());
    QVERIFY(QApplication::clipboard()->text().startsWith(copied ? clipboard : "before"));

    // What a copy says comes with the caveats.
    result.wholeFrames = true;
    if (copied) {
        SelectionActions::copy(result, SelectionActions::Format(format), {}, &said);
        QVERIFY(said.endsWith(QStringLiteral("Switch the receive view to Hex for a byte-exact "
                                             "selection.")));
    }
}

void TestSelection::saveDialog()
{
    SelectionResult result;
    QByteArray bytes;
    for (int i = 0; i < 3000; ++i) {
        bytes += char(i);
    }
    result.pieces.append({false, QString(), bytes, T0.toMSecsSinceEpoch() * 1000});
    result.olderLeftOut = true;
    SelectionSaveDialog dialog(result, QStringLiteral("COM7"));
    QCOMPARE(dialog.findChild<QLabel *>("summaryLabel")->text(),
             QStringLiteral("3000 byte(s) from COM7"));
    QVERIFY(dialog.findChild<QLabel *>("caveatLabel")->text().startsWith("Part of the selection"));

    // Each format: its name, filter, a preview cut short, and the file as content() says.
    QTemporaryDir dir;
    const QDateTime when(QDate(2026, 1, 2), QTime(3, 4, 5));
    const QStringList filters{"Binary files (*.bin)", "Text files (*.txt)", "C source (*.c *.h)"};
    for (int format = 0; format < 3; ++format) {
        dialog.setFormat(SelectionSaveDialog::Format(format));
        const QString name = dialog.defaultFileName(when);
        QCOMPARE(name, QStringLiteral("VLM-selection-20260102-030405.") +
                           QStringList({"bin", "txt", "c"}).at(format));
        QCOMPARE(dialog.fileFilter(), filters.at(format) + ";;All files (*)");
        QVERIFY(dialog.previewText().endsWith(QStringLiteral("\n...")));
        QString message;
        QVERIFY(dialog.writeTo(dir.filePath(name), &message));
        QCOMPARE(message, QStringLiteral("Saved %1.").arg(QDir::toNativeSeparators(dir.filePath(name))));
        QFile file(dir.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), format == 0 ? bytes : dialog.content());
    }
    QString message;
    const QString bad = dir.filePath(QStringLiteral("missing/folder/x.bin"));
    QVERIFY(!dialog.writeTo(bad, &message));
    QVERIFY(message.startsWith(QStringLiteral("Could not save %1: ").arg(QDir::toNativeSeparators(bad))));

    // C options chosen once are there the next time.
    SessionExport::CArrayOptions options = SelectionSaveDialog::loadCArrayOptions();
    options.name = QStringLiteral("reply");
    options.bytesPerLine = 8;
    SelectionSaveDialog::saveCArrayOptions(options);
    SelectionSaveDialog again(result, QStringLiteral("COM7"));
    again.setFormat(SelectionSaveDialog::Format::CSource);
    QCOMPARE(again.cArrayOptions().bytesPerLine, 8);
    QVERIFY(again.previewText().contains(QStringLiteral("reply[3000]")));
}

void TestSelection::peerBinarySavedExactly()
{
    // A Python peer sends random binary over TCP and keeps a copy; the bytes shown in a
    // hex view, selected whole and saved, are the peer's bytes.
    const QString python = QStringLiteral("/usr/bin/python3");
    if (!QFileInfo(python).isExecutable()) {
        QSKIP("/usr/bin/python3 is not installed");
    }
    format.receiveMsgFormat = HexFormat;
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("sent.bin"));
    QProcess peer;
    peer.start(python, {"-c",
                        "import os, socket, sys\n"
                        "data = os.urandom(200000)\n"
                        "open(sys.argv[2], 'wb').write(data)\n"
                        "s = socket.create_connection(('127.0.0.1', int(sys.argv[1])))\n"
                        "s.sendall(data)\n"
                        "s.close()\n",
                        QString::number(server.serverPort()), copy});
    QVERIFY(server.waitForNewConnection(20000));
    QTcpSocket *socket = server.nextPendingConnection();
    qint64 received = 0;
    while (socket->state() == QAbstractSocket::ConnectedState || socket->bytesAvailable() > 0) {
        if (socket->bytesAvailable() == 0 && !socket->waitForReadyRead(10000)) {
            break;
        }
        const QByteArray chunk = socket->readAll();
        received += chunk.size();
        render(chunk);
    }
    QVERIFY(peer.waitForFinished(20000));
    QFile file(copy);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray sent = file.readAll();
    QCOMPARE(received, sent.size());

    select(0, view->document()->characterCount() - 1);
    const SelectionResult result = SelectionActions::resultFor(view.get(), *renderer);
    QVERIFY(!result.wholeFrames && !result.olderLeftOut);
    SelectionSaveDialog dialog(result, QStringLiteral("peer"));
    dialog.setFormat(SelectionSaveDialog::Format::Binary);
    QString message;
    const QString saved = dir.filePath(QStringLiteral("saved.bin"));
    QVERIFY(dialog.writeTo(saved, &message));
    QFile back(saved);
    QVERIFY(back.open(QIODevice::ReadOnly));
    QCOMPARE(back.readAll(), sent);
}

QTEST_MAIN(TestSelection)
#include "tst_selection.moc"
