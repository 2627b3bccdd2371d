#include "automation/autoreplycodec.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString Prefix = QStringLiteral("Port3/AutoReply");

AutoReplyRule sampleRule(int i)
{
    AutoReplyRule rule;
    rule.enabled = i % 2 == 0;
    rule.name = QStringLiteral("Rule %1, \"quoted\"").arg(i);
    rule.match = AutoReplyMatch(i % 4);
    rule.pattern = QStringLiteral("AT+V%1?\\r\\n ü").arg(i);
    rule.replyFormat = i % 2;
    rule.reply = i == 2 ? QString() : QStringLiteral("01 02 %1").arg(i, 2, 10, QLatin1Char('0'));
    rule.delayMs = i * 1000;
    rule.checksum = i % 6;
    rule.maxHits = i * 3;
    rule.everyN = i + 1;
    rule.dropPercent = i * 10;
    return rule;
}

} // namespace

class TestAutoReplyCodec : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void roundTrip();
    void clamps_data();
    void clamps();
    void missingKeysGiveDefaults();
    void firstRulesOfALongList();
    void shorterSaveLeavesNoStaleKeys_data();
    void shorterSaveLeavesNoStaleKeys();

private:
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<QSettings> settings;
};

void TestAutoReplyCodec::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
    settings = std::make_unique<QSettings>(dir->filePath(QStringLiteral("project.vlm")),
                                           QSettings::IniFormat);
}

void TestAutoReplyCodec::roundTrip()
{
    AutoReplyConfig config;
    config.playDead = true;
    config.showNotes = false;
    for (int i = 0; i < 5; ++i) {
        config.rules.append(sampleRule(i));
    }
    AutoReplyCodec::save(*settings, Prefix, config);
    settings->sync();

    // Through the file, as the project is read back.
    QSettings reread(settings->fileName(), QSettings::IniFormat);
    QCOMPARE(AutoReplyCodec::load(reread, Prefix), config);
    QCOMPARE(reread.value(Prefix + "/Count").toInt(), 5);
    QCOMPARE(reread.value(Prefix + "/3/Match").toInt(), 3);
}

void TestAutoReplyCodec::clamps_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("loaded");

    QTest::newRow("match 9 reads as text") << "Match" << QVariant(9) << 0;
    QTest::newRow("match -1 reads as text") << "Match" << QVariant(-1) << 0;
    QTest::newRow("reply format 2 is text") << "ReplyFormat" << QVariant(2) << 0;
    QTest::newRow("delay above the top") << "DelayMs" << QVariant(9000000) << 600000;
    QTest::newRow("negative delay") << "DelayMs" << QVariant(-3) << 0;
    QTest::newRow("checksum above the top") << "Checksum" << QVariant(6) << 5;
    QTest::newRow("hits above the top") << "MaxHits" << QVariant(2000000) << 1000000;
    QTest::newRow("every 0") << "EveryN" << QVariant(0) << 1;
    QTest::newRow("every above the top") << "EveryN" << QVariant(1001) << 1000;
    QTest::newRow("every not a number") << "EveryN" << QVariant("often") << 1;
    QTest::newRow("drop above the top") << "DropPercent" << QVariant(150) << 100;
}

void TestAutoReplyCodec::clamps()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    settings->setValue(Prefix + "/Count", 1);
    settings->setValue(Prefix + "/0/" + key, stored);
    const AutoReplyRule rule = AutoReplyCodec::load(*settings, Prefix).rules.value(0);
    const QHash<QString, int> fields = {
        {"Match", int(rule.match)},     {"ReplyFormat", rule.replyFormat},
        {"DelayMs", rule.delayMs},      {"Checksum", rule.checksum},
        {"MaxHits", rule.maxHits},      {"EveryN", rule.everyN},
        {"DropPercent", rule.dropPercent}};
    QTEST(fields.value(key), "loaded");
}

void TestAutoReplyCodec::missingKeysGiveDefaults()
{
    settings->setValue(Prefix + "/Count", "2");
    const AutoReplyConfig config = AutoReplyCodec::load(*settings, Prefix);
    QVERIFY(!config.playDead);
    QVERIFY(config.showNotes);
    QCOMPARE(config.rules.size(), 2);
    QCOMPARE(config.rules.at(1), AutoReplyRule());

    settings->setValue(Prefix + "/Count", -4);
    QVERIFY(AutoReplyCodec::load(*settings, Prefix).rules.isEmpty());
}

void TestAutoReplyCodec::firstRulesOfALongList()
{
    settings->setValue(Prefix + "/Count", 300);
    for (int i = 0; i < 300; ++i) {
        settings->setValue(Prefix + QStringLiteral("/%1/Pattern").arg(i), QString::number(i));
    }
    const AutoReplyConfig config = AutoReplyCodec::load(*settings, Prefix);
    QCOMPARE(config.rules.size(), 256);
    QCOMPARE(config.rules.last().pattern, QStringLiteral("255"));
}

void TestAutoReplyCodec::shorterSaveLeavesNoStaleKeys_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");
    QTest::addColumn<int>("storedCount"); // what the store claims before the second save
    QTest::newRow("five to two") << 5 << 2 << 5;
    QTest::newRow("one to none") << 1 << 0 << 1;
    QTest::newRow("count understated in the file") << 6 << 3 << 4;
    QTest::newRow("same length") << 3 << 3 << 3;
}

void TestAutoReplyCodec::shorterSaveLeavesNoStaleKeys()
{
    QFETCH(int, before);
    QFETCH(int, after);
    QFETCH(int, storedCount);
    settings->setValue(QStringLiteral("Port3/Other"), 1);
    AutoReplyConfig config;
    for (int i = 0; i < before; ++i) {
        config.rules.append(sampleRule(i));
    }
    AutoReplyCodec::save(*settings, Prefix, config);
    settings->setValue(Prefix + "/Count", storedCount);

    config.rules.resize(after);
    AutoReplyCodec::save(*settings, Prefix, config);
    settings->sync();

    QSettings reread(settings->fileName(), QSettings::IniFormat);
    reread.beginGroup(Prefix);
    QStringList expectedGroups;
    for (int i = 0; i < after; ++i) {
        expectedGroups << QString::number(i);
    }
    QStringList groups = reread.childGroups();
    std::sort(groups.begin(), groups.end());
    QCOMPARE(groups, expectedGroups);
    reread.endGroup();
    // The rule numbered exactly the new count is gone too, and nothing else is touched.
    QVERIFY(!reread.contains(Prefix + QStringLiteral("/%1/Pattern").arg(after)));
    QCOMPARE(reread.value(QStringLiteral("Port3/Other")).toInt(), 1);
    QCOMPARE(AutoReplyCodec::load(reread, Prefix), config);
}

QTEST_APPLESS_MAIN(TestAutoReplyCodec)
#include "tst_autoreplycodec.moc"
