// The live plot's costs: parsing received bytes into rows (8-channel CSV lines, labelled
// lines, 32-float JustFloat frames), painting 100000 rows of 32 channels at 1920 pixels,
// and the statistics refresh that runs every eighth repaint tick. The anchors, measured
// in the same run: reading the same numbers with std::from_chars and nothing else (the
// floor of any text parser), and drawing every sample as a polyline (what a paint would
// cost without the per-column decimation).

#include "plot/plotbuffer.h"
#include "plot/plotpanel.h"
#include "plot/plotparser.h"
#include "plot/plotview.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QtEndian>

#include <charconv>
#include <cmath>

namespace {

constexpr qsizetype StreamBytes = 1 << 20;
constexpr qsizetype ChunkBytes = 4096; // what one read of a busy port brings
constexpr int Rows = 100000;
constexpr int Channels = 32;
constexpr int ViewWidth = 1920;
constexpr int ViewHeight = 600;

QByteArray csvStream(bool labelled)
{
    QByteArray stream;
    QRandomGenerator random(1);
    while (stream.size() < StreamBytes) {
        for (int c = 0; c < 8; ++c) {
            if (labelled) {
                stream += "ch" + QByteArray::number(c) + ':';
            }
            stream += QByteArray::number(random.bounded(2000.0) - 1000.0, 'f', 4);
            stream += c < 7 ? (labelled ? " " : ",") : "\r\n";
        }
    }
    return stream;
}

QByteArray justFloatStream()
{
    QByteArray stream;
    QRandomGenerator random(2);
    while (stream.size() < StreamBytes) {
        for (int c = 0; c < Channels; ++c) {
            char bytes[4];
            qToLittleEndian(float(random.bounded(100.0)), bytes);
            stream.append(bytes, 4);
        }
        stream += QByteArray::fromHex("0000807f");
    }
    return stream;
}

void feedChunks(PlotParser &parser, const QByteArray &stream, PlotParser::Rows &rows)
{
    for (qsizetype at = 0; at < stream.size(); at += ChunkBytes) {
        parser.feed(stream.mid(at, ChunkBytes), rows);
    }
}

void BM_Parse(benchmark::State &state)
{
    const int kind = int(state.range(0)); // 0 CSV, 1 labelled, 2 JustFloat
    const QByteArray stream = kind == 2 ? justFloatStream() : csvStream(kind == 1);
    PlotParser parser;
    parser.setFormat(kind == 2 ? PlotFormat::JustFloat : PlotFormat::Text);
    qint64 rows = 0;
    for (auto _ : state) {
        PlotParser::Rows out;
        feedChunks(parser, stream, out);
        rows += out.size();
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(qint64(state.iterations()) * stream.size());
    state.counters["rows_per_s"] = benchmark::Counter(double(rows), benchmark::Counter::kIsRate);
    state.counters["bad"] = double(parser.badCount());
}

// The floor: the same CSV numbers found and converted, no rows, no checks.
void BM_FromCharsAnchor(benchmark::State &state)
{
    const QByteArray stream = csvStream(false);
    for (auto _ : state) {
        double sum = 0.0;
        const char *p = stream.constData();
        const char *end = p + stream.size();
        while (p < end) {
            double value = 0.0;
            const auto result = std::from_chars(p, end, value);
            sum += value;
            p = result.ptr + 1;
            while (p < end && (*p == '\r' || *p == '\n' || *p == ',')) {
                ++p;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(qint64(state.iterations()) * stream.size());
}

// 32 channels: `busy` ones swing through their whole range within every pixel column
// at 1920 pixels (each column then lights most of its height), the others are slow
// waves with a little noise, as sensors print them.
PlotBuffer &fullBuffer(int rows, bool busy)
{
    static PlotBuffer buffer;
    static int filledRows = -1;
    static bool filledBusy = false;
    if (filledRows != rows || filledBusy != busy) {
        buffer.clear();
        QRandomGenerator random(3);
        for (int i = 0; i < rows; ++i) {
            QList<double> values(Channels);
            for (int c = 0; c < Channels; ++c) {
                const double rate = busy ? 0.001 * (c + 1) : 0.00005 * (1 + c % 4);
                values[c] = std::sin(i * rate + c) * (c + 1) + random.bounded(busy ? 0.5 : 0.2);
            }
            buffer.append(i * 0.0005, values);
        }
        filledRows = rows;
        filledBusy = busy;
    }
    return buffer;
}

// One paint of the view at 1920 pixels, the window at "All".
void BM_Paint(benchmark::State &state)
{
    const PlotBuffer &buffer = fullBuffer(int(state.range(0)), state.range(2) != 0);
    PlotView view;
    view.resize(ViewWidth, ViewHeight);
    view.setBuffer(&buffer);
    view.setXAxis(PlotXAxis(state.range(1)));
    QImage image(view.size(), QImage::Format_RGB32); // as a window's backing store
    for (auto _ : state) {
        view.render(&image);
    }
}

// The yardstick: every sample of every channel as one long polyline.
void BM_PaintEverySampleAnchor(benchmark::State &state)
{
    const PlotBuffer &buffer = fullBuffer(Rows, false);
    QImage image(ViewWidth, ViewHeight, QImage::Format_RGB32);
    QPolygonF points(Rows);
    for (auto _ : state) {
        image.fill(Qt::white);
        QPainter painter(&image);
        for (int c = 0; c < Channels; ++c) {
            painter.setPen(QPen(PlotView::channelColor(c), 1.5));
            for (int i = 0; i < Rows; ++i) {
                points[i] = QPointF(i * double(ViewWidth) / Rows,
                                    ViewHeight / 2.0 - buffer.value(c, i) * 8.0);
            }
            painter.drawPolyline(points);
        }
    }
}

// What every eighth repaint tick adds: the status line and the statistics of 32
// channels over the 100000 samples in view.
void BM_StatsRefresh(benchmark::State &state)
{
    PlotPanel panel;
    PlotConfig config;
    config.visible = true;
    panel.setConfig(config);
    QByteArray line;
    for (int i = 0; i < Rows; ++i) {
        line.clear();
        for (int c = 0; c < Channels; ++c) {
            line += QByteArray::number((i * (c + 1)) % 1000) + (c + 1 < Channels ? "," : "\n");
        }
        panel.ingest(line, QString());
    }
    for (auto _ : state) {
        panel.refreshStats();
    }
    state.counters["rows"] = double(panel.buffer().count());
}

} // namespace

BENCHMARK(BM_Parse)->ArgName("kind")->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromCharsAnchor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Paint)
    ->ArgNames({"rows", "time_axis", "busy"})
    ->Args({Rows, 0, 0})
    ->Args({Rows, 1, 0})
    ->Args({Rows, 0, 1})
    ->Args({1000, 0, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PaintEverySampleAnchor)->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StatsRefresh)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
