#include "plot/plotpanel.h"

#include "plot/plotview.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QPixmap>
#include <QRegularExpression>
#include <QSplitter>
#include <QTableWidget>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

QString statText(double value)
{
    return std::isnan(value) ? QString() : QString::number(value, 'g', 5);
}

QIcon swatch(int channel)
{
    QPixmap pixmap(12, 12);
    pixmap.fill(PlotView::channelColor(channel));
    return QIcon(pixmap);
}

PlotConfig normalized(PlotConfig config)
{
    config.window = std::clamp(config.window, 0, PlotConfig::MaxWindow);
    config.channelNames = config.channelNames.mid(0, PlotConfig::MaxChannels);
    while (!config.channelNames.isEmpty() && config.channelNames.constLast().isEmpty()) {
        config.channelNames.removeLast();
    }
    QList<int> hidden;
    for (const int channel : std::as_const(config.hiddenChannels)) {
        if (channel >= 0 && channel < PlotConfig::MaxChannels && !hidden.contains(channel)) {
            hidden.append(channel);
        }
    }
    std::sort(hidden.begin(), hidden.end());
    config.hiddenChannels = hidden;
    return config;
}

} // namespace

PlotPanel::PlotPanel(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("plotPanel"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    buildToolBar();
    layout->addWidget(toolBar);

    auto *split = new QSplitter(Qt::Horizontal, this);
    split->setChildrenCollapsible(false);
    plotView = new PlotView(split);
    plotView->setObjectName(QStringLiteral("plotView"));
    plotView->setBuffer(&samples);
    table = new QTableWidget(0, 7, split);
    table->setObjectName(QStringLiteral("plotStats"));
    table->setHorizontalHeaderLabels(
        {tr("Channel"), tr("Last"), tr("Mean"), tr("Min"), tr("Max"), tr("P-P"), tr("Std Dev")});
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 4);
    const int numberWidth = table->fontMetrics().horizontalAdvance(QStringLiteral("-0.0000")) + 8;
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->setMinimumWidth(numberWidth * 2);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    table->setToolTip(tr("Untick a channel to hide it; double click a name to rename it."));
    split->addWidget(plotView);
    split->addWidget(table);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 2);
    split->setSizes({numberWidth * 12, numberWidth * 8});
    layout->addWidget(split, 1);
    statusLabel = new QLabel(this);
    statusLabel->setObjectName(QStringLiteral("plotStatus"));
    layout->addWidget(statusLabel);

    timer = new QTimer(this);
    timer->setInterval(RepaintMs);
    connect(timer, &QTimer::timeout, this, &PlotPanel::onTick);
    connect(table, &QTableWidget::itemChanged, this, &PlotPanel::onTableItemChanged);
    connect(plotView, &PlotView::pauseRequested, this, &PlotPanel::setPaused);
    connect(plotView, &PlotView::windowRequested, this, [this](int window) {
        PlotConfig next = cfg;
        next.window = window;
        changeConfig(next);
    });
    connect(plotView, &PlotView::yRangeRequested, this, [this](double low, double high) {
        PlotConfig next = cfg;
        next.autoScale = false;
        next.yMin = low;
        next.yMax = high;
        changeConfig(next);
    });
    connect(plotView, &PlotView::resetRequested, this, [this] {
        setPaused(false);
        PlotConfig next = cfg;
        next.autoScale = true;
        changeConfig(next);
    });
    applyConfig(cfg);
}

PlotPanel::~PlotPanel() = default;

void PlotPanel::setConfig(const PlotConfig &config)
{
    applyConfig(normalized(config));
}

void PlotPanel::changeConfig(const PlotConfig &config)
{
    const PlotConfig next = normalized(config);
    if (next == cfg) {
        pushConfigToWidgets(); // undo a widget's change that came to nothing
        return;
    }
    applyConfig(next);
    Q_EMIT configChanged();
}

void PlotPanel::applyConfig(const PlotConfig &config)
{
    const bool parsing = config.format != cfg.format || config.regex != cfg.regex;
    cfg = config;
    if (parsing) {
        rebuildParsers();
    }
    plotView->setXAxis(cfg.xAxis);
    plotView->setWindow(cfg.window);
    plotView->setAutoScale(cfg.autoScale);
    plotView->setYRange(cfg.yMin, cfg.yMax);
    plotView->setHiddenChannels(cfg.hiddenChannels);
    plotView->setChannelNames(channelNames());
    if (popWindow) {
        popWindow->setVisible(cfg.visible);
    } else {
        setVisible(cfg.visible);
    }
    if (cfg.visible) {
        timer->start();
    } else {
        timer->stop();
    }
    pushConfigToWidgets();
    refreshHints();
    refreshStats();
    dirty = true;
}

