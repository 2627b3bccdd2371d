// Projects (".vlm" files that hold the whole bench) and the last-used state that seeds
// the next start.

#include "app/mainwindow.h"
#include "app/projectcodec.h"
#include "app/settingsservice.h"
#include "automation/autoreplycodec.h"
#include "automation/autoreplyengine.h"
#include "bridge/bridgemanager.h"
#include "common/logging.h"
#include "connection/wiretextcodecregistry.h"
#include "plot/plotcodec.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QSettings>
#include <QStatusBar>

bool MainWindow::writeSettingFile(const QString &path, bool showProgress)
{
    QSettings file(path, QSettings::IniFormat);
    std::unique_ptr<QProgressBar> progress;
    if (showProgress) {
        progress = std::make_unique<QProgressBar>();
        progress->setWindowTitle(tr("Saving..."));
        progress->setRange(0, 100);
        progress->resize(400, 40);
        progress->show();
    }
    ProjectRecord project;
    project.ports.clear();
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        port->updateSettings();
        ProjectPortRecord record;
        record.settings = port->settingsForNextOpen();
        record.format = port->formatSettings();
        record.sendHistory = port->sendHistory();
        project.ports.append(record);
    }
    project.columnCount = columnCountValue;
    project.layoutMode = tabLayout ? ProjectRecord::TabLayout : ProjectRecord::GridLayout;
    project.quickView = acViewQuickSettings->isChecked();
    project.quickSettings = quickSettings;
    ProjectCodec::save(file, project, [&progress](int percent) {
        if (progress) {
            progress->setValue(percent);
            QCoreApplication::processEvents();
        }
    });
    saveAutomation(file);
    saveScripts(file);
    saveDecode(file);
    saveBridges(file);
    for (int i = 0; i < portCountValue; ++i) {
        PlotCodec::save(file, ProjectCodec::plotGroup(i), portWidgets[size_t(i)]->plotConfig());
    }
    file.sync();
    if (file.status() != QSettings::NoError) {
        qCWarning(lcApp) << "writeFile: Write FAILED!" << path;
        return false;
    }
    qCInfo(lcApp) << "writeFile: Write Success!";
    return true;
}

bool MainWindow::readSettingFile(const QString &path, QString *error)
{
    const QString shown = QDir::toNativeSeparators(path);
    if (!QFileInfo::exists(path)) {
        qCWarning(lcApp) << "readSettingFile: file not found:" << path;
        if (error) {
            *error = tr("Could not open %1").arg(shown);
        }
        return false;
    }
    QSettings file(path, QSettings::IniFormat);
    // A file that is no project (random bytes, some other text) would only replace the
    // bench with defaults: it is refused and the bench stays as it is.
    if (file.status() != QSettings::NoError || !ProjectCodec::looksLikeProject(file)) {
        qCWarning(lcApp) << "readFile: read parameter FAILED!" << path;
        if (error) {
            *error = tr("%1 is not a Velmora project file.").arg(shown);
        }
        return false;
    }
    QStringList replaced;
    const ProjectRecord project =
        ProjectCodec::load(file, &WireTextCodecRegistry::normalizeName, &replaced);
    if (!replaced.isEmpty()) {
        showStatusNotice(tr("%1: %2 values were out of range and were replaced (first: %3).")
                             .arg(QFileInfo(path).fileName())
                             .arg(replaced.size())
                             .arg(replaced.first()),
                         NoticeWarning, -1, replaced.join(QStringLiteral(", ")));
    }
    quickSettings = project.quickSettings;
    // A project is a new bench: its ports are made afresh, so no view, counter, log or
    // run of the old ones carries over, nor a bridge of the old ones.
    bridges()->setConfigs({});
    waitingBridges.clear();
    while (portCountValue > 0) {
        removeLastPort();
    }
    setPortCount(int(project.portCount()));
    columnCountValue = project.columnCount;
    tabLayout = project.layoutMode == ProjectRecord::TabLayout;
    rowSizes.clear();
    columnSizes.clear();
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        const ProjectPortRecord &record = project.ports.at(i);
        port->applySettings(record.settings);
        port->applyFormatSetting(record.format);
        port->setSendHistory(record.sendHistory);
        port->setAutoReconnect(autoReconnect);
        port->setPlotConfig(PlotCodec::load(file, ProjectCodec::plotGroup(i)));
    }
    acViewQuickSettings->setChecked(project.quickView);
    loadAutomation(file);
    loadScripts(file);
    loadDecode(file);
    loadBridges(file);
    return true;
}

