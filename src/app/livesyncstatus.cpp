#include "app/livesyncstatus.h"

#include <QCoreApplication>

QString LiveSyncSummary::text() const
{
    const auto tr = [](const char *text) {
        return QCoreApplication::translate("LiveSyncStatus", text);
    };
    switch (level) {
    case LiveSyncState::Nothing:
        return tr("Live Sync");
    case LiveSyncState::NotListening:
        return tr("Not listening");
    case LiveSyncState::Shared:
        return activeCount > 1 ? tr("Shared ×%1").arg(activeCount) : tr("Shared");
    case LiveSyncState::InUse:
        return activeCount > 1 ? tr("In use ×%1").arg(activeCount) : tr("In use");
    }
    return tr("Live Sync");
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
