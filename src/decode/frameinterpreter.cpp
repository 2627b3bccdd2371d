#include "decode/frameinterpreter.h"

#include "decode/framedecoder.h"
#include "tools/crccatalog.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// Where the fields' data ends: before the checksum and the trailer.
qint64 dataEnd(const FrameTemplate &t, qint64 size)
{
    return size - t.effectiveTrailer().size() - t.checksumBytes();
}

QString hexValue(quint64 value, int bytes)
{
    return QStringLiteral("0x") +
           QString::number(value, 16).toUpper().rightJustified(std::max(bytes, 1) * 2, u'0');
}

quint64 widthMask(int bits)
{
    return bits >= 64 ? ~quint64(0) : bits <= 0 ? 0 : (quint64(1) << bits) - 1;
}

} // namespace

void FrameInterpreter::appendGeneral(QString &text, double value, int precision, bool exactFloat)
{
    // The shortest text that reads back as the value is its rounding to `precision`
    // significant digits whenever it has no more digits than that and decimals of that many
    // digits lie further apart than the value's own precision (always so up to 15 digits
    // for a double; checked for a float). Then only the layout of "%g" remains: exponent
    // form below 1e-4 and from 10^precision, at least two exponent digits, no trailing
    // zeros. Anything else (zero, subnormals, infinities, NaN, long digits) goes to Qt.
    const bool normal = exactFloat ? std::isnormal(float(value)) : std::isnormal(value);
    char buffer[48];
    char digits[24];
    int count = 0;
    int exponent = 0;
    bool negative = false;
    bool fast = normal && precision >= 1 && precision <= 15;
    if (fast) {
        const std::to_chars_result r =
            exactFloat ? std::to_chars(buffer, buffer + sizeof buffer, float(value),
                                       std::chars_format::scientific)
                       : std::to_chars(buffer, buffer + sizeof buffer, value,
                                       std::chars_format::scientific);
        const char *p = buffer;
        negative = *p == '-';
        p += negative ? 1 : 0;
        for (; p < r.ptr && *p != 'e' && count < int(sizeof digits); ++p) {
            if (*p != '.') {
                digits[count++] = *p;
            }
        }
        const char *e = p + 1 < r.ptr && p[1] == '+' ? p + 2 : p + 1;
        fast = p < r.ptr && count <= precision &&
               std::from_chars(e, r.ptr, exponent).ec == std::errc();
        if (fast && exactFloat) {
            const double halfUlp = std::ldexp(1.0, std::ilogb(float(value)) - 24);
            fast = 0.5 * std::pow(10.0, exponent - precision + 1) > halfUlp;
        }
    }
    if (!fast) {
        text += QString::number(value, 'g', precision);
        return;
    }
    const QLatin1StringView all(digits, count);
    if (negative) {
        text += u'-';
    }
    if (exponent < -4 || exponent >= precision) {
        text += QLatin1Char(digits[0]);
        if (count > 1) {
            text += u'.';
            text += all.sliced(1);
        }
        text += exponent < 0 ? QLatin1String("e-") : QLatin1String("e+");
        const int magnitude = std::abs(exponent);
        if (magnitude < 10) {
            text += u'0';
        }
        text += QString::number(magnitude);
    } else if (exponent < 0) {
        text += QLatin1String("0.");
        text += QString(-exponent - 1, u'0');
        text += all;
    } else if (count <= exponent + 1) {
        text += all;
        text += QString(exponent + 1 - count, u'0');
    } else {
        text += all.first(exponent + 1);
        text += u'.';
        text += all.sliced(exponent + 1);
    }
}

int FrameInterpreter::checksumWidthBits(const ChecksumSpec &spec)
{
    switch (spec.kind) {
    case ChecksumSpec::None:
        return 0;
    case ChecksumSpec::Sum8:
    case ChecksumSpec::Xor8:
        return 8;
    case ChecksumSpec::Sum16:
        return 16;
    case ChecksumSpec::Crc:
        break;
    }
    if (spec.kind != ChecksumSpec::Crc) {
        return 0; // a kind no file should hold
    }
    if (spec.crc == ChecksumSpec::CustomCrc) {
        return std::clamp(spec.width, 1, 64);
    }
    const CrcCatalog::Definition *entry =
        spec.crc >= 0 && spec.crc < ChecksumSpec::CustomCrc
            ? CrcCatalog::definition(CrcCatalog::Algorithm(spec.crc))
            : nullptr;
    return entry ? entry->width : 16;
}

