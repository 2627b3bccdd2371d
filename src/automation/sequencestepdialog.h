#pragma once

// Edits one step of a sequence: its kind, and on one page per kind the fields that kind
// reads. Fields of the other kinds keep their values.

#include "automation/commandlibrary.h"
#include "connection/settings.h"

#include <QDialog>
#include <QStringList>

class CommandEditor;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;
class QStackedWidget;

class SequenceStepDialog : public QDialog
{
    Q_OBJECT
public:
    // `labelsAbove` are the names of the Label steps above this one, nearest first; a
    // Repeat step can go back to those. `library` offers commands to copy, `format` is
    // the focused port's, for the command preview.
    SequenceStepDialog(const SequenceStep &step, const QStringList &labelsAbove,
                       const CommandLibrary &library, const FormatSetting &format,
                       QWidget *parent = nullptr);

    SequenceStep step() const;

private:
    QWidget *buildSendPage(const CommandLibrary &library, const FormatSetting &format);
    QWidget *buildWaitPage();
    QWidget *buildExpectPage();
    QWidget *buildRepeatPage(const QStringList &labelsAbove);
    QWidget *buildLabelPage();
    void copyFromLibrary(int index);
    void checkPattern();

    SequenceStep original;
    QList<Command> libraryCommands; // index-parallel to the copy box, less its first entry
    QString rxEncoding;

    QComboBox *kindBox = nullptr;
    QStackedWidget *pages = nullptr;
    QComboBox *fromLibraryBox = nullptr;
    CommandEditor *commandEditor = nullptr;
    QSpinBox *waitSpin = nullptr;
    QComboBox *matchBox = nullptr;
    QLineEdit *patternEdit = nullptr;
    QLabel *patternError = nullptr;
    QSpinBox *timeoutSpin = nullptr;
    QCheckBox *continueCheck = nullptr;
    QComboBox *loopTargetBox = nullptr;
    QSpinBox *loopCountSpin = nullptr;
    QLineEdit *labelEdit = nullptr;
};
