#pragma once

#include <QByteArray>
#include <QString>

// The write side of a bridge end, as a flow sees it.
class BridgeSink
{
public:
    virtual ~BridgeSink() = default;

    // Writes `bytes` to `peer` (empty: every recipient); returns the count taken, below
    // 1 when nothing was.
    virtual qint64 writeBytes(const QByteArray &bytes, const QString &peer) = 0;
    // Bytes written and not yet gone out.
    virtual qint64 pendingBytes() const = 0;
    virtual bool isOpen() const = 0;
    // Whether anybody would receive a write (a server with no client has nobody).
    virtual bool hasRecipients() const = 0;
    // Whether `peer` is still there to receive; a frame for a peer that left cannot be
    // delivered any more.
    virtual bool hasRecipient(const QString &peer) const
    {
        Q_UNUSED(peer)
        return true;
    }
};
