#pragma once

// Edits the whole command library: groups and their commands on one page, sequences and
// their steps on the other, with import from and export to ".vlmcmd" share files. The
// dialog works on its own copy; the caller takes library() when it is accepted.

#include "automation/commandlibrary.h"
#include "connection/settings.h"

#include <QDialog>

class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTableWidget;
class QTabWidget;

class CommandLibraryDialog : public QDialog
{
    Q_OBJECT
public:
    enum Page {
        CommandsPage = 0,
        SequencesPage = 1,
    };

    // `format` is the focused port's, for previews and the check of a sequence.
    CommandLibraryDialog(const CommandLibrary &library, const FormatSetting &format,
                         QWidget *parent = nullptr);

    CommandLibrary library() const { return edited; }
    void setCurrentPage(int page);
    // The line under the steps: the outcome of a trial load of the selected sequence.
    QString sequenceCheckText() const;
    // What the last import or export said.
    QString statusText() const;

    // "VLM command files (*.vlmcmd)"
    static QString shareFileFilter();
    // "commands.vlmcmd"
    static QString suggestedShareFileName();
    // Merges the share file at `path` into `library`; returns the sentence that reports
    // the outcome, with `ok` false when the file could not be read.
    static QString importShareFile(const QString &path, CommandLibrary *library,
                                   bool *ok = nullptr);
    // Writes `library` to `path`; an empty text on success, else the failure sentence.
    static QString exportShareFile(const QString &path, const CommandLibrary &library);

protected:
    // Asked before removing; overridden by tests.
    virtual bool confirm(const QString &question);
    // The file to import or to export to; empty when the user cancels.
    virtual QString askImportPath();
    virtual QString askExportPath();

private:
    QWidget *buildCommandsPage();
    QWidget *buildSequencesPage();

    int currentGroup() const;
    int currentCommand() const;
    int currentSequence() const;
    int currentStep() const;
    void refreshGroups(int select);
    void refreshCommands(int select);
    void refreshSequences(int select);
    void refreshSteps(int select);
    void updateButtons();
    void updateSequenceCheck();

    void addGroup();
    void renameGroup();
    void removeGroup();
    void moveGroup(int delta);
    void onGroupRenamed(QListWidgetItem *item);
    void addCommand();
    void editCommand();
    void duplicateCommand();
    void removeCommand();
    void moveCommand(int delta);

    void addSequence();
    void renameSequence();
    void removeSequence();
    void moveSequence(int delta);
    void onSequenceRenamed(QListWidgetItem *item);
    void addStep(SequenceStepKind kind);
    void editStep();
    void duplicateStep();
    void removeStep();
    void moveStep(int delta);
    QStringList labelsAbove(const Sequence &sequence, int index) const;

    void importFile();
    void exportFile();

    CommandLibrary edited;
    FormatSetting portFormat;
    bool filling = false; // set while lists are rebuilt from the library

    QTabWidget *tabs = nullptr;
    QListWidget *groupList = nullptr;
    QTableWidget *commandTable = nullptr;
    QListWidget *sequenceList = nullptr;
    QListWidget *stepList = nullptr;
    QLabel *checkLabel = nullptr;
    QLabel *statusLabel = nullptr;
    QPushButton *groupRename = nullptr;
    QPushButton *groupRemove = nullptr;
    QPushButton *groupUp = nullptr;
    QPushButton *groupDown = nullptr;
    QPushButton *commandAdd = nullptr;
    QPushButton *commandEdit = nullptr;
    QPushButton *commandDuplicate = nullptr;
    QPushButton *commandRemove = nullptr;
    QPushButton *commandUp = nullptr;
    QPushButton *commandDown = nullptr;
    QPushButton *sequenceRename = nullptr;
    QPushButton *sequenceRemove = nullptr;
    QPushButton *sequenceUp = nullptr;
    QPushButton *sequenceDown = nullptr;
    QPushButton *stepAdd = nullptr;
    QPushButton *stepEdit = nullptr;
    QPushButton *stepDuplicate = nullptr;
    QPushButton *stepRemove = nullptr;
    QPushButton *stepUp = nullptr;
    QPushButton *stepDown = nullptr;
};
