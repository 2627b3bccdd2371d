#pragma once

#include "recording/sessionexport.h"

#include <memory>

// Writes one export a slice at a time, so that a window can show progress and stay
// responsive: step() until atEnd() or failed().
class SessionExportWriter
{
public:
    SessionExportWriter(SessionExport::Format format, QIODevice *device,
                        QList<SessionExport::Source> sources, SessionExport::Options options);
    ~SessionExportWriter();
    SessionExportWriter(const SessionExportWriter &) = delete;
    SessionExportWriter &operator=(const SessionExportWriter &) = delete;

    // Writes the header on the first call and then up to `rows` rows; at the end the
    // rest of the buffer. False once a write failed.
    bool step(qsizetype rows);
    bool atEnd() const;
    bool failed() const;
    QString errorString() const;
    qsizetype rowsDone() const;
    qsizetype rowsTotal() const;
    // Bytes handed to the device so far.
    qint64 bytesWritten() const;

    // step() to the end.
    bool run();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
