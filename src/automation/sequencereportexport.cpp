#include "automation/sequencereportexport.h"

#include "automation/sequencereport.h"

#include <QDir>
#include <QFileDialog>
#include <QTimeZone>

QString SequenceReportExport::fileFilter()
{
    return tr("Text files (*.txt)") + QStringLiteral(";;") + tr("JSON files (*.json)");
}

QString SequenceReportExport::suggestedFileName(const QString &portKey, const QDateTime &when)
{
    return QStringLiteral("VLM-sequences-%1-%2.txt")
        .arg(portKey, when.toString(QStringLiteral("yyyyMMdd-HHmmss")));
}

QString SequenceReportExport::write(const QString &path, const QList<SequenceRunRecord> &runs)
{
    QString error;
    const QString shown = QDir::toNativeSeparators(path);
    if (!SequenceReport::writeFile(path, runs, QTimeZone::systemTimeZone(), &error)) {
        return tr("Could not save %1: %2").arg(shown, error);
    }
    return tr("Saved %1.").arg(shown);
}

QString SequenceReportExport::run(QWidget *parent, const SequenceReportLog &log,
                                  const QString &portKey, const QString &folder)
{
    if (log.isEmpty()) {
        return tr("The focused port has not run a sequence this session.");
    }
    const QString path = QFileDialog::getSaveFileName(
        parent, tr("Export Sequence Report"),
        QDir(folder).filePath(suggestedFileName(portKey, QDateTime::currentDateTime())),
        fileFilter());
    if (path.isEmpty()) {
        return QString();
    }
    return write(path, log.runs());
}