void PlotPanel::rebuildParsers()
{
    for (PlotParser &parser : parsers) {
        parser.setFormat(cfg.format);
        if (cfg.format == PlotFormat::Regex) {
            parser.setRegex(cfg.regex);
        }
    }
    deviceNames.clear();
    skippedBaseline = 0;
    skippedBaseline = skippedCount(); // lines skipped under the old format do not count
}

void PlotPanel::refreshHints()
{
    QString banner;
    QString hint;
    switch (cfg.format) {
    case PlotFormat::Text:
        hint = tr("Waiting for samples. Print one line per sample, such as \"1.5,-0.2,3\" or "
                  "\"temp:21.5 hum:40\"; VOFA+ FireWater lines work too.");
        break;
    case PlotFormat::JustFloat:
        hint = tr("Waiting for JustFloat frames: little-endian floats, one per channel, then "
                  "00 00 80 7F.");
        break;
    case PlotFormat::Regex: {
        const QRegularExpression expression(cfg.regex);
        if (cfg.regex.isEmpty()) {
            hint = tr("Enter a regular expression above. Each capture group becomes a channel.");
        } else {
            hint = tr("Waiting for lines that match the expression.");
            if (!expression.isValid()) {
                banner = tr("Invalid expression: %1").arg(expression.errorString());
            }
        }
        break;
    }
    }
    plotView->setEmptyHint(hint);
    plotView->setBanner(banner);
}

PlotParser &PlotPanel::parserFor(const QString &source)
{
    auto found = parsers.find(source);
    if (found != parsers.end()) {
        return found.value();
    }
    // Sixteen sources get a parser each; any further one shares the empty source's.
    const QString key = parsers.size() >= MaxParsers ? QString() : source;
    found = parsers.find(key);
    if (found == parsers.end()) {
        PlotParser parser;
        parser.setFormat(cfg.format);
        if (cfg.format == PlotFormat::Regex) {
            parser.setRegex(cfg.regex);
        }
        found = parsers.insert(key, parser);
    }
    return found.value();
}

const PlotParser *PlotPanel::parser(const QString &source) const
{
    const auto found = parsers.constFind(source);
    return found == parsers.cend() ? nullptr : &found.value();
}

void PlotPanel::ingest(const QByteArray &data, const QString &source)
{
    if (!cfg.visible) {
        return;
    }
    PlotParser &parser = parserFor(source);
    PlotParser::Rows rows;
    parser.feed(data, rows);
    if (rows.isEmpty()) {
        return;
    }
    if (!timeSource && !streamClock.isValid()) {
        streamClock.start(); // a new stream goes on from the last row's time
        streamOffset = lastRowTime;
    }
    const double now = std::max(
        timeSource ? timeSource() : streamOffset + streamClock.nsecsElapsed() / 1e9, lastRowTime);
    // The rows of one chunk share the time since the last row (at most half a second),
    // so a chunk of many lines does not draw a vertical wall.
    const double end = now;
    const double start = std::max(end - SpreadSeconds, lastRowTime);
    const auto count = double(rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        samples.append(start + (end - start) * double(i + 1) / count, rows.at(i));
    }
    lastRowTime = end;
    rowsSeen += rows.size();
    reconcileChannels(parser);
    dirty = true;
}

void PlotPanel::reconcileChannels(const PlotParser &parser)
{
    const QStringList &names = parser.channels();
    bool changed = false;
    while (deviceNames.size() < names.size()) {
        deviceNames.append(QString());
        changed = true;
    }
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (!names.at(i).isEmpty() && deviceNames.at(i).isEmpty()) {
            deviceNames[i] = names.at(i);
            changed = true;
        }
    }
    if (changed) {
        plotView->setChannelNames(channelNames());
    }
}

QStringList PlotPanel::channelNames() const
{
    QStringList names;
    const qsizetype count = std::max<qsizetype>(samples.channelCount(), deviceNames.size());
    for (qsizetype i = 0; i < count; ++i) {
        QString name = cfg.channelNames.value(i);
        if (name.isEmpty()) {
            name = deviceNames.value(i);
        }
        names.append(name.isEmpty() ? tr("CH%1").arg(i + 1) : name);
    }
    return names;
}

void PlotPanel::resetStream()
{
    for (PlotParser &parser : parsers) {
        parser.reset();
    }
    streamClock.invalidate();
}

void PlotPanel::clear()
{
    samples.clear();
    resetStream();
    lastRowTime = 0.0;
    streamOffset = 0.0;
    skippedBaseline += skippedCount();
    if (plotView->isPaused()) {
        plotView->setPaused(false); // freeze again at the new, empty, edge
        plotView->setPaused(true);
    }
    dirty = true;
    refreshStats();
}

