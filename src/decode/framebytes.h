#pragma once

// Where a detail row's bytes are. For most frames a row's offset counts the bytes on the
// wire; a Modbus ASCII frame is explained on its decoded bytes, each of which is two
// hex characters on the wire after the colon.

#include "decode/decodedframe.h"

#include <utility>

class FrameBytes
{
public:
    // A Modbus ASCII frame whose rows count decoded bytes.
    static bool countsDecodedBytes(const DecodedFrame &frame);
    // The wire span (start, length) of a row; (0, 0) for a row with no bytes in the frame.
    static std::pair<int, int> wireSpan(const DecodedFrame &frame, int offset, int length);
    // The bytes that the rows' offsets count: the decoded bytes with the LRC behind them
    // for an ASCII frame, else the raw bytes.
    static QByteArray fieldImage(const DecodedFrame &frame);
};
