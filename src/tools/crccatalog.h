#pragma once

// The program's named CRC algorithms and a general CRC calculator, together with
// the two other checksum name sets: the modes of the send box (None, SUM, XOR and
// three CRCs) and the checksum names that scripts use.

#include <QByteArrayView>
#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringList>

class CrcCatalog
{
    Q_DECLARE_TR_FUNCTIONS(CrcCatalog)

public:
    enum Algorithm {
        Crc4Itu = 0,
        Crc5Itu = 1,
        Crc5Usb = 2,
        Crc6Itu = 3,
        Crc8 = 4,
        Crc16Modbus = 5,
        Crc16Usb = 6,
        Crc32 = 7,
        Custom = 8,
    };

    struct Definition
    {
        Algorithm algorithm = Custom;
        QString name;
        int width = 0;
        quint64 polynomial = 0;
        quint64 initial = 0;
        quint64 finalXor = 0;
        bool reflectInput = false;
        bool reflectOutput = false;
    };

    struct CustomParameters
    {
        int width = 16; // 1 to 64
        quint64 polynomial = 0x1021;
        quint64 initial = 0xFFFF;
        quint64 finalXor = 0;
        bool reflectInput = false;
        bool reflectOutput = false;
    };

    // The nine catalogue entries in the order of Algorithm; "Custom" last.
    static const QList<Definition> &definitions();
    // The entry of an algorithm, or null for a value outside the catalogue.
    static const Definition *definition(Algorithm algorithm);
    // The parameters of a catalogue entry; the Custom entry's for unknown values.
    static CustomParameters parameters(Algorithm algorithm);
    // The CRC of `bytes`; empty input gives 0, and so does an unknown algorithm.
    static quint64 calculate(Algorithm algorithm, QByteArrayView bytes);
    // The CRC over any parameters, masked to the width: the bitwise definition, computed
    // through byte tables for all but short inputs, and by zlib for the parameters of
    // CRC-32. Parameters wider than the width are masked; a width outside 1..64 gives 0.
    static quint64 calculateCustom(QByteArrayView bytes, const CustomParameters &parameters);
    // `width` ones; all 64 for 64 and above, none for 0 and below.
    static quint64 maskForWidth(int width);
    // Whether `value` has no bit set above `width` bits (the custom fields' test).
    static bool fitsWidth(quint64 value, int width);

    // Send-path checksum modes: 0 none, 1 8-bit sum, 2 XOR, 3 CRC-8,
    // 4 CRC-16/MODBUS, 5 CRC-32.
    enum SendChecksum {
        SendChecksumNone = 0,
        SendChecksumSum8 = 1,
        SendChecksumXor8 = 2,
        SendChecksumCrc8 = 3,
        SendChecksumCrc16Modbus = 4,
        SendChecksumCrc32 = 5,
    };
    static QStringList sendChecksumLabels();
    // Bytes the mode appends: 0, 1, 1, 1, 2, 4; 0 for unknown modes.
    static int sendChecksumSize(int mode);
    // The value the mode appends, computed over all of `bytes` (CRCs without the
    // empty-input rule of calculate: an empty CRC-16/MODBUS is 0xFFFF).
    static quint64 sendChecksumValue(int mode, QByteArrayView bytes);

    static quint8 sum8(QByteArrayView bytes);
    static quint8 xor8(QByteArrayView bytes);

    // The 53 checksum names of the script API, in table order.
    static QStringList scriptChecksumNames();
    // The width in bits of a script checksum, or 0 for an unknown name.
    static int scriptChecksumWidth(const QString &name);
    // The checksum of `bytes` under a script name (exact, lower-case form);
    // an unknown name gives 0 with *ok false.
    static quint64 scriptChecksum(const QString &name, QByteArrayView bytes, bool *ok = nullptr);
};
