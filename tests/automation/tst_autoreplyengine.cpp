#include "automation/autoreplyengine.h"

#include <QElapsedTimer>
#include <QtTest>

namespace {

// "T:pattern => reply" with T, H, W or R for the kind; without " => " the reply is "ok".
AutoReplyRule ruleFrom(const QString &line)
{
    AutoReplyRule rule;
    const QString kinds = QStringLiteral("THWR");
    rule.match = AutoReplyMatch(kinds.indexOf(line.at(0)));
    const QString rest = line.mid(2);
    const qsizetype arrow = rest.indexOf(QStringLiteral(" => "));
    rule.pattern = arrow < 0 ? rest : rest.left(arrow);
    rule.reply = arrow < 0 ? QStringLiteral("ok") : rest.mid(arrow + 4);
    return rule;
}

AutoReplyConfig configFrom(const QStringList &lines)
{
    AutoReplyConfig config;
    for (const QString &line : lines) {
        config.rules.append(ruleFrom(line));
    }
    return config;
}

QList<int> rulesOf(const QList<AutoReplyHit> &hits)
{
    QList<int> rules;
    for (const AutoReplyHit &hit : hits) {
        rules.append(hit.rule);
    }
    return rules;
}

QList<int> outcomesOf(const QList<AutoReplyHit> &hits)
{
    QList<int> outcomes;
    for (const AutoReplyHit &hit : hits) {
        outcomes.append(int(hit.outcome));
    }
    return outcomes;
}

constexpr int Send = int(AutoReplyOutcome::Send);
constexpr int Empty = int(AutoReplyOutcome::EmptyReply);
constexpr int Dead = int(AutoReplyOutcome::PlayingDead);
constexpr int NotNth = int(AutoReplyOutcome::NotNth);
constexpr int Dropped = int(AutoReplyOutcome::Dropped);

} // namespace

class TestAutoReplyEngine : public QObject
{
    Q_OBJECT
private slots:
    void compileErrors_data();
    void compileErrors();
    void parseHex_data();
    void parseHex();
    void replyBytes_data();
    void replyBytes();
    void matchOrder_data();
    void matchOrder();
    void idleGap_data();
    void idleGap();
    void windowKeepsNewestBytes();
    void idleWindowsArePrunedAt256Sources();
    void outcomes_data();
    void outcomes();
    void zeroDropNeverAsksTheSource();
    void hitLimitHandsOverToTheRulesBelow();
    void resetCountsLetsALimitedRuleSeeTheWindow();
    void encodingsRecompileAndKeepCounts();
    void noActiveRuleBuffersNothing();
    void hostileExpressionIsBounded();
};

void TestAutoReplyEngine::compileErrors_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("error");

    const QString utf8 = QStringLiteral("UTF-8");
    QTest::newRow("empty pattern") << "T: => x" << utf8 << "The pattern is empty.";
    QTest::newRow("regex matching nothing") << "R:a*" << utf8 << "The pattern matches empty input.";
    QTest::newRow("lone wildcard") << "W:*" << utf8 << "The pattern matches empty input.";
    QTest::newRow("hex of blanks") << "H: , " << utf8 << "The pattern matches empty input.";
    QTest::newRow("invalid regex")
        << "R:(ab" << utf8
        << "Invalid regular expression: " + QRegularExpression(QStringLiteral("(ab")).errorString();
    QTest::newRow("odd hex part")
        << "H:01 3" << utf8 << "\"3\" is not whole bytes: use two hex digits per byte.";
    QTest::newRow("hex pairs read two at a time")
        << "H:0G11" << utf8 << "\"0G\" is not a hex byte.";
    QTest::newRow("single question mark is no byte") << "H:?A" << utf8 << "\"?A\" is not a hex byte.";
    QTest::newRow("wildcard in a hex reply")
        << "T:a => 01 ??" << utf8 << "?? (any byte) is only allowed in a pattern, not in a reply.";
    QTest::newRow("unknown escape in text")
        << "T:a\\q" << utf8 << "Unknown escape sequence \\q. Write \\\\ to send a backslash.";
    QTest::newRow("escaped star in a wildcard")
        << "W:a\\*" << utf8 << "Unknown escape sequence \\*. Write \\\\ to send a backslash.";
    QTest::newRow("backslash ending a wildcard")
        << "W:a*b\\" << utf8 << "The message ends with a lone backslash. Write \\\\ to send one.";
    QTest::newRow("short \\x in a reply")
        << "T:a => \\x4" << utf8 << "\\x must be followed by two hex digits, as in \\x1B.";
    QTest::newRow("text not in the encoding")
        << "T:€" << "ISO-8859-1"
        << "The character '€' cannot be encoded as ISO-8859-1. Change the encoding or edit the "
           "message.";
    QTest::newRow("regex not in the encoding")
        << "R:x€" << "ISO-8859-1"
        << "The character '€' cannot be encoded as ISO-8859-1. Change the encoding or edit the "
           "message.";
}

