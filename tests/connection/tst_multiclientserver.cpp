#include "connection/multiclientserver.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QtTest>

#include "support/testsupport.h"

namespace {
using testsupport::readExactly;
constexpr int Timeout = 10000;

// A client connected to `server`, waited for on both ends.
std::unique_ptr<QTcpSocket> connectClient(MultiClientServer &server)
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QHostAddress::LocalHost, server.serverPort());
    if (!socket->waitForConnected(Timeout)) {
        return nullptr;
    }
    return socket;
}
} // namespace

class TestMultiClientServer : public QObject
{
    Q_OBJECT
private slots:
    void addressAllowed_data();
    void addressAllowed();
    void allowListRefusesWithReason();
    void exclusiveModeKeepsFirstClient();
    void rowsFollowArrivalAndKeysSurviveDisconnect();
    void throttledClientIsReadWhenReleasedOrGone_data();
    void throttledClientIsReadWhenReleasedOrGone();
};

void TestMultiClientServer::addressAllowed_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("empty list allows all") << QStringList() << "10.0.0.1" << true;
    QTest::newRow("in subnet") << QStringList{"192.168.1.0/24"} << "192.168.1.7" << true;
    QTest::newRow("outside subnet") << QStringList{"192.168.1.0/24"} << "10.0.0.1" << false;
    QTest::newRow("mapped address in IPv4 subnet")
        << QStringList{"10.0.0.0/8"} << "::ffff:10.1.2.3" << true;
    QTest::newRow("mapped equals plain") << QStringList{"127.0.0.1"} << "::ffff:127.0.0.1" << true;
    QTest::newRow("plain equals mapped entry")
        << QStringList{"::ffff:127.0.0.1"} << "127.0.0.1" << true;
    QTest::newRow("ipv6 exact") << QStringList{"::1"} << "::1" << true;
    QTest::newRow("second entry matches")
        << QStringList{"10.9.9.9", " 127.0.0.1 "} << "127.0.0.1" << true;
    QTest::newRow("garbage matches nothing")
        << QStringList{"banana", "300.1.1.1", "1.2.3.4/99"} << "1.2.3.4" << false;
}

void TestMultiClientServer::addressAllowed()
{
    QFETCH(QStringList, list);
    QFETCH(QString, address);
    QTEST(MultiClientServer::addressAllowed(QHostAddress(address), list), "allowed");
}

void TestMultiClientServer::allowListRefusesWithReason()
{
    MultiClientServer server;
    server.setAllowedPeers({"10.0.0.0/8"});
    QVERIFY(server.start(0, QHostAddress::LocalHost));
    QSignalSpy refused(&server, &MultiClientServer::connectionRefused);
    QSignalSpy arrived(&server, &MultiClientServer::clientArrived);

    QTcpSocket client;
    QSignalSpy clientClosed(&client, &QTcpSocket::disconnected);
    client.connectToHost(QHostAddress::LocalHost, server.serverPort());
    QVERIFY(refused.wait(Timeout));
    QCOMPARE(refused.first().at(1).toString(), QString("not on the address allowlist"));
    QVERIFY(refused.first().at(0).toString().startsWith("127.0.0.1:"));
    QVERIFY(clientClosed.count() > 0 || clientClosed.wait(Timeout));
    QCOMPARE(arrived.count(), 0);
    QCOMPARE(server.clientCount(), 0);
}

void TestMultiClientServer::exclusiveModeKeepsFirstClient()
{
    MultiClientServer server;
    server.setFanoutMode(FanoutMode::Exclusive);
    QVERIFY(server.start(0, QHostAddress::LocalHost));
    QSignalSpy arrived(&server, &MultiClientServer::clientArrived);
    QSignalSpy refused(&server, &MultiClientServer::connectionRefused);

    auto first = connectClient(server);
    QVERIFY(first);
    QVERIFY(arrived.count() == 1 || arrived.wait(Timeout));

    QTcpSocket second;
    QSignalSpy secondClosed(&second, &QTcpSocket::disconnected);
    second.connectToHost(QHostAddress::LocalHost, server.serverPort());
    QVERIFY(refused.wait(Timeout));
    QCOMPARE(refused.first().at(1).toString(),
             QString("the port already has a client (exclusive mode)"));
    QVERIFY(secondClosed.count() > 0 || secondClosed.wait(Timeout));

    // The first client is undisturbed: it still talks both ways.
    QCOMPARE(server.clientCount(), 1);
    QCOMPARE(server.exclusiveOwner()->peerPort(), first->localPort());
    QSignalSpy message(&server, &MultiClientServer::newMessage);
    first->write("still here");
    QVERIFY(message.wait(Timeout));
    QCOMPARE(server.takeMessage(message.first().at(0).toString()), QByteArray("still here"));
    QVERIFY(server.writeTo(server.keyAt(0), "reply"));
    QCOMPARE(readExactly(first.get(), 5), QByteArray("reply"));
}

