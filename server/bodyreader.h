#pragma once

// Reads the fields of a JSON request body and keeps the first problem it meets, so a
// handler reads every field in a row and then asks once whether all was well. The
// problem becomes a 400 reply naming the field.

#include "apireply.h"

#include <QJsonObject>
#include <QString>

class BodyReader
{
public:
    enum class Need { Required, Optional };

    // Parses `body`; an empty body counts as an empty object only when `emptyIsObject`.
    explicit BodyReader(const QByteArray &body, bool emptyIsObject = false);

    // A string field, trimmed unless `trim` is false. Optional and absent gives "".
    QString text(const QString &field, Need need, bool trim = true);
    // An integral number within [min, max]; optional and absent gives `fallback`.
    qint64 integer(const QString &field, Need need, qint64 min, qint64 max, qint64 fallback = 0);
    // An object field; optional and absent gives an empty object.
    QJsonObject object(const QString &field, Need need);
    // Records `description` for `field` unless `valid`, or a problem is already kept.
    void require(bool valid, const QString &field, const QString &description);

    bool ok() const { return problemCode.isEmpty(); }
    const QJsonObject &json() const { return root; }
    // The 400 reply for the first problem.
    ApiReply error(const QString &type) const;

private:
    bool present(const QString &field, Need need);
    void reject(const QString &code, const QString &field, const QString &description);

    QJsonObject root;
    QString problemCode;
    QString problemField;
    QString problemText;
};
