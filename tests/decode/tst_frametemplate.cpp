#include "decode/frameinterpreter.h"
#include "decode/frametemplatecodec.h"
#include "decode/frametemplatetext.h"
#include "templates.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(FrameTemplate)
Q_DECLARE_METATYPE(FieldSpec)
Q_DECLARE_METATYPE(Endian)
Q_DECLARE_METATYPE(FrameStatus)

namespace {

QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}

FieldSpec field(FieldType type, int offset, int length = 0)
{
    FieldSpec f;
    f.name = QStringLiteral("f");
    f.type = type;
    f.offset = offset;
    f.length = length;
    return f;
}

} // namespace

class TestFrameTemplate : public QObject
{
    Q_OBJECT
private slots:
    void byteOrders_data();
    void byteOrders();
    void fieldValues_data();
    void fieldValues();
    void frameLength_data();
    void frameLength();
    void checks_data();
    void checks();
    void validate_data();
    void validate();
    void codec();
    void textForms();
};

void TestFrameTemplate::byteOrders_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Endian>("endian");
    QTest::addColumn<quint64>("value");
    QTest::newRow("big") << hex("01020304") << Endian::Big << quint64(0x01020304);
    QTest::newRow("little") << hex("01020304") << Endian::Little << quint64(0x04030201);
    QTest::newRow("word swap") << hex("01020304") << Endian::WordSwap << quint64(0x03040102);
    QTest::newRow("byte swap") << hex("01020304") << Endian::ByteSwap << quint64(0x02010403);
    QTest::newRow("word swap, 8 bytes")
        << hex("0102030405060708") << Endian::WordSwap << quint64(0x0708050603040102);
    QTest::newRow("word swap, 3 bytes reads big") << hex("010203") << Endian::WordSwap
                                                  << quint64(0x010203);
    QTest::newRow("byte swap, 3 bytes reads little") << hex("010203") << Endian::ByteSwap
                                                     << quint64(0x030201);
}

void TestFrameTemplate::byteOrders()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Endian, endian);
    QTEST(FrameInterpreter::readUnsigned(bytes, endian), "value");
}

void TestFrameTemplate::fieldValues_data()
{
    QTest::addColumn<FieldSpec>("spec");
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<bool>("bad");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *name, FieldSpec f, const char *frame, const QString &text,
                        bool bad = false) {
        QTest::newRow(name) << f << hex(frame) << true << bad << text;
    };
    row("U16", field(FieldType::U16, 1), "00 01 02", "258");
    FieldSpec little = field(FieldType::U16, 0);
    little.endian = Endian::Little;
    row("U16 little", little, "01 02", "513");
    row("I16 negative", field(FieldType::I16, 0), "FF FE", "-2");
    row("U64 all ones", field(FieldType::U64, 0), "FFFFFFFFFFFFFFFF", "18446744073709551615");
    FieldSpec scaled = field(FieldType::I8, 0);
    scaled.scale = 0.5;
    scaled.addend = 1;
    scaled.decimals = 2;
    scaled.unit = QStringLiteral("V");
    row("I8 scaled, two decimals, unit", scaled, "F6", "-4.00 V");
    FieldSpec tenth = field(FieldType::U16, 0);
    tenth.scale = 0.1;
    row("U16 scaled, automatic decimals", tenth, "007B", "12.3");
    FieldSpec onOff = field(FieldType::U8, 0);
    onOff.labels = QStringLiteral(" 0 = Off ;; 1=On ");
    row("label", onOff, "01", "On");
    row("no label for the value shows it", onOff, "02", "2");
    FieldSpec absent = field(FieldType::I16, 0);
    absent.labels = QStringLiteral("-1=minus one;0xFFFE=absent");
    row("a hex label names the raw bits", absent, "FFFE", "absent");
    row("a decimal label the signed value", absent, "FFFF", "minus one");
    row("F32", field(FieldType::F32, 0), "41200000", "10");
    FieldSpec floatLittle = field(FieldType::F32, 0);
    floatLittle.endian = Endian::Little;
    floatLittle.decimals = 1;
    row("F32 little, one decimal", floatLittle, "00002041", "10.0");
    row("F64", field(FieldType::F64, 0), "400921FB54442D18", "3.14159265358979");
    row("Hex of a length", field(FieldType::Hex, 1, 2), "00 AB CD 00", "AB CD");
    // The template's trailer is 0D: "up to the checksum" stops before it.
    row("Hex up to the checksum", field(FieldType::Hex, 1), "00 AB CD 0D", "AB CD");
    row("ASCII, 127 as a box", field(FieldType::Ascii, 0, 3), "417F42",
        QStringLiteral("A\u25A1B"));
    FieldSpec bits = field(FieldType::Bits, 0, 1);
    bits.bitStart = 5;
    bits.bitCount = 3;
    row("Bits 5..7", bits, "E0", "7");
    FieldSpec wordBits = field(FieldType::Bits, 0, 2);
    wordBits.endian = Endian::Little;
    wordBits.bitStart = 8;
    wordBits.bitCount = 4;
    row("Bits of a little-endian word", wordBits, "1A 0A", "10");
    FieldSpec when = field(FieldType::U8, 1);
    when.whenOffset = 0;
    when.whenValue = 0x01;
    row("when the byte matches", when, "01 05", "5");
    QTest::newRow("when the byte differs") << when << hex("02 05") << false << false << QString();
    when.whenOffset = 10;
    QTest::newRow("when beyond the frame") << when << hex("01 05") << false << false << QString();
    row("reaching beyond the frame", field(FieldType::U32, 2), "00 01 02 03", QStringLiteral("—"),
        true);
    row("Hex to the checksum, nothing there", field(FieldType::Hex, 3), "00 01 02 0D",
        QStringLiteral("—"), true);
}

