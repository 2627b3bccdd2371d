#include "connection/connectionurl.h"

#include "cloud/deviceidentity.h"
#include "cloud/sharecode.h"

#include <QStringList>
#include <QUrl>
#include <QUrlQuery>

namespace {
struct Named
{
    const char *name;
    int value;
};

constexpr Named parities[] = {{"none", 0}, {"even", 2}, {"odd", 3}, {"space", 4}, {"mark", 5}};
constexpr Named stopBits[] = {{"1", 1}, {"1.5", 3}, {"2", 2}};
constexpr Named flows[] = {{"none", 0}, {"rtscts", 1}, {"hardware", 1}, {"xonxoff", 2},
                           {"software", 2}};

template<size_t N>
bool lookup(const Named (&table)[N], const QString &text, int *value)
{
    for (const Named &entry : table) {
        if (text.compare(QLatin1String(entry.name), Qt::CaseInsensitive) == 0) {
            *value = entry.value;
            return true;
        }
    }
    return false;
}

// "HOST:PORT", "[ADDR]:PORT" or ":PORT"; the host may be left out only where allowed.
bool splitHostPort(const QString &text, bool hostRequired, QString *host, int *port)
{
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon < 0) {
        return false;
    }
    QString name = text.left(colon);
    if (name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']'))) {
        name = name.mid(1, name.size() - 2);
    }
    bool ok = false;
    const int number = text.mid(colon + 1).toInt(&ok);
    if (!ok || number < 0 || number > 65535 || (hostRequired && name.isEmpty())) {
        return false;
    }
    *host = name;
    *port = number;
    return true;
}

const QStringList &lineParameterNames()
{
    static const QStringList names{QStringLiteral("baud"), QStringLiteral("data"),
                                   QStringLiteral("parity"), QStringLiteral("stop"),
                                   QStringLiteral("flow")};
    return names;
}

bool hasLineParameters(const QUrlQuery &query)
{
    for (const QString &name : lineParameterNames()) {
        if (query.hasQueryItem(name)) {
            return true;
        }
    }
    return false;
}
} // namespace

// baud=, data=, parity=, stop=, flow= of a serial line, here or at the far end.
bool ConnectionUrl::parseLineParameters(const QUrlQuery &query, Settings *settings, QString *error)
{
    const auto fail = [error](const QString &why) {
        if (error) {
            *error = why;
        }
        return false;
    };
    Settings &s = *settings;
    if (query.hasQueryItem(QStringLiteral("baud"))) {
        bool ok = false;
        const int baud = query.queryItemValue(QStringLiteral("baud")).toInt(&ok);
        if (!ok || baud <= 0) {
            return fail(tr("baud=%1 is no baud rate.").arg(query.queryItemValue(QStringLiteral("baud"))));
        }
        s.baudRate = baud;
    }
    if (query.hasQueryItem(QStringLiteral("data"))) {
        bool ok = false;
        const int bits = query.queryItemValue(QStringLiteral("data")).toInt(&ok);
        if (!ok || bits < 5 || bits > 8) {
            return fail(tr("data=%1: data bits are 5 to 8.")
                            .arg(query.queryItemValue(QStringLiteral("data"))));
        }
        s.dataBits = bits;
        s.stringDataBits = QString::number(bits);
    }
    const struct
    {
        const char *key;
        qint32 *field;
        QString *text;
        QString (*describe)(int);
        bool (*find)(const QString &, int *);
        const char *choices;
    } choices[] = {
        {"parity", &s.parity, &s.stringParity, serialParityText,
         [](const QString &t, int *v) { return lookup(parities, t, v); },
         "none, even, odd, space, mark"},
        {"stop", &s.stopBits, &s.stringStopBits, serialStopBitsText,
         [](const QString &t, int *v) { return lookup(stopBits, t, v); }, "1, 1.5, 2"},
        {"flow", &s.flowControl, &s.stringFlowControl, serialFlowControlText,
         [](const QString &t, int *v) { return lookup(flows, t, v); }, "none, rtscts, xonxoff"},
    };
    for (const auto &choice : choices) {
        const QString key = QLatin1String(choice.key);
        if (!query.hasQueryItem(key)) {
            continue;
        }
        const QString value = query.queryItemValue(key);
        int number = 0;
        if (!choice.find(value, &number)) {
            return fail(tr("%1=%2: use one of %3.")
                            .arg(key, value, QLatin1String(choice.choices)));
        }
        *choice.field = number;
        *choice.text = choice.describe(number);
    }
    return true;
}

