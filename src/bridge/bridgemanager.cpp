#include "bridge/bridgemanager.h"

#include "bridge/bridgeendpoint.h"
#include "bridge/bridgelink.h"
#include "bridge/tcplistenerendpoint.h"

#include <QSet>

namespace {

// The (from, to) port pairs a bridge between two ports carries.
QSet<QPair<int, int>> carriedPairs(const BridgeConfig &c)
{
    QSet<QPair<int, int>> pairs;
    if (c.carriesAtoB()) {
        pairs.insert({c.portA, c.portB});
    }
    if (c.carriesBtoA()) {
        pairs.insert({c.portB, c.portA});
    }
    return pairs;
}

// The ports a bridge writes to.
QList<int> writtenPorts(const BridgeConfig &c)
{
    QList<int> ports;
    if (c.carriesBtoA() && c.portA >= 0) {
        ports << c.portA;
    }
    if (!c.useBuiltinListener && c.carriesAtoB() && c.portB >= 0) {
        ports << c.portB;
    }
    return ports;
}

} // namespace

BridgeManager::BridgeManager(QObject *parent)
    : QObject(parent)
{}

BridgeManager::~BridgeManager()
{
    clearLinks();
}

QString BridgeManager::nameOf(const BridgeConfig &config)
{
    return config.name.isEmpty() ? tr("(unnamed)") : config.name;
}

void BridgeManager::setPorts(const QList<BridgeEndpoint *> &endpoints)
{
    clearLinks();
    for (BridgeEndpoint *old : std::as_const(portEnds)) {
        if (!endpoints.contains(old)) {
            delete old;
        }
    }
    portEnds = endpoints;
    for (BridgeEndpoint *end : std::as_const(portEnds)) {
        end->setParent(this);
        end->disconnect(this);
        connect(end, &BridgeEndpoint::endpointMessage, this, &BridgeManager::message);
    }
    knownPorts = int(portEnds.size());
    pruneConfigsForPortCount();
    rebuildLinks();
    applyPortBridgeState();
    Q_EMIT linksChanged();
}

void BridgeManager::setConfigs(const QList<BridgeConfig> &configs)
{
    clearLinks();
    configList.clear();
    QStringList skipped;
    for (const BridgeConfig &config : configs) {
        QString error;
        if (validate(config, -1, &error)) {
            configList.append(config);
        } else {
            skipped << tr("%1 (%2)").arg(nameOf(config), error);
        }
    }
    if (!skipped.isEmpty()) {
        Q_EMIT message(tr("Skipped invalid bridge(s): %1").arg(skipped.join(QStringLiteral("; "))));
    }
    pruneConfigsForPortCount();
    rebuildLinks();
    applyPortBridgeState();
    Q_EMIT linksChanged();
}

BridgeLink *BridgeManager::linkAt(int index) const
{
    return index >= 0 && index < entries.size() ? entries.at(index).link : nullptr;
}

TcpListenerEndpoint *BridgeManager::listenerAt(int index) const
{
    return index >= 0 && index < entries.size() ? entries.at(index).listener : nullptr;
}

BridgeEndpoint *BridgeManager::endpointFor(int port) const
{
    return port >= 0 && port < portEnds.size() ? portEnds.at(port) : nullptr;
}

bool BridgeManager::addLink(const BridgeConfig &config, QString *error)
{
    if (!validate(config, -1, error)) {
        return false;
    }
    configList.append(config);
    entries.append(createLink(config));
    applyPortBridgeState();
    Q_EMIT linksChanged();
    return true;
}

bool BridgeManager::updateLink(int index, const BridgeConfig &config, QString *error)
{
    if (index < 0 || index >= configList.size()) {
        return false;
    }
    if (!validate(config, index, error)) {
        return false;
    }
    Entry &entry = entries[index];
    if (entry.link && configList.at(index).differsOnlyInTunables(config)) {
        entry.link->setConfig(config);
    } else {
        destroyEntry(entry);
        entry = createLink(config);
    }
    configList[index] = config;
    applyPortBridgeState();
    Q_EMIT linksChanged();
    return true;
}

