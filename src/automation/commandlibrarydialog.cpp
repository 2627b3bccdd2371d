#include "automation/commandlibrarydialog.h"

#include "automation/commandeditdialog.h"
#include "automation/commandlibrarycodec.h"
#include "automation/commandlibrarytext.h"
#include "automation/sequenceengine.h"
#include "automation/sequencestepdialog.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {
constexpr int SendsColumnLength = 40;

QPushButton *makeButton(const QString &text, const QString &objectName, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

QListWidget *makeList(const QString &objectName, QWidget *parent)
{
    auto *list = new QListWidget(parent);
    list->setObjectName(objectName);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    return list;
}

// Moves entry `from` of `list` by `delta` places; returns the new index, or -1 when it
// cannot move.
template<typename T>
int moveWithin(QList<T> &list, int from, int delta)
{
    const int to = from + delta;
    if (from < 0 || from >= list.size() || to < 0 || to >= list.size()) {
        return -1;
    }
    list.move(from, to);
    return to;
}

template<typename T>
QList<QString> namesOf(const QList<T> &items)
{
    QList<QString> names;
    for (const T &item : items) {
        names.append(item.name);
    }
    return names;
}

QString sendsText(const Command &command)
{
    const QString text = CommandLibraryText::elide(command.text, SendsColumnLength);
    return command.isHex() ? CommandLibraryDialog::tr("Hex: %1").arg(text) : text;
}
} // namespace

CommandLibraryDialog::CommandLibraryDialog(const CommandLibrary &library,
                                           const FormatSetting &format, QWidget *parent)
    : QDialog(parent)
    , edited(library)
    , portFormat(format)
{
    setObjectName(QStringLiteral("commandLibraryDialog"));
    setWindowTitle(tr("Command Library"));
    auto *layout = new QVBoxLayout(this);

    tabs = new QTabWidget(this);
    tabs->setObjectName(QStringLiteral("commandLibraryTabs"));
    tabs->addTab(buildCommandsPage(), tr("Commands"));
    tabs->addTab(buildSequencesPage(), tr("Sequences"));
    layout->addWidget(tabs, 1);

    statusLabel = new QLabel(this);
    statusLabel->setObjectName(QStringLiteral("commandLibraryStatus"));
    statusLabel->setWordWrap(true);
    layout->addWidget(statusLabel);

    auto *bottom = new QHBoxLayout;
    auto *importButton = makeButton(tr("Import..."), QStringLiteral("importButton"), this);
    importButton->setToolTip(tr("Add the commands and sequences of a .vlmcmd file to this library"));
    auto *exportButton = makeButton(tr("Export..."), QStringLiteral("exportButton"), this);
    exportButton->setToolTip(
        tr("Save this library as a .vlmcmd file to hand to a colleague or a customer"));
    bottom->addWidget(importButton);
    bottom->addWidget(exportButton);
    bottom->addStretch(1);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    bottom->addWidget(buttons);
    layout->addLayout(bottom);

    connect(importButton, &QPushButton::clicked, this, &CommandLibraryDialog::importFile);
    connect(exportButton, &QPushButton::clicked, this, &CommandLibraryDialog::exportFile);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    refreshGroups(0);
    refreshSequences(0);
    resize(820, 560);
}

