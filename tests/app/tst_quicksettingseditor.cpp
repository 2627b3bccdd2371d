#include "app/quicksettingseditor.h"

#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

class TestQuickSettingsEditor : public QObject
{
    Q_OBJECT
private slots:
    void movesStayWithinTheirLevel_data();
    void movesStayWithinTheirLevel();
    void uncheckedFieldsReadBackAsHidden();
    void groupChecksGuardTheChoice_data();
    void groupChecksGuardTheChoice();
    void unchangedTreeGivesBackItsGroups();
};

namespace {
const QString Connection = QStringLiteral("connection");
const QString Receive = QStringLiteral("receive");
const QString Send = QStringLiteral("send");

QTreeWidget *treeOf(const QuickSettingsEditor &editor)
{
    return editor.findChild<QTreeWidget *>(QStringLiteral("quickSettingsTree"));
}

QPushButton *button(const QuickSettingsEditor &editor, const char *name)
{
    return editor.findChild<QPushButton *>(QLatin1String(name));
}

QTreeWidgetItem *itemAt(QTreeWidget *tree, int group, int field)
{
    QTreeWidgetItem *groupItem = tree->topLevelItem(group);
    return field < 0 ? groupItem : groupItem->child(field);
}
} // namespace

void TestQuickSettingsEditor::movesStayWithinTheirLevel_data()
{
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("field"); // -1: the group itself
    QTest::addColumn<int>("step");
    QTest::addColumn<QStringList>("groupOrder");
    QTest::addColumn<QString>("fieldGroup");
    QTest::addColumn<QStringList>("fieldOrder");

    const QStringList groups = QuickSettingsGroups::defaultGroupOrder();
    const QStringList rx = QuickSettingsGroups::defaultFieldOrder(Receive);
    QTest::newRow("group down") << 0 << -1 << 1 << QStringList{Receive, Connection, Send}
                                << Connection << QuickSettingsGroups::defaultFieldOrder(Connection);
    QTest::newRow("group past the top stays") << 0 << -1 << -1 << groups << Receive << rx;
    QTest::newRow("group past the end stays") << 2 << -1 << 1 << groups << Receive << rx;
    QTest::newRow("field up") << 0 << 1 << -1 << groups << Connection
                              << QStringList{"dataBits", "baudRate", "flowControl",
                                             "stopBits", "parity",   "indicatorLights"};
    QTest::newRow("field two down") << 1 << 0 << 2 << groups << Receive
                                    << QStringList{"rxAutoFeed", "rxDisplayTime", "rxFormat"};
    QTest::newRow("field past the end stays") << 1 << 2 << 1 << groups << Receive << rx;
    QTest::newRow("last send field to the top")
        << 2 << 7 << -7 << groups << Send
        << QStringList{"txLineByLine",    "txFormat",   "txLoop",        "txAutoFeed",
                       "txTerminalEnter", "txChecksum", "txDisplaySend", "txLocalEcho"};
}

void TestQuickSettingsEditor::movesStayWithinTheirLevel()
{
    QFETCH(int, group);
    QFETCH(int, field);
    QFETCH(int, step);
    QFETCH(QStringList, groupOrder);
    QFETCH(QString, fieldGroup);
    QFETCH(QStringList, fieldOrder);

    QuickSettingsEditor editor;
    QTreeWidget *tree = treeOf(editor);
    QVERIFY(tree);
    QTreeWidgetItem *moved = itemAt(tree, group, field);
    tree->setCurrentItem(moved);
    editor.moveCurrent(step);

    const QuickSettingsGroups result = editor.groups();
    QCOMPARE(result.groupOrder(), groupOrder);
    QCOMPARE(result.fieldOrder(fieldGroup), fieldOrder);
    // The moved item is still current and keeps its children; the buttons follow it.
    QCOMPARE(tree->currentItem(), moved);
    QCOMPARE(tree->topLevelItemCount(), 3);
    const int index =
        moved->parent() ? moved->parent()->indexOfChild(moved) : tree->indexOfTopLevelItem(moved);
    const int count = moved->parent() ? moved->parent()->childCount() : 3;
    QCOMPARE(button(editor, "quickSettingsMoveUpButton")->isEnabled(), index > 0);
    QCOMPARE(button(editor, "quickSettingsMoveDownButton")->isEnabled(), index < count - 1);
    for (const QString &id : groupOrder) {
        QCOMPARE(result.fieldOrder(id).size(), QuickSettingsGroups::defaultFieldOrder(id).size());
    }
}

