#include "app/multiportsettingdlg.h"

#include "app/quicksettingseditor.h"
#include "app/settingspanel.h"
#include "cloud/cloudsettingspage.h"

#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

MultiPortSettingDlg::MultiPortSettingDlg(int count, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(count > 0 ? tr("Connection Settings") : tr("Quick Settings"));

    tabs = new QTabWidget(this);
    tabs->setObjectName(QStringLiteral("connectionTabs"));
    buttons = new QDialogButtonBox(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults, this);
    buttons->setObjectName(QStringLiteral("buttonBox"));

    content = new QVBoxLayout(this);
    content->addWidget(tabs, 1);
    content->addWidget(buttons);

    for (int i = 0; i < count; ++i) {
        auto *panel = new SettingsPanel(this);
        panel->setObjectName(QStringLiteral("settingsPanel%1").arg(i));
        panels.append(panel);
    }
    if (panels.size() == 1) {
        // A single connection needs no tab: its page takes the tab widget's place.
        tabs->hide();
        content->insertWidget(0, panels.constFirst(), 1);
    } else {
        for (int i = 0; i < panels.size(); ++i) {
            tabs->addTab(panels.at(i), tr("Connection %1").arg(i + 1));
        }
        tabs->setVisible(!panels.isEmpty());
    }

    connect(buttons, &QDialogButtonBox::accepted, this, &MultiPortSettingDlg::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &MultiPortSettingDlg::reject);
    connect(buttons->button(QDialogButtonBox::RestoreDefaults), &QPushButton::clicked, this,
            &MultiPortSettingDlg::askRestoreDefaults);

    if (panels.isEmpty()) {
        resize(460, 520);
    } else {
        resize(940, 720);
    }
}

SettingsPanel *MultiPortSettingDlg::panel(int index) const
{
    return panels.value(index);
}

void MultiPortSettingDlg::setPortSettings(int index, const Settings &settings)
{
    if (SettingsPanel *page = panel(index)) {
        page->setPortSettings(settings);
    }
}

void MultiPortSettingDlg::setFormatSettings(int index, const FormatSetting &format)
{
    if (SettingsPanel *page = panel(index)) {
        page->setFormatSettings(format);
    }
}

Settings MultiPortSettingDlg::portSettings(int index) const
{
    const SettingsPanel *page = panel(index);
    return page ? page->portSettings() : Settings();
}

FormatSetting MultiPortSettingDlg::formatSettings(int index) const
{
    const SettingsPanel *page = panel(index);
    return page ? page->formatSettings() : FormatSetting();
}

void MultiPortSettingDlg::setQuickSettingsGroups(const QuickSettingsGroups &quickGroups)
{
    groups = quickGroups;
    if (!quickSettingsEditor) {
        quickSettingsEditor = new QuickSettingsEditor(this);
        quickSettingsEditor->setObjectName(QStringLiteral("quickSettingsEditor"));
        if (panels.isEmpty()) {
            content->insertWidget(0, quickSettingsEditor, 1);
        } else {
            if (panels.size() == 1) {
                // Two pages now: the single connection moves into a tab of its own.
                content->removeWidget(panels.constFirst());
                tabs->addTab(panels.constFirst(), tr("Connection %1").arg(1));
                tabs->show();
            }
            tabs->addTab(quickSettingsEditor, tr("Quick Settings"));
        }
    }
    quickSettingsEditor->setGroups(groups);
}

QuickSettingsGroups MultiPortSettingDlg::quickSettingsGroups() const
{
    return quickSettingsEditor ? quickSettingsEditor->groups() : groups;
}

void MultiPortSettingDlg::showQuickSettingsPage()
{
    showPage(quickSettingsEditor);
}

void MultiPortSettingDlg::setCloudSettingsPage(CloudSettingsPage *page)
{
    cloudPage = page;
    cloudPage->setObjectName(QStringLiteral("cloudSettingsPage"));
    if (panels.size() == 1 && tabs->indexOf(panels.constFirst()) < 0) {
        content->removeWidget(panels.constFirst());
        tabs->addTab(panels.constFirst(), tr("Connection %1").arg(1));
        tabs->show();
    }
    tabs->addTab(cloudPage, tr("Cloud"));
    tabs->show();
}

void MultiPortSettingDlg::showCloudPage()
{
    showPage(cloudPage);
}

void MultiPortSettingDlg::showPage(QWidget *page)
{
    if (page && tabs->indexOf(page) >= 0) {
        tabs->setCurrentWidget(page);
    }
}

bool MultiPortSettingDlg::commitAll(QString *error)
{
    for (SettingsPanel *page : std::as_const(panels)) {
        QString why;
        if (!page->validate(&why)) {
            showPage(page);
            if (error) {
                *error = why;
            }
            return false;
        }
    }
    for (SettingsPanel *page : std::as_const(panels)) {
        page->commit();
    }
    return true;
}

void MultiPortSettingDlg::restoreAllDefaults()
{
    for (SettingsPanel *page : std::as_const(panels)) {
        page->restoreDefaults();
    }
    if (quickSettingsEditor) {
        quickSettingsEditor->restoreDefaults();
    }
    Q_EMIT defaultsRestored();
}

void MultiPortSettingDlg::accept()
{
    if (quickSettingsEditor && !quickSettingsEditor->anyGroupChecked()) {
        showQuickSettingsPage();
        QMessageBox::warning(this, tr("Warning"),
                             tr("Select at least one quick settings group to show."));
        return;
    }
    QString error;
    if (cloudPage && !cloudPage->validate(&error)) {
        showCloudPage();
        QMessageBox::warning(this, tr("Warning"), error);
        return;
    }
    if (!commitAll(&error)) {
        QMessageBox::warning(this, tr("Warning"), error);
        return;
    }
    QDialog::accept();
}

void MultiPortSettingDlg::askRestoreDefaults()
{
    const QMessageBox::StandardButton answer =
        QMessageBox::question(this, tr("Restore Default Settings"),
                              tr("Replace the settings shown in this dialog with their defaults?"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer == QMessageBox::Yes) {
        restoreAllDefaults();
    }
}
