#include "cli/recordingfile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QStringList>

bool RecordingFile::open(const QString &path, QString *error)
{
    if (path.isEmpty()) {
        *error = tr("Give the recording file.");
        return false;
    }
    if (!doc.open(path, true, error)) {
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    const auto indexer = doc.indexer();
    while (indexer->step()) {
    }
    tookUs = timer.nsecsElapsed() / 1000;
    if (!indexer->errorString().isEmpty()) {
        *error = tr("Could not read %1: %2")
                     .arg(QDir::toNativeSeparators(path), indexer->errorString());
        return false;
    }
    const ReplayIndex &idx = doc.index();
    if (!idx.hasHeader && idx.eventCount == 0) {
        *error = tr("%1 is not a recording: none of its lines is a recording line.")
                     .arg(QDir::toNativeSeparators(path));
        return false;
    }
    return true;
}

bool RecordingFile::portIndex(const QString &id, int *index, QString *error) const
{
    *index = -1;
    if (id.isEmpty()) {
        return true;
    }
    *index = doc.index().portIndex(id);
    if (*index >= 0) {
        return true;
    }
    QStringList ids;
    for (const SessionExport::PortInfo &info : doc.index().ports) {
        ids << info.id;
    }
    *error = tr("The recording has no port \"%1\"; its ports are: %2.")
                 .arg(id, ids.isEmpty() ? tr("none") : ids.join(QStringLiteral(", ")));
    return false;
}