void BridgeManager::removeLink(int index)
{
    if (index < 0 || index >= configList.size()) {
        return;
    }
    destroyEntry(entries[index]);
    entries.removeAt(index);
    configList.removeAt(index);
    applyPortBridgeState();
    Q_EMIT linksChanged();
}

void BridgeManager::refreshAll()
{
    for (const Entry &entry : std::as_const(entries)) {
        if (!entry.link) {
            continue;
        }
        if (entry.link->config().enabled && !entry.link->isRunning()) {
            entry.link->start();
        }
        entry.link->refreshState();
    }
    Q_EMIT badgesChanged();
}

bool BridgeManager::validate(const BridgeConfig &c, int selfIndex, QString *error) const
{
    const auto fail = [error](const QString &text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    const auto inTransfer = [this](int port) { return transferring && transferring(port); };
    if (!c.useBuiltinListener) {
        if (c.portA == c.portB) {
            return fail(tr("A bridge needs two different ports"));
        }
        if (c.portA < 0 || c.portB < 0) {
            return fail(tr("Both ends must name a port"));
        }
        if (!portInRange(c.portA) || !portInRange(c.portB)) {
            return fail(tr("Port number is out of range"));
        }
        for (const int port : {c.portA, c.portB}) {
            if (inTransfer(port)) {
                return fail(tr("Port %1 is transferring a file").arg(port + 1));
            }
        }
        const QSet<QPair<int, int>> mine = carriedPairs(c);
        for (int i = 0; i < configList.size(); ++i) {
            const BridgeConfig &other = configList.at(i);
            if (i == selfIndex || other.useBuiltinListener) {
                continue;
            }
            if (carriedPairs(other).intersects(mine)) {
                return fail(tr("That direction is already bridged"));
            }
        }
        return true;
    }
    if (c.portA < 0) {
        return fail(tr("End A must name a port"));
    }
    if (!portInRange(c.portA)) {
        return fail(tr("Port number is out of range"));
    }
    if (c.listenPort == 0) {
        return fail(tr("The built-in listener needs a TCP port"));
    }
    for (int i = 0; i < configList.size(); ++i) {
        const BridgeConfig &other = configList.at(i);
        if (i != selfIndex && other.useBuiltinListener && other.listenPort == c.listenPort) {
            return fail(
                tr("TCP port %1 is already used by \"%2\"").arg(c.listenPort).arg(nameOf(other)));
        }
    }
    if (inTransfer(c.portA)) {
        return fail(tr("Port %1 is transferring a file").arg(c.portA + 1));
    }
    return true;
}

QString BridgeManager::fanInWarning(const BridgeConfig &config, int selfIndex) const
{
    QStringList shared;
    for (const int port : writtenPorts(config)) {
        for (int i = 0; i < configList.size(); ++i) {
            if (i != selfIndex && writtenPorts(configList.at(i)).contains(port)) {
                shared << QString::number(port + 1);
                break;
            }
        }
    }
    if (shared.isEmpty()) {
        return {};
    }
    return tr("Port %1 is written to by more than one bridge; their data will interleave on its "
              "wire.")
        .arg(shared.join(QStringLiteral(", ")));
}

QString BridgeManager::badgeTextForPort(int port) const
{
    QStringList names;
    for (const BridgeConfig &c : configList) {
        if (c.useBuiltinListener && c.portA == port) {
            names << QStringLiteral(":%1").arg(c.listenPort);
        } else if (!c.useBuiltinListener && (c.portA == port || c.portB == port)) {
            const int other = c.portA == port ? c.portB : c.portA;
            const BridgeEndpoint *end = endpointFor(other);
            names << (end ? end->displayName() : tr("Port %1").arg(other + 1));
        }
    }
    if (names.isEmpty()) {
        return {};
    }
    return tr("Bridged to %1").arg(names.join(QStringLiteral(", ")));
}

QStringList BridgeManager::remoteClientsForPort(int port) const
{
    QStringList peers;
    for (int i = 0; i < configList.size(); ++i) {
        const BridgeConfig &c = configList.at(i);
        const bool uses = c.portA == port || (!c.useBuiltinListener && c.portB == port);
        if (uses && entries.at(i).link) {
            for (const QString &peer : entries.at(i).link->peers()) {
                if (!peers.contains(peer)) {
                    peers << peer;
                }
            }
        }
    }
    return peers;
}

BridgeManager::Entry BridgeManager::createLink(const BridgeConfig &config)
{
    Entry entry;
    BridgeEndpoint *a = endpointFor(config.portA);
    BridgeEndpoint *b = config.useBuiltinListener ? nullptr : endpointFor(config.portB);
    if (!a || (!config.useBuiltinListener && !b)) {
        return entry;
    }
    if (config.useBuiltinListener) {
        entry.listener = new TcpListenerEndpoint(config.listenPort, QHostAddress::Any, this);
        entry.listener->applyTuning(config.fanoutMode, config.allowedPeers);
        connect(entry.listener, &BridgeEndpoint::endpointMessage, this, &BridgeManager::message);
        b = entry.listener;
    }
    entry.link = new BridgeLink(config, a, b, this);
    connect(entry.link, &BridgeLink::stateChanged, this, &BridgeManager::badgesChanged);
    connect(entry.link, &BridgeLink::statsChanged, this, &BridgeManager::statsChanged);
    connect(entry.link, &BridgeLink::message, this, &BridgeManager::message);
    connect(entry.link, &BridgeLink::peersChanged, this, &BridgeManager::badgesChanged);
    if (config.enabled) {
        if (config.autoOpenPeer) {
            a->ensureOpen();
        }
        if (config.autoOpenPeer || config.useBuiltinListener) {
            b->ensureOpen();
        }
        entry.link->start();
    }
    return entry;
}

void BridgeManager::destroyEntry(Entry &entry)
{
    if (entry.link) {
        entry.link->stop();
        delete entry.link;
    }
    if (entry.listener) {
        entry.listener->close();
        delete entry.listener;
    }
    entry = Entry();
}

void BridgeManager::clearLinks()
{
    for (Entry &entry : entries) {
        destroyEntry(entry);
    }
    entries.clear();
}

void BridgeManager::rebuildLinks()
{
    clearLinks();
    for (const BridgeConfig &config : std::as_const(configList)) {
        entries.append(createLink(config));
    }
}

void BridgeManager::pruneConfigsForPortCount()
{
    if (knownPorts < 0) {
        return;
    }
    QStringList removed;
    for (qsizetype i = configList.size() - 1; i >= 0; --i) {
        const BridgeConfig &c = configList.at(i);
        if (c.portA >= knownPorts || (!c.useBuiltinListener && c.portB >= knownPorts)) {
            removed.prepend(nameOf(c));
            configList.removeAt(i);
            if (i < entries.size()) {
                destroyEntry(entries[i]);
                entries.removeAt(i);
            }
        }
    }
    if (!removed.isEmpty()) {
        Q_EMIT message(tr("Removed bridge(s) whose port no longer exists: %1")
                           .arg(removed.join(QStringLiteral(", "))));
    }
}

void BridgeManager::applyPortBridgeState()
{
    for (int port = 0; port < portEnds.size(); ++port) {
        const BridgeConfig *user = nullptr;
        for (const BridgeConfig &c : std::as_const(configList)) {
            if (c.enabled && (c.portA == port || (!c.useBuiltinListener && c.portB == port))) {
                user = &c;
                break;
            }
        }
        Q_EMIT portBridgeStateChanged(port, user != nullptr,
                                      user ? user->fanoutMode : FanoutMode::Shared,
                                      user ? user->allowedPeers : QStringList());
    }
    Q_EMIT badgesChanged();
}
