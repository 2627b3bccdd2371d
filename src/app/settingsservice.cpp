#include "app/settingsservice.h"

#include "connection/portdefaults.h"
#include "connection/portfieldlimits.h"
#include "connection/settingscodec.h"

#include <QSettings>

namespace {
using Reader = StoredValueReader;
namespace Limits = PortFieldLimits;

class StateReader
{
public:
    explicit StateReader(const QSettings &settings)
        : settings(settings)
    {}

    bool flag(const char *key, bool fallback) const
    {
        return Reader::readBool(settings, QLatin1String(key), fallback);
    }
    qint32 count(const char *key, qint32 fallback) const
    {
        return Reader::readInt(settings, QLatin1String(key), fallback, 0, Limits::IntMax);
    }
    qint32 number(const char *key, qint32 fallback, qint32 min, qint32 max) const
    {
        return Reader::readInt(settings, QLatin1String(key), fallback, min, max);
    }
    qint32 choice(const char *key, qint32 fallback, const QList<qint32> &allowed) const
    {
        return Reader::readChoice(settings, QLatin1String(key), fallback, allowed);
    }
    QString text(const char *key, const QString &fallback) const
    {
        return Reader::readString(settings, QLatin1String(key), fallback);
    }
    QStringList list(const char *key, const QStringList &fallback) const
    {
        return Reader::readStringList(settings, QLatin1String(key), fallback);
    }
    // Anything but text reads as hexadecimal.
    msgFormat format(const char *key, msgFormat fallback) const
    {
        return number(key, fallback, Limits::IntMin, Limits::IntMax) == TextFormat ? TextFormat
                                                                                   : HexFormat;
    }
    _tagLineEndingMode lineEnding(const char *key, _tagLineEndingMode fallback) const
    {
        return static_cast<_tagLineEndingMode>(choice(key, fallback, Limits::LineEnding));
    }
    // A time stamp format that is blank after trimming gives the default.
    QString timeFormat(const char *key, const QString &fallback) const
    {
        const QString value = text(key, fallback);
        return value.trimmed().isEmpty() ? fallback : value;
    }

    const QSettings &settings;
};
} // namespace

SessionState SettingsService::defaults()
{
    SessionState state;
    state.settings = PortDefaults::portSettings(QString());
    state.format = PortDefaults::formatSettings();
    state.logFileName = QStringLiteral("vlm_");
    return state;
}