void TestFrameTemplate::fieldValues()
{
    QFETCH(FieldSpec, spec);
    QFETCH(QByteArray, frame);
    QFETCH(bool, shown);
    QFETCH(bool, bad);
    QFETCH(QString, text);
    FrameTemplate t;
    t.trailer = hex("0D");
    t.fields = {spec};
    const QList<DecodedField> rows = FrameInterpreter::explain(t, frame);
    // The trailer row always follows.
    QCOMPARE(rows.size(), shown ? 2 : 1);
    if (shown) {
        QCOMPARE(rows.first().value, text);
        QCOMPARE(rows.first().bad, bad);
        QVERIFY(rows.first().offset + rows.first().length <= frame.size());
    }
    QCOMPARE(FrameInterpreter::summary(t, frame),
             shown && !bad ? QStringLiteral("f=") + text : QString());
}

void TestFrameTemplate::frameLength_data()
{
    QTest::addColumn<FrameTemplate>("t");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("length");

    FrameTemplate sum8;
    sum8.header = hex("AA55");
    sum8.checksum.kind = ChecksumSpec::Sum8;
    QTest::newRow("to the checksum: 2 + 1 + 3 + 1") << sum8 << hex("AA5503") << qint64(7);
    QTest::newRow("length field not here yet") << sum8 << hex("AA55") << qint64(0);
    sum8.maxFrameBytes = 16;
    QTest::newRow("above the largest frame") << sum8 << hex("AA5510") << qint64(-1);
    FrameTemplate whole = sum8;
    whole.lengthScope = FrameTemplate::WholeFrame;
    QTest::newRow("whole frame") << whole << hex("AA5509") << qint64(9);
    QTest::newRow("below the smallest frame") << whole << hex("AA5503") << qint64(-1);
    FrameTemplate after;
    after.header = hex("7E");
    after.lengthOffset = 1;
    after.lengthWidth = 2;
    after.lengthEndian = Endian::Little;
    after.lengthScope = FrameTemplate::AfterField;
    after.lengthAdjust = -1;
    after.trailer = hex("0D0A");
    QTest::newRow("after the field, little, adjusted") << after << hex("7E0500") << qint64(7);
    FrameTemplate fixed;
    fixed.framing = FrameTemplate::HeaderFixed;
    fixed.header = hex("AA");
    QTest::newRow("fixed") << fixed << hex("AA") << qint64(8);
    FrameTemplate delimited;
    delimited.framing = FrameTemplate::Delimited;
    QTest::newRow("a delimiter never tells") << delimited << hex("AA5503") << qint64(-1);
}

void TestFrameTemplate::frameLength()
{
    QFETCH(FrameTemplate, t);
    QFETCH(QByteArray, bytes);
    QTEST(FrameInterpreter::frameLength(t, bytes), "length");
}

