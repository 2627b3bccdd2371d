#include "automation/commandlibrarytext.h"

namespace {
const QString Ellipsis = QStringLiteral("\u2026");

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

// Appends the items of `from` under names free in `taken`, until `into` holds `limit`.
template<typename T>
int appendRenamed(QList<T> &into, const QList<T> &from, int limit)
{
    QList<QString> taken;
    for (const T &item : std::as_const(into)) {
        taken.append(item.name);
    }
    int count = 0;
    for (T item : from) {
        if (into.size() >= limit) {
            break;
        }
        item.name = CommandLibraryText::uniqueName(item.name, taken);
        taken.append(item.name);
        into.append(item);
        ++count;
    }
    return count;
}
} // namespace

QString CommandLibraryText::elide(const QString &text, int limit)
{
    const QString simple = text.simplified();
    if (limit < 1 || simple.size() <= limit) {
        return simple;
    }
    return simple.left(limit - 1) + Ellipsis;
}

QString CommandLibraryText::commandTitle(const Command &command)
{
    const QString name = command.name.trimmed();
    if (!name.isEmpty()) {
        return name;
    }
    const QString text = elide(command.text.trimmed(), TitleLength);
    return text.isEmpty() ? tr("(empty)") : text;
}

QString CommandLibraryText::uniqueName(const QString &name, const QList<QString> &taken)
{
    if (!taken.contains(name)) {
        return name;
    }
    for (qsizetype number = 2;; ++number) {
        const QString candidate = QStringLiteral("%1 (%2)").arg(name, QString::number(number));
        if (!taken.contains(candidate)) {
            return candidate;
        }
    }
}

QString CommandLibraryText::stepSummary(const SequenceStep &step)
{
    switch (step.kind) {
    case SequenceStepKind::Send:
        return tr("Send %1").arg(commandTitle(step.command));
    case SequenceStepKind::Wait:
        return tr("Wait %1 ms").arg(step.ms);
    case SequenceStepKind::Expect:
        if (step.ms > 0) {
            return tr("Expect \"%1\" within %2 ms").arg(step.pattern, QString::number(step.ms));
        }
        return tr("Expect \"%1\" (no time limit)").arg(step.pattern);
    case SequenceStepKind::Loop: {
        const QString target = step.label.isEmpty() ? tr("the start") : quoted(step.label);
        if (step.loopCount > 0) {
            return tr("Repeat from %1, %n time(s) in all", nullptr, step.loopCount).arg(target);
        }
        return tr("Repeat from %1 until stopped").arg(target);
    }
    case SequenceStepKind::Label:
        return tr("Label \"%1\"").arg(step.label);
    }
    return QString();
}

EncodeSendResult CommandLibraryText::encode(const Command &command, const FormatSetting &format)
{
    const int checksum = command.checksum == -1 ? format.sendChecksum : command.checksum;

    if (command.isHex()) {
        EncodeSendResult result;
        QList<int> values;
        QString error;
        if (!AutoReplyEngine::parseHex(command.text, false, values, error)) {
            result.error = error;
            return result;
        }
        // As in the send box, a hex line without bytes sends nothing, not a checksum
        // of nothing. A hex command never gets a line ending.
        if (values.isEmpty()) {
            result.ok = true;
            return result;
        }
        QByteArray bytes;
        bytes.reserve(values.size());
        for (const int value : std::as_const(values)) {
            bytes.append(char(value));
        }
        result.bytes = MessageCodec::appendChecksum(bytes, checksum);
        result.text = MessageCodec::toHexString(result.bytes);
        result.ok = true;
        return result;
    }

    FormatSetting copy = format;
    copy.sendEscapes = true;
    copy.sendChecksum = checksum;
    if (command.lineEnding != -1) {
        // The append switch follows the mode: on for 1 to 4, off for 0.
        copy.txLineEndingMode = lineEndingModeFromInt(command.lineEnding);
    }
    QString text = command.text;
    if (text.isEmpty()) {
        if (!copy.txAutoFeedLine()) {
            EncodeSendResult result;
            result.error = tr("The command is empty.");
            return result;
        }
        text = QStringLiteral("\n"); // just the line ending
    }
    return MessageCodec::encodeSend(text, false, copy);
}

int CommandLibraryText::merge(CommandLibrary *into, const CommandLibrary &from)
{
    if (!into) {
        return 0;
    }
    return appendRenamed(into->groups, from.groups, CommandLibrary::MaxGroups) +
           appendRenamed(into->sequences, from.sequences, CommandLibrary::MaxSequences);
}
