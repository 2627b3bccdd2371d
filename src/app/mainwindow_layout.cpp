// The port layout of the main window: a grid of splitters or tabs, and adding and
// removing panels at the end.

#include "app/mainwindow.h"

#include "app/multiportsettingdlg.h"
#include "app/newconnection.h"
#include "cloud/cloudsettingspage.h"
#include "common/logging.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QGridLayout>
#include <QInputDialog>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>

namespace {
// Set on a panel once its quick settings were folded or opened for its first row.
constexpr char FoldDecidedProperty[] = "quickSettingsFoldDecided";

QSplitter *makeSplitter(Qt::Orientation orientation, const QString &name, QWidget *parent)
{
    auto *splitter = new QSplitter(orientation, parent);
    splitter->setObjectName(name);
    splitter->setChildrenCollapsible(false);
    splitter->setHandleWidth(8);
    return splitter;
}
} // namespace

QAction *MainWindow::viewAction(const QString &name) const
{
    return findChild<QAction *>(name);
}

void MainWindow::setPortCount(int count)
{
    count = std::clamp(count, 1, MaxPorts);
    while (portCountValue < count) {
        createPortWidget(portCountValue);
        ++portCountValue;
    }
    while (portCountValue > count) {
        removeLastPort();
    }
}

void MainWindow::setColumnCount(int count)
{
    columnCountValue = std::clamp(count, 1, MaxPorts);
}

void MainWindow::setTabLayout(bool tabs)
{
    tabLayout = tabs;
}

void MainWindow::updateGrid()
{
    rebuildPortLayout();
    shareSessionRecordCapacity();
    const bool single = portCountValue == 1;
    statusBar()->setVisible(single);
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->statusBar()->setVisible(!single);
    }
    const bool quickView = acViewQuickSettings->isChecked();
    // Panels that share a row start with their settings folded to a strip, so that four
    // fit a small screen side by side; a change of how many share a row folds or opens
    // them all, and a panel the user folded or opened otherwise stays so.
    const int perRow = tabLayout ? 1 : std::max(std::min(portCountValue, columnCountValue), 1);
    const bool shapeChanged = perRow != panelsPerRow;
    panelsPerRow = perRow;
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        port->setQuickSettingsGroups(quickSettings);
        port->setQuickSettingsVisible(quickView);
        const FormatSetting format = port->formatSettings();
        port->updateSplitterSizes(format.splitterLeft, format.splitterRight);
        if (shapeChanged || !port->property(FoldDecidedProperty).toBool()) {
            port->setQuickSettingsCollapsed(perRow > 1);
            port->setProperty(FoldDecidedProperty, true);
        }
    }
    updateStatusBar();
    syncBridgePorts();
    Q_EMIT portsChanged();
    // A window wider or taller than its screen shrinks once the panels allow it (the
    // layouts settle first).
    QTimer::singleShot(0, this, [this] {
        if (isVisible() && !isMaximized() && !isFullScreen() && screen()) {
            const QSize room = screen()->availableSize();
            if (width() > room.width() || height() > room.height()) {
                resize(size().boundedTo(room));
            }
        }
    });
}

