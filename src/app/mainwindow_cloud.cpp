// The cloud in the main window: the Cloud menu, the account label of the status bar and
// its menu, settings sync with its conflict question, the consent, and the checks run
// once the window is up (the release check, and with consent the client report).

#include "app/mainwindow.h"

#include "common/logging.h"
#include "cloud/accountdialog.h"
#include "cloud/accountsession.h"
#include "cloud/config.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloud/privacyconsentdialog.h"
#include "cloud/sessionsynccoordinator.h"

#include <QAction>
#include <QCursor>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSysInfo>
#include <QTimer>
#include <QVersionNumber>

namespace {
using ConflictChoice = SessionSyncCoordinator::ConflictChoice;

bool syncEnabled()
{
    return QSettings().value(QStringLiteral("AccountSyncSettings"), true).toBool();
}

QString cloudCid()
{
    QSettings settings;
    return DeviceIdentity::cid(settings);
}

QString noServerText()
{
    return MainWindow::tr("No cloud server is set: enter one as \"Cloud server\" in Edit > "
                          "Settings..., on the Cloud page.");
}
} // namespace

void MainWindow::createCloudActions()
{
    cloudMenu = menuBar()->addMenu(tr("&Cloud"));
    cloudMenu->setObjectName(QStringLiteral("cloudMenu"));
    acCloudNoServer = cloudMenu->addAction(noServerText());
    acCloudNoServer->setObjectName(QStringLiteral("acCloudNoServer"));
    connect(acCloudNoServer, &QAction::triggered, this, [this] { openSettingsDialog(true); });
    acAccountSignIn = cloudMenu->addAction(tr("Sign In..."));
    acAccountSignIn->setObjectName(QStringLiteral("acAccountSignIn"));
    connect(acAccountSignIn, &QAction::triggered, this, [this] { openAccountDialog(); });
    acAccountSignOut = cloudMenu->addAction(tr("Sign Out"));
    acAccountSignOut->setObjectName(QStringLiteral("acAccountSignOut"));
    connect(acAccountSignOut, &QAction::triggered, this, &MainWindow::signOutAccount);
    cloudMenu->addSeparator();
    acAccountSyncNow = cloudMenu->addAction(tr("Sync Now"));
    acAccountSyncNow->setObjectName(QStringLiteral("acAccountSyncNow"));
    connect(acAccountSyncNow, &QAction::triggered, this, &MainWindow::syncNow);
    QAction *syncSettings = cloudMenu->addAction(tr("Sync Settings..."));
    syncSettings->setObjectName(QStringLiteral("acAccountSyncSettings"));
    connect(syncSettings, &QAction::triggered, this, &MainWindow::on_acAccountSyncSettings_triggered);
    QAction *deviceName = cloudMenu->addAction(tr("This Computer's Name..."));
    deviceName->setObjectName(QStringLiteral("acAccountDeviceName"));
    connect(deviceName, &QAction::triggered, this, &MainWindow::on_acAccountDeviceName_triggered);
    cloudMenu->addSeparator();
    QAction *privacy = cloudMenu->addAction(tr("Privacy and Online Features..."));
    privacy->setObjectName(QStringLiteral("acCloudPrivacy"));
    connect(privacy, &QAction::triggered, this, [this] {
        PrivacyConsentDialog dialog(this);
        dialog.exec();
    });
    connect(cloudMenu, &QMenu::aboutToShow, this, &MainWindow::updateCloudConsentActions);
}

