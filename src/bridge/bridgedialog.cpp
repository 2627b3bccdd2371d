#include "bridge/bridgedialog.h"

#include "bridge/bridgeeditdialog.h"
#include "bridge/bridgelink.h"
#include "bridge/bridgemanager.h"
#include "bridge/bridgesparkline.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

BridgeDialog::BridgeDialog(BridgeManager *manager, const QStringList &portNames, QWidget *parent)
    : QDialog(parent)
    , manager(manager)
    , ports(portNames)
    , list(new QTableWidget(0, 5, this))
    , sparkline(new BridgeSparkline(this))
    , detail(new QLabel(this))
    , editButton(new QPushButton(tr("Edit..."), this))
    , removeButton(new QPushButton(tr("Delete"), this))
    , resumeButton(new QPushButton(tr("Resume"), this))
{
    setWindowTitle(tr("Bridges"));
    resize(760, 460);
    list->setHorizontalHeaderLabels({tr("On"), tr("Name"), tr("End A"), tr("End B"), tr("Status")});
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->verticalHeader()->hide();
    list->horizontalHeader()->setStretchLastSection(true);
    detail->setTextFormat(Qt::RichText);
    detail->setWordWrap(true);
    auto *addButton = new QPushButton(tr("New..."), this);
    auto *buttons = new QHBoxLayout;
    for (QPushButton *b : {addButton, editButton, removeButton, resumeButton}) {
        buttons->addWidget(b);
    }
    buttons->addStretch();
    auto *close = new QPushButton(tr("Close"), this);
    buttons->addWidget(close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(list, 1);
    layout->addWidget(sparkline);
    layout->addWidget(detail);
    layout->addLayout(buttons);
    connect(addButton, &QPushButton::clicked, this, &BridgeDialog::onAdd);
    connect(editButton, &QPushButton::clicked, this, &BridgeDialog::onEdit);
    connect(removeButton, &QPushButton::clicked, this, &BridgeDialog::onRemove);
    connect(resumeButton, &QPushButton::clicked, this, &BridgeDialog::onResume);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    connect(list, &QTableWidget::itemSelectionChanged, this, &BridgeDialog::refreshStats);
    connect(list, &QTableWidget::cellDoubleClicked, this, &BridgeDialog::onEdit);
    // The "On" box turns a bridge on or off in place.
    connect(list, &QTableWidget::itemChanged, this, [this](QTableWidgetItem *item) {
        const int row = item->row();
        if (item->column() != 0 || row >= this->manager->configs().size()) {
            return;
        }
        BridgeConfig c = this->manager->configs().at(row);
        const bool on = item->checkState() == Qt::Checked;
        if (c.enabled == on) {
            return;
        }
        c.enabled = on;
        QString error;
        if (!this->manager->updateLink(row, c, &error)) {
            QMessageBox::warning(this, windowTitle(), error);
        }
        refreshList();
    });
    connect(manager, &BridgeManager::linksChanged, this, &BridgeDialog::refreshList);
    connect(manager, &BridgeManager::statsChanged, this, &BridgeDialog::refreshStats);
    connect(manager, &BridgeManager::badgesChanged, this, &BridgeDialog::refreshList);
    refreshList();
}

QString BridgeDialog::endName(const BridgeConfig &c, bool endB) const
{
    if (endB && c.useBuiltinListener) {
        return tr("TCP :%1 (built-in)").arg(c.listenPort);
    }
    const int port = endB ? c.portB : c.portA;
    return ports.value(port, tr("Port %1").arg(port + 1));
}

void BridgeDialog::refreshList()
{
    const int keep = selectedRow();
    const QSignalBlocker blocker(list);
    const QList<BridgeConfig> configs = manager->configs();
    list->setRowCount(int(configs.size()));
    for (int row = 0; row < configs.size(); ++row) {
        const BridgeConfig &c = configs.at(row);
        auto *on = new QTableWidgetItem;
        on->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        on->setCheckState(c.enabled ? Qt::Checked : Qt::Unchecked);
        list->setItem(row, 0, on);
        list->setItem(row, 1, new QTableWidgetItem(c.name.isEmpty() ? tr("(unnamed)") : c.name));
        list->setItem(row, 2, new QTableWidgetItem(endName(c, false)));
        list->setItem(row, 3, new QTableWidgetItem(endName(c, true)));
        const BridgeLink *link = manager->linkAt(row);
        list->setItem(row, 4, new QTableWidgetItem(link ? link->stateDetail() : QString()));
    }
    list->resizeColumnsToContents();
    if (keep >= 0 && keep < configs.size()) {
        list->selectRow(keep);
    } else if (!configs.isEmpty()) {
        list->selectRow(0);
    }
    refreshStats();
}

void BridgeDialog::refreshStats()
{
    const int row = selectedRow();
    const BridgeLink *link = row >= 0 ? manager->linkAt(row) : nullptr;
    editButton->setEnabled(row >= 0);
    removeButton->setEnabled(row >= 0);
    resumeButton->setEnabled(link && link->isSuspended());
    if (!link) {
        sparkline->setSamples({});
        detail->clear();
        return;
    }
    if (list->item(row, 4)) {
        list->item(row, 4)->setText(link->stateDetail());
    }
    sparkline->setSamples(link->samples());
    const QLocale locale;
    const BridgeFlow &ab = link->flowAtoB();
    const BridgeFlow &ba = link->flowBtoA();
    const QList<BridgeLink::Sample> samples = link->samples();
    const BridgeLink::Sample last = samples.isEmpty() ? BridgeLink::Sample() : samples.last();
    const bool drops = ab.bytesDropped() > 0 || ba.bytesDropped() > 0;
    const BridgeConfig &c = link->config();
    QString text =
        tr("<b>%1</b><br/>A→B&nbsp; %2 &nbsp; %3/s &nbsp; queue %4 &nbsp; <span "
           "style='color:%9'>dropped %5</span><br/>B→A&nbsp; %6 &nbsp; %7/s &nbsp; queue %8 "
           "&nbsp; <span style='color:%9'>dropped %10</span>")
            .arg(c.name.isEmpty() ? tr("(unnamed)") : c.name.toHtmlEscaped(),
                 locale.formattedDataSize(ab.bytesForwarded()),
                 locale.formattedDataSize(last.aToB),
                 locale.formattedDataSize(ab.queueBytes()),
                 locale.formattedDataSize(ab.bytesDropped()),
                 locale.formattedDataSize(ba.bytesForwarded()),
                 locale.formattedDataSize(last.bToA),
                 locale.formattedDataSize(ba.queueBytes()),
                 drops ? QStringLiteral("#c0392b") : QStringLiteral("palette(text)"))
            .arg(locale.formattedDataSize(ba.bytesDropped()));
    if (!link->captureError().isEmpty()) {
        text += tr("<br/><span style='color:#c0392b'>Capture stopped: %1</span>")
                    .arg(link->captureError().toHtmlEscaped());
    }
    if (link->sourceThrottleUnavailable()) {
        text += QStringLiteral("<br/>") +
                tr("ⓘ One end cannot be slowed down (a serial port without flow control, or "
                   "UDP). If the buffer fills, the newest data is dropped and counted above.");
    }
    if (c.fanoutMode == FanoutMode::TakeTurns) {
        text += QStringLiteral("<br/>") +
                (link->arbiterIdleBecauseSinglePeer()
                     ? tr("ⓘ Taking turns is configured, but neither end accepts several "
                          "clients, so there is nothing to arbitrate.")
                     : tr("Taking turns: %1 waiting, %2 unanswered, %3 dropped")
                           .arg(link->arbiterQueuedRequests())
                           .arg(link->arbiterTimedOutRequests())
                           .arg(link->arbiterDroppedRequests()));
    }
    detail->setText(text);
}

QString BridgeDialog::detailText() const
{
    return detail->text();
}

int BridgeDialog::selectedRow() const
{
    const QList<QTableWidgetSelectionRange> ranges = list->selectedRanges();
    return ranges.isEmpty() ? -1 : ranges.first().topRow();
}

void BridgeDialog::selectRow(int row)
{
    list->selectRow(row);
}

BridgeConfig BridgeDialog::suggestedConfig() const
{
    BridgeConfig c;
    c.name = tr("Bridge %1").arg(manager->configs().size() + 1);
    c.portA = 0;
    c.portB = 1;
    return c;
}

bool BridgeDialog::runEditor(BridgeEditDialog &editor)
{
    return editorHook ? editorHook(editor) : editor.exec() == QDialog::Accepted;
}

void BridgeDialog::onAdd()
{
    if (ports.size() < 2) {
        QMessageBox::information(
            this, windowTitle(),
            tr("A bridge joins two ports; add a second port first (Edit > Add Port)."));
        return;
    }
    BridgeEditDialog editor(ports, suggestedConfig(), this);
    editor.validator = [this](const BridgeConfig &c) {
        QString error;
        return manager->validate(c, -1, &error) ? QString() : error;
    };
    if (!runEditor(editor)) {
        return;
    }
    const BridgeConfig c = editor.config();
    const QString warning = manager->fanInWarning(c, -1);
    QString error;
    if (!manager->addLink(c, &error)) {
        QMessageBox::warning(this, windowTitle(), error);
        return;
    }
    if (!warning.isEmpty()) {
        QMessageBox::information(this, windowTitle(), warning);
    }
    refreshList();
    selectRow(int(manager->configs().size()) - 1);
}

void BridgeDialog::onEdit()
{
    const int row = selectedRow();
    if (row < 0 || row >= manager->configs().size()) {
        return;
    }
    BridgeEditDialog editor(ports, manager->configs().at(row), this);
    editor.validator = [this, row](const BridgeConfig &c) {
        QString error;
        return manager->validate(c, row, &error) ? QString() : error;
    };
    if (!runEditor(editor)) {
        return;
    }
    const BridgeConfig c = editor.config();
    const QString warning = manager->fanInWarning(c, row);
    QString error;
    if (!manager->updateLink(row, c, &error)) {
        QMessageBox::warning(this, windowTitle(), error);
        return;
    }
    if (!warning.isEmpty()) {
        QMessageBox::information(this, windowTitle(), warning);
    }
    refreshList();
}

void BridgeDialog::onRemove()
{
    const int row = selectedRow();
    if (row >= 0 && row < manager->configs().size()) {
        manager->removeLink(row);
        refreshList();
    }
}

void BridgeDialog::onResume()
{
    const int row = selectedRow();
    if (BridgeLink *link = row >= 0 ? manager->linkAt(row) : nullptr) {
        link->resume();
        refreshStats();
    }
}
