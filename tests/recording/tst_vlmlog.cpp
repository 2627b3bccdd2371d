#include "recording/recordingplanitem.h"
#include "recording/vlmlog.h"
#include "recording/vlmloglinereader.h"
#include "recording/vlmlogwriter.h"

#include <QBuffer>
#include <QtTest>

using Vlmlog::ParsedLine;

class TestVlmlog : public QObject
{
    Q_OBJECT
private slots:
    void parsesEveryLineForm_data();
    void parsesEveryLineForm();
    void writtenLinesReadBack();
    void readsLinesWithLimit_data();
    void readsLinesWithLimit();
};

void TestVlmlog::parsesEveryLineForm_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("detail"); // what the line holds, summarised

    const auto add = [](const char *name, const QByteArray &line, int kind, const QString &detail) {
        QTest::newRow(name) << line << kind << detail;
    };
    add("rx", R"({"t":1700000000000000,"port":"p1","dir":"rx","hex":"48690D0A"})",
        ParsedLine::Event, "p1 rx 1700000000000000 Hi\r\n");
    add("tx lower-case hex with peer",
        R"({"t":5,"port":"p2","dir":"tx","peer":"10.0.0.2:502","hex":"0aff"})", ParsedLine::Event,
        "p2 tx 5 \n\xc3\xbf 10.0.0.2:502");
    add("quote in port id", R"({"t":5,"port":"a\"b","dir":"rx","hex":"41"})", ParsedLine::Event,
        "a\"b rx 5 A");
    add("note", R"({"t":7,"port":"p1","dir":"note","text":"Port opened"})", ParsedLine::Event,
        "p1 note 7 Port opened");
    add("keys in another order", R"({"port":"p1","dir":"rx","hex":"41","t":3})",
        ParsedLine::Event, "p1 rx 3 A");
    add("2^53 is a time", R"({"t":9007199254740992,"port":"p","dir":"rx","hex":""})",
        ParsedLine::Event, "p rx 9007199254740992 ");
    add("2^53+1 is not", R"({"t":9007199254740993,"port":"p","dir":"rx","hex":"41"})",
        ParsedLine::Invalid, "");
    add("negative time", R"({"t":-1,"port":"p","dir":"rx","hex":"41"})", ParsedLine::Invalid, "");
    add("fractional time", R"({"t":1.5,"port":"p","dir":"rx","hex":"41"})", ParsedLine::Invalid,
        "");
    add("odd hex", R"({"t":1,"port":"p","dir":"rx","hex":"414"})", ParsedLine::Invalid, "");
    add("not hex", R"({"t":1,"port":"p","dir":"rx","hex":"4G"})", ParsedLine::Invalid, "");
    add("unknown dir", R"({"t":1,"port":"p","dir":"up","hex":"41"})", ParsedLine::Invalid, "");
    add("note without text", R"({"t":1,"port":"p","dir":"note"})", ParsedLine::Invalid, "");
    add("header",
        R"({"type":"header","format":"vlm-session","version":1,"app":"Velmora","appVersion":"1.2","ports":[{"id":"p1","label":"COM3","mode":"serial","settings":"9600 8N1","rxEncoding":"UTF-8"},{"label":"no id"}],"exportedAt":10,"truncated":false,"source":"recording","startedAt":10,"part":0,"timeZone":"Europe/Berlin"})",
        ParsedLine::Header, "vlm-session 1 1.2 ports=p1/COM3/UTF-8 rec=1 10 part=1 Europe/Berlin");
    add("export header", R"({"type":"header","format":"vlm-session","version":1,"ports":[],"exportedAt":4,"truncated":true})",
        ParsedLine::Header, "vlm-session 1  ports= rec=0 0 part=1 ");
    add("port", R"({"type":"port","t":20,"id":"p3","label":"Modbus","mode":"tcp","settings":"x"})",
        ParsedLine::Port, "20 p3 Modbus tcp");
    add("port without id", R"({"type":"port","t":20,"label":"Modbus"})", ParsedLine::Invalid, "");
    add("bookmark", R"({"type":"bookmark","t":30,"id":"b1","port":"p1","name":"boot"})",
        ParsedLine::Bookmark, "30 b1 p1 boot ");
    add("bookmark without id", R"({"type":"bookmark","t":30})", ParsedLine::Invalid, "");
    add("snapshot skips a bad item",
        R"({"type":"bookmarks","savedAt":40,"items":[{"id":"b1","t":1,"note":"n"},{"id":"b2"}]})",
        ParsedLine::Bookmarks, "40 b1@1:n");
    add("snapshot without items", R"({"type":"bookmarks","savedAt":40})", ParsedLine::Invalid, "");
    add("end", R"({"type":"end","t":50,"reason":"rotated","next":"a-part2.vlmlog"})",
        ParsedLine::End, "50 rotated a-part2.vlmlog");
    add("end without time", R"({"type":"end","reason":"stopped"})", ParsedLine::Invalid, "");
    add("unknown type", R"({"type":"marker","t":1})", ParsedLine::Unknown, "");
    add("array", "[1,2]", ParsedLine::Malformed, "");
    add("torn", R"({"t":1,"port":"p","dir":"rx","hex":"41)", ParsedLine::Malformed, "");
    add("empty", "", ParsedLine::Malformed, "");
}

