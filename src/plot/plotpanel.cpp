#include "plot/plotpanel.h"

#include "plot/plotexport.h"
#include "plot/plotview.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPixmap>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSplitter>
#include <QTableWidget>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
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

void PlotPanel::buildToolBar()
{
    toolBar = new QToolBar(this);
    toolBar->setObjectName(QStringLiteral("plotToolBar"));
    toolBar->setIconSize(QSize(16, 16));
    toolBar->setToolButtonStyle(Qt::ToolButtonTextOnly);

    formatCombo = new QComboBox(toolBar);
    formatCombo->setObjectName(QStringLiteral("plotFormat"));
    formatCombo->addItem(tr("Text (CSV, FireWater, Arduino)"), int(PlotFormat::Text));
    formatCombo->addItem(tr("JustFloat (VOFA+)"), int(PlotFormat::JustFloat));
    formatCombo->addItem(tr("Regex"), int(PlotFormat::Regex));
    formatCombo->setToolTip(tr("How received bytes become samples"));
    toolBar->addWidget(formatCombo);
    regexEdit = new QLineEdit(toolBar);
    regexEdit->setObjectName(QStringLiteral("plotRegex"));
    regexEdit->setPlaceholderText(tr("Regular expression, such as T=(\\S+) H=(\\S+)"));
    regexEdit->setMinimumWidth(180);
    regexAction = toolBar->addWidget(regexEdit);
    toolBar->addSeparator();
    axisCombo = new QComboBox(toolBar);
    axisCombo->setObjectName(QStringLiteral("plotXAxis"));
    axisCombo->addItem(tr("Samples"), int(PlotXAxis::Samples));
    axisCombo->addItem(tr("Time"), int(PlotXAxis::Time));
    axisCombo->setToolTip(tr("What the horizontal axis counts"));
    toolBar->addWidget(axisCombo);
    windowCombo = new QComboBox(toolBar);
    windowCombo->setObjectName(QStringLiteral("plotWindow"));
    windowCombo->setToolTip(tr("How much history the view shows (the mouse wheel zooms)"));
    toolBar->addWidget(windowCombo);
    toolBar->addSeparator();
    autoScaleBox = new QCheckBox(tr("Auto Scale"), toolBar);
    autoScaleBox->setObjectName(QStringLiteral("plotAutoScale"));
    autoScaleBox->setToolTip(tr("Fit the vertical range to the curves in view (Ctrl and the "
                                "mouse wheel set a fixed range)"));
    toolBar->addWidget(autoScaleBox);
    for (QDoubleSpinBox **spin : {&yMinSpin, &yMaxSpin}) {
        *spin = new QDoubleSpinBox(toolBar);
        (*spin)->setRange(-1e12, 1e12);
        (*spin)->setDecimals(3);
        (*spin)->setKeyboardTracking(false);
        (*spin)->setMinimumWidth(80);
    }
    yMinAction = toolBar->addWidget(yMinSpin);
    yMaxAction = toolBar->addWidget(yMaxSpin);
    yMinSpin->setObjectName(QStringLiteral("plotYMin"));
    yMinSpin->setToolTip(tr("Bottom of the fixed range"));
    yMaxSpin->setObjectName(QStringLiteral("plotYMax"));
    yMaxSpin->setToolTip(tr("Top of the fixed range"));
    toolBar->addSeparator();

    pauseAction = toolBar->addAction(tr("Pause"));
    pauseAction->setObjectName(QStringLiteral("plotPause"));
    pauseAction->setCheckable(true);
    pauseAction->setToolTip(tr("Freeze the view; samples go on being collected (Space)"));
    connect(pauseAction, &QAction::toggled, this, &PlotPanel::setPaused);
    measureAction = toolBar->addAction(tr("Measure"));
    measureAction->setObjectName(QStringLiteral("plotMeasure"));
    measureAction->setCheckable(true);
    measureAction->setToolTip(tr("Left clicks place cursors A and B; a right click clears them"));
    connect(measureAction, &QAction::toggled, this,
            [this](bool on) { plotView->setMeasureMode(on); });
    QAction *clearAction = toolBar->addAction(tr("Clear"));
    clearAction->setObjectName(QStringLiteral("plotClear"));
    clearAction->setToolTip(tr("Forget every sample"));
    connect(clearAction, &QAction::triggered, this, &PlotPanel::clear);
    auto *exportButton = new QToolButton(toolBar);
    exportButton->setText(tr("Export"));
    exportButton->setPopupMode(QToolButton::InstantPopup);
    auto *exportMenu = new QMenu(exportButton);
    connect(exportMenu->addAction(tr("CSV...")), &QAction::triggered, this,
            [this] { exportWithDialog(true); });
    connect(exportMenu->addAction(tr("PNG...")), &QAction::triggered, this,
            [this] { exportWithDialog(false); });
    exportButton->setMenu(exportMenu);
    toolBar->addWidget(exportButton);
    popOutAction = toolBar->addAction(tr("Pop Out"));
    popOutAction->setObjectName(QStringLiteral("plotPopOut"));
    popOutAction->setCheckable(true);
    popOutAction->setToolTip(tr("Show the plot in a window of its own"));
    connect(popOutAction, &QAction::triggered, this, &PlotPanel::setPoppedOut);
    QAction *closeAction = toolBar->addAction(tr("Close"));
    closeAction->setObjectName(QStringLiteral("plotClose"));
    closeAction->setToolTip(tr("Hide the plot"));
    connect(closeAction, &QAction::triggered, this, &PlotPanel::closeRequested);

    const auto edited = [this] {
        if (!pushing) {
            pullConfigFromWidgets();
        }
    };
    connect(formatCombo, &QComboBox::currentIndexChanged, this, edited);
    connect(regexEdit, &QLineEdit::editingFinished, this, edited);
    connect(axisCombo, &QComboBox::currentIndexChanged, this, [this] {
        if (pushing) {
            return;
        }
        // The window counts samples on one axis and milliseconds on the other.
        PlotConfig next = cfg;
        next.xAxis = PlotXAxis(axisCombo->currentData().toInt());
        next.window = next.xAxis == PlotXAxis::Time ? 10000 : 1000;
        changeConfig(next);
    });
    connect(windowCombo, &QComboBox::currentIndexChanged, this, edited);
    connect(autoScaleBox, &QCheckBox::toggled, this, edited);
    connect(yMinSpin, &QDoubleSpinBox::valueChanged, this, edited);
    connect(yMaxSpin, &QDoubleSpinBox::valueChanged, this, edited);
}

