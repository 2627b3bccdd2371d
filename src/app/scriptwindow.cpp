#include "app/scriptwindow.h"

#include "scripting/scriptapireferencedialog.h"
#include "scripting/scripteditor.h"
#include "scripting/scriptlibrarycodec.h"
#include "session/scriptportlink.h"
#include "session/serialportwidget.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollBar>
#include <QSettings>
#include <QSplitter>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTime>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {
constexpr int EditSettleMs = 400;
constexpr int StateRefreshMs = 250;
constexpr int OutputLineLimit = 20000;
constexpr int StateTextLimit = 200;
constexpr double CharBurst = std::max(ScriptEngine::OutputTextLimit,
                                      ScriptWindow::OutputCharsPerSecond / 4);
constexpr double LineBurst = ScriptWindow::OutputLinesPerSecond / 4;

const QString SettingsGroup = QStringLiteral("Scripts");
const QString GeometryKey = QStringLiteral("ScriptWindowGeometry");
const QString StateKey = QStringLiteral("ScriptWindowState");

QString secondsText(qint64 ms)
{
    return QString::number(double(ms) / 1000.0, 'f', 2);
}

QColor errorColour()
{
    return QColor(0xc6, 0x28, 0x28);
}

QColor warningColour()
{
    return QColor(0xb2, 0x6a, 0x00);
}

QColor passColour()
{
    return QColor(0x2e, 0x7d, 0x32);
}

QColor noteColour()
{
    return QColor(0x80, 0x80, 0x80);
}

// Line `line` (from 1) of `source`, or an empty string.
QString sourceLine(const QString &source, int line)
{
    if (line < 1) {
        return QString();
    }
    qsizetype start = 0;
    for (int i = 1; i < line; ++i) {
        start = source.indexOf(u'\n', start);
        if (start < 0) {
            return QString();
        }
        ++start;
    }
    const qsizetype end = source.indexOf(u'\n', start);
    return source.mid(start, end < 0 ? -1 : end - start);
}

QString newScriptSource()
{
    return QStringLiteral("-- What this script does, in one line.\nsendLine(\"AT\")\n"
                         "expect(\"OK\")\nprint(\"the device answered\")\n");
}
} // namespace

ScriptWindow::ScriptWindow(QWidget *parent)
    : QMainWindow(parent)
    , editTimer(new QTimer(this))
    , stateTimer(new QTimer(this))
    , flushTimer(new QTimer(this))
{
    qRegisterMetaType<SerialPortWidget *>();
    setObjectName(QStringLiteral("scriptWindow"));
    setWindowTitle(tr("Scripts"));
    buildUi();
    editTimer->setSingleShot(true);
    editTimer->setInterval(EditSettleMs);
    connect(editTimer, &QTimer::timeout, this, &ScriptWindow::emitLibraryEdited);
    stateTimer->setInterval(StateRefreshMs);
    connect(stateTimer, &QTimer::timeout, this, &ScriptWindow::updateState);
    flushTimer->setSingleShot(true);
    flushTimer->setInterval(OutputFlushMs);
    connect(flushTimer, &QTimer::timeout, this, &ScriptWindow::flushOutput);
    rateClock.start();
    charAllowance = CharBurst;
    lineAllowance = LineBurst;
    lastDirectory = QDir::homePath();
    restorePlacement();
    loadEditor();
    updateState();
}

ScriptWindow::~ScriptWindow() = default;

// --- Building ---

