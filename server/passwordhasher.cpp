#include "passwordhasher.h"

#include "secrets.h"

#include <argon2.h>

namespace {

constexpr quint32 kSaltBytes = 16;
constexpr quint32 kHashBytes = 32;

} // namespace

PasswordHasher::PasswordHasher(const Cost &cost, int maxPending, QObject *parent)
    : QObject(parent)
    , cost(cost)
    , maxPending(maxPending)
    , standIn(hashNow(secrets::randomToken(QString()), cost))
{
    pool.setMaxThreadCount(qMax(1, QThread::idealThreadCount()));
}

PasswordHasher::~PasswordHasher()
{
    pool.clear();
    pool.waitForDone();
}

bool PasswordHasher::hasRoom() const
{
    return pending.loadRelaxed() < maxPending;
}

QString PasswordHasher::hashNow(const QString &password, const Cost &cost)
{
    const QByteArray secret = password.toUtf8();
    const QByteArray salt = secrets::randomBytes(kSaltBytes);
    const size_t length =
        argon2_encodedlen(cost.passes, cost.memoryKiB, cost.lanes, kSaltBytes, kHashBytes, Argon2_id);
    QByteArray encoded(qsizetype(length), '\0');
    const int result = argon2id_hash_encoded(cost.passes, cost.memoryKiB, cost.lanes,
                                             secret.constData(), size_t(secret.size()),
                                             salt.constData(), size_t(salt.size()), kHashBytes,
                                             encoded.data(), length);
    if (result != ARGON2_OK)
        return {};
    return QString::fromLatin1(encoded.constData());
}

bool PasswordHasher::verifyNow(const QString &encoded, const QString &password)
{
    const QByteArray hash = encoded.toLatin1();
    const QByteArray secret = password.toUtf8();
    return !hash.isEmpty()
           && argon2id_verify(hash.constData(), secret.constData(), size_t(secret.size()))
                  == ARGON2_OK;
}

void PasswordHasher::deliver(std::function<void()> callback)
{
    pending.fetchAndSubRelaxed(1);
    QMetaObject::invokeMethod(this, std::move(callback), Qt::QueuedConnection);
}

void PasswordHasher::hash(const QString &password, std::function<void(QString)> done)
{
    pending.fetchAndAddRelaxed(1);
    pool.start([this, password, done = std::move(done), cost = cost]() mutable {
        QString encoded = hashNow(password, cost);
        deliver([done = std::move(done), encoded = std::move(encoded)]() { done(encoded); });
    });
}

void PasswordHasher::verify(const QString &encoded, const QString &password,
                            std::function<void(bool)> done)
{
    pending.fetchAndAddRelaxed(1);
    const bool known = !encoded.isEmpty();
    pool.start([this, known, hash = known ? encoded : standIn, password,
                done = std::move(done)]() mutable {
        const bool match = verifyNow(hash, password) && known;
        deliver([done = std::move(done), match]() { done(match); });
    });
}
