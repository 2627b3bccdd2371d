#include "tools/crccatalog.h"

#include "tools/crcengine.h"

#include <zlib.h>

#include <iterator>

namespace {

enum class ScriptKind { Sum8, Xor8, Crc };

struct ScriptChecksum
{
    const char *name;
    ScriptKind kind;
    int width;
    quint64 polynomial;
    quint64 initial;
    quint64 finalXor;
    bool reflectInput;
    bool reflectOutput;
};

// Script names and the published parameters of the algorithms they stand for
// (width, polynomial, initial value, final XOR, reflected input and output).
constexpr ScriptKind C = ScriptKind::Crc;
constexpr ScriptChecksum scriptTable[] = {
    {"sum8", ScriptKind::Sum8, 8, 0, 0, 0, false, false},
    {"xor8", ScriptKind::Xor8, 8, 0, 0, 0, false, false},
    {"crc8", C, 8, 0x07, 0x00, 0x00, false, false},
    {"crc16modbus", C, 16, 0x8005, 0xFFFF, 0x0000, true, true},
    {"crc32", C, 32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true},
    {"crc4itu", C, 4, 0x3, 0x0, 0x0, true, true},
    {"crc5epc", C, 5, 0x09, 0x09, 0x00, false, false},
    {"crc5itu", C, 5, 0x15, 0x00, 0x00, true, true},
    {"crc5usb", C, 5, 0x05, 0x1F, 0x1F, true, true},
    {"crc6cdma2000a", C, 6, 0x27, 0x3F, 0x00, false, false},
    {"crc6cdma2000b", C, 6, 0x07, 0x3F, 0x00, false, false},
    {"crc6itu", C, 6, 0x03, 0x00, 0x00, true, true},
    {"crc7", C, 7, 0x09, 0x00, 0x00, false, false},
    {"crc8ebu", C, 8, 0x1D, 0xFF, 0x00, true, true},
    {"crc8maxim", C, 8, 0x31, 0x00, 0x00, true, true},
    {"crc8wcdma", C, 8, 0x9B, 0x00, 0x00, true, true},
    {"crc10", C, 10, 0x233, 0x000, 0x000, false, false},
    {"crc10cdma2000", C, 10, 0x3D9, 0x3FF, 0x000, false, false},
    {"crc11", C, 11, 0x385, 0x01A, 0x000, false, false},
    {"crc12cdma2000", C, 12, 0xF13, 0xFFF, 0x000, false, false},
    {"crc12dect", C, 12, 0x80F, 0x000, 0x000, false, false},
    {"crc12umts", C, 12, 0x80F, 0x000, 0x000, false, true},
    {"crc13bbc", C, 13, 0x1CF5, 0x0000, 0x0000, false, false},
    {"crc15", C, 15, 0x4599, 0x0000, 0x0000, false, false},
    {"crc15mpt1327", C, 15, 0x6815, 0x0000, 0x0001, false, false},
    {"crc16arc", C, 16, 0x8005, 0x0000, 0x0000, true, true},
    {"crc16buypass", C, 16, 0x8005, 0x0000, 0x0000, false, false},
    {"crc16ccittfalse", C, 16, 0x1021, 0xFFFF, 0x0000, false, false},
    {"crc16cdma2000", C, 16, 0xC867, 0xFFFF, 0x0000, false, false},
    {"crc16cms", C, 16, 0x8005, 0xFFFF, 0x0000, false, false},
    {"crc16dectr", C, 16, 0x0589, 0x0000, 0x0001, false, false},
    {"crc16dectx", C, 16, 0x0589, 0x0000, 0x0000, false, false},
    {"crc16dnp", C, 16, 0x3D65, 0x0000, 0xFFFF, true, true},
    {"crc16genibus", C, 16, 0x1021, 0xFFFF, 0xFFFF, false, false},
    {"crc16kermit", C, 16, 0x1021, 0x0000, 0x0000, true, true},
    {"crc16maxim", C, 16, 0x8005, 0x0000, 0xFFFF, true, true},
    {"crc16t10dif", C, 16, 0x8BB7, 0x0000, 0x0000, false, false},
    {"crc16usb", C, 16, 0x8005, 0xFFFF, 0xFFFF, true, true},
    {"crc16x25", C, 16, 0x1021, 0xFFFF, 0xFFFF, true, true},
    {"crc16xmodem", C, 16, 0x1021, 0x0000, 0x0000, false, false},
    {"crc17can", C, 17, 0x1685B, 0x00000, 0x00000, false, false},
    {"crc21can", C, 21, 0x102899, 0x000000, 0x000000, false, false},
    {"crc24", C, 24, 0x864CFB, 0xB704CE, 0x000000, false, false},
    {"crc24flexraya", C, 24, 0x5D6DCB, 0xFEDCBA, 0x000000, false, false},
    {"crc24flexrayb", C, 24, 0x5D6DCB, 0xABCDEF, 0x000000, false, false},
    {"crc30", C, 30, 0x2030B9C7, 0x3FFFFFFF, 0x3FFFFFFF, false, false},
    {"crc32bzip2", C, 32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, false, false},
    {"crc32c", C, 32, 0x1EDC6F41, 0xFFFFFFFF, 0xFFFFFFFF, true, true},
    {"crc32mpeg2", C, 32, 0x04C11DB7, 0xFFFFFFFF, 0x00000000, false, false},
    {"crc32posix", C, 32, 0x04C11DB7, 0x00000000, 0xFFFFFFFF, false, false},
    {"crc32q", C, 32, 0x814141AB, 0x00000000, 0x00000000, false, false},
    {"crc40gsm", C, 40, 0x0004820009, 0x0000000000, 0xFFFFFFFFFF, false, false},
    {"crc64", C, 64, 0x42F0E1EBA9EA3693, 0x0, 0x0, false, false},
};
static_assert(std::size(scriptTable) == 53);

const ScriptChecksum *findScriptChecksum(const QString &name)
{
    for (const ScriptChecksum &entry : scriptTable) {
        if (name == QLatin1String(entry.name)) {
            return &entry;
        }
    }
    return nullptr;
}

} // namespace

