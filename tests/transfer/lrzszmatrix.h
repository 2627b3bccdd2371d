#pragma once

// The transfers every path (the engine, the port panel's dialog, velmora-cli xfer) must
// complete against Debian's lrzsz on the far end of a pseudo-terminal relay, and how to
// start that far end.

#include "ptyrelay.h"
#include "transfer/xferstep.h"

#include <QProcess>
#include <QString>
#include <QTest>

#include <unistd.h>

struct LrzszCase
{
    const char *label;
    XferProtocol protocol;
    bool sending;     // Velmora sends
    const char *peer; // the peer's command; "f" is the file, "out" its output
    const char *name; // the protocol as velmora-cli names it
};

inline constexpr LrzszCase LrzszCases[] = {
    {"receive xmodem from sx", XferProtocol::Xmodem, false, "sx -b f", "xmodem"},
    {"receive xmodem-crc from sx", XferProtocol::XmodemCrc, false, "sx -b f", "xmodem-crc"},
    {"receive xmodem-1k from sx -k", XferProtocol::Xmodem1k, false, "sx -b -k f", "xmodem-1k"},
    {"receive ymodem from sb", XferProtocol::Ymodem, false, "sb -b f", "ymodem"},
    {"receive ymodem from sb -k", XferProtocol::Ymodem, false, "sb -b -k f", "ymodem"},
    {"receive ymodem-g from sb -k", XferProtocol::YmodemG, false, "sb -b -k f", "ymodem-g"},
    {"send xmodem to rx", XferProtocol::Xmodem, true, "rx -b out", "xmodem"},
    {"send xmodem-crc to rx -c", XferProtocol::XmodemCrc, true, "rx -b -c out", "xmodem-crc"},
    {"send xmodem-1k to rx -c", XferProtocol::Xmodem1k, true, "rx -b -c out", "xmodem-1k"},
    {"send ymodem to rb", XferProtocol::Ymodem, true, "rb -b", "ymodem"},
    {"send ymodem-g to a python receiver", XferProtocol::YmodemG, true, "python", "ymodem-g"},
};

// Where the peer leaves a file Velmora sent: rx writes the name it is given.
inline QString lrzszPeerFile(const QString &peer)
{
    return peer.endsWith(QLatin1String("out")) ? QStringLiteral("out") : QStringLiteral("f");
}

// Starts `command` in `folder` on side B of `pty`. lrzsz reads the terminal but writes
// into the relay's pipe: it empties the terminal's queues as it exits, and on a
// pseudo-terminal that can swallow its last answer before anyone read it (a real UART
// sends it first). "python" alone is the YMODEM-G receiver beside the tests; "python
// ARGS" runs Python with ARGS.
inline bool startLrzszPeer(QProcess &process, const testsupport::PtyRelay &pty,
                           const QString &folder, const QString &command)
{
    const QString python = QStringLiteral("/usr/bin/python3");
    process.setWorkingDirectory(folder);
    process.setStandardInputFile(pty.portB());
    if (command == QLatin1String("python")) {
        process.setStandardOutputFile(pty.portB());
        process.start(python, {QFINDTESTDATA("ymodem_g_receiver.py"), pty.portB(), folder});
        return process.waitForStarted();
    }
    const int writer = pty.writerFor(1);
    process.setChildProcessModifier([writer] { ::dup2(writer, STDOUT_FILENO); });
    QStringList args = QProcess::splitCommand(command);
    const QString program = args.takeFirst();
    process.start(program == QLatin1String("python") ? python : program, args);
    return process.waitForStarted();
}