void MainWindow::rebuildPortLayout()
{
    if (tabLayout) {
        rebuildPortTabs();
        syncViewActions();
        return;
    }
    if (portTabs) {
        while (portTabs->count() > 0) {
            portTabs->removeTab(0);
        }
        portTabs->hide();
    }
    const int columns = std::max(std::min(portCountValue, columnCountValue), 1);
    const int rows = (portCountValue + columns - 1) / columns;

    if (!portSplitter) {
        portSplitter = makeSplitter(Qt::Vertical, QStringLiteral("portSplitter"), central);
        connect(portSplitter, &QSplitter::splitterMoved, this,
                [this] { capturePortSplitterSizes(portSplitter); });
        static_cast<QGridLayout *>(central->layout())->addWidget(portSplitter, 1, 0);
    }
    if (gridShape != qMakePair(rows, columns)) {
        rowSizes.clear();
        columnSizes.clear();
        gridShape = qMakePair(rows, columns);
    }
    while (rowSplitters.size() < rows) {
        QSplitter *row = makeSplitter(Qt::Horizontal,
                                      QStringLiteral("portRowSplitter%1").arg(rowSplitters.size()),
                                      portSplitter);
        connect(row, &QSplitter::splitterMoved, this,
                [this, row] { capturePortSplitterSizes(row); });
        rowSplitters.append(row);
    }
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        QSplitter *row = rowSplitters.at(i / columns);
        const int place = i % columns;
        if (row->indexOf(port) != place) {
            row->insertWidget(place, port);
        }
        port->show();
    }
    for (int r = 0; r < rowSplitters.size(); ++r) {
        QSplitter *row = rowSplitters.at(r);
        const bool visible = r < rows;
        row->setVisible(visible);
        if (visible && portSplitter->indexOf(row) != r) {
            portSplitter->insertWidget(r, row);
        }
    }
    if (!columnSizes.isEmpty()) {
        for (int r = 0; r < rows; ++r) {
            rowSplitters.at(r)->setSizes(columnSizes);
        }
    }
    if (!rowSizes.isEmpty()) {
        portSplitter->setSizes(rowSizes);
    }
    portSplitter->show();
    syncViewActions();
}

void MainWindow::rebuildPortTabs()
{
    if (!portTabs) {
        portTabs = new QTabWidget(central);
        portTabs->setObjectName(QStringLiteral("portTabs"));
        portTabs->setDocumentMode(true);
        static_cast<QGridLayout *>(central->layout())->addWidget(portTabs, 1, 0);
        connect(portTabs, &QTabWidget::currentChanged, this, [this](int index) {
            if (auto *port = qobject_cast<SerialPortWidget *>(portTabs->widget(index))) {
                port->setFocus();
                lastFocusedPort = port;
                updateStatusBar();
                refreshSequenceState();
            }
        });
    }
    if (portSplitter) {
        portSplitter->hide();
    }
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        if (portTabs->indexOf(port) != i) {
            portTabs->insertTab(i, port, portTabTitle(i));
        }
    }
    while (portTabs->count() > portCountValue) {
        portTabs->removeTab(portTabs->count() - 1);
    }
    portTabs->show();
    refreshPortTabTitles();
    if (portTabs->currentIndex() < 0 && portTabs->count() > 0) {
        portTabs->setCurrentIndex(0);
    }
}

QString MainWindow::portTabTitle(int index) const
{
    const SerialPortWidget *port = portWidget(index);
    const QString name = port ? port->sessionPortLabel().trimmed() : QString();
    return tr("%1: %2").arg(index + 1).arg(name.isEmpty() ? tr("Connection") : name);
}

void MainWindow::refreshPortTabTitles()
{
    if (!portTabs) {
        return;
    }
    for (int i = 0; i < portTabs->count(); ++i) {
        const QString title = portTabTitle(i);
        if (portTabs->tabText(i) != title) {
            portTabs->setTabText(i, title);
        }
    }
}

void MainWindow::capturePortSplitterSizes(QSplitter *splitter)
{
    if (splitter == portSplitter) {
        rowSizes = splitter->sizes();
        return;
    }
    columnSizes = splitter->sizes();
    for (QSplitter *row : std::as_const(rowSplitters)) {
        if (row != splitter && row->isVisible()) {
            const QSignalBlocker blocker(row);
            row->setSizes(columnSizes);
        }
    }
}

