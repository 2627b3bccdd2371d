#include "bridge/rfc2217quickshare.h"

quint16 suggestRfc2217ListenPort(const QSet<quint16> &usedPorts, quint16 preferred)
{
    for (quint32 port = preferred; port <= 65535; ++port) {
        if (!usedPorts.contains(quint16(port))) {
            return quint16(port);
        }
    }
    return preferred;
}

BridgeConfig remoteSerialLocalServerConfig(int portIndex, quint16 tcpPort,
                                           ProtocolMode protocolMode,
                                           const QStringList &allowedPeers)
{
    BridgeConfig config;
    config.portA = portIndex;
    config.portB = -1;
    config.useBuiltinListener = true;
    config.listenPort = tcpPort;
    config.direction = BridgeConfig::Both;
    config.enabled = true;
    config.autoOpenPeer = false;
    config.protocol = protocolMode == ProtocolMode::Rfc2217 ? BridgeConfig::Rfc2217Server
                                                            : BridgeConfig::Transparent;
    config.allowedPeers = allowedPeers;
    return config;
}