void MainWindow::setupCloud()
{
    SessionSyncCoordinator::Hooks hooks;
    hooks.currentState = [this] { return currentSessionState(); };
    hooks.applyState = [this](const SessionState &state) { applySessionState(state); };
    hooks.confirmSync = [this] {
        if (signInHook) {
            return signInHook();
        }
        // A manual sync with nobody signed in offers the sign-in, and goes on after it.
        if (Config::dasHostAddress().isEmpty()) {
            showStatusNotice(noServerText(), NoticeWarning);
            return false;
        }
        AccountDialog dialog(this);
        if (dialog.exec() != QDialog::Accepted) {
            return false;
        }
        updateAccountStatus();
        updateCloudConsentActions();
        configureAutoSyncTimer();
        return true;
    };
    sessionSync = new SessionSyncCoordinator(hooks, this);
    SessionSyncCoordinator *sync = sessionSync;
    connect(sync, &SessionSyncCoordinator::began, this,
            [this] { showStatusNotice(tr("Syncing settings…")); });
    connect(sync, &SessionSyncCoordinator::succeeded, this, [this](bool changed) {
        showStatusNotice(changed ? tr("Settings synced; this computer took over changes.")
                                 : tr("Settings synced."));
    });
    connect(sync, &SessionSyncCoordinator::failed, this, [this](const QString &text, bool) {
        showStatusNotice(text.isEmpty() ? tr("Sync failed.") : tr("Sync failed: %1").arg(text),
                         NoticeWarning);
    });
    connect(sync, &SessionSyncCoordinator::cancelled, this,
            [this] { showStatusNotice(tr("Sync cancelled; nothing was changed.")); });
    connect(sync, &SessionSyncCoordinator::conflictDeferred, this, [this] {
        showStatusNotice(tr("Cloud settings changed; use Sync Now to resolve."), NoticeWarning);
    });
    connect(sync, &SessionSyncCoordinator::conflictChoiceNeeded, this,
            [this] { QTimer::singleShot(0, this, &MainWindow::askSyncConflict); });
    connect(sync, &SessionSyncCoordinator::cloudApplied, this,
            [this](const SessionState &, int language) {
                QSettings settings;
                if (settings.value(QStringLiteral("ValueL"), 0).toInt() != language) {
                    settings.setValue(QStringLiteral("ValueL"), language);
                    showStatusNotice(tr("Settings from the cloud are applied; the language "
                                        "changes when Velmora starts again."));
                } else {
                    showStatusNotice(tr("Settings from the cloud are applied."));
                }
            });
    connect(sync, &SessionSyncCoordinator::incompatible, this, [this] {
        showStatusNotice(tr("The cloud settings come from a newer Velmora and were left alone."),
                         NoticeWarning);
    });
    connect(sync, &SessionSyncCoordinator::signInExpired, this,
            [this](const QString &text, bool) {
                updateAccountStatus();
                showStatusNotice(tr("Sign in again to sync settings."), NoticeWarning, -1, text);
            });

    AccountSession *session = AccountSession::instance();
    connect(session, &AccountSession::changed, this, [this] {
        updateAccountStatus();
        configureAutoSyncTimer();
    });
    NetworkServices *net = NetworkServices::instance();
    connect(net, &NetworkServices::releaseResponse, this, &MainWindow::onReleaseResponse);
    connect(net, &NetworkServices::cloudQuotaResponse, this, [](const QJsonObject &object) {
        if (object.value(QStringLiteral("status")).toBool()) {
            AccountSession::instance()->setUpRemaining(
                qint64(object.value(QStringLiteral("up_remaining")).toDouble()),
                object.value(QStringLiteral("exhausted")).toBool());
        }
    });

    connect(PrivacyConsentEvents::instance(), &PrivacyConsentEvents::withdrawing, this, [this] {
        // The consent still holds while this runs: the sign-out reaches the server.
        autoSyncTimer->stop();
        if (AccountSession::instance()->isSignedIn() ||
            AccountSession::instance()->hasRefreshToken()) {
            AccountSession::instance()->signOut();
            showStatusNotice(tr("Online features are off; this computer is signed out."));
        }
        updateCloudConsentActions();
    });
    connect(PrivacyConsentEvents::instance(), &PrivacyConsentEvents::granted, this, [this] {
        updateCloudConsentActions();
        restoreAccountSession();
    });

    autoSyncTimer = new QTimer(this);
    autoSyncTimer->setObjectName(QStringLiteral("autoSyncTimer"));
    connect(autoSyncTimer, &QTimer::timeout, this, &MainWindow::runAutomaticSync);
    updateAccountStatus();
    updateCloudConsentActions();
    configureAutoSyncTimer();
    restoreAccountSession();
    QTimer::singleShot(0, this, &MainWindow::backgroudInitialize);
}

void MainWindow::updateCloudConsentActions()
{
    if (!cloudMenu) {
        return;
    }
    const bool server = !Config::dasHostAddress().isEmpty();
    AccountSession *session = AccountSession::instance();
    const bool signedIn = session->isSignedIn() || session->hasRefreshToken();
    acCloudNoServer->setVisible(!server);
    acAccountSignIn->setEnabled(server && !signedIn);
    acAccountSignOut->setEnabled(signedIn);
    acAccountSyncNow->setEnabled(server && syncEnabled());
}