void ScriptWindow::buildUi()
{
    QToolBar *toolbar = addToolBar(tr("Script"));
    toolbar->setObjectName(QStringLiteral("scriptToolBar"));
    toolbar->setMovable(false);

    toolbar->addWidget(new QLabel(tr("Run on:"), toolbar));
    portCombo = new QComboBox(toolbar);
    portCombo->setObjectName(QStringLiteral("scriptPortCombo"));
    portCombo->setToolTip(tr("The port the script sends to and reads from"));
    portCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    portCombo->setMinimumContentsLength(12);
    toolbar->addWidget(portCombo);

    runButton = new QPushButton(tr("Run"), toolbar);
    runButton->setObjectName(QStringLiteral("scriptRunButton"));
    runButton->setToolTip(tr("Run the script on the chosen port (Ctrl+R)"));
    runButton->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    toolbar->addWidget(runButton);

    stopButton = new QPushButton(tr("Stop"), toolbar);
    stopButton->setObjectName(QStringLiteral("scriptStopButton"));
    stopButton->setToolTip(tr("Stop the script running on the chosen port"));
    toolbar->addWidget(stopButton);

    checkButton = new QPushButton(tr("Check"), toolbar);
    checkButton->setObjectName(QStringLiteral("scriptCheckButton"));
    checkButton->setToolTip(tr("Check the script for syntax errors without running it"));
    toolbar->addWidget(checkButton);

    // The reference of the functions a script can call, also on F1.
    auto *helpButton = new QPushButton(tr("API Reference"), toolbar);
    helpButton->setObjectName(QStringLiteral("scriptHelpButton"));
    helpButton->setToolTip(tr("The functions a script can call, with examples (F1)"));
    helpButton->setShortcut(QKeySequence(QKeySequence::HelpContents));
    toolbar->addWidget(helpButton);
    connect(helpButton, &QPushButton::clicked, this, [this] {
        auto *reference = new ScriptApiReferenceDialog(this);
        reference->setAttribute(Qt::WA_DeleteOnClose);
        reference->show();
    });

    toolbar->addSeparator();
    stateLabel = new QLabel(toolbar);
    stateLabel->setObjectName(QStringLiteral("scriptStateLabel"));
    stateLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    toolbar->addWidget(stateLabel);

    connect(runButton, &QPushButton::clicked, this, &ScriptWindow::run);
    connect(stopButton, &QPushButton::clicked, this, &ScriptWindow::stop);
    connect(checkButton, &QPushButton::clicked, this, &ScriptWindow::check);
    connect(portCombo, &QComboBox::currentIndexChanged, this, &ScriptWindow::updateState);

    scriptEditor = new ScriptEditor(this);
    connect(scriptEditor, &QPlainTextEdit::textChanged, this, [this] {
        if (!loadingEditor) {
            commitEditor();
            editTimer->start();
        }
    });

    auto *editorSplit = new QSplitter(Qt::Vertical, this);
    editorSplit->setObjectName(QStringLiteral("scriptEditorSplitter"));
    editorSplit->addWidget(scriptEditor);
    editorSplit->addWidget(buildOutputPane());
    editorSplit->setStretchFactor(0, 3);
    editorSplit->setStretchFactor(1, 1);

    auto *mainSplit = new QSplitter(Qt::Horizontal, this);
    mainSplit->setObjectName(QStringLiteral("scriptMainSplitter"));
    mainSplit->addWidget(buildLibraryPane());
    mainSplit->addWidget(editorSplit);
    mainSplit->setStretchFactor(0, 0);
    mainSplit->setStretchFactor(1, 1);
    mainSplit->setSizes({220, 780});
    setCentralWidget(mainSplit);
    resize(1000, 700);
}

QWidget *ScriptWindow::buildLibraryPane()
{
    auto *pane = new QWidget(this);
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(4, 4, 4, 4);

    scriptList = new QListWidget(pane);
    scriptList->setObjectName(QStringLiteral("scriptList"));
    layout->addWidget(scriptList, 1);
    connect(scriptList, &QListWidget::currentRowChanged, this, &ScriptWindow::onListRowChanged);

    const auto addButton = [&](const QString &text, void (ScriptWindow::*slot)()) {
        auto *button = new QPushButton(text, pane);
        connect(button, &QPushButton::clicked, this, slot);
        return button;
    };
    auto *grid = new QGridLayout;
    grid->addWidget(addButton(tr("New"), &ScriptWindow::newScript), 0, 0);
    grid->addWidget(addButton(tr("Duplicate"), &ScriptWindow::duplicateScript), 0, 1);
    grid->addWidget(addButton(tr("Rename..."), &ScriptWindow::renameScript), 1, 0);
    grid->addWidget(addButton(tr("Delete"), &ScriptWindow::deleteScript), 1, 1);

    auto *examples = new QToolButton(pane);
    examples->setText(tr("Examples"));
    examples->setPopupMode(QToolButton::InstantPopup);
    examples->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto *menu = new QMenu(examples);
    menu->setToolTipsVisible(true);
    for (int i = 0; i < ScriptLibrary::SampleCount; ++i) {
        QAction *action = menu->addAction(ScriptLibrary::sampleTitle(i));
        action->setToolTip(ScriptLibrary::sampleToolTip(i));
        connect(action, &QAction::triggered, this, [this, i] {
            if (addExample(i) < 0) {
                showLibraryFull();
            }
        });
    }
    examples->setMenu(menu);
    grid->addWidget(examples, 2, 0, 1, 2);
    grid->addWidget(addButton(tr("Import..."), &ScriptWindow::importScripts), 3, 0);
    grid->addWidget(addButton(tr("Export..."), &ScriptWindow::exportScript), 3, 1);
    layout->addLayout(grid);
    return pane;
}

