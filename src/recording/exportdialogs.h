#pragma once

// The folder the export dialogs start in: the last one a file was exported to, kept
// under "Export/LastDirectory", or the home folder.

#include <QString>

class ExportDialogs
{
public:
    static QString lastDirectory();
    // Remembers the folder of `path` (a file or a folder).
    static void rememberDirectory(const QString &path);
};
