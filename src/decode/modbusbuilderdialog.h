#pragma once

// Builds one Modbus request (RTU or ASCII) from its parts and hands it to a send box as
// hex. The frame is rebuilt on every change; a request that cannot be built shows why,
// and the buttons wait until it can.

#include "decode/modbuscodec.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

class ModbusBuilderDialog : public QDialog
{
    Q_OBJECT
public:
    explicit ModbusBuilderDialog(QWidget *parent = nullptr);

    // The request the form describes; `error` is set (and the request meaningless) when
    // the values do not read.
    ModbusCodec::Request currentRequest(QString *error) const;
    // The values of functions 6, 15 and 16 from the "Values" field.
    bool parseValues(QList<quint16> *values, QString *error) const;
    // The frame as upper-case hex with blanks; empty while there is an error.
    QString frameHex() const;

signals:
    // The frame as hex, for the send box.
    void insertRequested(const QString &text);

public slots:
    void on_btnCopy_clicked();
    void on_btnInsert_clicked();
    void rebuildFrame();
    void onFunctionChanged();

private:
    int function() const;

    QComboBox *cbProtocol = nullptr;
    QSpinBox *sbSlaveId = nullptr;
    QComboBox *cbFunction = nullptr;
    QSpinBox *sbAddress = nullptr;
    QSpinBox *sbQuantity = nullptr;
    QComboBox *cbCoilValue = nullptr;
    QLineEdit *leValues = nullptr;
    QLineEdit *lePreview = nullptr;
    QLineEdit *leAsciiPreview = nullptr;
    QLabel *errorLabel = nullptr;
    QPushButton *btnCopy = nullptr;
    QPushButton *btnInsert = nullptr;
    QList<QWidget *> quantityRow;
    QList<QWidget *> coilRow;
    QList<QWidget *> valuesRow;
    QList<QWidget *> asciiRow;
};
