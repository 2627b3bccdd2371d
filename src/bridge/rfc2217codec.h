#pragma once

// The Telnet side of remote serial ports: a byte-level parser of Telnet commands with the
// option table of one connection, and the COM-PORT-OPTION (option 44) subnegotiations
// decoded into events. It only turns bytes into data, events and answers; the caller
// moves the bytes, so it runs on byte arrays alone.

#include <QByteArray>
#include <QList>

#include <array>
#include <optional>

class Rfc2217Codec
{
public:
    enum class Role : qint32 { Server = 0, Client = 1 };
    enum ParserState { Data, Iac, Negotiate, Sub, SubIac };

    // Telnet commands and the options this side speaks.
    static constexpr quint8 IAC = 255;
    static constexpr quint8 WILL = 251;
    static constexpr quint8 WONT = 252;
    static constexpr quint8 DO = 253;
    static constexpr quint8 DONT = 254;
    static constexpr quint8 SB = 250;
    static constexpr quint8 SE = 240;
    static constexpr quint8 OptionBinary = 0;
    static constexpr quint8 OptionSuppressGoAhead = 3;
    static constexpr quint8 OptionComPort = 44;

    // COM-PORT-OPTION commands as a client sends them; a server's answer adds 100.
    enum Command : quint8 {
        SignatureCommand = 0,
        SetBaudRate = 1,
        SetDataSize = 2,
        SetParity = 3,
        SetStopSize = 4,
        SetControl = 5,
        NotifyLineState = 6,
        NotifyModemState = 7,
        FlowControlSuspend = 8,
        FlowControlResume = 9,
        SetLineStateMask = 10,
        SetModemStateMask = 11,
        PurgeData = 12,
    };
    static constexpr quint8 AnswerOffset = 100;

    // A subnegotiation longer than this is consumed but dropped, so that a peer that
    // opens one and never closes it cannot make this side hold its whole stream.
    static constexpr qsizetype MaxSubnegotiation = 1024;

    // One decoded COM-PORT-OPTION subnegotiation.
    struct Event
    {
        enum Type : qint32 {
            BaudRate = 0,
            DataSize = 1,
            Parity = 2,   // value in the port's numbering: 0 none, 2 even, 3 odd, 4 space, 5 mark
            StopSize = 3, // 1 one, 2 two, 3 one and a half
            FlowControl = 4, // 0 none, 1 RTS/CTS, 2 XON/XOFF
            Break = 5,
            Dtr = 6,
            Rts = 7,
            Purge = 8,
            Signature = 9,
            LineState = 10,
            ModemState = 11,
        };
        Type type = BaudRate;
        quint32 value = 0;
        bool on = false;       // Break, Dtr, Rts
        bool query = false;    // asks for the current value instead of setting one
        QByteArray payload;    // the data bytes after the command, unescaped
        quint8 subcommand = 0; // the command, less 100 for an answer
        bool fromServer = false;
    };

    explicit Rfc2217Codec(Role role);

    Role role() const { return codecRole; }

    // Back to plain data with nothing negotiated.
    void reset();
    // Marks the options this side offers and returns its opening negotiation.
    QByteArray greeting();
    // Returns the application bytes of `bytes`; decoded subnegotiations go to `events`
    // and the answers to the peer's negotiation to `reply` (either may be null). A command
    // may be split anywhere between two calls.
    QByteArray decode(QByteArrayView bytes, QList<Event> *events, QByteArray *reply);

    // Doubles each 255 so that it reaches the peer as data. Without a 255 the input is
    // returned as it is (shared, not copied).
    static QByteArray encodePayload(const QByteArray &bytes);
    static QByteArray clientRequest(quint8 subcommand, QByteArrayView payload);
    static QByteArray serverResponse(quint8 subcommand, QByteArrayView payload);
    static QByteArray baudRatePayload(quint32 baud);
    static quint8 parityToWire(int parity);
    static int parityFromWire(quint8 wire); // -1 for a byte that names no parity
    static quint8 stopSizeToWire(int stopBits);
    static quint8 flowControlToWire(int flowControl);
    static quint8 controlLineToWire(Event::Type type, bool on);
    // NOTIFY-MODEMSTATE for `state` under the client's mask; empty while the mask is 0.
    QByteArray modemStateNotification(quint8 state) const;

    bool comPortAccepted() const { return accepted; }
    bool sawIac() const { return anyIac; }
    quint8 modemMask() const { return mask; }
    ParserState parserState() const { return state; }
    qsizetype subnegotiationSize() const { return subBuffer.size(); }
    // What the peer does (answered DO/DONT) and what this side does (answered
    // WILL/WONT) for `option`: empty when nothing was said of it yet.
    std::optional<bool> remoteOption(quint8 option) const;
    std::optional<bool> localOption(quint8 option) const;

protected:
    void setModemMask(quint8 value) { mask = value; }

private:
    // One side's options: -1 unknown, 0 refused, 1 agreed.
    using OptionTable = std::array<qint8, 256>;

    void negotiate(quint8 verb, quint8 option, QByteArray *reply);
    static void answerOption(OptionTable &table, quint8 option, bool enable, quint8 yes, quint8 no,
                             QByteArray *reply);
    void dispatch(QList<Event> *events);

    Role codecRole;
    ParserState state = Data;
    quint8 verb = 0;
    bool subOverflow = false;
    bool accepted = false;
    bool anyIac = false;
    quint8 mask = 0;
    QByteArray subBuffer;
    OptionTable remoteTable;
    OptionTable localTable;
};
