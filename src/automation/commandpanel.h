#pragma once

// The docked panel of the command library: a tab per group with a button per command,
// and a row per sequence with its run button. It only asks: sending, running, stopping
// and editing are requests by signal, which the main window carries out on the focused
// port.

#include "automation/commandlibrary.h"

#include <QList>
#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;
class QShortcut;
class QTabWidget;
class QVBoxLayout;

class CommandPanel : public QWidget
{
    Q_OBJECT
public:
    explicit CommandPanel(QWidget *parent = nullptr);

    void setLibrary(const CommandLibrary &library);
    const CommandLibrary &library() const { return current; }
    // The sequence running on the focused port (empty name for none) and the text that
    // describes its state; the row of that sequence offers Stop instead of Run.
    void setRunState(const QString &sequenceName, const QString &text);
    // The widget whose window the command shortcuts work in; the panel itself by default.
    void setShortcutHost(QWidget *host);

signals:
    void commandSendRequested(const Command &command);
    void sequenceRunRequested(const Sequence &sequence);
    void sequenceStopRequested();
    void editLibraryRequested(int page); // CommandLibraryDialog::Page
    void importRequested();
    void exportRequested();
    void learnMoreRequested();

private:
    void rebuildGroupTabs();
    void rebuildCommands();
    void rebuildSequences();
    void rebuildShortcuts();
    void showCommandMenu(int group, int index, const QPoint &globalPos);
    void showSequenceMenu(int index, const QPoint &globalPos);
    void onRunClicked(int index);

    CommandLibrary current;
    QString runningName;
    QPointer<QWidget> shortcutHost;
    QList<QPointer<QShortcut>> shortcuts; // owned by the host
    QList<QPushButton *> runButtons;

    QTabWidget *groupTabs = nullptr;
    QLabel *emptyLabel = nullptr;
    QWidget *sequenceRows = nullptr;
    QVBoxLayout *sequenceLayout = nullptr;
    QLabel *runStateLabel = nullptr;
};
