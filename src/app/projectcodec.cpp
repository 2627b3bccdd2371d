#include "app/projectcodec.h"

#include "connection/portfieldlimits.h"
#include "connection/settingscodec.h"

#include <QSettings>

#include <algorithm>

namespace {
using Reader = StoredValueReader;
namespace Limits = PortFieldLimits;

// Anything but text reads as hexadecimal, a missing key included.
msgFormat readFormat(const QSettings &settings, const QString &key)
{
    return Reader::readInt(settings, key, 0, Limits::IntMin, Limits::IntMax) == TextFormat
               ? TextFormat
               : HexFormat;
}

_tagLineEndingMode readLineEnding(const QSettings &settings, const QString &key, qint32 fallback)
{
    return static_cast<_tagLineEndingMode>(
        Reader::readChoice(settings, key, fallback, Limits::LineEnding));
}

// A time stamp format that is blank after trimming gives the default.
QString readTimeFormat(const QSettings &settings, const QString &key, const QString &fallback)
{
    const QString format = Reader::readString(settings, key, fallback);
    return format.trimmed().isEmpty() ? fallback : format;
}

QStringList splitHosts(const QString &joined)
{
    return Reader::cleanHostList(joined.split(Limits::HostSeparator));
}

void report(const ProjectCodec::Progress &progress, int index, int portCount, int step)
{
    if (progress) {
        progress((index * 100) / portCount + step / portCount);
    }
}

const QStringList LineKeys = {
    QStringLiteral("PortName"), QStringLiteral("BaudRate"), QStringLiteral("DataBits"),
    QStringLiteral("StopBits"), QStringLiteral("Parity"),   QStringLiteral("FlowControl"),
    QStringLiteral("DtrOn"),    QStringLiteral("RtsOn"),
};
const QStringList ReceiveKeys = {
    QStringLiteral("ReceiveMsgForamt"), QStringLiteral("ReceiveEncoding"),
    QStringLiteral("RxAutoFeedLine"),   QStringLiteral("RxLineEndingMode"),
    QStringLiteral("SplitterLeft"),     QStringLiteral("SplitterRight"),
    QStringLiteral("AutoFeedInterval"), QStringLiteral("DisplaySendMsg"),
    QStringLiteral("LocalEcho"),        QStringLiteral("DisplayMsgTime"),
    QStringLiteral("RxTimeFormat"),     QStringLiteral("TxTimeFormat"),
};
const QStringList SendKeys = {
    QStringLiteral("SendMsgFormat"),    QStringLiteral("SendEncoding"),
    QStringLiteral("AutoSend"),         QStringLiteral("SendInterval"),
    QStringLiteral("SendTimeUnit"),     QStringLiteral("SupportComment"),
    QStringLiteral("FormatSend"),       QStringLiteral("SendChecksum"),
    QStringLiteral("SendEscapes"),      QStringLiteral("TxAutoFeedLine"),
    QStringLiteral("TxLineEndingMode"), QStringLiteral("TerminalEnterMode"),
    QStringLiteral("SendList"),
};
const QStringList LogKeys = {
    QStringLiteral("LogSaveFlag"),         QStringLiteral("LogAppend"),
    QStringLiteral("LogPromptForName"),    QStringLiteral("LogStartOnConnect"),
    QStringLiteral("LogFilePath"),         QStringLiteral("LogTimestampEnabled"),
    QStringLiteral("LogFileTime"),         QStringLiteral("DisplayBufferSize"),
    QStringLiteral("LogFontFamily"),       QStringLiteral("LogFontSize"),
    QStringLiteral("LogFontWeight"),       QStringLiteral("LogFontItalic"),
    QStringLiteral("FormatDisplayColor"),
    QStringLiteral("ShowControlLineLeds"), QStringLiteral("SendTextColor"),
    QStringLiteral("ReceiveTextColor"),    QStringLiteral("LogRotateAtSize"),
    QStringLiteral("LogRotateSize"),       QStringLiteral("LogRotateAtTime"),
    QStringLiteral("LogRotateTime"),
};
const QStringList NetworkKeys = {
    QStringLiteral("LastTargetHost"),        QStringLiteral("LastTargetPort"),
    QStringLiteral("UdpLocalPort"),          QStringLiteral("ConnMode"),
    QStringLiteral("UseRemoteSerialConfig"), QStringLiteral("RelayCid"),
    QStringLiteral("RelayPortName"),         QStringLiteral("RelayPortKey"),
    QStringLiteral("RelayShareLabel"),       QStringLiteral("RelayGuestName"),
};
const QStringList ReadOnlyKeys = {
    QStringLiteral("NeedHourTimeStamp"),
};
const QStringList TopLevelKeys = {
    QStringLiteral("PortNumber"), QStringLiteral("ColumnNumber"), QStringLiteral("LayoutMode"),
    QStringLiteral("QuickView"),
};
const QList<qint32> ConnectionModes = {0, 1, 2, 3, 4, 5, 6, 7, 8};
} // namespace

