#include "app/mainwindow.h"
#include "connection/connectioncontroller.h"
#include "connection/multiclientserver.h"
#include "plot/plotpanel.h"
#include "plot/plotview.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QMenu>
#include <QTableWidget>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <memory>

namespace {
constexpr int Timeout = 10000;

PlotConfig shown()
{
    PlotConfig config;
    config.visible = true;
    return config;
}

QByteArray lines(int from, int count)
{
    QByteArray out;
    for (int i = from; i < from + count; ++i) {
        out += QByteArray::number(i) + "\n";
    }
    return out;
}

// The columns of an image that hold a pixel near `color`, and the lowest row that does.
QList<int> columnsWith(const QImage &image, const QColor &color, int *topRow)
{
    QList<int> columns;
    *topRow = image.height();
    for (int x = 0; x < image.width(); ++x) {
        bool found = false;
        for (int y = 0; y < image.height(); ++y) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - color.red()) + std::abs(pixel.green() - color.green()) +
                    std::abs(pixel.blue() - color.blue()) <
                60) {
                found = true;
                *topRow = std::min(*topRow, y);
            }
        }
        if (found) {
            columns.append(x);
        }
    }
    return columns;
}
} // namespace

class TestPlotPanel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void rowsSpreadOverTheTimeSinceTheLastRow_data();
    void rowsSpreadOverTheTimeSinceTheLastRow();
    void pauseFreezesTheViewAndLosesNothing();
    void exportsCsvAndPng();
    void seventeenthClientSharesTheEmptySourceParser();
    void viewMenuShowsThePlotAndTheProjectKeepsIt();
    void paintKeepsSpikesGapsAndFlatLines_data();
    void paintKeepsSpikesGapsAndFlatLines();
    void mouseZoomsAndResets();
};

void TestPlotPanel::rowsSpreadOverTheTimeSinceTheLastRow_data()
{
    QTest::addColumn<double>("now");
    QTest::addColumn<double>("first");
    QTest::addColumn<double>("step");
    QTest::newRow("0.2 s after the last") << 1.2 << 1.02 << 0.02;
    QTest::newRow("after a 5 s pause") << 6.0 << 5.55 << 0.05;
    QTest::newRow("a clock that went back") << 0.5 << 1.0 << 0.0;
}

void TestPlotPanel::rowsSpreadOverTheTimeSinceTheLastRow()
{
    QFETCH(double, now);
    QFETCH(double, first);
    QFETCH(double, step);
    PlotPanel panel;
    panel.setConfig(shown());
    auto clock = std::make_shared<double>(1.0);
    panel.setTimeSource([clock] { return *clock; });
    panel.ingest("0\n", QString());
    QCOMPARE(panel.buffer().time(0), 1.0);
    *clock = now;
    panel.ingest(lines(1, 10), QString());
    QCOMPARE(panel.buffer().total(), qint64(11));
    for (int i = 0; i < 10; ++i) {
        QVERIFY2(std::abs(panel.buffer().time(1 + i) - (first + i * step)) < 1e-9,
                 qPrintable(QString::number(panel.buffer().time(1 + i))));
    }
    // A hidden plot takes nothing in.
    PlotConfig hidden = shown();
    hidden.visible = false;
    panel.setConfig(hidden);
    panel.ingest(lines(0, 5), QString());
    QCOMPARE(panel.buffer().total(), qint64(11));
}

void TestPlotPanel::pauseFreezesTheViewAndLosesNothing()
{
    PlotPanel panel;
    panel.setConfig(shown());
    panel.ingest(lines(0, 100), QString());
    panel.setPaused(true);
    panel.ingest(lines(100, 1000), QStringLiteral("10.0.0.2:5000"));
    qint64 first = 0;
    qint64 last = 0;
    QVERIFY(panel.view()->visibleRows(&first, &last));
    QCOMPARE(last, qint64(99));
    QVERIFY(panel.statusText().endsWith(QStringLiteral("paused")));
    panel.setPaused(false);
    QVERIFY(panel.view()->visibleRows(&first, &last));
    QCOMPARE(first, qint64(0));
    QCOMPARE(last, qint64(1099));
    for (qint64 i = 0; i < 1100; ++i) {
        QCOMPARE(panel.buffer().value(0, i), double(i));
    }
    panel.clear();
    QCOMPARE(panel.buffer().count(), 0);
    QVERIFY(!panel.view()->visibleRows(&first, &last));
}

