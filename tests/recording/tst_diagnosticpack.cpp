#include "support/pythonrun.h"
#include "app/projectcodec.h"
#include "automation/autoreplycodec.h"
#include "automation/autoreplyengine.h"
#include "recording/diagnosticpack.h"
#include "recording/zipwriter.h"
#include "scripting/scriptlibrary.h"
#include "scripting/scriptlibrarycodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

class TestDiagnosticPack : public QObject
{
    Q_OBJECT
private slots:
    void scrubber_data();
    void scrubber();
    void redactHome_data();
    void redactHome();
    void projectFilter_data();
    void projectFilter();
    void packHoldsNoPlantedSecret();
    void cancelKeepsAReadableArchive();
};

namespace {

const QDateTime When(QDate(2024, 5, 6), QTime(7, 8, 10));

// The planted secrets: the machine id, the user and host names and the refresh token.
const QString MachineId = QStringLiteral("4c4c4544-0042-3510-8052-b7c04f4d3432");
const QString UserName = QStringLiteral("zoltanq");
const QString HostName = QStringLiteral("benchbox17");
const QString RefreshToken = QStringLiteral("rt_9f8e7d6c5b4a39281706");
const QString RelayCid = QStringLiteral("cid-5d1e-relay-target");

// Every entry of an archive as Python's zipfile reads it (after testzip()).
const QString ReadAllScript = QStringLiteral(R"(
import json, sys, zipfile
with zipfile.ZipFile(sys.argv[1]) as z:
    bad = z.testzip()
    print(json.dumps({'bad': bad, 'entries': {i.filename: z.read(i).hex() for i in z.infolist()}}))
)");

QMap<QString, QByteArray> readArchive(const QString &path, QString *error)
{
    QMap<QString, QByteArray> out;
    const QJsonObject result =
        QJsonDocument::fromJson(pythonrun::run(ReadAllScript, {path}, error)).object();
    if (!result.value(QStringLiteral("bad")).isNull()) {
        *error = QStringLiteral("zipfile.testzip: ") + result.value(QStringLiteral("bad")).toString();
    }
    const QJsonObject entries = result.value(QStringLiteral("entries")).toObject();
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        out.insert(it.key(), QByteArray::fromHex(it.value().toString().toLatin1()));
    }
    return out;
}

bool unzipTest(const QString &path, QString *output)
{
    QProcess unzip;
    unzip.start(QStringLiteral("unzip"), {QStringLiteral("-t"), QStringLiteral("-q"), path});
    unzip.waitForFinished(120000);
    *output = QString::fromUtf8(unzip.readAll());
    return unzip.exitStatus() == QProcess::NormalExit && unzip.exitCode() == 0;
}

// A project file as the program writes it: four ports (one with a relay target), a
// script library and auto reply rules. Read back as the key map a pack is given.
QMap<QString, QVariant> writtenProject(const QString &path, const QString &home)
{
    QSettings file(path, QSettings::IniFormat);
    ProjectRecord project;
    project.ports.clear();
    for (int i = 0; i < 4; ++i) {
        ProjectPortRecord port;
        port.settings.name = QStringLiteral("/dev/ttyUSB%1").arg(i);
        port.settings.baudRate = 115200;
        port.format.logFilePath = home + QStringLiteral("/logs/port%1").arg(i);
        port.sendHistory = {QStringLiteral("AT+PASS=hunter2")};
        project.ports.append(port);
    }
    project.ports[2].settings.relayCid = RelayCid;
    ProjectCodec::save(file, project);
    ScriptLibrary scripts;
    scripts.scripts.append({QStringLiteral("probe"),
                            QStringLiteral("-- written by %1 on %2.lab\nsend('AT')\n")
                                .arg(UserName, HostName)});
    ScriptLibraryCodec::save(file, ProjectCodec::scriptLibraryGroup() + u'/', scripts);
    AutoReplyConfig replies;
    replies.rules.append(AutoReplyRule{});
    replies.rules[0].pattern = QStringLiteral("PING");
    AutoReplyCodec::save(file, AutoReplyCodec::projectPrefix(QStringLiteral("0")), replies);
    file.sync();
    QMap<QString, QVariant> map;
    for (const QString &key : file.allKeys()) {
        map.insert(key, file.value(key));
    }
    return map;
}

} // namespace

