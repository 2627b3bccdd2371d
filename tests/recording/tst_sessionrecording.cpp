#include "recording/replaydocument.h"
#include "recording/replayreader.h"
#include "recording/sessionrecorder.h"
#include "recording/sessionrecording.h"
#include "recording/vlmlog.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestSessionRecording : public QObject
{
    Q_OBJECT
private slots:
    void recordsMergedAndRotates_data();
    void recordsMergedAndRotates();
    void statesWhatItMissed();
    void failsWhenTheFileIsDeleted();
};

namespace {

QList<Vlmlog::ParsedLine> readLines(const QString &path)
{
    QFile file(path);
    QList<Vlmlog::ParsedLine> out;
    if (!file.open(QIODevice::ReadOnly)) {
        return out;
    }
    const QByteArray all = file.readAll();
    if (!all.endsWith('\n')) {
        return {};
    }
    for (const QByteArray &line : all.chopped(1).split('\n')) {
        out.append(Vlmlog::parseLine(line));
    }
    return out;
}

struct Bench
{
    SessionRecorder a{1 << 20};
    SessionRecorder b{1 << 20};
    bool withB = true;
    qint64 clock = 1000000;
    QList<SessionRecording::Port> ports()
    {
        QList<SessionRecording::Port> list;
        list.append({"A", {"", "COM1", "serial", "9600", {}, {}, {}, {}, 0, 0}, &a});
        if (withB) {
            list.append({"B", {"", "Server", "tcp", "5000", {}, {}, {}, {}, 0, 0}, &b});
        }
        return list;
    }
};

} // namespace

void TestSessionRecording::recordsMergedAndRotates_data()
{
    QTest::addColumn<qint64>("partBytes");
    QTest::addColumn<int>("parts");
    QTest::newRow("one file") << qint64(0) << 1;
    QTest::newRow("rotating") << qint64(600) << 3;
}

void TestSessionRecording::recordsMergedAndRotates()
{
    QFETCH(qint64, partBytes);
    QFETCH(int, parts);
    QTemporaryDir dir;
    Bench bench;
    bench.a.recordRx("held", {}, 10); // before the start, not included
    SessionRecording recording([&bench] { return bench.ports(); });
    recording.setClock([&bench] { return bench.clock; });
    QString error;
    const QString path = dir.filePath("sub/run.vlmlog");
    QVERIFY(recording.start({path, false, partBytes}, &error));
    QVERIFY(!recording.start({path, false, partBytes}, &error));
    QCOMPARE(error, QStringLiteral("A recording is already running."));

    QList<QByteArray> expectedA;
    QList<QByteArray> expectedB;
    for (int i = 0; i < 12; ++i) {
        const qint64 t = 2000000 + i * 10000;
        const QByteArray pa = "a" + QByteArray::number(i);
        const QByteArray pb = "b" + QByteArray::number(i);
        if (bench.withB) {
            bench.b.recordTx(pb, "peer", t + 5000); // b's event after a's in time
            expectedB << pb;
        }
        bench.a.recordRx(pa, {}, t);
        expectedA << pa;
        if (i == 5) {
            // Port B leaves the window: what it holds is written first.
            bench.clock = t + 100000;
            recording.drainPorts({"B"});
            bench.withB = false;
        }
        if (i == 7) {
            bench.withB = true; // and comes back
            recording.addBookmark({t + 1, "b1", {}, "mark", {}});
        }
        bench.clock = t + 6000;
        recording.poll();
    }
    bench.clock = 9000000;
    QSignalSpy state(&recording, &SessionRecording::stateChanged);
    recording.stop("stopped");
    QCOMPARE(state.size(), 1);
    QVERIFY(!recording.isRecording());

    // Follow the parts by their end lines; each is a valid file by itself.
    QString file = path;
    QList<QByteArray> gotA;
    QList<QByteArray> gotB;
    QStringList notes;
    qint64 lastT = 0;
    int count = 0;
    int bookmarks = 0;
    while (!file.isEmpty()) {
        const QList<Vlmlog::ParsedLine> lines = readLines(file);
        QVERIFY(!lines.isEmpty());
        QCOMPARE(lines.first().kind, Vlmlog::ParsedLine::Header);
        QCOMPARE(lines.first().part, ++count);
        QCOMPARE(lines.last().kind, Vlmlog::ParsedLine::End);
        file.clear();
        for (const Vlmlog::ParsedLine &line : lines) {
            if (line.kind == Vlmlog::ParsedLine::Event) {
                QVERIFY(line.event.t >= lastT);
                lastT = line.event.t;
                if (line.event.kind == SessionEvent::Note) {
                    notes << line.portId + u':' + line.event.text;
                } else {
                    (line.portId == "p1" ? gotA : gotB) << line.event.bytes;
                }
            } else if (line.kind == Vlmlog::ParsedLine::End && !line.next.isEmpty()) {
                QCOMPARE(line.reason, QStringLiteral("rotated"));
                file = QFileInfo(path).dir().filePath(line.next);
            } else if (line.kind == Vlmlog::ParsedLine::End) {
                QCOMPARE(line.reason, QStringLiteral("stopped"));
                QVERIFY(line.t >= lastT);
            } else if (line.kind == Vlmlog::ParsedLine::Bookmark) {
                ++bookmarks;
            }
        }
    }
    QCOMPARE(count, parts);
    QCOMPARE(gotA, expectedA);
    QCOMPARE(gotB, expectedB);
    QCOMPARE(bookmarks, 1);
    QCOMPARE(notes, QStringList{"p2:Port removed from the window"});
    QCOMPARE(SessionRecording::existingParts(path).size(), parts - 1);
}

