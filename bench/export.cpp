// Session export and the ZIP writer, and find in the receive view.
//
// Exports: 100 MB of payload in session events of 1 KiB and of 32 bytes (four ports,
// received and sent, a peer on some), written as JSON Lines, CSV (escaped and decoded
// text column) and text into a device that counts and drops the bytes. MB/s counts the
// payload. The anchor is QByteArray::toHex over the same payload: every export writes
// each byte as hex at least once.
//
// ZipWriter: entries of 4 MiB (log text that deflates, and random bytes that are stored)
// up to 128 MiB and 512 MiB in all, into a counting device: MB/s, and the peak RSS
// (VmHWM after a reset through /proc/self/clear_refs) beside where RSS stood before;
// run each case in a process of its own (--benchmark_filter) for a clean peak. The
// anchor is zlib's own raw deflate at level 6 over the same entries, one call each.
//
// Find: a 10 M-character receive view (lines of 64 characters, a marker on one line in
// a thousand) in a plain text view. A new needle (a full pass), the pass after a line
// came in (only the last lines), and the filter switched on; the anchor is the walk of
// QTextDocument::find over the same view.

#include "procmemory.h"

#include "recording/sessionexport.h"
#include "recording/sessionexportwriter.h"
#include "recording/zipwriter.h"
#include "session/receivefindbar.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRandomGenerator>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <zlib.h>

#include <memory>

using procmemory::peakRssMiB;
using procmemory::rssMiB;
using procmemory::resetPeakRss;

namespace {

constexpr qint64 Payload = 100 * 1000 * 1000;

class CountingDevice : public QIODevice
{
public:
    CountingDevice() { open(QIODevice::WriteOnly); }
    qint64 written = 0;

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 length) override
    {
        written += length;
        return length;
    }
};

// Mostly printable text, as devices send it, with a few control bytes.
QByteArray payloadOf(QRandomGenerator &random, int size)
{
    static const QByteArray line = "T=23.5,RH=41%,P=1013.2 hPa,status=ok,\x01\x02\r\n";
    QByteArray bytes(size, Qt::Uninitialized);
    const int offset = int(random.bounded(line.size()));
    for (int i = 0; i < size; ++i) {
        bytes[i] = line.at((offset + i) % line.size());
    }
    return bytes;
}

const QList<SessionExport::Source> &sourcesOf(int eventSize)
{
    static std::map<int, QList<SessionExport::Source>> cache;
    auto &sources = cache[eventSize];
    if (!sources.isEmpty()) {
        return sources;
    }
    QRandomGenerator random(7);
    const QString peers[] = {QString(), QStringLiteral("192.168.1.20:502")};
    for (int p = 0; p < 4; ++p) {
        SessionExport::Source source;
        source.info.id = QStringLiteral("p%1").arg(p + 1);
        source.info.label = QStringLiteral("COM%1").arg(p + 3);
        source.info.mode = QStringLiteral("serial");
        source.info.rxEncoding = QStringLiteral("UTF-8");
        sources.append(source);
    }
    qint64 total = 0;
    qint64 t = 1760000000000000;
    const QByteArray shared = payloadOf(random, eventSize);
    for (quint64 n = 0; total < Payload; ++n) {
        SessionEvent event;
        event.seq = n + 1;
        event.t = t += 150;
        event.kind = n % 5 == 0 ? SessionEvent::Tx : SessionEvent::Rx;
        event.peer = peers[n % 2];
        // Payloads share storage as the history shares them with an export.
        event.bytes = n % 64 == 0 ? payloadOf(random, eventSize) : shared;
        total += event.bytes.size();
        sources[qsizetype(n % 4)].events.append(event);
    }
    return sources;
}

enum ExportKind { Jsonl, CsvEscaped, CsvDecoded, Text, HexAnchor };

