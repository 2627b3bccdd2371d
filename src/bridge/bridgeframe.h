#pragma once

#include <QByteArray>
#include <QString>

// One frame on its way through a bridge. The bytes are shared, never copied, from the
// framer to the sink.
struct BridgeFrame
{
    QByteArray bytes;
    QString peer; // the recipient's key; empty for every recipient
};
