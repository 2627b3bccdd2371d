#pragma once

// Short builders for commands and sequence steps; each sets only the fields of its kind.

#include "automation/commandlibrary.h"

namespace steps {

inline Command command(const QString &name, const QString &text, int format = Command::TextForm)
{
    Command c;
    c.name = name;
    c.text = text;
    c.format = format;
    return c;
}

inline SequenceStep stepOf(SequenceStepKind kind)
{
    SequenceStep step;
    step.kind = kind;
    return step;
}

// A Send of `text` with no line ending, so the bytes are exactly the text.
inline SequenceStep send(const QString &text)
{
    SequenceStep step;
    step.command.text = text;
    step.command.lineEnding = 0;
    return step;
}

inline SequenceStep wait(int ms)
{
    SequenceStep step = stepOf(SequenceStepKind::Wait);
    step.ms = ms;
    return step;
}

inline SequenceStep expect(const QString &pattern, int ms, bool continueOnFail = false,
                           AutoReplyMatch match = AutoReplyMatch::Text)
{
    SequenceStep step = stepOf(SequenceStepKind::Expect);
    step.pattern = pattern;
    step.ms = ms;
    step.continueOnFail = continueOnFail;
    step.match = match;
    return step;
}

inline SequenceStep loop(const QString &label, int count)
{
    SequenceStep step = stepOf(SequenceStepKind::Loop);
    step.label = label;
    step.loopCount = count;
    return step;
}

inline SequenceStep label(const QString &name)
{
    SequenceStep step = stepOf(SequenceStepKind::Label);
    step.label = name;
    return step;
}

} // namespace steps
