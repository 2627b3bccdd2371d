// Traffic between independent Modbus implementations, captured on the wire and decoded:
// pymodbus as master and slave over a pseudo-terminal (RTU) and over TCP, and mbpoll as
// master. The test sits between the two ends, forwarding and recording every read as an
// event; the capture goes through an events file and the decoder as the command line
// runs them. A TCP capture is also written as a pcap file and read by tshark, whose
// Modbus dissector must agree with the decoder frame by frame.

#include "decode/decodedriver.h"
#include "decode/framecsv.h"
#include "decode/modbusdecoder.h"
#include "support/testsupport.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSerialPort>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

using Variant = ModbusStreamDecoder::Variant;

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");

bool havePymodbus()
{
    return QProcess::execute(Python, {QStringLiteral("-c"),
                                      QStringLiteral("import pymodbus, serial_asyncio")}) == 0;
}

// Forwards between a master's end and a slave's end, recording what passes: what the
// master sends as TX, what the slave answers as RX.
class Tap : public QObject
{
public:
    void join(QIODevice *master, QIODevice *slave, const QString &peer = {})
    {
        connect(master, &QIODevice::readyRead, this,
                [=, this] { pass(master, slave, FrameDirection::Tx, peer); });
        connect(slave, &QIODevice::readyRead, this,
                [=, this] { pass(slave, master, FrameDirection::Rx, peer); });
    }

    QList<DecodeEvent> events;
    QElapsedTimer clock;

private:
    void pass(QIODevice *from, QIODevice *to, FrameDirection direction, const QString &peer)
    {
        const QByteArray bytes = from->readAll();
        if (!bytes.isEmpty()) {
            events.append({clock.elapsed(), direction, bytes, peer, 0});
            to->write(bytes);
        }
    }
};

// A TCP relay on a free port to a server, one tap for every connection.
class TcpRelay : public QObject
{
public:
    TcpRelay(quint16 serverPort, Tap *tap)
    {
        server.listen(QHostAddress::LocalHost, 0);
        connect(&server, &QTcpServer::newConnection, this, [=, this] {
            while (QTcpSocket *client = server.nextPendingConnection()) {
                auto *upstream = new QTcpSocket(client);
                upstream->connectToHost(QHostAddress::LocalHost, serverPort);
                upstream->waitForConnected(5000);
                tap->join(client, upstream, QStringLiteral("127.0.0.1:%1").arg(client->peerPort()));
            }
        });
    }
    quint16 port() const { return server.serverPort(); }

private:
    QTcpServer server;
};

// Whether `process` has `path` open: the serial server is ready once it holds its port.
bool holdsOpen(const QProcess &process, const QString &path)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/%1/fd").arg(process.processId()));
    for (const QFileInfo &fd : fds.entryInfoList(QDir::Files | QDir::System)) {
        if (fd.symLinkTarget() == device) {
            return true;
        }
    }
    return false;
}

