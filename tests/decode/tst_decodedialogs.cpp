#include "app/mainwindow.h"
#include "decode/frametemplatecodec.h"
#include "decode/frametemplatedialog.h"
#include "decode/decoderunner.h"
#include "decode/framespanel.h"
#include "decode/modbusbuilderdialog.h"
#include "recording/sessionexportdialog.h"
#include "session/serialportwidget.h"
#include "templates.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

namespace {

template<typename T> T *child(QObject *parent, const char *name)
{
    T *found = parent->findChild<T *>(QString::fromLatin1(name));
    if (!found) {
        qFatal("no child %s", name);
    }
    return found;
}

} // namespace

class TestDecodeDialogs : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void builder_data();
    void builder();
    void testPane();
    void formErrors_data();
    void formErrors();
    void editingTheList();
    void windowKeepsTemplatesAndChoices();

private:
    QTemporaryDir settingsDir;
};

void TestDecodeDialogs::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
}

void TestDecodeDialogs::builder_data()
{
    QTest::addColumn<int>("protocol");
    QTest::addColumn<int>("function");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("quantity");
    QTest::addColumn<int>("coil");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("frame");
    QTest::addColumn<QString>("ascii");
    QTest::addColumn<QString>("error");

    // Protocol, function, address, quantity, coil state, values; frame, ASCII line, error.
    const auto row = [](const char *name, int protocol, int function, int address, int quantity,
                        int coil, const char *values, const char *frame, const char *ascii,
                        const char *error) {
        QTest::newRow(name) << protocol << function << address << quantity << coil
                            << QString(values) << QString(frame) << QString(ascii)
                            << QString(error);
    };
    row("ten coils", 0, 15, 0, 1, 0, "1 0 1 1 0 0 0 0 1 1", "01 0F 00 00 00 0A 02 0D 03 A1 A9", "",
        "");
    row("ASCII read", 1, 3, 0, 1, 0, "", "3A 30 31 30 33 30 30 30 30 30 30 30 31 46 42 0D 0A",
        ":010300000001FB<CR><LF>", "");
    row("2000 coils read", 0, 1, 0, 2000, 0, "", "01 01 00 00 07 D0 3F A6", "", "");
    row("coil off", 0, 5, 172, 1, 1, "", "01 05 00 AC 00 00 0D EB", "", "");
    row("one register as two bytes", 0, 6, 1, 1, 0, "00 0A", "01 06 00 01 00 0A 58 0D", "", "");
    row("two registers for one", 0, 6, 1, 1, 0, "000A, 0102", "", "",
        "Write Single Register takes exactly one value.");
    row("not a register", 0, 16, 0, 1, 0, "0A 12345", "", "",
        "\"12345\" is not a 16-bit HEX value.");
    row("not a coil state", 0, 15, 0, 1, 0, "1 2", "", "",
        "Coil states must be 0 or 1, got \"2\".");
}

void TestDecodeDialogs::builder()
{
    QFETCH(int, protocol);
    QFETCH(int, function);
    QFETCH(QString, frame);
    QFETCH(QString, error);
    QFETCH(int, address);
    QFETCH(int, quantity);
    QFETCH(int, coil);
    QFETCH(QString, values);
    ModbusBuilderDialog dialog;
    QSignalSpy inserted(&dialog, &ModbusBuilderDialog::insertRequested);
    child<QComboBox>(&dialog, "cbProtocol")->setCurrentIndex(protocol);
    auto *functions = child<QComboBox>(&dialog, "cbFunction");
    functions->setCurrentIndex(functions->findData(function));
    child<QSpinBox>(&dialog, "sbAddress")->setValue(address);
    child<QSpinBox>(&dialog, "sbQuantity")->setValue(quantity);
    child<QComboBox>(&dialog, "cbCoilValue")->setCurrentIndex(coil);
    child<QLineEdit>(&dialog, "leValues")->setText(values);
    QCOMPARE(child<QLineEdit>(&dialog, "lePreview")->text(), frame);
    QTEST(child<QLineEdit>(&dialog, "leAsciiPreview")->text(), "ascii");
    QCOMPARE(child<QLabel>(&dialog, "errorLabel")->text(), error);
    auto *insert = child<QPushButton>(&dialog, "btnInsert");
    QCOMPARE(insert->isEnabled(), error.isEmpty());
    insert->click();
    QCOMPARE(inserted.size(), error.isEmpty() ? 1 : 0);
    if (!inserted.isEmpty()) {
        QCOMPARE(inserted.first().first().toString(), frame);
    }
}

