#include "support/pythonrun.h"
#include "recording/sessionexport.h"
#include "recording/sessionexportwriter.h"
#include "session/selectionmapper.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

class TestSessionExport : public QObject
{
    Q_OBJECT
private slots:
    void forms_data();
    void forms();
    void hexDumpAndCArray();
    void cArrayCompilesToTheBytes();
    void csvReadByPython_data();
    void csvReadByPython();
    void jsonLinesReadByPython();
    void textRowsAcrossAClockChange();
    void emptyExportHasItsHeaderOnly();
    void failedWriteIsReported();
};

namespace {

SessionEvent ev(quint8 kind, qint64 t, const QByteArray &bytes, const QString &peer = {},
                   const QString &text = {})
{
    SessionEvent e;
    e.kind = kind;
    e.t = t;
    e.bytes = bytes;
    e.peer = peer;
    e.text = text;
    return e;
}

// Two ports with cells a spreadsheet would run, line breaks, quotes, commas, bytes that
// are no text and a character of two bytes; equal times across the ports.
QList<SessionExport::Source> trickySources()
{
    SessionExport::Source a;
    a.info = {QStringLiteral("p1"), QStringLiteral("=Port A"), QStringLiteral("serial"),
              QStringLiteral("/dev/ttyUSB0 115200 8N1"), QStringLiteral("UTF-8"),
              QStringLiteral("UTF-8"), QStringLiteral("text"), QStringLiteral("hex")};
    a.events = {ev(SessionEvent::Rx, 1000, "=1+2\r\n"),
                ev(SessionEvent::Tx, 2000, "-5 mV"),
                ev(SessionEvent::Note, 2000, {}, {}, QStringLiteral("Opened, \"COM3\"")),
                ev(SessionEvent::Rx, 3000, QByteArray("\x00\xff,\"q\"", 6),
                      QStringLiteral("@host:1"))};
    SessionExport::Source b;
    b.info = {QStringLiteral("p\"2"), QStringLiteral("B"), QStringLiteral("tcp-client"),
              QStringLiteral("127.0.0.1:5000"), {}, {}, {}, {}};
    // The last one out of order on purpose: rows are merged by time.
    b.events = {ev(SessionEvent::Rx, 2000, "\tab"), ev(SessionEvent::Rx, 2000, "+x"),
                ev(SessionEvent::Rx, 2500, "\rok"), ev(SessionEvent::Tx, 500, "\xC3\xA9")};
    return {a, b};
}

SessionExport::Options utcOptions()
{
    SessionExport::Options options;
    options.timeZone = QTimeZone::utc();
    options.exportedAtUs = 1700000000123456;
    options.appVersion = QStringLiteral("1.2.3");
    return options;
}

QByteArray writeAndRead(const QByteArray &data, const QString &script, QString *error)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("export"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size()) {
        *error = file.errorString();
        return {};
    }
    file.close();
    return pythonrun::run(script, {path}, error);
}

} // namespace

void TestSessionExport::forms_data()
{
    QTest::addColumn<QString>("got");
    QTest::addColumn<QString>("expected");

    const QTimeZone utc = QTimeZone::utc();
    const auto row = [](const char *name, const QString &got, const QString &expected) {
        QTest::newRow(name) << got << expected;
    };
    row("time floors to the millisecond", SessionExport::formatTime(1999, utc),
        "1970-01-01 00:00:00.001");
    row("time floors before the epoch too", SessionExport::formatTime(-1, utc),
        "1969-12-31 23:59:59.999");
    row("a whole millisecond before", SessionExport::formatTime(-1001, utc),
        "1969-12-31 23:59:59.998");
    row("time in a zone",
        SessionExport::formatTime(0, QTimeZone(QByteArrayLiteral("Asia/Shanghai"))),
        "1970-01-01 08:00:00.000");
    row("csv: a minus is a formula", SessionExport::csvField("-5 mV", true), "'-5 mV");
    row("csv: unguarded", SessionExport::csvField("-5 mV", false), "-5 mV");
    row("csv: guarded and quoted", SessionExport::csvField("=a,b", true), "\"'=a,b\"");
    row("csv: a leading CR is only quoted", SessionExport::csvField("\rX", true), "\"\rX\"");
    row("identifier: runs", SessionExport::cIdentifier("a..b--c"), "a_b_c");
    row("identifier: leading digit", SessionExport::cIdentifier("3d"), "n_3d");
    row("identifier: empty", SessionExport::cIdentifier(""), "vlm_data");
    row("identifier: keyword", SessionExport::cIdentifier("int"), "int_data");
}