void BM_Export(benchmark::State &state)
{
    const auto kind = ExportKind(state.range(0));
    const int eventSize = int(state.range(1));
    const QList<SessionExport::Source> &sources = sourcesOf(eventSize);
    SessionExport::Options options;
    options.timeZone = QTimeZone::systemTimeZone();
    options.textColumn = kind == CsvDecoded ? 1 : 0;
    qint64 out = 0;
    for (auto _ : state) {
        CountingDevice device;
        if (kind == HexAnchor) {
            for (const SessionExport::Source &source : sources) {
                for (const SessionEvent &event : source.events) {
                    out += event.bytes.toHex().size();
                }
            }
            continue;
        }
        const SessionExport::Format format = kind == Jsonl  ? SessionExport::Format::Jsonl
                                             : kind == Text ? SessionExport::Format::Text
                                                            : SessionExport::Format::Csv;
        SessionExportWriter writer(format, &device, sources, options);
        writer.run();
        out = device.written;
    }
    qint64 events = 0;
    for (const SessionExport::Source &source : sources) {
        events += source.events.size();
    }
    state.SetBytesProcessed(state.iterations() * Payload);
    state.counters["MB_per_s"] = benchmark::Counter(double(Payload) / 1e6 * double(state.iterations()),
                                                    benchmark::Counter::kIsRate);
    state.counters["events"] = double(events);
    state.counters["out_MB"] = double(out) / 1e6;
}

QList<QByteArray> zipEntries(bool compressible)
{
    QRandomGenerator random(11);
    QByteArray entry(4 * 1024 * 1024, Qt::Uninitialized);
    if (compressible) {
        qsizetype at = 0;
        for (int n = 0; at < entry.size(); ++n) {
            const QByteArray line = "2026-11-23 10:00:00." + QByteArray::number(n % 1000) +
                                    " COM3 RX T=" + QByteArray::number(random.bounded(400)) +
                                    " status=ok\n";
            const qsizetype take = std::min(line.size(), entry.size() - at);
            std::memcpy(entry.data() + at, line.constData(), size_t(take));
            at += take;
        }
    } else {
        random.fillRange(reinterpret_cast<quint32 *>(entry.data()), entry.size() / 4);
    }
    return {entry};
}

