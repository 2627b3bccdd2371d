#pragma once

// Log lines of the cloud client never carry a secret: access and refresh tokens, relay
// tickets, guest tokens, passwords, passcodes, registration and invite codes. These
// functions blank them out of what is about to be logged.

#include <QString>

class QByteArray;
class QUrl;

class CloudRedactor
{
public:
    // The URL as text with the invite code of a relay join path and the values of
    // secret query items replaced by "<redacted>".
    static QString url(const QUrl &url);
    // Text (a reply body, an error string) with secret JSON members, secret
    // "name=value" pairs, bearer credentials and the server's token forms blanked.
    static QString text(const QString &text);
    static QString text(const QByteArray &bytes);
    // A routing tag; the relay peek tag carries an invite code.
    static QString tag(const QString &tag);
    static QString redacted();
};
