// Sample scenes and dialogs for documentation images (--screenshot-scene and
// --screenshot-dialog).

#include "app/mainwindow.h"

#include "app/multiportsettingdlg.h"
#include "app/newconnection.h"
#include "automation/autoreplydialog.h"
#include "automation/autoreplyengine.h"
#include "automation/commandlibrarydialog.h"
#include "cloud/cloudconsoleservice.h"
#include "cloud/guestsharedialog.h"
#include "cloud/manageguestsharesdialog.h"
#include "cloud/relaytargetdialog.h"
#include "recording/diagnosticpackdialog.h"
#include "decode/framespanel.h"
#include "decode/modbuscodec.h"
#include "bridge/bridgedialog.h"
#include "bridge/bridgemanager.h"
#include "scripting/scriptapireferencedialog.h"
#include "plot/plotpanel.h"
#include "app/scriptwindow.h"
#include "session/serialportwidget.h"
#include "tools/asciicode.h"
#include "tools/toolbox.h"

#include <QDateTime>
#include <QDockWidget>
#include <QJsonArray>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTimer>

#include <cmath>
#include <memory>

namespace {

Settings sampleSettings(connectionMode mode, const QString &name, int port)
{
    Settings settings;
    settings.connMode = mode;
    settings.name = name;
    settings.baudRate = 115200;
    settings.targetHost = QStringLiteral("192.168.1.40");
    settings.targetPort = port;
    settings.udpServerPort = quint16(port);
    return settings;
}

// What a chatty sensor board prints at boot and while it runs.
QByteArray sampleLog(int seed)
{
    QByteArray text = "\x1b[32mBoot v2.4.1\x1b[0m (build 2026-11-02)\r\n"
                      "I2C: found 0x48 (temp), 0x76 (baro)\r\n";
    for (int i = 0; i < 24; ++i) {
        text += QByteArray("T=") + QByteArray::number(21.0 + (i * 7 + seed) % 13 / 10.0, 'f', 2) +
                QByteArray(" C  P=") + QByteArray::number(1013 + (i + seed) % 5) +
                QByteArray(" hPa  seq=") + QByteArray::number(1000 + i) + "\r\n";
    }
    return text;
}

void showSample(SerialPortWidget *port, const QByteArray &bytes, bool hex)
{
    FormatSetting format = port->formatSettings();
    format.receiveMsgFormat = hex ? HexFormat : TextFormat;
    format.displayMsgTime = !hex;
    port->applyFormatSetting(format);
    port->ingestRx(bytes, false, QString());
    port->displayPortBuffer();
}

// A board printing a sine, a square wave and a noisy ramp 50 times a second, plotted
// over ten seconds of its own time.
void showPlotSample(SerialPortWidget *port)
{
    port->clear();
    PlotConfig config;
    config.visible = true;
    config.xAxis = PlotXAxis::Time;
    port->setPlotConfig(config);
    auto now = std::make_shared<double>(0.0);
    port->plotPanel()->setTimeSource([now] { return *now; });
    QRandomGenerator noise(7);
    for (int i = 0; i < 500; ++i) {
        const double t = i * 0.02;
        const double ramp = std::fmod(t, 5.0) * 4.0 - 10.0 + noise.bounded(2.0) - 1.0;
        *now = t;
        port->ingestRx(QStringLiteral("sine:%1 square:%2 ramp:%3\r\n")
                           .arg(10.0 * std::sin(2.0 * M_PI * 0.4 * t), 0, 'f', 3)
                           .arg(std::fmod(t, 2.0) < 1.0 ? 6 : -6)
                           .arg(ramp, 0, 'f', 3)
                           .toLatin1(),
                       false, QString());
    }
    port->plotPanel()->setTimeSource({});
    port->displayPortBuffer();
    port->plotPanel()->refreshStats();
}

// A Modbus RTU master polling a meter: requests, answers and one exception, decoded in
// the frames panel with the first answer's fields open.
void showFramesSample(SerialPortWidget *port)
{
    port->clear();
    FormatSetting format = port->formatSettings();
    format.receiveMsgFormat = HexFormat;
    format.sendMsgFormat = HexFormat;
    format.displaySendMsg = true;
    format.displayMsgTime = true;
    port->applyFormatSetting(format);
    port->setDecoderChoice({DecoderChoice::ModbusRtu, QString(), true});
    port->setQuickSettingsCollapsed(true);
    const char *const exchange[][2] = {
        {"010300000002", "01030400E6018A"},       {"010400020003", "01040603EA03EB03EC"},
        {"0106000A00C8", "0106000A00C8"},         {"010300640004", "018302"},
        {"010300000002", "01030400E7018A"},
    };
    const auto rtu = [](const char *hex) {
        QByteArray frame = QByteArray::fromHex(hex);
        const quint16 crc = ModbusCodec::crc16(frame);
        return frame.append(char(crc & 0xFF)).append(char(crc >> 8));
    };
    for (const auto &pair : exchange) {
        const QByteArray request = rtu(pair[0]);
        port->noteTxAccepted(request, QString(), false);
        port->pushByteArray(request, false, Sent, QString());
        port->ingestRx(rtu(pair[1]), false, QString());
    }
    port->displayPortBuffer();
    // The first answer's fields, once the window has laid the panel out.
    QTimer::singleShot(200, port, [port] { port->framesPanel()->selectRow(3); });
}

} // namespace

