// Runs random sequences on SequenceEngine with random received bytes, send results and
// increasing times. Checks that events name real steps and end with one finished event,
// that the receive buffer stays within its limit, that poll returns within its step
// budget, and that every run ends: by itself when it has no endless part, by stop
// otherwise.

#include "automation/sequenceengine.h"
#include "connection/settings.h"

#include <fuzzer/FuzzedDataProvider.h>

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

const char *const Labels[] = {"", "a", "b"};

SequenceStep randomStep(FuzzedDataProvider &input)
{
    SequenceStep step;
    step.kind = SequenceStepKind(input.ConsumeIntegralInRange(0, 4));
    switch (step.kind) {
    case SequenceStepKind::Send:
        step.command.format = input.ConsumeBool() ? Command::HexForm : Command::TextForm;
        step.command.text = QString::fromLatin1(input.ConsumeRandomLengthString(8));
        step.command.lineEnding = input.ConsumeIntegralInRange(-1, 4);
        break;
    case SequenceStepKind::Wait:
        step.ms = input.ConsumeIntegralInRange(-2, 40);
        break;
    case SequenceStepKind::Expect:
        step.match = AutoReplyMatch(input.ConsumeIntegralInRange(0, 3));
        step.pattern = QString::fromLatin1(input.ConsumeRandomLengthString(6));
        step.ms = input.ConsumeIntegralInRange(-1, 40);
        step.continueOnFail = input.ConsumeBool();
        break;
    case SequenceStepKind::Loop:
        step.label = QString::fromLatin1(Labels[input.ConsumeIntegralInRange(0, 2)]);
        step.loopCount = input.ConsumeIntegralInRange(-1, 3);
        break;
    case SequenceStepKind::Label:
        step.label = QString::fromLatin1(Labels[input.ConsumeIntegralInRange(0, 2)]);
        break;
    }
    return step;
}

struct Run
{
    SequenceEngine engine;
    qint64 now = 0;
    bool finishedSeen = false;

    void takeEvents()
    {
        for (const SequenceEvent &event : engine.takeEvents()) {
            check(!finishedSeen, "an event after the finished event");
            check(event.step >= 0 && event.step < engine.stepCount(), "event of no step");
            if (event.type == SequenceEvent::Finished) {
                finishedSeen = true;
                check(!engine.isRunning(), "finished while running");
            }
        }
        check(engine.receiveBuffer().size() <= SequenceEngine::MaxBufferBytes, "buffer limit");
    }

    void step(bool sendOk)
    {
        const bool wasRunning = engine.isRunning();
        const SequenceAction action = engine.poll(now);
        if (!wasRunning) {
            check(action.kind == SequenceAction::Done, "poll of a stopped sequence did something");
        }
        if (action.kind == SequenceAction::Send) {
            check(!action.bytes.isEmpty(), "a send without bytes");
            check(engine.deadline() == -1, "a deadline while awaiting a send");
            engine.sendFinished(sendOk, now);
        }
        const qint64 due = engine.deadline();
        check(due == -1 || due >= 0, "deadline");
        takeEvents();
    }
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    Sequence sequence;
    const int count = input.ConsumeIntegralInRange(0, 12);
    for (int i = 0; i < count; ++i) {
        sequence.steps.append(randomStep(input));
    }

    Run run;
    QString error;
    if (!run.engine.load(sequence, FormatSetting(), &error)) {
        check(!error.isEmpty(), "a refused load without a reason");
        check(run.engine.currentState() == SequenceState::Idle, "a refused load is not idle");
        return 0;
    }
    run.engine.start(0);
    check(run.engine.isRunning(), "a loaded sequence does not run");

    // The input drives the run: time steps, received bytes and send results.
    while (input.remaining_bytes() > 0 && run.engine.isRunning()) {
        run.now += input.ConsumeIntegralInRange(0, 20);
        if (input.ConsumeBool()) {
            run.engine.feed(QByteArray::fromStdString(input.ConsumeRandomLengthString(16)),
                            run.now);
        }
        run.step(input.ConsumeIntegralInRange(0, 15) != 0);
    }

    // Then time alone: a sequence without an endless part comes to an end.
    bool endless = false;
    for (const SequenceStep &step : sequence.steps) {
        endless = endless || (step.kind == SequenceStepKind::Loop && step.loopCount <= 0) ||
                  (step.kind == SequenceStepKind::Expect && step.ms < 1);
    }
    for (int polls = 0; polls < 200000 && run.engine.isRunning(); ++polls) {
        run.now += 50;
        run.step(true);
    }
    check(endless || !run.engine.isRunning(), "a sequence without an endless part never ended");
    if (run.engine.isRunning()) {
        run.engine.stop(QStringLiteral("stopped"), run.now);
        check(run.engine.currentState() == SequenceState::Stopped, "stop did not stop");
        run.takeEvents();
    }
    check(run.finishedSeen, "no finished event");
    check(run.engine.deadline() == -1, "a deadline after the end");
    return 0;
}