void PlotPanel::setTimeSource(std::function<double()> source)
{
    timeSource = std::move(source);
}

void PlotPanel::setPaused(bool on)
{
    plotView->setPaused(on);
    if (pauseAction->isChecked() != on) {
        pauseAction->setChecked(on);
    }
    refreshStats();
}

bool PlotPanel::isPaused() const
{
    return plotView->isPaused();
}

qint64 PlotPanel::skippedCount() const
{
    qint64 bad = 0;
    for (const PlotParser &parser : parsers) {
        bad += parser.badCount();
    }
    return bad - skippedBaseline;
}

void PlotPanel::onTick()
{
    ++tick;
    if (!isVisible()) {
        return; // a hidden panel keeps its samples and paints nothing
    }
    if (dirty) {
        dirty = false;
        plotView->update();
    }
    if (tick % StatsEveryTicks == 0) {
        refreshStats();
    }
}

QString PlotPanel::statusText() const
{
    QStringList parts;
    parts.append(tr("%n channel(s)", nullptr, samples.channelCount()));
    parts.append(tr("%1 samples/s").arg(std::lround(rowsPerSecond)));
    parts.append(tr("%1 samples held").arg(samples.count()));
    if (const qint64 skipped = skippedCount(); skipped > 0) {
        parts.append(cfg.format == PlotFormat::JustFloat
                         ? tr("%1 bad frames skipped").arg(skipped)
                         : tr("%1 other lines skipped").arg(skipped));
    }
    if (isPaused()) {
        parts.append(tr("paused"));
    }
    return parts.join(QStringLiteral(" · "));
}

void PlotPanel::refreshStats()
{
    if (!rateClock.isValid()) {
        rateClock.start();
        rateRows = rowsSeen;
    } else if (const qint64 ms = rateClock.elapsed(); ms >= 200) {
        rowsPerSecond = double(rowsSeen - rateRows) * 1000.0 / double(ms);
        rateRows = rowsSeen;
        rateClock.restart();
    }
    statusLabel->setText(statusText());

    const bool was = std::exchange(pushing, true);
    const QStringList names = channelNames();
    const int channels = samples.channelCount();
    if (table->rowCount() != channels) {
        table->setRowCount(channels);
    }
    qint64 first = 0;
    qint64 last = -1;
    const bool any = plotView->visibleRows(&first, &last);
    for (int c = 0; c < channels; ++c) {
        QTableWidgetItem *name = table->item(c, 0);
        if (!name) {
            name = new QTableWidgetItem(swatch(c), QString());
            name->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsEditable);
            table->setItem(c, 0, name);
            for (int k = 1; k < 7; ++k) {
                auto *cell = new QTableWidgetItem;
                cell->setFlags(Qt::ItemIsEnabled);
                cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
                table->setItem(c, k, cell);
            }
        }
        if (name->text() != names.value(c)) {
            name->setText(names.value(c));
        }
        const Qt::CheckState shown = cfg.hiddenChannels.contains(c) ? Qt::Unchecked : Qt::Checked;
        if (name->checkState() != shown) {
            name->setCheckState(shown);
        }
        PlotStats stats = any ? samples.stats(c, first, last) : PlotStats();
        // A mean that is rounding noise around zero reads as zero.
        if (std::abs(stats.mean) <= 1e-12 * std::max(std::abs(stats.min), std::abs(stats.max))) {
            stats.mean = 0.0;
        }
        const double values[] = {
            stats.last, stats.mean, stats.min, stats.max, stats.max - stats.min, stats.stdDev};
        for (int k = 0; k < 6; ++k) {
            table->item(c, k + 1)->setText(stats.count > 0 ? statText(values[k]) : QString());
        }
    }
    pushing = was;
}

void PlotPanel::onTableItemChanged(QTableWidgetItem *item)
{
    if (pushing || item->column() != 0) {
        return;
    }
    const int channel = item->row();
    PlotConfig next = cfg;
    next.hiddenChannels.removeAll(channel);
    if (item->checkState() != Qt::Checked) {
        next.hiddenChannels.append(channel);
    }
    // A name that is the device's (or the default one) is no name of the user's.
    const QString text = item->text().trimmed();
    const QString deviceName = deviceNames.value(channel);
    const bool ownName = !text.isEmpty() && text != deviceName &&
                         (!deviceName.isEmpty() || text != tr("CH%1").arg(channel + 1));
    while (next.channelNames.size() <= channel) {
        next.channelNames.append(QString());
    }
    next.channelNames[channel] = ownName ? text : QString();
    changeConfig(next);
    refreshStats();
}