void TestDecodeDialogs::testPane()
{
    FrameTemplateDialog dialog({templates::sensor()});
    dialog.setTestText("AA 55 07 01 01 02 41 20 00 00 6C");
    QCOMPARE(dialog.testRows(), QStringList{"#1  OK  cmd=1, status=Run, channel=2, value=10"});
    QCOMPARE(dialog.testDetails(0).at(3).value, QStringLiteral("10"));

    // The test follows the form: the checksum counted from byte 0 fails.
    child<QSpinBox>(&dialog, "checksumStartSpin")->setValue(0);
    QCOMPARE(dialog.testRows(),
             QStringList{"#1  Checksum error  cmd=1, status=Run, channel=2, value=10"});
    const DecodedField checksum = dialog.testDetails(0).last();
    QCOMPARE(checksum.name + '=' + checksum.value, QStringLiteral("Checksum=0x6C (expected 0x6B)"));
    QVERIFY(checksum.bad);

    // What ends the test: a cut frame is flushed as incomplete; the rest are sentences.
    QCOMPARE(dialog.runTest("AA 55 07 01 01"), QString());
    QCOMPARE(dialog.testRows(), QStringList{"#1  Incomplete  cmd=1, status=Run"});
    QCOMPARE(dialog.runTest("  "), QStringLiteral("Paste some bytes to decode."));
    QCOMPARE(dialog.runTest("AA 5"), QStringLiteral("Hex bytes need two digits each."));
    child<QSpinBox>(&dialog, "maxFrameSpin")->setValue(4);
    child<QSpinBox>(&dialog, "lengthOffsetSpin")->setValue(4);
    QCOMPARE(dialog.runTest("AA"), QStringLiteral("The template is not complete: The length field "
                                                  "lies beyond the maximum frame size."));
    QVERIFY(dialog.testRows().isEmpty());
    FrameTemplateDialog empty({});
    QCOMPARE(empty.runTest("AA"), QStringLiteral("Add a template first."));
}

void TestDecodeDialogs::formErrors_data()
{
    QTest::addColumn<QString>("widget"); // a line edit, or "field:<column>" of the first field
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("header") << "headerEdit"
                            << "AA 5G"
                            << "Header: Only hex digits (0-9, A-F) are allowed.";
    QTest::newRow("delimiter") << "delimiterEdit"
                               << "0D 0"
                               << "Delimiter: Hex bytes need two digits each.";
    QTest::newRow("poly") << "polyEdit" << "10x21" << "Poly: not a hex number";
    QTest::newRow("offset") << "field:1" << "three" << "Field 1: the offset is not a number";
    QTest::newRow("length") << "field:3" << "-" << "Field 1: the length is not a number";
    QTest::newRow("bits") << "field:4" << "5-7" << "Field 1: bits are written \"5..7\"";
    QTest::newRow("scale") << "field:6" << "1,5" << "Field 1: scale and add are numbers";
    QTest::newRow("decimals") << "field:8" << "two" << "Field 1: decimals is a number";
    QTest::newRow("when") << "field:11"
                          << "3:01"
                          << "Field 1: When is written \"3=01\" (byte 3 is 0x01)";
}

void TestDecodeDialogs::formErrors()
{
    QFETCH(QString, widget);
    QFETCH(QString, text);
    FrameTemplate custom = templates::sensor();
    custom.checksum.kind = ChecksumSpec::Crc;
    custom.checksum.crc = ChecksumSpec::CustomCrc;
    FrameTemplateDialog dialog({custom, templates::sensor()});
    if (widget.startsWith("field:")) {
        auto *table = child<QTableWidget>(&dialog, "frameTemplateFields");
        table->item(0, widget.section(':', 1).toInt())->setText(text);
    } else {
        dialog.findChild<QLineEdit *>(widget)->setText(text);
    }
    FrameTemplate read;
    QString error;
    QVERIFY(!dialog.collectForm(&read, &error));
    QTEST(error, "error");
    // A form that does not read keeps its template chosen and says why.
    dialog.selectTemplate(0);
    child<QListWidget>(&dialog, "frameTemplateList")->setCurrentRow(1);
    QCOMPARE(dialog.currentRow(), 0);
    QTEST(dialog.errorText(), "error");
}