void TestFrameTemplate::checks_data()
{
    QTest::addColumn<FrameTemplate>("t");
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<FrameStatus>("status");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QStringList>("checkRows"); // name=value of the rows after the fields

    const FrameTemplate sensor = templates::sensor();
    const QString values = QStringLiteral("cmd=1, status=Run, channel=2, value=10");
    QTest::newRow("the sensor frame") << sensor << templates::sensorFrame() << FrameStatus::Ok
                                      << values << QStringList{"Checksum=0x6C OK"};
    FrameTemplate fromZero = sensor;
    fromZero.checksumStart = 0;
    QTest::newRow("checksum from byte 0")
        << fromZero << templates::sensorFrame() << FrameStatus::ChecksumError << values
        << QStringList{"Checksum=0x6C (expected 0x6B)"};
    FrameTemplate late = sensor;
    late.checksumStart = 20;
    QTest::newRow("checksum cannot be placed")
        << late << templates::sensorFrame() << FrameStatus::Malformed << values
        << QStringList{QStringLiteral("Checksum=—")};

    // CRC-16/MODBUS, low byte first, and a trailer.
    FrameTemplate crc;
    crc.header = hex("7E");
    crc.lengthOffset = 1;
    crc.checksum.kind = ChecksumSpec::Crc;
    crc.checksumStart = 2;
    crc.trailer = hex("0D0A");
    crc.fields = {field(FieldType::Ascii, 2, 9)};
    QTest::newRow("CRC-16/MODBUS and a trailer")
        << crc << QByteArray("\x7E\x09" "123456789" "\x37\x4B\r\n", 15) << FrameStatus::Ok
        << "f=123456789" << QStringList{"Checksum=0x4B37 OK", "Trailer=0D 0A"};
    QTest::newRow("wrong trailer")
        << crc << QByteArray("\x7E\x09" "123456789" "\x37\x4B\r\r", 15)
        << FrameStatus::Malformed << "f=123456789"
        << QStringList{"Checksum=0x4B37 OK", "Trailer=0D 0D (expected 0D 0A)"};
    FrameTemplate custom = crc;
    custom.checksum.crc = ChecksumSpec::CustomCrc; // CRC-16/CCITT-FALSE, stored big
    custom.checksumOrder = Endian::Big;
    custom.framing = FrameTemplate::Delimited;
    custom.delimiter = hex("0D0A");
    custom.fields.clear();
    QTest::newRow("custom CRC, delimiter")
        << custom << QByteArray("\x7E\x09" "123456789" "\x29\xB1\r\n", 15) << FrameStatus::Ok
        << QString() << QStringList{"Checksum=0x29B1 OK", "Delimiter=0D 0A"};
    FrameTemplate sums;
    sums.checksum.kind = ChecksumSpec::Sum16;
    sums.checksumOrder = Endian::Big;
    QTest::newRow("SUM16") << sums << hex("FF FF 01 FE") << FrameStatus::Ok << QString()
                           << QStringList{"Checksum=0x01FE OK"};
    sums.checksum.kind = ChecksumSpec::Xor8;
    QTest::newRow("XOR8") << sums << hex("F0 0F FF") << FrameStatus::Ok << QString()
                          << QStringList{"Checksum=0xFF OK"};
}

void TestFrameTemplate::checks()
{
    QFETCH(FrameTemplate, t);
    QFETCH(QByteArray, frame);
    QTEST(FrameInterpreter::frameStatus(t, frame), "status");
    QTEST(FrameInterpreter::summary(t, frame), "summary");
    QStringList rows;
    for (const DecodedField &row : FrameInterpreter::explain(t, frame).sliced(t.fields.size())) {
        rows.append(row.name + u'=' + row.value);
        QCOMPARE(row.bad, !row.value.endsWith(QLatin1String("OK")) &&
                              !row.value.endsWith(QLatin1String("0D 0A")));
    }
    QTEST(rows, "checkRows");
}

