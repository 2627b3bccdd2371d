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

// What a peer in `role` makes of `bytes`.
QString eventsIn(const QByteArray &bytes, Rfc2217Codec::Role role)
{
    Rfc2217Codec codec(role);
    QList<Event> events;
    codec.decode(bytes, &events, nullptr);
    return describe(events);
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
Event parseEvent(const QString &spec)
{
    static const QRegularExpression form(QStringLiteral(R"(^(\d+)(?:=([^?+-]*))?([?+-]?)$)"));
    const QRegularExpressionMatch m = form.match(spec);
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
    void clientStates_data();
    void clientStates();
    void settingsPush_data();
    void settingsPush();
    void expectations_data();
    void expectations();
    void serverReplies_data();
    void serverReplies();
    void modemReports_data();
    void modemReports();
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

void TestRfc2217::clientStates_data()
{
    QTest::addColumn<QString>("script"); // "r<ms>:<hex>" receives, "t<ms>" ticks
    QTest::addColumn<int>("state");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("messages"); // A accepted, P plain Telnet, T transparent, baud

    QTest::newRow("a silent peer: transparent at 3 s, then 255 is data")
        << "t2999 t3000 r3001:41ff" << 3 << QByteArray("41ff") << QByteArray() << "T";
    QTest::newRow("Telnet without com port, then a late acceptance")
        << "r10:fffb01 t3000 r3100:41ffff r4000:fffd2c" << 1 << QByteArray("41ff")
        << QByteArray("fffe01") << "P A";
    QTest::newRow("an echo of the greeting is no acceptance")
        << "r5:fffb2cfffd2cfffb r6:00fffd00fffb03fffd03 t3000 r3001:ff" << 3 << QByteArray("ff")
        << QByteArray() << "T";
    QTest::newRow("bytes that only begin like the greeting are decoded")
        << "r5:fffb2c r6:fffb00" << 1 << QByteArray() << QByteArray() << "A";
    QTest::newRow("a partial echo is decoded at the deadline")
        << "r5:fffb2c t3000" << 1 << QByteArray() << QByteArray() << "A";
    QTest::newRow("ComPort outlives a refusal; a baud change is told")
        << "r5:fffd2c r6:fffe2c r7:fffa2c6500002580fff0 r8:fffa2c650001c200fff0" << 1
        << QByteArray() << QByteArray("fffc2c") << "A 115200";
}

void TestRfc2217::clientStates()
{
    QFETCH(QString, script);
    Rfc2217ClientSession session;
    session.begin(0);
    QByteArray data;
    QByteArray reply;
    QStringList messages;
    for (const QString &step : script.split(u' ')) {
        const qint64 now = step.mid(1).section(u':', 0, 0).toLongLong();
        const Rfc2217ClientSession::Outcome out =
            step.startsWith(u'r')
                ? session.receive(QByteArray::fromHex(step.section(u':', 1).toLatin1()), now)
                : session.tick(now);
        data += out.data;
        reply += out.reply;
        QCOMPARE(out.stateChanged,
                 out.message.contains(u"continuing") || out.message.contains(u"accepted"));
        if (!out.message.isEmpty()) {
            const QString m = out.message;
            messages << (m.contains(u"accepted")       ? QStringLiteral("A")
                         : m.contains(u"plain Telnet") ? QStringLiteral("P")
                         : m.contains(u"transparent")  ? QStringLiteral("T")
                                                       : m.section(u' ', 6, 6));
        }
    }
    QTEST(int(session.state()), "state");
    QTEST(data.toHex(), "data");
    QTEST(reply.toHex(), "reply");
    QTEST(messages.join(u' '), "messages");
    QCOMPARE(session.nextTimeoutMs(5000), -1);
}

namespace {

void acceptComPort(Rfc2217ClientSession &session)
{
    session.begin(0);
    session.receive(QByteArray::fromHex("fffd2c"), 0);
}

} // namespace

void TestRfc2217::settingsPush_data()
{
    QTest::addColumn<bool>("keepRemote");
    QTest::addColumn<int>("flow");
    QTest::addColumn<int>("forwardedBaud"); // forwarded and committed between the pushes
    QTest::addColumn<int>("baud");          // then
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");

    QTest::newRow("the remote keeps its config: read once, never pushed")
        << true << 0 << 0 << 115200 << "9'Velmora' 0=0? 1=0? 2=0? 3=0? 4=0? 6=0? 7=0?"
        << "";
    QTest::newRow("pushed whole, then only what changed")
        << false << 0 << 0 << 115200 << "9'Velmora' 0=9600 1=8 2=0 3=1 4=0 6=1+ 7=1+"
        << "0=115200";
    QTest::newRow("RTS is left to RTS/CTS flow control")
        << false << 1 << 0 << 9600 << "9'Velmora' 0=9600 1=8 2=0 3=1 4=1 6=1+"
        << "4=0 7=1+";
    QTest::newRow("a committed forward is not pushed again")
        << false << 0 << 57600 << 57600 << "9'Velmora' 0=9600 1=8 2=0 3=1 4=0 6=1+ 7=1+"
        << "";
}

void TestRfc2217::settingsPush()
{
    QFETCH(bool, keepRemote);
    QFETCH(int, flow);
    QFETCH(int, forwardedBaud);
    Rfc2217ClientSession session;
    Settings settings;
    settings.useRemoteSerialConfig = keepRemote;
    settings.flowControl = flow;
    QVERIFY(session.settingsUpdate(settings, 0).isEmpty()); // no com port yet
    acceptComPort(session);
    const QByteArray first = session.settingsUpdate(settings, 1);
    Rfc2217ServerSession server;
    server.decode(first, nullptr, nullptr);
    QCOMPARE(server.modemMask(), quint8(0xF0));
    if (forwardedBaud) {
        Event e;
        e.value = quint32(forwardedBaud);
        QByteArray bytes;
        session.commitForward(session.forwardRequest(e, &bytes, 2));
    }
    QFETCH(int, baud);
    settings.baudRate = baud;
    settings.flowControl = 0;
    QTEST(eventsIn(first, Rfc2217Codec::Role::Server), "first");
    QTEST(eventsIn(session.settingsUpdate(settings, 3), Rfc2217Codec::Role::Server), "second");
}

void TestRfc2217::expectations_data()
{
    // "f<ms>:<type>=<value>[?+-]" forwards (tickets count from 1), "w<n>" withdraws,
    // "s<ms>" reads the remote's config (ticketless queries), "b<ms>" sends Break,
    // "a<ms>:<answer>" is the server's answer. Listed: the ticket each answer settled.
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("tickets");
    QTest::addColumn<QString>("summary");

    QTest::newRow("answers in order") << "f0:0=9600 f0:0=19200 a1:0=9600 a2:0=19200"
                                      << "1 2"
                                      << "19200";
    QTest::newRow("a set answered past the session's own query")
        << "s0 f1:0=9600 a2:0=9600 a3:0=9600"
        << "1 0"
        << "9600";
    QTest::newRow("no skipping a ticketed query") << "f0:0? f1:0=9600 a2:0=9600 a3:0=9600"
                                                  << "1 2"
                                                  << "9600";
    QTest::newRow("an answer unlike the set settles the oldest query")
        << "s0 f1:0=9600 a2:0=4800 a3:0=9600"
        << "0 1"
        << "9600";
    QTest::newRow("lines match on their level") << "s0 f1:6- a2:6-"
                                                << "1"
                                                << "";
    QTest::newRow("own queries expire at 10 s, a ticketed baud waits") << "s0 f1:0? a10001:0=9600"
                                                                       << "1"
                                                                       << "9600";
    QTest::newRow("an unanswered control request expires")
        << "f0:6+ f1:0=9600 a10000:6+ a10001:0=9600"
        << "0 2"
        << "9600";
    QTest::newRow("withdrawn") << "f0:0=9600 f0:0=4800 w1 a1:0=4800 b2 a3:5+"
                               << "2 0"
                               << "4800";
    QTest::newRow("the report") << "a0:0=115200 a0:1=7 a0:2=2 a0:3=3 a0:4=1 a0:9=ser2net"
                                << "0 0 0 0 0 0"
                                << "115200 7E1.5, RTS/CTS, ser2net";
    QString many;
    for (int i = 1; i <= 65; ++i) {
        many += QStringLiteral("f0:0=%1 ").arg(i);
    }
    QTest::newRow("the 65th pushes the oldest out") << many + "a1:0=1"
                                                    << "2"
                                                    << "1";
}

void TestRfc2217::expectations()
{
    QFETCH(QString, script);
    Rfc2217ClientSession session;
    acceptComPort(session);
    Settings keep;
    QStringList tickets;
    for (const QString &step : script.split(u' ', Qt::SkipEmptyParts)) {
        const qint64 now = step.mid(1).section(u':', 0, 0).toLongLong();
        const QString arg = step.section(u':', 1);
        switch (step[0].unicode()) {
        case 'f': {
            QByteArray bytes;
            QVERIFY(session.forwardRequest(parseEvent(arg), &bytes, now) != 0);
            QVERIFY(!bytes.isEmpty());
            break;
        }
        case 'w':
            session.withdraw(step.mid(1).toULongLong());
            break;
        case 's':
            session.settingsUpdate(keep, now);
            break;
        case 'b':
            QVERIFY(!session.breakCommand(true, now).isEmpty());
            break;
        default: {
            const Rfc2217ClientSession::Outcome out =
                session.receive(Rfc2217ServerSession::confirmationFor(parseEvent(arg)), now);
            tickets << QString::number(out.answers.isEmpty() ? 0 : out.answers.first().first);
        }
        }
        QVERIFY(session.expectations().size() <= Rfc2217ClientSession::MaxExpectations);
    }
    QTEST(tickets.join(u' '), "tickets");
    QTEST(session.remoteSummary(), "summary");
}

void TestRfc2217::serverReplies_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<QString>("controls");
    const auto b = [](quint8 byte) { return QByteArray(1, char(byte)); };

    QTest::newRow("queries answered from the port's settings")
        << req(1, baud(0)) + req(2, b(0)) + req(3, b(0)) + req(4, b(0)) + req(5, b(0)) +
               req(5, b(7)) + req(5, b(10)) + req(5, b(4))
        << "0=9600 1=8 2=0 3=1 4=0 6=1+ 7=1+ 5=0" << QByteArray("{}") << "";
    QTest::newRow("sets echoed as asked and recorded")
        << req(1, baud(115200)) + req(2, b(7)) + req(3, b(3)) + req(4, b(3)) + req(5, b(3))
        << "0=115200 1=7 2=2 3=3 4=1"
        << QByteArray(R"({"baud_rate":115200,"data_bits":7,"flow_control":"rtscts",)"
                      R"("parity":"even","stop_bits":1.5})")
        << "";
    QTest::newRow("lines") << req(5, b(8)) + req(5, b(12)) + req(5, b(5)) << "6=1+ 7=0 5=1+"
                           << QByteArray("{}") << "D+ R- B+";
    QTest::newRow("data size 9 asks; signature, purge; notifications unanswered")
        << req(2, b(9)) + req(0, "pyserial") + req(12, b(3)) + req(6, b(0))
        << "1=8 9'Velmora bridge' 8=3" << QByteArray("{}") << "";
}

void TestRfc2217::serverReplies()
{
    QFETCH(QByteArray, request);
    Rfc2217ServerSession server;
    const Rfc2217ServerSession::Outcome out = server.receive(request, Settings());
    QList<Event> events;
    Rfc2217Codec(Rfc2217Codec::Role::Client).decode(out.reply, &events, nullptr);
    QTEST(describe(events), "reply");
    QTEST(QJsonDocument(out.serialConfig).toJson(QJsonDocument::Compact), "config");
    QStringList controls;
    for (const auto &c : out.controls) {
        controls << QStringLiteral("%1%2").arg("DRB"[c.line]).arg(c.on ? '+' : '-');
    }
    QTEST(controls.join(u' '), "controls");
    // A bridge passes a remote's answer on with confirmationFor: it must rebuild it.
    QByteArray rebuilt;
    for (const Event &e : events) {
        rebuilt += e.type == Event::Purge ? ans(12, QByteArray(1, char(e.value)))
                                          : Rfc2217ServerSession::confirmationFor(e);
    }
    QCOMPARE(rebuilt.toHex(), out.reply.toHex());
}

void TestRfc2217::modemReports_data()
{
    // "m<hex>" is the client's mask, "s<ms>:<hex>" a poll of the lines, "n<ms>=<v>" checks
    // nextTimeoutMs. Listed: the state each poll sent, "-" for nothing.
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("sent");
    QTest::newRow("every line until a mask is set; repeats suppressed")
        << "n0=0 s0:31 n0=250 n100=150 n250=0 s250:31 s500:b1"
        << "31 - b1";
    QTest::newRow("mask f0: the low nibble alone sends nothing") << "mf0 s0:3f s1:30 s2:b0"
                                                                 << "30 - b0";
    QTest::newRow("mask 0 silences; set again, the state is sent again")
        << "s0:30 m00 s1:30 s2:f0 mff s3:f0"
        << "30 - - f0";
}

void TestRfc2217::modemReports()
{
    QFETCH(QString, script);
    Rfc2217ServerSession server;
    Rfc2217ModemReporter &reporter = server.modemReporter();
    QStringList sent;
    for (const QString &step : script.split(u' ')) {
        const QString arg = step.mid(1);
        if (step.startsWith(u'm')) {
            server.receive(req(11, QByteArray::fromHex(arg.toLatin1())), Settings());
        } else if (step.startsWith(u'n')) {
            QCOMPARE(reporter.nextTimeoutMs(arg.section(u'=', 0, 0).toLongLong()),
                     arg.section(u'=', 1).toLongLong());
        } else {
            const QByteArray out =
                reporter.report(server, quint8(arg.section(u':', 1).toUInt(nullptr, 16)),
                                arg.section(u':', 0, 0).toLongLong());
            // IAC SB 44 107 <state> IAC SE
            sent << (out.isEmpty() ? QStringLiteral("-") : QString::number(quint8(out[4]), 16));
        }
    }
    QTEST(sent.join(u' '), "sent");
}

QTEST_GUILESS_MAIN(TestRfc2217)
#include "tst_rfc2217.moc"
