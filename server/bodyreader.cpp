#include "bodyreader.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <cmath>

BodyReader::BodyReader(const QByteArray &body, bool emptyIsObject)
{
    if (body.trimmed().isEmpty()) {
        if (!emptyIsObject)
            reject(QStringLiteral("invalid_json"), {},
                   QStringLiteral("The request body must be a JSON object."));
        return;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        reject(QStringLiteral("invalid_json"), {},
               QStringLiteral("The request body is not valid JSON (%1 at offset %2).")
                   .arg(parseError.errorString())
                   .arg(parseError.offset));
        return;
    }
    if (!document.isObject()) {
        reject(QStringLiteral("invalid_json"), {},
               QStringLiteral("The request body must be a JSON object."));
        return;
    }
    root = document.object();
}

bool BodyReader::present(const QString &field, Need need)
{
    if (!ok())
        return false;
    const QJsonValue value = root.value(field);
    if (value.isUndefined() || value.isNull()) {
        if (need == Need::Required)
            reject(QStringLiteral("missing_field"), field,
                   QStringLiteral("The field \"%1\" is required.").arg(field));
        return false;
    }
    return true;
}

QString BodyReader::text(const QString &field, Need need, bool trim)
{
    if (!present(field, need))
        return {};
    const QJsonValue value = root.value(field);
    if (!value.isString()) {
        reject(QStringLiteral("invalid_field"), field,
               QStringLiteral("The field \"%1\" must be a string.").arg(field));
        return {};
    }
    const QString result = trim ? value.toString().trimmed() : value.toString();
    if (need == Need::Required && result.isEmpty()) {
        reject(QStringLiteral("missing_field"), field,
               QStringLiteral("The field \"%1\" must not be empty.").arg(field));
        return {};
    }
    return result;
}

qint64 BodyReader::integer(const QString &field, Need need, qint64 min, qint64 max,
                           qint64 fallback)
{
    if (!present(field, need))
        return fallback;
    const QJsonValue value = root.value(field);
    const double number = value.toDouble(std::nan(""));
    // Doubles hold integers exactly up to 2^53; the limits keep every field far below.
    if (!value.isDouble() || std::isnan(number) || number != std::floor(number)
        || number < double(min) || number > double(max)) {
        reject(QStringLiteral("invalid_field"), field,
               QStringLiteral("The field \"%1\" must be a whole number from %2 to %3.")
                   .arg(field)
                   .arg(min)
                   .arg(max));
        return fallback;
    }
    return qint64(number);
}

QJsonObject BodyReader::object(const QString &field, Need need)
{
    if (!present(field, need))
        return {};
    const QJsonValue value = root.value(field);
    if (!value.isObject()) {
        reject(QStringLiteral("invalid_field"), field,
               QStringLiteral("The field \"%1\" must be a JSON object.").arg(field));
        return {};
    }
    return value.toObject();
}

void BodyReader::require(bool valid, const QString &field, const QString &description)
{
    if (!valid && ok())
        reject(QStringLiteral("invalid_field"), field, description);
}

void BodyReader::reject(const QString &code, const QString &field, const QString &description)
{
    if (!ok())
        return;
    problemCode = code;
    problemField = field;
    problemText = description;
}

ApiReply BodyReader::error(const QString &type) const
{
    QJsonObject fields;
    if (!problemField.isEmpty())
        fields.insert(QStringLiteral("field"), problemField);
    return ApiReply::fail(type, 400, problemCode, problemText, fields);
}
