#include "bridge/bridgeeditdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

QComboBox *combo(QWidget *parent, const QList<QPair<QString, int>> &items)
{
    auto *box = new QComboBox(parent);
    for (const auto &[text, value] : items) {
        box->addItem(text, value);
    }
    return box;
}

void select(QComboBox *box, int value)
{
    const int at = box->findData(value);
    box->setCurrentIndex(at < 0 ? 0 : at);
}

QFormLayout *group(QVBoxLayout *layout, const QString &title, QWidget *parent)
{
    auto *box = new QGroupBox(title, parent);
    auto *form = new QFormLayout(box);
    layout->addWidget(box);
    return form;
}

} // namespace

BridgeEditDialog::BridgeEditDialog(const QStringList &portNames, const BridgeConfig &config,
                                   QWidget *parent)
    : QDialog(parent)
    , base(config)
    , nameEdit(new QLineEdit(this))
    , endA(new QComboBox(this))
    , endB(new QComboBox(this))
    , listenPort(new QSpinBox(this))
    , enabled(new QCheckBox(tr("Enabled"), this))
    , allowed(new QPlainTextEdit(this))
    , protocolHint(new QLabel(this))
    , idleGap(new QSpinBox(this))
    , delimiter(new QLineEdit(this))
    , fixedLength(new QSpinBox(this))
    , bufferKb(new QSpinBox(this))
    , fanoutHint(new QLabel(this))
    , capture(new QCheckBox(tr("Write a capture file"), this))
    , capturePath(new QLineEdit(this))
    , error(new QLabel(this))
    , portCount(int(portNames.size()))
{
    setWindowTitle(tr("Bridge"));
    auto *layout = new QVBoxLayout(this);
    for (int i = 0; i < portCount; ++i) {
        endA->addItem(portNames.at(i), i);
        endB->addItem(portNames.at(i), i);
    }
    endB->addItem(tr("Built-in TCP listener"), -1);
    listenPort->setRange(1, 65535);
    direction = combo(this, {{tr("A → B"), 0}, {tr("B → A"), 1}, {tr("A ⇄ B (both ways)"), 2}});
    QFormLayout *ends = group(layout, tr("Endpoints"), this);
    ends->addRow(tr("Name"), nameEdit);
    ends->addRow(tr("End A"), endA);
    ends->addRow(tr("End B"), endB);
    ends->addRow(tr("Listen on TCP port"), listenPort);
    ends->addRow(tr("Direction"), direction);
    ends->addRow(QString(), enabled);
    QFormLayout *access = group(layout, tr("Access"), this);
    allowed->setMaximumHeight(60);
    access->addRow(tr("Allowed clients"), allowed);

    protocol = combo(this,
                     {{tr("Transparent (pass bytes through)"), 0},
                      {tr("RFC 2217 server (remote client sets the serial parameters)"), 1},
                      {tr("RFC 2217 client (set a remote device server's serial parameters)"), 3},
                      {tr("Modbus TCP to Modbus RTU gateway"), 2}});
    QFormLayout *proto = group(layout, tr("Protocol"), this);
    proto->addRow(tr("Mode"), protocol);
    protocolHint->setWordWrap(true);
    proto->addRow(protocolHint);

    framing = combo(this, {{tr("Forward immediately (lowest latency)"), 0},
                           {tr("Cut on idle gap (Modbus RTU)"), 1},
                           {tr("Cut on delimiter"), 2},
                           {tr("Fixed length"), 3}});
    idleGap->setRange(1, 60000);
    idleGap->setSuffix(QStringLiteral(" ms"));
    delimiter->setPlaceholderText(tr("Hex, e.g. 0D0A"));
    fixedLength->setRange(1, 65535);
    QFormLayout *frames = group(layout, tr("Framing"), this);
    frames->addRow(tr("Framing"), framing);
    frames->addRow(tr("Idle gap"), idleGap);
    frames->addRow(tr("Delimiter"), delimiter);
    frames->addRow(tr("Frame length"), fixedLength);

    overflow = combo(this, {{tr("Slow the sender down (recommended)"), 2},
                            {tr("Drop the oldest data"), 0},
                            {tr("Drop the newest data"), 1},
                            {tr("Stop the bridge and tell me"), 3}});
    bufferKb->setRange(1, 1048576);
    bufferKb->setSuffix(QStringLiteral(" KB"));
    QFormLayout *flow = group(layout, tr("Flow control"), this);
    flow->addRow(tr("When the buffer fills"), overflow);
    flow->addRow(tr("Buffer limit"), bufferKb);

    fanout = combo(this, {{tr("One client at a time (recommended)"), 1},
                          {tr("Take turns, one request at a time"), 2},
                          {tr("All clients share the port"), 0}});
    QFormLayout *clients = group(layout, tr("TCP server clients"), this);
    clients->addRow(tr("TCP server clients"), fanout);
    fanoutHint->setWordWrap(true);
    clients->addRow(fanoutHint);

    captureFormat = combo(this, {{tr("Hex"), 1}, {tr("Text (control bytes escaped)"), 0}});
    QFormLayout *log = group(layout, tr("Capture"), this);
    log->addRow(QString(), capture);
    log->addRow(tr("File"), capturePath);
    log->addRow(tr("Format"), captureFormat);

    error->setWordWrap(true);
    error->setObjectName(QStringLiteral("bridgeEditError"));
    layout->addWidget(error);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &BridgeEditDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    for (QComboBox *box : {endB, protocol, framing, fanout}) {
        connect(box, &QComboBox::currentIndexChanged, this,
                &BridgeEditDialog::updateFieldVisibility);
    }
    connect(capture, &QCheckBox::toggled, this, &BridgeEditDialog::updateFieldVisibility);
    applyConfig(config);
}

