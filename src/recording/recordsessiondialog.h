#pragma once

// Asks where to record a session and how: the file, whether to start with what the
// port histories already hold, and the size at which a new part begins. Accepting
// asks before an earlier recording (or its parts) is replaced.

#include "recording/sessionrecording.h"

#include <QDialog>

#include <functional>

class QCheckBox;
class QLineEdit;
class QSpinBox;

class RecordSessionDialog : public QDialog
{
    Q_OBJECT
public:
    // `heldText` says what the histories hold now ("3 ports, 1.2 MB").
    RecordSessionDialog(const QString &path, const QString &heldText, QWidget *parent = nullptr);

    SessionRecording::Options options() const;
    void setOptions(const SessionRecording::Options &options);
    // Asked with the question before a file is replaced; a message box by default.
    void setConfirm(std::function<bool(const QString &question)> confirm);

    void accept() override;

private:
    void browse();

    QLineEdit *pathEdit;
    QCheckBox *heldBox;
    QSpinBox *partSpin;
    std::function<bool(const QString &)> confirm;
};
