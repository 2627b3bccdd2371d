// The template form: pushing a template into the widgets, reading it back with a sentence
// for the first cell that does not read, and which rows the chosen framing and checksum
// use.

#include "decode/frametemplatedialog.h"

#include "decode/frametemplatetext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTableWidget>

namespace {

enum Column {
    NameColumn,
    OffsetColumn,
    TypeColumn,
    LengthColumn,
    BitsColumn,
    EndianColumn,
    ScaleColumn,
    AddColumn,
    DecimalsColumn,
    UnitColumn,
    LabelsColumn,
    WhenColumn,
};

QString numberText(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

bool sizedByLength(FieldType type)
{
    return type == FieldType::Hex || type == FieldType::Ascii || type == FieldType::Bits;
}

} // namespace

void FrameTemplateDialog::connectEdits()
{
    connect(nameEdit, &QLineEdit::textChanged, this, &FrameTemplateDialog::onFormEdited);
    for (QLineEdit *edit :
         {headerEdit, delimiterEdit, trailerEdit, polyEdit, initEdit, xorOutEdit}) {
        connect(edit, &QLineEdit::textChanged, this, &FrameTemplateDialog::onFormEdited);
    }
    for (QSpinBox *box :
         {lengthOffsetSpin, lengthWidthSpin, lengthAdjustSpin, fixedLengthSpin, idleGapSpin,
          maxFrameSpin, frameTimeoutSpin, crcWidthSpin, checksumStartSpin}) {
        connect(box, &QSpinBox::valueChanged, this, &FrameTemplateDialog::onFormEdited);
    }
    for (QComboBox *combo :
         {framingCombo, lengthEndianCombo, lengthScopeCombo, checksumCombo, checksumOrderCombo}) {
        connect(combo, &QComboBox::currentIndexChanged, this, &FrameTemplateDialog::onFormEdited);
    }
    for (QCheckBox *box : {refInCheck, refOutCheck}) {
        connect(box, &QCheckBox::toggled, this, &FrameTemplateDialog::onFormEdited);
    }
    connect(fieldsTable, &QTableWidget::cellChanged, this, &FrameTemplateDialog::onFormEdited);
}

void FrameTemplateDialog::loadForm(const FrameTemplate &t)
{
    pushing = true;
    nameEdit->setText(t.name);
    framingCombo->setCurrentIndex(int(t.framing));
    headerEdit->setText(FrameTemplateText::formatHex(t.header));
    lengthOffsetSpin->setValue(t.lengthOffset);
    lengthWidthSpin->setValue(t.lengthWidth);
    lengthEndianCombo->setCurrentIndex(int(t.lengthEndian));
    lengthScopeCombo->setCurrentIndex(int(t.lengthScope));
    lengthAdjustSpin->setValue(t.lengthAdjust);
    fixedLengthSpin->setValue(t.fixedLength);
    delimiterEdit->setText(FrameTemplateText::formatHex(t.delimiter));
    idleGapSpin->setValue(t.idleGapMs);
    trailerEdit->setText(FrameTemplateText::formatHex(t.trailer));
    maxFrameSpin->setValue(t.maxFrameBytes);
    frameTimeoutSpin->setValue(t.frameTimeoutMs);
    const QPoint checksum(t.checksum.kind,
                          t.checksum.kind == ChecksumSpec::Crc ? t.checksum.crc : 0);
    checksumCombo->setCurrentIndex(std::max(0, checksumCombo->findData(checksum)));
    crcWidthSpin->setValue(t.checksum.width);
    polyEdit->setText(QString::number(t.checksum.poly, 16).toUpper());
    initEdit->setText(QString::number(t.checksum.init, 16).toUpper());
    xorOutEdit->setText(QString::number(t.checksum.xorOut, 16).toUpper());
    refInCheck->setChecked(t.checksum.refIn);
    refOutCheck->setChecked(t.checksum.refOut);
    checksumStartSpin->setValue(t.checksumStart);
    checksumOrderCombo->setCurrentIndex(int(t.checksumOrder));
    fieldsTable->setRowCount(0);
    for (const FieldSpec &field : t.fields) {
        const int row = fieldsTable->rowCount();
        fieldsTable->insertRow(row);
        setFieldRow(row, field);
    }
    fieldsTable->resizeColumnsToContents();
    pushing = false;
    updateVisibility();
}

void FrameTemplateDialog::setFieldRow(int row, const FieldSpec &field)
{
    const bool wasPushing = std::exchange(pushing, true);
    const auto set = [&](int column, const QString &text) {
        fieldsTable->setItem(row, column, new QTableWidgetItem(text));
    };
    set(NameColumn, field.name);
    set(OffsetColumn, QString::number(field.offset));
    set(LengthColumn,
        sizedByLength(field.type) || field.length != 0 ? QString::number(field.length) : QString());
    const bool plainBits = field.bitStart == 0 && field.bitCount == 1;
    set(BitsColumn, field.type == FieldType::Bits || !plainBits
                        ? FrameTemplateText::formatBits(field.bitStart, field.bitCount)
                        : QString());
    set(ScaleColumn, numberText(field.scale));
    set(AddColumn, numberText(field.addend));
    set(DecimalsColumn, field.decimals < 0 ? QString() : QString::number(field.decimals));
    set(UnitColumn, field.unit);
    set(LabelsColumn, field.labels);
    set(WhenColumn, FrameTemplateText::formatWhen(field.whenOffset, field.whenValue));
    auto *type = new QComboBox(fieldsTable);
    for (FieldType t : FrameTemplateText::fieldTypes()) {
        type->addItem(FrameTemplateText::typeName(t));
    }
    type->setCurrentIndex(int(field.type));
    auto *endian = new QComboBox(fieldsTable);
    endian->addItems(FrameTemplateText::endianNames());
    endian->setCurrentIndex(int(field.endian));
    for (QComboBox *combo : {type, endian}) {
        combo->setFrame(false);
        connect(combo, &QComboBox::currentIndexChanged, this, &FrameTemplateDialog::onFormEdited);
    }
    fieldsTable->setCellWidget(row, TypeColumn, type);
    fieldsTable->setCellWidget(row, EndianColumn, endian);
    pushing = wasPushing;
}

bool FrameTemplateDialog::collectForm(FrameTemplate *out, QString *error) const
{
    const auto fail = [error](const QString &text) {
        *error = text;
        return false;
    };
    if (current < 0 || current >= working.size()) {
        return fail(tr("Add a template first."));
    }
    FrameTemplate t = working.at(current);
    t.name = nameEdit->text();
    t.framing = FrameTemplate::Framing(framingCombo->currentIndex());
    const auto hexRow = [&](QLineEdit *edit, const QString &label, QByteArray *bytes) {
        QString why;
        if (!FrameTemplateText::parseHex(edit->text(), bytes, &why)) {
            *error = tr("%1: %2").arg(label, why);
            return false;
        }
        return true;
    };
    if (!hexRow(headerEdit, tr("Header"), &t.header) ||
        !hexRow(delimiterEdit, tr("Delimiter"), &t.delimiter) ||
        !hexRow(trailerEdit, tr("Trailer"), &t.trailer)) {
        return false;
    }
    t.lengthOffset = lengthOffsetSpin->value();
    t.lengthWidth = lengthWidthSpin->value();
    t.lengthEndian = Endian(lengthEndianCombo->currentIndex());
    t.lengthScope = FrameTemplate::LengthScope(lengthScopeCombo->currentIndex());
    t.lengthAdjust = lengthAdjustSpin->value();
    t.fixedLength = fixedLengthSpin->value();
    t.idleGapMs = idleGapSpin->value();
    t.maxFrameBytes = maxFrameSpin->value();
    t.frameTimeoutMs = frameTimeoutSpin->value();
    const QPoint checksum = checksumCombo->currentData().toPoint();
    t.checksum.kind = ChecksumSpec::Kind(checksum.x());
    if (t.checksum.kind == ChecksumSpec::Crc) {
        t.checksum.crc = checksum.y();
    }
    if (t.checksum.kind == ChecksumSpec::Crc && t.checksum.crc == ChecksumSpec::CustomCrc) {
        t.checksum.width = crcWidthSpin->value();
        const auto hexNumber = [&](QLineEdit *edit, const QString &label, quint64 *value) {
            QString text = edit->text().trimmed();
            if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
                text = text.mid(2);
            }
            bool ok = false;
            *value = text.toULongLong(&ok, 16);
            if (!ok) {
                *error = tr("%1: not a hex number").arg(label);
            }
            return ok;
        };
        if (!hexNumber(polyEdit, tr("Poly"), &t.checksum.poly) ||
            !hexNumber(initEdit, tr("Init"), &t.checksum.init) ||
            !hexNumber(xorOutEdit, tr("XorOut"), &t.checksum.xorOut)) {
            return false;
        }
        t.checksum.refIn = refInCheck->isChecked();
        t.checksum.refOut = refOutCheck->isChecked();
    }
    t.checksumStart = checksumStartSpin->value();
    t.checksumOrder = Endian(checksumOrderCombo->currentIndex());

