#include "bridge/rfc2217serversession.h"

#include "connection/settings.h"

namespace {

using Event = Rfc2217Codec::Event;

QByteArray answer(const Event &event, quint8 byte)
{
    return Rfc2217Codec::serverResponse(event.subcommand,
                                        QByteArrayView(reinterpret_cast<const char *>(&byte), 1));
}

QString parityName(int parity)
{
    switch (parity) {
    case 2:
        return QStringLiteral("even");
    case 3:
        return QStringLiteral("odd");
    case 4:
        return QStringLiteral("space");
    case 5:
        return QStringLiteral("mark");
    default:
        return QStringLiteral("none");
    }
}

} // namespace

Rfc2217ServerSession::Rfc2217ServerSession()
    : Rfc2217Codec(Role::Server)
{
    reset();
}

void Rfc2217ServerSession::reset()
{
    Rfc2217Codec::reset();
    // Until the client sets a mask it gets every modem line, so that clients that never
    // set one still see the lines change.
    setModemMask(255);
    reporter.reset();
}

Rfc2217ServerSession::Outcome Rfc2217ServerSession::receive(QByteArrayView bytes,
                                                            const Settings &settings)
{
    Outcome out;
    QList<Event> events;
    out.data = decode(bytes, &events, &out.reply);
    for (const Event &event : std::as_const(events)) {
        const Outcome one = apply(event, settings);
        out.reply += one.reply;
        for (auto it = one.serialConfig.begin(); it != one.serialConfig.end(); ++it) {
            out.serialConfig.insert(it.key(), it.value());
        }
        out.controls += one.controls;
    }
    return out;
}

Rfc2217ServerSession::Outcome Rfc2217ServerSession::apply(const Event &event,
                                                          const Settings &settings)
{
    Outcome out;
    switch (event.type) {
    case Event::BaudRate: {
        const quint32 baud = event.query ? quint32(std::max(settings.baudRate, 0)) : event.value;
        if (!event.query) {
            out.serialConfig.insert(QStringLiteral("baud_rate"), double(baud));
        }
        out.reply = serverResponse(event.subcommand, baudRatePayload(baud));
        break;
    }
    case Event::DataSize:
        if (!event.query) {
            out.serialConfig.insert(QStringLiteral("data_bits"), int(event.value));
        }
        out.reply = answer(event, quint8(event.query ? settings.dataBits : int(event.value)));
        break;
    case Event::Parity: {
        const int parity = event.query ? settings.parity : int(event.value);
        if (!event.query) {
            out.serialConfig.insert(QStringLiteral("parity"), parityName(parity));
        }
        out.reply = answer(event, parityToWire(parity));
        break;
    }
    case Event::StopSize: {
        const quint8 wire = stopSizeToWire(event.query ? settings.stopBits : int(event.value));
        if (!event.query) {
            out.serialConfig.insert(QStringLiteral("stop_bits"), wire == 3   ? 1.5
                                                                 : wire == 2 ? 2.0
                                                                             : 1.0);
        }
        out.reply = answer(event, wire);
        break;
    }
    case Event::FlowControl: {
        const int flow = event.query ? settings.flowControl : int(event.value);
        if (!event.query) {
            out.serialConfig.insert(QStringLiteral("flow_control"),
                                    flow == 1   ? QStringLiteral("rtscts")
                                    : flow == 2 ? QStringLiteral("xonxoff")
                                                : QStringLiteral("none"));
        }
        out.reply = answer(event, flowControlToWire(flow));
        break;
    }
    case Event::Break:
    case Event::Dtr:
    case Event::Rts: {
        bool on = event.on;
        if (event.query) {
            // The port's wanted levels; a break is never reported as held.
            on = event.type == Event::Dtr   ? settings.dtrOn
                 : event.type == Event::Rts ? settings.rtsOn
                                            : false;
        } else {
            const Line line = event.type == Event::Dtr   ? Dtr
                              : event.type == Event::Rts ? Rts
                                                         : Break;
            out.controls.append({line, on});
        }
        out.reply = answer(event, controlLineToWire(event.type, on));
        break;
    }
    case Event::Purge:
        // The selector is confirmed; the port itself is not purged here.
        out.reply = answer(event, quint8(event.value));
        break;
    case Event::Signature:
        out.reply = serverResponse(event.subcommand, "Velmora bridge");
        break;
    default: // notifications are not answered
        break;
    }
    return out;
}

QByteArray Rfc2217ServerSession::confirmationFor(const Event &event)
{
    if (event.type > Event::Signature || event.type == Event::Purge) {
        return {};
    }
    if (event.query && event.type >= Event::Parity && event.type != Event::StopSize &&
        event.type <= Event::Signature) {
        return {};
    }
    switch (event.type) {
    case Event::BaudRate:
        return serverResponse(event.subcommand, baudRatePayload(event.value));
    case Event::DataSize:
    case Event::StopSize:
        return answer(event, quint8(event.value));
    case Event::Parity:
        return answer(event, parityToWire(int(event.value)));
    case Event::FlowControl:
        return answer(event, flowControlToWire(int(event.value)));
    case Event::Signature:
        return serverResponse(event.subcommand, event.payload);
    default: // Break, Dtr, Rts
        return answer(event, controlLineToWire(event.type, event.on));
    }
}
