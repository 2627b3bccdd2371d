#pragma once

// What one pass of a file recording writes: the new, settled events of every port's
// history and the pending bookmarks, merged by time. Events a history dropped before
// they could be written become one note with their number, so the loss is in the file.

#include "recording/recordingplanitem.h"

#include <QList>

class SessionRecorder;

namespace RecordingPlan {

struct PortState
{
    QString id;
    const SessionRecorder *recorder = nullptr;
    quint64 lastSeq = 0; // the last event written
};

using Item = RecordingPlanItem;

// Items in time order (a stable merge: at equal times a port keeps its order). At most
// about `maxBytes` of payload per port; `stillBusy` then tells the caller to come back.
// With `final` the last, still open event is taken too.
QList<Item> collect(const QList<PortState> &ports, const QList<ReplayBookmark> &bookmarks,
                    qint64 now, bool final, qint64 maxBytes, bool *stillBusy);
quint64 latestSeq(const SessionRecorder &recorder);

} // namespace RecordingPlan