quint64 FrameInterpreter::computeChecksum(const ChecksumSpec &spec, QByteArrayView bytes)
{
    if (bytes.isEmpty()) {
        return 0;
    }
    switch (spec.kind) {
    case ChecksumSpec::None:
        return 0;
    case ChecksumSpec::Sum8:
        return CrcCatalog::sum8(bytes);
    case ChecksumSpec::Xor8:
        return CrcCatalog::xor8(bytes);
    case ChecksumSpec::Sum16: {
        quint32 sum = 0;
        for (char c : bytes) {
            sum += quint8(c);
        }
        return sum & 0xFFFF;
    }
    case ChecksumSpec::Crc:
        break;
    }
    if (spec.kind != ChecksumSpec::Crc) {
        return 0;
    }
    if (spec.crc == ChecksumSpec::CustomCrc) {
        CrcCatalog::CustomParameters p;
        p.width = std::clamp(spec.width, 1, 64);
        p.polynomial = spec.poly;
        p.initial = spec.init;
        p.finalXor = spec.xorOut;
        p.reflectInput = spec.refIn;
        p.reflectOutput = spec.refOut;
        return CrcCatalog::calculateCustom(bytes, p);
    }
    if (spec.crc < 0 || spec.crc >= ChecksumSpec::CustomCrc) {
        return 0;
    }
    return CrcCatalog::calculate(CrcCatalog::Algorithm(spec.crc), bytes);
}

quint64 FrameInterpreter::readUnsigned(QByteArrayView bytes, Endian endian)
{
    const qsizetype n = bytes.size();
    const bool odd = n % 2 != 0;
    if ((endian == Endian::WordSwap && odd) || endian == Endian::Big) {
        endian = Endian::Big;
    } else if (endian == Endian::ByteSwap && odd) {
        endian = Endian::Little;
    }
    quint64 value = 0;
    for (qsizetype i = 0; i < n; ++i) {
        // The wire index of the i-th most significant byte.
        qsizetype at = i;
        switch (endian) {
        case Endian::Big:
            break;
        case Endian::Little:
            at = n - 1 - i;
            break;
        case Endian::WordSwap: // pairs in reverse order, each pair big
            at = (n - 2 - (i / 2) * 2) + i % 2;
            break;
        case Endian::ByteSwap: // pairs in order, the two bytes of each exchanged
            at = i ^ 1;
            break;
        }
        value = (value << 8) | quint8(bytes.at(at));
    }
    return value;
}

bool FrameInterpreter::checkChecksum(const FrameTemplate &t, QByteArrayView frame, quint64 *stored,
                                     quint64 *computed)
{
    *stored = 0;
    *computed = 0;
    const int bytes = t.checksumBytes();
    if (t.checksum.kind == ChecksumSpec::None || bytes < 1) {
        return true;
    }
    const qint64 storedAt = dataEnd(t, frame.size());
    if (storedAt < 0 || storedAt < t.checksumStart || t.checksumStart < 0) {
        return false;
    }
    *stored = readUnsigned(frame.sliced(storedAt, bytes), t.checksumOrder);
    *computed =
        computeChecksum(t.checksum, frame.sliced(t.checksumStart, storedAt - t.checksumStart));
    return true;
}

bool FrameInterpreter::trailerOk(const FrameTemplate &t, QByteArrayView frame)
{
    const QByteArray trailer = t.effectiveTrailer();
    return trailer.isEmpty() || frame.endsWith(trailer);
}

FrameStatus FrameInterpreter::frameStatus(const FrameTemplate &t, QByteArrayView frame)
{
    if (!trailerOk(t, frame)) {
        return FrameStatus::Malformed;
    }
    quint64 stored = 0;
    quint64 computed = 0;
    if (!checkChecksum(t, frame, &stored, &computed)) {
        return FrameStatus::Malformed;
    }
    return stored == computed ? FrameStatus::Ok : FrameStatus::ChecksumError;
}

int FrameInterpreter::minimumLength(const FrameTemplate &t)
{
    qint64 length = t.header.size();
    if (t.framing == FrameTemplate::HeaderLength) {
        length = std::max<qint64>(length, qint64(t.lengthOffset) + t.lengthWidth);
    }
    length += t.checksumBytes() + t.effectiveTrailer().size();
    return int(std::clamp<qint64>(length, 1, std::numeric_limits<int>::max()));
}

