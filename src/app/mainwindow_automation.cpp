// The main window's side of automation: the auto reply dialog of a port, the command
// library in its dock, sequences on the focused port and their report.

#include "app/mainwindow.h"

#include "automation/autoreplycodec.h"
#include "automation/autoreplydialog.h"
#include "automation/autoreplyrunner.h"
#include "automation/commandlibrarycodec.h"
#include "automation/commandlibrarydialog.h"
#include "automation/commandpanel.h"
#include "automation/sequencereportexport.h"
#include "automation/sequencerunner.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QDockWidget>
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

void MainWindow::setupCommandPanel()
{
    commandPanel = new CommandPanel(this);
    commandPanel->setObjectName(QStringLiteral("commandPanel"));
    commandPanel->setShortcutHost(this);
    commandPanel->setLibrary(commandLibrary);
    auto *dock = new QDockWidget(tr("Commands"), this);
    dock->setObjectName(QStringLiteral("commandDock"));
    dock->setWidget(commandPanel);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->hide();
    commandDock = dock;

    connect(commandPanel, &CommandPanel::commandSendRequested, this,
            [this](const Command &command) {
                SerialPortWidget *port = focusedPortWidget();
                QString error;
                if (port && !port->sendCommand(command, &error) && !error.isEmpty()) {
                    showStatusNotice(error, NoticeWarning);
                }
            });
    connect(commandPanel, &CommandPanel::sequenceRunRequested, this,
            [this](const Sequence &sequence) {
                SerialPortWidget *port = focusedPortWidget();
                QString error;
                if (port && !port->startSequence(sequence, &error) && !error.isEmpty()) {
                    showStatusNotice(error, NoticeWarning);
                }
            });
    connect(commandPanel, &CommandPanel::sequenceStopRequested, this, [this] {
        if (SerialPortWidget *port = focusedPortWidget()) {
            port->stopSequence(int(SequenceRunner::StopReason::User));
        }
    });
    connect(commandPanel, &CommandPanel::editLibraryRequested, this,
            [this](int page) { editCommandLibrary(page); });
    connect(commandPanel, &CommandPanel::importRequested, this, &MainWindow::importCommandLibrary);
    connect(commandPanel, &CommandPanel::exportRequested, this, &MainWindow::exportCommandLibrary);
    connect(commandPanel, &CommandPanel::learnMoreRequested, this, &MainWindow::showCommandHelp);
}

void MainWindow::showCommandHelp()
{
    auto *box = new QMessageBox(
        QMessageBox::Information, tr("Commands and Sequences"),
        tr("A command is a message kept under a name. Its button, or its shortcut anywhere "
           "in the window, sends it on the focused port, shown in the view when Display Send "
           "is on. In text, \\r \\n \\t and \\xHH stand for the bytes they name; a hex "
           "command lists its bytes, as in 01 03 00 00 00 01. A command's own line ending and "
           "checksum, when it has them, replace the port's."),
        QMessageBox::Close, this);
    box->setObjectName(QStringLiteral("commandHelpBox"));
    box->setInformativeText(
        tr("A sequence runs its steps in order on the focused port: send a command, wait, "
           "expect a reply within a time, repeat from a label. Its bar above the port shows how "
           "it runs, and Tools > Export Sequence Report... keeps the result.\n\nEdit Library... "
           "changes both; More > Export... saves them as a .vlmcmd file for a colleague, who "
           "adds them with More > Import...."));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::connectPortAutomation(SerialPortWidget *port)
{
    connect(port, &SerialPortWidget::autoReplyEditRequested, this,
            [this, port] { openAutoReplyDialog(port); });
    connect(port, &SerialPortWidget::sequenceStateChanged, this, &MainWindow::refreshSequenceState);
}

void MainWindow::refreshSequenceState()
{
    SerialPortWidget *port = focusedPortWidget();
    if (!commandPanel || !port) {
        return;
    }
    const SequenceRunner *runner = port->sequences();
    commandPanel->setRunState(runner->isRunning() ? runner->engine().sequenceName() : QString(),
                              runner->isRunning() ? tr("Running") : QString());
}

void MainWindow::openAutoReplyDialog(SerialPortWidget *port)
{
    if (!port) {
        port = focusedPortWidget();
    }
    if (!port) {
        return;
    }
    AutoReplyDialog dialog(port->sessionPortLabel(), port->autoReplyConfig(),
                           &port->autoReplyEngine(), this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    port->setAutoReplyConfig(dialog.config());
    markModified();
}

void MainWindow::editCommandLibrary(int page)
{
    SerialPortWidget *port = focusedPortWidget();
    CommandLibraryDialog dialog(commandLibrary, port ? port->formatSettings() : FormatSetting(),
                                this);
    dialog.setCurrentPage(page);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    setCommandLibrary(dialog.library());
    markModified();
}

void MainWindow::setCommandLibrary(const CommandLibrary &library)
{
    commandLibrary = library;
    if (commandPanel) {
        commandPanel->setLibrary(commandLibrary);
    }
}

void MainWindow::importCommandLibrary()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Import Commands"), projectFolder(),
                                                      CommandLibraryDialog::shareFileFilter());
    if (path.isEmpty()) {
        return;
    }
    bool ok = false;
    CommandLibrary library = commandLibrary;
    const QString report = CommandLibraryDialog::importShareFile(path, &library, &ok);
    if (ok) {
        setCommandLibrary(library);
        markModified();
    }
    showStatusNotice(report, ok ? NoticeInfo : NoticeWarning);
}