QWidget *ScriptWindow::buildOutputPane()
{
    auto *pane = new QWidget(this);
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    outputView = new QTextBrowser(pane);
    outputView->setObjectName(QStringLiteral("scriptOutput"));
    outputView->setReadOnly(true);
    outputView->setOpenLinks(false);
    outputView->setFont(scriptEditor->font());
    outputView->document()->setMaximumBlockCount(OutputLineLimit);
    outputView->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(outputView, &QTextBrowser::anchorClicked, this, &ScriptWindow::onAnchorClicked);
    connect(outputView, &QWidget::customContextMenuRequested, this,
            &ScriptWindow::showOutputMenu);
    layout->addWidget(outputView, 1);

    auto *row = new QHBoxLayout;
    row->addStretch(1);
    auto *clear = new QPushButton(tr("Clear"), pane);
    connect(clear, &QPushButton::clicked, outputView, &QTextBrowser::clear);
    row->addWidget(clear);
    layout->addLayout(row);
    return pane;
}

// --- Ports ---

void ScriptWindow::setPortLister(PortLister lister)
{
    portLister = std::move(lister);
    refreshPorts();
}

void ScriptWindow::refreshPorts()
{
    const ChosenPort *before = chosenPort();
    const SerialPortWidget *keep = before ? before->port.data() : nullptr;

    for (const QMetaObject::Connection &connection : std::as_const(runnerConnections)) {
        disconnect(connection);
    }
    runnerConnections.clear();
    ports.clear();
    const QList<PortEntry> entries = portLister ? portLister() : QList<PortEntry>();
    for (const PortEntry &entry : entries) {
        if (entry.port && entry.link) {
            ports.append({entry.port, entry.label, entry.link});
        }
    }

    const QSignalBlocker blocker(portCombo);
    portCombo->clear();
    int chosen = 0;
    for (qsizetype i = 0; i < ports.size(); ++i) {
        const ChosenPort &entry = ports.at(i);
        portCombo->addItem(entry.label);
        if (entry.port == keep) {
            chosen = int(i);
        }
        const QPointer<SerialPortWidget> port = entry.port;
        ScriptRunner *runner = entry.link->runner();
        runnerConnections << connect(runner, &ScriptRunner::started, this, [this, port] {
            if (port) {
                onRunnerStarted(port);
            }
        });
        runnerConnections << connect(runner, &ScriptRunner::output, this,
                                     [this, port](const ScriptOutput &output) {
                                         if (port) {
                                             onRunnerOutput(port, output);
                                         }
                                     });
        runnerConnections << connect(runner, &ScriptRunner::finished, this,
                                     [this, port](ScriptState state) {
                                         if (port) {
                                             onRunnerFinished(port, state);
                                         }
                                     });
        runnerConnections << connect(runner, &ScriptRunner::stateChanged, this,
                                     &ScriptWindow::updateState);
    }
    portCombo->setCurrentIndex(ports.isEmpty() ? -1 : chosen);
    portCombo->setEnabled(!ports.isEmpty());
    updateState();
}

const ScriptWindow::ChosenPort *ScriptWindow::chosenPort() const
{
    const int index = portCombo->currentIndex();
    if (index < 0 || index >= ports.size()) {
        return nullptr;
    }
    const ChosenPort &entry = ports.at(index);
    return entry.port && entry.link ? &entry : nullptr;
}

ScriptRunner *ScriptWindow::runnerOf(SerialPortWidget *port) const
{
    for (const ChosenPort &entry : ports) {
        if (entry.port == port && entry.link) {
            return entry.link->runner();
        }
    }
    return nullptr;
}

int ScriptWindow::runningCount() const
{
    int count = 0;
    for (const ChosenPort &entry : ports) {
        count += entry.port && entry.link && entry.link->scriptRunning() ? 1 : 0;
    }
    return count;
}

// --- Library ---

void ScriptWindow::setLibrary(const ScriptLibrary &library)
{
    editTimer->stop();
    scripts = library;
    if (scripts.scripts.size() > ScriptLibrary::MaxScripts) {
        scripts.scripts.resize(ScriptLibrary::MaxScripts);
    }
    currentIndex = std::clamp(currentIndex, int(scripts.scripts.isEmpty() ? -1 : 0),
                              int(scripts.scripts.size()) - 1);
    fillList();
}

ScriptLibrary ScriptWindow::library() const
{
    return scripts;
}

int ScriptWindow::currentScriptIndex() const
{
    return currentIndex;
}

void ScriptWindow::selectScript(int index)
{
    if (index >= 0 && index < scripts.scripts.size()) {
        scriptList->setCurrentRow(index);
    }
}

void ScriptWindow::fillList()
{
    const QSignalBlocker blocker(scriptList);
    scriptList->clear();
    for (const Script &script : std::as_const(scripts.scripts)) {
        scriptList->addItem(script.name);
    }
    scriptList->setCurrentRow(currentIndex);
    loadEditor();
}

