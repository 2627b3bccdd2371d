#include "tools/toolbox.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QRegularExpressionValidator>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// The value of a hexadecimal digit in either case, or -1.
int hexDigitValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9') {
        return u - u'0';
    }
    if (u >= u'a' && u <= u'f') {
        return u - u'a' + 10;
    }
    if (u >= u'A' && u <= u'F') {
        return u - u'A' + 10;
    }
    return -1;
}

// What the hex parameter fields take: one to sixteen hex digits.
const QString hexFieldPattern = QStringLiteral("[0-9A-Fa-f]{1,16}");

QLabel *makeErrorLabel(const QString &objectName, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(objectName);
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, QColor(0xC0, 0x1C, 0x28));
    label->setPalette(palette);
    return label;
}

QPushButton *makeButton(const QString &text, const QString &objectName, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

} // namespace

ToolBox::ToolBox(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Toolbox"));
    auto *tabs = new QTabWidget(this);
    tabs->setObjectName(QStringLiteral("tabWidget"));
    tabs->addTab(buildConverterPage(), tr("Converter"));
    tabs->addTab(buildCrcPage(), tr("CRC Calculator"));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    resize(560, 520);

    // The most common CRC on serial lines first; the fields follow the choice.
    algorithmCombo->setCurrentIndex(int(CrcCatalog::Crc16Modbus));
    onAlgorithmChanged();
}

QWidget *ToolBox::buildConverterPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("converterPage"));

    converterInput = new QPlainTextEdit(page);
    converterInput->setObjectName(QStringLiteral("converterInput"));
    converterOutput = new QPlainTextEdit(page);
    converterOutput->setObjectName(QStringLiteral("converterOutput"));
    converterOutput->setReadOnly(true);

    auto *hexToText = makeButton(tr("Hex to Text"), QStringLiteral("hexToTextButton"), page);
    auto *textToHex = makeButton(tr("Text to Hex"), QStringLiteral("textToHexButton"), page);
    auto *copyOutput = makeButton(tr("Copy Output"), QStringLiteral("copyOutputButton"), page);

    auto *note = new QLabel(
        tr("Always UTF-8. This tool is independent of the encoding a port is configured with."),
        page);
    note->setObjectName(QStringLiteral("converterNote"));
    note->setWordWrap(true);
    converterError = makeErrorLabel(QStringLiteral("converterError"), page);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(hexToText);
    buttons->addWidget(textToHex);
    buttons->addStretch();

    auto *outputRow = new QHBoxLayout;
    outputRow->addWidget(new QLabel(tr("Output"), page));
    outputRow->addStretch();
    outputRow->addWidget(copyOutput);

    auto *layout = new QVBoxLayout(page);
    layout->addLayout(buttons);
    layout->addWidget(new QLabel(tr("Input"), page));
    layout->addWidget(converterInput);
    layout->addLayout(outputRow);
    layout->addWidget(converterOutput);
    layout->addWidget(note);
    layout->addWidget(converterError);

    connect(hexToText, &QPushButton::clicked, this, &ToolBox::convertHexToText);
    connect(textToHex, &QPushButton::clicked, this, &ToolBox::convertTextToHex);
    connect(copyOutput, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(converterOutput->toPlainText()); });
    return page;
}

