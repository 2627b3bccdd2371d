#pragma once

// The script side of a port: owns the port's ScriptRunner and wires it to the port's
// session. Bytes a script sends take the send path of the send box; received bytes come
// from rxTapped; a port runs one sequence or one script, never both; `log` lines and
// the end of a run go out as the session's notes (the panel shows them in its receive
// view). Made once per port, after the session's runners are connected, so that the
// script sees received data after the sequence runner does.

#include "scripting/scriptrunner.h"

#include <QObject>

class PortSession;

class ScriptPortLink : public QObject
{
    Q_OBJECT
public:
    // A child of `port`; sets the port's scriptRunningHook and scriptStopHook.
    explicit ScriptPortLink(PortSession *port);
    ~ScriptPortLink() override;

    ScriptRunner *runner() const { return scriptRunner; }
    PortSession *session() const { return port; }

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
    PortSession *port = nullptr;
    ScriptRunner *scriptRunner = nullptr;
};
