#include "app/multiportsettingdlg.h"
#include "app/newconnection.h"
#include "app/quicksettingseditor.h"
#include "app/settingspanel.h"
#include "app/settingsservice.h"
#include "samplerecords.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>
#include <QtTest>

class TestMultiPortSettingDlg : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void onePagePerConnection_data();
    void onePagePerConnection();
    void commitAllStopsAtTheFirstInvalidPage();
    void okRefusesAnEmptyQuickSettingsChoice();
    void okRefusesAnInvalidPage();
    void restoreDefaultsAsksFirst_data();
    void restoreDefaultsAsksFirst();
    void newConnectionKinds_data();
    void newConnectionKinds();
};

namespace {
struct SeenBox
{
    QString title;
    QString text;
};

// Answers the next modal message box with `answer` once it shows, noting what it said.
void answerNextMessageBox(QMessageBox::StandardButton answer, SeenBox *seen)
{
    auto *poll = new QTimer;
    poll->setInterval(10);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, answer, seen] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box) {
            return;
        }
        seen->title = box->windowTitle();
        seen->text = box->text();
        box->button(answer)->click();
        poll->deleteLater();
    });
    poll->start();
}

void clickOk(MultiPortSettingDlg &dialog)
{
    auto *buttons = dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
    QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
}

FormatSetting loggingTo(const QString &path)
{
    FormatSetting format = SettingsService::defaultFormatSettings();
    format.logSaveFlag = true;
    format.logFilePath = path;
    return format;
}
} // namespace

void TestMultiPortSettingDlg::onePagePerConnection_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("quickSettings");
    QTest::addColumn<QStringList>("tabs"); // empty: the tab widget is hidden
    QTest::newRow("one connection") << 1 << false << QStringList{};
    QTest::newRow("three connections")
        << 3 << false << QStringList{"Connection 1", "Connection 2", "Connection 3"};
    QTest::newRow("one connection and quick settings")
        << 1 << true << QStringList{"Connection 1", "Quick Settings"};
    QTest::newRow("two connections and quick settings")
        << 2 << true << QStringList{"Connection 1", "Connection 2", "Quick Settings"};
    QTest::newRow("quick settings alone") << 0 << true << QStringList{};
}

void TestMultiPortSettingDlg::onePagePerConnection()
{
    QFETCH(int, count);
    QFETCH(bool, quickSettings);
    QFETCH(QStringList, tabs);
    MultiPortSettingDlg dialog(count);
    if (quickSettings) {
        dialog.setQuickSettingsGroups(QuickSettingsGroups());
    }
    QCOMPARE(dialog.count(), count);
    auto *tabWidget = dialog.findChild<QTabWidget *>(QStringLiteral("connectionTabs"));
    QVERIFY(tabWidget);
    QCOMPARE(tabWidget->isVisibleTo(&dialog), !tabs.isEmpty());
    QStringList titles;
    for (int i = 0; i < tabWidget->count(); ++i) {
        titles << tabWidget->tabText(i);
    }
    QCOMPARE(titles, tabs);
    for (int i = 0; i < count; ++i) {
        QVERIFY(dialog.panel(i));
        QVERIFY(dialog.panel(i)->isVisibleTo(&dialog) || tabWidget->indexOf(dialog.panel(i)) > 0);
    }
    QVERIFY(!dialog.panel(count));
    if (quickSettings) {
        QVERIFY(dialog.quickSettings());
        dialog.showQuickSettingsPage();
        QVERIFY(dialog.quickSettings()->isVisibleTo(&dialog));
    }
    // Sized for its pages without a parent to centre on.
    QVERIFY(dialog.width() >= 400);
    QVERIFY(dialog.height() >= 400);
}

void TestMultiPortSettingDlg::commitAllStopsAtTheFirstInvalidPage()
{
    MultiPortSettingDlg dialog(3);
    Settings port;
    FormatSetting format;
    makeUnusual(port, format, 2);
    format.logFilePath = QStringLiteral("/tmp/bench.log");
    dialog.setPortSettings(0, port);
    dialog.setFormatSettings(0, format);
    dialog.setFormatSettings(1, loggingTo(QStringLiteral("ab")));
    dialog.setFormatSettings(2, loggingTo(QStringLiteral("x")));
    dialog.panel(0)->findChild<QCheckBox *>(QStringLiteral("dtrBox"))->setChecked(true);
    QVERIFY(dialog.panel(0)->hasUserEdits());

    QString error;
    QVERIFY(!dialog.commitAll(&error));
    QCOMPARE(error, QString("Please input correct log file name!"));
    auto *tabs = dialog.findChild<QTabWidget *>(QStringLiteral("connectionTabs"));
    QCOMPARE(tabs->currentIndex(), 1);
    // Nothing is committed while one page is refused.
    QVERIFY(dialog.panel(0)->hasUserEdits());

    dialog.setFormatSettings(1, loggingTo(QStringLiteral("abc")));
    QVERIFY(!dialog.commitAll(&error));
    QCOMPARE(tabs->currentIndex(), 2);

    dialog.setFormatSettings(2, loggingTo(QStringLiteral("/var/log/x.log")));
    QVERIFY(dialog.commitAll(&error));
    QVERIFY(!dialog.panel(0)->hasUserEdits());
    Settings expected = port;
    expected.dtrOn = true;
    QCOMPARE(dialog.portSettings(0), expected);
    QCOMPARE(dialog.formatSettings(0), format);
    QCOMPARE(dialog.formatSettings(1).logFilePath, QString("abc"));
}

