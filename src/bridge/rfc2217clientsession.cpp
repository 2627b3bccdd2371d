#include "bridge/rfc2217clientsession.h"

#include "connection/settings.h"

#include <QStringList>

namespace {

bool isControlLine(Rfc2217Codec::Event::Type type)
{
    return type == Rfc2217Codec::Event::Break || type == Rfc2217Codec::Event::Dtr ||
           type == Rfc2217Codec::Event::Rts;
}

// Types carried by SET-CONTROL. Some servers never answer it (ser2net does not for the
// lines of a device that has none), so their requests expire even when somebody holds
// a ticket for them, rather than waiting for ever at the head of the list.
bool isSetControl(Rfc2217Codec::Event::Type type)
{
    return type == Rfc2217Codec::Event::FlowControl || isControlLine(type);
}

} // namespace

Rfc2217ClientSession::Rfc2217ClientSession()
    : Rfc2217Codec(Role::Client)
{}

QByteArray Rfc2217ClientSession::begin(qint64 nowMs)
{
    reset();
    negotiationDeadline = nowMs + NegotiationTimeoutMs;
    sentGreeting = greeting();
    mirror = Mirror::Watching;
    return sentGreeting;
}

void Rfc2217ClientSession::reset()
{
    Rfc2217Codec::reset();
    current = Negotiating;
    negotiationDeadline = 0;
    sentGreeting.clear();
    mirror = Mirror::Different;
    mirrorMatched = 0;
    sent = Sent();
    sentOnce = false;
    remote = Report();
    identified = false;
    queried = false;
    expected.clear();
}

Rfc2217ClientSession::Outcome Rfc2217ClientSession::receive(QByteArrayView bytes, qint64 nowMs)
{
    Outcome out;
    // A peer that never spoke Telnet gets a raw stream: its 255s are data.
    if (current == Transparent) {
        out.data = bytes.toByteArray();
        return out;
    }
    if (mirror != Mirror::Watching) {
        decodeInto(bytes, out, nowMs);
        return out;
    }
    // An echo device sends the greeting back. Bytes that repeat it are held until they
    // either complete it (then they are dropped: the peer is a mirror, not a Telnet
    // server, and its copy of our WILL must not count as acceptance) or stop matching
    // (then they are decoded as they came).
    qsizetype n = 0;
    const qsizetype left = sentGreeting.size() - mirrorMatched;
    while (n < bytes.size() && n < left && bytes[n] == sentGreeting[mirrorMatched + n]) {
        ++n;
    }
    if (n == left) {
        mirror = Mirror::Mirrored;
        mirrorMatched = 0;
        decodeInto(bytes.sliced(n), out, nowMs);
    } else if (n == bytes.size()) {
        mirrorMatched += n;
    } else {
        mirror = Mirror::Different;
        QByteArray held = sentGreeting.left(mirrorMatched);
        mirrorMatched = 0;
        held.append(bytes);
        decodeInto(held, out, nowMs);
    }
    return out;
}

void Rfc2217ClientSession::decodeInto(QByteArrayView bytes, Outcome &out, qint64 nowMs)
{
    if (bytes.isEmpty()) {
        return;
    }
    const bool before = comPortAccepted();
    QList<Event> events;
    out.data += decode(bytes, &events, &out.reply);
    for (const Event &event : std::as_const(events)) {
        noteReport(event, &out.message);
        if (event.fromServer && (event.type <= Event::Rts || event.type == Event::Signature)) {
            if (const quint64 ticket = match(event, nowMs)) {
                out.answers.append({ticket, event});
            }
        }
    }
    noteAcceptance(before, out);
}

void Rfc2217ClientSession::noteAcceptance(bool before, Outcome &out)
{
    // Acceptance raises the session from any state, also after a fallback; a later
    // refusal leaves ComPort as it is.
    if (before || !comPortAccepted() || current == ComPort) {
        return;
    }
    current = ComPort;
    out.stateChanged = true;
    out.message = tr("The remote port accepted serial parameter control.");
}