void TestSessionExport::forms()
{
    QFETCH(QString, got);
    QTEST(got, "expected");
}

void TestSessionExport::hexDumpAndCArray()
{
    QCOMPARE(SessionExport::toHexDump(QByteArray("0123456789ABCDEF\x00\x7f\xff!", 20), 0x10),
             QStringLiteral("00000010  30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 46  "
                            "|0123456789ABCDEF|\n"
                            "00000020  00 7F FF 21 ") +
                 QString(36, u' ') + QStringLiteral(" |...!|\n"));
    QCOMPARE(SessionExport::toHexDump(QByteArray()), QString());

    QCOMPARE(SessionExport::toCArray({}, {}),
             QStringLiteral("const uint8_t vlm_data[1] = {0}; /* no data: the selection holds 0 "
                            "bytes */\n"));

    const QList<SelectionPiece> pieces{{false, {}, "abc", 1000}, {true, {}, "de", 2000000}};
    QCOMPARE(SessionExport::selectionComment(pieces, QStringLiteral("COM3"), QTimeZone::utc()),
             QStringLiteral("COM3: 5 bytes (3 received, 2 sent), 1970-01-01 00:00:00.001 to "
                            "1970-01-01 00:00:02.000"));
}

void TestSessionExport::cArrayCompilesToTheBytes()
{
    // The array, compiled by the system's C compiler, holds exactly the bytes.
    const QString compiler = QStandardPaths::findExecutable(QStringLiteral("cc"));
    if (compiler.isEmpty()) {
        QSKIP("no C compiler (cc) on this machine");
    }
    QByteArray bytes;
    for (int i = 0; i < 300; ++i) {
        bytes += char(i * 7);
    }
    SessionExport::CArrayOptions options;
    options.name = QStringLiteral("7 bytes */ here");
    options.comment = QStringLiteral("made */ by a test");
    options.includeHeaderLine = true;
    options.staticStorage = true;
    options.lengthDefine = true;
    options.sizeComment = true;
    const QString name = SessionExport::cIdentifier(options.name);
    const QString program = SessionExport::toCArray(bytes, options) +
                            QStringLiteral("#include <stdio.h>\nint main(void) { return "
                                           "fwrite(%1, 1, %2_LEN, stdout) != sizeof(%1); }\n")
                                .arg(name, name.toUpper());
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("a.c"));
    const QString binary = dir.filePath(QStringLiteral("a"));
    QFile file(source);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(program.toUtf8());
    file.close();
    QProcess cc;
    cc.start(compiler, {QStringLiteral("-std=c99"), QStringLiteral("-Wall"),
                        QStringLiteral("-Werror"), source, QStringLiteral("-o"), binary});
    QVERIFY(cc.waitForFinished(60000));
    QVERIFY2(cc.exitCode() == 0, cc.readAllStandardError().constData());
    QProcess run;
    run.start(binary, {});
    QVERIFY(run.waitForFinished(10000));
    QCOMPARE(run.exitCode(), 0);
    QCOMPARE(run.readAllStandardOutput(), bytes);
    QVERIFY(program.startsWith("#include <stdint.h>\n\n/* made * / by a test */\n"
                               "static const uint8_t n_7_bytes_here[300] = {\n    0x00, 0x07, "));
    QVERIFY(program.contains("\n}; /* sizeof(n_7_bytes_here) == 300 */\n"
                             "#define N_7_BYTES_HERE_LEN 300\n"));
}

void TestSessionExport::csvReadByPython_data()
{
    QTest::addColumn<int>("textColumn");
    QTest::addColumn<QStringList>("texts"); // the text cell of each merged row

    QTest::newRow("escaped") << 0
                             << QStringList{"\\xC3\\xA9",    "'=1+2\\r\\n", "'-5 mV",
                                            "Opened, \"COM3\"", "\\tab",     "'+x",
                                            "\\rok",         "\\x00\\xFF,\"q\""};
    QTest::newRow("decoded") << 1
                             << QStringList{QStringLiteral("é"),
                                            "'=1+2\r\n",
                                            "'-5 mV",
                                            "Opened, \"COM3\"",
                                            "'\tab",
                                            "'+x",
                                            "\rok",
                                            QStringLiteral("\u25A1\uFFFD,\"q\"")};
}

