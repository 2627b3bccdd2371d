#include "decode/modbusbuilderdialog.h"

#include "decode/frametemplatetext.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSpinBox>
#include <QVBoxLayout>

ModbusBuilderDialog::ModbusBuilderDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Modbus Request Builder"));
    setObjectName(QStringLiteral("modbusBuilderDialog"));
    auto *form = new QFormLayout;
    const auto named = [](QWidget *widget, const char *name) {
        widget->setObjectName(QString::fromLatin1(name));
    };

    cbProtocol = new QComboBox(this);
    named(cbProtocol, "cbProtocol");
    cbProtocol->addItems({tr("Modbus RTU"), tr("Modbus ASCII")});
    form->addRow(tr("Protocol"), cbProtocol);

    sbSlaveId = new QSpinBox(this);
    named(sbSlaveId, "sbSlaveId");
    sbSlaveId->setRange(0, 247);
    sbSlaveId->setValue(1);
    sbSlaveId->setToolTip(tr("0 is the broadcast address"));
    form->addRow(tr("Slave ID"), sbSlaveId);

    cbFunction = new QComboBox(this);
    named(cbFunction, "cbFunction");
    const QList<QPair<QString, int>> functions = {
        {tr("01  Read Coils"), 1},
        {tr("02  Read Discrete Inputs"), 2},
        {tr("03  Read Holding Registers"), 3},
        {tr("04  Read Input Registers"), 4},
        {tr("05  Write Single Coil"), 5},
        {tr("06  Write Single Register"), 6},
        {tr("0F  Write Multiple Coils"), 15},
        {tr("10  Write Multiple Registers"), 16},
    };
    for (const auto &[label, code] : functions) {
        cbFunction->addItem(label, code);
    }
    cbFunction->setCurrentIndex(2);
    form->addRow(tr("Function"), cbFunction);

    sbAddress = new QSpinBox(this);
    named(sbAddress, "sbAddress");
    sbAddress->setRange(0, 65535);
    form->addRow(tr("Start address"), sbAddress);

    sbQuantity = new QSpinBox(this);
    named(sbQuantity, "sbQuantity");
    sbQuantity->setRange(1, 125);
    auto *quantityLabel = new QLabel(tr("Quantity"), this);
    form->addRow(quantityLabel, sbQuantity);
    quantityRow = {quantityLabel, sbQuantity};

    cbCoilValue = new QComboBox(this);
    named(cbCoilValue, "cbCoilValue");
    cbCoilValue->addItems({tr("ON  (FF 00)"), tr("OFF (00 00)")});
    auto *coilLabel = new QLabel(tr("Coil state"), this);
    form->addRow(coilLabel, cbCoilValue);
    coilRow = {coilLabel, cbCoilValue};

    leValues = new QLineEdit(this);
    named(leValues, "leValues");
    auto *valuesLabel = new QLabel(tr("Values"), this);
    form->addRow(valuesLabel, leValues);
    valuesRow = {valuesLabel, leValues};

    lePreview = new QLineEdit(this);
    named(lePreview, "lePreview");
    lePreview->setReadOnly(true);
    form->addRow(tr("Frame (hex)"), lePreview);
    leAsciiPreview = new QLineEdit(this);
    named(leAsciiPreview, "leAsciiPreview");
    leAsciiPreview->setReadOnly(true);
    auto *asciiLabel = new QLabel(tr("ASCII line"), this);
    form->addRow(asciiLabel, leAsciiPreview);
    asciiRow = {asciiLabel, leAsciiPreview};
    QFont mono(QStringLiteral("monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    lePreview->setFont(mono);
    leAsciiPreview->setFont(mono);

    errorLabel = new QLabel(this);
    named(errorLabel, "errorLabel");
    errorLabel->setStyleSheet(QStringLiteral("color: #c62828;"));
    errorLabel->setWordWrap(true);

    btnCopy = new QPushButton(tr("Copy HEX"), this);
    named(btnCopy, "btnCopy");
    btnInsert = new QPushButton(tr("Insert to Send Area"), this);
    named(btnInsert, "btnInsert");
    btnInsert->setDefault(true);
    auto *close = new QDialogButtonBox(QDialogButtonBox::Close, this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(btnCopy);
    buttons->addWidget(btnInsert);
    buttons->addStretch();
    buttons->addWidget(close);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(errorLabel);
    layout->addLayout(buttons);
    setMinimumWidth(520);

    connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(btnCopy, &QPushButton::clicked, this, &ModbusBuilderDialog::on_btnCopy_clicked);
    connect(btnInsert, &QPushButton::clicked, this, &ModbusBuilderDialog::on_btnInsert_clicked);
    connect(cbFunction, &QComboBox::currentIndexChanged, this,
            &ModbusBuilderDialog::onFunctionChanged);
    connect(cbProtocol, &QComboBox::currentIndexChanged, this, &ModbusBuilderDialog::rebuildFrame);
    connect(cbCoilValue, &QComboBox::currentIndexChanged, this, &ModbusBuilderDialog::rebuildFrame);
    for (QSpinBox *box : {sbSlaveId, sbAddress, sbQuantity}) {
        connect(box, &QSpinBox::valueChanged, this, &ModbusBuilderDialog::rebuildFrame);
    }
    connect(leValues, &QLineEdit::textChanged, this, &ModbusBuilderDialog::rebuildFrame);
    onFunctionChanged();
}

int ModbusBuilderDialog::function() const
{
    return cbFunction->currentData().toInt();
}

void ModbusBuilderDialog::onFunctionChanged()
{
    const int f = function();
    const auto show = [](const QList<QWidget *> &row, bool visible) {
        for (QWidget *widget : row) {
            widget->setVisible(visible);
        }
    };
    show(quantityRow, f <= 4);
    show(coilRow, f == 5);
    show(valuesRow, f == 6 || f == 15 || f == 16);
    sbQuantity->setMaximum(f <= 2 ? 2000 : 125);
    leValues->setPlaceholderText(f == 6    ? tr("Register value in HEX, e.g. 00 0A")
                                 : f == 16 ? tr("Register values in HEX, e.g. 000A 0102")
                                           : tr("Coil states 0/1, e.g. 1 0 1 1"));
    rebuildFrame();
}

bool ModbusBuilderDialog::parseValues(QList<quint16> *values, QString *error) const
{
    static const QRegularExpression separators(QStringLiteral("[\\s,]+"));
    static const QRegularExpression hexWord(QStringLiteral("^(?:0[xX])?[0-9A-Fa-f]{1,4}$"));
    const QStringList parts = leValues->text().split(separators, Qt::SkipEmptyParts);
    const int f = function();
    values->clear();
    if (f == 15) {
        for (const QString &part : parts) {
            if (part != QLatin1String("0") && part != QLatin1String("1")) {
                *error = tr("Coil states must be 0 or 1, got \"%1\".").arg(part);
                return false;
            }
            values->append(part == QLatin1String("1") ? 1 : 0);
        }
        return true;
    }
    // A single register may be written as its two bytes, "00 0A", as the field's example
    // shows; any other second part is a second value.
    if (f == 6 && parts.size() == 2 && parts.at(0).size() == 2 && parts.at(1).size() == 2 &&
        hexWord.match(parts.at(0)).hasMatch() && hexWord.match(parts.at(1)).hasMatch()) {
        values->append(quint16(parts.join(QString()).toUInt(nullptr, 16)));
        return true;
    }
    for (const QString &part : parts) {
        if (!hexWord.match(part).hasMatch()) {
            *error = tr("\"%1\" is not a 16-bit HEX value.").arg(part);
            return false;
        }
        QString digits = part;
        if (digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            digits = digits.mid(2);
        }
        values->append(quint16(digits.toUInt(nullptr, 16)));
    }
    if (f == 6 && values->size() > 1) {
        *error = tr("Write Single Register takes exactly one value.");
        return false;
    }
    return true;
}

ModbusCodec::Request ModbusBuilderDialog::currentRequest(QString *error) const
{
    error->clear();
    ModbusCodec::Request request;
    request.slave = sbSlaveId->value();
    request.function = quint8(function());
    request.address = quint16(sbAddress->value());
    request.quantity = sbQuantity->value();
    if (request.function == 5) {
        request.values = {quint16(cbCoilValue->currentIndex() == 0 ? 1 : 0)};
    } else if (request.function == 6 || request.function == 15 || request.function == 16) {
        parseValues(&request.values, error);
    }
    return request;
}

QString ModbusBuilderDialog::frameHex() const
{
    return lePreview->text();
}

void ModbusBuilderDialog::rebuildFrame()
{
    QString error;
    const ModbusCodec::Request request = currentRequest(&error);
    const bool ascii = cbProtocol->currentIndex() == 1;
    QByteArray frame;
    if (error.isEmpty()) {
        frame = ascii ? ModbusCodec::buildAsciiFrame(request, &error)
                      : ModbusCodec::buildRtuFrame(request, &error);
    }
    for (QWidget *widget : asciiRow) {
        widget->setVisible(ascii);
    }
    lePreview->setText(FrameTemplateText::formatHex(frame));
    QString line = QString::fromLatin1(frame);
    line.replace(QLatin1String("\r\n"), QLatin1String("<CR><LF>"));
    leAsciiPreview->setText(ascii ? line : QString());
    errorLabel->setText(error);
    errorLabel->setVisible(!error.isEmpty());
    btnCopy->setEnabled(!frame.isEmpty());
    btnInsert->setEnabled(!frame.isEmpty());
}

void ModbusBuilderDialog::on_btnCopy_clicked()
{
    if (!lePreview->text().isEmpty()) {
        QApplication::clipboard()->setText(lePreview->text());
    }
}

void ModbusBuilderDialog::on_btnInsert_clicked()
{
    if (!lePreview->text().isEmpty()) {
        emit insertRequested(lePreview->text());
    }
}
