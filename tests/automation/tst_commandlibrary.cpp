#include "automation/commandlibrarycodec.h"
#include "automation/commandlibrarytext.h"
#include "steps.h"

#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {
using namespace steps;

// A library that uses every stored field with values away from the defaults. Steps set
// only the fields of their kind, the only ones a file keeps.
CommandLibrary unusualLibrary()
{
    CommandLibrary library;
    CommandGroup sensors{"Sensors", {}};
    Command read = command("Read, all", "READ?\\r\\n\"quoted\" ; 中文");
    read.lineEnding = 4;
    read.checksum = 5;
    read.shortcut = "Ctrl+Shift+1";
    read.note = "first line\nsecond line";
    sensors.commands << read << command("", "01 03 00 00", Command::HexForm);
    library.groups << sensors << CommandGroup{"Empty", {}};

    Sequence sequence{"Probe", {}};
    SequenceStep sendRead = stepOf(SequenceStepKind::Send);
    sendRead.command = read;
    sequence.steps << label("retry") << sendRead << wait(0)
                   << expect("OK\\r?\\n", 3600000, true, AutoReplyMatch::Regex)
                   << loop("retry", 1000000);
    library.sequences << sequence << Sequence{"Nothing yet", {}};
    return library;
}
} // namespace

class TestCommandLibrary : public QObject
{
    Q_OBJECT
private slots:
    void commandTitle_data();
    void commandTitle();
    void uniqueName_data();
    void uniqueName();
    void stepSummary_data();
    void stepSummary();
    void encode_data();
    void encode();
    void mergeRenamesAndStopsAtLimits();
    void findCommandTakesTheFirstGroup();

    void codecRoundTrip_data();
    void codecRoundTrip();
    void codecClampsAndDefaults_data();
    void codecClampsAndDefaults();
    void codecRemovesStaleKeys();

    void shareFileRoundTripsWithItsHeader();
    void shareFileFailures_data();
    void shareFileFailures();
    void randomShareFilesNeverCrash();

private:
    QString freshPath(const QString &suffix = ".vlmcmd");
    QTemporaryDir dir;
    int files = 0;
};

QString TestCommandLibrary::freshPath(const QString &suffix)
{
    // QSettings caches files by path; every file gets its own name.
    return dir.filePath(QStringLiteral("f%1%2").arg(++files).arg(suffix));
}

void TestCommandLibrary::commandTitle_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("title");
    QTest::newRow("name trimmed") << "  Version " << "AT+GMR" << "Version";
    QTest::newRow("text when no name") << " " << "  AT+GMR\r\n" << "AT+GMR";
    QTest::newRow("24 characters stay") << "" << QString(24, 'x') << QString(24, 'x');
    QTest::newRow("longer text elided") << "" << "abcdefghijklmnopqrstuvwxyz"
                                        << QString("abcdefghijklmnopqrstuvw\u2026");
    QTest::newRow("white space simplified") << "" << "a \n\n  b" << "a b";
    QTest::newRow("nothing at all") << " " << " \t" << "(empty)";
}

void TestCommandLibrary::commandTitle()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QFETCH(QString, title);
    QCOMPARE(CommandLibraryText::commandTitle(command(name, text)), title);
}

void TestCommandLibrary::uniqueName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("taken");
    QTest::addColumn<QString>("unique");
    QTest::newRow("free") << "A" << QStringList{"B"} << "A";
    QTest::newRow("taken twice") << "A" << QStringList{"A", "A (2)"} << "A (3)";
    QTest::newRow("gap is reused") << "A" << QStringList{"A", "A (3)"} << "A (2)";
    QTest::newRow("case sensitive") << "a" << QStringList{"A"} << "a";
    QTest::newRow("percent in the name") << "50%2" << QStringList{"50%2"} << "50%2 (2)";
}

void TestCommandLibrary::uniqueName()
{
    QFETCH(QString, name);
    QFETCH(QStringList, taken);
    QFETCH(QString, unique);
    QCOMPARE(CommandLibraryText::uniqueName(name, taken), unique);
}