void TestDiagnosticPack::scrubber_data()
{
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<QStringList>("users");
    QTest::addColumn<QStringList>("hosts");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("count");

    const QStringList none;
    const QStringList id = {QStringLiteral("ab12cd34-ef56-7890-abcd-ef1234567890")};
    QTest::newRow("id as given, upper, without dashes")
        << id << none << none
        << QByteArray("a ab12cd34-ef56-7890-abcd-ef1234567890 b AB12CD34EF567890ABCDEF1234567890")
        << QByteArray("a [redacted] b [redacted]") << 2;
    QTest::newRow("id in mixed case stays")
        << id << none << none << QByteArray("Ab12cd34-ef56-7890-abcd-ef1234567890")
        << QByteArray("Ab12cd34-ef56-7890-abcd-ef1234567890") << 0;
    QTest::newRow("id inside a word is still found")
        << id << none << none << QByteArray("xab12cd34ef567890abcdef1234567890x")
        << QByteArray("x[redacted]x") << 1;
    QTest::newRow("short id ignored") << QStringList{QStringLiteral("ab-12")} << none << none
                                      << QByteArray("ab-12 ab12") << QByteArray("ab-12 ab12") << 0;
    QTest::newRow("user as whole word, any case")
        << none << QStringList{QStringLiteral("Alice")} << none
        << QByteArray("/home/alice/x ALICE; malice alice_2 alice-b") 
        << QByteArray("/home/[redacted]/x [redacted]; malice alice_2 alice-b") << 2;
    QTest::newRow("two letters and common folder names are kept")
        << none << QStringList{QStringLiteral("al"), QStringLiteral("admin")} << none
        << QByteArray("al admin") << QByteArray("al admin") << 0;
    QTest::newRow("longest user name first")
        << none << QStringList{QStringLiteral("ann"), QStringLiteral("ann-marie")} << none
        << QByteArray("ann-marie ann") << QByteArray("[redacted] [redacted]") << 2;
    QTest::newRow("host with its domain, not inside a longer name")
        << none << none << QStringList{QStringLiteral("Lab-PC")}
        << QByteArray("lab-pc.corp.example lab-pc2 LAB-PC:22")
        << QByteArray("[redacted].corp.example lab-pc2 [redacted]:22") << 2;
    QTest::newRow("stock host names are kept")
        << none << none << QStringList{QStringLiteral("ubuntu"), QStringLiteral("pi")}
        << QByteArray("ubuntu pi") << QByteArray("ubuntu pi") << 0;
    QTest::newRow("a replacement is not found again")
        << none << QStringList{QStringLiteral("redacted")} << QStringList{QStringLiteral("dacted")}
        << QByteArray("redacted") << QByteArray("[redacted]") << 1;
    QTest::newRow("non-ASCII user name")
        << none << QStringList{QStringLiteral("张伟强")} << none
        << QByteArray("用户 张伟强 登录") << QByteArray("用户 [redacted] 登录") << 1;
}

void TestDiagnosticPack::scrubber()
{
    QFETCH(QStringList, ids);
    QFETCH(QStringList, users);
    QFETCH(QStringList, hosts);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    QFETCH(int, count);
    DiagnosticPack::Scrubber scrubber(ids, users, hosts);
    QCOMPARE(scrubber.apply(input), expected);
    QCOMPARE(scrubber.replaced, count);
}

void TestDiagnosticPack::redactHome_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("homes");
    QTest::addColumn<QString>("expected");
    const QStringList windows = {QStringLiteral("C:/Users/demo")};
    QTest::newRow("backslashes") << QStringLiteral("C:\\Users\\demo\\logs\\a.txt") << windows
                                 << QStringLiteral("~\\logs\\a.txt");
    QTest::newRow("slashes, other case") << QStringLiteral("c:/users/demo/logs/a.txt") << windows
                                         << QStringLiteral("~/logs/a.txt");
    QTest::newRow("longer name stays") << QStringLiteral("D:/C:/Users/demo2") << windows
                                       << QStringLiteral("D:/C:/Users/demo2");
    QTest::newRow("the home alone") << QStringLiteral("log in C:/Users/demo") << windows
                                    << QStringLiteral("log in ~");
    QTest::newRow("nested homes, longest first")
        << QStringLiteral("/home/ann/work/x /home/ann/y")
        << QStringList{QStringLiteral("/home/ann"), QStringLiteral("/home/ann/work/")}
        << QStringLiteral("~/x ~/y");
    QTest::newRow("root is no home") << QStringLiteral("/dev/ttyUSB0")
                                     << QStringList{QStringLiteral("/")}
                                     << QStringLiteral("/dev/ttyUSB0");
}

