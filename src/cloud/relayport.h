#pragma once

// What the host's end of a Live Relay needs of the port it shares: the write and read
// sides a bridge flow uses, the line settings, and the controls RFC 2217 asks for.

#include "bridge/bridgesink.h"
#include "bridge/bridgesource.h"
#include "bridge/rfc2217serversession.h"

#include <QJsonObject>

struct Settings;

class RelayPort : public BridgeSink, public BridgeSource
{
public:
    using Line = Rfc2217ServerSession::Line;

    virtual Settings settings() const = 0;
    virtual void applySerialConfig(const QJsonObject &config) = 0;
    virtual void setControlLine(Line line, bool on) = 0;
    // The modem lines in RFC 2217's bit order (CD 0x80, RI 0x40, DSR 0x20, CTS 0x10).
    virtual quint8 modemState() const = 0;

    bool hasRecipients() const override { return isOpen(); }
};
