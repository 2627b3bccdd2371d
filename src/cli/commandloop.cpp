#include "cli/commandloop.h"

#include "cli/clicommand.h"
#include "cli/clioutput.h"
#include "cli/interruptwatcher.h"
#include "cli/portopener.h"

#include <QEventLoop>
#include <QTimer>

CommandLoop::CommandLoop(QObject *parent)
    : QObject(parent)
    , loop(new QEventLoop(this))
{
    if (InterruptWatcher *watcher = InterruptWatcher::instance()) {
        connect(watcher, &InterruptWatcher::interruptRequested, this, [this] {
            interrupted = true;
            if (onInterrupt) {
                onInterrupt();
            } else {
                finish(Interrupted);
            }
        });
    }
}

CommandLoop::~CommandLoop() = default;

void CommandLoop::watch(PortOpener *opener)
{
    connect(opener, &PortOpener::lost, this, [this](const QString &text) {
        reason = text;
        finish(ConnectionLost);
    });
}

CommandLoop::End CommandLoop::exec()
{
    if (ended) {
        return result;
    }
    if (durationMs >= 0) {
        QTimer::singleShot(std::chrono::milliseconds(durationMs), this,
                           [this] { finish(DurationOver); });
    }
    loop->exec();
    return interrupted ? Interrupted : result;
}

void CommandLoop::finish(End end)
{
    if (ended) {
        return;
    }
    ended = true;
    result = end;
    loop->quit();
}

int CommandLoop::exitCode(End end, CliOutput &out) const
{
    switch (end) {
    case Interrupted:
        return CliCommand::ExitInterrupted;
    case ConnectionLost:
        out.error(reason);
        return CliCommand::ExitConnection;
    default:
        return CliCommand::ExitOk;
    }
}
