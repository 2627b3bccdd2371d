#pragma once

// Real peers for tests: pseudo-terminal pairs made by socat, and helpers to wait on
// sockets without fixed delays.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

class QTcpSocket;

namespace testsupport {

// Two connected pseudo-terminals: bytes written to one end arrive at the other.
class PtyPair
{
public:
    PtyPair();
    ~PtyPair();

    // Starts socat and waits until both links exist. On failure `why` tells the reason.
    bool start(QString *why);
    // Ends socat: both links vanish, as an unplugged adapter would.
    void stop();
    QString portA() const;
    QString portB() const;

private:
    QTemporaryDir dir;
    std::unique_ptr<QProcess> socat;
};

// Whether socat can be run here.
bool socatAvailable();

// Reads from `socket` until `size` bytes came or `timeoutMs` passed, running the event
// loop so that the writing side can flush.
QByteArray readExactly(QTcpSocket *socket, qsizetype size, int timeoutMs = 10000);

// A local TCP port that nothing listens on, for connections that must be refused.
quint16 closedTcpPort();

// ser2net serving a serial device as RFC 2217 on a free local port, ended with the
// object.
class Ser2net
{
public:
    Ser2net();
    ~Ser2net();
    static bool available();
    // Starts ser2net in front of `device` at 9600 8N1 and waits until it listens. On
    // failure `why` tells the reason.
    bool start(const QString &device, QString *why);
    quint16 port() const { return tcpPort; }

private:
    QTemporaryDir dir;
    std::unique_ptr<QProcess> process;
    quint16 tcpPort = 0;
};

// The line settings of a serial device as the system has them (`stty -a`), such as
// "speed 9600 baud; ... cs8 ...".
QString sttySettings(const QString &path);

} // namespace testsupport
