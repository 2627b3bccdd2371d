#include "cli/portscommand.h"

#include "cli/clioutput.h"
#include "connection/serialportlist.h"

#include <QCommandLineParser>
#include <QJsonObject>

QString PortsCommand::summary() const
{
    return tr("Lists the serial ports, with description and USB VID:PID where known.");
}

void PortsCommand::configure(QCommandLineParser &parser) const
{
    parser.addOption({QStringLiteral("json"), tr("One JSON object per port.")});
}

int PortsCommand::execute(const QCommandLineParser &parser, CliOutput &out)
{
    out.setJson(parser.isSet(QStringLiteral("json")));
    const QList<QSerialPortInfo> ports = listUsableSerialPorts();
    if (ports.isEmpty() && !out.jsonMode()) {
        out.error(tr("No serial port was found."));
    }
    for (const QSerialPortInfo &info : ports) {
        QString ids;
        if (info.hasVendorIdentifier() && info.hasProductIdentifier()) {
            ids = QStringLiteral("%1:%2")
                      .arg(info.vendorIdentifier(), 4, 16, QLatin1Char('0'))
                      .arg(info.productIdentifier(), 4, 16, QLatin1Char('0'));
        }
        QStringList columns = {info.systemLocation()};
        if (!info.description().isEmpty()) {
            columns << info.description();
        }
        if (!ids.isEmpty()) {
            columns << ids;
        }
        out.event(QStringLiteral("port"),
                  {{QStringLiteral("path"), info.systemLocation()},
                   {QStringLiteral("description"), info.description()},
                   {QStringLiteral("usb"), ids}},
                  columns.join(QLatin1Char('\t')));
    }
    return ExitOk;
}