QWidget *ToolBox::buildCrcPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("crcPage"));

    inputFormatCombo = new QComboBox(page);
    inputFormatCombo->setObjectName(QStringLiteral("inputFormatCombo"));
    inputFormatCombo->addItem(tr("Text (UTF-8)"));
    inputFormatCombo->addItem(tr("Hex"));
    crcInput = new QPlainTextEdit(page);
    crcInput->setObjectName(QStringLiteral("crcInput"));

    algorithmCombo = new QComboBox(page);
    algorithmCombo->setObjectName(QStringLiteral("algorithmCombo"));
    for (const CrcCatalog::Definition &entry : CrcCatalog::definitions()) {
        algorithmCombo->addItem(entry.algorithm == CrcCatalog::Custom ? tr("Custom") : entry.name,
                                int(entry.algorithm));
    }

    auto *hexValidator = new QRegularExpressionValidator(QRegularExpression(hexFieldPattern), this);
    const auto makeField = [page](const QString &objectName, QValidator *validator) {
        auto *edit = new QLineEdit(page);
        edit->setObjectName(objectName);
        edit->setValidator(validator);
        return edit;
    };
    // The width field takes up to two digits so that a wrong width can be typed and
    // named, rather than silently clamped.
    widthEdit = makeField(
        QStringLiteral("widthEdit"),
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{1,2}")), this));
    polynomialEdit = makeField(QStringLiteral("polynomialEdit"), hexValidator);
    initialEdit = makeField(QStringLiteral("initialEdit"), hexValidator);
    finalXorEdit = makeField(QStringLiteral("finalXorEdit"), hexValidator);
    reflectInputCheck = new QCheckBox(tr("Reflect input"), page);
    reflectInputCheck->setObjectName(QStringLiteral("reflectInputCheck"));
    reflectOutputCheck = new QCheckBox(tr("Reflect output"), page);
    reflectOutputCheck->setObjectName(QStringLiteral("reflectOutputCheck"));

    auto *calculateButton = makeButton(tr("Calculate"), QStringLiteral("calculateButton"), page);

    baseCombo = new QComboBox(page);
    baseCombo->setObjectName(QStringLiteral("baseCombo"));
    baseCombo->addItem(tr("Hex"), 16);
    baseCombo->addItem(tr("Dec"), 10);
    baseCombo->addItem(tr("Oct"), 8);
    baseCombo->addItem(tr("Bin"), 2);
    resultEdit = new QLineEdit(page);
    resultEdit->setObjectName(QStringLiteral("resultEdit"));
    resultEdit->setReadOnly(true);
    copyValueButton = makeButton(tr("Copy Value"), QStringLiteral("copyValueButton"), page);

    byteOrderCombo = new QComboBox(page);
    byteOrderCombo->setObjectName(QStringLiteral("byteOrderCombo"));
    byteOrderCombo->addItem(tr("Big-endian"), int(QSysInfo::BigEndian));
    byteOrderCombo->addItem(tr("Little-endian"), int(QSysInfo::LittleEndian));
    wireBytesEdit = new QLineEdit(page);
    wireBytesEdit->setObjectName(QStringLiteral("wireBytesEdit"));
    wireBytesEdit->setReadOnly(true);
    copyBytesButton = makeButton(tr("Copy Bytes"), QStringLiteral("copyBytesButton"), page);
    insertFrameButton =
        makeButton(tr("Insert Frame into Send"), QStringLiteral("insertFrameButton"), page);
    crcError = makeErrorLabel(QStringLiteral("crcError"), page);

    auto *parameters = new QFormLayout;
    parameters->addRow(tr("Input format"), inputFormatCombo);
    parameters->addRow(tr("Algorithm"), algorithmCombo);
    parameters->addRow(tr("Width"), widthEdit);
    parameters->addRow(tr("Polynomial (hex)"), polynomialEdit);
    parameters->addRow(tr("Initial value (hex)"), initialEdit);
    parameters->addRow(tr("Final XOR (hex)"), finalXorEdit);
    auto *reflections = new QHBoxLayout;
    reflections->addWidget(reflectInputCheck);
    reflections->addWidget(reflectOutputCheck);
    reflections->addStretch();
    parameters->addRow(reflections);

    auto *results = new QGridLayout;
    results->addWidget(new QLabel(tr("Base"), page), 0, 0);
    results->addWidget(baseCombo, 0, 1);
    results->addWidget(resultEdit, 0, 2);
    results->addWidget(copyValueButton, 0, 3);
    results->addWidget(new QLabel(tr("Wire bytes"), page), 1, 0);
    results->addWidget(wireBytesEdit, 1, 2);
    results->addWidget(copyBytesButton, 1, 3);
    results->addWidget(new QLabel(tr("Byte order"), page), 2, 0);
    results->addWidget(byteOrderCombo, 2, 1);
    results->setColumnStretch(2, 1);

    auto *actions = new QHBoxLayout;
    actions->addWidget(calculateButton);
    actions->addStretch();
    actions->addWidget(insertFrameButton);

    auto *layout = new QVBoxLayout(page);
    layout->addWidget(new QLabel(tr("Input"), page));
    layout->addWidget(crcInput);
    layout->addLayout(parameters);
    layout->addLayout(actions);
    layout->addLayout(results);
    layout->addWidget(crcError);

    connect(crcInput, &QPlainTextEdit::textChanged, this, &ToolBox::calculate);
    connect(inputFormatCombo, &QComboBox::currentIndexChanged, this, &ToolBox::calculate);
    connect(algorithmCombo, &QComboBox::currentIndexChanged, this, &ToolBox::onAlgorithmChanged);
    for (QLineEdit *field : {widthEdit, polynomialEdit, initialEdit, finalXorEdit}) {
        connect(field, &QLineEdit::textChanged, this, &ToolBox::onCustomFieldChanged);
    }
    for (QCheckBox *box : {reflectInputCheck, reflectOutputCheck}) {
        connect(box, &QCheckBox::toggled, this, &ToolBox::onCustomFieldChanged);
    }
    connect(calculateButton, &QPushButton::clicked, this, &ToolBox::calculate);
    connect(baseCombo, &QComboBox::currentIndexChanged, this, &ToolBox::showResult);
    connect(byteOrderCombo, &QComboBox::currentIndexChanged, this, &ToolBox::showResult);
    connect(copyValueButton, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(resultEdit->text()); });
    connect(copyBytesButton, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(wireBytesEdit->text()); });
    connect(insertFrameButton, &QPushButton::clicked, this, &ToolBox::requestInsert);

    // The custom fields start from the catalogue's "Custom" entry.
    const CrcCatalog::CustomParameters start = CrcCatalog::parameters(CrcCatalog::Custom);
    savedCustom = {QString::number(start.width),
                   formatCRC(start.polynomial, start.width, 16),
                   formatCRC(start.initial, start.width, 16),
                   formatCRC(start.finalXor, start.width, 16),
                   start.reflectInput,
                   start.reflectOutput};
    return page;
}

