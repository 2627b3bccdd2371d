#include "decode/frametemplatedialog.h"

#include "decode/frametemplatetext.h"
#include "tools/crccatalog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

QSpinBox *spin(QWidget *parent, const char *name, int low, int high, const QString &suffix = {})
{
    auto *box = new QSpinBox(parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setRange(low, high);
    box->setSuffix(suffix);
    return box;
}

QLineEdit *line(QWidget *parent, const char *name, const QString &placeholder = {})
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(QString::fromLatin1(name));
    edit->setPlaceholderText(placeholder);
    return edit;
}

// A form row whose label and field are shown and hidden together.
QList<QWidget *> addRow(QFormLayout *form, const QString &label, QWidget *field)
{
    auto *caption = new QLabel(label, field->parentWidget());
    caption->setBuddy(field);
    form->addRow(caption, field);
    return {caption, field};
}

} // namespace

FrameTemplateDialog::FrameTemplateDialog(const QList<FrameTemplate> &templates, QWidget *parent)
    : QDialog(parent)
    , working(templates)
{
    setWindowTitle(tr("Frame Templates"));
    setObjectName(QStringLiteral("frameTemplateDialog"));
    for (int i = 0; i < working.size(); ++i) {
        origin.append(i);
        openedNames.append(working.at(i).name.trimmed());
    }

    // The list and its buttons.
    auto *left = new QWidget(this);
    auto *leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    list = new QListWidget(left);
    list->setObjectName(QStringLiteral("frameTemplateList"));
    leftLayout->addWidget(list);
    const auto button = [&](const QString &text, const char *name,
                            void (FrameTemplateDialog::*slot)()) {
        auto *b = new QPushButton(text, left);
        b->setObjectName(QString::fromLatin1(name));
        connect(b, &QPushButton::clicked, this, slot);
        leftLayout->addWidget(b);
    };
    button(tr("Add a template"), "btnAddTemplate", &FrameTemplateDialog::addTemplate);
    button(tr("Duplicate the template"), "btnDuplicateTemplate",
           &FrameTemplateDialog::duplicateTemplate);
    button(tr("Remove the template"), "btnRemoveTemplate", &FrameTemplateDialog::removeTemplate);
    button(tr("Move up"), "btnMoveUp", &FrameTemplateDialog::moveUp);
    button(tr("Move down"), "btnMoveDown", &FrameTemplateDialog::moveDown);

    // The form of the template being edited.
    form = new QWidget(this);
    auto *formLayout = new QVBoxLayout(form);
    auto *nameRow = new QHBoxLayout;
    nameEdit = line(form, "frameTemplateName");
    auto *nameLabel = new QLabel(tr("Name"), form);
    nameLabel->setBuddy(nameEdit);
    nameRow->addWidget(nameLabel);
    nameRow->addWidget(nameEdit);
    formLayout->addLayout(nameRow);
    auto *groups = new QHBoxLayout;
    groups->addWidget(buildFramingGroup(), 1);
    groups->addWidget(buildChecksumGroup(), 1);
    formLayout->addLayout(groups);
    formLayout->addWidget(buildFieldsGroup(), 2);
    formLayout->addWidget(buildTestGroup(), 3);
    errorLabel = new QLabel(form);
    errorLabel->setObjectName(QStringLiteral("frameTemplateError"));
    errorLabel->setStyleSheet(QStringLiteral("color: #c62828;"));
    errorLabel->setWordWrap(true);
    errorLabel->hide();
    formLayout->addWidget(errorLabel);
    auto *scroll = new QScrollArea(this);
    scroll->setWidget(form);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);

    auto *splitter = new QSplitter(this);
    splitter->addWidget(left);
    splitter->addWidget(scroll);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({220, 980});
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &FrameTemplateDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(splitter, 1);
    layout->addWidget(buttons);
    resize(1200, 860);

    connectEdits();
    connect(list, &QListWidget::currentRowChanged, this, &FrameTemplateDialog::onRowChanged);
    refreshList();
    showTemplate(working.isEmpty() ? -1 : 0);
}

