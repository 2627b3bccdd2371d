#include "session/wiretextdecoder.h"

WireTextDecoder::~WireTextDecoder() = default;

StringWireTextDecoder::StringWireTextDecoder(QStringConverter::Encoding encoding,
                                             const QString &name)
    : converterEncoding(encoding)
    , name(name)
    , decoder(encoding, QStringConverter::Flag::ConvertInitialBom)
{}

QString StringWireTextDecoder::decode(const QByteArray &bytes)
{
    return decoder.decode(bytes);
}

void StringWireTextDecoder::reset()
{
    // A byte-order mark is data on a wire: it is shown, not swallowed.
    decoder = QStringDecoder(converterEncoding, QStringConverter::Flag::ConvertInitialBom);
}
