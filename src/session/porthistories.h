#pragma once

// Session histories of ports, kept from what each port received and sent, for a file
// recording. A port's history starts at its first request and goes with the port.

#include "recording/sessionexport.h"

#include <QHash>
#include <QObject>

#include <memory>

class PortSession;
class SessionRecorder;

class PortHistories : public QObject
{
    Q_OBJECT
public:
    explicit PortHistories(QObject *parent = nullptr);
    ~PortHistories() override;

    // The history of `session`, made and fed from now on at the first call.
    const SessionRecorder *historyOf(PortSession *session);
    // What a recording says about the port.
    static SessionExport::PortInfo portInfo(const PortSession *session);
    // Microseconds since the epoch, the time every event is stamped with.
    static qint64 nowUs();

private:
    QHash<PortSession *, std::shared_ptr<SessionRecorder>> histories;
};
