#include "app/mainwindow.h"
#include "app/multiportsettingdlg.h"
#include "app/newconnection.h"
#include "automation/autoreplyengine.h"
#include "bridge/bridgecodec.h"
#include "bridge/bridgedialog.h"
#include "recording/recordsessiondialog.h"
#include "recording/replayreader.h"
#include "recording/replaysource.h"
#include "recording/replaywindow.h"
#include "recording/sessionrecording.h"
#include "session/scriptportlink.h"
#include "app/scriptwindow.h"
#include "session/serialportwidget.h"
#include "support/testsupport.h"
#include "tools/toolbox.h"

#include <QAbstractButton>
#include <QAction>
#include <QDesktopServices>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QMessageBox>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

// Receives the URLs the program asks the desktop to open.
class UrlCatcher : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl &url) { urls << url; }
};

class TestMainWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        // The application settings of this run are its own: other suites and other
        // runs on the machine neither see nor change them.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    }
    void gridRows_data();
    void gridRows();
    void viewActionsFollowTheShape_data();
    void viewActionsFollowTheShape();
    void lastPanelCannotBeRemoved();
    void tabsSurviveRemoval();
    void rowHandlesMoveTogether();
    void noticeHistoryAndTimeouts();
    void liveSyncSummarizes();
    void toolBoxFrameGoesToTheFocusedSendBox();
    void hiddenFieldsLeaveEveryPaneAndKeepTheirValue();
    void projectRoundTripRestoresTheBench();
    void projectLimitsAreClamped_data();
    void projectLimitsAreClamped();
    void restartOpensTheLastProject();
    void unsavedChangesAreNotLostOrSavedUnasked();
    void newConnectionAddsTheChosenKind();
    void scriptRunsOnAPortAndOutlivesItsWindow();
    void commandPanelActsOnTheFocusedPort();
    void settingsOfARunningPortApplyOrWait();
    void logLinkOpensTheFocusedPortsLog();
    void recordsEveryPortAndOpensTheRecording();

private:
    QTemporaryDir settingsDir;
};

void TestMainWindow::gridRows_data()
{
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QList<int>>("rows");
    QTest::newRow("5 in grid") << 5 << 2 << QList<int>{2, 2, 1};
    QTest::newRow("4 in a row") << 4 << 4 << QList<int>{4};
    QTest::newRow("3 in a column") << 3 << 1 << QList<int>{1, 1, 1};
    QTest::newRow("16 by 4") << 16 << 4 << QList<int>{4, 4, 4, 4};
    QTest::newRow("custom above count") << 3 << 8 << QList<int>{3};
}

void TestMainWindow::gridRows()
{
    QFETCH(int, ports);
    QFETCH(int, columns);
    QFETCH(QList<int>, rows);
    MainWindow window;
    window.setPortCount(ports);
    window.setColumnCount(columns);
    window.updateGrid();
    for (int r = 0; r < rows.size(); ++r) {
        auto *row = window.findChild<QSplitter *>(QStringLiteral("portRowSplitter%1").arg(r));
        QVERIFY(row);
        QVERIFY(!row->isHidden());
        QCOMPARE(row->count(), rows.at(r));
        // Panels keep their index order across rows.
        for (int c = 0; c < row->count(); ++c) {
            auto *port = qobject_cast<SerialPortWidget *>(row->widget(c));
            QVERIFY(port);
            QCOMPARE(port->portNumber(), r * std::min(ports, columns) + c);
        }
    }
    // Rows beyond those in use are hidden, not deleted.
    auto *extra =
        window.findChild<QSplitter *>(QStringLiteral("portRowSplitter%1").arg(rows.size()));
    QVERIFY(!extra || extra->isHidden());
}

void TestMainWindow::viewActionsFollowTheShape_data()
{
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QStringList>("checked");
    QTest::newRow("grid of 5") << 5 << 2 << QStringList{"acViewGrid"};
    QTest::newRow("two side by side") << 2 << 2 << QStringList{"acViewHorizontal"};
    QTest::newRow("custom 8 with 3") << 3 << 8 << QStringList{"acViewHorizontal"};
    QTest::newRow("custom 3 with 7") << 7 << 3 << QStringList{"acViewCustom"};
    QTest::newRow("one column") << 4 << 1 << QStringList{"acViewVertical"};
}

void TestMainWindow::viewActionsFollowTheShape()
{
    QFETCH(int, ports);
    QFETCH(int, columns);
    QFETCH(QStringList, checked);
    MainWindow window;
    window.setPortCount(ports);
    window.setColumnCount(columns);
    window.updateGrid();
    for (const QString name :
         {"acViewHorizontal", "acViewVertical", "acViewGrid", "acViewCustom", "acViewTabs"}) {
        QVERIFY(window.viewAction(name));
        QCOMPARE(window.viewAction(name)->isChecked(), checked.contains(name));
    }
}