void TestCommandLibrary::stepSummary_data()
{
    QTest::addColumn<SequenceStep>("step");
    QTest::addColumn<QString>("summary");
    SequenceStep step = stepOf(SequenceStepKind::Send);
    step.command = command("Version", "AT+GMR");
    QTest::newRow("send") << step << "Send Version";
    QTest::newRow("wait") << wait(250) << "Wait 250 ms";
    QTest::newRow("expect with limit") << expect("OK", 500) << "Expect \"OK\" within 500 ms";
    QTest::newRow("expect without limit") << expect("OK", 0) << "Expect \"OK\" (no time limit)";
    QTest::newRow("expect with percent") << expect("100%2", 7) << "Expect \"100%2\" within 7 ms";
    QTest::newRow("loop from start") << loop("", 3) << "Repeat from the start, 3 time(s) in all";
    QTest::newRow("loop until stopped") << loop("retry", 0) << "Repeat from \"retry\" until stopped";
    QTest::newRow("label") << label("retry") << "Label \"retry\"";
}

void TestCommandLibrary::stepSummary()
{
    QFETCH(SequenceStep, step);
    QFETCH(QString, summary);
    QCOMPARE(CommandLibraryText::stepSummary(step), summary);
}

void TestCommandLibrary::encode_data()
{
    QTest::addColumn<Command>("cmd");
    QTest::addColumn<int>("portLineEnding");
    QTest::addColumn<int>("portChecksum");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");

    Command c = command("", "AT");
    QTest::newRow("port line ending") << c << 3 << 0 << QByteArray("AT\r\n") << "";
    c.lineEnding = 0;
    QTest::newRow("own line ending none") << c << 3 << 0 << QByteArray("AT") << "";
    c.lineEnding = 2;
    QTest::newRow("own line ending LF") << c << 0 << 0 << QByteArray("AT\n") << "";
    c.checksum = 1;
    QTest::newRow("own checksum after the line ending")
        << c << 0 << 4 << QByteArray("AT\n\x9f", 4) << "";
    c = command("", "\\x41\\tB");
    QTest::newRow("escapes always on") << c << 0 << 0 << QByteArray("A\tB") << "";
    c = command("", "a\\");
    QTest::newRow("lone backslash") << c << 0 << 0 << QByteArray()
                                    << "The message ends with a lone backslash. Write \\\\ to "
                                       "send one.";

    c = command("", "");
    c.lineEnding = 0;
    QTest::newRow("empty, no line ending") << c << 3 << 0 << QByteArray()
                                           << "The command is empty.";
    c.lineEnding = -1;
    QTest::newRow("empty, port appends") << c << 2 << 0 << QByteArray("\n") << "";
    QTest::newRow("empty, port does not append")
        << c << 0 << 0 << QByteArray() << "The command is empty.";

    c = command("", "01 03,0000", Command::HexForm);
    c.lineEnding = 3;
    QTest::newRow("hex never gets a line ending")
        << c << 3 << 0 << QByteArray::fromHex("01030000") << "";
    QTest::newRow("hex with the port's checksum")
        << c << 0 << 1 << QByteArray::fromHex("0103000004") << "";
    c.checksum = 4;
    QTest::newRow("hex with its own CRC")
        << c << 0 << 1 << QByteArray::fromHex("01030000f1d8") << "";
    c.checksum = 0;
    QTest::newRow("hex without checksum over the port's")
        << c << 0 << 5 << QByteArray::fromHex("01030000") << "";
    QTest::newRow("hex wildcard refused")
        << command("", "01 ??", Command::HexForm) << 0 << 0 << QByteArray()
        << "?? (any byte) is only allowed in a pattern, not in a reply.";
    QTest::newRow("hex half byte") << command("", "01 3", Command::HexForm) << 0 << 0
                                   << QByteArray()
                                   << "\"3\" is not whole bytes: use two hex digits per byte.";
    QTest::newRow("hex without bytes")
        << command("", "  ", Command::HexForm) << 0 << 4 << QByteArray() << "";
}

void TestCommandLibrary::encode()
{
    QFETCH(Command, cmd);
    QFETCH(int, portLineEnding);
    QFETCH(int, portChecksum);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    FormatSetting format;
    format.txLineEndingMode = _tagLineEndingMode(portLineEnding);
    format.sendChecksum = portChecksum;
    format.sendEscapes = false;
    const EncodeSendResult result = CommandLibraryText::encode(cmd, format);
    QCOMPARE(result.error, error);
    QCOMPARE(result.ok, error.isEmpty());
    QCOMPARE(result.bytes.toHex(' '), bytes.toHex(' '));
    if (cmd.isHex() && result.ok) {
        QCOMPARE(result.text, MessageCodec::toHexString(bytes));
    }
}

