// Cloud > Share Port with a Guest… and Manage Guest Shares…: the two windows of guest
// shares, their notices, and what the shares add to the status bar's Live Sync.

#include "app/livesyncstatus.h"
#include "app/mainwindow.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/guestsharedialog.h"
#include "cloud/manageguestsharesdialog.h"
#include "session/portsession.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QDateTime>
#include <QEventLoop>
#include <QMenu>
#include <QTimer>

void MainWindow::createShareActions()
{
    QAction *share = cloudMenu->addAction(tr("Share Port with a Guest…"));
    share->setObjectName(QStringLiteral("acCloudShareGuest"));
    connect(share, &QAction::triggered, this, &MainWindow::on_acCloudShareGuest_triggered);
    QAction *manage = cloudMenu->addAction(tr("Manage Guest Shares…"));
    manage->setObjectName(QStringLiteral("acCloudManageShares"));
    connect(manage, &QAction::triggered, this, [this] {
        auto *dialog = new ManageGuestSharesDialog(consoleService, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->show();
    });
    for (auto signal : {&CloudConsoleService::shareCreated, &CloudConsoleService::shareChanged})
        connect(consoleService, signal, this, &MainWindow::updateLiveSyncIndicator);
    connect(consoleService, &CloudConsoleService::shareEnded, this,
            [this](const QString &, const QString &text) {
                showStatusNotice(tr("Sharing ended: %1").arg(text), NoticeInfo, 15000);
                updateLiveSyncIndicator();
            });
}

void MainWindow::on_acCloudShareGuest_triggered()
{
    QList<QPair<QString, QString>> ports;
    for (int i = 0; i < portCountValue; ++i) {
        if (SerialPortWidget *panel = portWidget(i))
            ports.append({panel->session()->consoleKey(), panel->session()->label()});
    }
    SerialPortWidget *focused = focusedPortWidget();
    auto *dialog = new GuestShareDialog(
        consoleService, ports, focused ? focused->session()->consoleKey() : QString(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
}

QList<LiveSyncState> MainWindow::shareLiveSyncStates() const
{
    QList<LiveSyncState> states;
    if (!consoleService)
        return states;
    const auto time = [](qint64 ms) {
        return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("HH:mm"));
    };
    for (const GuestShare &share : consoleService->shares()) {
        LiveSyncState state;
        state.clients = int(share.webGuests.size()) + (share.guestName.isEmpty() ? 0 : 1);
        state.level = state.clients > 0 ? LiveSyncState::InUse : LiveSyncState::Shared;
        state.label = tr("Live Share · %1").arg(share.label.isEmpty() ? share.portName : share.label);
        state.menuLines << tr("expires %1").arg(time(share.expiresAtMs));
        if (!share.guestName.isEmpty())
            state.menuLines << tr("Guest: %1").arg(tr("%1 since %2").arg(share.guestName,
                                                                          time(share.guestSinceMs)));
        else if (share.webGuests.isEmpty())
            state.menuLines << tr("waiting for a guest");
        for (const QString &guest : share.webGuests)
            state.menuLines << tr("Guest: %1").arg(guest);
        states << state;
    }
    return states;
}

void MainWindow::revokeSharesForExit()
{
    if (!consoleService || consoleService->revokeAllShares(tr("The application is closing.")) == 0)
        return;
    // The server is told before the program goes, within a short wait.
    QEventLoop wait;
    connect(consoleService, &CloudConsoleService::shareStopped, &wait, &QEventLoop::quit);
    QTimer::singleShot(2000, &wait, &QEventLoop::quit);
    wait.exec();
}
