#include "automation/autoreplydialog.h"
#include "automation/autoreplyruledialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QtTest>

namespace {

const QString ProblemStyle = QStringLiteral("color: #c0392b;");

template<typename T>
T *child(QWidget *parent, const char *name)
{
    T *widget = parent->findChild<T *>(QString::fromLatin1(name));
    if (!widget) {
        qWarning("no child %s", name);
    }
    return widget;
}

AutoReplyRule rule(AutoReplyMatch match, const QString &pattern, const QString &reply,
                   const QString &name = QString())
{
    AutoReplyRule r;
    r.match = match;
    r.pattern = pattern;
    r.reply = reply;
    r.name = name;
    return r;
}

} // namespace

class TestAutoReplyDialogs : public QObject
{
    Q_OBJECT
private slots:
    void rulePreviews_data();
    void rulePreviews();
    void ruleDialogGivesTheEditedRule();
    void listShowsRulesAndFlagsErrors();
    void tryIt_data();
    void tryIt();
    void editAndReorder();
};

void TestAutoReplyDialogs::rulePreviews_data()
{
    QTest::addColumn<int>("match");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<int>("replyFormat");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QString>("patternText");
    QTest::addColumn<QString>("replyText");

    QTest::newRow("text both ways")
        << 0 << "AT\\r\\n" << 0 << "OK\\r\\n" << 0 << "Valid. Matches the bytes 41 54 0D 0A"
        << "Valid. Sends 4 byte(s): 4F 4B 0D 0A";
    QTest::newRow("hex with any byte and a CRC")
        << 1 << "01 03 ?? ??" << 1 << "01 03 00 00 00 01" << 4
        << "Valid. Matches the bytes 01 03 ?? ??" << "Valid. Sends 8 byte(s): 01 03 00 00 00 01 84 0A";
    QTest::newRow("wildcard") << 2 << "A*B?" << 0 << "x" << 0 << "Valid. Matches the bytes 41 * 42 ??"
                              << "Valid. Sends 1 byte(s): 78";
    QTest::newRow("regex matching nothing, silent reply with a checksum")
        << 3 << "a*" << 0 << "" << 5 << "The pattern matches empty input."
        << "Nothing is sent: a match is swallowed, and the rules below it do not see those bytes.";
    QTest::newRow("any byte in a reply")
        << 1 << "01" << 1 << "01 ??" << 0 << "Valid. Matches the bytes 01"
        << "?? (any byte) is only allowed in a pattern, not in a reply.";
}