// --- Converter ---

void ToolBox::convertHexToText()
{
    QByteArray bytes;
    QString error;
    if (!parseHex(converterInput->toPlainText(), bytes, error)) {
        showConverterError(error);
        return;
    }
    converterError->clear();
    converterOutput->setPlainText(QString::fromUtf8(bytes));
}

void ToolBox::convertTextToHex()
{
    converterError->clear();
    converterOutput->setPlainText(toHex(converterInput->toPlainText().toUtf8()));
}

void ToolBox::showConverterError(const QString &error)
{
    converterOutput->clear();
    converterError->setText(error);
}

bool ToolBox::parseHex(const QString &text, QByteArray &bytes, QString &error)
{
    bytes.clear();
    bytes.reserve(text.size() / 2);
    int highNibble = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isSpace()) {
            continue;
        }
        const int nibble = hexDigitValue(c);
        if (nibble < 0) {
            // Counted in the text as typed, white space included, from 1. Only the first
            // character that is neither is named, so no surrogate pair comes before it.
            error = tr("Invalid hex character at position %1.").arg(i + 1);
            bytes.clear();
            return false;
        }
        if (highNibble < 0) {
            highNibble = nibble;
        } else {
            bytes.append(char((highNibble << 4) | nibble));
            highNibble = -1;
        }
    }
    if (highNibble >= 0) {
        error = tr("Hex input must contain complete bytes.");
        bytes.clear();
        return false;
    }
    return true;
}

