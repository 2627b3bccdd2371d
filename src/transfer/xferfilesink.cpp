#include "transfer/xferfilesink.h"

#include "transfer/xferfilename.h"

#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>

namespace {
// Header times before 2000 or more than ten years ahead are a device's clock that was
// never set; the file keeps the time it was written instead.
constexpr qint64 EarliestBelievedTime = 946684800;
constexpr qint64 LatestBelievedAheadSecs = 315360000;
constexpr qsizetype MaxNameBytes = 255;

QString native(const QString &path)
{
    return QDir::toNativeSeparators(path);
}
} // namespace

XferFileSink::XferFileSink(const QString &folder, const QString &explicitName, qint64 sizeCap)
    : folder(folder)
    , explicitName(explicitName)
    , sizeCap(sizeCap)
{
}

XferFileSink::~XferFileSink()
{
    discard(false);
}

bool XferFileSink::failWith(const QString &text)
{
    lastError = text;
    return false;
}

bool XferFileSink::open(const XferFileMeta &meta)
{
    discard(false);
    committed = false;
    written = 0;
    kept.clear();
    requested = meta.name;
    const QDateTime now = wallClock.isValid() ? wallClock : QDateTime::fromSecsSinceEpoch(0);
    chosen = xferSafeFileName(explicitName.isEmpty() ? meta.name : explicitName, now);
    if (!QFileInfo(folder).isDir()) {
        return failWith(tr("The folder %1 does not exist.").arg(native(folder)));
    }
    if (meta.size >= 0 && !checkFreeSpace(meta.size)) {
        return false;
    }
    target = xferUniquePath(folder, chosen);
    if (target.isEmpty()) {
        return failWith(tr("Could not create %1: %2")
                            .arg(native(QDir(folder).filePath(chosen)),
                                 tr("Too many files of that name exist.")));
    }
    const QString finalName = QFileInfo(target).fileName();
    const QString partName = QLatin1Char('.') +
                             xferCutUtf8(finalName, MaxNameBytes - 6) + QStringLiteral(".part");
    temp = QDir(folder).filePath(partName);
    // An old temporary is replaced. It is removed rather than truncated, and the new one
    // is created exclusively, so a link planted under that name cannot redirect the data.
    QFile::remove(temp);
    file.setFileName(temp);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        const QString why = file.errorString();
        temp.clear();
        return failWith(tr("Could not create %1: %2").arg(native(target), why));
    }
    const qint64 nowSecs = now.toSecsSinceEpoch();
    modified = wallClock.isValid() && meta.modified >= EarliestBelievedTime &&
                       meta.modified <= nowSecs + LatestBelievedAheadSecs
                   ? meta.modified
                   : 0;
    return true;
}

bool XferFileSink::write(const QByteArray &bytes)
{
    if (!file.isOpen()) {
        return failWith(tr("Writing to disk failed."));
    }
    if (sizeCap > 0 && written + bytes.size() > sizeCap) {
        return failWith(tr("The file is larger than the receive limit of %1 bytes.").arg(sizeCap));
    }
    if (file.write(bytes) != bytes.size()) {
        return failWith(tr("Could not write %1: %2").arg(native(temp), file.errorString()));
    }
    written += bytes.size();
    return true;
}

bool XferFileSink::commit(qint64 size)
{
    if (!file.isOpen()) {
        return failWith(tr("The data was received but could not be saved."));
    }
    if (size >= 0 && written < size) {
        return failWith(tr("The device announced %1 bytes but sent only %2.").arg(size).arg(written));
    }
    if (!file.flush() || (size >= 0 && written > size && !file.resize(size))) {
        return failWith(tr("Could not write %1: %2").arg(native(temp), file.errorString()));
    }
    if (size >= 0) {
        written = std::min(written, size);
    }
    if (modified > 0) {
        // Set before closing (the file must be open), after the last write.
        file.setFileTime(QDateTime::fromSecsSinceEpoch(modified), QFileDevice::FileModificationTime);
    }
    file.close();
    if (file.error() != QFileDevice::NoError) {
        return failWith(tr("Could not write %1: %2").arg(native(temp), file.errorString()));
    }
    // Something may have taken the name since the transfer began.
    const QFileInfo targetInfo(target);
    if (targetInfo.exists() || targetInfo.isSymLink()) {
        const QString other = xferUniquePath(folder, chosen);
        if (!other.isEmpty()) {
            target = other;
        }
    }
    if (!QFile::rename(temp, target)) {
        return failWith(
            tr("The file was received but could not be renamed to %1.").arg(native(target)));
    }
    temp.clear();
    committed = true;
    return true;
}

void XferFileSink::discard(bool keep)
{
    if (committed) {
        return;
    }
    if (file.isOpen()) {
        file.close();
    }
    if (temp.isEmpty()) {
        return;
    }
    if (keep && written > 0) {
        const QString partial =
            xferUniquePath(folder, QFileInfo(target).fileName() + QStringLiteral(".partial"));
        if (!partial.isEmpty() && QFile::rename(temp, partial)) {
            kept = partial;
            temp.clear();
            return;
        }
    }
    QFile::remove(temp);
    temp.clear();
}

bool XferFileSink::checkFreeSpace(qint64 bytes)
{
    const QStorageInfo volume(folder);
    if (!volume.isValid() || !volume.isReady() || volume.bytesAvailable() >= bytes) {
        return true;
    }
    constexpr qint64 MiB = 1 << 20;
    return failWith(tr("%1 has %2 MB free but the file needs %3 MB. Choose another location.")
                        .arg(native(folder), QString::number(volume.bytesAvailable() / MiB),
                             QString::number((bytes + MiB - 1) / MiB)));
}
