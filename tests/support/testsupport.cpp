#include "support/testsupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
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

namespace {
QString ser2netPath()
{
    return QStandardPaths::findExecutable(QStringLiteral("ser2net"),
                                          {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin")});
}
} // namespace

Ser2net::Ser2net() = default;

Ser2net::~Ser2net()
{
    if (process) {
        process->terminate();
        if (!process->waitForFinished(5000)) {
            process->kill();
            process->waitForFinished(5000);
        }
    }
}

bool Ser2net::available()
{
    return !ser2netPath().isEmpty();
}

bool Ser2net::start(const QString &device, QString *why)
{
    if (!available()) {
        *why = QStringLiteral("ser2net is not installed (scripts/deps.sh test installs it)");
        return false;
    }
    tcpPort = closedTcpPort();
    QFile config(dir.filePath(QStringLiteral("ser2net.yaml")));
    if (!config.open(QIODevice::WriteOnly)) {
        *why = config.errorString();
        return false;
    }
    config.write(QStringLiteral("%YAML 1.1\n---\nconnection: &vlm\n"
                                "  accepter: telnet(rfc2217),tcp,127.0.0.1,%1\n"
                                "  connector: serialdev,%2,9600n81,local\n")
                     .arg(tcpPort)
                     .arg(device)
                     .toUtf8());
    config.close();
    process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(ser2netPath(), {QStringLiteral("-n"), QStringLiteral("-d"), QStringLiteral("-c"),
                                   config.fileName()});
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        QTcpSocket probe;
        probe.connectToHost(QHostAddress::LocalHost, tcpPort);
        if (probe.waitForConnected(200)) {
            return true;
        }
        QThread::msleep(100);
    }
    *why = QStringLiteral("ser2net did not listen on port %1").arg(tcpPort);
    return false;
}

} // namespace testsupport
