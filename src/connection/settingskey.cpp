#include "connection/settingskey.h"

QString SettingsKey::bridgeKey(int index, const QString &key)
{
    return QStringLiteral("Bridge/%1/%2").arg(index).arg(key);
}

QStringList SettingsKey::quickSettingsFieldGroupIds()
{
    return {QStringLiteral("connection"), QStringLiteral("controlLines"), QStringLiteral("receive"),
            QStringLiteral("send")};
}
