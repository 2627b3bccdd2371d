#pragma once

// Two pseudo-terminals joined by a thread that carries bytes between them the way a
// serial cable does: with a delay, optionally paced to a line rate, and with a small
// transmit buffer, so that a writer that outruns the line is held back. Unlike a bare
// socat pair the far end's bytes are taken off the terminal at once, as a UART takes
// them, so a peer that flushes its terminal right after writing loses nothing.

#include <QString>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace testsupport {

class PtyRelay
{
public:
    struct Options
    {
        double bytesPerSecond = 0; // 0: as fast as the terminals go
        int latencyUs = 0;         // added to every byte's trip
        int bufferBytes = 4096;    // held per direction before the writer is held back
    };

    PtyRelay();
    ~PtyRelay();

    bool start(const Options &options, QString *why);
    void stop();
    // The terminal device of each end, such as "/dev/pts/7".
    QString portA() const { return paths[0]; }
    QString portB() const { return paths[1]; }
    // A pipe whose bytes go out of a side as if written to its terminal. A peer that
    // empties its terminal's queues right after answering (lrzsz does, as it exits)
    // writes here instead, so its last answer cannot be swallowed before it is read:
    // give the child this descriptor as its standard output.
    int writerFor(int side) const { return outPipes[side][1]; }
    // Bytes carried from A to B (0) and from B to A (1).
    qint64 carried(int fromSide) const { return counts[fromSide].load(); }
    // Microseconds since start() at which the bytes from `fromSide` had reached `count`
    // carried; -1 if they never did. For after stop().
    qint64 microsecondsWhenCarried(int fromSide, qint64 count) const;

private:
    void run();

    Options opts;
    int masters[2] = {-1, -1};
    int slaves[2] = {-1, -1};
    QString paths[2];
    int wakePipe[2] = {-1, -1};
    int outPipes[2][2] = {{-1, -1}, {-1, -1}};
    struct Mark
    {
        qint64 us;
        qint64 total;
    };
    std::vector<Mark> marks[2]; // one per write, kept by the relay's thread
    std::thread worker;
    std::atomic<bool> stopping{false};
    std::atomic<qint64> counts[2];
};

} // namespace testsupport
