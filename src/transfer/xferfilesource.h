#pragma once

// The file being sent. It remembers the size and time the file had when opened, so
// that a file rewritten during the transfer is noticed before EOT claims success.

#include "transfer/xfersource.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

class XferFileSource : public XferSource
{
    Q_DECLARE_TR_FUNCTIONS(XferFileSource)
public:
    XferFileSource() = default;
    ~XferFileSource() override = default;

    // "Could not open %1: %2" in `error` on failure.
    bool open(const QString &path, QString *error);
    void close();
    // The file's name (without folders), size and modification time.
    XferFileMeta meta() const;

    qint64 size() const override { return fileSize; }
    QByteArray read(qint64 offset, qint64 length) override;
    bool hasError() const override { return readFailed; }
    bool stillIntact() const override;

private:
    QFile file;
    QString path;
    qint64 fileSize = 0;
    QDateTime modifiedAt;
    bool readFailed = false;
};
