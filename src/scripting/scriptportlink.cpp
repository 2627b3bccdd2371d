#include "scripting/scriptportlink.h"

#include "connection/connectioncontroller.h"
#include "session/receiverenderer.h"
#include "session/serialportwidget.h"

namespace {
QColor noteColor()
{
    return QColor(0x80, 0x80, 0x80);
}
} // namespace

ScriptPortLink::ScriptPortLink(SerialPortWidget *port)
    : QObject(port)
    , panel(port)
    , scriptRunner(new ScriptRunner(this))
{
    scriptRunner->setSender(
        [this](const QByteArray &bytes, QString *error) { return sendScriptBytes(bytes, error); });
    scriptRunner->setBacklog([this] {
        return panel->connectionController()->pendingWriteBytes(panel->settings().connMode);
    });
    scriptRunner->setStartGuard([this] {
        if (panel->sequenceRunning()) {
            return ScriptRunner::sequenceRunningMessage();
        }
        QString why;
        return panel->mayDisturbPort(SerialPortWidget::TxActor::Script,
                                     SerialPortWidget::DisturbData, &why)
                   ? QString()
                   : why;
    });
    // The sequence runner asks this before it starts.
    panel->scriptRunningHook = [this] { return scriptRunner->isRunning(); };
    // Closing or losing the connection ends the run with that reason.
    panel->scriptStopHook = [this](int reason) {
        stopScript(static_cast<ScriptRunner::StopReason>(reason));
    };

    connect(panel, &SerialPortWidget::rxTapped, scriptRunner, &ScriptRunner::ingest);
    connect(scriptRunner, &ScriptRunner::receiveViewLine, this, &ScriptPortLink::showInReceiveView);
    connect(scriptRunner, &ScriptRunner::stateChanged, panel, &SerialPortWidget::scriptStateChanged);
}

ScriptPortLink::~ScriptPortLink()
{
    panel->scriptRunningHook = nullptr;
    panel->scriptStopHook = nullptr;
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
    if (!scriptRunner->isRunning() && !panel->ensurePortOpenForSend(error)) {
        return false;
    }
    return scriptRunner->start(script, panel->scriptPortInfo(), error, errorLine);
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
    if (!panel->portTakesData() ||
        !panel->mayDisturbPort(SerialPortWidget::TxActor::Script, SerialPortWidget::DisturbData,
                               nullptr)) {
        return refuse(notOpenMessage());
    }
    if (!panel->sendMessage(bytes)) {
        return refuse(notAcceptedMessage());
    }
    if (panel->formatSettings().displaySendMsg) {
        panel->pushByteArray(bytes, false, Sent, QString());
    }
    return true;
}

void ScriptPortLink::showInReceiveView(const QString &text)
{
    panel->noteSession(text);
    panel->displayPortBuffer();
    panel->receiveRenderer()->appendSystemLine(text, noteColor());
}
