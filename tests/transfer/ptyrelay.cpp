#include "ptyrelay.h"

#include <QByteArray>

#include <chrono>
#include <deque>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace testsupport {

namespace {

using Clock = std::chrono::steady_clock;
// Bytes due within this much are written together: fewer wake-ups, same average rate.
constexpr auto Slack = std::chrono::microseconds(1000);

struct Pending
{
    char byte;
    Clock::time_point due; // arrival plus latency
};

// One direction of the cable.
struct Lane
{
    std::deque<Pending> queue;
    Clock::time_point lineFree = Clock::time_point::min(); // when the line can take a byte
};

} // namespace

PtyRelay::PtyRelay()
{
    counts[0] = 0;
    counts[1] = 0;
}

PtyRelay::~PtyRelay()
{
    stop();
}

bool PtyRelay::start(const Options &options, QString *why)
{
    opts = options;
    for (int side = 0; side < 2; ++side) {
        char name[128] = {};
        if (openpty(&masters[side], &slaves[side], name, nullptr, nullptr) != 0) {
            *why = QStringLiteral("openpty failed: %1").arg(QString::fromLocal8Bit(strerror(errno)));
            stop();
            return false;
        }
        termios mode{};
        tcgetattr(slaves[side], &mode);
        cfmakeraw(&mode);
        tcsetattr(slaves[side], TCSANOW, &mode);
        fcntl(masters[side], F_SETFL, fcntl(masters[side], F_GETFL) | O_NONBLOCK);
        paths[side] = QString::fromLocal8Bit(name);
    }
    // The pipe's writing end stays blocking: the peer that gets it must be held back
    // when the line is full, not handed EAGAIN.
    bool piped = pipe2(wakePipe, O_CLOEXEC) == 0;
    for (auto &out : outPipes) {
        piped = piped && pipe2(out, O_CLOEXEC) == 0 &&
                fcntl(out[0], F_SETFL, fcntl(out[0], F_GETFL) | O_NONBLOCK) == 0;
    }
    if (!piped) {
        *why = QStringLiteral("pipe failed");
        stop();
        return false;
    }
    stopping = false;
    marks[0].clear();
    marks[1].clear();
    worker = std::thread([this] { run(); });
    return true;
}

void PtyRelay::stop()
{
    if (worker.joinable()) {
        stopping = true;
        const char wake = 0;
        [[maybe_unused]] const ssize_t written = write(wakePipe[1], &wake, 1);
        worker.join();
    }
    for (int *fd : {&masters[0], &masters[1], &slaves[0], &slaves[1], &wakePipe[0], &wakePipe[1],
                    &outPipes[0][0], &outPipes[0][1], &outPipes[1][0], &outPipes[1][1]}) {
        if (*fd >= 0) {
            close(*fd);
            *fd = -1;
        }
    }
}

qint64 PtyRelay::microsecondsWhenCarried(int fromSide, qint64 count) const
{
    for (const Mark &mark : marks[fromSide]) {
        if (mark.total >= count) {
            return mark.us;
        }
    }
    return -1;
}

void PtyRelay::run()
{
    Lane lanes[2];
    const auto started = Clock::now();
    const auto byteTime = opts.bytesPerSecond > 0
                              ? std::chrono::duration_cast<Clock::duration>(
                                    std::chrono::duration<double>(1.0 / opts.bytesPerSecond))
                              : Clock::duration::zero();
    const auto latency = std::chrono::microseconds(opts.latencyUs);
    char buffer[4096];
    while (!stopping) {
        const auto now = Clock::now();
        // Deliver what is due, paced by the line.
        Clock::time_point nextDue = Clock::time_point::max();
        bool blocked[2] = {false, false};
        for (int from = 0; from < 2; ++from) {
            Lane &lane = lanes[from];
            // A byte leaves no earlier than its arrival plus the latency, and no earlier
            // than the line is free: an idle line saves no credit, and a late wake-up
            // catches up, so the average rate holds.
            auto slot = lane.lineFree;
            QByteArray chunk;
            std::vector<Clock::time_point> after;
            for (const Pending &p : lane.queue) {
                if (p.due > now) {
                    nextDue = std::min(nextDue, p.due);
                    break;
                }
                const auto when = std::max(p.due, slot);
                if (when > now + Slack) {
                    nextDue = std::min(nextDue, when - Slack);
                    break;
                }
                chunk.append(p.byte);
                slot = when + byteTime;
                after.push_back(slot);
                if (chunk.size() == 4096) {
                    break;
                }
            }
            if (chunk.isEmpty()) {
                continue;
            }
            const ssize_t n = write(masters[1 - from], chunk.constData(), size_t(chunk.size()));
            if (n > 0) {
                lane.queue.erase(lane.queue.begin(), lane.queue.begin() + n);
                lane.lineFree = after[size_t(n) - 1];
                counts[from] += n;
                marks[from].push_back(
                    {std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - started).count(),
                     counts[from].load()});
                if (n < chunk.size()) {
                    blocked[from] = true;
                }
            } else {
                blocked[from] = true; // the far end reads slower than the line: wait for it
            }
        }
        pollfd fds[7];
        int count = 0;
        fds[count++] = {wakePipe[0], POLLIN, 0};
        int sideOf[7] = {-1, -1, -1, -1, -1, -1, -1};
        for (int side = 0; side < 2; ++side) {
            if (qsizetype(lanes[side].queue.size()) < opts.bufferBytes) {
                sideOf[count] = side;
                fds[count++] = {masters[side], POLLIN, 0};
                sideOf[count] = side;
                fds[count++] = {outPipes[side][0], POLLIN, 0};
            }
            if (blocked[side]) {
                fds[count++] = {masters[1 - side], POLLOUT, 0};
            }
        }
        int timeoutMs = -1;
        if (nextDue != Clock::time_point::max()) {
            const auto wait = std::chrono::duration_cast<std::chrono::microseconds>(nextDue - Clock::now());
            timespec ts{};
            const long long us = std::max<long long>(0, wait.count());
            ts.tv_sec = us / 1000000;
            ts.tv_nsec = (us % 1000000) * 1000;
            ppoll(fds, nfds_t(count), &ts, nullptr);
        } else {
            poll(fds, nfds_t(count), timeoutMs);
        }
        const auto arrived = Clock::now();
        for (int i = 0; i < count; ++i) {
            const int side = sideOf[i];
            if (side < 0 || !(fds[i].revents & POLLIN)) {
                continue;
            }
            const size_t room = size_t(opts.bufferBytes) - lanes[side].queue.size();
            const ssize_t n = read(fds[i].fd, buffer, std::min(sizeof buffer, room));
            for (ssize_t k = 0; k < n; ++k) {
                lanes[side].queue.push_back({buffer[k], arrived + latency});
            }
        }
    }
}

} // namespace testsupport
