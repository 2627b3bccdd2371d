// The script library in the project file and as ".lua" files: what survives a round
// trip, what is clamped on reading, and the size, byte order mark and line end rules.

#include "scripting/scriptengine.h"
#include "scripting/scriptlibrarycodec.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {
const QString Prefix = QStringLiteral("ScriptLibrary/");
const QByteArray Bom("\xEF\xBB\xBF");

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &bytes)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        return QString();
    }
    return path;
}
} // namespace

class TestScriptLibrary : public QObject
{
    Q_OBJECT
private slots:
    void roundTripReplacesOlderKeys();
    void loadClamps_data();
    void loadClamps();
    void samplesSeedAnEmptyProject();
    void uniqueName();
    void readScriptFile_data();
    void readScriptFile();
    void fileErrors();
    void writeUsesCrLf();

private:
    QTemporaryDir dir;
};

void TestScriptLibrary::roundTripReplacesOlderKeys()
{
    const QString path = dir.filePath(QStringLiteral("roundtrip.vlm"));
    ScriptLibrary library;
    library.scripts = {Script{"Modem check", "sendLine(\"AT\")\nexpect(\"OK\", 500)\n"},
                       Script{"Zähler, \"quoted\"", "print('a, b; c = d')\n-- 温度\n"},
                       Script{"third", QString()}};
    {
        QSettings settings(path, QSettings::IniFormat);
        QVERIFY(!ScriptLibraryCodec::contains(settings, Prefix));
        ScriptLibraryCodec::save(settings, Prefix, library);
        library.scripts.removeLast();
        ScriptLibraryCodec::save(settings, Prefix, library);
    }
    QSettings settings(path, QSettings::IniFormat);
    QVERIFY(ScriptLibraryCodec::contains(settings, Prefix));
    QCOMPARE(ScriptLibraryCodec::load(settings, Prefix), library);
    QVERIFY(!settings.contains(QStringLiteral("ScriptLibrary/Scripts/2/Name")));
}

void TestScriptLibrary::loadClamps_data()
{
    QTest::addColumn<QVariantMap>("stored"); // keys under "ScriptLibrary/Scripts/"
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("source");

    QVariantMap many{{"Count", 70}};
    for (int i = 0; i < 70; ++i) {
        many.insert(QStringLiteral("%1/Name").arg(i), QStringLiteral("s%1").arg(i));
    }
    QTest::newRow("more than 64") << many << 64 << 63 << "s63" << "";
    QTest::newRow("negative count") << QVariantMap{{"Count", -3}, {"0/Name", "a"}} << 0 << -1
                                    << "" << "";
    QTest::newRow("count as text") << QVariantMap{{"Count", "1"}, {"0/Name", "a"}} << 1 << 0
                                   << "a" << "";
    QTest::newRow("long name cut to 80")
        << QVariantMap{{"Count", 1}, {"0/Name", QString(100, u'n')}} << 1 << 0
        << QString(80, u'n') << "";
    QTest::newRow("cut that ends in blanks trimmed again")
        << QVariantMap{{"Count", 1}, {"0/Name", QString(78, u'n') + "   tail"}} << 1 << 0
        << QString(78, u'n') << "";
    QTest::newRow("name trimmed") << QVariantMap{{"Count", 1}, {"0/Name", "  padded \t"}} << 1
                                  << 0 << "padded" << "";
    QTest::newRow("empty name numbered from 1")
        << QVariantMap{{"Count", 2}, {"0/Name", "first"}, {"1/Name", "   "}} << 2 << 1
        << "Script 2" << "";
    QTest::newRow("mixed line ends")
        << QVariantMap{{"Count", 1}, {"0/Name", "x"}, {"0/Source", "a\r\nb\rc\nd\r\r\n"}} << 1
        << 0 << "x" << "a\nb\nc\nd\n\n";
    // 262143 ASCII bytes and a two-byte character: the character does not fit.
    QTest::newRow("source cut at a whole character")
        << QVariantMap{{"Count", 1}, {"0/Name", "x"},
                       {"0/Source", QString(262143, u'a') + QChar(0xE9)}}
        << 1 << 0 << "x" << QString(262143, u'a');
    QTest::newRow("source at the limit stands")
        << QVariantMap{{"Count", 1}, {"0/Name", "x"},
                       {"0/Source", QString(262142, u'a') + QChar(0xE9)}}
        << 1 << 0 << "x" << QString(262142, u'a') + QChar(0xE9);
}

