#pragma once

// Serving one port on a local TCP port in one step: the bridge it takes, and a free
// port to offer for it.

#include "bridge/bridgeconfig.h"

#include <QSet>

// What the shared port speaks on the network.
enum class ProtocolMode : qint32 {
    RawTcp = 0,
    Rfc2217 = 1,
};

// The first port from `preferred` upward that is not in `usedPorts`; `preferred` when
// none is free up to 65535.
quint16 suggestRfc2217ListenPort(const QSet<quint16> &usedPorts, quint16 preferred = 2217);

// A bridge from port `portIndex` to a built-in listener on `tcpPort`, both ways,
// enabled, not opening the port by itself.
BridgeConfig remoteSerialLocalServerConfig(int portIndex, quint16 tcpPort,
                                           ProtocolMode protocolMode,
                                           const QStringList &allowedPeers);
