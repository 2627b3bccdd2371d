#pragma once

// "Export Session": the focused port's history, or all ports', as CSV, JSON Lines or
// text. The file is written a slice at a time from the event loop with a progress bar,
// so a long export never freezes the window; it can be cancelled, and a file appears
// only when the export is complete.

#include "recording/sessionexport.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QTimer;
class SessionRecorder;

class SessionExportDialog : public QDialog
{
    Q_OBJECT
public:
    enum class Format {
        Csv = 0,
        Jsonl = 1,
        Text = 2,
    };

    struct Port
    {
        SessionExport::PortInfo info;
        const SessionRecorder *recorder = nullptr;
    };

    // Work of one slice before the event loop gets its turn again.
    static constexpr int SliceMs = 15;

    // `ports` in window order; `focused` indexes the focused one.
    SessionExportDialog(const QList<Port> &ports, int focused, QWidget *parent = nullptr);
    ~SessionExportDialog() override;

    static QString formatLabel(Format format);
    static QString formatSuffix(Format format);

    Format format() const;
    void setFormat(Format format);
    bool allPorts() const;
    void setAllPorts(bool all);
    void setAfterClear(bool on);
    QString overviewText() const;
    QString defaultFileName(const QDateTime &when) const;

    // What an export now would write.
    QList<SessionExport::Source> sources() const;
    SessionExport::Options options() const;

    // Starts writing to `path`; exportFinished() tells the end. False with `error` when
    // the file cannot be opened.
    bool startExport(const QString &path, QString *error);
    bool isExporting() const;
    // Stops a running export; nothing is left at the path.
    void cancelExport();

    void accept() override;
    void reject() override;

signals:
    void exportFinished(bool ok, const QString &message);

private:
    void updateForm();
    void runSlice();
    void finishExport(bool ok, const QString &message);

    QList<Port> ports;
    int focused = 0;

    QRadioButton *scopeFocusedRadio = nullptr;
    QRadioButton *scopeAllRadio = nullptr;
    QComboBox *formatCombo = nullptr;
    QComboBox *textColumnCombo = nullptr;
    QComboBox *dataAsCombo = nullptr;
    QCheckBox *afterClearBox = nullptr;
    QLabel *overviewLabel = nullptr;
    QProgressBar *progress = nullptr;
    QLabel *messageLabel = nullptr;
    QPushButton *exportButton = nullptr;

    struct Job;
    std::unique_ptr<Job> job;
    QTimer *sliceTimer = nullptr;
};
