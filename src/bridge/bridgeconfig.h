#pragma once

// What one bridge joins and how: its two ends (two ports, or a port and a built-in TCP
// listener), direction, protocol, framing, flow control, client sharing and capture.

#include "connection/fanoutmode.h"
#include "bridge/flowcontrolpolicy.h"
#include "bridge/framingpolicy.h"

#include <QString>
#include <QStringList>

// Where a bridge writes when its port is a UDP socket.
enum class UdpTargetMode : qint32 {
    LastSender = 0,
    FixedDestination = 1,
    AllPeers = 2,
};

struct BridgeConfig
{
    enum Direction : qint32 { AtoB = 0, BtoA = 1, Both = 2 };
    enum Protocol : qint32 {
        Transparent = 0,
        Rfc2217Server = 1,
        ModbusGateway = 2, // Modbus TCP clients reach a Modbus RTU line
        Rfc2217Client = 3,
    };

    QString name;
    int portA = 0; // index in the port list; negative is no port
    int portB = 1;
    bool useBuiltinListener = false; // end B is a TCP listener rather than a port
    quint16 listenPort = 2217;
    qint32 direction = Both;
    bool enabled = true;
    bool autoOpenPeer = true; // opening the bridge opens both ports
    bool showForwardedInDisplay = true;
    qint64 displayMuteBytesPerSec = 262144; // 0 or less never mutes
    FramingPolicy framing;
    FlowControlPolicy flow;
    FanoutMode fanoutMode = FanoutMode::Exclusive;
    UdpTargetMode udpTargetMode = UdpTargetMode::LastSender;
    int arbiterResponseTimeoutMs = 1000;
    int arbiterMaxQueuedRequests = 64;
    qint32 protocol = Transparent;
    int modbusTransactionTimeoutMs = 2000;
    QStringList allowedPeers; // addresses or subnets; empty allows any
    bool logEnabled = false;
    QString logFilePath;
    bool logHex = true;
    qint64 logRotateBytes = 16777216;

    bool carriesAtoB() const { return direction == AtoB || direction == Both; }
    bool carriesBtoA() const { return direction == BtoA || direction == Both; }

    // Whether `next` differs from this one only in what a running link can take over
    // without new ends: display, framing, flow control, timeouts and capture.
    bool differsOnlyInTunables(const BridgeConfig &next) const;

    bool operator==(const BridgeConfig &) const = default;
};
