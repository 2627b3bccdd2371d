#include "app/mainwindow.h"

#include "app/appearance.h"
#include "app/setconfigfilepathdialog.h"
#include "bridge/bridgemanager.h"
#include "common/logging.h"
#include "session/serialportwidget.h"
#include "tools/asciicode.h"
#include "tools/toolbox.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QLoggingCategory>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>

#include <utility>

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setWindowTitle(tr("Velmora"));
    central = new QWidget(this);
    auto *grid = new QGridLayout(central);
    grid->setContentsMargins(0, 0, 0, 0);
    setCentralWidget(central);

    setupCommandPanel();
    createActions();
    createStatusBar();

    portCountValue = 1;
    createPortWidget(0);
    readSettings();
    updateGrid();
    setupCloud();
    setWindowModified(false);

    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        for (QWidget *w = now; w; w = w->parentWidget()) {
            if (auto *port = qobject_cast<SerialPortWidget *>(w)) {
                if (lastFocusedPort != port) {
                    lastFocusedPort = port;
                    updateStatusBar();
                    // Run and Stop in the command panel act on this port now.
                    refreshSequenceState();
                }
                return;
            }
        }
    });
    // Notices raised while the window is being built wait until it shows.
    QTimer::singleShot(0, this, &MainWindow::releaseStartupNotices);
}

MainWindow::~MainWindow()
{
    // Panels leave the tab widget as they are deleted; its signals must not reach back
    // into a window that is going away.
    if (portTabs) {
        portTabs->disconnect(this);
    }
    statusRefreshTimer->stop();
    // Bridges go before the ports they join, so none writes into a closing port.
    delete std::exchange(bridgeManager, nullptr);
    disconnect(qApp, &QApplication::focusChanged, this, nullptr);
    for (SerialPortWidget *&port : portWidgets) {
        if (!port) {
            continue;
        }
        port->disconnect(this);
        if (port->portState() != 2) {
            port->stop();
        }
        delete port;
        port = nullptr;
    }
}

SerialPortWidget *MainWindow::portWidget(int index) const
{
    return index >= 0 && index < MaxPorts ? portWidgets[size_t(index)] : nullptr;
}

SerialPortWidget *MainWindow::focusedPortWidget() const
{
    for (int i = 0; i < portCountValue; ++i) {
        if (portWidgets[size_t(i)] == lastFocusedPort) {
            return lastFocusedPort;
        }
    }
    return portCountValue > 0 ? portWidgets[0] : nullptr;
}

SerialPortWidget *MainWindow::createPortWidget(int index)
{
    auto *port = new SerialPortWidget(nullptr);
    port->setPortNumber(index);
    port->setWindowFlags(Qt::Widget);
    port->setAutoReconnect(autoReconnect);
    portWidgets[size_t(index)] = port;
    connect(port, &SerialPortWidget::settingsChanged, this, &MainWindow::markModified);
    connectPortAutomation(port);
    connectPortScripts(port, index);
    connectPortDecode(port);
    connectPortHistory(port);
    connectPortRelay(port);
    connectPortBridge(port);
    connect(port, &SerialPortWidget::statusShown, this,
            [this, port](const QString &text, int timeoutMs) {
                onPortStatusShown(port, text, timeoutMs);
            });
    return port;
}

void MainWindow::start(const QString &portName, bool silent)
{
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        if (!portName.isEmpty() && port->currentRealPortName() != portName) {
            continue;
        }
        const bool ok = port->start(QString());
        if (!ok && i == 0) {
            const QString text = tr("Serial Port %1 OPEN FAILED").arg(port->sessionPortLabel());
            if (silent) {
                showStatusNotice(text, NoticeWarning, 15000, port->lastTransportError());
            } else {
                QMessageBox::warning(this, tr("Velmora"), text);
            }
        }
        if (!portName.isEmpty()) {
            return;
        }
    }
}

