#include "cli/crccommand.h"

#include "cli/clioutput.h"
#include "connection/messagecodec.h"
#include "tools/crccatalog.h"

#include <QCommandLineParser>
#include <QFile>

QString CrcCommand::summary() const
{
    return tr("Prints the checksum of bytes under one of the 53 script checksum names.");
}

void CrcCommand::configure(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(QStringLiteral("NAME"),
                                 tr("The checksum: %1.")
                                     .arg(CrcCatalog::scriptChecksumNames().join(QStringLiteral(", "))));
    parser.addOption({QStringLiteral("hex"), tr("The bytes as hex pairs."), QStringLiteral("H")});
    parser.addOption({QStringLiteral("text"), tr("The bytes as UTF-8 text."), QStringLiteral("T")});
    parser.addOption({QStringLiteral("file"), tr("The bytes of a file."), QStringLiteral("F")});
}

bool CrcCommand::readInput(const QCommandLineParser &parser, QByteArray *bytes, QString *error)
{
    const int given = int(parser.isSet(QStringLiteral("hex"))) +
                      int(parser.isSet(QStringLiteral("text"))) +
                      int(parser.isSet(QStringLiteral("file")));
    if (given != 1) {
        *error = tr("Give exactly one of --hex, --text and --file.");
        return false;
    }
    if (parser.isSet(QStringLiteral("hex"))) {
        QString why;
        *bytes = MessageCodec::GetHexValue(parser.value(QStringLiteral("hex")), &why);
        if (!why.isEmpty()) {
            *error = why;
            return false;
        }
        return true;
    }
    if (parser.isSet(QStringLiteral("text"))) {
        *bytes = parser.value(QStringLiteral("text")).toUtf8();
        return true;
    }
    QFile file(parser.value(QStringLiteral("file")));
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("Cannot read %1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    *bytes = file.readAll();
    return true;
}

int CrcCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    const QStringList args = parser.positionalArguments();
    if (args.size() != 1) {
        out.error(tr("Name one checksum, e.g. \"velmora-cli crc crc16modbus --hex 0103\"."));
        return ExitUsage;
    }
    const QString name = args.first().toLower();
    const int width = CrcCatalog::scriptChecksumWidth(name);
    if (width == 0) {
        out.error(tr("\"%1\" is no checksum name; \"velmora-cli crc --help\" lists them.")
                      .arg(args.first()));
        return ExitUsage;
    }
    QByteArray bytes;
    QString error;
    if (!readInput(parser, &bytes, &error)) {
        out.error(error);
        return ExitUsage;
    }
    const quint64 value = CrcCatalog::scriptChecksum(name, bytes);
    out.line(QStringLiteral("0x%1 %2")
                 .arg(QString::number(value, 16).toUpper().rightJustified((width + 3) / 4,
                                                                          QLatin1Char('0')))
                 .arg(value));
    return ExitOk;
}
