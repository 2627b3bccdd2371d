#include "cli/servecommand.h"

#include "bridge/bridgelink.h"
#include "bridge/portendpoint.h"
#include "bridge/tcplistenerendpoint.h"
#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/portopener.h"
#include "session/portbridgehooks.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QHostAddress>

namespace {

// "[ADDR:]PORT", the address being IPv4, a bracketed IPv6 or absent (all addresses).
bool parseListen(const QString &text, QHostAddress *address, quint16 *port)
{
    QString host;
    QString number = text;
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon >= 0) {
        host = text.left(colon);
        number = text.mid(colon + 1);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']'))) {
            host = host.mid(1, host.size() - 2);
        }
    }
    bool ok = false;
    const uint value = number.toUInt(&ok);
    if (!ok || value > 65535) {
        return false;
    }
    *port = quint16(value);
    *address = host.isEmpty() ? QHostAddress(QHostAddress::Any) : QHostAddress(host);
    return !address->isNull();
}

} // namespace

QString ServeCommand::summary() const
{
    return tr("Serves a port on a TCP listener: raw, RFC 2217 or Modbus TCP.");
}

void ServeCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"), tr("The port to serve."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("listen"),
                      tr("Where to listen: a TCP port, with an address before it if wanted."),
                      QStringLiteral("[ADDR:]PORT")});
    parser.addOption({QStringLiteral("protocol"),
                      tr("What clients speak: raw (default), rfc2217 or modbus-gateway."),
                      QStringLiteral("NAME"), QStringLiteral("raw")});
    parser.addOption({QStringLiteral("capture"),
                      tr("Writes both directions to FILE as a trace."), QStringLiteral("FILE")});
}

int ServeCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    QHostAddress address;
    quint16 listenPort = 0;
    if (!parser.isSet(QStringLiteral("listen")) ||
        !parseListen(parser.value(QStringLiteral("listen")), &address, &listenPort)) {
        out.error(tr("--listen needs a TCP port from 0 to 65535 (0: any free one), as PORT or ADDR:PORT."));
        return ExitUsage;
    }
    BridgeConfig config;
    config.name = QStringLiteral("serve");
    config.portA = 0;
    config.portB = -1;
    config.useBuiltinListener = true;
    config.listenPort = listenPort;
    config.autoOpenPeer = false;
    config.showForwardedInDisplay = false;
    const QString protocol = parser.value(QStringLiteral("protocol"));
    if (protocol == QLatin1String("raw")) {
        config.protocol = BridgeConfig::Transparent;
    } else if (protocol == QLatin1String("rfc2217")) {
        config.protocol = BridgeConfig::Rfc2217Server;
    } else if (protocol == QLatin1String("modbus-gateway")) {
        config.protocol = BridgeConfig::ModbusGateway;
        // An RTU reply is one frame only once the line has gone quiet.
        config.framing.mode = FramingPolicy::IdleGap;
    } else {
        out.error(tr("Unknown protocol %1: use raw, rfc2217 or modbus-gateway.").arg(protocol));
        return ExitUsage;
    }
    if (parser.isSet(QStringLiteral("capture"))) {
        config.logEnabled = true;
        config.logFilePath = parser.value(QStringLiteral("capture"));
        config.logHex = true;
    }

    PortOpener opener;
    int code = opener.prepare(parser, parser.positionalArguments().value(0), false, out);
    if (code != ExitOk) {
        return code;
    }
    code = opener.open(out);
    if (code != ExitOk) {
        return code;
    }
    PortSession *session = opener.session();
    PortBridgeHooks hooks(session);
    PortEndpoint *port = hooks.createEndpoint(session, session);
    TcpListenerEndpoint listener(listenPort, address);
    listener.applyTuning(config.fanoutMode, config.allowedPeers);
    QObject::connect(port, &BridgeEndpoint::endpointMessage, session,
                     [&out](const QString &text) { out.error(text); });
    QObject::connect(&listener, &BridgeEndpoint::endpointMessage, session,
                     [&out](const QString &text) { out.error(text); });
    listener.ensureOpen();
    if (!listener.isOpen()) {
        session->close();
        return ExitConnection;
    }
    // The served connection is tuned for forwarding as in the bridge command.
    hooks.applyBridgeState(true, config.fanoutMode, config.allowedPeers);
    BridgeLink link(config, port, &listener);
    QObject::connect(&link, &BridgeLink::message, session,
                     [&out](const QString &text) { out.error(text); });
    link.start();
    out.error(tr("Serving %1 on TCP port %2.").arg(session->label()).arg(listener.serverPort()));

    CommandLoop loop;
    loop.watch(&opener);
    const CommandLoop::End end = loop.exec();
    link.stop();
    listener.close();
    session->close();
    if (end == CommandLoop::ConnectionLost) {
        out.error(loop.lostReason());
        return ExitConnection;
    }
    return end == CommandLoop::Interrupted ? ExitInterrupted : ExitOk;
}
