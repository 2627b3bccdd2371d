#include "bridge/bridgelogwriter.h"

#include <QDir>
#include <QFileInfo>

BridgeLogWriter::BridgeLogWriter() = default;

BridgeLogWriter::~BridgeLogWriter()
{
    close();
}

void BridgeLogWriter::configure(bool on, const QString &path, bool hexData, qint64 rotate)
{
    if (file.isOpen() && (!on || path != filePath)) {
        QString ignored;
        flush(&ignored);
        file.close();
    }
    enabled = on && !path.isEmpty();
    filePath = path;
    hex = hexData;
    rotateBytes = std::max(rotate, MinRotateBytes);
    if (!enabled) {
        buffer.clear();
        lines = 0;
    }
}

void BridgeLogWriter::setHeaderFields(const QString &link, const QString &a, const QString &b)
{
    linkName = link;
    endA = a;
    endB = b;
}

void BridgeLogWriter::append(BridgeLog::Direction direction, const QString &peer,
                             const QByteArray &bytes, const QDateTime &time)
{
    if (!enabled || bytes.isEmpty()) {
        return;
    }
    if (lines == 0) {
        firstBuffered = time;
    }
    buffer += BridgeLog::formatLine(time, direction, peer, bytes, hex).toUtf8();
    buffer += '\n';
    ++lines;
}

bool BridgeLogWriter::flush(QString *error)
{
    if (!enabled || buffer.isEmpty()) {
        return true;
    }
    rotateIfNeeded();
    if (!openFile(error)) {
        enabled = false;
        buffer.clear();
        lines = 0;
        return false;
    }
    file.write(buffer);
    file.flush();
    buffer.clear();
    lines = 0;
    return true;
}

void BridgeLogWriter::close()
{
    QString ignored;
    flush(&ignored);
    file.close();
}

void BridgeLogWriter::rotateIfNeeded()
{
    if (!file.isOpen() || file.size() < rotateBytes) {
        return;
    }
    file.close();
    const QString archive = filePath + QStringLiteral(".1");
    QFile::remove(archive);
    QFile::rename(filePath, archive);
}

bool BridgeLogWriter::openFile(QString *error)
{
    if (file.isOpen()) {
        return true;
    }
    const QString folder = QFileInfo(filePath).absolutePath();
    if (!QDir().mkpath(folder)) {
        *error = tr("Cannot create the log folder %1").arg(QDir::toNativeSeparators(folder));
        return false;
    }
    file.setFileName(filePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        *error =
            tr("Cannot open %1: %2").arg(QDir::toNativeSeparators(filePath), file.errorString());
        return false;
    }
    if (file.size() == 0) {
        file.write(BridgeLog::formatHeader(linkName, endA, endB, firstBuffered).toUtf8());
    }
    return true;
}
