#include "bridge/rfc2217clientsession.h"
#include "bridge/rfc2217serversession.h"
#include "connection/settings.h"

#include <QtTest>

using Event = Rfc2217Codec::Event;

namespace {

// Events written "type=value", "?" for a query, "+" for a line on, and 'text' for a
// signature: "0=9600 6=1+ 9'ser2net'".
QString describe(const QList<Event> &events)
{
    QStringList out;
    for (const Event &e : events) {
        out << (e.type == Event::Signature ? QStringLiteral("9'%1'%2").arg(
                                                 QString::fromLatin1(e.payload), e.query ? "?" : "")
                                           : QStringLiteral("%1=%2%3%4")
                                                 .arg(e.type)
                                                 .arg(e.value)
                                                 .arg(e.query ? "?" : "", e.on ? "+" : ""));
    }
    return out.join(u' ');
}

QByteArray req(quint8 command, const QByteArray &payload)
{
    return Rfc2217Codec::clientRequest(command, payload);
}

QByteArray ans(quint8 command, const QByteArray &payload)
{
    return Rfc2217Codec::serverResponse(command, payload);
}

QByteArray baud(quint32 value)
{
    return Rfc2217Codec::baudRatePayload(value);
}

// "<type>[=<value>][?+-]": a query, a line on or off; a signature's value is its text.
Event parseEvent(const QString &text)
{
    static const QRegularExpression form(QStringLiteral(R"(^(\d+)(?:=([^?+-]*))?([?+-]?)$)"));
    const QRegularExpressionMatch m = form.match(text);
    Event e;
    e.type = Event::Type(m.captured(1).toInt());
    e.value = m.captured(2).toUInt();
    e.payload = m.captured(2).toUtf8();
    e.query = m.captured(3) == u"?";
    e.on = m.captured(3) == u"+";
    e.subcommand = e.type == Event::Signature ? 0 : e.type >= Event::FlowControl ? 5 : e.type + 1;
    return e;
}

} // namespace

class TestRfc2217 : public QObject
{
    Q_OBJECT
private slots:
    void codec_data();
    void codec();
    void client_data();
    void client();
    void server_data();
    void server();
};

void TestRfc2217::codec_data()
{
    QTest::addColumn<bool>("client");
    QTest::addColumn<bool>("greet");
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("events");
    QTest::addColumn<bool>("accepted");
    using L = QList<QByteArray>;
    const auto hex = [](const char *h) { return QByteArray::fromHex(h); };

    QTest::newRow("doubled 255 across two calls, NOP vanishes")
        << true << false << L{hex("41ff"), hex("ff42fff143")} << hex("41ff4243") << hex("") << ""
        << false;
    QTest::newRow("DO ECHO refused once")
        << false << true << L{hex("fffd01fffd01")} << hex("") << hex("fffc01") << "" << false;
    QTest::newRow("client: DO 44 after our WILL costs nothing")
        << true << true << L{hex("fffd2cfffb00fffd03")} << hex("") << hex("") << "" << true;
    QTest::newRow("client: WONT 44 keeps acceptance")
        << true << true << L{hex("fffd2c"), hex("fffc2c")} << hex("") << hex("fffe2c") << ""
        << true;
    QTest::newRow("client: DONT 44 withdraws it")
        << true << true << L{hex("fffd2cfffe2c")} << hex("") << hex("fffc2c") << "" << false;
    QTest::newRow("server: the client's WILL 44 gets DO 44")
        << false << true << L{hex("fffb2c")} << hex("") << hex("fffd2c") << "" << true;
    QTest::newRow("server: queries, short baud dropped, data size 9 asks")
        << false << false << L{req(1, baud(0)) + req(1, hex("000100")) + req(2, hex("09"))}
        << hex("") << hex("") << "0=0? 1=9?" << false;
    QTest::newRow("server: parity, stop size, purge, notifications, empty payload")
        << false << false
        << L{req(3, hex("03")) + req(4, hex("03")) + req(12, hex("02")) + req(7, hex("30")) +
             hex("fffa2c02fff0") + req(0, {})}
        << hex("") << hex("") << "2=2 3=3 8=2 11=48 9''?" << false;
    QTest::newRow("server drops answers and unknown commands")
        << false << false << L{ans(1, baud(9600)) + req(99, hex("01"))} << hex("") << hex("") << ""
        << false;
    QTest::newRow("client: SET-CONTROL answers")
        << true << false
        << L{ans(5, hex("03")) + ans(5, hex("08")) + ans(5, hex("0c")) + ans(5, hex("04")) +
             ans(5, hex("0d")) + req(1, baud(9600))}
        << hex("") << hex("") << "4=1 6=1+ 7=0 5=0?" << false;
    const QByteArray signature = ans(0, QByteArray("a\xff"
                                                   "b"));
    QTest::newRow("client: 255 inside a signature, split in its escape")
        << true << false << L{signature.left(6), signature.mid(6)} << hex("") << hex("")
        << QString("9'a") + QChar(0xff) + "b'" << false;
    QTest::newRow("an unfinished subnegotiation is lost, data goes on")
        << false << false << L{hex("fffa2c0100002580ff4142")} << hex("42") << hex("") << ""
        << false;
    QTest::newRow("an endless subnegotiation is bounded and dropped")
        << false << false
        << L{hex("fffa2c00"), QByteArray(3000, 'a'), hex("ffffff"), hex("f0") + req(2, hex("07"))}
        << hex("") << hex("") << "1=7" << false;
}

