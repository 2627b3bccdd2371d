#include "support/pythonrun.h"
#include "recording/zipwriter.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

class TestZipWriter : public QObject
{
    Q_OBJECT
private slots:
    void archiveReadByUnzipAndPython();
    void refusals_data();
    void refusals();
    void entryCountLimit();
    void archiveSizeLimit();
    void qCompressFraming_data();
    void qCompressFraming();
    void writeErrorsStay();
};

namespace {

// Takes everything and keeps nothing but the count, for archives of a gigabyte.
class NullDevice : public QIODevice
{
public:
    NullDevice() { open(QIODevice::WriteOnly); }
    qint64 written = 0;

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 length) override
    {
        written += length;
        return length;
    }
};

const QDateTime When(QDate(2024, 5, 6), QTime(7, 8, 11));

// What Python's zipfile says about an archive: testzip(), and per entry its method,
// flags, time, content (hex) and, for deflated entries, the raw stream inflated by
// zlib.decompress(d, -15) (hex).
const QString InspectScript = QStringLiteral(R"(
import json, struct, sys, zipfile, zlib
path = sys.argv[1]
out = {}
with zipfile.ZipFile(path) as z, open(path, 'rb') as raw:
    out['testzip'] = z.testzip()
    out['count'] = len(z.infolist())
    entries = {}
    for info in z.infolist()[:50]:
        entry = {'method': info.compress_type, 'flags': info.flag_bits,
                 'time': list(info.date_time), 'data': z.read(info).hex()}
        if info.compress_type == zipfile.ZIP_DEFLATED:
            raw.seek(info.header_offset)
            header = raw.read(30)
            n, e = struct.unpack('<HH', header[26:30])
            raw.seek(info.header_offset + 30 + n + e)
            entry['inflated'] = zlib.decompress(raw.read(info.compress_size), -15).hex()
        entries[info.filename] = entry
    out['entries'] = entries
print(json.dumps(out))
)");

QJsonObject inspect(const QString &path, QString *error)
{
    return QJsonDocument::fromJson(pythonrun::run(InspectScript, {path}, error)).object();
}

bool unzipTest(const QString &path, QString *output)
{
    QProcess unzip;
    unzip.start(QStringLiteral("unzip"), {QStringLiteral("-t"), QStringLiteral("-q"), path});
    if (!unzip.waitForFinished(120000)) {
        *output = unzip.errorString();
        return false;
    }
    *output = QString::fromUtf8(unzip.readAll());
    return unzip.exitStatus() == QProcess::NormalExit && unzip.exitCode() == 0;
}

bool peersAvailable()
{
    return pythonrun::available() &&
           !QStandardPaths::findExecutable(QStringLiteral("unzip")).isEmpty();
}

} // namespace