void TestAutoReplyEngine::compileErrors()
{
    QFETCH(QString, rule);
    QFETCH(QString, encoding);
    AutoReplyConfig config = configFrom({rule, QStringLiteral("T:fine")});
    if (rule.contains(QStringLiteral("=> 01"))) {
        config.rules[0].replyFormat = 1;
    }
    AutoReplyEngine engine;
    engine.setConfig(config, encoding, encoding);

    // The rule keeps its place, inactive, with its message; the others are unaffected.
    QTEST(engine.ruleError(0), "error");
    QVERIFY(!engine.ruleActive(0));
    QVERIFY(!engine.compiled(0).valid);
    QVERIFY(engine.ruleActive(1));
    QCOMPARE(engine.activeRuleCount(), 1);
    QCOMPARE(engine.enabledRuleCount(), 1);
    QCOMPARE(rulesOf(engine.feed("fine", QString(), 0)), QList<int>{1});
}

void TestAutoReplyEngine::parseHex_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("wildcards");
    QTest::addColumn<QList<int>>("values");
    QTest::addColumn<QString>("error");
    QTest::newRow("pairs run together") << "0103" << false << QList<int>{1, 3} << QString();
    QTest::newRow("blanks and commas")
        << " 0a,\t0B ,,ff\n" << false << QList<int>{10, 11, 255} << QString();
    QTest::newRow("any byte") << "01 ?? 02" << true << QList<int>{1, -1, 2} << QString();
    QTest::newRow("any byte refused") << "01 ??" << false << QList<int>()
                                      << "?? (any byte) is only allowed in a pattern, not in a reply.";
    QTest::newRow("odd part named whole") << "01 0203 4" << true << QList<int>()
                                          << "\"4\" is not whole bytes: use two hex digits per byte.";
    QTest::newRow("no Unicode digits") << "٠١" << true << QList<int>() << "\"٠١\" is not a hex byte.";
    QTest::newRow("nothing") << "  " << false << QList<int>() << QString();
}

void TestAutoReplyEngine::parseHex()
{
    QFETCH(QString, text);
    QFETCH(bool, wildcards);
    QFETCH(QString, error);
    QFETCH(QList<int>, values);
    QList<int> parsed;
    QString message;
    QCOMPARE(AutoReplyEngine::parseHex(text, wildcards, parsed, message), error.isEmpty());
    // Qt 6.4 compares two empty lists with memcmp on null pointers; compare by element.
    QCOMPARE(parsed.size(), values.size());
    for (qsizetype i = 0; i < parsed.size(); ++i) {
        QCOMPARE(parsed.at(i), values.at(i));
    }
    QCOMPARE(message, error);
}

void TestAutoReplyEngine::replyBytes_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QByteArray>("bytes"); // hex

    QTest::newRow("modbus response, CRC-16/MODBUS low byte first")
        << 1 << "01 03 00 00 00 01" << 4 << QByteArray("010300000001840a");
    QTest::newRow("text with escapes") << 0 << "PONG\\r\\n" << 0 << QByteArray("504f4e470d0a");
    QTest::newRow("sum over text") << 0 << "A" << 1 << QByteArray("4141");
    QTest::newRow("xor over hex") << 1 << "01 02" << 2 << QByteArray("010203");
    QTest::newRow("CRC-8 check value") << 0 << "123456789" << 3 << QByteArray("313233343536373839f4");
    QTest::newRow("CRC-32 check value")
        << 1 << "31 32 33 34 35 36 37 38 39" << 5 << QByteArray("3132333435363738392639f4cb");
    QTest::newRow("empty text gets no checksum") << 0 << "" << 5 << QByteArray();
    QTest::newRow("blank hex gets no checksum") << 1 << " , " << 4 << QByteArray();
}

