#pragma once

// Modbus RTU, ASCII or TCP traffic, both directions and any number of peers, cut into
// frames, checked, classified as request or response, paired with latency and
// summarised. One stream is kept per direction and peer; pairing is shared by all.
//
// RTU has no frame boundaries of its own: a frame is found where the length its first
// bytes announce ends in a valid CRC, and on a noisy line the decoder searches the next
// offsets for a frame start. ASCII frames run from ":" to CR LF with an LRC; TCP frames
// carry their length in the MBAP header. On all three a silence of `gapMs` ends what is
// held, so a frame cut by a pause comes out Incomplete. Bytes that belong to no frame
// come out as Unrecognized pieces of at most 256 bytes, in wire order.

#include "decode/framedecoder.h"

#include <map>

class ModbusStreamDecoder : public FrameDecoder
{
    Q_DECLARE_TR_FUNCTIONS(ModbusStreamDecoder)

public:
    enum class Variant : quint8 {
        Rtu = 0,
        Ascii = 1,
        Tcp = 2,
    };

    // Values below their lower bound are raised to it at construction.
    struct Options
    {
        int gapMs = 100;           // at least 1: silence that closes a frame
        int pairTimeoutMs = 2000;  // at least 1: longest request-to-response time
        int maxPending = 32;       // at least 1: open requests kept
        int maxBufferBytes = 1024; // at least 513: bytes held for one stream
        int resyncWindow = 256;    // at least 1: offsets searched for the next frame
    };

    // Where an arrival begins in a buffer, so that every byte keeps its time.
    struct Chunk
    {
        qint64 offset = 0;
        qint64 elapsedMs = 0;
        QDateTime time;
    };

    // A request waiting for its response.
    struct Pending
    {
        QString peer;
        FrameDirection direction = FrameDirection::Rx;
        quint8 slave = 0;
        quint8 function = 0; // compared without the top bit
        quint16 transaction = 0;
        quint64 seq = 0;
        qint64 elapsedMs = 0;
        quint16 start = 0;
        quint16 quantity = 0;
    };

    // One cut decision on a buffer.
    struct Step
    {
        enum Action { NeedMore = 0, CutFrame = 1, CutGarbage = 2 };
        int action = NeedMore;
        int length = 0;
        FrameStatus status = FrameStatus::Ok;
    };

    explicit ModbusStreamDecoder(Variant variant);
    ModbusStreamDecoder(Variant variant, const Options &options);

    void ingest(FrameDirection direction, const QString &peer, const QByteArray &bytes,
                qint64 nowMs, const QDateTime &wallTime, DecodeOutput &out) override;
    void tick(qint64 nowMs, DecodeOutput &out) override;
    int nextTimeoutMs(qint64 nowMs) const override;
    void flush(DecodeOutput &out) override;
    void reset() override;
    QList<DecodedField> explain(const DecodedFrame &frame) const override;

    // The rows of a frame of `variant`, from the frame alone.
    static QList<DecodedField> explainFrame(Variant variant, const DecodedFrame &frame);
    // "Modbus RTU", "Modbus ASCII", "Modbus TCP".
    static QString protocolName(Variant variant);

    Variant variant() const { return kind; }
    const Options &options() const { return opts; }
    // What is held: streams, bytes in them (frame buffers and unrecognised bytes not yet
    // handed out) and open requests.
    int streamCount() const { return int(streams.size()); }
    qsizetype heldBytes() const;
    int pendingCount() const { return int(pending.size()); }

private:
    // An RTU offset that could not be decided yet, and the buffer size at which it can
    // change.
    struct OpenOffset
    {
        qint64 offset = 0;
        qint64 recheckAt = 0;
    };

    struct Stream
    {
        QByteArray buffer;
        QList<Chunk> chunks;
        qint64 lastMs = 0;
        bool aligned = true; // the buffer is known to start at a frame boundary
        QByteArray garbage;  // unrecognised bytes not handed out yet
        QList<Chunk> garbageChunks;

        // What earlier passes learned about the bytes held, so that each arrival costs
        // work in proportion to its own size. Valid until bytes leave the buffer, when
        // consume() shifts or clears it.
        qint64 scanFrom = 1;       // RTU: first offset the resync has not examined
        QList<OpenOffset> open;    // RTU: examined offsets still undecided, in order
        qint64 nextRecheck = 0;    // RTU: smallest recheckAt in `open`
        int headTried[2] = {0, 0}; // RTU: lengths at offset 0 whose CRC failed
        qint64 headScanned = 4;    // RTU: next length of the free-length search at offset 0
        qint64 headCrcBytes = 0;   // RTU: bytes in `headCrc`
        quint16 headCrc = 0xFFFF;
        qint64 searched = 1; // ASCII: offsets from 1 known to hold no ':' and no CR LF
    };

    struct Key
    {
        FrameDirection direction;
        QString peer;
        bool operator<(const Key &other) const
        {
            return direction != other.direction ? direction < other.direction : peer < other.peer;
        }
    };

    struct Candidates
    {
        int len[2] = {0, 0};
        int count = 0;
        bool scan = false;     // the header does not tell the length
        bool needMore = false; // no length yet, and more bytes could tell
        bool waiting = false;  // one of the two readings needs more bytes
    };

    static Candidates rtuCandidates(QByteArrayView bytes, FrameDirection direction);

    void parse(const Key &key, Stream &s, bool final, DecodeOutput &out);
    Step step(const Key &key, Stream &s);
    Step stepRtu(FrameDirection direction, Stream &s) const;
    Step stepAscii(Stream &s) const;
    Step stepTcp(const Stream &s) const;
    Step flushStep(FrameDirection direction, const Stream &s) const;
    // The first offset where an RTU frame starts, or -1.
    qint64 resync(FrameDirection direction, Stream &s) const;

    void emitFrame(const Key &key, Stream &s, qsizetype length, FrameStatus status,
                   DecodeOutput &out);
    void moveToGarbage(const Key &key, Stream &s, qsizetype length, DecodeOutput &out);
    void emitGarbage(const Key &key, Stream &s, bool all, DecodeOutput &out);
    static void consume(Stream &s, qsizetype length);

    void classify(DecodedFrame &frame, DecodeOutput &out);
    int findPending(const QString &peer, quint8 slave, quint8 function, quint16 transaction,
                    qint64 nowMs) const;
    void addPending(const DecodedFrame &frame, QByteArrayView pdu);
    void expirePending(qint64 nowMs);

    Variant kind;
    Options opts;
    std::map<Key, Stream> streams; // direction first, then peer
    QList<Pending> pending;        // oldest first
};
