#include "automation/sequenceengine.h"

#include "automation/commandlibrarytext.h"
#include "connection/settings.h"

#include <algorithm>

bool SequenceEngine::load(const Sequence &sequence, const FormatSetting &format, QString *error)
{
    name = sequence.name;
    steps.clear();
    events.clear();
    loopPasses.clear();
    rxBuffer.clear();
    state = SequenceState::Idle;
    step = 0;
    entered = awaitingSend = false;
    failures = 0;
    firstFailedStep = failedStep = -1;
    message.clear();

    const auto refuse = [&](const QString &text) {
        steps.clear();
        if (error) {
            *error = text;
        }
        return false;
    };
    if (sequence.steps.isEmpty()) {
        return refuse(tr("The sequence has no steps."));
    }
    QList<Compiled> compiled;
    compiled.reserve(sequence.steps.size());
    for (int i = 0; i < sequence.steps.size(); ++i) {
        Compiled out;
        QString cause;
        if (!compileStep(i, sequence, format, &out, &cause)) {
            return refuse(tr("Step %1 (%2): %3").arg(i + 1).arg(out.title, cause));
        }
        compiled.append(out);
    }
    steps = compiled;
    return true;
}

bool SequenceEngine::compileStep(int index, const Sequence &sequence, const FormatSetting &format,
                                 Compiled *out, QString *cause) const
{
    const SequenceStep &source = sequence.steps.at(index);
    out->kind = source.kind;
    out->title = CommandLibraryText::stepSummary(source);
    switch (source.kind) {
    case SequenceStepKind::Send: {
        const EncodeSendResult encoded = CommandLibraryText::encode(source.command, format);
        if (!encoded.ok) {
            *cause = encoded.error;
            return false;
        }
        if (encoded.bytes.isEmpty()) {
            *cause = tr("The command is empty.");
            return false;
        }
        out->bytes = encoded.bytes;
        return true;
    }
    case SequenceStepKind::Wait:
        out->ms = std::max(source.ms, 0);
        return true;
    case SequenceStepKind::Expect: {
        AutoReplyRule rule;
        rule.match = source.match;
        rule.pattern = source.pattern;
        QString message;
        if (!AutoReplyEngine::compilePattern(rule, format.receiveEncoding, out->regex, message)) {
            *cause = message;
            return false;
        }
        out->ms = source.ms;
        out->continueOnFail = source.continueOnFail;
        return true;
    }
    case SequenceStepKind::Loop: {
        int target = 0;
        if (!source.label.isEmpty()) {
            target = -1;
            for (int j = index - 1; j >= 0; --j) {
                const SequenceStep &above = sequence.steps.at(j);
                if (above.kind == SequenceStepKind::Label && above.label == source.label) {
                    target = j;
                    break;
                }
            }
            if (target < 0) {
                *cause = tr("there is no label \"%1\" above this step.").arg(source.label);
                return false;
            }
        }
        // Something in the stretch must take time or send, or the loop would spin.
        const bool busy = std::any_of(sequence.steps.begin() + target,
                                      sequence.steps.begin() + index, [](const SequenceStep &s) {
                                          return s.kind == SequenceStepKind::Send ||
                                                 s.kind == SequenceStepKind::Expect ||
                                                 (s.kind == SequenceStepKind::Wait && s.ms >= 1);
                                      });
        if (!busy) {
            *cause = tr("the steps it repeats neither send, wait nor expect anything.");
            return false;
        }
        out->loopTarget = target;
        out->loopCount = std::max(source.loopCount, 0);
        return true;
    }
    case SequenceStepKind::Label:
        return true;
    }
    return true;
}

void SequenceEngine::start(qint64 nowMs)
{
    events.clear();
    rxBuffer.clear();
    loopPasses = QList<int>(steps.size(), 0);
    failures = 0;
    firstFailedStep = failedStep = -1;
    message.clear();
    step = 0;
    entered = awaitingSend = false;
    startMs = endMs = stepStartMs = nowMs;
    if (!steps.isEmpty()) {
        state = SequenceState::Running;
    }
}

