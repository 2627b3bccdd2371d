#include "recording/recordingplan.h"

#include "recording/sessionrecorder.h"
#include "recording/vlmlogwriter.h"

#include <algorithm>

namespace RecordingPlan {

quint64 latestSeq(const SessionRecorder &recorder)
{
    return recorder.latestSeq();
}

QList<Item> collect(const QList<PortState> &ports, const QList<ReplayBookmark> &bookmarks,
                    qint64 now, bool final, qint64 maxBytes, bool *stillBusy)
{
    QList<Item> items;
    bool busy = false;
    for (const PortState &port : ports) {
        if (!port.recorder) {
            continue;
        }
        const SessionRecorder &recorder = *port.recorder;
        const std::deque<SessionEvent> &events = recorder.events();
        const quint64 first = recorder.firstRetainedSeq();
        if (first > port.lastSeq + 1 && !events.empty()) {
            Item missed;
            missed.seq = qint64(first) - 1; // writing it advances nothing past the gap
            missed.portId = port.id;
            missed.event.kind = SessionEvent::Note;
            missed.event.t = events.front().t;
            missed.event.text = VlmlogWriter::missedText(qint64(first - port.lastSeq - 1));
            items.append(missed);
        }
        const quint64 upTo = final ? recorder.latestSeq() : recorder.settled(now);
        qint64 taken = 0;
        for (qsizetype i = recorder.firstIndexAfter(port.lastSeq); i < qsizetype(events.size()); ++i) {
            const SessionEvent &event = events[size_t(i)];
            if (event.seq > upTo) {
                break;
            }
            if (taken >= maxBytes) {
                busy = true;
                break;
            }
            Item item;
            item.seq = qint64(event.seq);
            item.event = event;
            item.portId = port.id;
            items.append(item);
            taken += event.kind == SessionEvent::Note ? event.text.size() : event.bytes.size();
        }
    }
    for (const ReplayBookmark &bookmark : bookmarks) {
        Item item;
        item.seq = -1;
        item.bookmark = bookmark;
        item.event.t = bookmark.t;
        item.portId = bookmark.port;
        items.append(item);
    }
    std::stable_sort(items.begin(), items.end(),
                     [](const Item &a, const Item &b) { return a.event.t < b.event.t; });
    if (stillBusy) {
        *stillBusy = busy;
    }
    return items;
}

} // namespace RecordingPlan
