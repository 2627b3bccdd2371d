// Builds an archive from entries whose names, contents, methods and times come from the
// input, then reads it back with its own small reader: every accepted entry is there
// once, in order, behind a local header that agrees with the central directory, its
// CRC and sizes are right, a deflated entry inflates (raw, through zlib) to its data and
// is smaller than it, an empty entry is stored, and names are refused exactly when they
// are not plain relative paths or already taken.

#include "recording/zipwriter.h"

#include <QBuffer>
#include <QSet>
#include <QtEndian>

#include <fuzzer/FuzzedDataProvider.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

quint16 get16(const QByteArray &bytes, qint64 at)
{
    check(at >= 0 && at + 2 <= bytes.size(), "field inside the archive");
    return qFromLittleEndian<quint16>(bytes.constData() + at);
}

quint32 get32(const QByteArray &bytes, qint64 at)
{
    check(at >= 0 && at + 4 <= bytes.size(), "field inside the archive");
    return qFromLittleEndian<quint32>(bytes.constData() + at);
}

QByteArray inflateRaw(const QByteArray &data, qsizetype size)
{
    QByteArray out(size, Qt::Uninitialized);
    z_stream stream{};
    check(inflateInit2(&stream, -15) == Z_OK, "inflate starts");
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    const int result = inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    check(result == Z_STREAM_END && stream.avail_out == 0 && stream.avail_in == 0,
          "a deflated entry inflates to exactly its size");
    return out;
}

struct Added
{
    QString name;
    QByteArray data;
};

// Name pieces that make paths good and bad.
const char *const Pieces[] = {"a",  "b.txt", "..", ".",  "",   "/",  "\\", "C:", "é",
                              "中", "x y", "\t", "..a", "a.", "//", "~",  ":"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    QByteArray archive;
    QBuffer buffer(&archive);
    buffer.open(QIODevice::WriteOnly);
    ZipWriter zip(&buffer);
    QList<Added> added;
    QSet<QString> taken;

    const int count = input.ConsumeIntegralInRange(0, 24);
    for (int i = 0; i < count && input.remaining_bytes() > 0; ++i) {
        QString name;
        if (input.ConsumeBool()) {
            const int parts = input.ConsumeIntegralInRange(1, 4);
            for (int p = 0; p < parts; ++p) {
                name += QString::fromUtf8(Pieces[input.ConsumeIntegralInRange<size_t>(
                    0, std::size(Pieces) - 1)]);
            }
        } else {
            name = QString::fromStdString(input.ConsumeRandomLengthString(40));
        }
        QByteArray bytes;
        switch (input.ConsumeIntegralInRange(0, 2)) {
        case 0:
            bytes = QByteArray::fromStdString(input.ConsumeRandomLengthString(2000));
            break;
        case 1: // compressible
            bytes = QByteArray::fromStdString(input.ConsumeRandomLengthString(16))
                        .repeated(input.ConsumeIntegralInRange(0, 500));
            break;
        default:
            break; // empty
        }
        const auto method = input.ConsumeBool() ? ZipWriter::Method::Deflate
                                                : ZipWriter::Method::Store;
        const QDateTime time = QDateTime::fromSecsSinceEpoch(input.ConsumeIntegral<qint32>());
        const bool valid = ZipWriter::isValidPath(name);
        const bool ok = zip.addFile(name, bytes, time, method);
        check(ok == (valid && !taken.contains(name)), "accepted exactly when valid and new");
        if (!ok) {
            check(zip.errorString() == (valid ? QStringLiteral("Duplicate entry name: %1")
                                              : QStringLiteral("Invalid entry name: %1"))
                                           .arg(name),
                  "the refusal names its reason");
            continue;
        }
        check(!name.startsWith(u'/') && !name.contains(u'\\') && !name.split(u'/').contains(".."),
              "an accepted name stays inside the archive");
        taken.insert(name);
        added.append({name, bytes});
    }
    check(zip.finish(), "finish");
    check(zip.size() == archive.size(), "size counts every byte");

    // Read it back from the end record.
    const qint64 end = archive.size() - 22;
    check(get32(archive, end) == 0x06054B50, "end record");
    check(get16(archive, end + 8) == added.size() && get16(archive, end + 10) == added.size(),
          "entry counts");
    const quint32 directorySize = get32(archive, end + 12);
    qint64 at = get32(archive, end + 16);
    check(at + directorySize == end, "directory ends at the end record");
    for (const Added &entry : std::as_const(added)) {
        check(get32(archive, at) == 0x02014B50, "central record");
        const quint16 flags = get16(archive, at + 8);
        const quint16 method = get16(archive, at + 10);
        const quint32 crc = get32(archive, at + 16);
        const quint32 packed = get32(archive, at + 20);
        const quint32 unpacked = get32(archive, at + 24);
        const quint16 nameLength = get16(archive, at + 28);
        const quint32 local = get32(archive, at + 42);
        const QByteArray name = archive.mid(at + 46, nameLength);
        check(name == entry.name.toUtf8(), "names in order");
        const bool ascii = std::all_of(name.cbegin(), name.cend(),
                                       [](char c) { return quint8(c) < 0x80; });
        check(((flags & 0x800) != 0) == !ascii, "UTF-8 flag for names beyond ASCII");
        check(crc == ZipWriter::crc32(entry.data) && unpacked == entry.data.size(), "CRC, size");
        check(get32(archive, local) == 0x04034B50, "local header");
        check(get16(archive, local + 8) == method && get32(archive, local + 14) == crc &&
                  get32(archive, local + 18) == packed && get16(archive, local + 26) == nameLength,
              "local header agrees with the directory");
        const QByteArray body = archive.mid(local + 30 + nameLength, packed);
        check(body.size() == qsizetype(packed), "entry data inside the archive");
        if (method == 8) {
            check(!entry.data.isEmpty() && packed < unpacked, "deflated only when it pays");
            check(inflateRaw(body, unpacked) == entry.data, "inflates to the data");
        } else {
            check(method == 0 && body == entry.data, "stored as it is");
        }
        at += 46 + nameLength;
    }
    return 0;
}