QString ToolBox::toHex(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

// --- CRC calculator ---

CrcCatalog::Algorithm ToolBox::currentAlgorithm() const
{
    return CrcCatalog::Algorithm(algorithmCombo->currentData().toInt());
}

void ToolBox::onAlgorithmChanged()
{
    const bool custom = currentAlgorithm() == CrcCatalog::Custom;
    if (customShown && !custom) {
        savedCustom = {
            widthEdit->text(),    polynomialEdit->text(),         initialEdit->text(),
            finalXorEdit->text(), reflectInputCheck->isChecked(), reflectOutputCheck->isChecked()};
    }
    filling = true;
    if (custom) {
        widthEdit->setText(savedCustom.width);
        polynomialEdit->setText(savedCustom.polynomial);
        initialEdit->setText(savedCustom.initial);
        finalXorEdit->setText(savedCustom.finalXor);
        reflectInputCheck->setChecked(savedCustom.reflectInput);
        reflectOutputCheck->setChecked(savedCustom.reflectOutput);
    } else {
        fillParameterFields(CrcCatalog::parameters(currentAlgorithm()));
    }
    filling = false;
    customShown = custom;
    // The byte order follows the wire convention of the algorithm: a CRC computed
    // reflected (MODBUS, USB, CRC-32) goes out low byte first, as a port's Append
    // Checksum sends it, so a frame built here is the frame a device expects.
    const int order = int(reflectOutputCheck->isChecked() ? QSysInfo::LittleEndian
                                                          : QSysInfo::BigEndian);
    byteOrderCombo->setCurrentIndex(byteOrderCombo->findData(order));

    for (QLineEdit *field : {widthEdit, polynomialEdit, initialEdit, finalXorEdit}) {
        field->setReadOnly(!custom);
    }
    reflectInputCheck->setEnabled(custom);
    reflectOutputCheck->setEnabled(custom);
    calculate();
}

void ToolBox::fillParameterFields(const CrcCatalog::CustomParameters &p)
{
    widthEdit->setText(QString::number(p.width));
    polynomialEdit->setText(formatCRC(p.polynomial, p.width, 16));
    initialEdit->setText(formatCRC(p.initial, p.width, 16));
    finalXorEdit->setText(formatCRC(p.finalXor, p.width, 16));
    reflectInputCheck->setChecked(p.reflectInput);
    reflectOutputCheck->setChecked(p.reflectOutput);
}

void ToolBox::onCustomFieldChanged()
{
    if (filling || currentAlgorithm() != CrcCatalog::Custom) {
        return;
    }
    // A field that does not read yet shows why, in place of a result that would no
    // longer match the fields.
    calculate();
}

bool ToolBox::readCustomParameters(CrcCatalog::CustomParameters &parameters, QString &error) const
{
    bool ok = false;
    const int width = widthEdit->text().toInt(&ok);
    if (!ok || width < 1 || width > 64) {
        error = tr("Width must be between 1 and 64.");
        return false;
    }
    const auto readHex = [&](const QLineEdit *field, const QString &name, quint64 &value) {
        static const QRegularExpression whole(QRegularExpression::anchoredPattern(hexFieldPattern));
        const QString text = field->text();
        bool valid = whole.match(text).hasMatch();
        if (valid) {
            value = text.toULongLong(&valid, 16);
        }
        if (!valid || !CrcCatalog::fitsWidth(value, width)) {
            error = tr("%1 must be a hexadecimal value that fits the width.").arg(name);
            return false;
        }
        return true;
    };
    CrcCatalog::CustomParameters read;
    read.width = width;
    if (!readHex(polynomialEdit, tr("Polynomial"), read.polynomial)) {
        return false;
    }
    if (read.polynomial == 0) {
        error = tr("Polynomial must not be zero.");
        return false;
    }
    if (!readHex(initialEdit, tr("Initial value"), read.initial) ||
        !readHex(finalXorEdit, tr("Final XOR"), read.finalXor)) {
        return false;
    }
    read.reflectInput = reflectInputCheck->isChecked();
    read.reflectOutput = reflectOutputCheck->isChecked();
    parameters = read;
    return true;
}

void ToolBox::calculate()
{
    QByteArray bytes;
    QString error;
    if (inputFormatCombo->currentIndex() == 1) {
        if (!parseHex(crcInput->toPlainText(), bytes, error)) {
            showCrcError(error);
            return;
        }
    } else {
        bytes = crcInput->toPlainText().toUtf8();
    }

    const CrcCatalog::Algorithm algorithm = currentAlgorithm();
    CrcCatalog::CustomParameters parameters = CrcCatalog::parameters(algorithm);
    if (algorithm == CrcCatalog::Custom && !readCustomParameters(parameters, error)) {
        showCrcError(error);
        return;
    }

    inputBytes = bytes;
    resultWidth = parameters.width;
    // The catalogue's rule holds for custom parameters too: no input, no CRC.
    resultValue = algorithm == CrcCatalog::Custom
                      ? (bytes.isEmpty() ? 0 : CrcCatalog::calculateCustom(bytes, parameters))
                      : CrcCatalog::calculate(algorithm, bytes);
    hasResult = true;
    crcError->clear();
    showResult();
}

void ToolBox::showResult()
{
    if (!hasResult) {
        return;
    }
    const int base = baseCombo->currentData().toInt();
    const auto order = QSysInfo::Endian(byteOrderCombo->currentData().toInt());
    resultEdit->setText(formatCRC(resultValue, resultWidth, base));
    wireBytesEdit->setText(toHex(wireBytes(resultValue, resultWidth, order)));
    for (QPushButton *button : {copyValueButton, copyBytesButton, insertFrameButton}) {
        button->setEnabled(true);
    }
}

void ToolBox::showCrcError(const QString &error)
{
    hasResult = false;
    inputBytes.clear();
    resultEdit->clear();
    wireBytesEdit->clear();
    for (QPushButton *button : {copyValueButton, copyBytesButton, insertFrameButton}) {
        button->setEnabled(false);
    }
    crcError->setText(error);
}

void ToolBox::requestInsert()
{
    if (!hasResult) {
        return;
    }
    const auto order = QSysInfo::Endian(byteOrderCombo->currentData().toInt());
    emit insertRequested(toHex(inputBytes + wireBytes(resultValue, resultWidth, order)));
}

QString ToolBox::formatCRC(quint64 value, int width, int base)
{
    int digits = 0;
    switch (base) {
    case 16:
        digits = (width + 3) / 4;
        break;
    case 8:
        digits = (width + 2) / 3;
        break;
    case 2:
        digits = width;
        break;
    default:
        break;
    }
    return QString::number(value, base).toUpper().rightJustified(digits, u'0');
}

QByteArray ToolBox::wireBytes(quint64 value, int width, QSysInfo::Endian order)
{
    const int count = std::clamp((width + 7) / 8, 1, 8);
    QByteArray bytes(count, Qt::Uninitialized);
    for (int i = 0; i < count; ++i) {
        const char byte = char((value >> (8 * i)) & 0xFF);
        bytes[order == QSysInfo::LittleEndian ? i : count - 1 - i] = byte;
    }
    return bytes;
}
