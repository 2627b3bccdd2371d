// What of the project file and the application settings may go into a diagnostic
// pack: allow-lists, so that a key nobody looked at stays out.

#include "recording/diagnosticpack.h"

#include "bridge/bridgecodec.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QTemporaryFile>

namespace {

// The per-port keys that describe how a port connects, shows, sends and logs. Names
// only: the log file name, the relay device id and the relay share and guest names
// say who and where, and stay out.
const QSet<QString> &portKeepKeys()
{
    static const QSet<QString> keys = {
        QStringLiteral("PortName"),         QStringLiteral("BaudRate"),
        QStringLiteral("DataBits"),         QStringLiteral("StopBits"),
        QStringLiteral("Parity"),           QStringLiteral("FlowControl"),
        QStringLiteral("DtrOn"),            QStringLiteral("RtsOn"),
        QStringLiteral("ReceiveMsgForamt"), QStringLiteral("ReceiveEncoding"),
        QStringLiteral("RxAutoFeedLine"),   QStringLiteral("RxLineEndingMode"),
        QStringLiteral("SplitterLeft"),     QStringLiteral("SplitterRight"),
        QStringLiteral("AutoFeedInterval"), QStringLiteral("DisplaySendMsg"),
        QStringLiteral("LocalEcho"),        QStringLiteral("DisplayMsgTime"),
        QStringLiteral("RxTimeFormat"),     QStringLiteral("TxTimeFormat"),
        QStringLiteral("SendMsgFormat"),    QStringLiteral("SendEncoding"),
        QStringLiteral("AutoSend"),         QStringLiteral("SendInterval"),
        QStringLiteral("SendTimeUnit"),     QStringLiteral("SupportComment"),
        QStringLiteral("FormatSend"),       QStringLiteral("SendChecksum"),
        QStringLiteral("SendEscapes"),      QStringLiteral("TxAutoFeedLine"),
        QStringLiteral("TxLineEndingMode"), QStringLiteral("TerminalEnterMode"),
        QStringLiteral("LogSaveFlag"),      QStringLiteral("LogAppend"),
        QStringLiteral("LogPromptForName"), QStringLiteral("LogStartOnConnect"),
        QStringLiteral("LogTimestampEnabled"), QStringLiteral("LogFileTime"),
        QStringLiteral("DisplayBufferSize"), QStringLiteral("LogFontFamily"),
        QStringLiteral("LogFontSize"),      QStringLiteral("LogFontWeight"),
        QStringLiteral("LogFontItalic"),    QStringLiteral("FormatDisplayColor"),
        QStringLiteral("ShowControlLineLeds"), QStringLiteral("SendTextColor"),
        QStringLiteral("ReceiveTextColor"), QStringLiteral("LogRotateAtSize"),
        QStringLiteral("LogRotateSize"),    QStringLiteral("LogRotateAtTime"),
        QStringLiteral("LogRotateTime"),    QStringLiteral("NeedHourTimeStamp"),
        QStringLiteral("LastTargetHost"),   QStringLiteral("LastTargetPort"),
        QStringLiteral("UdpLocalPort"),     QStringLiteral("ConnMode"),
        QStringLiteral("UseRemoteSerialConfig"), QStringLiteral("RelayPortName"),
        QStringLiteral("RelayPortKey"),     QStringLiteral("Decode/Kind"),
        QStringLiteral("Decode/PanelVisible"),
    };
    return keys;
}

// A bridge's settings, except its capture path, which is a path.
const QSet<QString> &bridgeKeepKeys()
{
    static const QSet<QString> keys = [] {
        QStringList names = BridgeCodec::keyNames();
        names.removeAll(QStringLiteral("LogFilePath"));
        return QSet<QString>(names.cbegin(), names.cend());
    }();
    return keys;
}

// The quick settings group ids whose field order and hidden fields are kept.
const QStringList &quickSettingsGroupIds()
{
    static const QStringList ids = {QStringLiteral("connection"), QStringLiteral("controlLines"),
                                    QStringLiteral("receive"), QStringLiteral("send")};
    return ids;
}

} // namespace

