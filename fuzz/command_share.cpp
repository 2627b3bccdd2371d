// Reads the input as a ".vlmcmd" share file. Whatever the content, reading ends in a
// library or a message; a library read lies within the limits, and writing it out and
// reading it back gives the same library. An input whose first byte is odd gets the
// header put in front of the rest, so random inputs reach the library reader too.

#include "automation/commandlibrarycodec.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {
void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// QSettings caches files by path, so every file gets a name of its own.
QString freshPath(const QTemporaryDir &dir)
{
    static quint64 counter = 0;
    return dir.filePath(QStringLiteral("c%1.vlmcmd").arg(++counter));
}

void checkLimits(const CommandLibrary &library)
{
    check(library.groups.size() <= CommandLibrary::MaxGroups, "group count");
    check(library.sequences.size() <= CommandLibrary::MaxSequences, "sequence count");
    for (const CommandGroup &group : library.groups) {
        check(group.commands.size() <= CommandLibrary::MaxCommandsPerGroup, "command count");
        for (const Command &command : group.commands) {
            check(command.format == Command::TextForm || command.format == Command::HexForm,
                  "format");
            check(command.lineEnding >= -1 && command.lineEnding <= 4, "line ending");
            check(command.checksum >= -1 && command.checksum <= 5, "checksum");
        }
    }
    for (const Sequence &sequence : library.sequences) {
        check(sequence.steps.size() <= CommandLibrary::MaxSteps, "step count");
        for (const SequenceStep &step : sequence.steps) {
            check(int(step.kind) >= 0 && int(step.kind) <= 4, "step kind");
            check(int(step.match) >= 0 && int(step.match) <= 3, "match");
            check(step.ms >= 0 && step.ms <= SequenceStep::MaxMs, "ms");
            check(step.loopCount >= 0 && step.loopCount <= SequenceStep::MaxLoopCount,
                  "loop count");
            check(step.command.lineEnding >= -1 && step.command.lineEnding <= 4,
                  "step line ending");
            check(step.command.checksum >= -1 && step.command.checksum <= 5, "step checksum");
        }
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    const QString path = freshPath(dir);
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            return 0;
        }
        QByteArray content(reinterpret_cast<const char *>(data), qsizetype(size));
        if (!content.isEmpty() && (content.front() & 1)) {
            content = QByteArrayLiteral("[VlmCmd]\nFormat=1\n") + content.mid(1);
        }
        file.write(content);
    }

    CommandLibrary library;
    library.groups.append(CommandGroup{QStringLiteral("sentinel"), {}});
    const CommandLibrary before = library;
    QString error;
    const bool ok = CommandLibraryCodec::readShareFile(path, &library, &error);
    QFile::remove(path);
    check(ok == error.isEmpty(), "result and message disagree");
    if (!ok) {
        check(library == before, "a failed read changed the library");
        return 0;
    }
    checkLimits(library);

    const QString copy = freshPath(dir);
    check(CommandLibraryCodec::writeShareFile(copy, library, &error), "writing failed");
    CommandLibrary again;
    check(CommandLibraryCodec::readShareFile(copy, &again, &error), "reading back failed");
    QFile::remove(copy);
    check(again == library, "a written library reads back differently");
    return 0;
}
