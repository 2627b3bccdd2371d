#include "automation/sequencestepdialog.h"

#include "automation/commandeditor.h"
#include "automation/commandlibrarytext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {
QLabel *hint(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    return label;
}
} // namespace

SequenceStepDialog::SequenceStepDialog(const SequenceStep &step, const QStringList &labelsAbove,
                                       const CommandLibrary &library,
                                       const FormatSetting &format, QWidget *parent)
    : QDialog(parent)
    , original(step)
    , rxEncoding(format.receiveEncoding)
{
    setObjectName(QStringLiteral("sequenceStepDialog"));
    setWindowTitle(tr("Sequence Step"));
    auto *layout = new QVBoxLayout(this);

    auto *kindForm = new QFormLayout;
    kindBox = new QComboBox(this);
    kindBox->setObjectName(QStringLiteral("stepKindBox"));
    // In the order of SequenceStepKind.
    kindBox->addItems({tr("Send a command"), tr("Wait"), tr("Expect a reply"), tr("Repeat"),
                       tr("Label")});
    kindForm->addRow(tr("Step:"), kindBox);
    layout->addLayout(kindForm);

    pages = new QStackedWidget(this);
    pages->addWidget(buildSendPage(library, format));
    pages->addWidget(buildWaitPage());
    pages->addWidget(buildExpectPage());
    pages->addWidget(buildRepeatPage(labelsAbove));
    pages->addWidget(buildLabelPage());
    layout->addWidget(pages, 1);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(kindBox, &QComboBox::currentIndexChanged, pages, &QStackedWidget::setCurrentIndex);

    kindBox->setCurrentIndex(int(step.kind));
    pages->setCurrentIndex(int(step.kind));
    resize(540, sizeHint().height());
}

QWidget *SequenceStepDialog::buildSendPage(const CommandLibrary &library,
                                           const FormatSetting &format)
{
    auto *page = new QWidget(this);
    auto *layout = new QVBoxLayout(page);
    auto *form = new QFormLayout;
    fromLibraryBox = new QComboBox(page);
    fromLibraryBox->setObjectName(QStringLiteral("stepFromLibraryBox"));
    fromLibraryBox->addItem(tr("(type it below)"));
    for (const CommandGroup &group : library.groups) {
        for (const Command &command : group.commands) {
            fromLibraryBox->addItem(
                tr("%1 / %2").arg(group.name, CommandLibraryText::commandTitle(command)));
            libraryCommands.append(command);
        }
    }
    form->addRow(tr("Copy from library:"), fromLibraryBox);
    layout->addLayout(form);
    layout->addWidget(hint(tr("Copies a library command into this step. The step keeps its own "
                              "copy, so the sequence still works when it is handed over."),
                           page));
    commandEditor = new CommandEditor(page);
    commandEditor->setFormat(format);
    commandEditor->setCommand(original.command);
    layout->addWidget(commandEditor, 1);
    connect(fromLibraryBox, &QComboBox::activated, this, &SequenceStepDialog::copyFromLibrary);
    return page;
}

QWidget *SequenceStepDialog::buildWaitPage()
{
    auto *page = new QWidget(this);
    auto *form = new QFormLayout(page);
    waitSpin = new QSpinBox(page);
    waitSpin->setObjectName(QStringLiteral("stepWaitSpin"));
    waitSpin->setRange(0, SequenceStep::MaxMs);
    waitSpin->setSuffix(tr(" ms"));
    waitSpin->setValue(std::clamp(original.ms, 0, SequenceStep::MaxMs));
    form->addRow(tr("Pause for:"), waitSpin);
    return page;
}

QWidget *SequenceStepDialog::buildExpectPage()
{
    auto *page = new QWidget(this);
    auto *form = new QFormLayout(page);
    matchBox = new QComboBox(page);
    matchBox->setObjectName(QStringLiteral("stepMatchBox"));
    for (const AutoReplyMatch match : {AutoReplyMatch::Text, AutoReplyMatch::Hex,
                                       AutoReplyMatch::Wildcard, AutoReplyMatch::Regex}) {
        matchBox->addItem(AutoReplyEngine::matchName(match));
    }
    matchBox->setCurrentIndex(std::clamp(int(original.match), 0, 3));
    form->addRow(tr("Match:"), matchBox);

    patternEdit = new QLineEdit(original.pattern, page);
    patternEdit->setObjectName(QStringLiteral("stepPatternEdit"));
    form->addRow(tr("Pattern:"), patternEdit);
    patternError = new QLabel(page);
    patternError->setObjectName(QStringLiteral("stepPatternError"));
    patternError->setWordWrap(true);
    form->addRow(QString(), patternError);

    timeoutSpin = new QSpinBox(page);
    timeoutSpin->setObjectName(QStringLiteral("stepTimeoutSpin"));
    timeoutSpin->setRange(0, SequenceStep::MaxMs);
    timeoutSpin->setSpecialValueText(tr("No limit"));
    timeoutSpin->setSuffix(tr(" ms"));
    timeoutSpin->setValue(std::clamp(original.ms, 0, SequenceStep::MaxMs));
    form->addRow(tr("Within:"), timeoutSpin);

    continueCheck = new QCheckBox(tr("If nothing matches in time, record the failure and go on"),
                                  page);
    continueCheck->setObjectName(QStringLiteral("stepContinueCheck"));
    continueCheck->setChecked(original.continueOnFail);
    form->addRow(QString(), continueCheck);
    form->addRow(hint(tr("Looks at what the port received since the last Send step. A match "
                         "uses up the bytes it covers."),
                      page));

    connect(matchBox, &QComboBox::currentIndexChanged, this, &SequenceStepDialog::checkPattern);
    connect(patternEdit, &QLineEdit::textChanged, this, &SequenceStepDialog::checkPattern);
    checkPattern();
    return page;
}

