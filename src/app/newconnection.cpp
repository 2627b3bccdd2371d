#include "app/newconnection.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QVBoxLayout>

NewConnection::NewConnection(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("New Connection"));

    kindCombo = new QComboBox(this);
    kindCombo->setObjectName(QStringLiteral("connectionKindCombo"));
    kindCombo->addItem(tr("Serial Port"), int(SerialPortKind));
    kindCombo->addItem(tr("TCP/IP"), int(TcpIpKind));
    kindCombo->addItem(tr("Bridge (network to serial)"), int(BridgeKind));

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName(QStringLiteral("buttonBox"));
    connect(buttons, &QDialogButtonBox::accepted, this, &NewConnection::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &NewConnection::reject);

    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("Connection type"), kindCombo);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch(1);
    layout->addWidget(buttons);
    resize(360, sizeHint().height());
}

int NewConnection::kind() const
{
    return kindCombo->currentData().toInt();
}

void NewConnection::setKind(int kind)
{
    const int index = kindCombo->findData(kind);
    if (index >= 0) {
        kindCombo->setCurrentIndex(index);
    }
}