void TestAutoReplyDialogs::rulePreviews()
{
    QFETCH(int, match);
    QFETCH(QString, pattern);
    QFETCH(int, replyFormat);
    QFETCH(QString, reply);
    QFETCH(int, checksum);
    QFETCH(QString, patternText);
    QFETCH(QString, replyText);

    AutoReplyRuleDialog dialog(AutoReplyRule(), QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    // Typed in, as a user does: the previews follow every change.
    child<QComboBox>(&dialog, "matchCombo")->setCurrentIndex(match);
    child<QLineEdit>(&dialog, "patternEdit")->setText(pattern);
    child<QComboBox>(&dialog, "replyFormatCombo")->setCurrentIndex(replyFormat);
    child<QLineEdit>(&dialog, "replyEdit")->setText(reply);
    child<QComboBox>(&dialog, "checksumCombo")->setCurrentIndex(checksum);

    const QLabel *patternPreview = child<QLabel>(&dialog, "patternPreview");
    const QLabel *replyPreview = child<QLabel>(&dialog, "replyPreview");
    QCOMPARE(patternPreview->text(), patternText);
    QCOMPARE(patternPreview->styleSheet() == ProblemStyle, !patternText.startsWith("Valid."));
    QCOMPARE(replyPreview->text(), replyText);
    QCOMPARE(replyPreview->styleSheet() == ProblemStyle, replyText.startsWith("??"));
}

void TestAutoReplyDialogs::ruleDialogGivesTheEditedRule()
{
    AutoReplyRule original = rule(AutoReplyMatch::Wildcard, "GET *", "200", "Fetch");
    original.enabled = false;
    original.delayMs = 150;
    original.everyN = 3;
    original.maxHits = 7;
    AutoReplyRuleDialog dialog(original, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    QCOMPARE(dialog.rule(), original);
    QCOMPARE(child<QLineEdit>(&dialog, "patternEdit")->text(), QStringLiteral("GET *"));
    QCOMPARE(child<QSpinBox>(&dialog, "everyNSpin")->text(), QStringLiteral("1 in 3 matches"));

    child<QSpinBox>(&dialog, "everyNSpin")->setValue(1);
    QCOMPARE(child<QSpinBox>(&dialog, "everyNSpin")->text(), QStringLiteral("Every match"));
    child<QSpinBox>(&dialog, "maxHitsSpin")->setValue(0);
    QCOMPARE(child<QSpinBox>(&dialog, "maxHitsSpin")->text(), QStringLiteral("No limit"));
    child<QSpinBox>(&dialog, "dropSpin")->setValue(25);
    child<QLineEdit>(&dialog, "nameEdit")->setText("Fetch page");

    AutoReplyRule expected = original;
    expected.everyN = 1;
    expected.maxHits = 0;
    expected.dropPercent = 25;
    expected.name = QStringLiteral("Fetch page");
    QCOMPARE(dialog.rule(), expected); // the enable tick belongs to the list
}

void TestAutoReplyDialogs::listShowsRulesAndFlagsErrors()
{
    AutoReplyConfig config;
    AutoReplyRule hex = rule(AutoReplyMatch::Hex, "01 03", "");
    hex.delayMs = 250;
    config.rules = {hex, rule(AutoReplyMatch::Regex, "a*", "x"), rule(AutoReplyMatch::Text, "Q", "A")};
    AutoReplyEngine live;
    live.setConfig(config, QStringLiteral("UTF-8"), QStringLiteral("UTF-8"));
    live.feed("QQ\x01\x03", QString(), 0);

    AutoReplyDialog dialog(QStringLiteral("COM7"), config, &live);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Auto Reply — COM7"));
    QTableWidget *table = child<QTableWidget>(&dialog, "ruleTable");
    QCOMPARE(table->rowCount(), 3);
    QCOMPARE(table->item(0, 2)->text(), QStringLiteral("Hex: 01 03"));
    QCOMPARE(table->item(0, 3)->text(), QStringLiteral("(silent)"));
    QCOMPARE(table->item(0, 4)->text(), QStringLiteral("250 ms"));
    QCOMPARE(table->item(0, 5)->text(), QStringLiteral("1"));
    QCOMPARE(table->item(2, 5)->text(), QStringLiteral("2"));
    // The invalid rule is flagged, kept, and can be saved.
    QCOMPARE(table->item(1, 2)->text(), QStringLiteral("⚠ The pattern matches empty input."));
    QCOMPARE(dialog.config(), config);

    // The enable tick edits the rule.
    table->item(2, 0)->setCheckState(Qt::Unchecked);
    QVERIFY(!dialog.config().rules.at(2).enabled);
}

void TestAutoReplyDialogs::tryIt_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<bool>("playDead");
    QTest::addColumn<QString>("result");

    QTest::newRow("named rule replies")
        << "AT+VER?\\r\\n" << false << false << "\"Version\" replies: V1.0\\r\\n";
    QTest::newRow("hits in stream order")
        << "ENQ AT+VER?\\r\\nSKIP ENQ" << false << false
        << "Rule 2 replies after 100 ms: 06\n"
           "\"Version\" replies: V1.0\\r\\n\n"
           "Rule 3 matches and stays silent.\n"
           "Rule 2 replies after 100 ms: 06";
    QTest::newRow("every third") << "BUSY" << false << false
                                 << "Rule 4 matches; it answers one match in 3, not this one.";
    QTest::newRow("playing dead") << "ENQ" << false << true
                                  << "Rule 2 matches; playing dead, nothing is sent.";
    QTest::newRow("hex input") << "45 4e 51" << true << false << "Rule 2 replies after 100 ms: 06";
    QTest::newRow("no match") << "hello" << false << false << "No rule matches.";
    QTest::newRow("input error") << "45 4" << true << false
                                 << "\"4\" is not whole bytes: use two hex digits per byte.";
}

void TestAutoReplyDialogs::tryIt()
{
    QFETCH(QString, input);
    QFETCH(bool, hex);
    QFETCH(bool, playDead);

    AutoReplyConfig config;
    config.rules = {rule(AutoReplyMatch::Text, "AT+VER?\\r\\n", "V1.0\\r\\n", "Version"),
                    rule(AutoReplyMatch::Text, "ENQ", "06"),
                    rule(AutoReplyMatch::Wildcard, "SKIP", ""),
                    rule(AutoReplyMatch::Text, "BUSY", "OK")};
    config.rules[1].replyFormat = 1;
    config.rules[1].delayMs = 100;
    config.rules[1].dropPercent = 100; // the test never drops
    config.rules[3].everyN = 3;
    AutoReplyDialog dialog(QStringLiteral("tcp"), config, nullptr);
    child<QCheckBox>(&dialog, "playDeadCheck")->setChecked(playDead);
    child<QLineEdit>(&dialog, "testEdit")->setText(input);
    child<QCheckBox>(&dialog, "testHexCheck")->setChecked(hex);
    child<QPushButton>(&dialog, "testButton")->click();
    QTEST(child<QPlainTextEdit>(&dialog, "testResult")->toPlainText(), "result");
}

void TestAutoReplyDialogs::editAndReorder()
{
    AutoReplyConfig config;
    config.rules = {rule(AutoReplyMatch::Text, "A", "1"), rule(AutoReplyMatch::Text, "B", "2")};
    AutoReplyDialog dialog(QStringLiteral("COM1"), config, nullptr);
    QTableWidget *table = child<QTableWidget>(&dialog, "ruleTable");
    QPushButton *edit = child<QPushButton>(&dialog, "editButton");
    QPushButton *up = child<QPushButton>(&dialog, "upButton");
    QPushButton *down = child<QPushButton>(&dialog, "downButton");
    QVERIFY(!edit->isEnabled());

    table->selectRow(0);
    QVERIFY(edit->isEnabled() && down->isEnabled() && !up->isEnabled());

    // Edit through the rule dialog, made invalid on purpose: flagged, not blocked.
    edit->click();
    auto *ruleDialog = dialog.findChild<AutoReplyRuleDialog *>();
    QVERIFY(ruleDialog && ruleDialog->isVisible());
    child<QComboBox>(ruleDialog, "matchCombo")->setCurrentIndex(3);
    child<QLineEdit>(ruleDialog, "patternEdit")->setText("(x");
    QVERIFY(child<QLabel>(ruleDialog, "patternPreview")->text().startsWith("Invalid regular expression: "));
    ruleDialog->accept();
    QCOMPARE(dialog.config().rules.at(0).pattern, QStringLiteral("(x"));
    QVERIFY(table->item(0, 2)->text().startsWith("⚠ Invalid regular expression: "));

    // A duplicate lands right under its source; moves follow the selection.
    table->selectRow(0);
    child<QPushButton>(&dialog, "duplicateButton")->click();
    QCOMPARE(dialog.config().rules.size(), 3);
    QCOMPARE(dialog.config().rules.at(1).pattern, QStringLiteral("(x"));
    QCOMPARE(dialog.config().rules.at(2).pattern, QStringLiteral("B"));
    table->selectRow(2);
    QVERIFY(!down->isEnabled());
    up->click();
    QCOMPARE(dialog.config().rules.at(1).pattern, QStringLiteral("B"));
    child<QPushButton>(&dialog, "removeButton")->click();
    QCOMPARE(dialog.config().rules.size(), 2);
    QCOMPARE(dialog.config().rules.at(1).pattern, QStringLiteral("(x"));
}

QTEST_MAIN(TestAutoReplyDialogs)
#include "tst_autoreplydialogs.moc"
