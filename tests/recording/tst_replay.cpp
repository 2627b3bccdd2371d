#include "recording/replaydocument.h"
#include "recording/replayfiles.h"
#include "recording/replayreader.h"
#include "recording/replaysearch.h"
#include "recording/vlmlog.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class TestReplay : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void indexesAndSeeks();
    void indexesAFileAsItGrows();
    void countsDamageAndKeepsTheAxisForward();
    void search_data();
    void search();
    void queryFromInput_data();
    void queryFromInput();
    void bookmarksAreAppended();
    void partNames();

private:
    QString write(const QByteArray &content, const QString &name = "rec.vlmlog");
    QTemporaryDir dir;
};

namespace {

QByteArray header()
{
    Vlmlog::RecordingHeader h;
    h.ports = {{"p1", "COM1", "serial", "9600", {}, {}, {}, {}, 0, 0},
               {"p2", "TCP", "tcp", "x", {}, {}, {}, {}, 0, 0}};
    h.startedAt = 1000;
    return Vlmlog::headerLine(h) + '\n';
}

QByteArray line_(qint64 t, const QString &port, const QByteArray &bytes, quint8 kind = 0,
                 const QString &peer = {})
{
    SessionEvent e;
    e.t = t;
    e.kind = kind;
    e.bytes = bytes;
    e.peer = peer;
    return Vlmlog::eventLine(e, port) + '\n';
}

void indexAll(ReplayDocument &doc)
{
    auto indexer = doc.indexer();
    while (indexer->step(ReplayIndexer::SliceBytes)) {
    }
}

} // namespace

void TestReplay::init()
{
    QVERIFY(dir.isValid());
}

