// The file ends of a transfer on a real disk, the names given to received files, and
// the rules for starting a transfer on a port.

#include "transfer/xferfilename.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"
#include "transfer/xferstartcheck.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QDateTime Now = QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9));

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

bool makeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestXferFiles : public QObject
{
    Q_OBJECT
private slots:
    void safeFileName_data();
    void safeFileName();
    void uniquePath();
    void sinkLifecycle_data();
    void sinkLifecycle();
    void sourceNoticesChanges();
    void startRules_data();
    void startRules();
};

void TestXferFiles::safeFileName_data()
{
    QTest::addColumn<QString>("offered");
    QTest::addColumn<QString>("saved");
    const QString dated = QStringLiteral("received_20240506-070809.bin");
    QTest::newRow("windows path") << "C:\\Windows\\x.sys" << "x.sys";
    QTest::newRow("stream") << "a:b" << "b";
    QTest::newRow("device name any case") << "com1" << "_com1";
    QTest::newRow("not a device") << "CONSOLE.txt" << "CONSOLE.txt";
    QTest::newRow("control and reserved") << QStringLiteral("a\x01<b>\x1f|c?*\x7f\".txt") << "abc.txt";
    QTest::newRow("trailing dots and blanks") << "  report. . " << "report";
    QTest::newRow("dots and blanks only") << " . .. " << dated;
    QTest::newRow("parent alone") << ".." << dated;
    QTest::newRow("empty") << "" << dated;
    QTest::newRow("unicode kept") << QStringLiteral("日志 2024.txt") << QStringLiteral("日志 2024.txt");
    QTest::newRow("long cut at a character") << QString(100, QChar(0x65E5)) << QString(85, QChar(0x65E5));
}

void TestXferFiles::safeFileName()
{
    QFETCH(QString, offered);
    QFETCH(QString, saved);
    const QString name = xferSafeFileName(offered, Now);
    QCOMPARE(name, saved);
    QVERIFY(name.toUtf8().size() <= 255);
}

void TestXferFiles::uniquePath()
{
    QTemporaryDir dir;
    QCOMPARE(xferUniquePath(dir.path(), "a.txt"), dir.filePath("a.txt"));
    QVERIFY(makeFile(dir.filePath("a.txt"), "x"));
    QVERIFY(makeFile(dir.filePath("a (2).txt"), "x"));
    QCOMPARE(xferUniquePath(dir.path(), "a.txt"), dir.filePath("a (3).txt"));
    QVERIFY(makeFile(dir.filePath(".profile"), "x"));
    QCOMPARE(xferUniquePath(dir.path(), ".profile"), dir.filePath(".profile (2)"));
    // A dangling link is a name in use too: renaming over it would replace the link.
    QVERIFY(QFile::link(dir.filePath("nowhere"), dir.filePath("b.bin")));
    QCOMPARE(xferUniquePath(dir.path(), "b.bin"), dir.filePath("b (2).bin"));
}

void TestXferFiles::sinkLifecycle_data()
{
    QTest::addColumn<QString>("ending"); // commit, short, fail-keep, fail-empty
    QTest::addColumn<qint64>("modified");
    QTest::addColumn<QStringList>("files"); // what the folder holds afterwards
    QTest::addColumn<QByteArray>("content");
    const qint64 good = Now.toSecsSinceEpoch() - 3600;
    QTest::newRow("commit cuts to size and keeps the time") << "commit" << good << QStringList{"data.bin", "data.bin.old"} << QByteArray("hello");
    QTest::newRow("time before 2000 ignored") << "commit" << qint64(3600) << QStringList{"data.bin", "data.bin.old"} << QByteArray("hello");
    QTest::newRow("time far ahead ignored") << "commit" << Now.toSecsSinceEpoch() + 400000000 << QStringList{"data.bin", "data.bin.old"} << QByteArray("hello");
    QTest::newRow("short file is not final") << "short" << good << QStringList{"data.bin.old"} << QByteArray();
    QTest::newRow("failure keeps a partial") << "fail-keep" << good << QStringList{"data.bin.old", "data.bin.partial"} << QByteArray("hello world");
    QTest::newRow("failure without data leaves nothing") << "fail-empty" << good << QStringList{"data.bin.old"} << QByteArray();
}

