#pragma once

// A frame template: a private binary protocol described without code. It tells how frames
// are found in a byte stream (a header with a length field, a header with a fixed length,
// a delimiter or a gap of silence), how they are checked (a sum, an XOR or a CRC over a
// span, an optional trailer) and what their fields mean. Plain values; a decoder takes its
// own copy, so editing a template never changes one that runs.

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>

// Byte order of a multi-byte value; A is the first byte on the wire.
enum class Endian : quint8 {
    Big = 0,      // AB CD
    Little = 1,   // DC BA
    WordSwap = 2, // CD AB: 16-bit pairs in reverse order, each pair big
    ByteSwap = 3, // BA DC: the two bytes of each pair exchanged, then big
};

enum class FieldType : quint8 {
    U8 = 0,
    I8 = 1,
    U16 = 2,
    I16 = 3,
    U32 = 4,
    I32 = 5,
    U64 = 6,
    I64 = 7,
    F32 = 8,
    F64 = 9,
    Hex = 10,   // `length` bytes, 0 = up to the checksum
    Ascii = 11, // `length` bytes, 0 = up to the checksum
    Bits = 12,  // a bit range of a container of `length` bytes (1, 2 or 4)
};

struct FieldSpec
{
    QString name{};
    int offset = 0; // from the frame's start
    FieldType type = FieldType::U8;
    int length = 0;
    int bitStart = 0; // bit 0 the lowest
    int bitCount = 1;
    Endian endian = Endian::Big;
    double scale = 1.0;
    double addend = 0.0;
    int decimals = -1; // -1 = automatic, else 0 .. 15
    QString unit{};
    QString labels{};    // "0=Off;1=On"
    int whenOffset = -1; // -1 = always; else shown only when that byte is `whenValue`
    quint8 whenValue = 0;

    // Bytes of a fixed-width type; 0 for Hex, ASCII and Bits, whose size is `length`.
    static int typeWidth(FieldType type);

    bool operator==(const FieldSpec &) const = default;
};

struct ChecksumSpec
{
    enum Kind : quint8 {
        None = 0,
        Sum8 = 1,
        Xor8 = 2,
        Sum16 = 3,
        Crc = 4,
    };
    // The CRC catalogue index that stands for a CRC given by its parameters.
    static constexpr int CustomCrc = 8;

    Kind kind = None;
    int crc = 5; // catalogue index; CustomCrc for the parameters below
    int width = 16;
    quint64 poly = 4129;
    quint64 init = 65535;
    quint64 xorOut = 0;
    bool refIn = false;
    bool refOut = false;

    bool operator==(const ChecksumSpec &) const = default;
};

struct FrameTemplate
{
    Q_DECLARE_TR_FUNCTIONS(FrameTemplate)

public:
    enum Framing : quint8 {
        HeaderLength = 0,
        HeaderFixed = 1,
        Delimited = 2,
        IdleGap = 3,
    };
    // What the length field counts.
    enum LengthScope : quint8 {
        WholeFrame = 0,
        AfterField = 1,
        AfterFieldToChecksum = 2,
    };

    static constexpr int MaxMarkerBytes = 16; // header, trailer, delimiter
    static constexpr int MinFrameBytes = 4;
    static constexpr int MaxFrameBytes = 4096;
    static constexpr int MaxFields = 128;

    QString name{};
    Framing framing = HeaderLength;
    QByteArray header{};
    int lengthOffset = 2;
    int lengthWidth = 1;
    Endian lengthEndian = Endian::Big;
    LengthScope lengthScope = AfterFieldToChecksum;
    int lengthAdjust = 0;
    int fixedLength = 8;
    QByteArray delimiter = QByteArray("\r\n");
    int idleGapMs = 20;
    QByteArray trailer{};
    ChecksumSpec checksum{};
    int checksumStart = 0;
    Endian checksumOrder = Endian::Little;
    int maxFrameBytes = 1024;
    int frameTimeoutMs = 100;
    QList<FieldSpec> fields{};

    // Bytes the stored checksum takes: its width rounded up to whole bytes.
    int checksumBytes() const;
    // What ends a frame: the delimiter for delimiter framing, else the trailer.
    QByteArray effectiveTrailer() const;
    bool headerFraming() const { return framing == HeaderLength || framing == HeaderFixed; }
    // The first rule the template breaks, as a sentence for the editor; true (and
    // `error` cleared) when it can decode.
    bool validate(QString *error) const;

    bool operator==(const FrameTemplate &) const = default;
};

// What a port decodes with.
struct DecoderChoice
{
    enum Kind : quint8 {
        None = 0,
        ModbusRtu = 1,
        ModbusAscii = 2,
        ModbusTcp = 3,
        Template = 4,
    };

    Kind kind = None;
    QString templateName{};
    bool panelVisible = false;

    bool operator==(const DecoderChoice &) const = default;
};