void TestZipWriter::archiveReadByUnzipAndPython()
{
    if (!peersAvailable()) {
        QSKIP("unzip or /usr/bin/python3 is missing (scripts/deps.sh test installs unzip)");
    }
    QByteArray random(5000, Qt::Uninitialized);
    QRandomGenerator generator(21);
    for (char &c : random) {
        c = char(generator.bounded(256));
    }
    const QByteArray text = QByteArray("line of a log, again and again\n").repeated(400);
    struct Entry
    {
        QString name;
        QByteArray data;
        ZipWriter::Method method;
        int expectedMethod; // 0 stored, 8 deflated
    };
    const QList<Entry> entries{
        {QStringLiteral("readme.txt"), text, ZipWriter::Method::Deflate, 8},
        {QStringLiteral("données/été.bin"), random, ZipWriter::Method::Deflate, 0},
        {QStringLiteral("empty.txt"), {}, ZipWriter::Method::Deflate, 0},
        {QStringLiteral("logs/stored.log"), text, ZipWriter::Method::Store, 0},
        {QStringLiteral("中文/日志.txt"), text.left(3000), ZipWriter::Method::Deflate, 8},
        {QStringLiteral("one"), "x", ZipWriter::Method::Deflate, 0},
    };

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("pack.zip"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    ZipWriter zip(&file);
    for (const Entry &entry : entries) {
        QVERIFY2(zip.addFile(entry.name, entry.data, When, entry.method),
                 qPrintable(zip.errorString()));
    }
    QVERIFY(zip.finish());
    file.close();
    QCOMPARE(file.size(), zip.size());

    QString output;
    QVERIFY2(unzipTest(path, &output), qPrintable(output));
    QString error;
    const QJsonObject report = inspect(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(report.value("testzip").isNull());
    const QJsonObject found = report.value("entries").toObject();
    QCOMPARE(found.size(), entries.size());
    for (const Entry &entry : entries) {
        const QJsonObject got = found.value(entry.name).toObject();
        QVERIFY2(!got.isEmpty(), qPrintable(entry.name));
        QCOMPARE(got.value("method").toInt(), entry.expectedMethod);
        QCOMPARE(QByteArray::fromHex(got.value("data").toString().toLatin1()), entry.data);
        const bool ascii = entry.name.toUtf8().size() == entry.name.size();
        QCOMPARE((got.value("flags").toInt() & 0x800) != 0, !ascii);
        QCOMPARE(got.value("time").toVariant().toList(),
                 QVariantList({2024, 5, 6, 7, 8, 10})); // seconds halved
        if (entry.expectedMethod == 8) {
            QCOMPARE(QByteArray::fromHex(got.value("inflated").toString().toLatin1()),
                     entry.data);
        }
    }
}

void TestZipWriter::refusals_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("error");

    const QString invalid = QStringLiteral("Invalid entry name: %1");
    for (const QString &name :
         {QString(), QStringLiteral("/etc/passwd"), QStringLiteral("a\\b"),
          QStringLiteral("C:/x"), QStringLiteral("a/../b")}) {
        QTest::addRow("invalid %s", qPrintable(name)) << name << invalid.arg(name);
    }
    QTest::newRow("duplicate") << "taken.txt"
                               << "Duplicate entry name: taken.txt";
    QTest::newRow("dots inside a part are fine") << "a..b/.c/d." << QString();
}

void TestZipWriter::refusals()
{
    QFETCH(QString, name);
    QFETCH(QString, error);
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    ZipWriter zip(&buffer);
    QVERIFY(zip.addFile(QStringLiteral("taken.txt"), "a", When));
    const qint64 before = out.size();
    QCOMPARE(zip.addFile(name, "data", When), error.isEmpty());
    if (!error.isEmpty()) {
        QCOMPARE(zip.errorString(), error);
        QCOMPARE(out.size(), before); // nothing written for a refused entry
        // A refusal does not spoil the archive.
        QVERIFY(zip.addFile(QStringLiteral("next.txt"), "b", When));
    }
    QVERIFY(zip.finish());
    QVERIFY(!zip.addFile(QStringLiteral("late.txt"), "c", When));
    QCOMPARE(zip.errorString(), QStringLiteral("The archive is already finished."));
    QVERIFY(!zip.finish());
    QCOMPARE(zip.errorString(), QStringLiteral("The archive is already finished."));

    // An entry above 64 MiB is refused by name.
    ZipWriter big(&buffer);
    QVERIFY(!big.addFile(QStringLiteral("big.bin"), QByteArray(ZipWriter::MaxEntryBytes + 1, 0),
                         When));
    QCOMPARE(big.errorString(), QStringLiteral("The entry big.bin is too large."));
}

void TestZipWriter::entryCountLimit()
{
    if (!peersAvailable()) {
        QSKIP("unzip or /usr/bin/python3 is missing (scripts/deps.sh test installs unzip)");
    }
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("many.zip"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    ZipWriter zip(&file);
    for (int i = 0; i < ZipWriter::MaxEntries; ++i) {
        QVERIFY(zip.addFile(QString::number(i), i % 2 ? QByteArray() : QByteArray::number(i),
                            When));
    }
    QVERIFY(!zip.addFile(QStringLiteral("one-more"), "x", When));
    QCOMPARE(zip.errorString(), QStringLiteral("The archive has too many entries."));
    QVERIFY(zip.finish());
    file.close();

    QString output;
    QVERIFY2(unzipTest(path, &output), qPrintable(output));
    QString error;
    const QJsonObject report = inspect(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(report.value("testzip").isNull());
    QCOMPARE(report.value("count").toInt(), 65535);
}

void TestZipWriter::archiveSizeLimit()
{
    // Stored entries of 64 MiB: the sixteenth would take the archive past 1 GiB.
    NullDevice device;
    ZipWriter zip(&device);
    const QByteArray block(ZipWriter::MaxEntryBytes, '\x5a');
    int added = 0;
    while (zip.addFile(QStringLiteral("block%1").arg(added), block, When, ZipWriter::Method::Store)) {
        ++added;
    }
    QCOMPARE(added, 15);
    QCOMPARE(zip.errorString(), QStringLiteral("The archive would be too large."));
    QVERIFY(zip.addFile(QStringLiteral("small"), "fits", When));
    QVERIFY(zip.finish());
    QVERIFY(device.written <= ZipWriter::MaxArchiveBytes + 22);
    QCOMPARE(device.written, zip.size());
}

void TestZipWriter::qCompressFraming_data()
{
    QTest::addColumn<QByteArray>("framed");
    QTest::addColumn<bool>("accepted");

    const QByteArray good = qCompress(QByteArray("hello hello hello hello"), 6);
    QTest::newRow("qCompress output") << good << true;
    const auto patched = [&good](int at, char value) {
        QByteArray copy = good;
        copy[at] = value;
        return copy;
    };
    QTest::newRow("not deflate") << patched(4, char(0x79)) << false;
    QTest::newRow("window above 32K") << patched(4, char(0x88)) << false;
    QTest::newRow("preset dictionary") << patched(5, char(good.at(5) | 0x20)) << false;
    QTest::newRow("check bits wrong") << patched(5, char(good.at(5) ^ 1)) << false;
    QTest::newRow("too short") << good.left(10) << false;
}

void TestZipWriter::qCompressFraming()
{
    QFETCH(QByteArray, framed);
    QFETCH(bool, accepted);
    const QByteArray stream = ZipWriter::stripQCompressFraming(framed);
    QCOMPARE(!stream.isEmpty(), accepted);
    if (accepted) {
        // What is left is the raw deflate stream: zlib framing around it reads back.
        QCOMPARE(stream, framed.mid(6, framed.size() - 10));
        QCOMPARE(ZipWriter::rawDeflate("hello hello hello hello"), stream);
    }
}

void TestZipWriter::writeErrorsStay()
{
    QFile full(QStringLiteral("/dev/full"));
    if (!full.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        QSKIP("/dev/full cannot be opened here");
    }
    ZipWriter zip(&full);
    QVERIFY(!zip.addFile(QStringLiteral("a.txt"), "abc", When));
    const QString first = zip.errorString();
    QVERIFY2(first.startsWith(QStringLiteral("Could not write the archive: ")), qPrintable(first));
    QVERIFY(!zip.addFile(QStringLiteral("b.txt"), "abc", When));
    QVERIFY(!zip.finish());
    QCOMPARE(zip.errorString(), first);

    QFile closed;
    ZipWriter unopened(&closed);
    QVERIFY(!unopened.addFile(QStringLiteral("a.txt"), "abc", When));
    QCOMPARE(unopened.errorString(), QStringLiteral("The output is not open for writing."));

    // Times outside what MS-DOS can hold are clamped to its ends.
    QCOMPARE(ZipWriter::dosDateTime(QDateTime(QDate(1970, 1, 1), QTime(0, 0))), 0x00210000U);
    QCOMPARE(ZipWriter::dosDateTime(QDateTime(QDate(2200, 1, 1), QTime(0, 0))), 0xFF9FBF7DU);
}

QTEST_GUILESS_MAIN(TestZipWriter)
#include "tst_zipwriter.moc"
