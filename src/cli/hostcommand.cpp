#include "cli/hostcommand.h"

#include "cli/clioutput.h"
#include "cli/cloudsignin.h"
#include "cli/commandloop.h"
#include "cli/durationoption.h"
#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "connection/connectionurl.h"
#include "connection/portdefaults.h"
#include "session/consoleport.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QSysInfo>

QString HostCommand::summary() const
{
    return tr("Offers ports to Live Console and Live Relay through the cloud until stopped.");
}

void HostCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("URL"), tr("The connections to offer."),
                                 QStringLiteral("URL..."));
    CloudSignIn::addOptions(parser);
    parser.addOption({QStringLiteral("device-name"),
                      tr("The name this computer has in the account (default: its host name)."),
                      QStringLiteral("N")});
    parser.addOption({QStringLiteral("allow-send"), tr("A browser may send data to the ports.")});
    parser.addOption({QStringLiteral("allow-control"),
                      tr("A browser may open, close and configure the ports.")});
    parser.addOption({QStringLiteral("allow-relay"),
                      tr("Another computer may use the ports through Live Relay.")});
    DurationOption::add(parser);
    parser.addOption({QStringLiteral("json"), tr("One JSON object per event.")});
}

int HostCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    const QStringList urls = parser.positionalArguments();
    if (urls.isEmpty()) {
        out.error(tr("Name at least one port to offer."));
        return ExitUsage;
    }
    if (urls.size() > 16) {
        out.error(tr("At most 16 ports can be offered."));
        return ExitUsage;
    }
    qint64 durationMs = -1;
    QString error;
    if (!DurationOption::read(parser, &durationMs, &error)) {
        out.error(error);
        return ExitUsage;
    }
    if (!CloudSignIn::check(parser, out)) {
        return ExitUsage;
    }
    QObject owner;
    QList<ConsolePort *> ports;
    for (qsizetype i = 0; i < urls.size(); ++i) {
        Settings settings;
        if (!ConnectionUrl::parse(urls.at(i), PortDefaults::portSettings(QString()), &settings,
                                  &error)) {
            out.error(error);
            return ExitUsage;
        }
        if (settings.connMode == ModeLiveRelay) {
            out.error(tr("%1: a relay port cannot be offered again.").arg(urls.at(i)));
            return ExitUsage;
        }
        auto *session = new PortSession(&owner);
        session->settings() = settings;
        session->format().logSaveFlag = false;
        session->portNumber() = int(i) + 1;
        if (!session->open()) {
            out.error(tr("Could not open %1: %2").arg(urls.at(i), session->lastError()));
            return ExitConnection;
        }
        // A device that goes away is opened again when it comes back.
        session->setAutoReconnect(true);
        ports << new ConsolePort(session, session);
    }

    const QString device = parser.value(QStringLiteral("device-name")).trimmed().isEmpty()
                               ? QSysInfo::machineHostName()
                               : parser.value(QStringLiteral("device-name")).trimmed();
    AccountSession *account = CloudSignIn::signIn(parser, device, &owner, out);
    if (!account) {
        return ExitConnection;
    }
    auto *service = new CloudConsoleService(account, CloudSignIn::cidFor(device), &owner);
    service->setAllowRemoteSend(parser.isSet(QStringLiteral("allow-send")));
    service->setAllowPortControl(parser.isSet(QStringLiteral("allow-control")));
    service->setAllowRemoteRelay(parser.isSet(QStringLiteral("allow-relay")));
    service->setPortListProvider([ports] { return ports; });

    QObject::connect(service, &CloudConsoleService::commandFinished, &owner,
                     [&out](const QString &command, const QString &portKey, bool ok,
                            const QString &code, const QString &message) {
                         const QString text =
                             ok ? tr("%1 %2: done").arg(command, portKey)
                                : tr("%1 %2: refused (%3) %4").arg(command, portKey, code, message);
                         out.event(QStringLiteral("command"),
                                   {{QStringLiteral("command"), command},
                                    {QStringLiteral("port_key"), portKey},
                                    {QStringLiteral("ok"), ok},
                                    {QStringLiteral("error_code"), code},
                                    {QStringLiteral("message"), message}},
                                   text);
                     });
    QObject::connect(service, &CloudConsoleService::relayEngaged, &owner,
                     [&out](const QString &portKey, const QString &guest) {
                         out.event(QStringLiteral("relay"),
                                   {{QStringLiteral("port_key"), portKey},
                                    {QStringLiteral("state"), QStringLiteral("engaged")},
                                    {QStringLiteral("guest"), guest}},
                                   tr("%1: Live Relay with %2").arg(portKey, guest));
                     });
    QObject::connect(service, &CloudConsoleService::relayEnded, &owner,
                     [&out](const QString &portKey, const QString &reason) {
                         out.event(QStringLiteral("relay"),
                                   {{QStringLiteral("port_key"), portKey},
                                    {QStringLiteral("state"), QStringLiteral("ended")},
                                    {QStringLiteral("reason"), reason}},
                                   tr("%1: Live Relay ended: %2").arg(portKey, reason));
                     });
    QObject::connect(service, &CloudConsoleService::stoppedItself, &owner,
                     [&out](const QString &text) { out.error(text); });
    service->setEnabled(true);
    QStringList keys;
    for (ConsolePort *port : std::as_const(ports))
        keys << port->portKey();
    out.event(QStringLiteral("hosting"),
              {{QStringLiteral("device"), device},
               {QStringLiteral("ports"), QJsonArray::fromStringList(keys)}},
              tr("Hosting %1 as %2; stop with Ctrl+C.").arg(keys.join(QStringLiteral(", ")), device));

    CommandLoop loop;
    loop.setDuration(durationMs);
    const CommandLoop::End end = loop.exec();
    service->setEnabled(false);
    for (ConsolePort *port : std::as_const(ports))
        port->session()->close();
    return end == CommandLoop::Interrupted ? ExitInterrupted : ExitOk;
}
