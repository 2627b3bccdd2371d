#pragma once

// "Export Sequence Report": asks for a file and writes the focused port's sequence log
// to it, as text or, for a name ending in ".json", as JSON.

#include "automation/sequencereportlog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QString>

class QWidget;

class SequenceReportExport
{
    Q_DECLARE_TR_FUNCTIONS(SequenceReportExport)

public:
    // "Text files (*.txt)" and "JSON files (*.json)", as a file dialog filter.
    static QString fileFilter();
    // "VLM-sequences-<port key>-<yyyyMMdd-HHmmss>.txt"
    static QString suggestedFileName(const QString &portKey, const QDateTime &when);
    // Writes the runs to `path` in the local time zone; returns the status text.
    static QString write(const QString &path, const QList<SequenceRunRecord> &runs);
    // The whole action: the empty-log notice, the file dialog (starting in `folder`) and
    // the write. Returns the text for the status bar, or an empty text when the user
    // cancelled.
    static QString run(QWidget *parent, const SequenceReportLog &log, const QString &portKey,
                       const QString &folder = QString());
};
