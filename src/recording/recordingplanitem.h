#pragma once

// One thing a recording pass writes: an event of a port, or (with a negative seq) a
// bookmark.

#include "recording/replaybookmark.h"
#include "recording/sessionevent.h"

struct RecordingPlanItem
{
    qint64 seq = 0; // the event's seq; negative for a bookmark
    SessionEvent event;
    ReplayBookmark bookmark;
    QString portId;
};
