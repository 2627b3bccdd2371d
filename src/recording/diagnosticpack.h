#pragma once

// The diagnostic pack: one ZIP for support with what the program knows of its state
// and, by the user's choice, the session data, built so that nothing private leaves the
// machine. Every entry passes a byte-level scrubber (machine ids, user and host names),
// the project passes a key allow-list, paths lose the home folder, and a manifest says
// what is inside and how much was scrubbed.
//
// plan() runs on the GUI thread and gives entries whose content functions hold copies
// of what they need; write() then produces them one at a time (peak memory is one
// entry), so it may run on a worker thread and report progress between entries.

#include "recording/sessionexport.h"
#include "recording/sessionrecorder.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

class ZipWriter;

class DiagnosticPack
{
    Q_DECLARE_TR_FUNCTIONS(DiagnosticPack)

public:
    // What the user chose to include, persisted under "Export/PackOptions".
    struct Options
    {
        bool traffic = false;
        bool project = true;
        bool library = false;
        bool sendHistory = false;
        bool sequences = false;
        bool bridgeCaptures = false;

        bool operator==(const Options &) const = default;
    };

    struct PortSnapshot
    {
        int index = 0;
        QString id; // the port key, "ser-0"
        QString label;
        QString mode;
        QString settings;
        QString rxEncoding;
        QString txEncoding;
        bool open = false;
        qint64 rxBytes = 0;
        qint64 txBytes = 0;
        bool bridged = false;
        int autoReplyRules = 0;
        bool plotVisible = false;
        // Filled by fillTraffic() from the port's session history.
        bool hasRecord = false;
        SessionRecorder::Stats record;
        QList<SessionEvent> events;
        // The sequence reports, as text and JSON; empty when the port ran none.
        QString sequencesText;
        QByteArray sequencesJson;
    };

    struct BridgeSnapshot
    {
        QString name;
        QMap<QString, QVariant> settings; // the bridge's settings and counters
        QString capturePath;              // its capture file; empty for none
    };

    struct SerialPortEntry
    {
        QString portName;
        QString description;
        QString manufacturer;
        QString systemLocation;
        int vid = -1; // -1 when the system does not tell
        int pid = -1;
    };

    struct LiveSyncEntry
    {
        QString feature;
        bool on = false;
        QString peer;
        QString level;
        int count = -1; // -1: does not apply
        int inUse = -1; // -1: does not apply, else 0 or 1
    };

    // Values by environmentKeys(); keys not named there are not written.
    using Environment = QMap<QString, QVariant>;

    struct Input
    {
        Options options;
        QList<PortSnapshot> ports;
        QList<BridgeSnapshot> bridges;
        Environment environment;
        QList<SerialPortEntry> serialPorts;
        QList<LiveSyncEntry> liveSync;
        QMap<QString, QVariant> preferences; // the application settings, filtered here
        QMap<QString, QVariant> project;     // the project's keys, filtered here
        QStringList machineIds;
        QStringList userNames;
        QStringList hostNames;
        QStringList homes;
        QStringList recordings; // recording files, included with `traffic`
        QString appVersion;
        QString appBuild;
        QDateTime when;
    };

    class Scrubber;

    struct Entry
    {
        QString path;
        QString about;
        std::function<QByteArray()> bytes;
        bool scrub = true;
        // Used instead of `bytes` by content that encodes data (as hex) where a scan of
        // the finished text cannot see it: the data is scrubbed before it is encoded.
        std::function<QByteArray(Scrubber &)> produce;
    };

    struct Plan
    {
        QList<Entry> entries;
        QStringList machineIds;
        QStringList userNames;
        QStringList hostNames;
        QStringList omissions; // identifiers of the options left off
    };

    enum ProjectClass {
        Keep = 0,
        Library = 1,
        SendHistory = 2,
        Path = 3,
        Drop = 4,
    };

    // Replaces machine ids, user names and host names with "[redacted]", counting each.
    class Scrubber
    {
    public:
        Scrubber() = default;
        Scrubber(const QStringList &machineIds, const QStringList &userNames,
                 const QStringList &hostNames);

        QByteArray apply(const QByteArray &bytes);
        QString applyToName(const QString &text);

        QList<QByteArray> exact;
        QList<QByteArray> words;
        QList<QByteArray> hosts;
        qint64 replaced = 0;
    };

    // Called between entries with the entries done and the total; false cancels.
    using Progress = std::function<bool(int done, int total)>;

    // A recording larger than this is left out (named in the README) rather than cut,
    // since a cut recording no longer reads.
    static constexpr qint64 MaxRecordingBytes = 32 * 1024 * 1024;
    static constexpr qint64 CaptureTailBytes = 1048576;

    static Plan plan(const Input &input);
    struct Result
    {
        bool cancelled = false;
        qint64 scrubbed = 0;
        QByteArray manifest; // manifest.json as written
    };

    // Writes the plan's entries and the manifest, then finishes the archive. A cancel
    // from `progress` closes the archive with what it has and "cancelled" in the
    // manifest (true is returned; `result` tells). False with `error` when the archive
    // could not be written.
    static bool write(const Plan &plan, ZipWriter &zip, const QDateTime &when, QString *error,
                      const Progress &progress = {}, Result *result = nullptr);

    static QString entryDirName(int index, const QString &label, Scrubber &scrubber);
    static void fillTraffic(PortSnapshot &snapshot, const SessionRecorder &recorder);
    static QStringList environmentKeys();
    static QStringList preferenceKeys();
    static ProjectClass classifyProjectKey(const QString &key, bool *isLibrary = nullptr);
    static QMap<QString, QVariant> filterProject(const QMap<QString, QVariant> &map,
                                                 const QStringList &homes, const Options &flags);
    static QByteArray renderIni(const QMap<QString, QVariant> &map);
    // JSON Lines with "hex" fields (session data, recordings): each field's bytes are
    // scrubbed and written back as upper-case hex.
    static QByteArray scrubHexFields(const QByteArray &lines, Scrubber &scrubber);
    static QString redactHome(const QString &text, const QString &home);
    static QString redactHome(const QString &text, const QStringList &homes);

    // The option identifiers in the manifest's order, and the titles of their boxes.
    static QStringList optionIds();
    // `translated` false gives the English title, as the README quotes it.
    static QString optionTitle(const QString &id, bool translated = true);
    static bool option(const Options &options, const QString &id);
    static void setOption(Options &options, const QString &id, bool on);
    static Options loadOptions(const QVariant &stored);
    static QVariant saveOptions(const Options &options);

    // The README, English then Chinese.
    static QByteArray readme(const Input &input, const QStringList &paths,
                             const QStringList &omissions, const QStringList &leftOut);
};