// Runs a peer to its end while the event loop forwards its bytes.
bool runToEnd(QProcess &process, const QString &program, const QStringList &arguments,
              QByteArray *output = nullptr)
{
    process.start(program, arguments);
    if (!process.waitForStarted(10000)) {
        return false;
    }
    QDeadlineTimer deadline(60000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        QTest::qWait(20);
    }
    if (output) {
        *output = process.readAllStandardOutput();
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

void stop(QProcess &process)
{
    if (process.state() != QProcess::NotRunning) {
        process.terminate();
        if (!process.waitForFinished(5000)) {
            process.kill();
            process.waitForFinished(5000);
        }
    }
}

// The capture through an events file and the decoder, as the command line would.
std::unique_ptr<DecodeDriver> decodeCapture(Variant variant, const QList<DecodeEvent> &events)
{
    QTemporaryFile file;
    if (!file.open()) {
        return nullptr;
    }
    for (const DecodeEvent &event : events) {
        file.write(DecodeEvents::formatLine(event) + '\n');
    }
    file.seek(0);
    QList<DecodeEvent> read;
    QString error;
    if (!DecodeEvents::read(file, &read, &error)) {
        qWarning("%s", qPrintable(error));
        return nullptr;
    }
    auto driver = std::make_unique<DecodeDriver>(variant);
    driver->run(read);
    return driver;
}

// The items of a frame's group row ("40011=0x006F (111)").
QStringList items(const DecodeDriver &driver, const DecodedFrame &frame)
{
    QStringList out;
    for (const DecodedField &field : driver.explain(frame)) {
        if (field.indent == 1) {
            out.append(field.name + u'=' + field.value);
        }
    }
    return out;
}

QStringList registerItems(int function, int start, const QJsonArray &values)
{
    QStringList out;
    for (int i = 0; i < values.size(); ++i) {
        out.append(ModbusDecoder::reference(function, start + i) + u'=' +
                   ModbusDecoder::registerText(quint16(values.at(i).toInt())));
    }
    return out;
}

QStringList bitItems(int function, int start, const QJsonArray &values)
{
    QStringList out;
    for (int i = 0; i < values.size(); ++i) {
        out.append(ModbusDecoder::reference(function, start + i) + u'=' +
                   (values.at(i).toBool() ? QStringLiteral("ON") : QStringLiteral("OFF")));
    }
    return out;
}

// A TCP capture as a pcap file: each event a segment between 10.0.0.1 (the client, at
// its own port) and 10.0.0.2 at `serverPort`, sequence numbers counted per direction.
QByteArray pcapOf(const QList<DecodeEvent> &events, quint16 serverPort)
{
    QByteArray out;
    const auto put32 = [&](quint32 v) { out.append(reinterpret_cast<const char *>(&v), 4); };
    const auto put16 = [&](quint16 v) { out.append(reinterpret_cast<const char *>(&v), 2); };
    put32(0xA1B2C3D4);
    put16(2);
    put16(4);
    put32(0);
    put32(0);
    put32(65535);
    put32(1); // Ethernet
    QHash<QString, quint32> seq;
    for (const DecodeEvent &event : events) {
        const bool fromClient = event.direction == FrameDirection::Tx;
        const quint16 clientPort = event.peer.section(u':', 1).toUShort();
        QByteArray packet(14 + 20 + 20, '\0');
        packet[12] = 0x08; // IPv4
        uchar *ip = reinterpret_cast<uchar *>(packet.data()) + 14;
        ip[0] = 0x45;
        qToBigEndian<quint16>(quint16(40 + event.bytes.size()), ip + 2);
        ip[8] = 64;
        ip[9] = 6; // TCP
        const uchar client[4] = {10, 0, 0, 1};
        const uchar server[4] = {10, 0, 0, 2};
        memcpy(ip + 12, fromClient ? client : server, 4);
        memcpy(ip + 16, fromClient ? server : client, 4);
        uchar *tcp = ip + 20;
        qToBigEndian<quint16>(fromClient ? clientPort : serverPort, tcp);
        qToBigEndian<quint16>(fromClient ? serverPort : clientPort, tcp + 2);
        const QString key = event.peer + (fromClient ? u'>' : u'<');
        const QString back = event.peer + (fromClient ? u'<' : u'>');
        qToBigEndian<quint32>(seq.value(key, 1000), tcp + 4);
        qToBigEndian<quint32>(seq.value(back, 1000), tcp + 8);
        seq[key] = seq.value(key, 1000) + quint32(event.bytes.size());
        tcp[12] = 0x50;
        tcp[13] = 0x18; // PSH, ACK
        qToBigEndian<quint16>(65535, tcp + 14);
        packet += event.bytes;
        put32(quint32(event.ms / 1000));
        put32(quint32(event.ms % 1000 * 1000));
        put32(quint32(packet.size()));
        put32(quint32(packet.size()));
        out += packet;
    }
    return out;
}

} // namespace

class TestModbusPeers : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void pymodbusExchange_data();
    void pymodbusExchange();
    void mbpollMaster_data();
    void mbpollMaster();

private:
    // A running pymodbus server and the tap in front of it; `where` is the master's end.
    bool startServer(Variant variant, QString *where);
    void stopServer();

    Tap tap;
    QProcess server;
    testsupport::PtyPair slaveLine;
    testsupport::PtyPair masterLine;
    std::unique_ptr<QSerialPort> slaveTap;
    std::unique_ptr<QSerialPort> masterTap;
    std::unique_ptr<TcpRelay> relay;
};