    t.fields.clear();
    for (int row = 0; row < fieldsTable->rowCount(); ++row) {
        const auto cell = [&](int column) {
            const QTableWidgetItem *item = fieldsTable->item(row, column);
            return item ? item->text().trimmed() : QString();
        };
        const auto combo = [&](int column) {
            const auto *box = qobject_cast<const QComboBox *>(fieldsTable->cellWidget(row, column));
            return box ? std::max(0, box->currentIndex()) : 0;
        };
        const int number = row + 1;
        FieldSpec f;
        const QTableWidgetItem *nameItem = fieldsTable->item(row, NameColumn);
        f.name = nameItem ? nameItem->text() : QString();
        bool ok = false;
        f.offset = cell(OffsetColumn).toInt(&ok);
        if (!ok) {
            return fail(tr("Field %1: the offset is not a number").arg(number));
        }
        f.type = FieldType(combo(TypeColumn));
        f.length = cell(LengthColumn).isEmpty() ? 0 : cell(LengthColumn).toInt(&ok);
        if (!ok) {
            return fail(tr("Field %1: the length is not a number").arg(number));
        }
        if (!cell(BitsColumn).isEmpty() &&
            !FrameTemplateText::parseBits(cell(BitsColumn), &f.bitStart, &f.bitCount)) {
            return fail(tr("Field %1: bits are written \"5..7\"").arg(number));
        }
        f.endian = Endian(combo(EndianColumn));
        bool scaleOk = true;
        bool addOk = true;
        f.scale = cell(ScaleColumn).isEmpty() ? 1.0 : cell(ScaleColumn).toDouble(&scaleOk);
        f.addend = cell(AddColumn).isEmpty() ? 0.0 : cell(AddColumn).toDouble(&addOk);
        if (!scaleOk || !addOk) {
            return fail(tr("Field %1: scale and add are numbers").arg(number));
        }
        f.decimals = cell(DecimalsColumn).isEmpty() ? -1 : cell(DecimalsColumn).toInt(&ok);
        if (!ok) {
            return fail(tr("Field %1: decimals is a number").arg(number));
        }
        const QTableWidgetItem *unitItem = fieldsTable->item(row, UnitColumn);
        f.unit = unitItem ? unitItem->text() : QString();
        const QTableWidgetItem *labelsItem = fieldsTable->item(row, LabelsColumn);
        f.labels = labelsItem ? labelsItem->text() : QString();
        int whenValue = 0;
        if (!FrameTemplateText::parseWhen(cell(WhenColumn), &f.whenOffset, &whenValue)) {
            return fail(tr("Field %1: When is written \"3=01\" (byte 3 is 0x01)").arg(number));
        }
        f.whenValue = quint8(whenValue);
        t.fields.append(f);
    }
    *out = t;
    error->clear();
    return true;
}

