#include "app/startup.h"

#include <QSettings>

void Startup::ensureConfigFilePath(QSettings &settings, const QString &suggested)
{
    const QString key = QStringLiteral("CONFIG_FILE_PATH");
    if (settings.value(key).toString().isEmpty() && !suggested.trimmed().isEmpty()) {
        settings.setValue(key, suggested.trimmed());
    }
}

Startup::InfoRequest Startup::infoRequest(const QStringList &arguments)
{
    // The first of the two that appears wins; anything after "--" is no switch.
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--")) {
            break;
        }
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            return InfoRequest::Help;
        }
        if (argument == QLatin1String("--version") || argument == QLatin1String("-v")) {
            return InfoRequest::Version;
        }
    }
    return InfoRequest::None;
}

QString Startup::helpText(const QString &program, const QStringList &scenes,
                          const QStringList &dialogs)
{
    return tr("Usage: %1 [option]\n"
              "A workbench for serial, TCP, UDP and remote serial devices.\n"
              "\n"
              "Options:\n"
              "  -h, --help                     Show this text and exit.\n"
              "  -v, --version                  Show the version and exit.\n"
              "  --screenshot FILE              Save a picture of the main window.\n"
              "  --screenshot-scene NAME FILE [WxH]\n"
              "                                 Set up a sample scene and save its picture.\n"
              "  --screenshot-dialog NAME FILE [WxH]\n"
              "                                 Open a dialog and save its picture.\n"
              "\n"
              "Scenes: %2\n"
              "Dialogs: %3\n")
        .arg(program, scenes.join(QStringLiteral(", ")), dialogs.join(QStringLiteral(", ")));
}

bool Startup::positionIsOnScreen(const QPoint &position, const QSize &available)
{
    return position.x() >= 0 && position.y() >= 0 && position.x() < available.width() &&
           position.y() < available.height();
}
