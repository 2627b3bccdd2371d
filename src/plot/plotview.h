#pragma once

// Paints the samples of a PlotBuffer as curves, one colour per channel. Whatever the
// number of samples, each pixel column gets at most four points per channel (first,
// lowest, highest, last), so a paint costs the same at a thousand samples as at a
// hundred thousand, and a one-sample spike still shows.

#include "plot/plotcolumns.h"
#include "plot/plotconfig.h"

#include <QImage>
#include <QList>
#include <QPointF>
#include <QStringList>
#include <QWidget>

class PlotBuffer;

class PlotView : public QWidget
{
    Q_OBJECT
public:
    explicit PlotView(QWidget *parent = nullptr);

    void setBuffer(const PlotBuffer *buffer);
    void setXAxis(PlotXAxis axis);
    void setWindow(int window);
    void setAutoScale(bool on);
    void setYRange(double low, double high);
    void setHiddenChannels(const QList<int> &channels);
    // Freezes what is shown; the buffer goes on filling.
    void setPaused(bool paused);
    bool isPaused() const { return paused; }
    // Cursor positions in the axis' unit: a sample number, or seconds.
    void setCursors(bool aOn, double a, bool bOn, double b);
    // In measure mode left clicks place A then B and a right click clears them.
    void setMeasureMode(bool on);
    void setBanner(const QString &text);
    void setEmptyHint(const QString &text);
    // Names shown in the cursor read-outs, by channel.
    void setChannelNames(const QStringList &names);

    static QColor channelColor(int channel);

    // The first and last sample in view; false when nothing is.
    bool visibleRows(qint64 *first, qint64 *last) const;
    // The left and right edges of the view in the axis' unit.
    void xRange(double *left, double *right) const;
    // The vertical range of the last paint.
    double shownYMin() const { return lastYLow; }
    double shownYMax() const { return lastYHigh; }

    QSize sizeHint() const override { return {640, 240}; }
    QSize minimumSizeHint() const override { return {200, 120}; }

signals:
    void windowRequested(int window);
    void yRangeRequested(double low, double high);
    void pauseRequested(bool paused);
    void resetRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QRectF plotArea() const;
    qint64 newestSample() const;
    double spanFor() const;
    double axisValue(qint64 sample) const;
    qint64 nearestSample(double x) const;
    double toAxis(double px) const;
    // Grid lines with `lines`, tick labels with `labels`.
    void drawGrid(QPainter *lines, QPainter *labels, const QRectF &area, double left,
                  double right) const;
    void drawCurves(QPainter &labels, const QRectF &area, qint64 first, qint64 last);
    // Dense curves straight into the layer, where v lies at y = height - (v - low) * yScale.
    void drawDense(const QList<int> &drawn, const QList<QList<PlotColumn>> &kept, double low,
                   double yScale);
    void drawCursors(QPainter &painter, const QRectF &area, double left, double span) const;
    void drawReadout(QPainter &painter, const QRectF &area, const QStringList &lines) const;
    QString axisText(double x) const;
    QString channelName(int channel) const;
    bool channelDrawn(int channel) const;

    const PlotBuffer *buffer = nullptr;
    PlotXAxis xAxis = PlotXAxis::Samples;
    int window = 0;
    bool autoScale = true;
    double yMin = 0.0;
    double yMax = 100.0;
    QList<int> hiddenChannels;
    bool paused = false;
    qint64 frozenNewest = -1;
    bool measureMode = false;
    bool cursorA = false;
    bool cursorB = false;
    double cursorAX = 0.0;
    double cursorBX = 0.0;
    bool hovering = false;
    double hoverPx = 0.0;
    QString banner;
    QString emptyHint;
    QStringList names;

    PlotColumns columns;
    QImage layer; // the plot area, drawn here and copied onto the view at once
    double lastYLow = 0.0;
    double lastYHigh = 1.0;
};