void TestXferFiles::sinkLifecycle()
{
    QFETCH(QString, ending);
    QFETCH(qint64, modified);
    QFETCH(QStringList, files);
    QFETCH(QByteArray, content);
    QTemporaryDir dir;
    QVERIFY(makeFile(dir.filePath("data.bin.old"), "keep me"));
    // A planted link under the temporary's name must not carry the data elsewhere.
    QTemporaryDir elsewhere;
    QVERIFY(QFile::link(elsewhere.filePath("victim"), dir.filePath(".data.bin.part")));
    {
        XferFileSink sink(dir.path());
        sink.setNow(Now);
        QVERIFY2(sink.open({QStringLiteral("data.bin"), ending == "short" ? 100 : 5, modified}),
                 qPrintable(sink.errorString()));
        QCOMPARE(entries(dir.path()), (QStringList{".data.bin.part", "data.bin.old"}));
        if (ending != "fail-empty") {
            QVERIFY(sink.write("hello"));
            QVERIFY(sink.write(" world"));
        }
        if (ending == "commit") {
            QVERIFY(sink.commit(5));
            QCOMPARE(sink.finalPath(), dir.filePath("data.bin"));
            const qint64 time = QFileInfo(sink.finalPath()).lastModified().toSecsSinceEpoch();
            QCOMPARE(time == modified, modified == Now.toSecsSinceEpoch() - 3600);
        } else if (ending == "short") {
            QVERIFY(!sink.commit(100));
            QVERIFY(sink.errorString().contains("100"));
            sink.discard(false);
        } else {
            sink.discard(true);
        }
    }
    QCOMPARE(entries(dir.path()), files);
    QVERIFY(entries(elsewhere.path()).isEmpty());
    if (!content.isEmpty()) {
        QFile saved(dir.filePath(files.first() == "data.bin" ? "data.bin" : "data.bin.partial"));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), content);
    }
}

void TestXferFiles::sourceNoticesChanges()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("fw.bin");
    QVERIFY(makeFile(path, QByteArray(3000, 'f')));
    XferFileSource source;
    QString error;
    QVERIFY(!source.open(dir.filePath("missing.bin"), &error));
    QVERIFY(error.startsWith("Could not open"));
    QVERIFY(source.open(path, &error));
    QCOMPARE(source.meta().name, QStringLiteral("fw.bin"));
    QCOMPARE(source.meta().size, 3000);
    QCOMPARE(source.read(2990, 1024), QByteArray(10, 'f'));
    QVERIFY(source.stillIntact());
    QVERIFY(makeFile(path, QByteArray(10, 'g')));
    QVERIFY(!source.stillIntact());
}

void TestXferFiles::startRules_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("flowControl");
    QTest::addColumn<int>("protocol");
    QTest::addColumn<QStringList>("clients");
    QTest::addColumn<QString>("peer");
    QTest::addColumn<QString>("refusal"); // the start of the sentence; empty when allowed
    const QStringList none;
    const QStringList two{"10.0.0.2:5000", "10.0.0.3:5000"};
    QTest::newRow("serial ymodem") << int(ModeSerial) << 0 << int(XferProtocol::Ymodem) << none << "" << "";
    QTest::newRow("serial ymodem-g without flow control") << int(ModeSerial) << 0 << int(XferProtocol::YmodemG) << none << "" << "YMODEM-G does not retransmit";
    QTest::newRow("serial ymodem-g with xon/xoff") << int(ModeSerial) << 2 << int(XferProtocol::YmodemG) << none << "" << "YMODEM-G does not retransmit";
    QTest::newRow("serial ymodem-g with rts/cts") << int(ModeSerial) << 1 << int(XferProtocol::YmodemG) << none << "" << "";
    QTest::newRow("tcp ymodem-g") << int(ModeTcpClient) << 0 << int(XferProtocol::YmodemG) << none << "" << "";
    QTest::newRow("rfc 2217 ymodem-g") << int(ModeRemoteSerial) << 0 << int(XferProtocol::YmodemG) << none << "" << "";
    QTest::newRow("relay ymodem-g") << int(ModeLiveRelay) << 0 << int(XferProtocol::YmodemG) << none << "" << "";
    QTest::newRow("udp") << int(ModeUdpClient) << 0 << int(XferProtocol::Xmodem) << none << "" << "File transfer needs an ordered";
    QTest::newRow("server, two clients, none chosen") << int(ModeTcpServer) << 0 << int(XferProtocol::Xmodem) << two << "" << "Several clients are connected";
    QTest::newRow("server, chosen client") << int(ModeTcpServer) << 0 << int(XferProtocol::Xmodem) << two << two[1] << "";
    QTest::newRow("server, client gone") << int(ModeTcpServer) << 0 << int(XferProtocol::Xmodem) << two << "10.0.0.9:1" << "The selected client is no longer connected";
}

void TestXferFiles::startRules()
{
    QFETCH(int, mode);
    QFETCH(int, flowControl);
    QFETCH(int, protocol);
    QFETCH(QStringList, clients);
    QFETCH(QString, peer);
    QFETCH(QString, refusal);
    XferPortFacts facts;
    facts.mode = connectionMode(mode);
    facts.flowControl = flowControl;
    facts.clients = clients;
    XferConfig config;
    config.protocol = XferProtocol(protocol);
    config.peer = peer;
    const QString why = XferStartCheck::startRefusal(facts, config);
    QVERIFY2(refusal.isEmpty() ? why.isEmpty() : why.startsWith(refusal), qPrintable(why));
    // Whatever the settings, a port that is busy, bridged or paused refuses first.
    for (int busy = 0; busy < 3; ++busy) {
        XferPortFacts other = facts;
        other.transferRunning = busy == 0;
        other.bridged = busy == 1;
        other.paused = busy == 2;
        QVERIFY(!XferStartCheck::canStartTransfer(other).isEmpty());
        QCOMPARE(XferStartCheck::startRefusal(other, config), XferStartCheck::canStartTransfer(other));
    }
}

QTEST_APPLESS_MAIN(TestXferFiles)
#include "tst_xferfiles.moc"