void MainWindow::syncViewActions()
{
    const auto set = [](QAction *action, bool on) { action->setChecked(on); };
    if (tabLayout) {
        for (QAction *action : {acViewHorizontal, acViewVertical, acViewGrid, acViewCustom}) {
            set(action, false);
        }
        set(acViewTabs, true);
        return;
    }
    set(acViewTabs, false);
    if (portCountValue < 2) {
        return;
    }
    int n = columnCountValue;
    if (portCountValue < n) {
        set(acViewVertical, false);
        n = portCountValue;
    }
    if (n < 2) {
        set(acViewVertical, true);
        for (QAction *action : {acViewHorizontal, acViewGrid, acViewCustom}) {
            set(action, false);
        }
        return;
    }
    set(acViewVertical, false);
    set(acViewHorizontal, portCountValue == n);
    if (n == 2) {
        set(acViewGrid, portCountValue >= 3);
        set(acViewCustom, false);
    } else {
        set(acViewGrid, false);
        set(acViewCustom, portCountValue > n);
    }
}

void MainWindow::on_acViewHorizontal_triggered()
{
    tabLayout = false;
    columnCountValue = portCountValue;
    updateGrid();
    markModified();
}

void MainWindow::on_acViewVertical_triggered()
{
    tabLayout = false;
    columnCountValue = 1;
    updateGrid();
    markModified();
}

void MainWindow::on_acViewGrid_triggered()
{
    tabLayout = false;
    columnCountValue = 2;
    updateGrid();
    markModified();
}

void MainWindow::on_acViewCustom_triggered()
{
    tabLayout = false;
    // The value is taken as the dialog returns it, also when it was cancelled.
    columnCountValue =
        QInputDialog::getInt(this, tr("Set Port Number Per Column"), tr("Port Number Per Column:"),
                             columnCountValue, 1, MaxPorts, 1);
    updateGrid();
    markModified();
}

void MainWindow::on_acViewTabs_triggered()
{
    tabLayout = true;
    updateGrid();
    markModified();
}

void MainWindow::applyHorizontalAfterCountChange()
{
    if (!tabLayout) {
        columnCountValue = portCountValue;
    }
    updateGrid();
    markModified();
}

void MainWindow::on_acEditAdd_triggered()
{
    addConnection(-1);
}

void MainWindow::addConnection(int mode)
{
    if (portCountValue >= MaxPorts) {
        showStatusNotice(tr("A window holds at most %1 connections.").arg(MaxPorts), NoticeWarning);
        return;
    }
    MultiPortSettingDlg dialog(1, this);
    dialog.setWindowTitle(tr("Add Connection"));
    // A new connection starts from the last-used records, with its own port name, and
    // the transport asked for when there is one.
    Settings seed = lastState.settings;
    seed.name = SettingsService::defaultPortSettings(QString()).name;
    if (mode >= 0) {
        seed.connMode = connectionModeFromInt(mode);
    }
    dialog.setPortSettings(0, seed);
    dialog.setFormatSettings(0, lastState.format);
    if (!addConnectionAccepted(dialog)) {
        return;
    }
    SerialPortWidget *port = createPortWidget(portCountValue);
    port->applySettings(dialog.portSettings(0));
    port->applyFormatSetting(dialog.formatSettings(0));
    ++portCountValue;
    qCDebug(lcApp) << "on_actionAd_triggered: Port Number =" << portCountValue;
    applyHorizontalAfterCountChange();
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setAutoReconnect(autoReconnect);
    }
}

bool MainWindow::addConnectionAccepted(MultiPortSettingDlg &dialog)
{
    if (addConnectionHook) {
        return addConnectionHook(dialog);
    }
    return dialog.exec() == QDialog::Accepted;
}

bool MainWindow::settingsDialogAccepted(MultiPortSettingDlg &dialog)
{
    if (settingsDialogHook) {
        return settingsDialogHook(dialog);
    }
    return dialog.exec() == QDialog::Accepted;
}

bool MainWindow::reopenWanted(int index)
{
    if (reopenQuestionHook) {
        return reopenQuestionHook(index);
    }
    return QMessageBox::question(
               this, tr("Reopen Connection"),
               tr("%1 is open. Its new connection settings take effect when it opens again.\n\n"
                  "Reopen it now?")
                   .arg(portTabTitle(index)),
               QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes) == QMessageBox::Yes;
}