void TestMainWindow::lastPanelCannotBeRemoved()
{
    MainWindow window;
    QCOMPARE(window.portCount(), 1);
    window.releaseStartupNotices();
    QCoreApplication::processEvents();
    window.on_acEditRemove_triggered();
    QCOMPARE(window.portCount(), 1);
    QVERIFY(window.portWidget(0));
    QCOMPARE(window.portWidget(0)->statusBar()->currentMessage(), QString("Port Number = 1"));

    window.addConnectionHook = [](MultiPortSettingDlg &dialog) {
        Settings settings = dialog.portSettings(0);
        settings.connMode = ModeUdpServer;
        dialog.setPortSettings(0, settings);
        return true;
    };
    window.on_acEditAdd_triggered();
    window.on_acEditAdd_triggered();
    QCOMPARE(window.portCount(), 3);
    QCOMPARE(window.portWidget(2)->settings().connMode, ModeUdpServer);
    QCOMPARE(window.columnCount(), 3);
    QCOMPARE(window.portWidget(2)->consolePortKey(), QString("udps-2"));
    window.on_acEditRemove_triggered();
    QCOMPARE(window.portCount(), 2);
    QVERIFY(!window.portWidget(2));
    QCOMPARE(window.columnCount(), 2);
    QVERIFY(window.viewAction("acViewHorizontal")->isChecked());
}

void TestMainWindow::tabsSurviveRemoval()
{
    MainWindow window;
    window.setPortCount(4);
    window.setColumnCount(2);
    window.on_acViewTabs_triggered();
    auto *tabs = window.findChild<QTabWidget *>("portTabs");
    QVERIFY(tabs);
    QCOMPARE(tabs->count(), 4);
    QVERIFY(tabs->tabText(0).startsWith("1: "));
    window.on_acEditRemove_triggered();
    QVERIFY(window.isTabLayout());
    QCOMPARE(tabs->count(), 3);
    QCOMPARE(window.columnCount(), 2);
    QVERIFY(window.viewAction("acViewTabs")->isChecked());
    window.on_acViewGrid_triggered();
    QVERIFY(tabs->isHidden());
    QCOMPARE(window.findChild<QSplitter *>("portRowSplitter0")->count(), 2);
}

void TestMainWindow::rowHandlesMoveTogether()
{
    MainWindow window;
    window.resize(2600, 900);
    window.setPortCount(4);
    window.setColumnCount(2);
    window.updateGrid();
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *row0 = window.findChild<QSplitter *>("portRowSplitter0");
    auto *row1 = window.findChild<QSplitter *>("portRowSplitter1");
    const QList<int> before = row1->sizes();
    row0->setSizes({1600, 1000});
    Q_EMIT row0->splitterMoved(300, 1);
    QCOMPARE(row1->sizes(), row0->sizes());
    QVERIFY(row1->sizes() != before);
}

void TestMainWindow::noticeHistoryAndTimeouts()
{
    MainWindow window;
    for (int i = 0; i < 101; ++i) {
        window.recordStatusNotice(QStringLiteral("notice %1").arg(i), MainWindow::NoticeInfo);
    }
    QCOMPARE(window.noticeHistory().size(), 100);
    QCOMPARE(window.noticeHistory().first().text, QString("notice 1"));
    QCOMPARE(window.noticeHistory().last().text, QString("notice 100"));

    window.releaseStartupNotices();
    QCoreApplication::processEvents();
    const int first = window.showStatusNotice("stays", MainWindow::NoticeWarning, 0);
    QTest::qWait(50);
    QCOMPARE(window.currentNoticeText(), QString("stays"));
    const int second = window.showStatusNotice("short", MainWindow::NoticeInfo, 30);
    QVERIFY(second > first);
    // An old id cannot clear a newer notice.
    window.dismissStatusNotice(first);
    QCOMPARE(window.currentNoticeText(), QString("short"));
    QTRY_COMPARE_WITH_TIMEOUT(window.currentNoticeText(), QString(), 5000);
    const int third = window.showStatusNotice("dismiss me", MainWindow::NoticeError, 0);
    window.dismissStatusNotice(third);
    QCOMPARE(window.currentNoticeText(), QString());
    QCOMPARE(MainWindow::statusBarAccent(MainWindow::NoticeError), QString("#d32f2f"));
    QCOMPARE(MainWindow::statusBarAccent(MainWindow::NoticeWarning), QString("#b26a00"));
}

