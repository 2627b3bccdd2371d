// Fuzzes MessageCodec::encodeSend: the first three bytes choose the settings (hex or
// text, formatting, escapes, line ending, checksum, encoding), the rest is the send
// box's text as UTF-8. Besides crashes and sanitizer reports it checks what must hold
// for every input.

#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"
#include "tools/crccatalog.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "encodeSend: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3) {
        return 0;
    }
    static const QStringList encodings = WireTextCodecRegistry::supportedEncodings()
                                         << QStringLiteral("no-such-encoding");

    FormatSetting format;
    const bool isHex = data[0] & 1;
    format.formatSend = data[0] & 2;
    format.sendEscapes = data[0] & 4;
    format.txLineEndingMode = _tagLineEndingMode((data[0] >> 3) % 5);
    format.sendChecksum = data[1] % 7 - (data[1] & 0x80 ? 1 : 0); // also -1 and 6
    format.sendEncoding = encodings.at(data[2] % encodings.size());
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char *>(data + 3), qsizetype(size - 3));

    const EncodeSendResult result = MessageCodec::encodeSend(text, isHex, format);
    require(result.ok == result.error.isEmpty(), "ok and error disagree");
    require(result.ok || result.bytes.isEmpty(), "bytes with an error");
    if (text.isEmpty()) {
        require(result.ok && result.bytes.isEmpty(), "empty text sent something");
        return 0;
    }
    if (!result.ok) {
        // Hex fails exactly when its parser names a problem, and then sends nothing.
        QString error;
        require(!isHex || (MessageCodec::fromHexString(text, &error).isEmpty() &&
                           !error.isEmpty() && error == result.error),
                "hex input refused for a reason its parser does not give");
        return 0;
    }

    if (isHex) {
        // The parsed bytes, then their checksum; a line without bytes sends nothing.
        const QByteArray parsed = MessageCodec::fromHexString(text);
        require(result.bytes == (parsed.isEmpty()
                                     ? parsed
                                     : MessageCodec::appendChecksum(parsed, format.sendChecksum)),
                "hex bytes are not the parsed text and its checksum");
        if (format.formatSend) {
            // Formatting is stable: the kept text parses to the same bytes.
            require(MessageCodec::fromHexString(result.text) == parsed, "formatting changed bytes");
        } else {
            require(result.text == text, "unformatted hex text changed");
        }
        return 0;
    }

    // The checksum comes last, over everything before it.
    const int checksumSize = CrcCatalog::sendChecksumSize(format.sendChecksum);
    require(result.bytes.size() > checksumSize, "no text before the checksum");
    const QByteArray payload = result.bytes.first(result.bytes.size() - checksumSize);
    require(MessageCodec::appendChecksum(payload, format.sendChecksum) == result.bytes,
            "checksum is not that of the bytes before it");

    require(result.text == text, "text mode changed the box");
    if (!format.sendEscapes) {
        // The bytes read back as the text with its line ending.
        QString expected = text;
        if (format.txAutoFeedLine()) {
            if (!expected.endsWith(u'\n')) {
                expected += u'\n';
            }
            expected = MessageCodec::applyLineEnding(expected, format.txLineEndingMode);
        }
        const auto decoder = WireTextCodecRegistry::createDecoder(format.sendEncoding);
        require(decoder->decode(payload) == expected, "encoded text does not read back");
    }
    return 0;
}
