#pragma once

// The window where scripts are written and run: the project's script library on the
// left, the editor in the middle, a toolbar to run a script on a chosen port, stop it
// and check its syntax, and the output of the runs below. A run lives in its port's
// runner, so it goes on when this window closes; the window only shows it.

#include "scripting/scriptlibrary.h"
#include "scripting/scriptrunner.h"

#include <QElapsedTimer>
#include <QHash>
#include <QMainWindow>
#include <QPointer>

#include <functional>

class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;
class QTextBrowser;
class QTimer;
class QUrl;
class ScriptEditor;
class ScriptPortLink;
class SerialPortWidget;

class ScriptWindow : public QMainWindow
{
    Q_OBJECT
public:
    // A port a script can run on: its panel, the label the window shows, and its link,
    // which starts and stops runs and owns the runner.
    struct PortEntry
    {
        SerialPortWidget *port = nullptr;
        QString label;
        ScriptPortLink *link = nullptr;
    };
    using PortLister = std::function<QList<PortEntry>()>;

    // What the output keeps and shows. Runs' lines beyond the rate are left out with a
    // note; beyond the budget the oldest lines go, with a note at the top.
    static constexpr int OutputCharsPerSecond = 65536;
    static constexpr int OutputLinesPerSecond = 500;
    static constexpr int OutputCharacterBudget = 1 << 20;
    static constexpr int OutputFlushMs = 50;

    explicit ScriptWindow(QWidget *parent = nullptr);
    ~ScriptWindow() override;

    // Where the window learns which ports exist; asked by refreshPorts().
    void setPortLister(PortLister lister);
    // Lists the ports again, keeping the chosen one when it is still there, and follows
    // the runs of their runners. Called when shown; call it when ports come or go.
    void refreshPorts();

    // The library the window edits; setting it does not emit libraryEdited.
    void setLibrary(const ScriptLibrary &library);
    // The library with the editor's latest text.
    ScriptLibrary library() const;
    int currentScriptIndex() const;
    void selectScript(int index);
    // Adds a script under a name no other script has; -1 when the library is full.
    int addScript(const Script &script);
    // Adds sample `index` (0 to 2) as a new script; -1 when the library is full.
    int addExample(int index);

    ScriptEditor *editor() const { return scriptEditor; }
    QString outputText() const;
    QString stateText() const;
    // Ports with a script running.
    int runningCount() const;

    // Closes without the question about running scripts; they go on.
    void closeWithoutAsking();

    // A window for documentation pictures: the sample scripts and one of the user's in
    // the library, the AT sample open, and in the output a syntax error with its hint
    // and a run of the sample that failed.
    static ScriptWindow *createScreenshotSample(QWidget *parent = nullptr);

public slots:
    // Checks the current script's syntax and shows the result in the output.
    bool check();
    // Runs the current script on the chosen port.
    void run();
    // Stops the script running on the chosen port.
    void stop();

    void onRunnerStarted(SerialPortWidget *port);
    void onRunnerOutput(SerialPortWidget *port, const ScriptOutput &entry);
    void onRunnerFinished(SerialPortWidget *port, ScriptState state);

signals:
    void libraryEdited(const ScriptLibrary &library);
    // Emitted as the window asks the port's link to start the script.
    void runRequested(int scriptIndex, SerialPortWidget *port);

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    // A run the output follows: which script, on which port, and its source for hints.
    struct RunRecord
    {
        int scriptIndex = -1;
        QString scriptName;
        QString portLabel;
        QString source;
    };
    struct ChosenPort
    {
        QPointer<SerialPortWidget> port;
        QString label;
        QPointer<ScriptPortLink> link;
    };
    // A line of the output; `scriptIndex` and `line` make it a link to the script line.
    struct OutputLine
    {
        QString text;
        QColor colour;
        int scriptIndex = -1;
        int line = -1;
        bool always = false; // shown even above the rate (errors and their hints)
    };

    void buildUi();
    QWidget *buildLibraryPane();
    QWidget *buildOutputPane();
    void fillList();
    void loadEditor();
    void commitEditor();
    void emitLibraryEdited();
    void onListRowChanged(int row);
    void newScript();
    void duplicateScript();
    void renameScript();
    void deleteScript();
    void importScripts();
    void exportScript();
    void showLibraryFull();
    void showOutputMenu(const QPoint &position);
    void saveOutput();
    void onAnchorClicked(const QUrl &url);
    void updateState();
    void stopAll();
    void savePlacement();
    void restorePlacement();

    const ChosenPort *chosenPort() const;
    ScriptRunner *runnerOf(SerialPortWidget *port) const;
    // Output lines. `scriptIndex` and `line` make the line a link to the script line.
    void appendLine(const QString &text, const QColor &colour = QColor(), int scriptIndex = -1,
                    int line = -1);
    void appendError(const QString &prefix, const QString &message, int line, int scriptIndex,
                     const QString &source);
    // Runs' lines go through a queue: at most OutputCharsPerSecond characters and
    // OutputLinesPerSecond lines a second are kept (errors always), the rest are counted
    // as left out, and the queue is shown in one insertion at the next flush.
    void addLine(const OutputLine &line);
    void queueLine(const OutputLine &line);
    void flushOutput();
    void insertLines(const QList<OutputLine> &lines);
    void trimOutput();
    QString runPrefix(const QString &portLabel) const;
    void appendRunStart(const RunRecord &run, const QString &time);
    void appendRunOutput(const RunRecord &run, const QString &prefix, const ScriptOutput &entry);

    QListWidget *scriptList = nullptr;
    ScriptEditor *scriptEditor = nullptr;
    QTextBrowser *outputView = nullptr;
    QComboBox *portCombo = nullptr;
    QPushButton *runButton = nullptr;
    QPushButton *stopButton = nullptr;
    QPushButton *checkButton = nullptr;
    QLabel *stateLabel = nullptr;
    QTimer *editTimer = nullptr;
    QTimer *stateTimer = nullptr;
    QTimer *flushTimer = nullptr;

    PortLister portLister;
    QList<ChosenPort> ports;
    QList<QMetaObject::Connection> runnerConnections;
    QHash<SerialPortWidget *, RunRecord> runs;
    RunRecord startingRun; // the run the window is starting, until its runner says so
    bool starting = false;

    QList<OutputLine> pendingLines;
    bool queueingRunOutput = false; // appendLine queues: the line comes from a run
    QElapsedTimer rateClock;
    double charAllowance = 0;       // what the rate lets through now
    double lineAllowance = 0;
    qint64 allowanceAtMs = 0;
    int linesLeftOut = 0;
    qint64 leftOutNoteMs = -1;

    ScriptLibrary scripts;
    int currentIndex = -1;
    bool loadingEditor = false;
    bool askOnClose = true;
    QString lastDirectory;
};