void ScriptWindow::loadEditor()
{
    const bool valid = currentIndex >= 0 && currentIndex < scripts.scripts.size();
    loadingEditor = true;
    scriptEditor->setPlainText(valid ? scripts.scripts.at(currentIndex).source : QString());
    loadingEditor = false;
    scriptEditor->setReadOnly(!valid);
    scriptEditor->setErrorLine(-1);
    runButton->setEnabled(valid);
    checkButton->setEnabled(valid);
}

void ScriptWindow::commitEditor()
{
    if (currentIndex >= 0 && currentIndex < scripts.scripts.size()) {
        scripts.scripts[currentIndex].source =
            ScriptLibraryCodec::clampSource(scriptEditor->toPlainText());
    }
}

void ScriptWindow::emitLibraryEdited()
{
    editTimer->stop();
    emit libraryEdited(scripts);
}

void ScriptWindow::onListRowChanged(int row)
{
    if (row == currentIndex) {
        return;
    }
    commitEditor();
    currentIndex = row;
    loadEditor();
    if (editTimer->isActive()) {
        emitLibraryEdited();
    }
}

int ScriptWindow::addScript(const Script &script)
{
    if (scripts.isFull()) {
        return -1;
    }
    commitEditor();
    Script added;
    added.name = scripts.uniqueName(ScriptLibraryCodec::clampName(script.name));
    added.source = ScriptLibraryCodec::clampSource(script.source);
    scripts.scripts.append(added);
    currentIndex = int(scripts.scripts.size()) - 1;
    fillList();
    emitLibraryEdited();
    return currentIndex;
}

int ScriptWindow::addExample(int index)
{
    return addScript(ScriptLibrary::sample(index));
}

void ScriptWindow::showLibraryFull()
{
    QMessageBox::information(this, windowTitle(),
                             tr("The library holds up to %1 scripts. Delete one to make room.")
                                 .arg(ScriptLibrary::MaxScripts));
}

void ScriptWindow::newScript()
{
    if (addScript(Script{tr("New script"), newScriptSource()}) < 0) {
        showLibraryFull();
        return;
    }
    scriptEditor->setFocus(Qt::OtherFocusReason);
}

void ScriptWindow::duplicateScript()
{
    if (currentIndex < 0) {
        return;
    }
    commitEditor();
    if (addScript(scripts.scripts.at(currentIndex)) < 0) {
        showLibraryFull();
    }
}

void ScriptWindow::renameScript()
{
    if (currentIndex < 0) {
        return;
    }
    bool ok = false;
    const QString given = QInputDialog::getText(this, tr("Rename Script"), tr("Name:"),
                                                QLineEdit::Normal,
                                                scripts.scripts.at(currentIndex).name, &ok);
    const QString name = ScriptLibraryCodec::clampName(given);
    if (!ok || name.isEmpty() || name == scripts.scripts.at(currentIndex).name) {
        return;
    }
    commitEditor();
    scripts.scripts[currentIndex].name = scripts.uniqueName(name, currentIndex);
    fillList();
    emitLibraryEdited();
}

void ScriptWindow::deleteScript()
{
    if (currentIndex < 0) {
        return;
    }
    const QString name = scripts.scripts.at(currentIndex).name;
    if (QMessageBox::question(this, windowTitle(),
                              tr("Delete \"%1\"? Export it first if you may want it back.")
                                  .arg(name)) != QMessageBox::Yes) {
        return;
    }
    scripts.scripts.removeAt(currentIndex);
    currentIndex = std::min(currentIndex, int(scripts.scripts.size()) - 1);
    fillList();
    emitLibraryEdited();
}

void ScriptWindow::importScripts()
{
    const QStringList paths = QFileDialog::getOpenFileNames(
        this, tr("Import Scripts"), lastDirectory, tr("Lua scripts (*.lua)"));
    for (const QString &path : paths) {
        lastDirectory = QFileInfo(path).absolutePath();
        if (scripts.isFull()) {
            showLibraryFull();
            return;
        }
        Script script;
        QString error;
        if (!ScriptLibraryCodec::readScriptFile(path, &script, &error)) {
            QMessageBox::warning(this, windowTitle(), error);
            continue;
        }
        addScript(script);
    }
}

void ScriptWindow::exportScript()
{
    if (currentIndex < 0) {
        return;
    }
    commitEditor();
    const Script &script = scripts.scripts.at(currentIndex);
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Export Script"), QDir(lastDirectory).filePath(script.name + QStringLiteral(".lua")),
        tr("Lua scripts (*.lua)"));
    if (path.isEmpty()) {
        return;
    }
    lastDirectory = QFileInfo(path).absolutePath();
    QString error;
    if (!ScriptLibraryCodec::writeScriptFile(path, script, &error)) {
        QMessageBox::warning(this, windowTitle(), error);
    }
}

