#pragma once

// "Select a Remote Serial Port": the remote port a Live Relay connection uses, joined
// with an invite code or chosen among the ports of the account's own computers.

#include <QDialog>
#include <QString>

class AccountSession;
class QJsonObject;
class QLabel;
class QLineEdit;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

class RelayTargetDialog : public QDialog
{
    Q_OBJECT
public:
    struct Target
    {
        QString cid;
        QString portKey;
        QString deviceName;
        QString portName;
        QString inviteCode;
        QString passcode;
        QString guestName;
    };

    // A computer whose port list is still on its way is asked for again after this.
    static constexpr int SnapshotRetryMs = 3000;

    explicit RelayTargetDialog(AccountSession *account, QWidget *parent = nullptr);

    Target target() const;
    QString statusText() const;
    QString devicesText() const;
    // Fills the tree from a reply of the account's computers (also used by tests).
    void showTargets(const QJsonObject &reply);
    void showPeek(const QJsonObject &reply);

private:
    void peek();
    void fetchTargets();
    void accept() override;

    AccountSession *account;
    QLineEdit *codeEdit;
    QLineEdit *nameEdit;
    QLineEdit *passcodeEdit;
    QLabel *codeStatus;
    QTreeWidget *tree;
    QLabel *devicesStatus;
    QTimer *peekTimer;
    QTimer *retryTimer;
    QString peekedCode;
};