bool ConnectionUrl::parse(const QString &text, const Settings &base, Settings *settings,
                          QString *error)
{
    const auto fail = [error](const QString &why) {
        if (error) {
            *error = why;
        }
        return false;
    };
    Settings s = base;
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return fail(tr("No connection was given."));
    }
    const qsizetype schemeEnd = trimmed.indexOf(QLatin1Char(':'));
    const QString scheme = schemeEnd > 0 ? trimmed.left(schemeEnd).toLower() : QString();
    QString rest = schemeEnd > 0 ? trimmed.mid(schemeEnd + 1) : trimmed;
    QString queryText;
    const qsizetype question = rest.indexOf(QLatin1Char('?'));
    if (question >= 0) {
        queryText = rest.mid(question + 1);
        rest = rest.left(question);
    }
    const QUrlQuery query(queryText);
    const auto known = [&query](const QStringList &names) {
        for (const auto &item : query.queryItems()) {
            if (!names.contains(item.first)) {
                return item.first;
            }
        }
        return QString();
    };

    if (scheme == QLatin1String("share")) {
        // share://CODE[?passcode=P]: the port a guest share's invite code opens as a Live
        // Relay port. The code may be typed in any case, with or without dashes.
        if (!rest.startsWith(QLatin1String("//"))) {
            return fail(tr("\"%1\" needs // after the scheme, as in share://CODE.").arg(trimmed));
        }
        const QString code =
            ShareCode::normalize(QUrl::fromPercentEncoding(rest.mid(2).toUtf8()));
        if (code.isEmpty()) {
            return fail(tr("\"%1\" holds no invite code: use share://XXXX-XXXX-XXXX.")
                            .arg(trimmed));
        }
        const QString unknown = known(QStringList(lineParameterNames()) << QStringLiteral("passcode"));
        if (!unknown.isEmpty()) {
            return fail(tr("\"%1\" is not a parameter of share connections.").arg(unknown));
        }
        s.connMode = ModeLiveRelay;
        s.relayCid.clear();
        s.relayTargetName.clear();
        s.relayPortKey.clear();
        s.relayPortName.clear();
        s.relayInviteCode = code;
        s.relayPasscode = query.queryItemValue(QStringLiteral("passcode"), QUrl::FullyDecoded);
        s.useRemoteSerialConfig = !hasLineParameters(query);
        if (!parseLineParameters(query, &s, error)) {
            return false;
        }
        *settings = s;
        return true;
    }

    if (scheme == QLatin1String("relay")) {
        // relay://DEVICE/PORT_KEY: DEVICE is the computer's id or its name as the account
        // lists it (percent-encoded where it has blanks).
        if (!rest.startsWith(QLatin1String("//"))) {
            return fail(tr("\"%1\" needs // after the scheme, as in relay://DEVICE/PORT_KEY.")
                            .arg(trimmed));
        }
        const QString path = rest.mid(2);
        const qsizetype slash = path.indexOf(QLatin1Char('/'));
        const QString device =
            slash > 0 ? QUrl::fromPercentEncoding(path.left(slash).toUtf8()).trimmed() : QString();
        const QString key = slash > 0 ? QUrl::fromPercentEncoding(path.mid(slash + 1).toUtf8())
                                      : QString();
        if (device.isEmpty() || key.isEmpty() || key.contains(QLatin1Char('/'))) {
            return fail(tr("\"%1\" names no computer and port: use relay://DEVICE/PORT_KEY.")
                            .arg(trimmed));
        }
        const QString unknown = known(lineParameterNames());
        if (!unknown.isEmpty()) {
            return fail(tr("\"%1\" is not a parameter of relay connections.").arg(unknown));
        }
        s.connMode = ModeLiveRelay;
        s.relayCid.clear();
        s.relayTargetName.clear();
        if (DeviceIdentity::validateCid(device.toLower())) {
            s.relayCid = device.toLower();
        } else {
            s.relayTargetName = device;
        }
        s.relayPortKey = key;
        s.relayPortName.clear();
        s.relayInviteCode.clear();
        s.useRemoteSerialConfig = !hasLineParameters(query);
        if (!parseLineParameters(query, &s, error)) {
            return false;
        }
        *settings = s;
        return true;
    }

    const bool network = scheme == QLatin1String("tcp") || scheme == QLatin1String("tcp-server") ||
                         scheme == QLatin1String("udp") || scheme == QLatin1String("udp-server") ||
                         scheme == QLatin1String("rfc2217");
    if (network) {
        if (!rest.startsWith(QLatin1String("//"))) {
            return fail(tr("\"%1\" needs // after the scheme, as in %2://HOST:PORT.")
                            .arg(trimmed, scheme));
        }
        rest = rest.mid(2);
        const bool server = scheme.endsWith(QLatin1String("-server"));
        QString host;
        int port = 0;
        if (!splitHostPort(rest, !server, &host, &port) || (!server && port == 0)) {
            return fail(server ? tr("\"%1\" names no port to listen on: use %2://[ADDR]:PORT "
                                    "with a port from 0 to 65535.")
                                     .arg(trimmed, scheme)
                               : tr("\"%1\" names no host and port: use %2://HOST:PORT with a "
                                    "port from 1 to 65535.")
                                     .arg(trimmed, scheme));
        }
        const QString unknown = known(scheme == QLatin1String("udp")
                                          ? QStringList{QStringLiteral("local")}
                                      : scheme == QLatin1String("rfc2217") ? lineParameterNames()
                                                                           : QStringList{});
        if (!unknown.isEmpty()) {
            return fail(tr("\"%1\" is not a parameter of %2 connections.").arg(unknown, scheme));
        }
        if (scheme == QLatin1String("rfc2217")) {
            // Line parameters are pushed to the remote port; without any, it keeps its own.
            s.connMode = ModeRemoteSerial;
            s.targetHost = host;
            s.targetPort = port;
            s.useRemoteSerialConfig = !hasLineParameters(query);
            if (!parseLineParameters(query, &s, error)) {
                return false;
            }
        } else if (scheme == QLatin1String("tcp")) {
            s.connMode = ModeTcpClient;
            s.targetHost = host;
            s.targetPort = port;
        } else if (scheme == QLatin1String("tcp-server")) {
            s.connMode = ModeTcpServer;
            s.targetPort = port;
        } else if (scheme == QLatin1String("udp")) {
            s.connMode = ModeUdpClient;
            s.targetHost = host;
            s.targetPort = port;
            // Without local=, the system picks a free local port.
            s.udpLocalPort = 0;
            if (query.hasQueryItem(QStringLiteral("local"))) {
                bool ok = false;
                const int local = query.queryItemValue(QStringLiteral("local")).toInt(&ok);
                if (!ok || local < 0 || local > 65535) {
                    return fail(tr("local=%1 is no port: use 0 to 65535.")
                                    .arg(query.queryItemValue(QStringLiteral("local"))));
                }
                s.udpLocalPort = quint16(local);
            }
        } else {
            s.connMode = ModeUdpServer;
            s.udpServerPort = quint16(port);
        }
        *settings = s;
        return true;
    }

    // A serial port: "serial:PATH?..." or a bare device path or name.
    if (!scheme.isEmpty() && scheme != QLatin1String("serial") &&
        !(scheme.size() == 1 && rest.startsWith(QLatin1Char('\\')))) {
        return fail(tr("\"%1\" is no connection: use serial:PATH, tcp://HOST:PORT, "
                       "tcp-server://[ADDR]:PORT, udp://HOST:PORT, udp-server://[ADDR]:PORT, "
                       "rfc2217://HOST:PORT, relay://DEVICE/PORT_KEY or share://CODE.")
                        .arg(trimmed));
    }
    if (scheme != QLatin1String("serial")) {
        rest = question >= 0 ? trimmed.left(trimmed.indexOf(QLatin1Char('?'))) : trimmed;
    }
    if (rest.isEmpty()) {
        return fail(tr("\"%1\" names no serial port.").arg(trimmed));
    }
    const QString unknown = known(lineParameterNames());
    if (!unknown.isEmpty()) {
        return fail(tr("\"%1\" is not a parameter of serial connections.").arg(unknown));
    }
    s.connMode = ModeSerial;
    s.name = rest;
    if (!parseLineParameters(query, &s, error)) {
        return false;
    }
    *settings = s;
    return true;
}
