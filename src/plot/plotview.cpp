#include "plot/plotview.h"

#include "plot/plotbuffer.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr int MarkSpacingPx = 6; // samples this far apart get marks of their own
constexpr double FarPx = 1e6;    // points are kept this close to the view

// A step of 1, 2 or 5 times a power of ten that cuts `span` into about `count` parts.
double niceStep(double span, int count)
{
    const double raw = span / std::max(1, count);
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    const double norm = raw / magnitude;
    const double factor = norm < 1.5 ? 1.0 : norm < 3.0 ? 2.0 : norm < 7.0 ? 5.0 : 10.0;
    return factor * magnitude;
}

QList<double> ticksFor(double low, double high, int count, double minStep, double *step)
{
    QList<double> ticks;
    *step = std::max(niceStep(high - low, count), minStep);
    if (!std::isfinite(*step) || *step <= 0.0) {
        return ticks;
    }
    for (double v = std::ceil(low / *step) * *step; v <= high && ticks.size() < 100; v += *step) {
        ticks.append(std::abs(v) < *step * 1e-9 ? 0.0 : v);
    }
    return ticks;
}

// The range of a set of values, widened so that a flat curve still has room.
void widenRange(double *low, double *high)
{
    if (*high < *low) {
        std::swap(*low, *high);
    }
    if (*high - *low <= std::abs(*high) * 1e-12) {
        const double pad = *low == 0.0 ? 1.0 : std::abs(*low) * 0.1;
        *low -= pad;
        *high += pad;
    }
}

} // namespace

PlotView::PlotView(QWidget *parent)
    : QWidget(parent)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PlotView::setBuffer(const PlotBuffer *newBuffer)
{
    buffer = newBuffer;
    update();
}

void PlotView::setXAxis(PlotXAxis axis)
{
    if (axis != xAxis) {
        xAxis = axis;
        cursorA = cursorB = false;
        update();
    }
}

void PlotView::setWindow(int newWindow)
{
    window = std::max(0, newWindow);
    update();
}

void PlotView::setAutoScale(bool on)
{
    autoScale = on;
    update();
}

void PlotView::setYRange(double low, double high)
{
    yMin = low;
    yMax = high;
    update();
}

void PlotView::setHiddenChannels(const QList<int> &channels)
{
    hiddenChannels = channels;
    update();
}

void PlotView::setPaused(bool on)
{
    if (on == paused) {
        return;
    }
    paused = on;
    frozenNewest = on && buffer ? buffer->total() - 1 : -1;
    update();
}

void PlotView::setCursors(bool aOn, double a, bool bOn, double b)
{
    cursorA = aOn;
    cursorAX = a;
    cursorB = bOn;
    cursorBX = b;
    update();
}

void PlotView::setMeasureMode(bool on)
{
    measureMode = on;
    if (!on) {
        cursorA = cursorB = false;
    }
    update();
}

void PlotView::setBanner(const QString &text)
{
    if (text != banner) {
        banner = text;
        update();
    }
}

void PlotView::setEmptyHint(const QString &text)
{
    if (text != emptyHint) {
        emptyHint = text;
        update();
    }
}

void PlotView::setChannelNames(const QStringList &channelNames)
{
    names = channelNames;
}

QColor PlotView::channelColor(int channel)
{
    static const QRgb colors[] = {0x1f77b4, 0xd62728, 0x2ca02c, 0xff7f0e, 0x9467bd,
                                  0x17becf, 0xe377c2, 0x8c564b, 0xbcbd22, 0x7f7f7f};
    return QColor(colors[std::abs(channel) % 10]);
}

qint64 PlotView::newestSample() const
{
    if (!buffer || buffer->count() == 0) {
        return -1;
    }
    const qint64 newest = buffer->total() - 1;
    return paused && frozenNewest >= 0 ? std::min(frozenNewest, newest) : newest;
}

double PlotView::axisValue(qint64 sample) const
{
    return xAxis == PlotXAxis::Time ? buffer->time(sample) : double(sample);
}

bool PlotView::visibleRows(qint64 *first, qint64 *last) const
{
    const qint64 newest = newestSample();
    if (newest < 0 || newest < buffer->firstSample()) {
        return false;
    }
    qint64 begin = buffer->firstSample();
    if (window > 0) {
        begin = xAxis == PlotXAxis::Time
                    ? buffer->lowerBoundTime(buffer->time(newest) - window / 1000.0)
                    : std::max(begin, newest - window + 1);
    }
    *first = begin;
    *last = newest;
    return true;
}