void BridgeEditDialog::applyConfig(const BridgeConfig &c)
{
    base = c;
    nameEdit->setText(c.name);
    select(endA, c.portA);
    select(endB, c.useBuiltinListener ? -1 : c.portB);
    listenPort->setValue(c.listenPort == 0 ? 2217 : c.listenPort);
    select(direction, c.direction);
    enabled->setChecked(c.enabled);
    allowed->setPlainText(c.allowedPeers.join(QLatin1Char('\n')));
    select(protocol, c.protocol);
    select(framing, c.framing.mode);
    idleGap->setValue(c.framing.idleGapMs);
    delimiter->setText(QString::fromLatin1(c.framing.delimiter.toHex().toUpper()));
    fixedLength->setValue(std::min(c.framing.fixedLength, 65535));
    select(overflow, c.flow.overflowPolicy);
    bufferKb->setValue(c.flow.queueLimitBytes < 2048 ? 1 : int(c.flow.queueLimitBytes >> 10));
    select(fanout, qint32(c.fanoutMode));
    capture->setChecked(c.logEnabled);
    capturePath->setText(c.logFilePath);
    select(captureFormat, c.logHex ? 1 : 0);
    updateFieldVisibility();
}

BridgeConfig BridgeEditDialog::config() const
{
    BridgeConfig c = base;
    c.name = nameEdit->text().trimmed();
    c.portA = endA->currentData().toInt();
    c.useBuiltinListener = endB->currentData().toInt() < 0;
    c.portB = c.useBuiltinListener ? -1 : endB->currentData().toInt();
    c.listenPort = quint16(listenPort->value());
    c.direction = direction->currentData().toInt();
    c.enabled = enabled->isChecked();
    c.allowedPeers.clear();
    for (const QString &line : allowed->toPlainText().split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty()) {
            c.allowedPeers << line.trimmed();
        }
    }
    c.protocol = protocol->currentData().toInt();
    c.framing.mode = framing->currentData().toInt();
    c.framing.idleGapMs = idleGap->value();
    c.framing.delimiter = QByteArray::fromHex(delimiter->text().toLatin1());
    c.framing.fixedLength = fixedLength->value();
    c.flow.overflowPolicy = overflow->currentData().toInt();
    const qint64 kb = bufferKb->value();
    c.flow.queueLimitBytes = kb << 10;
    c.flow.highWatermark = kb * 3072 / 4;
    c.flow.lowWatermark = kb * 1024 / 4;
    c.fanoutMode = FanoutMode(fanout->currentData().toInt());
    c.logEnabled = capture->isChecked();
    c.logFilePath = capturePath->text().trimmed();
    c.logHex = captureFormat->currentData().toInt() == 1;
    return c;
}

void BridgeEditDialog::updateFieldVisibility()
{
    const bool listener = endB->currentData().toInt() < 0;
    listenPort->setEnabled(listener);
    allowed->setEnabled(listener);
    const int mode = framing->currentData().toInt();
    idleGap->setEnabled(mode == FramingPolicy::IdleGap);
    delimiter->setEnabled(mode == FramingPolicy::Delimiter);
    fixedLength->setEnabled(mode == FramingPolicy::FixedLength);
    capturePath->setEnabled(capture->isChecked());
    captureFormat->setEnabled(capture->isChecked());
    const int proto = protocol->currentData().toInt();
    if (proto == BridgeConfig::Rfc2217Server) {
        protocolHint->setText(tr("The network end speaks Telnet. Point a client at it with "
                                 "rfc2217://host:port, or a virtual COM driver that supports "
                                 "RFC 2217."));
    } else if (proto == BridgeConfig::ModbusGateway) {
        protocolHint->setText(tr("Modbus RTU has no length field, so the serial side needs "
                                 "\"Cut on idle gap\" framing for a reply to be recognised as "
                                 "one frame."));
    }
    protocolHint->setVisible(proto == BridgeConfig::Rfc2217Server ||
                             proto == BridgeConfig::ModbusGateway);
    fanoutHint->setText(tr("Taking turns needs a framing mode that marks where a request ends; "
                           "with \"Forward immediately\" there is nothing to take turns with."));
    fanoutHint->setVisible(fanout->currentData().toInt() == qint32(FanoutMode::TakeTurns) &&
                           mode == FramingPolicy::AtOnce);
}

QString BridgeEditDialog::errorText() const
{
    return error->text();
}

void BridgeEditDialog::accept()
{
    const BridgeConfig c = config();
    const QString reason = validator ? validator(c) : QString();
    if (!reason.isEmpty()) {
        // The editor stays open with the reason, so nothing typed is lost.
        error->setStyleSheet(QStringLiteral("color: #c0392b;"));
        error->setText(reason);
        return;
    }
    QDialog::accept();
}