void TestFrameTemplate::validate_data()
{
    QTest::addColumn<FrameTemplate>("t");
    QTest::addColumn<QString>("error");

    const FrameTemplate good = templates::sensor();
    QTest::newRow("valid") << good << QString();
    const auto bad = [&good](const char *error, const std::function<void(FrameTemplate &)> &edit) {
        FrameTemplate t = good;
        edit(t);
        QTest::newRow(error) << t << QString::fromUtf8(error);
    };
    bad("The template needs a name.", [](FrameTemplate &t) { t.name = QStringLiteral("  "); });
    bad("Header framing needs at least one header byte.", [](FrameTemplate &t) {
        t.framing = FrameTemplate::HeaderFixed;
        t.header.clear();
    });
    bad("The header can be at most 16 bytes.", [](FrameTemplate &t) { t.header.fill('A', 17); });
    bad("The trailer can be at most 16 bytes.", [](FrameTemplate &t) { t.trailer.fill('A', 17); });
    bad("The maximum frame size must be between 4 and 4096 bytes.",
        [](FrameTemplate &t) { t.maxFrameBytes = 3; });
    bad("The frame timeout must be between 5 and 10000 ms.",
        [](FrameTemplate &t) { t.frameTimeoutMs = 10001; });
    bad("Delimiter framing needs a delimiter.", [](FrameTemplate &t) {
        t.framing = FrameTemplate::Delimited;
        t.delimiter.clear();
    });
    bad("The idle gap must be between 1 and 60000 ms.", [](FrameTemplate &t) {
        t.framing = FrameTemplate::IdleGap;
        t.idleGapMs = 0;
    });
    bad("The length field must be 1, 2 or 4 bytes wide.", [](FrameTemplate &t) { t.lengthWidth = 3; });
    bad("The length field lies beyond the maximum frame size.",
        [](FrameTemplate &t) { t.lengthOffset = 1024; });
    bad("The length adjustment must be between -64 and 64.",
        [](FrameTemplate &t) { t.lengthAdjust = -65; });
    bad("The fixed length is shorter than the header, checksum and trailer together.",
        [](FrameTemplate &t) {
            t.framing = FrameTemplate::HeaderFixed;
            t.fixedLength = 2; // header 2 + SUM8 1
        });
    bad("The fixed length exceeds the maximum frame size.", [](FrameTemplate &t) {
        t.framing = FrameTemplate::HeaderFixed;
        t.fixedLength = 1025;
    });
    bad("The checksum cannot start before the frame.", [](FrameTemplate &t) { t.checksumStart = -1; });
    bad("A custom CRC must be 1 to 64 bits wide.", [](FrameTemplate &t) {
        t.checksum.kind = ChecksumSpec::Crc;
        t.checksum.crc = ChecksumSpec::CustomCrc;
        t.checksum.width = 65;
    });
    bad("A template can have at most 128 fields.", [](FrameTemplate &t) { t.fields.resize(129); });
    bad("Field \"(unnamed)\" starts outside the frame.", [](FrameTemplate &t) {
        t.fields[0].name.clear();
        t.fields[0].offset = 1024;
    });
    bad("Field \"cmd\" has a negative length.", [](FrameTemplate &t) {
        t.fields[0].type = FieldType::Hex;
        t.fields[0].length = -1;
    });
    bad("Bit field \"cmd\" needs a 1, 2 or 4 byte container.",
        [](FrameTemplate &t) { t.fields[0].type = FieldType::Bits; });
    bad("Bit field \"cmd\" does not fit its container.", [](FrameTemplate &t) {
        t.fields[0].type = FieldType::Bits;
        t.fields[0].length = 1;
        t.fields[0].bitStart = 6;
        t.fields[0].bitCount = 3;
    });
    bad("Field \"cmd\" has an invalid condition.", [](FrameTemplate &t) { t.fields[0].whenOffset = -2; });
    bad("Field \"cmd\" can show 0 to 15 decimals.", [](FrameTemplate &t) { t.fields[0].decimals = 16; });
}

void TestFrameTemplate::validate()
{
    QFETCH(FrameTemplate, t);
    QFETCH(QString, error);
    QString why = QStringLiteral("stale");
    QCOMPARE(t.validate(&why), error.isEmpty());
    QCOMPARE(why, error);
}

