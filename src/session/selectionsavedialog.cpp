#include "session/selectionsavedialog.h"

#include "recording/exportdialogs.h"
#include "session/selectionactions.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QSettings>
#include <QSpinBox>
#include <QTimeZone>
#include <QVBoxLayout>

namespace {

// The preview shows the file's beginning only.
constexpr int PreviewLines = 40;
constexpr qsizetype PreviewBytes = 1024;

const QString FormatKey = QStringLiteral("Selection/SaveFormat");
const QString NameKey = QStringLiteral("Selection/ArrayName");
const QString PerLineKey = QStringLiteral("Selection/BytesPerLine");
const QString StdintKey = QStringLiteral("Selection/IncludeStdint");
const QString StaticKey = QStringLiteral("Selection/Static");
const QString LengthKey = QStringLiteral("Selection/Length");

} // namespace

SelectionSaveDialog::SelectionSaveDialog(const SelectionResult &result, const QString &source,
                                         QWidget *parent)
    : QDialog(parent)
    , result(result)
    , bytes(result.bytes())
    , source(source)
{
    setObjectName(QStringLiteral("selectionSaveDialog"));
    setWindowTitle(tr("Save Selection"));
    auto *layout = new QVBoxLayout(this);

    auto *summary = new QLabel(tr("%n byte(s) from %1", nullptr, int(std::min<qint64>(
                                                                 bytes.size(), INT_MAX)))
                                   .arg(source),
                               this);
    summary->setObjectName(QStringLiteral("summaryLabel"));
    layout->addWidget(summary);
    const QStringList caveats = SelectionActions::caveats(result);
    if (!caveats.isEmpty()) {
        auto *caveatLabel = new QLabel(caveats.join(u'\n'), this);
        caveatLabel->setObjectName(QStringLiteral("caveatLabel"));
        caveatLabel->setWordWrap(true);
        layout->addWidget(caveatLabel);
    }

    auto *form = new QFormLayout;
    formatCombo = new QComboBox(this);
    formatCombo->setObjectName(QStringLiteral("formatCombo"));
    formatCombo->addItems({tr("Binary (.bin)"), tr("Hex dump (.txt)"), tr("C source (.c, .h)")});
    form->addRow(tr("Format:"), formatCombo);
    layout->addLayout(form);

    cOptions = new QWidget(this);
    auto *cForm = new QFormLayout(cOptions);
    cForm->setContentsMargins(0, 0, 0, 0);
    const SessionExport::CArrayOptions saved = loadCArrayOptions();
    arrayNameEdit = new QLineEdit(saved.name, cOptions);
    arrayNameEdit->setObjectName(QStringLiteral("arrayNameEdit"));
    cForm->addRow(tr("Array name:"), arrayNameEdit);
    bytesPerLineSpin = new QSpinBox(cOptions);
    bytesPerLineSpin->setObjectName(QStringLiteral("bytesPerLineSpin"));
    bytesPerLineSpin->setRange(1, 64);
    bytesPerLineSpin->setValue(saved.bytesPerLine);
    cForm->addRow(tr("Bytes per line:"), bytesPerLineSpin);
    stdintBox = new QCheckBox(tr("Include <stdint.h>"), cOptions);
    stdintBox->setObjectName(QStringLiteral("stdintBox"));
    stdintBox->setChecked(saved.includeHeaderLine);
    cForm->addRow(QString(), stdintBox);
    staticBox = new QCheckBox(tr("static"), cOptions);
    staticBox->setObjectName(QStringLiteral("staticBox"));
    staticBox->setChecked(saved.staticStorage);
    cForm->addRow(QString(), staticBox);
    lengthCombo = new QComboBox(cOptions);
    lengthCombo->setObjectName(QStringLiteral("lengthCombo"));
    lengthCombo->addItems({tr("None"), tr("#define NAME_LEN"), tr("sizeof comment")});
    lengthCombo->setCurrentIndex(saved.lengthDefine ? 1 : saved.sizeComment ? 2 : 0);
    cForm->addRow(tr("Length:"), lengthCombo);
    layout->addWidget(cOptions);

    previewEdit = new QPlainTextEdit(this);
    previewEdit->setObjectName(QStringLiteral("previewEdit"));
    previewEdit->setReadOnly(true);
    previewEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    previewEdit->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    previewEdit->setMinimumSize(520, 220);
    layout->addWidget(previewEdit, 1);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton *save = buttons->addButton(tr("Save..."), QDialogButtonBox::AcceptRole);
    save->setObjectName(QStringLiteral("saveButton"));
    save->setEnabled(!bytes.isEmpty());
    connect(buttons, &QDialogButtonBox::accepted, this, &SelectionSaveDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SelectionSaveDialog::reject);
    layout->addWidget(buttons);

    formatCombo->setCurrentIndex(std::clamp(QSettings().value(FormatKey, 0).toInt(), 0, 2));
    connect(formatCombo, &QComboBox::currentIndexChanged, this, &SelectionSaveDialog::updateForm);
    connect(arrayNameEdit, &QLineEdit::textChanged, this, &SelectionSaveDialog::updateForm);
    connect(bytesPerLineSpin, &QSpinBox::valueChanged, this, &SelectionSaveDialog::updateForm);
    connect(stdintBox, &QCheckBox::toggled, this, &SelectionSaveDialog::updateForm);
    connect(staticBox, &QCheckBox::toggled, this, &SelectionSaveDialog::updateForm);
    connect(lengthCombo, &QComboBox::currentIndexChanged, this, &SelectionSaveDialog::updateForm);
    updateForm();
}