double PlotView::spanFor() const
{
    if (window > 0) {
        return xAxis == PlotXAxis::Time ? window / 1000.0 : double(window);
    }
    const qint64 newest = newestSample();
    if (newest < 0 || newest < buffer->firstSample()) {
        return 1.0;
    }
    const double span = axisValue(newest) - axisValue(buffer->firstSample());
    return span > 0.0 ? span : 1.0;
}

void PlotView::xRange(double *left, double *right) const
{
    const qint64 newest = newestSample();
    *right = newest >= 0 && newest >= buffer->firstSample() ? axisValue(newest) : 0.0;
    *left = *right - spanFor();
}

QRectF PlotView::plotArea() const
{
    const QFontMetrics metrics(font());
    const int left = metrics.horizontalAdvance(QStringLiteral("-0.000000")) + 10;
    const int top = metrics.height() / 2 + 4;
    return QRectF(left, top, std::max(1, width() - left - 12),
                  std::max(1, height() - top - 2 * metrics.height()));
}

double PlotView::toAxis(double px) const
{
    const QRectF area = plotArea();
    double left = 0.0;
    double right = 0.0;
    xRange(&left, &right);
    const double fraction = std::clamp((px - area.left()) / std::max(1.0, area.width()), 0.0, 1.0);
    return left + fraction * (right - left);
}

qint64 PlotView::nearestSample(double x) const
{
    const qint64 newest = newestSample();
    if (newest < 0 || newest < buffer->firstSample()) {
        return -1;
    }
    const qint64 oldest = buffer->firstSample();
    if (xAxis == PlotXAxis::Samples) {
        return std::clamp(qint64(std::llround(x)), oldest, newest);
    }
    const qint64 after = std::min(buffer->lowerBoundTime(x), newest);
    if (after > oldest && x - buffer->time(after - 1) <= buffer->time(after) - x) {
        return after - 1;
    }
    return after;
}

bool PlotView::channelDrawn(int channel) const
{
    return !hiddenChannels.contains(channel);
}

QString PlotView::channelName(int channel) const
{
    const QString name = names.value(channel);
    return name.isEmpty() ? tr("CH%1").arg(channel + 1) : name;
}

QString PlotView::axisText(double x) const
{
    if (xAxis == PlotXAxis::Time) {
        return tr("%1 s").arg(QString::number(x, 'f', 3));
    }
    return QStringLiteral("#%1").arg(qint64(std::llround(x)));
}

// The plot area is drawn into an opaque image of its own and reaches the window as one
// copy; only the margins around it are filled on the window. Large fills on the window
// are handed to the paint engine's thread pool, and on a busy machine waiting for those
// threads held the event loop for tens of milliseconds at every repaint.
void PlotView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRectF area = plotArea();
    const QRect areaRect = area.toRect();
    const QColor base = palette().color(QPalette::Base);
    for (const QRect &strip : QRegion(rect()).subtracted(areaRect)) {
        painter.fillRect(strip, base);
    }
    if (layer.size() != areaRect.size()) {
        layer = QImage(areaRect.size(), QImage::Format_RGB32);
    }
    for (int y = 0; y < layer.height(); ++y) { // by hand, for the same reason
        auto *line = reinterpret_cast<QRgb *>(layer.scanLine(y));
        std::fill(line, line + layer.width(), base.rgb());
    }
    qint64 first = 0;
    qint64 last = -1;
    const bool any = buffer && visibleRows(&first, &last);
    double left = 0.0;
    double right = 1.0;
    if (any) {
        xRange(&left, &right);
        drawCurves(painter, area, first, last);
    } else {
        QPainter inner(&layer);
        inner.translate(-area.topLeft());
        drawGrid(&inner, &painter, area, left, right);
    }
    painter.drawImage(areaRect.topLeft(), layer);
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(area);
    if (!any) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(area.adjusted(20, 10, -20, -10), Qt::AlignCenter | Qt::TextWordWrap,
                         emptyHint);
    } else {
        drawCursors(painter, area, left, right - left);
    }
    if (!banner.isEmpty()) {
        const QFontMetrics metrics(font());
        QRectF box(area.left() + 4, area.top() + 4, area.width() - 8, metrics.height() + 6);
        painter.fillRect(box, QColor(0xd6, 0x27, 0x28, 40));
        painter.setPen(palette().color(QPalette::Text));
        painter.drawText(box, Qt::AlignCenter, banner);
    }
}