void TestMainWindow::liveSyncSummarizes()
{
    MainWindow window;
    auto *label = window.findChild<QLabel *>("liveSyncLabel");
    QVERIFY(label);
    QCOMPARE(label->text(), QString("Live Sync"));

    LiveSyncState idle;
    LiveSyncState shared{LiveSyncState::Shared, 0, "TCP :6000", {}};
    LiveSyncState used{LiveSyncState::InUse, 2, "RFC 2217 :2217", {}};
    LiveSyncState used2{LiveSyncState::InUse, 1, "Live Console", {}};
    QCOMPARE(LiveSyncStatus::summarize({idle}).text(), QString("Live Sync"));
    QCOMPARE(LiveSyncStatus::summarize({shared}).text(), QString("Shared"));
    const LiveSyncSummary summary = LiveSyncStatus::summarize({shared, used, idle, used2});
    QCOMPARE(summary.text(), QString("In use ×2"));
    QCOMPARE(summary.clientCount, 3);
    QCOMPARE(summary.firstActiveName, QString("RFC 2217 :2217"));
    QCOMPARE(summary.tooltipLines.size(), 3);

    // A left click opens the menu, as the tooltip says.
    QStringList menuTexts;
    QTimer::singleShot(0, this, [&] {
        if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
            for (QAction *action : menu->actions()) {
                menuTexts << action->text();
            }
            menu->close();
        }
    });
    QTest::mouseClick(label, Qt::LeftButton);
    QVERIFY(menuTexts.contains("RFC 2217 Server..."));
}

void TestMainWindow::toolBoxFrameGoesToTheFocusedSendBox()
{
    MainWindow window;
    ToolBox *toolBox = window.openToolBox();
    QVERIFY(toolBox);
    QVERIFY(window.openAsciiChart());
    Q_EMIT toolBox->insertRequested("31 32 33 4B 37");
    QCOMPARE(window.portWidget(0)->sendText(), QString("31 32 33 4B 37"));
    QCOMPARE(window.portWidget(0)->formatSettings().sendMsgFormat, HexFormat);
}

