#pragma once

// The side of a remote serial connection that answers for a local port: it decodes the
// client's requests into the line changes and control actions the owner applies to its
// port, and builds the answers. Queries are answered from the port's settings; a set is
// echoed with the value asked for, not what the hardware ends up with.

#include "bridge/rfc2217codec.h"
#include "bridge/rfc2217modemreporter.h"

#include <QJsonObject>
#include <QList>

struct Settings;

class Rfc2217ServerSession : public Rfc2217Codec
{
public:
    enum Line { Dtr = 0, Rts = 1, Break = 2 };
    struct ControlAction
    {
        Line line = Dtr;
        bool on = false;
        bool operator==(const ControlAction &) const = default;
    };

    struct Outcome
    {
        QByteArray data;
        QByteArray reply;
        // Line changes asked for, under "baud_rate", "data_bits", "parity",
        // "stop_bits", "flow_control".
        QJsonObject serialConfig;
        QList<ControlAction> controls;
    };

    Rfc2217ServerSession();

    // A fresh connection. The opening bytes come from greeting().
    void reset();
    Outcome receive(QByteArrayView bytes, const Settings &settings);
    // The answer to one request, and what it asks of the port.
    static Outcome apply(const Event &event, const Settings &settings);
    // The answer a server gives to `event` as it stands, from the event alone.
    static QByteArray confirmationFor(const Event &event);

    Rfc2217ModemReporter &modemReporter() { return reporter; }

private:
    Rfc2217ModemReporter reporter;
};
