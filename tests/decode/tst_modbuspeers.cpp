// Traffic between independent Modbus implementations, captured on the wire and decoded:
// pymodbus as slave with pymodbus or mbpoll as master, over a pseudo-terminal (RTU) and
// over TCP. The test sits between master and slave, forwarding and recording every read
// as an event; the capture goes through an events file and the decoder as the command
// line runs them. The pymodbus TCP capture is also written as a pcap file for tshark,
// whose Modbus dissector must agree with the decoder frame by frame.

#include "decode/decodedriver.h"
#include "decode/framecsv.h"
#include "decode/modbusdecoder.h"
#include "support/testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSerialPort>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtEndian>

#include <functional>
#include <QtTest>

using Variant = ModbusStreamDecoder::Variant;

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");

// Runs a program to its end (60 s at most) while the event loop forwards its bytes.
bool runToEnd(const QString &program, const QStringList &arguments, QByteArray *output = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    QDeadlineTimer deadline(60000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        QTest::qWait(20);
    }
    process.kill();
    process.waitForFinished(5000);
    if (output) {
        *output = process.readAllStandardOutput();
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// Waits on `condition` with the event loop running, 20 s at most.
bool waitUntil(const std::function<bool()> &condition)
{
    QDeadlineTimer deadline(20000);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QTest::qWait(20);
    }
    return true;
}

// Whether `process` has `path` open: the serial slave is ready once it holds its port.
bool holdsOpen(const QProcess &process, const QString &path)
{
    const QString device = QFileInfo(path).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/%1/fd").arg(process.processId()));
    const QFileInfoList entries = fds.entryInfoList(QDir::Files | QDir::System);
    return std::any_of(entries.begin(), entries.end(),
                       [&](const QFileInfo &fd) { return fd.symLinkTarget() == device; });
}

// The items under a frame's group row, "40011=0x006F (111)".
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

// The same as the master read them: registers, or bits when `function` reads bits.
QStringList expectedItems(int function, int start, const QJsonArray &values)
{
    QStringList out;
    for (int i = 0; i < values.size(); ++i) {
        const QJsonValue v = values.at(i);
        out.append(ModbusDecoder::reference(function, start + i) + u'=' +
                   (function <= 2 ? QString::fromLatin1(v.toBool() ? "ON" : "OFF")
                                  : ModbusDecoder::registerText(quint16(v.toInt()))));
    }
    return out;
}

// A capture of one TCP connection as a pcap file: the client 10.0.0.1:40000 and the
// server 10.0.0.2 at `port`, each event a segment, sequence numbers per direction.
QByteArray pcapOf(const QList<DecodeEvent> &events, quint16 port)
{
    QByteArray out;
    QDataStream file(&out, QIODevice::WriteOnly);
    file.setByteOrder(QDataStream::LittleEndian);
    file << quint32(0xA1B2C3D4) << quint16(2) << quint16(4) << qint32(0) << quint32(0)
         << quint32(65535) << quint32(1);
    quint32 seq[2] = {1000, 1000};
    for (const DecodeEvent &event : events) {
        const int from = event.direction == FrameDirection::Tx ? 0 : 1;
        QByteArray packet;
        QDataStream p(&packet, QIODevice::WriteOnly); // network order
        p << quint32(0) << quint32(0) << quint32(0); // Ethernet addresses
        p << quint16(0x0800) << quint8(0x45) << quint8(0) << quint16(40 + event.bytes.size())
          << quint32(0) << quint8(64) << quint8(6) << quint16(0)
          << quint32(from ? 0x0A000002 : 0x0A000001) << quint32(from ? 0x0A000001 : 0x0A000002)
          << quint16(from ? port : 40000) << quint16(from ? 40000 : port) << seq[from]
          << seq[1 - from] << quint16(0x5018) << quint16(65535) << quint32(0);
        p.writeRawData(event.bytes.constData(), int(event.bytes.size()));
        seq[from] += quint32(event.bytes.size());
        file << quint32(event.ms / 1000) << quint32(event.ms % 1000 * 1000)
             << quint32(packet.size()) << quint32(packet.size());
        file.writeRawData(packet.constData(), int(packet.size()));
    }
    return out;
}

} // namespace

class TestModbusPeers : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void exchange_data();
    void exchange();

private:
    // Starts the pymodbus slave and the forwarding in front of it; the master's end is
    // a pty path (RTU) or a port number (TCP).
    bool startSlave(Variant variant, QString *masterEnd);
    void stopSlave();
    void forward(QIODevice *master, QIODevice *slave);
    std::unique_ptr<DecodeDriver> decodeCapture(Variant variant);
    void compareWithTshark(const DecodeDriver &driver);

    QList<DecodeEvent> events;
    QElapsedTimer clock;
    QProcess slave;
    testsupport::PtyPair slaveLine;
    testsupport::PtyPair masterLine;
    QSerialPort slaveTap;
    QSerialPort masterTap;
    QTcpServer relay;
};