void TestQuickSettingsEditor::uncheckedFieldsReadBackAsHidden()
{
    QuickSettingsEditor editor;
    QSignalSpy changes(&editor, &QuickSettingsEditor::changed);
    QTreeWidget *tree = treeOf(editor);
    itemAt(tree, 0, 4)->setCheckState(0, Qt::Unchecked); // parity
    itemAt(tree, 2, 4)->setCheckState(0, Qt::Unchecked); // txChecksum
    QCOMPARE(changes.count(), 2);

    const QuickSettingsGroups groups = editor.groups();
    QCOMPARE(groups.hiddenFields(Connection), QStringList{"parity"});
    QCOMPARE(groups.hiddenFields(Send), QStringList{"txChecksum"});
    QVERIFY(!groups.fieldVisible(Connection, "parity"));
    QVERIFY(groups.fieldVisible(Connection, "baudRate"));
    QVERIFY(!groups.visibleFields(Send).contains("txChecksum"));
    QVERIFY(groups.visibleFields(Receive) == QuickSettingsGroups::defaultFieldOrder(Receive));
    // A hidden field keeps its place in the order.
    QCOMPARE(groups.fieldOrder(Connection), QuickSettingsGroups::defaultFieldOrder(Connection));

    itemAt(tree, 0, 4)->setCheckState(0, Qt::Checked);
    QVERIFY(editor.groups().fieldVisible(Connection, "parity"));
}

void TestQuickSettingsEditor::groupChecksGuardTheChoice_data()
{
    QTest::addColumn<QStringList>("unchecked");
    QTest::addColumn<bool>("anyChecked");
    QTest::newRow("none") << QStringList{} << true;
    QTest::newRow("receive") << QStringList{Receive} << true;
    QTest::newRow("two") << QStringList{Connection, Send} << true;
    QTest::newRow("all three") << QStringList{Connection, Receive, Send} << false;
}

void TestQuickSettingsEditor::groupChecksGuardTheChoice()
{
    QFETCH(QStringList, unchecked);
    QFETCH(bool, anyChecked);
    QuickSettingsEditor editor;
    QTreeWidget *tree = treeOf(editor);
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QTreeWidgetItem *group = tree->topLevelItem(g);
        if (unchecked.contains(group->data(0, Qt::UserRole).toString())) {
            group->setCheckState(0, Qt::Unchecked);
        }
    }
    QCOMPARE(editor.anyGroupChecked(), anyChecked);
    const QuickSettingsGroups groups = editor.groups();
    QCOMPARE(groups.anyGroupVisible(), anyChecked);
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QTreeWidgetItem *group = tree->topLevelItem(g);
        const QString id = group->data(0, Qt::UserRole).toString();
        const bool shown = !unchecked.contains(id);
        QCOMPARE(groups.groupVisible(id), shown);
        // The fields of an unchecked group cannot be edited, but keep their checks.
        for (int f = 0; f < group->childCount(); ++f) {
            QCOMPARE(group->child(f)->flags().testFlag(Qt::ItemIsEnabled), shown);
            QCOMPARE(group->child(f)->checkState(0), Qt::Checked);
        }
    }
}

void TestQuickSettingsEditor::unchangedTreeGivesBackItsGroups()
{
    QuickSettingsGroups groups;
    groups.setGroupOrder({Send, Connection, Receive});
    groups.setGroupVisible(Receive, false);
    groups.setFieldOrder(Connection, {"parity", "baudRate"}); // the rest in default order
    groups.setHiddenFields(Send, {"txLoop", "txLineByLine"});
    groups.setFieldOrder("controlLines", {"dtr", "rts"}); // not in the tree, carried along
    groups.setHiddenFields("controlLines", {"ri"});

    QuickSettingsEditor editor;
    editor.setGroups(groups);
    QTreeWidget *tree = treeOf(editor);
    QCOMPARE(itemAt(tree, 0, -1)->text(0), QString("Send Settings"));
    QCOMPARE(itemAt(tree, 1, 0)->text(0), QString("Parity"));
    QCOMPARE(itemAt(tree, 0, 1)->checkState(0), Qt::Unchecked); // txLoop
    QVERIFY(editor.groups() == groups);

    editor.setGroups(QuickSettingsGroups());
    QVERIFY(editor.groups() == QuickSettingsGroups());
}

QTEST_MAIN(TestQuickSettingsEditor)
#include "tst_quicksettingseditor.moc"
