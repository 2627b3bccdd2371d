#include "recording/replaytimeline.h"

#include <QDateTime>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>

ReplayTimeline::ReplayTimeline(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("replayTimeline"));
    setMinimumHeight(36);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setMouseTracking(false);
}

void ReplayTimeline::setSpan(qint64 fromUs, qint64 toUs)
{
    from = fromUs;
    to = std::max(fromUs, toUs);
    update();
}

void ReplayTimeline::setActivity(const QList<qint64> &buckets)
{
    activity = buckets;
    update();
}

void ReplayTimeline::setBookmarks(const QList<ReplayBookmark> &bookmarks)
{
    marks = bookmarks;
    update();
}

void ReplayTimeline::setLoop(qint64 fromUs, qint64 toUs)
{
    loopFrom = fromUs;
    loopTo = toUs;
    update();
}

void ReplayTimeline::setPlayhead(qint64 us)
{
    if (us != playhead) {
        playhead = us;
        update();
    }
}

qint64 ReplayTimeline::timeAt(int x) const
{
    const double share = std::clamp(double(x - 1) / double(buckets()), 0.0, 1.0);
    return from + qint64(std::llround(share * double(to - from)));
}

int ReplayTimeline::xAt(qint64 us) const
{
    if (to <= from) {
        return 1;
    }
    return 1 + int(double(us - from) * double(buckets()) / double(to - from));
}

void ReplayTimeline::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QPalette pal = palette();
    painter.fillRect(rect(), pal.color(QPalette::Base));
    const int h = height() - 2;
    if (loopFrom <= loopTo) {
        painter.fillRect(QRect(QPoint(xAt(loopFrom), 0), QPoint(xAt(loopTo), height())),
                         QColor(255, 200, 0, 60));
    }
    const qint64 peak = activity.isEmpty() ? 0 : *std::max_element(activity.begin(), activity.end());
    if (peak > 0) {
        // Square root, so that quiet stretches still show next to a burst.
        const QColor bar = pal.color(QPalette::Highlight);
        for (int i = 0; i < activity.size(); ++i) {
            if (activity[i] <= 0) {
                continue;
            }
            const int barHeight = std::max(1, int(std::sqrt(double(activity[i]) / double(peak)) * (h - 8)));
            painter.fillRect(1 + i, height() - 1 - barHeight, 1, barHeight, bar);
        }
    }
    painter.setPen(QPen(QColor(220, 120, 0), 1));
    for (const ReplayBookmark &bookmark : std::as_const(marks)) {
        const int x = xAt(bookmark.t);
        painter.drawLine(x, 0, x, height());
        painter.drawText(QRect(x - 5, 0, 11, 10), Qt::AlignCenter, QStringLiteral("▾"));
    }
    painter.setPen(QPen(QColor(200, 30, 30), 2));
    const int x = xAt(playhead);
    painter.drawLine(x, 0, x, height());
    painter.setPen(pal.color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void ReplayTimeline::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    emit bucketsChanged();
}

void ReplayTimeline::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && to > from) {
        emit seekRequested(timeAt(int(event->position().x())));
    }
}

void ReplayTimeline::mouseMoveEvent(QMouseEvent *event)
{
    if ((event->buttons() & Qt::LeftButton) && to > from) {
        emit seekRequested(timeAt(int(event->position().x())));
    }
}

bool ReplayTimeline::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const qint64 us = timeAt(help->pos().x());
        QString text = QDateTime::fromMSecsSinceEpoch(us / 1000, zone).toString(QStringLiteral("HH:mm:ss.zzz"));
        for (const ReplayBookmark &bookmark : std::as_const(marks)) {
            if (std::abs(xAt(bookmark.t) - help->pos().x()) <= 3) {
                text = tr("%1 — %2").arg(text, bookmark.name.isEmpty() ? bookmark.id : bookmark.name);
                break;
            }
        }
        QToolTip::showText(help->globalPos(), text, this);
        return true;
    }
    return QWidget::event(event);
}
