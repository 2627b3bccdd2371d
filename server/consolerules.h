#pragma once

// What the console accepts from a computer (who it is, its port list, its traffic)
// and from a browser (the commands it may send). Shared by the REST endpoints and the
// WebSocket, so that both refuse alike.

#include "consolehub.h"

class ServerContext;
struct Principal;

namespace consolerules {

constexpr qint64 kMaxFrameBytes = 512 * 1024;

// The commands a computer carries out.
bool isCommandName(const QString &name);
// `cid` names a computer bound to the caller, `sessionId` is a run id, and a sign-in
// made on one computer does not speak for another.
bool checkDevice(ServerContext &context, const Principal &principal, const QString &cid,
                 const QString &sessionId, ConsoleHub::Refusal *refusal);
// A port list: at most 64 objects, each with a `port_key`.
bool checkPorts(const QJsonValue &ports, ConsoleHub::Refusal *refusal);
// A batch of traffic events: 1 to 256 objects of `port_key`, `event_type`, `payload_text`.
bool checkEvents(const QJsonValue &events, ConsoleHub::Refusal *refusal);
// The command named in a browser's request (command, port_key, payload, share_id,
// session_id).
ConsoleCommand commandFrom(const QJsonObject &request);
// A browser may send data and control ports; it never opens relays (the relay
// service does), and the payload must fit the command.
bool checkBrowserCommand(const ConsoleCommand &command, ConsoleHub::Refusal *refusal);

} // namespace consolerules
