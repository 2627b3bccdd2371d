#pragma once

// What the server accepts in each kind of field. Every rule is strict enough that a
// value can go into a file name, a log line or a JSON reply without escaping trouble.

#include <QString>

namespace inputrules {

constexpr int kMaxNameLength = 64;     // user names, device names
constexpr int kMinPasswordLength = 8;
constexpr int kMaxPasswordLength = 256;
constexpr int kCodeDigits = 6;

// Trimmed and lower-cased.
QString normalizeEmail(const QString &text);
// An ASCII address "local@domain" of at most 254 characters whose local part holds no
// '/' and does not start with a dot, so it can name the mail file.
bool isEmail(const QString &normalized);
// The device id: five groups of 8-4-4-4-12 hexadecimal digits.
bool isCid(const QString &text);
// Namespaces, item keys and platform names: 1 to `maxLength` of [A-Za-z0-9._-].
bool isPlainName(const QString &text, int maxLength);
// A one-line display text: no control characters and at most `maxLength` characters.
bool isDisplayText(const QString &text, int maxLength);
// Exactly kCodeDigits decimal digits.
bool isCode(const QString &text);

} // namespace inputrules