SequenceAction SequenceEngine::poll(qint64 nowMs)
{
    SequenceAction action;
    if (state != SequenceState::Running) {
        return action;
    }
    if (awaitingSend) {
        action.kind = SequenceAction::Wait;
        action.step = step;
        return action;
    }
    for (int pass = 0; pass < StepsPerPoll; ++pass) {
        if (state != SequenceState::Running) {
            return action;
        }
        if (step >= steps.size()) {
            finishAtEnd(nowMs);
            return action;
        }
        const Compiled &current = steps.at(step);
        if (!entered) {
            entered = true;
            stepStartMs = nowMs;
            if (current.kind == SequenceStepKind::Send || current.kind == SequenceStepKind::Wait ||
                current.kind == SequenceStepKind::Expect) {
                queue(SequenceEvent::StepStarted, step);
            }
        }
        switch (current.kind) {
        case SequenceStepKind::Send:
            // An Expect after this step sees only what arrives from now on.
            rxBuffer.clear();
            awaitingSend = true;
            action.kind = SequenceAction::Send;
            action.step = step;
            action.bytes = current.bytes;
            return action;
        case SequenceStepKind::Wait:
            if (nowMs - stepStartMs < current.ms) {
                action.kind = SequenceAction::Wait;
                action.step = step;
                return action;
            }
            queue(SequenceEvent::StepPassed, step);
            advance();
            break;
        case SequenceStepKind::Expect: {
            if (tryMatch(nowMs)) {
                break;
            }
            if (current.ms < 1 || current.ms > nowMs - stepStartMs) {
                action.kind = SequenceAction::Wait;
                action.step = step;
                return action;
            }
            // Timed out: recorded, and the end of the run unless the step goes on.
            const QString text = tr("no match within %1 ms").arg(current.ms);
            queue(SequenceEvent::StepFailed, step, text);
            ++failures;
            if (firstFailedStep < 0) {
                firstFailedStep = step;
            }
            if (!current.continueOnFail) {
                failedStep = step;
                finish(SequenceState::Failed, text, nowMs);
                return action;
            }
            advance();
            break;
        }
        case SequenceStepKind::Loop: {
            const int loopStep = step;
            if (current.loopCount > 0 && ++loopPasses[loopStep] >= current.loopCount) {
                // Reset, so a nested loop runs its full count on each outer pass.
                loopPasses[loopStep] = 0;
                advance();
            } else {
                step = current.loopTarget;
                entered = false;
            }
            break;
        }
        case SequenceStepKind::Label:
            advance();
            break;
        }
    }
    action.kind = SequenceAction::Yield;
    action.step = step;
    return action;
}

bool SequenceEngine::tryMatch(qint64 nowMs)
{
    if (rxBuffer.isEmpty()) {
        return false;
    }
    const QRegularExpressionMatch match =
        steps.at(step).regex.match(QString::fromLatin1(rxBuffer));
    if (!match.hasMatch()) {
        return false;
    }
    // The match and anything in front of it are used up.
    rxBuffer.remove(0, match.capturedEnd());
    queue(SequenceEvent::StepPassed, step, tr("matched after %1 ms").arg(nowMs - stepStartMs));
    advance();
    return true;
}

void SequenceEngine::feed(const QByteArray &data, qint64 nowMs)
{
    Q_UNUSED(nowMs)
    if (state != SequenceState::Running || data.isEmpty()) {
        return;
    }
    rxBuffer.append(data);
    if (rxBuffer.size() > MaxBufferBytes) {
        rxBuffer.remove(0, rxBuffer.size() - MaxBufferBytes);
    }
}

void SequenceEngine::sendFinished(bool ok, qint64 nowMs)
{
    if (state != SequenceState::Running || !awaitingSend) {
        return;
    }
    awaitingSend = false;
    if (ok) {
        const int size = int(steps.at(step).bytes.size());
        queue(SequenceEvent::StepPassed, step, tr("%n byte(s) sent", nullptr, size));
        advance();
        return;
    }
    // A refused send always ends the run: what follows would test nothing.
    const QString text = tr("the port did not accept the data");
    queue(SequenceEvent::StepFailed, step, text);
    ++failures;
    failedStep = step;
    finish(SequenceState::Failed, text, nowMs);
}

void SequenceEngine::stop(const QString &reason, qint64 nowMs)
{
    if (state != SequenceState::Running) {
        return;
    }
    step = failedStep = std::min(step, int(steps.size()) - 1);
    finish(SequenceState::Stopped, reason, nowMs);
}

qint64 SequenceEngine::deadline() const
{
    if (state != SequenceState::Running || awaitingSend) {
        return -1;
    }
    if (!entered || step >= steps.size()) {
        return 0;
    }
    const Compiled &current = steps.at(step);
    switch (current.kind) {
    case SequenceStepKind::Wait:
        return stepStartMs + current.ms;
    case SequenceStepKind::Expect:
        return current.ms < 1 ? -1 : stepStartMs + current.ms;
    default:
        return 0;
    }
}

QList<SequenceEvent> SequenceEngine::takeEvents()
{
    return std::exchange(events, {});
}

qint64 SequenceEngine::elapsedMs(qint64 nowMs) const
{
    return (state == SequenceState::Running ? nowMs : endMs) - startMs;
}

QString SequenceEngine::stepTitle(int index) const
{
    return index >= 0 && index < steps.size() ? steps.at(index).title : QString();
}

SequenceStepKind SequenceEngine::stepKind(int index) const
{
    return index >= 0 && index < steps.size() ? steps.at(index).kind : SequenceStepKind::Send;
}

void SequenceEngine::queue(SequenceEvent::Type type, int index, const QString &text)
{
    events.append(SequenceEvent{type, index, text});
}

void SequenceEngine::advance()
{
    ++step;
    entered = false;
}

void SequenceEngine::finishAtEnd(qint64 nowMs)
{
    step = int(steps.size()) - 1;
    if (failures > 0) {
        failedStep = firstFailedStep;
        finish(SequenceState::Failed, tr("%n expectation(s) not met", nullptr, failures), nowMs);
    } else {
        finish(SequenceState::Passed, QString(), nowMs);
    }
}

void SequenceEngine::finish(SequenceState end, const QString &text, qint64 nowMs)
{
    state = end;
    message = text;
    endMs = nowMs;
    awaitingSend = false;
    queue(SequenceEvent::Finished, step, text);
}
