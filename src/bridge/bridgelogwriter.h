#pragma once

// Writes the capture file of one bridge. Lines gather in memory and reach the file when
// the owner calls flush() (twice a second, or when much is buffered), so that a fast
// bridge costs no file write per frame. At `rotateBytes` the file becomes "<name>.1",
// replacing an older one. A file that cannot be opened stops the capture, not the
// bridge.

#include "bridge/bridgelog.h"

#include <QFile>

class BridgeLogWriter
{
    Q_DECLARE_TR_FUNCTIONS(BridgeLogWriter)

public:
    static constexpr qint64 MinRotateBytes = 4096;
    // Buffered text beyond this is worth a flush before the next timer.
    static constexpr qsizetype FlushSoonBytes = 1 << 20;

    BridgeLogWriter();
    ~BridgeLogWriter();

    // Closes the file when the path changes or the capture is turned off.
    void configure(bool enabled, const QString &path, bool hex, qint64 rotateBytes);
    void setHeaderFields(const QString &link, const QString &endA, const QString &endB);
    void append(BridgeLog::Direction direction, const QString &peer, const QByteArray &bytes,
                const QDateTime &time);
    // Writes what is buffered. False, with the reason, when the file could not be
    // opened: the writer is then disabled and the buffer discarded.
    bool flush(QString *error);
    // Writes what remains and closes the file.
    void close();

    bool isEnabled() const { return enabled; }
    QString path() const { return filePath; }
    qsizetype bufferedBytes() const { return buffer.size(); }
    qsizetype bufferedLines() const { return lines; }

private:
    void rotateIfNeeded();
    bool openFile(QString *error);

    bool enabled = false;
    QString filePath;
    bool hex = true;
    qint64 rotateBytes = 16777216;
    QString linkName;
    QString endA;
    QString endB;
    QFile file;
    QByteArray buffer; // UTF-8 lines
    qsizetype lines = 0;
    QDateTime firstBuffered; // the start written in a new file's header
};
