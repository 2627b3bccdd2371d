#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <memory>

class QTextCodec;

// A stateful decoder of wire bytes into text: a multi-byte character split between
// two calls comes out whole at the second call.
class WireTextDecoder
{
public:
    virtual ~WireTextDecoder();
    virtual QString decode(const QByteArray &bytes) = 0;
    virtual void reset() = 0;
    // The canonical name of the encoding it reads.
    virtual QString encoding() const = 0;
    // Bytes held back from the last block: the start of a character not yet complete.
    virtual QByteArray pendingBytes() const = 0;
};

// How an encoding builds its characters from bytes. The decoders find character
// boundaries themselves from it: an incomplete character at the end of a block is held
// back and put in front of the next block, so a converter only ever sees whole
// characters. A lead byte without a valid continuation becomes U+FFFD on its own and
// the byte after it is read afresh, so a broken sequence never takes a valid character
// (a line feed, say) with it.
enum class WireByteLayout {
    SingleByte, // ISO-8859-1, Windows-1252; also what the converter handles alone
    Utf8,
    DoubleByte, // GBK (and GB2312 read as GBK), Big5, EUC-KR read as code page 949
    Gb18030,    // one, two or four bytes
    ShiftJis,   // one or two bytes, with single-byte katakana
};

// Decodes through QStringDecoder: UTF-8, ISO-8859-1 and the system encoding. UTF-8
// (and the system encoding where it is UTF-8) is cut at character boundaries here and
// converted without converter state: the converter's own carry-over loses the bytes
// of a broken sequence that straddles two blocks.
class StringWireTextDecoder final : public WireTextDecoder
{
public:
    StringWireTextDecoder(QStringConverter::Encoding encoding, const QString &name);
    QString decode(const QByteArray &bytes) override;
    void reset() override;
    QString encoding() const override { return name; }
    QByteArray pendingBytes() const override { return pending; }

private:
    WireByteLayout layout;
    QString name;
    QStringDecoder decoder;
    QByteArray pending;
};

// Decodes the legacy encodings (GB18030, GBK, GB2312, Big5, Shift-JIS, EUC-KR,
// Windows-1252) through a QTextCodec, cutting at character boundaries as above.
// A byte below 0x80 that stands alone is ASCII in all of them, but some converters
// think otherwise (ICU's Shift_JIS swaps the controls 0x1A, 0x1C and 0x7F, as IBM code
// pages do); such bytes are read as ASCII here.
class LegacyWireTextDecoder final : public WireTextDecoder
{
public:
    LegacyWireTextDecoder(QTextCodec *codec, WireByteLayout layout, const QString &name);
    QString decode(const QByteArray &bytes) override;
    void reset() override;
    QString encoding() const override { return name; }
    QByteArray pendingBytes() const override { return pending; }

    // The bytes below 0x80 that `codec` does not read as the same ASCII character.
    static QByteArray asciiReadElsewhere(QTextCodec *codec);

private:
    QTextCodec *codec;
    WireByteLayout layout;
    QString name;
    QByteArray asciiOverrides;
    QByteArray pending;
};

using WireTextDecoderPtr = std::unique_ptr<WireTextDecoder>;