QWidget *FrameTemplateDialog::buildFramingGroup()
{
    auto *group = new QGroupBox(tr("Framing"), form);
    auto *rows = new QFormLayout(group);
    framingCombo = new QComboBox(group);
    framingCombo->setObjectName(QStringLiteral("framingCombo"));
    framingCombo->addItems(FrameTemplateText::framingNames());
    rows->addRow(tr("Mode"), framingCombo);
    headerEdit = line(group, "headerEdit", tr("AA 55"));
    rows->addRow(tr("Header (hex)"), headerEdit);

    lengthOffsetSpin = spin(group, "lengthOffsetSpin", 0, 4096);
    lengthWidthSpin = spin(group, "lengthWidthSpin", 1, 4);
    lengthEndianCombo = new QComboBox(group);
    lengthEndianCombo->setObjectName(QStringLiteral("lengthEndianCombo"));
    lengthEndianCombo->addItems(FrameTemplateText::endianNames());
    auto *field = new QWidget(group);
    auto *fieldRow = new QHBoxLayout(field);
    fieldRow->setContentsMargins(0, 0, 0, 0);
    fieldRow->addWidget(lengthOffsetSpin);
    auto *widthLabel = new QLabel(tr("width"), field);
    fieldRow->addWidget(widthLabel);
    fieldRow->addWidget(lengthWidthSpin);
    fieldRow->addWidget(lengthEndianCombo, 1);
    lengthRows += addRow(rows, tr("Length at byte"), field);
    lengthScopeCombo = new QComboBox(group);
    lengthScopeCombo->setObjectName(QStringLiteral("lengthScopeCombo"));
    lengthScopeCombo->addItems(FrameTemplateText::lengthScopeNames());
    lengthRows += addRow(rows, tr("counts"), lengthScopeCombo);
    lengthAdjustSpin = spin(group, "lengthAdjustSpin", -64, 64);
    lengthAdjustSpin->setToolTip(
        tr("Added to the length field, for protocols that count one more or one less"));
    lengthRows += addRow(rows, tr("adjust"), lengthAdjustSpin);
    fixedLengthSpin = spin(group, "fixedLengthSpin", 1, 4096, tr(" bytes"));
    fixedRows = addRow(rows, tr("Frame length"), fixedLengthSpin);
    delimiterEdit = line(group, "delimiterEdit", tr("0D 0A"));
    delimiterRows = addRow(rows, tr("Delimiter (hex)"), delimiterEdit);
    idleGapSpin = spin(group, "idleGapSpin", 1, 60000, tr(" ms"));
    idleRows = addRow(rows, tr("Idle gap"), idleGapSpin);
    trailerEdit = line(group, "trailerEdit");
    trailerRows = addRow(rows, tr("Trailer (hex)"), trailerEdit);
    maxFrameSpin = spin(group, "maxFrameSpin", 4, 4096, tr(" bytes"));
    rows->addRow(tr("Largest frame"), maxFrameSpin);
    frameTimeoutSpin = spin(group, "frameTimeoutSpin", 5, 10000, tr(" ms"));
    frameTimeoutSpin->setToolTip(
        tr("A frame still incomplete after this much silence is shown as Incomplete"));
    rows->addRow(tr("Frame timeout"), frameTimeoutSpin);
    return group;
}

