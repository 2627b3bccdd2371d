#include "session/logwriter.h"

#include "support/testdata.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using testdata::readFile;

namespace {
const QDateTime Start(QDate(2026, 3, 14), QTime(11, 59, 0), Qt::UTC);

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

// A writer over a temporary folder, with a clock the test moves.
struct Bench
{
    QTemporaryDir dir;
    QDateTime now = Start;
    FormatSetting format;
    std::unique_ptr<LogWriter> writer;

    Bench()
    {
        format.logSaveFlag = true;
        format.logFilePath = dir.filePath("port.log");
        format.logRotateAtSize = false;
        writer = std::make_unique<LogWriter>([this] { return now; });
    }
    QString path(const QString &name) const { return dir.filePath(name); }
    bool write(const QString &text, QString *error = nullptr, const QString &header = {})
    {
        writer->appendLine(text, format);
        QString ignored;
        return writer->flush(format, "COM3", header, error ? error : &ignored);
    }
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files, QDir::Name); }
};
} // namespace

class TestLogWriter : public QObject
{
    Q_OBJECT
private slots:
    void decodeTemplates_data();
    void decodeTemplates();
    void headerOnlyForANewFile();
    void appendOrTruncate_data();
    void appendOrTruncate();
    void loggingFollowsTheSaveFlag();
    void stampsEachLine();
    void sizeZeroRotatesEveryFlush();
    void dateTemplateMovesWithoutArchive();
    void timeRotationOncePerCrossing();
    void timeRotationHeldBackByGuard();
    void firstFlushAfterTheTimeRotates();
    void failureToldOnceNothingLost_data();
    void failureToldOnceNothingLost();
    void unusableNames_data();
    void unusableNames();
};

void TestLogWriter::decodeTemplates_data()
{
    QTest::addColumn<QString>("tmpl");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("name");
    QTest::newRow("default") << "vlm_%S-%Y%M%D.log"
                             << "COM3"
                             << "vlm_COM3-20260314.log";
    QTest::newRow("tcp server address") << "/logs/%S.log"
                                        << "0.0.0.0"
                                        << "/logs/0.0.0.0.log";
    QTest::newRow("every token") << "%Y %y %M %D %h %m %s %z %e"
                                 << ""
                                 << "2026 26 03 14 09 05 07 042 042";
    QTest::newRow("log stamp") << "[%h:%m:%s.%z] "
                               << "x"
                               << "[09:05:07.042] ";
    QTest::newRow("no tokens") << "plain.txt"
                               << "COM3"
                               << "plain.txt";
}

void TestLogWriter::decodeTemplates()
{
    QFETCH(QString, tmpl);
    QFETCH(QString, port);
    const QDateTime at(QDate(2026, 3, 14), QTime(9, 5, 7, 42), Qt::UTC);
    QTEST(LogWriter::decode_file_name(tmpl, port, at), "name");
    LogWriter writer([at] { return at; });
    QTEST(writer.decode_file_name(tmpl, port), "name");
    QCOMPARE(writer.get_current_time("%h%m"), QString("0905"));
}

void TestLogWriter::headerOnlyForANewFile()
{
    Bench b;
    QVERIFY(b.write("one\n", nullptr, "Port Name: COM3\n Baudrate: 9600\n\n"));
    QVERIFY(b.write("two\n", nullptr, "Port Name: COM3\n Baudrate: 9600\n\n"));
    QCOMPARE(b.format.logFileName, b.path("port.log"));
    QCOMPARE(readFile(b.path("port.log")), QByteArray("Port Name: COM3\n Baudrate: 9600\n\n"
                                                      "one\ntwo\n"));
    // Nothing pending: nothing is written, not even the header of a new file.
    Bench empty;
    QString error;
    QVERIFY(empty.writer->flush(empty.format, "COM3", "header", &error));
    QVERIFY(empty.files().isEmpty());
}

void TestLogWriter::appendOrTruncate_data()
{
    QTest::addColumn<bool>("append");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("append") << true << QByteArray("old\nnew\nmore\n");
    // Truncation only at the first write: the second flush appends.
    QTest::newRow("truncate") << false << QByteArray("new\nmore\n");
}

void TestLogWriter::appendOrTruncate()
{
    Bench b;
    writeFile(b.path("port.log"), "old\n");
    QFETCH(bool, append);
    b.format.logAppend = append;
    QVERIFY(b.write("new\n", nullptr, "HEADER\n"));
    QVERIFY(b.write("more\n", nullptr, "HEADER\n"));
    QTEST(readFile(b.path("port.log")), "content");
}

void TestLogWriter::loggingFollowsTheSaveFlag()
{
    Bench b;
    b.format.logSaveFlag = false;
    b.writer->appendLine("dropped\n", b.format);
    QVERIFY(!b.writer->loggingOn());
    QVERIFY(b.writer->pendingText().isEmpty());
    b.format.logSaveFlag = true;
    b.writer->appendLine("kept\n", b.format);
    QVERIFY(b.writer->loggingOn());
    QCOMPARE(b.writer->pendingText(), QString("kept\n"));
}

