#pragma once

// Edits one bridge: its ends, direction, protocol, framing, flow control, client
// sharing and capture. The check of the whole configuration runs before it closes.

#include "bridge/bridgeconfig.h"

#include <QDialog>

#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;

class BridgeEditDialog : public QDialog
{
    Q_OBJECT

public:
    BridgeEditDialog(const QStringList &portNames, const BridgeConfig &config,
                     QWidget *parent = nullptr);

    BridgeConfig config() const;
    void applyConfig(const BridgeConfig &config);
    void updateFieldVisibility();
    // The reason a configuration cannot be taken; empty when it can.
    std::function<QString(const BridgeConfig &)> validator;
    QString errorText() const;

    void accept() override;

private:
    BridgeConfig base;
    QLineEdit *nameEdit;
    QComboBox *endA;
    QComboBox *endB; // ports, then the built-in listener
    QSpinBox *listenPort;
    QComboBox *direction;
    QCheckBox *enabled;
    QPlainTextEdit *allowed;
    QComboBox *protocol;
    QLabel *protocolHint;
    QComboBox *framing;
    QSpinBox *idleGap;
    QLineEdit *delimiter;
    QSpinBox *fixedLength;
    QComboBox *overflow;
    QSpinBox *bufferKb;
    QComboBox *fanout;
    QLabel *fanoutHint;
    QCheckBox *capture;
    QLineEdit *capturePath;
    QComboBox *captureFormat;
    QLabel *error;
    int portCount;
};