QWidget *CommandLibraryDialog::buildCommandsPage()
{
    auto *page = new QWidget(this);
    auto *layout = new QHBoxLayout(page);

    auto *left = new QVBoxLayout;
    left->addWidget(new QLabel(tr("Groups:"), page));
    groupList = makeList(QStringLiteral("groupList"), page);
    left->addWidget(groupList, 1);
    auto *groupButtons = new QGridLayout;
    auto *groupAdd = makeButton(tr("Add"), QStringLiteral("groupAddButton"), page);
    groupRename = makeButton(tr("Rename"), QStringLiteral("groupRenameButton"), page);
    groupRemove = makeButton(tr("Remove"), QStringLiteral("groupRemoveButton"), page);
    groupUp = makeButton(tr("Move Up"), QStringLiteral("groupUpButton"), page);
    groupDown = makeButton(tr("Move Down"), QStringLiteral("groupDownButton"), page);
    groupButtons->addWidget(groupAdd, 0, 0);
    groupButtons->addWidget(groupRename, 0, 1);
    groupButtons->addWidget(groupRemove, 0, 2);
    groupButtons->addWidget(groupUp, 1, 0);
    groupButtons->addWidget(groupDown, 1, 1);
    left->addLayout(groupButtons);
    layout->addLayout(left, 1);

    auto *right = new QVBoxLayout;
    right->addWidget(new QLabel(tr("Commands in this group:"), page));
    commandTable = new QTableWidget(0, 3, page);
    commandTable->setObjectName(QStringLiteral("commandTable"));
    commandTable->setHorizontalHeaderLabels({tr("Name"), tr("Sends"), tr("Shortcut")});
    commandTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    commandTable->setSelectionMode(QAbstractItemView::SingleSelection);
    commandTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    commandTable->verticalHeader()->hide();
    commandTable->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    right->addWidget(commandTable, 1);
    auto *commandButtons = new QHBoxLayout;
    commandAdd = makeButton(tr("Add..."), QStringLiteral("commandAddButton"), page);
    commandEdit = makeButton(tr("Edit..."), QStringLiteral("commandEditButton"), page);
    commandDuplicate = makeButton(tr("Duplicate"), QStringLiteral("commandDuplicateButton"), page);
    commandRemove = makeButton(tr("Remove"), QStringLiteral("commandRemoveButton"), page);
    commandUp = makeButton(tr("Move Up"), QStringLiteral("commandUpButton"), page);
    commandDown = makeButton(tr("Move Down"), QStringLiteral("commandDownButton"), page);
    for (QPushButton *button :
         {commandAdd, commandEdit, commandDuplicate, commandRemove, commandUp, commandDown}) {
        commandButtons->addWidget(button);
    }
    commandButtons->addStretch(1);
    right->addLayout(commandButtons);
    layout->addLayout(right, 2);

    connect(groupList, &QListWidget::currentRowChanged, this, [this] {
        if (!filling) {
            refreshCommands(0);
        }
    });
    connect(groupList, &QListWidget::itemChanged, this, &CommandLibraryDialog::onGroupRenamed);
    connect(groupAdd, &QPushButton::clicked, this, &CommandLibraryDialog::addGroup);
    connect(groupRename, &QPushButton::clicked, this, &CommandLibraryDialog::renameGroup);
    connect(groupRemove, &QPushButton::clicked, this, &CommandLibraryDialog::removeGroup);
    connect(groupUp, &QPushButton::clicked, this, [this] { moveGroup(-1); });
    connect(groupDown, &QPushButton::clicked, this, [this] { moveGroup(1); });
    connect(commandTable, &QTableWidget::itemSelectionChanged, this,
            &CommandLibraryDialog::updateButtons);
    connect(commandTable, &QTableWidget::cellDoubleClicked, this, &CommandLibraryDialog::editCommand);
    connect(commandAdd, &QPushButton::clicked, this, &CommandLibraryDialog::addCommand);
    connect(commandEdit, &QPushButton::clicked, this, &CommandLibraryDialog::editCommand);
    connect(commandDuplicate, &QPushButton::clicked, this, &CommandLibraryDialog::duplicateCommand);
    connect(commandRemove, &QPushButton::clicked, this, &CommandLibraryDialog::removeCommand);
    connect(commandUp, &QPushButton::clicked, this, [this] { moveCommand(-1); });
    connect(commandDown, &QPushButton::clicked, this, [this] { moveCommand(1); });
    return page;
}

