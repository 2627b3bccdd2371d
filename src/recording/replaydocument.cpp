#include "recording/replaydocument.h"

#include "recording/vlmlog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

ReplayDocument::ReplayDocument() = default;
ReplayDocument::~ReplayDocument() = default;

bool ReplayDocument::open(const QString &path, bool /*isRecording*/, QString *error)
{
    auto device = std::make_unique<QFile>(path);
    if (!device->open(QIODevice::ReadOnly)) {
        if (error) {
            *error = tr("Could not open %1: %2")
                         .arg(QDir::toNativeSeparators(path), device->errorString());
        }
        return false;
    }
    file = std::move(device);
    filePath = path;
    idx = ReplayIndex();
    return true;
}

std::unique_ptr<QIODevice> ReplayDocument::openDevice() const
{
    auto device = std::make_unique<QFile>(filePath);
    if (!device->open(QIODevice::ReadOnly)) {
        return nullptr;
    }
    return device;
}

std::unique_ptr<ReplayIndexer> ReplayDocument::indexer(ReplayIndexerOptions options)
{
    return std::make_unique<ReplayIndexer>(file.get(), &idx, options);
}

void ReplayDocument::resetIndex()
{
    idx = ReplayIndex();
}

void ReplayDocument::adoptIndexedBookmarks()
{
    marks.reset(idx.bookmarks);
}

QString ReplayDocument::title() const
{
    return filePath.isEmpty() ? tr("Untitled") : QFileInfo(filePath).fileName();
}

bool ReplayDocument::appendSnapshot(QIODevice *device, bool needsNewline,
                                    const QList<ReplayBookmark> &bookmarks, qint64 savedAtUs)
{
    QByteArray line;
    if (needsNewline) {
        line += '\n';
    }
    line += Vlmlog::bookmarksLine(bookmarks, savedAtUs);
    line += '\n';
    return device->write(line) == line.size();
}

namespace {

// True when the file's last byte is not a line end (and the file is not empty).
bool endsMidLine(QFile &file)
{
    const qint64 size = file.size();
    if (size == 0) {
        return false;
    }
    QFile reader(file.fileName());
    if (!reader.open(QIODevice::ReadOnly) || !reader.seek(size - 1)) {
        return false;
    }
    char last = 0;
    return reader.read(&last, 1) == 1 && last != '\n';
}

} // namespace

bool ReplayDocument::saveBookmarks(const QString &path, qint64 nowUs, QString *error)
{
    const auto refuse = [error](const QString &message) {
        if (error) {
            *error = message;
        }
        return false;
    };
    if (path.isEmpty()) {
        return refuse(
            tr("This replay is not saved to a file yet; save a copy to keep your bookmarks."));
    }
    if (recording) {
        return refuse(tr("This file is still being recorded; save a copy to keep your bookmarks."));
    }
    const QFileInfo info(path);
    if (info.exists() && !info.isWritable()) {
        return refuse(tr("%1 is read-only; save a copy to keep your bookmarks.")
                          .arg(QDir::toNativeSeparators(path)));
    }
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Append)) {
        return refuse(tr("Could not save the bookmarks to %1: %2")
                          .arg(QDir::toNativeSeparators(path), out.errorString()));
    }
    const bool newline = endsMidLine(out);
    if (!appendSnapshot(&out, newline, marks.list(), nowUs) || !out.flush()) {
        return refuse(tr("Could not save the bookmarks to %1: %2")
                          .arg(QDir::toNativeSeparators(path), out.errorString()));
    }
    marks.setModified(false);
    return true;
}

bool ReplayDocument::saveCopy(const QString &path, qint64 nowUs, QString *error)
{
    QFile out(path);
    const auto fail = [&](const QString &reason) {
        if (error) {
            *error = tr("Could not save %1: %2").arg(QDir::toNativeSeparators(path), reason);
        }
        out.close();
        out.remove();
        return false;
    };
    const std::unique_ptr<QIODevice> in = openDevice();
    if (!in) {
        return fail(tr("the recording cannot be read"));
    }
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return fail(out.errorString());
    }
    QByteArray block;
    char last = '\n';
    for (;;) {
        block = in->read(1048576);
        if (block.isEmpty()) {
            if (in->atEnd()) {
                break;
            }
            return fail(in->errorString());
        }
        if (out.write(block) != block.size()) {
            return fail(out.errorString());
        }
        last = block.back();
    }
    if (!appendSnapshot(&out, last != '\n', marks.list(), nowUs) || !out.flush()) {
        return fail(out.errorString());
    }
    marks.setModified(false);
    return true;
}
