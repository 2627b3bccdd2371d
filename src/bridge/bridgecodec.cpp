#include "bridge/bridgecodec.h"

#include "common/storedvaluereader.h"
#include "connection/settingskey.h"

#include <QSettings>

#include <limits>

namespace {

using Reader = StoredValueReader;

QString countKey()
{
    return QStringLiteral("Bridge/Count");
}

qint64 readInt64(const QSettings &settings, const QString &key, qint64 fallback, qint64 min,
                 qint64 max)
{
    const QVariant value = settings.value(key);
    if (!value.isValid()) {
        return fallback;
    }
    bool ok = false;
    const qint64 number = value.toString().trimmed().toLongLong(&ok);
    return ok ? std::clamp(number, min, max) : fallback;
}

} // namespace

QStringList BridgeCodec::keyNames()
{
    return {QStringLiteral("Name"),
            QStringLiteral("PortA"),
            QStringLiteral("PortB"),
            QStringLiteral("UseBuiltinListener"),
            QStringLiteral("ListenPort"),
            QStringLiteral("Direction"),
            QStringLiteral("Enabled"),
            QStringLiteral("AutoOpenPeer"),
            QStringLiteral("ShowForwardedInDisplay"),
            QStringLiteral("DisplayMuteBytesPerSec"),
            QStringLiteral("FramingMode"),
            QStringLiteral("FramingIdleGapMs"),
            QStringLiteral("FramingDelimiterHex"),
            QStringLiteral("FramingFixedLength"),
            QStringLiteral("FramingMaxBytes"),
            QStringLiteral("FramingMaxHoldMs"),
            QStringLiteral("QueueLimitBytes"),
            QStringLiteral("HighWatermark"),
            QStringLiteral("LowWatermark"),
            QStringLiteral("SinkPendingLimitBytes"),
            QStringLiteral("OverflowPolicy"),
            QStringLiteral("FloodGuardEnabled"),
            QStringLiteral("FloodRateBytesPerSec"),
            QStringLiteral("FloodWindowMs"),
            QStringLiteral("FanoutMode"),
            QStringLiteral("UdpTargetMode"),
            QStringLiteral("Protocol"),
            QStringLiteral("ModbusTransactionTimeoutMs"),
            QStringLiteral("ArbiterResponseTimeoutMs"),
            QStringLiteral("ArbiterMaxQueuedRequests"),
            QStringLiteral("AllowedPeers"),
            QStringLiteral("LogEnabled"),
            QStringLiteral("LogFilePath"),
            QStringLiteral("LogHex"),
            QStringLiteral("LogRotateBytes")};
}

void BridgeCodec::save(QSettings &settings, const QList<BridgeConfig> &configs)
{
    const int count = int(std::min<qsizetype>(configs.size(), MaxBridges));
    settings.setValue(countKey(), count);
    for (int i = 0; i < count; ++i) {
        const BridgeConfig &c = configs.at(i);
        const auto put = [&](const char *name, const QVariant &value) {
            settings.setValue(SettingsKey::bridgeKey(i, QLatin1String(name)), value);
        };
        put("Name", c.name);
        put("PortA", c.portA);
        put("PortB", c.portB);
        put("UseBuiltinListener", c.useBuiltinListener);
        put("ListenPort", c.listenPort);
        put("Direction", c.direction);
        put("Enabled", c.enabled);
        put("AutoOpenPeer", c.autoOpenPeer);
        put("ShowForwardedInDisplay", c.showForwardedInDisplay);
        put("DisplayMuteBytesPerSec", c.displayMuteBytesPerSec);
        put("FramingMode", c.framing.mode);
        put("FramingIdleGapMs", c.framing.idleGapMs);
        put("FramingDelimiterHex", QString::fromLatin1(c.framing.delimiter.toHex()));
        put("FramingFixedLength", c.framing.fixedLength);
        put("FramingMaxBytes", c.framing.maxBytes);
        put("FramingMaxHoldMs", c.framing.maxHoldMs);
        put("QueueLimitBytes", c.flow.queueLimitBytes);
        put("HighWatermark", c.flow.highWatermark);
        put("LowWatermark", c.flow.lowWatermark);
        put("SinkPendingLimitBytes", c.flow.sinkPendingLimitBytes);
        put("OverflowPolicy", c.flow.overflowPolicy);
        put("FloodGuardEnabled", c.flow.floodGuardEnabled);
        put("FloodRateBytesPerSec", c.flow.floodRateBytesPerSec);
        put("FloodWindowMs", c.flow.floodWindowMs);
        put("FanoutMode", qint32(c.fanoutMode));
        put("UdpTargetMode", qint32(c.udpTargetMode));
        put("Protocol", c.protocol);
        put("ModbusTransactionTimeoutMs", c.modbusTransactionTimeoutMs);
        put("ArbiterResponseTimeoutMs", c.arbiterResponseTimeoutMs);
        put("ArbiterMaxQueuedRequests", c.arbiterMaxQueuedRequests);
        put("AllowedPeers", c.allowedPeers);
        put("LogEnabled", c.logEnabled);
        put("LogFilePath", c.logFilePath);
        put("LogHex", c.logHex);
        put("LogRotateBytes", c.logRotateBytes);
    }
    // Rows of an earlier, longer list would be read back by nobody but confuse a reader
    // that trusts the groups more than the count.
    settings.beginGroup(QStringLiteral("Bridge"));
    const QStringList groups = settings.childGroups();
    settings.endGroup();
    for (const QString &group : groups) {
        bool isIndex = false;
        const int index = group.toInt(&isIndex);
        if (!isIndex || index >= count) {
            settings.remove(QStringLiteral("Bridge/%1").arg(group));
        }
    }
}

