#include "tools/crcengine.h"

#include <QtEndian>

#include <array>
#include <memory>

namespace {

// The low `width` bits of `value` in reverse order, one bit at a time.
quint64 reflectBits(quint64 value, int width)
{
    quint64 result = 0;
    for (int i = 0; i < width; ++i) {
        result = (result << 1) | (value & 1U);
        value >>= 1;
    }
    return result;
}

quint8 reflectByte(quint8 value)
{
    return quint8(reflectBits(value, 8));
}

// The same reversal by swapping ever smaller groups; `width` is 1 to 64.
quint64 reverseLowBits(quint64 value, int width)
{
    value = ((value >> 1) & 0x5555555555555555U) | ((value & 0x5555555555555555U) << 1);
    value = ((value >> 2) & 0x3333333333333333U) | ((value & 0x3333333333333333U) << 2);
    value = ((value >> 4) & 0x0F0F0F0F0F0F0F0FU) | ((value & 0x0F0F0F0F0F0F0F0FU) << 4);
    return qbswap(value) >> (64 - width);
}

// Tables for one width, polynomial and input reflection. An unreflected register is
// kept in the top `width` bits of 64, so that every width, including those under 8,
// takes a whole byte at the top and none needs a shift by 64. A reflected register is
// kept bit-reversed in the low `width` bits and takes each byte at the bottom, which
// takes the bits of the byte from low to high as the definition does.
//
// slice[0][i] is the register after byte i went through eight shifts; slice[k][i] is
// the same followed by k zero bytes. Eight input bytes XORed into the register at once
// then leave the XOR of eight lookups, one per byte position.
struct Tables
{
    int width = 0;
    quint64 polynomial = 0;
    bool reflected = false;
    quint64 slice[8][256];
};

std::unique_ptr<Tables> buildTables(int width, quint64 polynomial, bool reflected)
{
    auto tables = std::make_unique<Tables>();
    tables->width = width;
    tables->polynomial = polynomial;
    tables->reflected = reflected;
    auto &slice = tables->slice;
    if (reflected) {
        const quint64 reversed = reverseLowBits(polynomial, width);
        for (quint64 i = 0; i < 256; ++i) {
            quint64 reg = i;
            for (int bit = 0; bit < 8; ++bit) {
                reg = (reg & 1U) ? (reg >> 1) ^ reversed : reg >> 1;
            }
            slice[0][i] = reg;
        }
        for (int k = 1; k < 8; ++k) {
            for (int i = 0; i < 256; ++i) {
                const quint64 previous = slice[k - 1][i];
                slice[k][i] = (previous >> 8) ^ slice[0][previous & 0xFF];
            }
        }
    } else {
        const quint64 aligned = polynomial << (64 - width);
        for (quint64 i = 0; i < 256; ++i) {
            quint64 reg = i << 56;
            for (int bit = 0; bit < 8; ++bit) {
                reg = (reg >> 63) ? (reg << 1) ^ aligned : reg << 1;
            }
            slice[0][i] = reg;
        }
        for (int k = 1; k < 8; ++k) {
            for (int i = 0; i < 256; ++i) {
                const quint64 previous = slice[k - 1][i];
                slice[k][i] = (previous << 8) ^ slice[0][previous >> 56];
            }
        }
    }
    return tables;
}

// A few recently used parameter sets per thread: no lock, and a script that cycles
// through many checksums only rebuilds tables, which takes microseconds.
const Tables &tablesFor(int width, quint64 polynomial, bool reflected)
{
    struct Cache
    {
        std::array<std::unique_ptr<Tables>, 8> entries;
        std::size_t next = 0;
    };
    thread_local Cache cache;
    for (const auto &slot : cache.entries) {
        if (slot && slot->width == width && slot->polynomial == polynomial &&
            slot->reflected == reflected) {
            return *slot;
        }
    }
    auto &slot = cache.entries[cache.next];
    cache.next = (cache.next + 1) % cache.entries.size();
    slot = buildTables(width, polynomial, reflected);
    return *slot;
}

quint64 runUnreflected(const Tables &t, quint64 reg, const uchar *data, qsizetype size)
{
    const auto &s = t.slice;
    for (; size >= 8; size -= 8, data += 8) {
        reg ^= qFromBigEndian<quint64>(data);
        reg = s[7][reg >> 56] ^ s[6][(reg >> 48) & 0xFF] ^ s[5][(reg >> 40) & 0xFF] ^
              s[4][(reg >> 32) & 0xFF] ^ s[3][(reg >> 24) & 0xFF] ^ s[2][(reg >> 16) & 0xFF] ^
              s[1][(reg >> 8) & 0xFF] ^ s[0][reg & 0xFF];
    }
    for (; size > 0; --size, ++data) {
        reg = (reg << 8) ^ s[0][(reg >> 56) ^ *data];
    }
    return reg;
}

quint64 runReflected(const Tables &t, quint64 reg, const uchar *data, qsizetype size)
{
    const auto &s = t.slice;
    for (; size >= 8; size -= 8, data += 8) {
        reg ^= qFromLittleEndian<quint64>(data);
        reg = s[7][reg & 0xFF] ^ s[6][(reg >> 8) & 0xFF] ^ s[5][(reg >> 16) & 0xFF] ^
              s[4][(reg >> 24) & 0xFF] ^ s[3][(reg >> 32) & 0xFF] ^ s[2][(reg >> 40) & 0xFF] ^
              s[1][(reg >> 48) & 0xFF] ^ s[0][reg >> 56];
    }
    for (; size > 0; --size, ++data) {
        reg = (reg >> 8) ^ s[0][(reg ^ *data) & 0xFF];
    }
    return reg;
}

} // namespace