QWidget *FrameTemplateDialog::buildChecksumGroup()
{
    auto *group = new QGroupBox(tr("Checksum"), form);
    auto *rows = new QFormLayout(group);
    checksumCombo = new QComboBox(group);
    checksumCombo->setObjectName(QStringLiteral("checksumCombo"));
    // Data: the kind, and for CRCs the catalogue index.
    checksumCombo->addItem(tr("None"), QPoint(ChecksumSpec::None, 0));
    checksumCombo->addItem(tr("SUM8"), QPoint(ChecksumSpec::Sum8, 0));
    checksumCombo->addItem(tr("XOR8"), QPoint(ChecksumSpec::Xor8, 0));
    checksumCombo->addItem(tr("SUM16"), QPoint(ChecksumSpec::Sum16, 0));
    const QList<CrcCatalog::Definition> &catalogue = CrcCatalog::definitions();
    for (int i = 0; i < catalogue.size(); ++i) {
        if (i != ChecksumSpec::CustomCrc) {
            checksumCombo->addItem(catalogue.at(i).name, QPoint(ChecksumSpec::Crc, i));
        }
    }
    checksumCombo->addItem(tr("Custom CRC"), QPoint(ChecksumSpec::Crc, ChecksumSpec::CustomCrc));
    rows->addRow(tr("Checksum"), checksumCombo);
    crcWidthSpin = spin(group, "crcWidthSpin", 1, 64, tr(" bits"));
    customRows += addRow(rows, tr("Width"), crcWidthSpin);
    polyEdit = line(group, "polyEdit");
    customRows += addRow(rows, tr("Poly"), polyEdit);
    initEdit = line(group, "initEdit");
    customRows += addRow(rows, tr("Init"), initEdit);
    xorOutEdit = line(group, "xorOutEdit");
    customRows += addRow(rows, tr("XorOut"), xorOutEdit);
    refInCheck = new QCheckBox(tr("Reflect in"), group);
    refInCheck->setObjectName(QStringLiteral("refInCheck"));
    refOutCheck = new QCheckBox(tr("Reflect out"), group);
    refOutCheck->setObjectName(QStringLiteral("refOutCheck"));
    auto *reflect = new QWidget(group);
    auto *reflectRow = new QHBoxLayout(reflect);
    reflectRow->setContentsMargins(0, 0, 0, 0);
    reflectRow->addWidget(refInCheck);
    reflectRow->addWidget(refOutCheck);
    reflectRow->addStretch();
    rows->addRow(reflect);
    customRows.append(reflect);
    checksumStartSpin = spin(group, "checksumStartSpin", 0, 4096);
    rows->addRow(tr("over bytes from"), checksumStartSpin);
    checksumOrderCombo = new QComboBox(group);
    checksumOrderCombo->setObjectName(QStringLiteral("checksumOrderCombo"));
    checksumOrderCombo->addItems(FrameTemplateText::endianNames());
    rows->addRow(tr("to the checksum, stored"), checksumOrderCombo);
    return group;
}

QWidget *FrameTemplateDialog::buildFieldsGroup()
{
    auto *group = new QGroupBox(tr("Fields"), form);
    auto *layout = new QVBoxLayout(group);
    fieldsTable = new QTableWidget(0, 12, group);
    fieldsTable->setObjectName(QStringLiteral("frameTemplateFields"));
    fieldsTable->setHorizontalHeaderLabels({tr("Name"), tr("Offset"), tr("Type"), tr("Length"),
                                            tr("Bits"), tr("Byte order"), tr("Scale"), tr("Add"),
                                            tr("Decimals"), tr("Unit"), tr("Labels"), tr("When")});
    fieldsTable->horizontalHeaderItem(4)->setToolTip(
        tr("Bits fields: \"5..7\" for bits 5 to 7, bit 0 the lowest"));
    fieldsTable->horizontalHeaderItem(10)->setToolTip(tr("Names for values, \"0=Off;1=On\""));
    fieldsTable->horizontalHeaderItem(11)->setToolTip(
        tr("Only when a byte has a value: \"3=01\" means byte 3 is 0x01. Empty for always"));
    fieldsTable->verticalHeader()->setVisible(false);
    fieldsTable->horizontalHeader()->setStretchLastSection(true);
    fieldsTable->setMinimumHeight(150);
    layout->addWidget(fieldsTable);
    auto *buttons = new QHBoxLayout;
    auto *add = new QPushButton(tr("Add a field"), group);
    add->setObjectName(QStringLiteral("btnAddField"));
    auto *remove = new QPushButton(tr("Remove the field"), group);
    remove->setObjectName(QStringLiteral("btnRemoveField"));
    connect(add, &QPushButton::clicked, this, &FrameTemplateDialog::addField);
    connect(remove, &QPushButton::clicked, this, &FrameTemplateDialog::removeField);
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch();
    layout->addLayout(buttons);
    return group;
}

