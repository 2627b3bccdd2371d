// Bridges of the bench: the manager that runs them over the ports' bridge ends, the
// Tools menu entries, the project's saved bridges, and the panels' bridge badges.

#include "app/mainwindow.h"

#include "bridge/bridgedialog.h"
#include "bridge/rfc2217quicksharedialog.h"
#include "bridge/bridgecodec.h"
#include "bridge/bridgelink.h"
#include "bridge/bridgemanager.h"
#include "bridge/portendpoint.h"
#include "bridge/rfc2217quickshare.h"
#include "bridge/tcplistenerendpoint.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QMenu>
#include <QSet>
#include <QSettings>

BridgeManager *MainWindow::bridges()
{
    if (bridgeManager) {
        return bridgeManager;
    }
    bridgeManager = new BridgeManager(this);
    bridgeManager->setTransferQuery([this](int index) {
        const SerialPortWidget *port = index < portCountValue ? portWidget(index) : nullptr;
        return port && !port->mayDisturbPort(PortSession::TxActor::Bridge,
                                             PortSession::DisturbData, nullptr);
    });
    connect(bridgeManager, &BridgeManager::message, this,
            [this](const QString &text) { showStatusNotice(text, NoticeWarning); });
    connect(bridgeManager, &BridgeManager::badgesChanged, this, &MainWindow::updateBridgeBadges);
    connect(bridgeManager, &BridgeManager::linksChanged, this, &MainWindow::markModified);
    connect(bridgeManager, &BridgeManager::portBridgeStateChanged, this,
            [this](int index, bool active, FanoutMode fanout, const QStringList &allowed) {
                if (SerialPortWidget *port = index < portCountValue ? portWidget(index) : nullptr) {
                    port->setBridgeActive(active, fanout, allowed);
                }
            });
    return bridgeManager;
}

void MainWindow::createBridgeActions(QMenu *tools)
{
    tools->addSeparator();
    QAction *list = tools->addAction(tr("Bridges..."));
    list->setObjectName(QStringLiteral("acToolsBridges"));
    connect(list, &QAction::triggered, this, [this] { openBridgeDialog(); });
    QAction *share = tools->addAction(tr("RFC 2217 Server..."));
    share->setObjectName(QStringLiteral("acToolsRfc2217Server"));
    connect(share, &QAction::triggered, this, [this] {
        const SerialPortWidget *port = focusedPortWidget();
        openQuickShare(port ? port->portNumber() : 0);
    });
}

void MainWindow::connectPortBridge(SerialPortWidget *port)
{
    // A port that opens or closes may start a waiting bridge or stall a running one.
    connect(port, &SerialPortWidget::openStateChanged, this, [this] {
        if (bridgeManager) {
            bridgeManager->refreshAll();
        }
    });
    connect(port, &SerialPortWidget::bridgeCloseRequested, this,
            [this, port] { removeBridgesOfPort(port->portNumber()); });
}

void MainWindow::syncBridgePorts()
{
    BridgeManager *manager = bridges();
    QList<BridgeEndpoint *> ends;
    bool same = manager->portCount() == portCountValue;
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        QPointer<QObject> &held = bridgeEnds[port];
        auto *end = static_cast<PortEndpoint *>(held.data());
        // A panel made anew where an old one stood gets an end of its own.
        if (!end || !end->isAvailable()) {
            end = port->createBridgeEndpoint();
            held = end;
        }
        ends.append(end);
        same = same && manager->endpointFor(i) == end;
    }
    for (auto it = bridgeEnds.begin(); it != bridgeEnds.end();) {
        auto *end = static_cast<BridgeEndpoint *>(static_cast<PortEndpoint *>(it.value().data()));
        it = end && ends.contains(end) ? std::next(it) : bridgeEnds.erase(it);
    }
    if (!same) {
        manager->setPorts(ends);
    }
    adoptWaitingBridges();
}

void MainWindow::adoptWaitingBridges()
{
    for (int i = 0; i < waitingBridges.size();) {
        const BridgeConfig &config = waitingBridges.at(i);
        const int highest = config.useBuiltinListener ? config.portA
                                                      : std::max(config.portA, config.portB);
        if (highest >= portCountValue) {
            ++i;
            continue;
        }
        QString error;
        if (!bridgeManager->addLink(config, &error)) {
            showStatusNotice(tr("Skipped invalid bridge(s): %1")
                                 .arg(tr("%1 (%2)").arg(config.name, error)),
                             NoticeWarning);
        }
        waitingBridges.removeAt(i);
    }
}

