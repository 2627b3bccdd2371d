#pragma once

// Sends the server's mails. With no relay configured a mail is written as a file in
// the mail folder, named after the address (a newer mail replaces an older one), with
// the code alone on its last line, for an administrator or a test to pick up.

#include <QString>

class Mailer
{
public:
    explicit Mailer(const QString &mailDir);

    // Creates the mail folder; false with `error` set when it cannot be made.
    bool prepare(QString *error);
    // Sends the registration `code` to `email` (already validated as an address).
    bool sendRegistrationCode(const QString &email, const QString &code, int validMinutes);
    QString folder() const { return mailDir; }

private:
    QString mailDir;
};