qint64 FrameInterpreter::frameLength(const FrameTemplate &t, QByteArrayView bytes)
{
    qint64 length = 0;
    if (t.framing == FrameTemplate::HeaderFixed) {
        length = t.fixedLength;
    } else if (t.framing == FrameTemplate::HeaderLength) {
        // A length field that cannot lie inside a frame never tells a length.
        const qint64 lengthEnd = qint64(t.lengthOffset) + t.lengthWidth;
        if (t.lengthOffset < 0 || t.lengthWidth < 1 || t.lengthWidth > 8 ||
            lengthEnd > t.maxFrameBytes) {
            return -1;
        }
        if (bytes.size() < lengthEnd) {
            return 0;
        }
        const quint64 raw =
            readUnsigned(bytes.sliced(t.lengthOffset, t.lengthWidth), t.lengthEndian);
        if (raw > (quint64(1) << 40)) { // beyond any frame, whatever the adjustment
            return -1;
        }
        const qint64 value = qint64(raw);
        switch (t.lengthScope) {
        case FrameTemplate::WholeFrame:
            length = value + t.lengthAdjust;
            break;
        case FrameTemplate::AfterField:
            length = lengthEnd + value + t.lengthAdjust;
            break;
        case FrameTemplate::AfterFieldToChecksum:
        default:
            length = lengthEnd + value + t.lengthAdjust + t.checksumBytes() + t.trailer.size();
            break;
        }
    } else {
        return -1;
    }
    if (length < minimumLength(t) || length > t.maxFrameBytes) {
        return -1;
    }
    return length;
}

FrameInterpreter::Prepared::Prepared(const FrameTemplate &frameTemplate)
    : tmpl(frameTemplate)
    , dataTail(frameTemplate.effectiveTrailer().size() + frameTemplate.checksumBytes())
{
    labels.reserve(tmpl.fields.size());
    for (const FieldSpec &field : std::as_const(tmpl.fields)) {
        QList<Label> table;
        const QStringList parts = field.labels.split(u';', Qt::SkipEmptyParts);
        for (const QString &part : parts) {
            const qsizetype eq = part.indexOf(u'=');
            const QString key = (eq < 0 ? part : part.left(eq)).trimmed();
            Label label;
            label.text = eq < 0 ? QString() : part.mid(eq + 1).trimmed();
            if (key.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
                label.hex = true;
                label.unsignedKey = key.mid(2).toULongLong(&label.unsignedOk, 16);
            } else {
                label.signedKey = key.toLongLong(&label.signedOk);
                label.unsignedKey = key.toULongLong(&label.unsignedOk);
            }
            if (label.signedOk || label.unsignedOk) {
                table.append(label);
            }
        }
        labels.append(table);
    }
}

FrameInterpreter::FieldPlace FrameInterpreter::fieldValue(const Prepared &prepared, int index,
                                                          QByteArrayView frame, QString &text)
{
    const FieldSpec &field = prepared.tmpl.fields.at(index);
    FieldPlace v;
    const qint64 size = frame.size();
    if (field.whenOffset >= 0 &&
        (field.whenOffset >= size || quint8(frame.at(field.whenOffset)) != field.whenValue)) {
        return v;
    }
    v.shown = true;
    v.offset = field.offset;
    qint64 length = FieldSpec::typeWidth(field.type);
    if (field.type == FieldType::Hex || field.type == FieldType::Ascii) {
        length = field.length >= 1 ? field.length : size - prepared.dataTail - field.offset;
    } else if (field.type == FieldType::Bits) {
        length = field.length;
    }
    if (field.offset < 0 || length < 1 || field.offset + length > size) {
        v.bad = true;
        v.length = field.offset < 0 ? 0 : int(std::max<qint64>(0, size - field.offset));
        text += QChar(0x2014);
        return v;
    }
    v.length = int(length);
    const QByteArrayView bytes = frame.sliced(field.offset, length);
    switch (field.type) {
    case FieldType::F32:
    case FieldType::F64: {
        const quint64 bits = readUnsigned(bytes, field.endian);
        double value = 0;
        if (field.type == FieldType::F32) {
            const quint32 narrow = quint32(bits);
            float f = 0;
            std::memcpy(&f, &narrow, sizeof f);
            value = f;
        } else {
            std::memcpy(&value, &bits, sizeof value);
        }
        const bool exactFloat =
            field.type == FieldType::F32 && field.scale == 1.0 && field.addend == 0.0;
        value = value * field.scale + field.addend;
        if (field.decimals < 0) {
            appendGeneral(text, value, field.type == FieldType::F32 ? 7 : 15, exactFloat);
        } else {
            text += QString::number(value, 'f', std::min(field.decimals, 15));
        }
        if (!field.unit.isEmpty()) {
            text += u' ';
            text += field.unit;
        }
        break;
    }
    case FieldType::Hex:
        text += FrameDecoder::hexText(bytes);
        break;
    case FieldType::Ascii:
        for (char c : bytes) {
            const quint8 b = quint8(c);
            text += b >= 32 && b <= 126 ? QChar(b) : QChar(0x25A1);
        }
        break;
    case FieldType::Bits: {
        const quint64 container = readUnsigned(bytes, field.endian);
        const quint64 shifted =
            field.bitStart < 0 || field.bitStart >= 64 ? 0 : container >> field.bitStart;
        appendInteger(text, field, prepared.labels.at(index), shifted & widthMask(field.bitCount),
                      8, false);
        break;
    }
    default: {
        const bool isSigned = field.type == FieldType::I8 || field.type == FieldType::I16 ||
                              field.type == FieldType::I32 || field.type == FieldType::I64;
        appendInteger(text, field, prepared.labels.at(index), readUnsigned(bytes, field.endian),
                      int(length), isSigned);
        break;
    }
    }
    return v;
}

