#include "decode/frametemplatetext.h"

#include <QRegularExpression>

QList<FieldType> FrameTemplateText::fieldTypes()
{
    QList<FieldType> types;
    for (int t = int(FieldType::U8); t <= int(FieldType::Bits); ++t) {
        types.append(FieldType(t));
    }
    return types;
}

QString FrameTemplateText::typeName(FieldType type)
{
    static const char *const names[] = {"U8",  "I8",  "U16", "I16", "U32",   "I32", "U64",
                                        "I64", "F32", "F64", "Hex", "ASCII", "Bits"};
    const int index = int(type);
    return index >= 0 && index < int(std::size(names)) ? QString::fromLatin1(names[index])
                                                       : QString();
}

QStringList FrameTemplateText::endianNames()
{
    return {tr("Big (AB CD)"), tr("Little (DC BA)"), tr("Word swap (CD AB)"),
            tr("Byte swap (BA DC)")};
}

QStringList FrameTemplateText::framingNames()
{
    return {tr("Header + length"), tr("Header + fixed length"), tr("Delimiter"), tr("Idle gap")};
}

QStringList FrameTemplateText::lengthScopeNames()
{
    return {tr("the whole frame"), tr("the bytes after it"),
            tr("the bytes after it, up to the checksum")};
}

QString FrameTemplateText::formatHex(QByteArrayView bytes)
{
    return QString::fromLatin1(bytes.toByteArray().toHex(' ').toUpper());
}

bool FrameTemplateText::parseHex(const QString &text, QByteArray *bytes, QString *error)
{
    static const QRegularExpression separators(QStringLiteral("[\\s,;:\\-]"));
    static const QRegularExpression digits(QStringLiteral("^[0-9A-Fa-f]*$"));
    QString clean = text;
    clean.remove(separators);
    clean.remove(QStringLiteral("0x"), Qt::CaseInsensitive);
    const auto fail = [error](const QString &why) {
        if (error) {
            *error = why;
        }
        return false;
    };
    if (!digits.match(clean).hasMatch()) {
        return fail(tr("Only hex digits (0-9, A-F) are allowed."));
    }
    if (clean.size() % 2 != 0) {
        return fail(tr("Hex bytes need two digits each."));
    }
    *bytes = QByteArray::fromHex(clean.toLatin1());
    if (error) {
        error->clear();
    }
    return true;
}

bool FrameTemplateText::parseWhen(const QString &text, int *offset, int *value)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        *offset = -1;
        *value = 0;
        return true;
    }
    static const QRegularExpression form(
        QStringLiteral("^(\\d+)\\s*=\\s*(?:0[xX])?([0-9A-Fa-f]{1,2})$"));
    const QRegularExpressionMatch m = form.match(trimmed);
    bool ok = false;
    const int at = m.hasMatch() ? m.captured(1).toInt(&ok) : -1;
    if (!ok || at > FrameTemplate::MaxFrameBytes) {
        return false;
    }
    *offset = at;
    *value = m.captured(2).toInt(nullptr, 16);
    return true;
}

QString FrameTemplateText::formatWhen(int offset, int value)
{
    if (offset < 0) {
        return QString();
    }
    return QStringLiteral("%1=%2").arg(offset).arg(
        QString::number(value & 0xFF, 16).toUpper().rightJustified(2, u'0'));
}

bool FrameTemplateText::parseBits(const QString &text, int *start, int *count)
{
    static const QRegularExpression form(
        QStringLiteral("^\\s*(\\d+)\\s*(?:\\.\\.\\s*(\\d+))?\\s*$"));
    const QRegularExpressionMatch m = form.match(text);
    if (!m.hasMatch()) {
        return false;
    }
    bool ok = false;
    const int first = m.captured(1).toInt(&ok);
    if (!ok || first > 63) {
        return false;
    }
    int last = first;
    if (m.hasCaptured(2)) {
        last = m.captured(2).toInt(&ok);
        if (!ok || last < first) {
            return false;
        }
    }
    *start = first;
    *count = last - first + 1;
    return true;
}

QString FrameTemplateText::formatBits(int start, int count)
{
    return count <= 1 ? QString::number(start)
                      : QStringLiteral("%1..%2").arg(start).arg(start + count - 1);
}

QString FrameTemplateText::uniqueName(const QString &base, const QStringList &taken)
{
    QString name = base.trimmed();
    if (name.isEmpty()) {
        name = tr("Template");
    }
    const auto isTaken = [&taken](const QString &candidate) {
        return std::any_of(taken.begin(), taken.end(),
                           [&](const QString &t) { return t.trimmed() == candidate; });
    };
    if (!isTaken(name)) {
        return name;
    }
    static const QRegularExpression numbered(QStringLiteral("^(.*) \\((\\d+)\\)$"));
    const QRegularExpressionMatch m = numbered.match(name);
    const QString stem = m.hasMatch() ? m.captured(1) : name;
    for (int n = 2;; ++n) {
        const QString candidate = QStringLiteral("%1 (%2)").arg(stem).arg(n);
        if (!isTaken(candidate)) {
            return candidate;
        }
    }
}