void TestDecodeDialogs::editingTheList()
{
    FrameTemplate meter = templates::sensor();
    meter.name = "Meter";
    FrameTemplateDialog dialog({templates::sensor(), meter});
    QCOMPARE(dialog.currentRow(), 0);
    child<QLineEdit>(&dialog, "frameTemplateName")->setText("Sensor v2");
    dialog.addTemplate();
    dialog.addTemplate();
    QCOMPARE(dialog.templates().at(3).name, QStringLiteral("Template (2)"));
    QCOMPARE(dialog.templates().at(3).header, QByteArray::fromHex("AA55"));
    dialog.moveUp();
    QCOMPARE(dialog.currentRow(), 2);
    dialog.selectTemplate(1);
    dialog.removeTemplate();
    dialog.selectTemplate(0);
    dialog.duplicateTemplate();
    dialog.addField();
    QCOMPARE(dialog.templates().at(1).name, QStringLiteral("Sensor v2 (2)"));
    QCOMPARE(dialog.templates().at(1).fields.last().name, QStringLiteral("field5"));
    QCOMPARE(dialog.renames(), (QHash<QString, QString>{{"Sensor", "Sensor v2"}}));
    QCOMPARE(dialog.removed(), QStringList{"Meter"});

    // Accepting checks every template, then the names.
    dialog.selectTemplate(2);
    child<QComboBox>(&dialog, "framingCombo")->setCurrentIndex(FrameTemplate::Delimited);
    child<QLineEdit>(&dialog, "delimiterEdit")->clear();
    dialog.selectTemplate(0);
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(dialog.currentRow(), 2);
    QCOMPARE(dialog.errorText(),
             QStringLiteral("Template (2): Delimiter framing needs a delimiter."));
    child<QLineEdit>(&dialog, "delimiterEdit")->setText("0A");
    child<QLineEdit>(&dialog, "frameTemplateName")->setText(" Sensor v2 ");
    dialog.accept();
    QCOMPARE(dialog.errorText(),
             QStringLiteral("Another template is already called \"Sensor v2\"."));
    child<QLineEdit>(&dialog, "frameTemplateName")->setText("Lines");
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.templates().size(), 4);
}

void TestDecodeDialogs::windowKeepsTemplatesAndChoices()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("bench.vlm");
    {
        // A project whose first port decodes with the sensor template.
        MainWindow window;
        QVERIFY(window.saveFile(path, false));
        QSettings file(path, QSettings::IniFormat);
        FrameTemplateCodec::save(file, FrameTemplateCodec::projectPrefix(), {templates::sensor()});
        FrameTemplateCodec::saveChoice(file, "0/Decode", {DecoderChoice::Template, "Sensor", true});
    }
    MainWindow window;
    QVERIFY(window.loadFile(path));
    QCOMPARE(window.frameTemplates(), QList<FrameTemplate>{templates::sensor()});
    QCOMPARE(window.decoderChoice(0).templateName, QStringLiteral("Sensor"));
    // The port decodes with it, its frames panel open.
    SerialPortWidget *port = window.portWidget(0);
    QCOMPARE(port->decodeRunner()->hold(), DecodeRunner::NoHold);
    QVERIFY(port->framesPanel()->isVisibleTo(port));

    // The editor is reached from the Tools menu and from a port; a rename is followed.
    window.frameTemplatesDialogHook = [](FrameTemplateDialog &dialog) {
        dialog.findChild<QLineEdit *>("frameTemplateName")->setText("Sensor v2");
        dialog.accept();
        return dialog.result() == QDialog::Accepted;
    };
    window.findChild<QAction *>("acToolsFrameTemplates")->trigger();
    QCOMPARE(window.decoderChoice(0), (DecoderChoice{DecoderChoice::Template, "Sensor v2", true}));
    QCOMPARE(port->decodeRunner()->hold(), DecodeRunner::NoHold);
    QVERIFY(window.isWindowModified());
    // Saved and loaded again, the port keeps its choice.
    QVERIFY(window.saveFile(path, false));
    {
        MainWindow again;
        QVERIFY(again.loadFile(path));
        QCOMPARE(again.decoderChoice(0), window.decoderChoice(0));
    }
    window.frameTemplatesDialogHook = [](FrameTemplateDialog &dialog) {
        dialog.removeTemplate();
        dialog.accept();
        return true;
    };
    Q_EMIT window.portWidget(0)->frameTemplatesEditRequested();
    QCOMPARE(window.decoderChoice(0).kind, DecoderChoice::None);

    // File > Export Session offers every port's history.
    window.findChild<QAction *>("acFileExportSession")->trigger();
    auto *exporter = window.findChild<SessionExportDialog *>();
    QVERIFY(exporter && exporter->isVisible());
    QCOMPARE(exporter->sources().size(), 1);
    exporter->close();

    // The builder writes into the focused port's send box.
    window.findChild<QAction *>("acToolsModbusBuilder")->trigger();
    auto *builder = window.findChild<ModbusBuilderDialog *>();
    QVERIFY(builder && builder->isVisible());
    child<QPushButton>(builder, "btnInsert")->click();
    QCOMPARE(window.portWidget(0)->sendText(), QStringLiteral("01 03 00 00 00 01 84 0A"));
    QCOMPARE(window.portWidget(0)->formatSettings().sendMsgFormat, HexFormat);
}

QTEST_MAIN(TestDecodeDialogs)
#include "tst_decodedialogs.moc"