void TestMainWindow::projectRoundTripRestoresTheBench()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("bench.vlm");
    {
        MainWindow window;
        window.setPortCount(4);
        window.setColumnCount(2);
        window.on_acViewTabs_triggered();
        for (int i = 0; i < 4; ++i) {
            Settings settings = window.portWidget(i)->settings();
            settings.connMode = i % 2 ? ModeTcpClient : ModeSerial;
            settings.name = QStringLiteral("/dev/ttyUSB%1").arg(i);
            settings.targetHost = "10.0.0.7";
            settings.targetPort = 7000 + i;
            settings.baudRate = 115200;
            window.portWidget(i)->applySettings(settings);
            FormatSetting format = window.portWidget(i)->formatSettings();
            format.receiveMsgFormat = i == 3 ? HexFormat : TextFormat;
            format.sendEncoding = "GBK";
            format.sendChecksum = 4;
            window.portWidget(i)->applyFormatSetting(format);
            window.portWidget(i)->setSendHistory({QStringLiteral("hello %1").arg(i), "AT"});
            AutoReplyConfig rules;
            AutoReplyRule rule;
            rule.pattern = QStringLiteral("PING%1").arg(i);
            rule.reply = "PONG";
            rules.rules = {rule};
            window.portWidget(i)->setAutoReplyConfig(rules);
        }
        CommandLibrary library;
        CommandGroup group;
        group.name = "Sensors";
        Command command;
        command.name = "read";
        command.text = "R?";
        group.commands = {command};
        library.groups = {group};
        window.setCommandLibrary(library);
        ScriptLibrary scripts;
        scripts.scripts = {{"probe", "sendLine(\"AT\")\nexpect(\"OK\")\n"}};
        window.setScriptLibrary(scripts);
        // A dragged division of a panel is kept in its record.
        window.resize(1800, 900);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto *split = window.portWidget(0)->findChild<QSplitter *>("splitter");
        split->setSizes({800, 800});
        Q_EMIT split->splitterMoved(800, 1);
        QCOMPARE(window.portWidget(0)->formatSettings().splitterLeft,
                 window.portWidget(0)->formatSettings().splitterRight);
        QVERIFY(window.saveFile(path, false));
        QVERIFY(!window.isWindowModified());
        QCOMPARE(window.windowTitle(),
                 QString("bench.vlm[*] - ") + QCoreApplication::applicationName());
    }
    BridgeConfig bridge;
    bridge.name = "relay";
    bridge.portB = 2;
    {
        QSettings file(path, QSettings::IniFormat);
        BridgeCodec::save(file, {bridge});
    }
    MainWindow window;
    // What the bench showed before is not part of the project.
    window.portWidget(0)->pushByteArray("before", true, Received, QString());
    QVERIFY(window.loadFile(path));
    QCOMPARE(window.portCount(), 4);
    QCOMPARE(window.columnCount(), 2);
    QVERIFY(window.isTabLayout());
    QCOMPARE(window.portWidget(0)->rxByteCount(), qint64(0));
    QCOMPARE(window.portWidget(0)->pendingDisplayRecords(), qsizetype(0));
    // The panel takes the stored division (the default gives the data five sixths).
    window.resize(1800, 900);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QList<int> sizes = window.portWidget(0)->findChild<QSplitter *>("splitter")->sizes();
    QVERIFY2(qAbs(sizes.at(0) - sizes.at(1)) < sizes.at(1) / 5,
             qPrintable(QString("%1 %2").arg(sizes.at(0)).arg(sizes.at(1))));
    for (int i = 0; i < 4; ++i) {
        const SerialPortWidget *port = window.portWidget(i);
        QCOMPARE(port->settings().connMode, i % 2 ? ModeTcpClient : ModeSerial);
        QCOMPARE(port->settings().targetPort, 7000 + i);
        QCOMPARE(port->settings().baudRate, 115200);
        QCOMPARE(port->formatSettings().receiveMsgFormat, i == 3 ? HexFormat : TextFormat);
        QCOMPARE(port->formatSettings().sendEncoding, QString("GBK"));
        QCOMPARE(port->formatSettings().sendChecksum, 4);
        QCOMPARE(port->sendHistory(), QStringList({QStringLiteral("hello %1").arg(i), "AT"}));
        QCOMPARE(port->autoReplyConfig().rules.size(), 1);
        QCOMPARE(port->autoReplyConfig().rules.first().pattern, QStringLiteral("PING%1").arg(i));
    }
    QCOMPARE(window.library().groups.size(), 1);
    QCOMPARE(window.library().groups.first().commands.first().text, QString("R?"));
    QCOMPARE(window.scripts().scripts.size(), 1);
    QCOMPARE(window.scripts().scripts.first().source, QString("sendLine(\"AT\")\nexpect(\"OK\")\n"));
    // Bridges come back with the project, and are saved again, but never enabled by a load.
    QVERIFY(window.writeSettingFile(dir.filePath("again.vlm"), false));
    bridge.enabled = false;
    QCOMPARE(BridgeCodec::load(QSettings(dir.filePath("again.vlm"), QSettings::IniFormat)),
             QList<BridgeConfig>{bridge});
    QVERIFY(!window.loadFile(dir.filePath("missing.vlm")));
    QCOMPARE(window.portCount(), 4);

    // A file of random bytes, or some text, is refused, and the bench stays as it is.
    QByteArray noise(2048, Qt::Uninitialized);
    for (int i = 0; i < noise.size(); ++i) {
        noise[i] = char((i * 131 + 7) % 256);
    }
    for (const QByteArray &content : {noise, QByteArray("just some notes\nabout a board\n")}) {
        QFile other(dir.filePath("other.vlm"));
        QVERIFY(other.open(QIODevice::WriteOnly | QIODevice::Truncate));
        other.write(content);
        other.close();
        QVERIFY(!window.loadFile(other.fileName()));
        QCOMPARE(window.portCount(), 4);
        QCOMPARE(window.currentFileName(), path);
        QCOMPARE(window.portWidget(2)->settings().targetPort, 7002);
        QCOMPARE(window.noticeHistory().last().text,
                 QDir::toNativeSeparators(other.fileName()) + " is not a Velmora project file.");
    }
}

void TestMainWindow::projectLimitsAreClamped_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<int>("ports");
    QTest::addColumn<int>("mode5");
    QTest::newRow("too many ports") << QByteArray("[General]\nPortNumber=99\n") << 16 << 0;
    QTest::newRow("no ports") << QByteArray("[General]\nPortNumber=0\n") << 1 << -1;
    QTest::newRow("unknown mode") << QByteArray("[General]\nPortNumber=6\n[5]\nConnMode=42\n") << 6
                                  << 0;
}