// Scripts reach commands by name: the first group holding the name wins.
void TestCommandLibrary::findCommandTakesTheFirstGroup()
{
    CommandLibrary library;
    library.groups << CommandGroup{"Modem", {command("AT", "AT"), command("Reset", "ATZ")}}
                   << CommandGroup{"Other", {command("Reset", "RST")}};
    QCOMPARE(library.findCommand("Reset")->text, QString("ATZ"));
    QCOMPARE(library.findCommand("AT")->text, QString("AT"));
    QVERIFY(!library.findCommand("reset"));
    QVERIFY(!CommandLibrary().findCommand("AT"));
}

void TestCommandLibrary::mergeRenamesAndStopsAtLimits()
{
    CommandLibrary shared;
    shared.groups << CommandGroup{"Sensors", {command("Read", "R")}};
    shared.sequences << Sequence{"Probe", {}};

    CommandLibrary library;
    QCOMPARE(CommandLibraryText::merge(&library, shared), 2);
    QCOMPARE(CommandLibraryText::merge(&library, shared), 2);
    QCOMPARE(library.groups.size(), 2);
    QCOMPARE(library.groups.at(1).name, "Sensors (2)");
    QCOMPARE(library.groups.at(1).commands, shared.groups.at(0).commands);
    QCOMPARE(library.sequences.at(1).name, "Probe (2)");

    // A full group list takes no more groups, and sequences still come in.
    CommandLibrary full;
    for (int i = 0; i < CommandLibrary::MaxGroups; ++i) {
        full.groups << CommandGroup{QString::number(i), {}};
    }
    QCOMPARE(CommandLibraryText::merge(&full, shared), 1);
    QCOMPARE(full.groups.size(), CommandLibrary::MaxGroups);
    QCOMPARE(full.sequences.size(), 1);

    CommandLibrary many;
    for (int i = 0; i < 300; ++i) {
        many.sequences << Sequence{"S", {}};
    }
    CommandLibrary into;
    QCOMPARE(CommandLibraryText::merge(&into, many), CommandLibrary::MaxSequences);
    QCOMPARE(into.sequences.at(255).name, "S (256)");
}

void TestCommandLibrary::codecRoundTrip_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::newRow("project group") << "CommandLibrary/";
    QTest::newRow("share file layout") << "";
}

void TestCommandLibrary::codecRoundTrip()
{
    QFETCH(QString, prefix);
    const CommandLibrary library = unusualLibrary();
    const QString path = freshPath(".vlm");
    QSettings settings(path, QSettings::IniFormat);
    QVERIFY(!CommandLibraryCodec::contains(settings, prefix));
    CommandLibraryCodec::save(settings, prefix, library);
    QVERIFY(CommandLibraryCodec::contains(settings, prefix));
    settings.sync();
    const QString copy = freshPath(".vlm");
    QVERIFY(QFile::copy(path, copy));
    QSettings reread(copy, QSettings::IniFormat);
    const CommandLibrary loaded = CommandLibraryCodec::load(reread, prefix);
    QCOMPARE(loaded, library);
    QCOMPARE(loaded.commandCount(), 2);
}