void MainWindow::restoreAccountSession()
{
    AccountSession *session = AccountSession::instance();
    if (Config::dasHostAddress().isEmpty() || !PrivacyConsent::given() ||
        !session->hasRefreshToken() || session->isSignedIn()) {
        return;
    }
    // A sync run asks for the token itself and goes on once it has one.
    if (syncEnabled() && QSettings().value(QStringLiteral("AccountAutoSync"), true).toBool()) {
        sessionSync->start(SessionSyncCoordinator::Auto);
    } else {
        session->requestTokenRefresh(cloudCid());
    }
}

void MainWindow::configureAutoSyncTimer()
{
    if (!autoSyncTimer) {
        return;
    }
    const QSettings settings;
    AccountSession *session = AccountSession::instance();
    const int minutes = std::clamp(
        settings.value(QStringLiteral("AccountAutoSyncIntervalMinutes"), 30).toInt(), 1, 24 * 60);
    const bool on = syncEnabled() &&
                    settings.value(QStringLiteral("AccountAutoSync"), true).toBool() &&
                    (session->isSignedIn() || session->hasRefreshToken()) &&
                    PrivacyConsent::given();
    if (!on) {
        autoSyncTimer->stop();
    } else if (!autoSyncTimer->isActive() || autoSyncTimer->interval() != minutes * 60000) {
        autoSyncTimer->start(minutes * 60000);
    }
}

void MainWindow::runAutomaticSync()
{
    if (syncEnabled() && PrivacyConsent::given()) {
        sessionSync->start(SessionSyncCoordinator::Auto);
    }
}

void MainWindow::syncNow()
{
    if (Config::dasHostAddress().isEmpty()) {
        showStatusNotice(noServerText(), NoticeWarning);
        return;
    }
    if (!syncEnabled()) {
        showStatusNotice(tr("Settings sync is off: turn it on in Cloud > Sync Settings..."),
                         NoticeWarning);
        return;
    }
    sessionSync->start(SessionSyncCoordinator::Manual);
}

void MainWindow::askSyncConflict()
{
    if (sessionSync->state() != SessionSyncCoordinator::State::Choosing) {
        return;
    }
    ConflictChoice choice = ConflictChoice::Cancel;
    if (syncConflictHook) {
        choice = static_cast<ConflictChoice>(syncConflictHook());
    } else {
        QMessageBox box(QMessageBox::Question, tr("Settings Sync"),
                        tr("Cloud settings are different from this computer."),
                        QMessageBox::Cancel, this);
        box.setObjectName(QStringLiteral("syncConflictBox"));
        box.setInformativeText(tr("Choose which settings to keep for this manual sync."));
        QPushButton *cloud = box.addButton(tr("Use Cloud"), QMessageBox::AcceptRole);
        QPushButton *local = box.addButton(tr("Keep Local"), QMessageBox::AcceptRole);
        QPushButton *merge = box.addButton(tr("Merge Lists"), QMessageBox::AcceptRole);
        box.exec();
        if (box.clickedButton() == cloud) {
            choice = ConflictChoice::UseCloud;
        } else if (box.clickedButton() == local) {
            choice = ConflictChoice::KeepLocal;
        } else if (box.clickedButton() == merge) {
            choice = ConflictChoice::MergeLists;
        }
    }
    sessionSync->resolveConflict(choice);
}

AccountDialog *MainWindow::openAccountDialog()
{
    if (Config::dasHostAddress().isEmpty()) {
        showStatusNotice(noServerText(), NoticeWarning);
        return nullptr;
    }
    auto *dialog = new AccountDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, &MainWindow::onAccountSignedIn);
    dialog->open();
    return dialog;
}

void MainWindow::onAccountSignedIn()
{
    AccountSession *session = AccountSession::instance();
    showStatusNotice(tr("Signed in as %1.").arg(session->displayName()));
    updateAccountStatus();
    updateCloudConsentActions();
    configureAutoSyncTimer();
    NetworkServices::instance()->fetchCloudQuota(session->accessToken());
    if (syncEnabled() && QSettings().value(QStringLiteral("AccountAutoSync"), true).toBool()) {
        sessionSync->start(SessionSyncCoordinator::Auto);
    }
}

