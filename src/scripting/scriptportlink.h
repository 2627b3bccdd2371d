#pragma once

// The script side of a port panel: owns the port's ScriptRunner and wires it to the
// panel through the panel's public interface. Bytes a script sends take the send path
// of the send box; received bytes come from rxTapped; a port runs one sequence or one
// script, never both; `log` lines and the end of a run appear in the receive view.
// Made once per panel, after the panel's own automation, so that the runner sees
// received data after the sequence runner does.

#include "scripting/scriptrunner.h"

#include <QObject>

class SerialPortWidget;

class ScriptPortLink : public QObject
{
    Q_OBJECT
public:
    // A child of `port`; sets the port's scriptRunningHook and scriptStopHook.
    explicit ScriptPortLink(SerialPortWidget *port);
    ~ScriptPortLink() override;

    ScriptRunner *runner() const { return scriptRunner; }
    SerialPortWidget *port() const { return panel; }

    // Starts `script` on the port, opening a closed port first the way the send box
    // does. Refusals: a syntax error (with its line), a script or sequence already
    // running, a file transfer, a port that does not open.
    bool startScript(const Script &script, QString *error, int *errorLine);
    void stopScript(ScriptRunner::StopReason reason);
    bool scriptRunning() const;

    // The runner's sender: refuses with "The connection is not open." on a closed port
    // or during a file transfer, and with "The connection did not accept the data."
    // when the write fails.
    bool sendScriptBytes(const QByteArray &bytes, QString *error);

    static QString notOpenMessage();
    static QString notAcceptedMessage();

private:
    void showInReceiveView(const QString &text);

    SerialPortWidget *panel = nullptr;
    ScriptRunner *scriptRunner = nullptr;
};