void TestRfc2217::codec()
{
    QFETCH(bool, client);
    QFETCH(bool, greet);
    QFETCH(QList<QByteArray>, chunks);
    Rfc2217Codec codec(client ? Rfc2217Codec::Role::Client : Rfc2217Codec::Role::Server);
    if (greet) {
        QCOMPARE(codec.greeting().toHex(), client
                                               ? QByteArray("fffb2cfffd2cfffb00fffd00fffb03fffd03")
                                               : QByteArray("fffb2cfffb00fffd00fffb03fffd03"));
    }
    QByteArray data;
    QByteArray reply;
    QList<Event> events;
    for (const QByteArray &chunk : chunks) {
        data += codec.decode(chunk, &events, &reply);
        QVERIFY(codec.subnegotiationSize() <= Rfc2217Codec::MaxSubnegotiation);
    }
    QTEST(data, "data");
    QTEST(reply, "reply");
    QTEST(describe(events), "events");
    QTEST(codec.comPortAccepted(), "accepted");
    // Only the three options spoken here are ever agreed to.
    for (int option = 0; option < 256; ++option) {
        const bool known = option == 0 || option == 3 || option == 44;
        QVERIFY(known || codec.localOption(quint8(option)) != true);
        QVERIFY(known || codec.remoteOption(quint8(option)) != true);
    }
}

void TestRfc2217::client_data()
{
    // Steps: "r<ms>:<hex>" bytes from the peer, "t<ms>" a tick, "a<ms>:<event>" the
    // server's answer, "f<ms>:<event>" a forwarded request (tickets count from 1),
    // "c<n>"/"w<n>" commit or withdraw ticket n, "b<ms>" Break, "p<ms>" a push keeping the
    // remote's config, "P<ms>:<baud>,<flow>" a push of ours.
    // Trace: "d<hex>" data, "r<hex>" reply, A/P/T accepted, plain Telnet, transparent,
    // "B<baud>" a baud change told, "#<n>" ticket n answered, "p[...]" what a server
    // makes of a push ("mf0" its modem mask), then "=<state>" and the summary.
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("trace");
    const QString push = "9'Velmora' 0=9600 1=8 2=0 3=1 4=0 6=1+ 7=1+ mf0";
    const QString read = "A p[9'Velmora' 0=0? 1=0? 2=0? 3=0? 4=0? 6=0? 7=0? mf0]";

    QTest::newRow("a silent peer: transparent at 3 s, then 255 is data")
        << "p0 t2999 t3000 r3001:41ff"
        << "p[] T d41ff =3";
    QTest::newRow("Telnet without com port, then a late acceptance")
        << "r10:fffb01 t3000 r3100:41ffff r4000:fffd2c"
        << "rfffe01 P d41ff A =1";
    QTest::newRow("an echo of the greeting is no acceptance")
        << "r5:fffb2cfffd2cfffb r6:00fffd00fffb03fffd03 t3000 r3001:ff"
        << "T dff =3";
    QTest::newRow("bytes that only begin like the greeting are decoded") << "r5:fffb2c r6:fffb00"
                                                                         << "A =1";
    QTest::newRow("a partial echo is decoded at the deadline") << "r5:fffb2c t3000"
                                                               << "A =1";
    QTest::newRow("ComPort outlives a refusal; a baud change is told")
        << "r5:fffd2c r6:fffe2c a7:0=9600 a8:0=115200"
        << "A rfffc2c B115200 =1 115200";
    QTest::newRow("the remote keeps its config: read once, never pushed")
        << "r0:fffd2c p1 p2" << read + " p[] =1";
    QTest::newRow("pushed whole, then only what changed") << "r0:fffd2c P1:9600,0 P2:115200,0"
                                                          << "A p[" + push + "] p[0=115200] =1";
    QTest::newRow("RTS is left to RTS/CTS flow control")
        << "r0:fffd2c P1:9600,1 P2:9600,0"
        << "A p[9'Velmora' 0=9600 1=8 2=0 3=1 4=1 6=1+ mf0] p[4=0 7=1+] =1";
    QTest::newRow("a committed forward is not pushed again")
        << "r0:fffd2c P1:9600,0 f2:0=57600 c1 P3:57600,0"
        << "A p[" + push + "] p[] =1";
    QTest::newRow("answers in order") << "r0:fffd2c f0:0=9600 f0:0=19200 a1:0=9600 a2:0=19200"
                                      << "A #1 B19200 #2 =1 19200";
    QTest::newRow("a set answered past the session's own query")
        << "r0:fffd2c p0 f1:0=9600 a2:0=9600 a3:0=9600" << read + " #1 =1 9600";
    QTest::newRow("no skipping a ticketed query") << "r0:fffd2c f0:0? f1:0=9600 a2:0=9600 a3:0=9600"
                                                  << "A #1 #2 =1 9600";
    QTest::newRow("an answer unlike the set settles the oldest query")
        << "r0:fffd2c p0 f1:0=9600 a2:0=4800 a3:0=9600" << read + " B9600 #1 =1 9600";
    QTest::newRow("lines match on their level") << "r0:fffd2c p0 f1:6- a2:6-" << read + " #1 =1";
    QTest::newRow("own queries expire at 10 s, a ticketed baud waits")
        << "r0:fffd2c p0 f1:0? a10001:0=9600" << read + " #1 =1 9600";
    QTest::newRow("an unanswered control request expires")
        << "r0:fffd2c f0:6+ f1:0=9600 a10000:6+ a10001:0=9600"
        << "A #2 =1 9600";
    QTest::newRow("withdrawn; Break") << "r0:fffd2c f0:0=9600 f0:0=4800 w1 a1:0=4800 b2 a3:5+"
                                      << "A #2 =1 4800";
    QTest::newRow("the report") << "r0:fffd2c a0:0=115200 a0:1=7 a0:2=2 a0:3=3 a0:4=1 a0:9=ser2net"
                                << "A =1 115200 7E1.5, RTS/CTS, ser2net";
    QString many = "r0:fffd2c ";
    for (int i = 1; i <= 65; ++i) {
        many += QStringLiteral("f0:0=%1 ").arg(i);
    }
    QTest::newRow("the 65th pushes the oldest out") << many + "a1:0=1"
                                                    << "A #2 =1 1";
}

