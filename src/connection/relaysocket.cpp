#include "connection/relaysocket.h"

#include <QMetaObject>

RelaySocket::RelaySocket(QObject *parent)
    : QObject(parent)
{}

RelaySocket::~RelaySocket() = default;

void RelaySocket::open(const QString &baseUrl, const QString &ticket)
{
    // Ends are told from the event loop, as a real socket would, never from inside open().
    QMetaObject::invokeMethod(
        this,
        [this, baseUrl, ticket] {
            if (baseUrl.isEmpty() || ticket.isEmpty()) {
                stopOnce(Rejected, tr("Missing relay address or ticket."));
                return;
            }
            stopOnce(NetworkFailed, tr("Live Relay is not available in this build."));
        },
        Qt::QueuedConnection);
}

void RelaySocket::close()
{
    pairedFlag = false;
    stoppedFlag = true;
}

bool RelaySocket::isOpen() const
{
    return pairedFlag && !stoppedFlag;
}

qint64 RelaySocket::sendBinary(const QByteArray &bytes)
{
    Q_UNUSED(bytes);
    return isOpen() ? 0 : -1;
}

qint64 RelaySocket::pendingBytes() const
{
    return 0;
}

void RelaySocket::stopOnce(Stop stop, const QString &reason)
{
    if (stoppedFlag) {
        return;
    }
    stoppedFlag = true;
    pairedFlag = false;
    Q_EMIT stopped(stop, reason);
}
