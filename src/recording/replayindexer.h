#pragma once

// Builds a ReplayIndex in one sequential pass, a slice at a time, so that the caller
// stays responsive. An indexer made on an index that has data goes on where it ended:
// a file that is still being written is indexed as it grows. A cut last line is not
// taken, so that once it is complete the next slice reads it whole.

#include "recording/vlmloglinereader.h"

#include <QList>
#include <QString>

class QIODevice;
class ReplayIndex;

struct ReplayIndexerOptions
{
    qint64 checkpointEvents = 1024;
    qint64 checkpointBytes = 65536;
    qint64 maxLine = 16777216;
};

class ReplayIndexer
{
public:
    static constexpr qint64 SliceBytes = 4194304;

    ReplayIndexer(QIODevice *device, ReplayIndex *index, ReplayIndexerOptions options = {});

    // Takes lines until `budgetBytes` have been read; true while more remains. At the end
    // of the data it returns false; a later call reads what was appended since.
    bool step(qint64 budgetBytes = SliceBytes);
    // 0 .. 1 of the device's present size.
    double progress() const;
    QString errorString() const { return error; }

private:
    void take(const Vlmlog::LineReader::Line &line);
    void takeEvent(qint64 offset, QByteArrayView portId, qint64 t, qint64 payload);
    int portFor(QByteArrayView id);
    void finishStep();

    QIODevice *device;
    ReplayIndex *index;
    ReplayIndexerOptions options;
    Vlmlog::LineReader reader;
    QList<QByteArray> portIds; // the index's port ids, UTF-8
    bool needSeek = true;
    QString error;
};
