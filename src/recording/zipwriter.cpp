#include "recording/zipwriter.h"

#include <QIODevice>
#include <QLoggingCategory>
#include <QtEndian>

#include <zlib.h>

namespace {

Q_LOGGING_CATEGORY(lcZip, "vlm.app")

constexpr quint32 LocalSignature = 0x04034B50;
constexpr quint32 CentralSignature = 0x02014B50;
constexpr quint32 EndSignature = 0x06054B50;
constexpr quint16 Version = 20;
constexpr quint16 Utf8Names = 1 << 11;
constexpr qint64 LocalHeaderBytes = 30;
constexpr qint64 CentralRecordBytes = 46;
constexpr qint64 EndRecordBytes = 22;

void put16(QByteArray &out, quint16 value)
{
    char bytes[2];
    qToLittleEndian(value, bytes);
    out.append(bytes, 2);
}

void put32(QByteArray &out, quint32 value)
{
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.append(bytes, 4);
}

bool isAscii(const QByteArray &bytes)
{
    return std::all_of(bytes.cbegin(), bytes.cend(), [](char c) { return quint8(c) < 0x80; });
}

} // namespace

ZipWriter::ZipWriter(QIODevice *device)
    : device(device)
{}

quint32 ZipWriter::crc32(QByteArrayView bytes)
{
    // zlib's crc32() is this CRC, with tables built once and a faster inner loop.
    uLong crc = ::crc32(0L, nullptr, 0);
    const auto *data = reinterpret_cast<const Bytef *>(bytes.data());
    qsizetype left = bytes.size();
    while (left > 0) {
        const uInt chunk = uInt(std::min<qsizetype>(left, 1 << 30));
        crc = ::crc32(crc, data, chunk);
        data += chunk;
        left -= chunk;
    }
    return quint32(crc);
}

bool ZipWriter::isValidPath(const QString &name)
{
    if (name.isEmpty() || name.startsWith(u'/') || name.toUtf8().size() > 65535) {
        return false;
    }
    for (const QChar c : name) {
        if (c == u'\\' || c == u':' || c.unicode() < 0x20 || c.unicode() == 0x7F) {
            return false;
        }
    }
    const QStringList parts = name.split(u'/');
    return std::none_of(parts.cbegin(), parts.cend(), [](const QString &part) {
        return part.isEmpty() || part == QStringLiteral(".") || part == QStringLiteral("..");
    });
}

QByteArray ZipWriter::stripQCompressFraming(const QByteArray &compressed)
{
    // 4 bytes of length, the 2-byte zlib header, at least one byte of deflate data,
    // the 4-byte Adler-32.
    if (compressed.size() < 4 + 2 + 1 + 4) {
        return {};
    }
    const auto cmf = quint8(compressed.at(4));
    const auto flg = quint8(compressed.at(5));
    const bool deflate = (cmf & 0x0F) == 8;
    const bool window = (cmf >> 4) <= 7;      // up to 32 KiB
    const bool noDictionary = (flg & 0x20) == 0;
    const bool check = ((cmf << 8) | flg) % 31 == 0;
    if (!deflate || !window || !noDictionary || !check) {
        return {};
    }
    return compressed.mid(6, compressed.size() - 6 - 4);
}

QByteArray ZipWriter::rawDeflate(const QByteArray &data, const QString &name)
{
    const QByteArray stream = stripQCompressFraming(qCompress(data, 6));
    if (stream.isEmpty()) {
        qCWarning(lcZip, "ZipWriter: unexpected qCompress output for %s; storing",
                  qUtf8Printable(name));
    }
    return stream;
}

quint32 ZipWriter::dosDateTime(const QDateTime &time)
{
    static const QDateTime earliest(QDate(1980, 1, 1), QTime(0, 0, 0));
    static const QDateTime latest(QDate(2107, 12, 31), QTime(23, 59, 58));
    QDateTime local = time.isValid() ? time.toLocalTime() : earliest;
    local = std::clamp(local, earliest, latest);
    const QDate date = local.date();
    const QTime clock = local.time();
    const quint32 dosDate =
        quint32(((date.year() - 1980) << 9) | (date.month() << 5) | date.day());
    const quint32 dosTime =
        quint32((clock.hour() << 11) | (clock.minute() << 5) | (clock.second() / 2));
    return (dosDate << 16) | dosTime;
}

bool ZipWriter::fail(const QString &message)
{
    error = message;
    return false;
}

