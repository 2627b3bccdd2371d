#pragma once

// Every bridge of a project: their configurations, the links that carry them, one
// endpoint for each port and a TCP listener for each bridge that has one. It checks a
// configuration before taking it, keeps the list in step with the ports, and tells the
// ports what is bridged.

#include "bridge/bridgeconfig.h"

#include <QList>
#include <QObject>

#include <functional>

class BridgeEndpoint;
class BridgeLink;
class TcpListenerEndpoint;

class BridgeManager : public QObject
{
    Q_OBJECT

public:
    // Whether port `index` (from 0) is in a file transfer.
    using TransferQuery = std::function<bool(int index)>;

    explicit BridgeManager(QObject *parent = nullptr);
    ~BridgeManager() override;

    // The ends of the ports, in port order; the manager owns them from now on. Links are
    // built anew, and bridges whose port is gone are removed. Until the first call the
    // port count is unknown: nothing is pruned and no link is built.
    void setPorts(const QList<BridgeEndpoint *> &endpoints);
    void setTransferQuery(TransferQuery query) { transferring = std::move(query); }
    // The bridges of a project being loaded: invalid ones are skipped with a message.
    void setConfigs(const QList<BridgeConfig> &configs);
    QList<BridgeConfig> configs() const { return configList; }
    // Null for a bridge whose ends do not exist.
    BridgeLink *linkAt(int index) const;
    TcpListenerEndpoint *listenerAt(int index) const;
    BridgeEndpoint *endpointFor(int port) const;
    int portCount() const { return knownPorts; }

    bool addLink(const BridgeConfig &config, QString *error);
    bool updateLink(int index, const BridgeConfig &config, QString *error);
    void removeLink(int index);
    // Starts enabled links whose ends have become available, and refreshes all states.
    void refreshAll();

    // The first reason `config` cannot be taken; `selfIndex` is the row being edited
    // (-1 for a new one), which is not compared with itself.
    bool validate(const BridgeConfig &config, int selfIndex, QString *error) const;
    // A warning, not an error: ports that more than one bridge would write to.
    QString fanInWarning(const BridgeConfig &config, int selfIndex) const;
    QString badgeTextForPort(int port) const;
    QStringList remoteClientsForPort(int port) const;

signals:
    void linksChanged();
    void statsChanged();
    void message(const QString &text);
    void badgesChanged();
    // What a port must know of the bridge that uses it: whether one does, and how its
    // TCP server (if it is one) shares itself and whom it admits.
    void portBridgeStateChanged(int port, bool active, FanoutMode fanout,
                                const QStringList &allowedPeers);

private:
    struct Entry
    {
        BridgeLink *link = nullptr;
        TcpListenerEndpoint *listener = nullptr;
    };

    Entry createLink(const BridgeConfig &config);
    void destroyEntry(Entry &entry);
    void clearLinks();
    void rebuildLinks();
    void pruneConfigsForPortCount();
    void applyPortBridgeState();
    bool portInRange(int port) const { return knownPorts < 0 || port < knownPorts; }
    static QString nameOf(const BridgeConfig &config);

    QList<BridgeConfig> configList;
    QList<Entry> entries; // parallel to configList
    QList<BridgeEndpoint *> portEnds;
    int knownPorts = -1;
    TransferQuery transferring;
};