bool MainWindow::loadFile(const QString &path)
{
    QString error;
    if (!readSettingFile(path, &error)) {
        showStatusNotice(error, NoticeError);
        return false;
    }
    setCurrentFile(path);
    updateGrid();
    setWindowModified(false);
    return true;
}

bool MainWindow::saveFile(const QString &path, bool showProgress)
{
    if (!writeSettingFile(path, showProgress)) {
        portWidgets[0]->statusBar()->showMessage(tr("Saving FAILED"), 2000);
        showStatusNotice(tr("Saving FAILED"), NoticeError, 2000);
        return false;
    }
    setCurrentFile(path);
    setWindowModified(false);
    portWidgets[0]->statusBar()->showMessage(tr("File saved"), 2000);
    showStatusNotice(tr("File saved"), NoticeInfo, 2000);
    return true;
}

bool MainWindow::saveAs()
{
    QString path = QFileDialog::getSaveFileName(this, tr("Save Velmora"), projectFolder(),
                                                tr("Velmora files (*.vlm)"));
    if (path.isEmpty()) {
        return false;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".vlm");
    }
    lastDirectory = QFileInfo(path).absolutePath();
    return saveFile(path, true);
}

void MainWindow::on_acFileSave_triggered()
{
    if (currentFile.isEmpty()) {
        saveAs();
        return;
    }
    lastDirectory = QFileInfo(currentFile).absolutePath();
    saveFile(currentFile, true);
}

bool MainWindow::okToContinue()
{
    if (!isWindowModified()) {
        return true;
    }
    // Nothing is saved unasked: Save writes (through Save As for a new project),
    // Discard goes on without saving, Cancel stays.
    const QString name =
        currentFile.isEmpty() ? tr("the new project") : QFileInfo(currentFile).fileName();
    const QString question = tr("Save changes to %1?").arg(name);
    const int answer = saveChangesHook
                           ? saveChangesHook(question)
                           : QMessageBox::warning(this, tr("Velmora"), question,
                                                  QMessageBox::Save | QMessageBox::Discard |
                                                      QMessageBox::Cancel,
                                                  QMessageBox::Save);
    if (answer == QMessageBox::Save) {
        on_acFileSave_triggered();
        return !isWindowModified();
    }
    return answer == QMessageBox::Discard;
}

void MainWindow::on_acFileOpen_triggered()
{
    if (!okToContinue()) {
        return;
    }
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Velmora"), projectFolder(),
                                                      tr("Velmora files (*.vlm)"));
    if (path.isEmpty()) {
        return;
    }
    lastDirectory = QFileInfo(path).absolutePath();
    loadFile(path);
}

void MainWindow::on_acFileNew_triggered()
{
    if (!okToContinue()) {
        qCInfo(lcApp) << "on_acFileNew_triggered: okToContinue FAILED!";
        return;
    }
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->stop();
    }
    setPortCount(1);
    columnCountValue = 1;
    tabLayout = false;
    portWidgets[0]->applySettings(SettingsService::defaultPortSettings(QString()));
    portWidgets[0]->applyFormatSetting(SettingsService::defaultFormatSettings());
    portWidgets[0]->setSendHistory({});
    setCurrentFile(QString());
    updateGrid();
    setWindowModified(false);
}

QString MainWindow::projectFolder() const
{
    if (!currentFile.isEmpty()) {
        return QFileInfo(currentFile).absolutePath();
    }
    return lastDirectory.isEmpty() ? QDir::homePath() : lastDirectory;
}

void MainWindow::setCurrentFile(const QString &path)
{
    currentFile = path;
    const QString app = QCoreApplication::applicationName();
    if (path.isEmpty()) {
        setWindowTitle(QStringLiteral("[*]%1").arg(app));
    } else {
        setWindowTitle(QStringLiteral("%1[*] - %2").arg(QFileInfo(path).fileName(), app));
        recentFiles.removeAll(path);
        recentFiles.prepend(path);
        while (recentFiles.size() > RecentFileLimit) {
            recentFiles.removeLast();
        }
    }
    updateRecentFilesMenu();
}

void MainWindow::updateRecentFilesMenu()
{
    if (!recentMenu) {
        return;
    }
    recentMenu->clear();
    for (const QString &path : std::as_const(recentFiles)) {
        QAction *action = recentMenu->addAction(QDir::toNativeSeparators(path));
        connect(action, &QAction::triggered, this, [this, path] {
            if (okToContinue()) {
                loadFile(path);
            }
        });
    }
    recentMenu->setEnabled(!recentFiles.isEmpty());
}

