#include "app/livesyncstatus.h"

#include <QCoreApplication>

QString LiveSyncSummary::text() const
{
    switch (level) {
    case LiveSyncState::Nothing:
        break;
    case LiveSyncState::NotListening:
        return QCoreApplication::translate("LiveSyncStatus", "Not listening");
    case LiveSyncState::Shared:
        return activeCount > 1
                   ? QCoreApplication::translate("LiveSyncStatus", "Shared ×%1").arg(activeCount)
                   : QCoreApplication::translate("LiveSyncStatus", "Shared");
    case LiveSyncState::InUse:
        return activeCount > 1
                   ? QCoreApplication::translate("LiveSyncStatus", "In use ×%1").arg(activeCount)
                   : QCoreApplication::translate("LiveSyncStatus", "In use");
    }
    return QCoreApplication::translate("LiveSyncStatus", "Live Sync");
}

LiveSyncSummary LiveSyncStatus::summarize(const QList<LiveSyncState> &states)
{
    LiveSyncSummary summary;
    for (const LiveSyncState &state : states) {
        if (state.level == LiveSyncState::Nothing) {
            continue;
        }
        summary.clientCount += std::max(0, state.clients);
        if (!state.label.isEmpty()) {
            summary.tooltipLines.append(state.label);
        }
        if (state.level > summary.level) {
            summary.level = state.level;
            summary.activeCount = 1;
            summary.firstActiveName = state.label;
        } else if (state.level == summary.level) {
            ++summary.activeCount;
        }
    }
    return summary;
}