void TestModbusPeers::initTestCase()
{
    if (!QFileInfo::exists(Python) || !havePymodbus()) {
        QSKIP("python3-pymodbus and python3-serial-asyncio are not installed (scripts/deps.sh "
              "test installs them)");
    }
}

bool TestModbusPeers::startServer(Variant variant, QString *where)
{
    tap.events.clear();
    tap.clock.start();
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const QString script = QFINDTESTDATA("modbus_peer.py");
    if (variant == Variant::Rtu) {
        QString why;
        if (!slaveLine.start(&why) || !masterLine.start(&why)) {
            qWarning("%s", qPrintable(why));
            return false;
        }
        server.start(Python,
                     {script, QStringLiteral("server"), QStringLiteral("rtu"), slaveLine.portA()});
        server.waitForStarted(10000);
        slaveTap = std::make_unique<QSerialPort>(slaveLine.portB());
        masterTap = std::make_unique<QSerialPort>(masterLine.portB());
        if (!slaveTap->open(QIODevice::ReadWrite) || !masterTap->open(QIODevice::ReadWrite)) {
            return false;
        }
        tap.join(masterTap.get(), slaveTap.get());
        *where = masterLine.portA();
    } else {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const quint16 port = probe.serverPort();
        probe.close();
        server.start(Python, {script, QStringLiteral("server"), QStringLiteral("tcp"),
                              QString::number(port)});
        server.waitForStarted(10000);
        QTcpSocket socket;
        QDeadlineTimer deadline(20000);
        do {
            socket.abort();
            socket.connectToHost(QHostAddress::LocalHost, port);
        } while (!socket.waitForConnected(200) && !deadline.hasExpired());
        if (socket.state() != QAbstractSocket::ConnectedState) {
            return false;
        }
        socket.disconnectFromHost();
        relay = std::make_unique<TcpRelay>(port, &tap);
        *where = QString::number(relay->port());
    }
    if (variant == Variant::Rtu) {
        QDeadlineTimer deadline(20000);
        while (!holdsOpen(server, slaveLine.portA()) && !deadline.hasExpired()) {
            QTest::qWait(20);
        }
    }
    return server.state() == QProcess::Running;
}

void TestModbusPeers::stopServer()
{
    stop(server);
    relay.reset();
    slaveTap.reset();
    masterTap.reset();
    slaveLine.stop();
    masterLine.stop();
}

void TestModbusPeers::pymodbusExchange_data()
{
    QTest::addColumn<Variant>("variant");
    QTest::newRow("rtu over a pty") << Variant::Rtu;
    QTest::newRow("tcp") << Variant::Tcp;
}