SessionState SettingsService::load(const QSettings &settings, EncodingNormalizer normalizeEncoding)
{
    const SessionState d = defaults();
    SessionState state = d;
    Settings &s = state.settings;
    FormatSetting &f = state.format;
    const StateReader in(settings);

    state.recentFiles = in.list("RecentFiles", d.recentFiles);
    state.lastFile = in.text("LastFile", d.lastFile);
    state.lastLogFile = in.text("LastLogFile", d.lastLogFile);
    state.lastDirectory = in.text("LastDirectory", d.lastDirectory);
    state.transfer.protocol = XferProtocol(in.number(
        "LastTransferProtocol", int(d.transfer.protocol), int(XferProtocol::Xmodem),
        int(XferProtocol::YmodemG)));
    state.transfer.sendDir = in.text("LastTransferSendDir", d.transfer.sendDir);
    state.transfer.recvDir = in.text("LastTransferRecvDir", d.transfer.recvDir);
    state.transfer.sizeCapMiB = in.number("TransferRecvSizeCapMiB", d.transfer.sizeCapMiB, 0, 1 << 20);

    s.connMode = connectionModeFromInt(
        in.number("LastConnMode", d.settings.connMode, Limits::IntMin, Limits::IntMax));
    s.name = in.text("LastPortName", d.settings.name);
    s.baudRate = in.number("LastBaudrate", d.settings.baudRate, 0, Limits::MaxBaudRate);
    s.dataBits = in.choice("LastDatabits", d.settings.dataBits, Limits::DataBits);
    s.stopBits = in.choice("LastStopbits", d.settings.stopBits, Limits::StopBits);
    s.parity = in.choice("LastParity", d.settings.parity, Limits::Parity);
    s.flowControl = in.choice("LastFlowControl", d.settings.flowControl, Limits::FlowControl);
    s.stringDataBits = QString::number(s.dataBits);
    s.stringStopBits = serialStopBitsText(s.stopBits);
    s.stringParity = serialParityText(s.parity);
    s.stringFlowControl = serialFlowControlText(s.flowControl);
    s.dtrOn = in.flag("LastDtrOn", d.settings.dtrOn);
    s.rtsOn = in.flag("LastRtsOn", d.settings.rtsOn);
    s.targetPort = in.number("LastTargetPort", d.settings.targetPort, 0, Limits::MaxNetworkPort);
    s.udpLocalPort =
        quint16(in.number("LastUdpLocalPort", d.settings.udpLocalPort, 0, Limits::MaxNetworkPort));
    s.udpServerPort = quint16(
        in.number("LastUdpServerPort", d.settings.udpServerPort, 0, Limits::MaxNetworkPort));
    state.lastConnectionOpen = in.flag("LastConnectionOpen", d.lastConnectionOpen);

    f.sendMsgFormat = in.format("LastSendMessageFormat", d.format.sendMsgFormat);
    f.sendChecksum = in.choice("LastSendChecksum", d.format.sendChecksum, Limits::SendChecksum);
    f.sendEscapes = in.flag("LastSendEscapes", d.format.sendEscapes);
    f.autoFeedInterval = in.count("LastAutoFeedInterval", d.format.autoFeedInterval);
    f.sendEncoding = Reader::readEncoding(settings, QStringLiteral("LastSendEncoding"),
                                          d.format.sendEncoding, normalizeEncoding);
    f.terminalEnterMode = in.lineEnding("LastTerminalEnterMode", d.format.terminalEnterMode);
    // "LastTxAutoFeedLine" only mirrors the line ending mode, which decides.
    f.txLineEndingMode = in.lineEnding("LastTxLineEndingMode", d.format.txLineEndingMode);
    state.sendList = in.list("SendList", d.sendList);

    f.receiveMsgFormat = in.format("LastReceiveMessageFormat", d.format.receiveMsgFormat);
    f.receiveEncoding = Reader::readEncoding(settings, QStringLiteral("LastReceiveEncoding"),
                                             d.format.receiveEncoding, normalizeEncoding);
    f.rxAutoFeedLine = in.flag("LastRxAutoFeedLine", d.format.rxAutoFeedLine);
    f.rxLineEndingMode = in.lineEnding("LastRxLineEndingMode", d.format.rxLineEndingMode);

    f.displaySendMsg = in.flag("LastDisplaySendMsg", d.format.displaySendMsg);
    f.localEcho = in.flag("LastLocalEcho", d.format.localEcho);
    f.displayMsgTime = in.flag("LastDisplaySendTime", d.format.displayMsgTime);
    f.rxTimeFormat = in.timeFormat("LastDisplayRxTimeFormat", d.format.rxTimeFormat);
    f.txTimeFormat = in.timeFormat("LastDisplayTxTimeFormat", d.format.txTimeFormat);
    f.displayBufferSize = in.count("LastDisplayBufferSize", d.format.displayBufferSize);
    f.logFont.family = in.text("LastDisplayFontFamily", d.format.logFont.family);
    f.logFont.pointSize =
        in.number("LastDisplayFontSize", d.format.logFont.pointSize, 0, Limits::MaxFontPointSize);
    f.logFont.weight =
        in.number("LastDisplayFontWeight", d.format.logFont.weight, 0, Limits::MaxFontWeight);
    f.logFont.italic = in.flag("LastDisplayFontItalic", d.format.logFont.italic);
    f.formatDisplayColor = in.flag("LastFormatDisplayColor", d.format.formatDisplayColor);
    f.sendTextColor =
        Reader::readColor(settings, QStringLiteral("LastSendTextColor"), d.format.sendTextColor);
    f.receiveTextColor = Reader::readColor(settings, QStringLiteral("LastReceiveTextColor"),
                                           d.format.receiveTextColor);
    f.showControlLineLeds = in.flag("LastShowControlLineLeds", d.format.showControlLineLeds);

    state.logFileName = in.text("LastLogFileName", d.logFileName);
    f.logSaveFlag = in.flag("LastLogSaveFlag", d.format.logSaveFlag);
    f.logAppend = in.flag("LastLogAppend", d.format.logAppend);
    f.logPromptForName = in.flag("LastLogPromptForName", d.format.logPromptForName);
    f.logStartOnConnect = in.flag("LastLogStartOnConnect", d.format.logStartOnConnect);
    f.logFilePath = in.text("LastLogFilePath", d.format.logFilePath);
    f.logTimestampEnabled = in.flag("LastLogTimestampEnabled", d.format.logTimestampEnabled);
    f.logFileTime = in.text("LastLogTimestamp", d.format.logFileTime);
    f.logRotateAtSize = in.flag("LastLogRotateAtSize", d.format.logRotateAtSize);
    f.logRotateSize = in.count("LastLogRotateSize", d.format.logRotateSize);
    f.logRotateAtTime = in.flag("LastLogRotateAtTime", d.format.logRotateAtTime);
    f.logRotateTime =
        Reader::readTime(settings, QStringLiteral("LastLogRotateTime"), d.format.logRotateTime);
    f.needHourTimeStamp = in.flag("LastNeedHourTimeStamp", d.format.needHourTimeStamp);

    state.layoutTabs = in.flag("LastLayoutTabs", d.layoutTabs);
    f.splitterLeft = in.count("LastSplitterLeft", d.format.splitterLeft);
    f.splitterRight = in.count("LastSplitterRight", d.format.splitterRight);

    state.quickSettings = QuickSettingsGroups::load(settings);

    state.openLastConnection = in.flag("OpenLastConnection", d.openLastConnection);
    state.autoReconnect = in.flag("AutoReconnect", d.autoReconnect);

    s.targetHost = in.text("LastTargetHost", d.settings.targetHost).trimmed();
    QStringList hosts = in.list("LastTargetHosts", d.settings.targetHostList);
    // A list written by hand as one joined string is taken apart.
    if (hosts.size() == 1) {
        hosts = hosts.constFirst().split(Limits::HostSeparator);
    }
    s.targetHostList = Reader::cleanHostList(hosts);
    return state;
}