void FrameTemplateDialog::addField()
{
    if (current < 0) {
        return;
    }
    FieldSpec field;
    field.name = QStringLiteral("field%1").arg(fieldsTable->rowCount() + 1);
    const int row = fieldsTable->rowCount();
    fieldsTable->insertRow(row);
    setFieldRow(row, field);
    fieldsTable->setCurrentCell(row, NameColumn);
    onFormEdited();
}

void FrameTemplateDialog::removeField()
{
    const int row = fieldsTable->currentRow();
    if (row >= 0) {
        fieldsTable->removeRow(row);
        onFormEdited();
    }
}

void FrameTemplateDialog::onFormEdited()
{
    if (pushing) {
        return;
    }
    if (current >= 0 && current < list->count()) {
        const QString name = nameEdit->text().trimmed();
        list->item(current)->setText(name.isEmpty() ? tr("(unnamed)") : name);
    }
    updateVisibility();
    // The test follows the template as it is edited.
    if (!testInput->toPlainText().trimmed().isEmpty()) {
        runTest(testInput->toPlainText());
    }
}

void FrameTemplateDialog::updateVisibility()
{
    const int framing = framingCombo->currentIndex();
    const auto show = [](const QList<QWidget *> &rows, bool visible) {
        for (QWidget *widget : rows) {
            widget->setVisible(visible);
        }
    };
    show(lengthRows, framing == FrameTemplate::HeaderLength);
    show(fixedRows, framing == FrameTemplate::HeaderFixed);
    show(delimiterRows, framing == FrameTemplate::Delimited);
    show(idleRows, framing == FrameTemplate::IdleGap);
    show(trailerRows, framing != FrameTemplate::Delimited);
    const QPoint checksum = checksumCombo->currentData().toPoint();
    show(customRows, checksum == QPoint(ChecksumSpec::Crc, ChecksumSpec::CustomCrc));
    const bool any = checksum.x() != ChecksumSpec::None;
    checksumStartSpin->setEnabled(any);
    checksumOrderCombo->setEnabled(any);
}
