#include "app/settingspanel.h"
#include "app/settingsservice.h"
#include "connection/serialportlist.h"
#include "samplerecords.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QtTest>

class TestSettingsPanel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void logNameIsChecked_data();
    void logNameIsChecked();
    void recordsRoundTrip_data();
    void recordsRoundTrip();
    void roundedFieldsKeepStoredValuesUntilEdited();
    void editsReachTheRecords_data();
    void editsReachTheRecords();
    void customBaudRateIsTyped();
    void restoreDefaultsGivesTheDefaults();
    void modeShowsItsOwnRows_data();
    void modeShowsItsOwnRows();
};

namespace {
template<typename T> T *child(const QWidget &parent, const char *name)
{
    T *widget = parent.findChild<T *>(QLatin1String(name));
    if (!widget) {
        qFatal("no widget %s", name);
    }
    return widget;
}
} // namespace

void TestSettingsPanel::logNameIsChecked_data()
{
    QTest::addColumn<bool>("logging");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("valid");
    QTest::newRow("two characters, logging on") << true << "ab" << false;
    QTest::newRow("two characters, logging off") << false << "ab" << true;
    QTest::newRow("empty, logging off") << false << "" << true;
    QTest::newRow("three characters, logging on") << true << "a.l" << true;
    QTest::newRow("two characters in blanks, logging on") << true << "  ab  " << false;
}

void TestSettingsPanel::logNameIsChecked()
{
    QFETCH(bool, logging);
    QFETCH(QString, path);
    QFETCH(bool, valid);
    SettingsPanel panel;
    FormatSetting format = SettingsService::defaultFormatSettings();
    format.logSaveFlag = logging;
    format.logFilePath = path;
    panel.setFormatSettings(format);
    QString error;
    QCOMPARE(panel.validate(&error), valid);
    QCOMPARE(error, valid ? QString() : QString("Please input correct log file name!"));

    // The check reads the fields, not the records.
    child<QCheckBox>(panel, "logSaveBox")->setChecked(true);
    child<QLineEdit>(panel, "logFilePathEdit")->setText(QStringLiteral("/tmp/x.log"));
    QVERIFY(panel.validate(nullptr));
}

void TestSettingsPanel::recordsRoundTrip_data()
{
    QTest::addColumn<int>("variant");
    // makeUnusual walks the modes with the variant; every other field is away from its
    // default in each.
    for (int i = 0; i < 9; ++i) {
        QTest::addRow("mode %d", i) << i;
    }
}

void TestSettingsPanel::recordsRoundTrip()
{
    QFETCH(int, variant);
    Settings port;
    FormatSetting format;
    makeUnusual(port, format, variant);
    // A path the system does not list, and the send fields that are never stored.
    port.name = QStringLiteral("/dev/serial/by-id/usb-Bench_Adapter-if0%1-port0").arg(variant);
    format.lineByLine = true;
    format.receiveEncoding = QStringLiteral("Big5");
    format.logFont = {QStringLiteral("No Such Font %1").arg(variant), 9 + variant};
    for (const QSerialPortInfo &info : listUsableSerialPorts()) {
        QVERIFY(info.portName() != port.name);
    }

    SettingsPanel panel;
    QSignalSpy edits(&panel, &SettingsPanel::settingsEdited);
    panel.setPortSettings(port);
    panel.setFormatSettings(format);
    QCOMPARE(edits.count(), 0);
    QVERIFY(!panel.hasUserEdits());
    QCOMPARE(panel.portSettings(), port);
    QCOMPARE(panel.formatSettings(), format);

    // The fields show the values themselves, not only hold them.
    QCOMPARE(child<QComboBox>(panel, "portNameCombo")->currentText(), port.name);
    QCOMPARE(child<QComboBox>(panel, "baudCombo")->currentText(), QString::number(port.baudRate));
    QCOMPARE(child<QComboBox>(panel, "parityCombo")->currentText(), port.stringParity);
    QCOMPARE(child<QSpinBox>(panel, "displayBufferSpin")->value(), 2);
    // 250 ms is less than the one second the box can show at least.
    QCOMPARE(child<QSpinBox>(panel, "sendIntervalSpin")->value(), 1);

    panel.commit();
    QCOMPARE(panel.portSettings(), port);
    QCOMPARE(panel.formatSettings(), format);
}