void TestFrameTemplate::codec()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.vlm"));
    const QString prefix = FrameTemplateCodec::projectPrefix();

    // Every value away from its default survives a file, and a shorter list leaves nothing
    // of a longer one behind.
    FrameTemplate full = templates::sensor();
    full.name = QStringLiteral("Full, with a comma");
    full.framing = FrameTemplate::Delimited;
    full.lengthOffset = 3;
    full.lengthWidth = 2;
    full.lengthEndian = Endian::ByteSwap;
    full.lengthScope = FrameTemplate::WholeFrame;
    full.lengthAdjust = -3;
    full.fixedLength = 12;
    full.delimiter = hex("0A");
    full.idleGapMs = 7;
    full.trailer = hex("EE FF");
    full.checksum = {ChecksumSpec::Crc, ChecksumSpec::CustomCrc, 64, ~quint64(0) - 1, 1, 2,
                     true, true};
    full.checksumStart = 1;
    full.checksumOrder = Endian::WordSwap;
    full.maxFrameBytes = 4096;
    full.frameTimeoutMs = 5;
    FieldSpec every;
    every = {QStringLiteral("t, °C"), 9, FieldType::Bits, 4, 3, 5, Endian::Little, -0.25, 1e-3,
             15, QStringLiteral("°C"), QStringLiteral("0x0=off; 1=on"), 4, 0xA5};
    full.fields.append(every);
    FrameTemplate crc32 = templates::sensor();
    crc32.checksum.kind = ChecksumSpec::Crc;
    crc32.checksum.crc = 7;
    {
        QSettings file(path, QSettings::IniFormat);
        FrameTemplateCodec::save(file, prefix, {full, crc32, FrameTemplate()});
        FrameTemplateCodec::save(file, prefix, {full, crc32});
        FrameTemplateCodec::saveChoice(file, QStringLiteral("0/Decode"),
                                       {DecoderChoice::Template, QStringLiteral("Sensor"), true});
    }
    {
        QSettings file(path, QSettings::IniFormat);
        QVERIFY(FrameTemplateCodec::contains(file, prefix));
        QVERIFY(!FrameTemplateCodec::contains(file, QStringLiteral("Other/")));
        QCOMPARE(FrameTemplateCodec::load(file, prefix), (QList<FrameTemplate>{full, crc32}));
        QVERIFY(!file.contains(prefix + QStringLiteral("FrameTemplates/2/Name")));
        QCOMPARE(file.value(prefix + QStringLiteral("FrameTemplates/1/ChecksumCrc")).toString(),
                 QStringLiteral("CRC-32"));
        const DecoderChoice choice = FrameTemplateCodec::loadChoice(file, QStringLiteral("0/Decode"));
        QCOMPARE(choice, (DecoderChoice{DecoderChoice::Template, QStringLiteral("Sensor"), true}));
        // A choice of a template that is gone falls back to none.
        QCOMPARE(FrameTemplateCodec::withKnownTemplate(choice, {crc32}), choice);
        QCOMPARE(FrameTemplateCodec::withKnownTemplate(choice, {full}),
                 (DecoderChoice{DecoderChoice::None, QString(), true}));
        QCOMPARE(FrameTemplateCodec::loadChoice(file, QStringLiteral("1/Decode")), DecoderChoice{});
    }

    // A hand-edited file: numbers clamped, unknown names and words give defaults, the rest
    // kept even where validate() then refuses it.
    {
        QSettings file(path, QSettings::IniFormat);
        const QString g = prefix + QStringLiteral("FrameTemplates/0/");
        file.setValue(g + "Fields/0/Decimals", 20);
        file.setValue(g + "LengthWidth", 3);
        file.setValue(g + "MaxFrameBytes", 1);
        file.setValue(g + "ChecksumCrc", QStringLiteral("CRC-99/NOPE"));
        file.setValue(g + "Checksum", 9);
        file.setValue(g + "Framing", QStringLiteral("lots"));
        file.setValue(g + "Header", QStringLiteral("zz"));
        file.setValue(g + "Fields/0/Scale", QStringLiteral("nan"));
        file.setValue(prefix + QStringLiteral("FrameTemplates/Count"), 999);
    }
    QSettings file(path, QSettings::IniFormat);
    const QList<FrameTemplate> loaded = FrameTemplateCodec::load(file, prefix);
    QCOMPARE(loaded.size(), 256);
    const FrameTemplate &edited = loaded.at(0);
    QCOMPARE(edited.fields.first().decimals, 15);
    QCOMPARE(edited.fields.first().scale, 1.0);
    QCOMPARE(edited.lengthWidth, 3);
    QCOMPARE(edited.maxFrameBytes, 4);
    QCOMPARE(edited.checksum.crc, 5);
    QCOMPARE(edited.checksum.kind, ChecksumSpec::Crc);
    QCOMPARE(edited.framing, FrameTemplate::HeaderLength);
    QVERIFY(edited.header.isEmpty());
    QCOMPARE(loaded.at(2), FrameTemplate()); // entries the file lacks read as defaults
    QString why;
    FrameTemplate widthThree = templates::sensor();
    widthThree.lengthWidth = edited.lengthWidth;
    QVERIFY(!widthThree.validate(&why));
    QCOMPARE(why, QStringLiteral("The length field must be 1, 2 or 4 bytes wide."));

    // What the command line uses: a template of a project by name.
    FrameTemplate found;
    QVERIFY(FrameTemplateCodec::loadFromProject(path, QStringLiteral(" Sensor "), &found, &why));
    QCOMPARE(found, crc32);
    QVERIFY(why.isEmpty());
    QVERIFY(!FrameTemplateCodec::loadFromProject(path, QStringLiteral("Nope"), &found, &why));
    QVERIFY2(why.startsWith(QStringLiteral("There is no frame template called \"Nope\" in ")) &&
                 why.contains(QStringLiteral(". Its frame templates: \"Full, with a comma\", "
                                             "\"Sensor\", \"\", ")),
             qPrintable(why));
    QVERIFY(!FrameTemplateCodec::loadFromProject(path, QStringLiteral("Full, with a comma"), &found,
                                                 &why));
    QCOMPARE(why, QStringLiteral("The frame template \"Full, with a comma\" cannot decode: "
                                 "Header framing needs at least one header byte."));
    QVERIFY(!FrameTemplateCodec::loadFromProject(dir.filePath(QStringLiteral("none.vlm")),
                                                 QStringLiteral("Sensor"), &found, &why));
    QVERIFY(why.startsWith(QStringLiteral("The project file ")));
}

