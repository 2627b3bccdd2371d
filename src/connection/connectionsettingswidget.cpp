#include "connection/connectionsettingswidget.h"

#include "connection/portfieldlimits.h"
#include "connection/serialportlist.h"

#include <QComboBox>
#include <QCheckBox>
#include <QFormLayout>
#include <QIntValidator>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>

namespace {
const int BaudRates[] = {9600, 19200, 38400, 57600, 115200, 230400, 460800, 921600};
// Item data of the baud box's free-entry item.
constexpr int CustomBaud = -1;
// The modes the pane offers; a record of another mode is shown by an extra item.
constexpr int ListedModes = 7;

void selectData(QComboBox *combo, const QVariant &value)
{
    const int index = combo->findData(value);
    if (index >= 0) {
        combo->setCurrentIndex(index);
    }
}
} // namespace

ConnectionSettingsWidget::ConnectionSettingsWidget(QWidget *parent)
    : QWidget(parent)
{
    form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    modeCombo = new QComboBox(this);
    modeCombo->setObjectName(QStringLiteral("modeCombo"));
    portNameCombo = new QComboBox(this);
    portNameCombo->setObjectName(QStringLiteral("portNameCombo"));
    portNameCombo->setEditable(true);
    portNameCombo->setToolTip(tr("A port from the list, or any device path such as "
                                 "/dev/serial/by-id/... or a pseudo-terminal"));
    baudCombo = new QComboBox(this);
    baudCombo->setObjectName(QStringLiteral("baudCombo"));
    baudCombo->setToolTip(tr("Serial transfer speed"));
    dataBitsCombo = new QComboBox(this);
    dataBitsCombo->setObjectName(QStringLiteral("dataBitsCombo"));
    parityCombo = new QComboBox(this);
    parityCombo->setObjectName(QStringLiteral("parityCombo"));
    stopBitsCombo = new QComboBox(this);
    stopBitsCombo->setObjectName(QStringLiteral("stopBitsCombo"));
    flowCombo = new QComboBox(this);
    flowCombo->setObjectName(QStringLiteral("flowCombo"));
    hostCombo = new QComboBox(this);
    hostCombo->setObjectName(QStringLiteral("hostCombo"));
    hostCombo->setEditable(true);
    targetPortSpin = new QSpinBox(this);
    targetPortSpin->setObjectName(QStringLiteral("targetPortSpin"));
    udpLocalPortSpin = new QSpinBox(this);
    udpLocalPortSpin->setObjectName(QStringLiteral("udpLocalPortSpin"));
    udpServerPortSpin = new QSpinBox(this);
    udpServerPortSpin->setObjectName(QStringLiteral("udpServerPortSpin"));
    for (QSpinBox *spin : {targetPortSpin, udpLocalPortSpin, udpServerPortSpin}) {
        spin->setRange(0, 65535);
    }
    rfc2217UseRemoteBox = new QCheckBox(tr("Keep the remote port's own config"), this);
    rfc2217UseRemoteBox->setObjectName(QStringLiteral("rfc2217UseRemoteBox"));
    rfc2217UseRemoteBox->setToolTip(tr("Leave baud rate, framing and the control lines as the "
                                       "remote port has them; clear it to set them from here"));

    form->addRow(tr("Mode"), modeCombo);
    form->addRow(tr("Port"), portNameCombo);
    form->addRow(tr("Baudrate"), baudCombo);
    form->addRow(tr("Data Bits"), dataBitsCombo);
    form->addRow(tr("Parity"), parityCombo);
    form->addRow(tr("Stop Bits"), stopBitsCombo);
    form->addRow(tr("Flow Type"), flowCombo);
    form->addRow(tr("Host"), hostCombo);
    form->addRow(tr("Port number"), targetPortSpin);
    form->addRow(QString(), rfc2217UseRemoteBox);
    form->addRow(tr("Local port"), udpLocalPortSpin);
    form->addRow(tr("Listen port"), udpServerPortSpin);

    lineFields = {{QStringLiteral("baudRate"), baudCombo},
                  {QStringLiteral("dataBits"), dataBitsCombo},
                  {QStringLiteral("flowControl"), flowCombo},
                  {QStringLiteral("stopBits"), stopBitsCombo},
                  {QStringLiteral("parity"), parityCombo}};
    fillStaticItems();
    refreshPorts();
    syncVisibleRows();

    connect(modeCombo, &QComboBox::currentIndexChanged, this, [this] {
        syncVisibleRows();
        if (!pushing) {
            Q_EMIT connectionConfigChanged();
        }
        userEdited();
    });
    connect(portNameCombo, &QComboBox::currentIndexChanged, this,
            &ConnectionSettingsWidget::userEdited);
    for (QComboBox *combo : {dataBitsCombo, parityCombo, stopBitsCombo, flowCombo}) {
        connect(combo, &QComboBox::currentIndexChanged, this,
                &ConnectionSettingsWidget::applySerialParams);
    }
    connect(portNameCombo, &QComboBox::editTextChanged, this,
            &ConnectionSettingsWidget::userEdited);
    connect(hostCombo, &QComboBox::editTextChanged, this, &ConnectionSettingsWidget::userEdited);
    connect(baudCombo, &QComboBox::currentIndexChanged, this,
            &ConnectionSettingsWidget::onBaudIndexChanged);
    connect(rfc2217UseRemoteBox, &QCheckBox::toggled, this, [this] {
        syncVisibleRows();
        applySerialParams();
    });
    for (QSpinBox *spin : {targetPortSpin, udpLocalPortSpin, udpServerPortSpin}) {
        connect(spin, &QSpinBox::valueChanged, this, &ConnectionSettingsWidget::userEdited);
    }
}