QWidget *SequenceStepDialog::buildRepeatPage(const QStringList &labelsAbove)
{
    auto *page = new QWidget(this);
    auto *form = new QFormLayout(page);
    loopTargetBox = new QComboBox(page);
    loopTargetBox->setObjectName(QStringLiteral("stepLoopTargetBox"));
    loopTargetBox->addItem(tr("The start of the sequence"), QString());
    QStringList labels;
    for (const QString &label : labelsAbove) {
        if (!label.isEmpty() && !labels.contains(label)) {
            labels.append(label);
        }
    }
    // A target that is not above (any more) stays selectable, so the check says why it fails.
    if (original.kind == SequenceStepKind::Loop && !original.label.isEmpty() &&
        !labels.contains(original.label)) {
        labels.append(original.label);
    }
    for (const QString &label : std::as_const(labels)) {
        loopTargetBox->addItem(tr("Label \"%1\"").arg(label), label);
    }
    loopTargetBox->setCurrentIndex(std::max(0, loopTargetBox->findData(original.label)));
    form->addRow(tr("Go back to:"), loopTargetBox);

    loopCountSpin = new QSpinBox(page);
    loopCountSpin->setObjectName(QStringLiteral("stepLoopCountSpin"));
    loopCountSpin->setRange(0, SequenceStep::MaxLoopCount);
    loopCountSpin->setSpecialValueText(tr("Until stopped"));
    loopCountSpin->setSuffix(tr(" times in all"));
    loopCountSpin->setValue(std::clamp(original.loopCount, 0, SequenceStep::MaxLoopCount));
    form->addRow(tr("Run the steps:"), loopCountSpin);
    return page;
}

QWidget *SequenceStepDialog::buildLabelPage()
{
    auto *page = new QWidget(this);
    auto *form = new QFormLayout(page);
    labelEdit = new QLineEdit(page);
    labelEdit->setObjectName(QStringLiteral("stepLabelEdit"));
    labelEdit->setPlaceholderText(tr("e.g. retry"));
    if (original.kind == SequenceStepKind::Label) {
        labelEdit->setText(original.label);
    }
    form->addRow(tr("Name:"), labelEdit);
    form->addRow(hint(tr("A place a Repeat step further down can go back to."), page));
    return page;
}

void SequenceStepDialog::copyFromLibrary(int index)
{
    if (index < 1 || index > libraryCommands.size()) {
        return;
    }
    commandEditor->setCommand(libraryCommands.at(index - 1));
}

void SequenceStepDialog::checkPattern()
{
    AutoReplyRule rule;
    rule.match = AutoReplyMatch(matchBox->currentIndex());
    rule.pattern = patternEdit->text();
    QRegularExpression regex;
    QString error;
    AutoReplyEngine::compilePattern(rule, rxEncoding, regex, error);
    patternError->setText(error);
}

SequenceStep SequenceStepDialog::step() const
{
    SequenceStep result = original;
    result.kind = SequenceStepKind(kindBox->currentIndex());
    switch (result.kind) {
    case SequenceStepKind::Send:
        result.command = commandEditor->command();
        break;
    case SequenceStepKind::Wait:
        result.ms = waitSpin->value();
        break;
    case SequenceStepKind::Expect:
        result.match = AutoReplyMatch(matchBox->currentIndex());
        result.pattern = patternEdit->text();
        result.ms = timeoutSpin->value();
        result.continueOnFail = continueCheck->isChecked();
        break;
    case SequenceStepKind::Loop:
        result.label = loopTargetBox->currentData().toString();
        result.loopCount = loopCountSpin->value();
        break;
    case SequenceStepKind::Label:
        result.label = labelEdit->text().trimmed();
        break;
    }
    return result;
}
