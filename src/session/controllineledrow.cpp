#include "session/controllineledrow.h"

#include "session/hled.h"

#include <QLayout>
#include <QPushButton>
#include <QTimer>

#include <algorithm>

namespace {
// Lays the lights out left to right and wraps to a further line when the row is too
// narrow for all of them, so that a narrow panel shows every light instead of forcing
// its window wider.
class WrappingRowLayout : public QLayout
{
public:
    explicit WrappingRowLayout(QWidget *parent)
        : QLayout(parent)
    {
    }
    ~WrappingRowLayout() override
    {
        while (QLayoutItem *item = takeAt(0)) {
            delete item;
        }
    }

    void addItem(QLayoutItem *item) override { items.append(item); }
    int count() const override { return int(items.size()); }
    QLayoutItem *itemAt(int index) const override { return items.value(index); }
    QLayoutItem *takeAt(int index) override
    {
        return index >= 0 && index < items.size() ? items.takeAt(index) : nullptr;
    }
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return arrange(QRect(0, 0, width, 0), false); }
    void setGeometry(const QRect &rect) override
    {
        QLayout::setGeometry(rect);
        arrange(rect, true);
    }
    QSize sizeHint() const override
    {
        // All on one line.
        int width = 0;
        int height = 0;
        for (const QLayoutItem *item : items) {
            if (!item->isEmpty()) {
                width += item->sizeHint().width() + spacing();
                height = std::max(height, item->sizeHint().height());
            }
        }
        const QMargins m = contentsMargins();
        return {width + m.left() + m.right(), height + m.top() + m.bottom()};
    }
    QSize minimumSize() const override
    {
        // The widest single item: the rest can wrap.
        QSize size;
        for (const QLayoutItem *item : items) {
            if (!item->isEmpty()) {
                size = size.expandedTo(item->minimumSize());
            }
        }
        const QMargins m = contentsMargins();
        return size + QSize(m.left() + m.right(), m.top() + m.bottom());
    }

private:
    // Places the items in `rect` (when `apply`) and returns the height they take.
    int arrange(const QRect &rect, bool apply) const
    {
        const QRect area = rect.marginsRemoved(contentsMargins());
        int x = area.x();
        int y = area.y();
        int lineHeight = 0;
        for (QLayoutItem *item : items) {
            if (item->isEmpty()) {
                continue;
            }
            const QSize size = item->sizeHint();
            if (x > area.x() && x + size.width() > area.right() + 1) {
                x = area.x();
                y += lineHeight + spacing();
                lineHeight = 0;
            }
            if (apply) {
                item->setGeometry(QRect(QPoint(x, y), size));
            }
            x += size.width() + spacing();
            lineHeight = std::max(lineHeight, size.height());
        }
        const QMargins m = contentsMargins();
        return y + lineHeight - rect.y() + m.bottom();
    }

    QList<QLayoutItem *> items;
};
} // namespace

ControlLineLedRow::ControlLineLedRow(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new WrappingRowLayout(this);
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
