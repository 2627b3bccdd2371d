#include "bridge/rfc2217codec.h"

#include <cstring>

namespace {

// Options this side agrees to: binary transmission, no go-ahead, and the com port.
bool acceptable(quint8 option)
{
    return option == Rfc2217Codec::OptionBinary || option == Rfc2217Codec::OptionSuppressGoAhead ||
           option == Rfc2217Codec::OptionComPort;
}

QByteArray subnegotiation(quint8 command, QByteArrayView payload)
{
    QByteArray out;
    out.reserve(payload.size() + 8);
    out.append(char(Rfc2217Codec::IAC));
    out.append(char(Rfc2217Codec::SB));
    out.append(char(Rfc2217Codec::OptionComPort));
    out.append(char(command));
    for (const char c : payload) {
        out.append(c);
        if (quint8(c) == Rfc2217Codec::IAC) {
            out.append(c);
        }
    }
    out.append(char(Rfc2217Codec::IAC));
    out.append(char(Rfc2217Codec::SE));
    return out;
}

} // namespace

Rfc2217Codec::Rfc2217Codec(Role role)
    : codecRole(role)
{
    reset();
}

void Rfc2217Codec::reset()
{
    state = Data;
    verb = 0;
    subOverflow = false;
    accepted = false;
    anyIac = false;
    mask = 0;
    subBuffer.clear();
    remoteTable.fill(-1);
    localTable.fill(-1);
}

QByteArray Rfc2217Codec::greeting()
{
    for (const quint8 option : {OptionComPort, OptionBinary, OptionSuppressGoAhead}) {
        localTable[option] = 1;
    }
    remoteTable[OptionBinary] = 1;
    remoteTable[OptionSuppressGoAhead] = 1;
    // A server waits for the client's WILL COM-PORT-OPTION and does not ask for it.
    QList<std::pair<quint8, quint8>> sequence;
    if (codecRole == Role::Client) {
        remoteTable[OptionComPort] = 1;
        sequence = {{WILL, OptionComPort}, {DO, OptionComPort}};
    } else {
        sequence = {{WILL, OptionComPort}};
    }
    sequence += {{WILL, OptionBinary},
                 {DO, OptionBinary},
                 {WILL, OptionSuppressGoAhead},
                 {DO, OptionSuppressGoAhead}};
    QByteArray out;
    for (const auto &[command, option] : sequence) {
        out.append(char(IAC));
        out.append(char(command));
        out.append(char(option));
    }
    return out;
}

QByteArray Rfc2217Codec::decode(QByteArrayView bytes, QList<Event> *events, QByteArray *reply)
{
    // Data never grows in decoding: it is written into a block of the input's size.
    QByteArray data(bytes.size(), Qt::Uninitialized);
    char *dst = data.data();
    const char *p = bytes.data();
    const char *const end = p + bytes.size();
    while (p < end) {
        switch (state) {
        case Data: {
            // Runs of plain data are copied whole, and escaped 255s taken a pair at a
            // time, without going through the command states.
            const void *found = std::memchr(p, IAC, size_t(end - p));
            const char *stop = found ? static_cast<const char *>(found) : end;
            std::memcpy(dst, p, size_t(stop - p));
            dst += stop - p;
            p = stop;
            if (p == end) {
                break;
            }
            anyIac = true;
            while (end - p >= 2 && quint8(p[0]) == IAC && quint8(p[1]) == IAC) {
                *dst++ = char(IAC);
                p += 2;
            }
            if (p < end && quint8(*p) == IAC) {
                state = Iac;
                ++p;
            }
            break;
        }
        case Iac: {
            const quint8 byte = quint8(*p++);
            if (byte == IAC) {
                *dst++ = char(IAC);
                state = Data;
            } else if (byte >= WILL) {
                verb = byte;
                state = Negotiate;
            } else if (byte == SB) {
                subBuffer.clear();
                subOverflow = false;
                state = Sub;
            } else {
                state = Data; // NOP, GA and the other commands carry nothing for us
            }
            break;
        }
        case Negotiate:
            negotiate(verb, quint8(*p++), reply);
            state = Data;
            break;
        case Sub: {
            const void *found = std::memchr(p, IAC, size_t(end - p));
            const char *stop = found ? static_cast<const char *>(found) : end;
            const qsizetype room = MaxSubnegotiation - subBuffer.size();
            if (stop - p > room) {
                subOverflow = true;
            }
            subBuffer.append(p, std::min<qsizetype>(stop - p, room));
            p = stop;
            if (p < end) {
                state = SubIac;
                ++p;
            }
            break;
        }
        case SubIac: {
            const quint8 byte = quint8(*p++);
            if (byte == IAC) {
                if (subBuffer.size() < MaxSubnegotiation) {
                    subBuffer.append(char(IAC));
                } else {
                    subOverflow = true;
                }
                state = Sub;
                break;
            }
            if (byte == SE && !subOverflow) {
                dispatch(events);
            }
            // Anything but SE ends the subnegotiation unfinished: it is lost.
            subBuffer.clear();
            subOverflow = false;
            state = Data;
            break;
        }
        }
    }
    data.truncate(dst - data.constData());
    return data;
}

