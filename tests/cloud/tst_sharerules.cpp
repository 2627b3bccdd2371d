// Invite codes and share rules as both the app and velmora-cloud apply them: what a
// guest may type or paste for a code, what each browser level allows, and when an
// invite is over. (Lifetimes and passcode lengths are refused by the server's tests.)

#include "cloud/sharecode.h"
#include "cloud/sharepolicy.h"

#include <QtTest>

class TestShareRules : public QObject
{
    Q_OBJECT

private slots:
    void normalizeCode_data();
    void normalizeCode();
    void codesFromRandomBytesUseTheWholeAlphabet();
    void levels_data();
    void levels();
    void lifetime();
};

void TestShareRules::normalizeCode_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("code"); // empty: refused
    QTest::newRow("as shown") << u"7KQ2-M9XD-4HTW"_qs << u"7KQ2M9XD4HTW"_qs;
    QTest::newRow("lower case, blanks") << u"  7kq2 m9xd-4htw "_qs << u"7KQ2M9XD4HTW"_qs;
    QTest::newRow("the invite link")
        << u"https://cloud.example.com/console#join=7KQ2-M9XD-4HTW"_qs << u"7KQ2M9XD4HTW"_qs;
    QTest::newRow("a path link") << u"http://127.0.0.1:8750/join/7kq2m9xd4htw"_qs
                                 << u"7KQ2M9XD4HTW"_qs;
    QTest::newRow("letter I") << u"7KQ2-M9XD-4HTI"_qs << QString();
    QTest::newRow("letter L") << u"LKQ2-M9XD-4HTW"_qs << QString();
    QTest::newRow("letter O") << u"7KQ2-O9XD-4HTW"_qs << QString();
    QTest::newRow("letter U") << u"7KQ2-M9XD-UHTW"_qs << QString();
    QTest::newRow("eleven") << u"7KQ2-M9XD-4HT"_qs << QString();
    QTest::newRow("thirteen") << u"7KQ2-M9XD-4HTWX"_qs << QString();
    QTest::newRow("non-ASCII look-alike") << u"7KQ2-M9XD-4HT\u0417"_qs << QString();
    QTest::newRow("empty") << QString() << QString();
}

void TestShareRules::normalizeCode()
{
    QFETCH(QString, typed);
    QFETCH(QString, code);
    QCOMPARE(ShareCode::normalize(typed), code);
    if (!code.isEmpty())
        QCOMPARE(ShareCode::normalize(ShareCode::format(code)), code);
}

void TestShareRules::codesFromRandomBytesUseTheWholeAlphabet()
{
    // Every byte value maps into the alphabet, each letter equally often.
    QByteArray all(256, Qt::Uninitialized);
    for (int i = 0; i < 256; ++i)
        all[i] = char(i);
    QHash<QChar, int> seen;
    for (int at = 0; at + ShareCode::kLength <= 256; at += ShareCode::kLength) {
        const QString code = ShareCode::fromRandom(all.mid(at, ShareCode::kLength));
        QVERIFY2(ShareCode::isValid(code), qPrintable(code));
        for (const QChar c : code)
            ++seen[c];
    }
    QCOMPARE(seen.size(), 32);
}

void TestShareRules::levels_data()
{
    QTest::addColumn<QString>("level");
    QTest::addColumn<QString>("command");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("view watches") << u"view"_qs << u"request_snapshot"_qs << true;
    QTest::newRow("view cannot send hex") << u"view"_qs << u"send_hex"_qs << false;
    QTest::newRow("send cannot configure") << u"send"_qs << u"set_port_config"_qs << false;
    QTest::newRow("control closes") << u"control"_qs << u"close_port"_qs << true;
    QTest::newRow("none watches nothing") << u"none"_qs << u"request_snapshot"_qs << false;
    QTest::newRow("no browser relay") << u"control"_qs << u"open_relay"_qs << false;
}

void TestShareRules::levels()
{
    QFETCH(QString, level);
    QFETCH(QString, command);
    QFETCH(bool, allowed);
    SharePolicy::Level parsed = SharePolicy::Level::Control;
    SharePolicy::Need need = SharePolicy::Need::Watch;
    const bool known =
        SharePolicy::parseLevel(level, &parsed) && SharePolicy::needOf(command, &need);
    QCOMPARE(known && SharePolicy::allows(parsed, need), allowed);
    if (known)
        QCOMPARE(SharePolicy::levelName(parsed), level);
}

void TestShareRules::lifetime()
{
    // Only the four lifetimes offered; an hour hidden in the low bits of a huge number is none.
    QVERIFY(SharePolicy::isTtl(86400));
    QVERIFY(!SharePolicy::isTtl(qint64(1) << 40 | 3600));

    // Over at the instant itself; minutes left round up, so the last seconds read "1 min".
    const qint64 created = 1'700'000'000'000;
    const qint64 end = SharePolicy::expiresAt(created, 3600);
    QCOMPARE(end - created, 3600 * 1000);
    QVERIFY(!SharePolicy::isExpired(end, end - 1));
    QVERIFY(SharePolicy::isExpired(end, end));
    QCOMPARE(SharePolicy::minutesLeft(end, created), 60);
    QCOMPARE(SharePolicy::minutesLeft(end, end - 59000), 1);
    QCOMPARE(SharePolicy::minutesLeft(end, end), 0);
}

QTEST_MAIN(TestShareRules)
#include "tst_sharerules.moc"
