// The live plot on a port panel: a PlotPanel under the receive view, fed from the
// received road, and the entry of the panel's View menu that shows and hides it.

#include "session/serialportwidget.h"

#include "plot/plotpanel.h"
#include "session/ui_serialportwidget.h"

#include <QMenu>
#include <QSplitter>
#include <QToolButton>

void SerialPortWidget::setupPlot()
{
    plot = new PlotPanel(ui->dataSplitter);
    ui->dataSplitter->insertWidget(1, plot);
    ui->dataSplitter->setStretchFactor(1, 3);
    plot->setTitleSource([this] { return sessionPortLabel(); });
    connect(this, &SerialPortWidget::rxTapped, plot, &PlotPanel::ingest);

    viewMenuValue = new QMenu(tr("View"), this);
    viewMenuValue->setObjectName(QStringLiteral("portViewMenu"));
    QAction *plotAction = viewMenuValue->addAction(tr("Plot"));
    plotAction->setObjectName(QStringLiteral("acViewPlot"));
    plotAction->setCheckable(true);
    plotAction->setToolTip(tr("Draw the numbers in the received data as live curves"));
    ui->viewButton->setMenu(viewMenuValue);

    const auto showPlot = [this, plotAction](bool visible) {
        plotAction->setChecked(visible);
        PlotConfig config = plot->config();
        if (config.visible != visible) {
            config.visible = visible;
            plot->changeConfig(config);
            Q_EMIT plotVisibilityChanged(visible);
        }
    };
    connect(plotAction, &QAction::triggered, this, showPlot);
    connect(plot, &PlotPanel::closeRequested, this, [showPlot] { showPlot(false); });
    connect(plot, &PlotPanel::configChanged, this, &SerialPortWidget::markSettingsDirty);
}

void SerialPortWidget::setPlotConfig(const PlotConfig &config)
{
    const bool wasVisible = plot->config().visible;
    plot->setConfig(config);
    if (auto *action = viewMenuValue->findChild<QAction *>(QStringLiteral("acViewPlot"))) {
        action->setChecked(plot->config().visible);
    }
    if (wasVisible != config.visible) {
        Q_EMIT plotVisibilityChanged(config.visible);
    }
}

PlotConfig SerialPortWidget::plotConfig() const
{
    return plot->config();
}