void MainWindow::signOutAccount()
{
    AccountSession::instance()->signOut();
    autoSyncTimer->stop();
    updateCloudConsentActions();
    showStatusNotice(tr("Signed out."));
}

void MainWindow::on_acAccountSyncSettings_triggered()
{
    openSettingsDialog(true);
}

void MainWindow::on_acAccountDeviceName_triggered()
{
    QSettings settings;
    bool ok = false;
    const QString name = QInputDialog::getText(
        this, tr("This Computer's Name"), tr("The name this computer shows in your account:"),
        QLineEdit::Normal, DeviceIdentity::name(settings), &ok);
    if (!ok || name.simplified().isEmpty()) {
        return;
    }
    DeviceIdentity::setName(settings, name);
    AccountSession *session = AccountSession::instance();
    if (session->isSignedIn()) {
        NetworkServices::instance()->bindDevice(session->accessToken(), DeviceIdentity::cid(settings),
                                                DeviceIdentity::name(settings),
                                                QCoreApplication::applicationVersion());
    }
}

void MainWindow::backgroudInitialize()
{
    const QString host = Config::dasHostAddress();
    if (host.isEmpty()) {
        return;
    }
    if (PrivacyConsent::given()) {
        QJsonObject report{{QStringLiteral("client_version"), QCoreApplication::applicationVersion()},
                           {QStringLiteral("os"), QSysInfo::prettyProductName()},
                           {QStringLiteral("qt"), QString::fromLatin1(qVersion())},
                           {QStringLiteral("locale"), QLocale::system().name()}};
        NetworkServices::instance()->postClientInfo(report, cloudCid());
    } else if (PrivacyConsent::shouldAskOnStartup()) {
        auto *dialog = new PrivacyConsentDialog(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    }
    checkForUpdates();
}

void MainWindow::checkForUpdates()
{
    NetworkServices::instance()->fetchLatestRelease(QSysInfo::kernelType() + QLatin1Char('-') +
                                                    QSysInfo::currentCpuArchitecture());
}

void MainWindow::onReleaseResponse(const QJsonObject &object)
{
    if (!object.value(QStringLiteral("status")).toBool()) {
        return;
    }
    const QJsonObject release = object.value(QStringLiteral("release")).toObject();
    const QString version = release.value(QStringLiteral("version")).toString();
    if (QVersionNumber::fromString(version) >
        QVersionNumber::fromString(QCoreApplication::applicationVersion())) {
        showStatusNotice(tr("Velmora %1 is available.").arg(version.left(32)), NoticeInfo, 0,
                         release.value(QStringLiteral("url")).toString().left(512));
    }
}

QString MainWindow::accountLabelText() const
{
    const QString name = AccountSession::instance()->displayName();
    return name.isEmpty() ? tr("Not signed in") : name;
}

void MainWindow::updateAccountStatus()
{
    accountLabel->setText(
        QStringLiteral("<a href=\"account\">%1</a>").arg(accountLabelText().toHtmlEscaped()));
    accountLabel->setToolTip(tr("Click for recent messages"));
}

void MainWindow::showAccountMenu()
{
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("accountStatusMenu"));
    AccountSession *session = AccountSession::instance();
    if (Config::dasHostAddress().isEmpty()) {
        menu.addAction(noServerText(), this, [this] { openSettingsDialog(true); });
    } else if (session->isSignedIn() || session->hasRefreshToken()) {
        menu.addAction(tr("Signed in as %1").arg(session->displayName()))->setEnabled(false);
        menu.addAction(tr("Sync Now"), this, &MainWindow::syncNow);
        menu.addAction(tr("Sign Out"), this, &MainWindow::signOutAccount);
    } else {
        menu.addAction(tr("Sign In..."), this, [this] { openAccountDialog(); });
    }
    menu.addSection(tr("Recent messages"));
    if (history.isEmpty()) {
        menu.addAction(tr("No messages yet"))->setEnabled(false);
    }
    for (auto it = history.crbegin(); it != history.crend(); ++it) {
        menu.addAction(QStringLiteral("%1  %2").arg(
            it->when.toString(QStringLiteral("MM-dd HH:mm")), it->text));
    }
    menu.addSeparator();
    QAction *clear = menu.addAction(tr("Clear Message History"));
    connect(clear, &QAction::triggered, this, [this] { history.clear(); });
    menu.exec(QCursor::pos());
}
