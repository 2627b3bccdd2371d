#pragma once

// The value types of the file transfer engine: which protocol runs, how a transfer
// can fail, what one step of the engine asks its owner to do, what is known about the
// file, and how far the transfer has come.

#include <QByteArray>
#include <QString>

// The five wire protocols, in the order the settings store them.
enum class XferProtocol : int {
    Xmodem = 0,    // 128-byte blocks, 8-bit checksum
    XmodemCrc = 1, // 128-byte blocks, CRC-16
    Xmodem1k = 2,  // 128- and 1024-byte blocks, CRC-16
    Ymodem = 3,    // XMODEM-1K plus a header block with name and size
    YmodemG = 4,   // YMODEM streamed without acknowledgements
};

// Anything outside 0..4 reads as XMODEM-CRC, the variant nearly every device accepts.
XferProtocol xferProtocolFromInt(int value);
// Whether the protocol carries a header block (name and size) before the data.
bool xferProtocolHasHeader(XferProtocol protocol);

// How a transfer ended badly. The numbers are stable: logs and the command line show them.
enum class XferError : int {
    None = 0,
    NoHandshake = 1,       // the peer never started
    TooManyRetries = 2,    // retries spent, or a loss in a streaming transfer
    RemoteCancelled = 3,   // two CAN in a row arrived
    LocalCancelled = 4,    // the user cancelled
    ConnectionLost = 5,    // the port closed or went away under the transfer
    SourceRead = 8,        // the file could not be read
    SourceChanged = 9,     // the file changed while it was being sent
    SinkCreate = 10,       // the destination could not be created
    SinkWrite = 11,        // a write failed
    SinkCommit = 12,       // the finished file could not be saved
    TooLarge = 14,         // over the receive limit
    ProtocolViolation = 17 // a malformed header or a block out of step
};

// What one call of the engine asks its owner to do.
struct XferStep
{
    QByteArray out;         // bytes to write to the port
    bool finished = false;  // the transfer succeeded
    bool failed = false;    // the transfer failed; `out` may hold the cancel sequence
    XferError error = XferError::None;
    QString message;        // the sentence for the user when failed
    int nextTimeoutMs = -1; // call tick() after this long; -1 for no timer
};

// What is known about the file: from the disk when sending, from the header when
// receiving YMODEM.
struct XferFileMeta
{
    QString name;
    qint64 size = -1;     // negative when unknown
    qint64 modified = 0;  // seconds since the epoch; 0 or less when unknown
};

struct XferProgress
{
    qint64 bytesDone = 0;
    qint64 bytesTotal = -1; // -1 when unknown
    int block = 0;          // the block number last handled, as the wire counts it (mod 256)
    int retries = 0;        // all retries of the transfer
    QString fileName;
};
