#include "automation/commandlibrarycodec.h"

#include "common/storedvaluereader.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>
#include <limits>

namespace {
using Reader = StoredValueReader;

constexpr qint32 IntMin = std::numeric_limits<qint32>::min();
constexpr qint32 IntMax = std::numeric_limits<qint32>::max();

const QString CommandsGroup = QStringLiteral("Commands");
const QString SequencesGroup = QStringLiteral("Sequences");
const QString CountKey = QStringLiteral("Count");
const QString NameKey = QStringLiteral("Name");
const QString HeaderFormatKey = QStringLiteral("VlmCmd/Format");
const QString HeaderApplicationKey = QStringLiteral("VlmCmd/Application");

QString join(const QString &a, const QString &b)
{
    return QStringLiteral("%1/%2").arg(a, b);
}

QString join(const QString &a, int index)
{
    return join(a, QString::number(index));
}

void fail(QString *error, const QString &text)
{
    if (error) {
        *error = text;
    }
}

// A command's fields under `base`, each key name behind `lead` ("" in a group,
// "Command" in a Send step).
void saveCommand(QSettings &settings, const QString &base, const QString &lead,
                 const Command &command)
{
    const auto key = [&](const char *name) { return join(base, lead + QLatin1String(name)); };
    settings.setValue(key("Name"), command.name);
    settings.setValue(key("Format"), command.format == Command::HexForm ? 1 : 0);
    settings.setValue(key("Text"), command.text);
    settings.setValue(key("LineEnding"), command.lineEnding);
    settings.setValue(key("Checksum"), command.checksum);
    if (!command.shortcut.isEmpty()) {
        settings.setValue(key("Shortcut"), command.shortcut);
    }
    if (!command.note.isEmpty()) {
        settings.setValue(key("Note"), command.note);
    }
}

// -1 stays (the port's setting); anything else is clamped into 0..max.
int readPortOverride(const QSettings &settings, const QString &key, int max)
{
    const int value = Reader::readInt(settings, key, -1, IntMin, IntMax);
    return value == -1 ? -1 : std::clamp(value, 0, max);
}

Command loadCommand(const QSettings &settings, const QString &base, const QString &lead)
{
    const auto key = [&](const char *name) { return join(base, lead + QLatin1String(name)); };
    Command command;
    command.name = Reader::readString(settings, key("Name"), QString());
    command.format = Reader::readInt(settings, key("Format"), 0, IntMin, IntMax) == 1
                         ? Command::HexForm
                         : Command::TextForm;
    command.text = Reader::readString(settings, key("Text"), QString());
    command.lineEnding = readPortOverride(settings, key("LineEnding"), 4);
    command.checksum = readPortOverride(settings, key("Checksum"), 5);
    command.shortcut = Reader::readString(settings, key("Shortcut"), QString());
    command.note = Reader::readString(settings, key("Note"), QString());
    return command;
}

void saveStep(QSettings &settings, const QString &base, const SequenceStep &step)
{
    settings.setValue(join(base, QStringLiteral("Kind")), qint32(step.kind));
    switch (step.kind) {
    case SequenceStepKind::Send:
        saveCommand(settings, base, QStringLiteral("Command"), step.command);
        break;
    case SequenceStepKind::Wait:
        settings.setValue(join(base, QStringLiteral("Ms")), step.ms);
        break;
    case SequenceStepKind::Expect:
        settings.setValue(join(base, QStringLiteral("Ms")), step.ms);
        settings.setValue(join(base, QStringLiteral("Match")), qint32(step.match));
        settings.setValue(join(base, QStringLiteral("Pattern")), step.pattern);
        settings.setValue(join(base, QStringLiteral("ContinueOnFail")), step.continueOnFail);
        break;
    case SequenceStepKind::Loop:
        settings.setValue(join(base, QStringLiteral("Label")), step.label);
        settings.setValue(join(base, QStringLiteral("LoopCount")), step.loopCount);
        break;
    case SequenceStepKind::Label:
        settings.setValue(join(base, QStringLiteral("Label")), step.label);
        break;
    }
}

SequenceStep loadStep(const QSettings &settings, const QString &base)
{
    SequenceStep step;
    step.kind = SequenceStepKind(
        Reader::readChoice(settings, join(base, QStringLiteral("Kind")), 0, {1, 2, 3, 4}));
    const auto readMs = [&] {
        return Reader::readInt(settings, join(base, QStringLiteral("Ms")), SequenceStep::DefaultMs,
                               0, SequenceStep::MaxMs);
    };
    switch (step.kind) {
    case SequenceStepKind::Send:
        step.command = loadCommand(settings, base, QStringLiteral("Command"));
        break;
    case SequenceStepKind::Wait:
        step.ms = readMs();
        break;
    case SequenceStepKind::Expect:
        step.ms = readMs();
        step.match = AutoReplyMatch(
            Reader::readChoice(settings, join(base, QStringLiteral("Match")), 0, {1, 2, 3}));
        step.pattern = Reader::readString(settings, join(base, QStringLiteral("Pattern")),
                                          QString());
        step.continueOnFail =
            Reader::readBool(settings, join(base, QStringLiteral("ContinueOnFail")), false);
        break;
    case SequenceStepKind::Loop:
        step.label = Reader::readString(settings, join(base, QStringLiteral("Label")), QString());
        step.loopCount =
            Reader::readInt(settings, join(base, QStringLiteral("LoopCount")),
                            SequenceStep::DefaultLoopCount, 0, SequenceStep::MaxLoopCount);
        break;
    case SequenceStepKind::Label:
        step.label = Reader::readString(settings, join(base, QStringLiteral("Label")), QString());
        break;
    }
    return step;
}

int readCount(const QSettings &settings, const QString &group, int limit)
{
    return Reader::readInt(settings, join(group, CountKey), 0, 0, limit);
}
} // namespace

