#include "session/hled.h"

#include <QMouseEvent>
#include <QPainter>

namespace {
constexpr int Diameter = 10;
constexpr int Gap = 4;
} // namespace

HLed::HLed(const QString &text, QWidget *parent)
    : QWidget(parent)
    , caption(text)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void HLed::setOn(bool on)
{
    if (lit != on) {
        lit = on;
        update();
    }
}

void HLed::setColor(const QColor &color)
{
    if (onColor != color) {
        onColor = color;
        update();
    }
}

void HLed::setText(const QString &text)
{
    caption = text;
    updateGeometry();
    update();
}

void HLed::setClickable(bool on)
{
    clickable = on;
    setCursor(on ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

QSize HLed::sizeHint() const
{
    const QFontMetrics metrics(font());
    return {Diameter + Gap + metrics.horizontalAdvance(caption) + 2,
            std::max(Diameter, metrics.height()) + 2};
}

void HLed::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle(1, (height() - Diameter) / 2.0, Diameter, Diameter);
    const QColor off = palette().color(QPalette::Mid);
    painter.setPen(QPen(palette().color(QPalette::Dark), 1));
    painter.setBrush(lit ? onColor : off);
    painter.drawEllipse(circle);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(QRect(Diameter + Gap, 0, width() - Diameter - Gap, height()),
                     Qt::AlignVCenter | Qt::AlignLeft, caption);
}

void HLed::mouseReleaseEvent(QMouseEvent *event)
{
    if (clickable && event->button() == Qt::LeftButton && rect().contains(event->pos())) {
        Q_EMIT clicked();
    }
    QWidget::mouseReleaseEvent(event);
}
