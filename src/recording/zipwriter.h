#pragma once

// A small writer of classic ZIP archives (no ZIP64, no data descriptors, no
// encryption): each entry is written at once behind its local header, and only the
// central directory records are kept until finish(). Entries are deflated through
// zlib and stored when deflating would not make them smaller.
//
// Limits: at most 65535 entries, 64 MiB an entry, 1 GiB in all. The first write error
// stays: later calls do nothing and return false.

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>

class QIODevice;

class ZipWriter
{
    Q_DECLARE_TR_FUNCTIONS(ZipWriter)

public:
    enum class Method {
        Store,
        Deflate,
    };

    static constexpr int MaxEntries = 65535;
    static constexpr qint64 MaxEntryBytes = 67108864;
    static constexpr qint64 MaxArchiveBytes = 1073741802;

    explicit ZipWriter(QIODevice *device);

    bool addFile(const QString &name, const QByteArray &data, const QDateTime &time,
                 Method method = Method::Deflate);
    // Writes the central directory and the end record.
    bool finish();
    QString errorString() const { return error; }
    bool isFinished() const { return finished; }
    qint64 size() const { return offset; }
    int entryCount() const { return int(entries.size()); }

    // The standard reflected CRC-32 (polynomial 0xEDB88320).
    static quint32 crc32(QByteArrayView bytes);
    // A relative path with "/" between its parts, none of them empty, "." or "..", no
    // backslash, no colon, no control character, at most 65535 bytes in UTF-8.
    static bool isValidPath(const QString &name);
    // Raw deflate (no zlib header or trailer) at level 6; empty when it could not be
    // made, in which case the entry is stored.
    static QByteArray rawDeflate(const QByteArray &data, const QString &name = QString());
    // The deflate stream inside qCompress output: its 4-byte length, 2-byte zlib header
    // and 4-byte Adler-32 cut off after the header was checked. Empty when the framing is
    // not what it should be.
    static QByteArray stripQCompressFraming(const QByteArray &compressed);
    // MS-DOS time (high 16 bits: date) of a local time, clamped to 1980-01-01 00:00:00
    // .. 2107-12-31 23:59:58, seconds halved.
    static quint32 dosDateTime(const QDateTime &time);

private:
    struct Entry
    {
        QByteArray name; // UTF-8
        quint16 flags = 0;
        quint16 method = 0;
        quint32 dosTime = 0;
        quint32 crc = 0;
        quint32 compressedSize = 0;
        quint32 size = 0;
        quint32 offset = 0;
    };

    bool fail(const QString &message);
    bool writeBytes(const QByteArray &bytes);
    bool checkWritable();

    QIODevice *device;
    QList<Entry> entries;
    QSet<QString> names;
    qint64 offset = 0;
    qint64 centralBytes = 0; // what the central directory will take
    bool finished = false;
    bool broken = false; // a write failed: nothing more is written
    QString error;
};
