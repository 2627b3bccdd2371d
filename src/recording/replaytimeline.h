#pragma once

// The strip under a replay: how much traffic the recording holds over its time span,
// its bookmarks, a loop range and the playhead. A click or a drag asks for a seek.

#include "recording/replaybookmark.h"

#include <QTimeZone>
#include <QWidget>

class ReplayTimeline : public QWidget
{
    Q_OBJECT
public:
    explicit ReplayTimeline(QWidget *parent = nullptr);

    void setSpan(qint64 fromUs, qint64 toUs);
    void setActivity(const QList<qint64> &buckets);
    void setBookmarks(const QList<ReplayBookmark> &bookmarks);
    void setLoop(qint64 fromUs, qint64 toUs); // from > to: none
    void setPlayhead(qint64 us);
    void setTimeZone(const QTimeZone &timeZone) { zone = timeZone; }
    qint64 timeAt(int x) const;
    int xAt(qint64 us) const;
    int buckets() const { return std::max(1, width() - 2); }

    QSize sizeHint() const override { return {400, 48}; }

signals:
    void seekRequested(qint64 us);
    // The width changed: the activity is to be worked out again for buckets().
    void bucketsChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    bool event(QEvent *event) override;

private:
    qint64 from = 0;
    qint64 to = 0;
    qint64 playhead = 0;
    qint64 loopFrom = 1;
    qint64 loopTo = 0;
    QList<qint64> activity;
    QList<ReplayBookmark> marks;
    QTimeZone zone = QTimeZone::systemTimeZone();
};
