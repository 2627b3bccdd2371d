#include "cloud/guestsharedialog.h"

#include "cloud/cloudconsoleservice.h"
#include "cloud/sharecode.h"
#include "cloud/sharepolicy.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {
const QString webLevelKey = QStringLiteral("remoteAssist/webLevel");
const QString allowRelayKey = QStringLiteral("remoteAssist/allowRelay");
// The browser levels in the order the form lists them.
const char *const webLevels[] = {"none", "view", "send", "control"};

QString timeText(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("HH:mm"));
}
} // namespace

GuestShareDialog::GuestShareDialog(CloudConsoleService *service,
                                   const QList<QPair<QString, QString>> &ports,
                                   const QString &current, QWidget *parent)
    : QDialog(parent), service(service), faces(new QStackedWidget(this)),
      ticker(new QTimer(this))
{
    setWindowTitle(tr("Share Port with a Guest"));
    setObjectName(QStringLiteral("GuestShareDialog"));

    // The form.
    auto *form = new QWidget(faces);
    auto *formLayout = new QVBoxLayout(form);
    auto *fields = new QFormLayout;
    portBox = new QComboBox(form);
    for (const auto &port : ports) {
        portBox->addItem(port.second, port.first);
        if (port.first == current)
            portBox->setCurrentIndex(portBox->count() - 1);
    }
    fields->addRow(tr("Port"), portBox);
    ttlBox = new QComboBox(form);
    const QStringList ttlNames{tr("1 hour"), tr("4 hours"), tr("12 hours"), tr("24 hours")};
    for (qsizetype i = 0; i < ttlNames.size(); ++i)
        ttlBox->addItem(ttlNames.at(i), SharePolicy::ttlChoices().value(i));
    fields->addRow(tr("Valid for"), ttlBox);
    passcodeEdit = new QLineEdit(form);
    passcodeEdit->setPlaceholderText(tr("Optional, 4–16 characters"));
    passcodeEdit->setMaxLength(SharePolicy::kMaxPasscode);
    fields->addRow(tr("Passcode"), passcodeEdit);
    labelEdit = new QLineEdit(form);
    fields->addRow(tr("Label"), labelEdit);
    formLayout->addLayout(fields);

    auto *sees = new QGroupBox(tr("What the guest sees"), form);
    auto *seesLayout = new QFormLayout(sees);
    webBox = new QComboBox(sees);
    webBox->addItems({tr("Not allowed"), tr("View only"), tr("View and send"),
                      tr("View, send and port control")});
    seesLayout->addRow(tr("In a browser"), webBox);
    relayBox = new QCheckBox(tr("Also as a real serial port in Velmora (Live Relay)"), sees);
    seesLayout->addRow(relayBox);
    auto *note = new QLabel(tr("A browser guest sees decoded text that passes through the cloud; "
                               "a relay moves raw bytes the cloud never reads."),
                            sees);
    note->setWordWrap(true);
    seesLayout->addRow(note);
    formLayout->addWidget(sees);

    const QSettings settings;
    const QString lastWeb = settings.value(webLevelKey, QStringLiteral("view")).toString();
    for (int i = 0; i < 4; ++i) {
        if (lastWeb == QLatin1String(webLevels[i]))
            webBox->setCurrentIndex(i);
    }
    relayBox->setChecked(settings.value(allowRelayKey, false).toBool());

    formStatus = new QLabel(form);
    formStatus->setWordWrap(true);
    formLayout->addWidget(formStatus);
    auto *formButtons = new QDialogButtonBox(form);
    createButton = formButtons->addButton(tr("Create Invite"), QDialogButtonBox::AcceptRole);
    formButtons->addButton(QDialogButtonBox::Cancel);
    connect(createButton, &QPushButton::clicked, this, &GuestShareDialog::onCreate);
    connect(formButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    formLayout->addWidget(formButtons);
    faces->addWidget(form);

    // The invite.
    auto *sharing = new QWidget(faces);
    auto *sharingLayout = new QVBoxLayout(sharing);
    titleLabel = new QLabel(sharing);
    sharingLayout->addWidget(titleLabel);
    auto *codeRow = new QHBoxLayout;
    codeLabel = new QLabel(sharing);
    QFont big = codeLabel->font();
    big.setPointSizeF(big.pointSizeF() * 1.8);
    big.setBold(true);
    big.setFamily(QStringLiteral("monospace"));
    codeLabel->setFont(big);
    codeLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *copyCode = new QPushButton(tr("Copy Code"), sharing);
    codeRow->addWidget(codeLabel, 1);
    codeRow->addWidget(copyCode);
    sharingLayout->addLayout(codeRow);
    auto *linkRow = new QHBoxLayout;
    linkLabel = new QLabel(sharing);
    linkLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    linkLabel->setWordWrap(true);
    auto *copyLink = new QPushButton(tr("Copy Link"), sharing);
    linkRow->addWidget(linkLabel, 1);
    linkRow->addWidget(copyLink);
    sharingLayout->addLayout(linkRow);
    passcodeLabel = new QLabel(sharing);
    opensLabel = new QLabel(sharing);
    opensLabel->setWordWrap(true);
    shareStatus = new QLabel(sharing);
    shareStatus->setWordWrap(true);
    guestLabel = new QLabel(sharing);
    guestLabel->setWordWrap(true);
    noticeLabel = new QLabel(sharing);
    for (QLabel *label : {passcodeLabel, opensLabel, shareStatus, guestLabel, noticeLabel})
        sharingLayout->addWidget(label);
    auto *actions = new QHBoxLayout;
    disconnectButton = new QPushButton(tr("Disconnect Guest"), sharing);
    stopButton = new QPushButton(tr("Stop Sharing"), sharing);
    auto *again = new QPushButton(tr("Share Again"), sharing);
    actions->addWidget(disconnectButton);
    actions->addWidget(stopButton);
    actions->addStretch(1);
    actions->addWidget(again);
    sharingLayout->addLayout(actions);
    othersTitle = new QLabel(tr("Other shares on this computer"), sharing);
    sharingLayout->addWidget(othersTitle);
    others = new QListWidget(sharing);
    others->setMaximumHeight(90);
    sharingLayout->addWidget(others);
    auto *close = new QDialogButtonBox(QDialogButtonBox::Close, sharing);
    connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
    sharingLayout->addWidget(close);
    faces->addWidget(sharing);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(faces);

    connect(copyCode, &QPushButton::clicked, this,
            [this] { copy(ShareCode::format(shown.code), tr("Code copied.")); });
    connect(copyLink, &QPushButton::clicked, this,
            [this] { copy(shown.link, tr("Link copied.")); });
    connect(disconnectButton, &QPushButton::clicked, this, [this] {
        if (this->service)
            this->service->clearGuest(shown.shareId, tr("Disconnected by the owner."));
    });
    connect(stopButton, &QPushButton::clicked, this, [this] {
        if (this->service)
            this->service->revokeShare(shown.shareId, tr("You stopped sharing."));
    });
    connect(again, &QPushButton::clicked, this, [this] {
        shown = {};
        ended = false;
        formStatus->clear();
        createButton->setEnabled(true);
        faces->setCurrentIndex(0);
    });
    ticker->setInterval(15000);
    connect(ticker, &QTimer::timeout, this, &GuestShareDialog::refresh);

    if (service) {
        connect(service, &CloudConsoleService::shareFailed, this, [this](const QString &text) {
            if (!creating)
                return;
            creating = false;
            createButton->setEnabled(true);
            formStatus->setText(tr("Could not create the invite: %1").arg(text));
        });
        connect(service, &CloudConsoleService::shareCreated, this, [this](const QString &id) {
            if (!creating)
                return;
            creating = false;
            showShare(this->service->share(id));
        });
        connect(service, &CloudConsoleService::shareChanged, this, [this](const QString &id) {
            if (id == shown.shareId)
                shown = this->service->share(id);
            refresh();
        });
        connect(service, &CloudConsoleService::shareEnded, this, &GuestShareDialog::onShareEnded);
    }
}

void GuestShareDialog::onCreate()
{
    const int web = webBox->currentIndex();
    if (web == 0 && !relayBox->isChecked()) {
        formStatus->setText(tr("Allow at least one way in: the browser, Velmora, or both."));
        return;
    }
    if (!SharePolicy::isPasscode(passcodeEdit->text())) {
        formStatus->setText(tr("A passcode is 4–16 characters."));
        return;
    }
    QSettings settings;
    settings.setValue(webLevelKey, QString::fromLatin1(webLevels[web]));
    settings.setValue(allowRelayKey, relayBox->isChecked());
    if (!service)
        return;
    creating = true;
    createButton->setEnabled(false);
    formStatus->setText(tr("Creating the invite…"));
    service->createShare(portBox->currentData().toString(), ttlBox->currentData().toInt(),
                         labelEdit->text(), passcodeEdit->text(),
                         QString::fromLatin1(webLevels[web]), relayBox->isChecked());
}

void GuestShareDialog::showShare(const GuestShare &share)
{
    shown = share;
    ended = false;
    noticeLabel->clear();
    titleLabel->setText(share.label.isEmpty() ? share.portName
                                              : share.label + QStringLiteral(" · ") + share.portName);
    codeLabel->setText(ShareCode::format(share.code));
    linkLabel->setText(share.link);
    passcodeLabel->setText(share.passcode.isEmpty() ? QString()
                                                    : tr("Passcode: %1").arg(share.passcode));
    passcodeLabel->setVisible(!share.passcode.isEmpty());
    QStringList ways;
    if (share.web == QLatin1String("view"))
        ways << tr("browser: view only");
    else if (share.web == QLatin1String("send"))
        ways << tr("browser: view and send");
    else if (share.web == QLatin1String("control"))
        ways << tr("browser: view, send and port control");
    if (share.relay)
        ways << tr("Velmora: real serial port");
    opensLabel->setText(tr("Opens in %1").arg(ways.join(QStringLiteral(" · "))));
    faces->setCurrentIndex(1);
    ticker->start();
    refresh();
}

void GuestShareDialog::onShareEnded(const QString &shareId, const QString &text)
{
    if (shareId != shown.shareId) {
        refresh();
        return;
    }
    ended = true;
    ticker->stop();
    shareStatus->setText(tr("Sharing ended: %1").arg(text));
    guestLabel->clear();
    disconnectButton->setEnabled(false);
    stopButton->setEnabled(false);
    refresh();
}

void GuestShareDialog::refresh()
{
    if (!ended && shown.isValid()) {
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        const qint64 minutes = SharePolicy::minutesLeft(shown.expiresAtMs, now);
        const QString left = minutes >= 60 ? tr("%1 h %2 min").arg(minutes / 60).arg(minutes % 60)
                                           : tr("%1 min").arg(minutes);
        shareStatus->setText(SharePolicy::isExpired(shown.expiresAtMs, now)
                                 ? tr("Expired — the share admits no new guests.")
                                 : tr("Expires at %1 (in %2)").arg(timeText(shown.expiresAtMs), left));
        QStringList lines;
        if (!shown.guestName.isEmpty())
            lines << tr("%1 connected since %2").arg(shown.guestName, timeText(shown.guestSinceMs));
        if (!shown.webGuests.isEmpty())
            lines << tr("Watching in a browser: %1").arg(shown.webGuests.join(QStringLiteral(", ")));
        guestLabel->setText(lines.isEmpty() ? tr("Waiting for a guest…")
                                            : lines.join(QLatin1Char('\n')));
        disconnectButton->setEnabled(!shown.guestName.isEmpty());
        stopButton->setEnabled(true);
    }
    others->clear();
    othersTitle->setVisible(false);
    others->setVisible(false);
    if (!service)
        return;
    for (const GuestShare &share : service->shares()) {
        if (share.shareId == shown.shareId)
            continue;
        const QString who = !share.guestName.isEmpty() ? share.guestName : tr("waiting");
        others->addItem(tr("%1 · %2 · %3")
                            .arg(share.label.isEmpty() ? share.portName : share.label,
                                 ShareCode::format(share.code), who));
    }
    othersTitle->setVisible(others->count() > 0);
    others->setVisible(others->count() > 0);
}

void GuestShareDialog::copy(const QString &text, const QString &notice)
{
    QApplication::clipboard()->setText(text);
    noticeLabel->setText(notice);
}

QString GuestShareDialog::statusText() const
{
    return faces->currentIndex() == 0 ? formStatus->text() : shareStatus->text();
}