QWidget *FrameTemplateDialog::buildTestGroup()
{
    auto *group = new QGroupBox(tr("Test"), form);
    auto *layout = new QGridLayout(group);
    testInput = new QPlainTextEdit(group);
    testInput->setObjectName(QStringLiteral("frameTemplateTestInput"));
    testInput->setPlaceholderText(
        tr("Paste received bytes in hex, e.g. AA 55 07 01 01 02 41 20 00 00 6C"));
    testInput->setMaximumHeight(3 * fontMetrics().lineSpacing() + 12);
    auto *decode = new QPushButton(tr("Decode"), group);
    decode->setObjectName(QStringLiteral("btnTestDecode"));
    testMessage = new QLabel(group);
    testMessage->setObjectName(QStringLiteral("frameTemplateTestMessage"));
    testMessage->setWordWrap(true);
    testResults = new QListWidget(group);
    testResults->setObjectName(QStringLiteral("frameTemplateTestResults"));
    testFields = new QTableWidget(0, 2, group);
    testFields->setObjectName(QStringLiteral("frameTemplateTestFields"));
    testFields->setHorizontalHeaderLabels({tr("Field"), tr("Value")});
    testFields->verticalHeader()->setVisible(false);
    testFields->horizontalHeader()->setStretchLastSection(true);
    testFields->setEditTriggers(QAbstractItemView::NoEditTriggers);
    testFields->verticalHeader()->setDefaultSectionSize(fontMetrics().lineSpacing() + 6);
    testFields->setMinimumHeight(8 * (fontMetrics().lineSpacing() + 6));
    layout->addWidget(testInput, 0, 0, 1, 2);
    layout->addWidget(decode, 0, 2, Qt::AlignTop);
    layout->addWidget(testMessage, 1, 0, 1, 3);
    layout->addWidget(testResults, 2, 0);
    layout->addWidget(testFields, 2, 1, 1, 2);
    layout->setColumnStretch(0, 1);
    layout->setColumnStretch(1, 1);
    connect(decode, &QPushButton::clicked, this, [this] { runTest(testInput->toPlainText()); });
    connect(testResults, &QListWidget::currentRowChanged, this,
            &FrameTemplateDialog::showTestFrame);
    return group;
}

void FrameTemplateDialog::refreshList()
{
    const QSignalBlocker block(list);
    list->clear();
    for (const FrameTemplate &t : std::as_const(working)) {
        list->addItem(t.name.trimmed().isEmpty() ? tr("(unnamed)") : t.name);
    }
    list->setCurrentRow(current);
    form->setEnabled(current >= 0);
}

QStringList FrameTemplateDialog::names() const
{
    QStringList taken;
    for (const FrameTemplate &t : working) {
        taken.append(t.name);
    }
    return taken;
}

bool FrameTemplateDialog::selectTemplate(int row)
{
    if (row < 0 || row >= working.size() || !storeCurrent()) {
        return false;
    }
    showTemplate(row);
    return true;
}

void FrameTemplateDialog::showTemplate(int row)
{
    current = row;
    refreshList();
    if (row >= 0) {
        loadForm(working.at(row));
    }
    showError(QString());
}

void FrameTemplateDialog::onRowChanged(int row)
{
    if (row == current || pushing) {
        return;
    }
    if (!selectTemplate(row)) {
        const QSignalBlocker block(list);
        list->setCurrentRow(current);
    }
}

