// The script checksums against an independent implementation: the crccheck Python
// package from Debian (python3-crccheck), run once over a few hundred random buffers.

#include "tools/crccatalog.h"

#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>

namespace {

const QString python = QStringLiteral("/usr/bin/python3");

// Pairs of a script name and the crccheck class of the same algorithm.
const char *const crccheckTable = R"(
    sum8 checksum.Checksum8  xor8 checksum.ChecksumXor8  crc8 crc.Crc8
    crc16modbus crc.Crc16Modbus  crc32 crc.Crc32  crc4itu crc.Crc4Itu  crc5epc crc.Crc5Epc
    crc5itu crc.Crc5Itu  crc5usb crc.Crc5Usb  crc6cdma2000a crc.Crc6Cdma2000A
    crc6cdma2000b crc.Crc6Cdma2000B  crc6itu crc.Crc6Itu  crc7 crc.Crc7  crc8ebu crc.Crc8Ebu
    crc8maxim crc.Crc8Maxim  crc8wcdma crc.Crc8Wcdma  crc10 crc.Crc10
    crc10cdma2000 crc.Crc10Cdma2000  crc11 crc.Crc11  crc12cdma2000 crc.Crc12Cdma2000
    crc12dect crc.Crc12Dect  crc12umts crc.Crc12Umts  crc13bbc crc.Crc13Bbc  crc15 crc.Crc15
    crc15mpt1327 crc.Crc15Mpt1327  crc16arc crc.Crc16Arc  crc16buypass crc.Crc16Buypass
    crc16ccittfalse crc.Crc16CcittFalse  crc16cdma2000 crc.Crc16Cdma2000
    crc16cms crc.Crc16Cms  crc16dectr crc.Crc16DectR  crc16dectx crc.Crc16DectX
    crc16dnp crc.Crc16Dnp  crc16genibus crc.Crc16Genibus  crc16kermit crc.Crc16Kermit
    crc16maxim crc.Crc16Maxim  crc16t10dif crc.Crc16T10Dif  crc16usb crc.Crc16Usb
    crc16x25 crc.Crc16X25  crc16xmodem crc.Crc16Xmodem  crc17can crc.Crc17CanFd
    crc21can crc.Crc21CanFd  crc24 crc.Crc24  crc24flexraya crc.Crc24FlexrayA
    crc24flexrayb crc.Crc24FlexrayB  crc30 crc.Crc30Cdma  crc32bzip2 crc.Crc32Bzip2
    crc32c crc.Crc32C  crc32mpeg2 crc.Crc32Mpeg2  crc32posix crc.Crc32Posix
    crc32q crc.Crc32Q  crc40gsm crc.Crc40Gsm  crc64 crc.Crc64)";

// Reads the class names from the first line and one hex buffer from each further line;
// writes one line per buffer with each class's value in hex.
const char *const crccheckScript = R"(
import sys
import crccheck.checksum, crccheck.crc
lines = sys.stdin.read().split('\n')
classes = []
for name in lines[0].split():
    module, cls = name.split('.')
    classes.append(getattr(getattr(crccheck, module), cls))
for line in lines[1:-1]:
    data = bytes.fromhex(line)
    print(' '.join('%x' % c.calc(data) for c in classes))
)";

// The table as (script name, crccheck class) pairs.
QList<std::pair<QString, QString>> crccheckNames()
{
    const QStringList words = QString::fromLatin1(crccheckTable).simplified().split(u' ');
    QList<std::pair<QString, QString>> pairs;
    for (qsizetype i = 0; i + 1 < words.size(); i += 2) {
        pairs.append({words.at(i), words.at(i + 1)});
    }
    return pairs;
}

} // namespace

class TestCrcCheck : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void agreesWithCrccheck_data();
    void agreesWithCrccheck();

private:
    QList<QByteArray> buffers;
    QHash<QString, QList<quint64>> reference; // per script name, one value per buffer
};

void TestCrcCheck::initTestCase()
{
    if (!QFileInfo(python).isExecutable()) {
        QSKIP("/usr/bin/python3 is not installed; scripts/deps.sh test installs it with "
              "python3-crccheck");
    }
    if (QProcess::execute(python, {QStringLiteral("-c"), QStringLiteral("import crccheck")}) != 0) {
        QSKIP("The Python package crccheck is not installed for /usr/bin/python3; "
              "scripts/deps.sh test installs python3-crccheck");
    }

    // Every length up to 40 (short inputs take the bitwise path, longer ones the tables),
    // then random lengths up to 300.
    QRandomGenerator random{2024};
    for (int i = 0; i < 300; ++i) {
        QByteArray bytes(i <= 40 ? i : random.bounded(41, 300), Qt::Uninitialized);
        for (char &c : bytes) {
            c = char(random.bounded(256));
        }
        buffers << bytes;
    }

    // crccheck provides every script checksum.
    const auto names = crccheckNames();
    QCOMPARE(names.size(), CrcCatalog::scriptChecksumNames().size());
    QByteArray request;
    for (const auto &[name, cls] : names) {
        QVERIFY2(CrcCatalog::scriptChecksumNames().contains(name), qPrintable(name));
        request += cls.toLatin1() + ' ';
    }
    request += '\n';
    for (const QByteArray &bytes : buffers) {
        request += bytes.toHex() + '\n';
    }

    QProcess process;
    process.start(python, {QStringLiteral("-c"), QString::fromLatin1(crccheckScript)});
    QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));
    process.write(request);
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(60000));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
             process.readAllStandardError().constData());

    const QList<QByteArray> lines = process.readAllStandardOutput().split('\n');
    QVERIFY(lines.size() > buffers.size());
    for (qsizetype b = 0; b < buffers.size(); ++b) {
        const QList<QByteArray> values = lines.at(b).split(' ');
        QCOMPARE(values.size(), names.size());
        for (qsizetype n = 0; n < values.size(); ++n) {
            bool ok = false;
            reference[names.at(n).first] << values.at(n).toULongLong(&ok, 16);
            QVERIFY(ok);
        }
    }
}

void TestCrcCheck::agreesWithCrccheck_data()
{
    QTest::addColumn<QString>("name");
    for (const auto &[name, cls] : crccheckNames()) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void TestCrcCheck::agreesWithCrccheck()
{
    QFETCH(QString, name);
    const QList<quint64> &expected = reference[name];
    QCOMPARE(expected.size(), buffers.size());
    for (qsizetype b = 0; b < buffers.size(); ++b) {
        bool ok = false;
        const quint64 value = CrcCatalog::scriptChecksum(name, buffers.at(b), &ok);
        QVERIFY(ok);
        if (value != expected.at(b)) {
            QFAIL(qPrintable(QStringLiteral("%1 bytes %2: %3, crccheck says %4")
                                 .arg(buffers.at(b).size())
                                 .arg(QString::fromLatin1(buffers.at(b).toHex()))
                                 .arg(value, 0, 16)
                                 .arg(expected.at(b), 0, 16)));
        }
    }
}

QTEST_GUILESS_MAIN(TestCrcCheck)
#include "tst_crccheck.moc"
