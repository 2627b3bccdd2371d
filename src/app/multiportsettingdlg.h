#pragma once

#include "connection/settings.h"
#include "session/quicksettingsgroups.h"

#include <QDialog>
#include <QList>

class QDialogButtonBox;
class QTabWidget;
class QVBoxLayout;
class CloudSettingsPage;
class QuickSettingsEditor;
class SettingsPanel;

// The settings of one or more connections, a settings page each. One connection shows
// its page alone; several show a tab "Connection N" each. Once the caller sets quick
// settings groups, the dialog also edits them on a page of its own; a dialog for no
// connection is then a quick settings dialog.
//
// OK checks every page and the quick settings choice, and commits them all or none.
class MultiPortSettingDlg : public QDialog
{
    Q_OBJECT
public:
    explicit MultiPortSettingDlg(int count, QWidget *parent = nullptr);

    int count() const { return int(panels.size()); }
    SettingsPanel *panel(int index) const;

    void setPortSettings(int index, const Settings &settings);
    void setFormatSettings(int index, const FormatSetting &format);
    Settings portSettings(int index) const;
    FormatSetting formatSettings(int index) const;

    // Adds the quick settings page on first use and shows `groups` on it.
    void setQuickSettingsGroups(const QuickSettingsGroups &groups);
    // The page's choice, or the groups last set while there is no page.
    QuickSettingsGroups quickSettingsGroups() const;
    bool showsQuickSettings() const { return quickSettingsEditor != nullptr; }
    QuickSettingsEditor *quickSettings() const { return quickSettingsEditor; }
    void showQuickSettingsPage();
    // Adds the application's Cloud page (server address, sync); OK refuses a bad address.
    void setCloudSettingsPage(CloudSettingsPage *page);
    CloudSettingsPage *cloudSettings() const { return cloudPage; }
    void showCloudPage();

    // Validates the pages in order and stops at the first that fails, showing it, with
    // its reason in `error`; only when all pass are they all committed.
    bool commitAll(QString *error = nullptr);
    // Every page and the quick settings back to their defaults, without asking.
    void restoreAllDefaults();

    void accept() override;

signals:
    // The user confirmed restoring the defaults, and the pages show them.
    void defaultsRestored();

private:
    void askRestoreDefaults();
    void showPage(QWidget *page);

    QVBoxLayout *content = nullptr;
    QTabWidget *tabs = nullptr;
    QDialogButtonBox *buttons = nullptr;
    QList<SettingsPanel *> panels;
    QuickSettingsEditor *quickSettingsEditor = nullptr;
    CloudSettingsPage *cloudPage = nullptr;
    QuickSettingsGroups groups;
};
