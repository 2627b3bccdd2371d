// Cloud > Live Console: switching the console on and off, and what a browser may do with
// this computer's ports. The choices are kept in the application's settings. Also the
// Live Relay client side of every port.

#include "app/mainwindow.h"
#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/deviceidentity.h"
#include "cloud/relaydialer.h"
#include "session/consoleport.h"
#include "session/portsession.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QMenu>
#include <QSettings>

namespace {
const QString onKey = QStringLiteral("LastCloudConsole");
const QString sendKey = QStringLiteral("CloudConsoleAllowRemoteSend");
const QString controlKey = QStringLiteral("CloudConsoleAllowPortControl");
const QString relayKey = QStringLiteral("CloudConsoleAllowRelay");
} // namespace

void MainWindow::createConsoleActions()
{
    QSettings settings;
    consoleService = new CloudConsoleService(AccountSession::instance(),
                                             DeviceIdentity::cid(settings), this);
    consoleService->setAllowRemoteSend(settings.value(sendKey, false).toBool());
    consoleService->setAllowPortControl(settings.value(controlKey, false).toBool());
    consoleService->setAllowRemoteRelay(settings.value(relayKey, false).toBool());
    consoleService->setPortListProvider([this] {
        QList<ConsolePort *> list;
        for (int i = 0; i < MaxPorts; ++i) {
            SerialPortWidget *panel = portWidget(i);
            if (!panel)
                continue;
            PortSession *session = panel->session();
            auto *port = session->findChild<ConsolePort *>(QString(), Qt::FindDirectChildrenOnly);
            if (!port) {
                port = new ConsolePort(session, session);
                consoleService->attachPort(port);
            }
            list << port;
        }
        return list;
    });

    QMenu *menu = cloudMenu->addMenu(tr("Live Console"));
    menu->setObjectName(QStringLiteral("consoleMenu"));
    QAction *on = menu->addAction(tr("Show This Computer's Ports in the Browser"));
    on->setObjectName(QStringLiteral("acConsoleOn"));
    on->setCheckable(true);
    menu->addSeparator();
    struct Permission
    {
        QString text;
        QString key;
        void (CloudConsoleService::*apply)(bool);
    };
    const Permission permissions[] = {
        {tr("Allow Sending Data from the Browser"), sendKey,
         &CloudConsoleService::setAllowRemoteSend},
        {tr("Allow Opening, Closing and Configuring Ports from the Browser"), controlKey,
         &CloudConsoleService::setAllowPortControl},
        {tr("Allow Live Relay of This Computer's Ports"), relayKey,
         &CloudConsoleService::setAllowRemoteRelay},
    };
    for (const Permission &permission : permissions) {
        QAction *action = menu->addAction(permission.text);
        action->setCheckable(true);
        action->setChecked(settings.value(permission.key, false).toBool());
        connect(action, &QAction::toggled, this, [this, permission](bool checked) {
            QSettings().setValue(permission.key, checked);
            (consoleService->*permission.apply)(checked);
        });
    }
    connect(on, &QAction::toggled, this, [this](bool checked) {
        QSettings().setValue(onKey, checked);
        consoleService->setEnabled(checked);
    });
    connect(consoleService, &CloudConsoleService::stoppedItself, this, [this, on](const QString &text) {
        on->setChecked(false);
        showStatusNotice(text, NoticeWarning);
    });
    connect(consoleService, &CloudConsoleService::cidConflictDetected, this, [this] {
        showStatusNotice(tr("Another computer uses this computer's cloud identity. Live Console "
                            "may show the wrong ports."),
                         NoticeWarning);
    });
    connect(consoleService, &CloudConsoleService::relayEngaged, this,
            [this](const QString &portKey, const QString &guest) {
                showStatusNotice(tr("%1 is in use from another computer through Live Relay (%2).")
                                     .arg(portKey, guest),
                                 NoticeInfo, 15000);
            });
    connect(consoleService, &CloudConsoleService::relayEnded, this,
            [this](const QString &portKey, const QString &reason) {
                showStatusNotice(tr("Live Relay of %1 ended: %2").arg(portKey, reason), NoticeInfo,
                                 15000);
            });
    on->setChecked(settings.value(onKey, false).toBool());
}

void MainWindow::connectPortRelay(SerialPortWidget *port)
{
    // Every port can be a Live Relay client; the account is the program's own.
    if (!relayDialer)
        relayDialer = new RelayDialer(AccountSession::instance(), this);
    relayDialer->attach(port->session());
}
