#include "cloud/manageguestsharesdialog.h"

#include "cloud/cloudconsoleservice.h"
#include "cloud/sharecode.h"

#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
constexpr int IdRole = Qt::UserRole;
constexpr int CodeRole = Qt::UserRole + 1;
} // namespace

ManageGuestSharesDialog::ManageGuestSharesDialog(CloudConsoleService *service, QWidget *parent)
    : QDialog(parent), service(service), tree(new QTreeWidget(this)), status(new QLabel(this))
{
    setWindowTitle(tr("Manage Guest Shares"));
    setObjectName(QStringLiteral("ManageGuestSharesDialog"));
    tree->setHeaderLabels({tr("Computer"), tr("Port"), tr("Label"), tr("Code"), tr("Expires"),
                           tr("Guests")});
    tree->setRootIsDecorated(false);
    tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    auto *refresh = new QPushButton(tr("Refresh"), this);
    copyButton = new QPushButton(tr("Copy Code"), this);
    stopButton = new QPushButton(tr("Stop Sharing"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(refresh);
    buttons->addStretch(1);
    buttons->addWidget(copyButton);
    buttons->addWidget(stopButton);
    auto *close = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
    status->setWordWrap(true);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tree);
    layout->addLayout(buttons);
    layout->addWidget(status);
    layout->addWidget(close);
    resize(720, 360);

    const auto updateButtons = [this] {
        copyButton->setEnabled(!selectedId().isEmpty());
        stopButton->setEnabled(!selectedId().isEmpty());
    };
    connect(tree, &QTreeWidget::currentItemChanged, this, updateButtons);
    updateButtons();
    connect(refresh, &QPushButton::clicked, this, &ManageGuestSharesDialog::reload);
    connect(copyButton, &QPushButton::clicked, this, [this] {
        if (QTreeWidgetItem *item = tree->currentItem()) {
            QApplication::clipboard()->setText(item->data(0, CodeRole).toString());
            status->setText(tr("Code copied."));
        }
    });
    connect(stopButton, &QPushButton::clicked, this, [this] {
        const QString id = selectedId();
        if (id.isEmpty() || !this->service)
            return;
        status->setText(tr("Stopping %1…").arg(tree->currentItem()->text(3)));
        this->service->revokeShare(id, tr("You stopped sharing."));
        reload();
    });
    if (service) {
        connect(service, &CloudConsoleService::shareOverviewFetched, this,
                &ManageGuestSharesDialog::showShares);
        connect(service, &CloudConsoleService::shareOverviewFailed, this, [this](const QString &why) {
            status->setText(tr("Could not load the share list: %1").arg(why));
        });
        connect(service, &CloudConsoleService::shareStopped, this,
                &ManageGuestSharesDialog::reload);
        reload();
    }
}

void ManageGuestSharesDialog::reload()
{
    status->setText(tr("Loading…"));
    if (service)
        service->requestShareOverview();
}

void ManageGuestSharesDialog::showShares(const QJsonArray &shares, const QJsonArray &devices)
{
    QHash<QString, QString> deviceNames;
    for (const QJsonValue &value : devices) {
        const QJsonObject device = value.toObject();
        deviceNames.insert(device.value(QStringLiteral("cid")).toString(),
                           device.value(QStringLiteral("name")).toString());
    }
    const QString selected = selectedId();
    tree->clear();
    for (const QJsonValue &value : shares) {
        const GuestShare share = CloudConsoleService::shareFromJson(value.toObject());
        QStringList guests = share.webGuests;
        if (!share.guestName.isEmpty())
            guests.prepend(share.guestName);
        const QString device = share.deviceName.isEmpty() ? deviceNames.value(share.cid)
                                                          : share.deviceName;
        auto *item = new QTreeWidgetItem(
            tree, {device, share.portName.isEmpty() ? share.portKey : share.portName, share.label,
                   ShareCode::format(share.code),
                   QDateTime::fromMSecsSinceEpoch(share.expiresAtMs)
                       .toString(QStringLiteral("MM-dd HH:mm")),
                   guests.isEmpty() ? tr("waiting") : guests.join(QStringLiteral(", "))});
        item->setData(0, IdRole, share.shareId);
        item->setData(0, CodeRole, ShareCode::format(share.code));
        if (share.shareId == selected)
            tree->setCurrentItem(item);
    }
    status->setText(shares.isEmpty() ? tr("No guest shares right now.") : QString());
}

QString ManageGuestSharesDialog::selectedId() const
{
    QTreeWidgetItem *item = tree->currentItem();
    return item ? item->data(0, IdRole).toString() : QString();
}

QString ManageGuestSharesDialog::statusText() const
{
    return status->text();
}

int ManageGuestSharesDialog::rowCount() const
{
    return tree->topLevelItemCount();
}
