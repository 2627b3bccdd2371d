#pragma once

// An open recording or session export: its file, its index and its bookmarks. Nothing
// is loaded whole; readers and searches each open their own device on the file so
// that none disturbs another's position. Saving bookmarks appends one line and leaves
// every earlier byte as it was.

#include "recording/replaybookmarks.h"
#include "recording/replayindex.h"
#include "recording/replayindexer.h"

#include <QCoreApplication>
#include <QString>

#include <memory>

class QFile;
class QIODevice;

class ReplayDocument
{
    Q_DECLARE_TR_FUNCTIONS(ReplayDocument)

public:
    ReplayDocument();
    ~ReplayDocument();

    bool open(const QString &path, bool isRecording, QString *error);
    // A new read-only device on the file, for a reader or a search.
    std::unique_ptr<QIODevice> openDevice() const;
    // An indexer that goes on where the index stands.
    std::unique_ptr<ReplayIndexer> indexer(ReplayIndexerOptions options = {});
    // Takes the bookmarks the index read from the file.
    void adoptIndexedBookmarks();
    QString title() const;
    QString path() const { return filePath; }
    // Dropped and indexed again by the caller (Reload).
    void resetIndex();

    // While the file is still being recorded its bookmarks cannot be saved into it.
    void setStillRecording(bool on) { recording = on; }
    bool saveBookmarks(const QString &path, qint64 nowUs, QString *error);
    bool saveCopy(const QString &path, qint64 nowUs, QString *error);
    static bool appendSnapshot(QIODevice *device, bool needsNewline,
                               const QList<ReplayBookmark> &bookmarks, qint64 savedAtUs);

    ReplayIndex &index() { return idx; }
    const ReplayIndex &index() const { return idx; }
    ReplayBookmarks &bookmarks() { return marks; }

private:
    QString filePath;
    bool recording = false;
    std::unique_ptr<QFile> file; // the indexer's device
    ReplayIndex idx;
    ReplayBookmarks marks;
};
