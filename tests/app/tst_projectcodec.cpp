#include "app/projectcodec.h"
#include "connection/settingskey.h"
#include "samplerecords.h"

#include <QStandardPaths>
#include <QtTest>

namespace {
ProjectPortRecord unusualPort(int i)
{
    ProjectPortRecord port;
    makeUnusual(port.settings, port.format, i);
    // The ini writer escapes a NUL, and such a list comes back as variants.
    port.sendHistory = {"AT+GMR", "a, b; \"c\"", "中文", QStringLiteral("nul") + QChar(0)};
    return port;
}

ProjectRecord projectOf(int ports)
{
    ProjectRecord project;
    project.ports.clear();
    for (int i = 0; i < ports; ++i) {
        project.ports.append(unusualPort(i));
    }
    return project;
}

// A port as it reads back: what the project does not keep returns to the record
// default, and the hourly stamp flag, read but never written, to its read default.
ProjectPortRecord asReloaded(ProjectPortRecord port)
{
    const ProjectPortRecord plain;
    port.settings.udpServerPort = plain.settings.udpServerPort;
    port.settings.relayTargetName = port.settings.relayInviteCode = QString();
    port.settings.relayPasscode = QString();
    port.format.logFileName = plain.format.logFileName;
    port.format.lineByLine = port.format.textSent = false;
    port.format.needHourTimeStamp = false;
    return port;
}

QString cp936IsGbk(const QString &name)
{
    return name.trimmed().toLower() == "cp936" ? "GBK" : "UTF-8";
}
} // namespace

class TestProjectCodec : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void roundTrip_data();
    void roundTrip();
    void readsClampedAndDefaulted_data();
    void readsClampedAndDefaulted();
    void derivedFieldsAndRotationKeys();
    void writesExactlyTheTableKeys();
    void recognisesProjects_data();
    void recognisesProjects();
    void savingKeepsOtherGroupsAndDropsStalePorts_data();
    void savingKeepsOtherGroupsAndDropsStalePorts();

private:
    QTemporaryDir dir;
};

void TestProjectCodec::roundTrip_data()
{
    QTest::addColumn<int>("ports");
    QTest::addColumn<bool>("fromDisk");
    QTest::newRow("16 ports, parsed from disk") << 16 << true;
    QTest::newRow("16 ports, from the cache") << 16 << false;
    QTest::newRow("one port") << 1 << true;
}

void TestProjectCodec::roundTrip()
{
    QFETCH(int, ports);
    QFETCH(bool, fromDisk);
    ProjectRecord project = projectOf(ports);
    project.columnCount = 5;
    project.layoutMode = ProjectRecord::TabLayout;
    project.quickView = ports > 1; // away from the read default either way
    project.quickSettings.setGroupVisible("receive", false);
    project.quickSettings.setGroupOrder({"send", "connection"});
    project.quickSettings.setFieldOrder("connection", {"parity", "baudRate"});
    project.quickSettings.setHiddenFields("controlLines", {"dtr"});

    const QString path = dir.filePath(QStringLiteral("round%1%2.vlm").arg(ports).arg(fromDisk));
    {
        QSettings out(path, QSettings::IniFormat);
        ProjectCodec::save(out, project);
    }
    QSettings in(fromDisk ? reparsedCopy(path) : path, QSettings::IniFormat);
    const ProjectRecord loaded = ProjectCodec::load(in);
    QCOMPARE(loaded.portCount(), qsizetype(ports));
    for (int i = 0; i < ports; ++i) {
        const ProjectPortRecord expected = asReloaded(project.ports.at(i));
        QCOMPARE(loaded.ports[i].sendHistory, expected.sendHistory);
        QCOMPARE(loaded.ports[i].settings.targetHostList, expected.settings.targetHostList);
        QVERIFY2(loaded.ports[i] == expected, qPrintable(QString::number(i)));
        project.ports[i] = expected;
    }
    QVERIFY(loaded == project);
}

