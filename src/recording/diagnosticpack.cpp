#include "recording/diagnosticpack.h"

#include "recording/zipwriter.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

struct OptionText
{
    const char *id;
    const char *title;
};

// The titles of the dialog's boxes, which the README quotes too.
constexpr OptionText optionTexts[] = {
    {"traffic", QT_TRANSLATE_NOOP("DiagnosticPack",
                                  "Data sent and received this session (includes everything "
                                  "you sent)")},
    {"project", QT_TRANSLATE_NOOP("DiagnosticPack",
                                  "Project settings (ports, layout and bridges; names and "
                                  "paths left out)")},
    {"library", QT_TRANSLATE_NOOP("DiagnosticPack",
                                  "Command library, sequences, auto reply rules and frame "
                                  "templates")},
    {"sendHistory",
     QT_TRANSLATE_NOOP("DiagnosticPack", "Send history (may contain passwords you typed)")},
    {"bridgeCaptures", QT_TRANSLATE_NOOP("DiagnosticPack", "Bridge captures (last 1 MB each)")},
    {"sequences", QT_TRANSLATE_NOOP("DiagnosticPack", "Sequence reports")},
};

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

QByteArray json(const QJsonArray &array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

QString hex4(int value)
{
    return value < 0 ? QString() : QStringLiteral("%1").arg(value, 4, 16, QLatin1Char('0'));
}

QByteArray portJson(const DiagnosticPack::PortSnapshot &p)
{
    QJsonObject record;
    if (p.hasRecord) {
        const SessionRecorder::Stats &s = p.record;
        record = QJsonObject{
            {QStringLiteral("retainedEvents"), s.events},
            {QStringLiteral("retainedBytes"), s.payloadBytes},
            {QStringLiteral("droppedEvents"), s.evictedEvents},
            {QStringLiteral("droppedBytes"), s.evictedBytes},
            {QStringLiteral("totalRxBytes"), s.rxBytes},
            {QStringLiteral("totalTxBytes"), s.txBytes},
            {QStringLiteral("firstUs"), s.firstT},
            {QStringLiteral("lastUs"), s.lastT},
            {QStringLiteral("capacityBytes"), s.capacity},
        };
    }
    return json(QJsonObject{
        {QStringLiteral("index"), p.index},
        {QStringLiteral("label"), p.label},
        {QStringLiteral("mode"), p.mode},
        {QStringLiteral("settings"), p.settings},
        {QStringLiteral("rxEncoding"), p.rxEncoding},
        {QStringLiteral("txEncoding"), p.txEncoding},
        {QStringLiteral("open"), p.open},
        {QStringLiteral("rxBytes"), p.rxBytes},
        {QStringLiteral("txBytes"), p.txBytes},
        {QStringLiteral("bridged"), p.bridged},
        {QStringLiteral("autoReplyRules"), p.autoReplyRules},
        {QStringLiteral("plotVisible"), p.plotVisible},
        {QStringLiteral("record"), record},
    });
}

SessionExport::Source trafficSource(const DiagnosticPack::PortSnapshot &p, const QString &id)
{
    SessionExport::Source source;
    source.info.id = id;
    source.info.label = p.label;
    source.info.mode = p.mode;
    source.info.settings = p.settings;
    source.info.rxEncoding = p.rxEncoding;
    source.info.txEncoding = p.txEncoding;
    source.info.dropped = p.record.evictedEvents;
    source.events = p.events;
    return source;
}

DiagnosticPack::Entry entry(const QString &path, const QString &about,
                            std::function<QByteArray()> bytes)
{
    DiagnosticPack::Entry e;
    e.path = path;
    e.about = about;
    e.bytes = std::move(bytes);
    return e;
}

DiagnosticPack::Entry entry(const QString &path, const QString &about,
                            std::function<QByteArray(DiagnosticPack::Scrubber &)> produce)
{
    DiagnosticPack::Entry e;
    e.path = path;
    e.about = about;
    e.produce = std::move(produce);
    return e;
}

// The events with their bytes, notes and peers scrubbed: once written as hex, a name in
// the data could no longer be seen.
SessionExport::Source scrubbed(SessionExport::Source source, DiagnosticPack::Scrubber &scrubber)
{
    for (SessionEvent &event : source.events) {
        event.bytes = scrubber.apply(event.bytes);
        event.text = scrubber.applyToName(event.text);
        event.peer = scrubber.applyToName(event.peer);
    }
    return source;
}

QByteArray readTail(const QString &path, qint64 limit)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QByteArrayLiteral("(the file could not be read)\n");
    }
    const qint64 size = file.size();
    if (size > limit) {
        file.seek(size - limit);
    }
    return file.read(limit);
}

} // namespace

