#pragma once

#include "session/quicksettingsgroups.h"

#include <QWidget>

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// Chooses which groups and fields the connection pane beside each port shows, and in
// what order: a tree of the three groups with their fields as checkable children, and
// buttons that move the current item within its level.
class QuickSettingsEditor : public QWidget
{
    Q_OBJECT
public:
    explicit QuickSettingsEditor(QWidget *parent = nullptr);

    // Shows `groups` in the tree; this counts as no user edit.
    void setGroups(const QuickSettingsGroups &groups);
    // The tree read back over the groups last set: the order of the groups and of each
    // group's fields, the checked groups, and the unchecked fields as hidden. What the
    // tree does not show (the lists of other groups) stays as it was set.
    QuickSettingsGroups groups() const;
    void restoreDefaults();

    // Moves the current item `step` places within its level; nothing past either end.
    void moveCurrent(int step);
    // Enables the fields of a group item exactly while the group is checked.
    void syncFieldsEnabled(QTreeWidgetItem *item);
    void updateMoveButtons();
    bool anyGroupChecked() const;

    // Labels and tooltips of the groups and their fields.
    static QString groupLabel(const QString &group);
    static QString groupToolTip(const QString &group);
    static QString fieldLabel(const QString &group, const QString &field);
    static QString fieldToolTip(const QString &group, const QString &field);

signals:
    // The user checked, unchecked or moved an item.
    void changed();

private:
    struct ItemText
    {
        const char *group;
        const char *field;
        const char *label;
        const char *toolTip;
    };
    static const ItemText *itemText(const QString &group, const QString &field);

    void onItemChanged(QTreeWidgetItem *item);

    QTreeWidget *tree = nullptr;
    QPushButton *moveUpButton = nullptr;
    QPushButton *moveDownButton = nullptr;
    QuickSettingsGroups shown;
    bool filling = false;
};
