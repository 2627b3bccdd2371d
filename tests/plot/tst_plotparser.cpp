#include "plot/plotparser.h"

#include <QtEndian>
#include <QtTest>

#include <cmath>

namespace {

using Rows = PlotParser::Rows;

// "1.5 -0.2 3; nan 41": rows split at ";", values at blanks.
Rows rowsOf(const QString &text)
{
    Rows rows;
    for (const QString &row : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        PlotParser::Row values;
        for (const QString &value : row.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            values.append(value == QLatin1String("nan") ? qQNaN() : value.toDouble());
        }
        rows.append(values);
    }
    return rows;
}

QString textOf(const Rows &rows)
{
    QStringList out;
    for (const PlotParser::Row &row : rows) {
        QStringList values;
        for (const double v : row) {
            values.append(std::isnan(v) ? QStringLiteral("nan") : QString::number(v, 'g', 17));
        }
        out.append(values.join(QLatin1Char(' ')));
    }
    return out.join(QStringLiteral("; "));
}

QByteArray floats(const QList<float> &values, bool tail = true)
{
    QByteArray out;
    for (const float v : values) {
        char bytes[4];
        qToLittleEndian(v, bytes);
        out.append(bytes, 4);
    }
    return tail ? out + QByteArray::fromHex("0000807f") : out;
}

struct Outcome
{
    Rows rows;
    QStringList channels;
    qint64 bad = 0;
    qint64 good = 0;
};

Outcome run(PlotFormat format, const QString &regex, const QList<QByteArray> &chunks)
{
    PlotParser parser;
    parser.setFormat(format);
    parser.setRegex(regex);
    Outcome outcome;
    for (const QByteArray &chunk : chunks) {
        parser.feed(chunk, outcome.rows);
    }
    outcome.channels = parser.channels();
    outcome.bad = parser.badCount();
    outcome.good = parser.goodCount();
    return outcome;
}

} // namespace

class TestPlotParser : public QObject
{
    Q_OBJECT
private slots:
    void sameOutcomeWholeAndAtEverySplit_data();
    void sameOutcomeWholeAndAtEverySplit();
    void expressionAndFormatChangesResetChannels();
    void resetEndsThePartialLineAndTheSync();
};

