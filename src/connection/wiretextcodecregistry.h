#pragma once

// The text encodings a port can speak on the wire, under their canonical names and
// the other names by which users and files refer to them.

#include "connection/wiretextdecoder.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QStringList>

class WireTextCodecRegistry
{
    Q_DECLARE_TR_FUNCTIONS(WireTextCodecRegistry)

public:
    struct Encoded
    {
        QByteArray bytes;
        QString error; // the reason, when not ok
        bool ok = false;
    };

    // "UTF-8".
    static QString defaultEncoding();
    // The ten canonical names, in the order the lists show them.
    static QStringList supportedEncodings();
    // The canonical name for any accepted form, compared without regard to case and
    // surrounding blanks; anything unknown gives the default.
    static QString normalizeName(const QString &name);
    static bool isSupported(const QString &name);
    // Whether every byte is a character of its own in the encoding (ISO-8859-1,
    // Windows-1252, and the system encoding when the locale uses a single-byte one).
    // Only there are 0x80-0x9F C1 control bytes rather than parts of characters.
    static bool isSingleByte(const QString &name);
    // A fresh stateful decoder for the encoding (the default for unknown names).
    static WireTextDecoderPtr createDecoder(const QString &name);
    // The text in the encoding, or an error that names the first character the
    // encoding cannot represent. Nothing is ever replaced silently.
    static Encoded encode(const QString &text, const QString &name);
};
