#pragma once

#include <QCoreApplication>
#include <QPoint>
#include <QSize>
#include <QString>
#include <QStringList>

class QSettings;

// Decisions of the start-up road that do not need a window.
class Startup
{
    Q_DECLARE_TR_FUNCTIONS(Startup)

public:
    // Makes sure the application settings name the file of the last-used state. With
    // none stored, `suggested` is stored without asking: a first start opens straight
    // into the window, and the place stays changeable from the Edit menu.
    static void ensureConfigFilePath(QSettings &settings, const QString &suggested);

    // The switches that print something and end the program before any window opens.
    enum class InfoRequest {
        None,
        Help,    // "--help" or "-h"
        Version, // "--version" or "-v"
    };
    static InfoRequest infoRequest(const QStringList &arguments);
    // The text of --help, naming the documentation scenes and dialogs.
    static QString helpText(const QString &program, const QStringList &scenes,
                            const QStringList &dialogs);

    // Whether a saved window position lies on the available screen area, so that
    // moving there cannot put the window out of sight.
    static bool positionIsOnScreen(const QPoint &position, const QSize &available);
};
