#include "session/porthistories.h"

#include "connection/settings.h"
#include "session/portsession.h"

qint64 PortHistories::nowUs()
{
    return PortSession::wallClockUs();
}

const SessionRecorder *PortHistories::historyOf(const PortSession *session)
{
    return session->recorder();
}

SessionExport::PortInfo PortHistories::portInfo(const PortSession *session)
{
    SessionExport::PortInfo info;
    info.label = session->label();
    info.mode = connectionModeTransportWord(session->settings().connMode);
    info.settings = session->describe();
    info.rxEncoding = session->format().receiveEncoding;
    info.txEncoding = session->format().sendEncoding;
    return info;
}