const QList<CrcCatalog::Definition> &CrcCatalog::definitions()
{
    static const QList<Definition> list = {
        {Crc4Itu, QStringLiteral("CRC-4/ITU"), 4, 0x3, 0x0, 0x0, true, true},
        {Crc5Itu, QStringLiteral("CRC-5/ITU"), 5, 0x15, 0x0, 0x0, true, true},
        {Crc5Usb, QStringLiteral("CRC-5/USB"), 5, 0x05, 0x1F, 0x1F, true, true},
        {Crc6Itu, QStringLiteral("CRC-6/ITU"), 6, 0x03, 0x0, 0x0, true, true},
        {Crc8, QStringLiteral("CRC-8"), 8, 0x07, 0x0, 0x0, false, false},
        {Crc16Modbus, QStringLiteral("CRC-16/MODBUS"), 16, 0x8005, 0xFFFF, 0x0, true, true},
        {Crc16Usb, QStringLiteral("CRC-16/USB"), 16, 0x8005, 0xFFFF, 0xFFFF, true, true},
        {Crc32, QStringLiteral("CRC-32"), 32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true},
        {Custom, QStringLiteral("Custom"), 16, 0x1021, 0xFFFF, 0x0, false, false},
    };
    return list;
}

const CrcCatalog::Definition *CrcCatalog::definition(Algorithm algorithm)
{
    const auto &list = definitions();
    const int index = int(algorithm);
    if (index < 0 || index >= list.size()) {
        return nullptr;
    }
    return &list.at(index);
}

CrcCatalog::CustomParameters CrcCatalog::parameters(Algorithm algorithm)
{
    const Definition *entry = definition(algorithm);
    if (!entry) {
        entry = definition(Custom);
    }
    return {entry->width,    entry->polynomial,   entry->initial,
            entry->finalXor, entry->reflectInput, entry->reflectOutput};
}

quint64 CrcCatalog::calculate(Algorithm algorithm, QByteArrayView bytes)
{
    if (bytes.isEmpty() || !definition(algorithm)) {
        return 0;
    }
    return calculateCustom(bytes, parameters(algorithm));
}