void TestSessionRecording::statesWhatItMissed()
{
    QTemporaryDir dir;
    Bench bench;
    bench.withB = false;
    bench.a.setCapacity(SessionRecorder::EventOverhead * 5 + 50);
    SessionRecording recording([&bench] { return bench.ports(); });
    recording.setClock([&bench] { return bench.clock; });
    QString error;
    const QString path = dir.filePath("burst.vlmlog");
    QVERIFY(recording.start({path, false, 0}, &error));
    for (int i = 0; i < 20; ++i) {
        bench.a.recordTx(QByteArray::number(i), {}, 2000000 + i);
    }
    recording.poll();
    recording.poll();
    recording.stop();

    ReplayDocument doc;
    QVERIFY(doc.open(path, true, &error));
    auto indexer = doc.indexer();
    while (indexer->step(ReplayIndexer::SliceBytes)) {
    }
    auto device = doc.openDevice();
    ReplayReader reader(device.get(), &doc.index());
    ReplayEvent event;
    QStringList got;
    while (reader.peek(&event)) {
        got << (event.event.kind == SessionEvent::Note ? event.event.text
                                                       : QString::fromLatin1(event.event.bytes));
        reader.pop();
    }
    QCOMPARE(got.size(), 6);
    QCOMPARE(got.first(),
             QStringLiteral("Recording missed 15 event(s): the port moved faster than the file."));
    QCOMPARE(got.last(), QStringLiteral("19"));
}

void TestSessionRecording::failsWhenTheFileIsDeleted()
{
    QTemporaryDir dir;
    Bench bench;
    SessionRecording recording([&bench] { return bench.ports(); });
    QString error;
    const QString path = dir.filePath("gone.vlmlog");
    QVERIFY(recording.start({path, true, 0}, &error));
    QVERIFY(QFile::remove(path));
    QSignalSpy failed(&recording, &SessionRecording::failed);
    recording.poll();
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.first().first().toString(),
             QStringLiteral("%1 is gone: it was deleted or moved while it was being recorded.")
                 .arg(QDir::toNativeSeparators(path)));
    QVERIFY(!recording.isRecording());
}

QTEST_MAIN(TestSessionRecording)
#include "tst_sessionrecording.moc"
