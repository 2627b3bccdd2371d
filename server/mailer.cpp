#include "mailer.h"

#include "serverlog.h"

#include <QDateTime>
#include <QDir>
#include <QSaveFile>

Mailer::Mailer(const QString &mailDir)
    : mailDir(mailDir)
{
}

bool Mailer::prepare(QString *error)
{
    if (QDir().mkpath(mailDir))
        return true;
    *error = QStringLiteral("cannot create the mail folder %1").arg(mailDir);
    return false;
}

bool Mailer::sendRegistrationCode(const QString &email, const QString &code, int validMinutes)
{
    const QString text =
        QStringLiteral("To: %1\n"
                       "From: velmora-cloud\n"
                       "Subject: Your Velmora registration code\n"
                       "Date: %2\n"
                       "Content-Type: text/plain; charset=utf-8\n"
                       "\n"
                       "Use this code to finish creating your Velmora account.\n"
                       "It is valid for %3 minutes. If you did not ask for it, ignore this mail.\n"
                       "\n"
                       "%4\n")
            .arg(email, QDateTime::currentDateTimeUtc().toString(Qt::RFC2822Date))
            .arg(validMinutes)
            .arg(code);
    // Written whole or not at all: a reader never sees half a mail.
    QSaveFile file(QDir(mailDir).filePath(email));
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        qCWarning(lcServer) << "could not write a mail into" << mailDir << file.errorString();
        return false;
    }
    return true;
}