void ProjectCodec::save(QSettings &settings, const ProjectRecord &project, const Progress &progress)
{
    QList<ProjectPortRecord> ports = project.ports.mid(0, MaxPorts);
    if (ports.isEmpty()) {
        ports.append(ProjectPortRecord());
    }
    const int count = int(ports.size());

    settings.setValue(QStringLiteral("PortNumber"), QString::number(count));
    settings.setValue(QStringLiteral("ColumnNumber"),
                      QString::number(std::clamp<qint32>(project.columnCount, 1, MaxColumns)));
    settings.setValue(QStringLiteral("LayoutMode"), qint32(project.layoutMode));
    settings.setValue(QStringLiteral("QuickView"), project.quickView);
    QuickSettingsGroups::save(settings, project.quickSettings);

    for (int i = 0; i < count; ++i) {
        savePort(settings, i, ports.at(i), progress, count);
    }
    removePortsFrom(settings, count);
}

void ProjectCodec::savePort(QSettings &settings, int index, const ProjectPortRecord &port,
                            const Progress &progress, int portCount)
{
    const Settings &s = port.settings;
    const FormatSetting &f = port.format;
    const auto put = [&](const QString &name, const QVariant &value) {
        settings.setValue(portKey(index, name), value);
    };
    portCount = std::max(portCount, 1);

    put(QStringLiteral("PortName"), s.name);
    put(QStringLiteral("BaudRate"), s.baudRate);
    put(QStringLiteral("DataBits"), s.dataBits);
    put(QStringLiteral("StopBits"), s.stopBits);
    put(QStringLiteral("Parity"), s.parity);
    put(QStringLiteral("FlowControl"), s.flowControl);
    put(QStringLiteral("DtrOn"), s.dtrOn);
    put(QStringLiteral("RtsOn"), s.rtsOn);
    report(progress, index, portCount, 10);

    put(QStringLiteral("ReceiveMsgForamt"), qint32(f.receiveMsgFormat));
    put(QStringLiteral("ReceiveEncoding"), f.receiveEncoding);
    put(QStringLiteral("RxAutoFeedLine"), f.rxAutoFeedLine);
    put(QStringLiteral("RxLineEndingMode"), qint32(f.rxLineEndingMode));
    put(QStringLiteral("SplitterLeft"), f.splitterLeft);
    put(QStringLiteral("SplitterRight"), f.splitterRight);
    put(QStringLiteral("AutoFeedInterval"), f.autoFeedInterval);
    put(QStringLiteral("DisplaySendMsg"), f.displaySendMsg);
    put(QStringLiteral("LocalEcho"), f.localEcho);
    put(QStringLiteral("DisplayMsgTime"), f.displayMsgTime);
    put(QStringLiteral("RxTimeFormat"), f.rxTimeFormat);
    put(QStringLiteral("TxTimeFormat"), f.txTimeFormat);
    report(progress, index, portCount, 20);

    put(QStringLiteral("SendMsgFormat"), qint32(f.sendMsgFormat));
    put(QStringLiteral("SendEncoding"), f.sendEncoding);
    put(QStringLiteral("AutoSend"), f.autoSend);
    put(QStringLiteral("SendInterval"), f.sendInterval);
    put(QStringLiteral("SendTimeUnit"), f.sendTimeUnit);
    put(QStringLiteral("SupportComment"), f.supportComment);
    put(QStringLiteral("FormatSend"), f.formatSend);
    put(QStringLiteral("SendChecksum"), f.sendChecksum);
    put(QStringLiteral("SendEscapes"), f.sendEscapes);
    put(QStringLiteral("TxAutoFeedLine"), f.txAutoFeedLine());
    put(QStringLiteral("TxLineEndingMode"), qint32(f.txLineEndingMode));
    put(QStringLiteral("TerminalEnterMode"), qint32(f.terminalEnterMode));
    put(QStringLiteral("SendList"), port.sendHistory);
    report(progress, index, portCount, 30);

    put(QStringLiteral("LogSaveFlag"), f.logSaveFlag);
    put(QStringLiteral("LogAppend"), f.logAppend);
    put(QStringLiteral("LogPromptForName"), f.logPromptForName);
    put(QStringLiteral("LogStartOnConnect"), f.logStartOnConnect);
    put(QStringLiteral("LogFilePath"), f.logFilePath);
    put(QStringLiteral("LogTimestampEnabled"), f.logTimestampEnabled);
    put(QStringLiteral("LogFileTime"), f.logFileTime);
    put(QStringLiteral("DisplayBufferSize"), f.displayBufferSize);
    put(QStringLiteral("LogFontFamily"), f.logFont.family);
    put(QStringLiteral("LogFontSize"), f.logFont.pointSize);
    put(QStringLiteral("LogFontWeight"), f.logFont.weight);
    put(QStringLiteral("LogFontItalic"), f.logFont.italic);
    put(QStringLiteral("FormatDisplayColor"), f.formatDisplayColor);
    put(QStringLiteral("ShowControlLineLeds"), f.showControlLineLeds);
    put(QStringLiteral("SendTextColor"), f.sendTextColor);
    put(QStringLiteral("ReceiveTextColor"), f.receiveTextColor);
    // A port's log rotation travels with the project, so that a reload keeps it.
    put(QStringLiteral("LogRotateAtSize"), f.logRotateAtSize);
    put(QStringLiteral("LogRotateSize"), f.logRotateSize);
    put(QStringLiteral("LogRotateAtTime"), f.logRotateAtTime);
    put(QStringLiteral("LogRotateTime"), f.logRotateTime);
    for (const QString &name : ReadOnlyKeys) {
        settings.remove(portKey(index, name));
    }
    report(progress, index, portCount, 50);

    // The current host is the newest entry of the remembered list.
    Settings withHost = s;
    withHost.rememberHost(s.targetHost);
    put(QStringLiteral("LastTargetHost"), withHost.targetHostList.join(Limits::HostSeparator));
    put(QStringLiteral("LastTargetPort"), s.targetPort);
    put(QStringLiteral("UdpLocalPort"), quint32(s.udpLocalPort));
    put(QStringLiteral("ConnMode"), qint32(s.connMode));
    put(QStringLiteral("UseRemoteSerialConfig"), s.useRemoteSerialConfig);
    put(QStringLiteral("RelayCid"), s.relayCid);
    put(QStringLiteral("RelayPortName"), s.relayPortName);
    put(QStringLiteral("RelayPortKey"), s.relayPortKey);
    put(QStringLiteral("RelayShareLabel"), s.relayShareLabel);
    put(QStringLiteral("RelayGuestName"), s.relayGuestName);
    report(progress, index, portCount, 100);
}

