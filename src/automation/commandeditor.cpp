#include "automation/commandeditor.h"

#include "automation/commandlibrarytext.h"
#include "tools/crccatalog.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QToolButton>

#include <algorithm>

namespace {
constexpr int PreviewBytes = 64;
}

CommandEditor::CommandEditor(QWidget *parent)
    : QWidget(parent)
{
    auto *form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);

    nameEdit = new QLineEdit(this);
    nameEdit->setObjectName(QStringLiteral("commandNameEdit"));
    nameEdit->setPlaceholderText(tr("Shown on the button, e.g. Version"));
    form->addRow(tr("Name:"), nameEdit);

    formatBox = new QComboBox(this);
    formatBox->setObjectName(QStringLiteral("commandFormatBox"));
    formatBox->addItems({tr("Text"), tr("Hex")});
    form->addRow(tr("Format:"), formatBox);

    textEdit = new QPlainTextEdit(this);
    textEdit->setObjectName(QStringLiteral("commandTextEdit"));
    textEdit->setTabChangesFocus(true);
    textEdit->setMinimumHeight(64);
    form->addRow(tr("Sends:"), textEdit);

    hintLabel = new QLabel(this);
    hintLabel->setObjectName(QStringLiteral("commandHint"));
    hintLabel->setWordWrap(true);
    form->addRow(QString(), hintLabel);

    lineEndingBox = new QComboBox(this);
    lineEndingBox->setObjectName(QStringLiteral("commandLineEndingBox"));
    lineEndingBox->addItems({tr("As the port's send settings"), tr("None"), tr("CR (\\r)"),
                             tr("LF (\\n)"), tr("CR LF (\\r\\n)"), tr("LF CR (\\n\\r)")});
    form->addRow(tr("Line ending:"), lineEndingBox);

    checksumBox = new QComboBox(this);
    checksumBox->setObjectName(QStringLiteral("commandChecksumBox"));
    checksumBox->addItem(tr("As the port's send settings"));
    checksumBox->addItems(CrcCatalog::sendChecksumLabels());
    form->addRow(tr("Append checksum:"), checksumBox);

    auto *shortcutRow = new QHBoxLayout;
    shortcutEdit = new QKeySequenceEdit(this);
    shortcutEdit->setObjectName(QStringLiteral("commandShortcutEdit"));
    shortcutEdit->setToolTip(
        tr("Sends the command to the focused port from anywhere in the window, e.g. Ctrl+1."));
    auto *clearShortcut = new QToolButton(this);
    clearShortcut->setObjectName(QStringLiteral("commandShortcutClearButton"));
    clearShortcut->setText(tr("Clear"));
    shortcutRow->addWidget(shortcutEdit, 1);
    shortcutRow->addWidget(clearShortcut);
    form->addRow(tr("Shortcut:"), shortcutRow);

    noteEdit = new QLineEdit(this);
    noteEdit->setObjectName(QStringLiteral("commandNoteEdit"));
    noteEdit->setPlaceholderText(tr("Optional, shown as the tool tip"));
    form->addRow(tr("Note:"), noteEdit);

    previewLabel = new QLabel(this);
    previewLabel->setObjectName(QStringLiteral("commandPreview"));
    previewLabel->setWordWrap(true);
    previewLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(QString(), previewLabel);
    // The hint and the preview keep room for their longer texts, so that the fields
    // below them do not jump while the user types.
    for (auto [label, lines] : {std::pair{hintLabel, 2}, std::pair{previewLabel, 3}}) {
        label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        label->setMinimumHeight(label->fontMetrics().lineSpacing() * lines);
    }

    connect(nameEdit, &QLineEdit::textEdited, this, &CommandEditor::onEdited);
    connect(formatBox, &QComboBox::currentIndexChanged, this, &CommandEditor::onEdited);
    connect(textEdit, &QPlainTextEdit::textChanged, this, &CommandEditor::onEdited);
    connect(lineEndingBox, &QComboBox::currentIndexChanged, this, &CommandEditor::onEdited);
    connect(checksumBox, &QComboBox::currentIndexChanged, this, &CommandEditor::onEdited);
    connect(shortcutEdit, &QKeySequenceEdit::keySequenceChanged, this, &CommandEditor::onEdited);
    connect(noteEdit, &QLineEdit::textEdited, this, &CommandEditor::onEdited);
    connect(clearShortcut, &QToolButton::clicked, shortcutEdit, &QKeySequenceEdit::clear);

    refresh();
}

void CommandEditor::setCommand(const Command &command)
{
    pushing = true;
    nameEdit->setText(command.name);
    formatBox->setCurrentIndex(command.isHex() ? 1 : 0);
    textEdit->setPlainText(command.text);
    lineEndingBox->setCurrentIndex(boxIndexFromValue(std::clamp(command.lineEnding, -1, 4)));
    checksumBox->setCurrentIndex(boxIndexFromValue(std::clamp(command.checksum, -1, 5)));
    shortcutEdit->setKeySequence(QKeySequence::fromString(command.shortcut,
                                                          QKeySequence::PortableText));
    noteEdit->setText(command.note);
    pushing = false;
    refresh();
}

Command CommandEditor::command() const
{
    Command command;
    command.name = nameEdit->text();
    command.format = formatBox->currentIndex() == 1 ? Command::HexForm : Command::TextForm;
    command.text = textEdit->toPlainText();
    command.lineEnding = valueFromBoxIndex(lineEndingBox->currentIndex());
    command.checksum = valueFromBoxIndex(checksumBox->currentIndex());
    command.shortcut = shortcutEdit->keySequence().toString(QKeySequence::PortableText);
    command.note = noteEdit->text();
    return command;
}

void CommandEditor::setFormat(const FormatSetting &format)
{
    portFormat = format;
    refresh();
}

void CommandEditor::onEdited()
{
    if (pushing) {
        return;
    }
    refresh();
    emit changed();
}

void CommandEditor::refresh()
{
    const Command current = command();
    hintLabel->setText(
        current.isHex()
            ? tr("Bytes in hex, two digits each, e.g. 01 03 00 00 00 01.")
            : tr("Text. \\r \\n \\t and \\xHH stand for the bytes they name; each new line gets "
                 "the line ending below."));
    // A hex command never gets a line ending, whatever the box says.
    lineEndingBox->setEnabled(!current.isHex());

    const EncodeSendResult result = CommandLibraryText::encode(current, portFormat);
    previewOk = result.ok && !result.bytes.isEmpty();
    if (!result.ok) {
        previewLabel->setText(result.error);
        return;
    }
    QString hex = MessageCodec::toHexString(result.bytes.left(PreviewBytes)).trimmed();
    if (result.bytes.size() > PreviewBytes) {
        hex += QStringLiteral(" \u2026");
    }
    previewLabel->setText(
        tr("On the focused port this sends %n byte(s): %1", nullptr, int(result.bytes.size()))
            .arg(hex));
}