void TestSettingsPanel::roundedFieldsKeepStoredValuesUntilEdited()
{
    FormatSetting format = SettingsService::defaultFormatSettings();
    format.displayBufferSize = 10 * 1048576 + 5;
    format.logRotateSize = 1000;
    format.sendInterval = 1500;
    format.sendTimeUnit = 1000;
    format.logRotateTime = QTime(6, 30, 15, 250);
    format.autoFeedInterval = 0;
    Settings port = SettingsService::defaultPortSettings(QString());
    port.targetPort = 70000;

    SettingsPanel panel;
    panel.setPortSettings(port);
    panel.setFormatSettings(format);
    QCOMPARE(panel.formatSettings(), format);
    QCOMPARE(panel.portSettings(), port);

    child<QSpinBox>(panel, "displayBufferSpin")->setValue(4);
    child<QSpinBox>(panel, "sendIntervalSpin")->setValue(3);
    const FormatSetting edited = panel.formatSettings();
    QCOMPARE(edited.displayBufferSize, 4 * 1048576);
    QCOMPARE(edited.sendInterval, 3000);
    QCOMPARE(edited.sendTimeUnit, 1000);
    QCOMPARE(edited.logRotateSize, format.logRotateSize);
    QCOMPARE(edited.logRotateTime, format.logRotateTime);
}

void TestSettingsPanel::editsReachTheRecords_data()
{
    QTest::addColumn<QString>("widget");
    QTest::addColumn<QVariant>("input");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("typed port path")
        << "portNameCombo" << QVariant("/dev/pts/77") << "name" << QVariant("/dev/pts/77");
    QTest::newRow("parity with its text")
        << "parityCombo" << QVariant(5) << "parity" << QVariant("5 Mark");
    QTest::newRow("stop bits with its text")
        << "stopBitsCombo" << QVariant(3) << "stopBits" << QVariant("3 1.5");
    QTest::newRow("host is trimmed")
        << "hostCombo" << QVariant("  lab-7.local ") << "targetHost" << QVariant("lab-7.local");
    QTest::newRow("display buffer in MiB")
        << "displayBufferSpin" << QVariant(3) << "displayBufferSize" << QVariant(3145728);
    QTest::newRow("rotation size in MiB")
        << "logRotateSizeSpin" << QVariant(0) << "logRotateSize" << QVariant(0);
    QTest::newRow("interval unit multiplies")
        << "sendTimeUnitCombo" << QVariant(60000) << "sendInterval" << QVariant(1000 * 60000);
    QTest::newRow("line ending sets the derived flag")
        << "txLineEndingCombo" << QVariant(int(LineEndingLF)) << "txAutoFeedLine" << QVariant(true);
    QTest::newRow("checksum by index")
        << "checksumCombo" << QVariant(5) << "sendChecksum" << QVariant(5);
    QTest::newRow("receive encoding")
        << "rxEncodingCombo" << QVariant("EUC-KR") << "receiveEncoding" << QVariant("EUC-KR");
    QTest::newRow("log time stamp kept verbatim")
        << "logTimestampEdit" << QVariant(" <%h> ") << "logFileTime" << QVariant(" <%h> ");
}

void TestSettingsPanel::editsReachTheRecords()
{
    QFETCH(QString, widget);
    QFETCH(QVariant, input);
    QFETCH(QString, field);
    QFETCH(QVariant, expected);

    SettingsPanel panel;
    Settings port = SettingsService::defaultPortSettings(QString());
    port.targetPort = 4000;
    FormatSetting format = SettingsService::defaultFormatSettings();
    format.sendInterval = 1000;
    panel.setPortSettings(port);
    panel.setFormatSettings(format);
    QSignalSpy edits(&panel, &SettingsPanel::settingsEdited);

    QWidget *target = panel.findChild<QWidget *>(widget);
    QVERIFY(target);
    if (auto *combo = qobject_cast<QComboBox *>(target)) {
        if (combo->isEditable()) {
            combo->setEditText(input.toString());
        } else if (combo->findData(input) >= 0) {
            combo->setCurrentIndex(combo->findData(input));
        } else {
            combo->setCurrentIndex(combo->findText(input.toString()));
        }
    } else if (auto *spin = qobject_cast<QSpinBox *>(target)) {
        spin->setValue(input.toInt());
    } else if (auto *edit = qobject_cast<QLineEdit *>(target)) {
        edit->setText(input.toString());
    }
    QVERIFY(edits.count() > 0);
    QVERIFY(panel.hasUserEdits());

    const Settings s = panel.portSettings();
    const FormatSetting f = panel.formatSettings();
    const QHash<QString, QVariant> read = {
        {"name", s.name},
        {"parity", QStringLiteral("%1 %2").arg(s.parity).arg(s.stringParity)},
        {"stopBits", QStringLiteral("%1 %2").arg(s.stopBits).arg(s.stringStopBits)},
        {"targetHost", s.targetHost},
        {"displayBufferSize", f.displayBufferSize},
        {"logRotateSize", f.logRotateSize},
        {"sendInterval", f.sendInterval},
        {"txAutoFeedLine", f.txAutoFeedLine()},
        {"sendChecksum", f.sendChecksum},
        {"receiveEncoding", f.receiveEncoding},
        {"logFileTime", f.logFileTime},
    };
    QVERIFY2(read.contains(field), qPrintable(field));
    QCOMPARE(read.value(field), expected);
    // Nothing else moved with it.
    Settings otherPort = s;
    otherPort.name = port.name;
    otherPort.parity = port.parity;
    otherPort.stringParity = port.stringParity;
    otherPort.stopBits = port.stopBits;
    otherPort.stringStopBits = port.stringStopBits;
    otherPort.targetHost = port.targetHost;
    QCOMPARE(otherPort, port);
}

