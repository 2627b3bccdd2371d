#pragma once

// Accounts, the registration codes sent before an account exists, and the traffic an
// account used per month.

#include "database.h"

#include <QString>

struct UserRecord
{
    qint64 id = 0;
    QString email;
    QString username;
    QString passwordHash;
    qint64 createdAt = 0;
};

struct CodeRecord
{
    QString codeHash;
    qint64 sentAt = 0;
    qint64 expiresAt = 0;
    int attempts = 0;
};

class UserStore
{
public:
    enum class Created { Ok, EmailTaken, Failed };

    explicit UserStore(Database &db);

    // Adds the user and sets `user->id`.
    Created create(UserRecord *user);
    Lookup byEmail(const QString &email, UserRecord *user);
    Lookup byId(qint64 id, UserRecord *user);

    // Keeps the newest code for `email`, replacing an older one.
    bool saveCode(const QString &email, const CodeRecord &code);
    Lookup code(const QString &email, CodeRecord *code);
    bool countCodeAttempt(const QString &email);
    bool deleteCode(const QString &email);

    // Bytes used in `period` ("2026-11"); -1 when the store failed.
    qint64 trafficUsed(qint64 userId, const QString &period);
    // Adds `bytes` to the traffic of `userId` in `period`.
    bool addTraffic(qint64 userId, const QString &period, qint64 bytes);

    // Drops codes that expired before `nowMs`.
    bool purge(qint64 nowMs);

private:
    Lookup readUser(QSqlQuery &query, UserRecord *user);

    Database &db;
};