void Rfc2217Codec::answerOption(OptionTable &table, quint8 option, bool enable, quint8 yes,
                                quint8 no, QByteArray *reply)
{
    // An answer that the table already holds is not sent again: this ends negotiation
    // loops, and makes the peer's agreement to an option we offered cost nothing.
    if (table[option] == qint8(enable)) {
        return;
    }
    table[option] = qint8(enable);
    if (reply) {
        reply->append(char(IAC));
        reply->append(char(enable ? yes : no));
        reply->append(char(option));
    }
}

void Rfc2217Codec::negotiate(quint8 command, quint8 option, QByteArray *reply)
{
    const bool comPort = option == OptionComPort;
    switch (command) {
    case DO:
        accepted = accepted || comPort;
        answerOption(localTable, option, acceptable(option), WILL, WONT, reply);
        break;
    case WILL:
        accepted = accepted || comPort;
        answerOption(remoteTable, option, acceptable(option), DO, DONT, reply);
        break;
    // A client hears refusal of the com port as DONT and a server as WONT; the other
    // verb only withdraws the option in the table.
    case DONT:
        if (comPort && codecRole == Role::Client) {
            accepted = false;
        }
        if (localTable[option] == 1) {
            answerOption(localTable, option, false, WILL, WONT, reply);
        }
        break;
    default: // WONT
        if (comPort && codecRole == Role::Server) {
            accepted = false;
        }
        if (remoteTable[option] == 1) {
            answerOption(remoteTable, option, false, DO, DONT, reply);
        }
        break;
    }
}

void Rfc2217Codec::dispatch(QList<Event> *events)
{
    if (subBuffer.size() < 2 || quint8(subBuffer[0]) != OptionComPort) {
        return;
    }
    quint8 command = quint8(subBuffer[1]);
    const bool isAnswer = command >= AnswerOffset;
    if (isAnswer) {
        command = quint8(command - AnswerOffset);
    }
    // A server takes commands, a client takes answers.
    if (isAnswer != (codecRole == Role::Client) || command > PurgeData) {
        return;
    }
    const QByteArray payload = subBuffer.sliced(2);
    if (payload.isEmpty() && command != SignatureCommand) {
        return;
    }
    Event event;
    event.payload = payload;
    event.subcommand = command;
    event.fromServer = codecRole == Role::Client;
    const quint8 first = payload.isEmpty() ? 0 : quint8(payload[0]);
    switch (command) {
    case SignatureCommand:
        event.type = Event::Signature;
        event.query = !event.fromServer && payload.isEmpty();
        break;
    case SetBaudRate:
        if (payload.size() < 4) {
            return;
        }
        event.type = Event::BaudRate;
        event.value = quint32(quint8(payload[0])) << 24 | quint32(quint8(payload[1])) << 16 |
                      quint32(quint8(payload[2])) << 8 | quint32(quint8(payload[3]));
        event.query = event.value == 0;
        break;
    case SetDataSize:
        event.type = Event::DataSize;
        event.value = first;
        event.query = first < 5 || first > 8;
        break;
    case SetParity: {
        event.type = Event::Parity;
        const int parity = parityFromWire(first);
        event.query = parity < 0;
        event.value = event.query ? first : quint32(parity);
        break;
    }
    case SetStopSize:
        event.type = Event::StopSize;
        event.value = first;
        event.query = first < 1 || first > 3;
        break;
    case SetControl:
        if (first > 12) {
            return;
        }
        if (first <= 3) {
            static constexpr quint32 flow[] = {0, 0, 2, 1};
            event.type = Event::FlowControl;
            event.query = first == 0;
            event.value = flow[first];
        } else {
            // 4 to 6 Break, 7 to 9 DTR, 10 to 12 RTS: ask, on, off.
            static constexpr Event::Type lines[] = {Event::Break, Event::Dtr, Event::Rts};
            const int step = (first - 4) % 3;
            event.type = lines[(first - 4) / 3];
            event.query = step == 0;
            event.on = step == 1;
            event.value = event.on ? 1 : 0;
        }
        break;
    case PurgeData:
        event.type = Event::Purge;
        event.value = first;
        break;
    case NotifyLineState:
        event.type = Event::LineState;
        event.value = first;
        break;
    case NotifyModemState:
        event.type = Event::ModemState;
        event.value = first;
        break;
    case SetModemStateMask:
        mask = first;
        return;
    default: // flow control suspend and resume, line state mask: nothing to do
        return;
    }
    if (events) {
        events->append(event);
    }
}

