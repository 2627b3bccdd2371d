#pragma once

// Drives a ScriptEngine the way a runner does, on a simulated clock: poll, send what it
// asks for, report how the send went, hand over what a fake device answers, and jump
// the clock to the next deadline. Nothing sleeps.

#include "scripting/scriptengine.h"

#include <QtTest>

#include <functional>

struct ScriptHarness
{
    qint64 clockMs = 5000;
    ScriptEngine engine{[this] { return clockMs; }};
    QByteArray sent;            // everything the engine sent
    QList<QByteArray> sends;    // each send on its own
    QList<ScriptOutput> output; // everything it reported
    // What the device answers to each send; fed back at once.
    std::function<QByteArray(const QByteArray &)> device;
    // Whether the port takes a send; it accepts everything by default.
    std::function<bool(const QByteArray &, QString *)> port;
    int polls = 0;

    bool load(const QString &source, const ScriptPortInfo &info = {})
    {
        QString error;
        int line = -1;
        if (!engine.load(Script{QStringLiteral("test"), source}, info, &error, &line)) {
            qWarning("load failed at line %d: %s", line, qPrintable(error));
            return false;
        }
        return true;
    }

    bool start(const QString &source, const ScriptPortInfo &info = {})
    {
        if (!load(source, info)) {
            return false;
        }
        engine.start();
        return engine.isRunning();
    }

    // Polls until the run ends, waits for nothing the clock can bring, or `forMs` of
    // simulated time have passed; at most `maxPolls` polls.
    void run(qint64 forMs = 600000, int maxPolls = 100000)
    {
        const qint64 end = clockMs + forMs;
        for (int i = 0; i < maxPolls; ++i) {
            ++polls;
            const ScriptAction action = engine.poll();
            output += engine.takeOutput();
            switch (action.kind) {
            case ScriptAction::Send: {
                sent += action.bytes;
                sends << action.bytes;
                QString why;
                const bool ok = port ? port(action.bytes, &why) : true;
                engine.sendFinished(ok, why);
                output += engine.takeOutput();
                if (ok && device) {
                    const QByteArray answer = device(action.bytes);
                    if (!answer.isEmpty()) {
                        engine.feed(answer, QString());
                    }
                }
                break;
            }
            case ScriptAction::Yield:
                break;
            case ScriptAction::Done:
                return;
            case ScriptAction::Wait: {
                const qint64 next = engine.deadline();
                if (next < 0) {
                    return;
                }
                if (next > clockMs) {
                    if (next > end) {
                        clockMs = end;
                        return;
                    }
                    clockMs = next;
                }
                break;
            }
            }
        }
    }

    void feed(const QByteArray &bytes, const QString &source = QString())
    {
        engine.feed(bytes, source);
        run(0);
    }

    void stop(const QString &reason = QStringLiteral("stopped by the user"))
    {
        engine.stop(reason);
        output += engine.takeOutput();
    }

    QStringList texts(ScriptOutput::Kind kind) const
    {
        QStringList list;
        for (const ScriptOutput &entry : output) {
            if (entry.kind == kind) {
                list << entry.text;
            }
        }
        return list;
    }
    QStringList printed() const { return texts(ScriptOutput::Print); }
};
