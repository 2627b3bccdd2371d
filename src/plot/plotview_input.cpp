// The view's cursors and read-outs, and what the mouse and keyboard do to it.

#include "plot/plotbuffer.h"
#include "plot/plotview.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr double WheelFactor = 0.8; // one wheel notch shows 80 % of the span

QString formatNumber(double value)
{
    return std::isnan(value) ? QStringLiteral("-") : QString::number(value, 'g', 6);
}

} // namespace

void PlotView::drawCursors(QPainter &painter, const QRectF &area, double left, double span) const
{
    const auto pxOf = [&](double x) { return area.left() + (x - left) / span * area.width(); };
    QStringList lines;
    QList<qint64> at;
    if (measureMode && (cursorA || cursorB)) {
        const std::pair<bool, double> marks[] = {{cursorA, cursorAX}, {cursorB, cursorBX}};
        for (const auto &[on, x] : marks) {
            if (!on) {
                continue;
            }
            at.append(nearestSample(x));
            QPen pen(palette().color(QPalette::Text), 1, Qt::DashLine);
            painter.setPen(pen);
            painter.drawLine(QPointF(pxOf(x), area.top()), QPointF(pxOf(x), area.bottom()));
        }
        const bool time = xAxis == PlotXAxis::Time;
        if (at.size() == 2) {
            if (time) {
                const double ta = buffer->time(at.at(0));
                const double tb = buffer->time(at.at(1));
                QString head = tr("A %1 s  B %2 s  dt %3 s")
                                   .arg(formatNumber(ta), formatNumber(tb), formatNumber(tb - ta));
                if (tb != ta) {
                    head += tr("  1/dt %1 Hz").arg(formatNumber(1.0 / (tb - ta)));
                }
                lines.append(head);
            } else {
                lines.append(
                    tr("A #%1  B #%2  dn %3").arg(at.at(0)).arg(at.at(1)).arg(at.at(1) - at.at(0)));
            }
            for (int c = 0; c < buffer->channelCount(); ++c) {
                if (channelDrawn(c)) {
                    const double a = buffer->value(c, at.at(0));
                    const double b = buffer->value(c, at.at(1));
                    lines.append(tr("%1  A %2  B %3  d %4")
                                     .arg(channelName(c), formatNumber(a), formatNumber(b),
                                          formatNumber(b - a)));
                }
            }
        } else {
            lines.append(time ? tr("A %1 s").arg(formatNumber(buffer->time(at.at(0))))
                              : tr("A #%1").arg(at.at(0)));
            for (int c = 0; c < buffer->channelCount(); ++c) {
                if (channelDrawn(c)) {
                    lines.append(
                        tr("%1  A %2")
                            .arg(channelName(c), formatNumber(buffer->value(c, at.at(0)))));
                }
            }
        }
    } else if (!measureMode && hovering) {
        const qint64 sample = nearestSample(toAxis(hoverPx));
        if (sample < 0) {
            return;
        }
        const double x = pxOf(axisValue(sample));
        QColor guide = palette().color(QPalette::Text);
        guide.setAlpha(90);
        painter.setPen(guide);
        painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
        lines.append(xAxis == PlotXAxis::Time ? tr("%1 s").arg(formatNumber(buffer->time(sample)))
                                              : QStringLiteral("#%1").arg(sample));
        for (int c = 0; c < buffer->channelCount(); ++c) {
            if (channelDrawn(c)) {
                lines.append(
                    tr("%1  %2").arg(channelName(c), formatNumber(buffer->value(c, sample))));
            }
        }
    }
    if (!lines.isEmpty()) {
        drawReadout(painter, area, lines);
    }
}

void PlotView::drawReadout(QPainter &painter, const QRectF &area, const QStringList &lines) const
{
    const QFontMetrics metrics(font());
    double textWidth = 0;
    for (const QString &line : lines) {
        textWidth = std::max(textWidth, double(metrics.horizontalAdvance(line)));
    }
    const int shown = int(std::min<qsizetype>(lines.size(), 34));
    QRectF box(area.left() + 6, area.top() + 6, textWidth + 12, shown * metrics.height() + 8);
    QColor background = palette().color(QPalette::Base);
    background.setAlpha(225);
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(background);
    painter.drawRect(box);
    for (int i = 0; i < shown; ++i) {
        // A channel's line in its colour, the head line in the text colour.
        const bool channelLine = i > 0;
        painter.setPen(palette().color(QPalette::Text));
        if (channelLine) {
            int drawnIndex = 0;
            for (int c = 0; c < buffer->channelCount(); ++c) {
                if (channelDrawn(c) && ++drawnIndex == i) {
                    painter.setPen(channelColor(c).darker(110));
                    break;
                }
            }
        }
        painter.drawText(
            QPointF(box.left() + 6, box.top() + 4 + metrics.ascent() + i * metrics.height()),
            lines.at(i));
    }
}

void PlotView::wheelEvent(QWheelEvent *event)
{
    const double steps = event->angleDelta().y() / 120.0;
    if (steps == 0.0 || !buffer) {
        event->ignore();
        return;
    }
    const double factor = std::pow(WheelFactor, steps);
    if (event->modifiers() & Qt::ControlModifier) {
        const double middle = (lastYLow + lastYHigh) / 2.0;
        const double half = (lastYHigh - lastYLow) / 2.0 * factor;
        Q_EMIT yRangeRequested(middle - half, middle + half);
    } else {
        const bool time = xAxis == PlotXAxis::Time;
        const double current = window > 0 ? window : spanFor() * (time ? 1000.0 : 1.0);
        const double wanted =
            std::clamp(std::round(current * factor), time ? 100.0 : 10.0,
                       time ? double(PlotConfig::MaxWindow) : double(buffer->capacity()));
        Q_EMIT windowRequested(int(wanted));
    }
    event->accept();
}

void PlotView::mousePressEvent(QMouseEvent *event)
{
    if (!measureMode) {
        QWidget::mousePressEvent(event);
        return;
    }
    if (event->button() == Qt::RightButton) {
        cursorA = cursorB = false;
    } else if (event->button() == Qt::LeftButton) {
        const qint64 sample = nearestSample(toAxis(event->position().x()));
        if (sample < 0) {
            return;
        }
        const double x = axisValue(sample);
        if (!cursorA || cursorB) {
            cursorA = true;
            cursorAX = x;
            cursorB = false;
        } else {
            cursorB = true;
            cursorBX = x;
        }
    }
    update();
}

void PlotView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && !measureMode) {
        Q_EMIT resetRequested();
    }
}

void PlotView::mouseMoveEvent(QMouseEvent *event)
{
    hovering = plotArea().contains(event->position());
    hoverPx = event->position().x();
    if (!measureMode) {
        update();
    }
}

void PlotView::leaveEvent(QEvent *)
{
    hovering = false;
    update();
}

void PlotView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Space) {
        Q_EMIT pauseRequested(!paused);
        return;
    }
    QWidget::keyPressEvent(event);
}
