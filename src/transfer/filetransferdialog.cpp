#include "transfer/filetransferdialog.h"

#include "transfer/filetransfersession.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

bool isXmodem(XferProtocol protocol)
{
    return protocol == XferProtocol::Xmodem || protocol == XferProtocol::XmodemCrc ||
           protocol == XferProtocol::Xmodem1k;
}

QString lineShape(const Settings &port)
{
    static const char parities[] = {'N', '?', 'E', 'O', 'S', 'M'};
    const char parity = port.parity >= 0 && port.parity <= 5 ? parities[port.parity] : '?';
    const QString stop = port.stopBits == 3 ? QStringLiteral("1.5") : QString::number(port.stopBits);
    return QString::number(port.dataBits) + QLatin1Char(parity) + stop;
}

} // namespace

FileTransferDialog::FileTransferDialog(XferDirection direction, const Settings &port,
                                       const XferPortFacts &portFacts, QWidget *parent)
    : QDialog(parent)
    , dir(direction)
    , facts(portFacts)
{
    const bool sending = direction == XferDirection::Send;
    setWindowTitle(sending ? tr("Send File") : tr("Receive File"));
    setMinimumWidth(480);

    auto *layout = new QVBoxLayout(this);
    auto *portLabel = new QLabel(connectionText(port), this);
    portLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(portLabel);

    auto *form = new QFormLayout;
    layout->addLayout(form);

    protocolBox = new QComboBox(this);
    protocolBox->addItem(tr("XMODEM (128 bytes, checksum)"), int(XferProtocol::Xmodem));
    protocolBox->addItem(tr("XMODEM-CRC (128 bytes, CRC-16)"), int(XferProtocol::XmodemCrc));
    protocolBox->addItem(tr("XMODEM-1K (1024 bytes)"), int(XferProtocol::Xmodem1k));
    protocolBox->addItem(tr("YMODEM"), int(XferProtocol::Ymodem));
    protocolBox->addItem(tr("YMODEM-G (streaming, no retries)"), int(XferProtocol::YmodemG));
    protocolBox->setCurrentIndex(3);
    form->addRow(tr("Protocol:"), protocolBox);


    blockBox = new QComboBox(this);
    blockBox->addItem(tr("128"), 128);
    blockBox->addItem(tr("1024"), 1024);
    blockBox->setCurrentIndex(1);
    if (sending) {
        form->addRow(tr("Block size:"), blockBox);
    } else {
        blockBox->hide();
    }

    auto *pathRow = new QHBoxLayout;
    pathEdit = new QLineEdit(this);
    auto *browseButton = new QPushButton(tr("Browse..."), this);
    pathRow->addWidget(pathEdit, 1);
    pathRow->addWidget(browseButton);
    form->addRow(sending ? tr("File:") : tr("Save into:"), pathRow);
    connect(browseButton, &QPushButton::clicked, this, &FileTransferDialog::browse);

    saveAsEdit = new QLineEdit(QStringLiteral("received.bin"), this);
    capBox = new QSpinBox(this);
    capBox->setRange(0, 1 << 20);
    capBox->setSpecialValueText(tr("no limit"));
    if (!sending) {
        form->addRow(tr("Save as:"), saveAsEdit);
        form->addRow(tr("Stop after (MB):"), capBox);
        pathEdit->setText(QDir::homePath());
    } else {
        saveAsEdit->hide();
        capBox->hide();
    }

    clientBox = new QComboBox(this);
    if (facts.mode == ModeTcpServer && facts.clients.size() > 1) {
        clientBox->addItems(facts.clients);
        form->addRow(tr("Client:"), clientBox);
    } else {
        clientBox->hide();
    }

    // Below the form, across the whole width, so that a long warning wraps in full.
    hintLabel = new QLabel(this);
    hintLabel->setWordWrap(true);
    layout->addWidget(hintLabel);

    keepOpenBox = new QCheckBox(tr("Keep this window open afterwards"), this);
    layout->addWidget(keepOpenBox);

    errorLabel = new QLabel(this);
    errorLabel->setWordWrap(true);
    errorLabel->setStyleSheet(QStringLiteral("color: #b00020;"));
    errorLabel->hide();
    layout->addWidget(errorLabel);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &FileTransferDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &FileTransferDialog::reject);

    connect(protocolBox, &QComboBox::currentIndexChanged, this, &FileTransferDialog::updateChoices);
    updateChoices();
}

QString FileTransferDialog::connectionText(const Settings &port)
{
    const QString flow = port.flowControl == 1   ? tr("RTS/CTS")
                         : port.flowControl == 2 ? tr("XON/XOFF")
                                                 : tr("no flow control");
    const QString shape = lineShape(port);
    switch (port.connMode) {
    case ModeSerial:
        return tr("%1 · %2 %3%4%5 · %6")
            .arg(port.name, QString::number(port.baudRate), shape.left(1), shape.mid(1, 1),
                 shape.mid(2), flow);
    case ModeTcpClient:
        return tr("TCP %1:%2").arg(port.targetHost.trimmed()).arg(port.targetPort);
    case ModeTcpServer:
        return tr("TCP server, port %1").arg(port.targetPort);
    case ModeRemoteSerial:
        return tr("RFC 2217 %1:%2 · %3 %4%5%6")
            .arg(port.targetHost.trimmed(), QString::number(port.targetPort),
                 QString::number(port.baudRate), shape.left(1), shape.mid(1, 1), shape.mid(2));
    default:
        return port.name;
    }
}

