#include "tools/toolbox.h"

#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QtTest>

namespace {

template<typename T> T *child(const QObject &parent, const char *name)
{
    T *found = parent.findChild<T *>(QLatin1String(name));
    if (!found) {
        qFatal("no widget %s", name);
    }
    return found;
}

QString text(const ToolBox &box, const char *name)
{
    if (auto *edit = box.findChild<QLineEdit *>(QLatin1String(name))) {
        return edit->text();
    }
    if (auto *label = box.findChild<QLabel *>(QLatin1String(name))) {
        return label->text();
    }
    return child<QPlainTextEdit>(box, name)->toPlainText();
}

void click(const ToolBox &box, const char *name)
{
    QTest::mouseClick(child<QPushButton>(box, name), Qt::LeftButton);
}

void selectAlgorithm(const ToolBox &box, CrcCatalog::Algorithm algorithm)
{
    auto *combo = child<QComboBox>(box, "algorithmCombo");
    combo->setCurrentIndex(combo->findData(int(algorithm)));
}

// Chooses "Custom" and fills its fields.
void setCustom(const ToolBox &box, const QString &width, const QString &polynomial,
               const QString &initial, const QString &finalXor, bool in, bool out)
{
    selectAlgorithm(box, CrcCatalog::Custom);
    child<QCheckBox>(box, "reflectInputCheck")->setChecked(in);
    child<QCheckBox>(box, "reflectOutputCheck")->setChecked(out);
    child<QLineEdit>(box, "finalXorEdit")->setText(finalXor);
    child<QLineEdit>(box, "initialEdit")->setText(initial);
    child<QLineEdit>(box, "polynomialEdit")->setText(polynomial);
    child<QLineEdit>(box, "widthEdit")->setText(width);
}

} // namespace

class TestToolBox : public QObject
{
    Q_OBJECT
private slots:
    void converterRoundTrip_data();
    void converterRoundTrip();
    void converterErrors_data();
    void converterErrors();
    void catalogueCheckValues_data();
    void catalogueCheckValues();
    void customParameters_data();
    void customParameters();
    void customFieldsComeBack();
    void formatCRC_data();
    void formatCRC();
    void wireBytes_data();
    void wireBytes();
    void insertFrame_data();
    void insertFrame();
};

void TestToolBox::converterRoundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("hex");
    const auto row = [](const char *name, const char *text, const char *hex) {
        QTest::newRow(name) << QString::fromUtf8(text) << QString::fromLatin1(hex);
    };
    row("ascii", "Hello", "48 65 6C 6C 6F");
    row("empty", "", "");
    row("two-byte UTF-8", "Grüße", "47 72 C3 BC C3 9F 65");
    row("line feed and euro", "\u20AC\n", "E2 82 AC 0A");
    row("outside the BMP", "\U0001F600", "F0 9F 98 80");
}

void TestToolBox::converterRoundTrip()
{
    QFETCH(QString, text);
    QFETCH(QString, hex);
    ToolBox box;
    auto *input = child<QPlainTextEdit>(box, "converterInput");
    input->setPlainText(text);
    click(box, "textToHexButton");
    QCOMPARE(::text(box, "converterOutput"), hex);

    // Lower case and any white space read the same.
    input->setPlainText(hex.toLower().replace(QLatin1Char(' '), QStringLiteral("\n\t ")));
    click(box, "hexToTextButton");
    QCOMPARE(::text(box, "converterOutput"), text);
    QCOMPARE(::text(box, "converterError"), QString());
    click(box, "copyOutputButton");
    QCOMPARE(QGuiApplication::clipboard()->text(), text);
}

void TestToolBox::converterErrors_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const char *input, int position) {
        QTest::newRow(name)
            << QString::fromLatin1(input)
            << (position ? QStringLiteral("Invalid hex character at position %1.").arg(position)
                         : QStringLiteral("Hex input must contain complete bytes."));
    };
    row("letter", "4G", 2);
    row("white space counts", " 41\n4x", 6);
    row("0x prefix", "0x41", 2);
    row("comma", "41,42", 3);
    row("bad character before odd end", "41 4g", 5);
    row("odd digits", "414", 0);
    row("lone last digit", "41 4", 0);
}