ProjectRecord ProjectCodec::load(const QSettings &settings, EncodingNormalizer normalizeEncoding,
                                 QStringList *replacedKeys)
{
    const Reader::ReplacementLog replaced;
    ProjectRecord project;
    project.quickSettings = QuickSettingsGroups::load(settings);

    const int count = Reader::readInt(settings, QStringLiteral("PortNumber"), 1, 1, MaxPorts);
    project.columnCount =
        Reader::readInt(settings, QStringLiteral("ColumnNumber"), 1, 1, MaxColumns);
    project.layoutMode = Reader::readInt(settings, QStringLiteral("LayoutMode"), 0, Limits::IntMin,
                                         Limits::IntMax) == ProjectRecord::TabLayout
                             ? ProjectRecord::TabLayout
                             : ProjectRecord::GridLayout;
    project.quickView = Reader::readBool(settings, QStringLiteral("QuickView"), count < 2);

    project.ports.clear();
    for (int i = 0; i < count; ++i) {
        project.ports.append(loadPort(settings, i, normalizeEncoding));
    }
    if (replacedKeys) {
        *replacedKeys = replaced.keys();
    }
    return project;
}

bool ProjectCodec::looksLikeProject(const QSettings &settings)
{
    const QStringList portKeys = writtenPortKeyNames() + readOnlyPortKeyNames();
    const QStringList groups = {autoReplyGroup(0).section(QLatin1Char('/'), 1),
                                plotGroup(0).section(QLatin1Char('/'), 1),
                                decodeGroup(0).section(QLatin1Char('/'), 1)};
    const QStringList libraries = {commandLibraryGroup(), frameTemplateLibraryGroup(),
                                   scriptLibraryGroup(), bridgeGroup()};
    for (const QString &key : settings.allKeys()) {
        if (TopLevelKeys.contains(key) || libraries.contains(key.section(QLatin1Char('/'), 0, 0))) {
            return true;
        }
        bool isIndex = false;
        key.section(QLatin1Char('/'), 0, 0).toUInt(&isIndex);
        const QString name = key.section(QLatin1Char('/'), 1, 1);
        if (isIndex && (portKeys.contains(name) || groups.contains(name))) {
            return true;
        }
    }
    return false;
}

