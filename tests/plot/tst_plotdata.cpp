#include "plot/plotbuffer.h"
#include "plot/plotcodec.h"
#include "plot/plotexport.h"

#include <QBuffer>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

class TestPlotData : public QObject
{
    Q_OBJECT
private slots:
    void ringKeepsTheNewestAndTheirNumbers();
    void lateChannelIsAGapAndOutOfTheStatistics();
    void statisticsStayPreciseFarFromZero();
    void codecRoundTripsAndClamps();
    void csvNeutralizesFormulas_data();
    void csvNeutralizesFormulas();
    void csvRows();
};

void TestPlotData::ringKeepsTheNewestAndTheirNumbers()
{
    PlotBuffer buffer;
    for (int i = 0; i <= PlotBuffer::DefaultCapacity; ++i) {
        buffer.append(i * 0.001, {double(i)});
    }
    QCOMPARE(buffer.count(), 100000);
    QCOMPARE(buffer.total(), qint64(100001));
    QCOMPARE(buffer.firstSample(), qint64(1));
    QVERIFY(std::isnan(buffer.value(0, 0)));
    QCOMPARE(buffer.value(0, 1), 1.0);
    QCOMPARE(buffer.value(0, 100000), 100000.0);
    QVERIFY(std::isnan(buffer.value(0, 100001)));
    // The search by time runs across the seam of the ring.
    QCOMPARE(buffer.lowerBoundTime(0.0), qint64(1));
    QCOMPARE(buffer.lowerBoundTime(99.9995), qint64(100000));
    QCOMPARE(buffer.lowerBoundTime(500.0), qint64(100001));
    const PlotStats all = buffer.stats(0, -5, 1000000);
    QCOMPARE(all.count, 100000);
    QCOMPARE(all.min, 1.0);
    QCOMPARE(all.last, 100000.0);
    buffer.clear();
    QCOMPARE(buffer.count(), 0);
    QCOMPARE(buffer.stats(0, 0, 10).count, 0);
}

void TestPlotData::lateChannelIsAGapAndOutOfTheStatistics()
{
    PlotBuffer buffer(64);
    for (int i = 0; i < 100; ++i) {
        buffer.append(i, i < 50 ? QList<double>{1.0} : QList<double>{1.0, double(i)});
    }
    QCOMPARE(buffer.channelCount(), 2);
    QVERIFY(std::isnan(buffer.value(1, 49)));
    QCOMPARE(buffer.value(1, 50), 50.0);
    const PlotStats late = buffer.stats(1, 36, 99);
    QCOMPARE(late.count, 50);
    QCOMPARE(late.min, 50.0);
    QCOMPARE(late.mean, 74.5);
    // A row shorter than the columns leaves NaN in the rest.
    buffer.append(100, {2.0});
    QVERIFY(std::isnan(buffer.value(1, 100)));
    QCOMPARE(buffer.stats(1, 0, 100).last, 99.0);
}

void TestPlotData::statisticsStayPreciseFarFromZero()
{
    PlotBuffer buffer(16);
    const double values[] = {2, 4, 4, 4, 5, 5, 7, 9, qQNaN(), qInf()};
    for (const double v : values) {
        buffer.append(0.0, {1e9 + v});
    }
    const PlotStats stats = buffer.stats(0, 0, 9);
    QCOMPARE(stats.count, 8);
    QCOMPARE(stats.mean, 1e9 + 5);
    // A sum of squares would lose every digit here; the running form keeps eight.
    QVERIFY2(std::abs(stats.stdDev - 2.0) < 1e-6, qPrintable(QString::number(stats.stdDev)));
    QCOMPARE(stats.max - stats.min, 7.0);
    QCOMPARE(stats.last, 1e9 + 9);
}

