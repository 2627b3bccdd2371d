#include "cloud/relaytargetdialog.h"

#include "cloud/accountsession.h"
#include "cloud/networkservices.h"
#include "cloud/relayconnector.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
const QString guestNameKey = QStringLiteral("RelayGuestName");
enum Role { CidRole = Qt::UserRole, KeyRole, DeviceRole };
} // namespace

RelayTargetDialog::RelayTargetDialog(AccountSession *session, QWidget *parent)
    : QDialog(parent)
    , account(session)
    , codeEdit(new QLineEdit(this))
    , nameEdit(new QLineEdit(this))
    , passcodeEdit(new QLineEdit(this))
    , codeStatus(new QLabel(this))
    , tree(new QTreeWidget(this))
    , devicesStatus(new QLabel(this))
    , peekTimer(new QTimer(this))
    , retryTimer(new QTimer(this))
{
    setWindowTitle(tr("Select a Remote Serial Port"));
    setObjectName(QStringLiteral("relayTargetDialog"));

    auto *codeGroup = new QGroupBox(tr("Join with an invite code"), this);
    auto *form = new QFormLayout(codeGroup);
    codeEdit->setObjectName(QStringLiteral("inviteCodeEdit"));
    codeEdit->setPlaceholderText(tr("XXXX-XXXX-XXXX or the invite link"));
    nameEdit->setPlaceholderText(tr("The name the host will see"));
    nameEdit->setText(QSettings().value(guestNameKey).toString());
    passcodeEdit->setEchoMode(QLineEdit::Password);
    codeStatus->setObjectName(QStringLiteral("codeStatus"));
    codeStatus->setWordWrap(true);
    form->addRow(tr("Invite code"), codeEdit);
    form->addRow(tr("Your name"), nameEdit);
    form->addRow(tr("Passcode"), passcodeEdit);
    form->addRow(codeStatus);

    auto *ownGroup = new QGroupBox(tr("Or choose one of your own devices"), this);
    auto *ownLayout = new QVBoxLayout(ownGroup);
    tree->setObjectName(QStringLiteral("targetTree"));
    tree->setColumnCount(2);
    tree->setHeaderLabels({tr("Device / Port"), tr("Status")});
    tree->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    devicesStatus->setObjectName(QStringLiteral("devicesStatus"));
    devicesStatus->setWordWrap(true);
    ownLayout->addWidget(tree);
    ownLayout->addWidget(devicesStatus);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &RelayTargetDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(codeGroup);
    layout->addWidget(ownGroup, 1);
    layout->addWidget(buttons);
    resize(520, 460);

    peekTimer->setSingleShot(true);
    peekTimer->setInterval(400);
    connect(peekTimer, &QTimer::timeout, this, &RelayTargetDialog::peek);
    connect(codeEdit, &QLineEdit::textEdited, peekTimer, qOverload<>(&QTimer::start));
    retryTimer->setSingleShot(true);
    retryTimer->setInterval(SnapshotRetryMs);
    connect(retryTimer, &QTimer::timeout, this, &RelayTargetDialog::fetchTargets);

    if (account) {
        NetworkServices *net = account->network();
        connect(net, &NetworkServices::relayResponse, this, [this](const QJsonObject &reply) {
            if (reply.contains(QStringLiteral("devices")))
                showTargets(reply);
        });
        connect(net, &NetworkServices::relayPeekResponse, this,
                [this](const QJsonObject &reply, const QString &code) {
                    if (code == peekedCode)
                        showPeek(reply);
                });
        connect(net, &NetworkServices::networkError, this,
                [this](const QString &tag, const QString &message) {
                    if (tag == QLatin1String("relay"))
                        devicesStatus->setText(message);
                    else if (tag.startsWith(QLatin1String("relaypeek:")))
                        codeStatus->setText(message);
                });
    }
    fetchTargets();
}

void RelayTargetDialog::fetchTargets()
{
    if (!account || !account->isSignedIn()) {
        devicesStatus->setText(tr("Sign in to see your own devices."));
        return;
    }
    if (tree->topLevelItemCount() == 0)
        devicesStatus->setText(tr("Looking for your devices…"));
    account->network()->relayFetchTargets(account->accessToken(), QString());
}