void TestSettingsPanel::customBaudRateIsTyped()
{
    SettingsPanel panel;
    panel.setPortSettings(SettingsService::defaultPortSettings(QString()));
    auto *baud = child<QComboBox>(panel, "baudCombo");
    QVERIFY(!baud->isEditable());
    baud->setCurrentIndex(baud->findText(QStringLiteral("Custom")));
    QVERIFY(baud->isEditable());
    QVERIFY(baud->currentText().isEmpty());
    QTest::keyClicks(baud->lineEdit(), QStringLiteral("250000"));
    QCOMPARE(panel.portSettings().baudRate, 250000);
    // The validator refuses letters and anything above 100000000.
    QTest::keyClicks(baud->lineEdit(), QStringLiteral("x"));
    QCOMPARE(panel.portSettings().baudRate, 250000);
    baud->setEditText(QStringLiteral("100000001"));
    QCOMPARE(panel.portSettings().baudRate, 9600);

    // Back to a listed rate, the box closes again.
    baud->setCurrentIndex(baud->findData(115200));
    QVERIFY(!baud->isEditable());
    QCOMPARE(panel.portSettings().baudRate, 115200);
}

void TestSettingsPanel::restoreDefaultsGivesTheDefaults()
{
    Settings port;
    FormatSetting format;
    makeUnusual(port, format, 4);
    SettingsPanel panel;
    panel.setPortSettings(port);
    panel.setFormatSettings(format);
    QSignalSpy edits(&panel, &SettingsPanel::settingsEdited);
    panel.restoreDefaults();
    const QString firstPort = listUsableSerialPorts().value(0).portName();
    QCOMPARE(panel.portSettings(), SettingsService::defaultPortSettings(firstPort));
    QCOMPARE(panel.formatSettings(), SettingsService::defaultFormatSettings());
    QCOMPARE(edits.count(), 1);
    QVERIFY(panel.hasUserEdits());
}

void TestSettingsPanel::modeShowsItsOwnRows_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QStringList>("shown");
    QTest::newRow("serial") << int(ModeSerial)
                            << QStringList{"portNameCombo", "baudCombo", "parityCombo", "dtrBox"};
    QTest::newRow("tcp server") << int(ModeTcpServer) << QStringList{"targetPortSpin"};
    QTest::newRow("tcp client") << int(ModeTcpClient) << QStringList{"hostCombo", "targetPortSpin"};
    QTest::newRow("udp server") << int(ModeUdpServer) << QStringList{"udpServerPortSpin"};
    QTest::newRow("udp client") << int(ModeUdpClient)
                                << QStringList{"hostCombo", "targetPortSpin", "udpLocalPortSpin"};
    QTest::newRow("rfc 2217") << int(ModeRemoteSerial)
                              << QStringList{"hostCombo", "targetPortSpin", "rfc2217UseRemoteBox",
                                             "baudCombo", "parityCombo"};
    QTest::newRow("live relay") << int(ModeLiveRelay)
                                << QStringList{"relayTargetLabel", "rfc2217UseRemoteBox",
                                               "baudCombo", "parityCombo"};
}

void TestSettingsPanel::modeShowsItsOwnRows()
{
    QFETCH(int, mode);
    QFETCH(QStringList, shown);
    SettingsPanel panel;
    Settings port = SettingsService::defaultPortSettings(QString());
    port.connMode = connectionModeFromInt(mode);
    panel.setPortSettings(port);
    for (const char *name :
         {"portNameCombo", "baudCombo", "parityCombo", "dtrBox", "hostCombo", "targetPortSpin",
          "udpLocalPortSpin", "udpServerPortSpin", "relayTargetLabel", "rfc2217UseRemoteBox"}) {
        QWidget *field = child<QWidget>(panel, name);
        QVERIFY2(field->isVisibleTo(&panel) == shown.contains(QLatin1String(name)), name);
    }
    // The remote port's own config leaves our line parameters unused.
    if (connectionModeIsRemoteSerial(port.connMode)) {
        child<QCheckBox>(panel, "rfc2217UseRemoteBox")->setChecked(true);
        QVERIFY(!child<QComboBox>(panel, "baudCombo")->isEnabled());
        child<QCheckBox>(panel, "rfc2217UseRemoteBox")->setChecked(false);
        QVERIFY(child<QComboBox>(panel, "baudCombo")->isEnabled());
    }
}

QTEST_MAIN(TestSettingsPanel)
#include "tst_settingspanel.moc"