QStringList DiagnosticPack::optionIds()
{
    QStringList ids;
    for (const OptionText &o : optionTexts) {
        ids << QLatin1String(o.id);
    }
    return ids;
}

QString DiagnosticPack::optionTitle(const QString &id, bool translated)
{
    for (const OptionText &o : optionTexts) {
        if (id == QLatin1String(o.id)) {
            return translated ? tr(o.title) : QString::fromUtf8(o.title);
        }
    }
    return id;
}

bool DiagnosticPack::option(const Options &options, const QString &id)
{
    const Options *o = &options;
    return id == QLatin1String("traffic")          ? o->traffic
           : id == QLatin1String("project")        ? o->project
           : id == QLatin1String("library")        ? o->library
           : id == QLatin1String("sendHistory")    ? o->sendHistory
           : id == QLatin1String("bridgeCaptures") ? o->bridgeCaptures
           : id == QLatin1String("sequences")      ? o->sequences
                                                   : false;
}

void DiagnosticPack::setOption(Options &options, const QString &id, bool on)
{
    bool *field = id == QLatin1String("traffic")          ? &options.traffic
                  : id == QLatin1String("project")        ? &options.project
                  : id == QLatin1String("library")        ? &options.library
                  : id == QLatin1String("sendHistory")    ? &options.sendHistory
                  : id == QLatin1String("bridgeCaptures") ? &options.bridgeCaptures
                  : id == QLatin1String("sequences")      ? &options.sequences
                                                          : nullptr;
    if (field) {
        *field = on;
    }
}

DiagnosticPack::Options DiagnosticPack::loadOptions(const QVariant &stored)
{
    // Stored as the list of options that are on; nothing stored gives the defaults.
    if (!stored.isValid()) {
        return {};
    }
    const QStringList on = stored.toStringList();
    Options options;
    for (const QString &id : optionIds()) {
        setOption(options, id, on.contains(id));
    }
    return options;
}

QVariant DiagnosticPack::saveOptions(const Options &options)
{
    QStringList on;
    for (const QString &id : optionIds()) {
        if (option(options, id)) {
            on << id;
        }
    }
    return on;
}

QStringList DiagnosticPack::environmentKeys()
{
    return {QStringLiteral("appName"),       QStringLiteral("appVersion"),
            QStringLiteral("appBuild"),      QStringLiteral("channel"),
            QStringLiteral("qtRuntime"),     QStringLiteral("qtBuild"),
            QStringLiteral("os"),            QStringLiteral("osType"),
            QStringLiteral("osVersion"),     QStringLiteral("kernelType"),
            QStringLiteral("kernelVersion"), QStringLiteral("cpuArch"),
            QStringLiteral("buildAbi"),      QStringLiteral("locale"),
            QStringLiteral("uiLanguage"),    QStringLiteral("appearance"),
            QStringLiteral("screens"),       QStringLiteral("screenScales"),
            QStringLiteral("signedIn"),      QStringLiteral("uptimeSeconds"),
            QStringLiteral("portCount"),     QStringLiteral("layout"),
            QStringLiteral("createdAt")};
}

namespace {

// A name safe in an archive path on every system: letters, digits, "-", "_" and "."
// of any script stay; runs of anything else become one "_", and dots cannot lead.
QString safeFileName(const QString &text, const QString &fallback)
{
    QString safe = text;
    static const QRegularExpression unsafe(QStringLiteral("[^\\p{L}\\p{N}._-]+"));
    safe.replace(unsafe, QStringLiteral("_"));
    while (safe.startsWith(u'.')) {
        safe.remove(0, 1);
    }
    safe = safe.left(48);
    return safe.isEmpty() || safe == QLatin1String("_") ? fallback : safe;
}

} // namespace

QString DiagnosticPack::entryDirName(int index, const QString &label, Scrubber &scrubber)
{
    const QString safe = safeFileName(scrubber.applyToName(label), QStringLiteral("port"));
    return QStringLiteral("%1-%2").arg(index, 2, 10, QLatin1Char('0')).arg(safe);
}

void DiagnosticPack::fillTraffic(PortSnapshot &snapshot, const SessionRecorder &recorder)
{
    snapshot.hasRecord = true;
    snapshot.record = recorder.stats();
    const auto &held = recorder.events();
    snapshot.events = QList<SessionEvent>(held.begin(), held.end());
}

