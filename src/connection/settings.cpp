#include "connection/settings.h"

#include <QDir>
#include <QJsonObject>
#include <QJsonValue>

connectionMode connectionModeFromInt(int value)
{
    if (value < 0 || value > 8) {
        return ModeSerial;
    }
    return static_cast<connectionMode>(value);
}

bool connectionModeIsTcpClient(connectionMode mode)
{
    return mode == ModeTcpClient || mode == ModeRemoteSerial;
}

bool connectionModeIsRemoteSerial(connectionMode mode)
{
    return mode == ModeRemoteSerial || mode == ModeLiveRelay;
}

bool connectionModeIsUdp(connectionMode mode)
{
    return mode == ModeUdpServer || mode == ModeUdpClient || mode == ModeUdpGroup;
}

QString connectionModePrefix(connectionMode mode)
{
    switch (mode) {
    case ModeSerial:
        return QStringLiteral("ser");
    case ModeTcpServer:
        return QStringLiteral("tcps");
    case ModeTcpClient:
        return QStringLiteral("tcpc");
    case ModeUdpServer:
        return QStringLiteral("udps");
    case ModeUdpClient:
        return QStringLiteral("udpc");
    case ModeUdpGroup:
        return QStringLiteral("udpg");
    case ModeRemoteSerial:
        return QStringLiteral("rser");
    case ModeLiveRelay:
        return QStringLiteral("crly");
    case ModeReserved:
        break;
    }
    return QStringLiteral("port");
}

QString connectionModeTransportWord(connectionMode mode)
{
    switch (mode) {
    case ModeSerial:
        return QStringLiteral("serial");
    case ModeTcpServer:
        return QStringLiteral("tcp-server");
    case ModeTcpClient:
        return QStringLiteral("tcp-client");
    case ModeUdpServer:
        return QStringLiteral("udp-server");
    case ModeUdpClient:
        return QStringLiteral("udp-client");
    case ModeUdpGroup:
        return QStringLiteral("udp-group");
    case ModeRemoteSerial:
        return QStringLiteral("rfc2217-client");
    case ModeLiveRelay:
        return QStringLiteral("live-relay");
    case ModeReserved:
        break;
    }
    return QString();
}

_tagLineEndingMode lineEndingModeFromInt(int value)
{
    if (value < LineEndingNone || value > LineEndingLFCR) {
        return LineEndingNone;
    }
    return static_cast<_tagLineEndingMode>(value);
}

void Settings::rememberHost(const QString &host)
{
    const QString trimmed = host.trimmed();
    if (trimmed.isEmpty()) {
        return;
    }
    targetHostList.removeAll(trimmed);
    targetHostList.append(trimmed);
}

FormatSetting::FormatSetting()
    : logFilePath(defaultLogFilePath())
{}

QString unresolvedLogFileName()
{
    return QStringLiteral("NULL");
}

QString defaultLogFilePath()
{
    return QDir(QDir::homePath()).filePath(QStringLiteral("vlm_%S-%Y%M%D.log"));
}

void patchSerialParams(const QJsonObject &json, Settings &settings)
{
    // A numeric value may come as a JSON number or as a numeric string.
    const auto number = [](const QJsonValue &value, bool *ok) -> double {
        if (value.isDouble()) {
            *ok = true;
            return value.toDouble();
        }
        return value.toString().trimmed().toDouble(ok);
    };

    if (json.contains(QLatin1String("baud_rate"))) {
        bool ok = false;
        const double baud = number(json.value(QLatin1String("baud_rate")), &ok);
        // A rate that no line can run at is not taken over.
        if (ok && baud >= 1 && baud <= 100000000) {
            settings.baudRate = static_cast<qint32>(baud);
        }
    }
    if (json.contains(QLatin1String("data_bits"))) {
        bool ok = false;
        const int bits = static_cast<int>(number(json.value(QLatin1String("data_bits")), &ok));
        if (ok && bits >= 5 && bits <= 8) {
            settings.dataBits = bits;
            settings.stringDataBits = QString::number(bits);
        }
    }
    if (json.contains(QLatin1String("parity"))) {
        const QString parity = json.value(QLatin1String("parity")).toString().toLower();
        settings.parity = parity == QLatin1String("even")    ? 2
                          : parity == QLatin1String("odd")   ? 3
                          : parity == QLatin1String("mark")  ? 5
                          : parity == QLatin1String("space") ? 4
                                                             : 0;
        settings.stringParity = serialParityText(settings.parity);
    }
    if (json.contains(QLatin1String("stop_bits"))) {
        bool ok = false;
        const double stop = number(json.value(QLatin1String("stop_bits")), &ok);
        settings.stopBits = ok && stop == 2.0 ? 2 : ok && stop == 1.5 ? 3 : 1;
        settings.stringStopBits = serialStopBitsText(settings.stopBits);
    }
    if (json.contains(QLatin1String("flow_control"))) {
        const QString flow = json.value(QLatin1String("flow_control")).toString().toLower();
        settings.flowControl = flow == QLatin1String("rtscts")    ? 1
                               : flow == QLatin1String("xonxoff") ? 2
                                                                  : 0;
        settings.stringFlowControl = serialFlowControlText(settings.flowControl);
    }
}

QString serialParityText(int parity)
{
    switch (parity) {
    case 2:
        return QStringLiteral("Even");
    case 3:
        return QStringLiteral("Odd");
    case 4:
        return QStringLiteral("Space");
    case 5:
        return QStringLiteral("Mark");
    default:
        return QStringLiteral("None");
    }
}

QString serialStopBitsText(int stopBits)
{
    switch (stopBits) {
    case 2:
        return QStringLiteral("2");
    case 3:
        return QStringLiteral("1.5");
    default:
        return QStringLiteral("1");
    }
}

QString serialFlowControlText(int flowControl)
{
    switch (flowControl) {
    case 1:
        return QStringLiteral("RTS/CTS");
    case 2:
        return QStringLiteral("XON/XOFF");
    default:
        return QStringLiteral("None");
    }
}

QString remoteSerialPortLabel(const Settings &settings)
{
    if (settings.connMode == ModeRemoteSerial) {
        const QString host = settings.targetHost.trimmed();
        if (host.isEmpty()) {
            return QString();
        }
        if (host.contains(QLatin1Char(':')) && !host.startsWith(QLatin1Char('['))) {
            return QStringLiteral("[%1]:%2").arg(host).arg(settings.targetPort);
        }
        return QStringLiteral("%1:%2").arg(host).arg(settings.targetPort);
    }
    if (settings.connMode == ModeLiveRelay) {
        return settings.relayPortName.isEmpty() ? settings.relayShareLabel : settings.relayPortName;
    }
    return QString();
}