Rfc2217ClientSession::Outcome Rfc2217ClientSession::onNegotiationTimeout()
{
    Outcome out;
    if (current != Negotiating) {
        return out;
    }
    // What a partial echo held is decoded now; it may still be a real acceptance.
    if (mirror == Mirror::Watching && mirrorMatched > 0) {
        const QByteArray held = sentGreeting.left(mirrorMatched);
        mirrorMatched = 0;
        mirror = Mirror::Different;
        decodeInto(held, out, negotiationDeadline);
        if (current != Negotiating) {
            return out;
        }
    }
    mirror = Mirror::Different;
    fallBack(out);
    return out;
}

void Rfc2217ClientSession::fallBack(Outcome &out)
{
    out.stateChanged = true;
    if (sawIac()) {
        current = PlainTelnet;
        out.message = tr("The remote does not support serial parameter control; continuing as "
                         "plain Telnet.");
    } else {
        current = Transparent;
        out.message = tr("The remote is not an RFC 2217 server; continuing as transparent TCP. "
                         "The handshake bytes may have reached the remote serial line.");
    }
}

qint64 Rfc2217ClientSession::nextTimeoutMs(qint64 nowMs) const
{
    if (current != Negotiating || sentGreeting.isEmpty()) {
        return -1;
    }
    return std::max<qint64>(0, negotiationDeadline - nowMs);
}

Rfc2217ClientSession::Outcome Rfc2217ClientSession::tick(qint64 nowMs)
{
    if (nextTimeoutMs(nowMs) != 0) {
        return {};
    }
    return onNegotiationTimeout();
}

QByteArray Rfc2217ClientSession::encodePayload(const QByteArray &bytes) const
{
    return current == Transparent ? bytes : Rfc2217Codec::encodePayload(bytes);
}

QByteArray Rfc2217ClientSession::settingsUpdate(const Settings &settings, qint64 nowMs)
{
    if (current != ComPort) {
        return {};
    }
    QByteArray out;
    const auto request = [&out](quint8 command, quint8 byte) {
        out += clientRequest(command, QByteArrayView(reinterpret_cast<const char *>(&byte), 1));
    };
    if (!identified) {
        out += clientRequest(SignatureCommand, "Velmora");
        registerExpectation({Event::Signature, 0, true, 0, false, nowMs}, nowMs);
        // Modem notifications for CTS, DSR, RI and DCD; their deltas are not wanted.
        request(SetModemStateMask, 0xF0);
        identified = true;
    }
    if (settings.useRemoteSerialConfig) {
        // The remote port keeps its own parameters: read them once, push nothing.
        if (!queried) {
            out += clientRequest(SetBaudRate, baudRatePayload(0));
            request(SetDataSize, 0);
            request(SetParity, 0);
            request(SetStopSize, 0);
            request(SetControl, 0);
            request(SetControl, 7);
            request(SetControl, 10);
            for (const Event::Type type :
                 {Event::BaudRate, Event::DataSize, Event::Parity, Event::StopSize,
                  Event::FlowControl, Event::Dtr, Event::Rts}) {
                registerExpectation({type, 0, true, 0, false, nowMs}, nowMs);
            }
            queried = true;
        }
        return out;
    }
    const auto expect = [&](Event::Type type, quint32 value, bool on) {
        registerExpectation({type, 0, false, value, on, nowMs}, nowMs);
    };
    if (!sentOnce || settings.baudRate != sent.baudRate) {
        out += clientRequest(SetBaudRate, baudRatePayload(quint32(settings.baudRate)));
        expect(Event::BaudRate, quint32(settings.baudRate), false);
    }
    if (!sentOnce || settings.dataBits != sent.dataBits) {
        request(SetDataSize, quint8(settings.dataBits));
        expect(Event::DataSize, quint32(settings.dataBits), false);
    }
    if (!sentOnce || settings.parity != sent.parity) {
        request(SetParity, parityToWire(settings.parity));
        expect(Event::Parity, quint32(parityFromWire(parityToWire(settings.parity))), false);
    }
    const quint8 stopWire = stopSizeToWire(settings.stopBits);
    if (!sentOnce || stopWire != sent.stopBits) {
        request(SetStopSize, stopWire);
        expect(Event::StopSize, stopWire, false);
    }
    if (!sentOnce || settings.flowControl != sent.flowControl) {
        request(SetControl, flowControlToWire(settings.flowControl));
        expect(Event::FlowControl,
               settings.flowControl == 1 || settings.flowControl == 2
                   ? quint32(settings.flowControl)
                   : 0,
               false);
    }
    if (!sentOnce || settings.dtrOn != sent.dtr) {
        request(SetControl, controlLineToWire(Event::Dtr, settings.dtrOn));
        expect(Event::Dtr, settings.dtrOn, settings.dtrOn);
    }
    // Under RTS/CTS the remote's flow control drives RTS; the wanted level is ignored.
    std::optional<bool> rts;
    if (settings.flowControl != 1) {
        rts = settings.rtsOn;
        if (!sentOnce || rts != sent.rts) {
            request(SetControl, controlLineToWire(Event::Rts, settings.rtsOn));
            expect(Event::Rts, settings.rtsOn, settings.rtsOn);
        }
    }
    sent = {settings.baudRate,
            settings.dataBits,
            settings.parity,
            stopWire,
            settings.flowControl,
            settings.dtrOn,
            rts};
    sentOnce = true;
    return out;
}

