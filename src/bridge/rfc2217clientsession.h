#pragma once

// The side of a remote serial connection that controls a port on another machine. It
// negotiates com-port control, falls back to plain Telnet or raw TCP when the peer does
// not offer it, pushes or reads the line parameters, and pairs the server's answers
// with the requests that asked for them. It owns no clock and no timer: the owner passes
// the time in milliseconds of one monotonic clock, and calls tick() when
// nextTimeoutMs() says.

#include "bridge/rfc2217codec.h"

#include <QCoreApplication>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

struct Settings;

class Rfc2217ClientSession : public Rfc2217Codec
{
    Q_DECLARE_TR_FUNCTIONS(Rfc2217ClientSession)

public:
    enum State { Negotiating = 0, ComPort = 1, PlainTelnet = 2, Transparent = 3 };

    // How long the peer has to accept com-port control before the session falls back.
    static constexpr qint64 NegotiationTimeoutMs = 3000;
    // An answer not come after this long is no longer waited for (see expired()).
    static constexpr qint64 ExpectationLifetimeMs = 10000;
    static constexpr qsizetype MaxExpectations = 64;

    struct Outcome
    {
        QByteArray data;  // application bytes
        QByteArray reply; // to send at once, as it is
        QString message;  // a status line, may be empty
        bool stateChanged = false;
        QList<std::pair<quint64, Event>> answers; // ticket and the answer that settled it
    };

    // What the remote port reports of itself; numbers are 0 while not reported.
    struct Report
    {
        QString signature;
        quint32 baudRate = 0;
        quint32 dataBits = 0;
        quint32 parity = 0;
        quint32 stopBits = 0;
        quint32 flowControl = 0;
        std::optional<bool> dtr;
        std::optional<bool> rts;
        std::optional<quint8> modemState;
        bool any = false;
    };

    // An answer awaited, oldest first.
    struct Expectation
    {
        Event::Type type = Event::BaudRate;
        quint64 ticket = 0; // 0 for the session's own requests
        bool query = false;
        quint32 value = 0;
        bool on = false;
        qint64 sentAtMs = 0;
    };

    Rfc2217ClientSession();

    // Starts a connection: a fresh session, the greeting to send, and the negotiation
    // deadline counted from `nowMs`.
    QByteArray begin(qint64 nowMs);
    // Forgets the connection: back to Negotiating with nothing reported or awaited.
    void reset();
    // Bytes from the peer. Acceptance of com-port control raises the session to ComPort
    // from Negotiating or PlainTelnet. In Transparent the bytes are data as they came:
    // the peer never spoke Telnet, so a 255 from it is not a command.
    Outcome receive(QByteArrayView bytes, qint64 nowMs);
    // The fallback when the peer has not accepted com-port control in time. Does
    // nothing unless negotiating.
    Outcome onNegotiationTimeout();
    // -1 when no deadline is pending, else the milliseconds until tick() has work.
    qint64 nextTimeoutMs(qint64 nowMs) const;
    // Runs the fallback once the negotiation deadline has passed.
    Outcome tick(qint64 nowMs);

    // Payload for the peer: 255 doubled, except in Transparent, where the stream is raw.
    QByteArray encodePayload(const QByteArray &bytes) const;
    // The requests that bring the remote port to `settings` (or read its own settings
    // when it keeps them); empty unless in ComPort.
    QByteArray settingsUpdate(const Settings &settings, qint64 nowMs);
    // SET-CONTROL for Break; empty unless in ComPort.
    QByteArray breakCommand(bool on, qint64 nowMs);
    // A request on somebody else's behalf (types BaudRate to Rts). Writes the bytes to
    // `out` and returns its ticket, or 0 when it cannot be sent. The caller reports
    // the send with commitForward or withdraw.
    quint64 forwardRequest(const Event &event, QByteArray *out, qint64 nowMs);
    void commitForward(quint64 ticket);
    void withdraw(quint64 ticket);

    State state() const { return current; }
    const Report &report() const { return remote; }
    const QList<Expectation> &expectations() const { return expected; }
    // "115200 8N1, RTS/CTS, ser2net": what the remote port reports, empty while nothing.
    QString remoteSummary() const;

private:
    void registerExpectation(const Expectation &entry, qint64 nowMs);
    bool expired(const Expectation &entry, qint64 nowMs) const;
    void dropExpired(qint64 nowMs);
    quint64 match(const Event &event, qint64 nowMs);
    void noteReport(const Event &event, QString *message);
    void noteAcceptance(bool before, Outcome &out);
    void decodeInto(QByteArrayView bytes, Outcome &out, qint64 nowMs);
    void fallBack(Outcome &out);

    // The greeting as sent, to tell a peer that only mirrors it (an echo device) from
    // one that speaks Telnet.
    enum class Mirror { Watching, Mirrored, Different };

    State current = Negotiating;
    qint64 negotiationDeadline = 0;
    QByteArray sentGreeting;
    Mirror mirror = Mirror::Different;
    qsizetype mirrorMatched = 0;

    // What was last pushed; nothing before the first push.
    struct Sent
    {
        qint32 baudRate = 0;
        qint32 dataBits = 0;
        qint32 parity = -1;
        qint32 stopBits = -1; // wire value
        qint32 flowControl = -1;
        bool dtr = false;
        std::optional<bool> rts; // not pushed under RTS/CTS flow control
    } sent;
    bool sentOnce = false;
    Report remote;
    bool identified = false;
    bool queried = false;
    QList<Expectation> expected;
    quint64 nextTicket = 1;
};