DiagnosticPack::Plan DiagnosticPack::plan(const Input &input)
{
    Plan plan;
    plan.machineIds = input.machineIds;
    plan.userNames = input.userNames;
    plan.hostNames = input.hostNames;
    const Options &o = input.options;
    // The library and the send history come only within the project file.
    const QStringList inProject = {QStringLiteral("library"), QStringLiteral("sendHistory")};
    for (const QString &id : optionIds()) {
        if (!option(o, id) || (!o.project && inProject.contains(id))) {
            plan.omissions << id;
        }
    }
    Scrubber names(input.machineIds, input.userNames, input.hostNames);
    QList<Entry> &e = plan.entries;

    QJsonObject environment;
    for (const QString &key : environmentKeys()) {
        environment.insert(key, QJsonValue::fromVariant(input.environment.value(key)));
    }
    e.append(entry(QStringLiteral("app/environment.json"), tr("Program, system and screens"),
              [doc = json(environment)] { return doc; }));

    QJsonObject preferences;
    for (const QString &key : preferenceKeys()) {
        if (input.preferences.contains(key)) {
            preferences.insert(key, QJsonValue::fromVariant(input.preferences.value(key)));
        }
    }
    e.append(entry(QStringLiteral("app/preferences.json"), tr("Application settings (allow-list)"),
              [doc = json(preferences)] { return doc; }));

    QJsonArray serial;
    for (const SerialPortEntry &s : input.serialPorts) {
        serial.append(QJsonObject{{QStringLiteral("portName"), s.portName},
                                  {QStringLiteral("description"), s.description},
                                  {QStringLiteral("manufacturer"), s.manufacturer},
                                  {QStringLiteral("systemLocation"), s.systemLocation},
                                  {QStringLiteral("vid"), hex4(s.vid)},
                                  {QStringLiteral("pid"), hex4(s.pid)}});
    }
    e.append(entry(QStringLiteral("app/serial-ports.json"), tr("Serial ports of this computer"),
              [doc = json(serial)] { return doc; }));

    QJsonArray live;
    for (const LiveSyncEntry &l : input.liveSync) {
        QJsonObject item{{QStringLiteral("feature"), l.feature}, {QStringLiteral("on"), l.on}};
        if (!l.peer.isEmpty()) {
            item.insert(QStringLiteral("peer"), l.peer);
        }
        if (!l.level.isEmpty()) {
            item.insert(QStringLiteral("level"), l.level);
        }
        if (l.count >= 0) {
            item.insert(QStringLiteral("count"), l.count);
        }
        if (l.inUse >= 0) {
            item.insert(QStringLiteral("inUse"), l.inUse > 0);
        }
        live.append(item);
    }
    e.append(entry(QStringLiteral("app/live-sync.json"), tr("What is shared through the cloud"),
              [doc = json(live)] { return doc; }));

    if (o.project) {
        e.append(entry(QStringLiteral("project/project.vlm"), tr("The project, filtered"),
                  [map = filterProject(input.project, input.homes, o)] { return renderIni(map); }));
    }

    QStringList limits;
    for (const PortSnapshot &p : input.ports) {
        const QString dir = QStringLiteral("ports/") + entryDirName(p.index, p.label, names);
        e.append(entry(dir + QStringLiteral("/port.json"), tr("Port settings and counters"),
                  [doc = portJson(p)] { return doc; }));
        if (o.traffic) {
            SessionExport::Options exportOptions;
            exportOptions.exportedAtUs = input.when.toMSecsSinceEpoch() * 1000;
            exportOptions.appVersion = input.appVersion;
            const SessionExport::Source source = trafficSource(p, p.id);
            e.append(entry(dir + QStringLiteral("/session.jsonl"), tr("Data sent and received, JSON Lines"),
                      [source, exportOptions](Scrubber &scrubber) {
                          return SessionExport::toJsonl({scrubbed(source, scrubber)}, exportOptions);
                      }));
            e.append(entry(dir + QStringLiteral("/session.txt"), tr("Data sent and received, text"),
                      [source, exportOptions](Scrubber &scrubber) {
                          return SessionExport::toText({scrubbed(source, scrubber)}, exportOptions);
                      }));
        }
        if (o.sequences && !p.sequencesJson.isEmpty()) {
            e.append(entry(dir + QStringLiteral("/sequences.txt"), tr("Sequence reports, text"),
                      [text = p.sequencesText] { return text.toUtf8(); }));
            e.append(entry(dir + QStringLiteral("/sequences.json"), tr("Sequence reports, JSON"),
                      [doc = p.sequencesJson] { return doc; }));
        }
    }

    QJsonArray bridges;
    for (const BridgeSnapshot &b : input.bridges) {
        QJsonObject item = QJsonObject::fromVariantMap(b.settings);
        item.insert(QStringLiteral("name"), b.name);
        item.remove(QStringLiteral("LogFilePath"));
        bridges.append(item);
    }
    e.append(entry(QStringLiteral("bridges/bridges.json"), tr("Bridge settings and counters"),
              [doc = json(bridges)] { return doc; }));
    if (o.bridgeCaptures) {
        for (int i = 0; i < input.bridges.size(); ++i) {
            const BridgeSnapshot &b = input.bridges.at(i);
            if (b.capturePath.isEmpty()) {
                continue;
            }
            e.append(entry(QStringLiteral("bridges/%1.log").arg(entryDirName(i, b.name, names)),
                      tr("Bridge capture, last 1 MB"),
                      [path = b.capturePath] { return readTail(path, CaptureTailBytes); }));
        }
    }

    QStringList leftOut;
    if (o.traffic) {
        // Named by number only: a file name is the user's choice and may hold a name the
        // scrubber's whole-word rule does not see ("alice-test").
        for (int i = 0; i < input.recordings.size(); ++i) {
            const QString &path = input.recordings.at(i);
            const QString name = QStringLiteral("recording-%1.vlmlog").arg(i + 1, 2, 10, QLatin1Char('0'));
            if (QFileInfo(path).size() > MaxRecordingBytes) {
                leftOut << name;
                continue;
            }
            e.append(entry(QStringLiteral("recordings/") + name, tr("Session recording"),
                      [path](Scrubber &scrubber) {
                          return scrubHexFields(readTail(path, MaxRecordingBytes), scrubber);
                      }));
        }
    }

    QStringList paths = {QStringLiteral("README.txt")};
    for (const Entry &entry : e) {
        paths << entry.path;
    }
    paths << QStringLiteral("manifest.json");
    e.prepend(entry(QStringLiteral("README.txt"), tr("What this pack holds, English and Chinese"),
               [readme = readme(input, paths, plan.omissions, leftOut)] { return readme; }));
    return plan;
}

