#pragma once

// "Export Diagnostic Pack": the user picks what goes in, sees the list of what the pack
// will hold, and saves it. The pack is written on a worker thread with a progress bar,
// so a large session never freezes the window; Cancel stops it between entries and
// keeps what was written, marked as cancelled in its manifest. After writing, the
// manifest is shown: every entry with its size, and how much was scrubbed.

#include "recording/diagnosticpack.h"

#include <QDialog>

#include <atomic>
#include <memory>

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QThread;

class DiagnosticPackDialog : public QDialog
{
    Q_OBJECT
public:
    // `maxTraffic`: bytes of session data the ports hold now, told beside its box.
    explicit DiagnosticPackDialog(qint64 maxTraffic, QWidget *parent = nullptr);
    ~DiagnosticPackDialog() override;

    // What the pack is made of; the options are taken from the boxes.
    void setInput(const DiagnosticPack::Input &input);
    DiagnosticPack::Options options() const;
    void setOptions(const DiagnosticPack::Options &options);
    QString contentsText() const;
    static QString defaultFileName(const QDateTime &when);

    // Starts writing to `path`; packFinished() tells the end. False when a pack is
    // already being written.
    bool startPack(const QString &path);
    bool isWriting() const;
    void cancelPack();

    void reject() override;

signals:
    void packFinished(bool ok, const QString &message);

private:
    void updateContents();
    void showLines(const QStringList &lines);
    void save();
    void showProgress(int done, int total);
    void finish(bool ok, const QString &error, const DiagnosticPack::Result &result,
                const QString &path);

    DiagnosticPack::Input input;
    QCheckBox *trafficBox = nullptr;
    QCheckBox *projectBox = nullptr;
    QCheckBox *libraryBox = nullptr;
    QCheckBox *sendHistoryBox = nullptr;
    QCheckBox *sequencesBox = nullptr;
    QCheckBox *bridgeCapturesBox = nullptr;
    QPlainTextEdit *contentsView = nullptr;
    QProgressBar *progress = nullptr;
    QLabel *messageLabel = nullptr;
    QPushButton *saveButton = nullptr;
    QPushButton *closeButton = nullptr;
    QThread *worker = nullptr;
    std::shared_ptr<std::atomic_bool> cancelFlag;
};