void FrameInterpreter::appendInteger(QString &text, const FieldSpec &field,
                                     const QList<Prepared::Label> &labels, quint64 bits, int width,
                                     bool isSigned)
{
    // Sign extension from the type's width.
    const int shift = 64 - width * 8;
    const qint64 signedValue = shift > 0 ? qint64(bits << shift) >> shift : qint64(bits);
    // A hex key names the raw bits, a decimal key the value in the type's sign.
    for (const Prepared::Label &label : labels) {
        const bool match = label.hex  ? label.unsignedKey == (bits & widthMask(width * 8))
                           : isSigned ? label.signedOk && label.signedKey == signedValue
                                      : label.unsignedOk && label.unsignedKey == bits;
        if (match) {
            text += label.text;
            return;
        }
    }
    // Labels name some values; the others show as they are, unscaled.
    if (!field.labels.isEmpty() || (field.scale == 1.0 && field.addend == 0.0)) {
        char digits[24];
        const auto end = isSigned ? std::to_chars(digits, digits + sizeof digits, signedValue).ptr
                                  : std::to_chars(digits, digits + sizeof digits, bits).ptr;
        text += QLatin1StringView(digits, end - digits);
    } else {
        const double value =
            (isSigned ? double(signedValue) : double(bits)) * field.scale + field.addend;
        if (field.decimals < 0) {
            appendGeneral(text, value, 15, false);
        } else {
            text += QString::number(value, 'f', std::min(field.decimals, 15));
        }
    }
    if (!field.unit.isEmpty()) {
        text += u' ';
        text += field.unit;
    }
}

QString FrameInterpreter::summary(const FrameTemplate &t, QByteArrayView frame)
{
    return summary(Prepared(t), frame);
}

QString FrameInterpreter::summary(const Prepared &prepared, QByteArrayView frame)
{
    // Each field is written in place and taken back when it has nothing to show.
    QString text;
    text.reserve(96);
    const int count = int(prepared.tmpl.fields.size());
    for (int i = 0; i < count; ++i) {
        const qsizetype mark = text.size();
        if (mark > 0) {
            text += QLatin1String(", ");
        }
        text += prepared.tmpl.fields.at(i).name;
        text += u'=';
        const qsizetype valueAt = text.size();
        const FieldPlace v = fieldValue(prepared, i, frame, text);
        if (!v.shown || v.bad || text.size() == valueAt) {
            text.truncate(mark);
        }
    }
    return text;
}

QList<DecodedField> FrameInterpreter::explain(const FrameTemplate &t, QByteArrayView frame)
{
    const Prepared prepared(t);
    QList<DecodedField> rows;
    const qint64 size = frame.size();
    for (int i = 0; i < t.fields.size(); ++i) {
        QString text;
        const FieldPlace v = fieldValue(prepared, i, frame, text);
        if (v.shown) {
            rows.append({t.fields.at(i).name, text, v.offset, v.length, 0, v.bad});
        }
    }
    if (t.checksum.kind != ChecksumSpec::None) {
        const int bytes = t.checksumBytes();
        quint64 stored = 0;
        quint64 computed = 0;
        DecodedField row{tr("Checksum"), QString(QChar(0x2014)), -1, 0, 0, true};
        if (checkChecksum(t, frame, &stored, &computed)) {
            row.offset = int(dataEnd(t, size));
            row.length = bytes;
            row.bad = stored != computed;
            row.value =
                row.bad
                    ? tr("%1 (expected %2)").arg(hexValue(stored, bytes), hexValue(computed, bytes))
                    : tr("%1 OK").arg(hexValue(stored, bytes));
        } else if (size - bytes >= 0) {
            row.offset = int(size - bytes);
            row.length = bytes;
        }
        rows.append(row);
    }
    const QByteArray trailer = t.effectiveTrailer();
    if (!trailer.isEmpty()) {
        const qint64 found = std::min<qint64>(trailer.size(), size);
        const QByteArrayView tail = frame.last(found);
        DecodedField row{t.framing == FrameTemplate::Delimited ? tr("Delimiter") : tr("Trailer"),
                         FrameDecoder::hexText(tail),
                         int(size - found),
                         int(found),
                         0,
                         false};
        if (tail != QByteArrayView(trailer)) {
            row.bad = true;
            row.value = tr("%1 (expected %2)").arg(row.value, FrameDecoder::hexText(trailer));
        }
        if (found == 0) {
            row.offset = -1;
        }
        rows.append(row);
    }
    return rows;
}
