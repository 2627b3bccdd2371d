#pragma once

// Turns SIGINT and SIGTERM into a Qt signal, so that a run ends cleanly from the event
// loop (the script's onStop runs, reports are written) instead of being killed midway.
// The handler only writes a byte to a pipe; a socket notifier reads it.

#include <QObject>

class QSocketNotifier;

class InterruptWatcher : public QObject
{
    Q_OBJECT
public:
    // Installs the handlers; one watcher per process.
    explicit InterruptWatcher(QObject *parent = nullptr);
    ~InterruptWatcher() override;

    static InterruptWatcher *instance();
    bool interrupted() const { return seen; }

signals:
    void interruptRequested();

private:
    void onReadable();

    QSocketNotifier *notifier = nullptr;
    bool seen = false;
};