void TestModbusPeers::initTestCase()
{
    if (QProcess::execute(Python, {"-c", "import pymodbus, serial_asyncio"}) != 0) {
        QSKIP("python3-pymodbus and python3-serial-asyncio are not installed (scripts/deps.sh "
              "test installs them)");
    }
}

void TestModbusPeers::forward(QIODevice *master, QIODevice *slave)
{
    // What the master sends is recorded as TX, what the slave answers as RX.
    const auto pass = [this](QIODevice *from, QIODevice *to, FrameDirection direction) {
        const QByteArray bytes = from->readAll();
        if (!bytes.isEmpty()) {
            events.append({clock.elapsed(), direction, bytes, {}, 0});
            to->write(bytes);
        }
    };
    connect(master, &QIODevice::readyRead, this, [=] { pass(master, slave, FrameDirection::Tx); });
    connect(slave, &QIODevice::readyRead, this, [=] { pass(slave, master, FrameDirection::Rx); });
}

bool TestModbusPeers::startSlave(Variant variant, QString *masterEnd)
{
    events.clear();
    clock.start();
    const QString script = QFINDTESTDATA("modbus_peer.py");
    if (variant == Variant::Rtu) {
        QString why;
        if (!slaveLine.start(&why) || !masterLine.start(&why)) {
            qWarning("%s", qPrintable(why));
            return false;
        }
        slave.start(Python, {script, "server", "rtu", slaveLine.portA()});
        slaveTap.setPortName(slaveLine.portB());
        masterTap.setPortName(masterLine.portB());
        if (!slaveTap.open(QIODevice::ReadWrite) || !masterTap.open(QIODevice::ReadWrite)) {
            return false;
        }
        forward(&masterTap, &slaveTap);
        *masterEnd = masterLine.portA();
        return waitUntil([this] { return holdsOpen(slave, slaveLine.portA()); });
    }
    relay.listen(QHostAddress::LocalHost, 0);
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 slavePort = probe.serverPort();
    probe.close();
    slave.start(Python, {script, "server", "tcp", QString::number(slavePort)});
    connect(&relay, &QTcpServer::newConnection, this, [=, this] {
        QTcpSocket *master = relay.nextPendingConnection();
        auto *upstream = new QTcpSocket(master);
        upstream->connectToHost(QHostAddress::LocalHost, slavePort);
        upstream->waitForConnected(5000);
        forward(master, upstream);
    });
    *masterEnd = QString::number(relay.serverPort());
    return waitUntil([&] {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, slavePort);
        return socket.waitForConnected(200);
    });
}

void TestModbusPeers::stopSlave()
{
    slave.terminate();
    if (!slave.waitForFinished(5000)) {
        slave.kill();
        slave.waitForFinished(5000);
    }
    relay.close();
    relay.disconnect();
    qDeleteAll(relay.findChildren<QTcpSocket *>(Qt::FindDirectChildrenOnly));
    for (QSerialPort *tap : {&slaveTap, &masterTap}) {
        tap->disconnect();
        tap->close();
    }
    slaveLine.stop();
    masterLine.stop();
}

std::unique_ptr<DecodeDriver> TestModbusPeers::decodeCapture(Variant variant)
{
    // Through an events file, as the command line reads it.
    QTemporaryFile file;
    if (!file.open()) {
        return nullptr;
    }
    for (const DecodeEvent &event : std::as_const(events)) {
        file.write(DecodeEvents::formatLine(event) + '\n');
    }
    file.seek(0);
    QList<DecodeEvent> read;
    QString error;
    if (!DecodeEvents::read(file, &read, &error)) {
        return nullptr;
    }
    auto driver = std::make_unique<DecodeDriver>(variant);
    driver->run(read);
    for (const DecodedFrame &frame : driver->frames()) {
        const bool whole =
            frame.status == FrameStatus::Ok || frame.status == FrameStatus::Exception;
        if (!whole || frame.pairedSeq == 0) {
            qWarning("not a paired frame: %s", qPrintable(DecodeDriver::lineText(frame)));
            return nullptr;
        }
    }
    return driver;
}

void TestModbusPeers::exchange_data()
{
    QTest::addColumn<Variant>("variant");
    QTest::addColumn<bool>("mbpoll");
    QTest::newRow("pymodbus, rtu over a pty") << Variant::Rtu << false;
    QTest::newRow("pymodbus, tcp") << Variant::Tcp << false;
    QTest::newRow("mbpoll, rtu over a pty") << Variant::Rtu << true;
    QTest::newRow("mbpoll, tcp") << Variant::Tcp << true;
}

