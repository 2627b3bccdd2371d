#pragma once

// Decoded frames as CSV: one row per frame, or one row per detail field. Every text cell
// passes a formula guard, so that a spreadsheet opening the file runs nothing that came
// off the wire. Rows end in CR LF.

#include "decode/decodedframe.h"

#include <functional>

class FrameCsv
{
public:
    using ExplainFunction = std::function<QList<DecodedField>(const DecodedFrame &)>;

    static QString directionToken(FrameDirection direction); // "TX", "RX"
    // "OK", "EXCEPTION", "CHECKSUM_ERROR", "MALFORMED", "INCOMPLETE", "UNRECOGNIZED".
    static QString statusToken(FrameStatus status);

    // With `neutralize`, a text that a spreadsheet would read as a formula gets a "'" in
    // front; a text with a comma, quote, line break or surrounding blanks is quoted.
    static QString escape(const QString &text, bool neutralize);
    // A number, with an optional unit behind a blank, keeps its sign; any other value is
    // escaped as text.
    static QString escapeValue(const QString &text);
    // "<port>-frames-yyyyMMdd-HHmmss.csv", the port name cleaned for a file system.
    static QString defaultFileName(const QString &portName, const QDateTime &when);

    // Header and one row per frame; `explain` (may be empty) fills the Fields column.
    static QString frames(const QList<DecodedFrame> &list, const ExplainFunction &explain,
                          const QString &protocol);
    // Header and one row per detail field of each frame.
    static QString fields(const QList<DecodedFrame> &list, const ExplainFunction &explain);

    // The same, a piece at a time, for writers that stream.
    static QString framesHeader();
    static QString frameRow(const DecodedFrame &frame, const ExplainFunction &explain,
                            const QString &protocol);
    static QString fieldsHeader();
    static QString fieldRows(const DecodedFrame &frame, const ExplainFunction &explain);
};
