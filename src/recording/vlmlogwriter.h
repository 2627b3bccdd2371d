#pragma once

// Builds recording lines in memory and writes them out in one go on flush, so a pass
// of the recorder costs one write, and every write ends on a whole line.

#include "recording/vlmlog.h"

#include <QCoreApplication>

class QIODevice;
struct RecordingPlanItem;

class VlmlogWriter
{
    Q_DECLARE_TR_FUNCTIONS(VlmlogWriter)

public:
    explicit VlmlogWriter(QIODevice *device);

    void setDevice(QIODevice *device) { out = device; }
    void header(const Vlmlog::RecordingHeader &header);
    void port(const SessionExport::PortInfo &info, qint64 t);
    void item(const RecordingPlanItem &item, const QString &portId);
    void event(const SessionEvent &event, const QString &portId);
    void note(const QString &portId, const QString &text, qint64 t);
    void end(qint64 t, const QString &reason, const QString &next);
    void missedNote(qint64 t, qint64 count);
    void line(const QByteArray &text);
    // False when the device took less than everything; the buffer is emptied either way.
    bool flush();

    qint64 buffered() const { return pending.size(); }
    // Bytes flushed since the last reset.
    qint64 written() const { return flushed; }
    void resetWritten() { flushed = 0; }

    static QString missedText(qint64 count);

private:
    QIODevice *out;
    QByteArray pending;
    qint64 flushed = 0;
};
