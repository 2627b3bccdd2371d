#pragma once

#include "connection/settings.h"

#include <QMap>
#include <QSet>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QSpinBox;

// The compact connection pane beside a port: the transport, and the fields of that
// transport (port name and line parameters, or host and port numbers).
class ConnectionSettingsWidget : public QWidget
{
    Q_OBJECT
public:
    explicit ConnectionSettingsWidget(QWidget *parent = nullptr);

    // Pushes a record into the fields; this counts as no user edit.
    void applySettings(const Settings &settings);
    // The fields over `base`: what the pane does not show is taken from `base`.
    Settings portSettings(const Settings &base) const;
    connectionMode currentMode() const;
    // Refills the serial port list, keeping the current choice even if it vanished.
    void refreshPorts();
    // Fills a port name box with the usable ports (their device path and description as
    // tooltips) and keeps whatever name the box held, listed or not.
    static void fillPortCombo(QComboBox *combo);
    // Shows the serial line rows ("baudRate", "dataBits", "flowControl", "stopBits",
    // "parity") that are listed, in that order, and hides the rest. The mode and the
    // mode's own fields always show.
    void applySerialFieldLayout(const QStringList &visibleFields);
    // Whether the user changed a field since the last applySettings.
    bool hasUserEdits() const { return edited; }
    // With a connection open, the transport's own fields are locked and the serial line
    // parameters stay editable.
    void setConnectionOpen(bool open);

signals:
    void connectionConfigChanged();
    void settingsEdited();
    // The user changed a serial line parameter (baud rate, data bits, parity, stop bits,
    // flow control); an open port takes it at once.
    void serialParamsEdited();

private:
    void fillStaticItems();
    void syncVisibleRows();
    void setRowVisible(QWidget *field, bool visible);
    void onBaudIndexChanged();
    void onCustomBaudRateEntered();
    void applySerialParams();
    void userEdited();

    QFormLayout *form = nullptr;
    QComboBox *modeCombo = nullptr;
    QComboBox *portNameCombo = nullptr;
    QComboBox *baudCombo = nullptr;
    QComboBox *dataBitsCombo = nullptr;
    QComboBox *parityCombo = nullptr;
    QComboBox *stopBitsCombo = nullptr;
    QComboBox *flowCombo = nullptr;
    QComboBox *hostCombo = nullptr;
    QSpinBox *targetPortSpin = nullptr;
    QSpinBox *udpLocalPortSpin = nullptr;
    QSpinBox *udpServerPortSpin = nullptr;
    QCheckBox *rfc2217UseRemoteBox = nullptr;
    QMap<QString, QWidget *> lineFields;
    QSet<QString> hiddenLineFields;
    bool pushing = false;
    bool edited = false;
};
