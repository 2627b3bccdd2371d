// Commands from the browser and their results.

#include "cloud/cloudconsoleservice.h"

#include "cloud/accountsession.h"
#include "cloud/networkservices.h"
#include "cloud/relaycontroller.h"
#include "session/consoleport.h"
#include "session/portsession.h"

#include <QRegularExpression>
#include <QTimer>

namespace {
QString key(const char *text)
{
    return QString::fromLatin1(text);
}

enum class Need { None, Send, Control, Relay };

// The commands this computer knows and the permission each needs.
bool needFor(const QString &command, Need *need)
{
    static const QHash<QString, Need> table{
        {key("request_snapshot"), Need::None}, {key("send_text"), Need::Send},
        {key("send_hex"), Need::Send},         {key("open_port"), Need::Control},
        {key("close_port"), Need::Control},    {key("set_port_config"), Need::Control},
        {key("open_relay"), Need::Relay}};
    const auto it = table.constFind(command);
    if (it == table.constEnd())
        return false;
    *need = it.value();
    return true;
}

QByteArray lineEnding(const QString &name)
{
    if (name == QLatin1String("cr"))
        return "\r";
    if (name == QLatin1String("lf"))
        return "\n";
    if (name == QLatin1String("crlf"))
        return "\r\n";
    return {};
}

// Pairs of hex digits with blanks allowed between pairs; false on anything else.
bool parseHex(const QString &text, QByteArray *bytes)
{
    static const QRegularExpression shape(QStringLiteral("^\\s*([0-9A-Fa-f]{2}\\s*)*$"));
    if (!shape.match(text).hasMatch())
        return false;
    *bytes = QByteArray::fromHex(QString(text).remove(QRegularExpression(QStringLiteral("\\s")))
                                     .toLatin1());
    return true;
}
} // namespace

void CloudConsoleService::executeCommand(const QJsonObject &object)
{
    const QString id = object.value(key("command_id")).toString();
    const QString command = object.value(key("command")).toString();
    const QString portKey = object.value(key("port_key")).toString();
    const QString sessionId = object.value(key("session_id")).toString();
    const QString shareId = object.value(key("share_id")).toString();
    const QJsonObject payload = object.value(key("payload")).toObject();
    if (id.isEmpty())
        return;
    auto fail = [&](const QString &code, const QString &message) {
        reportResult(id, command, portKey, false, code, message);
    };

    Need need = Need::None;
    if (!needFor(command, &need)) {
        fail(key("unsupported_command"), tr("unsupported command: %1").arg(command));
        return;
    }
    if (!shareId.isEmpty()) {
        // A guest's command is granted by its share alone: the share must still be live
        // here, be for this port, and be of a level that covers the command.
        static const char *levels[] = {"view", "send", "control", "relay"};
        QString message;
        const QString refusal =
            shareRefusal(shareId, portKey, key(levels[int(need)]), &message);
        if (!refusal.isEmpty()) {
            fail(refusal, message);
            return;
        }
    } else if (need == Need::Send && !allowSend) {
        fail(key("permission_denied"), tr("remote send is disabled on the device"));
        return;
    } else if (need == Need::Control && !allowControl) {
        fail(key("permission_denied"), tr("remote port control is disabled on the device"));
        return;
    } else if (need == Need::Relay && !allowRelay) {
        fail(key("permission_denied"), tr("cloud relay is disabled on the device"));
        return;
    }
    if (sessionId != sessionIdValue) {
        fail(key("session_mismatch"), tr("the command was meant for an earlier run of this "
                                         "computer"));
        return;
    }
    if (command == QLatin1String("request_snapshot")) {
        uploadSnapshot();
        reportResult(id, command, portKey, true);
        return;
    }
    ConsolePort *port = portFor(portKey);
    if (!port) {
        fail(key("port_not_found"), tr("this computer has no port %1").arg(portKey));
        return;
    }
    if (need == Need::Relay)
        executeOpenRelay(id, portKey, payload);
    else
        executePortCommand(id, command, port, payload);
}

void CloudConsoleService::executePortCommand(const QString &id, const QString &command,
                                             ConsolePort *port, const QJsonObject &payload)
{
    QString code;
    QString why;
    bool ok = false;
    if (command == QLatin1String("send_text") || command == QLatin1String("send_hex")) {
        QByteArray bytes;
        if (command == QLatin1String("send_text")) {
            const QString text = payload.value(key("text")).toString();
            if (!text.isEmpty())
                bytes = text.toUtf8() + lineEnding(payload.value(key("line_ending")).toString());
        } else if (!parseHex(payload.value(key("hex")).toString(), &bytes)) {
            reportResult(id, command, port->portKey(), false, key("invalid_payload"),
                         tr("the hex text is not pairs of hexadecimal digits"));
            return;
        }
        if (bytes.isEmpty()) {
            reportResult(id, command, port->portKey(), false, key("empty_payload"),
                         tr("empty payload"));
            return;
        }
        ok = port->sendBytes(bytes, &code, &why);
    } else if (command == QLatin1String("open_port")) {
        ok = port->openPort(&code, &why);
    } else if (command == QLatin1String("close_port")) {
        ok = port->closePort(&code, &why);
    } else {
        ok = port->applyConfig(payload, &code, &why);
    }
    reportResult(id, command, port->portKey(), ok, ok ? QString() : code, ok ? QString() : why);
    if (ok && command != QLatin1String("send_text") && command != QLatin1String("send_hex"))
        uploadSnapshot();
}

