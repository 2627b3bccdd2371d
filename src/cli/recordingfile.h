#pragma once

// A recording opened by a command and indexed whole before use, with the time indexing
// took. Commands share its checks: a file that cannot be read or holds no recording, and
// a --port that names no port of it, end in a sentence.

#include "recording/replaydocument.h"

#include <QCoreApplication>

class RecordingFile
{
    Q_DECLARE_TR_FUNCTIONS(RecordingFile)

public:
    bool open(const QString &path, QString *error);
    // The index of the port `id` in the recording, -1 for an empty `id` (all ports);
    // false with a sentence for an id the recording does not have.
    bool portIndex(const QString &id, int *index, QString *error) const;

    ReplayDocument &document() { return doc; }
    const ReplayIndex &index() const { return doc.index(); }
    qint64 indexingUs() const { return tookUs; }

private:
    ReplayDocument doc;
    qint64 tookUs = 0;
};
