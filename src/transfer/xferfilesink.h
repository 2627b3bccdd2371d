#pragma once

// Where a received file goes. Data is written to a hidden ".<name>.part" beside the
// final name and renamed only once the transfer succeeded, so a failed transfer never
// replaces or truncates a good file. A file that already exists is never overwritten:
// the new one gets a free name.

#include "transfer/xfersource.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

class XferFileSink : public XferSink
{
    Q_DECLARE_TR_FUNCTIONS(XferFileSink)
public:
    // `explicitName` (the user's "Save as") wins over the name the device offers.
    // `sizeCap`: a write that would pass this many bytes fails; 0 or less for none.
    explicit XferFileSink(const QString &folder, const QString &explicitName = QString(),
                          qint64 sizeCap = 0);
    ~XferFileSink() override;

    // The wall clock, for the dated name of a nameless file and for judging header
    // times. Unset, no header time is believed.
    void setNow(const QDateTime &now) { wallClock = now; }

    bool open(const XferFileMeta &meta) override;
    bool write(const QByteArray &bytes) override;
    bool commit(qint64 size) override;
    // Gives up the file: the temporary is removed, or with `keep` and data in it renamed
    // to "<name>.partial" (made unique). Does nothing after commit.
    void discard(bool keep);

    qint64 bytesWritten() const { return written; }
    // False, with the sentence in errorString(), when the folder's volume is ready and
    // has less than `bytes` free.
    bool checkFreeSpace(qint64 bytes);

    // The sentence of the last failure.
    QString errorString() const { return lastError; }
    // The name the device asked for, and the name chosen from it (before uniqueness).
    QString requestedName() const { return requested; }
    QString chosenName() const { return chosen; }
    // The path of the finished file (after commit), of the kept part (after discard).
    QString finalPath() const { return committed ? target : QString(); }
    QString keptPath() const { return kept; }
    QString temporaryPath() const { return temp; }
    bool isCommitted() const { return committed; }
    bool hasExplicitName() const { return !explicitName.isEmpty(); }

private:
    bool failWith(const QString &text);

    QString folder;
    QString explicitName;
    qint64 sizeCap;
    QDateTime wallClock;
    QFile file;
    QString requested;
    QString chosen;
    QString target;
    QString temp;
    QString kept;
    QString lastError;
    qint64 written = 0;
    qint64 modified = 0;
    bool committed = false;
};