void TestDiagnosticPack::redactHome()
{
    QFETCH(QString, text);
    QFETCH(QStringList, homes);
    QFETCH(QString, expected);
    QCOMPARE(DiagnosticPack::redactHome(text, homes), expected);
}

void TestDiagnosticPack::projectFilter_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("withFlags");    // library and send history on
    QTest::addColumn<bool>("withoutFlags"); // both off

    QTest::newRow("port count") << QStringLiteral("PortNumber") << true << true;
    QTest::newRow("quick settings field order")
        << QStringLiteral("QuickSettings/Fields/receive/Order") << true << true;
    QTest::newRow("unknown quick settings group")
        << QStringLiteral("QuickSettings/Fields/other/Order") << false << false;
    QTest::newRow("port baud rate") << QStringLiteral("3/BaudRate") << true << true;
    QTest::newRow("decoder kind") << QStringLiteral("0/Decode/Kind") << true << true;
    QTest::newRow("bridge setting") << QStringLiteral("Bridge/0/ListenPort") << true << true;
    QTest::newRow("bridge unknown") << QStringLiteral("Bridge/0/Secret") << false << false;
    QTest::newRow("command library") << QStringLiteral("CommandLibrary/Commands/0/Name") << true
                                     << false;
    QTest::newRow("frame templates")
        << QStringLiteral("FrameTemplateLibrary/FrameTemplates/Count") << true << false;
    QTest::newRow("script library") << QStringLiteral("ScriptLibrary/Scripts/0/Source") << true
                                    << false;
    QTest::newRow("auto reply") << QStringLiteral("1/AutoReply/Rules/0/Pattern") << true << false;
    QTest::newRow("decoder template") << QStringLiteral("1/Decode/Template") << true << false;
    QTest::newRow("send history") << QStringLiteral("0/SendList") << true << false;
    QTest::newRow("relay device id") << QStringLiteral("2/RelayCid") << false << false;
    QTest::newRow("relay guest name") << QStringLiteral("2/RelayGuestName") << false << false;
    QTest::newRow("log file name") << QStringLiteral("2/LogFileName") << false << false;
    QTest::newRow("plot, nobody listed it") << QStringLiteral("0/Plot/Mode") << false << false;
    QTest::newRow("unlisted top-level key") << QStringLiteral("Whatever") << false << false;
}

void TestDiagnosticPack::projectFilter()
{
    QFETCH(QString, key);
    QFETCH(bool, withFlags);
    QFETCH(bool, withoutFlags);
    const QMap<QString, QVariant> map = {{key, QStringLiteral("v")}};
    DiagnosticPack::Options on;
    on.library = on.sendHistory = true;
    QCOMPARE(DiagnosticPack::filterProject(map, {}, on).contains(key), withFlags);
    QCOMPARE(DiagnosticPack::filterProject(map, {}, DiagnosticPack::Options{}).contains(key),
             withoutFlags);
}

