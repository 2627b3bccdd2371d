#pragma once

// This computer as the cloud knows it: the device id `cid` (a UUID-shaped digest of the
// operating system's machine id, made once and kept in "ValueD") and the display name
// ("DeviceName") shown in the account's device list.

#include <QByteArray>
#include <QString>

class QSettings;

class DeviceIdentity
{
public:
    // The stored cid; made by generateCid() and stored when absent or malformed.
    static QString cid(QSettings &settings);
    // SHA-256 over a fixed salt and `machineGuid`, shaped by assembleCid. Without a
    // machine id, random bytes stand in (the result is then kept, never remade).
    static QString generateCid(const QByteArray &machineGuid);
    // The first 16 bytes of `digest` as 8-4-4-4-12 lower-case hexadecimal digits.
    static QString assembleCid(const QByteArray &digest);
    // Exactly that shape; the groups joined back give the same text.
    static bool validateCid(const QString &text);

    // The stored display name, or defaultName() of this host and user.
    static QString name(const QSettings &settings);
    static void setName(QSettings &settings, const QString &text);
    // "user on host", or whichever of the two is known; "This computer" without either.
    static QString defaultName(const QString &host, const QString &user);
};
