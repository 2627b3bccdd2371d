#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

// A TCP peer on its own thread that, once released, writes as fast as the socket takes
// bytes until told to stop, then closes. It uses blocking POSIX sockets so that it does
// not share the event loop it is measuring.
class FloodPeer
{
public:
    FloodPeer();
    ~FloodPeer();

    std::uint16_t port() const { return listenPort; }
    void release() { go.store(true); }
    // Stops writing, closes the connection, and waits for the thread.
    void finish();
    std::int64_t bytesSent() const { return sent.load(); }

private:
    void run();

    int listenFd = -1;
    std::uint16_t listenPort = 0;
    std::atomic<bool> go{false};
    std::atomic<bool> stop{false};
    std::atomic<std::int64_t> sent{0};
    std::thread thread;
};