QWidget *CommandLibraryDialog::buildSequencesPage()
{
    auto *page = new QWidget(this);
    auto *layout = new QHBoxLayout(page);

    auto *left = new QVBoxLayout;
    left->addWidget(new QLabel(tr("Sequences:"), page));
    sequenceList = makeList(QStringLiteral("sequenceList"), page);
    left->addWidget(sequenceList, 1);
    auto *sequenceButtons = new QGridLayout;
    auto *sequenceAdd = makeButton(tr("Add"), QStringLiteral("sequenceAddButton"), page);
    sequenceRename = makeButton(tr("Rename"), QStringLiteral("sequenceRenameButton"), page);
    sequenceRemove = makeButton(tr("Remove"), QStringLiteral("sequenceRemoveButton"), page);
    sequenceUp = makeButton(tr("Move Up"), QStringLiteral("sequenceUpButton"), page);
    sequenceDown = makeButton(tr("Move Down"), QStringLiteral("sequenceDownButton"), page);
    sequenceButtons->addWidget(sequenceAdd, 0, 0);
    sequenceButtons->addWidget(sequenceRename, 0, 1);
    sequenceButtons->addWidget(sequenceRemove, 0, 2);
    sequenceButtons->addWidget(sequenceUp, 1, 0);
    sequenceButtons->addWidget(sequenceDown, 1, 1);
    left->addLayout(sequenceButtons);
    layout->addLayout(left, 1);

    auto *right = new QVBoxLayout;
    right->addWidget(new QLabel(tr("Steps:"), page));
    stepList = makeList(QStringLiteral("stepList"), page);
    right->addWidget(stepList, 1);
    checkLabel = new QLabel(page);
    checkLabel->setObjectName(QStringLiteral("sequenceCheckLabel"));
    checkLabel->setWordWrap(true);
    right->addWidget(checkLabel);
    auto *stepButtons = new QHBoxLayout;
    stepAdd = makeButton(tr("Add Step"), QStringLiteral("stepAddButton"), page);
    auto *addMenu = new QMenu(stepAdd);
    const auto addAction = [&](const QString &text, SequenceStepKind kind) {
        connect(addMenu->addAction(text), &QAction::triggered, this, [this, kind] { addStep(kind); });
    };
    addAction(tr("Send a Command..."), SequenceStepKind::Send);
    addAction(tr("Expect a Reply..."), SequenceStepKind::Expect);
    addAction(tr("Wait..."), SequenceStepKind::Wait);
    addAction(tr("Label..."), SequenceStepKind::Label);
    addAction(tr("Repeat..."), SequenceStepKind::Loop);
    stepAdd->setMenu(addMenu);
    stepEdit = makeButton(tr("Edit..."), QStringLiteral("stepEditButton"), page);
    stepDuplicate = makeButton(tr("Duplicate"), QStringLiteral("stepDuplicateButton"), page);
    stepRemove = makeButton(tr("Remove"), QStringLiteral("stepRemoveButton"), page);
    stepUp = makeButton(tr("Move Up"), QStringLiteral("stepUpButton"), page);
    stepDown = makeButton(tr("Move Down"), QStringLiteral("stepDownButton"), page);
    for (QPushButton *button : {stepAdd, stepEdit, stepDuplicate, stepRemove, stepUp, stepDown}) {
        stepButtons->addWidget(button);
    }
    stepButtons->addStretch(1);
    right->addLayout(stepButtons);
    layout->addLayout(right, 2);

    connect(sequenceList, &QListWidget::currentRowChanged, this, [this] {
        if (!filling) {
            refreshSteps(0);
        }
    });
    connect(sequenceList, &QListWidget::itemChanged, this,
            &CommandLibraryDialog::onSequenceRenamed);
    connect(sequenceAdd, &QPushButton::clicked, this, &CommandLibraryDialog::addSequence);
    connect(sequenceRename, &QPushButton::clicked, this, &CommandLibraryDialog::renameSequence);
    connect(sequenceRemove, &QPushButton::clicked, this, &CommandLibraryDialog::removeSequence);
    connect(sequenceUp, &QPushButton::clicked, this, [this] { moveSequence(-1); });
    connect(sequenceDown, &QPushButton::clicked, this, [this] { moveSequence(1); });
    connect(stepList, &QListWidget::currentRowChanged, this, &CommandLibraryDialog::updateButtons);
    connect(stepList, &QListWidget::itemDoubleClicked, this, &CommandLibraryDialog::editStep);
    connect(stepEdit, &QPushButton::clicked, this, &CommandLibraryDialog::editStep);
    connect(stepDuplicate, &QPushButton::clicked, this, &CommandLibraryDialog::duplicateStep);
    connect(stepRemove, &QPushButton::clicked, this, &CommandLibraryDialog::removeStep);
    connect(stepUp, &QPushButton::clicked, this, [this] { moveStep(-1); });
    connect(stepDown, &QPushButton::clicked, this, [this] { moveStep(1); });
    return page;
}