void TestLogWriter::stampsEachLine()
{
    Bench b;
    b.format.logTimestampEnabled = true;
    b.now = QDateTime(QDate(2026, 3, 14), QTime(10, 0, 0, 5), Qt::UTC);
    QVERIFY(b.write("a\nb"));
    b.now = b.now.addSecs(1);
    QVERIFY(b.write("c\n\nd\n")); // "c" ends the open line: no stamp in front of it
    QCOMPARE(readFile(b.path("port.log")), QByteArray("[10:00:00.005] a\n[10:00:00.005] bc\n"
                                                      "[10:00:01.005] \n[10:00:01.005] d\n"));

    // Lines given the time their bytes arrived or were sent carry it, not the flush's;
    // a line carries the time of the text it starts in.
    Bench timed;
    timed.format.logTimestampEnabled = true;
    const QDateTime sent(QDate(2026, 3, 14), QTime(10, 0, 0), Qt::UTC);
    timed.writer->appendLine("AT\n", timed.format, sent);
    timed.writer->appendLine("OK\nRE", timed.format, sent.addSecs(4));
    timed.writer->appendLine("ADY\nAT+GMR\n", timed.format, sent.addSecs(8));
    timed.now = sent.addSecs(10);
    QString error;
    QVERIFY(timed.writer->flush(timed.format, "COM3", QString(), &error));
    QCOMPARE(readFile(timed.path("port.log")),
             QByteArray("[10:00:00.000] AT\n[10:00:04.000] OK\n[10:00:04.000] READY\n"
                        "[10:00:08.000] AT+GMR\n"));
}

void TestLogWriter::sizeZeroRotatesEveryFlush()
{
    Bench b;
    b.format.logRotateAtSize = true;
    b.format.logRotateSize = 0;
    b.now = QDateTime(QDate(2026, 3, 14), QTime(13, 14, 15, 678), Qt::UTC);
    QVERIFY(b.write("first\n", nullptr, "H\n")); // a new file: nothing to rotate yet
    QCOMPARE(b.files(), QStringList{"port.log"});
    QVERIFY(b.write("second\n", nullptr, "H\n"));
    QVERIFY(b.write("third\n", nullptr, "H\n")); // the same millisecond: a count is added
    QCOMPARE(b.files(), QStringList({"port-20260314-131415-678.log",
                                     "port-20260314-131415-678.log.1", "port.log"}));
    QCOMPARE(readFile(b.path("port-20260314-131415-678.log")), QByteArray("H\nfirst\n"));
    QCOMPARE(readFile(b.path("port-20260314-131415-678.log.1")), QByteArray("H\nsecond\n"));
    QCOMPARE(readFile(b.path("port.log")), QByteArray("H\nthird\n"));
}

void TestLogWriter::dateTemplateMovesWithoutArchive()
{
    Bench b;
    b.format.logFilePath = b.path("%S-%Y%M%D.log");
    b.format.logRotateAtTime = true;
    b.format.logRotateTime = QTime(0, 0);
    b.now = QDateTime(QDate(2026, 3, 14), QTime(23, 59, 50), Qt::UTC);
    QVERIFY(b.write("late\n"));
    b.now = QDateTime(QDate(2026, 3, 15), QTime(0, 0, 5), Qt::UTC);
    QVERIFY(b.write("early\n"));
    QCOMPARE(b.files(), QStringList({"COM3-20260314.log", "COM3-20260315.log"}));
    QCOMPARE(b.format.logFileName, b.path("COM3-20260315.log"));
    QCOMPARE(readFile(b.path("COM3-20260315.log")), QByteArray("early\n"));
}

void TestLogWriter::timeRotationOncePerCrossing()
{
    Bench b;
    b.format.logRotateAtTime = true;
    b.format.logRotateTime = QTime(12, 0);
    const auto at = [](int day, QTime time) {
        return QDateTime(QDate(2026, 3, day), time, Qt::UTC);
    };

    const QList<std::pair<QDateTime, QString>> steps = {
        {at(14, QTime(11, 59, 10)), "port.log"},
        {at(14, QTime(12, 0, 0, 100)), "port.log"}, // inside the 200 ms margin
        {at(14, QTime(12, 0, 0, 300)), "port-20260314-120000-300.log port.log"},
        {at(14, QTime(12, 0, 40)), "port-20260314-120000-300.log port.log"},
        {at(14, QTime(23, 0)), "port-20260314-120000-300.log port.log"},
        {at(15, QTime(12, 0, 1)),
         "port-20260314-120000-300.log port-20260315-120001-000.log port.log"},
    };
    for (const auto &[time, files] : steps) {
        b.now = time;
        QVERIFY(b.write(time.toString("hh:mm:ss.zzz\n")));
        QCOMPARE(b.files().join(' '), files);
    }
    QCOMPARE(readFile(b.path("port.log")), QByteArray("12:00:01.000\n"));
    QCOMPARE(b.writer->lastRotatedAt(), at(15, QTime(12, 0, 1)));
}