void TestRfc2217::client()
{
    QFETCH(QString, script);
    Rfc2217ClientSession session;
    QCOMPARE(session.begin(0).toHex(), QByteArray("fffb2cfffd2cfffb00fffd00fffb03fffd03"));
    QStringList trace;
    const auto take = [&](const Rfc2217ClientSession::Outcome &out) {
        if (!out.data.isEmpty()) {
            trace << "d" + out.data.toHex();
        }
        if (!out.reply.isEmpty()) {
            trace << "r" + out.reply.toHex();
        }
        const QString m = out.message;
        const QString told = m.contains(u"accepted")       ? QStringLiteral("A")
                             : m.contains(u"plain Telnet") ? QStringLiteral("P")
                             : m.contains(u"transparent")  ? QStringLiteral("T")
                             : m.isEmpty()                 ? QString()
                                                           : "B" + m.section(u' ', 6, 6);
        if (!told.isEmpty()) {
            trace << told;
        }
        QVERIFY(out.stateChanged == (told.size() == 1));
        for (const auto &[ticket, event] : out.answers) {
            trace << "#" + QString::number(ticket);
        }
    };
    Settings settings;
    for (const QString &step : script.split(u' ', Qt::SkipEmptyParts)) {
        const qint64 now = step.mid(1).section(u':', 0, 0).toLongLong();
        const QString arg = step.section(u':', 1);
        QByteArray bytes;
        switch (step[0].unicode()) {
        case 'r':
            take(session.receive(QByteArray::fromHex(arg.toLatin1()), now));
            break;
        case 't':
            take(session.tick(now));
            break;
        case 'a':
            take(session.receive(Rfc2217ServerSession::confirmationFor(parseEvent(arg)), now));
            break;
        case 'f':
            QVERIFY(session.forwardRequest(parseEvent(arg), &bytes, now) != 0);
            break;
        case 'c':
            session.commitForward(step.mid(1).toULongLong());
            break;
        case 'w':
            session.withdraw(step.mid(1).toULongLong());
            break;
        case 'b':
            QVERIFY(!session.breakCommand(true, now).isEmpty());
            break;
        default: { // p, P
            settings.useRemoteSerialConfig = step[0] == u'p';
            settings.baudRate = arg.section(u',', 0, 0).toInt();
            settings.flowControl = arg.section(u',', 1).toInt();
            Rfc2217ServerSession server;
            QList<Event> events;
            server.decode(session.settingsUpdate(settings, now), &events, nullptr);
            trace << "p[" +
                         (describe(events) + (server.modemMask() == 0xF0 ? " mf0" : "")).trimmed() +
                         "]";
        }
        }
        QVERIFY(session.expectations().size() <= Rfc2217ClientSession::MaxExpectations);
    }
    trace << "=" + QString::number(session.state()) << session.remoteSummary();
    QTEST(trace.join(u' ').trimmed(), "trace");
    QCOMPARE(session.nextTimeoutMs(20000), -1);
}

