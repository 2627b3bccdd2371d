#include "cloud/deviceidentity.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSettings>
#include <QSysInfo>

namespace {
const QString cidKey = QStringLiteral("ValueD");
const QString nameKey = QStringLiteral("DeviceName");
// Keeps the machine id itself off the wire: only a salted digest leaves.
constexpr char cidSalt[] = "vlm-cid-2026";
static_assert(sizeof(cidSalt) == 13, "the salt has 12 characters");
constexpr int maxNameLength = 64;
} // namespace

QString DeviceIdentity::cid(QSettings &settings)
{
    const QString stored = settings.value(cidKey).toString().trimmed().toLower();
    if (validateCid(stored)) {
        return stored;
    }
    const QString made = generateCid(QSysInfo::machineUniqueId());
    settings.setValue(cidKey, made);
    return made;
}

QString DeviceIdentity::generateCid(const QByteArray &machineGuid)
{
    QByteArray source = machineGuid.trimmed();
    if (source.isEmpty()) {
        source.resize(32);
        QRandomGenerator::system()->fillRange(reinterpret_cast<quint32 *>(source.data()), 8);
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QByteArrayView(cidSalt, 12));
    hash.addData(source);
    return assembleCid(hash.result());
}

QString DeviceIdentity::assembleCid(const QByteArray &digest)
{
    const QString hex = QString::fromLatin1(digest.left(16).toHex());
    if (hex.size() < 32) {
        return QString();
    }
    return QStringLiteral("%1-%2-%3-%4-%5")
        .arg(hex.mid(0, 8), hex.mid(8, 4), hex.mid(12, 4), hex.mid(16, 4), hex.mid(20, 12));
}

bool DeviceIdentity::validateCid(const QString &text)
{
    static const QRegularExpression shape(QStringLiteral(
        "^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$"));
    if (!shape.match(text).hasMatch()) {
        return false;
    }
    const QByteArray digest = QByteArray::fromHex(QString(text).remove(QLatin1Char('-')).toLatin1());
    return assembleCid(digest) == text;
}

QString DeviceIdentity::name(const QSettings &settings)
{
    const QString stored = settings.value(nameKey).toString().simplified();
    if (!stored.isEmpty()) {
        return stored.left(maxNameLength);
    }
    QString user = qEnvironmentVariable("USER");
    if (user.isEmpty()) {
        user = qEnvironmentVariable("USERNAME");
    }
    return defaultName(QSysInfo::machineHostName(), user);
}

void DeviceIdentity::setName(QSettings &settings, const QString &text)
{
    const QString name = text.simplified().left(maxNameLength);
    if (name.isEmpty()) {
        settings.remove(nameKey);
    } else {
        settings.setValue(nameKey, name);
    }
}

QString DeviceIdentity::defaultName(const QString &host, const QString &user)
{
    const QString h = host.simplified();
    const QString u = user.simplified();
    QString name;
    if (!h.isEmpty() && !u.isEmpty()) {
        name = QStringLiteral("%1 on %2").arg(u, h);
    } else if (!h.isEmpty() || !u.isEmpty()) {
        name = h.isEmpty() ? u : h;
    } else {
        name = QStringLiteral("This computer");
    }
    return name.left(maxNameLength);
}