void TestCommandLibrary::codecClampsAndDefaults_data()
{
    QTest::addColumn<QVariantMap>("keys");
    QTest::addColumn<CommandLibrary>("expected");

    const auto groupWith = [](const Command &c) {
        CommandLibrary library;
        library.groups << CommandGroup{"G", {c}};
        return library;
    };
    const QVariantMap group{{"Commands/Count", 1}, {"Commands/0/Name", "G"},
                            {"Commands/0/Count", 1}};
    const auto with = [](QVariantMap map, const QVariantMap &more) {
        map.insert(more);
        return map;
    };

    Command c;
    c.format = Command::TextForm;
    QTest::newRow("missing fields take defaults") << group << groupWith(c);
    c.lineEnding = 4;
    c.checksum = 0;
    QTest::newRow("numbers clamped, format other than 1 is text")
        << with(group, {{"Commands/0/0/Format", 2},
                        {"Commands/0/0/LineEnding", 9},
                        {"Commands/0/0/Checksum", -3}})
        << groupWith(c);
    c.lineEnding = -1;
    c.checksum = 5;
    c.format = Command::HexForm;
    QTest::newRow("-1 stays, text numbers read")
        << with(group, {{"Commands/0/0/Format", "1"},
                        {"Commands/0/0/LineEnding", "-1"},
                        {"Commands/0/0/Checksum", "77"}})
        << groupWith(c);

    CommandLibrary groups;
    for (int i = 0; i < CommandLibrary::MaxGroups; ++i) {
        groups.groups << CommandGroup{};
    }
    QTest::newRow("group count clamped") << QVariantMap{{"Commands/Count", 1000}} << groups;
    QTest::newRow("negative count is none") << QVariantMap{{"Commands/Count", -4}}
                                            << CommandLibrary();

    const QVariantMap sequence{{"Sequences/Count", 1}, {"Sequences/0/Name", "S"},
                               {"Sequences/0/Count", 1}};
    const auto sequenceWith = [](const SequenceStep &step) {
        CommandLibrary library;
        library.sequences << Sequence{"S", {step}};
        return library;
    };
    QTest::newRow("kind 7 is a Send with a default command")
        << with(sequence, {{"Sequences/0/0/Kind", 7}, {"Sequences/0/0/Ms", 5}})
        << sequenceWith(SequenceStep());
    QTest::newRow("wait below 0") << with(sequence, {{"Sequences/0/0/Kind", 1},
                                                     {"Sequences/0/0/Ms", -5}})
                                  << sequenceWith(wait(0));
    QTest::newRow("expect clamped, unknown match is text")
        << with(sequence, {{"Sequences/0/0/Kind", 2},
                           {"Sequences/0/0/Ms", 99999999},
                           {"Sequences/0/0/Match", 4},
                           {"Sequences/0/0/ContinueOnFail", "maybe"}})
        << sequenceWith(expect("", SequenceStep::MaxMs));
    QTest::newRow("loop count clamped")
        << with(sequence, {{"Sequences/0/0/Kind", 3}, {"Sequences/0/0/LoopCount", 5000000}})
        << sequenceWith(loop("", SequenceStep::MaxLoopCount));
    QTest::newRow("default loop count")
        << with(sequence, {{"Sequences/0/0/Kind", 3}}) << sequenceWith(stepOf(SequenceStepKind::Loop));

    CommandLibrary manySequences;
    QVariantMap manyKeys{{"Sequences/Count", 300}};
    for (int i = 0; i < 300; ++i) {
        manyKeys.insert(QStringLiteral("Sequences/%1/Name").arg(i), QString::number(i));
        if (i < CommandLibrary::MaxSequences) {
            manySequences.sequences << Sequence{QString::number(i), {}};
        }
    }
    QTest::newRow("300 sequences load the first 256") << manyKeys << manySequences;
}

void TestCommandLibrary::codecClampsAndDefaults()
{
    QFETCH(QVariantMap, keys);
    QFETCH(CommandLibrary, expected);
    const QString path = freshPath(".vlm");
    {
        QSettings writer(path, QSettings::IniFormat);
        for (auto it = keys.cbegin(); it != keys.cend(); ++it) {
            writer.setValue("CommandLibrary/" + it.key(), it.value());
        }
    }
    const QString copy = freshPath(".vlm");
    QVERIFY(QFile::copy(path, copy));
    QSettings settings(copy, QSettings::IniFormat);
    QCOMPARE(CommandLibraryCodec::load(settings, "CommandLibrary/"), expected);
}

void TestCommandLibrary::codecRemovesStaleKeys()
{
    QSettings settings(freshPath(".vlm"), QSettings::IniFormat);
    settings.setValue("CommandLibraryKeep", 1);
    settings.setValue("CommandLibrary/Other/Key", 2);
    settings.setValue("0/SendList", "x");
    CommandLibraryCodec::save(settings, "CommandLibrary/", unusualLibrary());
    QVERIFY(settings.contains("CommandLibrary/Commands/0/0/Shortcut"));
    QVERIFY(settings.contains("CommandLibrary/Sequences/1/Name"));

    CommandLibrary smaller;
    smaller.groups << CommandGroup{"Only", {command("A", "a")}};
    CommandLibraryCodec::save(settings, "CommandLibrary/", smaller);
    QCOMPARE(CommandLibraryCodec::load(settings, "CommandLibrary/"), smaller);

    QStringList expected{"CommandLibrary/Commands/Count",
                         "CommandLibrary/Commands/0/Name",
                         "CommandLibrary/Commands/0/Count",
                         "CommandLibrary/Commands/0/0/Name",
                         "CommandLibrary/Commands/0/0/Format",
                         "CommandLibrary/Commands/0/0/Text",
                         "CommandLibrary/Commands/0/0/LineEnding",
                         "CommandLibrary/Commands/0/0/Checksum",
                         "CommandLibrary/Sequences/Count",
                         "CommandLibrary/Other/Key",
                         "CommandLibraryKeep",
                         "0/SendList"};
    QStringList keys = settings.allKeys();
    keys.sort();
    expected.sort();
    QCOMPARE(keys, expected);
}