// --- Output ---

QString ScriptWindow::outputText() const
{
    return outputView->toPlainText();
}

QString ScriptWindow::stateText() const
{
    return stateLabel->text();
}

void ScriptWindow::appendLine(const QString &text, const QColor &colour, int scriptIndex, int line)
{
    addLine({text, colour, scriptIndex, line});
}

void ScriptWindow::addLine(const OutputLine &line)
{
    if (queueingRunOutput) {
        queueLine(line);
        return;
    }
    // The window's own lines come at once, after what runs have queued.
    flushOutput();
    insertLines({line});
    trimOutput();
}

void ScriptWindow::queueLine(const OutputLine &line)
{
    // The allowance refills at the rate, up to a quarter second's worth (and at least a
    // whole line), so that no flush lays out much more than that.
    const qint64 now = rateClock.elapsed();
    const double seconds = double(now - allowanceAtMs) / 1000.0;
    allowanceAtMs = now;
    charAllowance = std::min(charAllowance + seconds * OutputCharsPerSecond, CharBurst);
    lineAllowance = std::min(lineAllowance + seconds * OutputLinesPerSecond, LineBurst);
    const qsizetype size = std::min<qsizetype>(line.text.size(), ScriptEngine::OutputTextLimit);
    if (line.always || (lineAllowance >= 1 && charAllowance >= double(size))) {
        charAllowance -= double(size);
        lineAllowance -= 1;
        pendingLines.append(line);
    } else {
        ++linesLeftOut;
    }
    if (!flushTimer->isActive() || flushTimer->remainingTime() > OutputFlushMs) {
        flushTimer->start(OutputFlushMs);
    }
}

void ScriptWindow::flushOutput()
{
    flushTimer->stop();
    if (linesLeftOut > 0) {
        // At most one note a second; the count goes on until then.
        const qint64 now = rateClock.elapsed();
        if (leftOutNoteMs < 0 || now - leftOutNoteMs >= 1000 || runningCount() == 0) {
            pendingLines.append({tr("⚠ Output is coming faster than this window shows it; "
                                    "lines left out: %1")
                                     .arg(linesLeftOut),
                                 warningColour()});
            linesLeftOut = 0;
            leftOutNoteMs = now;
        } else {
            flushTimer->start(int(leftOutNoteMs + 1000 - now));
            if (pendingLines.isEmpty()) {
                return;
            }
        }
    }
    if (pendingLines.isEmpty()) {
        return;
    }
    insertLines(std::exchange(pendingLines, {}));
    trimOutput();
}

void ScriptWindow::insertLines(const QList<OutputLine> &lines)
{
    // One edit block and one scroll for the lot: the view lays itself out once.
    QScrollBar *bar = outputView->verticalScrollBar();
    const bool follow = bar->value() >= bar->maximum() - 4;
    QTextCursor cursor(outputView->document());
    cursor.beginEditBlock();
    cursor.movePosition(QTextCursor::End);
    bool first = outputView->document()->isEmpty();
    for (const OutputLine &entry : lines) {
        if (!first) {
            cursor.insertBlock();
        }
        first = false;
        QTextCharFormat format;
        if (entry.colour.isValid()) {
            format.setForeground(entry.colour);
        }
        if (entry.line > 0) {
            format.setAnchor(true);
            format.setAnchorHref(QStringLiteral("line:%1:%2").arg(entry.scriptIndex).arg(entry.line));
            format.setToolTip(tr("Click to go to the line"));
            format.setFontUnderline(true);
        }
        cursor.insertText(ScriptEngine::clipText(entry.text), format);
    }
    cursor.endEditBlock();
    if (follow) {
        bar->setValue(bar->maximum());
    }
}

void ScriptWindow::trimOutput()
{
    QTextDocument *document = outputView->document();
    if (document->characterCount() <= OutputCharacterBudget) {
        return;
    }
    // The oldest lines go, down to three quarters of the budget, and a note takes
    // their place (the note of an earlier trim goes with them).
    const int excess = document->characterCount() - OutputCharacterBudget * 3 / 4;
    const QTextBlock last = document->findBlock(excess);
    const int end = last.next().isValid() ? last.next().position() : last.position();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    QTextCharFormat format;
    format.setForeground(noteColour());
    cursor.insertText(tr("… older output was removed; the window keeps the latest lines."),
                      format);
    cursor.insertBlock();
    cursor.endEditBlock();
}