void ConnectionSettingsWidget::fillStaticItems()
{
    const QSignalBlocker blocker(modeCombo);
    modeCombo->addItem(tr("Serial"), int(ModeSerial));
    modeCombo->addItem(tr("TCP Server"), int(ModeTcpServer));
    modeCombo->addItem(tr("TCP Client"), int(ModeTcpClient));
    modeCombo->addItem(tr("UDP Server"), int(ModeUdpServer));
    modeCombo->addItem(tr("UDP Client"), int(ModeUdpClient));
    modeCombo->addItem(tr("Remote Serial (RFC 2217)"), int(ModeRemoteSerial));
    modeCombo->addItem(tr("Live Relay"), int(ModeLiveRelay));

    for (int rate : BaudRates) {
        baudCombo->addItem(QString::number(rate), rate);
    }
    baudCombo->addItem(tr("Custom"), CustomBaud);
    for (int bits = 5; bits <= 8; ++bits) {
        dataBitsCombo->addItem(QString::number(bits), bits);
    }
    parityCombo->addItem(tr("None"), 0);
    parityCombo->addItem(tr("Even"), 2);
    parityCombo->addItem(tr("Odd"), 3);
    parityCombo->addItem(tr("Mark"), 5);
    parityCombo->addItem(tr("Space"), 4);
    stopBitsCombo->addItem(QStringLiteral("1"), 1);
    stopBitsCombo->addItem(QStringLiteral("1.5"), 3);
    stopBitsCombo->addItem(QStringLiteral("2"), 2);
    flowCombo->addItem(tr("None"), 0);
    flowCombo->addItem(tr("RTS/CTS"), 1);
    flowCombo->addItem(tr("XON/XOFF"), 2);
}

void ConnectionSettingsWidget::refreshPorts()
{
    const bool wasPushing = std::exchange(pushing, true);
    fillPortCombo(portNameCombo);
    pushing = wasPushing;
}