void TestPlotPanel::exportsCsvAndPng()
{
    PlotPanel panel;
    panel.setConfig(shown());
    auto clock = std::make_shared<double>(2.0);
    panel.setTimeSource([clock] { return *clock; });
    // A device that names a channel like a spreadsheet formula.
    panel.ingest("=HYPERLINK(\"http://x.example\"):3.14159265358979 b:1e-20\n", QString());
    *clock = 2.25;
    panel.ingest("b:2\n", QString());
    // The user's name for a channel goes out as well.
    auto *table = panel.findChild<QTableWidget *>(QStringLiteral("plotStats"));
    panel.refreshStats();
    QCOMPARE(table->rowCount(), 2);
    table->item(1, 0)->setText(QStringLiteral("power \"W\""));
    QCOMPARE(panel.config().channelNames.value(1), QStringLiteral("power \"W\""));

    QTemporaryDir dir;
    const QString csv = dir.filePath(QStringLiteral("plot.csv"));
    QString error;
    QVERIFY2(panel.exportCsv(csv, &error), qPrintable(error));
    QFile file(csv);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(),
             QByteArray("sample,time_s,\"'=HYPERLINK(\"\"http://x.example\"\")\",\"power \"\"W\"\"\"\n"
                        "0,2.000000,3.141592654,1e-20\n"
                        "1,2.250000,,2\n"));
    QVERIFY(panel.exportPng(dir.filePath(QStringLiteral("plot.png")), &error));
    QVERIFY(QFileInfo(dir.filePath(QStringLiteral("plot.png"))).size() > 0);

    const QString nowhere = dir.filePath(QStringLiteral("missing/plot.csv"));
    QVERIFY(!panel.exportCsv(nowhere, &error));
    QVERIFY2(error.startsWith(QStringLiteral("Could not write ")) && error.contains(QStringLiteral(": ")),
             qPrintable(error));
    QVERIFY(!panel.exportPng(dir.filePath(QStringLiteral("missing/plot.png")), &error));
    QVERIFY2(error.endsWith(QLatin1Char('.')), qPrintable(error));
    QCOMPARE(PlotPanel::suggestedFileName(QStringLiteral("csv"),
                                          QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7))),
             QStringLiteral("plot-20260304-050607.csv"));
}

void TestPlotPanel::seventeenthClientSharesTheEmptySourceParser()
{
    SerialPortWidget port;
    Settings settings;
    settings.connMode = ModeTcpServer;
    settings.targetPort = 0;
    port.applySettings(settings);
    port.setPlotConfig(shown());
    QVERIFY(port.start(QString()));
    const quint16 serverPort = port.connectionController()->server()->serverPort();
    std::vector<std::unique_ptr<QTcpSocket>> clients;
    for (int i = 0; i < 17; ++i) {
        clients.push_back(std::make_unique<QTcpSocket>());
        clients.back()->connectToHost(QHostAddress::LocalHost, serverPort);
        QVERIFY(clients.back()->waitForConnected(Timeout));
    }
    QTRY_COMPARE_WITH_TIMEOUT(port.connectedPeers().size(), 17, Timeout);
    const PlotPanel *plot = port.plotPanel();
    for (int i = 0; i < 17; ++i) {
        clients.at(size_t(i))->write(QByteArray::number(i) + "\n");
        QTRY_COMPARE_WITH_TIMEOUT(plot->buffer().total(), qint64(i + 1), Timeout);
    }
    QCOMPARE(plot->parserCount(), 17);
    const QTcpSocket &last = *clients.back();
    QVERIFY(!plot->parser(MultiClientServer::peerKeyFor(last.localAddress(), last.localPort())));
    QVERIFY(plot->parser(QString()));
    QCOMPARE(plot->parser(QString())->goodCount(), 1);
    QCOMPARE(plot->buffer().value(0, 16), 16.0);
    port.stop();
}

