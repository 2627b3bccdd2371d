// What bridges keep: their rows in the project file, and the capture file.

#include "bridge/bridgecodec.h"
#include "bridge/bridgelogwriter.h"
#include "bridge/rfc2217quickshare.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class TestBridgeStore : public QObject
{
    Q_OBJECT
private slots:
    void codecRoundTrip();
    void codecReadsTolerantly_data();
    void codecReadsTolerantly();
    void captureLine_data();
    void captureLine();
    void captureFile();
    void suggestedListenPort_data();
    void suggestedListenPort();
};

void TestBridgeStore::codecRoundTrip()
{
    // Every field away from its default, so that a key written but not read shows.
    BridgeConfig c;
    c.name = QStringLiteral("Bench, \"line\" 2");
    c.portA = 3;
    c.portB = 5;
    c.useBuiltinListener = true;
    c.listenPort = 4001;
    c.direction = BridgeConfig::BtoA;
    c.enabled = false;
    c.autoOpenPeer = false;
    c.showForwardedInDisplay = false;
    c.displayMuteBytesPerSec = 5000000000;
    c.framing = {FramingPolicy::Delimiter, 9, QByteArray("\r\n\xff", 3), 17, 999, 77};
    c.flow = {1 << 20, 700000, 1000, 4096, 0, false, 2000000, 5000};
    c.fanoutMode = FanoutMode::TakeTurns;
    c.udpTargetMode = UdpTargetMode::AllPeers;
    c.arbiterResponseTimeoutMs = 250;
    c.arbiterMaxQueuedRequests = 9;
    c.protocol = BridgeConfig::ModbusGateway;
    c.modbusTransactionTimeoutMs = 3000;
    c.allowedPeers = {QStringLiteral("10.0.0.0/8"), QStringLiteral("::1")};
    c.logEnabled = true;
    c.logFilePath = QStringLiteral("/tmp/a b/cap.txt");
    c.logHex = false;
    c.logRotateBytes = 1 << 22;
    BridgeConfig d;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("p.vlm"));
    {
        QSettings file(path, QSettings::IniFormat);
        BridgeCodec::save(file, {c, d, c});
        BridgeCodec::save(file, {c, d}); // a shorter list leaves no row behind
    }
    QSettings file(path, QSettings::IniFormat);
    QCOMPARE(BridgeCodec::load(file), (QList<BridgeConfig>{c, d}));
    file.beginGroup(QStringLiteral("Bridge"));
    QCOMPARE(file.childGroups(), (QStringList{"0", "1"}));
    QCOMPARE(file.childKeys(), QStringList{"Count"});
    file.beginGroup(QStringLiteral("0"));
    QCOMPARE(file.childKeys().size(), BridgeCodec::keyNames().size());
}

void TestBridgeStore::codecReadsTolerantly_data()
{
    QTest::addColumn<QString>("ini");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    QTest::newRow("missing ports name none") << "Count=1\n"
                                             << "ports"
                                             << "-1 -1";
    QTest::newRow("300 rows load 256") << "Count=300\n"
                                       << "rows"
                                       << "256";
    QTest::newRow("a count that is no number") << "Count=many\n"
                                               << "rows"
                                               << "0";
    QTest::newRow("watermarks above the limit")
        << "Count=1\n0\\QueueLimitBytes=1000\n0\\HighWatermark=5000\n0\\LowWatermark=5000\n"
        << "flow"
        << "1000 1000 999";
    QTest::newRow("a zero limit and window")
        << "Count=1\n0\\QueueLimitBytes=0\n0\\FloodWindowMs=0\n"
        << "flow"
        << "1 1 0";
    QTest::newRow("unknown choices take the defaults")
        << "Count=1\n0\\Direction=7\n0\\Protocol=-1\n0\\FanoutMode=9\n0\\OverflowPolicy=4\n"
        << "choices"
        << "2 0 1 2";
    QTest::newRow("a delimiter that is no hex")
        << "Count=1\n0\\FramingMode=2\n0\\FramingDelimiterHex=zz\n"
        << "framing"
        << "0";
}

void TestBridgeStore::codecReadsTolerantly()
{
    QFETCH(QString, ini);
    QFETCH(QString, field);
    QTemporaryDir dir;
    QFile raw(dir.filePath(QStringLiteral("p.vlm")));
    QVERIFY(raw.open(QIODevice::WriteOnly));
    raw.write("[Bridge]\n" + ini.toUtf8());
    raw.close();
    QSettings file(raw.fileName(), QSettings::IniFormat);
    const QList<BridgeConfig> rows = BridgeCodec::load(file);
    QString got = QString::number(rows.size());
    if (field != QLatin1String("rows")) {
        const BridgeConfig &c = rows.first();
        const FlowControlPolicy flow = c.flow.sanitized();
        got = field == QLatin1String("ports")  ? QStringLiteral("%1 %2").arg(c.portA).arg(c.portB)
              : field == QLatin1String("flow") ? QStringLiteral("%1 %2 %3")
                                                     .arg(flow.queueLimitBytes)
                                                     .arg(flow.highWatermark)
                                                     .arg(flow.lowWatermark)
              : field == QLatin1String("choices") ? QStringLiteral("%1 %2 %3 %4")
                                                        .arg(c.direction)
                                                        .arg(c.protocol)
                                                        .arg(qint32(c.fanoutMode))
                                                        .arg(flow.overflowPolicy)
                                                  : QString::number(c.framing.sanitized().mode);
        if (field == QLatin1String("flow")) {
            QVERIFY(flow.floodWindowMs >= 100);
        }
    }
    QTEST(got, "value");
}