void RelayTargetDialog::showTargets(const QJsonObject &reply)
{
    const QString selectedCid = tree->currentItem() ? tree->currentItem()->data(0, CidRole).toString()
                                                    : QString();
    const QString selectedKey = tree->currentItem() ? tree->currentItem()->data(0, KeyRole).toString()
                                                    : QString();
    tree->clear();
    bool pending = false;
    for (const QJsonValue &value : reply.value(QStringLiteral("devices")).toArray()) {
        const QJsonObject device = value.toObject();
        if (device.value(QStringLiteral("self")).toBool())
            continue;
        const QString cid = device.value(QStringLiteral("cid")).toString();
        const QString name = device.value(QStringLiteral("name")).toString();
        auto *item = new QTreeWidgetItem(tree, {name});
        item->setFlags(item->flags() & ~Qt::ItemIsSelectable);
        if (device.value(QStringLiteral("snapshot_pending")).toBool()) {
            item->setText(1, tr("Waiting for the device to report its ports…"));
            pending = true;
        } else {
            item->setText(1, device.value(QStringLiteral("online")).toBool() ? tr("Online")
                                                                              : tr("Offline"));
        }
        for (const QJsonValue &portValue : device.value(QStringLiteral("ports")).toArray()) {
            const QJsonObject port = portValue.toObject();
            if (!port.value(QStringLiteral("relay_capable")).toBool())
                continue;
            const QString key = port.value(QStringLiteral("port_key")).toString();
            auto *child = new QTreeWidgetItem(
                item, {port.value(QStringLiteral("display_name")).toString(),
                       port.value(QStringLiteral("busy")).toBool() ? tr("In use") : tr("Free")});
            child->setData(0, CidRole, cid);
            child->setData(0, KeyRole, key);
            child->setData(0, DeviceRole, name);
            if (cid == selectedCid && key == selectedKey)
                tree->setCurrentItem(child);
        }
        item->setExpanded(true);
    }
    devicesStatus->setText(tree->topLevelItemCount() == 0
                               ? tr("No other computer of this account shares a port.")
                               : QString());
    if (pending)
        retryTimer->start();
}

void RelayTargetDialog::peek()
{
    const QString code = RelayConnector::normalizeCode(codeEdit->text());
    if (code.isEmpty()) {
        peekedCode.clear();
        codeStatus->setText(codeEdit->text().trimmed().isEmpty()
                                ? QString()
                                : tr("That does not look like an invite code."));
        return;
    }
    peekedCode = code;
    codeStatus->setText(tr("Checking the code…"));
    if (account)
        account->network()->relayPeekShare(code);
}

void RelayTargetDialog::showPeek(const QJsonObject &reply)
{
    if (!reply.value(QStringLiteral("status")).toBool()) {
        codeStatus->setText(reply.value(QStringLiteral("code")).toString() ==
                                    QLatin1String("rate_limited")
                                ? tr("Too many tries. Wait a minute.")
                                : tr("That code is not valid or has expired."));
        return;
    }
    QString label = reply.value(QStringLiteral("label")).toString();
    if (label.isEmpty())
        label = reply.value(QStringLiteral("port_name")).toString();
    if (!reply.value(QStringLiteral("online")).toBool())
        codeStatus->setText(tr("%1 — the host is offline right now.").arg(label));
    else if (reply.value(QStringLiteral("busy")).toBool())
        codeStatus->setText(tr("%1 — someone is already connected to that port.").arg(label));
    else
        codeStatus->setText(tr("%1 — ready.").arg(label));
}

RelayTargetDialog::Target RelayTargetDialog::target() const
{
    Target chosen;
    const QString code = RelayConnector::normalizeCode(codeEdit->text());
    if (!code.isEmpty()) {
        chosen.inviteCode = code;
        chosen.passcode = passcodeEdit->text();
        chosen.guestName = nameEdit->text().trimmed();
        return chosen;
    }
    if (QTreeWidgetItem *item = tree->currentItem(); item && item->parent()) {
        chosen.cid = item->data(0, CidRole).toString();
        chosen.portKey = item->data(0, KeyRole).toString();
        chosen.deviceName = item->data(0, DeviceRole).toString();
        chosen.portName = item->text(0);
    }
    return chosen;
}

void RelayTargetDialog::accept()
{
    const Target chosen = target();
    if (chosen.inviteCode.isEmpty() && chosen.portKey.isEmpty()) {
        codeStatus->setText(codeEdit->text().trimmed().isEmpty()
                                ? tr("Enter an invite code or choose a port.")
                                : tr("That does not look like an invite code."));
        return;
    }
    if (!chosen.inviteCode.isEmpty())
        QSettings().setValue(guestNameKey, chosen.guestName);
    QDialog::accept();
}

QString RelayTargetDialog::statusText() const
{
    return codeStatus->text();
}

QString RelayTargetDialog::devicesText() const
{
    return devicesStatus->text();
}