QByteArray Rfc2217ClientSession::breakCommand(bool on, qint64 nowMs)
{
    if (current != ComPort) {
        return {};
    }
    registerExpectation({Event::Break, 0, false, on, on, nowMs}, nowMs);
    const quint8 byte = controlLineToWire(Event::Break, on);
    return clientRequest(SetControl, QByteArrayView(reinterpret_cast<const char *>(&byte), 1));
}

quint64 Rfc2217ClientSession::forwardRequest(const Event &event, QByteArray *out, qint64 nowMs)
{
    out->clear();
    if (current != ComPort || event.type > Event::Rts) {
        return 0;
    }
    QByteArray payload;
    quint8 command = SetControl;
    switch (event.type) {
    case Event::BaudRate:
        command = SetBaudRate;
        payload = baudRatePayload(event.query ? 0 : event.value);
        break;
    case Event::DataSize:
        command = SetDataSize;
        payload.append(char(event.query ? 0 : event.value));
        break;
    case Event::Parity:
        command = SetParity;
        payload.append(char(event.query ? 0 : parityToWire(int(event.value))));
        break;
    case Event::StopSize:
        command = SetStopSize;
        payload.append(char(event.query ? 0 : stopSizeToWire(int(event.value))));
        break;
    case Event::FlowControl:
        payload.append(char(event.query ? 0 : flowControlToWire(int(event.value))));
        break;
    default: { // Break, Dtr, Rts
        const quint8 ask = event.type == Event::Break ? 4 : event.type == Event::Dtr ? 7 : 10;
        payload.append(char(event.query ? ask : controlLineToWire(event.type, event.on)));
        break;
    }
    }
    const quint64 ticket = nextTicket++;
    registerExpectation({event.type, ticket, event.query, event.value, event.on, nowMs}, nowMs);
    *out = clientRequest(command, payload);
    return ticket;
}

void Rfc2217ClientSession::commitForward(quint64 ticket)
{
    for (const Expectation &entry : std::as_const(expected)) {
        if (entry.ticket != ticket) {
            continue;
        }
        // The forwarded value is what the remote now has: a later push must not undo it.
        if (entry.query || !sentOnce) {
            return;
        }
        switch (entry.type) {
        case Event::BaudRate:
            sent.baudRate = qint32(entry.value);
            break;
        case Event::DataSize:
            sent.dataBits = qint32(entry.value);
            break;
        case Event::Parity:
            sent.parity = qint32(entry.value);
            break;
        case Event::StopSize:
            sent.stopBits = stopSizeToWire(int(entry.value));
            break;
        case Event::FlowControl:
            sent.flowControl = qint32(entry.value);
            break;
        case Event::Dtr:
            sent.dtr = entry.on;
            break;
        case Event::Rts:
            sent.rts = entry.on;
            break;
        default:
            break;
        }
        return;
    }
}

void Rfc2217ClientSession::withdraw(quint64 ticket)
{
    expected.removeIf([ticket](const Expectation &entry) { return entry.ticket == ticket; });
}

bool Rfc2217ClientSession::expired(const Expectation &entry, qint64 nowMs) const
{
    return (entry.ticket == 0 || isSetControl(entry.type)) &&
           nowMs - entry.sentAtMs >= ExpectationLifetimeMs;
}

void Rfc2217ClientSession::dropExpired(qint64 nowMs)
{
    expected.removeIf([this, nowMs](const Expectation &entry) { return expired(entry, nowMs); });
}

