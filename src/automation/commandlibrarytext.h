#pragma once

// The text side of the command library: the captions of commands and steps, free names
// for new or imported items, merging one library into another, and the one way a
// command becomes bytes (through the send path's encoder, so a command sends exactly
// what the same text in the send box would).

#include "automation/commandlibrary.h"
#include "connection/messagecodec.h"

#include <QCoreApplication>
#include <QList>
#include <QString>

class CommandLibraryText
{
    Q_DECLARE_TR_FUNCTIONS(CommandLibraryText)

public:
    static constexpr int TitleLength = 24;

    // The trimmed name; without one the text elided to 24 characters; else "(empty)".
    static QString commandTitle(const Command &command);
    // `name`, or "name (2)", "name (3)", ... whichever is first not in `taken`.
    static QString uniqueName(const QString &name, const QList<QString> &taken);
    // One line describing a step, as lists and error messages show it.
    static QString stepSummary(const SequenceStep &step);
    // The bytes the command sends on a port with `format`, and the text to display.
    // The command's own line ending and checksum override the port's when set.
    static EncodeSendResult encode(const Command &command, const FormatSetting &format);
    // Appends the groups and sequences of `from` to `into` under free names, up to the
    // library's limits, and returns how many were taken over.
    static int merge(CommandLibrary *into, const CommandLibrary &from);
    // White space simplified; a longer text cut to `limit` - 1 characters and "…".
    static QString elide(const QString &text, int limit);
};
