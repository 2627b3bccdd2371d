#include "recording/replayfiles.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace ReplayFiles {

bool samePath(const QString &a, const QString &b)
{
    const QFileInfo fa(a);
    const QFileInfo fb(b);
    QString ca = fa.canonicalFilePath();
    QString cb = fb.canonicalFilePath();
    if (ca.isEmpty() || cb.isEmpty()) {
        ca = fa.absoluteFilePath();
        cb = fb.absoluteFilePath();
    }
#ifdef Q_OS_WIN
    return ca.compare(cb, Qt::CaseInsensitive) == 0;
#else
    return ca == cb;
#endif
}

QString partPath(const QString &base, int part)
{
    const QFileInfo info(base);
    const QString suffix = info.suffix();
    const QString name = suffix.isEmpty()
                             ? QStringLiteral("%1-part%2").arg(info.completeBaseName()).arg(part)
                             : QStringLiteral("%1-part%2.%3")
                                   .arg(info.completeBaseName())
                                   .arg(part)
                                   .arg(suffix);
    return info.dir().filePath(name);
}

QStringList existingParts(const QString &base)
{
    const QFileInfo info(base);
    const QString suffix = info.suffix();
    const QRegularExpression pattern(
        QStringLiteral("^%1-part\\d+%2$")
            .arg(QRegularExpression::escape(info.completeBaseName()),
                 suffix.isEmpty() ? QString()
                                  : QRegularExpression::escape(u'.' + suffix)));
    QStringList out;
    const QStringList names = info.dir().entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        if (pattern.match(name).hasMatch()) {
            out.append(info.dir().filePath(name));
        }
    }
    return out;
}

QString linkedPart(const QString &current, const QString &name)
{
    // Only a plain file name is followed, never a path out of the folder.
    if (name.isEmpty() || name.contains(u'/') || name.contains(u'\\') || name == QLatin1String("..")) {
        return {};
    }
    const QString path = QFileInfo(current).dir().filePath(name);
    return QFileInfo::exists(path) ? path : QString();
}

} // namespace ReplayFiles
