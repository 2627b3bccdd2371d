#include "app/quicksettingseditor.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <utility>

namespace {
// Item data: the id of the group or field.
constexpr int IdRole = Qt::UserRole;

Qt::CheckState checkState(bool checked)
{
    return checked ? Qt::Checked : Qt::Unchecked;
}

bool isChecked(const QTreeWidgetItem *item)
{
    return item->checkState(0) == Qt::Checked;
}

QString itemId(const QTreeWidgetItem *item)
{
    return item->data(0, IdRole).toString();
}
} // namespace

QuickSettingsEditor::QuickSettingsEditor(QWidget *parent)
    : QWidget(parent)
{
    auto *intro =
        new QLabel(tr("Choose the groups and fields to show, and arrange their order."), this);
    intro->setObjectName(QStringLiteral("quickSettingsIntro"));
    intro->setWordWrap(true);

    tree = new QTreeWidget(this);
    tree->setObjectName(QStringLiteral("quickSettingsTree"));
    tree->setHeaderHidden(true);
    tree->setColumnCount(1);
    tree->setSelectionMode(QAbstractItemView::SingleSelection);

    moveUpButton = new QPushButton(tr("Move Up"), this);
    moveUpButton->setObjectName(QStringLiteral("quickSettingsMoveUpButton"));
    moveUpButton->setAutoDefault(false);
    moveDownButton = new QPushButton(tr("Move Down"), this);
    moveDownButton->setObjectName(QStringLiteral("quickSettingsMoveDownButton"));
    moveDownButton->setAutoDefault(false);

    auto *buttons = new QVBoxLayout;
    buttons->addWidget(moveUpButton);
    buttons->addWidget(moveDownButton);
    buttons->addStretch(1);
    auto *body = new QHBoxLayout;
    body->addWidget(tree, 1);
    body->addLayout(buttons);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(body, 1);

    connect(moveUpButton, &QPushButton::clicked, this, [this] { moveCurrent(-1); });
    connect(moveDownButton, &QPushButton::clicked, this, [this] { moveCurrent(1); });
    connect(tree, &QTreeWidget::currentItemChanged, this, &QuickSettingsEditor::updateMoveButtons);
    connect(tree, &QTreeWidget::itemChanged, this, &QuickSettingsEditor::onItemChanged);

    setGroups(QuickSettingsGroups());
}

const QuickSettingsEditor::ItemText *QuickSettingsEditor::itemText(const QString &group,
                                                                   const QString &field)
{
#define TEXT(text) QT_TRANSLATE_NOOP("QuickSettingsEditor", text)
    // Groups have an empty field.
    static const ItemText texts[] = {
        {"connection", "", TEXT("Connection Settings"), TEXT("Port and connection parameters")},
        {"receive", "", TEXT("Receive Settings"), TEXT("How received data is shown")},
        {"send", "", TEXT("Send Settings"), TEXT("How data is sent")},
        {"connection", "baudRate", TEXT("Baudrate"), TEXT("Serial transfer speed")},
        {"connection", "dataBits", TEXT("Data Bits"), TEXT("Data bits per frame")},
        {"connection", "flowControl", TEXT("Flow Type"), TEXT("Flow control method")},
        {"connection", "stopBits", TEXT("Stop Bits"), TEXT("Stop bits per frame")},
        {"connection", "parity", TEXT("Parity"), TEXT("Parity check mode")},
        {"connection", "indicatorLights", TEXT("Indicator Lights"),
         TEXT("Show all TX/RX and control line indicators")},
        {"receive", "rxFormat", TEXT("Format"),
         TEXT("Show received data as text or hex, and the encoding to read it with")},
        {"receive", "rxAutoFeed", TEXT("Auto Line Feed"),
         TEXT("Start a new line after an idle interval")},
        {"receive", "rxDisplayTime", TEXT("Display Time"),
         TEXT("Prefix received data with a timestamp")},
        {"send", "txFormat", TEXT("Format"),
         TEXT("Send the input as text or hex, and the encoding to send it with")},
        {"send", "txLoop", TEXT("Loop Send"), TEXT("Resend automatically at an interval")},
        {"send", "txAutoFeed", TEXT("Append Line Ending"), TEXT("Ending appended to each send")},
        {"send", "txTerminalEnter", TEXT("Enter Sends"),
         TEXT("Bytes sent when Enter is pressed in the receive terminal")},
        {"send", "txChecksum", TEXT("Append Checksum"), TEXT("Checksum appended to each send")},
        {"send", "txDisplaySend", TEXT("Display Send"), TEXT("Echo sent data in the display")},
        {"send", "txLocalEcho", TEXT("Local Echo"),
         TEXT("Echo keys typed into the receive terminal")},
        {"send", "txLineByLine", TEXT("Line by Line"), TEXT("Send multi-line input line by line")},
    };
#undef TEXT
    for (const ItemText &text : texts) {
        if (group == QLatin1String(text.group) && field == QLatin1String(text.field)) {
            return &text;
        }
    }
    return nullptr;
}

QString QuickSettingsEditor::groupLabel(const QString &group)
{
    const ItemText *text = itemText(group, QString());
    return text ? tr(text->label) : group;
}

QString QuickSettingsEditor::groupToolTip(const QString &group)
{
    const ItemText *text = itemText(group, QString());
    return text ? tr(text->toolTip) : QString();
}