void ScriptWindow::appendError(const QString &prefix, const QString &message, int line,
                               int scriptIndex, const QString &source)
{
    addLine({prefix + (line > 0 ? tr("✗ line %1: %2").arg(line).arg(message)
                                : tr("✗ %1").arg(message)),
             errorColour(), scriptIndex, line, true});
    const QString hint = ScriptEngine::hintFor(message.section(u'\n', 0, 0),
                                               sourceLine(source, line));
    if (!hint.isEmpty()) {
        addLine({prefix + tr("Hint: %1").arg(hint), noteColour(), -1, -1, true});
    }
}

QString ScriptWindow::runPrefix(const QString &portLabel) const
{
    return runningCount() > 1 ? QStringLiteral("[%1] ").arg(portLabel) : QString();
}

void ScriptWindow::appendRunStart(const RunRecord &run, const QString &time)
{
    appendLine(tr("── \"%1\" on %2 · %3 ──").arg(run.scriptName, run.portLabel, time),
               noteColour());
}

void ScriptWindow::appendRunOutput(const RunRecord &run, const QString &prefix,
                                   const ScriptOutput &entry)
{
    switch (entry.kind) {
    case ScriptOutput::Print:
    case ScriptOutput::Log:
        appendLine(prefix + entry.text, QColor(), run.scriptIndex, entry.line);
        break;
    case ScriptOutput::Warning:
        appendLine(prefix + tr("⚠ %1").arg(entry.text), warningColour(), run.scriptIndex,
                   entry.line);
        break;
    case ScriptOutput::Error:
        appendError(prefix, entry.text, entry.line, run.scriptIndex, run.source);
        break;
    }
}

void ScriptWindow::onRunnerStarted(SerialPortWidget *port)
{
    RunRecord run;
    ScriptRunner *runner = runnerOf(port);
    if (starting) {
        run = startingRun;
    } else if (runner) {
        // Started elsewhere: find the script by its name.
        run.scriptName = runner->scriptName();
        run.scriptIndex = scripts.indexOf(run.scriptName);
        if (run.scriptIndex >= 0) {
            run.source = scripts.scripts.at(run.scriptIndex).source;
        }
    }
    for (const ChosenPort &entry : std::as_const(ports)) {
        if (entry.port == port) {
            run.portLabel = entry.label;
        }
    }
    runs.insert(port, run);
    appendRunStart(run, QTime::currentTime().toString(QStringLiteral("HH:mm:ss")));
    updateState();
}

void ScriptWindow::onRunnerOutput(SerialPortWidget *port, const ScriptOutput &entry)
{
    const RunRecord run = runs.value(port);
    queueingRunOutput = true;
    appendRunOutput(run, runPrefix(run.portLabel), entry);
    queueingRunOutput = false;
}

void ScriptWindow::onRunnerFinished(SerialPortWidget *port, ScriptState state)
{
    const RunRecord run = runs.value(port);
    const ScriptRunner *runner = runnerOf(port);
    if (!runner) {
        return;
    }
    const ScriptEngine &engine = runner->engine();
    const QString seconds = secondsText(engine.elapsedMs());
    const QString prefix = runPrefix(run.portLabel);
    switch (state) {
    case ScriptState::Passed:
        appendLine(prefix + tr("✓ passed in %1 s").arg(seconds), passColour());
        break;
    case ScriptState::Failed:
        if (engine.errorLine() > 0) {
            appendLine(prefix + tr("✗ failed at line %1 after %2 s").arg(engine.errorLine()).arg(seconds),
                       errorColour(), run.scriptIndex, engine.errorLine());
        } else {
            appendLine(prefix + tr("✗ failed after %1 s").arg(seconds), errorColour());
        }
        break;
    case ScriptState::Stopped:
        appendLine(prefix + tr("■ stopped after %1 s: %2").arg(seconds, engine.finishReason()),
                   noteColour());
        break;
    case ScriptState::Idle:
    case ScriptState::Running:
        break;
    }
    if (engine.errorLine() > 0 && run.scriptIndex == currentIndex) {
        scriptEditor->setErrorLine(engine.errorLine());
    }
    updateState();
}

void ScriptWindow::onAnchorClicked(const QUrl &url)
{
    const QStringList parts = url.toString().split(u':');
    if (parts.size() != 3 || parts.at(0) != QLatin1String("line")) {
        return;
    }
    const int script = parts.at(1).toInt();
    const int line = parts.at(2).toInt();
    if (script >= 0 && script < scripts.scripts.size()) {
        selectScript(script);
    }
    scriptEditor->goToLine(line);
}

