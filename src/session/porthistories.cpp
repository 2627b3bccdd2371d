#include "session/porthistories.h"

#include "connection/settings.h"
#include "recording/sessionrecorder.h"
#include "session/portsession.h"

#include <chrono>

PortHistories::PortHistories(QObject *parent)
    : QObject(parent)
{
}

PortHistories::~PortHistories() = default;

qint64 PortHistories::nowUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

const SessionRecorder *PortHistories::historyOf(PortSession *session)
{
    auto &history = histories[session];
    if (history) {
        return history.get();
    }
    history = std::make_shared<SessionRecorder>();
    // The lambdas hold the history too, so a tap still queued when it is dropped is
    // harmless.
    const std::shared_ptr<SessionRecorder> kept = history;
    connect(session, &PortSession::rxTapped, this,
            [kept](const QByteArray &bytes, const QString &peer) {
                kept->recordRx(bytes, peer, nowUs());
            });
    connect(session, &PortSession::txTapped, this,
            [kept](const QByteArray &bytes, const QString &peer) {
                kept->recordTx(bytes, peer, nowUs());
            });
    connect(session, &QObject::destroyed, this, [this, session] { histories.remove(session); });
    return history.get();
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
