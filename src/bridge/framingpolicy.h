#pragma once

// How a byte stream is cut into frames on its way through a bridge or a splitter.

#include <QByteArray>

struct FramingPolicy
{
    enum Mode : qint32 {
        AtOnce = 0,    // every block leaves as it came
        IdleGap = 1,   // a frame ends after `idleGapMs` of silence
        Delimiter = 2, // a frame ends with `delimiter`
        FixedLength = 3,
    };

    qint32 mode = AtOnce;
    int idleGapMs = 4; // 1 .. 60000
    QByteArray delimiter = QByteArray(1, '\n');
    int fixedLength = 256; // 1 .. 1048576
    int maxBytes = 4096;   // 1 .. 1048576, and at least one frame of the mode
    int maxHoldMs = 200;   // 1 .. 60000: no byte is held longer

    // The policy with every value in range; an unknown mode, or a delimiter mode with
    // no delimiter, forwards at once.
    FramingPolicy sanitized() const;

    bool operator==(const FramingPolicy &) const = default;
};
