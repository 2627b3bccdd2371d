// Feeds one random byte stream, cut at random points, to a codec of each role, to a
// client session that also pushes settings, forwards requests and ticks at random times,
// and to a server session. Checks that cutting the stream changes nothing (data, events
// and answers are those of the whole stream decoded at once); that only the three
// options spoken here are ever agreed to; that a subnegotiation never holds more than
// its bound; that answers are pure protocol (a peer decodes them to no data and ends
// in its data state); that the awaited answers stay bounded; that payload escaping
// round-trips; and that a transparent session passes bytes untouched.

#include "bridge/rfc2217clientsession.h"
#include "bridge/rfc2217serversession.h"
#include "connection/settings.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using Event = Rfc2217Codec::Event;

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

bool sameEvents(const QList<Event> &a, const QList<Event> &b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].type != b[i].type || a[i].value != b[i].value || a[i].on != b[i].on ||
            a[i].query != b[i].query || a[i].payload != b[i].payload ||
            a[i].subcommand != b[i].subcommand || a[i].fromServer != b[i].fromServer) {
            return false;
        }
    }
    return true;
}

void checkCodec(const Rfc2217Codec &codec)
{
    check(codec.subnegotiationSize() <= Rfc2217Codec::MaxSubnegotiation,
          "the subnegotiation buffer is bounded");
    for (int option = 0; option < 256; ++option) {
        const bool spoken = option == 0 || option == 3 || option == 44;
        check(spoken || (codec.localOption(quint8(option)) != true &&
                         codec.remoteOption(quint8(option)) != true),
              "only the options spoken here are agreed to");
    }
}

// What a peer of the other role makes of `reply`: protocol only, nothing left open.
void checkPureProtocol(const QByteArray &reply, Rfc2217Codec::Role peerRole)
{
    Rfc2217Codec peer(peerRole);
    check(peer.decode(reply, nullptr, nullptr).isEmpty(), "answers carry no data");
    check(peer.parserState() == Rfc2217Codec::Data, "answers are complete commands");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const bool greet = input.ConsumeBool();
    Settings settings;
    settings.baudRate = input.ConsumeIntegralInRange(1, 4000000);
    settings.dataBits = input.ConsumeIntegralInRange(5, 8);
    settings.parity = input.ConsumeIntegralInRange(0, 5);
    settings.stopBits = input.ConsumeIntegralInRange(1, 3);
    settings.flowControl = input.ConsumeIntegralInRange(0, 2);
    settings.useRemoteSerialConfig = input.ConsumeBool();

    Rfc2217Codec whole[2] = {Rfc2217Codec(Rfc2217Codec::Role::Server),
                             Rfc2217Codec(Rfc2217Codec::Role::Client)};
    Rfc2217Codec cut[2] = {Rfc2217Codec(Rfc2217Codec::Role::Server),
                           Rfc2217Codec(Rfc2217Codec::Role::Client)};
    if (greet) {
        for (int r = 0; r < 2; ++r) {
            check(whole[r].greeting() == cut[r].greeting(), "greetings agree");
        }
    }
    QByteArray cutData[2];
    QByteArray cutReply[2];
    QList<Event> cutEvents[2];

    Rfc2217ClientSession client;
    Rfc2217ServerSession server;
    qint64 now = input.ConsumeIntegralInRange<qint64>(-100000, 100000);
    checkPureProtocol(client.begin(now), Rfc2217Codec::Role::Server);
    server.greeting();

    QByteArray stream;
    while (input.remaining_bytes() > 0) {
        now += input.ConsumeIntegralInRange(0, 4000);
        switch (input.ConsumeIntegralInRange(0, 7)) {
        case 0: {
            settings.baudRate = input.ConsumeIntegralInRange(1, 4000000);
            settings.dtrOn = input.ConsumeBool();
            settings.rtsOn = input.ConsumeBool();
            checkPureProtocol(client.settingsUpdate(settings, now), Rfc2217Codec::Role::Server);
            break;
        }
        case 1: {
            Event e;
            e.type = Event::Type(input.ConsumeIntegralInRange(0, 11));
            e.value = input.ConsumeIntegral<quint32>();
            e.on = input.ConsumeBool();
            e.query = input.ConsumeBool();
            QByteArray out;
            const quint64 ticket = client.forwardRequest(e, &out, now);
            check((ticket == 0) == out.isEmpty(), "a ticket exactly when bytes are made");
            checkPureProtocol(out, Rfc2217Codec::Role::Server);
            input.ConsumeBool() ? client.commitForward(ticket) : client.withdraw(ticket);
            checkPureProtocol(client.breakCommand(e.on, now), Rfc2217Codec::Role::Server);
            break;
        }
        case 2: {
            const Rfc2217ClientSession::Outcome out = client.tick(now);
            checkPureProtocol(out.reply, Rfc2217Codec::Role::Server);
            break;
        }
        default: {
            const std::string bytes = input.ConsumeRandomLengthString(300);
            const QByteArray chunk(bytes.data(), qsizetype(bytes.size()));
            stream += chunk;
            for (int r = 0; r < 2; ++r) {
                cutData[r] += cut[r].decode(chunk, &cutEvents[r], &cutReply[r]);
                checkCodec(cut[r]);
            }
            const Rfc2217ClientSession::State before = client.state();
            const Rfc2217ClientSession::Outcome out = client.receive(chunk, now);
            check(before != Rfc2217ClientSession::Transparent || out.data == chunk,
                  "a transparent session passes bytes untouched");
            check(!out.stateChanged || client.state() == Rfc2217ClientSession::ComPort,
                  "receiving only ever raises the session to ComPort");
            checkPureProtocol(out.reply, Rfc2217Codec::Role::Server);
            checkCodec(client);
            const Rfc2217ServerSession::Outcome served = server.receive(chunk, settings);
            checkPureProtocol(served.reply, Rfc2217Codec::Role::Client);
            checkCodec(server);
            checkPureProtocol(server.modemReporter().report(server, quint8(now), now),
                              Rfc2217Codec::Role::Client);
        }
        }
        check(client.expectations().size() <= Rfc2217ClientSession::MaxExpectations,
              "the awaited answers are bounded");
        check(client.nextTimeoutMs(now) < 0 ||
                  client.state() == Rfc2217ClientSession::Negotiating,
              "a deadline only while negotiating");
    }

    for (int r = 0; r < 2; ++r) {
        QByteArray data;
        QByteArray reply;
        QList<Event> events;
        data = whole[r].decode(stream, &events, &reply);
        check(data == cutData[r], "cutting the stream keeps the data");
        check(reply == cutReply[r], "cutting the stream keeps the answers");
        check(sameEvents(events, cutEvents[r]), "cutting the stream keeps the events");
        check(whole[r].comPortAccepted() == cut[r].comPortAccepted() &&
                  whole[r].sawIac() == cut[r].sawIac() &&
                  whole[r].parserState() == cut[r].parserState(),
              "cutting the stream keeps the state");
    }
    // Escaped payload reads back as itself.
    Rfc2217Codec reader(Rfc2217Codec::Role::Client);
    check(reader.decode(Rfc2217Codec::encodePayload(stream), nullptr, nullptr) == stream,
          "escaping round-trips");
    return 0;
}
