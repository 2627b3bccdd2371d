#include "decode/frameinterpreter.h"
#include "decode/frametemplatecodec.h"
#include "decode/frametemplatetext.h"
#include "modbusframes.h"
#include "templates.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(FrameTemplate)
Q_DECLARE_METATYPE(FieldSpec)
Q_DECLARE_METATYPE(Endian)
Q_DECLARE_METATYPE(FrameStatus)

using frames::hex;

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
    QTest::newRow("word swap, 3 bytes reads big")
        << hex("010203") << Endian::WordSwap << quint64(0x010203);
    QTest::newRow("byte swap, 3 bytes reads little")
        << hex("010203") << Endian::ByteSwap << quint64(0x030201);
}

void TestFrameTemplate::byteOrders()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Endian, endian);
    QTEST(FrameInterpreter::readUnsigned(bytes, endian), "value");
}

void TestFrameTemplate::fieldValues_data()
{
    QTest::addColumn<FieldSpec>("field");
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<bool>("bad");
    QTest::addColumn<QString>("text");

    using T = FieldType;
    const auto row = [](const char *name, const FieldSpec &f, const char *frame,
                        const QString &text, bool bad = false) {
        QTest::newRow(name) << f << hex(frame) << true << bad << text;
    };
    row("U16", {.offset = 1, .type = T::U16}, "00 01 02", "258");
    row("I16 negative", {.type = T::I16}, "FF FE", "-2");
    row("I8 scaled, two decimals, unit",
        {.type = T::I8, .scale = 0.5, .addend = 1, .decimals = 2, .unit = "V"}, "F6", "-4.00 V");
    row("U16 scaled, automatic decimals", {.type = T::U16, .scale = 0.1}, "007B", "12.3");
    const FieldSpec onOff{.labels = " 0 = Off ;; 1=On "};
    row("label", onOff, "01", "On");
    row("no label for the value shows it", onOff, "02", "2");
    const FieldSpec absent{.type = T::I16, .labels = "-1=minus one;0xFFFE=absent"};
    row("a hex label names the raw bits", absent, "FFFE", "absent");
    row("a decimal label the signed value", absent, "FFFF", "minus one");
    row("F32", {.type = T::F32}, "41200000", "10");
    row("F32 little, one decimal", {.type = T::F32, .endian = Endian::Little, .decimals = 1},
        "00002041", "10.0");
    row("F64", {.type = T::F64}, "400921FB54442D18", "3.14159265358979");
    row("Hex of a length", {.offset = 1, .type = T::Hex, .length = 2}, "00 AB CD 00", "AB CD");
    // The template's trailer is 0D: "up to the checksum" stops before it.
    row("Hex up to the checksum", {.offset = 1, .type = T::Hex}, "00 AB CD 0D", "AB CD");
    row("ASCII, 127 as a box", {.type = T::Ascii, .length = 3}, "417F42", "A\u25A1B");
    row("Bits 5..7", {.type = T::Bits, .length = 1, .bitStart = 5, .bitCount = 3}, "E0", "7");
    row("Bits of a little-endian word",
        {.type = T::Bits, .length = 2, .bitStart = 8, .bitCount = 4, .endian = Endian::Little},
        "1A 0A", "10");
    FieldSpec when{.offset = 1, .whenOffset = 0, .whenValue = 0x01};
    row("when the byte matches", when, "01 05", "5");
    QTest::newRow("when the byte differs") << when << hex("02 05") << false << false << QString();
    when.whenOffset = 10;
    QTest::newRow("when beyond the frame") << when << hex("01 05") << false << false << QString();
    row("reaching beyond the frame", {.offset = 2, .type = T::U32}, "00 01 02 03", "—", true);
    row("Hex to the checksum, nothing there", {.offset = 3, .type = T::Hex}, "00 01 02 0D", "—",
        true);
}

