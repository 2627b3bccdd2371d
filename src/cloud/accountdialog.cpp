#include "cloud/accountdialog.h"

#include "cloud/accountsession.h"
#include "cloud/deviceidentity.h"
#include "cloud/networkservices.h"
#include "cloud/privacyconsent.h"
#include "cloud/privacyconsentdialog.h"
#include "cloud/profilesettings.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {
QLineEdit *passwordField(QWidget *parent, const char *name)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(QLatin1String(name));
    edit->setEchoMode(QLineEdit::Password);
    return edit;
}
} // namespace

AccountDialog::AccountDialog(QWidget *parent, AccountSession *accountSession)
    : QDialog(parent)
    , session(accountSession ? accountSession : AccountSession::instance())
{
    setObjectName(QStringLiteral("accountDialog"));
    setWindowTitle(tr("Velmora Account"));
    pages = new QTabWidget(this);
    pages->addTab(buildSignInPage(), tr("Sign In"));
    pages->addTab(buildRegisterPage(), tr("Create Account"));
    statusLabel = new QLabel(this);
    statusLabel->setObjectName(QStringLiteral("accountStatusText"));
    statusLabel->setWordWrap(true);
    statusLabel->setMinimumHeight(statusLabel->fontMetrics().height() * 2);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(pages);
    layout->addWidget(statusLabel);
    layout->addWidget(buttons);

    replyTimer = new QTimer(this);
    replyTimer->setSingleShot(true);
    connect(replyTimer, &QTimer::timeout, this, [this] {
        if (working) {
            working = false;
            setStatus(tr("No reply from the server. Please try again."), true);
        }
    });
    NetworkServices *net = session->network();
    connect(net, &NetworkServices::accountResponse, this, &AccountDialog::onReply);
    connect(net, &NetworkServices::networkError, this,
            [this](const QString &tag, const QString &message, const QString &) {
                onNetworkError(tag, message);
            });
    emailEdit->setText(session->email());
    rememberBox->setChecked(session->rememberSession());
    (session->email().isEmpty() ? emailEdit : passwordEdit)->setFocus();
    setMinimumWidth(440);
}

QWidget *AccountDialog::buildSignInPage()
{
    auto *page = new QWidget(this);
    emailEdit = new QLineEdit(page);
    emailEdit->setObjectName(QStringLiteral("emailEdit"));
    passwordEdit = passwordField(page, "passwordEdit");
    rememberBox = new QCheckBox(tr("Keep me signed in"), page);
    rememberBox->setObjectName(QStringLiteral("rememberBox"));
    signInButton = new QPushButton(tr("Sign In"), page);
    signInButton->setObjectName(QStringLiteral("signInButton"));
    signInButton->setDefault(true);
    connect(signInButton, &QPushButton::clicked, this, &AccountDialog::signIn);
    connect(passwordEdit, &QLineEdit::returnPressed, this, &AccountDialog::signIn);
    auto *form = new QFormLayout(page);
    form->addRow(tr("Email"), emailEdit);
    form->addRow(tr("Password"), passwordEdit);
    form->addRow(QString(), rememberBox);
    form->addRow(QString(), signInButton);
    return page;
}

QWidget *AccountDialog::buildRegisterPage()
{
    auto *page = new QWidget(this);
    regEmailEdit = new QLineEdit(page);
    regEmailEdit->setObjectName(QStringLiteral("regEmailEdit"));
    regUsernameEdit = new QLineEdit(page);
    regUsernameEdit->setObjectName(QStringLiteral("regUsernameEdit"));
    regPasswordEdit = passwordField(page, "regPasswordEdit");
    regConfirmEdit = passwordField(page, "regConfirmEdit");
    regCodeEdit = new QLineEdit(page);
    regCodeEdit->setObjectName(QStringLiteral("regCodeEdit"));
    sendCodeButton = new QPushButton(tr("Send Code"), page);
    sendCodeButton->setObjectName(QStringLiteral("sendCodeButton"));
    connect(sendCodeButton, &QPushButton::clicked, this, &AccountDialog::sendCode);
    auto *codeRow = new QHBoxLayout;
    codeRow->addWidget(regCodeEdit, 1);
    codeRow->addWidget(sendCodeButton);
    const QString host = session->network()->hostAddress();
    termsBox = new QCheckBox(page);
    termsBox->setObjectName(QStringLiteral("termsBox"));
    auto *terms = new QLabel(tr("I agree to the <a href=\"%1\">Terms of Service</a> and have "
                                "read the <a href=\"%2\">Privacy Policy</a>.")
                                 .arg((host + QStringLiteral("/terms")).toHtmlEscaped(),
                                      (host + QStringLiteral("/privacy")).toHtmlEscaped()),
                             page);
    terms->setOpenExternalLinks(true);
    terms->setWordWrap(true);
    auto *termsRow = new QHBoxLayout;
    termsRow->addWidget(termsBox);
    termsRow->addWidget(terms, 1);
    registerButton = new QPushButton(tr("Create Account"), page);
    registerButton->setObjectName(QStringLiteral("registerButton"));
    connect(registerButton, &QPushButton::clicked, this, &AccountDialog::createAccount);
    auto *form = new QFormLayout(page);
    form->addRow(tr("Email"), regEmailEdit);
    form->addRow(tr("Username"), regUsernameEdit);
    form->addRow(tr("Password"), regPasswordEdit);
    form->addRow(tr("Confirm"), regConfirmEdit);
    form->addRow(tr("Code"), codeRow);
    form->addRow(QString(), termsRow);
    form->addRow(QString(), registerButton);
    return page;
}