void ConnectionSettingsWidget::syncVisibleRows()
{
    const connectionMode mode = currentMode();
    const bool serial = mode == ModeSerial;
    setRowVisible(portNameCombo, serial);
    // A remote port shows its line parameters only when they are set from here.
    const bool remoteLine = mode == ModeRemoteSerial && !rfc2217UseRemoteBox->isChecked();
    for (auto it = lineFields.cbegin(); it != lineFields.cend(); ++it) {
        setRowVisible(it.value(), (serial || remoteLine) && !hiddenLineFields.contains(it.key()));
    }
    setRowVisible(rfc2217UseRemoteBox, mode == ModeRemoteSerial);
    const bool udpClient = mode == ModeUdpClient || mode == ModeUdpGroup;
    const bool hasHost = mode == ModeTcpClient || mode == ModeRemoteSerial || udpClient;
    setRowVisible(hostCombo, hasHost);
    setRowVisible(targetPortSpin, hasHost || mode == ModeTcpServer);
    setRowVisible(udpLocalPortSpin, udpClient);
    setRowVisible(udpServerPortSpin, mode == ModeUdpServer);
}

void ConnectionSettingsWidget::applySerialFieldLayout(const QStringList &visibleFields)
{
    // The line parameter rows follow the port row in the order given; the others hide.
    QStringList order;
    for (const QString &id : visibleFields) {
        if (lineFields.contains(id) && !order.contains(id)) {
            order << id;
        }
    }
    hiddenLineFields.clear();
    for (auto it = lineFields.cbegin(); it != lineFields.cend(); ++it) {
        if (!order.contains(it.key())) {
            hiddenLineFields.insert(it.key());
            order << it.key();
        }
    }
    int row = -1;
    form->getWidgetPosition(portNameCombo, &row, nullptr);
    for (const QString &id : std::as_const(order)) {
        QWidget *field = lineFields.value(id);
        const QFormLayout::TakeRowResult taken = form->takeRow(field);
        QWidget *label = taken.labelItem ? taken.labelItem->widget() : nullptr;
        delete taken.labelItem;
        delete taken.fieldItem;
        form->insertRow(++row, label, field);
    }
    syncVisibleRows();
}

void ConnectionSettingsWidget::setRowVisible(QWidget *field, bool visible)
{
    form->setRowVisible(field, visible);
}

connectionMode ConnectionSettingsWidget::currentMode() const
{
    return connectionModeFromInt(modeCombo->currentData().toInt());
}

void ConnectionSettingsWidget::applySettings(const Settings &settings)
{
    const bool wasPushing = std::exchange(pushing, true);
    while (modeCombo->count() > ListedModes) {
        modeCombo->removeItem(modeCombo->count() - 1);
    }
    if (modeCombo->findData(int(settings.connMode)) < 0) {
        // No pane offers these modes, but a record may carry one; it is shown as it is,
        // so that an edit of another field does not turn it into the mode shown before.
        modeCombo->addItem(settings.connMode == ModeUdpGroup ? tr("UDP Group") : tr("Unused"),
                           int(settings.connMode));
    }
    selectData(modeCombo, int(settings.connMode));
    portNameCombo->setEditText(settings.name);
    const int baudIndex = baudCombo->findData(settings.baudRate);
    if (baudIndex >= 0 && settings.baudRate != CustomBaud) {
        baudCombo->setCurrentIndex(baudIndex);
    } else {
        selectData(baudCombo, CustomBaud);
        baudCombo->setEditText(QString::number(settings.baudRate));
    }
    selectData(dataBitsCombo, settings.dataBits);
    selectData(parityCombo, settings.parity);
    selectData(stopBitsCombo, settings.stopBits);
    selectData(flowCombo, settings.flowControl);
    hostCombo->clear();
    for (auto it = settings.targetHostList.crbegin(); it != settings.targetHostList.crend(); ++it) {
        hostCombo->addItem(*it);
    }
    hostCombo->setEditText(settings.targetHost);
    targetPortSpin->setValue(qBound(0, settings.targetPort, 65535));
    udpLocalPortSpin->setValue(settings.udpLocalPort);
    udpServerPortSpin->setValue(settings.udpServerPort);
    rfc2217UseRemoteBox->setChecked(settings.useRemoteSerialConfig);
    syncVisibleRows();
    edited = false;
    pushing = wasPushing;
}