void TestFrameTemplate::fieldValues()
{
    QFETCH(FieldSpec, field);
    QFETCH(QByteArray, frame);
    QFETCH(bool, shown);
    QFETCH(bool, bad);
    QFETCH(QString, text);
    FrameTemplate t;
    t.trailer = hex("0D");
    field.name = "f";
    t.fields = {field};
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

    const ChecksumSpec sum8{.kind = ChecksumSpec::Sum8};
    const FrameTemplate scope2{.header = hex("AA55"), .checksum = sum8, .maxFrameBytes = 16};
    QTest::newRow("to the checksum: 2 + 1 + 3 + 1") << scope2 << hex("AA5503") << qint64(7);
    QTest::newRow("length field not here yet") << scope2 << hex("AA55") << qint64(0);
    QTest::newRow("above the largest frame") << scope2 << hex("AA5510") << qint64(-1);
    const FrameTemplate whole{
        .header = hex("AA55"), .lengthScope = FrameTemplate::WholeFrame, .checksum = sum8};
    QTest::newRow("whole frame") << whole << hex("AA5509") << qint64(9);
    QTest::newRow("below the smallest frame") << whole << hex("AA5503") << qint64(-1);
    const FrameTemplate after{.header = hex("7E"),
                              .lengthOffset = 1,
                              .lengthWidth = 2,
                              .lengthEndian = Endian::Little,
                              .lengthScope = FrameTemplate::AfterField,
                              .lengthAdjust = -1,
                              .trailer = hex("0D0A")};
    QTest::newRow("after the field, little, adjusted") << after << hex("7E0500") << qint64(7);
    QTest::newRow("fixed") << FrameTemplate{.framing = FrameTemplate::HeaderFixed,
                                            .header = hex("AA")}
                           << hex("AA") << qint64(8);
    QTest::newRow("a delimiter never tells")
        << FrameTemplate{.framing = FrameTemplate::Delimited} << hex("AA5503") << qint64(-1);
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

    // CRC-16/MODBUS, low byte first, and a trailer; a custom CRC (CCITT-FALSE) stored big
    // before a delimiter; the two sums.
    const ChecksumSpec modbus{.kind = ChecksumSpec::Crc};
    const FrameTemplate crc{
        .header = hex("7E"),
        .lengthOffset = 1,
        .trailer = hex("0D0A"),
        .checksum = modbus,
        .checksumStart = 2,
        .fields = {{.name = "f", .offset = 2, .type = FieldType::Ascii, .length = 9}}};
    const QByteArray digits = "\x7E\x09"
                              "123456789";
    QTest::newRow("CRC-16/MODBUS and a trailer")
        << crc << digits + "\x37\x4B\r\n"
        << FrameStatus::Ok << "f=123456789" << QStringList{"Checksum=0x4B37 OK", "Trailer=0D 0A"};
    QTest::newRow("wrong trailer")
        << crc << digits + "\x37\x4B\r\r" << FrameStatus::Malformed << "f=123456789"
        << QStringList{"Checksum=0x4B37 OK", "Trailer=0D 0D (expected 0D 0A)"};
    const FrameTemplate custom{
        .framing = FrameTemplate::Delimited,
        .delimiter = hex("0D0A"),
        .checksum = {.kind = ChecksumSpec::Crc, .crc = ChecksumSpec::CustomCrc},
        .checksumStart = 2,
        .checksumOrder = Endian::Big};
    QTest::newRow("custom CRC, delimiter")
        << custom << digits + "\x29\xB1\r\n"
        << FrameStatus::Ok << QString() << QStringList{"Checksum=0x29B1 OK", "Delimiter=0D 0A"};
    QTest::newRow("SUM16") << FrameTemplate{.checksum = {.kind = ChecksumSpec::Sum16},
                                            .checksumOrder = Endian::Big}
                           << hex("FF FF 01 FE") << FrameStatus::Ok << QString()
                           << QStringList{"Checksum=0x01FE OK"};
    QTest::newRow("XOR8") << FrameTemplate{.checksum = {.kind = ChecksumSpec::Xor8}}
                          << hex("F0 0F FF") << FrameStatus::Ok << QString()
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

    QTest::newRow("valid") << templates::sensor() << QString();
    using T = FrameTemplate;
    const auto bad = [](const char *error, const std::function<void(T &)> &edit) {
        T t = templates::sensor();
        edit(t);
        QTest::newRow(error) << t << QString::fromUtf8(error);
    };
    bad("The template needs a name.", [](T &t) { t.name = "  "; });
    bad("Header framing needs at least one header byte.",
        [](T &t) { t.framing = T::HeaderFixed, t.header.clear(); });
    bad("The header can be at most 16 bytes.", [](T &t) { t.header.fill('A', 17); });
    bad("The trailer can be at most 16 bytes.", [](T &t) { t.trailer.fill('A', 17); });
    bad("The maximum frame size must be between 4 and 4096 bytes.",
        [](T &t) { t.maxFrameBytes = 3; });
    bad("The frame timeout must be between 5 and 10000 ms.",
        [](T &t) { t.frameTimeoutMs = 10001; });
    bad("Delimiter framing needs a delimiter.",
        [](T &t) { t.framing = T::Delimited, t.delimiter = {}; });
    bad("The delimiter can be at most 16 bytes.",
        [](T &t) { t.framing = T::Delimited, t.delimiter.fill('A', 17); });
    bad("The idle gap must be between 1 and 60000 ms.",
        [](T &t) { t.framing = T::IdleGap, t.idleGapMs = 0; });
    bad("The length field must be 1, 2 or 4 bytes wide.", [](T &t) { t.lengthWidth = 3; });
    bad("The length field lies beyond the maximum frame size.",
        [](T &t) { t.lengthOffset = 1024; });
    bad("The length adjustment must be between -64 and 64.", [](T &t) { t.lengthAdjust = -65; });
    bad("The fixed length is shorter than the header, checksum and trailer together.",
        [](T &t) { t.framing = T::HeaderFixed, t.fixedLength = 2; }); // header 2 + SUM8 1
    bad("The fixed length exceeds the maximum frame size.",
        [](T &t) { t.framing = T::HeaderFixed, t.fixedLength = 1025; });
    bad("The checksum cannot start before the frame.", [](T &t) { t.checksumStart = -1; });
    bad("A custom CRC must be 1 to 64 bits wide.", [](T &t) {
        t.checksum = {ChecksumSpec::Crc, ChecksumSpec::CustomCrc, 65};
    });
    bad("A template can have at most 128 fields.", [](T &t) { t.fields.resize(129); });
    bad("Field \"(unnamed)\" starts outside the frame.",
        [](T &t) { t.fields[0].name.clear(), t.fields[0].offset = 1024; });
    bad("Field \"cmd\" has a negative length.",
        [](T &t) { t.fields[0].type = FieldType::Hex, t.fields[0].length = -1; });
    bad("Bit field \"cmd\" needs a 1, 2 or 4 byte container.",
        [](T &t) { t.fields[0].type = FieldType::Bits; });
    bad("Bit field \"cmd\" does not fit its container.", [](T &t) {
        t.fields[0] = {
            .name = "cmd", .type = FieldType::Bits, .length = 1, .bitStart = 6, .bitCount = 3};
    });
    bad("Field \"cmd\" has an invalid condition.", [](T &t) { t.fields[0].whenOffset = -2; });
    bad("Field \"cmd\" can show 0 to 15 decimals.", [](T &t) { t.fields[0].decimals = 16; });
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
    const FrameTemplate full{.name = "Full, with a comma",
                             .framing = FrameTemplate::Delimited,
                             .header = hex("AA"),
                             .lengthOffset = 3,
                             .lengthWidth = 2,
                             .lengthEndian = Endian::ByteSwap,
                             .lengthScope = FrameTemplate::WholeFrame,
                             .lengthAdjust = -3,
                             .fixedLength = 12,
                             .delimiter = hex("0A"),
                             .idleGapMs = 7,
                             .trailer = hex("EE FF"),
                             .checksum = {ChecksumSpec::Crc, ChecksumSpec::CustomCrc, 64,
                                          ~quint64(0) - 1, 1, 2, true, true},
                             .checksumStart = 1,
                             .checksumOrder = Endian::WordSwap,
                             .maxFrameBytes = 4096,
                             .frameTimeoutMs = 5,
                             .fields = {{"t, °C", 9, FieldType::Bits, 4, 3, 5, Endian::Little,
                                         -0.25, 1e-3, 15, "°C", "0x0=off; 1=on", 4, 0xA5}}};
    FrameTemplate crc32 = templates::sensor();
    crc32.checksum = {.kind = ChecksumSpec::Crc, .crc = 7};
    const DecoderChoice choice{DecoderChoice::Template, "Sensor", true};
    {
        QSettings file(path, QSettings::IniFormat);
        FrameTemplateCodec::save(file, prefix, {full, crc32, FrameTemplate()});
        FrameTemplateCodec::save(file, prefix, {full, crc32});
        FrameTemplateCodec::saveChoice(file, "0/Decode", choice);
    }
    {
        QSettings file(path, QSettings::IniFormat);
        QVERIFY(FrameTemplateCodec::contains(file, prefix));
        QCOMPARE(FrameTemplateCodec::load(file, prefix), (QList<FrameTemplate>{full, crc32}));
        QVERIFY(!file.contains(prefix + "FrameTemplates/2/Name"));
        QCOMPARE(file.value(prefix + "FrameTemplates/1/ChecksumCrc").toString(), "CRC-32");
        QCOMPARE(FrameTemplateCodec::loadChoice(file, "0/Decode"), choice);
        QCOMPARE(FrameTemplateCodec::loadChoice(file, "1/Decode"), DecoderChoice{});
        // A choice of a template that is gone falls back to none.
        QCOMPARE(FrameTemplateCodec::withKnownTemplate(choice, {crc32}), choice);
        QCOMPARE(FrameTemplateCodec::withKnownTemplate(choice, {full}),
                 (DecoderChoice{DecoderChoice::None, QString(), true}));

        // A hand-edited file: numbers clamped, unknown names and words give defaults, the
        // rest kept even where validate() then refuses it.
        const QString g = prefix + "FrameTemplates/0/";
        file.setValue(g + "Fields/0/Decimals", 20);
        file.setValue(g + "Fields/0/Scale", "nan");
        file.setValue(g + "LengthWidth", 3);
        file.setValue(g + "MaxFrameBytes", 1);
        file.setValue(g + "ChecksumCrc", "CRC-99/NOPE");
        file.setValue(g + "Framing", "lots");
        file.setValue(g + "Header", "zz");
        file.setValue(prefix + "FrameTemplates/Count", 999);
    }
    QSettings file(path, QSettings::IniFormat);
    const QList<FrameTemplate> loaded = FrameTemplateCodec::load(file, prefix);
    QCOMPARE(loaded.size(), 256);
    FrameTemplate edited = full;
    edited.fields[0].decimals = 15;
    edited.fields[0].scale = 1.0;
    edited.lengthWidth = 3;
    edited.maxFrameBytes = 4;
    edited.checksum.crc = 5;
    edited.framing = FrameTemplate::HeaderLength;
    edited.header.clear();
    QCOMPARE(loaded.first(), edited);
    QCOMPARE(loaded.last(), FrameTemplate()); // entries the file lacks read as defaults
    QString why;
    edited.header = hex("AA");
    QVERIFY(!edited.validate(&why));
    QCOMPARE(why, QStringLiteral("The length field must be 1, 2 or 4 bytes wide."));

    // What the command line uses: a template of a project by name, ready to decode.
    FrameTemplate found;
    QVERIFY(FrameTemplateCodec::loadFromProject(path, " Sensor ", &found, &why));
    QCOMPARE(found, crc32);
    QVERIFY(!FrameTemplateCodec::loadFromProject(path, "Nope", &found, &why));
    QVERIFY2(why.startsWith("There is no frame template called \"Nope\" in ") &&
                 why.contains(". Its frame templates: \"Full, with a comma\", \"Sensor\", "),
             qPrintable(why));
    QVERIFY(!FrameTemplateCodec::loadFromProject(path, "Full, with a comma", &found, &why));
    QCOMPARE(why, QStringLiteral("The frame template \"Full, with a comma\" cannot decode: "
                                 "Header framing needs at least one header byte."));
    QVERIFY(!FrameTemplateCodec::loadFromProject(dir.filePath("none.vlm"), "Sensor", &found, &why));
    QVERIFY(why.startsWith(QStringLiteral("The project file ")));
}

