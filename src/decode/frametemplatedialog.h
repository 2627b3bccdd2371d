#pragma once

// Edits the project's list of frame templates: a list on the left, the form of the
// template chosen on the right (framing, checksum, fields) and a test pane that decodes
// pasted bytes with the template as it stands. Nothing is kept until the dialog is
// accepted; renames and removals are reported so that ports can follow them.

#include "decode/decodedframe.h"
#include "decode/frametemplate.h"

#include <QDialog>
#include <QHash>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;
class QTableWidget;

class FrameTemplateDialog : public QDialog
{
    Q_OBJECT
public:
    explicit FrameTemplateDialog(const QList<FrameTemplate> &list, QWidget *parent = nullptr);

    // The list as edited (the form of the current template included when it reads).
    QList<FrameTemplate> templates() const;
    // Old name to new name, for templates that were renamed.
    QHash<QString, QString> renames() const;
    // Names of templates that were there at opening and are gone.
    QStringList removed() const;

    int currentRow() const { return current; }
    // Moves to another template as a click in the list does: the form is kept first, and
    // one that does not read stops the move.
    bool selectTemplate(int row);
    // Reads the form into a template; false with the first problem in `error`.
    bool collectForm(FrameTemplate *frameTemplate, QString *error) const;

    void addTemplate();
    void duplicateTemplate();
    void removeTemplate();
    void moveUp();
    void moveDown();
    void addField();
    void removeField();

    // Decodes `text` (hex) with the current template as received bytes and lists the
    // frames; returns what was shown instead of frames, or empty.
    QString runTest(const QString &text);
    // Puts bytes into the test pane and decodes them.
    void setTestText(const QString &text);
    // The rows of the results list, "#1  OK  ...".
    QStringList testRows() const;
    // The detail rows of a decoded frame, as the test pane shows them when it is chosen.
    QList<DecodedField> testDetails(int row) const;
    QString errorText() const;

public slots:
    void accept() override;

private:
    QWidget *buildFramingGroup();
    QWidget *buildChecksumGroup();
    QWidget *buildFieldsGroup();
    QWidget *buildTestGroup();
    void connectEdits();

    void showTemplate(int row);
    void loadForm(const FrameTemplate &frameTemplate);
    void setFieldRow(int row, const FieldSpec &field);
    bool storeCurrent();
    void onRowChanged(int row);
    void onFormEdited();
    void updateVisibility();
    void refreshList();
    void showError(const QString &text);
    void showTestFrame(int row);
    QStringList names() const;

    // The working copy, and for each of its rows the row it had at opening (-1: new).
    QList<FrameTemplate> working;
    QList<int> origin;
    QStringList openedNames;
    int current = -1;
    bool pushing = false;
    QList<DecodedFrame> testFrames;
    QList<QList<DecodedField>> testExplained;

    QListWidget *list = nullptr;
    QWidget *form = nullptr;
    QLineEdit *nameEdit = nullptr;
    QComboBox *framingCombo = nullptr;
    QLineEdit *headerEdit = nullptr;
    QSpinBox *lengthOffsetSpin = nullptr;
    QSpinBox *lengthWidthSpin = nullptr;
    QComboBox *lengthEndianCombo = nullptr;
    QComboBox *lengthScopeCombo = nullptr;
    QSpinBox *lengthAdjustSpin = nullptr;
    QSpinBox *fixedLengthSpin = nullptr;
    QLineEdit *delimiterEdit = nullptr;
    QSpinBox *idleGapSpin = nullptr;
    QLineEdit *trailerEdit = nullptr;
    QSpinBox *maxFrameSpin = nullptr;
    QSpinBox *frameTimeoutSpin = nullptr;
    QComboBox *checksumCombo = nullptr;
    QSpinBox *crcWidthSpin = nullptr;
    QLineEdit *polyEdit = nullptr;
    QLineEdit *initEdit = nullptr;
    QLineEdit *xorOutEdit = nullptr;
    QCheckBox *refInCheck = nullptr;
    QCheckBox *refOutCheck = nullptr;
    QSpinBox *checksumStartSpin = nullptr;
    QComboBox *checksumOrderCombo = nullptr;
    QTableWidget *fieldsTable = nullptr;
    QPlainTextEdit *testInput = nullptr;
    QListWidget *testResults = nullptr;
    QTableWidget *testFields = nullptr;
    QLabel *testMessage = nullptr;
    QLabel *errorLabel = nullptr;
    QList<QWidget *> lengthRows;
    QList<QWidget *> fixedRows;
    QList<QWidget *> delimiterRows;
    QList<QWidget *> idleRows;
    QList<QWidget *> trailerRows;
    QList<QWidget *> customRows;
};