void TestFrameTemplate::textForms()
{
    QByteArray bytes;
    QString error;
    QVERIFY(FrameTemplateText::parseHex(QStringLiteral(" 0xAA,55;0a:0B-0c\t"), &bytes, &error));
    QCOMPARE(bytes, hex("AA550A0B0C"));
    QCOMPARE(FrameTemplateText::formatHex(bytes), QStringLiteral("AA 55 0A 0B 0C"));
    QVERIFY(!FrameTemplateText::parseHex(QStringLiteral("AG"), &bytes, &error));
    QCOMPARE(error, QStringLiteral("Only hex digits (0-9, A-F) are allowed."));
    QVERIFY(!FrameTemplateText::parseHex(QStringLiteral("AA 5"), &bytes, &error));
    QCOMPARE(error, QStringLiteral("Hex bytes need two digits each."));

    int offset = 0;
    int value = 0;
    QVERIFY(FrameTemplateText::parseWhen(QStringLiteral(" 3 = 0x1 "), &offset, &value));
    QCOMPARE(FrameTemplateText::formatWhen(offset, value), QStringLiteral("3=01"));
    QVERIFY(FrameTemplateText::parseWhen(QString(), &offset, &value));
    QCOMPARE(offset, -1);
    QCOMPARE(FrameTemplateText::formatWhen(offset, value), QString());
    for (const char *wrong : {"3", "3=100", "4097=01", "-1=01", "x=01"}) {
        QVERIFY2(!FrameTemplateText::parseWhen(QString::fromLatin1(wrong), &offset, &value), wrong);
    }

    int start = 0;
    int count = 0;
    QVERIFY(FrameTemplateText::parseBits(QStringLiteral(" 5 .. 7 "), &start, &count));
    QCOMPARE(FrameTemplateText::formatBits(start, count), QStringLiteral("5..7"));
    QVERIFY(FrameTemplateText::parseBits(QStringLiteral("63"), &start, &count));
    QCOMPARE(FrameTemplateText::formatBits(start, count), QStringLiteral("63"));
    for (const char *wrong : {"64", "7..5", "5..", "a..b", ""}) {
        QVERIFY2(!FrameTemplateText::parseBits(QString::fromLatin1(wrong), &start, &count), wrong);
    }

    const QStringList taken = {QStringLiteral("Template"), QStringLiteral(" Meter "),
                               QStringLiteral("Meter (2)")};
    QCOMPARE(FrameTemplateText::uniqueName(QStringLiteral("  "), taken),
             QStringLiteral("Template (2)"));
    QCOMPARE(FrameTemplateText::uniqueName(QStringLiteral("Meter (2)"), taken),
             QStringLiteral("Meter (3)"));
    QCOMPARE(FrameTemplateText::uniqueName(QStringLiteral(" Pump "), taken), QStringLiteral("Pump"));
    QCOMPARE(FrameTemplateText::fieldTypes().size(), 13);
    QCOMPARE(FrameTemplateText::typeName(FrameTemplateText::fieldTypes().last()),
             QStringLiteral("Bits"));
}

QTEST_APPLESS_MAIN(TestFrameTemplate)
#include "tst_frametemplate.moc"
