#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// One feature's share state: a shared port or a running service.
struct LiveSyncState
{
    enum Level {
        Nothing = 0,      // nothing shared
        NotListening = 1, // meant to be shared, but not reachable now
        Shared = 2,       // shared, nobody connected
        InUse = 3,        // somebody is connected
    };

    Level level = Nothing;
    int clients = 0;
    QString label;
    QStringList menuLines;

    bool operator==(const LiveSyncState &) const = default;
};

// What the status bar's Live Sync indicator shows for a set of share states.
struct LiveSyncSummary
{
    LiveSyncState::Level level = LiveSyncState::Nothing;
    int activeCount = 0; // features at the summary's level
    int clientCount = 0; // connected clients over all features
    QString firstActiveName;
    QStringList tooltipLines;

    bool operator==(const LiveSyncSummary &) const = default;
    // "Live Sync", "Not listening", "Shared", "Shared ×2", "In use", "In use ×3".
    QString text() const;
};

class LiveSyncStatus
{
public:
    // The highest level wins; the first name is that of the first feature at that level;
    // tooltip lines list every feature that is not idle, in the order given.
    static LiveSyncSummary summarize(const QList<LiveSyncState> &states);
};
