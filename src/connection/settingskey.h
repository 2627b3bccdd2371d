#pragma once

#include <QString>
#include <QStringList>

// Names of settings keys shared between subsystems.
class SettingsKey
{
public:
    // "Bridge/%1/%2": a key of a saved bridge in the project file.
    static QString bridgeKey(int index, const QString &key);
    // The groups whose quick-settings field order and hidden lists persist.
    static QStringList quickSettingsFieldGroupIds();
};
