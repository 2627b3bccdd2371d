#include "app/appearance.h"
#include "app/apptranslations.h"
#include "app/mainwindow.h"
#include "app/setconfigfilepathdialog.h"
#include "app/startup.h"
#include "common/logging.h"

#include <QApplication>
#include <QLocale>
#include <QPixmap>
#include <QScreen>
#include <QSettings>
#include <QTimer>
#include <QTranslator>

#include <algorithm>
#include <cstdio>

namespace {

// The documentation switches: what to grab, into which file.
struct ScreenshotRequest
{
    QString kind; // "window", "dialog" or "scene"
    QString name;
    QString file;
    QSize dialogSize; // the dialog's size, or the window's for a scene
};

bool parseScreenshot(const QStringList &args, ScreenshotRequest *request)
{
    for (int i = 1; i < args.size(); ++i) {
        const QString &arg = args.at(i);
        if (arg == QLatin1String("--screenshot") && i + 1 < args.size()) {
            *request = {QStringLiteral("window"), QString(), args.at(i + 1), {}};
            return true;
        }
        const bool scene = arg == QLatin1String("--screenshot-scene");
        if ((scene || arg == QLatin1String("--screenshot-dialog")) && i + 2 < args.size()) {
            *request = {scene ? QStringLiteral("scene") : QStringLiteral("dialog"), args.at(i + 1),
                        args.at(i + 2), {}};
            if (i + 3 < args.size()) {
                const QStringList size = args.at(i + 3).split(QLatin1Char('x'));
                if (size.size() == 2) {
                    request->dialogSize = QSize(size.at(0).toInt(), size.at(1).toInt());
                }
            }
            return true;
        }
    }
    return false;
}

void grabLater(MainWindow &window, const ScreenshotRequest &request)
{
    // A scene takes the size it is given (a screen to fit, say); 1280 by 800 otherwise.
    const bool sizedScene = request.kind == QLatin1String("scene") && request.dialogSize.isValid();
    window.resize(sizedScene ? request.dialogSize : QSize(1280, 800));
    window.move(sizedScene ? QPoint(0, 0) : QPoint(80, 80));
    window.raise();
    window.activateWindow();
    QWidget *target = &window;
    if (request.kind == QLatin1String("scene") && !window.runScreenshotScene(request.name)) {
        qCWarning(lcApp) << "unknown screenshot scene" << request.name
                         << "; known:" << MainWindow::screenshotSceneNames();
    }
    if (request.kind == QLatin1String("dialog")) {
        target = window.openScreenshotDialog(request.name);
        if (!target) {
            qCWarning(lcApp) << "unknown screenshot dialog" << request.name
                             << "; known:" << MainWindow::screenshotDialogNames();
            target = &window;
        } else if (request.dialogSize.isValid()) {
            target->resize(request.dialogSize);
        }
    }
    QTimer::singleShot(1500, &window, [target, file = request.file] {
        const bool ok = target->grab().save(file);
        qCInfo(lcApp) << "screenshot" << file << (ok ? "saved" : "FAILED");
        QApplication::exit(ok ? 0 : 1);
    });
}

} // namespace

int main(int argc, char *argv[])
{
    // --help and --version answer before anything starts: no display is needed.
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    switch (Startup::infoRequest(arguments)) {
    case Startup::InfoRequest::Help:
        std::fputs(qPrintable(Startup::helpText(QStringLiteral("velmora"),
                                                MainWindow::screenshotSceneNames(),
                                                MainWindow::screenshotDialogNames())),
                   stdout);
        return 0;
    case Startup::InfoRequest::Version:
        std::fputs("Velmora " VELMORA_VERSION "\n", stdout);
        return 0;
    case Startup::InfoRequest::None:
        break;
    }

    // Without TZ the C library looks at /etc/localtime again for every local time it
    // converts, which costs the display a stat call per record stamped.
    if (qEnvironmentVariableIsEmpty("TZ")) {
        qputenv("TZ", ":/etc/localtime");
    }
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("NORVANE"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("norvane.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    qCInfo(lcApp) << "arguments" << QCoreApplication::arguments();

    QSettings settings;
    Appearance::apply(Appearance::fromSetting(settings.value(QStringLiteral("Appearance"), 0)));

    const int languageChoice = settings.value(QStringLiteral("ValueL"), 0).toInt();
    QTranslator qtTranslator;
    QTranslator appTranslator;
    if (AppTranslations::wantsChinese(languageChoice, QLocale::system().name())) {
        if (AppTranslations::loadQtBase(qtTranslator, QStringLiteral("zh_CN"),
                                        AppTranslations::qtBaseSearchDirs())) {
            QCoreApplication::installTranslator(&qtTranslator);
        } else {
            qCWarning(lcApp) << "load Qt translations"
                             << "failed!";
        }
        if (AppTranslations::loadApp(appTranslator, QStringLiteral("zh_CN"))) {
            QCoreApplication::installTranslator(&appTranslator);
        } else {
            qCWarning(lcApp) << "load language"
                             << "failed!";
        }
    }

    ScreenshotRequest screenshot;
    const bool documenting = parseScreenshot(QCoreApplication::arguments(), &screenshot);
    // A first start takes the suggested place for the last-used state without asking.
    Startup::ensureConfigFilePath(settings, SetConfigFilePathDialog::defaultPath());

    MainWindow window;
    const QSize available = window.screen()->availableSize();
    // A size saved on a larger screen, or the default on a small one, would not fit.
    window.resize(settings.value(QStringLiteral("LAST_WINDOW_SIZE"), QSize(1000, 800))
                      .toSize()
                      .boundedTo(available));
    const QPoint position =
        settings.value(QStringLiteral("LAST_WINDOW_POSITION"), QPoint(200, 200)).toPoint();
    // A position saved on a screen that is gone would put the window out of sight.
    if (Startup::positionIsOnScreen(position, available)) {
        // Moved in as far as needed for the whole window to show.
        const QPoint inside(std::max(0, std::min(position.x(), available.width() - window.width())),
                            std::max(0, std::min(position.y(), available.height() - window.height())));
        window.move(inside);
        window.setGeometry(QRect(inside, window.size()));
    }
    window.show();
    if (!documenting) {
        window.openLastConnectionIfWanted();
    }

    if (documenting) {
        grabLater(window, screenshot);
    }
    return QApplication::exec();
}
