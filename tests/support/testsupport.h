#pragma once

// Real peers for tests: pseudo-terminal pairs made by socat, and helpers to wait on
// sockets without fixed delays.

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

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

} // namespace testsupport
