#include "samplerecords.h"
#include "session/quicksettingsgroups.h"

#include <QStandardPaths>
#include <QtTest>

class TestQuickSettingsGroups : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void groupOrderFromFile_data();
    void groupOrderFromFile();
    void visibleFields_data();
    void visibleFields();
    void roundTripAndStaleLists();

private:
    QTemporaryDir dir;
};

void TestQuickSettingsGroups::groupOrderFromFile_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QStringList>("order");
    const QStringList standard = {"connection", "receive", "send"};
    QTest::newRow("absent") << QByteArray() << standard;
    QTest::newRow("empty list") << QByteArray("GroupOrder=@Invalid()") << standard;
    QTest::newRow("partial, the rest in default order")
        << QByteArray("GroupOrder=send") << QStringList({"send", "connection", "receive"});
    QTest::newRow("unknown, repeated, padded and miscased ids")
        << QByteArray("GroupOrder=bogus, send, send, \" receive \", Connection")
        << QStringList({"send", "receive", "connection"});
    QTest::newRow("a field group is no group") << QByteArray("GroupOrder=controlLines, receive")
                                               << QStringList({"receive", "connection", "send"});
}

void TestQuickSettingsGroups::groupOrderFromFile()
{
    QFETCH(QByteArray, stored);
    QSettings in(writeFile(dir, "[QuickSettings]\n" + stored + "\n"), QSettings::IniFormat);
    QTEST(QuickSettingsGroups::load(in).groupOrder(), "order");
}

void TestQuickSettingsGroups::visibleFields_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QStringList>("order");
    QTest::addColumn<QStringList>("hidden");
    QTest::addColumn<QStringList>("visible");
    QTest::newRow("stored order first, unknown dropped, the rest after")
        << "receive" << QStringList({"rxDisplayTime", "nonsense", "rxFormat", "rxDisplayTime"})
        << QStringList() << QStringList({"rxDisplayTime", "rxFormat", "rxAutoFeed"});
    QTest::newRow("send reordered with hidden fields")
        << "send" << QStringList({"txLineByLine", "txFormat"})
        << QStringList({"txFormat", "txChecksum", "unknown"})
        << QStringList({"txLineByLine", "txLoop", "txAutoFeed", "txTerminalEnter", "txDisplaySend",
                        "txLocalEcho"});
    QTest::newRow("a group without known fields keeps its stored order")
        << "controlLines" << QStringList({"rts", "dtr", "rts"}) << QStringList({"dtr"})
        << QStringList({"rts"});
}

void TestQuickSettingsGroups::visibleFields()
{
    QFETCH(QString, group);
    QFETCH(QStringList, order);
    QFETCH(QStringList, hidden);
    QFETCH(QStringList, visible);
    QuickSettingsGroups groups;
    groups.setFieldOrder(group, order);
    for (const QString &field : hidden) {
        groups.setFieldVisible(group, field, false);
    }
    QCOMPARE(groups.visibleFields(group), visible);
    for (const QString &field : groups.fieldOrder(group)) {
        QCOMPARE(groups.fieldVisible(group, field), visible.contains(field));
    }
    // Hiding in one group leaves the others alone.
    const QString other = group == "send" ? "receive" : "send";
    QCOMPARE(groups.visibleFields(other), QuickSettingsGroups::defaultFieldOrder(other));
    for (const QString &field : hidden) {
        groups.setFieldVisible(group, field, true);
    }
    QVERIFY(groups.hiddenFields(group).isEmpty());
}

void TestQuickSettingsGroups::roundTripAndStaleLists()
{
    QuickSettingsGroups groups;
    groups.setGroupVisible("receive", false);
    groups.setGroupVisible("send", false);
    groups.setGroupVisible("bogus", false);
    QVERIFY(groups.anyGroupVisible());
    groups.setGroupOrder({"receive", "send"});
    groups.setFieldOrder("connection", {"parity", "baudRate"});
    groups.setHiddenFields("controlLines", {"dtr", "rts"});
    groups.setHiddenFields("receive", {});

    const QString path = dir.filePath("groups.ini");
    QSettings settings(path, QSettings::IniFormat);
    QuickSettingsGroups::save(settings, groups);
    settings.setValue("QuickSettingsEditor/Width", 300); // a neighbour that must stay
    settings.sync();
    QSettings in(reparsedCopy(path), QSettings::IniFormat);
    const QuickSettingsGroups loaded = QuickSettingsGroups::load(in);
    QVERIFY(loaded == groups);
    QVERIFY(loaded.hasStoredHiddenFields("receive") && !loaded.hasStoredFieldOrder("receive"));
    QCOMPARE(loaded.groupOrder(), QStringList({"receive", "send", "connection"}));

    QuickSettingsGroups::save(settings, QuickSettingsGroups());
    QVERIFY(!settings.contains("QuickSettings/Fields/controlLines/Hidden"));
    QVERIFY(!settings.contains("QuickSettings/Fields/connection/Order"));
    QVERIFY(settings.contains("QuickSettingsEditor/Width"));
    QVERIFY(QuickSettingsGroups::load(settings) == QuickSettingsGroups());
}

QTEST_GUILESS_MAIN(TestQuickSettingsGroups)
#include "tst_quicksettingsgroups.moc"
