#include "cli/cloudsignin.h"

#include "cli/clioutput.h"
#include "cli/interruptwatcher.h"
#include "cloud/accountsession.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFile>
#include <QJsonObject>
#include <QSysInfo>
#include <QTimer>

namespace {
const QString serverName = QStringLiteral("server");
const QString loginName = QStringLiteral("login");
const QString passwordName = QStringLiteral("password-file");

QString readPassword(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = CloudSignIn::tr("Cannot read the password file %1: %2")
                     .arg(path, file.errorString());
        return QString();
    }
    // The first line is the password; a trailing line break is no part of it.
    QByteArray line = file.readLine(4096);
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    if (line.isEmpty())
        *error = CloudSignIn::tr("The password file %1 is empty.").arg(path);
    return QString::fromUtf8(line);
}
} // namespace

void CloudSignIn::addOptions(QCommandLineParser &parser)
{
    parser.addOption({serverName, tr("The cloud server's address, such as https://HOST."),
                      QStringLiteral("BASE")});
    parser.addOption({loginName, tr("The cloud account's email address."),
                      QStringLiteral("EMAIL")});
    parser.addOption({passwordName, tr("A file whose first line is the account's password."),
                      QStringLiteral("F")});
}

bool CloudSignIn::requested(const QCommandLineParser &parser)
{
    return parser.isSet(serverName) || parser.isSet(loginName) || parser.isSet(passwordName);
}

bool CloudSignIn::check(const QCommandLineParser &parser, CliOutput &out)
{
    if (parser.value(serverName).isEmpty() || parser.value(loginName).isEmpty() ||
        parser.value(passwordName).isEmpty()) {
        out.error(tr("The cloud needs --server BASE, --login EMAIL and --password-file F."));
        return false;
    }
    QString error;
    readPassword(parser.value(passwordName), &error);
    if (!error.isEmpty()) {
        out.error(error);
        return false;
    }
    return true;
}

QString CloudSignIn::cidFor(const QString &deviceName)
{
    return DeviceIdentity::generateCid(QSysInfo::machineUniqueId() + '\n' + deviceName.toUtf8());
}

AccountSession *CloudSignIn::guest(const QCommandLineParser &parser, QObject *parent)
{
    PrivacyConsent::grant();
    auto *net = new NetworkServices(parent);
    net->setHostAddress(parser.value(serverName));
    return new AccountSession(net, QString(), parent);
}

AccountSession *CloudSignIn::signIn(const QCommandLineParser &parser, const QString &deviceName,
                                    QObject *parent, CliOutput &out)
{
    QString error;
    const QString password = readPassword(parser.value(passwordName), &error);
    if (!error.isEmpty()) {
        out.error(error);
        return nullptr;
    }
    // Naming the server on the command line is the user's consent to talk to it.
    PrivacyConsent::grant();
    auto *net = new NetworkServices(parent);
    net->setHostAddress(parser.value(serverName));
    auto *account = new AccountSession(net, QString(), parent);

    QEventLoop loop;
    QString failure;
    bool interrupted = false;
    QObject::connect(net, &NetworkServices::accountResponse, &loop,
                     [&](const QJsonObject &object) {
                         if (object.contains(QStringLiteral("access_token"))) {
                             account->applyLoginResponse(object);
                         } else {
                             failure = object.value(QStringLiteral("description")).toString();
                             if (failure.isEmpty())
                                 failure = tr("the server refused the sign-in");
                         }
                         loop.quit();
                     });
    QObject::connect(net, &NetworkServices::networkError, &loop,
                     [&](const QString &tag, const QString &message) {
                         if (tag == QLatin1String("account")) {
                             failure = message;
                             loop.quit();
                         }
                     });
    if (InterruptWatcher *watcher = InterruptWatcher::instance()) {
        QObject::connect(watcher, &InterruptWatcher::interruptRequested, &loop, [&] {
            interrupted = true;
            loop.quit();
        });
    }
    QTimer::singleShot(TimeoutMs, &loop, [&] {
        failure = tr("no answer within %1 s").arg(TimeoutMs / 1000);
        loop.quit();
    });
    net->loginAccount(parser.value(loginName), password, cidFor(deviceName), deviceName,
                      QCoreApplication::applicationVersion());
    loop.exec();
    if (interrupted || !account->isSignedIn()) {
        if (!interrupted)
            out.error(tr("Could not sign in to %1 as %2: %3")
                          .arg(parser.value(serverName), parser.value(loginName), failure));
        delete account;
        delete net;
        return nullptr;
    }
    return account;
}
