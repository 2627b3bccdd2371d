#pragma once

// The project file (".vlm", ini format): the number and layout of the ports, the quick
// settings, and per port its connection, display, send and log settings with its send
// history. Other subsystems keep their own groups in the same file (auto reply, plot
// and decoder choice under each port, bridges, the command, frame template and script
// libraries); this codec neither holds nor touches them, and the group names below are
// where they go.

#include "common/storedvaluereader.h"
#include "connection/settings.h"
#include "session/quicksettingsgroups.h"

#include <QList>
#include <QStringList>

#include <functional>

class QSettings;

// One port as the project keeps it.
struct ProjectPortRecord
{
    Settings settings;
    FormatSetting format;
    QStringList sendHistory; // newest first

    bool operator==(const ProjectPortRecord &) const = default;
};

struct ProjectRecord
{
    enum LayoutMode : qint32 {
        GridLayout = 0,
        TabLayout = 1,
    };

    QList<ProjectPortRecord> ports = {ProjectPortRecord()}; // 1 to 16 on load
    qint32 columnCount = 1;                                 // 1 to 16 on load
    LayoutMode layoutMode = GridLayout;
    bool quickView = true;
    QuickSettingsGroups quickSettings;

    qsizetype portCount() const { return ports.size(); }
    bool operator==(const ProjectRecord &) const = default;
};

class ProjectCodec
{
public:
    static constexpr int MaxPorts = 16;
    static constexpr int MaxColumns = 16;

    // Reports the progress of a save in percent, as the ports are written block by block.
    using Progress = std::function<void(int percent)>;

    // Writes the top-level keys, then each port's keys in a fixed order. Ports beyond
    // the first 16 are not written; an empty list is written as one default port. Keys
    // of ports at or above the written count are removed with their whole group, and
    // the hourly stamp key that older files held is removed from the written ports.
    static void save(QSettings &settings, const ProjectRecord &project,
                     const Progress &progress = {});
    // Never fails: absent or malformed values take their read defaults, numbers are
    // clamped. `normalizeEncoding` turns stored encoding names into canonical ones;
    // without it a blank name reads as "UTF-8" and any other is kept trimmed. The keys
    // whose stored values had to be clamped or replaced go to `replacedKeys`.
    static ProjectRecord load(const QSettings &settings,
                              EncodingNormalizer normalizeEncoding = nullptr,
                              QStringList *replacedKeys = nullptr);
    // Whether the file holds any key a project writes: a file without one is some other
    // file, and opening it would only replace the bench with defaults.
    static bool looksLikeProject(const QSettings &settings);

    static void savePort(QSettings &settings, int index, const ProjectPortRecord &port,
                         const Progress &progress = {}, int portCount = 1);
    static ProjectPortRecord loadPort(const QSettings &settings, int index,
                                      EncodingNormalizer normalizeEncoding = nullptr);
    // Removes every port group whose index is `count` or more.
    static void removePortsFrom(QSettings &settings, int count);

    // "%1/%2": a key of port `index`.
    static QString portKey(int index, const QString &name);
    // The names of the keys written per port, in the order of writing.
    static QStringList writtenPortKeyNames();
    // Keys that are read from older files but never written.
    static QStringList readOnlyPortKeyNames();

    // Groups that belong to other subsystems.
    static QString autoReplyGroup(int index);   // "%1/AutoReply"
    static QString plotGroup(int index);        // "%1/Plot"
    static QString decodeGroup(int index);      // "%1/Decode"
    static QString commandLibraryGroup();       // "CommandLibrary"
    static QString frameTemplateLibraryGroup(); // "FrameTemplateLibrary"
    static QString scriptLibraryGroup();        // "ScriptLibrary"
    static QString bridgeGroup();               // "Bridge"
};