// A hand-written file is read, and the record saved again: the written value shows
// what was read.
void TestProjectCodec::readsClampedAndDefaulted_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("read");
    QTest::addColumn<bool>("replaced"); // named in the notice of replaced values
    const auto row = [](const char *ini, const char *key, const QString &read,
                        bool replaced = false) {
        QTest::newRow((QByteArray(key) + " <- " + ini).constData())
            << QByteArray(ini).replace(';', '\n') << QString(key) << read << replaced;
    };
    row("[General];PortNumber=0", "PortNumber", "1", true);
    row("[General];PortNumber=99", "PortNumber", "16", true);
    row("[General];ColumnNumber=40", "ColumnNumber", "16", true);
    row("[General];LayoutMode=2", "LayoutMode", "0");
    row("", "QuickView", "true");
    row("[General];PortNumber=2", "QuickView", "false");
    row("[0];BaudRate=-9600", "0/BaudRate", "0", true);
    row("[0];BaudRate=99999999999", "0/BaudRate", "100000000", true);
    row("[0];BaudRate=1, 2", "0/BaudRate", "0", true);
    row("[0];BaudRate=\" 115200 \"", "0/BaudRate", "115200");
    row("[0];DataBits=9", "0/DataBits", "0", true);
    row("[0];DtrOn=banana", "0/DtrOn", "true", true);
    row("[0];ConnMode=9", "0/ConnMode", "0", true);
    row("[General];PortNumber=6;[5];ConnMode=42", "5/ConnMode", "0", true);
    row("[0];ReceiveMsgForamt=2", "0/ReceiveMsgForamt", "2");
    row("[0];ReceiveMsgFormat=2", "0/ReceiveMsgForamt", "1");
    row("[0];ReceiveEncoding=", "0/ReceiveEncoding", "UTF-8");
    row("[0];RxTimeFormat=\"   \"", "0/RxTimeFormat", "[Rx][hh:mm:ss.zzz] ");
    row("[0];LastTargetHost=a-||--||- b -||-a", "0/LastTargetHost", "b-||-a");
    row("[0];BaudRate=1", "0/LastTargetHost", "");
    row("[0];UdpLocalPort=70000", "0/UdpLocalPort", "65535", true);
    row("[0];UdpLocalPort=x", "0/UdpLocalPort", "60001", true);
    row("[0];SendTimeUnit=0", "0/SendTimeUnit", "1");
    row("[0];SendChecksum=6", "0/SendChecksum", "0", true);
    row("[0];TerminalEnterMode=7", "0/TerminalEnterMode", "1", true);
    row("[0];TxAutoFeedLine=true", "0/TxAutoFeedLine", "false");
    row("[0];TxAutoFeedLine=false;TxLineEndingMode=2", "0/TxAutoFeedLine", "true");
    row("[0];SendList=a, b", "0/SendList", "a|b");
    row("[0];SendTextColor=#ABCDEF", "0/SendTextColor", "#abcdef");
    row("[0];SendTextColor=red", "0/SendTextColor", "", true);
    row("[0];LogFontWeight=5000", "0/LogFontWeight", "1000", true);
    row("[0];LogRotateTime=25:61", "0/LogRotateTime", "", true);
    row("[0];DataBits=0", "0/DataBits", "0");
    // A port the file says nothing about takes the read defaults, not the record's.
    row("[General];PortNumber=2", "1/BaudRate", "0");
    row("[General];PortNumber=2", "1/ReceiveMsgForamt", "1");
    row("[General];PortNumber=2", "1/LogAppend", "true");
    row("[General];PortNumber=2", "1/LogFilePath", defaultLogFilePath());
    row("[General];PortNumber=2", "1/ShowControlLineLeds", "true");
    row("[General];PortNumber=2", "1/ReceiveTextColor", "");
}

void TestProjectCodec::readsClampedAndDefaulted()
{
    QFETCH(QByteArray, ini);
    QFETCH(QString, key);
    QSettings in(writeFile(dir, ini), QSettings::IniFormat);
    QSettings out(writeFile(dir, {}), QSettings::IniFormat);
    QStringList replaced;
    ProjectCodec::save(out, ProjectCodec::load(in, nullptr, &replaced));
    QTEST(storedText(out, key), "read");
    QTEST(replaced.contains(key), "replaced");
    // What a project writes reads back with nothing to replace.
    QStringList again;
    ProjectCodec::load(out, nullptr, &again);
    QVERIFY2(again.isEmpty(), qPrintable(again.join(' ')));
}

void TestProjectCodec::derivedFieldsAndRotationKeys()
{
    const QString path = writeFile(dir, "[0]\nDataBits=7\nParity=3\nStopBits=3\nFlowControl=2\n"
                                        "LastTargetHost=a-||-b\nReceiveEncoding= CP936 \n"
                                        "LogRotateAtSize=true\nLogRotateSize=2048\n"
                                        "LogRotateAtTime=true\nLogRotateTime=08:30:15\n"
                                        "NeedHourTimeStamp=true\n");
    QSettings settings(path, QSettings::IniFormat);
    const ProjectPortRecord port = ProjectCodec::load(settings, &cp936IsGbk).ports.at(0);
    const Settings &s = port.settings;
    QCOMPARE(QStringList({s.stringDataBits, s.stringParity, s.stringStopBits, s.stringFlowControl}),
             QStringList({"7", "Odd", "1.5", "XON/XOFF"}));
    QCOMPARE(s.targetHost, QString("b"));
    QCOMPARE(port.format.receiveEncoding, QString("GBK"));
    QCOMPARE(port.format.sendEncoding, QString("UTF-8"));
    QCOMPARE(ProjectCodec::load(settings).ports[0].format.receiveEncoding, QString("CP936"));
    QVERIFY(port.format.logRotateAtSize && port.format.logRotateAtTime);
    QVERIFY(port.format.needHourTimeStamp);
    QCOMPARE(port.format.logRotateSize, 2048);
    QCOMPARE(port.format.logRotateTime, QTime(8, 30, 15));
    // A save keeps the rotation and drops the hourly stamp flag of older files.
    ProjectRecord project;
    project.ports = {port};
    ProjectCodec::save(settings, project);
    settings.sync();
    QSettings reread(reparsedCopy(path), QSettings::IniFormat);
    QVERIFY(ProjectCodec::load(reread).ports[0] == asReloaded(port));
}