void TestMainWindow::projectLimitsAreClamped()
{
    QFETCH(QByteArray, ini);
    QFETCH(int, ports);
    QFETCH(int, mode5);
    QTemporaryDir dir;
    QFile file(dir.filePath("hand.vlm"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(ini);
    file.close();
    MainWindow window;
    QVERIFY(window.loadFile(file.fileName()));
    QCOMPARE(window.portCount(), ports);
    // What had to be replaced is said once, naming the first key.
    QVERIFY(!window.noticeHistory().isEmpty());
    QVERIFY2(window.noticeHistory().last().text.startsWith(
                 "hand.vlm: 1 values were out of range and were replaced (first: "),
             qPrintable(window.noticeHistory().last().text));
    // A project without scripts starts with the samples.
    QCOMPARE(window.scripts().scripts.size(), ScriptLibrary::SampleCount);
    if (mode5 >= 0) {
        QCOMPARE(int(window.portWidget(5)->settings().connMode), mode5);
    }
}

// After a restart the last project is loaded, not only named; a last file that is no
// project leaves the window untitled, so that Save cannot write over it.
void TestMainWindow::restartOpensTheLastProject()
{
    QTemporaryDir dir;
    QSettings().setValue("CONFIG_FILE_PATH", dir.filePath("state.ini"));
    const QString path = dir.filePath("four.vlm");
    {
        MainWindow window;
        window.setPortCount(4);
        window.setColumnCount(4);
        window.updateGrid();
        for (int i = 0; i < 4; ++i) {
            Settings settings = window.portWidget(i)->settings();
            settings.connMode = ModeTcpClient;
            settings.targetHost = "10.0.0.9";
            settings.targetPort = 5000 + i;
            window.portWidget(i)->applySettings(settings);
        }
        Command command;
        command.name = "info";
        command.text = "ATI";
        CommandGroup group;
        group.name = "Modem";
        group.commands = {command};
        CommandLibrary library;
        library.groups = {group};
        window.setCommandLibrary(library);
        QVERIFY(window.saveFile(path, false));
        window.writeSettings();
    }
    {
        MainWindow window;
        QCOMPARE(window.currentFileName(), path);
        QVERIFY(window.windowTitle().startsWith("four.vlm[*]"));
        QVERIFY(!window.isWindowModified());
        QCOMPARE(window.portCount(), 4);
        QCOMPARE(window.portWidget(3)->settings().targetPort, 5003);
        QCOMPARE(window.library().groups.value(0).commands.value(0).text, QString("ATI"));
    }
    // The file is overwritten by something that is no project.
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("\x89PNG\r\n\x1a\n not a project");
    file.close();
    {
        MainWindow window;
        QVERIFY(window.currentFileName().isEmpty());
        QCOMPARE(window.portCount(), 1);
    }
    QSettings().remove("CONFIG_FILE_PATH");
}

// Quit, Open, Recent and New ask before unsaved changes go; nothing is saved unasked.
void TestMainWindow::unsavedChangesAreNotLostOrSavedUnasked()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("bench.vlm");
    MainWindow window;
    QVERIFY(window.saveFile(path, false));
    const QByteArray saved = [&] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();
    QStringList asked;
    int answer = QMessageBox::Cancel;
    window.saveChangesHook = [&](const QString &question) {
        asked << question;
        return answer;
    };
    // Unmodified, nothing is asked.
    window.on_acFileNew_triggered();
    QVERIFY(asked.isEmpty());
    QVERIFY(window.loadFile(path));

    window.on_acViewTabs_triggered();
    QVERIFY(window.isWindowModified());
    QVERIFY(!window.close());
    QCOMPARE(asked, QStringList{"Save changes to bench.vlm?"});
    window.on_acFileNew_triggered();
    QVERIFY(window.isTabLayout());
    QCOMPARE(asked.size(), 2);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), saved);
    file.close();

    answer = QMessageBox::Save;
    QVERIFY(window.close());
    QVERIFY(!window.isWindowModified());
    QSettings reread(path, QSettings::IniFormat);
    QCOMPARE(reread.value("LayoutMode").toInt(), 1);
}

void TestMainWindow::newConnectionAddsTheChosenKind()
{
    MainWindow window;
    window.addConnectionHook = [](MultiPortSettingDlg &) { return true; };
    window.addConnectionOfKind(NewConnection::TcpIpKind);
    window.addConnectionOfKind(NewConnection::SerialPortKind);
    QCOMPARE(window.portCount(), 3);
    QCOMPARE(window.portWidget(1)->settings().connMode, ModeTcpClient);
    QCOMPARE(window.portWidget(2)->settings().connMode, ModeSerial);
    // Panels that share a row start with their settings folded to a strip.
    QVERIFY(window.portWidget(0)->quickSettingsCollapsed());
    QVERIFY(window.portWidget(2)->quickSettingsCollapsed());
    // A bridge is not a port: the kind opens Tools > Bridges.
    window.addConnectionOfKind(NewConnection::BridgeKind);
    QCOMPARE(window.portCount(), 3);
    auto *bridges = window.findChild<BridgeDialog *>();
    QVERIFY(bridges && bridges->isVisible());
    bridges->close();

    // Four side by side fit a 1366 by 768 screen; a panel's settings open on one click.
    window.addConnectionOfKind(NewConnection::TcpIpKind);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY2(window.minimumSizeHint().width() <= 1366 && window.minimumSizeHint().height() <= 768,
             qPrintable(QStringLiteral("%1x%2").arg(window.minimumSizeHint().width())
                            .arg(window.minimumSizeHint().height())));
    auto *expand = window.portWidget(3)->findChild<QAbstractButton *>("quickSettingsExpandButton");
    expand->click();
    QVERIFY(!window.portWidget(3)->quickSettingsCollapsed());
    QVERIFY(window.portWidget(2)->quickSettingsCollapsed());

    // With several panels the window's bar is hidden: a notice shows in the focused
    // panel's bar, such as why there is no sequence report yet.
    window.exportSequenceReport();
    const QString why = "The focused port has not run a sequence this session.";
    QCOMPARE(window.noticeHistory().last().text, why);
    QCOMPARE(window.focusedPortWidget()->statusBar()->currentMessage(), why);
}

