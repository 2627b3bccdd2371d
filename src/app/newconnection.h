#pragma once

#include <QDialog>

class QComboBox;

// Asks what kind of connection to add: a serial port, a TCP/IP connection, or a bridge
// from the network to a serial port.
class NewConnection : public QDialog
{
    Q_OBJECT
public:
    // The item data of the kind box.
    enum Kind {
        SerialPortKind = 0,
        TcpIpKind = 1,
        BridgeKind = 2,
    };

    explicit NewConnection(QWidget *parent = nullptr);

    // The chosen kind, one of Kind.
    int kind() const;
    void setKind(int kind);

private:
    QComboBox *kindCombo = nullptr;
};