void TestModbusPeers::exchange()
{
    QFETCH(Variant, variant);
    QFETCH(bool, mbpoll);
    const QString mbpollPath = QStandardPaths::findExecutable("mbpoll");
    if (mbpoll && mbpollPath.isEmpty()) {
        QSKIP("mbpoll is not installed (scripts/deps.sh test installs it)");
    }
    const bool rtu = variant == Variant::Rtu;
    QString end;
    const auto cleanup = qScopeGuard([this] { stopSlave(); });
    QVERIFY(startSlave(variant, &end));

    if (mbpoll) {
        // Three registers from reference 5 written and read back, then three coils.
        const QStringList line = QStringList{"-a", "1", "-1", "-o", "3"} +
                                 (rtu ? QStringList{"-m", "rtu", "-b", "19200", "-P", "none", end}
                                      : QStringList{"-m", "tcp", "-p", end, "127.0.0.1"});
        QVERIFY(runToEnd(mbpollPath, QStringList{"-t", "4", "-r", "5"} + line +
                                         QStringList{"1234", "65534", "7"}));
        QVERIFY(runToEnd(mbpollPath, QStringList{"-t", "4", "-r", "5", "-c", "3"} + line));
        QVERIFY(runToEnd(mbpollPath,
                         QStringList{"-t", "0", "-r", "40"} + line + QStringList{"1", "0", "1"}));
        QVERIFY(runToEnd(mbpollPath, QStringList{"-t", "0", "-r", "40", "-c", "3"} + line));
        const auto driver = decodeCapture(variant);
        QVERIFY(driver);
        const QList<DecodedFrame> &frames = driver->frames();
        QCOMPARE(frames.size(), 8);
        QCOMPARE(frames.at(0).summary, "Slave 1 · Write Multiple Registers 40005-40007 (3)");
        QCOMPARE(items(*driver, frames.at(3)), expectedItems(3, 4, {1234, 65534, 7}));
        QCOMPARE(frames.at(4).summary, "Slave 1 · Write Multiple Coils 00040-00042 (3)");
        QCOMPARE(items(*driver, frames.at(7)), expectedItems(1, 39, {true, false, true}));
        return;
    }

    QByteArray output;
    QVERIFY(runToEnd(Python, {QFINDTESTDATA("modbus_peer.py"), "client", rtu ? "rtu" : "tcp", end},
                     &output));
    const QJsonObject got = QJsonDocument::fromJson(output).object();
    const auto driver = decodeCapture(variant);
    QVERIFY(driver);
    const QList<DecodedFrame> &frames = driver->frames();
    QStringList summaries;
    for (const DecodedFrame &frame : frames) {
        summaries.append(FrameCsv::directionToken(frame.direction) + u' ' + frame.summary);
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
    QCOMPARE(items(*driver, frames.at(3)), expectedItems(3, 10, got["registers"].toArray()));
    QCOMPARE(items(*driver, frames.at(7)), expectedItems(1, 5, got["coils"].toArray()));
    QCOMPARE(items(*driver, frames.at(13)), expectedItems(4, 2, got["inputRegisters"].toArray()));
    QCOMPARE(items(*driver, frames.at(15)), expectedItems(2, 0, got["inputs"].toArray()));
    QCOMPARE(got["exception"].toInt(), 2);
    if (!rtu) {
        compareWithTshark(*driver);
    }
}

void TestModbusPeers::compareWithTshark(const DecodeDriver &driver)
{
    const QString tshark = QStandardPaths::findExecutable("tshark");
    if (tshark.isEmpty()) {
        QSKIP("tshark is not installed (scripts/deps.sh test installs it)");
    }
    QTemporaryFile pcap;
    QVERIFY(pcap.open());
    pcap.write(pcapOf(events, 1502));
    pcap.close();
    QByteArray fields;
    QVERIFY(runToEnd(tshark, {"-r", pcap.fileName(),        "-d", "tcp.port==1502,mbtcp",
                              "-o", "mbtcp.tcp.port:1502",  "-T", "fields",
                              "-E", "aggregator=,",         "-e", "mbtcp.trans_id",
                              "-e", "mbtcp.unit_id",        "-e", "modbus.func_code",
                              "-e", "modbus.reference_num", "-e", "modbus.regval_uint16",
                              "-e", "modbus.exception_code"},
                     &fields));
    const QStringList lines = QString::fromUtf8(fields).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), driver.frames().size());
    for (int i = 0; i < lines.size(); ++i) {
        const DecodedFrame &frame = driver.frames().at(i);
        const QByteArray pdu = frame.raw.sliced(7);
        const int function = frame.modbus.function & 0x7F;
        // The reference of a request, and of the answers that repeat it.
        const bool echo = function == 5 || function == 6 || function == 15 || function == 16;
        QString reference;
        if ((!frame.modbus.isResponse || echo) && pdu.size() >= 3) {
            reference = QString::number(qFromBigEndian<quint16>(pdu.constData() + 1));
        }
        QStringList values;
        for (const DecodedField &field : driver.explain(frame)) {
            if (field.indent == 1 && field.value.startsWith(QLatin1String("0x"))) {
                values.append(QString::number(field.value.mid(2, 4).toUInt(nullptr, 16)));
            }
        }
        const QString exception =
            frame.status == FrameStatus::Exception ? QString::number(quint8(pdu.at(1))) : QString();
        QCOMPARE(QStringList({QString::number(frame.modbus.transaction),
                              QString::number(frame.modbus.slave), QString::number(function),
                              reference, values.join(u','), exception})
                     .join(u'\t'),
                 lines.at(i));
    }
}

QTEST_MAIN(TestModbusPeers)
#include "tst_modbuspeers.moc"