QStringList MainWindow::screenshotSceneNames()
{
    return {QStringLiteral("single"), QStringLiteral("grid4"), QStringLiteral("row4"),
            QStringLiteral("grid16"), QStringLiteral("tabs"), QStringLiteral("hex"),
            QStringLiteral("commands"), QStringLiteral("plot"), QStringLiteral("frames")};
}

QStringList MainWindow::screenshotDialogNames()
{
    return {QStringLiteral("toolbox"),       QStringLiteral("ascii"),
            QStringLiteral("settings"),      QStringLiteral("quicksettings"),
            QStringLiteral("newconnection"), QStringLiteral("autoreply"),
            QStringLiteral("commands"),      QStringLiteral("scripts"),
            QStringLiteral("apireference"),  QStringLiteral("shortcuts"),
            QStringLiteral("templates"),     QStringLiteral("modbusbuilder"),
            QStringLiteral("diagnosticpack"), QStringLiteral("relaytarget"),
            QStringLiteral("bridges"),       QStringLiteral("guestshare"),
            QStringLiteral("guestshareinvite"), QStringLiteral("manageshares")};
}

bool MainWindow::runScreenshotScene(const QString &name)
{
    if (!screenshotSceneNames().contains(name)) {
        return false;
    }
    const bool row = name == QLatin1String("row4");
    const int count = name == QLatin1String("grid4") || row ? 4
                      : name == QLatin1String("grid16")     ? 16
                      : name == QLatin1String("tabs")       ? 3
                                                            : 1;
    setPortCount(count);
    tabLayout = name == QLatin1String("tabs");
    // Four side by side in one row, or in a grid of two columns.
    columnCountValue = count == 16 ? 4 : count == 4 && !row ? 2 : count;
    const connectionMode modes[] = {ModeSerial, ModeTcpClient, ModeUdpServer, ModeTcpServer};
    for (int i = 0; i < count; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        const connectionMode mode = modes[i % 4];
        port->applySettings(sampleSettings(mode, QStringLiteral("/dev/ttyUSB%1").arg(i), 6000 + i));
        const bool hex = name == QLatin1String("hex") || (count > 1 && i % 4 == 2);
        showSample(port,
                   hex ? QByteArray::fromHex("0103020001F8440106000A00C8A9F1").repeated(12)
                       : sampleLog(i),
                   hex);
    }
    if (name == QLatin1String("commands")) {
        // The command panel beside a port, with a modem's commands and a sequence.
        CommandGroup modem;
        modem.name = QStringLiteral("Modem");
        for (const char *text : {"AT", "ATI", "AT+CSQ", "AT+CREG?", "AT+COPS?", "AT+CGMR"}) {
            Command command;
            command.name = QString::fromLatin1(text);
            command.text = QString::fromLatin1(text);
            modem.commands.append(command);
        }
        Command reset;
        reset.name = QStringLiteral("Factory reset and reboot");
        reset.text = QStringLiteral("AT&F;+CFUN=1,1");
        modem.commands.append(reset);
        CommandGroup sensor;
        sensor.name = QStringLiteral("Sensor board");
        Command status;
        status.name = QStringLiteral("Read all registers");
        status.text = QStringLiteral("01 03 00 00 00 0A");
        sensor.commands.append(status);
        CommandLibrary library;
        library.groups = {modem, sensor};
        Sequence check;
        check.name = QStringLiteral("Modem check");
        library.sequences = {check};
        setCommandLibrary(library);
        commandDock->show();
    }
    if (name == QLatin1String("plot")) {
        showPlotSample(portWidgets[0]);
    }
    if (name == QLatin1String("frames")) {
        showFramesSample(portWidgets[0]);
    }
    updateGrid();
    return true;
}