void TestProjectCodec::writesExactlyTheTableKeys()
{
    QSettings out(dir.filePath("keys.vlm"), QSettings::IniFormat);
    ProjectCodec::save(out, projectOf(3));
    out.beginGroup("2");
    QStringList stored = out.childKeys();
    out.endGroup();
    QStringList names = ProjectCodec::writtenPortKeyNames();
    QCOMPARE(names.size(), 63);
    QVERIFY(names.contains("ReceiveMsgForamt") && !names.contains("ReceiveMsgFormat"));
    stored.sort();
    names.sort();
    QCOMPARE(stored, names);
    QCOMPARE(out.value("PortNumber"), QVariant(QString("3")));
    QCOMPARE(out.value("2/LastTargetHost").toString(), QString("10.0.0.2-||-::1-||-bench.example"));
}

void TestProjectCodec::recognisesProjects_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("project");
    QByteArray noise(4096, Qt::Uninitialized);
    for (int i = 0; i < noise.size(); ++i) {
        noise[i] = char((i * 7919 + 13) % 251);
    }
    QTest::newRow("random bytes") << noise << false;
    QTest::newRow("a text file") << QByteArray("Dear diary,\nthe board booted.\n") << false;
    QTest::newRow("some other ini") << QByteArray("[General]\ncolor=blue\n[0]\nname=x\n")
                                    << false;
    QTest::newRow("port count only") << QByteArray("[General]\nPortNumber=2\n") << true;
    QTest::newRow("one port key") << QByteArray("[3]\nBaudRate=9600\n") << true;
    QTest::newRow("rules of a port") << QByteArray("[0]\nAutoReply\\size=1\n") << true;
    QTest::newRow("a library only") << QByteArray("[ScriptLibrary]\nScripts\\size=0\n") << true;
}

void TestProjectCodec::recognisesProjects()
{
    QFETCH(QByteArray, content);
    QSettings file(writeFile(dir, content), QSettings::IniFormat);
    QTEST(file.status() == QSettings::NoError && ProjectCodec::looksLikeProject(file), "project");
}

void TestProjectCodec::savingKeepsOtherGroupsAndDropsStalePorts_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");
    QTest::newRow("8 to 4") << 8 << 4;
    QTest::newRow("8 to 1") << 8 << 1;
    QTest::newRow("16 to 15") << 16 << 15;
    QTest::newRow("same count") << 3 << 3;
    QTest::newRow("growing") << 2 << 5;
}

void TestProjectCodec::savingKeepsOtherGroupsAndDropsStalePorts()
{
    QFETCH(int, before);
    QFETCH(int, after);
    const QString path = dir.filePath(QStringLiteral("shrink%1-%2.vlm").arg(before).arg(after));
    const QStringList others = {"Bridge/0/PortA", "CommandLibrary/Groups/size",
                                "FrameTemplateLibrary/size", "ScriptLibrary/Scripts/1/Name"};
    {
        QSettings out(path, QSettings::IniFormat);
        ProjectCodec::save(out, projectOf(before));
        for (int i = 0; i < before; ++i) {
            out.setValue(ProjectCodec::autoReplyGroup(i) + "/size", 1);
            out.setValue(ProjectCodec::plotGroup(i) + "/Enabled", true);
        }
        for (const QString &key : others) {
            out.setValue(key, 1);
        }
        out.setValue("20/PortName", "stray");
    }
    {
        QSettings out(path, QSettings::IniFormat);
        ProjectCodec::save(out, projectOf(after));
    }
    QSettings in(reparsedCopy(path), QSettings::IniFormat);
    for (const QString &key : in.allKeys()) {
        QVERIFY2(!key.front().isDigit() || key.section('/', 0, 0).toInt() < after, qPrintable(key));
    }
    for (int i = 0; i < after; ++i) {
        QVERIFY(in.contains(ProjectCodec::portKey(i, "RelayGuestName")));
        QCOMPARE(in.contains(ProjectCodec::autoReplyGroup(i) + "/size"), i < before);
        QCOMPARE(in.contains(ProjectCodec::plotGroup(i) + "/Enabled"), i < before);
    }
    for (const QString &key : others) {
        QVERIFY2(in.contains(key), qPrintable(key));
    }
    QCOMPARE(ProjectCodec::load(in).portCount(), qsizetype(after));
}

QTEST_GUILESS_MAIN(TestProjectCodec)
#include "tst_projectcodec.moc"
