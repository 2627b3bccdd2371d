#pragma once

// Serving one port on a local TCP port in one step: the protocol (when the caller offers
// the choice), the TCP port and the addresses allowed in.

#include "bridge/rfc2217quickshare.h"

#include <QDialog>

class QLabel;
class QPlainTextEdit;
class QRadioButton;
class QSpinBox;

class Rfc2217QuickShareDialog : public QDialog
{
    Q_OBJECT

public:
    Rfc2217QuickShareDialog(const QString &portName, quint16 suggestedPort, bool chooseProtocol,
                            QWidget *parent = nullptr);

    ProtocolMode protocol() const;
    quint16 tcpPort() const;
    QStringList allowedPeers() const;
    void setTcpPort(quint16 port);
    void setAllowedPeers(const QStringList &peers);

private:
    void updateWarning();

    QString name;
    QRadioButton *rfc2217Choice = nullptr;
    QRadioButton *rawChoice = nullptr;
    QSpinBox *portSpin;
    QPlainTextEdit *allowedEdit;
    QLabel *warning;
};
