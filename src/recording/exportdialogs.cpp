#include "recording/exportdialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace {

const QString Key = QStringLiteral("Export/LastDirectory");

} // namespace

QString ExportDialogs::lastDirectory()
{
    const QString stored = QSettings().value(Key).toString();
    if (!stored.isEmpty() && QFileInfo(stored).isDir()) {
        return stored;
    }
    return QDir::homePath();
}

void ExportDialogs::rememberDirectory(const QString &path)
{
    if (path.isEmpty()) {
        return;
    }
    const QFileInfo info(path);
    QSettings().setValue(Key, info.isDir() ? info.absoluteFilePath() : info.absolutePath());
}
