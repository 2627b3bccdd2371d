// The plot panel's toolbar, its exports and its window of its own.

#include "plot/plotexport.h"
#include "plot/plotpanel.h"
#include "plot/plotview.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPixmap>
#include <QSaveFile>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

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
