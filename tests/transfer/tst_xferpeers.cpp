// File transfers against real peers: Debian's lrzsz (sx, sb, rx, rb) and a YMODEM-G
// receiver in Python, each on one end of a socat pseudo-terminal pair, with a
// FileTransferSession on the other end driven through QSerialPort as a port session
// drives it.

#include "ptyrelay.h"
#include "transfer/filetransfersession.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"
#include "transfer/xmodemcodec.h"

#include "support/testdata.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QRandomGenerator>
#include <QSerialPort>
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

// Every file under `root`, as paths relative to it.
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

// Runs `session` on the serial device `path` until it ends, as a port session would:
// received bytes go in, its bytes go out, and an empty write buffer is reported.
XferEnd runSession(FileTransferSession &session, const QString &path, QString *why)
{
    QSerialPort port(path);
    if (!port.open(QIODevice::ReadWrite)) {
        *why = port.errorString();
        return XferEnd();
    }
    session.setSender([&port](const QByteArray &bytes) { return port.write(bytes) == bytes.size(); });
    QObject::connect(&port, &QSerialPort::readyRead, &session,
                     [&] { session.ingest(port.readAll()); });
    QObject::connect(&port, &QSerialPort::bytesWritten, &session, [&] {
        if (port.bytesToWrite() == 0) {
            session.egressDrained();
        }
    });
    QSignalSpy ended(&session, &FileTransferSession::ended);
    if (!session.start(why)) {
        return XferEnd();
    }
    if (!ended.wait(120000)) {
        *why = QStringLiteral("the transfer did not end");
        return XferEnd();
    }
    // The last answer (the ACK of EOT) may still be in the write buffer.
    while (port.bytesToWrite() > 0 && port.waitForBytesWritten(5000)) {
    }
    return ended.at(0).at(0).value<XferEnd>();
}

} // namespace

Q_DECLARE_METATYPE(XferEnd)

class TestXferPeers : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void lrzsz_data();
    void lrzsz();

private:
    bool havePeers = false;
};

void TestXferPeers::initTestCase()
{
    qRegisterMetaType<XferEnd>();
    havePeers = !QStandardPaths::findExecutable(QStringLiteral("sx")).isEmpty();
}

void TestXferPeers::lrzsz_data()
{
    QTest::addColumn<P>("protocol");
    QTest::addColumn<bool>("sending"); // Velmora sends
    QTest::addColumn<QString>("peer");  // the peer's command; "f" is the file, "out" its output
    QTest::addColumn<int>("size");

    struct Config
    {
        const char *label;
        P protocol;
        bool sending;
        const char *peer;
    };
    const Config configs[] = {
        {"receive xmodem from sx", P::Xmodem, false, "sx -b f"},
        {"receive xmodem-crc from sx", P::XmodemCrc, false, "sx -b f"},
        {"receive xmodem-1k from sx -k", P::Xmodem1k, false, "sx -b -k f"},
        {"receive ymodem from sb", P::Ymodem, false, "sb -b f"},
        {"receive ymodem from sb -k", P::Ymodem, false, "sb -b -k f"},
        {"receive ymodem-g from sb -k", P::YmodemG, false, "sb -b -k f"},
        {"send xmodem to rx", P::Xmodem, true, "rx -b out"},
        {"send xmodem-crc to rx -c", P::XmodemCrc, true, "rx -b -c out"},
        {"send xmodem-1k to rx -c", P::Xmodem1k, true, "rx -b -c out"},
        {"send ymodem to rb", P::Ymodem, true, "rb -b"},
        {"send ymodem-g to a python receiver", P::YmodemG, true, "python"},
    };
    for (const Config &c : configs) {
        for (int size : {0, 1, 127, 128, 129, 1024, 1025}) {
            QTest::addRow("%s, %d bytes", c.label, size)
                << c.protocol << c.sending << QString::fromLatin1(c.peer) << size;
        }
    }
    QTest::newRow("receive ymodem from sb -k, 1 MiB") << P::Ymodem << false << "sb -b -k f" << (1 << 20);
    QTest::newRow("receive ymodem-g from sb -k, 1 MiB") << P::YmodemG << false << "sb -b -k f" << (1 << 20);
    QTest::newRow("send ymodem to rb, 1 MiB") << P::Ymodem << true << "rb -b" << (1 << 20);
}

