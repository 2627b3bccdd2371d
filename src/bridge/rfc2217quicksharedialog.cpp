#include "bridge/rfc2217quicksharedialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

Rfc2217QuickShareDialog::Rfc2217QuickShareDialog(const QString &portName, quint16 suggestedPort,
                                                 bool chooseProtocol, QWidget *parent)
    : QDialog(parent)
    , name(portName)
    , portSpin(new QSpinBox(this))
    , allowedEdit(new QPlainTextEdit(this))
    , warning(new QLabel(this))
{
    auto *layout = new QVBoxLayout(this);
    if (chooseProtocol) {
        setWindowTitle(tr("Serve %1 on a Local TCP Port").arg(portName));
        rfc2217Choice = new QRadioButton(tr("RFC 2217 — remote clients may set the serial "
                                            "parameters and control lines"),
                                         this);
        rawChoice = new QRadioButton(
            tr("Raw TCP — bytes only; the serial parameters stay as set in this port's pane "
               "(socat, nc, terminal programs, drivers in raw mode)"),
            this);
        rfc2217Choice->setChecked(true);
        layout->addWidget(rfc2217Choice);
        layout->addWidget(rawChoice);
        connect(rfc2217Choice, &QRadioButton::toggled, this,
                &Rfc2217QuickShareDialog::updateWarning);
    } else {
        setWindowTitle(tr("Share %1 via RFC 2217").arg(portName));
    }
    auto *form = new QFormLayout;
    portSpin->setRange(1, 65535);
    portSpin->setValue(suggestedPort);
    form->addRow(tr("TCP port"), portSpin);
    allowedEdit->setPlaceholderText(tr("One address or subnet per line, e.g. 192.168.1.0/24"));
    allowedEdit->setMaximumHeight(80);
    form->addRow(tr("Restrict to specific addresses / subnets"), allowedEdit);
    layout->addLayout(form);
    warning->setWordWrap(true);
    warning->setStyleSheet(QStringLiteral("color: #b26a00;"));
    layout->addWidget(warning);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    connect(allowedEdit, &QPlainTextEdit::textChanged, this,
            &Rfc2217QuickShareDialog::updateWarning);
    updateWarning();
}

ProtocolMode Rfc2217QuickShareDialog::protocol() const
{
    return rawChoice && rawChoice->isChecked() ? ProtocolMode::RawTcp : ProtocolMode::Rfc2217;
}

quint16 Rfc2217QuickShareDialog::tcpPort() const
{
    return quint16(portSpin->value());
}

QStringList Rfc2217QuickShareDialog::allowedPeers() const
{
    QStringList peers;
    for (const QString &line : allowedEdit->toPlainText().split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty()) {
            peers << line.trimmed();
        }
    }
    return peers;
}

void Rfc2217QuickShareDialog::setTcpPort(quint16 port)
{
    portSpin->setValue(port);
}

void Rfc2217QuickShareDialog::setAllowedPeers(const QStringList &peers)
{
    allowedEdit->setPlainText(peers.join(QLatin1Char('\n')));
}

void Rfc2217QuickShareDialog::updateWarning()
{
    const bool open = allowedPeers().isEmpty();
    warning->setText(protocol() == ProtocolMode::Rfc2217 && open
                         ? tr("Unless you restrict it below, any computer that can reach this "
                              "one on that TCP port can use %1, including changing its serial "
                              "settings and DTR/RTS.")
                               .arg(name)
                         : tr("Unless you restrict it below, any computer that can reach this "
                              "one on that TCP port can use %1.")
                               .arg(name));
}
