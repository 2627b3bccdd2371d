#pragma once

// The text forms of frame templates that the editor reads and writes: hex bytes, field
// conditions ("3=01"), bit ranges ("5..7"), the names of types, byte orders, framings
// and length scopes, and names made unique in a list.

#include "decode/frametemplate.h"

#include <QStringList>

class FrameTemplateText
{
    Q_DECLARE_TR_FUNCTIONS(FrameTemplateText)

public:
    // The 13 field types in their order.
    static QList<FieldType> fieldTypes();
    // "U8", "I8", ... "F64", "Hex", "ASCII", "Bits".
    static QString typeName(FieldType type);
    // "Big (AB CD)", "Little (DC BA)", "Word swap (CD AB)", "Byte swap (BA DC)".
    static QStringList endianNames();
    // "Header + length", "Header + fixed length", "Delimiter", "Idle gap".
    static QStringList framingNames();
    // What the length field counts, in the order of FrameTemplate::LengthScope.
    static QStringList lengthScopeNames();

    // Upper-case hex pairs separated by blanks.
    static QString formatHex(QByteArrayView bytes);
    // Hex digits with any blanks, commas, semicolons, colons, hyphens and "0x" prefixes
    // between them; false with a sentence in `error` for anything else.
    static bool parseHex(const QString &text, QByteArray *bytes, QString *error);
    // "" (always) or "offset=value" with the value in hex ("3=01", "3 = 0x1").
    static bool parseWhen(const QString &text, int *offset, int *value);
    // "3=01"; empty for always (offset -1).
    static QString formatWhen(int offset, int value);
    // "5..7" (start 5, count 3) or "5" (one bit).
    static bool parseBits(const QString &text, int *start, int *count);
    static QString formatBits(int start, int count);
    // `base` (trimmed; "Template" when blank) if no name in `taken` is the same after
    // trimming, else the first free "base (2)", "base (3)", ... with a number already
    // at its end replaced.
    static QString uniqueName(const QString &base, const QStringList &taken);
};