void MainWindow::on_acEditSettings_triggered()
{
    openSettingsDialog(false);
}

void MainWindow::openSettingsDialog(bool cloudPage)
{
    MultiPortSettingDlg dialog(portCountValue, this);
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->updateSettings();
        dialog.setPortSettings(i, portWidgets[size_t(i)]->settingsForNextOpen());
        dialog.setFormatSettings(i, portWidgets[size_t(i)]->formatSettings());
    }
    dialog.setQuickSettingsGroups(quickSettings);
    auto *cloud = new CloudSettingsPage(&dialog);
    {
        QSettings app;
        cloud->load(app);
    }
    dialog.setCloudSettingsPage(cloud);
    if (cloudPage) {
        dialog.showCloudPage();
    }
    if (!settingsDialogAccepted(dialog)) {
        return;
    }
    {
        QSettings app;
        cloud->save(app);
    }
    updateCloudConsentActions();
    configureAutoSyncTimer();
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        const Settings wanted = dialog.portSettings(i);
        port->applyFormatSetting(dialog.formatSettings(i));
        if (port->portState() == SerialPortWidget::Stopped) {
            port->applySettings(wanted);
        } else if (port->settingsNeedReopen(wanted)) {
            // Nothing is dropped: what needs a new connection gets one now, or waits
            // for the next open.
            if (reopenWanted(i)) {
                port->stop();
                port->applySettings(wanted);
                port->start(QString());
            } else {
                port->keepSettingsForNextOpen(wanted);
            }
        } else {
            // The line parameters of an open serial port change while it runs.
            QString error;
            if (!port->applyRunningSettings(wanted, &error)) {
                showStatusNotice(tr("%1: the line settings were not changed: %2")
                                     .arg(portTabTitle(i), error),
                                 NoticeWarning);
            }
        }
    }
    quickSettings = dialog.quickSettingsGroups();
    updateGrid();
    markModified();
}

void MainWindow::setQuickSettingsGroups(const QuickSettingsGroups &groups)
{
    quickSettings = groups;
    updateGrid();
}

void MainWindow::on_acViewQuickSettingsFields_triggered()
{
    MultiPortSettingDlg dialog(0, this);
    dialog.setWindowTitle(tr("Quick Settings"));
    dialog.setQuickSettingsGroups(quickSettings);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    quickSettings = dialog.quickSettingsGroups();
    updateGrid();
    markModified();
}

void MainWindow::on_acEditRemove_triggered()
{
    if (portCountValue < 2) {
        portWidgets[0]->statusBar()->showMessage(tr("Port Number = %1").arg(portCountValue), 2000);
        showStatusNotice(tr("Port Number = %1").arg(portCountValue), NoticeInfo, 2000);
        return;
    }
    removeLastPort();
    applyHorizontalAfterCountChange();
}

void MainWindow::removeLastPort()
{
    // Callers keep one panel, except a project load, which replaces them all.
    if (portCountValue < 1) {
        return;
    }
    SerialPortWidget *port = portWidgets[size_t(portCountValue - 1)];
    removeBridgesOfPort(portCountValue - 1);
    port->stop();
    --portCountValue;
    port->hide();
    if (portTabs) {
        const int index = portTabs->indexOf(port);
        if (index >= 0) {
            portTabs->removeTab(index);
        }
    }
    port->disconnect(this);
    delete port;
    portWidgets[size_t(portCountValue)] = nullptr;
    scriptLinks[size_t(portCountValue)] = nullptr;
}

void MainWindow::on_actionNew_Connection_triggered()
{
    NewConnection dialog(this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    addConnectionOfKind(dialog.kind());
}

void MainWindow::addConnectionOfKind(int kind)
{
    switch (kind) {
    case NewConnection::SerialPortKind:
        addConnection(ModeSerial);
        break;
    case NewConnection::TcpIpKind:
        addConnection(ModeTcpClient);
        break;
    default:
        openBridgeDialog();
        break;
    }
}
