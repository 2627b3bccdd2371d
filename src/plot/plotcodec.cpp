#include "plot/plotcodec.h"

#include "common/storedvaluereader.h"

#include <QSettings>

#include <algorithm>
#include <cmath>

namespace {

QString key(const QString &prefix, const char *name)
{
    return QStringLiteral("%1/%2").arg(prefix, QLatin1String(name));
}

double readFinite(const QSettings &settings, const QString &name, double fallback)
{
    bool ok = false;
    const double value = settings.value(name).toString().trimmed().toDouble(&ok);
    return ok && std::isfinite(value) ? value : fallback;
}

// A list is written only when it holds something, so that an ini file does not carry
// "@Invalid()" for an empty one.
void setList(QSettings &settings, const QString &name, const QStringList &list)
{
    if (list.isEmpty()) {
        settings.remove(name);
    } else {
        settings.setValue(name, list);
    }
}

} // namespace

QString PlotCodec::lastUsedPrefix()
{
    return QStringLiteral("LastPlot");
}

void PlotCodec::save(QSettings &settings, const QString &prefix, const PlotConfig &config)
{
    settings.setValue(key(prefix, "Visible"), config.visible);
    settings.setValue(key(prefix, "Format"), int(config.format));
    settings.setValue(key(prefix, "Regex"), config.regex);
    settings.setValue(key(prefix, "XAxis"), int(config.xAxis));
    settings.setValue(key(prefix, "Window"), config.window);
    settings.setValue(key(prefix, "AutoScale"), config.autoScale);
    settings.setValue(key(prefix, "YMin"), config.yMin);
    settings.setValue(key(prefix, "YMax"), config.yMax);
    QStringList names = config.channelNames;
    while (!names.isEmpty() && names.constLast().isEmpty()) {
        names.removeLast();
    }
    setList(settings, key(prefix, "ChannelNames"), names);
    QStringList hidden;
    for (const int channel : config.hiddenChannels) {
        hidden.append(QString::number(channel));
    }
    setList(settings, key(prefix, "HiddenChannels"), hidden);
}

PlotConfig PlotCodec::load(const QSettings &settings, const QString &prefix)
{
    using Reader = StoredValueReader;
    PlotConfig config;
    config.visible = Reader::readBool(settings, key(prefix, "Visible"), false);
    config.format = PlotFormat(Reader::readInt(settings, key(prefix, "Format"), 0, 0, 2));
    config.regex = Reader::readString(settings, key(prefix, "Regex"), QString());
    config.xAxis = PlotXAxis(Reader::readInt(settings, key(prefix, "XAxis"), 0, 0, 1));
    config.window = Reader::readInt(settings, key(prefix, "Window"), 0, 0, PlotConfig::MaxWindow);
    config.autoScale = Reader::readBool(settings, key(prefix, "AutoScale"), config.autoScale);
    config.yMin = readFinite(settings, key(prefix, "YMin"), config.yMin);
    config.yMax = readFinite(settings, key(prefix, "YMax"), config.yMax);
    config.channelNames = Reader::readStringList(settings, key(prefix, "ChannelNames"), {})
                              .mid(0, PlotConfig::MaxChannels);
    const QStringList hidden = Reader::readStringList(settings, key(prefix, "HiddenChannels"), {});
    for (const QString &entry : hidden) {
        bool ok = false;
        const int channel = entry.trimmed().toInt(&ok);
        if (ok && channel >= 0 && channel < PlotConfig::MaxChannels &&
            !config.hiddenChannels.contains(channel)) {
            config.hiddenChannels.append(channel);
        }
    }
    std::sort(config.hiddenChannels.begin(), config.hiddenChannels.end());
    return config;
}
