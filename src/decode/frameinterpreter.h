#pragma once

// The arithmetic of a frame template on one frame, without state: checksums, multi-byte
// values in the four byte orders, where a frame ends, and the text of its fields. Every
// function accepts any template, valid or not, and any bytes.

#include "decode/decodedframe.h"
#include "decode/frametemplate.h"

#include <QCoreApplication>

class FrameInterpreter
{
    Q_DECLARE_TR_FUNCTIONS(FrameInterpreter)

public:
    // 0 for none, 8 for SUM8 and XOR8, 16 for SUM16; a CRC's width (a custom one clamped
    // to 1 .. 64, an index outside the catalogue 16).
    static int checksumWidthBits(const ChecksumSpec &spec);
    // The checksum of `bytes`; empty input gives 0.
    static quint64 computeChecksum(const ChecksumSpec &spec, QByteArrayView bytes);
    // Up to 8 bytes as one unsigned number in `endian`; an odd size reads word swap as big
    // and byte swap as little.
    static quint64 readUnsigned(QByteArrayView bytes, Endian endian);

    // Whether the stored and the computed checksum could be placed and computed (true
    // also when there is no checksum, with both 0); the caller compares them.
    static bool checkChecksum(const FrameTemplate &frameTemplate, QByteArrayView frame,
                              quint64 *stored, quint64 *computed);
    // The frame ends with the delimiter or trailer, or there is none.
    static bool trailerOk(const FrameTemplate &frameTemplate, QByteArrayView frame);
    // The status of a frame whose boundaries are known: Ok, ChecksumError (computed and
    // different) or Malformed (the trailer is wrong or the checksum cannot be placed).
    static FrameStatus frameStatus(const FrameTemplate &frameTemplate, QByteArrayView frame);
    // The smallest frame the template allows, at least 1.
    static int minimumLength(const FrameTemplate &frameTemplate);
    // For header framings, the size of the frame that begins at `bytes`: 0 while the bytes
    // do not tell yet, -1 for an impossible frame. Always -1 for the other framings.
    static qint64 frameLength(const FrameTemplate &frameTemplate, QByteArrayView bytes);

    // A template made ready for many frames: the labels of its fields are read once.
    class Prepared
    {
    public:
        explicit Prepared(const FrameTemplate &frameTemplate);
        const FrameTemplate &frameTemplate() const { return tmpl; }

    private:
        friend class FrameInterpreter;
        struct Label
        {
            bool hex = false;
            bool signedOk = false; // a decimal key read as a signed number
            bool unsignedOk = false;
            qint64 signedKey = 0;
            quint64 unsignedKey = 0; // the hex key, or the decimal one read unsigned
            QString text;
        };
        FrameTemplate tmpl;
        QList<QList<Label>> labels; // per field
        qint64 dataTail = 0;        // checksum and trailer bytes at the frame's end
    };

    // Appends what QString::number(value, 'g', precision) gives, without its cost in the
    // common case (a value whose shortest form has at most `precision` digits). With
    // `exactFloat` the value is a float widened to double.
    static void appendGeneral(QString &text, double value, int precision, bool exactFloat);

    // "name=value, ..." of the fields shown; empty when none has a value.
    static QString summary(const FrameTemplate &frameTemplate, QByteArrayView frame);
    static QString summary(const Prepared &prepared, QByteArrayView frame);
    // A row per field shown, then the checksum and the trailer rows.
    static QList<DecodedField> explain(const FrameTemplate &frameTemplate, QByteArrayView frame);

private:
    struct FieldPlace
    {
        bool shown = false;
        bool bad = false;
        int offset = 0;
        int length = 0;
    };

    // Where field `index` lies in `frame`; its text is appended to `text`.
    static FieldPlace fieldValue(const Prepared &prepared, int index, QByteArrayView frame,
                                 QString &text);
    static void appendInteger(QString &text, const FieldSpec &field,
                              const QList<Prepared::Label> &labels, quint64 bits, int width,
                              bool isSigned);
};
