#include "recording/vlmlogwriter.h"

#include "recording/recordingplanitem.h"
#include "recording/sessionrecorder.h"

#include <QIODevice>

VlmlogWriter::VlmlogWriter(QIODevice *device)
    : out(device)
{}

void VlmlogWriter::line(const QByteArray &text)
{
    pending += text;
    pending += '\n';
}

void VlmlogWriter::header(const Vlmlog::RecordingHeader &header)
{
    line(Vlmlog::headerLine(header));
}

void VlmlogWriter::port(const SessionExport::PortInfo &info, qint64 t)
{
    line(Vlmlog::portLine(info, t));
}

void VlmlogWriter::item(const RecordingPlanItem &item, const QString &portId)
{
    if (item.seq < 0) {
        line(Vlmlog::bookmarkLine(item.bookmark));
    } else {
        event(item.event, portId);
    }
}

void VlmlogWriter::event(const SessionEvent &event, const QString &portId)
{
    pending += Vlmlog::eventLine(event, portId);
    pending += '\n';
}

void VlmlogWriter::note(const QString &portId, const QString &text, qint64 t)
{
    SessionEvent event;
    event.t = t;
    event.kind = SessionEvent::Note;
    event.text = text.left(SessionRecorder::NoteLimit);
    this->event(event, portId);
}

void VlmlogWriter::end(qint64 t, const QString &reason, const QString &next)
{
    line(Vlmlog::endLine(t, reason, next));
}

QString VlmlogWriter::missedText(qint64 count)
{
    return tr("Recording missed %1 event(s): the port moved faster than the file.").arg(count);
}

void VlmlogWriter::missedNote(qint64 t, qint64 count)
{
    note(QString(), missedText(count), t);
}

bool VlmlogWriter::flush()
{
    if (pending.isEmpty()) {
        return true;
    }
    const qint64 size = pending.size();
    const qint64 done = out ? out->write(pending) : -1;
    pending.clear();
    if (done != size) {
        return false;
    }
    flushed += size;
    return true;
}