void Rfc2217ClientSession::registerExpectation(const Expectation &entry, qint64 nowMs)
{
    dropExpired(nowMs);
    expected.append(entry);
    // A silent peer must not make the list grow: the oldest give way.
    if (expected.size() > MaxExpectations) {
        expected.remove(0, expected.size() - MaxExpectations);
    }
}

quint64 Rfc2217ClientSession::match(const Event &event, qint64 nowMs)
{
    dropExpired(nowMs);
    QList<qsizetype> sameType;
    for (qsizetype i = 0; i < expected.size(); ++i) {
        if (expected[i].type == event.type) {
            sameType.append(i);
        }
    }
    if (sameType.isEmpty()) {
        return 0;
    }
    const qsizetype oldest = sameType.first();
    const auto take = [this](qsizetype index) {
        const quint64 ticket = expected[index].ticket;
        expected.remove(index);
        return ticket;
    };
    if (!expected[oldest].query) {
        return take(oldest);
    }
    // The oldest is a query. A set behind it may be what this answers (servers answer a
    // set at once and may never answer a query), but only when no ticketed query would
    // be skipped over.
    for (qsizetype k = 0; k < sameType.size(); ++k) {
        const Expectation &candidate = expected[sameType[k]];
        if (candidate.query) {
            if (candidate.ticket != 0) {
                break;
            }
            continue;
        }
        const bool matches = isControlLine(event.type)
                                 ? candidate.on == event.on
                                 : !event.query && candidate.value == event.value;
        if (!matches) {
            break;
        }
        const quint64 ticket = candidate.ticket;
        for (qsizetype j = k; j >= 0; --j) {
            expected.remove(sameType[j]);
        }
        return ticket;
    }
    return take(oldest);
}

void Rfc2217ClientSession::noteReport(const Event &event, QString *message)
{
    remote.any = true;
    switch (event.type) {
    case Event::BaudRate:
        if (remote.baudRate != 0 && remote.baudRate != event.value) {
            *message = tr("The remote port is now at %1 baud.").arg(event.value);
        }
        remote.baudRate = event.value;
        break;
    // A value the remote cannot hold (such as 9 data bits) is not taken as its state.
    case Event::DataSize:
        if (!event.query) {
            remote.dataBits = event.value;
        }
        break;
    case Event::Parity:
        if (!event.query) {
            remote.parity = event.value;
        }
        break;
    case Event::StopSize:
        if (!event.query) {
            remote.stopBits = event.value;
        }
        break;
    case Event::FlowControl:
        if (!event.query) {
            remote.flowControl = event.value;
        }
        break;
    // ser2net answers a line query with the query itself when it cannot read the line.
    case Event::Dtr:
        if (!event.query) {
            remote.dtr = event.on;
        }
        break;
    case Event::Rts:
        if (!event.query) {
            remote.rts = event.on;
        }
        break;
    case Event::Signature:
        remote.signature = QString::fromUtf8(event.payload).trimmed();
        break;
    case Event::ModemState:
        remote.modemState = quint8(event.value);
        break;
    default: // Break, Purge, LineState
        break;
    }
}

QString Rfc2217ClientSession::remoteSummary() const
{
    if (!remote.any) {
        return {};
    }
    QStringList parts;
    if (remote.baudRate != 0) {
        QString line = QString::number(remote.baudRate);
        if (remote.dataBits > 0) {
            const QChar parity = remote.parity == 2   ? u'E'
                                 : remote.parity == 3 ? u'O'
                                 : remote.parity == 4 ? u'S'
                                 : remote.parity == 5 ? u'M'
                                                      : u'N';
            const QString stop = remote.stopBits == 3   ? QStringLiteral("1.5")
                                 : remote.stopBits == 2 ? QStringLiteral("2")
                                                        : QStringLiteral("1");
            line += QStringLiteral(" %1%2%3").arg(remote.dataBits).arg(parity).arg(stop);
        }
        parts.append(line);
    }
    if (remote.flowControl == 1) {
        parts.append(QStringLiteral("RTS/CTS"));
    } else if (remote.flowControl == 2) {
        parts.append(QStringLiteral("XON/XOFF"));
    }
    if (!remote.signature.isEmpty()) {
        parts.append(remote.signature);
    }
    return parts.join(QStringLiteral(", "));
}
