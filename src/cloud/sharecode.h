#pragma once

// Invite codes of guest shares: 12 characters from a 32-letter alphabet without the
// easily confused I, L, O and U (60 random bits), shown in three groups of four
// ("7KQ2-M9XD-4HTW"). A guest may type the code in any case, with or without dashes
// and blanks, or paste the whole invite link; normalize() reads all of these.

#include <QByteArray>
#include <QString>

class ShareCode
{
public:
    static constexpr int kLength = 12;
    static const char kAlphabet[33];

    // A code made of `random` (at least kLength bytes from a secure generator): each
    // byte picks one letter by its low five bits, so every letter is equally likely.
    static QString fromRandom(const QByteArray &random);
    // The bare code in `text` (a code as typed, or an invite link holding one),
    // upper-cased, without dashes or blanks; empty when it is no valid code.
    static QString normalize(const QString &text);
    // "XXXX-XXXX-XXXX" for a bare code; other text is returned as it is.
    static QString format(const QString &code);
    // Exactly kLength letters of the alphabet.
    static bool isValid(const QString &code);
};
