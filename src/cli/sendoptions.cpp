#include "cli/sendoptions.h"

#include "connection/settings.h"

#include <QCommandLineParser>

namespace {
// The checksums the send path appends, by their script names.
const char *const checksumNames[] = {"none", "sum8", "xor8", "crc8", "crc16modbus", "crc32"};
const char *const eolNames[] = {"none", "cr", "lf", "crlf", "lfcr"};
} // namespace

void SendOptions::add(QCommandLineParser &parser)
{
    parser.addOption({QStringLiteral("eol"), tr("The line ending appended: none, cr, lf, crlf."),
                      QStringLiteral("none|cr|lf|crlf")});
    parser.addOption(
        {QStringLiteral("escapes"), tr("Text escapes \\r, \\n, \\t, \\\\ and \\xHH become bytes.")});
    parser.addOption({QStringLiteral("checksum"),
                      tr("A checksum appended: none, sum8, xor8, crc8, crc16modbus, crc32."),
                      QStringLiteral("NAME")});
}

bool SendOptions::apply(const QCommandLineParser &parser, FormatSetting *format, QString *error)
{
    const QString eol = parser.value(QStringLiteral("eol")).toLower();
    if (!eol.isEmpty()) {
        const auto *found = std::find_if(std::begin(eolNames), std::end(eolNames),
                                         [&](const char *n) { return eol == QLatin1String(n); });
        if (found == std::end(eolNames)) {
            *error = tr("--eol %1: use none, cr, lf or crlf.").arg(eol);
            return false;
        }
        format->txLineEndingMode = lineEndingModeFromInt(int(found - std::begin(eolNames)));
    }
    if (parser.isSet(QStringLiteral("escapes"))) {
        format->sendEscapes = true;
    }
    const QString checksum = parser.value(QStringLiteral("checksum")).toLower();
    if (!checksum.isEmpty()) {
        const auto *found =
            std::find_if(std::begin(checksumNames), std::end(checksumNames),
                         [&](const char *n) { return checksum == QLatin1String(n); });
        if (found == std::end(checksumNames)) {
            *error = tr("--checksum %1: use none, sum8, xor8, crc8, crc16modbus or crc32.")
                         .arg(checksum);
            return false;
        }
        format->sendChecksum = int(found - std::begin(checksumNames));
    }
    return true;
}
