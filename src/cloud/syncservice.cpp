#include "cloud/syncservice.h"

#include "connection/portfieldlimits.h"
#include "common/storedvaluereader.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <algorithm>

namespace {
namespace Limits = PortFieldLimits;

constexpr int MaxTextLength = 256;
constexpr int MaxListEntries = 1000;

QJsonArray toArray(const QStringList &list)
{
    return QJsonArray::fromStringList(list);
}

// Reads one group of the payload into existing values, leaving what is absent or
// unusable as it was.
class GroupReader
{
public:
    explicit GroupReader(const QJsonObject &group)
        : group(group)
    {}

    void flag(const char *key, bool *out) const
    {
        const QJsonValue v = group.value(QLatin1String(key));
        if (v.isBool()) {
            *out = v.toBool();
        }
    }
    template<typename T>
    void number(const char *key, T *out, qint64 min, qint64 max) const
    {
        const QJsonValue v = group.value(QLatin1String(key));
        if (v.isDouble()) {
            *out = T(std::clamp<qint64>(qint64(v.toDouble()), min, max));
        }
    }
    template<typename T>
    void choice(const char *key, T *out, const QList<qint32> &allowed) const
    {
        const QJsonValue v = group.value(QLatin1String(key));
        if (v.isDouble() && allowed.contains(v.toInt(-1))) {
            *out = T(v.toInt());
        }
    }
    void format(const char *key, msgFormat *out) const
    {
        choice(key, out, {HexFormat, TextFormat});
    }
    void text(const char *key, QString *out, bool allowEmpty = false) const
    {
        const QJsonValue v = group.value(QLatin1String(key));
        if (v.isString() && v.toString().size() <= MaxTextLength &&
            (allowEmpty || !v.toString().trimmed().isEmpty())) {
            *out = v.toString();
        }
    }
    void color(const char *key, QString *out) const
    {
        const QJsonValue v = group.value(QLatin1String(key));
        if (v.isString() && StoredValueReader::isColor(v.toString())) {
            *out = v.toString().trimmed().toLower();
        }
    }
    void list(const char *key, QStringList *out) const
    {
        const QJsonValue v = group.value(QLatin1String(key));
        if (!v.isArray()) {
            return;
        }
        QStringList items;
        for (const QJsonValue &item : v.toArray()) {
            if (item.isString() && item.toString().size() <= MaxTextLength) {
                items << item.toString();
            }
            if (items.size() >= MaxListEntries) {
                break;
            }
        }
        *out = items;
    }
    GroupReader sub(const char *key) const
    {
        return GroupReader(group.value(QLatin1String(key)).toObject());
    }

private:
    QJsonObject group;
};

void readConnection(const GroupReader &in, Settings &s)
{
    in.choice("conn_mode", &s.connMode, {0, 1, 2, 4, 5, 6, 7, 8});
    const GroupReader serial = in.sub("serial");
    serial.text("port_name", &s.name, true);
    serial.number("baud_rate", &s.baudRate, 1, Limits::MaxBaudRate);
    serial.choice("data_bits", &s.dataBits, Limits::DataBits);
    serial.choice("stop_bits", &s.stopBits, Limits::StopBits);
    serial.choice("parity", &s.parity, Limits::Parity);
    serial.choice("flow_control", &s.flowControl, Limits::FlowControl);
    s.stringDataBits = QString::number(s.dataBits);
    s.stringParity = serialParityText(s.parity);
    s.stringStopBits = serialStopBitsText(s.stopBits);
    s.stringFlowControl = serialFlowControlText(s.flowControl);
    const GroupReader network = in.sub("network");
    network.text("target_host", &s.targetHost);
    QStringList hosts = s.targetHostList;
    network.list("target_hosts", &hosts);
    hosts = StoredValueReader::cleanHostList(hosts);
    if (!hosts.isEmpty()) {
        s.targetHostList = hosts;
    }
    network.number("target_port", &s.targetPort, 0, Limits::MaxNetworkPort);
    network.number("udp_local_port", &s.udpLocalPort, 0, Limits::MaxNetworkPort);
    network.number("udp_server_port", &s.udpServerPort, 0, Limits::MaxNetworkPort);
}

void readDisplay(const GroupReader &in, FormatSetting &f)
{
    in.format("receive_msg_format", &f.receiveMsgFormat);
    in.format("send_msg_format", &f.sendMsgFormat);
    in.text("receive_encoding", &f.receiveEncoding);
    in.text("send_encoding", &f.sendEncoding);
    in.choice("send_checksum", &f.sendChecksum, Limits::SendChecksum);
    in.flag("send_escapes", &f.sendEscapes);
    in.flag("rx_auto_feed_line", &f.rxAutoFeedLine);
    in.choice("rx_line_ending_mode", &f.rxLineEndingMode, Limits::LineEnding);
    // The ending mode decides; "no ending" switches the appended ending off.
    bool txAutoFeed = f.txAutoFeedLine();
    in.flag("tx_auto_feed_line", &txAutoFeed);
    in.choice("tx_line_ending_mode", &f.txLineEndingMode, Limits::LineEnding);
    if (!txAutoFeed) {
        f.txLineEndingMode = LineEndingNone;
    }
    in.choice("terminal_enter_mode", &f.terminalEnterMode, Limits::LineEnding);
    in.number("auto_feed_interval", &f.autoFeedInterval, 0, Limits::IntMax);
    in.number("splitter_left", &f.splitterLeft, 0, Limits::IntMax);
    in.number("splitter_right", &f.splitterRight, 0, Limits::IntMax);
    in.flag("display_send_msg", &f.displaySendMsg);
    in.flag("local_echo", &f.localEcho);
    in.flag("display_msg_time", &f.displayMsgTime);
    in.text("rx_time_format", &f.rxTimeFormat);
    in.text("tx_time_format", &f.txTimeFormat);
    in.number("display_buffer_size", &f.displayBufferSize, 0, Limits::IntMax);
    const GroupReader font = in.sub("font");
    font.text("family", &f.logFont.family, true);
    font.number("point_size", &f.logFont.pointSize, 1, Limits::MaxFontPointSize);
    in.flag("format_display_color", &f.formatDisplayColor);
    const GroupReader colors = in.sub("colors");
    colors.color("send_text", &f.sendTextColor);
    colors.color("receive_text", &f.receiveTextColor);
}

} // namespace

