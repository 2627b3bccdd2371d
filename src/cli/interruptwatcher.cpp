#include "cli/interruptwatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {
int pipeEnds[2] = {-1, -1};
InterruptWatcher *current = nullptr;

void onSignal(int)
{
    const char byte = 1;
    // Nothing else is safe here; a full pipe already says enough.
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
}
} // namespace

InterruptWatcher::InterruptWatcher(QObject *parent)
    : QObject(parent)
{
    current = this;
    if (::pipe(pipeEnds) != 0) {
        return;
    }
    ::fcntl(pipeEnds[0], F_SETFL, O_NONBLOCK);
    ::fcntl(pipeEnds[1], F_SETFL, O_NONBLOCK);
    notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &InterruptWatcher::onReadable);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

InterruptWatcher::~InterruptWatcher()
{
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    current = nullptr;
}

InterruptWatcher *InterruptWatcher::instance()
{
    return current;
}

void InterruptWatcher::onReadable()
{
    char buffer[16];
    while (::read(pipeEnds[0], buffer, sizeof buffer) > 0) {
    }
    seen = true;
    Q_EMIT interruptRequested();
}
