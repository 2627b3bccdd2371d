#include "secrets.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace secrets {

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    // The system generator reads the kernel's entropy source; never a seeded PRNG.
    QRandomGenerator::system()->generate(bytes.begin(), bytes.end());
    return bytes;
}

QString randomToken(const QString &prefix)
{
    const QByteArray raw = randomBytes(32);
    return prefix
           + QString::fromLatin1(
               raw.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString randomDigits(int digits)
{
    QString text;
    text.reserve(digits);
    for (int i = 0; i < digits; ++i)
        text.append(QChar(u'0' + int(QRandomGenerator::system()->bounded(10u))));
    return text;
}

QString sha256Hex(const QString &text)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256).toHex());
}

bool constantTimeEquals(const QByteArray &a, const QByteArray &b)
{
    if (a.size() != b.size())
        return false;
    unsigned char diff = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

} // namespace secrets