QString QuickSettingsEditor::fieldLabel(const QString &group, const QString &field)
{
    const ItemText *text = field.isEmpty() ? nullptr : itemText(group, field);
    return text ? tr(text->label) : field;
}

QString QuickSettingsEditor::fieldToolTip(const QString &group, const QString &field)
{
    const ItemText *text = field.isEmpty() ? nullptr : itemText(group, field);
    return text ? tr(text->toolTip) : QString();
}

void QuickSettingsEditor::setGroups(const QuickSettingsGroups &groups)
{
    const bool wasFilling = std::exchange(filling, true);
    shown = groups;
    tree->clear();
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
    for (const QString &group : groups.groupOrder()) {
        auto *groupItem = new QTreeWidgetItem(tree);
        groupItem->setText(0, groupLabel(group));
        groupItem->setToolTip(0, groupToolTip(group));
        groupItem->setData(0, IdRole, group);
        groupItem->setFlags(flags);
        groupItem->setCheckState(0, checkState(groups.groupVisible(group)));
        for (const QString &field : groups.fieldOrder(group)) {
            auto *fieldItem = new QTreeWidgetItem(groupItem);
            fieldItem->setText(0, fieldLabel(group, field));
            fieldItem->setToolTip(0, fieldToolTip(group, field));
            fieldItem->setData(0, IdRole, field);
            fieldItem->setFlags(flags);
            fieldItem->setCheckState(0, checkState(groups.fieldVisible(group, field)));
        }
        syncFieldsEnabled(groupItem);
    }
    tree->expandAll();
    tree->setCurrentItem(tree->topLevelItem(0));
    filling = wasFilling;
    updateMoveButtons();
}

QuickSettingsGroups QuickSettingsEditor::groups() const
{
    QuickSettingsGroups out = shown;
    QStringList order;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        const QTreeWidgetItem *groupItem = tree->topLevelItem(g);
        const QString group = itemId(groupItem);
        order.append(group);
        out.setGroupVisible(group, isChecked(groupItem));

        QStringList fields;
        QStringList hidden;
        bool visibilityAsShown = true;
        for (int f = 0; f < groupItem->childCount(); ++f) {
            const QTreeWidgetItem *fieldItem = groupItem->child(f);
            const QString field = itemId(fieldItem);
            const bool visible = isChecked(fieldItem);
            fields.append(field);
            if (!visible) {
                hidden.append(field);
            }
            visibilityAsShown = visibilityAsShown && visible == shown.fieldVisible(group, field);
        }
        // Lists that read as they were set stay as they were stored, so that an
        // unchanged tree gives back exactly the groups it was given.
        if (fields != shown.fieldOrder(group)) {
            out.setFieldOrder(group, fields);
        }
        if (!visibilityAsShown) {
            out.setHiddenFields(group, hidden);
        }
    }
    out.setGroupOrder(order);
    return out;
}

void QuickSettingsEditor::restoreDefaults()
{
    setGroups(QuickSettingsGroups());
    Q_EMIT changed();
}

void QuickSettingsEditor::moveCurrent(int step)
{
    QTreeWidgetItem *item = tree->currentItem();
    if (!item || step == 0) {
        return;
    }
    QTreeWidgetItem *parent = item->parent();
    const int count = parent ? parent->childCount() : tree->topLevelItemCount();
    const int from = parent ? parent->indexOfChild(item) : tree->indexOfTopLevelItem(item);
    const int to = from + step;
    if (to < 0 || to >= count) {
        return;
    }
    const bool wasFilling = std::exchange(filling, true);
    const bool expanded = item->isExpanded();
    if (parent) {
        parent->takeChild(from);
        parent->insertChild(to, item);
    } else {
        tree->takeTopLevelItem(from);
        tree->insertTopLevelItem(to, item);
    }
    item->setExpanded(expanded);
    tree->setCurrentItem(item);
    filling = wasFilling;
    updateMoveButtons();
    Q_EMIT changed();
}

void QuickSettingsEditor::syncFieldsEnabled(QTreeWidgetItem *item)
{
    if (!item || item->parent()) {
        return;
    }
    const bool wasFilling = std::exchange(filling, true);
    const bool enabled = isChecked(item);
    for (int f = 0; f < item->childCount(); ++f) {
        QTreeWidgetItem *field = item->child(f);
        field->setFlags(enabled ? field->flags() | Qt::ItemIsEnabled
                                : field->flags() & ~Qt::ItemIsEnabled);
    }
    filling = wasFilling;
}

void QuickSettingsEditor::updateMoveButtons()
{
    QTreeWidgetItem *item = tree->currentItem();
    if (!item) {
        moveUpButton->setEnabled(false);
        moveDownButton->setEnabled(false);
        return;
    }
    const QTreeWidgetItem *parent = item->parent();
    const int count = parent ? parent->childCount() : tree->topLevelItemCount();
    const int index = parent ? parent->indexOfChild(item) : tree->indexOfTopLevelItem(item);
    moveUpButton->setEnabled(index > 0);
    moveDownButton->setEnabled(index < count - 1);
}

bool QuickSettingsEditor::anyGroupChecked() const
{
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        if (isChecked(tree->topLevelItem(g))) {
            return true;
        }
    }
    return false;
}

void QuickSettingsEditor::onItemChanged(QTreeWidgetItem *item)
{
    if (filling) {
        return;
    }
    if (!item->parent()) {
        syncFieldsEnabled(item);
    }
    Q_EMIT changed();
}
