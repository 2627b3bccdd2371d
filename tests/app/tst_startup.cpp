#include "app/apptranslations.h"
#include "app/startup.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT
private slots:
    void firstRunPath_data();
    void firstRunPath();
    void savedPositionMustBeOnScreen_data();
    void savedPositionMustBeOnScreen();
    void chineseFollowsChoiceOrLocale_data();
    void chineseFollowsChoiceOrLocale();
};

void TestStartup::firstRunPath_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<bool>("unattended");
    QTest::addColumn<int>("answer"); // -1 cancel, 0 accept suggested, 1 accept another
    QTest::addColumn<bool>("goesOn");
    QTest::addColumn<QString>("result");
    QTest::addColumn<bool>("asked");
    QTest::newRow("already set") << "/x/state.ini" << false << -1 << true << "/x/state.ini"
                                 << false;
    QTest::newRow("cancelled first run") << "" << false << -1 << false << "" << true;
    QTest::newRow("accepted") << "" << false << 0 << true << "/sugg.ini" << true;
    QTest::newRow("chose another") << "" << false << 1 << true << "/mine.ini" << true;
    QTest::newRow("unattended") << "" << true << -1 << true << "/sugg.ini" << false;
}

void TestStartup::firstRunPath()
{
    QFETCH(QString, stored);
    QFETCH(bool, unattended);
    QFETCH(int, answer);
    QTemporaryDir dir;
    QSettings settings(dir.filePath("app.ini"), QSettings::IniFormat);
    if (!stored.isEmpty()) {
        settings.setValue("CONFIG_FILE_PATH", stored);
    }
    bool asked = false;
    const bool goesOn =
        Startup::ensureConfigFilePath(settings, unattended, "/sugg.ini", [&](QString *path) {
            asked = true;
            if (answer == 1) {
                *path = "/mine.ini";
            }
            return answer >= 0;
        });
    QTEST(goesOn, "goesOn");
    QTEST(asked, "asked");
    QTEST(settings.value("CONFIG_FILE_PATH").toString(), "result");
}

void TestStartup::savedPositionMustBeOnScreen_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<bool>("onScreen");
    QTest::newRow("default") << QPoint(200, 200) << true;
    QTest::newRow("second monitor gone") << QPoint(2500, 100) << false;
    QTest::newRow("above the screen") << QPoint(100, -40) << false;
    QTest::newRow("right edge") << QPoint(1920, 10) << false;
}

void TestStartup::savedPositionMustBeOnScreen()
{
    QFETCH(QPoint, position);
    QTEST(Startup::positionIsOnScreen(position, QSize(1920, 1080)), "onScreen");
}

void TestStartup::chineseFollowsChoiceOrLocale_data()
{
    QTest::addColumn<int>("choice");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<bool>("chinese");
    QTest::newRow("system chinese") << 0 << "zh_CN" << true;
    QTest::newRow("system taiwanese") << 0 << "zh_TW" << false;
    QTest::newRow("system german") << 0 << "de_DE" << false;
    QTest::newRow("chinese on english system") << 1 << "en_US" << true;
    QTest::newRow("english on chinese system") << 2 << "zh_CN" << false;
    QTest::newRow("unknown value is english") << 7 << "zh_CN" << false;
}

void TestStartup::chineseFollowsChoiceOrLocale()
{
    QFETCH(int, choice);
    QFETCH(QString, locale);
    QTEST(AppTranslations::wantsChinese(choice, locale), "chinese");
}

QTEST_GUILESS_MAIN(TestStartup)
#include "tst_startup.moc"