void TestDiagnosticPack::packHoldsNoPlantedSecret()
{
    if (!pythonrun::available() || QStandardPaths::findExecutable(QStringLiteral("unzip")).isEmpty()) {
        QSKIP("unzip or /usr/bin/python3 is missing (scripts/deps.sh test installs unzip)");
    }
    QTemporaryDir dir;
    const QString home = QStringLiteral("/home/") + UserName;

    DiagnosticPack::Input input;
    input.options = {true, true, true, false, true, true};
    input.when = When;
    input.appVersion = QStringLiteral("1.2.3");
    input.machineIds = {MachineId};
    input.userNames = {UserName};
    input.hostNames = {HostName};
    input.homes = {home};
    input.environment = {{QStringLiteral("os"), QStringLiteral("Debian 12")},
                         {QStringLiteral("portCount"), 4},
                         {QStringLiteral("machine"), MachineId}}; // not an environment key
    input.preferences = {{QStringLiteral("AutoReconnect"), true},
                         {QStringLiteral("AccountRefreshToken"), RefreshToken},
                         {QStringLiteral("ValueD"), MachineId}};
    input.project = writtenProject(dir.filePath(QStringLiteral("bench.vlm")), home);
    input.serialPorts = {{QStringLiteral("ttyUSB0"), QStringLiteral("CP2102 of ") + UserName,
                          QStringLiteral("Silicon Labs"), QStringLiteral("/dev/ttyUSB0"), 0x10c4,
                          0xea60}};

    for (int i = 0; i < 4; ++i) {
        DiagnosticPack::PortSnapshot port;
        port.index = i;
        port.id = QStringLiteral("ser-%1").arg(i);
        port.label = i == 1 ? UserName + QStringLiteral("'s modem") : QStringLiteral("ttyUSB%1").arg(i);
        port.mode = QStringLiteral("serial");
        SessionRecorder recorder(SessionRecorder::MinimumCapacity * 4);
        recorder.recordTx("login " + UserName.toUtf8() + "@" + HostName.toUtf8() + "\r\n",
                          QString(), 1000);
        recorder.recordRx(QByteArray(200, 'x'), QString(), 2000000); // evicts the oldest
        recorder.recordNote(QStringLiteral("opened by ") + UserName, 3000000);
        recorder.recordRx("id " + MachineId.toUpper().toUtf8() + " on " + HostName.toUtf8(),
                          QString(), 4000000);
        DiagnosticPack::fillTraffic(port, recorder);
        port.sequencesJson = "[{\"port\":\"" + HostName.toUtf8() + "\"}]";
        port.sequencesText = QStringLiteral("run on ") + HostName;
        input.ports.append(port);
    }
    QFile capture(dir.filePath(QStringLiteral("bridge.log")));
    QVERIFY(capture.open(QIODevice::WriteOnly));
    capture.write("12:00:01 A>B " + HostName.toUpper().toUtf8() + ".local user=" +
                  UserName.toUtf8() + "\n");
    capture.close();
    input.bridges = {{QStringLiteral("gateway"), {{QStringLiteral("ListenPort"), 2217}},
                      capture.fileName()}};
    QFile recording(dir.filePath(UserName + QStringLiteral("-session.vlmlog")));
    QVERIFY(recording.open(QIODevice::WriteOnly));
    recording.write("{\"type\":\"header\",\"host\":\"" + HostName.toUtf8() + "\"}\n"
                    "{\"t\":1,\"port\":\"ser-0\",\"dir\":\"rx\",\"hex\":\"" +
                    ("hello " + UserName.toUtf8()).toHex() + "\"}\n");
    recording.close();
    input.recordings = {recording.fileName()};

    const QString path = dir.filePath(QStringLiteral("pack.zip"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    ZipWriter zip(&file);
    QString error;
    DiagnosticPack::Result result;
    QVERIFY2(DiagnosticPack::write(DiagnosticPack::plan(input), zip, When, &error, {}, &result),
             qPrintable(error));
    file.close();

    QString output;
    QVERIFY2(unzipTest(path, &output), qPrintable(output));
    const QMap<QString, QByteArray> entries = readArchive(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));

    // No planted secret in any form, in any entry, names included.
    QString bare = MachineId;
    bare.remove(u'-');
    const QList<QByteArray> secrets = {
        MachineId.toUtf8(),   MachineId.toUpper().toUtf8(), bare.toUtf8(),
        bare.toUpper().toUtf8(), UserName.toUtf8(),         HostName.toUtf8(),
        RefreshToken.toUtf8(), RelayCid.toUtf8(),           QByteArray("hunter2"),
        UserName.toUtf8().toHex(), HostName.toUtf8().toHex(), // data written as hex
        MachineId.toUpper().toUtf8().toHex()};
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        const QByteArray lowered = (it.key().toUtf8() + '\n' + it.value()).toLower();
        for (const QByteArray &secret : secrets) {
            QVERIFY2(!lowered.contains(secret.toLower()),
                     qPrintable(it.key() + QStringLiteral(" holds ") + QString::fromUtf8(secret)));
        }
    }

    // Four ports with their data, the script (scrubbed), the capture and the recording.
    for (const QString &name :
         {QStringLiteral("README.txt"), QStringLiteral("app/environment.json"),
          QStringLiteral("project/project.vlm"), QStringLiteral("ports/00-ttyUSB0/port.json"),
          QStringLiteral("ports/01-_redacted_s_modem/session.jsonl"),
          QStringLiteral("ports/03-ttyUSB3/sequences.json"), QStringLiteral("bridges/00-gateway.log"),
          QStringLiteral("recordings/recording-01.vlmlog")}) {
        QVERIFY2(entries.contains(name), qPrintable(name));
    }
    const QByteArray project = entries.value(QStringLiteral("project/project.vlm"));
    QVERIFY(project.contains("[redacted] on [redacted].lab"));
    QVERIFY(project.contains("LogFilePath=~/logs/port0"));
    QVERIFY(!project.contains("RelayCid"));
    QVERIFY(!project.contains("SendList"));
    QCOMPARE(QJsonDocument::fromJson(entries.value(QStringLiteral("app/serial-ports.json")))
                 .array()
                 .at(0)[QStringLiteral("vid")]
                 .toString(),
             QStringLiteral("10c4"));
    const QByteArray readme = entries.value(QStringLiteral("README.txt"));
    QVERIFY(readme.contains("(not included: you left \"Send history (may contain passwords you "
                            "typed)\" unchecked)"));
    QVERIFY(readme.contains("ttyUSB0: 2 older records had already been dropped"));
    QVERIFY(readme.contains("\n----\n"));

    // The manifest lists every other entry with its size, and the scrubber's count.
    const QJsonObject manifest =
        QJsonDocument::fromJson(entries.value(QStringLiteral("manifest.json"))).object();
    QStringList listed;
    for (const QJsonValue &value : manifest.value(QStringLiteral("entries")).toArray()) {
        const QString name = value[QStringLiteral("path")].toString();
        listed << name;
        QCOMPARE(value[QStringLiteral("bytes")].toInteger(), entries.value(name).size());
    }
    listed << QStringLiteral("manifest.json");
    listed.sort();
    QCOMPARE(listed, entries.keys());
    QVERIFY(manifest.value(QStringLiteral("scrubbed")).toInteger() >= 10);
    QCOMPARE(manifest.value(QStringLiteral("scrubbed")).toInteger(), result.scrubbed);
    QVERIFY(!manifest.contains(QStringLiteral("cancelled")));
}

