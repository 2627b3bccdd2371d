#include "automation/autoreplycodec.h"

#include <QSettings>

#include <algorithm>
#include <limits>

namespace {

QString key(const QString &prefix, const QString &name)
{
    return QStringLiteral("%1/%2").arg(prefix, name);
}

QString ruleKey(const QString &prefix, int rule, const QString &name)
{
    return key(key(prefix, QString::number(rule)), name);
}

int readInt(const QSettings &settings, const QString &name, int fallback, int low, int high)
{
    bool ok = false;
    const int value = settings.value(name).toInt(&ok);
    return std::clamp(ok ? value : fallback, low, high);
}

bool readBool(const QSettings &settings, const QString &name, bool fallback)
{
    const QVariant value = settings.value(name);
    return value.isValid() ? value.toBool() : fallback;
}

} // namespace

QString AutoReplyCodec::projectPrefix(const QString &portGroup)
{
    return QStringLiteral("%1/AutoReply").arg(portGroup);
}

QString AutoReplyCodec::lastUsedPrefix()
{
    return QStringLiteral("LastAutoReply");
}

void AutoReplyCodec::save(QSettings &settings, const QString &prefix, const AutoReplyConfig &config)
{
    const int count = int(config.rules.size());
    settings.setValue(key(prefix, QStringLiteral("PlayDead")), config.playDead);
    settings.setValue(key(prefix, QStringLiteral("ShowNotes")), config.showNotes);
    settings.setValue(key(prefix, QStringLiteral("Count")), count);
    for (int i = 0; i < count; ++i) {
        const AutoReplyRule &rule = config.rules.at(i);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("Enabled")), rule.enabled);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("Name")), rule.name);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("Match")), int(rule.match));
        settings.setValue(ruleKey(prefix, i, QStringLiteral("Pattern")), rule.pattern);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("ReplyFormat")), rule.replyFormat);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("Reply")), rule.reply);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("DelayMs")), rule.delayMs);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("Checksum")), rule.checksum);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("MaxHits")), rule.maxHits);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("EveryN")), rule.everyN);
        settings.setValue(ruleKey(prefix, i, QStringLiteral("DropPercent")), rule.dropPercent);
    }

    // A shorter list leaves nothing behind: every rule group numbered at or above the
    // new count goes, whatever count the store held before.
    settings.beginGroup(prefix);
    const QStringList groups = settings.childGroups();
    for (const QString &group : groups) {
        bool numeric = false;
        const int number = group.toInt(&numeric);
        if (numeric && number >= count && group == QString::number(number)) {
            settings.remove(group);
        }
    }
    settings.endGroup();
}

AutoReplyConfig AutoReplyCodec::load(QSettings &settings, const QString &prefix)
{
    AutoReplyConfig config;
    config.playDead = readBool(settings, key(prefix, QStringLiteral("PlayDead")), false);
    config.showNotes = readBool(settings, key(prefix, QStringLiteral("ShowNotes")), true);
    const int count = readInt(settings, key(prefix, QStringLiteral("Count")), 0, 0, MaxRules);
    config.rules.reserve(count);
    for (int i = 0; i < count; ++i) {
        AutoReplyRule rule;
        rule.enabled = readBool(settings, ruleKey(prefix, i, QStringLiteral("Enabled")), true);
        rule.name = settings.value(ruleKey(prefix, i, QStringLiteral("Name"))).toString();
        const int match = readInt(settings, ruleKey(prefix, i, QStringLiteral("Match")), 0,
                                  std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
        rule.match = match >= 1 && match <= 3 ? AutoReplyMatch(match) : AutoReplyMatch::Text;
        rule.pattern = settings.value(ruleKey(prefix, i, QStringLiteral("Pattern"))).toString();
        rule.replyFormat =
            settings.value(ruleKey(prefix, i, QStringLiteral("ReplyFormat"))).toInt() == 1 ? 1 : 0;
        rule.reply = settings.value(ruleKey(prefix, i, QStringLiteral("Reply"))).toString();
        rule.delayMs = readInt(settings, ruleKey(prefix, i, QStringLiteral("DelayMs")), 0, 0,
                               AutoReplyEngine::MaxDelayMs);
        rule.checksum =
            readInt(settings, ruleKey(prefix, i, QStringLiteral("Checksum")), 0, 0, 5);
        rule.maxHits =
            readInt(settings, ruleKey(prefix, i, QStringLiteral("MaxHits")), 0, 0, 1000000);
        rule.everyN = readInt(settings, ruleKey(prefix, i, QStringLiteral("EveryN")), 1, 1, 1000);
        rule.dropPercent =
            readInt(settings, ruleKey(prefix, i, QStringLiteral("DropPercent")), 0, 0, 100);
        config.rules.append(rule);
    }
    return config;
}
