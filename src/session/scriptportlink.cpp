#include "session/scriptportlink.h"

#include "connection/connectioncontroller.h"
#include "scripting/scriptengine.h"
#include "session/portsession.h"

ScriptPortLink::ScriptPortLink(PortSession *session)
    : QObject(session)
    , port(session)
    , scriptRunner(new ScriptRunner(this))
{
    scriptRunner->setSender(
        [this](const QByteArray &bytes, QString *error) { return sendScriptBytes(bytes, error); });
    scriptRunner->setBacklog([this] {
        return port->connectionController()->pendingWriteBytes(port->settings().connMode);
    });
    scriptRunner->setStartGuard([this] {
        if (port->sequenceRunning()) {
            return ScriptRunner::sequenceRunningMessage();
        }
        QString why;
        return port->mayDisturbPort(PortSession::TxActor::Script,
                                     PortSession::DisturbData, &why)
                   ? QString()
                   : why;
    });
    // The sequence runner asks this before it starts.
    port->scriptRunningHook = [this] { return scriptRunner->isRunning(); };
    // Closing or losing the connection ends the run with that reason.
    port->scriptStopHook = [this](int reason) {
        stopScript(static_cast<ScriptRunner::StopReason>(reason));
    };

    connect(port, &PortSession::rxTapped, scriptRunner, &ScriptRunner::ingest);
    connect(scriptRunner, &ScriptRunner::receiveViewLine, port, &PortSession::note);
    connect(scriptRunner, &ScriptRunner::stateChanged, port, &PortSession::scriptStateChanged);
}

ScriptPortLink::~ScriptPortLink()
{
    port->scriptRunningHook = nullptr;
    port->scriptStopHook = nullptr;
}

QString ScriptPortLink::notOpenMessage()
{
    return tr("The connection is not open.");
}

QString ScriptPortLink::notAcceptedMessage()
{
    return tr("The connection did not accept the data.");
}

bool ScriptPortLink::startScript(const Script &script, QString *error, int *errorLine)
{
    if (errorLine) {
        *errorLine = -1;
    }
    // A script with a syntax error never opens the port.
    QString message;
    int line = -1;
    if (!ScriptEngine::checkSyntax(script.source, &message, &line)) {
        if (error) {
            *error = message;
        }
        if (errorLine) {
            *errorLine = line;
        }
        return false;
    }
    if (!scriptRunner->isRunning() && !port->ensureOpen(error)) {
        return false;
    }
    return scriptRunner->start(script, port->scriptPortInfo(), error, errorLine);
}

void ScriptPortLink::stopScript(ScriptRunner::StopReason reason)
{
    scriptRunner->stop(ScriptRunner::stopReasonText(reason));
}

bool ScriptPortLink::scriptRunning() const
{
    return scriptRunner->isRunning();
}

bool ScriptPortLink::sendScriptBytes(const QByteArray &bytes, QString *error)
{
    const auto refuse = [&](const QString &text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (!port->portTakesData() ||
        !port->mayDisturbPort(PortSession::TxActor::Script, PortSession::DisturbData,
                               nullptr)) {
        return refuse(notOpenMessage());
    }
    if (!port->sendMessage(bytes)) {
        return refuse(notAcceptedMessage());
    }
    if (port->format().displaySendMsg) {
        port->pushByteArray(bytes, false, Sent, QString());
    }
    return true;
}
