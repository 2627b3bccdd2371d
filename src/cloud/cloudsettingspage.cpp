#include "cloud/cloudsettingspage.h"

#include "cloud/config.h"
#include "cloud/deviceidentity.h"
#include "cloud/privacyconsentdialog.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QVBoxLayout>

CloudSettingsPage::CloudSettingsPage(QWidget *parent)
    : QWidget(parent)
{
    serverEdit = new QLineEdit(this);
    serverEdit->setObjectName(QStringLiteral("cloudServerEdit"));
    serverEdit->setPlaceholderText(QStringLiteral("https://cloud.example.com"));
    auto *serverHelp = new QLabel(
        tr("The base address of a velmora-cloud server, such as https://cloud.example.com or "
           "http://127.0.0.1:8750. Leave it empty to keep every cloud feature off."),
        this);
    serverHelp->setWordWrap(true);

    syncBox = new QCheckBox(tr("Sync my preferences with my account"), this);
    syncBox->setObjectName(QStringLiteral("cloudSyncBox"));
    autoSyncBox = new QCheckBox(tr("Sync automatically every"), this);
    autoSyncBox->setObjectName(QStringLiteral("cloudAutoSyncBox"));
    intervalSpin = new QSpinBox(this);
    intervalSpin->setObjectName(QStringLiteral("cloudAutoSyncInterval"));
    intervalSpin->setRange(1, 24 * 60);
    intervalSpin->setSuffix(tr(" min"));
    historyBox = new QCheckBox(tr("Include the send history"), this);
    historyBox->setObjectName(QStringLiteral("cloudSyncHistoryBox"));
    deviceNameEdit = new QLineEdit(this);
    deviceNameEdit->setObjectName(QStringLiteral("cloudDeviceNameEdit"));
    deviceNameEdit->setMaxLength(64);
    auto *privacy = new QPushButton(tr("Privacy and Online Features..."), this);
    connect(privacy, &QPushButton::clicked, this, [this] {
        PrivacyConsentDialog dialog(this);
        dialog.exec();
    });

    auto *autoRow = new QHBoxLayout;
    autoRow->addWidget(autoSyncBox);
    autoRow->addWidget(intervalSpin);
    autoRow->addStretch(1);
    auto *form = new QFormLayout;
    form->addRow(tr("Cloud server"), serverEdit);
    form->addRow(QString(), serverHelp);
    form->addRow(tr("This computer's name"), deviceNameEdit);
    form->addRow(QString(), syncBox);
    form->addRow(QString(), autoRow);
    form->addRow(QString(), historyBox);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(privacy, 0, Qt::AlignLeft);
    layout->addStretch(1);
    connect(syncBox, &QCheckBox::toggled, this, [this](bool on) {
        autoSyncBox->setEnabled(on);
        intervalSpin->setEnabled(on);
        historyBox->setEnabled(on);
    });
}

void CloudSettingsPage::load(QSettings &settings)
{
    serverEdit->setText(settings.value(Config::dasHostKey()).toString());
    syncBox->setChecked(settings.value(QStringLiteral("AccountSyncSettings"), true).toBool());
    autoSyncBox->setChecked(settings.value(QStringLiteral("AccountAutoSync"), true).toBool());
    intervalSpin->setValue(
        settings.value(QStringLiteral("AccountAutoSyncIntervalMinutes"), DefaultIntervalMinutes)
            .toInt());
    historyBox->setChecked(settings.value(QStringLiteral("AccountSyncSendHistory"), false).toBool());
    deviceNameEdit->setText(DeviceIdentity::name(settings));
    const bool on = syncBox->isChecked();
    autoSyncBox->setEnabled(on);
    intervalSpin->setEnabled(on);
    historyBox->setEnabled(on);
}

bool CloudSettingsPage::validate(QString *error) const
{
    QString normalized;
    return Config::normalizeHostAddress(serverEdit->text(), &normalized, error);
}

void CloudSettingsPage::save(QSettings &settings) const
{
    Config::setDasHostAddress(settings, serverAddress());
    settings.setValue(QStringLiteral("AccountSyncSettings"), syncBox->isChecked());
    settings.setValue(QStringLiteral("AccountAutoSync"), autoSyncBox->isChecked());
    settings.setValue(QStringLiteral("AccountAutoSyncIntervalMinutes"), intervalSpin->value());
    settings.setValue(QStringLiteral("AccountSyncSendHistory"), historyBox->isChecked());
    DeviceIdentity::setName(settings, deviceNameEdit->text());
}

QString CloudSettingsPage::serverAddress() const
{
    QString normalized;
    Config::normalizeHostAddress(serverEdit->text(), &normalized, nullptr);
    return normalized;
}

void CloudSettingsPage::setServerAddress(const QString &address)
{
    serverEdit->setText(address);
}
