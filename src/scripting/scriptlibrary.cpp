#include "scripting/scriptlibrary.h"

#include <QFile>

namespace {
struct SampleEntry
{
    const char *resource;
    const char *title;
    const char *toolTip;
};

constexpr SampleEntry sampleEntries[ScriptLibrary::SampleCount] = {
    {"at_regression.lua", QT_TRANSLATE_NOOP("ScriptLibrary", "AT command regression"),
     QT_TRANSLATE_NOOP("ScriptLibrary", "Send AT commands, check the replies, print a summary")},
    {"modbus_slave.lua", QT_TRANSLATE_NOOP("ScriptLibrary", "Modbus RTU slave"),
     QT_TRANSLATE_NOOP("ScriptLibrary",
                       "Answer Modbus FC03 reads and FC06 writes from a register table")},
    {"echo_responder.lua", QT_TRANSLATE_NOOP("ScriptLibrary", "Answer PING with PONG"),
     QT_TRANSLATE_NOOP("ScriptLibrary", "The simplest onReceive: play a device that answers")},
};

bool validSample(int index)
{
    return index >= 0 && index < ScriptLibrary::SampleCount;
}
} // namespace

int ScriptLibrary::indexOf(const QString &name) const
{
    for (qsizetype i = 0; i < scripts.size(); ++i) {
        if (scripts.at(i).name == name) {
            return int(i);
        }
    }
    return -1;
}

QString ScriptLibrary::uniqueName(const QString &base, int ignore) const
{
    const auto taken = [&](const QString &name) {
        for (qsizetype i = 0; i < scripts.size(); ++i) {
            if (i != ignore && scripts.at(i).name == name) {
                return true;
            }
        }
        return false;
    };
    const QString stem = base.left(MaxNameLength);
    if (!taken(stem)) {
        return stem;
    }
    // A library holds at most 64 scripts, so one of the first 65 numbers is free.
    for (int n = 2;; ++n) {
        const QString suffix = QStringLiteral(" (%1)").arg(n);
        const QString name = stem.left(MaxNameLength - suffix.size()) + suffix;
        if (!taken(name)) {
            return name;
        }
    }
}

QString ScriptLibrary::sampleResource(int index)
{
    return validSample(index) ? QString::fromLatin1(sampleEntries[index].resource) : QString();
}

QString ScriptLibrary::sampleTitle(int index)
{
    return validSample(index) ? tr(sampleEntries[index].title) : QString();
}

QString ScriptLibrary::sampleToolTip(int index)
{
    return validSample(index) ? tr(sampleEntries[index].toolTip) : QString();
}

Script ScriptLibrary::sample(int index)
{
    Script script;
    script.name = sampleTitle(index);
    QFile file(QStringLiteral(":/scripts/") + sampleResource(index));
    if (validSample(index) && file.open(QIODevice::ReadOnly)) {
        script.source = QString::fromUtf8(file.readAll());
        script.source.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    }
    return script;
}

ScriptLibrary ScriptLibrary::samples()
{
    ScriptLibrary library;
    for (int i = 0; i < SampleCount; ++i) {
        library.scripts << sample(i);
    }
    return library;
}
