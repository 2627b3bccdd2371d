#include "session/quicksettingsgroups.h"

#include "common/storedvaluereader.h"
#include "connection/settingskey.h"

#include <QSettings>

namespace {
const QString GroupKey = QStringLiteral("QuickSettings");

QString visibleKey(const QString &group)
{
    // The keys of the three groups are their ids with a capital first letter.
    QString id = group;
    id[0] = id.at(0).toUpper();
    return QStringLiteral("QuickSettings/%1").arg(id);
}

QString orderKey()
{
    return QStringLiteral("QuickSettings/GroupOrder");
}

QString fieldOrderKey(const QString &group)
{
    return QStringLiteral("QuickSettings/Fields/%1/Order").arg(group);
}

QString hiddenKey(const QString &group)
{
    return QStringLiteral("QuickSettings/Fields/%1/Hidden").arg(group);
}

// Each entry once, in order of first appearance.
QStringList distinct(const QStringList &list)
{
    QStringList out;
    for (const QString &entry : list) {
        if (!out.contains(entry)) {
            out.append(entry);
        }
    }
    return out;
}
} // namespace

QString QuickSettingsGroups::connectionGroup()
{
    return QStringLiteral("connection");
}

QString QuickSettingsGroups::receiveGroup()
{
    return QStringLiteral("receive");
}

QString QuickSettingsGroups::sendGroup()
{
    return QStringLiteral("send");
}

QStringList QuickSettingsGroups::defaultGroupOrder()
{
    return {connectionGroup(), receiveGroup(), sendGroup()};
}

QStringList QuickSettingsGroups::defaultFieldOrder(const QString &group)
{
    if (group == connectionGroup()) {
        return {QStringLiteral("baudRate"),    QStringLiteral("dataBits"),
                QStringLiteral("flowControl"), QStringLiteral("stopBits"),
                QStringLiteral("parity"),      QStringLiteral("indicatorLights")};
    }
    if (group == receiveGroup()) {
        return {QStringLiteral("rxFormat"), QStringLiteral("rxAutoFeed"),
                QStringLiteral("rxDisplayTime")};
    }
    if (group == sendGroup()) {
        return {QStringLiteral("txFormat"),    QStringLiteral("txLoop"),
                QStringLiteral("txAutoFeed"),  QStringLiteral("txTerminalEnter"),
                QStringLiteral("txChecksum"),  QStringLiteral("txDisplaySend"),
                QStringLiteral("txLocalEcho"), QStringLiteral("txLineByLine")};
    }
    return {};
}

QStringList QuickSettingsGroups::normalizedGroupOrder(const QStringList &stored)
{
    const QStringList known = defaultGroupOrder();
    QStringList normalized;
    for (const QString &entry : stored) {
        const QString id = entry.trimmed();
        if (known.contains(id) && !normalized.contains(id)) {
            normalized.append(id);
        }
    }
    for (const QString &id : known) {
        if (!normalized.contains(id)) {
            normalized.append(id);
        }
    }
    return normalized;
}

bool QuickSettingsGroups::groupVisible(const QString &group) const
{
    if (group == connectionGroup()) {
        return connectionShown;
    }
    if (group == receiveGroup()) {
        return receiveShown;
    }
    if (group == sendGroup()) {
        return sendShown;
    }
    return false;
}

void QuickSettingsGroups::setGroupVisible(const QString &group, bool visible)
{
    if (group == connectionGroup()) {
        connectionShown = visible;
    } else if (group == receiveGroup()) {
        receiveShown = visible;
    } else if (group == sendGroup()) {
        sendShown = visible;
    }
}

bool QuickSettingsGroups::anyGroupVisible() const
{
    return connectionShown || receiveShown || sendShown;
}

void QuickSettingsGroups::setGroupOrder(const QStringList &groupIds)
{
    order = normalizedGroupOrder(groupIds);
}

QStringList QuickSettingsGroups::fieldOrder(const QString &group) const
{
    const QStringList stored = distinct(fieldOrders.value(group));
    const QStringList known = defaultFieldOrder(group);
    if (known.isEmpty()) {
        return stored;
    }
    QStringList ordered;
    for (const QString &field : stored) {
        if (known.contains(field)) {
            ordered.append(field);
        }
    }
    for (const QString &field : known) {
        if (!ordered.contains(field)) {
            ordered.append(field);
        }
    }
    return ordered;
}

void QuickSettingsGroups::setFieldOrder(const QString &group, const QStringList &fields)
{
    fieldOrders.insert(group, fields);
}

void QuickSettingsGroups::setHiddenFields(const QString &group, const QStringList &fields)
{
    hidden.insert(group, fields);
}

void QuickSettingsGroups::setFieldVisible(const QString &group, const QString &field, bool visible)
{
    QStringList &fields = hidden[group];
    fields.removeAll(field);
    if (!visible) {
        fields.append(field);
    }
}

bool QuickSettingsGroups::fieldVisible(const QString &group, const QString &field) const
{
    return !hidden.value(group).contains(field);
}

QStringList QuickSettingsGroups::visibleFields(const QString &group) const
{
    QStringList fields = fieldOrder(group);
    for (const QString &field : hidden.value(group)) {
        fields.removeAll(field);
    }
    return fields;
}

QuickSettingsGroups QuickSettingsGroups::load(const QSettings &settings)
{
    QuickSettingsGroups groups;
    for (const QString &group : defaultGroupOrder()) {
        groups.setGroupVisible(group,
                               StoredValueReader::readBool(settings, visibleKey(group), true));
    }
    if (settings.contains(orderKey())) {
        groups.setGroupOrder(StoredValueReader::readStringList(settings, orderKey(), {}));
    }
    for (const QString &group : SettingsKey::quickSettingsFieldGroupIds()) {
        if (settings.contains(fieldOrderKey(group))) {
            groups.fieldOrders.insert(
                group, StoredValueReader::readStringList(settings, fieldOrderKey(group), {}));
        }
        if (settings.contains(hiddenKey(group))) {
            groups.hidden.insert(group,
                                 StoredValueReader::readStringList(settings, hiddenKey(group), {}));
        }
    }
    return groups;
}

void QuickSettingsGroups::save(QSettings &settings, const QuickSettingsGroups &groups)
{
    settings.remove(GroupKey);
    for (const QString &group : defaultGroupOrder()) {
        settings.setValue(visibleKey(group), groups.groupVisible(group));
    }
    settings.setValue(orderKey(), groups.order);
    for (const QString &group : SettingsKey::quickSettingsFieldGroupIds()) {
        if (groups.fieldOrders.contains(group)) {
            settings.setValue(fieldOrderKey(group), groups.fieldOrders.value(group));
        }
        if (groups.hidden.contains(group)) {
            settings.setValue(hiddenKey(group), groups.hidden.value(group));
        }
    }
}