void TestMainWindow::hiddenFieldsLeaveEveryPaneAndKeepTheirValue()
{
    MainWindow window;
    window.setPortCount(2);
    Settings settings = window.portWidget(1)->settings();
    settings.parity = 3;
    settings.stringParity = "Odd";
    window.portWidget(1)->applySettings(settings);
    window.show();
    QuickSettingsGroups groups = window.quickSettingsGroups();
    groups.setFieldVisible(QuickSettingsGroups::connectionGroup(), "parity", false);
    groups.setFieldVisible(QuickSettingsGroups::sendGroup(), "txChecksum", false);
    groups.setGroupVisible(QuickSettingsGroups::receiveGroup(), false);
    window.setQuickSettingsGroups(groups);
    for (int i = 0; i < 2; ++i) {
        SerialPortWidget *port = window.portWidget(i);
        QVERIFY(!port->findChild<QWidget *>("parityCombo")->isVisible());
        QVERIFY(port->findChild<QWidget *>("baudCombo")->isVisible());
        QVERIFY(!port->findChild<QWidget *>("field_txChecksum")->isVisible());
        QVERIFY(port->findChild<QWidget *>("field_txFormat")->isVisible());
        QVERIFY(!port->findChild<QWidget *>("receiveGroup")->isVisible());
    }
    QCOMPARE(window.portWidget(1)->settings().parity, 3);
    window.portWidget(1)->start(QString());
    QCOMPARE(window.portWidget(1)->settings().parity, 3);
    window.portWidget(1)->stop();
}

// File > Record Session records what every port sends and receives into one file, and
// File > Open Recording shows it.
void TestMainWindow::recordsEveryPortAndOpensTheRecording()
{
    QTcpServer peer;
    QVERIFY(peer.listen(QHostAddress::LocalHost));
    QTemporaryDir dir;
    const QString path = dir.filePath("bench.vlmlog");
    MainWindow window;
    window.setPortCount(2);
    window.updateGrid();
    window.recordSessionDialogHook = [&](RecordSessionDialog &dialog) {
        SessionRecording::Options options = dialog.options();
        options.path = path;
        dialog.setOptions(options);
        return true;
    };
    window.findChild<QAction *>("acRecordSession")->trigger();
    QVERIFY(window.recording()->isRecording());
    QList<QTcpSocket *> devices;
    for (int i = 0; i < 2; ++i) {
        Settings settings = window.portWidget(i)->settings();
        settings.connMode = ModeTcpClient;
        settings.targetHost = "127.0.0.1";
        settings.targetPort = peer.serverPort();
        window.portWidget(i)->applySettings(settings);
        QString error;
        QVERIFY2(window.portWidget(i)->ensurePortOpenForSend(&error), qPrintable(error));
        QVERIFY(peer.waitForNewConnection(5000));
        devices.append(peer.nextPendingConnection());
        devices.last()->write(QByteArray("answer-") + QByteArray::number(i));
    }
    QTRY_COMPARE_WITH_TIMEOUT(window.portWidget(1)->rxByteCount(), qint64(8), 5000);
    window.findChild<QAction *>("acRecordSession")->trigger();
    QVERIFY(!window.recording()->isRecording());

    ReplayWindow *replay = window.openRecording(path);
    QVERIFY(replay);
    replay->indexToEnd();
    QCOMPARE(replay->index()->ports.size(), 2);
    // The ports' notes (connected, ...) are recorded too; the received bytes are exact.
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    ReplayReader reader(&file, replay->index());
    QByteArray received[2];
    for (ReplayEvent event; reader.peek(&event); reader.pop()) {
        if (event.event.kind == SessionEvent::Rx) {
            received[event.portIndex & 1] += event.event.bytes;
        }
    }
    QCOMPARE(QSet<QByteArray>({received[0], received[1]}),
             QSet<QByteArray>({"answer-0", "answer-1"}));
    QCOMPARE(replay->index()->endReason, QString("stopped"));
    replay->close();
}

