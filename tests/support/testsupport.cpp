#include "support/testsupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

namespace testsupport {

bool socatAvailable()
{
    return !QStandardPaths::findExecutable(QStringLiteral("socat")).isEmpty();
}

PtyPair::PtyPair() = default;

PtyPair::~PtyPair()
{
    stop();
}

QString PtyPair::portA() const
{
    return dir.filePath(QStringLiteral("ttyA"));
}

QString PtyPair::portB() const
{
    return dir.filePath(QStringLiteral("ttyB"));
}

bool PtyPair::start(QString *why)
{
    if (!socatAvailable()) {
        *why = QStringLiteral("socat is not installed (scripts/test.sh installs it)");
        return false;
    }
    socat = std::make_unique<QProcess>();
    socat->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    socat->start(QStringLiteral("socat"), {QStringLiteral("pty,raw,echo=0,link=%1").arg(portA()),
                                           QStringLiteral("pty,raw,echo=0,link=%1").arg(portB())});
    if (!socat->waitForStarted(10000)) {
        *why = QStringLiteral("socat did not start: %1").arg(socat->errorString());
        return false;
    }
    // socat makes the links right after it starts; poll for them without a fixed delay.
    const QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        if (QFileInfo::exists(portA()) && QFileInfo::exists(portB())) {
            return true;
        }
        QThread::msleep(10);
    }
    *why = QStringLiteral("socat did not create its pty links in time");
    return false;
}

void PtyPair::stop()
{
    if (socat && socat->state() != QProcess::NotRunning) {
        socat->terminate();
        if (!socat->waitForFinished(5000)) {
            socat->kill();
            socat->waitForFinished(5000);
        }
    }
}

} // namespace testsupport

namespace testsupport {

QByteArray readExactly(QTcpSocket *socket, qsizetype size, int timeoutMs)
{
    QByteArray got;
    QDeadlineTimer deadline(timeoutMs);
    while (got.size() < size && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        got += socket->readAll();
    }
    return got;
}

quint16 closedTcpPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

QString sttySettings(const QString &path)
{
    QProcess stty;
    stty.start(QStringLiteral("stty"), {QStringLiteral("-a"), QStringLiteral("-F"), path});
    stty.waitForFinished(10000);
    return QString::fromLocal8Bit(stty.readAllStandardOutput());
}

} // namespace testsupport