bool ZipWriter::checkWritable()
{
    if (!device || !device->isWritable()) {
        broken = true;
        error = tr("The output is not open for writing.");
        return false;
    }
    return true;
}

bool ZipWriter::writeBytes(const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        return true;
    }
    if (device->write(bytes) != bytes.size()) {
        broken = true;
        error = tr("Could not write the archive: %1").arg(device->errorString());
        return false;
    }
    offset += bytes.size();
    return true;
}

bool ZipWriter::addFile(const QString &name, const QByteArray &data, const QDateTime &time,
                        Method method)
{
    if (broken) {
        return false;
    }
    if (finished) {
        return fail(tr("The archive is already finished."));
    }
    if (!checkWritable()) {
        return false;
    }
    if (!isValidPath(name)) {
        return fail(tr("Invalid entry name: %1").arg(name));
    }
    if (names.contains(name)) {
        return fail(tr("Duplicate entry name: %1").arg(name));
    }
    if (entries.size() >= MaxEntries) {
        return fail(tr("The archive has too many entries."));
    }
    if (data.size() > MaxEntryBytes) {
        return fail(tr("The entry %1 is too large.").arg(name));
    }

    Entry entry;
    entry.name = name.toUtf8();
    entry.flags = isAscii(entry.name) ? 0 : Utf8Names;
    entry.dosTime = dosDateTime(time);
    entry.crc = crc32(data);
    entry.size = quint32(data.size());
    QByteArray deflated;
    // An empty entry is always stored: there is nothing to gain.
    if (method == Method::Deflate && !data.isEmpty()) {
        deflated = rawDeflate(data, name);
        if (deflated.isEmpty() || deflated.size() >= data.size()) {
            deflated.clear();
        }
    }
    const QByteArray &body = deflated.isEmpty() ? data : deflated;
    entry.method = deflated.isEmpty() ? 0 : 8;
    entry.compressedSize = quint32(body.size());

    const qint64 nameBytes = entry.name.size();
    const qint64 total = offset + LocalHeaderBytes + nameBytes + body.size() + centralBytes +
                         CentralRecordBytes + nameBytes + EndRecordBytes;
    if (total > MaxArchiveBytes) {
        return fail(tr("The archive would be too large."));
    }
    entry.offset = quint32(offset);

    QByteArray header;
    header.reserve(LocalHeaderBytes + nameBytes);
    put32(header, LocalSignature);
    put16(header, Version);
    put16(header, entry.flags);
    put16(header, entry.method);
    put32(header, entry.dosTime);
    put32(header, entry.crc);
    put32(header, entry.compressedSize);
    put32(header, entry.size);
    put16(header, quint16(nameBytes));
    put16(header, 0);
    header += entry.name;
    if (!writeBytes(header) || !writeBytes(body)) {
        return false;
    }
    centralBytes += CentralRecordBytes + nameBytes;
    names.insert(name);
    entries.append(std::move(entry));
    return true;
}

bool ZipWriter::finish()
{
    if (broken) {
        return false;
    }
    if (finished) {
        return fail(tr("The archive is already finished."));
    }
    if (!checkWritable()) {
        return false;
    }
    const qint64 directoryStart = offset;
    QByteArray directory;
    directory.reserve(centralBytes + EndRecordBytes);
    for (const Entry &entry : std::as_const(entries)) {
        put32(directory, CentralSignature);
        put16(directory, Version); // made by: MS-DOS, 2.0
        put16(directory, Version);
        put16(directory, entry.flags);
        put16(directory, entry.method);
        put32(directory, entry.dosTime);
        put32(directory, entry.crc);
        put32(directory, entry.compressedSize);
        put32(directory, entry.size);
        put16(directory, quint16(entry.name.size()));
        put16(directory, 0); // extra
        put16(directory, 0); // comment
        put16(directory, 0); // disk
        put16(directory, 0); // internal attributes
        put32(directory, 0); // external attributes
        put32(directory, entry.offset);
        directory += entry.name;
    }
    const auto directorySize = quint32(directory.size());
    put32(directory, EndSignature);
    put16(directory, 0);
    put16(directory, 0);
    put16(directory, quint16(entries.size()));
    put16(directory, quint16(entries.size()));
    put32(directory, directorySize);
    put32(directory, quint32(directoryStart));
    put16(directory, 0);
    finished = true;
    return writeBytes(directory);
}
