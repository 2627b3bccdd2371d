#include "inputrules.h"

#include <QList>
#include <QStringView>

namespace inputrules {

namespace {

bool isAsciiAlnum(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

bool isHex(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool isLocalPartChar(QChar c)
{
    static const QString extra = QStringLiteral(".!#$%&'*+=?^_`{|}~-");
    return isAsciiAlnum(c) || extra.contains(c);
}

bool isDomain(QStringView domain)
{
    if (domain.isEmpty() || domain.size() > 253)
        return false;
    for (const QStringView label : domain.split(u'.')) {
        if (label.isEmpty() || label.size() > 63 || label.front() == u'-' || label.back() == u'-')
            return false;
        for (const QChar c : label) {
            if (!isAsciiAlnum(c) && c != u'-')
                return false;
        }
    }
    return true;
}

} // namespace

QString normalizeEmail(const QString &text)
{
    return text.trimmed().toLower();
}

bool isEmail(const QString &normalized)
{
    if (normalized.size() < 3 || normalized.size() > 254 || normalized.count(u'@') != 1)
        return false;
    const qsizetype at = normalized.indexOf(u'@');
    const QStringView local = QStringView(normalized).left(at);
    const QStringView domain = QStringView(normalized).mid(at + 1);
    if (local.isEmpty() || local.size() > 64 || local.front() == u'.' || local.back() == u'.'
        || local.contains(u".."))
        return false;
    for (const QChar c : local) {
        if (!isLocalPartChar(c))
            return false;
    }
    return isDomain(domain);
}

bool isCid(const QString &text)
{
    static constexpr int groups[] = {8, 4, 4, 4, 12};
    if (text.size() != 36)
        return false;
    int pos = 0;
    for (int g = 0; g < 5; ++g) {
        for (int i = 0; i < groups[g]; ++i, ++pos) {
            if (!isHex(text[pos]))
                return false;
        }
        if (g < 4 && text[pos++] != u'-')
            return false;
    }
    return true;
}

bool isPlainName(const QString &text, int maxLength)
{
    if (text.isEmpty() || text.size() > maxLength)
        return false;
    for (const QChar c : text) {
        if (!isAsciiAlnum(c) && c != u'.' && c != u'_' && c != u'-')
            return false;
    }
    return true;
}

bool isDisplayText(const QString &text, int maxLength)
{
    if (text.size() > maxLength)
        return false;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (u < 0x20 || (u >= 0x7f && u < 0xa0) || u == 0x2028 || u == 0x2029)
            return false;
    }
    return true;
}

bool isCode(const QString &text)
{
    if (text.size() != kCodeDigits)
        return false;
    for (const QChar c : text) {
        if (c < u'0' || c > u'9')
            return false;
    }
    return true;
}

} // namespace inputrules