void TestFrameTemplate::textForms()
{
    // Text as typed, and as the editor writes it back ("no" where it is refused).
    QByteArray bytes;
    QVERIFY(FrameTemplateText::parseHex(" 0xAA,55;0a:0B-0c\t", &bytes, nullptr));
    QCOMPARE(FrameTemplateText::formatHex(bytes), "AA 55 0A 0B 0C");
    const auto when = [](const char *text) {
        int offset = 0;
        int value = 0;
        return FrameTemplateText::parseWhen(text, &offset, &value)
                   ? FrameTemplateText::formatWhen(offset, value)
                   : QStringLiteral("no");
    };
    QCOMPARE((QStringList{when(" 3 = 0x1 "), when(""), when("3"), when("3=100"), when("4097=01"),
                          when("-1=01")}),
             (QStringList{"3=01", "", "no", "no", "no", "no"}));
    const auto bits = [](const char *text) {
        int start = 0;
        int count = 0;
        return FrameTemplateText::parseBits(text, &start, &count)
                   ? FrameTemplateText::formatBits(start, count)
                   : QStringLiteral("no");
    };
    QCOMPARE((QStringList{bits(" 5 .. 7 "), bits("63"), bits("64"), bits("7..5"), bits("5..")}),
             (QStringList{"5..7", "63", "no", "no", "no"}));
    const QStringList taken = {"Template", " Meter ", "Meter (2)"};
    QCOMPARE(FrameTemplateText::uniqueName("Meter (2)", taken), "Meter (3)");
    QCOMPARE(FrameTemplateText::uniqueName(" Pump ", taken), "Pump");
}

QTEST_APPLESS_MAIN(TestFrameTemplate)
#include "tst_frametemplate.moc"