quint64 CrcEngine::bitwise(QByteArrayView bytes, const CrcCatalog::CustomParameters &p)
{
    const int width = p.width;
    if (width < 1 || width > 64) {
        return 0;
    }
    const quint64 mask = CrcCatalog::maskForWidth(width);
    const quint64 polynomial = p.polynomial & mask;
    quint64 crc;

    if (width >= 8) {
        const quint64 top = quint64(1) << (width - 1);
        crc = p.initial & mask;
        for (char c : bytes) {
            const quint8 byte = p.reflectInput ? reflectByte(quint8(c)) : quint8(c);
            crc ^= quint64(byte) << (width - 8);
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc & top) ? (crc << 1) ^ polynomial : crc << 1;
            }
            crc &= mask;
        }
    } else {
        // Narrower than a byte: run the register in the top bits of a byte, so that
        // each input byte lines up with it, and shift it back down at the end.
        const int shift = 8 - width;
        const quint64 shiftedPolynomial = polynomial << shift;
        crc = (p.initial & mask) << shift;
        for (char c : bytes) {
            crc ^= p.reflectInput ? reflectByte(quint8(c)) : quint8(c);
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc & 0x80) ? (crc << 1) ^ shiftedPolynomial : crc << 1;
            }
            crc &= 0xFF;
        }
        crc >>= shift;
    }

    if (p.reflectOutput) {
        crc = reflectBits(crc, width);
    }
    return (crc ^ p.finalXor) & mask;
}

quint64 CrcEngine::tableDriven(QByteArrayView bytes, const CrcCatalog::CustomParameters &p)
{
    const int width = p.width;
    if (width < 1 || width > 64) {
        return 0;
    }
    const quint64 mask = CrcCatalog::maskForWidth(width);
    const Tables &tables = tablesFor(width, p.polynomial & mask, p.reflectInput);
    const auto *data = reinterpret_cast<const uchar *>(bytes.data());
    quint64 crc;
    if (p.reflectInput) {
        // The register comes out reversed, which is what a reflected output wants.
        const quint64 reg =
            runReflected(tables, reverseLowBits(p.initial & mask, width), data, bytes.size());
        crc = p.reflectOutput ? reg : reverseLowBits(reg, width);
    } else {
        const quint64 reg =
            runUnreflected(tables, (p.initial & mask) << (64 - width), data, bytes.size());
        crc = reg >> (64 - width);
        if (p.reflectOutput) {
            crc = reverseLowBits(crc, width);
        }
    }
    return (crc ^ p.finalXor) & mask;
}