void PlotPanel::fillWindowCombo()
{
    const bool time = cfg.xAxis == PlotXAxis::Time;
    QList<int> values = time ? QList<int>{1000, 5000, 10000, 30000, 60000, 300000}
                             : QList<int>{100, 500, 1000, 2000, 5000, 10000, 50000};
    if (cfg.window > 0 && !values.contains(cfg.window)) {
        values.append(cfg.window); // a zoom by the wheel
        std::sort(values.begin(), values.end());
    }
    windowCombo->clear();
    for (const int value : std::as_const(values)) {
        windowCombo->addItem(time ? tr("%1 s").arg(value / 1000.0) : tr("%1 samples").arg(value),
                             value);
    }
    windowCombo->addItem(tr("All"), 0);
    windowCombo->setCurrentIndex(windowCombo->findData(cfg.window));
}

void PlotPanel::pushConfigToWidgets()
{
    const bool was = std::exchange(pushing, true);
    formatCombo->setCurrentIndex(formatCombo->findData(int(cfg.format)));
    regexAction->setVisible(cfg.format == PlotFormat::Regex);
    if (!regexEdit->hasFocus() || regexEdit->text() != cfg.regex) {
        regexEdit->setText(cfg.regex);
    }
    axisCombo->setCurrentIndex(axisCombo->findData(int(cfg.xAxis)));
    fillWindowCombo();
    autoScaleBox->setChecked(cfg.autoScale);
    yMinSpin->setValue(cfg.yMin);
    yMaxSpin->setValue(cfg.yMax);
    yMinAction->setVisible(!cfg.autoScale);
    yMaxAction->setVisible(!cfg.autoScale);
    pushing = was;
}

