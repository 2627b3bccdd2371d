#include "transfer/xferfilesource.h"

#include <QDir>
#include <QFileInfo>

bool XferFileSource::open(const QString &filePath, QString *error)
{
    close();
    path = filePath;
    const QFileInfo info(filePath);
    file.setFileName(filePath);
    QString why;
    if (info.isDir()) {
        why = tr("It is a folder.");
    } else if (!file.open(QIODevice::ReadOnly)) {
        why = file.errorString();
    }
    if (!why.isEmpty()) {
        if (error) {
            *error = tr("Could not open %1: %2").arg(QDir::toNativeSeparators(filePath), why);
        }
        return false;
    }
    fileSize = file.size();
    modifiedAt = info.lastModified();
    readFailed = false;
    return true;
}

void XferFileSource::close()
{
    if (file.isOpen()) {
        file.close();
    }
}

XferFileMeta XferFileSource::meta() const
{
    XferFileMeta m;
    m.name = QFileInfo(path).fileName();
    m.size = fileSize;
    m.modified = modifiedAt.isValid() ? modifiedAt.toSecsSinceEpoch() : 0;
    return m;
}

QByteArray XferFileSource::read(qint64 offset, qint64 length)
{
    if (!file.isOpen() || offset < 0 || length <= 0 || !file.seek(offset)) {
        readFailed = true;
        return QByteArray();
    }
    QByteArray data = file.read(length);
    if (file.error() != QFileDevice::NoError) {
        readFailed = true;
        return QByteArray();
    }
    return data;
}

bool XferFileSource::stillIntact() const
{
    const QFileInfo info(path);
    return info.exists() && info.size() == fileSize && info.lastModified() == modifiedAt;
}
