#pragma once

// The app's preferences as one synced item: SessionState turned into the JSON payload of
// namespace "settings.session", key "default", and back. Reading is tolerant: a value of
// the wrong type is skipped, numbers are clamped, unknown choices leave the local value.

#include "app/settingsservice.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

class SyncService
{
public:
    static constexpr int SchemaVersion = 1;
    static QString schemaName();
    static QString nameSpace();
    static QString itemKey();

    // The payload: schema, version, app_version, updated_by (`cid`) and the settings
    // groups connection, display and behavior (with `language`, the "ValueL" choice),
    // plus the send history when `withHistory`.
    static QJsonObject toSnapshot(const SessionState &state, const QString &cid, int language,
                                  bool withHistory);
    // Takes the payload's values into `state` and `language`. False, leaving both
    // alone, for another schema or a newer version than this program knows.
    static bool applySnapshot(const QJsonObject &payload, SessionState *state, int *language);
    // `local` in its order, then the entries of `cloud` not yet present.
    static QStringList mergedUniqueLists(const QStringList &local, const QStringList &cloud);
    // `local` with its host list and send history merged with those of `cloud`.
    static SessionState mergedLists(const SessionState &local, const SessionState &cloud);
};
