#pragma once

// The conversions between what a user writes or reads and the bytes on the wire.
// Encode side: the send box's hex or text, with comments, escapes, line endings, an
// encoding and a checksum. Decode side: the text of a displayed or logged block, with
// its line feeds and time stamps. All functions are pure: the caller keeps the state
// (line position, last times, decoders) and passes it in by reference.

#include "connection/rxdata.h"
#include "connection/settings.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QString>

class WireTextDecoder;

struct EncodeSendResult
{
    QByteArray bytes;
    QString text;  // the text as it is to stay in the send box
    QString error; // why nothing can be sent, when not ok
    bool ok = false;
};

class MessageCodec
{
    Q_DECLARE_TR_FUNCTIONS(MessageCodec)

public:
    // --- Encoding what the user sends ---

    static EncodeSendResult encodeSend(const QString &text, bool isHex,
                                       const FormatSetting &format);
    // The hex parser behind hex input: pairs of hex digits in either case, white space
    // between pairs. A character that is neither, or a digit left without its pair,
    // refuses the whole text: the result is empty and `error` names the character and
    // its position, counted from 1. Nothing is guessed, so no wrong byte is sent.
    static QByteArray GetHexValue(const QString &text, QString *error = nullptr);
    // The positions (from 0) of every character that makes hex text invalid: those that
    // are neither a hex digit nor white space, and digits left without their pair.
    // Digits pair up within a run between blanks; an invalid character ends a run.
    static QList<qsizetype> hexProblems(const QString &text);
    // The value of a hex digit in either case, or -1 for any other character.
    static int hexDigitValue(QChar c);
    // The bytes of a hex send box: what stands before the first "//", through
    // GetHexValue.
    static QByteArray fromHexString(const QString &text, QString *error = nullptr);
    static QString applyLineEnding(const QString &text, _tagLineEndingMode mode);
    static QByteArray applyLineEnding(const QByteArray &bytes, _tagLineEndingMode mode);
    // What the Enter key sends in terminal typing: LF, CR LF, LF CR, else CR.
    static QByteArray terminalEnterBytes(_tagLineEndingMode mode);
    // `bytes` followed by the checksum of the send-path mode over all of them, low byte
    // first; unknown modes append nothing.
    static QByteArray appendChecksum(const QByteArray &bytes, int mode);

    // --- Decoding what is shown and logged ---

    // The text of one block for the receive view. `prefixLength` receives the number
    // of leading characters that are not data (a line feed, a time stamp).
    static QString decodeForUi(const rxData &rx, const FormatSetting &format, bool &atLineStart,
                               QDateTime &lastRxTime, QDateTime &lastTxTime,
                               WireTextDecoder *decoder, int &prefixLength);
    // The text of one block for the log, with the log's own state: its line position,
    // `pendingFlag` (true while the open line of the log holds sent data), the last
    // received time, and its decoders for sent (`decoder`) and received (`decoderRx`)
    // data.
    static QString decodeForLog(const rxData &rx, const FormatSetting &format, bool &atLineStart,
                                bool &pendingFlag, QDateTime &lastTime, WireTextDecoder *decoder,
                                WireTextDecoder *decoderRx);
    // Puts `stamp` at the start of every line of `text`, after turning CR LF and LF CR
    // into LF and dropping lone CRs; a final LF stays last.
    static QString insertTimeStamp(const QString &text, const QString &stamp);
    // Control characters other than tab, LF and CR become U+25A1.
    static QString sanitizeText(const QString &text);
    // "41 42 0A ": two upper-case digits and a blank per byte.
    static QString toHexString(const QByteArray &bytes);
    // Decodes with `decoder`, or a temporary decoder of `encoding` if it is null, and
    // sanitises the result.
    static QString decodeWireText(const QByteArray &bytes, WireTextDecoder *decoder,
                                  const QString &encoding);
};
