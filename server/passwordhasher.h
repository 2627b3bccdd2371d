#pragma once

// Argon2id password hashes, computed on a thread pool so that one sign-in (tens of
// milliseconds of hashing) never holds up the requests behind it. Results come back
// on the thread that owns the hasher.

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <functional>

class PasswordHasher : public QObject
{
    Q_OBJECT

public:
    struct Cost
    {
        quint32 passes = 2;
        quint32 memoryKiB = 19 * 1024;
        quint32 lanes = 1;
    };

    explicit PasswordHasher(const Cost &cost, int maxPending, QObject *parent = nullptr);
    ~PasswordHasher() override;

    // Whether another job may be queued now; the caller answers "busy" otherwise.
    bool hasRoom() const;
    // `done` gets the encoded hash ("$argon2id$v=19$..."), or "" on failure.
    void hash(const QString &password, std::function<void(QString)> done);
    // `done` gets whether `password` matches `encoded`. With an empty `encoded` the same
    // work is done against a stand-in hash and the answer is false, so an unknown
    // account costs as much time as a wrong password.
    void verify(const QString &encoded, const QString &password, std::function<void(bool)> done);

    static QString hashNow(const QString &password, const Cost &cost);
    static bool verifyNow(const QString &encoded, const QString &password);

private:
    void deliver(std::function<void()> callback);

    Cost cost;
    int maxPending;
    QAtomicInt pending;
    QString standIn;
    QThreadPool pool;
};
