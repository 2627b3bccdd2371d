#pragma once

// A stand-in for a template decoder: every arrival is one frame whose summary and
// fields are texts a spreadsheet would run, or numbers with units that it must not
// touch. It lets the runner and the panel be tested on the template path.

#include "decode/decoderunner.h"
#include "decode/framedecoder.h"

class FakeTemplateDecoder : public FrameDecoder
{
public:
    void ingest(FrameDirection direction, const QString &peer, const QByteArray &bytes,
                qint64 nowMs, const QDateTime &wallTime, DecodeOutput &out) override
    {
        DecodedFrame frame;
        frame.seq = takeSeq();
        frame.direction = direction;
        frame.peer = peer;
        frame.raw = bytes;
        frame.elapsedMs = nowMs;
        frame.time = wallTime;
        frame.summary = QStringLiteral("=SUM(A1)");
        out.frames.append(frame);
    }
    void tick(qint64, DecodeOutput &) override {}
    int nextTimeoutMs(qint64) const override { return -1; }
    void flush(DecodeOutput &) override {}
    void reset() override {}
    QList<DecodedField> explain(const DecodedFrame &) const override
    {
        return {{QStringLiteral("Voltage"), QStringLiteral("-5 mV"), 0, 1, 0, false},
                {QStringLiteral("Sum"), QStringLiteral("-5+3"), 1, 1, 0, true},
                {QStringLiteral("Group"), QString(), -1, 0, 0, false},
                {QStringLiteral("@child"), QStringLiteral("=1"), 0, 2, 1, false}};
    }
};

// A library holding templates by name: a template "Broken" cannot decode.
inline DecodeRunner::TemplateResolver fakeLibrary(const QStringList &names,
                                                  const QByteArray &identity = "v1")
{
    return [names, identity](const QString &name) {
        DecodeRunner::TemplateLookup lookup;
        lookup.found = names.contains(name);
        if (name == QStringLiteral("Broken")) {
            lookup.error = QStringLiteral("The length field lies outside the frame.");
        } else {
            lookup.identity = identity;
            lookup.create = [] { return std::make_unique<FakeTemplateDecoder>(); };
        }
        return lookup;
    };
}