void TestPlotParser::sameOutcomeWholeAndAtEverySplit_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("regex");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QStringList>("channels");
    QTest::addColumn<qint64>("bad");

    const int text = int(PlotFormat::Text);
    const int regex = int(PlotFormat::Regex);
    const int justFloat = int(PlotFormat::JustFloat);
    const QStringList three = {QString(), QString(), QString()};

    QTest::newRow("csv") << text << QString() << QByteArray("1.5,-0.2,3\n") << "1.5 -0.2 3"
                         << three << qint64(0);
    QTest::newRow("pairs, then one of them")
        << text << QString() << QByteArray("temp:21.5 hum:40\nhum:41\n") << "21.5 40; nan 41"
        << QStringList{"temp", "hum"} << qint64(0);
    QTest::newRow("labelled list") << text << QString() << QByteArray("data:1,2,3\n") << "1 2 3"
                                   << three << qint64(0);
    QTest::newRow("labelled list, blanks after commas")
        << text << QString() << QByteArray("data:1, 2; 3\r\n") << "1 2 3" << three << qint64(0);
    QTest::newRow("labelled value beside a bare one")
        << text << QString() << QByteArray("temp:21.5 4\n") << "" << QStringList() << qint64(1);
    QTest::newRow("label on a later token")
        << text << QString() << QByteArray("4,temp:21.5\n") << "" << QStringList() << qint64(1);
    QTest::newRow("list with a blank gap")
        << text << QString() << QByteArray("data:1,2 3\n") << "" << QStringList() << qint64(1);
    QTest::newRow("assignment") << text << QString() << QByteArray("value = 3\n") << ""
                                << QStringList() << qint64(1);
    QTest::newRow("times, numeric labels, empty values")
        << text << QString() << QByteArray("12:34:56\n1e5:3\nname:\nnan:4\n") << ""
        << QStringList() << qint64(4);
    QTest::newRow("a word in the line")
        << text << QString() << QByteArray("1 2 ok\n") << "" << QStringList() << qint64(1);
    QTest::newRow("blanks round a colon, repeated label")
        << text << QString() << QByteArray("temp : 21.5\ttemp:\t22\n") << "22"
        << QStringList{"temp"} << qint64(0);
    QByteArray forty;
    for (int i = 1; i <= 40; ++i) {
        forty += QByteArray::number(i) + (i < 40 ? " " : "\n");
    }
    QString firstThirtyTwo;
    for (int i = 1; i <= 32; ++i) {
        firstThirtyTwo += QString::number(i) + QLatin1Char(' ');
    }
    QTest::newRow("40 numbers") << text << QString() << forty << firstThirtyTwo
                                << QStringList(32, QString()) << qint64(0);
    QByteArray manyLabels;
    QStringList labelNames;
    for (int i = 0; i < 33; ++i) {
        manyLabels += "c" + QByteArray::number(i) + ":1 ";
        labelNames.append(QStringLiteral("c%1").arg(i));
    }
    QTest::newRow("33rd label finds no channel")
        << text << QString() << manyLabels + "\n" << QString("1 ").repeated(32)
        << labelNames.mid(0, 32) << qint64(0);
    QTest::newRow("CR LF and blank lines count nothing")
        << text << QString() << QByteArray("1,2\r\n\r\n  \n") << "1 2"
        << QStringList{QString(), QString()} << qint64(0);
    QTest::newRow("5000 bytes without an end, then a line")
        << text << QString() << QByteArray(5000, '1') + "\n7\n" << "7" << QStringList{QString()}
        << qint64(1);
    QTest::newRow("4096 bytes is still a line, 4097 are not")
        << text << QString()
        << QByteArray("1,").repeated(2048) + "\n" + QByteArray("1,").repeated(2048) + "1\n"
        << QString("1 ").repeated(32) << QStringList(32, QString()) << qint64(1);

    QTest::newRow("regex groups")
        << regex << QString("T=(\\S+) H=(\\S+)") << QByteArray("T=21.5 H=x\nnoise\n")
        << "21.5 nan" << QStringList{QString(), QString()} << qint64(1);
    QTest::newRow("regex named and unnamed groups")
        << regex << QString("(?<volts>[\\d.]+)V (\\d+)mA") << QByteArray("3.3V 120mA\n")
        << "120 3.3" << QStringList{QString(), "volts"} << qint64(0);
    QTest::newRow("regex without groups")
        << regex << QString("-?\\d+(?:\\.\\d+)?|x") << QByteArray("a 1 b -2.5 x\nnothing\n")
        << "1 -2.5 nan" << three << qint64(1);
    QTest::newRow("invalid regex refuses every line")
        << regex << QString("(") << QByteArray("1\n") << "" << QStringList() << qint64(1);

    const QByteArray sync = floats({9.0f});
    QTest::newRow("JustFloat: the first tail only syncs")
        << justFloat << QString() << sync + floats({1.0f, 2.0f}) << "1 2"
        << QStringList{QString(), QString()} << qint64(0);
    // 01 02 00 00 | 80 7F 00 40: the tail's bytes straddle two floats.
    const QByteArray straddling = QByteArray::fromHex("010200 00807f0040 0000807f");
    float a = 0;
    float b = 0;
    std::memcpy(&a, straddling.constData(), 4);
    std::memcpy(&b, straddling.constData() + 4, 4);
    QTest::newRow("JustFloat: a tail inside the floats")
        << justFloat << QString() << sync + straddling
        << QString("%1 %2").arg(double(a), 0, 'g', 17).arg(double(b), 0, 'g', 17)
        << QStringList{QString(), QString()} << qint64(0);
    QList<float> thirtyTwo;
    QString thirtyTwoText;
    for (int i = 0; i < 32; ++i) {
        thirtyTwo.append(float(i) / 4.0f);
        thirtyTwoText += QString::number(i / 4.0) + QLatin1Char(' ');
    }
    QTest::newRow("JustFloat: 32 floats") << justFloat << QString() << sync + floats(thirtyTwo)
                                          << thirtyTwoText << QStringList(32, QString())
                                          << qint64(0);
    QTest::newRow("JustFloat: 33 floats are a bad frame")
        << justFloat << QString() << sync + floats(thirtyTwo + QList<float>{1.0f}) << ""
        << QStringList() << qint64(1);
    QTest::newRow("JustFloat: an empty frame")
        << justFloat << QString() << sync + floats({}) + floats({5.0f}) << "5"
        << QStringList{QString()} << qint64(1);
}

