#pragma once

// A sequence as a state machine without a clock: the owner passes the time with every
// call, feeds received bytes in, hands the bytes it is asked to send to the port and
// reports back, and calls poll again at deadline(). The steps are compiled once at load,
// so a sequence that loads runs without errors of its own; at run time it can only fail
// an expectation, have a send refused, or be stopped.

#include "automation/commandlibrary.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QMetaType>
#include <QRegularExpression>
#include <QString>

struct FormatSetting;

enum class SequenceState : qint32 {
    Idle = 0,
    Running = 1,
    Passed = 2,
    Failed = 3,
    Stopped = 4,
};

struct SequenceEvent
{
    enum Type {
        StepStarted = 0,
        StepPassed = 1,
        StepFailed = 2,
        Finished = 3,
    };

    Type type = StepStarted;
    int step = -1;
    QString text; // a pass or failure detail; the end message for Finished
};

// What the owner is to do after a poll.
struct SequenceAction
{
    enum Kind {
        Wait = 0,  // call poll again at deadline(), or when data arrives
        Send = 1,  // send `bytes`, then report through sendFinished
        Yield = 2, // the step budget of one poll is spent: poll again soon
        Done = 3,  // the sequence is not running
    };

    Kind kind = Done;
    int step = -1;
    QByteArray bytes;
};

class SequenceEngine
{
    Q_DECLARE_TR_FUNCTIONS(SequenceEngine)

public:
    static constexpr int MaxBufferBytes = 65536;
    static constexpr int StepsPerPoll = 256;

    struct Compiled
    {
        SequenceStepKind kind = SequenceStepKind::Send;
        QString title;            // the step's summary
        QByteArray bytes;         // Send: fixed at load
        qint64 ms = 0;            // Wait: the pause; Expect: the limit, below 1 for none
        QRegularExpression regex; // Expect
        bool continueOnFail = false;
        int loopTarget = 0;       // Loop: the step to go back to
        int loopCount = 0;        // Loop: passes in all, 0 until stopped
    };

    // Compiles every step with the port's format; the bytes of Send steps are fixed
    // here. Resets the engine to Idle first. On failure false with the reason.
    bool load(const Sequence &sequence, const FormatSetting &format, QString *error);
    void start(qint64 nowMs);
    SequenceAction poll(qint64 nowMs);
    void feed(const QByteArray &data, qint64 nowMs);
    void sendFinished(bool ok, qint64 nowMs);
    void stop(const QString &reason, qint64 nowMs);

    // When poll must run next; 0 for at once, -1 when only data or a send result can
    // move the sequence on (or it is not running).
    qint64 deadline() const;
    QList<SequenceEvent> takeEvents();

    qint64 elapsedMs(qint64 nowMs) const;
    QString stepTitle(int index) const;
    SequenceStepKind stepKind(int index) const;

    QString sequenceName() const { return name; }
    int stepCount() const { return int(steps.size()); }
    SequenceState currentState() const { return state; }
    bool isRunning() const { return state == SequenceState::Running; }
    int currentStep() const { return step; }
    bool isAwaitingSend() const { return awaitingSend; }
    qint64 stepStartedAtMs() const { return stepStartMs; }
    int failureCount() const { return failures; }
    int failedStepIndex() const { return failedStep; }
    QString endMessage() const { return message; }
    const QByteArray &receiveBuffer() const { return rxBuffer; }

private:
    bool compileStep(int index, const Sequence &sequence, const FormatSetting &format,
                     Compiled *out, QString *cause) const;
    void queue(SequenceEvent::Type type, int index, const QString &text = QString());
    void advance();
    bool tryMatch(qint64 nowMs);
    void finishAtEnd(qint64 nowMs);
    void finish(SequenceState end, const QString &text, qint64 nowMs);

    QString name;
    QList<Compiled> steps;
    SequenceState state = SequenceState::Idle;
    int step = 0;
    bool entered = false;
    bool awaitingSend = false;
    qint64 startMs = 0;
    qint64 endMs = 0;
    qint64 stepStartMs = 0;
    QList<int> loopPasses;
    QByteArray rxBuffer;
    int failures = 0;
    int firstFailedStep = -1;
    int failedStep = -1;
    QString message;
    QList<SequenceEvent> events;
};

Q_DECLARE_METATYPE(SequenceState)
