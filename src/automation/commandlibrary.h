#pragma once

// The command library as plain values: ready-made messages in named groups, and named
// sequences of steps beside them. How a command becomes bytes and how the library is
// named and merged is CommandLibraryText; how it is stored is CommandLibraryCodec; how a
// sequence runs is SequenceEngine.

#include "automation/autoreplyengine.h"

#include <QList>
#include <QMetaType>
#include <QString>

// One ready-made message.
struct Command
{
    enum Format : int {
        TextForm = 0,
        HexForm = 1,
    };

    QString name;
    int format = TextForm; // 0 text, 1 hex
    QString text;          // escapes in text form, pairs of hex digits in hex form
    int lineEnding = -1;   // -1: the port's setting; otherwise 0 to 4 (_tagLineEndingMode)
    int checksum = -1;     // -1: the port's setting; otherwise a send-path checksum mode 0 to 5
    QString shortcut;      // a key sequence in portable text, may be empty
    QString note;          // free text, may be empty

    bool isHex() const { return format == HexForm; }
    bool operator==(const Command &) const = default;
};

struct CommandGroup
{
    QString name;
    QList<Command> commands;

    bool operator==(const CommandGroup &) const = default;
};

enum class SequenceStepKind : qint32 {
    Send = 0,
    Wait = 1,
    Expect = 2,
    Loop = 3,
    Label = 4,
};

// One step of a sequence. Each kind reads only its own fields; the others keep their
// values so that switching a step's kind back and forth in a dialog loses nothing.
struct SequenceStep
{
    static constexpr int DefaultMs = 1000;
    static constexpr int MaxMs = 3600000;
    static constexpr int DefaultLoopCount = 2;
    static constexpr int MaxLoopCount = 1000000;

    SequenceStepKind kind = SequenceStepKind::Send;
    Command command;        // Send: the step's own copy of the command
    int ms = DefaultMs;     // Wait: the pause; Expect: the limit, 0 for none
    AutoReplyMatch match = AutoReplyMatch::Text; // Expect
    QString pattern;        // Expect
    bool continueOnFail = false; // Expect: record a failure and go on
    QString label;          // Label: its name; Loop: where to go back to, empty for the start
    int loopCount = DefaultLoopCount; // Loop: passes in all, 0 until stopped

    bool operator==(const SequenceStep &) const = default;
};

struct Sequence
{
    QString name;
    QList<SequenceStep> steps;

    bool operator==(const Sequence &) const = default;
};

struct CommandLibrary
{
    // Applied when reading and when merging.
    static constexpr int MaxGroups = 64;
    static constexpr int MaxCommandsPerGroup = 256;
    static constexpr int MaxSequences = 256;
    static constexpr int MaxSteps = 1000;

    QList<CommandGroup> groups;
    QList<Sequence> sequences;

    int commandCount() const;
    // The first command called `name`, searching the groups in order; null for none.
    const Command *findCommand(const QString &name) const;
    bool isEmpty() const { return groups.isEmpty() && sequences.isEmpty(); }
    bool operator==(const CommandLibrary &) const = default;
};

Q_DECLARE_METATYPE(Command)
Q_DECLARE_METATYPE(SequenceStep)
Q_DECLARE_METATYPE(Sequence)
Q_DECLARE_METATYPE(CommandLibrary)