void MainWindow::createActions()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    QAction *fileNew = file->addAction(tr("&New"));
    fileNew->setObjectName(QStringLiteral("acFileNew"));
    fileNew->setShortcut(QKeySequence::New);
    connect(fileNew, &QAction::triggered, this, &MainWindow::on_acFileNew_triggered);
    QAction *fileOpen = file->addAction(tr("&Open..."));
    fileOpen->setObjectName(QStringLiteral("acFileOpen"));
    fileOpen->setShortcut(QKeySequence::Open);
    connect(fileOpen, &QAction::triggered, this, &MainWindow::on_acFileOpen_triggered);
    recentMenu = file->addMenu(tr("Recent Files"));
    QAction *fileSave = file->addAction(tr("&Save"));
    fileSave->setObjectName(QStringLiteral("acFileSave"));
    fileSave->setShortcut(QKeySequence::Save);
    connect(fileSave, &QAction::triggered, this, &MainWindow::on_acFileSave_triggered);
    QAction *fileSaveAs = file->addAction(tr("Save &As..."));
    fileSaveAs->setObjectName(QStringLiteral("acFileSaveAs"));
    fileSaveAs->setShortcut(QKeySequence::SaveAs);
    connect(fileSaveAs, &QAction::triggered, this, [this] { saveAs(); });
    file->addSeparator();
    createHistoryActions(file);
    createRecordingActions(file);
    file->addSeparator();
    acAutoReconnect = file->addAction(tr("Reconnect Automatically"));
    acAutoReconnect->setObjectName(QStringLiteral("acAutoReconnect"));
    acAutoReconnect->setCheckable(true);
    connect(acAutoReconnect, &QAction::triggered, this, [this] {
        applyAutoReconnectToPorts();
        markModified();
    });
    acOpenLastConnection = file->addAction(tr("Open Last Connection at Start"));
    acOpenLastConnection->setObjectName(QStringLiteral("acOpenLastConnection"));
    acOpenLastConnection->setCheckable(true);
    file->addSeparator();
    QAction *quit = file->addAction(tr("E&xit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);

    QMenu *edit = menuBar()->addMenu(tr("&Edit"));
    acEditAdd = edit->addAction(tr("Add Connection"));
    acEditAdd->setObjectName(QStringLiteral("acEditAdd"));
    connect(acEditAdd, &QAction::triggered, this, &MainWindow::on_acEditAdd_triggered);
    acEditRemove = edit->addAction(tr("Remove Last Connection"));
    acEditRemove->setObjectName(QStringLiteral("acEditRemove"));
    connect(acEditRemove, &QAction::triggered, this, &MainWindow::on_acEditRemove_triggered);
    QAction *settingsAction = edit->addAction(tr("Settings..."));
    settingsAction->setObjectName(QStringLiteral("acEditSettings"));
    connect(settingsAction, &QAction::triggered, this, &MainWindow::on_acEditSettings_triggered);
    QAction *settingsFile = edit->addAction(tr("Settings File Location..."));
    settingsFile->setObjectName(QStringLiteral("acEditSettingsFile"));
    connect(settingsFile, &QAction::triggered, this, [this] {
        SetConfigFilePathDialog dialog(this);
        if (!configFilePath().isEmpty()) {
            dialog.setPath(configFilePath());
        }
        if (dialog.exec() == QDialog::Accepted && !dialog.path().trimmed().isEmpty()) {
            // The last-used state is written there when the program closes.
            QSettings().setValue(QStringLiteral("CONFIG_FILE_PATH"), dialog.path().trimmed());
        }
    });
    QAction *newConnection = edit->addAction(tr("New Connection..."));
    newConnection->setObjectName(QStringLiteral("actionNew_Connection"));
    connect(newConnection, &QAction::triggered, this,
            &MainWindow::on_actionNew_Connection_triggered);

    QMenu *view = menuBar()->addMenu(tr("&View"));
    const auto viewAction = [this, view](const char *text, const char *name, auto slot) {
        QAction *action = view->addAction(tr(text));
        action->setObjectName(QString::fromLatin1(name));
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    acViewHorizontal =
        viewAction("Horizontal", "acViewHorizontal", &MainWindow::on_acViewHorizontal_triggered);
    acViewVertical =
        viewAction("Vertical", "acViewVertical", &MainWindow::on_acViewVertical_triggered);
    acViewGrid = viewAction("Grid", "acViewGrid", &MainWindow::on_acViewGrid_triggered);
    acViewCustom = viewAction("Custom...", "acViewCustom", &MainWindow::on_acViewCustom_triggered);
    acViewTabs = viewAction("Tabs", "acViewTabs", &MainWindow::on_acViewTabs_triggered);
    view->addSeparator();
    acViewQuickSettings = view->addAction(tr("Quick Settings"));
    acViewQuickSettings->setObjectName(QStringLiteral("acViewQuickSettings"));
    acViewQuickSettings->setCheckable(true);
    acViewQuickSettings->setChecked(true);
    connect(acViewQuickSettings, &QAction::triggered, this, &MainWindow::updateGrid);
    QAction *quickFields = view->addAction(tr("Quick Settings Fields..."));
    quickFields->setObjectName(QStringLiteral("acViewQuickSettingsFields"));
    connect(quickFields, &QAction::triggered, this,
            &MainWindow::on_acViewQuickSettingsFields_triggered);
    view->addSeparator();
    QMenu *appearance = view->addMenu(tr("Appearance"));
    acAppearanceLight = appearance->addAction(tr("Light"));
    acAppearanceDark = appearance->addAction(tr("Dark"));
    for (QAction *action : {acAppearanceLight, acAppearanceDark}) {
        action->setCheckable(true);
    }
    acAppearanceLight->setChecked(Appearance::current() == AppearanceMode::Light);
    acAppearanceDark->setChecked(Appearance::current() == AppearanceMode::Dark);
    connect(acAppearanceLight, &QAction::triggered, this, [this] { setAppearance(0); });
    connect(acAppearanceDark, &QAction::triggered, this, [this] { setAppearance(1); });

    QMenu *tools = menuBar()->addMenu(tr("&Tools"));
    tools->setObjectName(QStringLiteral("toolsMenu"));
    QAction *toolBox = tools->addAction(tr("CRC/Converter..."));
    toolBox->setObjectName(QStringLiteral("acToolsToolBox"));
    connect(toolBox, &QAction::triggered, this, [this] { openToolBox(); });
    QAction *ascii = tools->addAction(tr("ASCII Code Chart..."));
    ascii->setObjectName(QStringLiteral("acToolsAscii"));
    connect(ascii, &QAction::triggered, this, [this] { openAsciiChart(); });
    createTransferActions(tools);
    createAutomationActions(tools);
    createScriptActions(tools);
    createDecodeActions(tools);
    createBridgeActions(tools);
    createCloudActions();
    createConsoleActions();
    createShareActions();
    createHelpActions();
}

ToolBox *MainWindow::openToolBox()
{
    if (!toolBoxDialog) {
        toolBoxDialog = new ToolBox(this);
        // A frame built in the calculator goes into the send box of the port in focus.
        connect(toolBoxDialog, &ToolBox::insertRequested, this, [this](const QString &hex) {
            if (SerialPortWidget *port = focusedPortWidget()) {
                port->setSendHex(true);
                port->setSendText(hex, false);
            }
        });
    }
    toolBoxDialog->show();
    toolBoxDialog->raise();
    toolBoxDialog->activateWindow();
    return toolBoxDialog;
}

AsciiCode *MainWindow::openAsciiChart()
{
    if (!asciiDialog) {
        asciiDialog = new AsciiCode(this);
    }
    asciiDialog->show();
    asciiDialog->raise();
    asciiDialog->activateWindow();
    return asciiDialog;
}

void MainWindow::setAppearance(int mode)
{
    const AppearanceMode chosen = mode == 1 ? AppearanceMode::Dark : AppearanceMode::Light;
    Appearance::apply(chosen);
    QSettings().setValue(QStringLiteral("Appearance"), Appearance::toSetting(chosen));
    acAppearanceLight->setChecked(chosen == AppearanceMode::Light);
    acAppearanceDark->setChecked(chosen == AppearanceMode::Dark);
}

void MainWindow::markModified()
{
    setWindowModified(true);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // Unsaved changes are not lost without a question.
    if (!okToContinue()) {
        event->ignore();
        return;
    }
    wasOpenAtExit = portWidgets[0]->portState() != SerialPortWidget::Stopped;
    closeScriptWindowForExit();
    for (int i = 0; i < portCountValue; ++i) {
        if (portWidgets[size_t(i)]->portState() != 2) {
            portWidgets[size_t(i)]->stop();
        }
    }
    hide();
    revokeSharesForExit();
    writeSettings();
    event->accept();
}
