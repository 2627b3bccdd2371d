#pragma once

// Random credentials and their one-way forms. Every secret the server hands out comes
// from the system's generator and is kept only as a SHA-256 digest.

#include <QByteArray>
#include <QString>

namespace secrets {

// A token of 32 random bytes, base64url without padding, behind `prefix`.
QString randomToken(const QString &prefix);
// `digits` random decimal digits (a registration code).
QString randomDigits(int digits);
// Raw random bytes.
QByteArray randomBytes(int count);
// Lower-case hex SHA-256 of the UTF-8 text.
QString sha256Hex(const QString &text);
// Comparison whose time does not depend on where the inputs first differ.
bool constantTimeEquals(const QByteArray &a, const QByteArray &b);

} // namespace secrets
