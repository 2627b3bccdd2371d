#include "common/storedvaluereader.h"

#include <QSettings>
#include <QVariant>

#include <algorithm>
#include <limits>

namespace {
// A list value as strings. A list holding an entry that the ini writer had to escape
// (a NUL character, say) comes back as a list of variants rather than of strings.
bool listOf(const QVariant &value, QStringList *out)
{
    if (value.typeId() == QMetaType::QStringList) {
        *out = value.toStringList();
        return true;
    }
    if (value.typeId() == QMetaType::QVariantList) {
        out->clear();
        for (const QVariant &entry : value.toList()) {
            out->append(entry.toString());
        }
        return true;
    }
    return false;
}

// The value as one piece of text, or a null string if it is not text-like.
QString textOf(const QVariant &value)
{
    QStringList list;
    if (listOf(value, &list)) {
        return list.join(QStringLiteral(", "));
    }
    if (value.canConvert<QString>()) {
        return value.toString();
    }
    return QString();
}

bool parseInteger(const QVariant &value, qint64 *out)
{
    bool ok = false;
    switch (value.typeId()) {
    case QMetaType::Bool:
        *out = value.toBool() ? 1 : 0;
        return true;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::UChar:
        *out = value.toLongLong(&ok);
        return ok;
    case QMetaType::ULongLong: {
        const qulonglong v = value.toULongLong(&ok);
        *out = v > qulonglong(std::numeric_limits<qint64>::max())
                   ? std::numeric_limits<qint64>::max()
                   : qint64(v);
        return ok;
    }
    case QMetaType::QString:
        *out = value.toString().trimmed().toLongLong(&ok);
        return ok;
    default:
        return false;
    }
}
thread_local StoredValueReader::ReplacementLog *currentLog = nullptr;
} // namespace

StoredValueReader::ReplacementLog::ReplacementLog()
    : outer(currentLog)
{
    currentLog = this;
}

StoredValueReader::ReplacementLog::~ReplacementLog()
{
    currentLog = outer;
}

void StoredValueReader::noteReplaced(const QString &key)
{
    if (currentLog && !currentLog->noted.contains(key)) {
        currentLog->noted.append(key);
    }
}

QString StoredValueReader::defaultEncoding()
{
    return QStringLiteral("UTF-8");
}

qint32 StoredValueReader::readInt(const QSettings &settings, const QString &key, qint32 fallback,
                                  qint32 min, qint32 max)
{
    qint64 number = fallback;
    const QVariant value = settings.value(key);
    if (value.isValid() && !parseInteger(value, &number)) {
        number = fallback;
        noteReplaced(key);
    }
    const qint32 result = qint32(std::clamp<qint64>(number, min, max));
    if (result != number && number != fallback) {
        noteReplaced(key);
    }
    return result;
}

qint32 StoredValueReader::readChoice(const QSettings &settings, const QString &key, qint32 fallback,
                                     const QList<qint32> &allowed)
{
    const QVariant value = settings.value(key);
    qint64 number = 0;
    if (!value.isValid()) {
        return fallback;
    }
    if (!parseInteger(value, &number)) {
        noteReplaced(key);
        return fallback;
    }
    for (const qint32 choice : allowed) {
        if (number == choice) {
            return choice;
        }
    }
    if (number != fallback) {
        noteReplaced(key);
    }
    return fallback;
}

bool StoredValueReader::readBool(const QSettings &settings, const QString &key, bool fallback)
{
    const QVariant value = settings.value(key);
    if (!value.isValid()) {
        return fallback;
    }
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool();
    }
    qint64 number = 0;
    if (value.typeId() != QMetaType::QString && parseInteger(value, &number)) {
        if (number == 0 || number == 1) {
            return number == 1;
        }
        noteReplaced(key);
        return fallback;
    }
    const QString text = textOf(value).trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("1")) {
        return true;
    }
    if (text == QLatin1String("false") || text == QLatin1String("0")) {
        return false;
    }
    noteReplaced(key);
    return fallback;
}

QString StoredValueReader::readString(const QSettings &settings, const QString &key,
                                      const QString &fallback)
{
    const QVariant value = settings.value(key);
    if (!value.isValid()) {
        return fallback;
    }
    const QString text = textOf(value);
    return text.isNull() ? fallback : text;
}

QStringList StoredValueReader::readStringList(const QSettings &settings, const QString &key,
                                              const QStringList &fallback)
{
    if (!settings.contains(key)) {
        return fallback;
    }
    const QVariant value = settings.value(key);
    // An empty list is stored as an invalid value.
    if (!value.isValid()) {
        return {};
    }
    QStringList list;
    if (listOf(value, &list)) {
        return list;
    }
    const QString text = textOf(value);
    return text.isNull() ? fallback : QStringList{text};
}

QTime StoredValueReader::readTime(const QSettings &settings, const QString &key,
                                  const QTime &fallback)
{
    const QVariant value = settings.value(key);
    if (!value.isValid()) {
        return fallback;
    }
    QTime time;
    // A time that was not set is stored as an invalid time or as no text; neither was
    // replaced.
    bool unset = false;
    if (value.typeId() == QMetaType::QTime) {
        time = value.toTime();
        unset = !time.isValid();
    } else if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed();
        time = QTime::fromString(text, Qt::ISODateWithMs);
        unset = text.isEmpty();
    }
    if (!time.isValid() && !unset) {
        noteReplaced(key);
    }
    return time.isValid() ? time : fallback;
}

QString StoredValueReader::readColor(const QSettings &settings, const QString &key,
                                     const QString &fallback)
{
    const QString text = readString(settings, key, QString()).trimmed();
    if (isColor(text)) {
        return text.toLower();
    }
    if (!text.isEmpty()) {
        noteReplaced(key);
    }
    return fallback;
}

QString StoredValueReader::readEncoding(const QSettings &settings, const QString &key,
                                        const QString &fallback, EncodingNormalizer normalize)
{
    const QString name = readString(settings, key, fallback);
    if (normalize) {
        return normalize(name);
    }
    const QString trimmed = name.trimmed();
    return trimmed.isEmpty() ? fallback : trimmed;
}

QStringList StoredValueReader::cleanHostList(const QStringList &hosts)
{
    QStringList clean;
    for (const QString &host : hosts) {
        const QString trimmed = host.trimmed();
        if (!trimmed.isEmpty()) {
            clean.removeAll(trimmed);
            clean.append(trimmed);
        }
    }
    return clean;
}

bool StoredValueReader::isColor(const QString &text)
{
    if (text.size() != 7 || text.at(0) != QLatin1Char('#')) {
        return false;
    }
    return std::all_of(text.begin() + 1, text.end(), [](QChar c) {
        return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
               (c >= QLatin1Char('a') && c <= QLatin1Char('f')) ||
               (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
    });
}