QStringList DiagnosticPack::preferenceKeys()
{
    QStringList keys = {
        QStringLiteral("OpenLastConnection"),     QStringLiteral("AutoReconnect"),
        QStringLiteral("Appearance"),             QStringLiteral("LastConnectionOpen"),
        QStringLiteral("LastConnMode"),           QStringLiteral("LastPortName"),
        QStringLiteral("LastUdpLocalPort"),       QStringLiteral("LastUdpServerPort"),
        QStringLiteral("LastDisplayFontFamily"),  QStringLiteral("LastDisplayFontSize"),
        QStringLiteral("LastFormatDisplayColor"), QStringLiteral("LastShowControlLineLeds"),
        QStringLiteral("LastTerminalEnterMode"),  QStringLiteral("LastReceiveEncoding"),
        QStringLiteral("LastSendEncoding"),       QStringLiteral("LastSendEscapes"),
        QStringLiteral("LastLogAppend"),          QStringLiteral("LastLogPromptForName"),
        QStringLiteral("LastLogStartOnConnect"),  QStringLiteral("LastTransferProtocol"),
        QStringLiteral("TransferRecvSizeCapMiB"), QStringLiteral("QuickSettings/Connection"),
        QStringLiteral("QuickSettings/Receive"),  QStringLiteral("QuickSettings/Send"),
        QStringLiteral("QuickSettings/GroupOrder"),
    };
    for (const QString &id : quickSettingsGroupIds()) {
        keys << QStringLiteral("QuickSettings/Fields/%1/Order").arg(id)
             << QStringLiteral("QuickSettings/Fields/%1/Hidden").arg(id);
    }
    keys << QStringLiteral("LastLayoutTabs") << QStringLiteral("CommandPanelVisible")
         << QStringLiteral("LastCloudConsole") << QStringLiteral("CloudConsoleAllowRemoteSend")
         << QStringLiteral("CloudConsoleAllowPortControl")
         << QStringLiteral("CloudConsoleAllowRelay");
    return keys;
}

DiagnosticPack::ProjectClass DiagnosticPack::classifyProjectKey(const QString &key,
                                                                bool *isLibrary)
{
    static const QRegularExpression quick(QStringLiteral(
        "^QuickSettings/(Connection|Receive|Send|GroupOrder|"
        "Fields/(connection|controlLines|receive|send)/(Order|Hidden))$"));
    static const QRegularExpression bridge(QStringLiteral("^Bridge/\\d+/([^/]+)$"));
    static const QRegularExpression port(QStringLiteral("^\\d+/(.+)$"));
    // The libraries sit under the groups the project file writes them to.
    static const QStringList libraryGroups = {QStringLiteral("CommandLibrary/"),
                                              QStringLiteral("FrameTemplateLibrary/"),
                                              QStringLiteral("ScriptLibrary/")};

    ProjectClass result = Drop;
    if (key == QLatin1String("PortNumber") || key == QLatin1String("ColumnNumber") ||
        key == QLatin1String("LayoutMode") || key == QLatin1String("QuickView") ||
        key == QLatin1String("Bridge/Count") || quick.match(key).hasMatch()) {
        result = Keep;
    } else if (const auto m = bridge.match(key); m.hasMatch()) {
        const QString name = m.captured(1);
        if (name == QLatin1String("LogFilePath")) {
            result = Path;
        } else if (bridgeKeepKeys().contains(name)) {
            result = Keep;
        }
    } else if (const auto m = port.match(key); m.hasMatch()) {
        const QString name = m.captured(1);
        if (portKeepKeys().contains(name)) {
            result = Keep;
        } else if (name == QLatin1String("SendList")) {
            result = SendHistory;
        } else if (name == QLatin1String("LogFilePath")) {
            result = Path;
        } else if (name.startsWith(QLatin1String("AutoReply/")) ||
                   name == QLatin1String("Decode/Template")) {
            result = Library;
        }
    } else {
        for (const QString &group : libraryGroups) {
            if (key.startsWith(group)) {
                result = Library;
            }
        }
    }
    if (isLibrary) {
        *isLibrary = result == Library;
    }
    return result;
}

QMap<QString, QVariant> DiagnosticPack::filterProject(const QMap<QString, QVariant> &map,
                                                      const QStringList &homes,
                                                      const Options &flags)
{
    QMap<QString, QVariant> out;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        switch (classifyProjectKey(it.key())) {
        case Keep:
            out.insert(it.key(), it.value());
            break;
        case Library:
            if (flags.library) {
                out.insert(it.key(), it.value());
            }
            break;
        case SendHistory:
            if (flags.sendHistory) {
                out.insert(it.key(), it.value());
            }
            break;
        case Path:
            out.insert(it.key(), redactHome(it.value().toString(), homes));
            break;
        case Drop:
            break;
        }
    }
    return out;
}

QByteArray DiagnosticPack::renderIni(const QMap<QString, QVariant> &map)
{
    // The project's own ini writer, so that the text reads back as a project: it sorts
    // the keys and quotes values the way the program reads them.
    QTemporaryFile file;
    if (!file.open()) {
        return {};
    }
    const QString path = file.fileName();
    file.close();
    {
        QSettings ini(path, QSettings::IniFormat);
        ini.clear();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            ini.setValue(it.key(), it.value());
        }
        ini.sync();
    }
    QFile text(path);
    if (!text.open(QIODevice::ReadOnly)) {
        return {};
    }
    return text.readAll();
}