void CloudConsoleService::executeOpenRelay(const QString &id, const QString &portKey,
                                           const QJsonObject &payload)
{
    const QString command = key("open_relay");
    const QString relayId = payload.value(key("relay_id")).toString();
    const QString ticket = payload.value(key("ticket")).toString();
    if (relayId.isEmpty() || ticket.isEmpty()) {
        reportResult(id, command, portKey, false, key("internal_error"),
                     tr("open_relay needs a relay_id and a ticket"));
        return;
    }
    if (relays.contains(portKey)) {
        reportResult(id, command, portKey, false, key("relay_busy"),
                     tr("this port already has a relay"));
        return;
    }
    ConsolePort *port = portFor(portKey);
    if (!relayMayOpen(port)) {
        // Allowed, but not a device a relay can drive (a network connection).
        reportResult(id, command, portKey, false, key("port_not_found"),
                     tr("this port cannot be relayed"));
        return;
    }
    // The far computer uses the port as its own: a closed port is opened for the relay
    // and closed again when the relay ends.
    const bool openHere = !port->session()->portIsOpen();
    QString code;
    QString why;
    if (openHere && !port->openPort(&code, &why)) {
        reportResult(id, command, portKey, false, code, why);
        return;
    }
    QString guest = payload.value(key("guest_name")).toString().trimmed();
    if (guest.isEmpty())
        guest = tr("Guest");
    auto *relay = new RelayController(port, this);
    relays.insert(portKey, relay);
    const QString shareId = payload.value(key("share_id")).toString();
    if (!shareId.isEmpty())
        relayShares.insert(portKey, shareId);
    else
        relayShares.remove(portKey);
    connect(relay, &RelayController::engaged, this,
            [this, guest](const QString &key) {
                emit relayEngaged(key, guest);
                // A share's guest shows in its list once the server has paired it.
                if (relayShares.contains(key))
                    refreshShares();
            });
    connect(relay, &RelayController::ended, this, [this, relay, portKey](const QString &reason) {
        if (relays.value(portKey) == relay) {
            relays.remove(portKey);
            relayShares.remove(portKey);
        }
        relay->deleteLater();
        emit relayEnded(portKey, reason);
        if (enabled)
            uploadSnapshot();
    });
    relay->setClosePortAtEnd(openHere);
    relay->start(account->network()->hostAddress(), ticket);
    reportResult(id, command, portKey, true);
    uploadSnapshot();
}

void CloudConsoleService::stopRelays(const QString &reason,
                                     const std::function<bool(const QString &)> &filter)
{
    const QList<RelayController *> running = relays.values();
    for (RelayController *relay : running) {
        if (!filter || filter(relay->portKey()))
            relay->stop(reason);
    }
}

void CloudConsoleService::setAllowRemoteRelay(bool on)
{
    if (on == allowRelay)
        return;
    allowRelay = on;
    if (!on)
        stopRelays(tr("Live Relay was switched off on this computer."));
    if (enabled)
        uploadSnapshot();
}

void CloudConsoleService::reportResult(const QString &commandId, const QString &command,
                                       const QString &portKey, bool ok,
                                       const QString &errorCode, const QString &message)
{
    QJsonObject result{{key("cid"), cidValue},
                       {key("status"), ok ? key("succeeded") : key("failed")}};
    if (!errorCode.isEmpty())
        result.insert(key("error_code"), errorCode);
    if (!message.isEmpty())
        result.insert(key("message"), message);
    unconfirmed.insert(commandId, {result, 1});
    sendResult(commandId, result);
    emit commandFinished(command, portKey, ok, errorCode, message);
}

void CloudConsoleService::sendResult(const QString &commandId, const QJsonObject &result)
{
    if (useSocket()) {
        QJsonObject inner = result;
        inner.remove(key("cid"));
        sendSocketFrame(key("result"), {{key("command_id"), commandId}, {key("result"), inner}});
    } else if (readyForNetwork()) {
        account->network()->consolePostResult(token(), commandId, result);
    }
}

void CloudConsoleService::onResultRetryTick()
{
    resendUnconfirmedResults();
}

void CloudConsoleService::resendUnconfirmedResults()
{
    for (auto it = unconfirmed.begin(); it != unconfirmed.end();) {
        if (it->sends > MaxResultSends) {
            it = unconfirmed.erase(it);
            continue;
        }
        ++it->sends;
        sendResult(it.key(), it->result);
        ++it;
    }
}
