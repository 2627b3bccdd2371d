// The panel's side of bridges: the hooks a bridge works through, the bridge end, and the
// badge that tells the user the port is bridged.

#include "session/serialportwidget.h"

#include "bridge/portendpoint.h"
#include "connection/fanoutmode.h"
#include "session/portbridgehooks.h"
#include "session/ui_serialportwidget.h"

#include <QHBoxLayout>
#include <QToolButton>

PortBridgeHooks *SerialPortWidget::bridgeHooks()
{
    if (!bridgeHooksValue) {
        bridgeHooksValue = new PortBridgeHooks(portSession, this);
        // A bridge opens the port as the Open button does, so the panel shows it open.
        bridgeHooksValue->openHook = [this] {
            if (state == Stopped) {
                start(QString());
            }
        };
        bridgeHooksValue->nameHook = [this] { return sessionPortLabel(); };
        bridgeHooksValue->serialConfigAppliedHook = [this] { updateDisplay(); };
    }
    return bridgeHooksValue;
}

PortEndpoint *SerialPortWidget::createBridgeEndpoint()
{
    PortEndpoint *end = bridgeHooks()->createEndpoint(this);
    connect(this, &SerialPortWidget::settingsChanged, end, &BridgeEndpoint::settingsChanged);
    return end;
}

void SerialPortWidget::setBridgeActive(bool active, FanoutMode fanout,
                                       const QStringList &allowedPeers)
{
    bridgeHooks()->applyBridgeState(active, fanout, allowedPeers);
}

bool SerialPortWidget::bridgeActive() const
{
    return bridgeHooksValue && bridgeHooksValue->bridgeActive();
}

void SerialPortWidget::setBridgeBadge(const QString &text)
{
    if (!bridgeBadge) {
        if (text.isEmpty()) {
            return;
        }
        bridgeBadge = new QToolButton(ui->autoReplyBadge->parentWidget());
        bridgeBadge->setObjectName(QStringLiteral("bridgeBadge"));
        bridgeBadge->setAutoRaise(true);
        bridgeBadge->setToolButtonStyle(Qt::ToolButtonTextOnly);
        bridgeBadge->setStyleSheet(
            QStringLiteral("QToolButton { color: #6a1b9a; font-weight: bold; }"));
        // A long badge gives way in a narrow panel instead of widening the data side
        // against the division the user chose; its tooltip keeps the whole text.
        bridgeBadge->setMinimumWidth(bridgeBadge->fontMetrics().averageCharWidth() * 6);
        // Beside the auto reply badge, in the row above the send box.
        const QList<QHBoxLayout *> rows =
            ui->autoReplyBadge->parentWidget()->findChildren<QHBoxLayout *>();
        for (QHBoxLayout *row : rows) {
            const int at = row->indexOf(ui->autoReplyBadge);
            if (at >= 0) {
                row->insertWidget(at + 1, bridgeBadge);
                break;
            }
        }
        connect(bridgeBadge, &QToolButton::clicked, this, &SerialPortWidget::bridgeCloseRequested);
    }
    bridgeBadge->setText(text.isEmpty() ? QString() : text + QStringLiteral("  ✕"));
    bridgeBadge->setToolTip(tr("%1. Click to stop bridging this port.").arg(text));
    bridgeBadge->setVisible(!text.isEmpty());
}

QString SerialPortWidget::bridgeBadgeText() const
{
    return bridgeBadge && !bridgeBadge->isHidden() ? bridgeBadge->text() : QString();
}