QString SyncService::schemaName()
{
    return QStringLiteral("vlm.session-settings");
}

QString SyncService::nameSpace()
{
    return QStringLiteral("settings.session");
}

QString SyncService::itemKey()
{
    return QStringLiteral("default");
}

QJsonObject SyncService::toSnapshot(const SessionState &state, const QString &cid, int language,
                                    bool withHistory)
{
    const Settings &s = state.settings;
    const FormatSetting &f = state.format;
    const QJsonObject connection{
        {QStringLiteral("conn_mode"), int(s.connMode)},
        {QStringLiteral("serial"),
         QJsonObject{{QStringLiteral("port_name"), s.name},
                     {QStringLiteral("baud_rate"), s.baudRate},
                     {QStringLiteral("data_bits"), s.dataBits},
                     {QStringLiteral("stop_bits"), s.stopBits},
                     {QStringLiteral("parity"), s.parity},
                     {QStringLiteral("flow_control"), s.flowControl}}},
        {QStringLiteral("network"),
         QJsonObject{{QStringLiteral("target_host"), s.targetHost},
                     {QStringLiteral("target_hosts"), toArray(s.targetHostList)},
                     {QStringLiteral("target_port"), s.targetPort},
                     {QStringLiteral("udp_local_port"), int(s.udpLocalPort)},
                     {QStringLiteral("udp_server_port"), int(s.udpServerPort)}}},
    };
    const QJsonObject display{
        {QStringLiteral("receive_msg_format"), int(f.receiveMsgFormat)},
        {QStringLiteral("send_msg_format"), int(f.sendMsgFormat)},
        {QStringLiteral("receive_encoding"), f.receiveEncoding},
        {QStringLiteral("send_encoding"), f.sendEncoding},
        {QStringLiteral("send_checksum"), f.sendChecksum},
        {QStringLiteral("send_escapes"), f.sendEscapes},
        {QStringLiteral("rx_auto_feed_line"), f.rxAutoFeedLine},
        {QStringLiteral("rx_line_ending_mode"), int(f.rxLineEndingMode)},
        {QStringLiteral("tx_auto_feed_line"), f.txAutoFeedLine()},
        {QStringLiteral("tx_line_ending_mode"), int(f.txLineEndingMode)},
        {QStringLiteral("terminal_enter_mode"), int(f.terminalEnterMode)},
        {QStringLiteral("auto_feed_interval"), f.autoFeedInterval},
        {QStringLiteral("splitter_left"), f.splitterLeft},
        {QStringLiteral("splitter_right"), f.splitterRight},
        {QStringLiteral("display_send_msg"), f.displaySendMsg},
        {QStringLiteral("local_echo"), f.localEcho},
        {QStringLiteral("display_msg_time"), f.displayMsgTime},
        {QStringLiteral("rx_time_format"), f.rxTimeFormat},
        {QStringLiteral("tx_time_format"), f.txTimeFormat},
        {QStringLiteral("display_buffer_size"), f.displayBufferSize},
        {QStringLiteral("font"), QJsonObject{{QStringLiteral("family"), f.logFont.family},
                                             {QStringLiteral("point_size"), f.logFont.pointSize}}},
        {QStringLiteral("format_display_color"), f.formatDisplayColor},
        {QStringLiteral("colors"), QJsonObject{{QStringLiteral("send_text"), f.sendTextColor},
                                               {QStringLiteral("receive_text"), f.receiveTextColor}}},
    };
    const QJsonObject behavior{{QStringLiteral("auto_reconnect"), state.autoReconnect},
                               {QStringLiteral("restore_last_connection"), state.openLastConnection},
                               {QStringLiteral("language"), language}};
    QJsonObject settings{{QStringLiteral("connection"), connection},
                         {QStringLiteral("display"), display},
                         {QStringLiteral("behavior"), behavior}};
    if (withHistory) {
        settings.insert(QStringLiteral("send_history"), toArray(state.sendList));
    }
    return {{QStringLiteral("schema"), schemaName()},
            {QStringLiteral("version"), SchemaVersion},
            {QStringLiteral("app_version"), QCoreApplication::applicationVersion()},
            {QStringLiteral("updated_by"), cid},
            {QStringLiteral("settings"), settings}};
}

