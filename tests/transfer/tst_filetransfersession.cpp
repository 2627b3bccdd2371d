// FileTransferSession with a scripted device on the other side: hostile YMODEM headers
// saved into a folder, and every way a transfer can end.

#include "transfer/filetransfersession.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"
#include "transfer/xmodemcodec.h"

#include <QDirIterator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(XferEnd)

namespace {

// A device that answers each burst of the session's output with its next message,
// from the event loop, after reporting the output drained.
struct ScriptedDevice
{
    explicit ScriptedDevice(FileTransferSession &s) : session(s)
    {
        session.setSender([this](const QByteArray &bytes) {
            heard += bytes;
            if (lost) {
                return false;
            }
            QMetaObject::invokeMethod(
                &session,
                [this] {
                    session.egressDrained();
                    if (!replies.isEmpty()) {
                        session.ingest(replies.takeFirst());
                    }
                },
                Qt::QueuedConnection);
            return true;
        });
    }
    FileTransferSession &session;
    QList<QByteArray> replies;
    QByteArray heard;
    bool lost = false;
};

XmodemCodec crcFramer()
{
    XmodemCodec framer(XmodemCodec::Role::Sender, XferProtocol::Ymodem);
    return framer;
}

QByteArray headerFrame(const QByteArray &text, bool large)
{
    QByteArray payload = text;
    payload.append(QByteArray((large ? 1024 : 128) - payload.size(), '\0'));
    return crcFramer().frameBlock(0, payload);
}

QByteArray dataFrame(quint8 number, const QByteArray &data, int size = 128)
{
    return crcFramer().frameBlock(number, data + QByteArray(size - data.size(), XmodemCodec::SUB));
}

QStringList filesUnder(const QString &root)
{
    QStringList files;
    QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        files << QDir(root).relativeFilePath(it.next());
    }
    files.sort();
    return files;
}

XferEnd waitForEnd(QSignalSpy &spy)
{
    return spy.isEmpty() && !spy.wait(20000) ? XferEnd() : spy.at(0).at(0).value<XferEnd>();
}

} // namespace

class TestFileTransferSession : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { qRegisterMetaType<XferEnd>(); }
    void hostileHeaders_data();
    void hostileHeaders();
    void endings_data();
    void endings();
};

void TestFileTransferSession::hostileHeaders_data()
{
    QTest::addColumn<QByteArray>("header"); // name, NUL, size
    QTest::addColumn<bool>("large");        // sent as a 1024-byte block
    QTest::addColumn<QString>("saved");     // in the chosen folder; empty when refused
    QTest::addColumn<int>("bytes");         // of the saved file
    QTest::addColumn<QString>("notice");    // the start of the first notice

    QTest::newRow("parent folders") << QByteArray("../../boot.ini\0" "5", 16) << false << "boot.ini" << 5 << "The device asked for the name \"../../boot.ini\"";
    QTest::newRow("drive") << QByteArray("C:\\x\0" "5", 6) << false << "x" << 5 << "The device asked";
    QTest::newRow("absolute") << QByteArray("/etc/passwd\0" "5", 13) << false << "passwd" << 5 << "The device asked";
    QTest::newRow("device name") << QByteArray("CON.txt\0" "5", 9) << false << "_CON.txt" << 5 << "The device asked";
    QTest::newRow("control characters") << QByteArray("a\x01" "b\x1b[2Jc.txt\0" "5", 16) << false << "ab[2Jc.txt" << 5 << "The device asked for the name \"a?b?[2Jc.txt\"";
    QTest::newRow("name over 255 bytes") << QByteArray(300, 'n') + QByteArray("\0" "5", 2) << true << QString(255, QLatin1Char('n')) << 5 << "The device asked";
    QTest::newRow("only dots") << QByteArray("..\0" "5", 4) << false << "received_*" << 5 << "The device asked";
    QTest::newRow("existing name") << QByteArray("keep.txt\0" "5", 10) << false << "keep (2).txt" << 5 << "A file of that name already existed";
    QTest::newRow("negative size keeps the padding") << QByteArray("neg.bin\0-5", 10) << false << "neg.bin" << 128 << "";
    QTest::newRow("size over the cap") << QByteArray("big.bin\0" "99999999", 16) << false << "" << 0 << "";
    QTest::newRow("no NUL") << QByteArray(128, 'x') << false << "" << 0 << "";
}