void SettingsService::save(QSettings &settings, const SessionState &state)
{
    const Settings &s = state.settings;
    const FormatSetting &f = state.format;
    const auto put = [&settings](const char *key, const QVariant &value) {
        settings.setValue(QLatin1String(key), value);
    };

    put("RecentFiles", state.recentFiles);
    put("LastFile", state.lastFile);
    put("LastLogFile", state.lastLogFile);
    put("LastDirectory", state.lastDirectory);
    put("LastTransferProtocol", int(state.transfer.protocol));
    put("LastTransferSendDir", state.transfer.sendDir);
    put("LastTransferRecvDir", state.transfer.recvDir);
    put("TransferRecvSizeCapMiB", state.transfer.sizeCapMiB);

    put("LastConnMode", qint32(s.connMode));
    put("LastPortName", s.name);
    put("LastBaudrate", s.baudRate);
    put("LastDatabits", s.dataBits);
    put("LastStopbits", s.stopBits);
    put("LastParity", s.parity);
    put("LastFlowControl", s.flowControl);
    put("LastDtrOn", s.dtrOn);
    put("LastRtsOn", s.rtsOn);
    put("LastTargetPort", s.targetPort);
    put("LastUdpLocalPort", quint32(s.udpLocalPort));
    put("LastUdpServerPort", quint32(s.udpServerPort));
    put("LastConnectionOpen", state.lastConnectionOpen);

    put("LastSendMessageFormat", qint32(f.sendMsgFormat));
    put("LastSendChecksum", f.sendChecksum);
    put("LastSendEscapes", f.sendEscapes);
    put("LastAutoFeedInterval", f.autoFeedInterval);
    put("LastSendEncoding", f.sendEncoding);
    put("LastTerminalEnterMode", qint32(f.terminalEnterMode));
    put("LastTxAutoFeedLine", f.txAutoFeedLine());
    put("LastTxLineEndingMode", qint32(f.txLineEndingMode));
    put("SendList", state.sendList);

    put("LastReceiveMessageFormat", qint32(f.receiveMsgFormat));
    put("LastReceiveEncoding", f.receiveEncoding);
    put("LastRxAutoFeedLine", f.rxAutoFeedLine);
    put("LastRxLineEndingMode", qint32(f.rxLineEndingMode));

    put("LastDisplaySendMsg", f.displaySendMsg);
    put("LastLocalEcho", f.localEcho);
    put("LastDisplaySendTime", f.displayMsgTime);
    put("LastDisplayRxTimeFormat", f.rxTimeFormat);
    put("LastDisplayTxTimeFormat", f.txTimeFormat);
    put("LastDisplayBufferSize", f.displayBufferSize);
    put("LastDisplayFontFamily", f.logFont.family);
    put("LastDisplayFontSize", f.logFont.pointSize);
    put("LastDisplayFontWeight", f.logFont.weight);
    put("LastDisplayFontItalic", f.logFont.italic);
    put("LastFormatDisplayColor", f.formatDisplayColor);
    put("LastSendTextColor", f.sendTextColor);
    put("LastReceiveTextColor", f.receiveTextColor);
    put("LastShowControlLineLeds", f.showControlLineLeds);

    put("LastLogFileName", state.logFileName);
    put("LastLogSaveFlag", f.logSaveFlag);
    put("LastLogAppend", f.logAppend);
    put("LastLogPromptForName", f.logPromptForName);
    put("LastLogStartOnConnect", f.logStartOnConnect);
    put("LastLogFilePath", f.logFilePath);
    put("LastLogTimestampEnabled", f.logTimestampEnabled);
    put("LastLogTimestamp", f.logFileTime);
    put("LastLogRotateAtSize", f.logRotateAtSize);
    put("LastLogRotateSize", f.logRotateSize);
    put("LastLogRotateAtTime", f.logRotateAtTime);
    put("LastLogRotateTime", f.logRotateTime);
    put("LastNeedHourTimeStamp", f.needHourTimeStamp);

    put("LastLayoutTabs", state.layoutTabs);
    put("LastSplitterLeft", f.splitterLeft);
    put("LastSplitterRight", f.splitterRight);

    QuickSettingsGroups::save(settings, state.quickSettings);

    put("OpenLastConnection", state.openLastConnection);
    put("AutoReconnect", state.autoReconnect);

    put("LastTargetHost", s.targetHost);
    put("LastTargetHosts", s.targetHostList);
}

Settings SettingsService::defaultPortSettings(const QString &portName)
{
    return PortDefaults::portSettings(portName);
}

FormatSetting SettingsService::defaultFormatSettings()
{
    return PortDefaults::formatSettings();
}
