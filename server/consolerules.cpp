#include "consolerules.h"

#include "inputrules.h"
#include "servercontext.h"

namespace consolerules {

namespace {

constexpr int kMaxPorts = 64;
constexpr int kMaxEvents = 256;
constexpr int kMaxPayloadBytes = 8192;
constexpr int kMaxSendText = 16384;

ConsoleHub::Refusal invalid(const QString &description)
{
    return {400, QStringLiteral("invalid_field"), description};
}

bool isPortKey(const QString &text)
{
    return inputrules::isPlainName(text, 32);
}

} // namespace

bool isCommandName(const QString &name)
{
    static const QStringList names{
        QStringLiteral("request_snapshot"), QStringLiteral("send_text"), QStringLiteral("send_hex"),
        QStringLiteral("open_port"),        QStringLiteral("close_port"), QStringLiteral("set_port_config"),
        QStringLiteral("open_relay")};
    return names.contains(name);
}

bool checkDevice(ServerContext &context, const Principal &principal, const QString &cid,
                 const QString &sessionId, ConsoleHub::Refusal *refusal)
{
    if (!inputrules::isCid(cid)) {
        *refusal = invalid(QStringLiteral("The device id must be a UUID (8-4-4-4-12 hexadecimal digits)."));
        return false;
    }
    if (sessionId.isEmpty() || !inputrules::isDisplayText(sessionId, 64)) {
        *refusal = invalid(QStringLiteral("The session id must be one line of 1 to 64 characters."));
        return false;
    }
    if (!principal.cid.isEmpty() && principal.cid != cid) {
        *refusal = {403, QStringLiteral("forbidden"),
                    QStringLiteral("This sign-in belongs to another computer.")};
        return false;
    }
    DeviceRecord record;
    switch (context.devices.find(principal.userId, cid, &record)) {
    case Lookup::Found: return true;
    case Lookup::Missing:
        *refusal = {404, QStringLiteral("not_found"),
                    QStringLiteral("This computer is not bound to the account.")};
        return false;
    case Lookup::Failed: break;
    }
    *refusal = {500, QStringLiteral("internal_error"),
                QStringLiteral("The server could not complete the request. Please try again later.")};
    return false;
}

bool checkPorts(const QJsonValue &ports, ConsoleHub::Refusal *refusal)
{
    if (!ports.isArray() || ports.toArray().size() > kMaxPorts) {
        *refusal = invalid(QStringLiteral("\"ports\" must be a list of at most %1 ports.").arg(kMaxPorts));
        return false;
    }
    for (const QJsonValue &port : ports.toArray()) {
        if (!port.isObject() || !isPortKey(port[u"port_key"].toString())) {
            *refusal = invalid(QStringLiteral("Each port needs a \"port_key\" of 1 to 32 letters, "
                                              "digits, dots, dashes or underscores."));
            return false;
        }
    }
    return true;
}

bool checkEvents(const QJsonValue &events, ConsoleHub::Refusal *refusal)
{
    const QJsonArray list = events.toArray();
    if (!events.isArray() || list.isEmpty() || list.size() > kMaxEvents) {
        *refusal = invalid(QStringLiteral("\"events\" must be a list of 1 to %1 events.").arg(kMaxEvents));
        return false;
    }
    for (const QJsonValue &event : list) {
        const QJsonValue text = event[u"payload_text"];
        if (!event.isObject() || !isPortKey(event[u"port_key"].toString())
            || !inputrules::isPlainName(event[u"event_type"].toString(), 16) || !text.isString()
            || text.toString().toUtf8().size() > kMaxPayloadBytes) {
            *refusal = invalid(QStringLiteral("Each event needs a \"port_key\", an \"event_type\" and "
                                              "a \"payload_text\" of at most %1 bytes.")
                                   .arg(kMaxPayloadBytes));
            return false;
        }
    }
    return true;
}

ConsoleCommand commandFrom(const QJsonObject &request)
{
    ConsoleCommand command;
    command.command = request[u"command"].toString();
    command.portKey = request[u"port_key"].toString();
    command.payload = request[u"payload"].toObject();
    command.shareId = request[u"share_id"].toString();
    command.sessionId = request[u"session_id"].toString();
    return command;
}

bool checkBrowserCommand(const ConsoleCommand &command, ConsoleHub::Refusal *refusal)
{
    if (command.command == u"open_relay" || !isCommandName(command.command)) {
        *refusal = {400, QStringLiteral("unsupported_command"),
                    QStringLiteral("A browser may send request_snapshot, send_text, send_hex, "
                                   "open_port, close_port and set_port_config.")};
        return false;
    }
    if (command.command != u"request_snapshot" && !isPortKey(command.portKey)) {
        *refusal = invalid(QStringLiteral("Name the port: \"port_key\"."));
        return false;
    }
    if (!inputrules::isDisplayText(command.sessionId, 64) || !inputrules::isDisplayText(command.shareId, 64)) {
        *refusal = invalid(QStringLiteral("A session or share id is one line of at most 64 characters."));
        return false;
    }
    if (command.command == u"send_text") {
        static const QStringList endings{QString(), QStringLiteral("none"), QStringLiteral("cr"),
                                         QStringLiteral("lf"), QStringLiteral("crlf")};
        const QJsonValue text = command.payload[u"text"];
        if (!text.isString() || text.toString().size() > kMaxSendText
            || !endings.contains(command.payload[u"line_ending"].toString())) {
            *refusal = invalid(QStringLiteral("send_text wants a \"text\" of at most %1 characters and a "
                                              "\"line_ending\" of none, cr, lf or crlf.")
                                   .arg(kMaxSendText));
            return false;
        }
    } else if (command.command == u"send_hex") {
        const QString hex = command.payload[u"hex"].toString();
        int digits = 0;
        bool clean = hex.size() <= 3 * kMaxSendText;
        for (const QChar c : hex) {
            if (c.isSpace())
                continue;
            clean = clean && ((c >= u'0' && c <= u'9') || (c.toLower() >= u'a' && c.toLower() <= u'f'));
            ++digits;
        }
        if (!clean || digits % 2 != 0) {
            *refusal = invalid(QStringLiteral("send_hex wants \"hex\": pairs of hexadecimal digits, "
                                              "blanks allowed between them."));
            return false;
        }
    }
    return true;
}

} // namespace consolerules
