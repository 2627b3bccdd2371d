#include "cli/hostcommand.h"

#include "cli/clioutput.h"
#include "cli/cloudsignin.h"
#include "cli/commandloop.h"
#include "cli/durationoption.h"
#include "cloud/accountsession.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/networkservices.h"
#include "cloud/sharecode.h"
#include "cloud/sharepolicy.h"
#include "connection/connectionurl.h"
#include "connection/portdefaults.h"
#include "session/consoleport.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QEventLoop>
#include <QTimer>
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
    parser.addOption({QStringLiteral("share"),
                      tr("Invites a guest to this port (its key, such as ser-0) and prints "
                         "the invite code and link."),
                      QStringLiteral("PORT_KEY")});
    parser.addOption({QStringLiteral("level"),
                      tr("What the guest may do: view, send or control in a browser, or relay "
                         "to use the port from another Velmora (default view)."),
                      QStringLiteral("LEVEL"), QStringLiteral("view")});
    parser.addOption({QStringLiteral("ttl"),
                      tr("How long the invite lasts, in seconds: 3600, 14400, 43200 or 86400 "
                         "(default 3600)."),
                      QStringLiteral("SECONDS"), QStringLiteral("3600")});
    parser.addOption({QStringLiteral("passcode"),
                      tr("A passcode of 4 to 16 characters the guest must give."),
                      QStringLiteral("P")});
    DurationOption::add(parser);
    parser.addOption({QStringLiteral("json"), tr("One JSON object per event.")});
}

namespace {
// The share asked for on the command line.
struct ShareRequest
{
    QString portKey;
    int ttlSeconds = 0;
    QString web;
    bool relay = false;
    QString passcode;
};

// Reads --share and its options; false after a sentence in `error`. The lifetimes are
// the four a share may have: another number is refused rather than rounded, so that an
// invite never lives longer than its owner asked.
bool readShare(const QCommandLineParser &parser, ShareRequest *request, QString *error)
{
    request->portKey = parser.value(QStringLiteral("share")).trimmed();
    const QString level = parser.value(QStringLiteral("level")).trimmed().toLower();
    if (level == QLatin1String("relay")) {
        request->web = QStringLiteral("none");
        request->relay = true;
    } else if (level == QLatin1String("view") || level == QLatin1String("send") ||
               level == QLatin1String("control")) {
        request->web = level;
    } else {
        *error = HostCommand::tr("--level is view, send, control or relay, not \"%1\".")
                     .arg(parser.value(QStringLiteral("level")));
        return false;
    }
    bool ok = false;
    const qint64 ttl = parser.value(QStringLiteral("ttl")).toLongLong(&ok);
    if (!ok || !SharePolicy::isTtl(ttl)) {
        *error = HostCommand::tr("--ttl is 3600, 14400, 43200 or 86400 seconds (1, 4, 12 or "
                                 "24 hours), not \"%1\".")
                     .arg(parser.value(QStringLiteral("ttl")));
        return false;
    }
    request->ttlSeconds = int(ttl);
    request->passcode = parser.value(QStringLiteral("passcode"));
    if (!SharePolicy::isPasscode(request->passcode)) {
        *error = HostCommand::tr("A passcode is 4–16 characters.");
        return false;
    }
    return true;
}
} // namespace

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
    ShareRequest shareRequest;
    const bool sharing = parser.isSet(QStringLiteral("share"));
    if (sharing && !readShare(parser, &shareRequest, &error)) {
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
    QStringList keys;
    for (ConsolePort *port : std::as_const(ports))
        keys << port->portKey();
    if (sharing && !keys.contains(shareRequest.portKey)) {
        out.error(tr("--share %1 names none of the offered ports (%2).")
                      .arg(shareRequest.portKey, keys.join(QStringLiteral(", "))));
        return ExitUsage;
    }
    CommandLoop loop;
    bool shareFailed = false;
    QObject::connect(service, &CloudConsoleService::shareCreated, &owner,
                     [&out, service](const QString &shareId) {
                         const GuestShare share = service->share(shareId);
                         QString text = tr("Invite code %1 · %2")
                                            .arg(ShareCode::format(share.code), share.link);
                         if (!share.passcode.isEmpty())
                             text += QLatin1Char('\n') + tr("Passcode: %1").arg(share.passcode);
                         out.event(QStringLiteral("share"),
                                   {{QStringLiteral("share_id"), share.shareId},
                                    {QStringLiteral("code"), share.code},
                                    {QStringLiteral("link"), share.link},
                                    {QStringLiteral("port_key"), share.portKey},
                                    {QStringLiteral("expires_at"),
                                     QDateTime::fromMSecsSinceEpoch(share.expiresAtMs, Qt::UTC)
                                         .toString(Qt::ISODate)}},
                                   text);
                     });
    QObject::connect(service, &CloudConsoleService::shareFailed, &owner,
                     [&](const QString &text) {
                         out.error(tr("Could not create the invite: %1").arg(text));
                         shareFailed = true;
                         loop.finish();
                     });
    QObject::connect(service, &CloudConsoleService::shareEnded, &owner,
                     [&out](const QString &shareId, const QString &text) {
                         out.event(QStringLiteral("share_ended"),
                                   {{QStringLiteral("share_id"), shareId},
                                    {QStringLiteral("reason"), text}},
                                   tr("Sharing ended: %1").arg(text));
                     });
    service->setEnabled(true);
    if (sharing)
        service->createShare(shareRequest.portKey, shareRequest.ttlSeconds, QString(),
                             shareRequest.passcode, shareRequest.web, shareRequest.relay);
    out.event(QStringLiteral("hosting"),
              {{QStringLiteral("device"), device},
               {QStringLiteral("ports"), QJsonArray::fromStringList(keys)}},
              tr("Hosting %1 as %2; stop with Ctrl+C.").arg(keys.join(QStringLiteral(", ")), device));

    loop.setDuration(durationMs);
    const CommandLoop::End end = loop.exec();
    // Invites end with the run: the server is told before the program goes.
    if (service->revokeAllShares(tr("The application is closing.")) > 0) {
        QEventLoop wait;
        QObject::connect(account->network(), &NetworkServices::relayShareResponse, &wait,
                         &QEventLoop::quit);
        QObject::connect(account->network(), &NetworkServices::networkError, &wait,
                         &QEventLoop::quit);
        QTimer::singleShot(CloudSignIn::TimeoutMs, &wait, &QEventLoop::quit);
        wait.exec();
    }
    service->setEnabled(false);
    for (ConsolePort *port : std::as_const(ports))
        port->session()->close();
    if (shareFailed)
        return ExitConnection;
    return end == CommandLoop::Interrupted ? ExitInterrupted : ExitOk;
}
