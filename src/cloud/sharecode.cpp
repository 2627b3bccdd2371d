#include "cloud/sharecode.h"

#include <cstring>

const char ShareCode::kAlphabet[33] = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";

QString ShareCode::fromRandom(const QByteArray &random)
{
    if (random.size() < kLength)
        return {};
    QString code;
    code.reserve(kLength);
    for (int i = 0; i < kLength; ++i)
        code.append(QLatin1Char(kAlphabet[static_cast<unsigned char>(random[i]) & 31]));
    return code;
}

QString ShareCode::normalize(const QString &text)
{
    QString code = text.trimmed();
    // A pasted link carries the code after its last separator: ".../join/CODE",
    // "...#join=CODE" or "...?code=CODE".
    const qsizetype cut =
        qMax(qMax(code.lastIndexOf(u'/'), code.lastIndexOf(u'=')), code.lastIndexOf(u'#'));
    if (cut >= 0)
        code = code.mid(cut + 1);
    code = code.toUpper();
    code.removeIf([](QChar c) { return c == u'-' || c.isSpace(); });
    return isValid(code) ? code : QString();
}

QString ShareCode::format(const QString &code)
{
    if (!isValid(code))
        return code;
    return code.left(4) + u'-' + code.mid(4, 4) + u'-' + code.mid(8);
}

bool ShareCode::isValid(const QString &code)
{
    if (code.size() != kLength)
        return false;
    for (const QChar c : code) {
        if (c.unicode() > 127 || !std::strchr(kAlphabet, char(c.unicode())) || c.unicode() == 0)
            return false;
    }
    return true;
}