void TestCommandLibrary::shareFileRoundTripsWithItsHeader()
{
    CommandLibrary shared;
    shared.groups << CommandGroup{"Sensors", {command("Read", "READ?")}};
    shared.sequences << unusualLibrary().sequences.first();
    const QString path = freshPath();
    QString error;
    QVERIFY(CommandLibraryCodec::writeShareFile(path, shared, &error));
    QVERIFY(error.isEmpty());
    {
        QSettings header(path, QSettings::IniFormat);
        QCOMPARE(header.value("VlmCmd/Format").toInt(), 1);
        QCOMPARE(header.value("VlmCmd/Application").toString(), "Velmora");
    }

    CommandLibrary read;
    QVERIFY(CommandLibraryCodec::readShareFile(path, &read, &error));
    QCOMPARE(read, shared);

    // Writing again over the same file replaces it whole.
    QVERIFY(CommandLibraryCodec::writeShareFile(path, CommandLibrary(), &error));
    QVERIFY(CommandLibraryCodec::readShareFile(path, &read, nullptr));
    QCOMPARE(read, CommandLibrary());
}

void TestCommandLibrary::shareFileFailures_data()
{
    QTest::addColumn<QString>("content"); // null: no file at all
    QTest::addColumn<bool>("directory");
    QTest::addColumn<QString>("error");
    QTest::newRow("missing") << QString() << false << "The file does not exist.";
    QTest::newRow("a folder") << QString() << true << "The file does not exist.";
    QTest::newRow("no header") << "[Commands]\nCount=1\n0\\Name=Sensors\n" << false
                               << "This is not an VLM command file.";
    QTest::newRow("header without format") << "[VlmCmd]\nApplication=Velmora\n" << false
                                           << "This is not an VLM command file.";
}

void TestCommandLibrary::shareFileFailures()
{
    QFETCH(QString, content);
    QFETCH(bool, directory);
    QFETCH(QString, error);
    const QString path = freshPath();
    if (directory) {
        QVERIFY(QDir().mkpath(path));
    } else if (!content.isNull()) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content.toUtf8());
    }
    CommandLibrary untouched = unusualLibrary();
    QString message;
    QVERIFY(!CommandLibraryCodec::readShareFile(path, &untouched, &message));
    QCOMPARE(message, error);
    QCOMPARE(untouched, unusualLibrary());
    QVERIFY(!CommandLibraryCodec::readShareFile(path, &untouched, nullptr));

    if (directory) {
        // A folder in the way cannot be replaced by a file.
        QVERIFY(!CommandLibraryCodec::writeShareFile(path, CommandLibrary(), &message));
        QCOMPARE(message, "The existing file could not be replaced.");
    }
}

void TestCommandLibrary::randomShareFilesNeverCrash()
{
    // Random mutations of a real share file: every outcome is a value or a message.
    const QString original = freshPath();
    QVERIFY(CommandLibraryCodec::writeShareFile(original, unusualLibrary(), nullptr));
    QFile source(original);
    QVERIFY(source.open(QIODevice::ReadOnly));
    const QByteArray base = source.readAll();
    QRandomGenerator random(20261122);
    for (int round = 0; round < 200; ++round) {
        QByteArray content = base;
        for (int i = random.bounded(1, 16); i > 0; --i) {
            content[random.bounded(int(content.size()))] = char(random.bounded(256));
        }
        const QString path = freshPath();
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        CommandLibrary library;
        QString error;
        const bool ok = CommandLibraryCodec::readShareFile(path, &library, &error);
        QCOMPARE(ok, error.isEmpty());
        QVERIFY(library.groups.size() <= CommandLibrary::MaxGroups);
    }
}

QTEST_GUILESS_MAIN(TestCommandLibrary)
#include "tst_commandlibrary.moc"