void TestPlotData::codecRoundTripsAndClamps()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("p.vlm"));
    PlotConfig config;
    config.visible = true;
    config.format = PlotFormat::Regex;
    config.regex = QStringLiteral("T=(\\S+), H=(\\S+)");
    config.xAxis = PlotXAxis::Time;
    config.window = 30000;
    config.autoScale = false;
    config.yMin = -2.5;
    config.yMax = 1e6;
    config.channelNames = {QStringLiteral("a, \"b\""), QString(), QStringLiteral("c")};
    config.hiddenChannels = {1, 4};
    {
        QSettings settings(path, QSettings::IniFormat);
        PlotCodec::save(settings, QStringLiteral("0/Plot"), config);
        // A shorter set-up leaves nothing of the longer one behind.
        PlotCodec::save(settings, QStringLiteral("1/Plot"), config);
        PlotCodec::save(settings, QStringLiteral("1/Plot"), PlotConfig());
    }
    {
        QSettings settings(path, QSettings::IniFormat);
        QCOMPARE(PlotCodec::load(settings, QStringLiteral("0/Plot")), config);
        QCOMPARE(PlotCodec::load(settings, QStringLiteral("1/Plot")), PlotConfig());
        QCOMPARE(PlotCodec::load(settings, QStringLiteral("9/Plot")), PlotConfig());
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write("[2]\nPlot\\Visible=yes please\nPlot\\Format=7\nPlot\\XAxis=-1\n"
               "Plot\\Window=99999999999\nPlot\\YMin=nan\nPlot\\YMax=inf\n"
               "Plot\\HiddenChannels=3, x, 40, 3, -1\n");
    file.close();
    QSettings settings(path, QSettings::IniFormat);
    const PlotConfig odd = PlotCodec::load(settings, QStringLiteral("2/Plot"));
    QCOMPARE(odd.visible, false);
    QCOMPARE(odd.format, PlotFormat::Regex);
    QCOMPARE(odd.xAxis, PlotXAxis::Samples);
    QCOMPARE(odd.window, PlotConfig::MaxWindow);
    QCOMPARE(odd.yMin, PlotConfig().yMin);
    QCOMPARE(odd.yMax, PlotConfig().yMax);
    QCOMPARE(odd.hiddenChannels, QList<int>{3});
}

void TestPlotData::csvNeutralizesFormulas_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("cell");
    QTest::newRow("hyperlink") << QStringLiteral("=HYPERLINK(\"http://x.example/?q\";\"hi\")")
                               << QByteArray("\"'=HYPERLINK(\"\"http://x.example/?q\"\";\"\"hi\"\")\"");
    QTest::newRow("plus") << QStringLiteral("+1") << QByteArray("\"'+1\"");
    QTest::newRow("minus") << QStringLiteral("-cmd") << QByteArray("\"'-cmd\"");
    QTest::newRow("at") << QStringLiteral("@SUM(A1)") << QByteArray("\"'@SUM(A1)\"");
    QTest::newRow("tab") << QStringLiteral("\tx") << QByteArray("\"'\tx\"");
    QTest::newRow("carriage return") << QStringLiteral("\rx") << QByteArray("\"'\rx\"");
    QTest::newRow("plain") << QStringLiteral("temp °C") << QByteArray("\"temp °C\"");
    QTest::newRow("unnamed") << QString() << QByteArray("\"CH1\"");
}

void TestPlotData::csvNeutralizesFormulas()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, cell);
    QCOMPARE(PlotExport::csvHeader({name}, 1), "sample,time_s," + cell + "\n");
}

void TestPlotData::csvRows()
{
    PlotBuffer buffer(8);
    buffer.append(0.5, {3.14159265358979, 1e-20});
    buffer.append(0.75, {qQNaN(), 2.0});
    buffer.append(1.0, {123456789012.0});
    buffer.append(1.25, {-0.1});
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    QVERIFY(PlotExport::writeCsv(&out, buffer, {QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(out.data(), QByteArray("sample,time_s,\"a\",\"b\"\n"
                                    "0,0.500000,3.141592654,1e-20\n"
                                    "1,0.750000,,2\n"
                                    "2,1.000000,1.23456789e+11,\n"
                                    "3,1.250000,-0.1,\n"));
}

QTEST_GUILESS_MAIN(TestPlotData)
#include "tst_plotdata.moc"
