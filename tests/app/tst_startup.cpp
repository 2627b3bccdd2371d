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
    void helpAndVersionAnswerFirst_data();
    void helpAndVersionAnswerFirst();
    void savedPositionMustBeOnScreen_data();
    void savedPositionMustBeOnScreen();
    void chineseFollowsChoiceOrLocale_data();
    void chineseFollowsChoiceOrLocale();
};

void TestStartup::firstRunPath_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("result");
    QTest::newRow("already set") << "/x/state.ini" << "/x/state.ini";
    // A first start asks nothing: the suggested place is taken.
    QTest::newRow("first start") << "" << "/sugg.ini";
}

void TestStartup::firstRunPath()
{
    QFETCH(QString, stored);
    QTemporaryDir dir;
    QSettings settings(dir.filePath("app.ini"), QSettings::IniFormat);
    if (!stored.isEmpty()) {
        settings.setValue("CONFIG_FILE_PATH", stored);
    }
    Startup::ensureConfigFilePath(settings, "/sugg.ini");
    QTEST(settings.value("CONFIG_FILE_PATH").toString(), "result");
}

void TestStartup::helpAndVersionAnswerFirst_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("request");
    const int none = int(Startup::InfoRequest::None);
    const int help = int(Startup::InfoRequest::Help);
    const int version = int(Startup::InfoRequest::Version);
    QTest::newRow("nothing") << QStringList{"velmora"} << none;
    QTest::newRow("--help") << QStringList{"velmora", "--help"} << help;
    QTest::newRow("-h after a scene") << QStringList{"velmora", "--screenshot-scene", "grid4", "-h"}
                                      << help;
    QTest::newRow("--version") << QStringList{"velmora", "--version"} << version;
    QTest::newRow("first one wins") << QStringList{"velmora", "-v", "--help"} << version;
    QTest::newRow("after --") << QStringList{"velmora", "--", "--help"} << none;
    QTest::newRow("program name only") << QStringList{"--help"} << none;
}

void TestStartup::helpAndVersionAnswerFirst()
{
    QFETCH(QStringList, arguments);
    QTEST(int(Startup::infoRequest(arguments)), "request");
    // The help names every switch and the scenes it was given.
    const QString help = Startup::helpText("velmora", {"grid4", "row4"}, {"toolbox"});
    for (const char *word : {"--help", "--version", "--screenshot-scene", "--screenshot-dialog",
                             "row4", "toolbox"}) {
        QVERIFY2(help.contains(QLatin1String(word)), word);
    }
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
