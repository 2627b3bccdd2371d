#include "bridge/bridgelog.h"

namespace {

const char HexDigits[] = "0123456789ABCDEF";

} // namespace

QString BridgeLog::formatLine(const QDateTime &time, Direction direction, const QString &peer,
                              const QByteArray &bytes, bool hex)
{
    return QStringLiteral("%1  %2  %3  %4")
        .arg(time.toString(QStringLiteral("HH:mm:ss.zzz")),
             direction == AtoB ? QStringLiteral("A->B") : QStringLiteral("B->A"),
             peer.isEmpty() ? QStringLiteral("-") : peer, formatData(bytes, hex));
}

QString BridgeLog::formatHeader(const QString &link, const QString &endA, const QString &endB,
                                const QDateTime &started)
{
    return QStringLiteral("# Velmora %1 bridge capture\n# Link:    %2\n# End A:   %3\n"
                          "# End B:   %4\n# Started: %5\n"
                          "# Columns: time  direction  peer  data\n")
        .arg(QCoreApplication::applicationVersion(), link.isEmpty() ? tr("(unnamed)") : link, endA,
             endB, started.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
}

QString BridgeLog::formatData(const QByteArray &bytes, bool hex)
{
    if (hex) {
        return QString::fromLatin1(bytes.toHex(' ').toUpper());
    }
    QString out;
    out.reserve(bytes.size());
    for (const char c : bytes) {
        const uchar byte = uchar(c);
        if (byte == '\r') {
            out += QLatin1String("\\r");
        } else if (byte == '\n') {
            out += QLatin1String("\\n");
        } else if (byte == '\t') {
            out += QLatin1String("\\t");
        } else if (byte < 32 || byte == 127) {
            out += QLatin1String("\\x");
            out += QLatin1Char(HexDigits[byte >> 4]);
            out += QLatin1Char(HexDigits[byte & 15]);
        } else {
            out += QChar(byte);
        }
    }
    return out;
}