void TestMultiPortSettingDlg::okRefusesAnEmptyQuickSettingsChoice()
{
    MultiPortSettingDlg dialog(1);
    QuickSettingsGroups none;
    for (const QString &group : QuickSettingsGroups::defaultGroupOrder()) {
        none.setGroupVisible(group, false);
    }
    dialog.setQuickSettingsGroups(none);
    QVERIFY(!dialog.quickSettings()->anyGroupChecked());
    dialog.show();

    SeenBox seen;
    answerNextMessageBox(QMessageBox::Ok, &seen);
    clickOk(dialog);
    QCOMPARE(seen.title, QString("Warning"));
    QCOMPARE(seen.text, QString("Select at least one quick settings group to show."));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));

    auto *tree = dialog.findChild<QTreeWidget *>(QStringLiteral("quickSettingsTree"));
    tree->topLevelItem(1)->setCheckState(0, Qt::Checked);
    clickOk(dialog);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(dialog.quickSettingsGroups().groupVisible(QStringLiteral("receive")));
    QVERIFY(!dialog.quickSettingsGroups().groupVisible(QStringLiteral("send")));
}

void TestMultiPortSettingDlg::okRefusesAnInvalidPage()
{
    MultiPortSettingDlg dialog(1);
    dialog.setFormatSettings(0, loggingTo(QStringLiteral("ab")));
    dialog.show();
    SeenBox seen;
    answerNextMessageBox(QMessageBox::Ok, &seen);
    clickOk(dialog);
    QCOMPARE(seen.title, QString("Warning"));
    QCOMPARE(seen.text, QString("Please input correct log file name!"));
    QVERIFY(dialog.isVisible());
}

void TestMultiPortSettingDlg::restoreDefaultsAsksFirst_data()
{
    QTest::addColumn<bool>("confirmed");
    QTest::newRow("confirmed") << true;
    QTest::newRow("declined") << false;
}

void TestMultiPortSettingDlg::restoreDefaultsAsksFirst()
{
    QFETCH(bool, confirmed);
    MultiPortSettingDlg dialog(2);
    Settings port;
    FormatSetting format;
    makeUnusual(port, format, 1);
    for (int i = 0; i < 2; ++i) {
        dialog.setPortSettings(i, port);
        dialog.setFormatSettings(i, format);
    }
    QuickSettingsGroups groups;
    groups.setGroupVisible(QStringLiteral("send"), false);
    dialog.setQuickSettingsGroups(groups);
    QSignalSpy restored(&dialog, &MultiPortSettingDlg::defaultsRestored);
    dialog.show();

    SeenBox seen;
    answerNextMessageBox(confirmed ? QMessageBox::Yes : QMessageBox::No, &seen);
    auto *buttons = dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
    QTest::mouseClick(buttons->button(QDialogButtonBox::RestoreDefaults), Qt::LeftButton);
    QCOMPARE(seen.title, QString("Restore Default Settings"));
    QCOMPARE(restored.count(), confirmed ? 1 : 0);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(dialog.formatSettings(i) == SettingsService::defaultFormatSettings(), confirmed);
        QCOMPARE(dialog.portSettings(i) == port, !confirmed);
    }
    QCOMPARE(dialog.quickSettingsGroups() == QuickSettingsGroups(), confirmed);
}

void TestMultiPortSettingDlg::newConnectionKinds_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("kind");
    QTest::newRow("serial") << 0 << "Serial Port" << int(NewConnection::SerialPortKind);
    QTest::newRow("tcp") << 1 << "TCP/IP" << int(NewConnection::TcpIpKind);
    QTest::newRow("bridge") << 2 << "Bridge (network to serial)" << int(NewConnection::BridgeKind);
}

void TestMultiPortSettingDlg::newConnectionKinds()
{
    QFETCH(int, index);
    QFETCH(QString, text);
    QFETCH(int, kind);
    NewConnection dialog;
    auto *combo = dialog.findChild<QComboBox *>(QStringLiteral("connectionKindCombo"));
    QVERIFY(combo);
    QCOMPARE(combo->count(), 3);
    QCOMPARE(combo->itemText(index), text);
    combo->setCurrentIndex(index);
    QCOMPARE(dialog.kind(), kind);
    QCOMPARE(kind, index);
}

QTEST_MAIN(TestMultiPortSettingDlg)
#include "tst_multiportsettingdlg.moc"
