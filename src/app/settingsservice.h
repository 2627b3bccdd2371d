#pragma once

// The last-used state of the application: what the first port was connected to and how
// it showed, sent and logged its data, the recent files, the layout, the quick settings
// and two behaviour choices. It is read at start, written at close, and kept apart from
// the project file in the file the application settings name; its keys are the
// project's names with "Last" in front.

#include "common/storedvaluereader.h"
#include "connection/settings.h"
#include "session/quicksettingsgroups.h"
#include "transfer/xferconfig.h"

#include <QString>
#include <QStringList>

class QSettings;

struct SessionState
{
    Settings settings;    // port 0's connection
    FormatSetting format; // port 0's display, send and log settings
    QStringList sendList; // port 0's send history, newest first
    QStringList recentFiles;
    QString lastFile; // the project file open at the end of the last run
    QString lastLogFile;
    QString lastDirectory;                        // where file dialogs start
    QString logFileName = QStringLiteral("vlm_"); // the prefix of log file names
    bool lastConnectionOpen = false;              // port 0 was open when the last run ended
    bool layoutTabs = false;
    QuickSettingsGroups quickSettings;
    bool openLastConnection = false;
    bool autoReconnect = false;
    XferChoices transfer; // the file transfer dialog's last choices

    bool operator==(const SessionState &) const = default;
};

class SettingsService
{
public:
    // The state of a first run: the record defaults, no files, grid layout, all quick
    // settings shown, and neither reopening nor reconnecting by itself.
    static SessionState defaults();

    // Every key read with the value of defaults() as its default; numbers are clamped
    // to the limits of the port records, unknown choices give the default. Never fails.
    // `normalizeEncoding` turns stored encoding names into canonical ones.
    static SessionState load(const QSettings &settings,
                             EncodingNormalizer normalizeEncoding = nullptr);
    static void save(QSettings &settings, const SessionState &state);

    // Seeds of a new port session (PortDefaults), as defaults() holds them: the connection with `name`
    // set to `portName`, and the display, send and log settings.
    static Settings defaultPortSettings(const QString &portName);
    static FormatSetting defaultFormatSettings();
};