void TestToolBox::converterErrors()
{
    QFETCH(QString, input);
    ToolBox box;
    child<QPlainTextEdit>(box, "converterInput")->setPlainText(QStringLiteral("31"));
    click(box, "hexToTextButton");
    QCOMPARE(text(box, "converterOutput"), QStringLiteral("1"));

    child<QPlainTextEdit>(box, "converterInput")->setPlainText(input);
    click(box, "hexToTextButton");
    QTEST(text(box, "converterError"), "error");
    QCOMPARE(text(box, "converterOutput"), QString()); // no stale result beside an error
}

void TestToolBox::catalogueCheckValues_data()
{
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<QString>("check");
    const char *checks[] = {"7", "07", "19", "06", "F4", "4B37", "B4C8", "CBF43926", "29B1"};
    for (int a = 0; a < 9; ++a) {
        QTest::newRow(qPrintable(CrcCatalog::definitions().at(a).name)) << a << checks[a];
    }
}

void TestToolBox::catalogueCheckValues()
{
    QFETCH(int, algorithm);
    const auto a = CrcCatalog::Algorithm(algorithm);
    ToolBox box;
    QCOMPARE(child<QComboBox>(box, "algorithmCombo")->count(), 9);
    selectAlgorithm(box, a);
    child<QPlainTextEdit>(box, "crcInput")->setPlainText(QStringLiteral("123456789"));
    QTEST(text(box, "resultEdit"), "check");

    // The same bytes as hex; the fields show the entry and are editable only for Custom.
    child<QPlainTextEdit>(box, "crcInput")
        ->setPlainText(QStringLiteral("31 32 33 34 35 36 37 38 39"));
    child<QComboBox>(box, "inputFormatCombo")->setCurrentIndex(1);
    QTEST(text(box, "resultEdit"), "check");
    child<QComboBox>(box, "baseCombo")->setCurrentIndex(1); // "Dec"
    QCOMPARE(text(box, "resultEdit"), QString::number(CrcCatalog::calculate(a, "123456789")));
    const CrcCatalog::Definition *d = CrcCatalog::definition(a);
    QCOMPARE(text(box, "widthEdit"), QString::number(d->width));
    QCOMPARE(text(box, "polynomialEdit"), ToolBox::formatCRC(d->polynomial, d->width, 16));
    QCOMPARE(child<QLineEdit>(box, "polynomialEdit")->isReadOnly(), a != CrcCatalog::Custom);
    QCOMPARE(child<QCheckBox>(box, "reflectInputCheck")->isChecked(), d->reflectInput);
    QCOMPARE(child<QCheckBox>(box, "reflectOutputCheck")->isEnabled(), a == CrcCatalog::Custom);
}

void TestToolBox::customParameters_data()
{
    QTest::addColumn<QStringList>("fields"); // width, polynomial, initial, final XOR
    QTest::addColumn<bool>("reflect");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const char *fields, bool reflect, const char *result,
                        const QString &error) {
        QTest::newRow(name) << QString::fromLatin1(fields).split(u' ') << reflect
                            << QString::fromLatin1(result) << error;
    };
    const QString fits = QStringLiteral("%1 must be a hexadecimal value that fits the width.");
    const QString width = QStringLiteral("Width must be between 1 and 64.");
    row("CRC-64/ECMA-182", "64 42F0E1EBA9EA3693 0 0", false, "6C40DF5F0B497347", {});
    row("CRC-64/XZ", "64 42F0E1EBA9EA3693 FFFFFFFFFFFFFFFF FFFFFFFFFFFFFFFF", true,
        "995DC9BBDF1939FA", {});
    row("width 5 unreflected", "5 09 09 0", false, "00", {});
    row("polynomial too wide", "16 1FFFF 0 0", false, "", fits.arg("Polynomial"));
    row("width 0 before polynomial", "0 1FFFF 0 0", false, "", width);
    row("width 65", "65 1 0 0", false, "", width);
    row("zero polynomial before initial", "8 0 100 0", false, "", "Polynomial must not be zero.");
    row("initial too wide", "8 7 100 100", false, "", fits.arg("Initial value"));
    row("final XOR too wide", "1 1 1 2", false, "", fits.arg("Final XOR"));
    row("not hex", "16 0x1021 0 0", false, "", fits.arg("Polynomial"));
}