void PlotPanel::pullConfigFromWidgets()
{
    PlotConfig next = cfg;
    next.format = PlotFormat(formatCombo->currentData().toInt());
    next.regex = regexEdit->text();
    next.window = windowCombo->currentData().toInt();
    next.autoScale = autoScaleBox->isChecked();
    if (!next.autoScale && cfg.autoScale) {
        // Fixing the range starts from what is shown.
        next.yMin = plotView->shownYMin();
        next.yMax = plotView->shownYMax();
    } else {
        next.yMin = yMinSpin->value();
        next.yMax = yMaxSpin->value();
    }
    changeConfig(next);
}

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

bool PlotPanel::exportCsv(const QString &path, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !PlotExport::writeCsv(&file, samples, channelNames()) ||
        !file.commit()) {
        if (error) {
            *error = tr("Could not write %1: %2")
                         .arg(QDir::toNativeSeparators(path), file.errorString());
        }
        return false;
    }
    return true;
}

bool PlotPanel::exportPng(const QString &path, QString *error)
{
    if (!plotView->grab().save(path, "PNG")) {
        if (error) {
            *error = tr("Could not write %1.").arg(QDir::toNativeSeparators(path));
        }
        return false;
    }
    return true;
}

QString PlotPanel::suggestedFileName(const QString &suffix, const QDateTime &when)
{
    return QStringLiteral("plot-%1.%2")
        .arg(when.toString(QStringLiteral("yyyyMMdd-HHmmss")), suffix);
}

void PlotPanel::exportWithDialog(bool csv)
{
    const QString suffix = csv ? QStringLiteral("csv") : QStringLiteral("png");
    const QString path = QFileDialog::getSaveFileName(
        this, csv ? tr("Export Plot as CSV") : tr("Export Plot as PNG"),
        QDir::home().filePath(suggestedFileName(suffix, QDateTime::currentDateTime())),
        csv ? tr("CSV files (*.csv)") : tr("PNG images (*.png)"));
    if (path.isEmpty()) {
        return;
    }
    QString error;
    if (!(csv ? exportCsv(path, &error) : exportPng(path, &error))) {
        QMessageBox::warning(this, tr("Plot"), error);
    }
}

void PlotPanel::setTitleSource(std::function<QString()> source)
{
    titleSource = std::move(source);
}

void PlotPanel::setPoppedOut(bool out)
{
    if (out == isPoppedOut()) {
        if (out) {
            popWindow->raise();
        }
        popOutAction->setChecked(out);
        return;
    }
    if (out) {
        dockParent = parentWidget();
        auto *splitter = qobject_cast<QSplitter *>(dockParent.data());
        dockIndex = splitter ? splitter->indexOf(this) : -1;
        // A window of the dock's own, so that it goes when the port goes.
        auto *window = new QWidget(dockParent, Qt::Window);
        window->setObjectName(QStringLiteral("plotWindow"));
        window->setWindowTitle(tr("Plot - %1").arg(titleSource ? titleSource() : QString()));
        auto *layout = new QVBoxLayout(window);
        layout->setContentsMargins(4, 4, 4, 4);
        layout->addWidget(this);
        window->resize(std::max(width(), 900), std::max(height(), 480));
        window->installEventFilter(this);
        popWindow = window;
        setVisible(true);
        window->setVisible(cfg.visible);
    } else {
        QWidget *window = popWindow;
        popWindow = nullptr;
        window->removeEventFilter(this);
        if (auto *splitter = qobject_cast<QSplitter *>(dockParent.data())) {
            splitter->insertWidget(std::max(0, dockIndex), this);
        } else {
            setParent(dockParent);
        }
        setVisible(cfg.visible);
        window->hide();
        window->deleteLater();
    }
    popOutAction->setChecked(out);
}

bool PlotPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == popWindow && event->type() == QEvent::Close) {
        setPoppedOut(false); // closing the window docks the plot again
        return true;
    }
    return QWidget::eventFilter(watched, event);
}