void TestModbusPeers::pymodbusExchange()
{
    QFETCH(Variant, variant);
    QString where;
    const auto cleanup = qScopeGuard([this] { stopServer(); });
    QVERIFY(startServer(variant, &where));
    QProcess client;
    QByteArray output;
    QVERIFY(
        runToEnd(client, Python,
                 {QFINDTESTDATA("modbus_peer.py"), QStringLiteral("client"),
                  variant == Variant::Rtu ? QStringLiteral("rtu") : QStringLiteral("tcp"), where},
                 &output));
    const QJsonObject got = QJsonDocument::fromJson(output).object();
    QVERIFY2(!got.isEmpty(), output.constData());

    const auto driver = decodeCapture(variant, tap.events);
    QVERIFY(driver);
    const QList<DecodedFrame> &frames = driver->frames();
    QStringList summaries;
    for (const DecodedFrame &frame : frames) {
        summaries.append(FrameCsv::directionToken(frame.direction) + u' ' + frame.summary);
        QVERIFY2(frame.pairedSeq != 0, qPrintable(DecodeDriver::lineText(frame)));
        QVERIFY(frame.status == FrameStatus::Ok || frame.status == FrameStatus::Exception);
    }
    QCOMPARE(summaries, (QStringList{"TX Slave 1 · Write Multiple Registers 40011-40014 (4)",
                                     "RX Slave 1 · Write Multiple Registers → 40011-40014 (4)",
                                     "TX Slave 1 · Read Holding Registers 40011-40014 (4)",
                                     "RX Slave 1 · Read Holding Registers → 4 register(s)",
                                     "TX Slave 1 · Write Multiple Coils 00006-00014 (9)",
                                     "RX Slave 1 · Write Multiple Coils → 00006-00014 (9)",
                                     "TX Slave 1 · Read Coils 00006-00014 (9)",
                                     "RX Slave 1 · Read Coils → 9 coil(s)",
                                     "TX Slave 1 · Write Single Register 40021 = 4242",
                                     "RX Slave 1 · Write Single Register → 40021 = 4242",
                                     "TX Slave 1 · Write Single Coil 00031 = ON",
                                     "RX Slave 1 · Write Single Coil → 00031 = ON",
                                     "TX Slave 1 · Read Input Registers 30003-30005 (3)",
                                     "RX Slave 1 · Read Input Registers → 3 register(s)",
                                     "TX Slave 1 · Read Discrete Inputs 10001-10008 (8)",
                                     "RX Slave 1 · Read Discrete Inputs → 8 coil(s)",
                                     "TX Slave 1 · Read Holding Registers 41001-41002 (2)",
                                     "RX Slave 1 · Exception 02 Illegal Data Address (Read Holding "
                                     "Registers)"}));
    // What the master read back is what the decoder shows, item by item.
    QCOMPARE(items(*driver, frames.at(3)), registerItems(3, 10, got.value("registers").toArray()));
    QCOMPARE(items(*driver, frames.at(7)), bitItems(1, 5, got.value("coils").toArray()));
    QCOMPARE(items(*driver, frames.at(13)),
             registerItems(4, 2, got.value("inputRegisters").toArray()));
    QCOMPARE(items(*driver, frames.at(15)), bitItems(2, 0, got.value("inputs").toArray()));
    QCOMPARE(got.value("exception").toInt(), 2);

    if (variant != Variant::Tcp) {
        return;
    }
    const QString tshark = QStandardPaths::findExecutable(QStringLiteral("tshark"));
    if (tshark.isEmpty()) {
        QSKIP("tshark is not installed (scripts/deps.sh test installs it)");
    }
    QTemporaryDir dir;
    QFile pcap(dir.filePath(QStringLiteral("capture.pcap")));
    QVERIFY(pcap.open(QIODevice::WriteOnly));
    pcap.write(pcapOf(tap.events, 1502));
    pcap.close();
    QProcess dissector;
    QByteArray fields;
    QVERIFY(runToEnd(dissector, tshark,
                     {QStringLiteral("-r"), pcap.fileName(),
                      QStringLiteral("-d"), QStringLiteral("tcp.port==1502,mbtcp"),
                      QStringLiteral("-o"), QStringLiteral("mbtcp.tcp.port:1502"),
                      QStringLiteral("-T"), QStringLiteral("fields"),
                      QStringLiteral("-E"), QStringLiteral("aggregator=,"),
                      QStringLiteral("-e"), QStringLiteral("mbtcp.trans_id"),
                      QStringLiteral("-e"), QStringLiteral("mbtcp.unit_id"),
                      QStringLiteral("-e"), QStringLiteral("modbus.func_code"),
                      QStringLiteral("-e"), QStringLiteral("modbus.reference_num"),
                      QStringLiteral("-e"), QStringLiteral("modbus.regval_uint16"),
                      QStringLiteral("-e"), QStringLiteral("modbus.exception_code")},
                     &fields));
    const QStringList lines = QString::fromUtf8(fields).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), frames.size());
    for (int i = 0; i < frames.size(); ++i) {
        const DecodedFrame &frame = frames.at(i);
        const QByteArray pdu = frame.raw.sliced(7);
        const int function = frame.modbus.function & 0x7F;
        // The reference of a request, and of the answers that repeat it.
        const bool echo = function == 5 || function == 6 || function == 15 || function == 16;
        const QString reference =
            (!frame.modbus.isResponse || echo) && pdu.size() >= 3
                ? QString::number(qFromBigEndian<quint16>(pdu.constData() + 1))
                : QString();
        QStringList values;
        for (const DecodedField &field : driver->explain(frame)) {
            if (field.indent == 1 && field.value.startsWith(QStringLiteral("0x"))) {
                values.append(QString::number(field.value.mid(2, 4).toUInt(nullptr, 16)));
            }
        }
        const QString ours =
            QStringList{QString::number(frame.modbus.transaction),
                        QString::number(frame.modbus.slave),
                        QString::number(function),
                        reference,
                        values.join(u','),
                        frame.status == FrameStatus::Exception ? QString::number(quint8(pdu.at(1)))
                                                               : QString()}
                .join(u'\t');
        QCOMPARE(ours, lines.at(i));
    }
}