void TestXferPeers::lrzsz()
{
    QFETCH(P, protocol);
    QFETCH(bool, sending);
    QFETCH(QString, peer);
    QFETCH(int, size);
    if (!havePeers) {
        QSKIP("lrzsz is needed (scripts/deps.sh test installs it)");
    }
    // A millisecond each way, as a USB serial adapter has: lrzsz empties its input right
    // after each answer, and an instant reply would be emptied with it.
    testsupport::PtyRelay pty;
    QString why;
    QVERIFY2(pty.start({0, 1000, 4096}, &why), qPrintable(why));
    QTemporaryDir ours;
    QTemporaryDir theirs;
    const QByteArray data = randomBytes(size, quint32(size) + 11);
    const QString name = QStringLiteral("f");
    QVERIFY(writeFile((sending ? ours : theirs).filePath(name), data));

    // lrzsz reads the terminal but writes into the relay's pipe: it empties the
    // terminal's queues as it exits, and on a pseudo-terminal that can swallow its last
    // answer before anyone read it (a real UART sends it first).
    QProcess process;
    process.setWorkingDirectory(theirs.path());
    process.setStandardInputFile(pty.portB());
    if (peer == QLatin1String("python")) {
        process.setStandardOutputFile(pty.portB());
        process.start(Python, {QFINDTESTDATA("ymodem_g_receiver.py"), pty.portB(), theirs.path()});
    } else {
        const int writer = pty.writerFor(1);
        process.setChildProcessModifier([writer] { ::dup2(writer, STDOUT_FILENO); });
        QStringList args = peer.split(QLatin1Char(' '));
        process.start(args.takeFirst(), args);
    }
    QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));

    XferConfig config;
    config.protocol = protocol;
    config.direction = sending ? XferDirection::Send : XferDirection::Receive;
    FileTransferSession session(config, QStringLiteral("pty"));
    if (sending) {
        auto source = std::make_unique<XferFileSource>();
        QVERIFY2(source->open(ours.filePath(name), &why), qPrintable(why));
        session.setSource(std::move(source));
    } else {
        // XMODEM carries no name: the user's choice stands in for it.
        session.setSink(std::make_unique<XferFileSink>(
            ours.path(), xferProtocolHasHeader(protocol) ? QString() : QStringLiteral("got.bin")));
    }
    const XferEnd end = runSession(session, pty.portA(), &why);
    if (!end.ok || (process.state() != QProcess::NotRunning && !process.waitForFinished(30000))) {
        process.kill();
        process.waitForFinished();
        QFAIL(qPrintable(QStringLiteral("%1 %2; the peer said: %3")
                             .arg(why, end.message, QString::fromLocal8Bit(process.readAllStandardError()))));
    }
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(process.exitCode() == 0, qPrintable(QString::fromLocal8Bit(process.readAllStandardError())));

    const QString arrived = sending ? theirs.filePath(peer.endsWith(QLatin1String("out"))
                                                          ? QStringLiteral("out")
                                                          : name)
                                    : ours.filePath(xferProtocolHasHeader(protocol) ? name
                                                                                    : QStringLiteral("got.bin"));
    const QByteArray got = readFile(arrived);
    if (xferProtocolHasHeader(protocol)) {
        QCOMPARE(got.size(), data.size());
        QVERIFY(got == data);
    } else {
        // XMODEM pads the last block; the data itself must be whole and unchanged.
        QVERIFY2(got.startsWith(data), qPrintable(QStringLiteral("%1 of %2 bytes").arg(got.size()).arg(size)));
        QVERIFY(got.size() - data.size() < 1024);
        QCOMPARE(got.mid(data.size()), QByteArray(got.size() - data.size(), XmodemCodec::SUB));
        QCOMPARE(end.bytes, sending ? qint64(size) : qint64(got.size()));
    }
    QCOMPARE(filesUnder(ours.path()).size(), sending ? 1 : 1); // no temporary left behind
}

QTEST_MAIN(TestXferPeers)
#include "tst_xferpeers.moc"
