// The main window's side of scripting: a runner for each port panel, the project's
// script library and the Scripts window that edits it.

#include "app/mainwindow.h"

#include "app/projectcodec.h"
#include "scripting/scriptlibrarycodec.h"
#include "session/scriptportlink.h"
#include "app/scriptwindow.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QMenu>
#include <QSettings>

namespace {
QString scriptLibraryPrefix()
{
    return ProjectCodec::scriptLibraryGroup() + QLatin1Char('/');
}
} // namespace

void MainWindow::connectPortScripts(SerialPortWidget *port, int index)
{
    auto *link = new ScriptPortLink(port->session());
    scriptLinks[size_t(index)] = link;
    // sendCommand in a script finds commands of the project's library by name.
    link->runner()->setCommandLookup([this](const QString &name, Command *command,
                                            QString *error) {
        if (const Command *found = commandLibrary.findCommand(name)) {
            *command = *found;
            return true;
        }
        if (error) {
            *error = tr("there is no command of that name in the command library");
        }
        return false;
    });
    // The Scripts window names ports by their labels, which follow the settings.
    connect(port, &SerialPortWidget::settingsChanged, this, [this] {
        if (scriptWindow && scriptWindow->isVisible()) {
            scriptWindow->refreshPorts();
        }
    });
}

ScriptPortLink *MainWindow::scriptLink(int index) const
{
    return index >= 0 && index < portCountValue ? scriptLinks[size_t(index)] : nullptr;
}

void MainWindow::createScriptActions(QMenu *tools)
{
    tools->addSeparator();
    QAction *scripts = tools->addAction(tr("Scripts..."));
    scripts->setObjectName(QStringLiteral("acToolsScripts"));
    connect(scripts, &QAction::triggered, this, [this] { openScriptWindow(); });
}

void MainWindow::attachScriptPorts(ScriptWindow *window)
{
    window->setPortLister([this] {
        QList<ScriptWindow::PortEntry> entries;
        for (int i = 0; i < portCountValue; ++i) {
            SerialPortWidget *port = portWidgets[size_t(i)];
            entries.append({port, portTabTitle(i), scriptLinks[size_t(i)]});
        }
        return entries;
    });
    window->refreshPorts();
}

ScriptWindow *MainWindow::openScriptWindow()
{
    if (!scriptWindow) {
        scriptWindow = new ScriptWindow(this);
        scriptWindow->setObjectName(QStringLiteral("scriptWindow"));
        attachScriptPorts(scriptWindow);
        scriptWindow->setLibrary(scriptLibrary);
        connect(scriptWindow, &ScriptWindow::libraryEdited, this,
                [this](const ScriptLibrary &library) {
                    scriptLibrary = library;
                    markModified();
                });
        connect(this, &MainWindow::portsChanged, scriptWindow, &ScriptWindow::refreshPorts);
    } else {
        scriptWindow->refreshPorts();
    }
    scriptWindow->show();
    scriptWindow->raise();
    scriptWindow->activateWindow();
    return scriptWindow;
}

ScriptLibrary MainWindow::scripts() const
{
    return scriptWindow ? scriptWindow->library() : scriptLibrary;
}

void MainWindow::setScriptLibrary(const ScriptLibrary &library)
{
    scriptLibrary = library;
    if (scriptWindow) {
        scriptWindow->setLibrary(scriptLibrary);
    }
}

void MainWindow::saveScripts(QSettings &file) const
{
    ScriptLibraryCodec::save(file, scriptLibraryPrefix(), scripts());
}

void MainWindow::loadScripts(QSettings &file)
{
    // A project from before scripts starts with the samples, like a new one.
    setScriptLibrary(ScriptLibraryCodec::loadOrSamples(file, scriptLibraryPrefix()));
}

void MainWindow::closeScriptWindowForExit()
{
    // Runs end with their ports as the window closes; the question of the Scripts
    // window about running scripts is not asked again.
    if (scriptWindow) {
        scriptWindow->closeWithoutAsking();
    }
}