XferProtocol FileTransferDialog::protocol() const
{
    return XferProtocol(protocolBox->currentData().toInt());
}

void FileTransferDialog::setProtocol(XferProtocol value)
{
    const int index = protocolBox->findData(int(value));
    if (index >= 0) {
        protocolBox->setCurrentIndex(index);
    }
}

void FileTransferDialog::setFilePath(const QString &path)
{
    if (dir == XferDirection::Send) {
        pathEdit->setText(path);
    }
}

void FileTransferDialog::setFolder(const QString &folder)
{
    if (dir == XferDirection::Receive && !folder.isEmpty()) {
        pathEdit->setText(folder);
    }
}

void FileTransferDialog::setSizeCapMiB(int mib)
{
    capBox->setValue(mib);
}

QString FileTransferDialog::filePath() const
{
    return dir == XferDirection::Send ? pathEdit->text().trimmed() : QString();
}

QString FileTransferDialog::folder() const
{
    return dir == XferDirection::Receive ? pathEdit->text().trimmed() : QString();
}

QString FileTransferDialog::saveAsName() const
{
    // YMODEM brings its own name; XMODEM has none, so the user's is needed.
    if (dir != XferDirection::Receive || !isXmodem(protocol())) {
        return QString();
    }
    return saveAsEdit->text().trimmed();
}

int FileTransferDialog::sizeCapMiB() const
{
    return capBox->value();
}

XferConfig FileTransferDialog::config() const
{
    XferConfig config;
    config.protocol = protocol();
    config.direction = dir;
    config.blockSize = blockBox->currentData().toInt();
    config.receiveLimit = dir == XferDirection::Receive ? qint64(capBox->value()) << 20 : 0;
    config.peer = clientBox->isVisibleTo(this) ? clientBox->currentText() : QString();
    config.keepOpen = keepOpenBox->isChecked();
    return config;
}

QString FileTransferDialog::protocolHint() const
{
    const XferProtocol p = protocol();
    if (p == XferProtocol::YmodemG && !XferStartCheck::transportIsLossless(facts)) {
        return tr("YMODEM-G does not resend anything, so it needs hardware flow control "
                  "(RTS/CTS). This connection has none: a single error would abandon the whole "
                  "transfer.");
    }
    if (isXmodem(p)) {
        return dir == XferDirection::Send
                   ? tr("XMODEM carries no file name or length. The device will receive the data "
                        "padded up to a whole number of blocks.")
                   : tr("XMODEM carries no file name or length, so you must supply the name, and "
                        "the received file is always padded up to a whole number of blocks.");
    }
    return QString();
}

QString FileTransferDialog::refusal() const
{
    const QString port = XferStartCheck::startRefusal(facts, config());
    if (!port.isEmpty()) {
        return port;
    }
    const QString path = pathEdit->text().trimmed();
    if (dir == XferDirection::Send) {
        const QFileInfo file(path);
        if (path.isEmpty() || !file.isFile()) {
            return tr("Choose a file to send.");
        }
        return QString();
    }
    if (path.isEmpty() || !QFileInfo(path).isDir()) {
        return tr("The folder %1 does not exist.").arg(QDir::toNativeSeparators(path));
    }
    if (isXmodem(protocol()) && saveAsName().isEmpty()) {
        return tr("Enter the name to save the file as.");
    }
    return QString();
}

void FileTransferDialog::accept()
{
    const QString why = refusal();
    if (!why.isEmpty()) {
        errorLabel->setText(why);
        errorLabel->show();
        return;
    }
    QDialog::accept();
}

void FileTransferDialog::browse()
{
    QString chosen;
    if (dir == XferDirection::Send) {
        chosen = QFileDialog::getOpenFileName(this, tr("Send File"), pathEdit->text());
    } else {
        chosen = QFileDialog::getExistingDirectory(this, tr("Receive File"), pathEdit->text());
    }
    if (!chosen.isEmpty()) {
        pathEdit->setText(QDir::toNativeSeparators(chosen));
    }
}

void FileTransferDialog::updateChoices()
{
    const XferProtocol p = protocol();
    const QString hint = protocolHint();
    hintLabel->setText(hint);
    hintLabel->setVisible(!hint.isEmpty());
    // XMODEM and XMODEM-CRC only know 128-byte blocks.
    const bool blockChoice = p != XferProtocol::Xmodem && p != XferProtocol::XmodemCrc;
    if (!blockChoice) {
        blockBox->setCurrentIndex(0);
    } else if (!blockBox->isEnabled()) {
        blockBox->setCurrentIndex(1); // back from a 128-only protocol: large blocks again
    }
    blockBox->setEnabled(blockChoice);
    saveAsEdit->setEnabled(isXmodem(p));
    errorLabel->hide();
}