QString TestReplay::write(const QByteArray &content, const QString &name)
{
    QFile file(dir.filePath(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size()) {
        return {};
    }
    return file.fileName();
}

void TestReplay::indexesAndSeeks()
{
    // 2500 events, 2 bytes each; events 1020..1030 all at one time, across a checkpoint.
    QByteArray content = header();
    for (int i = 0; i < 2500; ++i) {
        const qint64 t = (i >= 1020 && i <= 1030) ? 5000000 : 2000 + qint64(i) * 1000 +
                                                                  (i > 1030 ? 5000000 : 0);
        content += line_(t, i % 2 ? "p2" : "p1", QByteArray::number(i % 100).rightJustified(2, '0'));
    }
    ReplayDocument doc;
    QString error;
    QVERIFY(doc.open(write(content), true, &error));
    indexAll(doc);
    const ReplayIndex &index = doc.index();
    QCOMPARE(index.eventCount, 2500);
    QCOMPARE(index.byteCount, 5000);
    QCOMPARE(index.portEvents, (QList<qint64>{1250, 1250}));
    QList<qint64> ordinals;
    for (const auto &c : index.checkpoints) {
        ordinals << c.ordinal;
    }
    QCOMPARE(ordinals, (QList<qint64>{0, 1024, 2048}));
    QCOMPARE(index.indexedTo, content.size());
    QVERIFY(!index.torn);

    auto device = doc.openDevice();
    ReplayReader reader(device.get(), &index);
    for (const qint64 n : {0, 1, 1023, 1024, 1025, 2047, 2499, 17, 1500}) {
        QVERIFY(reader.seekOrdinal(n));
        ReplayEvent e;
        QVERIFY(reader.peek(&e));
        QCOMPARE(e.ordinal, n);
        QCOMPARE(e.event.bytes, QByteArray::number(n % 100).rightJustified(2, '0'));
        QCOMPARE(e.portIndex, int(n % 2));
    }
    QVERIFY(reader.seekOrdinal(2500));
    ReplayEvent none;
    QVERIFY(!reader.peek(&none));
    // By time: equal times across a checkpoint land on the first of them.
    QCOMPARE(reader.ordinalAtTime(5000000), 1020);
    QCOMPARE(reader.ordinalAtTime(0), 0);
    QCOMPARE(reader.ordinalAtTime(2000 + 1500 * 1000 + 5000000), 1500);
    QCOMPARE(reader.ordinalAtTime(index.lastUs + 1), 2500);
    // Context before a jump: about 2000 events back, at a checkpoint.
    QCOMPARE(index.prefillStart(2100, 65536, 2000).ordinal, 0);
    QCOMPARE(index.prefillStart(2100, 65536, 100).ordinal, 1024);
    const QList<qint64> activity = index.activity(10);
    QCOMPARE(std::accumulate(activity.begin(), activity.end(), qint64(0)), 5000);
}

void TestReplay::indexesAFileAsItGrows()
{
    const QString path = write(header() + line_(10, "p1", "ab"));
    ReplayDocument doc;
    QString error;
    QVERIFY(doc.open(path, true, &error));
    auto indexer = doc.indexer();
    QVERIFY(!indexer->step(ReplayIndexer::SliceBytes));
    QCOMPARE(doc.index().eventCount, 1);

    // A line cut in the middle is not taken until it is complete.
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    const QByteArray line = line_(20, "p3", "cdef");
    file.write(line.left(15));
    file.flush();
    QVERIFY(!indexer->step(ReplayIndexer::SliceBytes));
    QCOMPARE(doc.index().eventCount, 1);
    QVERIFY(doc.index().torn);
    file.write(line.mid(15) + line_(30, "p1", "gh"));
    file.write(Vlmlog::endLine(40, "stopped", {}) + '\n');
    file.flush();
    QVERIFY(!indexer->step(ReplayIndexer::SliceBytes));
    const ReplayIndex &index = doc.index();
    QCOMPARE(index.eventCount, 3);
    QVERIFY(!index.torn);
    QCOMPARE(index.indexedTo, file.size());
    QCOMPARE(index.ports.last().label, QStringLiteral("p3")); // a port no header named
    QCOMPARE(index.endReason, QStringLiteral("stopped"));
    QCOMPARE(index.skippedLines + index.badLines, 0);

    auto device = doc.openDevice();
    ReplayReader reader(device.get(), &index);
    QVERIFY(reader.seekOrdinal(1));
    ReplayEvent e;
    QVERIFY(reader.peek(&e));
    QCOMPARE(e.event.bytes, QByteArray("cdef"));
}

void TestReplay::countsDamageAndKeepsTheAxisForward()
{
    QByteArray content = header();
    content += line_(100, "p1", "a");
    content += "not json\n";
    content += R"({"t":1,"port":"p1","dir":"rx","hex":"414"})" "\n";
    content += line_(50, "p2", "b"); // a clock stepped back
    content += QByteArray(1000, 'x') + '\n';
    content += header(); // two files joined by hand
    content += R"({"type":"later","t":1})" "\n";
    content += Vlmlog::bookmarkLine({60, "b1", {}, "first", {}}) + '\n';
    content += Vlmlog::bookmarksLine({{70, "b9", {}, "snap", {}}}, 99) + '\n';
    content += Vlmlog::bookmarkLine({80, "b9", "p1", "after", {}}) + '\n';
    content += line_(200, "p1", "c");
    content += R"({"t":300,"port":"p1","dir":"rx","hex":"4)"; // torn
    ReplayDocument doc;
    QString error;
    QVERIFY(doc.open(write(content), true, &error));
    ReplayIndexerOptions options;
    options.maxLine = 600;
    auto indexer = doc.indexer(options);
    while (indexer->step(ReplayIndexer::SliceBytes)) {
    }
    const ReplayIndex &index = doc.index();
    QCOMPARE(index.eventCount, 3);
    QCOMPARE(index.skippedLines, 2); // the malformed and the oversized line
    QCOMPARE(index.badLines, 2);     // the odd hex and the second header
    QCOMPARE(index.outOfOrder, 1);
    QVERIFY(index.torn);
    QCOMPARE(index.firstUs, 100);
    QCOMPARE(index.lastPlayUs, 200);
    // The last snapshot replaces what came before; a bookmark after it adds to it,
    // with a new id for the repeated one.
    doc.adoptIndexedBookmarks();
    QCOMPARE(doc.bookmarks().list().size(), 2);
    QCOMPARE(doc.bookmarks().list()[0].name, QStringLiteral("snap"));
    QCOMPARE(doc.bookmarks().list()[1].name, QStringLiteral("after"));
    QCOMPARE(doc.bookmarks().list()[1].id, QStringLiteral("b1"));

    auto device = doc.openDevice();
    ReplayReader reader(device.get(), &index);
    ReplayEvent e;
    QList<qint64> play;
    while (reader.peek(&e)) {
        play << e.playUs;
        reader.pop();
    }
    QCOMPARE(play, (QList<qint64>{100, 100, 200}));
}