void TestSessionExport::csvReadByPython()
{
    QFETCH(int, textColumn);
    QFETCH(QStringList, texts);
    if (!pythonrun::available()) {
        QSKIP("/usr/bin/python3 is not installed");
    }
    SessionExport::Options options = utcOptions();
    options.textColumn = textColumn;
    const QByteArray csv = SessionExport::toCsv(trickySources(), options);
    QVERIFY(csv.startsWith("\xEF\xBB\xBFtime,t_us,port,dir,peer,bytes,hex,text\r\n"));
    for (qsizetype i = csv.indexOf('\n'); i >= 0; i = csv.indexOf('\n', i + 1)) {
        QCOMPARE(csv.at(i - 1), '\r');
    }

    QString error;
    const QByteArray out = writeAndRead(
        csv,
        QStringLiteral("import csv, json, sys\n"
                       "with open(sys.argv[1], encoding='utf-8-sig', newline='') as f:\n"
                       "    print(json.dumps(list(csv.reader(f))))\n"),
        &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QList<QStringList> rows;
    for (const QJsonValue &row : QJsonDocument::fromJson(out).array()) {
        rows.append(row.toVariant().toStringList());
    }
    const QString zero = QStringLiteral("1970-01-01 00:00:00.00");
    const QList<QStringList> expected{
        {"time", "t_us", "port", "dir", "peer", "bytes", "hex", "text"},
        {zero + "0", "500", "B", "tx", "", "2", "C3 A9", texts[0]},
        {zero + "1", "1000", "'=Port A", "rx", "", "6", "3D 31 2B 32 0D 0A", texts[1]},
        {zero + "2", "2000", "'=Port A", "tx", "", "5", "2D 35 20 6D 56", texts[2]},
        {zero + "2", "2000", "'=Port A", "note", "", "14", "", texts[3]},
        {zero + "2", "2000", "B", "rx", "", "3", "09 61 62", texts[4]},
        {zero + "2", "2000", "B", "rx", "", "2", "2B 78", texts[5]},
        {zero + "2", "2500", "B", "rx", "", "3", "0D 6F 6B", texts[6]},
        {zero + "3", "3000", "'=Port A", "rx", "'@host:1", "6", "00 FF 2C 22 71 22",
         texts[7]},
    };
    QCOMPARE(rows.size(), expected.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        QCOMPARE(rows.at(i), expected.at(i));
    }
}

void TestSessionExport::jsonLinesReadByPython()
{
    if (!pythonrun::available()) {
        QSKIP("/usr/bin/python3 is not installed");
    }
    QList<SessionExport::Source> sources = trickySources();
    sources[0].info.omitted = 3;
    sources[1].info.dropped = 7;
    SessionExport::Options options = utcOptions();
    options.truncated = true;
    const QByteArray jsonl = SessionExport::toJsonl(sources, options);
    QVERIFY(jsonl.startsWith("{\"type\":\"header\",\"format\":\"vlm-session\",\"version\":1,"));
    QVERIFY(!jsonl.contains('\r'));

    // Python reads line by line; the hex goes through bytes.fromhex.
    QString error;
    const QByteArray out = writeAndRead(
        jsonl,
        QStringLiteral(
            "import json, sys\n"
            "data = open(sys.argv[1], 'rb').read()\n"
            "assert data.endswith(b'\\n') and not data.startswith(b'\\xef\\xbb\\xbf')\n"
            "rows = []\n"
            "for line in data.split(b'\\n')[:-1]:\n"
            "    row = json.loads(line.decode('utf-8'))\n"
            "    if 'hex' in row:\n"
            "        row['hex'] = bytes.fromhex(row['hex']).hex()\n"
            "    rows.append(row)\n"
            "print(json.dumps(rows))\n"),
        &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    const QJsonArray rows = QJsonDocument::fromJson(out).array();
    QCOMPARE(rows.size(), 9);

    const QJsonObject header = rows.at(0).toObject();
    QCOMPARE(header.value("appVersion").toString(), QStringLiteral("1.2.3"));
    QCOMPARE(header.value("exportedAt").toInteger(), 1700000000123456);
    QCOMPARE(header.value("truncated").toBool(), true);
    // Counts above 0 only, empty fields left out.
    const QJsonArray ports = header.value("ports").toArray();
    QCOMPARE(ports.at(0).toObject().keys(),
             QStringList({"id", "label", "mode", "omitted", "rxEncoding", "rxFormat", "settings",
                          "txEncoding", "txFormat"}));
    QCOMPARE(ports.at(1).toObject().keys(),
             QStringList({"dropped", "id", "label", "mode", "settings"}));
    QCOMPARE(ports.at(1).toObject().value("id").toString(), QStringLiteral("p\"2"));

    // The events in merged order (as the CSV test spells it out), with all they hold.
    QStringList got;
    for (qsizetype i = 1; i < rows.size(); ++i) {
        const QJsonObject row = rows.at(i).toObject();
        got.append(QStringLiteral("%1 %2 %3 %4 %5")
                       .arg(row.value("t").toInteger())
                       .arg(row.value("port").toString(), row.value("dir").toString(),
                            row.contains("peer") ? row.value("peer").toString() : "-",
                            row.contains("text") ? row.value("text").toString()
                                                 : QString::fromLatin1(QByteArray::fromHex(
                                                       row.value("hex").toString().toLatin1()))));
    }
    QCOMPARE(got, QStringList({"500 p\"2 tx - \u00C3\u00A9", "1000 p1 rx - =1+2\r\n",
                               "2000 p1 tx - -5 mV", "2000 p1 note - Opened, \"COM3\"",
                               "2000 p\"2 rx - \tab", "2000 p\"2 rx - +x", "2500 p\"2 rx - \rok",
                               "3000 p1 rx @host:1 " + QString::fromLatin1("\x00\xff,\"q\"", 6)}));
}

void TestSessionExport::textRowsAcrossAClockChange()
{
    // Berlin went from 02:00 CET to 03:00 CEST at 01:00 UTC on 2024-03-31.
    const qint64 change = 1711846800000000;
    SessionExport::Source source;
    source.info.label = QStringLiteral("COM3");
    source.info.mode = QStringLiteral("serial");
    source.events = {ev(SessionEvent::Rx, change - 1000, "a\n\x01"),
                     ev(SessionEvent::Tx, change, "\x10\xff", QStringLiteral("10.0.0.1:7")),
                     ev(SessionEvent::Note, change + 5000, {}, {},
                           QStringLiteral("Closed\nCOM3"))};
    SessionExport::Options options;
    options.timeZone = QTimeZone(QByteArrayLiteral("Europe/Berlin"));
    options.dataAs = 1;
    QCOMPARE(QString::fromUtf8(SessionExport::toText({source}, options)),
             QStringLiteral("# Velmora session export\n"
                            "# Ports:   COM3 (serial)\n"
                            "# Records: 3, 2024-03-31 01:59:59.999 to 2024-03-31 03:00:00.005\n"
                            "# Columns: time  port  direction  peer  data\n"
                            "2024-03-31 01:59:59.999  COM3  RX  -  a\\n\\x01\n"
                            "2024-03-31 03:00:00.000  COM3  TX  10.0.0.1:7  \\x10\\xFF\n"
                            "2024-03-31 03:00:00.005  COM3  --  -  Closed\\nCOM3\n"));
    options.dataAs = 0;
    QVERIFY(SessionExport::toText({source}, options).contains("COM3  RX  -  61 0A 01\n"));
}

void TestSessionExport::emptyExportHasItsHeaderOnly()
{
    SessionExport::Source source;
    source.info.label = QStringLiteral("COM3");
    source.info.mode = QStringLiteral("serial");
    QCOMPARE(SessionExport::toText({source}, utcOptions()),
             QByteArray("# Velmora 1.2.3 session export\n# Ports:   COM3 (serial)\n"
                        "# Records: 0\n# Columns: time  port  direction  peer  data\n"));
    QCOMPARE(SessionExport::toCsv({source}, utcOptions()).count("\r\n"), 1);
    QCOMPARE(SessionExport::toJsonl({source}, utcOptions()).count('\n'), 1);
}

void TestSessionExport::failedWriteIsReported()
{
    // A full disk: the first write that fails ends the export with the device's reason.
    QFile full(QStringLiteral("/dev/full"));
    if (!full.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        QSKIP("/dev/full cannot be opened here");
    }
    SessionExport::Source source;
    for (int i = 0; i < 100; ++i) {
        source.events.append(ev(SessionEvent::Rx, i * 2000, QByteArray(1000, 'x')));
    }
    SessionExportWriter writer(SessionExport::Format::Csv, &full, {source}, utcOptions());
    QCOMPARE(writer.rowsTotal(), 100);
    while (!writer.atEnd()) {
        writer.step(7);
    }
    QVERIFY(writer.failed());
    QVERIFY(!writer.errorString().isEmpty());
    QVERIFY(writer.rowsDone() < 100);
    QVERIFY(!writer.step(1));

    QFile closed;
    QVERIFY(!SessionExport::writeJsonl(&closed, {source}, utcOptions()));
}

QTEST_GUILESS_MAIN(TestSessionExport)
#include "tst_sessionexport.moc"
