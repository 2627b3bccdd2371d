#include "connection/portdefaults.h"

#include "common/storedvaluereader.h"
#include "connection/settingscodec.h"

Settings PortDefaults::portSettings(const QString &portName)
{
    Settings settings;
    settings.name = portName;
    settings.targetHost = QStringLiteral("127.0.0.1");
    settings.targetHostList = {settings.targetHost};
    return settings;
}

FormatSetting PortDefaults::formatSettings()
{
    FormatSetting format;
    format.receiveEncoding = StoredValueReader::defaultEncoding();
    format.sendEncoding = StoredValueReader::defaultEncoding();
    format.rxTimeFormat = SettingsCodec::defaultRxTimeFormat();
    format.txTimeFormat = SettingsCodec::defaultTxTimeFormat();
    format.logFileTime = SettingsCodec::defaultLogTimestampFmt();
    format.sendTextColor = QStringLiteral("#000000");
    format.receiveTextColor = QStringLiteral("#000000");
    format.logFilePath = defaultLogFilePath();
    return format;
}
