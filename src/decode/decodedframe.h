#pragma once

// The records that frame decoders hand out: one frame as it was cut from the stream,
// the rows that explain it, and the late news that a request found its response.
// Plain values, shared by the decoders, the frames table, exports and replay.

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

enum class FrameDirection : quint8 {
    Rx = 0,
    Tx = 1,
};

// A stored direction: anything but 1 reads as received.
constexpr FrameDirection frameDirectionFromInt(int value)
{
    return value == 1 ? FrameDirection::Tx : FrameDirection::Rx;
}

enum class FrameStatus : quint8 {
    Ok = 0,            // whole, and its check passed
    Exception = 1,     // whole Modbus frame whose function has the top bit set
    ChecksumError = 2, // boundaries known, the check failed
    Malformed = 3,     // boundaries known, the contents do not fit
    Incomplete = 4,    // the stream stopped in the middle of a frame
    Unrecognized = 5,  // bytes that belong to no frame
};

// What a Modbus decoder learned about a frame; all zero for other decoders.
struct ModbusFrameInfo
{
    bool valid = false;
    quint8 slave = 0;
    quint8 function = 0; // top bit kept
    bool isResponse = false;
    quint16 transaction = 0;   // Modbus TCP only
    bool requestKnown = false; // a response that was paired with its request
    quint8 requestFunction = 0;
    quint16 requestStart = 0;
    quint16 requestQuantity = 0;

    bool operator==(const ModbusFrameInfo &) const = default;
};

struct DecodedFrame
{
    quint64 seq = 0;        // from 1 within one decoder
    quint32 generation = 0; // stamped by the runner
    QDateTime time;         // wall time of the first byte
    qint64 elapsedMs = 0;   // monotonic time of the first byte
    FrameDirection direction = FrameDirection::Rx;
    QString peer;   // remote end on a network server port, else empty
    QByteArray raw; // exactly as on the wire
    FrameStatus status = FrameStatus::Ok;
    QString summary;
    quint64 pairedSeq = 0; // the other half of a request/response pair, 0 = none
    qint32 latencyMs = -1; // request to response, -1 = none
    ModbusFrameInfo modbus;

    bool operator==(const DecodedFrame &) const = default;
};

// One row of a frame's detail tree.
struct DecodedField
{
    QString name;
    QString value;
    qint32 offset = -1; // first byte in the frame; -1 = the row covers no bytes
    qint32 length = 0;
    qint32 indent = 0; // 1 for the rows under a group row
    bool bad = false;  // a failed check or an invalid value

    bool operator==(const DecodedField &) const = default;
};

// A response was paired after its request had already been handed out, so the request
// is updated where it is shown.
struct PairUpdate
{
    quint64 requestSeq = 0;
    quint64 responseSeq = 0;
    qint32 latencyMs = -1;

    bool operator==(const PairUpdate &) const = default;
};

struct DecodeOutput
{
    QList<DecodedFrame> frames;
    QList<PairUpdate> pairs;
};