void TestModbusPeers::mbpollMaster_data()
{
    QTest::addColumn<Variant>("variant");
    QTest::newRow("rtu over a pty") << Variant::Rtu;
    QTest::newRow("tcp") << Variant::Tcp;
}

void TestModbusPeers::mbpollMaster()
{
    QFETCH(Variant, variant);
    const QString mbpoll = QStandardPaths::findExecutable(QStringLiteral("mbpoll"));
    if (mbpoll.isEmpty()) {
        QSKIP("mbpoll is not installed (scripts/deps.sh test installs it)");
    }
    QString where;
    const auto cleanup = qScopeGuard([this] { stopServer(); });
    QVERIFY(startServer(variant, &where));
    const QStringList line = variant == Variant::Rtu
                                 ? QStringList{"-m", "rtu", "-b", "19200", "-P", "none", where}
                                 : QStringList{"-m", "tcp", "-p", where, "127.0.0.1"};
    const QStringList common{"-a", "1", "-1", "-o", "3"};
    QProcess process;
    // Write three registers from reference 5, read them back, write and read coils.
    QVERIFY(runToEnd(process, mbpoll,
                     common + QStringList{"-t", "4", "-r", "5"} + line +
                         QStringList{"1234", "65534", "7"}));
    QVERIFY(
        runToEnd(process, mbpoll, common + QStringList{"-t", "4", "-r", "5", "-c", "3"} + line));
    QVERIFY(
        runToEnd(process, mbpoll,
                 common + QStringList{"-t", "0", "-r", "40"} + line + QStringList{"1", "0", "1"}));
    QVERIFY(
        runToEnd(process, mbpoll, common + QStringList{"-t", "0", "-r", "40", "-c", "3"} + line));

    const auto driver = decodeCapture(variant, tap.events);
    QVERIFY(driver);
    const QList<DecodedFrame> &frames = driver->frames();
    QCOMPARE(frames.size(), 8);
    for (const DecodedFrame &frame : frames) {
        QVERIFY2(frame.status == FrameStatus::Ok && frame.pairedSeq != 0,
                 qPrintable(DecodeDriver::lineText(frame)));
    }
    QCOMPARE(frames.at(0).summary,
             QStringLiteral("Slave 1 · Write Multiple Registers 40005-40007 (3)"));
    QCOMPARE(items(*driver, frames.at(3)), registerItems(3, 4, QJsonArray{1234, 65534, 7}));
    QCOMPARE(frames.at(4).summary,
             QStringLiteral("Slave 1 · Write Multiple Coils 00040-00042 (3)"));
    QCOMPARE(items(*driver, frames.at(7)), bitItems(1, 39, QJsonArray{true, false, true}));
}

QTEST_MAIN(TestModbusPeers)
#include "tst_modbuspeers.moc"
