#include "cli/portopener.h"

#include "app/projectcodec.h"
#include "automation/autoreplycodec.h"
#include "automation/commandlibrarycodec.h"
#include "bridge/rfc2217clientsession.h"
#include "cli/clicommand.h"
#include "cli/clioutput.h"
#include "cli/cloudsignin.h"
#include "cli/interruptwatcher.h"
#include "connection/connectioncontroller.h"
#include "connection/connectionurl.h"
#include "connection/portdefaults.h"
#include "connection/wiretextcodecregistry.h"
#include "cloud/relaydialer.h"
#include "scripting/scriptlibrarycodec.h"
#include "session/portsession.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFileInfo>
#include <QSettings>
#include <QTimer>

namespace {
// How long a TCP client may take to connect before the command gives up.
constexpr int ConnectTimeoutMs = 10000;
// A relay first asks the server for a ticket, then waits for the far computer to join
// (the socket gives up on its own after 30 s).
constexpr int RelayTimeoutMs = 45000;

const QCommandLineOption &projectOption()
{
    static const QCommandLineOption option(
        QStringLiteral("project"),
        CliCommand::tr("A project file (.vlm): its port's settings, rules and libraries."),
        QStringLiteral("FILE"));
    return option;
}

const QCommandLineOption &portOption()
{
    static const QCommandLineOption option(
        QStringLiteral("port"), CliCommand::tr("The project's port, numbered from 1 (default 1)."),
        QStringLiteral("N"), QStringLiteral("1"));
    return option;
}
} // namespace

PortOpener::PortOpener(QObject *parent)
    : QObject(parent)
    , portSession(new PortSession(this))
{
}

PortOpener::~PortOpener() = default;

void PortOpener::addOptions(QCommandLineParser &parser)
{
    parser.addOption(projectOption());
    parser.addOption(portOption());
    addCloudOptions(parser);
}

void PortOpener::addCloudOptions(QCommandLineParser &parser)
{
    CloudSignIn::addOptions(parser);
    parser.addOption({QStringLiteral("guest-name"),
                      CliCommand::tr("The name a share's owner sees for this guest (share:// "
                                     "connections)."),
                      QStringLiteral("NAME")});
}

int PortOpener::prepare(const QCommandLineParser &parser, const QString &url,
                        bool projectRequired, CliOutput &out)
{
    Settings settings = PortDefaults::portSettings(QString());
    FormatSetting format = PortDefaults::formatSettings();
    projectPath = parser.value(projectOption());
    if (projectPath.isEmpty() && projectRequired) {
        out.error(CliCommand::tr("This command needs --project FILE."));
        return CliCommand::ExitUsage;
    }
    if (projectPath.isEmpty() && parser.isSet(portOption())) {
        out.error(CliCommand::tr("--port names a port of a project: give --project FILE too."));
        return CliCommand::ExitUsage;
    }
    if (!projectPath.isEmpty()) {
        if (!QFileInfo(projectPath).isReadable()) {
            out.error(CliCommand::tr("Cannot read the project %1.").arg(projectPath));
            return CliCommand::ExitUsage;
        }
        QSettings file(projectPath, QSettings::IniFormat);
        if (file.status() != QSettings::NoError || !ProjectCodec::looksLikeProject(file)) {
            out.error(CliCommand::tr("%1 is not a Velmora project file.").arg(projectPath));
            return CliCommand::ExitUsage;
        }
        const ProjectRecord project =
            ProjectCodec::load(file, &WireTextCodecRegistry::normalizeName);
        bool ok = false;
        const int number = parser.value(portOption()).toInt(&ok);
        if (!ok || number < 1 || number > project.portCount()) {
            out.error(CliCommand::tr("--port %1: the project has ports 1 to %2.")
                          .arg(parser.value(portOption()))
                          .arg(project.portCount()));
            return CliCommand::ExitUsage;
        }
        settings = project.ports.at(number - 1).settings;
        format = project.ports.at(number - 1).format;
        rules = AutoReplyCodec::load(file, AutoReplyCodec::projectPrefix(QString::number(number - 1)));
        library = CommandLibraryCodec::load(file, ProjectCodec::commandLibraryGroup() + QLatin1Char('/'));
        scriptLibrary =
            ScriptLibraryCodec::load(file, ProjectCodec::scriptLibraryGroup() + QLatin1Char('/'));
    } else if (url.isEmpty()) {
        out.error(CliCommand::tr("Name the connection: a URL, or --project FILE --port N."));
        return CliCommand::ExitUsage;
    }
    return apply(settings, format, url, &parser, out);
}

int PortOpener::prepareUrl(const QString &url, CliOutput &out, const QCommandLineParser *parser)
{
    return apply(PortDefaults::portSettings(QString()), PortDefaults::formatSettings(), url,
                 parser, out);
}