Settings ConnectionSettingsWidget::portSettings(const Settings &base) const
{
    Settings s = base;
    s.connMode = currentMode();
    if (s.connMode == ModeSerial) {
        s.name = portNameCombo->currentText().trimmed();
    }
    if (!baudCombo->isEditable()) {
        s.baudRate = baudCombo->currentData().toInt();
    } else {
        bool ok = false;
        const int baud = baudCombo->currentText().trimmed().toInt(&ok);
        if (ok && baud >= 0 && baud <= PortFieldLimits::MaxBaudRate) {
            s.baudRate = baud;
        }
    }
    s.dataBits = dataBitsCombo->currentData().toInt();
    s.stringDataBits = QString::number(s.dataBits);
    s.parity = parityCombo->currentData().toInt();
    s.stringParity = serialParityText(s.parity);
    s.stopBits = stopBitsCombo->currentData().toInt();
    s.stringStopBits = serialStopBitsText(s.stopBits);
    s.flowControl = flowCombo->currentData().toInt();
    s.stringFlowControl = serialFlowControlText(s.flowControl);
    s.targetHost = hostCombo->currentText().trimmed();
    s.targetPort = targetPortSpin->value();
    s.udpLocalPort = quint16(udpLocalPortSpin->value());
    s.udpServerPort = quint16(udpServerPortSpin->value());
    s.useRemoteSerialConfig = rfc2217UseRemoteBox->isChecked();
    return s;
}

void ConnectionSettingsWidget::onBaudIndexChanged()
{
    const bool custom = baudCombo->currentData().toInt() == CustomBaud;
    if (custom != baudCombo->isEditable()) {
        baudCombo->setEditable(custom);
        if (custom) {
            baudCombo->setInsertPolicy(QComboBox::NoInsert);
            // Free entry: completing "1" to "115200" would get in the way.
            baudCombo->setCompleter(nullptr);
            QLineEdit *edit = baudCombo->lineEdit();
            edit->setValidator(new QIntValidator(0, PortFieldLimits::MaxBaudRate, edit));
            edit->setPlaceholderText(tr("Bits per second"));
            connect(edit, &QLineEdit::editingFinished, this,
                    &ConnectionSettingsWidget::onCustomBaudRateEntered);
            if (!pushing) {
                baudCombo->clearEditText();
                edit->setFocus();
                return; // the rate counts once it is typed
            }
        }
    }
    applySerialParams();
}

void ConnectionSettingsWidget::onCustomBaudRateEntered()
{
    bool ok = false;
    const int baud = baudCombo->currentText().trimmed().toInt(&ok);
    if (!ok || baud < 0 || baud > PortFieldLimits::MaxBaudRate) {
        baudCombo->setToolTip(tr("Enter a rate from 0 to 100000000 bits per second"));
        return;
    }
    baudCombo->setToolTip(tr("Serial transfer speed"));
    applySerialParams();
}

void ConnectionSettingsWidget::applySerialParams()
{
    if (pushing) {
        return;
    }
    userEdited();
    Q_EMIT serialParamsEdited();
}

void ConnectionSettingsWidget::setConnectionOpen(bool open)
{
    // While a connection is open only the line parameters may change: the session
    // applies them to the running port. What would need a new connection waits.
    for (QWidget *field : {static_cast<QWidget *>(modeCombo), static_cast<QWidget *>(portNameCombo),
                           static_cast<QWidget *>(hostCombo), static_cast<QWidget *>(targetPortSpin),
                           static_cast<QWidget *>(udpLocalPortSpin),
                           static_cast<QWidget *>(udpServerPortSpin)}) {
        field->setEnabled(!open);
    }
}

void ConnectionSettingsWidget::userEdited()
{
    if (!pushing) {
        edited = true;
        Q_EMIT settingsEdited();
    }
}

void ConnectionSettingsWidget::fillPortCombo(QComboBox *combo)
{
    const QString current = combo->currentText();
    const QSignalBlocker blocker(combo);
    combo->clear();
    for (const QSerialPortInfo &info : listUsableSerialPorts()) {
        combo->addItem(info.portName(), info.portName());
        combo->setItemData(combo->count() - 1,
                           info.description().isEmpty()
                               ? info.systemLocation()
                               : info.systemLocation() + QStringLiteral(" — ") + info.description(),
                           Qt::ToolTipRole);
    }
    combo->setEditText(current);
}
