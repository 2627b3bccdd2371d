#pragma once

// Connections written as one line, the way the command line names them:
//   serial:/dev/ttyUSB0?baud=115200&data=8&parity=none&stop=1&flow=none
//   /dev/ttyUSB0 (a bare path: a serial port with the record's defaults)
//   tcp://HOST:PORT, tcp-server://[ADDR]:PORT,
//   udp://HOST:PORT[?local=N], udp-server://[ADDR]:PORT
//   rfc2217://HOST:PORT[?baud=...&data=...&parity=...&stop=...&flow=...] (a remote serial
//   port: with line parameters they are pushed to it, without them it keeps its own)
//   relay://DEVICE/PORT_KEY[?baud=...] (a Live Relay port of one of the account's
//   computers, named by its id or its name; line parameters as for rfc2217)
//   share://CODE[?passcode=P] (the Live Relay port a guest share's invite opens)
// Any parameter may be left out; the record's defaults fill in.

#include "connection/settings.h"

#include <QCoreApplication>
#include <QString>

class QUrlQuery;

class ConnectionUrl
{
    Q_DECLARE_TR_FUNCTIONS(ConnectionUrl)

public:
    // Fills `settings` (starting from `base`) from `text`; false with a sentence in
    // `error` when the text names no connection or a value is out of range.
    static bool parse(const QString &text, const Settings &base, Settings *settings,
                      QString *error);

private:
    static bool parseLineParameters(const QUrlQuery &query, Settings *settings, QString *error);
};