quint64 CrcCatalog::calculateCustom(QByteArrayView bytes, const CustomParameters &p)
{
    if (p.width < 1 || p.width > 64) {
        return 0;
    }
    // The common CRC-32 (catalogue, send box, scripts, or the same parameters typed in)
    // is zlib's, which is specialised to it and about three times the generic tables.
    const quint64 mask = maskForWidth(p.width);
    if (p.width == 32 && (p.polynomial & mask) == 0x04C11DB7 && (p.initial & mask) == 0xFFFFFFFF &&
        (p.finalXor & mask) == 0xFFFFFFFF && p.reflectInput && p.reflectOutput) {
        return crc32_z(crc32_z(0, nullptr, 0), reinterpret_cast<const Bytef *>(bytes.data()),
                       z_size_t(bytes.size()));
    }
    // Tables pay off from a few bytes on; under that, building or finding them costs
    // more than shifting the bits.
    constexpr qsizetype TableMinimumLength = 16;
    return bytes.size() < TableMinimumLength ? CrcEngine::bitwise(bytes, p)
                                             : CrcEngine::tableDriven(bytes, p);
}

quint64 CrcCatalog::maskForWidth(int width)
{
    if (width <= 0) {
        return 0;
    }
    if (width >= 64) {
        return ~quint64(0);
    }
    return (quint64(1) << width) - 1;
}

bool CrcCatalog::fitsWidth(quint64 value, int width)
{
    return (value & ~maskForWidth(width)) == 0;
}

QStringList CrcCatalog::sendChecksumLabels()
{
    return {tr("None"),
            tr("Checksum-8 (SUM)"),
            tr("XOR (BCC)"),
            QStringLiteral("CRC-8"),
            QStringLiteral("CRC-16/MODBUS"),
            QStringLiteral("CRC-32")};
}

int CrcCatalog::sendChecksumSize(int mode)
{
    switch (mode) {
    case SendChecksumSum8:
    case SendChecksumXor8:
    case SendChecksumCrc8:
        return 1;
    case SendChecksumCrc16Modbus:
        return 2;
    case SendChecksumCrc32:
        return 4;
    default:
        return 0;
    }
}

quint64 CrcCatalog::sendChecksumValue(int mode, QByteArrayView bytes)
{
    switch (mode) {
    case SendChecksumSum8:
        return sum8(bytes);
    case SendChecksumXor8:
        return xor8(bytes);
    case SendChecksumCrc8:
        return calculateCustom(bytes, parameters(Crc8));
    case SendChecksumCrc16Modbus:
        return calculateCustom(bytes, parameters(Crc16Modbus));
    case SendChecksumCrc32:
        return calculateCustom(bytes, parameters(Crc32));
    default:
        return 0;
    }
}

quint8 CrcCatalog::sum8(QByteArrayView bytes)
{
    quint8 sum = 0;
    for (char c : bytes) {
        sum = quint8(sum + quint8(c));
    }
    return sum;
}

quint8 CrcCatalog::xor8(QByteArrayView bytes)
{
    quint8 value = 0;
    for (char c : bytes) {
        value ^= quint8(c);
    }
    return value;
}

QStringList CrcCatalog::scriptChecksumNames()
{
    QStringList names;
    names.reserve(qsizetype(std::size(scriptTable)));
    for (const ScriptChecksum &entry : scriptTable) {
        names << QLatin1String(entry.name);
    }
    return names;
}

int CrcCatalog::scriptChecksumWidth(const QString &name)
{
    const ScriptChecksum *entry = findScriptChecksum(name);
    return entry ? entry->width : 0;
}

quint64 CrcCatalog::scriptChecksum(const QString &name, QByteArrayView bytes, bool *ok)
{
    const ScriptChecksum *entry = findScriptChecksum(name);
    if (ok) {
        *ok = entry != nullptr;
    }
    if (!entry) {
        return 0;
    }
    switch (entry->kind) {
    case ScriptKind::Sum8:
        return sum8(bytes);
    case ScriptKind::Xor8:
        return xor8(bytes);
    case ScriptKind::Crc:
        break;
    }
    return calculateCustom(bytes, {entry->width, entry->polynomial, entry->initial, entry->finalXor,
                                   entry->reflectInput, entry->reflectOutput});
}