ProjectPortRecord ProjectCodec::loadPort(const QSettings &settings, int index,
                                         EncodingNormalizer normalizeEncoding)
{
    ProjectPortRecord port;
    Settings &s = port.settings;
    FormatSetting &f = port.format;
    const auto key = [index](const QString &name) { return portKey(index, name); };
    const auto readBool = [&](const QString &name, bool fallback) {
        return Reader::readBool(settings, key(name), fallback);
    };
    const auto readCount = [&](const QString &name) {
        return Reader::readInt(settings, key(name), 0, 0, Limits::IntMax);
    };
    const auto readText = [&](const QString &name, const QString &fallback = QString()) {
        return Reader::readString(settings, key(name), fallback);
    };

    s.name = readText(QStringLiteral("PortName"));
    s.baudRate =
        Reader::readInt(settings, key(QStringLiteral("BaudRate")), 0, 0, Limits::MaxBaudRate);
    s.dataBits = Reader::readChoice(settings, key(QStringLiteral("DataBits")), 0, Limits::DataBits);
    s.stopBits = Reader::readChoice(settings, key(QStringLiteral("StopBits")), 0, Limits::StopBits);
    s.parity = Reader::readChoice(settings, key(QStringLiteral("Parity")), 0, Limits::Parity);
    s.flowControl =
        Reader::readChoice(settings, key(QStringLiteral("FlowControl")), 0, Limits::FlowControl);
    // Each line parameter travels with its display text.
    s.stringDataBits = QString::number(s.dataBits);
    s.stringStopBits = serialStopBitsText(s.stopBits);
    s.stringParity = serialParityText(s.parity);
    s.stringFlowControl = serialFlowControlText(s.flowControl);
    s.dtrOn = readBool(QStringLiteral("DtrOn"), true);
    s.rtsOn = readBool(QStringLiteral("RtsOn"), true);

    f.receiveMsgFormat = readFormat(settings, key(QStringLiteral("ReceiveMsgForamt")));
    f.receiveEncoding = Reader::readEncoding(settings, key(QStringLiteral("ReceiveEncoding")),
                                             Reader::defaultEncoding(), normalizeEncoding);
    f.rxAutoFeedLine = readBool(QStringLiteral("RxAutoFeedLine"), false);
    f.rxLineEndingMode = readLineEnding(settings, key(QStringLiteral("RxLineEndingMode")), 0);
    f.splitterLeft = readCount(QStringLiteral("SplitterLeft"));
    f.splitterRight = readCount(QStringLiteral("SplitterRight"));
    f.autoFeedInterval = readCount(QStringLiteral("AutoFeedInterval"));
    f.displaySendMsg = readBool(QStringLiteral("DisplaySendMsg"), false);
    f.localEcho = readBool(QStringLiteral("LocalEcho"), false);
    f.displayMsgTime = readBool(QStringLiteral("DisplayMsgTime"), false);
    f.rxTimeFormat = readTimeFormat(settings, key(QStringLiteral("RxTimeFormat")),
                                    SettingsCodec::defaultRxTimeFormat());
    f.txTimeFormat = readTimeFormat(settings, key(QStringLiteral("TxTimeFormat")),
                                    SettingsCodec::defaultTxTimeFormat());

    f.sendMsgFormat = readFormat(settings, key(QStringLiteral("SendMsgFormat")));
    f.sendEncoding = Reader::readEncoding(settings, key(QStringLiteral("SendEncoding")),
                                          Reader::defaultEncoding(), normalizeEncoding);
    f.autoSend = readBool(QStringLiteral("AutoSend"), false);
    f.sendInterval = readCount(QStringLiteral("SendInterval"));
    // The unit multiplies the interval spin box and is never below 1.
    f.sendTimeUnit = SettingsCodec::sanitizeTimeUnit(readCount(QStringLiteral("SendTimeUnit")));
    f.supportComment = readBool(QStringLiteral("SupportComment"), false);
    f.formatSend = readBool(QStringLiteral("FormatSend"), false);
    f.sendChecksum =
        Reader::readChoice(settings, key(QStringLiteral("SendChecksum")), 0, Limits::SendChecksum);
    f.sendEscapes = readBool(QStringLiteral("SendEscapes"), false);
    // "TxAutoFeedLine" is written for older readers only: the flag follows the line
    // ending mode, so a file where the two disagree takes the mode.
    f.txLineEndingMode = readLineEnding(settings, key(QStringLiteral("TxLineEndingMode")), 0);
    f.terminalEnterMode = readLineEnding(settings, key(QStringLiteral("TerminalEnterMode")), 1);
    port.sendHistory = Reader::readStringList(settings, key(QStringLiteral("SendList")), {});

    f.logSaveFlag = readBool(QStringLiteral("LogSaveFlag"), false);
    f.logAppend = readBool(QStringLiteral("LogAppend"), true);
    f.logPromptForName = readBool(QStringLiteral("LogPromptForName"), false);
    f.logStartOnConnect = readBool(QStringLiteral("LogStartOnConnect"), false);
    f.logFilePath = readText(QStringLiteral("LogFilePath"), defaultLogFilePath());
    f.logTimestampEnabled = readBool(QStringLiteral("LogTimestampEnabled"), false);
    f.logFileTime = readText(QStringLiteral("LogFileTime"));
    f.logRotateAtSize = readBool(QStringLiteral("LogRotateAtSize"), false);
    f.logRotateSize = readCount(QStringLiteral("LogRotateSize"));
    f.logRotateAtTime = readBool(QStringLiteral("LogRotateAtTime"), false);
    f.logRotateTime = Reader::readTime(settings, key(QStringLiteral("LogRotateTime")), QTime());
    f.needHourTimeStamp = readBool(QStringLiteral("NeedHourTimeStamp"), false);
    f.displayBufferSize = readCount(QStringLiteral("DisplayBufferSize"));
    f.logFont.family = readText(QStringLiteral("LogFontFamily"));
    f.logFont.pointSize = Reader::readInt(settings, key(QStringLiteral("LogFontSize")), 0, 0,
                                          Limits::MaxFontPointSize);
    f.logFont.weight = Reader::readInt(settings, key(QStringLiteral("LogFontWeight")), 0, 0,
                                       Limits::MaxFontWeight);
    f.logFont.italic = readBool(QStringLiteral("LogFontItalic"), false);
    f.formatDisplayColor = readBool(QStringLiteral("FormatDisplayColor"), false);
    f.showControlLineLeds = readBool(QStringLiteral("ShowControlLineLeds"), true);
    // An empty string is the invalid colour.
    f.sendTextColor = Reader::readColor(settings, key(QStringLiteral("SendTextColor")), QString());
    f.receiveTextColor =
        Reader::readColor(settings, key(QStringLiteral("ReceiveTextColor")), QString());

    s.targetHostList = splitHosts(readText(QStringLiteral("LastTargetHost")));
    s.targetHost = s.targetHostList.isEmpty() ? QString() : s.targetHostList.constLast();
    s.targetPort = Reader::readInt(settings, key(QStringLiteral("LastTargetPort")), 0, 0,
                                   Limits::MaxNetworkPort);
    s.udpLocalPort = quint16(Reader::readInt(settings, key(QStringLiteral("UdpLocalPort")), 60001,
                                             0, Limits::MaxNetworkPort));
    s.connMode = connectionModeFromInt(
        Reader::readChoice(settings, key(QStringLiteral("ConnMode")), 0, ConnectionModes));
    s.useRemoteSerialConfig = readBool(QStringLiteral("UseRemoteSerialConfig"), true);
    s.relayCid = readText(QStringLiteral("RelayCid"));
    s.relayPortName = readText(QStringLiteral("RelayPortName"));
    s.relayPortKey = readText(QStringLiteral("RelayPortKey"));
    s.relayShareLabel = readText(QStringLiteral("RelayShareLabel"));
    s.relayGuestName = readText(QStringLiteral("RelayGuestName"));
    return port;
}