void TestLogWriter::timeRotationHeldBackByGuard()
{
    Bench b;
    b.format.logRotateAtTime = true;
    b.format.logRotateTime = QTime(12, 0);
    b.format.logRotateAtSize = true;
    b.format.logRotateSize = 4;
    b.now = Start.addSecs(40); // 11:59:40
    QVERIFY(b.write("12345\n"));
    b.now = Start.addSecs(50);
    QVERIFY(b.write("after\n")); // a size rotation at 11:59:50
    QCOMPARE(b.files().size(), 2);

    b.format.logRotateAtSize = false;
    b.now = Start.addSecs(65); // the crossing, 15 s after that rotation
    QTest::ignoreMessage(QtInfoMsg, "Keep current log file because it was rotated recently");
    QVERIFY(b.write("kept\n"));
    b.now = Start.addSecs(100); // the crossing is spent, not retried
    QVERIFY(b.write("still\n"));
    QCOMPARE(b.files().size(), 2);
    QCOMPARE(readFile(b.path("port.log")), QByteArray("after\nkept\nstill\n"));
}

void TestLogWriter::firstFlushAfterTheTimeRotates()
{
    // The writer starts armed and its guard lies in the past: a writer made after the
    // day's rotation time rotates the file it finds at its first flush.
    Bench b;
    writeFile(b.path("port.log"), "yesterday\n");
    b.format.logRotateAtTime = true;
    b.format.logRotateTime = QTime(11, 0);
    QVERIFY(b.write("today\n"));
    QCOMPARE(b.files(), QStringList({"port-20260314-115900-000.log", "port.log"}));
    QCOMPARE(readFile(b.path("port.log")), QByteArray("today\n"));
}

void TestLogWriter::failureToldOnceNothingLost_data()
{
    QTest::addColumn<bool>("readOnlyFolder");
    QTest::addColumn<QString>("error");
    QTest::newRow("read-only folder") << true << "Could not open log file";
    QTest::newRow("parent is a file") << false << "Could not create log directory";
}

void TestLogWriter::failureToldOnceNothingLost()
{
    QFETCH(bool, readOnlyFolder);
    QFETCH(QString, error);
    Bench b;
    const QString folder = b.path("logs");
    if (readOnlyFolder) {
        QVERIFY(QDir().mkdir(folder));
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        QFile probe(folder + "/probe");
        if (probe.open(QIODevice::WriteOnly)) {
            probe.remove();
            QSKIP("this user writes into read-only folders; the other row covers it");
        }
    } else {
        writeFile(folder, "in the way");
    }
    b.format.logFilePath = folder + "/port.log";

    QString told;
    QVERIFY(!b.write("a\n", &told));
    QVERIFY2(told.startsWith(error), qPrintable(told));
    QVERIFY(told.contains(folder));
    QVERIFY(!b.write("b\n", &told));
    QVERIFY(told.isEmpty()); // the same failure is not told twice
    QCOMPARE(b.writer->pendingText(), QString("a\nb\n"));

    // Switching logging off and on again tells it anew.
    b.writer->noteLoggingState(false);
    QVERIFY(!b.write("c\n", &told));
    QVERIFY(told.startsWith(error));

    if (readOnlyFolder) {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    } else {
        QVERIFY(QFile::remove(folder));
    }
    QVERIFY(b.write("d\n", &told));
    QVERIFY(told.isEmpty());
    QVERIFY(b.writer->pendingText().isEmpty());
    QCOMPARE(readFile(folder + "/port.log"), QByteArray("a\nb\nc\nd\n"));
}

void TestLogWriter::unusableNames_data()
{
    QTest::addColumn<QString>("tmpl");
    QTest::addColumn<bool>("makeFolder");
    QTest::addColumn<QString>("error");
    QTest::newRow("empty template") << "" << false << "Please input correct log file name!";
    QTest::newRow("names a folder") << "%S" << true << "Log path is a directory, not a file: ";
}

void TestLogWriter::unusableNames()
{
    QFETCH(QString, tmpl);
    QFETCH(bool, makeFolder);
    Bench b;
    if (makeFolder) {
        QVERIFY(QDir(b.dir.path()).mkdir("COM3"));
        tmpl = b.path(tmpl);
    }
    b.format.logFilePath = tmpl;
    QString told;
    QVERIFY(!b.write("x\n", &told));
    QFETCH(QString, error);
    QVERIFY2(told.startsWith(error), qPrintable(told));
    QCOMPARE(b.writer->pendingText(), QString("x\n"));
}

QTEST_GUILESS_MAIN(TestLogWriter)
#include "tst_logwriter.moc"