void TestAutoReplyEngine::replyBytes()
{
    AutoReplyRule rule = ruleFrom(QStringLiteral("T:Q"));
    QFETCH(int, format);
    QFETCH(QString, reply);
    QFETCH(int, checksum);
    rule.replyFormat = format;
    rule.reply = reply;
    rule.checksum = checksum;

    AutoReplyEngine engine;
    engine.setConfig({false, true, {rule}}, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QVERIFY(engine.ruleActive(0));
    QTEST(engine.compiled(0).reply.toHex(), "bytes");

    // What a match sends is the compiled reply; without bytes it stays silent.
    const QList<AutoReplyHit> hits = engine.feed("Q", QString(), 5);
    QCOMPARE(hits.size(), 1);
    QCOMPARE(hits.first().reply, engine.compiled(0).reply);
    QCOMPARE(int(hits.first().outcome), engine.compiled(0).reply.isEmpty() ? Empty : Send);
}

void TestAutoReplyEngine::matchOrder_data()
{
    QTest::addColumn<QStringList>("rules");
    QTest::addColumn<QByteArrayList>("chunks");
    QTest::addColumn<QList<int>>("order");
    QTest::addColumn<QByteArray>("rest");

    QTest::newRow("earliest end wins across rules")
        << QStringList{"T:CD", "T:AB"} << QByteArrayList{"ABCD"} << QList<int>{1, 0} << QByteArray();
    QTest::newRow("equal ends go to the lower index")
        << QStringList{"T:BC", "T:ABC"} << QByteArrayList{"ABC"} << QList<int>{0} << QByteArray();
    QTest::newRow("start positions do not matter")
        << QStringList{"W:A*D", "T:CD"} << QByteArrayList{"ABCD"} << QList<int>{0} << QByteArray();
    QTest::newRow("text metacharacters are literal")
        << QStringList{"T:AT+V?\\r"} << QByteArrayList{"ATV\rAT+V?\r"} << QList<int>{0} << QByteArray();
    QTest::newRow("text rule in its encoding")
        << QStringList{"T:é"} << QByteArrayList{"\xe9\xc3\xa9"} << QList<int>{0} << QByteArray();
    QTest::newRow("user start options stay in front")
        << QStringList{"R:(*UTF)(*LIMIT_MATCH=99999999)a"} << QByteArrayList{"xa"} << QList<int>{0}
        << QByteArray();
    QTest::newRow("junk in front is consumed")
        << QStringList{"T:OK"} << QByteArrayList{"xxOKyy"} << QList<int>{0} << QByteArray("yy");
    QTest::newRow("wildcard ends at the first B")
        << QStringList{"W:A*B"} << QByteArrayList{"A1B2B"} << QList<int>{0} << QByteArray("2B");
    QTest::newRow("question mark is exactly one byte")
        << QStringList{"W:A?C"} << QByteArrayList{"ACxA\nC"} << QList<int>{0} << QByteArray();
    QTest::newRow("hex any byte takes newlines")
        << QStringList{"H:01 03 ?? ?? 00 02"} << QByteArrayList{QByteArray("\x01\x03\r\n\x00\x02", 6)}
        << QList<int>{0} << QByteArray();
    QTest::newRow("regex over bytes")
        << QStringList{"R:\\xff\\d+\\r"} << QByteArrayList{"\xff" "123\r"} << QList<int>{0}
        << QByteArray();
    QTest::newRow("non-ASCII regex matches its encoded bytes")
        << QStringList{"R:é"} << QByteArrayList{"\xe9", "\xc3\xa9"} << QList<int>{0}
        << QByteArray();
    QTest::newRow("regex dot stops at newline")
        << QStringList{"R:a.c"} << QByteArrayList{"a\nc"} << QList<int>{} << QByteArray("a\nc");
    QTest::newRow("chunks complete a match")
        << QStringList{"T:PING\\r\\n"} << QByteArrayList{"PI", "NG\r", "\n"} << QList<int>{0}
        << QByteArray();
    QTest::newRow("partial match across chunks with a regex")
        << QStringList{"R:ID=\\d{3};"} << QByteArrayList{"xID=1", "2", "x ID=12", "3;z"}
        << QList<int>{0} << QByteArray("z");
    QTest::newRow("swallowing rule listed first takes the bytes")
        << QStringList{"T:AB => ", "T:ABC"} << QByteArrayList{"ABC"} << QList<int>{0}
        << QByteArray("C");
    QTest::newRow("zero-length lookbehind consumes nothing")
        << QStringList{"R:(?<=A)"} << QByteArrayList{"AB"} << QList<int>{} << QByteArray("AB");
    QTest::newRow("anchor sees the window after a match is taken")
        << QStringList{"T:X", "R:^Y"} << QByteArrayList{"XY"} << QList<int>{0, 1} << QByteArray();
    QTest::newRow("anchor holds at the window start")
        << QStringList{"R:^Y"} << QByteArrayList{"ZY"} << QList<int>{} << QByteArray("ZY");
    QTest::newRow("cut through another rule's match makes it look again")
        << QStringList{"T:ABC", "T:B"} << QByteArrayList{"ABCABC"} << QList<int>{1, 1}
        << QByteArray("C");
    QTest::newRow("several hits from one chunk in stream order")
        << QStringList{"T:b", "T:a"} << QByteArrayList{"abab"} << QList<int>{1, 0, 1, 0}
        << QByteArray();
}

void TestAutoReplyEngine::matchOrder()
{
    QFETCH(QStringList, rules);
    QFETCH(QByteArrayList, chunks);
    AutoReplyEngine engine;
    engine.setConfig(configFrom(rules), QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    for (int i = 0; i < rules.size(); ++i) {
        QVERIFY2(engine.ruleActive(i), qPrintable(engine.ruleError(i)));
    }
    QList<int> order;
    qint64 now = 0;
    for (const QByteArray &chunk : std::as_const(chunks)) {
        order += rulesOf(engine.feed(chunk, QString(), now += 10));
    }
    QTEST(order, "order");
    QTEST(engine.windowData(QString()), "rest");
    // A rule that lost does not count the match.
    QList<int> counted(rules.size(), 0);
    for (const int rule : std::as_const(order)) {
        ++counted[rule];
    }
    for (int i = 0; i < rules.size(); ++i) {
        QCOMPARE(engine.hits(i), counted.at(i));
    }
}

void TestAutoReplyEngine::idleGap_data()
{
    QTest::addColumn<int>("gap");
    QTest::addColumn<int>("hits");
    QTest::addColumn<QByteArray>("rest");
    QTest::newRow("999 ms") << 999 << 1 << QByteArray("!");
    QTest::newRow("exactly 1000 ms keeps the partial match") << 1000 << 1 << QByteArray("!");
    QTest::newRow("1001 ms drops it") << 1001 << 0 << QByteArray("NG!");
}

void TestAutoReplyEngine::idleGap()
{
    QFETCH(int, gap);
    AutoReplyEngine engine;
    engine.setConfig(configFrom({QStringLiteral("T:PING")}), QStringLiteral("UTF-8"),
                     QStringLiteral("UTF-8"));
    QVERIFY(engine.feed("xxPI", QStringLiteral("p"), 5000).isEmpty());
    QTEST(int(engine.feed("NG!", QStringLiteral("p"), 5000 + gap).size()), "hits");
    QTEST(engine.windowData(QStringLiteral("p")), "rest");
}

void TestAutoReplyEngine::windowKeepsNewestBytes()
{
    AutoReplyEngine engine;
    engine.setConfig(configFrom({QStringLiteral("W:S*E")}), QStringLiteral("UTF-8"),
                     QStringLiteral("UTF-8"));
    // The S falls out of the window before the E comes, in one chunk or in two.
    const QByteArray filler(AutoReplyEngine::DefaultWindowBytes - 1, 'x');
    QVERIFY(engine.feed("S" + filler + "E", QString(), 0).isEmpty());
    QCOMPARE(engine.windowData(QString()), filler + "E");
    QVERIFY(engine.feed("S" + filler, QStringLiteral("two"), 0).isEmpty());
    QVERIFY(engine.feed("E", QStringLiteral("two"), 1).isEmpty());
    QCOMPARE(engine.windowData(QStringLiteral("two")), filler + "E");
    // One byte less and it fits.
    QCOMPARE(engine.feed("S" + filler.mid(1) + "E", QStringLiteral("three"), 0).size(), 1);

    engine.setWindowBytes(0);
    QCOMPARE(engine.windowBytes(), 1);
}

void TestAutoReplyEngine::idleWindowsArePrunedAt256Sources()
{
    AutoReplyEngine engine;
    engine.setConfig(configFrom({QStringLiteral("T:PING")}), QStringLiteral("UTF-8"),
                     QStringLiteral("UTF-8"));
    for (int i = 0; i < AutoReplyEngine::PruneWindowCount; ++i) {
        engine.feed("P", QString::number(i), i < 10 ? 0 : 601);
    }
    // All fresh: the hash grows past 256.
    engine.feed("P", QStringLiteral("new"), 1000);
    QCOMPARE(engine.windowCount(), 257);
    // At 1601 the ten from time 0 are more than a second old; those of 601 are exactly a
    // second old and stay. A known source never prunes.
    engine.feed("P", QStringLiteral("0"), 1600);
    QCOMPARE(engine.windowCount(), 257);
    engine.feed("P", QStringLiteral("newer"), 1601);
    QCOMPARE(engine.windowCount(), 257 - 9 + 1);
    QCOMPARE(engine.windowData(QStringLiteral("0")), QByteArray("P")); // idle: a new message
    QCOMPARE(engine.windowData(QStringLiteral("1")), QByteArray());
}

void TestAutoReplyEngine::outcomes_data()
{
    QTest::addColumn<int>("everyN");
    QTest::addColumn<bool>("playDead");
    QTest::addColumn<int>("dropPercent");
    QTest::addColumn<int>("random");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QList<int>>("outcomes");

    QTest::newRow("every third") << 3 << false << 0 << 0 << "ok"
                                 << QList<int>{NotNth, NotNth, Send, NotNth, NotNth, Send};
    QTest::newRow("playing dead beats every-N") << 3 << true << 0 << 0 << "ok"
                                                << QList<int>{Dead, Dead, Dead};
    QTest::newRow("every-N before the drop") << 2 << false << 100 << 50 << "ok"
                                             << QList<int>{NotNth, Dropped, NotNth, Dropped};
    QTest::newRow("drop when the percentage is above the draw")
        << 1 << false << 30 << 29 << "ok" << QList<int>{Dropped, Dropped};
    QTest::newRow("no drop when equal") << 1 << false << 30 << 30 << "ok" << QList<int>{Send, Send};
    QTest::newRow("drop before empty reply") << 1 << false << 100 << 0 << "" << QList<int>{Dropped};
    QTest::newRow("empty reply") << 2 << false << 0 << 0 << "" << QList<int>{NotNth, Empty};
}

void TestAutoReplyEngine::outcomes()
{
    QFETCH(int, everyN);
    QFETCH(bool, playDead);
    QFETCH(int, dropPercent);
    QFETCH(int, random);
    QFETCH(QString, reply);
    QFETCH(QList<int>, outcomes);

    AutoReplyConfig config = configFrom({QStringLiteral("T:Q")});
    config.playDead = playDead;
    config.rules[0].everyN = everyN;
    config.rules[0].dropPercent = dropPercent;
    config.rules[0].reply = reply;
    config.rules[0].checksum = 4; // an empty reply stays empty all the same
    config.rules[0].delayMs = 250;
    AutoReplyEngine engine;
    engine.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    engine.setRandomSource([random] { return random; });

    const QList<AutoReplyHit> hits =
        engine.feed(QByteArray(outcomes.size(), 'Q'), QStringLiteral("peer"), 1000);
    QCOMPARE(outcomesOf(hits), outcomes);
    QCOMPARE(engine.hits(0), int(outcomes.size()));
    for (const AutoReplyHit &hit : hits) {
        QCOMPARE(hit.source, QStringLiteral("peer"));
        if (hit.outcome == AutoReplyOutcome::Send) {
            QCOMPARE(hit.reply, engine.compiled(0).reply);
            QCOMPARE(hit.reply.size(), 4); // "ok" and its CRC
            QCOMPARE(hit.dueMs, 1250);
        } else {
            QVERIFY(hit.reply.isEmpty());
        }
    }
}

void TestAutoReplyEngine::zeroDropNeverAsksTheSource()
{
    AutoReplyConfig config = configFrom({QStringLiteral("T:Q"), QStringLiteral("T:R")});
    config.rules[1].dropPercent = 100;
    config.rules[0].delayMs = -5; // counts as no delay
    AutoReplyEngine engine;
    engine.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    int asked = 0;
    engine.setRandomSource([&asked] {
        ++asked;
        return 99;
    });
    const QList<AutoReplyHit> hits = engine.feed("QQ", QString(), 7);
    QCOMPARE(outcomesOf(hits), (QList<int>{Send, Send}));
    QCOMPARE(hits.first().dueMs, 7);
    QCOMPARE(asked, 0);
    QCOMPARE(outcomesOf(engine.feed("R", QString(), 8)), QList<int>{Dropped});
    QCOMPARE(asked, 1);

    // The default source draws below 100, so 100 % always drops.
    engine.setRandomSource(nullptr);
    QCOMPARE(outcomesOf(engine.feed(QByteArray(200, 'R'), QString(), 9)),
             QList<int>(200, Dropped));
}

void TestAutoReplyEngine::hitLimitHandsOverToTheRulesBelow()
{
    AutoReplyConfig config = configFrom({QStringLiteral("T:PING => a"), QStringLiteral("T:PING => b")});
    config.rules[0].maxHits = 2;
    AutoReplyEngine engine;
    engine.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QCOMPARE(rulesOf(engine.feed("PINGPI", QString(), 0)), (QList<int>{0}));
    QCOMPARE(rulesOf(engine.feed("NGPINGPING", QString(), 1)), (QList<int>{0, 1, 1}));
    QCOMPARE(engine.hits(0), 2);
    QCOMPARE(engine.hits(1), 2);
}

void TestAutoReplyEngine::resetCountsLetsALimitedRuleSeeTheWindow()
{
    AutoReplyConfig config = configFrom({QStringLiteral("T:AB"), QStringLiteral("T:Z")});
    config.rules[0].maxHits = 2;
    AutoReplyEngine engine;
    engine.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QCOMPARE(engine.feed("ABAB", QString(), 0).size(), 2);
    // At its limit the rule does not look at the data; after the reset it finds the whole
    // match that came meanwhile, whatever the next bytes are.
    QVERIFY(engine.feed("xAB", QString(), 1).isEmpty());
    engine.resetCounts();
    QCOMPARE(engine.hits(0), 0);
    QCOMPARE(rulesOf(engine.feed("y", QString(), 2)), QList<int>{0});
    QCOMPARE(engine.feed("A", QString(), 3).size(), 0);
    QCOMPARE(rulesOf(engine.feed("B", QString(), 4)), QList<int>{0});

    QVERIFY(engine.feed("AB", QString(), 5).isEmpty());
    engine.resetCounts();
    QCOMPARE(rulesOf(engine.feed("AB", QString(), 6)), (QList<int>{0, 0}));
}

void TestAutoReplyEngine::encodingsRecompileAndKeepCounts()
{
    AutoReplyEngine engine;
    engine.setConfig(configFrom({QStringLiteral("T:é")}), QStringLiteral("UTF-8"),
                     QStringLiteral("UTF-8"));
    QCOMPARE(engine.feed("\xc3\xa9", QString(), 0).size(), 1);
    QVERIFY(engine.feed("\xc3", QString(), 0).isEmpty());

    engine.setEncodings(QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QCOMPARE(engine.windowCount(), 1); // the same names change nothing

    engine.setEncodings(QStringLiteral("ISO-8859-1"), QStringLiteral("UTF-8"));
    QCOMPARE(engine.windowCount(), 0);
    QCOMPARE(engine.hits(0), 1);
    QVERIFY(engine.feed("\xa9", QString(), 1).isEmpty());
    QCOMPARE(engine.feed("\xe9", QString(), 2).size(), 1);

    engine.setConfig(engine.config(), QStringLiteral("ISO-8859-1"), QStringLiteral("UTF-8"));
    QCOMPARE(engine.hits(0), 0);
}

void TestAutoReplyEngine::noActiveRuleBuffersNothing()
{
    AutoReplyConfig config = configFrom({QStringLiteral("T:a")});
    config.rules[0].enabled = false;
    AutoReplyEngine engine;
    engine.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QVERIFY(engine.feed("abc", QString(), 0).isEmpty());
    QCOMPARE(engine.windowCount(), 0);
}

void TestAutoReplyEngine::hostileExpressionIsBounded()
{
    // Exponential backtracking at every start position: without a bound one search over
    // a full window would not end in our lifetime.
    AutoReplyEngine engine;
    engine.setConfig(configFrom({QStringLiteral("R:(a|aa)+b"), QStringLiteral("T:PING")}),
                     QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QVERIFY(engine.ruleActive(0));
    QElapsedTimer clock;
    clock.start();
    engine.feed(QByteArray(4000, 'a') + "cb", QString(), 0);
    for (int i = 0; i < 50; ++i) {
        engine.feed("a", QString(), 1);
    }
    // Generous for a loaded machine; a search is about a millisecond.
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    // The other rules still answer.
    QCOMPARE(rulesOf(engine.feed("PING", QString(), 2)), QList<int>{1});
}

QTEST_APPLESS_MAIN(TestAutoReplyEngine)
#include "tst_autoreplyengine.moc"
