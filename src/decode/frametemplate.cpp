#include "decode/frametemplate.h"

#include "decode/frameinterpreter.h"

int FieldSpec::typeWidth(FieldType type)
{
    switch (type) {
    case FieldType::U8:
    case FieldType::I8:
        return 1;
    case FieldType::U16:
    case FieldType::I16:
        return 2;
    case FieldType::U32:
    case FieldType::I32:
    case FieldType::F32:
        return 4;
    case FieldType::U64:
    case FieldType::I64:
    case FieldType::F64:
        return 8;
    case FieldType::Hex:
    case FieldType::Ascii:
    case FieldType::Bits:
        break;
    }
    return 0;
}

int FrameTemplate::checksumBytes() const
{
    return (FrameInterpreter::checksumWidthBits(checksum) + 7) / 8;
}

QByteArray FrameTemplate::effectiveTrailer() const
{
    return framing == Delimited ? delimiter : trailer;
}

bool FrameTemplate::validate(QString *error) const
{
    const auto fail = [error](const QString &text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (name.trimmed().isEmpty()) {
        return fail(tr("The template needs a name."));
    }
    if (headerFraming() && header.isEmpty()) {
        return fail(tr("Header framing needs at least one header byte."));
    }
    if (header.size() > MaxMarkerBytes) {
        return fail(tr("The header can be at most %1 bytes.").arg(MaxMarkerBytes));
    }
    if (trailer.size() > MaxMarkerBytes) {
        return fail(tr("The trailer can be at most %1 bytes.").arg(MaxMarkerBytes));
    }
    if (maxFrameBytes < MinFrameBytes || maxFrameBytes > MaxFrameBytes) {
        return fail(tr("The maximum frame size must be between %1 and %2 bytes.")
                        .arg(MinFrameBytes)
                        .arg(MaxFrameBytes));
    }
    if (frameTimeoutMs < 5 || frameTimeoutMs > 10000) {
        return fail(tr("The frame timeout must be between 5 and 10000 ms."));
    }
    if (framing == Delimited) {
        if (delimiter.isEmpty()) {
            return fail(tr("Delimiter framing needs a delimiter."));
        }
        if (delimiter.size() > MaxMarkerBytes) {
            return fail(tr("The delimiter can be at most %1 bytes.").arg(MaxMarkerBytes));
        }
    }
    if (framing == IdleGap && (idleGapMs < 1 || idleGapMs > 60000)) {
        return fail(tr("The idle gap must be between 1 and 60000 ms."));
    }
    if (framing == HeaderLength) {
        if (lengthWidth != 1 && lengthWidth != 2 && lengthWidth != 4) {
            return fail(tr("The length field must be 1, 2 or 4 bytes wide."));
        }
        if (lengthOffset < 0 || qint64(lengthOffset) + lengthWidth > maxFrameBytes) {
            return fail(tr("The length field lies beyond the maximum frame size."));
        }
        if (lengthAdjust < -64 || lengthAdjust > 64) {
            return fail(tr("The length adjustment must be between -64 and 64."));
        }
    }
    if (framing == HeaderFixed) {
        if (fixedLength < header.size() + checksumBytes() + trailer.size()) {
            return fail(
                tr("The fixed length is shorter than the header, checksum and trailer together."));
        }
        if (fixedLength > maxFrameBytes) {
            return fail(tr("The fixed length exceeds the maximum frame size."));
        }
    }
    if (checksum.kind != ChecksumSpec::None && checksumStart < 0) {
        return fail(tr("The checksum cannot start before the frame."));
    }
    if (checksum.kind == ChecksumSpec::Crc && checksum.crc == ChecksumSpec::CustomCrc &&
        (checksum.width < 1 || checksum.width > 64)) {
        return fail(tr("A custom CRC must be 1 to 64 bits wide."));
    }
    if (fields.size() > MaxFields) {
        return fail(tr("A template can have at most %1 fields.").arg(MaxFields));
    }
    for (const FieldSpec &field : fields) {
        const QString shown = field.name.isEmpty() ? tr("(unnamed)") : field.name;
        if (field.offset < 0 || field.offset > maxFrameBytes - 1) {
            return fail(tr("Field \"%1\" starts outside the frame.").arg(shown));
        }
        const bool sized = field.type == FieldType::Hex || field.type == FieldType::Ascii;
        if (sized && field.length < 0) {
            return fail(tr("Field \"%1\" has a negative length.").arg(shown));
        }
        if (field.type == FieldType::Bits) {
            if (field.length != 1 && field.length != 2 && field.length != 4) {
                return fail(tr("Bit field \"%1\" needs a 1, 2 or 4 byte container.").arg(shown));
            }
            if (field.bitStart < 0 || field.bitCount < 1 ||
                field.bitStart + field.bitCount > field.length * 8) {
                return fail(tr("Bit field \"%1\" does not fit its container.").arg(shown));
            }
        }
        if (field.whenOffset < -1) {
            return fail(tr("Field \"%1\" has an invalid condition.").arg(shown));
        }
        if (field.decimals < -1 || field.decimals > 15) {
            return fail(tr("Field \"%1\" can show 0 to 15 decimals.").arg(shown));
        }
    }
    if (error) {
        error->clear();
    }
    return true;
}