void TestDiagnosticPack::cancelKeepsAReadableArchive()
{
    if (!pythonrun::available()) {
        QSKIP("/usr/bin/python3 is missing");
    }
    QTemporaryDir dir;
    DiagnosticPack::Input input;
    input.when = When;
    const QString path = dir.filePath(QStringLiteral("cut.zip"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    ZipWriter zip(&file);
    QString error;
    DiagnosticPack::Result result;
    QList<int> calls;
    const auto progress = [&calls](int done, int total) {
        calls << done;
        return done < 2 && total > 2;
    };
    QVERIFY(DiagnosticPack::write(DiagnosticPack::plan(input), zip, When, &error, progress, &result));
    file.close();
    QVERIFY(result.cancelled);
    QCOMPARE(calls, (QList<int>{0, 1, 2}));
    const QMap<QString, QByteArray> entries = readArchive(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(entries.keys(), (QStringList{QStringLiteral("README.txt"),
                                          QStringLiteral("app/environment.json"),
                                          QStringLiteral("manifest.json")}));
    const QJsonObject manifest =
        QJsonDocument::fromJson(entries.value(QStringLiteral("manifest.json"))).object();
    QCOMPARE(manifest.value(QStringLiteral("cancelled")), QJsonValue(true));
}

QTEST_GUILESS_MAIN(TestDiagnosticPack)
#include "tst_diagnosticpack.moc"
