// The main window's side of the ports' session history: "Export Session..." in the File
// menu and from each port, and the history budget the window shares among its ports.

#include "app/mainwindow.h"

#include "recording/sessionexportdialog.h"
#include "recording/sessionrecorder.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QMenu>

void MainWindow::createHistoryActions(QMenu *file)
{
    QAction *exportSession = file->addAction(tr("Export Session..."));
    exportSession->setObjectName(QStringLiteral("acFileExportSession"));
    exportSession->setToolTip(tr("Write what the ports received and sent to a file"));
    connect(exportSession, &QAction::triggered, this, [this] { openSessionExport(); });
}

void MainWindow::connectPortHistory(SerialPortWidget *port)
{
    connect(port, &SerialPortWidget::sessionExportRequested, this,
            [this, port] { openSessionExport(port); });
}

SessionExportDialog *MainWindow::openSessionExport(SerialPortWidget *focused)
{
    if (!focused) {
        focused = focusedPortWidget();
    }
    QList<SessionExportDialog::Port> ports;
    int focusedIndex = 0;
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        if (port == focused) {
            focusedIndex = i;
        }
        ports.append({port->sessionExportInfo(QStringLiteral("p%1").arg(i + 1)),
                      port->sessionRecorder()});
    }
    // The dialog reads the ports' histories while it writes; it is modal so that no
    // port goes away under it.
    auto *dialog = new SessionExportDialog(ports, focusedIndex, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->show();
    return dialog;
}

void MainWindow::shareSessionRecordCapacity()
{
    const qint64 capacity = SessionRecorder::capacityForPorts(portCountValue);
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setSessionRecordCapacity(capacity);
    }
}