// The fields are read as they change, and a refused field leaves its message and no
// result.
void TestToolBox::customParameters()
{
    QFETCH(QStringList, fields);
    QFETCH(bool, reflect);
    QFETCH(QString, error);
    ToolBox box;
    child<QPlainTextEdit>(box, "crcInput")->setPlainText(QStringLiteral("123456789"));
    setCustom(box, fields[0], fields[1], fields[2], fields[3], reflect, reflect);
    QTEST(text(box, "resultEdit"), "result");
    QCOMPARE(text(box, "crcError"), error);
    QCOMPARE(child<QPushButton>(box, "insertFrameButton")->isEnabled(), error.isEmpty());
    if (!error.isEmpty()) {
        QCOMPARE(text(box, "wireBytesEdit"), QString());
    }
    CrcCatalog::CustomParameters p;
    QString refusal;
    QCOMPARE(box.readCustomParameters(p, refusal), error.isEmpty());
    QCOMPARE(refusal, error);
}

void TestToolBox::customFieldsComeBack()
{
    ToolBox box;
    child<QPlainTextEdit>(box, "crcInput")->setPlainText(QStringLiteral("123456789"));
    selectAlgorithm(box, CrcCatalog::Custom);
    QCOMPARE(text(box, "resultEdit"), QStringLiteral("29B1")); // the catalogue's Custom entry
    setCustom(box, QStringLiteral("16"), QStringLiteral("1021"), QStringLiteral("0"),
              QStringLiteral("0"), false, false);
    QCOMPARE(text(box, "resultEdit"), QStringLiteral("31C3")); // CRC-16/XMODEM
    selectAlgorithm(box, CrcCatalog::Crc32);
    QCOMPARE(text(box, "initialEdit"), QStringLiteral("FFFFFFFF"));
    selectAlgorithm(box, CrcCatalog::Custom);
    QCOMPARE(text(box, "initialEdit"), QStringLiteral("0"));
    QCOMPARE(text(box, "resultEdit"), QStringLiteral("31C3"));
}

void TestToolBox::formatCRC_data()
{
    QTest::addColumn<quint64>("value");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("base");
    QTest::addColumn<QString>("text");
    QTest::newRow("hex, 5 bits") << quint64(0x7) << 5 << 16 << "07";
    QTest::newRow("hex, 12 bits") << quint64(0xAB) << 12 << 16 << "0AB";
    QTest::newRow("hex, 64 bits") << ~quint64(0) << 64 << 16 << "FFFFFFFFFFFFFFFF";
    QTest::newRow("dec is not padded") << quint64(5) << 16 << 10 << "5";
    QTest::newRow("oct, 16 bits") << quint64(0x4B37) << 16 << 8 << "045467";
    QTest::newRow("oct, 64 bits") << ~quint64(0) << 64 << 8 << "1777777777777777777777";
    QTest::newRow("bin, 8 bits") << quint64(0x1) << 8 << 2 << "00000001";
    QTest::newRow("bin, 5 bits") << quint64(0x19) << 5 << 2 << "11001";
}

void TestToolBox::formatCRC()
{
    QFETCH(quint64, value);
    QFETCH(int, width);
    QFETCH(int, base);
    QTEST(ToolBox::formatCRC(value, width, base), "text");
}