void AccountDialog::showRegisterPage()
{
    pages->setCurrentIndex(1);
}

QString AccountDialog::statusText() const
{
    return statusLabel->text();
}

bool AccountDialog::isWorking() const
{
    return working;
}

QString AccountDialog::cid() const
{
    return DeviceIdentity::cid(*ProfileSettings::open(session->settingsFile()));
}

QString AccountDialog::deviceName() const
{
    return DeviceIdentity::name(*ProfileSettings::open(session->settingsFile()));
}

bool AccountDialog::consentReady()
{
    if (PrivacyConsent::given()) {
        return true;
    }
    PrivacyConsentDialog consent(this);
    consent.exec();
    if (!PrivacyConsent::given()) {
        setStatus(tr("Signing in needs the online features. Allow them under Cloud > Privacy "
                     "and Online Features..."),
                  true);
        return false;
    }
    return true;
}

void AccountDialog::setWorking(const QString &text)
{
    working = true;
    setStatus(text, false);
    replyTimer->start(ReplyWaitMs);
}

void AccountDialog::setStatus(const QString &text, bool error)
{
    statusLabel->setText(text);
    statusLabel->setStyleSheet(error ? QStringLiteral("color: #d32f2f;") : QString());
    for (QPushButton *button : {signInButton, sendCodeButton, registerButton}) {
        button->setEnabled(!working);
    }
}

void AccountDialog::signIn()
{
    if (working) {
        return;
    }
    const QString email = emailEdit->text().trimmed();
    if (email.isEmpty() || passwordEdit->text().isEmpty()) {
        setStatus(tr("Please enter your email and password."), true);
        return;
    }
    if (!consentReady()) {
        return;
    }
    setWorking(tr("Signing in…"));
    session->network()->loginAccount(email, passwordEdit->text(), cid(), deviceName(),
                                     QCoreApplication::applicationVersion());
}

void AccountDialog::sendCode()
{
    if (working) {
        return;
    }
    const QString email = regEmailEdit->text().trimmed();
    if (email.isEmpty()) {
        setStatus(tr("Please enter an email address."), true);
        return;
    }
    if (!consentReady()) {
        return;
    }
    setWorking(tr("Sending the code…"));
    session->network()->sendRegisterCode(email);
}

void AccountDialog::createAccount()
{
    if (working) {
        return;
    }
    const QString email = regEmailEdit->text().trimmed();
    if (email.isEmpty()) {
        setStatus(tr("Please enter an email address."), true);
        return;
    }
    if (regUsernameEdit->text().trimmed().isEmpty() || regPasswordEdit->text().isEmpty() ||
        regCodeEdit->text().trimmed().isEmpty()) {
        setStatus(tr("Please fill in the user name, the password and the code from the mail."),
                  true);
        return;
    }
    if (regPasswordEdit->text() != regConfirmEdit->text()) {
        setStatus(tr("Passwords do not match."), true);
        return;
    }
    if (!termsBox->isChecked()) {
        setStatus(tr("Please accept the Terms of Service and the Privacy Policy to create an "
                     "account."),
                  true);
        return;
    }
    if (!consentReady()) {
        return;
    }
    setWorking(tr("Creating the account…"));
    session->network()->registerAccount(email, regUsernameEdit->text().trimmed(),
                                        regPasswordEdit->text(), regCodeEdit->text().trimmed(),
                                        cid(), deviceName(), QCoreApplication::applicationVersion());
}

void AccountDialog::onReply(const QJsonObject &object)
{
    if (!working) {
        return;
    }
    working = false;
    replyTimer->stop();
    const QString description = object.value(QStringLiteral("description")).toString();
    if (!object.value(QStringLiteral("status")).toBool()) {
        // Every refusal, "account_pending_review" among them, leaves the form open.
        setStatus(description.isEmpty() ? tr("Request failed.") : description, true);
        return;
    }
    if (object.contains(QStringLiteral("access_token"))) {
        session->setRememberSession(rememberBox->isChecked());
        session->applyLoginResponse(object);
        passwordEdit->clear();
        regPasswordEdit->clear();
        regConfirmEdit->clear();
        setStatus(description, false);
        accept();
        return;
    }
    setStatus(description.isEmpty() ? tr("Request completed.") : description, false);
}

void AccountDialog::onNetworkError(const QString &tag, const QString &message)
{
    if (!working || tag != QLatin1String("account")) {
        return;
    }
    working = false;
    replyTimer->stop();
    setStatus(message, true);
}