static QString summary(const ParsedLine &p)
{
    switch (p.kind) {
    case ParsedLine::Event: {
        static const char *dirs[] = {"rx", "tx", "note"};
        QString s = QStringLiteral("%1 %2 %3 ").arg(p.portId, dirs[p.event.kind]).arg(p.event.t);
        s += p.event.kind == SessionEvent::Note ? p.event.text : QString::fromLatin1(p.event.bytes);
        if (!p.event.peer.isEmpty()) {
            s += u' ' + p.event.peer;
        }
        return s;
    }
    case ParsedLine::Header: {
        QStringList ports;
        for (const auto &info : p.ports) {
            ports << info.id + u'/' + info.label + u'/' + info.rxEncoding;
        }
        return QStringLiteral("%1 %2 %3 ports=%4 rec=%5 %6 part=%7 %8")
            .arg(p.format)
            .arg(p.version)
            .arg(p.appVersion, ports.join(u','))
            .arg(int(p.isRecording))
            .arg(p.startedAt)
            .arg(p.part)
            .arg(p.timeZone);
    }
    case ParsedLine::Port:
        return QStringLiteral("%1 %2 %3 %4").arg(p.t).arg(p.port.id, p.port.label, p.port.mode);
    case ParsedLine::Bookmark:
        return QStringLiteral("%1 %2 %3 %4 %5")
            .arg(p.bookmark.t)
            .arg(p.bookmark.id, p.bookmark.port, p.bookmark.name, p.bookmark.note);
    case ParsedLine::Bookmarks: {
        QStringList items;
        for (const auto &b : p.bookmarks) {
            items << QStringLiteral("%1@%2:%3").arg(b.id).arg(b.t).arg(b.note);
        }
        return QStringLiteral("%1 %2").arg(p.savedAt).arg(items.join(u','));
    }
    case ParsedLine::End:
        return QStringLiteral("%1 %2 %3").arg(p.t).arg(p.reason, p.next);
    default:
        return {};
    }
}

void TestVlmlog::parsesEveryLineForm()
{
    QFETCH(QByteArray, line);
    QFETCH(int, kind);
    QFETCH(QString, detail);
    const ParsedLine fast = Vlmlog::parseLine(line);
    const ParsedLine slow = Vlmlog::parseLineSlowForTest(line);
    QCOMPARE(int(fast.kind), kind);
    QCOMPARE(int(slow.kind), kind);
    QCOMPARE(summary(fast), detail);
    QCOMPARE(summary(slow), detail);
    // Without decoding the hex is checked but not converted.
    const ParsedLine skim = Vlmlog::parseLine(line, false);
    QCOMPARE(int(skim.kind), kind);
    QVERIFY(skim.event.bytes.isEmpty());
    QCOMPARE(skim.payloadSize, fast.payloadSize);
}