void MainWindow::updateBridgeBadges()
{
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setBridgeBadge(bridges()->badgeTextForPort(i));
    }
}

void MainWindow::removeBridgesOfPort(int index)
{
    BridgeManager *manager = bridges();
    QStringList names;
    const QList<BridgeConfig> configs = manager->configs();
    for (int row = int(configs.size()) - 1; row >= 0; --row) {
        const BridgeConfig &c = configs.at(row);
        if (c.portA == index || (!c.useBuiltinListener && c.portB == index)) {
            names.prepend(c.name.isEmpty() ? tr("(unnamed)") : c.name);
            manager->removeLink(row);
        }
    }
    if (!names.isEmpty()) {
        showStatusNotice(tr("Bridge removed: %1").arg(names.join(QStringLiteral(", "))));
    }
}

void MainWindow::saveBridges(QSettings &file)
{
    // Bridges still waiting for their ports are kept in the project as they came.
    BridgeCodec::save(file, bridges()->configs() + waitingBridges);
}

void MainWindow::loadBridges(QSettings &file)
{
    // A project never starts a bridge by itself: bridges open ports and listen on the
    // network, so they come back disabled until the user turns them on. Those naming a
    // port the project does not have wait until it is added.
    syncBridgePorts();
    QList<BridgeConfig> fitting;
    waitingBridges.clear();
    for (BridgeConfig config : BridgeCodec::load(file)) {
        config.enabled = false;
        const int highest =
            config.useBuiltinListener ? config.portA : std::max(config.portA, config.portB);
        (highest < portCountValue ? fitting : waitingBridges).append(config);
    }
    bridges()->setConfigs(fitting);
    const int restored = int(bridgeManager->configs().size());
    if (restored == 1) {
        showStatusNotice(tr("1 saved bridge was restored but not enabled."));
    } else if (restored > 1) {
        showStatusNotice(tr("%1 saved bridges were restored but not enabled.").arg(restored));
    }
    const int waiting = int(waitingBridges.size());
    if (waiting == 1) {
        showStatusNotice(tr("1 saved bridge waits for its ports: add the connections it names "
                            "and it appears in Tools > Bridges, not enabled."));
    } else if (waiting > 1) {
        showStatusNotice(tr("%1 saved bridges wait for their ports: add the connections they "
                            "name and they appear in Tools > Bridges, not enabled.")
                             .arg(waiting));
    }
}

BridgeDialog *MainWindow::openBridgeDialog()
{
    syncBridgePorts();
    if (!bridgeDialog) {
        QStringList names;
        for (int i = 0; i < portCountValue; ++i) {
            names << portWidgets[size_t(i)]->sessionPortLabel();
        }
        bridgeDialog = new BridgeDialog(bridges(), names, this);
        bridgeDialog->setAttribute(Qt::WA_DeleteOnClose);
    }
    bridgeDialog->show();
    bridgeDialog->raise();
    return bridgeDialog;
}

void MainWindow::openQuickShare(int index)
{
    SerialPortWidget *port = portWidget(index);
    if (!port || index >= portCountValue) {
        return;
    }
    syncBridgePorts();
    QSet<quint16> used;
    for (const BridgeConfig &c : bridges()->configs()) {
        if (c.useBuiltinListener) {
            used.insert(c.listenPort);
        }
    }
    Rfc2217QuickShareDialog dialog(port->sessionPortLabel(), suggestRfc2217ListenPort(used),
                                   false, this);
    const bool accepted = quickShareHook ? quickShareHook(dialog)
                                         : dialog.exec() == QDialog::Accepted;
    if (!accepted) {
        return;
    }
    const BridgeConfig config = remoteSerialLocalServerConfig(
        index, dialog.tcpPort(), dialog.protocol(), dialog.allowedPeers());
    QString error;
    if (!bridges()->addLink(config, &error)) {
        showStatusNotice(error, NoticeError);
        return;
    }
    if (!port->portIsOpen()) {
        port->start(QString());
    }
    bridgeManager->refreshAll();
    if (dialog.protocol() == ProtocolMode::Rfc2217) {
        showStatusNotice(tr("%1 is now served as RFC 2217 on TCP port %2 of this computer.")
                             .arg(port->sessionPortLabel())
                             .arg(dialog.tcpPort()));
    } else {
        showStatusNotice(tr("%1 is now served on TCP port %2 of this computer.")
                             .arg(port->sessionPortLabel())
                             .arg(dialog.tcpPort()));
    }
}