QByteArray Rfc2217Codec::encodePayload(const QByteArray &bytes)
{
    const qsizetype first = bytes.indexOf(char(IAC));
    if (first < 0) {
        return bytes;
    }
    const char *p = bytes.constData();
    const char *const end = p + bytes.size();
    // Walks the runs between 255s (found with memchr) and the runs of 255s: `visit` is
    // given each plain run and the length of the 255 run after it.
    const auto walk = [end](const char *from, auto &&visit) {
        while (from < end) {
            const void *found = std::memchr(from, IAC, size_t(end - from));
            const char *stop = found ? static_cast<const char *>(found) : end;
            const char *after = stop;
            while (after < end && quint8(*after) == IAC) {
                ++after;
            }
            visit(from, stop - from, after - stop);
            from = after;
        }
    };
    qsizetype escapes = 0;
    walk(p + first, [&escapes](const char *, qsizetype, qsizetype run) { escapes += run; });
    // One allocation of the exact size; a run of 255s is written doubled at once.
    QByteArray out(bytes.size() + escapes, Qt::Uninitialized);
    char *dst = out.data();
    walk(p, [&dst](const char *plain, qsizetype size, qsizetype run) {
        std::memcpy(dst, plain, size_t(size));
        std::memset(dst + size, IAC, size_t(2 * run));
        dst += size + 2 * run;
    });
    return out;
}

QByteArray Rfc2217Codec::clientRequest(quint8 subcommand, QByteArrayView payload)
{
    return subnegotiation(subcommand, payload);
}

QByteArray Rfc2217Codec::serverResponse(quint8 subcommand, QByteArrayView payload)
{
    return subnegotiation(quint8(subcommand + AnswerOffset), payload);
}

QByteArray Rfc2217Codec::baudRatePayload(quint32 baud)
{
    QByteArray out(4, Qt::Uninitialized);
    out[0] = char(baud >> 24);
    out[1] = char(baud >> 16);
    out[2] = char(baud >> 8);
    out[3] = char(baud);
    return out;
}

quint8 Rfc2217Codec::parityToWire(int parity)
{
    switch (parity) {
    case 2:
        return 3; // even
    case 3:
        return 2; // odd
    case 4:
        return 5; // space
    case 5:
        return 4; // mark
    default:
        return 1; // none
    }
}

int Rfc2217Codec::parityFromWire(quint8 wire)
{
    switch (wire) {
    case 1:
        return 0;
    case 2:
        return 3;
    case 3:
        return 2;
    case 4:
        return 5;
    case 5:
        return 4;
    default:
        return -1;
    }
}

quint8 Rfc2217Codec::stopSizeToWire(int stopBits)
{
    return stopBits == 2 || stopBits == 3 ? quint8(stopBits) : 1;
}

quint8 Rfc2217Codec::flowControlToWire(int flowControl)
{
    return flowControl == 1 ? 3 : flowControl == 2 ? 2 : 1;
}

quint8 Rfc2217Codec::controlLineToWire(Event::Type type, bool on)
{
    const quint8 base = type == Event::Dtr ? 8 : type == Event::Rts ? 11 : 5;
    return on ? base : quint8(base + 1);
}

QByteArray Rfc2217Codec::modemStateNotification(quint8 modemState) const
{
    if (mask == 0) {
        return {};
    }
    const char byte = char(modemState & mask);
    return serverResponse(NotifyModemState, QByteArrayView(&byte, 1));
}

std::optional<bool> Rfc2217Codec::remoteOption(quint8 option) const
{
    return remoteTable[option] < 0 ? std::nullopt : std::optional<bool>(remoteTable[option] == 1);
}

std::optional<bool> Rfc2217Codec::localOption(quint8 option) const
{
    return localTable[option] < 0 ? std::nullopt : std::optional<bool>(localTable[option] == 1);
}
