#include "automation/autoreplyrunner.h"
#include "connection/multiclientserver.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QtTest>

#include "support/testsupport.h"

#include <memory>

// A runner on a real multi-client TCP server with real clients on the loopback: replies
// go back to the client that asked, and clients never complete each other's messages.
class TestAutoReplyPeers : public QObject
{
    Q_OBJECT
private slots:
    void answersOnlyTheClientThatAsked();
};

namespace {
using testsupport::readExactly;

constexpr int Timeout = 10000;

std::unique_ptr<QTcpSocket> connectClient(MultiClientServer &server)
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QHostAddress::LocalHost, server.serverPort());
    return socket->waitForConnected(Timeout) ? std::move(socket) : nullptr;
}

} // namespace

void TestAutoReplyPeers::answersOnlyTheClientThatAsked()
{
    MultiClientServer server;
    QVERIFY(server.start(0, QHostAddress::LocalHost));
    AutoReplyRule rule;
    rule.name = QStringLiteral("Ping");
    rule.pattern = QStringLiteral("PING\\r\\n");
    rule.reply = QStringLiteral("PONG\\r\\n");
    AutoReplyRunner runner;
    runner.setConfig({false, true, {rule}});
    // As the port session wires it: received data with its peer key in, replies out to
    // the same peer.
    connect(&server, &MultiClientServer::newMessage, &runner,
            [&](const QString &key) { runner.ingest(server.takeMessage(key), key); });
    runner.setSender([&server](const QByteArray &bytes, const QString &source) {
        return server.writeTo(source, bytes);
    });
    QSignalSpy replied(&runner, &AutoReplyRunner::replied);

    auto a = connectClient(server);
    auto b = connectClient(server);
    QVERIFY(a && b);
    QTRY_COMPARE_WITH_TIMEOUT(server.clientCount(), 2, Timeout);
    const QString keyA = MultiClientServer::peerKeyFor(QHostAddress::LocalHost, a->localPort());
    const QString keyB = MultiClientServer::peerKeyFor(QHostAddress::LocalHost, b->localPort());

    a->write("PING\r\n");
    QCOMPARE(readExactly(a.get(), 6), QByteArray("PONG\r\n"));
    QCOMPARE(replied.count(), 1);
    QCOMPARE(replied.first().at(1).toString(), keyA);

    // Each sends half a message; together they would make one, apart they make none.
    a->write("PI");
    QTRY_COMPARE_WITH_TIMEOUT(runner.engine().windowData(keyA), QByteArray("PI"), Timeout);
    b->write("NG\r\n");
    QTRY_COMPARE_WITH_TIMEOUT(runner.engine().windowData(keyB), QByteArray("NG\r\n"), Timeout);
    QCOMPARE(runner.pendingCount(), 0);

    // A completes its own message and alone hears the answer.
    a->write("NG\r\n");
    QCOMPARE(readExactly(a.get(), 6), QByteArray("PONG\r\n"));
    QCOMPARE(replied.count(), 2);
    QTest::qWait(50);
    QCOMPARE(b->readAll(), QByteArray());
    QCOMPARE(runner.repliesSent(), 2);
    QCOMPARE(runner.engine().hits(0), 2);
}

QTEST_MAIN(TestAutoReplyPeers)
#include "tst_autoreplypeers.moc"
