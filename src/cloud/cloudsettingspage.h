#pragma once

#include <QWidget>

class QCheckBox;
class QLineEdit;
class QSettings;
class QSpinBox;

// The Cloud page of the settings dialog: the "Cloud server" address (empty: no cloud),
// what settings sync does, and the name this computer shows in the account.
class CloudSettingsPage : public QWidget
{
    Q_OBJECT
public:
    static constexpr int DefaultIntervalMinutes = 30;

    explicit CloudSettingsPage(QWidget *parent = nullptr);

    void load(QSettings &settings);
    // Whether save() can take the page; `error` (may be null) says why not.
    bool validate(QString *error) const;
    void save(QSettings &settings) const;
    QString serverAddress() const;
    void setServerAddress(const QString &address);

private:
    QLineEdit *serverEdit = nullptr;
    QCheckBox *syncBox = nullptr;
    QCheckBox *autoSyncBox = nullptr;
    QSpinBox *intervalSpin = nullptr;
    QCheckBox *historyBox = nullptr;
    QLineEdit *deviceNameEdit = nullptr;
};
