#include "bridge/bridgesparkline.h"

#include <QPainter>

#include <algorithm>

BridgeSparkline::BridgeSparkline(QWidget *parent)
    : QWidget(parent)
{
    setMinimumHeight(48);
    setToolTip(tr("Last two minutes. Above the line: A to B. Below: B to A. Red bands mark "
                  "seconds where data was dropped."));
}

void BridgeSparkline::setSamples(const QList<BridgeLink::Sample> &samples)
{
    list = samples.mid(std::max<qsizetype>(0, samples.size() - BridgeLink::MaxSamples));
    update();
}

void BridgeSparkline::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    if (list.isEmpty()) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect(), Qt::AlignCenter, tr("No traffic yet"));
        return;
    }
    qint64 largest = 1;
    for (const BridgeLink::Sample &s : std::as_const(list)) {
        largest = std::max({largest, s.aToB, s.bToA});
    }
    const double column = double(width()) / BridgeLink::MaxSamples;
    const double half = height() / 2.0;
    // The newest second stands at the right edge.
    const double start = width() - column * double(list.size());
    for (qsizetype i = 0; i < list.size(); ++i) {
        const BridgeLink::Sample &s = list.at(i);
        const double x = start + column * double(i);
        if (s.dropped > 0) {
            painter.fillRect(QRectF(x, 0, column, height()), QColor(0xc0, 0x39, 0x2b, 90));
        }
        const double up = half * double(s.aToB) / double(largest);
        const double down = half * double(s.bToA) / double(largest);
        painter.fillRect(QRectF(x, half - up, std::max(column - 1, 1.0), up), QColor(0x15, 0x65, 0xc0));
        painter.fillRect(QRectF(x, half, std::max(column - 1, 1.0), down), QColor(0x2e, 0x7d, 0x32));
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawLine(QPointF(0, half), QPointF(width(), half));
}