void TestMultiClientServer::rowsFollowArrivalAndKeysSurviveDisconnect()
{
    MultiClientServer server;
    QVERIFY(server.start(0, QHostAddress::LocalHost));
    QSignalSpy arrived(&server, &MultiClientServer::clientArrived);
    auto a = connectClient(server);
    QVERIFY(a);
    QVERIFY(arrived.count() >= 1 || arrived.wait(Timeout));
    auto b = connectClient(server);
    QVERIFY(b);
    QTRY_COMPARE_WITH_TIMEOUT(arrived.count(), 2, Timeout);

    const QString keyA = QStringLiteral("127.0.0.1:%1").arg(a->localPort());
    const QString keyB = QStringLiteral("127.0.0.1:%1").arg(b->localPort());
    QCOMPARE(server.clientKeys(), QStringList({keyA, keyB}));

    QSignalSpy gone(&server, &MultiClientServer::clientGone);
    a->abort();
    QVERIFY(gone.wait(Timeout));
    QCOMPARE(gone.first().at(0).toString(), keyA);
    QCOMPARE(server.clientKeys(), QStringList({keyB}));

    // Broadcast reaches the remaining client; stop closes it and empties the tables.
    QCOMPARE(server.broadcast("all"), qint64(3));
    QCOMPARE(readExactly(b.get(), 3), QByteArray("all"));
    server.stop();
    QVERIFY(b->state() == QAbstractSocket::UnconnectedState || b->waitForDisconnected(Timeout));
    QCOMPARE(server.clientCount(), 0);
    QVERIFY(!server.isListening());
}

// A client's bytes all arrive ahead of its clientGone. A throttled server reads nothing,
// so the client's TCP window closes; it reads again when released, and reads a leaving
// client's last bytes whatever the throttle says.
void TestMultiClientServer::throttledClientIsReadWhenReleasedOrGone_data()
{
    QTest::addColumn<bool>("throttled");
    QTest::addColumn<QString>("ending");
    QTest::addColumn<int>("size");
    QTest::newRow("client leaves") << false << "leaves" << 20000;
    QTest::newRow("released") << true << "released" << 100000;
    QTest::newRow("throttled client leaves") << true << "leaves" << 1000;
    QTest::newRow("consumer stops the server in the last read") << true << "stops" << 1000;
}

void TestMultiClientServer::throttledClientIsReadWhenReleasedOrGone()
{
    QFETCH(bool, throttled);
    QFETCH(QString, ending);
    QFETCH(int, size);
    MultiClientServer server;
    QVERIFY(server.start(0, QHostAddress::LocalHost));
    QSignalSpy arrived(&server, &MultiClientServer::clientArrived);
    auto client = connectClient(server);
    QVERIFY(client);
    QVERIFY(arrived.count() == 1 || arrived.wait(Timeout));

    QByteArray received;
    const QByteArray payload(size, 'q');
    connect(&server, &MultiClientServer::newMessage, this, [&](const QString &key) {
        received += server.takeMessage(key);
        if (ending == "stops") {
            server.stop();
        }
    });
    QSignalSpy gone(&server, &MultiClientServer::clientGone);
    connect(&server, &MultiClientServer::clientGone, this,
            [&] { QCOMPARE(received.size(), payload.size()); });
    server.setReadThrottled(throttled);
    client->write(payload);
    client->flush();
    if (ending == "released") {
        // The socket's buffer fills up to its bound and nothing is taken from it.
        QTRY_VERIFY_WITH_TIMEOUT(server.clientAt(0)->bytesAvailable() >= 4096, Timeout);
        QCOMPARE(received.size(), 0);
        server.setReadThrottled(false);
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), payload.size(), Timeout);
    } else {
        client->disconnectFromHost();
        QTRY_COMPARE_WITH_TIMEOUT(received.size(), payload.size(), Timeout);
        if (ending == "leaves") {
            QTRY_COMPARE_WITH_TIMEOUT(gone.count(), 1, Timeout);
            // A later message under the same key would not repeat what was taken.
            QVERIFY(server.takeMessage(gone.first().at(0).toString()).isEmpty());
        }
        // Never a client without a name.
        for (const QList<QVariant> &args : std::as_const(gone)) {
            QVERIFY(!args.at(0).toString().isEmpty());
        }
        QCOMPARE(server.clientCount(), 0);
    }
    QCOMPARE(received, payload);
}

QTEST_GUILESS_MAIN(TestMultiClientServer)
#include "tst_multiclientserver.moc"