void PlotView::drawCurves(QPainter &labels, const QRectF &area, qint64 first, qint64 last)
{
    double left = 0.0;
    double right = 0.0;
    xRange(&left, &right);
    const int width = layer.width();
    columns.layout(*buffer, first, last, width, left, right - left, xAxis == PlotXAxis::Time);
    QList<int> drawn;
    for (int c = 0; c < buffer->channelCount(); ++c) {
        if (channelDrawn(c)) {
            drawn.append(c);
        }
    }
    // Smoothed polylines through the kept points look best, and cost about a microsecond
    // a point; many points are drawn as one stroke per column instead (dense).
    const qint64 samples = last - first + 1;
    const bool dense =
        samples >= 2 * qint64(width) || (samples >= width && drawn.size() * width > 16000);
    QList<QList<PlotColumn>> kept(drawn.size());
    double low = Infinity;
    double high = -Infinity;
    for (qsizetype i = 0; i < drawn.size(); ++i) {
        columns.aggregate(*buffer, drawn.at(i), !dense, kept[i]);
        for (const PlotColumn &column : std::as_const(kept.at(i))) {
            if (column.finite) {
                low = std::min(low, column.low);
                high = std::max(high, column.high);
            }
        }
    }
    if (autoScale) {
        if (low > high) {
            low = 0.0;
            high = 1.0;
        }
        widenRange(&low, &high);
        const double pad = (high - low) * 0.05;
        low -= pad;
        high += pad;
    } else {
        low = yMin;
        high = yMax;
        widenRange(&low, &high);
    }
    lastYLow = low;
    lastYHigh = high;

    // In the layer, x runs from 0 at the area's left edge and y from 0 at its top.
    const double yScale = area.height() / (high - low);
    const auto yOf = [&](double v) {
        return std::clamp(area.height() - (v - low) * yScale, -FarPx, area.height() + FarPx);
    };
    {
        QPainter inner(&layer);
        inner.translate(-area.topLeft());
        drawGrid(&inner, &labels, area, left, right);
    }
    if (dense) {
        drawDense(drawn, kept, low, yScale);
        return;
    }
    QPainter inner(&layer);
    inner.setRenderHint(QPainter::Antialiasing, true);
    const bool marked = double(width) / double(last - first + 1) >= MarkSpacingPx;
    QPolygonF points;
    const auto flush = [&] {
        if (points.size() == 1) {
            inner.drawPoint(points.constFirst());
        } else if (points.size() > 1) {
            inner.drawPolyline(points);
        }
        points.clear();
    };
    // A wider pen reads better, and is kept for curves of a few thousand points in all.
    const double penWidth = drawn.size() * columns.columnCount() <= 8000 ? 1.5 : 1.0;
    for (qsizetype i = 0; i < drawn.size(); ++i) {
        QPen pen(channelColor(drawn.at(i)), penWidth);
        pen.setCosmetic(true);
        inner.setPen(pen);
        for (const PlotColumn &column : std::as_const(kept.at(i))) {
            if (!column.finite) {
                flush(); // a column of NaN breaks the line
                continue;
            }
            // First, one extreme, the other, last: a spike inside the column shows.
            const double x = column.x + 0.5;
            points.append(QPointF(x, yOf(column.first)));
            if (!column.single) {
                points.append(QPointF(x, yOf(column.lowFirst ? column.low : column.high)));
                points.append(QPointF(x, yOf(column.lowFirst ? column.high : column.low)));
                points.append(QPointF(x, yOf(column.last)));
            }
        }
        flush();
        if (marked) {
            inner.setPen(QPen(channelColor(drawn.at(i)), 5.0, Qt::SolidLine, Qt::RoundCap));
            for (const PlotColumn &column : std::as_const(kept.at(i))) {
                if (column.finite) {
                    points.append(QPointF(column.x + 0.5, yOf(column.last)));
                }
            }
            inner.drawPoints(points);
            points.clear();
        }
    }
}