void ScriptWindow::showOutputMenu(const QPoint &position)
{
    QMenu menu(this);
    menu.addAction(tr("Copy"), outputView, &QTextBrowser::copy)
        ->setEnabled(outputView->textCursor().hasSelection());
    menu.addAction(tr("Select All"), outputView, &QTextBrowser::selectAll);
    menu.addAction(tr("Copy All"), this, [this] {
        QTextCursor all(outputView->document());
        all.select(QTextCursor::Document);
        outputView->setTextCursor(all);
        outputView->copy();
    });
    menu.addSeparator();
    menu.addAction(tr("Save As..."), this, &ScriptWindow::saveOutput);
    menu.addAction(tr("Clear"), outputView, &QTextBrowser::clear);
    menu.exec(outputView->viewport()->mapToGlobal(position));
}

void ScriptWindow::saveOutput()
{
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Save Output"), QDir(lastDirectory).filePath(QStringLiteral("script-output.txt")),
        tr("Text files (*.txt)"));
    if (path.isEmpty()) {
        return;
    }
    lastDirectory = QFileInfo(path).absolutePath();
    QSaveFile file(path);
    const QByteArray bytes = outputView->toPlainText().toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        QMessageBox::warning(this, windowTitle(),
                             tr("Cannot write %1: %2")
                                 .arg(QDir::toNativeSeparators(path), file.errorString()));
    }
}

// --- Check, run, stop ---

bool ScriptWindow::check()
{
    if (currentIndex < 0) {
        return false;
    }
    commitEditor();
    const Script &script = scripts.scripts.at(currentIndex);
    QString error;
    int line = -1;
    if (ScriptEngine::checkSyntax(script.source, &error, &line)) {
        scriptEditor->setErrorLine(-1);
        appendLine(tr("✓ \"%1\": no syntax errors.").arg(script.name), passColour());
        return true;
    }
    scriptEditor->setErrorLine(line);
    appendError(QString(), error, line, currentIndex, script.source);
    return false;
}

void ScriptWindow::run()
{
    if (currentIndex < 0) {
        return;
    }
    commitEditor();
    if (editTimer->isActive()) {
        emitLibraryEdited();
    }
    const ChosenPort *chosen = chosenPort();
    if (!chosen) {
        appendLine(tr("✗ %1").arg(tr("There is no port to run the script on.")), errorColour());
        return;
    }
    const QPointer<SerialPortWidget> port = chosen->port;
    const QPointer<ScriptPortLink> link = chosen->link;
    const Script script = scripts.scripts.at(currentIndex);
    emit runRequested(currentIndex, port);
    if (!port || !link) {
        return;
    }
    startingRun = RunRecord{currentIndex, script.name, chosen->label, script.source};
    starting = true;
    QString error;
    int line = -1;
    const bool ok = link->startScript(script, &error, &line);
    starting = false;
    if (!ok) {
        scriptEditor->setErrorLine(line);
        appendError(QString(), error, line, startingRun.scriptIndex, script.source);
    } else {
        scriptEditor->setErrorLine(-1);
    }
    updateState();
}

void ScriptWindow::stop()
{
    const ChosenPort *chosen = chosenPort();
    if (chosen && chosen->link->scriptRunning()) {
        chosen->link->stopScript(ScriptRunner::StopReason::User);
    }
}

void ScriptWindow::stopAll()
{
    const QList<ChosenPort> listed = ports;
    for (const ChosenPort &entry : listed) {
        if (entry.port && entry.link && entry.link->scriptRunning()) {
            entry.link->stopScript(ScriptRunner::StopReason::User);
        }
    }
}

void ScriptWindow::updateState()
{
    const ChosenPort *chosen = chosenPort();
    const ScriptRunner *runner = chosen ? chosen->link->runner() : nullptr;
    QString text;
    bool running = false;
    if (!runner) {
        text = tr("No port");
    } else {
        const ScriptEngine &engine = runner->engine();
        const QString name = engine.name();
        switch (engine.state()) {
        case ScriptState::Idle:
            text = tr("Ready");
            break;
        case ScriptState::Running:
            running = true;
            text = tr("Running \"%1\" %2").arg(name, engine.waitingFor()).trimmed();
            break;
        case ScriptState::Passed:
            text = tr("\"%1\" passed in %2 s").arg(name, secondsText(engine.elapsedMs()));
            break;
        case ScriptState::Failed:
            text = engine.errorLine() > 0
                       ? tr("\"%1\" failed at line %2").arg(name).arg(engine.errorLine())
                       : tr("\"%1\" failed").arg(name);
            break;
        case ScriptState::Stopped:
            text = tr("\"%1\" stopped: %2").arg(name, engine.finishReason());
            break;
        }
    }
    // A toolbar label, not the place for a whole end reason.
    stateLabel->setText(ScriptEngine::clipText(text, StateTextLimit));
    stopButton->setEnabled(running);
}

// --- Window ---

void ScriptWindow::closeWithoutAsking()
{
    askOnClose = false;
    close();
    askOnClose = true;
}

