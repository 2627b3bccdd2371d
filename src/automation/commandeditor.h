#pragma once

// The form for one command: name, format, text, line ending, checksum, shortcut and
// note, with a live preview of the bytes it sends on the focused port.

#include "automation/commandlibrary.h"
#include "connection/settings.h"

#include <QWidget>

class QComboBox;
class QKeySequenceEdit;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

class CommandEditor : public QWidget
{
    Q_OBJECT
public:
    explicit CommandEditor(QWidget *parent = nullptr);

    void setCommand(const Command &command);
    Command command() const;
    // The focused port's format, which the preview encodes with.
    void setFormat(const FormatSetting &format);
    // The preview's verdict: whether the command encodes on the focused port.
    bool encodes() const { return previewOk; }

    // Box positions: 0 is "the port's setting" (-1), then the stored values from 0.
    static int valueFromBoxIndex(int index) { return index - 1; }
    static int boxIndexFromValue(int value) { return value < 0 ? 0 : value + 1; }

public slots:
    void refresh();

signals:
    // The user edited a field.
    void changed();

private:
    void onEdited();

    QLineEdit *nameEdit = nullptr;
    QComboBox *formatBox = nullptr;
    QPlainTextEdit *textEdit = nullptr;
    QComboBox *lineEndingBox = nullptr;
    QComboBox *checksumBox = nullptr;
    QKeySequenceEdit *shortcutEdit = nullptr;
    QLineEdit *noteEdit = nullptr;
    QLabel *hintLabel = nullptr;
    QLabel *previewLabel = nullptr;
    FormatSetting portFormat;
    bool pushing = false; // set while fields are filled from a record
    bool previewOk = false;
};
