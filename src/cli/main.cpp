// velmora-cli: the workbench's engines without a window, for test rigs and CI.

#include "cli/clioutput.h"
#include "cli/commandregistry.h"
#include "cli/bridgecommand.h"
#include "cli/crccommand.h"
#include "cli/decodecommand.h"
#include "cli/hostcommand.h"
#include "cli/exportcommand.h"
#include "cli/infocommand.h"
#include "cli/interruptwatcher.h"
#include "cli/monitorcommand.h"
#include "cli/portscommand.h"
#include "cli/recordcommand.h"
#include "cli/replaycommand.h"
#include "cli/runscriptcommand.h"
#include "cli/runsequencecommand.h"
#include "cli/searchcommand.h"
#include "cli/sendcommand.h"
#include "cli/servecommand.h"
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
    registry.add(std::make_unique<ServeCommand>());
    registry.add(std::make_unique<BridgeCommand>());
    registry.add(std::make_unique<RecordCommand>());
    registry.add(std::make_unique<ReplayCommand>());
    registry.add(std::make_unique<InfoCommand>());
    registry.add(std::make_unique<ExportCommand>());
    registry.add(std::make_unique<SearchCommand>());

    CliOutput out;
    return registry.run(QCoreApplication::arguments(), out);
}