void TestBridgeStore::captureLine_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QString>("peer");
    QTest::addColumn<QString>("line");
    QTest::newRow("hex") << QByteArray("\x01\xab\xff", 3) << true << "10.0.0.2:5020"
                         << "13:04:05.067  B->A  10.0.0.2:5020  01 AB FF";
    QTest::newRow("text escapes control bytes and 7F")
        << QByteArray::fromHex("610d0a09001b7fe97a") << false << ""
        << "13:04:05.067  B->A  -  a\\r\\n\\t\\x00\\x1B\\x7F\u00e9z";
}

void TestBridgeStore::captureLine()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, hex);
    QFETCH(QString, peer);
    const QDateTime time(QDate(2026, 3, 4), QTime(13, 4, 5, 67));
    QTEST(BridgeLog::formatLine(time, BridgeLog::BtoA, peer, bytes, hex), "line");
}

void TestBridgeStore::captureFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("deep/er/cap.txt"));
    const QDateTime start(QDate(2026, 3, 4), QTime(13, 4, 5));
    BridgeLogWriter writer;
    writer.configure(true, path, true, 10); // rotation at its floor, 4096 bytes
    writer.setHeaderFields(QString(), QStringLiteral("ttyUSB0"), QStringLiteral("TCP :2217"));
    QString error;
    writer.append(BridgeLog::AtoB, QString(), QByteArray(2000, 'x'), start);
    writer.append(BridgeLog::AtoB, QString(), QByteArray(), start); // nothing for no data
    QVERIFY(!QFile::exists(path)); // lines wait in memory for the flush
    QVERIFY(writer.flush(&error));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString header = QStringLiteral("# Velmora %1 bridge capture\n# Link:    (unnamed)\n"
                                          "# End A:   ttyUSB0\n# End B:   TCP :2217\n"
                                          "# Started: 2026-03-04 13:04:05\n"
                                          "# Columns: time  direction  peer  data\n")
                               .arg(QCoreApplication::applicationVersion());
    QVERIFY(QString::fromUtf8(file.readAll()).startsWith(header + "13:04:05.000  A->B  -  78 78"));
    file.close();
    // Past 4096 bytes the file becomes ".1", replacing an older one, and starts anew.
    QFile old(path + ".1");
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("stale") == 5);
    old.close();
    writer.append(BridgeLog::BtoA, QString(), "y", start);
    QVERIFY(writer.flush(&error));
    writer.append(BridgeLog::BtoA, QString(), "z", start);
    writer.close();
    QVERIFY(old.open(QIODevice::ReadOnly));
    QVERIFY(QString::fromUtf8(old.readAll()).startsWith(header + "13:04:05.000  A->B  -  78 78"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(),
             (header + "13:04:05.000  B->A  -  79\n13:04:05.000  B->A  -  7A\n").toUtf8());

    // A path that cannot be made stops the capture with the reason, and drops its lines.
    BridgeLogWriter blocked;
    blocked.configure(true, path + "/cap.txt", true, 0);
    blocked.append(BridgeLog::AtoB, QString(), "a", start);
    QVERIFY(!blocked.flush(&error));
    QVERIFY2(error.startsWith(QStringLiteral("Cannot create the log folder ")), qPrintable(error));
    QVERIFY(!blocked.isEnabled());
    QCOMPARE(blocked.bufferedLines(), 0);
}

void TestBridgeStore::suggestedListenPort_data()
{
    QTest::addColumn<QList<int>>("used");
    QTest::addColumn<int>("preferred");
    QTest::addColumn<int>("port");
    QTest::newRow("free") << QList<int>{2218} << 2217 << 2217;
    QTest::newRow("taken") << QList<int>{2217, 2218, 2220} << 2217 << 2219;
    QTest::newRow("65535 taken") << QList<int>{65534, 65535} << 65534 << 65534;
}

void TestBridgeStore::suggestedListenPort()
{
    QFETCH(QList<int>, used);
    QFETCH(int, preferred);
    QSet<quint16> set;
    for (const int port : used) {
        set.insert(quint16(port));
    }
    QTEST(int(suggestRfc2217ListenPort(set, quint16(preferred))), "port");
}

QTEST_GUILESS_MAIN(TestBridgeStore)
#include "tst_bridgestore.moc"