void TestRfc2217::server_data()
{
    // Steps: "q<hex>" bytes from the client, traced as the answers a client reads, the
    // config asked for and the line actions ("D+ R- B+"); "s<ms>:<hex>" a poll of the modem
    // lines, traced as the state sent or "-"; "n<ms>=<v>" checks nextTimeoutMs.
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("trace");
    const auto q = [](const QList<QByteArray> &requests) {
        QByteArray all;
        for (const QByteArray &r : requests) {
            all += Rfc2217Codec::clientRequest(quint8(r[0]), r.mid(1));
        }
        return "q" + QString::fromLatin1(all.toHex());
    };
    const auto b = [](quint8 command, quint8 byte) {
        return QByteArray(1, char(command)) + char(byte);
    };

    QTest::newRow("queries answered from the port's settings")
        << q({"\x01" + baud(0), b(2, 0), b(3, 0), b(4, 0), b(5, 0), b(5, 7), b(5, 10), b(5, 4)})
        << "[0=9600 1=8 2=0 3=1 4=0 6=1+ 7=1+ 5=0] {}";
    QTest::newRow("sets echoed as asked and recorded")
        << q({"\x01" + baud(115200), b(2, 7), b(3, 3), b(4, 3), b(5, 3)})
        << R"([0=115200 1=7 2=2 3=3 4=1] {"baud_rate":115200,"data_bits":7,)"
           R"("flow_control":"rtscts","parity":"even","stop_bits":1.5})";
    QTest::newRow("lines") << q({b(5, 8), b(5, 12), b(5, 5)}) << "[6=1+ 7=0 5=1+] {} D+ R- B+";
    QTest::newRow("data size 9 asks; signature, purge; notifications unanswered")
        << q({b(2, 9), "\x00pyserial"_qba, b(12, 3), b(6, 0)}) << "[1=8 9'Velmora bridge' 8=3] {}";
    QTest::newRow("modem lines: all until a mask is set, repeats suppressed")
        << "n0=0 s0:31 n0=250 n100=150 n250=0 s250:31 s500:b1"
        << "31 - b1";
    QTest::newRow("mask f0: the low nibble alone sends nothing")
        << q({b(11, 0xf0)}) + " s0:3f s1:30 s2:b0"
        << "[] {} 30 - b0";
    QTest::newRow("mask 0 silences; set again, the state is sent again")
        << "s0:30 " + q({b(11, 0)}) + " s1:30 s2:f0 " + q({b(11, 0xff)}) + " s3:f0"
        << "30 [] {} - - [] {} f0";
}

void TestRfc2217::server()
{
    QFETCH(QString, script);
    Rfc2217ServerSession server;
    QStringList trace;
    for (const QString &step : script.split(u' ')) {
        const QString arg = step.mid(1);
        if (step.startsWith(u'q')) {
            const auto out = server.receive(QByteArray::fromHex(arg.toLatin1()), Settings());
            QList<Event> events;
            Rfc2217Codec(Rfc2217Codec::Role::Client).decode(out.reply, &events, nullptr);
            trace << "[" + describe(events) + "]"
                  << QJsonDocument(out.serialConfig).toJson(QJsonDocument::Compact);
            for (const auto &c : out.controls) {
                trace << QStringLiteral("%1%2").arg("DRB"[c.line]).arg(c.on ? '+' : '-');
            }
            // A bridge passes a remote's answer on with confirmationFor: it must rebuild it.
            QByteArray rebuilt;
            for (const Event &e : events) {
                rebuilt += e.type == Event::Purge ? ans(12, QByteArray(1, char(e.value)))
                                                  : Rfc2217ServerSession::confirmationFor(e);
            }
            QCOMPARE(rebuilt.toHex(), out.reply.toHex());
        } else if (step.startsWith(u'n')) {
            QCOMPARE(server.modemReporter().nextTimeoutMs(arg.section(u'=', 0, 0).toLongLong()),
                     arg.section(u'=', 1).toLongLong());
        } else {
            const QByteArray out = server.modemReporter().report(
                server, quint8(arg.section(u':', 1).toUInt(nullptr, 16)),
                arg.section(u':', 0, 0).toLongLong());
            // IAC SB 44 107 <state> IAC SE
            trace << (out.isEmpty() ? QStringLiteral("-") : QString::number(quint8(out[4]), 16));
        }
    }
    QTEST(trace.join(u' '), "trace");
}

QTEST_GUILESS_MAIN(TestRfc2217)
#include "tst_rfc2217.moc"
