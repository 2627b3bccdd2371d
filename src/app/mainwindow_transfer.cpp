// The Tools menu's file transfer entries: they act on the port last focused.

#include "app/mainwindow.h"

#include "session/serialportwidget.h"
#include "transfer/xferconfig.h"

#include <QMenu>

void MainWindow::createTransferActions(QMenu *tools)
{
    tools->addSeparator();
    QAction *send = tools->addAction(tr("Send File..."));
    send->setObjectName(QStringLiteral("acToolsSendFile"));
    connect(send, &QAction::triggered, this, [this] {
        if (SerialPortWidget *port = focusedPortWidget()) {
            port->openFileTransfer(XferDirection::Send);
        }
    });
    QAction *receive = tools->addAction(tr("Receive File..."));
    receive->setObjectName(QStringLiteral("acToolsReceiveFile"));
    connect(receive, &QAction::triggered, this, [this] {
        if (SerialPortWidget *port = focusedPortWidget()) {
            port->openFileTransfer(XferDirection::Receive);
        }
    });
}
