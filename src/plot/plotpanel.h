#pragma once

// A port's plot: it takes the port's received bytes, runs one parser per data source,
// fills the sample ring and holds the view, its toolbar and the statistics table.
// Received rows only mark the view dirty; a 33 ms timer repaints, and statistics are
// worked out at every eighth tick, so a device printing thousands of lines a second
// costs the window a few repaints a second, never one per line.

#include "plot/plotbuffer.h"
#include "plot/plotconfig.h"
#include "plot/plotparser.h"

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QWidget>

#include <functional>

class PlotView;
class QAction;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;
class QTableWidget;
class QTableWidgetItem;
class QTimer;
class QToolBar;

class PlotPanel : public QWidget
{
    Q_OBJECT
public:
    static constexpr int Capacity = 100000;
    static constexpr int MaxParsers = 16;
    static constexpr int RepaintMs = 33;
    static constexpr int StatsEveryTicks = 8;
    // A chunk of rows is spread over the time since the last row, at most this long.
    static constexpr double SpreadSeconds = 0.5;

    explicit PlotPanel(QWidget *parent = nullptr);
    ~PlotPanel() override;

    PlotConfig config() const { return cfg; }
    // Applies a stored or programmatic set-up without emitting configChanged.
    void setConfig(const PlotConfig &config);
    // Applies a user's change; emits configChanged if anything differs.
    void changeConfig(const PlotConfig &config);

    // Ends every source's partial line and starts a new stream clock.
    void resetStream();
    // Forgets every sample.
    void clear();
    // Where "now" comes from, in seconds; without one, a clock started by the stream.
    void setTimeSource(std::function<double()> source);
    void setPaused(bool paused);
    bool isPaused() const;
    // Moves the panel into a window of its own, or back where it was.
    void setPoppedOut(bool out);
    bool isPoppedOut() const { return popWindow != nullptr; }
    // The port's label, for the title of the popped-out window.
    void setTitleSource(std::function<QString()> source);

    bool exportCsv(const QString &path, QString *error);
    bool exportPng(const QString &path, QString *error);
    // "plot-yyyyMMdd-HHmmss.<suffix>".
    static QString suggestedFileName(const QString &suffix, const QDateTime &when);

    // The names shown per channel: the user's, else the device's, else "CH<n>".
    QStringList channelNames() const;
    const PlotBuffer &buffer() const { return samples; }
    PlotView *view() const { return plotView; }
    int parserCount() const { return int(parsers.size()); }
    const PlotParser *parser(const QString &source) const;
    // The status line and the statistics table, now.
    void refreshStats();
    QString statusText() const;

public slots:
    void ingest(const QByteArray &data, const QString &source);

signals:
    void configChanged();
    void closeRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    PlotParser &parserFor(const QString &source);
    void rebuildParsers();
    void applyConfig(const PlotConfig &config);
    void pushConfigToWidgets();
    void pullConfigFromWidgets();
    void reconcileChannels(const PlotParser &parser);
    void refreshHints();
    void onTick();
    void onTableItemChanged(QTableWidgetItem *item);
    void exportWithDialog(bool csv);
    void buildToolBar();
    void fillWindowCombo();
    qint64 skippedCount() const;

    PlotConfig cfg;
    PlotBuffer samples{Capacity};
    QHash<QString, PlotParser> parsers;
    QStringList deviceNames; // by column, from the parsers
    QElapsedTimer streamClock;
    double streamOffset = 0.0; // where a new stream's clock starts on the time axis
    double lastRowTime = 0.0;
    std::function<double()> timeSource;
    bool dirty = false;
    int tick = 0;
    qint64 skippedBaseline = 0;
    qint64 rateRows = 0;
    QElapsedTimer rateClock;
    double rowsPerSecond = 0.0;
    qint64 rowsSeen = 0;
    bool pushing = false;
    std::function<QString()> titleSource;

    QTimer *timer = nullptr;
    PlotView *plotView = nullptr;
    QToolBar *toolBar = nullptr;
    QComboBox *formatCombo = nullptr;
    QLineEdit *regexEdit = nullptr;
    QAction *regexAction = nullptr;
    QComboBox *axisCombo = nullptr;
    QComboBox *windowCombo = nullptr;
    QCheckBox *autoScaleBox = nullptr;
    QDoubleSpinBox *yMinSpin = nullptr;
    QDoubleSpinBox *yMaxSpin = nullptr;
    QAction *yMinAction = nullptr; // the spin boxes show while the range is fixed
    QAction *yMaxAction = nullptr;
    QAction *pauseAction = nullptr;
    QAction *measureAction = nullptr;
    QAction *popOutAction = nullptr;
    QLabel *statusLabel = nullptr;
    QTableWidget *table = nullptr;
    QPointer<QWidget> popWindow;
    QPointer<QWidget> dockParent;
    int dockIndex = -1;
};