void TestToolBox::wireBytes_data()
{
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<bool>("little");
    QTest::addColumn<QString>("bytes");
    QTest::newRow("CRC-16/MODBUS big") << int(CrcCatalog::Crc16Modbus) << false << "4B 37";
    QTest::newRow("CRC-16/MODBUS little") << int(CrcCatalog::Crc16Modbus) << true << "37 4B";
    QTest::newRow("CRC-32 big") << int(CrcCatalog::Crc32) << false << "CB F4 39 26";
    QTest::newRow("CRC-32 little") << int(CrcCatalog::Crc32) << true << "26 39 F4 CB";
    QTest::newRow("CRC-8 big") << int(CrcCatalog::Crc8) << false << "F4";
    QTest::newRow("CRC-8 little") << int(CrcCatalog::Crc8) << true << "F4";
    QTest::newRow("CRC-5/USB little") << int(CrcCatalog::Crc5Usb) << true << "19";
}

// Through the dialog: the byte order applies to the shown result at once.
void TestToolBox::wireBytes()
{
    QFETCH(int, algorithm);
    QFETCH(bool, little);
    ToolBox box;
    child<QPlainTextEdit>(box, "crcInput")->setPlainText(QStringLiteral("123456789"));
    selectAlgorithm(box, CrcCatalog::Algorithm(algorithm));
    child<QComboBox>(box, "byteOrderCombo")->setCurrentIndex(little ? 1 : 0);
    QTEST(text(box, "wireBytesEdit"), "bytes");
    click(box, "copyBytesButton");
    QTEST(QGuiApplication::clipboard()->text(), "bytes");

    // Odd widths past a byte take the next whole byte; 64 bits take eight.
    QCOMPARE(ToolBox::wireBytes(0xED841, 21, QSysInfo::BigEndian), QByteArray("\x0E\xD8\x41"));
    QCOMPARE(ToolBox::wireBytes(0xED841, 21, QSysInfo::LittleEndian), QByteArray("\x41\xD8\x0E"));
    QCOMPARE(ToolBox::wireBytes(0x0102030405060708, 64, QSysInfo::LittleEndian),
             QByteArray("\x08\x07\x06\x05\x04\x03\x02\x01"));
}

void TestToolBox::insertFrame_data()
{
    QTest::addColumn<bool>("hexInput");
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<QString>("frame");
    // The byte order starts at the algorithm's wire convention: reflected CRCs low byte
    // first, as a port's Append Checksum sends them, the others high byte first.
    QTest::newRow("Modbus read request")
        << true << "01 03 00 00 00 0A" << int(CrcCatalog::Crc16Modbus) << "01 03 00 00 00 0A C5 CD";
    QTest::newRow("Modbus one register")
        << true << "01 03 00 00 00 01" << int(CrcCatalog::Crc16Modbus) << "01 03 00 00 00 01 84 0A";
    QTest::newRow("text") << false << "AB" << int(CrcCatalog::Crc8) << "41 42 87";
    QTest::newRow("no input") << true << "" << int(CrcCatalog::Crc32) << "00 00 00 00";
    QTest::newRow("CCITT-FALSE high byte first")
        << false << "123456789" << int(CrcCatalog::Custom) << "31 32 33 34 35 36 37 38 39 29 B1";
}

void TestToolBox::insertFrame()
{
    QFETCH(bool, hexInput);
    QFETCH(QString, input);
    QFETCH(int, algorithm);
    ToolBox box;
    QSignalSpy spy(&box, &ToolBox::insertRequested);
    child<QComboBox>(box, "inputFormatCombo")->setCurrentIndex(hexInput ? 1 : 0);
    selectAlgorithm(box, CrcCatalog::Algorithm(algorithm));
    child<QPlainTextEdit>(box, "crcInput")->setPlainText(input);
    click(box, "insertFrameButton");
    QCOMPARE(spy.count(), 1);
    QTEST(spy.at(0).at(0).toString(), "frame");

    // A refused input offers nothing to insert.
    child<QComboBox>(box, "inputFormatCombo")->setCurrentIndex(1);
    child<QPlainTextEdit>(box, "crcInput")->setPlainText(QStringLiteral("0"));
    QCOMPARE(text(box, "crcError"), QStringLiteral("Hex input must contain complete bytes."));
    QVERIFY(!child<QPushButton>(box, "insertFrameButton")->isEnabled());
}

QTEST_MAIN(TestToolBox)
#include "tst_toolbox.moc"
