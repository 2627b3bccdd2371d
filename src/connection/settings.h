#pragma once

// The two value records that configure a port panel: `Settings` (what the port is
// connected to) and `FormatSetting` (how its traffic is shown, sent and logged),
// with the small enumerations they use.

#include <QString>
#include <QStringList>
#include <QTime>

class QJsonObject;

// Transport of a port. Stored as a 32-bit integer; see connectionModeFromInt.
enum connectionMode : qint32 {
    ModeSerial = 0,
    ModeTcpServer = 1,
    ModeTcpClient = 2,
    ModeReserved = 3, // no transport; treated as unknown everywhere
    ModeUdpServer = 4,
    ModeUdpClient = 5,
    ModeUdpGroup = 6,
    ModeRemoteSerial = 7, // RFC 2217 client
    ModeLiveRelay = 8,
};

// Anything outside 0..8 becomes a serial port.
connectionMode connectionModeFromInt(int value);
// Modes that run over the controller's client socket: TCP client and RFC 2217.
bool connectionModeIsTcpClient(connectionMode mode);
// Modes that carry the RFC 2217 control stream: RFC 2217 and Live Relay.
bool connectionModeIsRemoteSerial(connectionMode mode);
// UDP server, client and group.
bool connectionModeIsUdp(connectionMode mode);
// The prefix of port keys ("ser", "tcps", ...); "port" for the reserved mode.
QString connectionModePrefix(connectionMode mode);
// The transport word of session records ("serial", "tcp-server", ...); empty for mode 3.
QString connectionModeTransportWord(connectionMode mode);

enum msgFormat : qint32 {
    HexFormat = 1,
    TextFormat = 2, // any other value reads as hexadecimal
};

enum RXorTx : qint32 {
    Received = 1,
    Sent = 2,
};

enum _tagLineEndingMode : qint32 {
    LineEndingNone = 0,
    LineEndingCR = 1,
    LineEndingLF = 2,
    LineEndingCRLF = 3,
    LineEndingLFCR = 4,
};
_tagLineEndingMode lineEndingModeFromInt(int value);

// The display font as the records keep it: family, point size, weight and slant, all a
// font dialog chooses. The widgets turn it into a QFont with resolveDisplayFont, so the
// records stay free of the GUI module.
struct DisplayFont
{
    QString family;
    int pointSize = 12;
    int weight = 0; // QFont's 1 to 1000; 0 keeps the weight of the face found
    bool italic = false;
    bool operator==(const DisplayFont &) const = default;
};

struct Settings
{
    connectionMode connMode = ModeSerial;
    QString name;
    qint32 baudRate = 9600;
    qint32 dataBits = 8;
    QString stringDataBits = QStringLiteral("8");
    qint32 parity = 0; // QSerialPort::Parity numbering: 0 none, 2 even, 3 odd, 4 space, 5 mark
    QString stringParity = QStringLiteral("None");
    qint32 stopBits = 1; // QSerialPort::StopBits numbering: 1 one, 2 two, 3 one and a half
    QString stringStopBits = QStringLiteral("1");
    qint32 flowControl = 0; // 0 none, 1 RTS/CTS, 2 XON/XOFF
    QString stringFlowControl = QStringLiteral("None");
    bool dtrOn = true;
    bool rtsOn = true;
    bool useRemoteSerialConfig = true;
    QString relayCid;
    QString relayPortName;
    QString relayPortKey;
    QString relayTargetName; // not stored
    QString relayInviteCode; // not stored
    QString relayPasscode;   // not stored
    QString relayShareLabel;
    QString relayGuestName;
    qint32 targetPort = 6000;
    QString targetHost = QStringLiteral("127.0.0.1");
    QStringList targetHostList = {QStringLiteral("127.0.0.1")};
    quint16 udpLocalPort = 60001;
    quint16 udpServerPort = 60000;

    bool operator==(const Settings &) const = default;

    // Remembers a host in targetHostList: trimmed, never empty, no duplicates, newest last.
    void rememberHost(const QString &host);
};

struct FormatSetting
{
    msgFormat receiveMsgFormat = TextFormat;
    msgFormat sendMsgFormat = TextFormat;
    QString receiveEncoding = QStringLiteral("UTF-8");
    QString sendEncoding = QStringLiteral("UTF-8");
    qint32 splitterLeft = 10000;
    qint32 splitterRight = 50000;
    bool rxAutoFeedLine = false;
    _tagLineEndingMode rxLineEndingMode = LineEndingNone;
    qint32 autoFeedInterval = 20;
    bool lineByLine = false; // never stored
    bool displaySendMsg = false;
    bool displayMsgTime = false;
    QString rxTimeFormat = QStringLiteral("[Rx][hh:mm:ss.zzz] ");
    QString txTimeFormat = QStringLiteral("[Tx][hh:mm:ss.zzz] ");
    bool textSent = false; // set at each text send; not stored
    bool autoSend = false;
    qint32 sendInterval = 1000;
    qint32 sendTimeUnit = 1;
    bool supportComment = false;
    bool formatSend = false;
    qint32 sendChecksum = 0;
    bool sendEscapes = false;
    _tagLineEndingMode txLineEndingMode = LineEndingNone;
    _tagLineEndingMode terminalEnterMode = LineEndingCR;
    bool localEcho = false;
    bool logSaveFlag = false;
    bool logAppend = true;
    bool logPromptForName = false;
    bool logStartOnConnect = false;
    QString logFilePath;
    QString logFileTime = QStringLiteral("[%h:%m:%s.%z] ");
    bool logTimestampEnabled = false;
    QString logFileName = QStringLiteral("NULL");
    bool logRotateAtSize = true;
    qint32 logRotateSize = 104857600;
    bool logRotateAtTime = false;
    QTime logRotateTime = QTime(0, 0, 0, 0);
    bool needHourTimeStamp = true;
    qint32 displayBufferSize = 10485760;
    DisplayFont logFont;
    bool formatDisplayColor = false;
    QString sendTextColor = QStringLiteral("#000000");
    QString receiveTextColor = QStringLiteral("#000000");
    bool showControlLineLeds = true;

    FormatSetting();
    bool operator==(const FormatSetting &) const = default;

    // Derived from txLineEndingMode so that the two can never disagree.
    bool txAutoFeedLine() const { return txLineEndingMode != LineEndingNone; }
};

// "NULL": the value of FormatSetting::logFileName while no log is open.
QString unresolvedLogFileName();
// "vlm_%S-%Y%M%D.log" in the user's home directory.
QString defaultLogFilePath();

// Merges a JSON object of line parameters ("baud_rate", "data_bits", "parity",
// "stop_bits", "flow_control") into `settings`; absent keys leave fields alone.
void patchSerialParams(const QJsonObject &json, Settings &settings);

// The display texts that travel with the numeric line parameters: "None", "Even",
// "Odd", "Space", "Mark"; "1", "1.5", "2"; "None", "RTS/CTS", "XON/XOFF".
QString serialParityText(int parity);
QString serialStopBitsText(int stopBits);
QString serialFlowControlText(int flowControl);

// The label of a remote serial port: "host:port" (IPv6 hosts bracketed) for RFC 2217,
// the port or share name for Live Relay, empty for other modes.
QString remoteSerialPortLabel(const Settings &settings);