// Every case comes out the same fed whole, cut in two at any byte, or byte by byte.
void TestPlotParser::sameOutcomeWholeAndAtEverySplit()
{
    QFETCH(int, format);
    QFETCH(QString, regex);
    QFETCH(QByteArray, input);
    QFETCH(QString, rows);
    QFETCH(QStringList, channels);
    QFETCH(qint64, bad);

    const QString expected = textOf(rowsOf(rows));
    const auto check = [&](const QList<QByteArray> &chunks, const QString &how) {
        const Outcome outcome = run(PlotFormat(format), regex, chunks);
        QVERIFY2(textOf(outcome.rows) == expected, qPrintable(how + ": " + textOf(outcome.rows)));
        QVERIFY2(outcome.channels == channels, qPrintable(how));
        QVERIFY2(outcome.bad == bad, qPrintable(how + ": bad " + QString::number(outcome.bad)));
        QVERIFY2(outcome.good == outcome.rows.size(), qPrintable(how));
    };
    check({input}, QStringLiteral("whole"));
    for (qsizetype cut = 1; cut < input.size(); ++cut) {
        check({input.left(cut), input.mid(cut)}, QStringLiteral("cut at %1").arg(cut));
    }
    QList<QByteArray> bytes;
    for (const char c : std::as_const(input)) {
        bytes.append(QByteArray(1, c));
    }
    check(bytes, QStringLiteral("byte by byte"));
}

void TestPlotParser::expressionAndFormatChangesResetChannels()
{
    PlotParser parser;
    parser.setFormat(PlotFormat::Regex);
    QVERIFY(parser.setRegex(QStringLiteral("a=(\\d+)")));
    Rows rows;
    parser.feed("a=1\nb\n", rows);
    QCOMPARE(parser.channels().size(), 1);
    const int generation = parser.generation();

    // The same pattern again keeps everything.
    QVERIFY(parser.setRegex(QStringLiteral("a=(\\d+)")));
    QCOMPARE(parser.generation(), generation);
    QCOMPARE(parser.badCount(), 1);

    // An invalid one says why and refuses lines; an empty one clears the error.
    QVERIFY(!parser.setRegex(QStringLiteral("a=(")));
    QVERIFY(!parser.regexError().isEmpty());
    parser.feed("a=2\n", rows);
    QCOMPARE(rows.size(), 1);
    QVERIFY(!parser.setRegex(QString()));
    QVERIFY(parser.regexError().isEmpty());
    QVERIFY(parser.channels().isEmpty());
    QVERIFY(parser.generation() > generation);

    // A new valid pattern and a new format each start the channels afresh.
    QVERIFY(parser.setRegex(QStringLiteral("(?<x>\\d+)")));
    parser.feed("5\n", rows);
    QCOMPARE(parser.channels(), QStringList{QStringLiteral("x")});
    parser.setFormat(PlotFormat::Text);
    QVERIFY(parser.channels().isEmpty());
    QCOMPARE(parser.goodCount(), 0);
}

void TestPlotParser::resetEndsThePartialLineAndTheSync()
{
    PlotParser parser;
    Rows rows;
    parser.feed("1,2", rows);
    parser.reset();
    parser.feed("3\n", rows);
    QCOMPARE(textOf(rows), QStringLiteral("3"));
    QCOMPARE(parser.channels().size(), 1);

    // After a reset the next tail may end a frame cut in two: it only syncs.
    parser.setFormat(PlotFormat::JustFloat);
    rows.clear();
    parser.feed(floats({1.0f}) + floats({2.0f}, false), rows);
    QCOMPARE(textOf(rows), QStringLiteral(""));
    parser.reset();
    parser.feed(floats({3.0f, 5.0f}).mid(4) + floats({4.0f}), rows);
    QCOMPARE(textOf(rows), QStringLiteral("4"));
}

QTEST_GUILESS_MAIN(TestPlotParser)
#include "tst_plotparser.moc"
