// File transfer speed on a 115200 baud line: each protocol through a pair of
// pseudo-terminals joined by a relay that paces every byte to 115200 baud 8N1
// (11520 bytes/s) and adds 1 ms of latency each way, as a USB serial adapter has.
// Velmora sends to and receives from Debian's lrzsz (YMODEM-G sending: a receiver in
// Python), and lrzsz talks to itself over the same line in the same run: the anchor.
//
// The figure is the data phase's goodput as a share of the line rate: file bytes over
// the time from the first to the last byte of the data blocks as the line carried them.
// Handshakes, the end of the batch and the pauses lrzsz makes there are left out, so
// the number measures the protocol engine, not start-up.

#include "ptyrelay.h"
#include "transfer/filetransfersession.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>

#include <unistd.h>

namespace {

constexpr double LineBytesPerSecond = 11520.0;
const int FileBytes = [] {
    bool ok = false;
    const int kib = qEnvironmentVariableIntValue("VLM_XFER_KIB", &ok);
    return (ok && kib > 0 ? kib : 64) * 1024;
}();

struct Variant
{
    const char *name;
    XferProtocol protocol;
    int payload;        // bytes per data block on the wire
    int frame;          // bytes per data block, framed
    int header;         // bytes before the first data block (YMODEM header)
    const char *lrzszSend;
    const char *lrzszReceive; // empty: Python's YMODEM-G receiver
};

const Variant Variants[] = {
    {"XMODEM", XferProtocol::Xmodem, 128, 132, 0, "sx -b f", "rx -b out"},
    {"XMODEM-CRC", XferProtocol::XmodemCrc, 128, 133, 0, "sx -b f", "rx -b -c out"},
    {"XMODEM-1K", XferProtocol::Xmodem1k, 1024, 1029, 0, "sx -b -k f", "rx -b -c out"},
    {"YMODEM", XferProtocol::Ymodem, 1024, 1029, 133, "sb -b -k f", "rb -b"},
    {"YMODEM-G", XferProtocol::YmodemG, 1024, 1029, 133, "sb -b -k f", ""},
};

// Runs the event loop until `done`. It sleeps between events, as the program's own loop
// does, so that the peers and the relay get the CPU; a timer wakes it to look at `done`.
void spinUntil(const std::function<bool()> &done, int limitMs)
{
    QElapsedTimer clock;
    clock.start();
    QTimer wake;
    wake.start(20);
    while (!done() && clock.elapsed() < limitMs) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

// Starts `command` on `side` of the line: it reads the terminal and writes through the
// relay's pipe (lrzsz empties its terminal as it exits, which would swallow its last
// answer on a pseudo-terminal).
std::unique_ptr<QProcess> startPeer(testsupport::PtyRelay &line, int side, const QString &command,
                                    const QString &folder)
{
    auto process = std::make_unique<QProcess>();
    process->setWorkingDirectory(folder);
    const QString terminal = side == 0 ? line.portA() : line.portB();
    process->setStandardInputFile(terminal);
    QStringList args = command.split(QLatin1Char(' '));
    if (command.isEmpty()) {
        process->setStandardOutputFile(terminal);
        args = QStringList{QStringLiteral(VLM_YMODEM_G_RECEIVER), terminal, folder};
        process->start(QStringLiteral("/usr/bin/python3"), args);
    } else {
        const int writer = line.writerFor(side);
        process->setChildProcessModifier([writer] { ::dup2(writer, STDOUT_FILENO); });
        process->setProcessChannelMode(QProcess::ForwardedOutputChannel);
        process->start(args.takeFirst(), args);
    }
    process->waitForStarted();
    return process;
}

// The data phase's share of the line rate, from what the line carried from `from`.
double lineShare(const testsupport::PtyRelay &line, int from, const Variant &v)
{
    const qint64 blocks = FileBytes / v.payload;
    const qint64 first = line.microsecondsWhenCarried(from, v.header + 1);
    const qint64 last = line.microsecondsWhenCarried(from, v.header + blocks * v.frame);
    if (first < 0 || last <= first) {
        return 0;
    }
    return 100.0 * double(FileBytes) / (double(last - first) / 1e6) / LineBytesPerSecond;
}

QByteArray testFile()
{
    QByteArray bytes(FileBytes, '\0');
    QRandomGenerator random(7);
    for (char &b : bytes) {
        b = char(random.bounded(256));
    }
    return bytes;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool startLine(testsupport::PtyRelay &line, benchmark::State &state)
{
    QString why;
    if (!line.start({LineBytesPerSecond, 1000, 4096}, &why)) {
        state.SkipWithError(qPrintable(why));
        return false;
    }
    return true;
}

// lrzsz on both ends.
void BM_Lrzsz(benchmark::State &state)
{
    const Variant &v = Variants[state.range(0)];
    state.SetLabel(v.name);
    for (auto _ : state) {
        testsupport::PtyRelay line;
        if (!startLine(line, state)) {
            return;
        }
        QTemporaryDir ours;
        QTemporaryDir theirs;
        const QByteArray data = testFile();
        writeFile(ours.filePath("f"), data);
        // The anchor for YMODEM-G is lrzsz's YMODEM: it has no YMODEM-G receiver.
        const QString receive = *v.lrzszReceive ? QString::fromLatin1(v.lrzszReceive)
                                                : QStringLiteral("rb -b");
        auto receiver = startPeer(line, 1, receive, theirs.path());
        auto sender = startPeer(line, 0, QString::fromLatin1(v.lrzszSend), ours.path());
        spinUntil([&] { return sender->state() == QProcess::NotRunning &&
                               receiver->state() == QProcess::NotRunning; },
                  600000);
        line.stop();
        const double share = lineShare(line, 0, v);
        state.SetIterationTime(double(FileBytes) / LineBytesPerSecond / (share / 100.0));
        state.counters["line_pct"] = share;
        const QByteArray got = readFile(theirs.filePath(receive.endsWith("out") ? "out" : "f"));
        state.counters["intact"] = got.startsWith(data) ? 1 : 0;
    }
}

// Velmora on side A, lrzsz (or Python) on side B.
void BM_Velmora(benchmark::State &state)
{
    const Variant &v = Variants[state.range(0)];
    const bool sending = state.range(1) != 0;
    state.SetLabel(QStringLiteral("%1 %2").arg(QLatin1String(v.name),
                                               sending ? QStringLiteral("send") : QStringLiteral("receive"))
                       .toStdString());
    for (auto _ : state) {
        testsupport::PtyRelay line;
        if (!startLine(line, state)) {
            return;
        }
        QTemporaryDir ours;
        QTemporaryDir theirs;
        const QByteArray data = testFile();
        writeFile((sending ? ours : theirs).filePath("f"), data);
        auto peer = startPeer(line, 1,
                              QString::fromLatin1(sending ? v.lrzszReceive : v.lrzszSend),
                              theirs.path());

        XferConfig config;
        config.protocol = v.protocol;
        config.direction = sending ? XferDirection::Send : XferDirection::Receive;
        FileTransferSession session(config, QStringLiteral("bench"));
        if (sending) {
            auto source = std::make_unique<XferFileSource>();
            source->open(ours.filePath("f"), nullptr);
            session.setSource(std::move(source));
        } else {
            session.setSink(std::make_unique<XferFileSink>(ours.path(), QStringLiteral("got")));
        }
        QSerialPort port(line.portA());
        port.open(QIODevice::ReadWrite);
        session.setSender([&](const QByteArray &bytes) { return port.write(bytes) == bytes.size(); });
        QObject::connect(&port, &QSerialPort::readyRead, &session, [&] { session.ingest(port.readAll()); });
        QObject::connect(&port, &QSerialPort::bytesWritten, &session, [&] {
            if (port.bytesToWrite() == 0) {
                session.egressDrained();
            }
        });
        bool ok = false;
        QObject::connect(&session, &FileTransferSession::ended, &session,
                         [&](const XferEnd &end) { ok = end.ok; });
        session.start();
        spinUntil([&] { return session.isOver(); }, 600000);
        spinUntil([&] { return port.bytesToWrite() == 0 && peer->state() == QProcess::NotRunning; },
                  30000);
        line.stop();
        const double share = lineShare(line, sending ? 0 : 1, v);
        state.SetIterationTime(double(FileBytes) / LineBytesPerSecond / std::max(share / 100.0, 1e-6));
        state.counters["line_pct"] = share;
        state.counters["retries"] = session.progress().retries;
        const QByteArray got = readFile(sending ? theirs.filePath(QString::fromLatin1(v.lrzszReceive)
                                                                      .endsWith("out") ? "out" : "f")
                                                : ours.filePath("got"));
        state.counters["intact"] = ok && got.startsWith(data) ? 1 : 0;
    }
}

} // namespace

BENCHMARK(BM_Lrzsz)->DenseRange(0, 4)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Velmora)
    ->ArgsProduct({benchmark::CreateDenseRange(0, 4, 1), {1, 0}})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