void ScriptWindow::closeEvent(QCloseEvent *event)
{
    commitEditor();
    if (editTimer->isActive()) {
        emitLibraryEdited();
    }
    if (askOnClose && runningCount() > 0) {
        QMessageBox box(QMessageBox::Question, windowTitle(),
                        tr("Stop the script before closing the window?"), QMessageBox::NoButton,
                        this);
        box.setInformativeText(tr("Kept running, its lines stay in the port's receive view, and "
                                  "Tools > Scripts shows it again and can stop it."));
        QPushButton *stopAndClose = box.addButton(tr("Stop and Close"), QMessageBox::AcceptRole);
        QPushButton *keep = box.addButton(tr("Keep Running"), QMessageBox::DestructiveRole);
        QPushButton *cancel = box.addButton(tr("Cancel"), QMessageBox::RejectRole);
        box.setDefaultButton(cancel);
        box.setEscapeButton(cancel);
        box.exec();
        if (box.clickedButton() == stopAndClose) {
            stopAll();
        } else if (box.clickedButton() != keep) {
            event->ignore();
            return;
        }
    }
    savePlacement();
    event->accept();
}

void ScriptWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    refreshPorts();
    stateTimer->start();
}

void ScriptWindow::hideEvent(QHideEvent *event)
{
    QMainWindow::hideEvent(event);
    stateTimer->stop();
}

void ScriptWindow::savePlacement()
{
    QSettings settings;
    settings.beginGroup(SettingsGroup);
    settings.setValue(GeometryKey, saveGeometry());
    settings.setValue(StateKey, saveState());
    settings.endGroup();
}

void ScriptWindow::restorePlacement()
{
    QSettings settings;
    settings.beginGroup(SettingsGroup);
    restoreGeometry(settings.value(GeometryKey).toByteArray());
    restoreState(settings.value(StateKey).toByteArray());
    settings.endGroup();
}

// --- Documentation picture ---

ScriptWindow *ScriptWindow::createScreenshotSample(QWidget *parent)
{
    auto *window = new ScriptWindow(parent);
    ScriptLibrary library = ScriptLibrary::samples();
    library.scripts << Script{
        tr("Signal level"),
        QStringLiteral("-- Signal level: asks the modem for its signal quality and judges it.\n"
                       "sendLine(\"AT+CSQ\")\n"
                       "local _, rssi = expectRegex([[\\+CSQ: (\\d+),(\\d+)]], 2000)\n"
                       "rssi = tonumber(rssi)\n"
                       "if rssi == 99 then\n"
                       "    fail(\"no signal\")\n"
                       "elif rssi < 10 then\n"
                       "    print(\"weak signal: \" .. rssi)\n"
                       "else\n"
                       "    print(\"signal level \" .. rssi)\n"
                       "end\n")};
    window->setLibrary(library);

    // The user's script checked, with its error and the hint.
    window->selectScript(int(library.scripts.size()) - 1);
    window->check();

    // Then the AT sample run against a modem that answered one command with ERROR.
    window->selectScript(0);
    const Script &at = library.scripts.at(0);
    const RunRecord run{0, at.name, QStringLiteral("/dev/ttyUSB0"), at.source};
    window->appendRunStart(run, QStringLiteral("10:42:07"));
    const QStringList printed = {QStringLiteral("PASS AT"), QStringLiteral("PASS ATE0"),
                                 QStringLiteral("PASS AT+GMR"), QStringLiteral("PASS AT+CSQ"),
                                 QStringLiteral("FAIL AT+CGMI (answered ERROR)")};
    for (const QString &text : printed) {
        window->appendRunOutput(run, QString(), ScriptOutput{ScriptOutput::Print, text, -1, 0});
    }
    const int failLine = int(at.source.left(at.source.indexOf(QStringLiteral("fail("))).count(u'\n')) + 1;
    window->appendRunOutput(
        run, QString(),
        ScriptOutput{ScriptOutput::Error, QStringLiteral("1 of 5 commands failed"), failLine, 1207});
    window->appendRunOutput(
        run, QString(),
        ScriptOutput{ScriptOutput::Print, QStringLiteral("4 passed, 1 failed of 5 (failed)"), -1, 1207});
    window->appendRunOutput(
        run, QString(),
        ScriptOutput{ScriptOutput::Print, QStringLiteral("  AT+CGMI: answered ERROR"), -1, 1207});
    window->appendLine(tr("✗ failed at line %1 after %2 s").arg(failLine).arg(secondsText(1207)),
                       errorColour(), 0, failLine);
    window->scriptEditor->setErrorLine(failLine);
    window->scriptEditor->goToLine(failLine);
    return window;
}
