#pragma once

// "Manage Guest Shares": every live share of the account, on this computer and the
// others, with its code, lifetime and guests; a share can be copied or stopped here.

#include <QDialog>

class CloudConsoleService;
class QJsonArray;
class QLabel;
class QPushButton;
class QTreeWidget;

class ManageGuestSharesDialog : public QDialog
{
    Q_OBJECT
public:
    explicit ManageGuestSharesDialog(CloudConsoleService *service, QWidget *parent = nullptr);

    // Fills the list from the server's overview (also used for documentation images).
    void showShares(const QJsonArray &shares, const QJsonArray &devices);
    QString statusText() const;
    int rowCount() const;

private:
    void reload();
    QString selectedId() const;

    CloudConsoleService *service;
    QTreeWidget *tree;
    QLabel *status;
    QPushButton *copyButton;
    QPushButton *stopButton;
};