void TestReplay::search_data()
{
    QTest::addColumn<QByteArray>("events");
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<bool>("matchCase");
    QTest::addColumn<QStringList>("hits"); // ordinal:offset[:split]

    const QByteArray split = line_(1, "p1", "xxAB") + line_(2, "p1", "CDyy");
    QTest::newRow("split over two reads of a stream")
        << split << "41 42 43 44" << true << false << QStringList{"0:2:split"};
    QTest::newRow("split over two peers is not one")
        << (line_(1, "p1", "xxAB", 0, "a") + line_(2, "p1", "CDyy", 0, "b")) << "ABCD" << false
        << false << QStringList{};
    QTest::newRow("interleaved streams keep their own tails")
        << (line_(1, "p1", "AB") + line_(2, "p2", "CD") + line_(3, "p1", "CD")) << "abcd" << false
        << false << QStringList{"0:0:split"};
    QTest::newRow("over three small reads")
        << (line_(1, "p1", "A") + line_(2, "p1", "B") + line_(3, "p1", "C")) << "ABC" << false
        << true << QStringList{"0:0:split"};
    QTest::newRow("case") << line_(1, "p1", "hello Hello") << "Hello" << false << true
                          << QStringList{"0:6"};
    QTest::newRow("no case") << line_(1, "p1", "hello Hello") << "HELLO" << false << false
                             << QStringList{"0:0", "0:6"};
    QTest::newRow("notes by text, sent bytes too")
        << (Vlmlog::eventLine({0, 5, 2, {}, {}, "Port opened"}, "p1") + '\n' +
            line_(6, "p1", "open", 1))
        << "OPEN" << false << false << QStringList{"0:5", "1:0"};
}

void TestReplay::search()
{
    QFETCH(QByteArray, events);
    QFETCH(QString, input);
    QFETCH(bool, hex);
    QFETCH(bool, matchCase);
    QFETCH(QStringList, hits);
    ReplayDocument doc;
    QString error;
    QVERIFY(doc.open(write(header() + events), true, &error));
    indexAll(doc);
    const ReplayQuery query = ReplayQuery::fromInput(input, hex, matchCase, &error);
    QVERIFY(!query.isEmpty());
    auto device = doc.openDevice();
    ReplaySearch search(device.get(), &doc.index(), query);
    while (search.countAll(3)) {
    }
    QStringList got;
    for (const ReplayHit &hit : search.hits()) {
        got << QStringLiteral("%1:%2%3")
                   .arg(hit.ordinal)
                   .arg(hit.offsetInEvent)
                   .arg(hit.splitAcrossEvents ? ":split" : "");
    }
    QCOMPARE(got, hits);
}