SelectionSaveDialog::Format SelectionSaveDialog::format() const
{
    return Format(formatCombo->currentIndex());
}

void SelectionSaveDialog::setFormat(Format format)
{
    formatCombo->setCurrentIndex(int(format));
}

QString SelectionSaveDialog::fileSuffix() const
{
    switch (format()) {
    case Format::Binary:
        return QStringLiteral("bin");
    case Format::HexDump:
        return QStringLiteral("txt");
    case Format::CSource:
        break;
    }
    return QStringLiteral("c");
}

QString SelectionSaveDialog::fileFilter() const
{
    QString filter;
    switch (format()) {
    case Format::Binary:
        filter = tr("Binary files (*.bin)");
        break;
    case Format::HexDump:
        filter = tr("Text files (*.txt)");
        break;
    case Format::CSource:
        filter = tr("C source (*.c *.h)");
        break;
    }
    return filter + QStringLiteral(";;") + tr("All files (*)");
}

QString SelectionSaveDialog::defaultFileName(const QDateTime &when) const
{
    return QStringLiteral("VLM-selection-%1.%2")
        .arg(when.toString(QStringLiteral("yyyyMMdd-HHmmss")), fileSuffix());
}

SessionExport::CArrayOptions SelectionSaveDialog::cArrayOptions() const
{
    SessionExport::CArrayOptions options;
    options.name = arrayNameEdit->text().trimmed();
    options.bytesPerLine = bytesPerLineSpin->value();
    options.includeHeaderLine = stdintBox->isChecked();
    options.staticStorage = staticBox->isChecked();
    options.lengthDefine = lengthCombo->currentIndex() == 1;
    options.sizeComment = lengthCombo->currentIndex() == 2;
    options.comment = SessionExport::selectionComment(result.pieces, source,
                                                      QTimeZone::systemTimeZone());
    return options;
}

void SelectionSaveDialog::saveCArrayOptions(const SessionExport::CArrayOptions &options)
{
    QSettings settings;
    settings.setValue(NameKey, options.name);
    settings.setValue(PerLineKey, options.bytesPerLine);
    settings.setValue(StdintKey, options.includeHeaderLine);
    settings.setValue(StaticKey, options.staticStorage);
    settings.setValue(LengthKey, options.lengthDefine ? 1 : options.sizeComment ? 2 : 0);
}

SessionExport::CArrayOptions SelectionSaveDialog::loadCArrayOptions()
{
    const QSettings settings;
    SessionExport::CArrayOptions options;
    options.name = settings.value(NameKey, QStringLiteral("vlm_data")).toString();
    options.bytesPerLine = std::clamp(settings.value(PerLineKey, 12).toInt(), 1, 64);
    options.includeHeaderLine = settings.value(StdintKey, true).toBool();
    options.staticStorage = settings.value(StaticKey, true).toBool();
    const int length = settings.value(LengthKey, 1).toInt();
    options.lengthDefine = length == 1;
    options.sizeComment = length == 2;
    return options;
}

QByteArray SelectionSaveDialog::content() const
{
    switch (format()) {
    case Format::Binary:
        return bytes;
    case Format::HexDump:
        return SessionExport::toHexDump(bytes).toLatin1();
    case Format::CSource:
        break;
    }
    return SessionExport::toCArray(bytes, cArrayOptions()).toUtf8();
}

QString SelectionSaveDialog::previewText() const
{
    return previewEdit->toPlainText();
}

void SelectionSaveDialog::updateForm()
{
    cOptions->setVisible(format() == Format::CSource);
    // A binary file is shown as the dump of its beginning.
    QString text;
    bool cut = false;
    if (format() == Format::CSource) {
        text = QString::fromUtf8(content());
    } else {
        text = SessionExport::toHexDump(
            QByteArrayView(bytes).first(std::min(bytes.size(), PreviewBytes)));
        cut = bytes.size() > PreviewBytes;
    }
    QStringList lines = text.split(u'\n');
    if (lines.size() > PreviewLines) {
        lines = lines.mid(0, PreviewLines);
        cut = true;
    }
    if (cut) {
        if (!lines.isEmpty() && lines.last().isEmpty()) {
            lines.removeLast();
        }
        lines.append(QStringLiteral("..."));
    }
    previewEdit->setPlainText(lines.join(u'\n'));
}

bool SelectionSaveDialog::writeTo(const QString &path, QString *message)
{
    const QString shown = QDir::toNativeSeparators(path);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content()) < 0 || !file.commit()) {
        *message = tr("Could not save %1: %2").arg(shown, file.errorString());
        lastMessage = *message;
        return false;
    }
    *message = tr("Saved %1.").arg(shown);
    lastMessage = *message;
    QSettings().setValue(FormatKey, int(format()));
    if (format() == Format::CSource) {
        saveCArrayOptions(cArrayOptions());
    }
    return true;
}

void SelectionSaveDialog::accept()
{
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Save Selection"),
        QDir(ExportDialogs::lastDirectory()).filePath(defaultFileName(QDateTime::currentDateTime())),
        fileFilter());
    if (path.isEmpty()) {
        return;
    }
    ExportDialogs::rememberDirectory(path);
    QString message;
    if (!writeTo(path, &message)) {
        QMessageBox::warning(this, tr("Save Selection"), message);
        return;
    }
    QDialog::accept();
}
