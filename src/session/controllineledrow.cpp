#include "session/controllineledrow.h"

#include "common/flowlayout.h"
#include "session/hled.h"

#include <QPushButton>
#include <QTimer>

ControlLineLedRow::ControlLineLedRow(QWidget *parent)
    : QWidget(parent)
{
    // The lights wrap to a further line on a narrow panel instead of widening it.
    auto *layout = new FlowLayout(this);
    layout->setContentsMargins(2, 0, 2, 0);
    layout->setSpacing(8);
    const char *captions[LedCount] = {"Tx", "Rx", "RTS", "DTR", "CTS", "DSR", "DCD", "RI"};
    for (int i = 0; i < LedCount; ++i) {
        leds[i] = new HLed(QString::fromLatin1(captions[i]), this);
        leds[i]->setObjectName(QStringLiteral("led") + QString::fromLatin1(captions[i]));
        layout->addWidget(leds[i]);
    }
    leds[Tx]->setColor(neutralColor());
    leds[Rx]->setColor(neutralColor());
    leds[Rts]->setClickable(true);
    leds[Dtr]->setClickable(true);
    leds[Rts]->setToolTip(tr("Click to switch RTS"));
    leds[Dtr]->setToolTip(tr("Click to switch DTR"));
    connect(leds[Rts], &HLed::clicked, this, &ControlLineLedRow::rtsClicked);
    connect(leds[Dtr], &HLed::clicked, this, &ControlLineLedRow::dtrClicked);

    breakButtonWidget = new QPushButton(tr("Break"), this);
    breakButtonWidget->setObjectName(QStringLiteral("breakButton"));
    breakButtonWidget->setToolTip(tr("Hold to send a break (at least 300 ms)"));
    breakButtonWidget->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(breakButtonWidget);
    connect(breakButtonWidget, &QPushButton::pressed, this, &ControlLineLedRow::breakPressed);
    connect(breakButtonWidget, &QPushButton::released, this, &ControlLineLedRow::breakReleased);

    blinkTimer = new QTimer(this);
    blinkTimer->setInterval(FlashMs / 2);
    connect(blinkTimer, &QTimer::timeout, this, &ControlLineLedRow::onBlinkTick);
    clock.start();
}

QColor ControlLineLedRow::neutralColor()
{
    return QColor(0x2e, 0xcc, 0x40);
}

QColor ControlLineLedRow::takenOverColor()
{
    return QColor(0xff, 0x9f, 0x1c);
}

QColor ControlLineLedRow::breakColor()
{
    return QColor(0xe0, 0x3c, 0x31);
}

void ControlLineLedRow::flash(Led which, int ms)
{
    if (breakShown && which == Tx) {
        return;
    }
    litUntil[which] = clock.elapsed() + ms;
    leds[which]->setOn(true);
    if (!blinkTimer->isActive()) {
        blinkTimer->start();
    }
}

void ControlLineLedRow::advanceBlink(Led which, qint64 nowMs)
{
    if (litUntil[which] != 0 && nowMs >= litUntil[which]) {
        litUntil[which] = 0;
        leds[which]->setOn(false);
    }
}

void ControlLineLedRow::onBlinkTick()
{
    const qint64 now = clock.elapsed();
    bool anyLit = false;
    for (Led which : {Tx, Rx}) {
        advanceBlink(which, now);
        anyLit = anyLit || litUntil[which] != 0;
    }
    if (!anyLit) {
        blinkTimer->stop();
    }
}

void ControlLineLedRow::setLine(Led which, bool on, bool takenOver)
{
    leds[which]->setColor(takenOver ? takenOverColor() : neutralColor());
    leds[which]->setOn(on);
}

void ControlLineLedRow::clearInputs()
{
    for (Led which : {Cts, Dsr, Dcd, Ri}) {
        leds[which]->setOn(false);
    }
}

void ControlLineLedRow::setSerialLinesVisible(bool visible)
{
    for (Led which : {Rts, Dtr, Cts, Dsr, Dcd, Ri}) {
        leds[which]->setVisible(visible);
    }
    breakButtonWidget->setVisible(visible);
}

void ControlLineLedRow::beginBreakIndication()
{
    breakShown = true;
    litUntil[Tx] = 0;
    leds[Tx]->setColor(breakColor());
    leds[Tx]->setText(tr("BRK"));
    leds[Tx]->setOn(true);
}

void ControlLineLedRow::endBreakIndication()
{
    breakShown = false;
    leds[Tx]->setColor(neutralColor());
    leds[Tx]->setText(QStringLiteral("Tx"));
    leds[Tx]->setOn(false);
}

void ControlLineLedRow::releaseBreakHold()
{
    if (breakButtonWidget->isDown()) {
        breakButtonWidget->blockSignals(true);
        breakButtonWidget->setDown(false);
        breakButtonWidget->blockSignals(false);
    }
}