void TestFileTransferSession::hostileHeaders()
{
    QFETCH(QByteArray, header);
    QFETCH(bool, large);
    QFETCH(QString, saved);
    QFETCH(int, bytes);
    QFETCH(QString, notice);
    QTemporaryDir root;
    QVERIFY(QDir(root.path()).mkdir("inbox"));
    const QString inbox = root.filePath("inbox");
    QFile keep(root.filePath("inbox/keep.txt"));
    QVERIFY(keep.open(QIODevice::WriteOnly) && keep.write("old") == 3);
    keep.close();

    XferConfig config;
    config.protocol = XferProtocol::Ymodem;
    config.direction = XferDirection::Receive;
    config.receiveLimit = 1 << 20;
    FileTransferSession session(config, QStringLiteral("port"));
    session.setSink(std::make_unique<XferFileSink>(inbox, QString(), config.receiveLimit));
    ScriptedDevice device(session);
    device.replies = {headerFrame(header, large), dataFrame(1, "hello"),
                      QByteArray(1, XmodemCodec::EOT), headerFrame(QByteArray(), false)};
    QSignalSpy ended(&session, &FileTransferSession::ended);
    QVERIFY(session.start());
    const XferEnd end = waitForEnd(ended);

    QStringList expected{"inbox/keep.txt"};
    if (saved.isEmpty()) {
        QVERIFY(!end.ok);
        QVERIFY(device.heard.endsWith(XmodemCodec::cancelSequence()));
        QCOMPARE(filesUnder(root.path()), expected);
        return;
    }
    QVERIFY2(end.ok, qPrintable(end.message));
    const QStringList files = filesUnder(root.path());
    QCOMPARE(files.size(), 2);
    const QString got = files.at(files.first() == expected.first() ? 1 : 0);
    if (saved.endsWith(QLatin1Char('*'))) {
        QVERIFY(got.startsWith("inbox/" + saved.chopped(1)));
    } else {
        QCOMPARE(got, "inbox/" + saved);
    }
    QFile file(root.filePath(got));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), bytes == 5 ? QByteArray("hello") : dataFrame(1, "hello").mid(3, 128));
    const QStringList notices = session.takeNotices();
    QCOMPARE(notices.isEmpty(), notice.isEmpty());
    QVERIFY2(notice.isEmpty() || notices.first().startsWith(notice), qPrintable(notices.join('|')));
    QVERIFY(session.takeNotices().isEmpty());
}

void TestFileTransferSession::endings_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<XferError>("error");
    QTest::addColumn<QString>("message"); // its start
    QTest::addColumn<bool>("cancelBytes"); // the cancel sequence was sent
    QTest::addColumn<int>("budgetMs");

    QTest::newRow("user, nothing sent") << "user-early" << XferError::LocalCancelled << "Cancelled." << true << 2000;
    QTest::newRow("user, a block sent") << "user-late" << XferError::LocalCancelled << "Cancelled. The device may still" << true << 2000;
    QTest::newRow("port closed") << "closed" << XferError::ConnectionLost << "The connection was closed" << true << 200;
    QTest::newRow("port lost") << "lost" << XferError::ConnectionLost << "The connection was lost" << false << 0;
    QTest::newRow("port refuses a write") << "refused" << XferError::ConnectionLost << "The connection was lost" << false << 0;
    QTest::newRow("device cancels") << "remote" << XferError::RemoteCancelled << "The device cancelled" << false << 2000;
}

void TestFileTransferSession::endings()
{
    QFETCH(QString, how);
    QFETCH(XferError, error);
    QFETCH(QString, message);
    QFETCH(bool, cancelBytes);
    QFETCH(int, budgetMs);
    QTemporaryDir dir;
    QFile file(dir.filePath("fw.bin"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(5000, 'f')) == 5000);
    file.close();

    XferConfig config;
    config.protocol = XferProtocol::Xmodem1k;
    FileTransferSession session(config, QStringLiteral("port"));
    auto source = std::make_unique<XferFileSource>();
    QVERIFY(source->open(file.fileName(), nullptr));
    session.setSource(std::move(source));
    ScriptedDevice device(session);
    QVERIFY(session.startedText().startsWith("Sending fw.bin (XMODEM-1K, 5000 bytes)"));
    QSignalSpy ended(&session, &FileTransferSession::ended);
    QVERIFY(session.start());
    QCOMPARE(session.state(), FileTransferSession::State::Running);
    QString notRunning;
    QVERIFY(!session.start(&notRunning));

    // The device asks for the file; the first block goes out (and is written, unless
    // the port refuses it).
    device.lost = how == "refused";
    if (how != "user-early" && how != "closed" && how != "lost") {
        session.ingest("C");
        QCOMPARE(device.heard.size(), 1029);
    }
    if (how == "remote") {
        session.ingest("\x18\x18");
    } else if (how != "refused") {
        session.beginCancel(how.startsWith("user") ? FileTransferSession::CancelCause::User
                            : how == "closed"     ? FileTransferSession::CancelCause::PortClosed
                                                  : FileTransferSession::CancelCause::PortLost);
    }
    const XferEnd end = waitForEnd(ended);
    QCOMPARE(ended.size(), 1);
    QVERIFY(!end.ok);
    QCOMPARE(end.error, error);
    QVERIFY2(end.message.startsWith(message), qPrintable(end.message));
    QCOMPARE(device.heard.contains(XmodemCodec::cancelSequence()), cancelBytes);
    QCOMPARE(session.cancelBudgetMs(), budgetMs);
    QCOMPARE(session.state(), FileTransferSession::State::Ended);
    QVERIFY(session.summaryText().startsWith("Transfer failed: " + message));
    // Once ended, nothing moves it again.
    session.beginCancel(FileTransferSession::CancelCause::User);
    session.ingest("C");
    QCOMPARE(ended.size(), 1);
}

QTEST_MAIN(TestFileTransferSession)
#include "tst_filetransfersession.moc"