void TestReplay::queryFromInput_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QByteArray>("needle");
    QTest::addColumn<QString>("error");
    QTest::newRow("empty") << "  " << false << QByteArray() << "Type what to find.";
    QTest::newRow("hex with 0x and commas") << "0x01, 0X0203 ff" << true
                                            << QByteArray("\x01\x02\x03\xff") << "";
    QTest::newRow("odd hex") << "48 6" << true << QByteArray()
                             << "\"6\" is not hex: use byte pairs such as 48 65.";
    QTest::newRow("text as UTF-8") << "é" << false << QByteArray("\xc3\xa9") << "";
}

void TestReplay::queryFromInput()
{
    QFETCH(QString, input);
    QFETCH(bool, hex);
    QFETCH(QByteArray, needle);
    QFETCH(QString, error);
    QString message;
    QCOMPARE(ReplayQuery::fromInput(input, hex, false, &message).needle, needle);
    QCOMPARE(message, error);
}

void TestReplay::bookmarksAreAppended()
{
    const QByteArray content = header() + line_(10, "p1", "a") + line_(20, "p1", "b");
    // No line end at the close: the snapshot must start on a line of its own.
    const QString path = write(content.chopped(1));
    ReplayDocument doc;
    QString error;
    QVERIFY(doc.open(path, true, &error));
    indexAll(doc);
    doc.adoptIndexedBookmarks();
    doc.bookmarks().add(15, "p1", "mid", "note");
    doc.bookmarks().add(5, {}, "start", {});
    QVERIFY(doc.bookmarks().isModified());
    QCOMPARE(doc.bookmarks().next(10)->name, QStringLiteral("mid"));
    QCOMPARE(doc.bookmarks().previous(10)->name, QStringLiteral("start"));
    QVERIFY(!doc.bookmarks().next(15, "p2"));

    doc.setStillRecording(true);
    QVERIFY(!doc.saveBookmarks(path, 99, &error));
    QCOMPARE(error, QStringLiteral("This file is still being recorded; save a copy to keep your bookmarks."));
    doc.setStillRecording(false);
    QVERIFY(!doc.saveBookmarks({}, 99, &error));
    QVERIFY(doc.saveBookmarks(path, 99, &error));
    QVERIFY(!doc.bookmarks().isModified());
    QVERIFY(doc.saveCopy(dir.filePath("copy.vlmlog"), 100, &error));

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray after = file.readAll();
    QVERIFY(after.startsWith(content.chopped(1)));
    QCOMPARE(after.count('\n'), content.count('\n') + 1);

    for (const QString &name : {path, dir.filePath("copy.vlmlog")}) {
        ReplayDocument again;
        QVERIFY(again.open(name, true, &error));
        indexAll(again);
        again.adoptIndexedBookmarks();
        QCOMPARE(again.bookmarks().list(), doc.bookmarks().list());
        QCOMPARE(again.index().eventCount, 2);
        QCOMPARE(again.index().skippedLines, 0);
    }
}

void TestReplay::partNames()
{
    const QString base = dir.filePath("run.vlmlog");
    QCOMPARE(ReplayFiles::partPath(base, 2), dir.filePath("run-part2.vlmlog"));
    QCOMPARE(ReplayFiles::partPath(dir.filePath("plain"), 3), dir.filePath("plain-part3"));
    write("x", "run-part2.vlmlog");
    write("x", "run-part12.vlmlog");
    write("x", "run-partx.vlmlog");
    write("x", "run.x-part2.vlmlog");
    QCOMPARE(ReplayFiles::existingParts(base),
             (QStringList{dir.filePath("run-part12.vlmlog"), dir.filePath("run-part2.vlmlog")}));
    QCOMPARE(ReplayFiles::linkedPart(base, "run-part2.vlmlog"), dir.filePath("run-part2.vlmlog"));
    QCOMPARE(ReplayFiles::linkedPart(base, "../etc/passwd"), QString());
    QVERIFY(ReplayFiles::samePath(base, dir.path() + "/./run.vlmlog"));
}

QTEST_GUILESS_MAIN(TestReplay)
#include "tst_replay.moc"