QTEST_MAIN(TestMainWindow)
// A script written in the Scripts window runs on a port against a TCP peer, reaches the
// command library by name, keeps running when the window closes, and ends when the
// port closes.
void TestMainWindow::scriptRunsOnAPortAndOutlivesItsWindow()
{
    QTcpServer peer;
    QVERIFY(peer.listen(QHostAddress::LocalHost));
    MainWindow window;
    Settings settings = window.portWidget(0)->settings();
    settings.connMode = ModeTcpClient;
    settings.targetHost = "127.0.0.1";
    settings.targetPort = peer.serverPort();
    window.portWidget(0)->applySettings(settings);
    CommandLibrary library;
    CommandGroup group;
    group.name = "Sensors";
    Command command;
    command.name = "read";
    command.text = "R?";
    group.commands = {command};
    library.groups = {group};
    window.setCommandLibrary(library);

    QAction *action = window.findChild<QAction *>("acToolsScripts");
    QVERIFY(action);
    action->trigger();
    ScriptWindow *scripts = window.findChild<ScriptWindow *>("scriptWindow");
    QVERIFY(scripts && scripts->isVisible());
    const int index = scripts->addScript(
        {"probe", "sendCommand(\"read\")\nexpect(\"OK\")\nprint(\"got it\")\nsleep(60000)\n"});
    scripts->selectScript(index);
    scripts->run();
    QVERIFY(peer.waitForNewConnection(5000));
    QTcpSocket *device = peer.nextPendingConnection();
    QTRY_VERIFY2_WITH_TIMEOUT(device->bytesAvailable() >= 2, qPrintable(scripts->outputText()), 5000);
    QVERIFY(device->readAll().startsWith("R?"));

    scripts->closeWithoutAsking();
    QVERIFY(!scripts->isVisible());
    device->write("OK\r\n");
    QTRY_VERIFY_WITH_TIMEOUT(scripts->outputText().contains("got it"), 5000);
    ScriptPortLink *link = window.scriptLink(0);
    QVERIFY(link && link->scriptRunning());

    window.portWidget(0)->stop();
    QVERIFY(!link->scriptRunning());
    QCOMPARE(link->runner()->engine().finishReason(), QString("the connection was closed"));
    // The edited library is what the project saves.
    QCOMPARE(window.scripts().scripts.last().name, QString("probe"));

    // A connection that is refused ends a run started while connecting as lost.
    const quint16 closedPort = peer.serverPort();
    peer.close();
    settings.targetPort = closedPort;
    window.portWidget(0)->applySettings(settings);
    scripts->run();
    QTRY_VERIFY_WITH_TIMEOUT(!link->scriptRunning(), 5000);
    QCOMPARE(link->runner()->engine().finishReason(), QString("the connection was lost"));
}

// Commands and sequences of the panel act on the focused port: a command is sent as
// the port's own send path sends it, and Run or Stop follow the focus.
void TestMainWindow::commandPanelActsOnTheFocusedPort()
{
    QTcpServer peer;
    QVERIFY(peer.listen(QHostAddress::LocalHost));
    MainWindow window;
    window.setPortCount(2);
    window.updateGrid();
    for (int i = 0; i < 2; ++i) {
        Settings settings = window.portWidget(i)->settings();
        settings.connMode = ModeTcpClient;
        settings.targetHost = "127.0.0.1";
        settings.targetPort = peer.serverPort();
        window.portWidget(i)->applySettings(settings);
        FormatSetting format = window.portWidget(i)->formatSettings();
        format.displaySendMsg = true;
        window.portWidget(i)->applyFormatSetting(format);
    }
    CommandLibrary library;
    Command command;
    command.name = "version";
    command.text = "AT+GMR";
    command.lineEnding = LineEndingCRLF;
    library.groups = {CommandGroup{"Modem", {command}}};
    SequenceStep send;
    send.command = command;
    SequenceStep wait;
    wait.kind = SequenceStepKind::Wait;
    wait.ms = SequenceStep::MaxMs;
    library.sequences = {Sequence{"soak", {send, wait}}};
    window.setCommandLibrary(library);
    window.findChild<QAction *>("acToolsCommands")->trigger();
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const auto focus = [&](int index) {
        window.portWidget(index)->findChild<QPlainTextEdit *>("sendTextEdit")->setFocus();
        QTRY_COMPARE_WITH_TIMEOUT(window.focusedPortWidget(), window.portWidget(index), 5000);
    };

    focus(0);
    window.findChild<QPushButton *>("commandButton_0")->click();
    QVERIFY(peer.waitForNewConnection(5000));
    QTcpSocket *device = peer.nextPendingConnection();
    QCOMPARE(testsupport::readExactly(device, 8), QByteArray("AT+GMR\r\n"));
    QTRY_VERIFY_WITH_TIMEOUT(window.portWidget(0)->viewText().contains("AT+GMR"), 5000);
    QCOMPARE(window.portWidget(0)->txByteCount(), qint64(8));

    auto *run = window.findChild<QPushButton *>("sequenceRunButton_0");
    run->click();
    QTRY_COMPARE_WITH_TIMEOUT(run->text(), QString("Stop"), 5000);
    focus(1);
    QCOMPARE(run->text(), QString("Run"));
    focus(0);
    QCOMPARE(run->text(), QString("Stop"));
    run->click();
    QVERIFY(!window.portWidget(0)->sequenceRunning());

    // "Learn More" explains commands and sequences.
    for (QAction *action :
         window.findChild<QToolButton *>("commandPanelMenuButton")->menu()->actions()) {
        if (action->text() == "Learn More") {
            action->trigger();
        }
    }
    auto *help = window.findChild<QMessageBox *>("commandHelpBox");
    QVERIFY(help && help->isVisible());
}

