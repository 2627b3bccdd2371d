#pragma once

// One bridge at work: two flows (A to B, B to A) between two ends, with clients taking
// turns on one device, RFC 2217 on the network end (as server or client), or Modbus TCP
// clients reaching an RTU line, and a capture file of both directions. One clock and one
// single-shot timer serve every deadline of the flows, the arbiter, the gateways and
// the remote serial sessions; the timer is rearmed after each event for the nearest one.

#include "bridge/bridgearbiter.h"
#include "bridge/bridgeconfig.h"
#include "bridge/bridgeflow.h"
#include "bridge/bridgelogwriter.h"
#include "bridge/pendingremoteanswer.h"
#include "bridge/rfc2217serversession.h"
#include "decode/modbusgateway.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <memory>
#include <optional>

class BridgeEndpoint;
class QTimer;
class Rfc2217ClientSession;

class BridgeLink : public QObject
{
    Q_OBJECT

public:
    enum State : qint32 { Disabled = 0, Waiting = 1, Running = 2, Degraded = 3, Suspended = 4 };

    // One second of traffic.
    struct Sample
    {
        qint64 aToB = 0;
        qint64 bToA = 0;
        qint64 dropped = 0;
    };
    static constexpr int MaxSamples = 120;
    static constexpr int SampleIntervalMs = 1000;
    static constexpr int LogFlushIntervalMs = 500;

    BridgeLink(const BridgeConfig &config, BridgeEndpoint *a, BridgeEndpoint *b,
               QObject *parent = nullptr);
    ~BridgeLink() override;

    // Starts forwarding when the bridge is enabled and both ends exist; opening the ends
    // is the owner's step.
    void start();
    void stop();
    void resume();
    // Takes over display, framing, flow control, timeouts and capture; other changes
    // need a new link.
    void setConfig(const BridgeConfig &config);
    void refreshState();

    const BridgeConfig &config() const { return cfg; }
    // Out of line: reading a QPointer needs the complete end type, which this header
    // only declares.
    BridgeEndpoint *endpointA() const;
    BridgeEndpoint *endpointB() const;
    bool isRunning() const { return running; }
    State state() const { return current; }
    QString stateDetail() const;
    bool isSuspended() const;
    QString suspendReason() const;
    bool sourceThrottleUnavailable() const;
    bool isDisplayMuted() const { return displayMuted; }
    const BridgeFlow &flowAtoB() const { return flowAB; }
    const BridgeFlow &flowBtoA() const { return flowBA; }
    QList<Sample> samples() const { return sampleList; }
    QStringList peers() const { return peerList; }
    // The reason the capture stopped, empty while it runs.
    QString captureError() const { return captureStopReason; }

    BridgeEndpoint *arbitratedEndpoint() const;
    qsizetype arbiterQueuedRequests() const { return arbiter.queuedRequests(); }
    qint64 arbiterDroppedRequests() const { return arbiter.dropped(); }
    qint64 arbiterTimedOutRequests() const { return arbiter.timedOut(); }
    bool arbiterIdleBecauseSinglePeer() const;

    BridgeEndpoint *protocolNetworkEndpoint() const;
    BridgeEndpoint *protocolDeviceEndpoint() const;
    bool protocolIdleBecauseNoTcpEnd() const;
    std::optional<Rfc2217Codec::Role> rfc2217Role() const;
    int rfc2217NegotiatedPeers() const;
    bool rfc2217PassesThrough() const;
    QString rfc2217RemoteSummary() const;

    int modbusCrcErrors() const;
    int modbusUnmatchedResponses() const;
    int modbusTimedOutTransactions() const;

signals:
    void stateChanged();
    void statsChanged();
    void message(const QString &text);
    void peersChanged();

private:
    qint64 now() const { return clock.elapsed(); }
    QString label() const;
    BridgeFlow &flowFrom(bool fromA) { return fromA ? flowAB : flowBA; }
    bool carries(bool fromA) const { return fromA ? cfg.carriesAtoB() : cfg.carriesBtoA(); }
    void applyEndpointConfig();
    void connectEnd(BridgeEndpoint *end, bool isA);

    void handleTap(bool fromA, const QByteArray &bytes, const QString &peer);
    void dispatch(bool fromA, const QList<QByteArray> &frames, const QString &peer, qint64 nowMs);
    void pumpArbiter(qint64 nowMs);
    void logFrame(bool fromA, const QString &peer, const QByteArray &bytes);
    void flushLog();
    void rearmTimer();
    void onTimeout();
    void onSampleTick();
    void onSinkProgress(bool atA);
    void onPeerArrived(BridgeEndpoint *end, const QString &peer);
    void onPeerLost(const QString &peer);

    // RFC 2217 and Modbus on the network end (bridgelink_protocols.cpp).
    QByteArray telnetFromNetwork(const QString &peer, const QByteArray &bytes, qint64 nowMs);
    void applyRfc2217Event(const Rfc2217Codec::Event &event, const QString &peer,
                           QJsonObject *config, QList<Rfc2217ServerSession::ControlAction> *actions,
                           QString *error, qint64 nowMs);
    void announceRemoteActions(const QJsonObject &config,
                               const QList<Rfc2217ServerSession::ControlAction> &actions,
                               bool passesThrough);
    void pushRfc2217ClientConfig(const QString &peer);
    void onDeviceSettingsChanged();
    void onRemoteAnswered(quint64 ticket, const Rfc2217Codec::Event &event);
    void pollModemStates(qint64 nowMs);
    int modemPollTimeoutMs(qint64 nowMs) const;
    void expireRemoteAnswers(qint64 nowMs);
    int remoteAnswerWaitMs(qint64 nowMs) const;
    void forgetRemoteAnswers(const QString *peer);
    void gatewayFromDevice(bool fromA, const QByteArray &bytes, qint64 nowMs);
    void deliverGatewayFrame(bool fromA, const QByteArray &frame, qint64 nowMs);
    ModbusGateway &gatewayFor(const QString &peer);
    void retireGateway(const QString &peer);
    void forgetProtocolPeers();

    BridgeConfig cfg;
    QPointer<BridgeEndpoint> endA;
    QPointer<BridgeEndpoint> endB;
    BridgeFlow flowAB;
    BridgeFlow flowBA;
    QElapsedTimer clock;
    QTimer *deadlineTimer;
    QTimer *sampleTimer;
    QTimer *flushTimer;
    BridgeArbiter arbiter;
    BridgeLogWriter logWriter;
    QString captureStopReason;
    bool running = false;
    bool displayMuted = false;
    State current = Waiting;
    QStringList peerList;
    QList<QMetaObject::Connection> endConnections;

    QHash<QString, std::shared_ptr<Rfc2217ServerSession>> serverSessions; // RFC 2217 server
    QHash<QString, std::shared_ptr<Rfc2217ClientSession>> clientSessions; // RFC 2217 client
    QHash<quint64, PendingRemoteAnswer> pendingAnswers;
    int remoteAnswerTimeoutMs = 10000;

    QHash<QString, std::shared_ptr<ModbusGateway>> gateways;
    BridgeFramer gatewayFramer; // device-side RTU frames
    QString gatewayLastPeer;
    ModbusGateway::Counters retiredGatewayCounts; // of clients that left

    QList<Sample> sampleList;
    qint64 sampledAB = 0;
    qint64 sampledBA = 0;
    qint64 sampledDropped = 0;
};
