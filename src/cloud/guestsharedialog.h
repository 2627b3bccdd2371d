#pragma once

// "Share Port with a Guest": the form that makes an invite for one port, and, once the
// server has made it, the invite itself with its code, link, lifetime and who is in.

#include "cloud/guestshare.h"

#include <QDialog>
#include <QList>
#include <QPair>

class CloudConsoleService;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QStackedWidget;
class QTimer;

class GuestShareDialog : public QDialog
{
    Q_OBJECT
public:
    // The ports offered, as (port key, display name); `current` is chosen first.
    GuestShareDialog(CloudConsoleService *service, const QList<QPair<QString, QString>> &ports,
                     const QString &current, QWidget *parent = nullptr);

    // Shows `share` as the invite of this dialog (also used for documentation images).
    void showShare(const GuestShare &share);
    QString statusText() const;

private:
    void onCreate();
    void onShareEnded(const QString &shareId, const QString &text);
    void refresh();
    void copy(const QString &text, const QString &notice);

    CloudConsoleService *service;
    GuestShare shown;
    bool creating = false;
    bool ended = false;
    QStackedWidget *faces;
    QComboBox *portBox;
    QComboBox *ttlBox;
    QLineEdit *passcodeEdit;
    QLineEdit *labelEdit;
    QComboBox *webBox;
    QCheckBox *relayBox;
    QLabel *formStatus;
    QPushButton *createButton;
    QLabel *titleLabel;
    QLabel *othersTitle;
    QLabel *codeLabel;
    QLabel *linkLabel;
    QLabel *passcodeLabel;
    QLabel *opensLabel;
    QLabel *shareStatus;
    QLabel *guestLabel;
    QLabel *noticeLabel;
    QListWidget *others;
    QPushButton *disconnectButton;
    QPushButton *stopButton;
    QTimer *ticker;
};