void TestScriptLibrary::loadClamps()
{
    QFETCH(QVariantMap, stored);
    QFETCH(int, count);
    QFETCH(int, index);
    QSettings settings(dir.filePath(QStringLiteral("%1.vlm").arg(QTest::currentDataTag())),
                       QSettings::IniFormat);
    for (auto it = stored.cbegin(); it != stored.cend(); ++it) {
        settings.setValue(QStringLiteral("ScriptLibrary/Scripts/") + it.key(), it.value());
    }
    settings.sync();
    QSettings reread(settings.fileName(), QSettings::IniFormat);
    const ScriptLibrary library = ScriptLibraryCodec::load(reread, Prefix);
    QCOMPARE(library.scripts.size(), count);
    if (index >= 0) {
        QTEST(library.scripts.at(index).name, "name");
        QTEST(library.scripts.at(index).source, "source");
    }
}

void TestScriptLibrary::samplesSeedAnEmptyProject()
{
    QSettings settings(dir.filePath(QStringLiteral("empty.vlm")), QSettings::IniFormat);
    const ScriptLibrary library = ScriptLibraryCodec::loadOrSamples(settings, Prefix);
    QCOMPARE(library.scripts.size(), ScriptLibrary::SampleCount);
    for (const Script &script : library.scripts) {
        QVERIFY(!script.source.contains(u'\r'));
        QString error;
        int line = 0;
        QVERIFY2(ScriptEngine::checkSyntax(script.source, &error, &line), qPrintable(error));
    }
    // A project that saved an empty library keeps it empty.
    ScriptLibraryCodec::save(settings, Prefix, ScriptLibrary());
    QCOMPARE(ScriptLibraryCodec::loadOrSamples(settings, Prefix).scripts.size(), 0);
}

void TestScriptLibrary::uniqueName()
{
    ScriptLibrary library;
    library.scripts = {Script{"New script", {}}, Script{"New script (2)", {}},
                       Script{QString(80, u'x'), {}}};
    QCOMPARE(library.uniqueName("Other"), "Other");
    QCOMPARE(library.uniqueName("New script"), "New script (3)");
    QCOMPARE(library.uniqueName("New script", 0), "New script");
    QCOMPARE(library.uniqueName(QString(80, u'x')), QString(76, u'x') + " (2)");
}

