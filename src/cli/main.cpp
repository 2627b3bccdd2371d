// velmora-cli: the workbench's engines without a window, for test rigs and CI.

#include "cli/clioutput.h"
#include "cli/commandregistry.h"
#include "cli/crccommand.h"
#include "cli/decodecommand.h"
#include "cli/hostcommand.h"
#include "cli/interruptwatcher.h"
#include "cli/monitorcommand.h"
#include "cli/portscommand.h"
#include "cli/runscriptcommand.h"
#include "cli/runsequencecommand.h"
#include "cli/sendcommand.h"
#include "cli/simulatecommand.h"
#include "cli/xfercommand.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velmora"));
    QCoreApplication::setApplicationName(QStringLiteral("velmora-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    InterruptWatcher interrupts;

    CommandRegistry registry;
    registry.add(std::make_unique<PortsCommand>());
    registry.add(std::make_unique<MonitorCommand>());
    registry.add(std::make_unique<SendCommand>());
    registry.add(std::make_unique<RunScriptCommand>());
    registry.add(std::make_unique<RunSequenceCommand>());
    registry.add(std::make_unique<SimulateCommand>());
    registry.add(std::make_unique<DecodeCommand>());
    registry.add(std::make_unique<CrcCommand>());
    registry.add(std::make_unique<XferCommand>());
    registry.add(std::make_unique<HostCommand>());

    CliOutput out;
    return registry.run(QCoreApplication::arguments(), out);
}