void MainWindow::exportCommandLibrary()
{
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Export Commands"),
        QDir(projectFolder()).filePath(CommandLibraryDialog::suggestedShareFileName()),
        CommandLibraryDialog::shareFileFilter());
    if (path.isEmpty()) {
        return;
    }
    const QString failure = CommandLibraryDialog::exportShareFile(path, commandLibrary);
    showStatusNotice(failure.isEmpty()
                         ? tr("Commands exported to %1").arg(QDir::toNativeSeparators(path))
                         : failure,
                     failure.isEmpty() ? NoticeInfo : NoticeError);
}

void MainWindow::exportSequenceReport()
{
    SerialPortWidget *port = focusedPortWidget();
    if (!port) {
        return;
    }
    const QString text = SequenceReportExport::run(this, port->sequenceReportLog(),
                                                   port->consolePortKey(), projectFolder());
    if (!text.isEmpty()) {
        // Also said when the port has run nothing yet, which would otherwise look like a
        // menu entry that does nothing.
        showStatusNotice(text, port->sequenceReportLog().isEmpty() ? NoticeWarning : NoticeInfo);
    }
}

void MainWindow::createAutomationActions(QMenu *tools)
{
    tools->addSeparator();
    QAction *autoReply = tools->addAction(tr("Auto Reply..."));
    autoReply->setObjectName(QStringLiteral("acToolsAutoReply"));
    connect(autoReply, &QAction::triggered, this, [this] { openAutoReplyDialog(nullptr); });
    QAction *commands = tools->addAction(tr("Commands"));
    commands->setObjectName(QStringLiteral("acToolsCommands"));
    commands->setCheckable(true);
    connect(commands, &QAction::toggled, this, [this](bool on) { commandDock->setVisible(on); });
    connect(commandDock, &QDockWidget::visibilityChanged, commands, &QAction::setChecked);
    QAction *library = tools->addAction(tr("Command Library..."));
    library->setObjectName(QStringLiteral("acToolsCommandLibrary"));
    connect(library, &QAction::triggered, this, [this] { editCommandLibrary(0); });
    QAction *report = tools->addAction(tr("Export Sequence Report..."));
    report->setObjectName(QStringLiteral("acToolsSequenceReport"));
    connect(report, &QAction::triggered, this, &MainWindow::exportSequenceReport);
}

void MainWindow::saveAutomation(QSettings &file) const
{
    for (int i = 0; i < portCountValue; ++i) {
        AutoReplyCodec::save(file, AutoReplyCodec::projectPrefix(QString::number(i)),
                             portWidgets[size_t(i)]->autoReplyConfig());
    }
    CommandLibraryCodec::save(file, QStringLiteral("CommandLibrary/"), commandLibrary);
}

void MainWindow::loadAutomation(QSettings &file)
{
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setAutoReplyConfig(
            AutoReplyCodec::load(file, AutoReplyCodec::projectPrefix(QString::number(i))));
    }
    if (CommandLibraryCodec::contains(file, QStringLiteral("CommandLibrary/"))) {
        setCommandLibrary(CommandLibraryCodec::load(file, QStringLiteral("CommandLibrary/")));
    }
}