void TestScriptLibrary::readScriptFile_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("name"); // empty when refused
    QTest::addColumn<int>("sourceLength");
    QTest::addColumn<QString>("error");

    const QString tooLarge = QStringLiteral("%1 is larger than 256 KB, the most a script can be.");
    QTest::newRow("largest with a byte order mark")
        << "big.lua" << Bom + QByteArray(262144, 'a') << "big" << 262144 << "";
    QTest::newRow("one byte more with a byte order mark")
        << "big.lua" << Bom + QByteArray(262145, 'a') << "" << 0 << tooLarge.arg("big.lua");
    QTest::newRow("largest without a byte order mark")
        << "plain.lua" << QByteArray(262144, 'a') << "plain" << 262144 << "";
    QTest::newRow("one byte more without a byte order mark")
        << "plain.lua" << QByteArray(262145, 'a') << "" << 0 << tooLarge.arg("plain.lua");
    // The limit is on the script as kept, with "\n" line ends: an exported script of
    // the largest size, written with "\r\n", imports again.
    QTest::newRow("largest with CR LF line ends")
        << "crlf.lua" << QByteArray("\r\n").repeated(262144) << "crlf" << 262144 << "";
    QTest::newRow("one line more with CR LF line ends")
        << "crlf.lua" << QByteArray("\r\n").repeated(262145) << "" << 0
        << tooLarge.arg("crlf.lua");
    // Text in another encoding is refused for what it is, however long.
    const QString notUtf8 = QStringLiteral("%1 is not UTF-8 text. Save it with the UTF-8 "
                                           "encoding and import it again.");
    QTest::newRow("invalid UTF-8 beyond the limit")
        << "binary.lua" << QByteArray(100000, '\xff') << "" << 0 << notUtf8.arg("binary.lua");
    QTest::newRow("a Latin-1 comment")
        << "latin1.lua" << QByteArray("-- Gr\xfc\xdf" "e\nprint(1)") << "" << 0
        << notUtf8.arg("latin1.lua");
    QTest::newRow("empty file") << "empty.lua" << QByteArray() << "empty" << 0 << "";
    QTest::newRow("byte order mark dropped")
        << "bom.lua" << Bom + QByteArray("print(1)") << "bom" << 8 << "";
    QTest::newRow("name with dots") << "my.test.script.lua" << QByteArray("x = nil")
                                    << "my.test.script" << 7 << "";
    QTest::newRow("no base name") << ".lua" << QByteArray("x = nil") << "Imported" << 7 << "";
    QTest::newRow("line ends") << "ends.lua" << QByteArray("a\r\nb\rc\n") << "ends" << 6 << "";
}

void TestScriptLibrary::readScriptFile()
{
    QFETCH(QString, fileName);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, name);
    QFETCH(int, sourceLength);
    const QString path = writeFile(dir, fileName, bytes);
    QVERIFY(!path.isEmpty());
    Script script{"untouched", "untouched"};
    QString error;
    const bool ok = ScriptLibraryCodec::readScriptFile(path, &script, &error);
    QCOMPARE(ok, !name.isEmpty());
    QTEST(error, "error");
    if (ok) {
        QCOMPARE(script.name, name);
        QCOMPARE(script.source.size(), sourceLength);
        QVERIFY(!script.source.contains(u'\r'));
        QVERIFY(!script.source.startsWith(QChar(0xFEFF)));
    } else {
        QCOMPARE(script, (Script{"untouched", "untouched"}));
    }
}

void TestScriptLibrary::fileErrors()
{
    Script script;
    QString error;
    const QString missing = dir.filePath(QStringLiteral("missing.lua"));
    QVERIFY(!ScriptLibraryCodec::readScriptFile(missing, &script, &error));
    QVERIFY2(error.startsWith(QStringLiteral("Cannot open %1: ").arg(missing)), qPrintable(error));
    // A folder cannot be written as a file.
    QVERIFY(!ScriptLibraryCodec::writeScriptFile(dir.path(), Script{"x", "y"}, &error));
    QVERIFY2(error.startsWith(QStringLiteral("Cannot write %1: ").arg(dir.path())),
             qPrintable(error));
}

void TestScriptLibrary::writeUsesCrLf()
{
    const QString path = dir.filePath(QStringLiteral("out.lua"));
    const Script script{"out", "-- Grüße\nprint(1)\n\nprint(2)"};
    QString error;
    QVERIFY2(ScriptLibraryCodec::writeScriptFile(path, script, &error), qPrintable(error));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("-- Gr\xC3\xBC\xC3\x9F" "e\r\nprint(1)\r\n\r\nprint(2)"));
    Script back;
    QVERIFY(ScriptLibraryCodec::readScriptFile(path, &back, &error));
    QCOMPARE(back, script);
}

QTEST_MAIN(TestScriptLibrary)
#include "tst_scriptlibrary.moc"
