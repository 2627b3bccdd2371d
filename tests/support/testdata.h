#pragma once

// Test data helpers shared by the tests of every layer: reproducible random bytes and
// whole-file reads and writes.

#include <QByteArray>
#include <QFile>
#include <QRandomGenerator>
#include <QString>

namespace testdata {

// `size` bytes drawn from a generator seeded with `seed`, the same on every run.
inline QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(seed);
    for (char &b : bytes) {
        b = char(random.bounded(256));
    }
    return bytes;
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// The file's bytes, or "<missing>" when it cannot be read, so a comparison shows why.
inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace testdata