void CommandLibraryDialog::setCurrentPage(int page)
{
    tabs->setCurrentIndex(std::clamp(page, 0, tabs->count() - 1));
}

QString CommandLibraryDialog::sequenceCheckText() const
{
    return checkLabel->text();
}

QString CommandLibraryDialog::statusText() const
{
    return statusLabel->text();
}

// --- Selection and refreshing ---

int CommandLibraryDialog::currentGroup() const
{
    const int row = groupList->currentRow();
    return row >= 0 && row < edited.groups.size() ? row : -1;
}

int CommandLibraryDialog::currentCommand() const
{
    const int group = currentGroup();
    const int row = commandTable->currentRow();
    return group >= 0 && row >= 0 && row < edited.groups.at(group).commands.size() &&
                   commandTable->selectionModel()->hasSelection()
               ? row
               : -1;
}

int CommandLibraryDialog::currentSequence() const
{
    const int row = sequenceList->currentRow();
    return row >= 0 && row < edited.sequences.size() ? row : -1;
}

int CommandLibraryDialog::currentStep() const
{
    const int sequence = currentSequence();
    const int row = stepList->currentRow();
    return sequence >= 0 && row >= 0 && row < edited.sequences.at(sequence).steps.size() ? row
                                                                                          : -1;
}

void CommandLibraryDialog::refreshGroups(int select)
{
    filling = true;
    groupList->clear();
    for (const CommandGroup &group : std::as_const(edited.groups)) {
        auto *item = new QListWidgetItem(group.name, groupList);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    groupList->setCurrentRow(std::min<int>(select, int(edited.groups.size()) - 1));
    filling = false;
    refreshCommands(0);
}

void CommandLibraryDialog::refreshCommands(int select)
{
    commandTable->setRowCount(0);
    const int group = currentGroup();
    if (group >= 0) {
        const QList<Command> &commands = edited.groups.at(group).commands;
        commandTable->setRowCount(int(commands.size()));
        for (int row = 0; row < commands.size(); ++row) {
            const Command &command = commands.at(row);
            auto *name = new QTableWidgetItem(CommandLibraryText::commandTitle(command));
            name->setToolTip(command.note);
            commandTable->setItem(row, 0, name);
            commandTable->setItem(row, 1, new QTableWidgetItem(sendsText(command)));
            commandTable->setItem(row, 2, new QTableWidgetItem(command.shortcut));
        }
        if (select >= 0 && select < commands.size()) {
            commandTable->selectRow(select);
        }
    }
    updateButtons();
}

void CommandLibraryDialog::refreshSequences(int select)
{
    filling = true;
    sequenceList->clear();
    for (const Sequence &sequence : std::as_const(edited.sequences)) {
        auto *item = new QListWidgetItem(sequence.name, sequenceList);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    sequenceList->setCurrentRow(std::min<int>(select, int(edited.sequences.size()) - 1));
    filling = false;
    refreshSteps(0);
}

void CommandLibraryDialog::refreshSteps(int select)
{
    stepList->clear();
    const int sequence = currentSequence();
    if (sequence >= 0) {
        const QList<SequenceStep> &steps = edited.sequences.at(sequence).steps;
        for (int i = 0; i < steps.size(); ++i) {
            stepList->addItem(
                QStringLiteral("%1. %2").arg(i + 1).arg(CommandLibraryText::stepSummary(steps.at(i))));
        }
        stepList->setCurrentRow(std::min<int>(select, int(steps.size()) - 1));
    }
    updateSequenceCheck();
    updateButtons();
}

void CommandLibraryDialog::updateButtons()
{
    const int group = currentGroup();
    const int groupCount = int(edited.groups.size());
    groupRename->setEnabled(group >= 0);
    groupRemove->setEnabled(group >= 0);
    groupUp->setEnabled(group > 0);
    groupDown->setEnabled(group >= 0 && group + 1 < groupCount);

    const int command = currentCommand();
    const int commandCount = group >= 0 ? int(edited.groups.at(group).commands.size()) : 0;
    const bool groupHasRoom = group >= 0 && commandCount < CommandLibrary::MaxCommandsPerGroup;
    commandAdd->setEnabled(groupHasRoom);
    commandEdit->setEnabled(command >= 0);
    commandDuplicate->setEnabled(command >= 0 && groupHasRoom);
    commandRemove->setEnabled(command >= 0);
    commandUp->setEnabled(command > 0);
    commandDown->setEnabled(command >= 0 && command + 1 < commandCount);

    const int sequence = currentSequence();
    sequenceRename->setEnabled(sequence >= 0);
    sequenceRemove->setEnabled(sequence >= 0);
    sequenceUp->setEnabled(sequence > 0);
    sequenceDown->setEnabled(sequence >= 0 && sequence + 1 < edited.sequences.size());

    const int step = currentStep();
    const int stepCount = sequence >= 0 ? int(edited.sequences.at(sequence).steps.size()) : 0;
    const bool sequenceHasRoom = sequence >= 0 && stepCount < CommandLibrary::MaxSteps;
    stepAdd->setEnabled(sequenceHasRoom);
    stepEdit->setEnabled(step >= 0);
    stepDuplicate->setEnabled(step >= 0 && sequenceHasRoom);
    stepRemove->setEnabled(step >= 0);
    stepUp->setEnabled(step > 0);
    stepDown->setEnabled(step >= 0 && step + 1 < stepCount);
}

void CommandLibraryDialog::updateSequenceCheck()
{
    const int sequence = currentSequence();
    if (sequence < 0) {
        checkLabel->clear();
        return;
    }
    const Sequence &current = edited.sequences.at(sequence);
    if (current.steps.isEmpty()) {
        checkLabel->setText(tr("Add steps with Add Step."));
        return;
    }
    SequenceEngine trial;
    QString error;
    if (trial.load(current, portFormat, &error)) {
        checkLabel->setText(QStringLiteral("\u2713 ") +
                            tr("Ready to run, %n step(s).", nullptr, int(current.steps.size())));
    } else {
        checkLabel->setText(error);
    }
}

// --- Groups and commands ---

void CommandLibraryDialog::addGroup()
{
    if (edited.groups.size() >= CommandLibrary::MaxGroups) {
        return;
    }
    CommandGroup group;
    group.name = CommandLibraryText::uniqueName(tr("Group"), namesOf(edited.groups));
    edited.groups.append(group);
    refreshGroups(int(edited.groups.size()) - 1);
}

void CommandLibraryDialog::renameGroup()
{
    if (QListWidgetItem *item = groupList->currentItem()) {
        groupList->editItem(item);
    }
}

void CommandLibraryDialog::onGroupRenamed(QListWidgetItem *item)
{
    const int row = groupList->row(item);
    if (filling || row < 0 || row >= edited.groups.size()) {
        return;
    }
    const QString name = item->text().trimmed();
    if (name.isEmpty()) {
        const QSignalBlocker blocker(groupList);
        item->setText(edited.groups.at(row).name);
        return;
    }
    edited.groups[row].name = name;
}

void CommandLibraryDialog::removeGroup()
{
    const int group = currentGroup();
    if (group < 0) {
        return;
    }
    const CommandGroup &current = edited.groups.at(group);
    if (!confirm(tr("Remove the group \"%1\" and its %n command(s)?", nullptr,
                    int(current.commands.size()))
                     .arg(current.name))) {
        return;
    }
    edited.groups.removeAt(group);
    refreshGroups(std::max(0, group - 1));
}

void CommandLibraryDialog::moveGroup(int delta)
{
    const int to = moveWithin(edited.groups, currentGroup(), delta);
    if (to >= 0) {
        refreshGroups(to);
    }
}

void CommandLibraryDialog::addCommand()
{
    const int group = currentGroup();
    if (group < 0 || edited.groups.at(group).commands.size() >= CommandLibrary::MaxCommandsPerGroup) {
        return;
    }
    CommandEditDialog dialog(Command(), portFormat, this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    edited.groups[group].commands.append(dialog.command());
    refreshCommands(int(edited.groups.at(group).commands.size()) - 1);
}

void CommandLibraryDialog::editCommand()
{
    const int group = currentGroup();
    const int command = currentCommand();
    if (command < 0) {
        return;
    }
    CommandEditDialog dialog(edited.groups.at(group).commands.at(command), portFormat, this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    edited.groups[group].commands[command] = dialog.command();
    refreshCommands(command);
}

void CommandLibraryDialog::duplicateCommand()
{
    const int group = currentGroup();
    const int command = currentCommand();
    if (command < 0 || edited.groups.at(group).commands.size() >= CommandLibrary::MaxCommandsPerGroup) {
        return;
    }
    QList<Command> &commands = edited.groups[group].commands;
    Command copy = commands.at(command);
    if (!copy.name.isEmpty()) {
        copy.name = CommandLibraryText::uniqueName(copy.name, namesOf(commands));
    }
    copy.shortcut.clear(); // one key, one command
    commands.insert(command + 1, copy);
    refreshCommands(command + 1);
}

void CommandLibraryDialog::removeCommand()
{
    const int group = currentGroup();
    const int command = currentCommand();
    if (command < 0) {
        return;
    }
    edited.groups[group].commands.removeAt(command);
    refreshCommands(std::max(0, command - 1));
}

void CommandLibraryDialog::moveCommand(int delta)
{
    const int group = currentGroup();
    if (group < 0) {
        return;
    }
    const int to = moveWithin(edited.groups[group].commands, currentCommand(), delta);
    if (to >= 0) {
        refreshCommands(to);
    }
}

// --- Sequences and steps ---

void CommandLibraryDialog::addSequence()
{
    if (edited.sequences.size() >= CommandLibrary::MaxSequences) {
        return;
    }
    Sequence sequence;
    sequence.name = CommandLibraryText::uniqueName(
        tr("Sequence %1").arg(edited.sequences.size() + 1), namesOf(edited.sequences));
    edited.sequences.append(sequence);
    refreshSequences(int(edited.sequences.size()) - 1);
}

void CommandLibraryDialog::renameSequence()
{
    if (QListWidgetItem *item = sequenceList->currentItem()) {
        sequenceList->editItem(item);
    }
}

void CommandLibraryDialog::onSequenceRenamed(QListWidgetItem *item)
{
    const int row = sequenceList->row(item);
    if (filling || row < 0 || row >= edited.sequences.size()) {
        return;
    }
    const QString name = item->text().trimmed();
    if (name.isEmpty()) {
        const QSignalBlocker blocker(sequenceList);
        item->setText(edited.sequences.at(row).name);
        return;
    }
    edited.sequences[row].name = name;
}

void CommandLibraryDialog::removeSequence()
{
    const int sequence = currentSequence();
    if (sequence < 0 ||
        !confirm(tr("Remove the sequence \"%1\"?").arg(edited.sequences.at(sequence).name))) {
        return;
    }
    edited.sequences.removeAt(sequence);
    refreshSequences(std::max(0, sequence - 1));
}

void CommandLibraryDialog::moveSequence(int delta)
{
    const int to = moveWithin(edited.sequences, currentSequence(), delta);
    if (to >= 0) {
        refreshSequences(to);
    }
}

QStringList CommandLibraryDialog::labelsAbove(const Sequence &sequence, int index) const
{
    QStringList labels;
    for (int i = std::min<int>(index, int(sequence.steps.size())) - 1; i >= 0; --i) {
        const SequenceStep &step = sequence.steps.at(i);
        if (step.kind == SequenceStepKind::Label) {
            labels.append(step.label);
        }
    }
    return labels;
}

void CommandLibraryDialog::addStep(SequenceStepKind kind)
{
    const int sequence = currentSequence();
    if (sequence < 0 || edited.sequences.at(sequence).steps.size() >= CommandLibrary::MaxSteps) {
        return;
    }
    // A new step goes after the selected one, or at the end.
    const int step = currentStep();
    const int at = step >= 0 ? step + 1 : int(edited.sequences.at(sequence).steps.size());
    SequenceStep fresh;
    fresh.kind = kind;
    SequenceStepDialog dialog(fresh, labelsAbove(edited.sequences.at(sequence), at), edited,
                              portFormat, this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    edited.sequences[sequence].steps.insert(at, dialog.step());
    refreshSteps(at);
}

void CommandLibraryDialog::editStep()
{
    const int sequence = currentSequence();
    const int step = currentStep();
    if (step < 0) {
        return;
    }
    const Sequence &current = edited.sequences.at(sequence);
    SequenceStepDialog dialog(current.steps.at(step), labelsAbove(current, step), edited,
                              portFormat, this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    edited.sequences[sequence].steps[step] = dialog.step();
    refreshSteps(step);
}

void CommandLibraryDialog::duplicateStep()
{
    const int sequence = currentSequence();
    const int step = currentStep();
    if (step < 0 || edited.sequences.at(sequence).steps.size() >= CommandLibrary::MaxSteps) {
        return;
    }
    QList<SequenceStep> &steps = edited.sequences[sequence].steps;
    steps.insert(step + 1, steps.at(step));
    refreshSteps(step + 1);
}

void CommandLibraryDialog::removeStep()
{
    const int sequence = currentSequence();
    const int step = currentStep();
    if (step < 0) {
        return;
    }
    edited.sequences[sequence].steps.removeAt(step);
    refreshSteps(std::max(0, step - 1));
}

void CommandLibraryDialog::moveStep(int delta)
{
    const int sequence = currentSequence();
    if (sequence < 0) {
        return;
    }
    const int to = moveWithin(edited.sequences[sequence].steps, currentStep(), delta);
    if (to >= 0) {
        refreshSteps(to);
    }
}

// --- Share files ---

QString CommandLibraryDialog::shareFileFilter()
{
    return tr("VLM command files (*.vlmcmd)");
}

QString CommandLibraryDialog::suggestedShareFileName()
{
    return QStringLiteral("commands.%1").arg(CommandLibraryCodec::shareFileExtension());
}

QString CommandLibraryDialog::importShareFile(const QString &path, CommandLibrary *library,
                                              bool *ok)
{
    const QString name = QFileInfo(path).fileName();
    CommandLibrary incoming;
    QString error;
    const bool read = CommandLibraryCodec::readShareFile(path, &incoming, &error);
    if (ok) {
        *ok = read;
    }
    if (!read) {
        return tr("%1 could not be imported: %2").arg(name, error);
    }
    const int added = CommandLibraryText::merge(library, incoming);
    if (added == 0) {
        return tr("%1 has no commands or sequences to add.").arg(name);
    }
    return tr("Added %n group(s) and sequence(s) from %1. Names already in use got a number.",
              nullptr, added)
        .arg(name);
}

QString CommandLibraryDialog::exportShareFile(const QString &path, const CommandLibrary &library)
{
    QString error;
    if (CommandLibraryCodec::writeShareFile(path, library, &error)) {
        return QString();
    }
    return tr("%1 could not be written: %2").arg(QFileInfo(path).fileName(), error);
}

bool CommandLibraryDialog::confirm(const QString &question)
{
    return QMessageBox::question(this, windowTitle(), question) == QMessageBox::Yes;
}

QString CommandLibraryDialog::askImportPath()
{
    return QFileDialog::getOpenFileName(this, tr("Import..."), QString(), shareFileFilter());
}

QString CommandLibraryDialog::askExportPath()
{
    QString path = QFileDialog::getSaveFileName(this, tr("Export..."), suggestedShareFileName(),
                                                shareFileFilter());
    const QString suffix = QLatin1Char('.') + CommandLibraryCodec::shareFileExtension();
    if (!path.isEmpty() && !path.endsWith(suffix, Qt::CaseInsensitive)) {
        path += suffix;
    }
    return path;
}

void CommandLibraryDialog::importFile()
{
    const QString path = askImportPath();
    if (path.isEmpty()) {
        return;
    }
    statusLabel->setText(importShareFile(path, &edited));
    refreshGroups(std::max(0, currentGroup()));
    refreshSequences(std::max(0, currentSequence()));
}

void CommandLibraryDialog::exportFile()
{
    const QString path = askExportPath();
    if (path.isEmpty()) {
        return;
    }
    statusLabel->setText(exportShareFile(path, edited));
}
