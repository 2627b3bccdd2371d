#include "transfer/xferfilename.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype MaxNameBytes = 255;
constexpr int MaxUniqueTries = 10000;

// Blanks at both ends, then dots and blanks at the end: Windows drops trailing dots
// and blanks itself, so "a.txt." would silently become "a.txt" there.
QString trimName(QString name)
{
    name = name.trimmed();
    while (!name.isEmpty() && (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' ')))) {
        name.chop(1);
    }
    return name.trimmed();
}

bool isReservedDeviceName(const QString &name)
{
    const QString stem = name.section(QLatin1Char('.'), 0, 0).toUpper();
    static const QStringList fixed = {QStringLiteral("CON"), QStringLiteral("PRN"),
                                      QStringLiteral("AUX"), QStringLiteral("NUL")};
    if (fixed.contains(stem)) {
        return true;
    }
    if (stem.size() == 4 && (stem.startsWith(QLatin1String("COM")) ||
                             stem.startsWith(QLatin1String("LPT")))) {
        const QChar digit = stem.at(3);
        return digit >= QLatin1Char('1') && digit <= QLatin1Char('9');
    }
    return false;
}

bool pathTaken(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

QString xferCutUtf8(const QString &text, qsizetype maxBytes)
{
    const QByteArray utf8 = text.toUtf8();
    if (utf8.size() <= maxBytes) {
        return text;
    }
    qsizetype cut = maxBytes;
    while (cut > 0 && (quint8(utf8[cut]) & 0xC0) == 0x80) {
        --cut;
    }
    return QString::fromUtf8(utf8.left(cut));
}

QString xferSafeFileName(const QString &name, const QDateTime &now)
{
    QString base = name.mid(std::max(name.lastIndexOf(QLatin1Char('/')),
                                     name.lastIndexOf(QLatin1Char('\\'))) + 1);
    base = base.mid(base.lastIndexOf(QLatin1Char(':')) + 1); // "C:x", "file:stream"

    static const QString forbidden = QStringLiteral("\"*/:<>?\\|");
    QString clean;
    clean.reserve(base.size());
    for (const QChar c : std::as_const(base)) {
        if (c.unicode() < 32 || c.unicode() == 127 || forbidden.contains(c)) {
            continue;
        }
        clean.append(c);
    }
    clean = trimName(clean);
    if (isReservedDeviceName(clean)) {
        clean.prepend(QLatin1Char('_'));
    }
    clean = trimName(xferCutUtf8(clean, MaxNameBytes));
    if (clean.isEmpty()) {
        clean = QStringLiteral("received_%1.bin").arg(now.toString(QStringLiteral("yyyyMMdd-hhmmss")));
    }
    return clean;
}

QString xferUniquePath(const QString &folder, const QString &name)
{
    const QDir dir(folder);
    const QString first = dir.filePath(name);
    if (!pathTaken(first)) {
        return first;
    }
    // A leading dot belongs to the stem: ".profile" has no suffix.
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString suffix = dot > 0 ? name.mid(dot) : QString();
    const QString stem = dot > 0 ? name.left(dot) : name;
    for (int n = 2; n <= MaxUniqueTries; ++n) {
        const QString tail = QStringLiteral(" (") + QString::number(n) + QLatin1Char(')') + suffix;
        const QString candidate =
            xferCutUtf8(stem, MaxNameBytes - tail.toUtf8().size()) + tail;
        const QString path = dir.filePath(candidate);
        if (!pathTaken(path)) {
            return path;
        }
    }
    return QString();
}
