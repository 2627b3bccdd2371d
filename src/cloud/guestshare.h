#pragma once

// One guest share as this computer knows it: the invite the server made for one port,
// its lifetime, who may come in and who is in. Times are milliseconds since the epoch.

#include <QString>
#include <QStringList>

struct GuestShare
{
    QString shareId;
    QString code;
    QString link;
    QString cid;
    QString deviceName;
    QString portKey;
    QString portName;
    QString label;
    qint64 createdAtMs = 0;
    qint64 expiresAtMs = 0;
    QString guestName; // the connected relay guest; empty while nobody is paired
    qint64 guestSinceMs = 0;
    QString web = QStringLiteral("none");
    bool relay = false;
    bool passcodeRequired = false;
    QStringList webGuests;
    QString passcode; // kept only here, after creation; the server holds a hash

    bool isValid() const { return !shareId.isEmpty(); }
    bool operator==(const GuestShare &) const = default;
};