QWidget *MainWindow::openScreenshotDialog(const QString &name)
{
    if (QWidget *dialog = openDecodeScreenshot(name)) {
        return dialog;
    }
    if (name == QLatin1String("diagnosticpack")) {
        return openDiagnosticPackDialog();
    }
    if (name == QLatin1String("toolbox")) {
        return openToolBox();
    }
    if (name == QLatin1String("ascii")) {
        return openAsciiChart();
    }
    if (name == QLatin1String("settings") || name == QLatin1String("quicksettings")) {
        auto *dialog = new MultiPortSettingDlg(name == QLatin1String("settings") ? 1 : 0, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        if (name == QLatin1String("settings")) {
            dialog->setPortSettings(0, portWidgets[0]->settings());
            dialog->setFormatSettings(0, portWidgets[0]->formatSettings());
        }
        dialog->setQuickSettingsGroups(quickSettings);
        dialog->show();
        return dialog;
    }
    if (name == QLatin1String("scripts")) {
        portWidgets[0]->applySettings(
            sampleSettings(ModeSerial, QStringLiteral("/dev/ttyUSB0"), 6000));
        ScriptWindow *window = ScriptWindow::createScreenshotSample(this);
        attachScriptPorts(window);
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->show();
        return window;
    }
    if (name == QLatin1String("autoreply") || name == QLatin1String("commands")) {
        QDialog *dialog = nullptr;
        if (name == QLatin1String("autoreply")) {
            AutoReplyConfig config;
            AutoReplyRule ping;
            ping.name = QStringLiteral("ping");
            ping.pattern = QStringLiteral("PING\\r\\n");
            ping.reply = QStringLiteral("PONG\\r\\n");
            AutoReplyRule modbus;
            modbus.name = QStringLiteral("read registers");
            modbus.match = AutoReplyMatch::Hex;
            modbus.pattern = QStringLiteral("01 03 ?? ?? 00 02 ?? ??");
            modbus.replyFormat = 1;
            modbus.reply = QStringLiteral("01 03 04 00 2A 00 07");
            modbus.checksum = 4;
            modbus.delayMs = 20;
            config.rules = {ping, modbus};
            portWidgets[0]->setAutoReplyConfig(config);
            dialog = new AutoReplyDialog(QStringLiteral("/dev/ttyUSB0"), config,
                                         &portWidgets[0]->autoReplyEngine(), this);
        } else {
            CommandLibrary library;
            CommandGroup group;
            group.name = QStringLiteral("Modem");
            for (const char *text : {"AT", "ATI", "AT+CSQ", "AT+CREG?"}) {
                Command command;
                command.name = QString::fromLatin1(text);
                command.text = QString::fromLatin1(text);
                group.commands.append(command);
            }
            library.groups = {group};
            dialog = new CommandLibraryDialog(library, portWidgets[0]->formatSettings(), this);
        }
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->show();
        return dialog;
    }
    if (name == QLatin1String("apireference")) {
        auto *dialog = new ScriptApiReferenceDialog(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->show();
        return dialog;
    }
    if (name == QLatin1String("shortcuts")) {
        showKeyboardShortcuts();
        return findChild<QDialog *>(QStringLiteral("keyboardShortcutsDialog"));
    }
    if (name == QLatin1String("relaytarget")) {
        // Signed out, with the list a signed-in user would see filled in by hand.
        auto *dialog = new RelayTargetDialog(nullptr, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        const auto port = [](const char *key, const char *name, bool busy) {
            return QJsonObject{{QStringLiteral("port_key"), QString::fromLatin1(key)},
                               {QStringLiteral("display_name"), QString::fromLatin1(name)},
                               {QStringLiteral("relay_capable"), true},
                               {QStringLiteral("busy"), busy}};
        };
        dialog->showTargets(QJsonObject{
            {QStringLiteral("devices"),
             QJsonArray{QJsonObject{{QStringLiteral("cid"), QStringLiteral("bench")},
                                    {QStringLiteral("name"), QStringLiteral("Bench board")},
                                    {QStringLiteral("online"), true},
                                    {QStringLiteral("ports"),
                                     QJsonArray{port("ser-1", "/dev/ttyUSB0", false),
                                                port("ser-2", "/dev/ttyACM0", true)}}},
                        QJsonObject{{QStringLiteral("cid"), QStringLiteral("lab")},
                                    {QStringLiteral("name"), QStringLiteral("Lab PC")},
                                    {QStringLiteral("online"), true},
                                    {QStringLiteral("snapshot_pending"), true}}}}});
        dialog->show();
        return dialog;
    }
    if (name == QLatin1String("guestshare") || name == QLatin1String("guestshareinvite")) {
        // Without a service: the form, or an invite with a relay guest and a browser guest.
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        auto *dialog = new GuestShareDialog(
            nullptr, {{QStringLiteral("ser-1"), QStringLiteral("/dev/ttyUSB0")},
                      {QStringLiteral("ser-2"), QStringLiteral("/dev/ttyACM0")}},
            QStringLiteral("ser-1"), this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        if (name == QLatin1String("guestshareinvite")) {
            GuestShare share;
            share.shareId = QStringLiteral("shr_sample");
            share.code = QStringLiteral("7KQ2M9XD4HTW");
            share.link = QStringLiteral("https://cloud.example.com/console#join=7KQ2-M9XD-4HTW");
            share.portKey = QStringLiteral("ser-1");
            share.portName = QStringLiteral("/dev/ttyUSB0");
            share.label = QStringLiteral("Sensor board");
            share.createdAtMs = now - 20 * 60000;
            share.expiresAtMs = now + (3 * 60 + 40) * 60000;
            share.web = QStringLiteral("view");
            share.relay = true;
            share.passcode = QStringLiteral("4321");
            share.guestName = QStringLiteral("Ada");
            share.guestSinceMs = now - 5 * 60000;
            share.webGuests = {QStringLiteral("Bob")};
            dialog->showShare(share);
        }
        dialog->show();
        return dialog;
    }
    if (name == QLatin1String("manageshares")) {
        auto *dialog = new ManageGuestSharesDialog(nullptr, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        const QString soon = QDateTime::currentDateTimeUtc().addSecs(3 * 3600).toString(Qt::ISODate);
        const auto share = [&](const char *id, const char *cid, const char *code, const char *port,
                               const char *label, QJsonValue guest) {
            return QJsonObject{{QStringLiteral("share_id"), QString::fromLatin1(id)},
                               {QStringLiteral("cid"), QString::fromLatin1(cid)},
                               {QStringLiteral("code"), QString::fromLatin1(code)},
                               {QStringLiteral("port_name"), QString::fromLatin1(port)},
                               {QStringLiteral("label"), QString::fromLatin1(label)},
                               {QStringLiteral("expires_at"), soon},
                               {QStringLiteral("guest"), guest}};
        };
        dialog->showShares(
            {share("shr_1", "bench", "7KQ2M9XD4HTW", "/dev/ttyUSB0", "Sensor board",
                   QJsonObject{{QStringLiteral("name"), QStringLiteral("Ada")}}),
             share("shr_2", "lab", "Q8ZP3RWK6NVA", "COM4", "PLC", QJsonValue())},
            {QJsonObject{{QStringLiteral("cid"), QStringLiteral("bench")},
                         {QStringLiteral("name"), QStringLiteral("Bench PC")}},
             QJsonObject{{QStringLiteral("cid"), QStringLiteral("lab")},
                         {QStringLiteral("name"), QStringLiteral("Lab PC")}}});
        dialog->show();
        return dialog;
    }
    if (name == QLatin1String("bridges")) {
        // A serial port served on a TCP listener, off so that nothing is opened.
        setPortCount(2);
        portWidgets[0]->applySettings(
            sampleSettings(ModeSerial, QStringLiteral("/dev/ttyUSB0"), 6000));
        syncBridgePorts();
        BridgeConfig config;
        config.name = QStringLiteral("PLC gateway");
        config.portA = 0;
        config.portB = -1;
        config.useBuiltinListener = true;
        config.listenPort = 4001;
        config.enabled = false;
        QString error;
        bridges()->addLink(config, &error);
        BridgeDialog *dialog = openBridgeDialog();
        dialog->selectRow(0);
        return dialog;
    }
    if (name == QLatin1String("newconnection")) {
        auto *dialog = new NewConnection(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->show();
        return dialog;
    }
    return nullptr;
}
