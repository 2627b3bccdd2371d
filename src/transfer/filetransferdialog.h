#pragma once

// Asks how to run a file transfer on one port: the protocol, the block size, the file
// to send or the folder (and name) to receive into, a size cap and, on a server with
// several clients, which client. The port it runs on is shown in one line. OK is
// refused, with the sentence shown in the dialog, while the choices cannot start.

#include "connection/settings.h"
#include "transfer/xferconfig.h"
#include "transfer/xferstartcheck.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

class FileTransferDialog : public QDialog
{
    Q_OBJECT
public:
    FileTransferDialog(XferDirection direction, const Settings &port, const XferPortFacts &facts,
                       QWidget *parent = nullptr);

    // The last choices, as the settings keep them.
    void setProtocol(XferProtocol protocol);
    void setFilePath(const QString &path);
    void setFolder(const QString &folder);
    void setSizeCapMiB(int mib);

    XferConfig config() const;
    XferDirection direction() const { return dir; }
    // Sending: the file chosen.
    QString filePath() const;
    // Receiving: the folder, and the name to save as (empty: the name the device sends).
    QString folder() const;
    QString saveAsName() const;
    int sizeCapMiB() const;

    // The warning shown under the protocol for the current choice; empty for none.
    QString protocolHint() const;
    // Why OK cannot start the transfer now; empty when it can.
    QString refusal() const;
    // The port in one line: its address, line settings and flow control.
    static QString connectionText(const Settings &port);

    void accept() override;

private:
    XferProtocol protocol() const;
    void browse();
    void updateChoices();

    XferDirection dir;
    XferPortFacts facts;
    QComboBox *protocolBox = nullptr;
    QComboBox *blockBox = nullptr;
    QLabel *hintLabel = nullptr;
    QLineEdit *pathEdit = nullptr;
    QLineEdit *saveAsEdit = nullptr;
    QSpinBox *capBox = nullptr;
    QComboBox *clientBox = nullptr;
    QCheckBox *keepOpenBox = nullptr;
    QLabel *errorLabel = nullptr;
};