void TestVlmlog::writtenLinesReadBack()
{
    QByteArray file;
    QBuffer buffer(&file);
    buffer.open(QIODevice::WriteOnly);
    VlmlogWriter writer(&buffer);
    Vlmlog::RecordingHeader header;
    header.ports = {{"p1", "COM\"3", "serial", "9600", "UTF-8", {}, "Hex", {}, 0, 0}};
    header.appVersion = "1.0";
    header.timeZone = "Asia/Shanghai";
    header.startedAt = 100;
    header.part = 2;
    header.previous = "rec.vlmlog";
    writer.header(header);
    writer.port({"p2", "Modbus", "tcp", "127.0.0.1:502", {}, {}, {}, {}, 0, 0}, 110);
    RecordingPlanItem item;
    item.seq = 1;
    item.event = {0, 120, SessionEvent::Rx, "peer:1", QByteArray("\x01\x02\xff", 3), {}};
    writer.item(item, "p1");
    item.seq = -1;
    item.bookmark = {130, "b1", "p1", "start", "note \"x\""};
    writer.item(item, "p1");
    writer.note("p2", QString(600, u'n'), 140);
    writer.missedNote(150, 3);
    writer.end(160, "stopped", {});
    QVERIFY(writer.flush());
    QCOMPARE(writer.written(), file.size());

    const QByteArrayList lines = file.split('\n');
    QCOMPARE(lines.size(), 8);
    QVERIFY(lines.last().isEmpty());
    QCOMPARE(lines[1], QByteArray(R"({"type":"port","t":110,"id":"p2","label":"Modbus","mode":"tcp","settings":"127.0.0.1:502"})"));
    QCOMPARE(lines[6], QByteArray(R"({"type":"end","t":160,"reason":"stopped"})"));

    const ParsedLine h = Vlmlog::parseLine(lines[0]);
    QCOMPARE(h.kind, ParsedLine::Header);
    QCOMPARE(h.ports, header.ports);
    QCOMPARE(h.exportedAt, 100);
    QCOMPARE(h.part, 2);
    QCOMPARE(h.previous, QStringLiteral("rec.vlmlog"));
    const ParsedLine e = Vlmlog::parseLine(lines[2]);
    QCOMPARE(e.event.bytes, item.event.bytes);
    QCOMPARE(e.event.peer, QStringLiteral("peer:1"));
    QCOMPARE(Vlmlog::parseLine(lines[3]).bookmark, item.bookmark);
    QCOMPARE(Vlmlog::parseLine(lines[4]).event.text.size(), 512);
    const ParsedLine missed = Vlmlog::parseLine(lines[5]);
    QCOMPARE(missed.portId, QString());
    QCOMPARE(missed.event.text,
             QStringLiteral("Recording missed 3 event(s): the port moved faster than the file."));
    const QList<ReplayBookmark> list{{1, "b1", {}, "a", {}}, {2, "b2", "p1", {}, "n"}};
    QCOMPARE(Vlmlog::parseLine(Vlmlog::bookmarksLine(list, 9)).bookmarks, list);
}

void TestVlmlog::readsLinesWithLimit_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<qint64>("maxLine");
    QTest::addColumn<QStringList>("expected"); // offset:length:flags(t terminated, o oversized)

    QTest::newRow("plain and torn") << QByteArray("ab\n\ncde\nfg") << qint64(100)
                                    << QStringList{"0:2:t:ab", "3:0:t:", "4:3:t:cde", "8:2::fg"};
    QTest::newRow("1 MB line at 65536")
        << QByteArray("x\n" + QByteArray(1000000, 'a') + "\ny\n") << qint64(65536)
        << QStringList{"0:1:t:x", "2:1000000:to:", "1000003:1:t:y"};
    QTest::newRow("oversized torn tail") << QByteArray("x\n" + QByteArray(700000, 'a'))
                                         << qint64(65536)
                                         << QStringList{"0:1:t:x", "2:700000:o:"};
    QTest::newRow("line across blocks")
        << QByteArray(QByteArray(262140, 'b') + "\nzz\n") << qint64(300000)
        << QStringList{QStringLiteral("0:262140:t:") + QString(262140, u'b'), "262141:2:t:zz"};
}

void TestVlmlog::readsLinesWithLimit()
{
    QFETCH(QByteArray, data);
    QFETCH(qint64, maxLine);
    QFETCH(QStringList, expected);
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    Vlmlog::LineReader reader(&buffer, maxLine);
    QStringList got;
    Vlmlog::LineReader::Line line;
    while (reader.next(&line)) {
        QString flags;
        if (line.terminated) {
            flags += u't';
        }
        if (line.oversized) {
            flags += u'o';
        }
        got << QStringLiteral("%1:%2:%3:%4")
                   .arg(line.offset)
                   .arg(line.length)
                   .arg(flags, QString::fromLatin1(line.bytes));
    }
    QCOMPARE(got, expected);
    // A seek starts over at any line.
    if (expected.size() > 1) {
        QVERIFY(reader.seek(expected[1].section(u':', 0, 0).toLongLong()));
        QVERIFY(reader.next(&line));
        QCOMPARE(line.offset, expected[1].section(u':', 0, 0).toLongLong());
    }
}

QTEST_GUILESS_MAIN(TestVlmlog)
#include "tst_vlmlog.moc"
