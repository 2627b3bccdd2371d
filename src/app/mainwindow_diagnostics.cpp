// Help > Export Diagnostic Pack: what the window knows of its state, gathered for the
// pack dialog. The pack itself decides what of it may leave the machine.

#include "app/mainwindow.h"

#include "app/appearance.h"
#include "automation/autoreplyengine.h"
#include "automation/sequencereport.h"
#include "cloud/deviceidentity.h"
#include "connection/settings.h"
#include "recording/diagnosticpackdialog.h"
#include "recording/sessionrecorder.h"
#include "recording/sessionrecording.h"
#include "session/serialportwidget.h"

#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QSerialPortInfo>
#include <QSettings>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTimeZone>

namespace {

// Qt's own start of the process is not known; the first call stands for it closely
// enough, since the main window asks early.
qint64 uptimeSeconds()
{
    static const QDateTime started = QDateTime::currentDateTimeUtc();
    return started.secsTo(QDateTime::currentDateTimeUtc());
}

} // namespace

DiagnosticPackDialog *MainWindow::openDiagnosticPackDialog()
{
    uptimeSeconds();
    DiagnosticPack::Input input;
    input.when = QDateTime::currentDateTime();
    input.appVersion = QCoreApplication::applicationVersion();
    // The compiler that built the program, for support to match a fault to a build.
    input.appBuild = QString::fromLatin1(__VERSION__);

    QSettings app;
    for (const QString &key : app.allKeys()) {
        input.preferences.insert(key, app.value(key));
    }
    // Everything that names this machine or its user, to be scrubbed wherever it shows.
    input.machineIds = {QString::fromLatin1(QSysInfo::machineUniqueId()),
                        DeviceIdentity::cid(app)};
    const QString home = QDir::homePath();
    input.homes = {home, QDir(home).canonicalPath()};
    input.userNames = {qEnvironmentVariable("USER"), qEnvironmentVariable("USERNAME"),
                       QDir(home).dirName(), app.value(QStringLiteral("AccountUsername")).toString(),
                       app.value(QStringLiteral("AccountEmail")).toString()};
    input.hostNames = {QSysInfo::machineHostName(), DeviceIdentity::name(app)};

    QStringList screens;
    QStringList scales;
    for (const QScreen *screen : QGuiApplication::screens()) {
        screens << QStringLiteral("%1x%2").arg(screen->size().width()).arg(screen->size().height());
        scales << QString::number(screen->devicePixelRatio());
    }
    input.environment = {
        {QStringLiteral("appName"), QCoreApplication::applicationName()},
        {QStringLiteral("appVersion"), input.appVersion},
        {QStringLiteral("appBuild"), input.appBuild},
        {QStringLiteral("channel"), QStringLiteral("release")},
        {QStringLiteral("qtRuntime"), QString::fromLatin1(qVersion())},
        {QStringLiteral("qtBuild"), QStringLiteral(QT_VERSION_STR)},
        {QStringLiteral("os"), QSysInfo::prettyProductName()},
        {QStringLiteral("osType"), QSysInfo::productType()},
        {QStringLiteral("osVersion"), QSysInfo::productVersion()},
        {QStringLiteral("kernelType"), QSysInfo::kernelType()},
        {QStringLiteral("kernelVersion"), QSysInfo::kernelVersion()},
        {QStringLiteral("cpuArch"), QSysInfo::currentCpuArchitecture()},
        {QStringLiteral("buildAbi"), QSysInfo::buildAbi()},
        {QStringLiteral("locale"), QLocale().name()},
        {QStringLiteral("uiLanguage"), QLocale().uiLanguages().value(0)},
        {QStringLiteral("appearance"), Appearance::toSetting(Appearance::current())},
        {QStringLiteral("screens"), screens.join(QStringLiteral(", "))},
        {QStringLiteral("screenScales"), scales.join(QStringLiteral(", "))},
        {QStringLiteral("signedIn"), !app.value(QStringLiteral("AccountUserId")).toString().isEmpty()},
        {QStringLiteral("uptimeSeconds"), uptimeSeconds()},
        {QStringLiteral("portCount"), portCountValue},
        {QStringLiteral("layout"), tabLayout ? QStringLiteral("tabs") : QStringLiteral("grid")},
        {QStringLiteral("createdAt"), input.when.toUTC().toString(Qt::ISODate)},
    };

    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts()) {
        input.serialPorts.append({info.portName(), info.description(), info.manufacturer(),
                                  info.systemLocation(),
                                  info.hasVendorIdentifier() ? info.vendorIdentifier() : -1,
                                  info.hasProductIdentifier() ? info.productIdentifier() : -1});
    }

    qint64 heldTraffic = 0;
    for (int i = 0; i < portCountValue; ++i) {
        const SerialPortWidget *port = portWidgets[size_t(i)];
        DiagnosticPack::PortSnapshot snapshot;
        snapshot.index = i;
        snapshot.id = port->consolePortKey();
        snapshot.label = port->sessionPortLabel();
        snapshot.mode = snapshot.id.section(u'-', 0, 0);
        snapshot.settings = port->sessionPortInfo();
        snapshot.rxEncoding = port->formatSettings().receiveEncoding;
        snapshot.txEncoding = port->formatSettings().sendEncoding;
        snapshot.open = port->portIsOpen();
        snapshot.rxBytes = port->rxByteCount();
        snapshot.txBytes = port->txByteCount();
        snapshot.autoReplyRules = int(port->autoReplyConfig().rules.size());
        const QList<SequenceRunRecord> &runs = port->sequenceReportLog().runs();
        if (!runs.isEmpty()) {
            snapshot.sequencesText = SequenceReport::toText(runs, QTimeZone::systemTimeZone());
            snapshot.sequencesJson = SequenceReport::toJson(runs);
        }
        // What the port's history holds now goes in when the user ticks session data.
        if (const SessionRecorder *history = port->sessionRecorder()) {
            DiagnosticPack::fillTraffic(snapshot, *history);
            heldTraffic += history->stats().payloadBytes;
        }
        input.ports.append(snapshot);
    }
    // A recording being written goes in with the session data too.
    if (sessionRecording && sessionRecording->isRecording()) {
        input.recordings.append(sessionRecording->currentPath());
    }

    // The project as a save would write it, read back key by key.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("project.vlm"));
    if (dir.isValid() && writeSettingFile(path, false)) {
        const QSettings project(path, QSettings::IniFormat);
        for (const QString &key : project.allKeys()) {
            input.project.insert(key, project.value(key));
        }
    }
    auto *dialog = new DiagnosticPackDialog(heldTraffic, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setInput(input);
    dialog->show();
    return dialog;
}