void ProjectCodec::removePortsFrom(QSettings &settings, int count)
{
    for (const QString &group : settings.childGroups()) {
        bool isIndex = !group.isEmpty();
        for (const QChar c : group) {
            isIndex = isIndex && c >= QLatin1Char('0') && c <= QLatin1Char('9');
        }
        bool ok = false;
        const qulonglong index = group.toULongLong(&ok);
        // An index too long for a number is still a port group beyond the count.
        if (isIndex && (!ok || index >= qulonglong(std::max(count, 0)))) {
            settings.remove(group);
        }
    }
}

QString ProjectCodec::portKey(int index, const QString &name)
{
    return QStringLiteral("%1/%2").arg(index).arg(name);
}

QStringList ProjectCodec::writtenPortKeyNames()
{
    return LineKeys + ReceiveKeys + SendKeys + LogKeys + NetworkKeys;
}

QStringList ProjectCodec::readOnlyPortKeyNames()
{
    return ReadOnlyKeys;
}

QString ProjectCodec::autoReplyGroup(int index)
{
    return portKey(index, QStringLiteral("AutoReply"));
}

QString ProjectCodec::plotGroup(int index)
{
    return portKey(index, QStringLiteral("Plot"));
}

QString ProjectCodec::decodeGroup(int index)
{
    return portKey(index, QStringLiteral("Decode"));
}

QString ProjectCodec::commandLibraryGroup()
{
    return QStringLiteral("CommandLibrary");
}

QString ProjectCodec::frameTemplateLibraryGroup()
{
    return QStringLiteral("FrameTemplateLibrary");
}

QString ProjectCodec::scriptLibraryGroup()
{
    return QStringLiteral("ScriptLibrary");
}

QString ProjectCodec::bridgeGroup()
{
    return QStringLiteral("Bridge");
}
