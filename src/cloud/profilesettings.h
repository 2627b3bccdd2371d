#pragma once

// The settings a cloud class keeps its account and sync keys in: the application's own,
// or, for a second profile on the same computer, an ini file of its own.

#include <QString>

#include <memory>

class QSettings;

class ProfileSettings
{
public:
    // An empty `file` opens the application's settings.
    static std::unique_ptr<QSettings> open(const QString &file);
};
