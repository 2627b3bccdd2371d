#include "cli/receiveprinter.h"

#include "connection/wiretextcodecregistry.h"

#include <QDateTime>

ReceivePrinter::ReceivePrinter(const QString &encoding, bool hexOutput, bool stamps)
    : decoder(WireTextCodecRegistry::createDecoder(encoding))
    , hex(hexOutput)
    , timestamps(stamps)
{
}

QString ReceivePrinter::hexPairs(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

QString ReceivePrinter::print(const QByteArray &bytes)
{
    QString text = hex ? hexPairs(bytes) + QLatin1Char('\n') : decoder->decode(bytes);
    if (timestamps) {
        text.prepend(QDateTime::currentDateTime().toString(QStringLiteral("[hh:mm:ss.zzz] ")));
        if (!text.endsWith(QLatin1Char('\n'))) {
            text += QLatin1Char('\n');
        }
    }
    return text;
}
