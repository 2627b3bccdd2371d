#include "cloud/sharepolicy.h"

#include <QStringList>

namespace {

const QStringList &levelNames()
{
    static const QStringList names{QStringLiteral("none"), QStringLiteral("view"),
                                   QStringLiteral("send"), QStringLiteral("control")};
    return names;
}

} // namespace

bool SharePolicy::parseLevel(const QString &text, Level *level)
{
    const qsizetype at = levelNames().indexOf(text);
    if (at < 0)
        return false;
    *level = Level(at);
    return true;
}

QString SharePolicy::levelName(Level level)
{
    return levelNames().value(int(level));
}

bool SharePolicy::allows(Level level, Need need)
{
    switch (need) {
    case Need::Watch:
        return level >= Level::View;
    case Need::Send:
        return level >= Level::Send;
    case Need::Control:
        return level >= Level::Control;
    }
    return false;
}

bool SharePolicy::needOf(const QString &command, Need *need)
{
    if (command == u"request_snapshot")
        *need = Need::Watch;
    else if (command == u"send_text" || command == u"send_hex")
        *need = Need::Send;
    else if (command == u"open_port" || command == u"close_port" || command == u"set_port_config")
        *need = Need::Control;
    else
        return false;
    return true;
}

const QList<int> &SharePolicy::ttlChoices()
{
    static const QList<int> choices{3600, 4 * 3600, 12 * 3600, 24 * 3600};
    return choices;
}

bool SharePolicy::isTtl(qint64 seconds)
{
    return seconds > 0 && seconds <= 24 * 3600 && ttlChoices().contains(int(seconds));
}

bool SharePolicy::isPasscode(const QString &passcode)
{
    return passcode.isEmpty() ||
           (passcode.size() >= kMinPasscode && passcode.size() <= kMaxPasscode);
}

qint64 SharePolicy::expiresAt(qint64 createdMs, qint64 ttlSeconds)
{
    return createdMs + ttlSeconds * 1000;
}

qint64 SharePolicy::minutesLeft(qint64 expiresAtMs, qint64 nowMs)
{
    if (isExpired(expiresAtMs, nowMs))
        return 0;
    return (expiresAtMs - nowMs + 59999) / 60000;
}