QByteArray DiagnosticPack::scrubHexFields(const QByteArray &lines, Scrubber &scrubber)
{
    static const QByteArray field = QByteArrayLiteral("\"hex\":\"");
    QByteArray out;
    out.reserve(lines.size());
    qsizetype from = 0;
    for (qsizetype at = lines.indexOf(field); at >= 0; at = lines.indexOf(field, from)) {
        const qsizetype start = at + field.size();
        const qsizetype end = lines.indexOf('"', start);
        if (end < 0) {
            break;
        }
        out.append(lines.constData() + from, start - from);
        const QByteArray hex = lines.mid(start, end - start);
        const QByteArray data = QByteArray::fromHex(hex);
        const QByteArray clean = scrubber.apply(data);
        // Only a field that changed is rewritten, so the rest stays byte for byte.
        out.append(clean == data ? hex : clean.toHex().toUpper());
        from = end;
    }
    out.append(lines.constData() + from, lines.size() - from);
    return out;
}

bool DiagnosticPack::write(const Plan &plan, ZipWriter &zip, const QDateTime &when,
                           QString *error, const Progress &progress, Result *result)
{
    Scrubber scrubber(plan.machineIds, plan.userNames, plan.hostNames);
    QJsonArray listed;
    bool stopped = false;
    const int total = int(plan.entries.size());
    for (int i = 0; i < total; ++i) {
        if (progress && !progress(i, total)) {
            stopped = true;
            break;
        }
        const Entry &entry = plan.entries.at(i);
        QByteArray bytes = entry.produce ? entry.produce(scrubber)
                           : entry.bytes ? entry.bytes()
                                         : QByteArray();
        if (entry.scrub) {
            bytes = scrubber.apply(bytes);
        }
        if (!zip.addFile(entry.path, bytes, when)) {
            if (error) {
                *error = zip.errorString();
            }
            return false;
        }
        listed.append(QJsonObject{{QStringLiteral("path"), entry.path},
                                  {QStringLiteral("bytes"), qint64(bytes.size())},
                                  {QStringLiteral("about"), entry.about}});
    }
    if (!stopped && progress) {
        progress(total, total);
    }
    QJsonObject manifest{{QStringLiteral("entries"), listed},
                         {QStringLiteral("scrubbed"), scrubber.replaced}};
    if (stopped) {
        manifest.insert(QStringLiteral("cancelled"), true);
    }
    // The manifest is scrubbed like every entry; its own hits are few (the entry paths
    // are scrubbed already) and not counted in the number it holds.
    const QByteArray manifestBytes = scrubber.apply(json(manifest));
    if (result) {
        result->cancelled = stopped;
        result->scrubbed = manifest.value(QStringLiteral("scrubbed")).toInteger();
        result->manifest = manifestBytes;
    }
    if (!zip.addFile(QStringLiteral("manifest.json"), manifestBytes, when) || !zip.finish()) {
        if (error) {
            *error = zip.errorString();
        }
        return false;
    }
    return true;
}