// A dense curve lights, in each column, the pixels from its lowest to its highest value
// and up to the last value of the column before: the pixels a polyline through first,
// low, high and last would light, written straight into the layer, without a stroker
// call per segment, which costs tens of milliseconds at 32 channels. Columns left empty
// between two that hold samples are bridged with a line.
void PlotView::drawDense(const QList<int> &drawn, const QList<QList<PlotColumn>> &kept, double low,
                         double yScale)
{
    const double height = layer.height();
    const auto yOf = [&](double v) {
        return std::clamp(height - (v - low) * yScale, -FarPx, height + FarPx);
    };
    auto *bits = reinterpret_cast<QRgb *>(layer.bits());
    const qsizetype stride = layer.bytesPerLine() / qsizetype(sizeof(QRgb));
    const double lastRow = layer.height() - 1;
    const auto rowOf = [&](double v) { return int(std::clamp(std::floor(yOf(v)), 0.0, lastRow)); };
    // Every channel is drawn a strip of columns at a time, so that the strip's pixels
    // stay in the cache from one channel to the next: channel by channel over the whole
    // width, 32 busy channels pulled the image through memory 32 times.
    constexpr int Strip = 64;
    struct Pen
    {
        QRgb color = 0;
        qsizetype next = 0; // the next column of `kept` to draw
        int previous = -2;  // the column drawn before, or -2 after a break
        double previousLast = 0.0;
    };
    QList<Pen> pens(drawn.size());
    for (qsizetype i = 0; i < drawn.size(); ++i) {
        pens[i].color = channelColor(drawn.at(i)).rgb();
    }
    QList<QList<QLineF>> bridges(drawn.size());
    for (int stripEnd = Strip; stripEnd < layer.width() + Strip; stripEnd += Strip) {
        for (qsizetype i = 0; i < drawn.size(); ++i) {
            Pen &pen = pens[i];
            const QList<PlotColumn> &columns = kept.at(i);
            for (; pen.next < columns.size() && columns.at(pen.next).x < stripEnd; ++pen.next) {
                const PlotColumn &column = columns.at(pen.next);
                if (!column.finite) {
                    pen.previous = -2;
                    continue;
                }
                int from = rowOf(column.high);
                int to = rowOf(column.low);
                if (pen.previous == column.x - 1) {
                    const int joined = rowOf(pen.previousLast);
                    from = std::min(from, joined);
                    to = std::max(to, joined);
                } else if (pen.previous >= 0) {
                    bridges[i].append(QLineF(pen.previous + 0.5, yOf(pen.previousLast),
                                             column.x + 0.5, yOf(column.first)));
                }
                for (QRgb *pixel = bits + from * stride + column.x; from <= to;
                     ++from, pixel += stride) {
                    *pixel = pen.color;
                }
                pen.previous = column.x;
                pen.previousLast = column.last;
            }
        }
    }
    QPainter inner(&layer);
    for (qsizetype i = 0; i < drawn.size(); ++i) {
        if (!bridges.at(i).isEmpty()) {
            inner.setPen(QPen(channelColor(drawn.at(i)), 1.0));
            inner.drawLines(bridges.at(i));
        }
    }
}

void PlotView::drawGrid(QPainter *lines, QPainter *labels, const QRectF &area, double left,
                        double right) const
{
    const QFontMetrics metrics(font());
    // Faint, and opaque: a translucent line wakes the paint engine's thread pool to blend.
    const QColor mid = palette().color(QPalette::Mid);
    const QColor base = palette().color(QPalette::Base);
    const auto mix = [](int a, int b) { return (a * 70 + b * 185) / 255; };
    const QColor gridColor(mix(mid.red(), base.red()), mix(mid.green(), base.green()),
                           mix(mid.blue(), base.blue()));
    lines->setPen(gridColor);
    labels->setPen(palette().color(QPalette::Text));
    double step = 0.0;
    const QList<double> yTicks =
        ticksFor(lastYLow, lastYHigh, std::max(2, int(area.height() / 40)), 0.0, &step);
    for (const double v : yTicks) {
        const double y = area.bottom() - (v - lastYLow) / (lastYHigh - lastYLow) * area.height();
        lines->drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        labels->drawText(QRectF(0, y - metrics.height() / 2.0, area.left() - 5, metrics.height()),
                         Qt::AlignRight | Qt::AlignVCenter, QString::number(v, 'g', 6));
    }
    if (right <= left) {
        return;
    }
    const bool time = xAxis == PlotXAxis::Time;
    const QList<double> xTicks =
        ticksFor(left, right, std::max(2, int(area.width() / 110)), time ? 0.0 : 1.0, &step);
    for (const double v : xTicks) {
        const double x = area.left() + (v - left) / (right - left) * area.width();
        lines->drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
        labels->drawText(QRectF(x - 60, area.bottom() + 3, 120, metrics.height()),
                         Qt::AlignHCenter | Qt::AlignTop,
                         time ? tr("%1 s").arg(QString::number(v, 'g', 6))
                              : QString::number(qint64(v)));
    }
}
