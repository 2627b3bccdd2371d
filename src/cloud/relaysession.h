#pragma once

// The host's end of a Live Relay between the relay socket and the shared port. The
// client speaks RFC 2217 inside the relay: its requests become line changes on the
// port, its data is unescaped and written to the port, and the port's data goes back
// escaped. Two bridge flows carry the data, so a slow side holds the other instead of
// losing bytes. No clock of its own: every call takes the owner's time in milliseconds.

#include "bridge/bridgeflow.h"
#include "bridge/bridgesink.h"
#include "bridge/bridgesource.h"
#include "bridge/rfc2217serversession.h"

#include <QString>

class RelayPort;
class RelayTransport;

class RelaySession
{
public:
    // The relay as the sink of the port's data: 255 is doubled on the way out, and the
    // block goes out in messages the transport takes whole. The count reported is of
    // input bytes whose escaped form was accepted, so a partial send is never repeated.
    class CloudEndpoint : public BridgeSink, public BridgeSource
    {
    public:
        // Above this many bytes waiting in the socket, the flow holds the port's data.
        static constexpr qint64 HighWaterBytes = 1024 * 1024;
        // The most input taken into one message (its escaped form may double).
        static constexpr qsizetype PieceBytes = 4096;

        explicit CloudEndpoint(RelayTransport *transport) : transport(transport) {}
        qint64 writeBytes(const QByteArray &bytes, const QString &peer) override;
        qint64 pendingBytes() const override;
        bool isOpen() const override;
        bool hasRecipients() const override { return isOpen(); }
        void setReadThrottled(bool) override {}
        bool supportsThrottle() const override { return false; }

    private:
        RelayTransport *transport;
    };

    struct Outcome
    {
        QString notice;          // what the session wants the owner to show
        bool settingsChanged = false;
    };

    RelaySession(RelayPort *port, RelayTransport *transport);

    void start(qint64 nowMs);
    void finish(qint64 nowMs);
    void tick(qint64 nowMs);
    // -1 when nothing is due.
    qint64 nextTimeoutMs(qint64 nowMs) const;
    bool isStarted() const { return started; }

    void fromPort(const QByteArray &bytes, qint64 nowMs);
    Outcome fromCloud(const QByteArray &bytes, qint64 nowMs);

    bool isSuspended() const;
    QString suspendReason() const;
    const BridgeFlow &toPort() const { return cloudToPort; }
    const BridgeFlow &toCloud() const { return portToCloud; }

private:
    void wire();
    void pollModem(qint64 nowMs);

    RelayPort *port;
    RelayTransport *transport;
    CloudEndpoint endpoint;
    mutable Rfc2217ServerSession server; // its reporter is read for the next timeout
    BridgeFlow cloudToPort;
    BridgeFlow portToCloud;
    bool started = false;
};