void BM_Zip(benchmark::State &state)
{
    const bool compressible = state.range(0) != 0;
    const qint64 total = state.range(1) * 1024 * 1024;
    const bool anchor = state.range(2) != 0;
    const QByteArray entry = zipEntries(compressible).first();
    const int count = int(total / entry.size());
    double before = 0;
    double peak = 0;
    qint64 written = 0;
    for (auto _ : state) {
        before = rssMiB();
        resetPeakRss();
        CountingDevice device;
        if (anchor) {
            for (int i = 0; i < count; ++i) {
                // A copy per entry, as the writer's callers hand it fresh data.
                QByteArray data = entry;
                data.detach();
                z_stream stream{};
                deflateInit2(&stream, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
                QByteArray out(qsizetype(deflateBound(&stream, uLong(data.size()))), Qt::Uninitialized);
                stream.next_in = reinterpret_cast<Bytef *>(data.data());
                stream.avail_in = uInt(data.size());
                stream.next_out = reinterpret_cast<Bytef *>(out.data());
                stream.avail_out = uInt(out.size());
                deflate(&stream, Z_FINISH);
                written += qint64(stream.total_out);
                deflateEnd(&stream);
                benchmark::DoNotOptimize(out);
            }
        } else {
            ZipWriter zip(&device);
            for (int i = 0; i < count; ++i) {
                QByteArray data = entry;
                data.detach();
                zip.addFile(QStringLiteral("logs/port-%1.log").arg(i), data,
                            QDateTime::currentDateTime());
            }
            zip.finish();
            written = device.written;
        }
        peak = peakRssMiB();
    }
    state.SetBytesProcessed(state.iterations() * total);
    state.counters["MB_per_s"] = benchmark::Counter(double(total) / 1e6 * double(state.iterations()),
                                                    benchmark::Counter::kIsRate);
    state.counters["out_MB"] = double(written) / 1e6;
    state.counters["rss_before_MiB"] = before;
    state.counters["peak_rss_MiB"] = peak;
}

struct FindView
{
    std::unique_ptr<QWidget> panel;
    QPlainTextEdit *view = nullptr;
    ReceiveFindBar *bar = nullptr;
};

FindView &findView()
{
    static FindView fixture;
    if (fixture.view) {
        return fixture;
    }
    fixture.panel = std::make_unique<QWidget>();
    fixture.view = new QPlainTextEdit(fixture.panel.get());
    fixture.view->setReadOnly(true);
    fixture.view->resize(800, 600);
    fixture.bar = new ReceiveFindBar(fixture.view, fixture.panel.get(), fixture.panel.get());
    QString text;
    text.reserve(10 * 1000 * 1000);
    for (int i = 0; text.size() < 10 * 1000 * 1000 - 64; ++i) {
        QString line = i % 1000 == 0 ? QStringLiteral("MARK%1").arg(i, 8, 10, QChar(u'0'))
                                     : QStringLiteral("%1 T=23.5 RH=41 ok").arg(i, 10, 10, QChar(u'0'));
        line += QString(63 - line.size(), u'.');
        text += line + u'\n';
    }
    fixture.view->setPlainText(text);
    fixture.panel->show();
    fixture.bar->open();
    return fixture;
}

enum FindKind { NewNeedle, AfterALine, FilterOn, DocumentFindAnchor };

void BM_Find(benchmark::State &state)
{
    FindView &fixture = findView();
    auto *edit = fixture.bar->findChild<QLineEdit *>(QStringLiteral("receiveFindEdit"));
    auto *filter = fixture.bar->findChild<QCheckBox *>(QStringLiteral("receiveFindFilterBox"));
    const auto kind = FindKind(state.range(0));
    int matches = 0;
    int flip = 0;
    for (auto _ : state) {
        QElapsedTimer clock;
        switch (kind) {
        case NewNeedle:
            edit->blockSignals(true);
            edit->setText(flip++ % 2 ? QStringLiteral("MARK") : QStringLiteral("mark"));
            edit->blockSignals(false);
            clock.start();
            fixture.bar->refreshResults(false);
            matches = int(fixture.bar->matchList().size());
            break;
        case AfterALine: {
            QTextCursor cursor(fixture.view->document());
            cursor.movePosition(QTextCursor::End);
            cursor.insertText(QStringLiteral("MARK new line\n"));
            clock.start();
            fixture.bar->refreshResults(false);
            matches = int(fixture.bar->matchList().size());
            break;
        }
        case FilterOn:
            filter->setChecked(false);
            clock.start();
            filter->setChecked(true);
            matches = int(fixture.bar->matchList().size());
            break;
        case DocumentFindAnchor: {
            clock.start();
            matches = 0;
            QTextCursor cursor(fixture.view->document());
            while (true) {
                cursor = fixture.view->document()->find(QStringLiteral("MARK"), cursor);
                if (cursor.isNull()) {
                    break;
                }
                ++matches;
            }
            break;
        }
        }
        state.SetIterationTime(double(clock.nsecsElapsed()) / 1e9);
    }
    filter->setChecked(false);
    state.counters["matches"] = matches;
    state.counters["chars"] = fixture.view->document()->characterCount();
}

} // namespace

BENCHMARK(BM_Export)
    ->ArgNames({"kind", "event"})
    ->ArgsProduct({{Jsonl, CsvEscaped, CsvDecoded, Text, HexAnchor}, {1024, 32}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Zip)
    ->ArgNames({"compressible", "MiB", "zlib"})
    ->Args({1, 128, 0})
    ->Args({1, 512, 0})
    ->Args({0, 128, 0})
    ->Args({0, 512, 0})
    ->Args({1, 128, 1})
    ->Args({0, 128, 1})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Find)
    ->ArgName("kind")
    ->DenseRange(NewNeedle, DocumentFindAnchor)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

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