QString CommandLibraryCodec::shareFileExtension()
{
    return QStringLiteral("vlmcmd");
}

void CommandLibraryCodec::save(QSettings &settings, const QString &prefix,
                               const CommandLibrary &library)
{
    const QString commands = prefix + CommandsGroup;
    const QString sequences = prefix + SequencesGroup;
    settings.remove(commands);
    settings.remove(sequences);

    const int groupCount = int(std::min<qsizetype>(library.groups.size(), CommandLibrary::MaxGroups));
    settings.setValue(join(commands, CountKey), groupCount);
    for (int i = 0; i < groupCount; ++i) {
        const CommandGroup &group = library.groups.at(i);
        const QString base = join(commands, i);
        const int count = int(
            std::min<qsizetype>(group.commands.size(), CommandLibrary::MaxCommandsPerGroup));
        settings.setValue(join(base, NameKey), group.name);
        settings.setValue(join(base, CountKey), count);
        for (int j = 0; j < count; ++j) {
            saveCommand(settings, join(base, j), QString(), group.commands.at(j));
        }
    }

    const int sequenceCount =
        int(std::min<qsizetype>(library.sequences.size(), CommandLibrary::MaxSequences));
    settings.setValue(join(sequences, CountKey), sequenceCount);
    for (int i = 0; i < sequenceCount; ++i) {
        const Sequence &sequence = library.sequences.at(i);
        const QString base = join(sequences, i);
        const int count = int(std::min<qsizetype>(sequence.steps.size(), CommandLibrary::MaxSteps));
        settings.setValue(join(base, NameKey), sequence.name);
        settings.setValue(join(base, CountKey), count);
        for (int j = 0; j < count; ++j) {
            saveStep(settings, join(base, j), sequence.steps.at(j));
        }
    }
}

CommandLibrary CommandLibraryCodec::load(QSettings &settings, const QString &prefix)
{
    CommandLibrary library;
    const QString commands = prefix + CommandsGroup;
    const int groupCount = readCount(settings, commands, CommandLibrary::MaxGroups);
    for (int i = 0; i < groupCount; ++i) {
        const QString base = join(commands, i);
        CommandGroup group;
        group.name = Reader::readString(settings, join(base, NameKey), QString());
        const int count = readCount(settings, base, CommandLibrary::MaxCommandsPerGroup);
        for (int j = 0; j < count; ++j) {
            group.commands.append(loadCommand(settings, join(base, j), QString()));
        }
        library.groups.append(group);
    }

    const QString sequences = prefix + SequencesGroup;
    const int sequenceCount = readCount(settings, sequences, CommandLibrary::MaxSequences);
    for (int i = 0; i < sequenceCount; ++i) {
        const QString base = join(sequences, i);
        Sequence sequence;
        sequence.name = Reader::readString(settings, join(base, NameKey), QString());
        const int count = readCount(settings, base, CommandLibrary::MaxSteps);
        for (int j = 0; j < count; ++j) {
            sequence.steps.append(loadStep(settings, join(base, j)));
        }
        library.sequences.append(sequence);
    }
    return library;
}

bool CommandLibraryCodec::contains(QSettings &settings, const QString &prefix)
{
    return settings.contains(join(prefix + CommandsGroup, CountKey));
}

bool CommandLibraryCodec::writeShareFile(const QString &path, const CommandLibrary &library,
                                         QString *error)
{
    if (QFileInfo::exists(path) && !QFile::remove(path)) {
        fail(error, tr("The existing file could not be replaced."));
        return false;
    }
    QSettings settings(path, QSettings::IniFormat);
    settings.clear(); // nothing of a cached earlier file at this path comes back
    settings.setValue(HeaderFormatKey, ShareFileFormat);
    settings.setValue(HeaderApplicationKey, QStringLiteral("Velmora"));
    save(settings, QString(), library);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        fail(error, tr("The file could not be written."));
        return false;
    }
    return true;
}

bool CommandLibraryCodec::readShareFile(const QString &path, CommandLibrary *out, QString *error)
{
    if (!QFileInfo(path).isFile()) {
        fail(error, tr("The file does not exist."));
        return false;
    }
    QSettings settings(path, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError) {
        fail(error, tr("The file could not be read."));
        return false;
    }
    if (!settings.contains(HeaderFormatKey)) {
        fail(error, tr("This is not an VLM command file."));
        return false;
    }
    const CommandLibrary library = load(settings, QString());
    if (out) {
        *out = library;
    }
    return true;
}