QList<BridgeConfig> BridgeCodec::load(const QSettings &settings)
{
    const int count = Reader::readInt(settings, countKey(), 0, 0, MaxBridges);
    constexpr qint32 IntMax = std::numeric_limits<qint32>::max();
    constexpr qint64 Int64Max = std::numeric_limits<qint64>::max();
    QList<BridgeConfig> configs;
    for (int i = 0; i < count; ++i) {
        const BridgeConfig d;
        BridgeConfig c;
        const auto key = [i](const char *name) {
            return SettingsKey::bridgeKey(i, QLatin1String(name));
        };
        const auto readInt = [&](const char *name, qint32 fallback, qint32 min, qint32 max) {
            return Reader::readInt(settings, key(name), fallback, min, max);
        };
        const auto readBool = [&](const char *name, bool fallback) {
            return Reader::readBool(settings, key(name), fallback);
        };
        c.name = Reader::readString(settings, key("Name"), QString());
        c.portA = readInt("PortA", -1, -1, IntMax);
        c.portB = readInt("PortB", -1, -1, IntMax);
        c.useBuiltinListener = readBool("UseBuiltinListener", d.useBuiltinListener);
        c.listenPort = quint16(readInt("ListenPort", d.listenPort, 0, 65535));
        c.direction = Reader::readChoice(settings, key("Direction"), d.direction, {0, 1, 2});
        c.enabled = readBool("Enabled", d.enabled);
        c.autoOpenPeer = readBool("AutoOpenPeer", d.autoOpenPeer);
        c.showForwardedInDisplay = readBool("ShowForwardedInDisplay", d.showForwardedInDisplay);
        c.displayMuteBytesPerSec = readInt64(settings, key("DisplayMuteBytesPerSec"),
                                             d.displayMuteBytesPerSec, -1, Int64Max);
        c.framing.mode = Reader::readChoice(settings, key("FramingMode"), 0, {0, 1, 2, 3});
        c.framing.idleGapMs = readInt("FramingIdleGapMs", d.framing.idleGapMs, 1, 60000);
        c.framing.delimiter =
            QByteArray::fromHex(Reader::readString(settings, key("FramingDelimiterHex"),
                                                   QString::fromLatin1(d.framing.delimiter.toHex()))
                                    .toLatin1());
        c.framing.fixedLength = readInt("FramingFixedLength", d.framing.fixedLength, 1, 1048576);
        c.framing.maxBytes = readInt("FramingMaxBytes", d.framing.maxBytes, 1, 1048576);
        c.framing.maxHoldMs = readInt("FramingMaxHoldMs", d.framing.maxHoldMs, 1, 60000);
        c.flow.queueLimitBytes =
            readInt64(settings, key("QueueLimitBytes"), d.flow.queueLimitBytes, 1, Int64Max);
        c.flow.highWatermark =
            readInt64(settings, key("HighWatermark"), d.flow.highWatermark, 1, Int64Max);
        c.flow.lowWatermark =
            readInt64(settings, key("LowWatermark"), d.flow.lowWatermark, 0, Int64Max);
        c.flow.sinkPendingLimitBytes = readInt64(settings, key("SinkPendingLimitBytes"),
                                                 d.flow.sinkPendingLimitBytes, 1, Int64Max);
        c.flow.overflowPolicy = Reader::readChoice(settings, key("OverflowPolicy"),
                                                   d.flow.overflowPolicy, {0, 1, 2, 3});
        c.flow.floodGuardEnabled = readBool("FloodGuardEnabled", d.flow.floodGuardEnabled);
        c.flow.floodRateBytesPerSec = readInt64(settings, key("FloodRateBytesPerSec"),
                                                d.flow.floodRateBytesPerSec, 1, Int64Max);
        c.flow.floodWindowMs = readInt("FloodWindowMs", d.flow.floodWindowMs, 0, IntMax);
        c.flow = c.flow.sanitized();
        c.fanoutMode = FanoutMode(
            Reader::readChoice(settings, key("FanoutMode"), qint32(d.fanoutMode), {0, 1, 2}));
        c.udpTargetMode = UdpTargetMode(
            Reader::readChoice(settings, key("UdpTargetMode"), qint32(d.udpTargetMode), {0, 1, 2}));
        c.protocol = Reader::readChoice(settings, key("Protocol"), d.protocol, {0, 1, 2, 3});
        c.modbusTransactionTimeoutMs =
            readInt("ModbusTransactionTimeoutMs", d.modbusTransactionTimeoutMs, 1, 600000);
        c.arbiterResponseTimeoutMs =
            readInt("ArbiterResponseTimeoutMs", d.arbiterResponseTimeoutMs, 1, 600000);
        c.arbiterMaxQueuedRequests =
            readInt("ArbiterMaxQueuedRequests", d.arbiterMaxQueuedRequests, 1, 4096);
        c.allowedPeers = Reader::readStringList(settings, key("AllowedPeers"), {});
        c.allowedPeers.removeAll(QString());
        c.logEnabled = readBool("LogEnabled", d.logEnabled);
        c.logFilePath = Reader::readString(settings, key("LogFilePath"), QString());
        c.logHex = readBool("LogHex", d.logHex);
        c.logRotateBytes =
            readInt64(settings, key("LogRotateBytes"), d.logRotateBytes, 4096, Int64Max);
        configs.append(c);
    }
    return configs;
}