bool FrameTemplateDialog::storeCurrent()
{
    if (current < 0 || current >= working.size()) {
        return true;
    }
    FrameTemplate edited;
    QString error;
    if (!collectForm(&edited, &error)) {
        showError(error);
        return false;
    }
    working[current] = edited;
    return true;
}

QList<FrameTemplate> FrameTemplateDialog::templates() const
{
    QList<FrameTemplate> out = working;
    FrameTemplate edited;
    QString error;
    if (current >= 0 && current < out.size() && collectForm(&edited, &error)) {
        out[current] = edited;
    }
    return out;
}

QHash<QString, QString> FrameTemplateDialog::renames() const
{
    QHash<QString, QString> out;
    const QList<FrameTemplate> now = templates();
    for (int i = 0; i < now.size(); ++i) {
        const int was = origin.at(i);
        if (was >= 0 && openedNames.at(was) != now.at(i).name.trimmed()) {
            out.insert(openedNames.at(was), now.at(i).name.trimmed());
        }
    }
    return out;
}

QStringList FrameTemplateDialog::removed() const
{
    QStringList out;
    for (int i = 0; i < openedNames.size(); ++i) {
        if (!origin.contains(i)) {
            out.append(openedNames.at(i));
        }
    }
    return out;
}

void FrameTemplateDialog::addTemplate()
{
    if (!storeCurrent()) {
        return;
    }
    FrameTemplate added;
    added.header = QByteArray::fromHex("AA55");
    added.name = FrameTemplateText::uniqueName(tr("Template"), names());
    working.append(added);
    origin.append(-1);
    showTemplate(int(working.size()) - 1);
}

void FrameTemplateDialog::duplicateTemplate()
{
    if (current < 0 || !storeCurrent()) {
        return;
    }
    FrameTemplate copy = working.at(current);
    copy.name = FrameTemplateText::uniqueName(copy.name, names());
    working.insert(current + 1, copy);
    origin.insert(current + 1, -1);
    showTemplate(current + 1);
}

void FrameTemplateDialog::removeTemplate()
{
    if (current < 0) {
        return;
    }
    working.removeAt(current);
    origin.removeAt(current);
    const int next = std::min(current, int(working.size()) - 1);
    showTemplate(next);
}

void FrameTemplateDialog::moveUp()
{
    if (current < 1 || !storeCurrent()) {
        return;
    }
    working.swapItemsAt(current, current - 1);
    origin.swapItemsAt(current, current - 1);
    showTemplate(current - 1);
}

void FrameTemplateDialog::moveDown()
{
    if (current < 0 || current + 1 >= working.size() || !storeCurrent()) {
        return;
    }
    working.swapItemsAt(current, current + 1);
    origin.swapItemsAt(current, current + 1);
    showTemplate(current + 1);
}

void FrameTemplateDialog::showError(const QString &text)
{
    errorLabel->setText(text);
    errorLabel->setVisible(!text.isEmpty());
}

QString FrameTemplateDialog::errorText() const
{
    return errorLabel->text();
}

void FrameTemplateDialog::accept()
{
    if (!storeCurrent()) {
        return;
    }
    for (int i = 0; i < working.size(); ++i) {
        QString why;
        if (!working.at(i).validate(&why)) {
            const QString name = working.at(i).name.trimmed();
            showTemplate(i);
            showError(tr("%1: %2").arg(name.isEmpty() ? tr("(unnamed)") : name, why));
            return;
        }
        for (int j = 0; j < i; ++j) {
            if (working.at(j).name.trimmed() == working.at(i).name.trimmed()) {
                showTemplate(i);
                showError(tr("Another template is already called \"%1\".")
                              .arg(working.at(i).name.trimmed()));
                return;
            }
        }
    }
    QDialog::accept();
}
