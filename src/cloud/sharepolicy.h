#pragma once

// The rules of a guest share that both ends apply alike: what a browser guest may do
// at each level, the lifetimes an invite may have, its passcode's length, and when it
// has expired. Times are milliseconds since the epoch, given by the caller.

#include <QList>
#include <QString>

class SharePolicy
{
public:
    // Browser levels, each allowing what the one before allows and more.
    enum class Level { None = 0, View = 1, Send = 2, Control = 3 };
    // What a browser command needs.
    enum class Need { Watch, Send, Control };

    static constexpr int kMinPasscode = 4;
    static constexpr int kMaxPasscode = 16;
    // Wrong passcodes after which an invite is revoked.
    static constexpr int kMaxWrongPasscodes = 5;

    // "none", "view", "send", "control"; nothing for other text.
    static bool parseLevel(const QString &text, Level *level);
    static QString levelName(Level level);
    static bool allows(Level level, Need need);
    // The command names of the browser console and what each needs; false for a name
    // a browser guest may not send at all.
    static bool needOf(const QString &command, Need *need);

    // The lifetimes an invite may be given: 1, 4, 12 and 24 hours.
    static const QList<int> &ttlChoices();
    static bool isTtl(qint64 seconds);
    // Empty passcodes (none) and 4 to 16 characters are accepted.
    static bool isPasscode(const QString &passcode);

    static qint64 expiresAt(qint64 createdMs, qint64 ttlSeconds);
    // An invite is over at its expiry instant, not one tick later.
    static bool isExpired(qint64 expiresAtMs, qint64 nowMs) { return nowMs >= expiresAtMs; }
    // Whole minutes left, rounded up (59 s left reads as 1 min); 0 once expired.
    static qint64 minutesLeft(qint64 expiresAtMs, qint64 nowMs);
};
