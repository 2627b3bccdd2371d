#include "cli/bridgecommand.h"

#include "bridge/bridgelink.h"
#include "bridge/portendpoint.h"
#include "cli/clioutput.h"
#include "cli/commandloop.h"
#include "cli/portopener.h"
#include "session/portbridgehooks.h"
#include "session/portsession.h"

#include <QCommandLineParser>

QString BridgeCommand::summary() const
{
    return tr("Forwards between two connections, both ways.");
}

void BridgeCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL_A"), tr("The first connection."));
    parser.addPositionalArgument(QStringLiteral("URL_B"), tr("The second connection."));
    PortOpener::addOptions(parser);
    parser.addOption({QStringLiteral("capture"),
                      tr("Writes both directions to FILE as a trace."), QStringLiteral("FILE")});
}

int BridgeCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const QStringList urls = parser.positionalArguments();
    if (urls.size() != 2) {
        out.error(tr("bridge needs two connections: URL_A URL_B."));
        return ExitUsage;
    }
    BridgeConfig config;
    config.name = QStringLiteral("bridge");
    config.portA = 0;
    config.portB = 1;
    config.autoOpenPeer = false;
    config.showForwardedInDisplay = false;
    if (parser.isSet(QStringLiteral("capture"))) {
        config.logEnabled = true;
        config.logFilePath = parser.value(QStringLiteral("capture"));
        config.logHex = true;
    }

    // Both ends are checked before either is opened, so a typo opens nothing.
    PortOpener openerA;
    PortOpener openerB;
    for (PortOpener *opener : {&openerA, &openerB}) {
        const QString &url = opener == &openerA ? urls.at(0) : urls.at(1);
        const int code = opener->prepare(parser, url, false, out);
        if (code != ExitOk) {
            return code;
        }
    }
    for (PortOpener *opener : {&openerA, &openerB}) {
        const int code = opener->open(out);
        if (code != ExitOk) {
            openerA.session()->close();
            return code;
        }
    }
    PortSession *a = openerA.session();
    PortSession *b = openerB.session();
    PortBridgeHooks hooksA(a);
    PortBridgeHooks hooksB(b);
    PortEndpoint *endA = hooksA.createEndpoint(a, a);
    PortEndpoint *endB = hooksB.createEndpoint(b, b);
    BridgeLink link(config, endA, endB);
    for (BridgeEndpoint *end : {static_cast<BridgeEndpoint *>(endA), static_cast<BridgeEndpoint *>(endB)}) {
        QObject::connect(end, &BridgeEndpoint::endpointMessage, &link,
                         [&out](const QString &text) { out.error(text); });
    }
    QObject::connect(&link, &BridgeLink::message, &link,
                     [&out](const QString &text) { out.error(text); });
    hooksA.applyBridgeState(true, config.fanoutMode, config.allowedPeers);
    hooksB.applyBridgeState(true, config.fanoutMode, config.allowedPeers);
    link.start();
    out.error(tr("Bridging %1 and %2.").arg(a->label(), b->label()));

    CommandLoop loop;
    loop.watch(&openerA);
    loop.watch(&openerB);
    const CommandLoop::End end = loop.exec();
    link.stop();
    a->close();
    b->close();
    if (end == CommandLoop::ConnectionLost) {
        out.error(loop.lostReason());
        return ExitConnection;
    }
    return end == CommandLoop::Interrupted ? ExitInterrupted : ExitOk;
}
