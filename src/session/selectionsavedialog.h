#pragma once

// Saves the bytes behind a selection of the receive view: as they are (binary), as a
// hex dump, or as C source with an array. The C options are kept for the next time.

#include "recording/sessionexport.h"
#include "session/selectionmapper.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;
class QWidget;

class SelectionSaveDialog : public QDialog
{
    Q_OBJECT
public:
    enum class Format {
        Binary = 0,
        HexDump = 1,
        CSource = 2,
    };

    // `source` names where the bytes came from (the port).
    SelectionSaveDialog(const SelectionResult &result, const QString &source,
                        QWidget *parent = nullptr);

    Format format() const;
    void setFormat(Format format);
    // "bin", "txt" or "c".
    QString fileSuffix() const;
    QString fileFilter() const;
    QString defaultFileName(const QDateTime &when) const;
    SessionExport::CArrayOptions cArrayOptions() const;
    static void saveCArrayOptions(const SessionExport::CArrayOptions &options);
    static SessionExport::CArrayOptions loadCArrayOptions();

    // The file as it will be written.
    QByteArray content() const;
    // Writes the file; `message` is "Saved %1." or why it could not be.
    bool writeTo(const QString &path, QString *message);
    QString previewText() const;
    // What the last save said.
    QString resultMessage() const { return lastMessage; }

    void accept() override;

private:
    void updateForm();

    SelectionResult result;
    QByteArray bytes;
    QString source;
    QString lastMessage;

    QComboBox *formatCombo = nullptr;
    QWidget *cOptions = nullptr;
    QLineEdit *arrayNameEdit = nullptr;
    QSpinBox *bytesPerLineSpin = nullptr;
    QCheckBox *stdintBox = nullptr;
    QCheckBox *staticBox = nullptr;
    QComboBox *lengthCombo = nullptr;
    QPlainTextEdit *previewEdit = nullptr;
};