void TestPlotPanel::viewMenuShowsThePlotAndTheProjectKeepsIt()
{
    QTemporaryDir dir;
    const QString project = dir.filePath(QStringLiteral("bench.vlm"));
    PlotConfig expected;
    {
        MainWindow window;
        window.setPortCount(2);
        window.updateGrid();
        SerialPortWidget *port = window.portWidget(1);
        QAction *plotAction = port->viewMenu()->findChild<QAction *>(QStringLiteral("acViewPlot"));
        QVERIFY(plotAction);
        QSignalSpy visibility(port, &SerialPortWidget::plotVisibilityChanged);
        window.setWindowModified(false);
        plotAction->trigger();
        QVERIFY(port->plotConfig().visible);
        QCOMPARE(visibility.size(), 1);
        QVERIFY(window.isWindowModified());

        // Popped out it has a window of its own; closing that window docks it again.
        PlotPanel *plot = port->plotPanel();
        QWidget *dock = plot->parentWidget();
        plot->setPoppedOut(true);
        QCOMPARE(plot->window()->windowTitle(), "Plot - " + port->sessionPortLabel());
        plot->window()->close();
        QVERIFY(!plot->isPoppedOut());
        QCOMPARE(plot->parentWidget(), dock);
        QVERIFY(!plot->isHidden());

        // Received bytes reach the plot; a stopped port ends the partial line.
        port->ingestRx("temp:1\ntemp:2", false, QString());
        port->stop();
        port->ingestRx("5\n", false, QString());
        QCOMPARE(port->plotPanel()->buffer().total(), qint64(2));

        expected = port->plotConfig();
        expected.format = PlotFormat::Regex;
        expected.regex = QStringLiteral("v=(\\d+)");
        expected.channelNames = {QStringLiteral("volts")};
        expected.hiddenChannels = {2};
        port->plotPanel()->changeConfig(expected);
        QVERIFY(window.writeSettingFile(project, false));

        // The panel's Close hides it and unticks the menu.
        Q_EMIT port->plotPanel()->closeRequested();
        QVERIFY(!plotAction->isChecked());
        QVERIFY(!port->plotConfig().visible);
    }
    MainWindow reopened;
    QVERIFY(reopened.readSettingFile(project));
    QCOMPARE(reopened.portWidget(1)->plotConfig(), expected);
    QCOMPARE(reopened.portWidget(0)->plotConfig(), PlotConfig());
    QVERIFY(reopened.portWidget(1)->viewMenu()->findChild<QAction *>("acViewPlot")->isChecked());
}

void TestPlotPanel::paintKeepsSpikesGapsAndFlatLines_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("count");
    QTest::newRow("one-sample spike among 100000") << 0 << 100000;
    QTest::newRow("NaN gap in the middle, drawn per column") << 1 << 3000;
    QTest::newRow("NaN gap in the middle, drawn as a polyline") << 1 << 300;
    QTest::newRow("flat line") << 2 << 3000;
}

void TestPlotPanel::paintKeepsSpikesGapsAndFlatLines()
{
    QFETCH(int, kind);
    QFETCH(int, count);
    PlotBuffer buffer;
    for (int i = 0; i < count; ++i) {
        double value = kind == 2 ? 5.0 : 0.0;
        if (kind == 0 && i == 54321) {
            value = 100.0;
        }
        if (kind == 1 && i >= count / 3 && i < 2 * count / 3) {
            value = qQNaN();
        }
        buffer.append(i * 0.01, {value});
    }
    PlotView view;
    view.resize(800, 300);
    view.setBuffer(&buffer);
    int top = 0;
    const QList<int> columns =
        columnsWith(view.grab().toImage(), PlotView::channelColor(0), &top);
    QVERIFY(!columns.isEmpty());
    if (kind == 0) {
        QVERIFY2(top < 60, qPrintable(QString::number(top))); // the spike reaches the top
    } else if (kind == 1) {
        int widestGap = 0;
        for (qsizetype i = 1; i < columns.size(); ++i) {
            widestGap = std::max(widestGap, columns.at(i) - columns.at(i - 1));
        }
        const int span = columns.constLast() - columns.constFirst();
        QVERIFY2(widestGap > span / 4 && widestGap < span / 2, qPrintable(QString::number(widestGap)));
    } else {
        QVERIFY(columns.size() > 600);
        QVERIFY(view.shownYMin() < 5.0 && view.shownYMax() > 5.0);
    }
}

void TestPlotPanel::mouseZoomsAndResets()
{
    PlotPanel panel;
    panel.setConfig(shown());
    panel.resize(900, 400);
    panel.ingest(lines(0, 2000), QString());
    PlotView *view = panel.view();
    const QPoint middle(view->width() / 2, view->height() / 2);
    const auto wheel = [&](int angle, Qt::KeyboardModifiers modifiers) {
        QWheelEvent event(middle, view->mapToGlobal(middle), QPoint(), QPoint(0, angle),
                          Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(view, &event);
    };
    QSignalSpy changed(&panel, &PlotPanel::configChanged);
    wheel(120, Qt::NoModifier); // one notch in: 80 % of the 1999 samples in view
    QCOMPARE(panel.config().window, 1599);
    wheel(-240, Qt::NoModifier);
    QCOMPARE(panel.config().window, 2498);
    view->grab();
    const double shownRange = view->shownYMax() - view->shownYMin();
    wheel(120, Qt::ControlModifier); // a fixed range, 80 % of what was shown
    QVERIFY(!panel.config().autoScale);
    QCOMPARE(panel.config().yMax - panel.config().yMin, shownRange * 0.8);
    QTest::mouseDClick(view, Qt::LeftButton, Qt::NoModifier, middle);
    QVERIFY(panel.config().autoScale);
    QCOMPARE(changed.size(), 4);
}

QTEST_MAIN(TestPlotPanel)
#include "tst_plotpanel.moc"