int PortOpener::apply(const Settings &given, const FormatSetting &givenFormat, const QString &url,
                      const QCommandLineParser *parser, CliOutput &out)
{
    Settings settings = given;
    FormatSetting format = givenFormat;
    if (!url.isEmpty()) {
        QString error;
        if (!ConnectionUrl::parse(url, settings, &settings, &error)) {
            out.error(error);
            return CliCommand::ExitUsage;
        }
    }
    if (settings.connMode == ModeLiveRelay) {
        if (!parser) {
            out.error(CliCommand::tr("A cloud connection cannot be used here."));
            return CliCommand::ExitUsage;
        }
        // A guest comes in by the invite alone; a relay to the account's own computer
        // signs in.
        if (!settings.relayInviteCode.isEmpty()) {
            if (parser->value(QStringLiteral("server")).isEmpty()) {
                out.error(CliCommand::tr("A share:// connection needs --server BASE."));
                return CliCommand::ExitUsage;
            }
            settings.relayGuestName = parser->value(QStringLiteral("guest-name")).trimmed();
        } else if (!CloudSignIn::check(*parser, out)) {
            return CliCommand::ExitUsage;
        }
    }
    cloudParser = parser;
    // The window's display options mean nothing here; logging is the command's own.
    format.logSaveFlag = false;
    portSession->settings() = settings;
    portSession->format() = format;
    portSession->portNumber() = 1;
    return CliCommand::ExitOk;
}

int PortOpener::open(CliOutput &out)
{
    PortSession *session = portSession;
    ConnectionController *controller = session->connectionController();
    const auto failed = [&] {
        const QString why = session->lastError();
        out.error(why.isEmpty() ? CliCommand::tr("Could not open %1.").arg(session->label())
                                : CliCommand::tr("Could not open %1: %2").arg(session->label(), why));
        session->close();
        return CliCommand::ExitConnection;
    };
    const bool relay = session->settings().connMode == ModeLiveRelay;
    if (relay && !account) {
        account = session->settings().relayInviteCode.isEmpty()
                      ? CloudSignIn::signIn(*cloudParser, QStringLiteral("velmora-cli client"),
                                            this, out)
                      : CloudSignIn::guest(*cloudParser, this);
        if (!account) {
            return CliCommand::ExitConnection;
        }
        auto *dialer = new RelayDialer(account, this);
        dialer->attach(session);
    }
    if (!session->open()) {
        return failed();
    }
    if ((relay || connectionModeIsTcpClient(session->settings().connMode)) &&
        !session->portIsOpen()) {
        QEventLoop loop;
        bool refused = false;
        bool interrupted = false;
        connect(controller, &ConnectionController::peerArrived, &loop, &QEventLoop::quit);
        connect(controller, &ConnectionController::errorOccurred, &loop, [&] {
            refused = true;
            loop.quit();
        });
        connect(controller, &ConnectionController::cloudRelayEnded, &loop,
                [&](const QString &reason) {
                    session->setLastError(reason);
                    refused = true;
                    loop.quit();
                });
        if (InterruptWatcher *watcher = InterruptWatcher::instance()) {
            connect(watcher, &InterruptWatcher::interruptRequested, &loop, [&] {
                interrupted = true;
                loop.quit();
            });
        }
        const int timeoutMs = relay ? RelayTimeoutMs : ConnectTimeoutMs;
        QTimer::singleShot(timeoutMs, &loop, [&] {
            session->setLastError(CliCommand::tr("no answer within %1 s").arg(timeoutMs / 1000));
            refused = true;
            loop.quit();
        });
        loop.exec();
        if (interrupted) {
            session->close();
            return CliCommand::ExitInterrupted;
        }
        if (refused || !session->portIsOpen()) {
            return failed();
        }
    }
    if (connectionModeIsRemoteSerial(session->settings().connMode) &&
        session->rfc2217Session().state() == Rfc2217ClientSession::Negotiating) {
        // The command starts once the far end has taken com-port control (and the line
        // parameters are on their way) or the session has fallen back; that takes at most
        // the session's negotiation time.
        QEventLoop loop;
        bool interrupted = false;
        connect(session, &PortSession::remoteSerialChanged, &loop, [&] {
            if (session->rfc2217Session().state() != Rfc2217ClientSession::Negotiating) {
                loop.quit();
            }
        });
        connect(controller, &ConnectionController::tcpClientDisconnected, &loop,
                &QEventLoop::quit);
        connect(controller, &ConnectionController::cloudRelayEnded, &loop, [&](const QString &why) {
            session->setLastError(why);
            loop.quit();
        });
        if (InterruptWatcher *watcher = InterruptWatcher::instance()) {
            connect(watcher, &InterruptWatcher::interruptRequested, &loop, [&] {
                interrupted = true;
                loop.quit();
            });
        }
        loop.exec();
        if (interrupted) {
            session->close();
            return CliCommand::ExitInterrupted;
        }
        if (!session->portIsOpen()) {
            return failed();
        }
    }
    connect(controller, &ConnectionController::serialPortLost, this,
            [this] { Q_EMIT lost(CliCommand::tr("The serial port went away.")); });
    connect(controller, &ConnectionController::tcpClientDisconnected, this,
            [this] { Q_EMIT lost(CliCommand::tr("The peer closed the connection.")); });
    connect(controller, &ConnectionController::cloudRelayEnded, this,
            [this](const QString &reason) { Q_EMIT lost(reason); });
    return CliCommand::ExitOk;
}
