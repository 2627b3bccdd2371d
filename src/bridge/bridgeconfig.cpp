#include "bridge/bridgeconfig.h"

bool BridgeConfig::differsOnlyInTunables(const BridgeConfig &next) const
{
    // The ends, what they speak and who may connect need the link built anew.
    return portA == next.portA && portB == next.portB &&
           useBuiltinListener == next.useBuiltinListener && listenPort == next.listenPort &&
           direction == next.direction && enabled == next.enabled && protocol == next.protocol &&
           fanoutMode == next.fanoutMode && allowedPeers == next.allowedPeers;
}