QString MainWindow::configFilePath()
{
    return QSettings().value(QStringLiteral("CONFIG_FILE_PATH")).toString();
}

void MainWindow::readSettings()
{
    const QString path = configFilePath();
    SessionState state = SettingsService::defaults();
    AutoReplyConfig lastAutoReply;
    PlotConfig lastPlot;
    if (!path.isEmpty() && QFileInfo::exists(path)) {
        QSettings store(path, QSettings::IniFormat);
        state = SettingsService::load(store, &WireTextCodecRegistry::normalizeName);
        lastAutoReply = AutoReplyCodec::load(store, AutoReplyCodec::lastUsedPrefix());
        lastPlot = PlotCodec::load(store, PlotCodec::lastUsedPrefix());
        loadDecodeState(store);
    }
    lastState = state;
    recentFiles = state.recentFiles;
    lastDirectory = state.lastDirectory;
    SerialPortWidget::lastTransferChoices() = state.transfer;
    quickSettings = state.quickSettings;
    tabLayout = state.layoutTabs;
    autoReconnect = state.autoReconnect;
    acAutoReconnect->setChecked(state.autoReconnect);
    acOpenLastConnection->setChecked(state.openLastConnection);
    SerialPortWidget *port = portWidgets[0];
    port->applySettings(state.settings);
    port->applyFormatSetting(state.format);
    port->setSendHistory(state.sendList);
    port->setAutoReconnect(autoReconnect);
    port->setAutoReplyConfig(lastAutoReply);
    port->setPlotConfig(lastPlot);
    // The title names what is loaded: the last project when it can still be opened, or
    // no file at all, so that Save can never write over a project that is not loaded.
    setCurrentFile(QString());
    if (!state.lastFile.isEmpty() && QFileInfo::exists(state.lastFile)) {
        loadFile(state.lastFile);
    }
    setWindowModified(false);
}

void MainWindow::writeSettings()
{
    const QString path = configFilePath();
    if (path.isEmpty()) {
        return;
    }
    const SessionState state = currentSessionState();
    SerialPortWidget *port = portWidgets[0];
    QSettings store(path, QSettings::IniFormat);
    SettingsService::save(store, state);
    AutoReplyCodec::save(store, AutoReplyCodec::lastUsedPrefix(), port->autoReplyConfig());
    PlotCodec::save(store, PlotCodec::lastUsedPrefix(), port->plotConfig());
    saveDecodeState(store);

    QSettings app;
    app.setValue(QStringLiteral("LAST_WINDOW_SIZE"), size());
    app.setValue(QStringLiteral("LAST_WINDOW_POSITION"), pos());
}

SessionState MainWindow::currentSessionState()
{
    SessionState state = lastState;
    SerialPortWidget *port = portWidgets[0];
    port->updateSettings();
    state.settings = port->settingsForNextOpen();
    state.format = port->formatSettings();
    state.sendList = port->sendHistory();
    state.recentFiles = recentFiles;
    state.lastFile = currentFile;
    state.lastDirectory = lastDirectory;
    state.transfer = SerialPortWidget::lastTransferChoices();
    state.lastConnectionOpen = wasOpenAtExit;
    state.layoutTabs = tabLayout;
    state.quickSettings = quickSettings;
    state.autoReconnect = autoReconnect;
    state.openLastConnection = acOpenLastConnection->isChecked();
    return state;
}

void MainWindow::applySessionState(const SessionState &state)
{
    lastState = state;
    SerialPortWidget *port = portWidgets[0];
    if (port->portState() == SerialPortWidget::Stopped) {
        port->applySettings(state.settings);
    } else {
        // An open connection keeps running; the settings wait for its next open.
        port->keepSettingsForNextOpen(state.settings);
    }
    port->applyFormatSetting(state.format);
    port->setSendHistory(state.sendList);
    acAutoReconnect->setChecked(state.autoReconnect);
    applyAutoReconnectToPorts();
    acOpenLastConnection->setChecked(state.openLastConnection);
}

void MainWindow::applyAutoReconnectToPorts()
{
    autoReconnect = acAutoReconnect->isChecked();
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setAutoReconnect(autoReconnect);
    }
}

void MainWindow::openLastConnectionIfWanted()
{
    if (acOpenLastConnection->isChecked() && lastState.lastConnectionOpen) {
        start(QString(), true);
    }
}
