#pragma once

// Which parts of the compact connection pane beside each port are shown, and in what
// order: three groups ("connection", "receive", "send"), each shown or not, in a
// chosen order, and per group an order of its fields and a set of hidden fields. The
// project file and the last-used state keep it under the same "QuickSettings/..." keys.

#include <QMap>
#include <QString>
#include <QStringList>

class QSettings;

class QuickSettingsGroups
{
public:
    static QString connectionGroup(); // "connection"
    static QString receiveGroup();    // "receive"
    static QString sendGroup();       // "send"

    // "connection", "receive", "send".
    static QStringList defaultGroupOrder();
    // The fields of a group in their default order; empty for a group without a known
    // list (such as "controlLines", whose lists are only carried along).
    static QStringList defaultFieldOrder(const QString &group);
    // `stored` reduced to the known group ids (each once, blanks trimmed), followed by
    // the ids it misses in default order.
    static QStringList normalizedGroupOrder(const QStringList &stored);

    bool groupVisible(const QString &group) const;
    // Unknown ids are ignored.
    void setGroupVisible(const QString &group, bool visible);
    bool anyGroupVisible() const;

    // Always a permutation of defaultGroupOrder().
    QStringList groupOrder() const { return order; }
    void setGroupOrder(const QStringList &groupIds);

    // The order as stored for a group, or empty when none is stored.
    QStringList storedFieldOrder(const QString &group) const { return fieldOrders.value(group); }
    bool hasStoredFieldOrder(const QString &group) const { return fieldOrders.contains(group); }
    // The order the pane uses: for a group with known fields, the stored order reduced to
    // known fields, then the missing ones in default order; otherwise the stored order.
    QStringList fieldOrder(const QString &group) const;
    void setFieldOrder(const QString &group, const QStringList &fields);

    QStringList hiddenFields(const QString &group) const { return hidden.value(group); }
    bool hasStoredHiddenFields(const QString &group) const { return hidden.contains(group); }
    void setHiddenFields(const QString &group, const QStringList &fields);
    void setFieldVisible(const QString &group, const QString &field, bool visible);

    // A field shows unless it is hidden; the group's own visibility is not considered.
    bool fieldVisible(const QString &group, const QString &field) const;
    // fieldOrder(group) without the hidden fields.
    QStringList visibleFields(const QString &group) const;

    // Reads the "QuickSettings/..." keys relative to the current group of `settings`.
    // A missing group order leaves the default; field lists are read for each id of
    // SettingsKey::quickSettingsFieldGroupIds().
    static QuickSettingsGroups load(const QSettings &settings);
    // Replaces everything under "QuickSettings", so that no list of an earlier save stays.
    static void save(QSettings &settings, const QuickSettingsGroups &groups);

    bool operator==(const QuickSettingsGroups &) const = default;

private:
    bool connectionShown = true;
    bool receiveShown = true;
    bool sendShown = true;
    QStringList order = defaultGroupOrder();
    QMap<QString, QStringList> fieldOrders; // as stored, per group id
    QMap<QString, QStringList> hidden;      // as stored, per group id
};
