#pragma once

#include <QPoint>
#include <QSize>
#include <QString>

#include <functional>

class QSettings;

// Decisions of the start-up road that do not need a window.
class Startup
{
public:
    // Makes sure the application settings name the file of the last-used state. With
    // none stored, `ask` is called (the first-run dialog); when it declines, nothing is
    // stored and the program is to end. Unattended runs take `suggested` without asking.
    static bool ensureConfigFilePath(QSettings &settings, bool unattended, const QString &suggested,
                                     const std::function<bool(QString *path)> &ask);

    // Whether a saved window position lies on the available screen area, so that
    // moving there cannot put the window out of sight.
    static bool positionIsOnScreen(const QPoint &position, const QSize &available);
};
