#include "cloud/privacyconsentdialog.h"

#include "cloud/config.h"
#include "cloud/privacyconsent.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

PrivacyConsentDialog::PrivacyConsentDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("privacyConsentDialog"));
    setWindowTitle(tr("Privacy and Online Features"));
    const bool given = PrivacyConsent::given();
    const QString host = Config::dasHostAddress();

    QString text = tr("<p>Velmora works fully offline. With your consent it also talks to the "
                      "cloud server set in the settings page, for:</p>"
                      "<ul><li>signing in to your account and binding this computer to it;</li>"
                      "<li>keeping your preferences in step between your computers;</li>"
                      "<li>a short report of this program's version and system;</li>"
                      "<li>Live Console, Live Relay and guest shares, when you start them.</li>"
                      "</ul><p>The check for a newer version runs either way.</p>");
    if (!host.isEmpty()) {
        text += tr("<p>How the service treats your data: <a href=\"%1\">Privacy Policy</a>.</p>")
                    .arg((host + QStringLiteral("/privacy")).toHtmlEscaped());
    }
    if (given) {
        text += tr("<p>Online features are on. Turning them off stops the reports, signs this "
                   "computer out and turns off cloud services here.</p>");
    }
    body = new QLabel(text, this);
    body->setObjectName(QStringLiteral("privacyText"));
    body->setWordWrap(true);
    body->setTextFormat(Qt::RichText);
    body->setOpenExternalLinks(true);

    auto *buttons = new QDialogButtonBox(this);
    primary = buttons->addButton(given ? tr("Keep Online Features On") : tr("Allow"),
                                 QDialogButtonBox::AcceptRole);
    primary->setObjectName(QStringLiteral("consentPrimaryButton"));
    secondary = buttons->addButton(given ? tr("Turn Off Online Features") : tr("Not Now"),
                                   QDialogButtonBox::RejectRole);
    secondary->setObjectName(QStringLiteral("consentSecondaryButton"));
    connect(primary, &QPushButton::clicked, this, [this, given] {
        if (!given) {
            allow();
        }
        accept();
    });
    connect(secondary, &QPushButton::clicked, this, [this, given] {
        if (given) {
            turnOff();
        }
        reject();
    });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(body);
    layout->addWidget(buttons);
    setMinimumWidth(480);
    PrivacyConsent::markAsked();
}

void PrivacyConsentDialog::allow()
{
    PrivacyConsent::grant();
}

void PrivacyConsentDialog::turnOff()
{
    PrivacyConsent::withdraw();
}