// Edit > Settings on a running port: serial line parameters apply live; what needs a
// new connection is asked about, and either reopens or waits for the next open.
void TestMainWindow::settingsOfARunningPortApplyOrWait()
{
    testsupport::PtyPair pty;
    QString why;
    if (!pty.start(&why)) {
        QSKIP(qPrintable(why));
    }
    QTcpServer first, second;
    QVERIFY(first.listen(QHostAddress::LocalHost) && second.listen(QHostAddress::LocalHost));
    MainWindow window;
    window.setPortCount(2);
    Settings serial = window.portWidget(0)->settings();
    serial.connMode = ModeSerial;
    serial.name = pty.portA();
    serial.baudRate = 9600;
    window.portWidget(0)->applySettings(serial);
    Settings client = window.portWidget(1)->settings();
    client.connMode = ModeTcpClient;
    client.targetHost = "127.0.0.1";
    client.targetPort = first.serverPort();
    window.portWidget(1)->applySettings(client);
    QVERIFY(window.portWidget(0)->start(QString()));
    QVERIFY(window.portWidget(1)->start(QString()));
    QVERIFY(first.waitForNewConnection(5000));
    QTRY_VERIFY_WITH_TIMEOUT(window.portWidget(1)->portIsOpen(), 5000);

    QList<int> asked;
    bool reopen = false;
    window.reopenQuestionHook = [&](int index) {
        asked << index;
        return reopen;
    };
    const auto edit = [&] {
        window.settingsDialogHook = [&](MultiPortSettingDlg &dialog) {
            Settings line = dialog.portSettings(0);
            line.baudRate = 57600;
            dialog.setPortSettings(0, line);
            Settings target = dialog.portSettings(1);
            target.targetPort = second.serverPort();
            dialog.setPortSettings(1, target);
            return true;
        };
        window.on_acEditSettings_triggered();
    };

    edit();
    QVERIFY(testsupport::sttySettings(pty.portA()).contains("speed 57600 baud"));
    QVERIFY(window.portWidget(0)->portIsOpen());
    QCOMPARE(asked, QList<int>{1});
    // Declined: the client stays on its connection and keeps the edit for the next one.
    QVERIFY(window.portWidget(1)->portIsOpen());
    QCOMPARE(window.portWidget(1)->settings().targetPort, int(first.serverPort()));
    QCOMPARE(window.portWidget(1)->settingsForNextOpen().targetPort, int(second.serverPort()));

    reopen = true;
    edit();
    QVERIFY(second.waitForNewConnection(5000));
    QCOMPARE(window.portWidget(1)->settings().targetPort, int(second.serverPort()));
}

// The status bar's log link opens the focused port's log, written up to now.
void TestMainWindow::logLinkOpensTheFocusedPortsLog()
{
    QTemporaryDir dir;
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("file", &catcher, "open");
    MainWindow window;
    SerialPortWidget *port = window.portWidget(0);
    Settings server = port->settings();
    server.connMode = ModeTcpServer;
    server.targetPort = 0;
    port->applySettings(server);
    FormatSetting format = port->formatSettings();
    format.logSaveFlag = true;
    format.logFilePath = dir.filePath("bench.log");
    port->applyFormatSetting(format);
    QVERIFY(port->start(QString()));
    port->pushByteArray("logged\n", true, Received, QString());
    port->displayPortBuffer();
    auto *logLabel = window.statusBar()->findChild<QLabel *>("logLabel");
    QTRY_VERIFY_WITH_TIMEOUT(logLabel->text().contains("bench.log"), 5000);
    Q_EMIT logLabel->linkActivated("current-log");
    QDesktopServices::unsetUrlHandler("file");
    QCOMPARE(catcher.urls, QList<QUrl>{QUrl::fromLocalFile(dir.filePath("bench.log"))});
    QFile log(dir.filePath("bench.log"));
    QVERIFY(log.open(QIODevice::ReadOnly) && log.readAll().contains("logged"));
}

#include "tst_mainwindow.moc"