bool SyncService::applySnapshot(const QJsonObject &payload, SessionState *state, int *language)
{
    if (payload.value(QStringLiteral("schema")).toString() != schemaName()) {
        return false;
    }
    const QJsonValue version = payload.value(QStringLiteral("version"));
    if (version.isDouble() && version.toDouble() > SchemaVersion) {
        return false;
    }
    const GroupReader settings(payload.value(QStringLiteral("settings")).toObject());
    SessionState next = *state;
    readConnection(settings.sub("connection"), next.settings);
    readDisplay(settings.sub("display"), next.format);
    const GroupReader behavior = settings.sub("behavior");
    behavior.flag("auto_reconnect", &next.autoReconnect);
    behavior.flag("restore_last_connection", &next.openLastConnection);
    int nextLanguage = *language;
    behavior.number("language", &nextLanguage, 0, 2);
    settings.list("send_history", &next.sendList);
    *state = next;
    *language = nextLanguage;
    return true;
}

QStringList SyncService::mergedUniqueLists(const QStringList &local, const QStringList &cloud)
{
    QStringList merged;
    for (const QStringList *list : {&local, &cloud}) {
        for (const QString &entry : *list) {
            if (!merged.contains(entry)) {
                merged << entry;
            }
        }
    }
    return merged;
}

SessionState SyncService::mergedLists(const SessionState &local, const SessionState &cloud)
{
    SessionState merged = local;
    merged.settings.targetHostList =
        mergedUniqueLists(local.settings.targetHostList, cloud.settings.targetHostList);
    merged.sendList = mergedUniqueLists(local.sendList, cloud.sendList);
    return merged;
}
