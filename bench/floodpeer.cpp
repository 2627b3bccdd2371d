#include "floodpeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

FloodPeer::FloodPeer()
{
    listenFd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    ::bind(listenFd, reinterpret_cast<sockaddr *>(&address), sizeof address);
    ::listen(listenFd, 4);
    socklen_t length = sizeof address;
    ::getsockname(listenFd, reinterpret_cast<sockaddr *>(&address), &length);
    listenPort = ntohs(address.sin_port);
    thread = std::thread([this] { run(); });
}

FloodPeer::~FloodPeer()
{
    finish();
}

void FloodPeer::finish()
{
    stop.store(true);
    go.store(true);
    if (listenFd >= 0) {
        ::shutdown(listenFd, SHUT_RDWR);
    }
    if (thread.joinable()) {
        thread.join();
    }
    if (listenFd >= 0) {
        ::close(listenFd);
        listenFd = -1;
    }
}

void FloodPeer::run()
{
    // The peers stand for devices outside the process: on a small machine they must
    // not starve the event loop being measured of CPU, so they run at the lowest
    // priority.
    ::setpriority(PRIO_PROCESS, pid_t(::syscall(SYS_gettid)), 19);
    const int fd = ::accept(listenFd, nullptr, nullptr);
    if (fd < 0) {
        return;
    }
    // A send timeout lets the loop notice the stop while the reader holds back.
    timeval timeout{0, 100000};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    // Printable text with line ends, as a chatty device would send.
    std::vector<char> block(65536);
    for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = (i % 64 == 63) ? '\n' : char('a' + i % 26);
    }
    while (!go.load()) {
        std::this_thread::yield();
    }
    while (!stop.load()) {
        const ssize_t written = ::send(fd, block.data(), block.size(), MSG_NOSIGNAL);
        if (written > 0) {
            sent.fetch_add(written);
        } else if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            break;
        }
    }
    ::shutdown(fd, SHUT_WR);
    ::close(fd);
}
