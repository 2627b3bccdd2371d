#include "automation/commandpanel.h"

#include "automation/commandlibrarydialog.h"
#include "automation/commandlibrarytext.h"
#include "common/flowlayout.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {
constexpr int CaptionLength = 24;

QString commandToolTip(const Command &command)
{
    QStringList parts;
    if (!command.note.isEmpty()) {
        parts << command.note;
    }
    if (!command.shortcut.isEmpty()) {
        parts << CommandPanel::tr("Shortcut: %1").arg(command.shortcut);
    }
    return parts.join(QStringLiteral("\n\n"));
}
} // namespace

CommandPanel::CommandPanel(QWidget *parent)
    : QWidget(parent)
    , shortcutHost(this)
{
    setObjectName(QStringLiteral("commandPanel"));
    auto *layout = new QVBoxLayout(this);

    auto *toolbar = new QHBoxLayout;
    auto *editButton = new QToolButton(this);
    editButton->setObjectName(QStringLiteral("editLibraryButton"));
    editButton->setText(tr("Edit Library..."));
    auto *moreButton = new QToolButton(this);
    moreButton->setObjectName(QStringLiteral("commandPanelMenuButton"));
    moreButton->setText(tr("More"));
    moreButton->setPopupMode(QToolButton::InstantPopup);
    auto *moreMenu = new QMenu(moreButton);
    connect(moreMenu->addAction(tr("Import...")), &QAction::triggered, this,
            &CommandPanel::importRequested);
    connect(moreMenu->addAction(tr("Export...")), &QAction::triggered, this,
            &CommandPanel::exportRequested);
    moreMenu->addSeparator();
    connect(moreMenu->addAction(tr("Learn More")), &QAction::triggered, this,
            &CommandPanel::learnMoreRequested);
    moreButton->setMenu(moreMenu);
    toolbar->addWidget(editButton);
    toolbar->addStretch(1);
    toolbar->addWidget(moreButton);
    layout->addLayout(toolbar);

    emptyLabel = new QLabel(tr("No commands yet. Add some with Edit Library, or import a .vlmcmd "
                               "file."),
                            this);
    emptyLabel->setObjectName(QStringLiteral("commandPanelEmptyLabel"));
    emptyLabel->setWordWrap(true);
    layout->addWidget(emptyLabel);

    groupTabs = new QTabWidget(this);
    groupTabs->setObjectName(QStringLiteral("commandGroupTabs"));
    groupTabs->setDocumentMode(true);
    layout->addWidget(groupTabs, 2);

    layout->addWidget(new QLabel(tr("Sequences"), this));
    auto *scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    sequenceRows = new QWidget(scroll);
    sequenceRows->setObjectName(QStringLiteral("sequenceRows"));
    sequenceLayout = new QVBoxLayout(sequenceRows);
    sequenceLayout->setContentsMargins(0, 0, 0, 0);
    scroll->setWidget(sequenceRows);
    layout->addWidget(scroll, 1);

    runStateLabel = new QLabel(this);
    runStateLabel->setObjectName(QStringLiteral("sequenceRunStateLabel"));
    runStateLabel->setWordWrap(true);
    layout->addWidget(runStateLabel);

    connect(editButton, &QToolButton::clicked, this,
            [this] { emit editLibraryRequested(CommandLibraryDialog::CommandsPage); });
    connect(groupTabs, &QTabWidget::currentChanged, this, &CommandPanel::rebuildCommands);

    rebuildGroupTabs();
    rebuildSequences();
}

void CommandPanel::setLibrary(const CommandLibrary &library)
{
    current = library;
    rebuildGroupTabs();
    rebuildSequences();
    rebuildShortcuts();
}

void CommandPanel::setRunState(const QString &sequenceName, const QString &text)
{
    runningName = sequenceName;
    runStateLabel->setText(text);
    for (int i = 0; i < runButtons.size(); ++i) {
        const bool running = !runningName.isEmpty() && current.sequences.at(i).name == runningName;
        runButtons.at(i)->setText(running ? tr("Stop") : tr("Run"));
    }
}

void CommandPanel::setShortcutHost(QWidget *host)
{
    shortcutHost = host ? host : this;
    rebuildShortcuts();
}

void CommandPanel::rebuildGroupTabs()
{
    const int previous = groupTabs->currentIndex();
    const QSignalBlocker blocker(groupTabs);
    while (groupTabs->count() > 0) {
        QWidget *page = groupTabs->widget(0);
        groupTabs->removeTab(0);
        delete page;
    }
    for (const CommandGroup &group : std::as_const(current.groups)) {
        auto *scroll = new QScrollArea(groupTabs);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        groupTabs->addTab(scroll, CommandLibraryText::elide(group.name, CaptionLength));
    }
    groupTabs->setCurrentIndex(std::clamp(previous, 0, groupTabs->count() - 1));
    groupTabs->setVisible(!current.groups.isEmpty());
    emptyLabel->setVisible(current.commandCount() == 0 && current.sequences.isEmpty());
    rebuildCommands();
}

void CommandPanel::rebuildCommands()
{
    const int group = groupTabs->currentIndex();
    if (group < 0 || group >= current.groups.size()) {
        return;
    }
    auto *scroll = qobject_cast<QScrollArea *>(groupTabs->widget(group));
    auto *page = new QWidget;
    // The buttons wrap to the dock's width: none is cut and nothing scrolls sideways.
    auto *grid = new FlowLayout(page);
    const QList<Command> &commands = current.groups.at(group).commands;
    for (int i = 0; i < commands.size(); ++i) {
        const Command &command = commands.at(i);
        auto *button = new QPushButton(CommandLibraryText::commandTitle(command), page);
        button->setObjectName(QStringLiteral("commandButton_%1").arg(i));
        button->setToolTip(commandToolTip(command));
        button->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(button, &QPushButton::clicked, this,
                [this, group, i] { emit commandSendRequested(current.groups.at(group).commands.at(i)); });
        connect(button, &QPushButton::customContextMenuRequested, this,
                [this, group, i, button](const QPoint &pos) {
                    showCommandMenu(group, i, button->mapToGlobal(pos));
                });
        grid->addWidget(button);
    }
    scroll->setWidget(page); // deletes the previous page
}

void CommandPanel::rebuildSequences()
{
    runButtons.clear();
    while (QLayoutItem *item = sequenceLayout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (int i = 0; i < current.sequences.size(); ++i) {
        const Sequence &sequence = current.sequences.at(i);
        auto *row = new QWidget(sequenceRows);
        row->setObjectName(QStringLiteral("sequenceRow_%1").arg(i));
        row->setContextMenuPolicy(Qt::CustomContextMenu);
        auto *rowLayout = new QHBoxLayout(row);
        rowLayout->setContentsMargins(0, 0, 0, 0);
        auto *name = new QLabel(sequence.name, row);
        name->setToolTip(tr("%n step(s)", nullptr, int(sequence.steps.size())));
        auto *run = new QPushButton(tr("Run"), row);
        run->setObjectName(QStringLiteral("sequenceRunButton_%1").arg(i));
        rowLayout->addWidget(name, 1);
        rowLayout->addWidget(run);
        sequenceLayout->addWidget(row);
        runButtons.append(run);
        connect(run, &QPushButton::clicked, this, [this, i] { onRunClicked(i); });
        connect(row, &QWidget::customContextMenuRequested, this,
                [this, i, row](const QPoint &pos) { showSequenceMenu(i, row->mapToGlobal(pos)); });
    }
    sequenceLayout->addStretch(1);
    setRunState(runningName, runStateLabel->text());
}

void CommandPanel::rebuildShortcuts()
{
    for (const QPointer<QShortcut> &shortcut : std::as_const(shortcuts)) {
        delete shortcut.data();
    }
    shortcuts.clear();
    if (!shortcutHost) {
        return;
    }
    for (int g = 0; g < current.groups.size(); ++g) {
        const QList<Command> &commands = current.groups.at(g).commands;
        for (int i = 0; i < commands.size(); ++i) {
            const QKeySequence keys =
                QKeySequence::fromString(commands.at(i).shortcut, QKeySequence::PortableText);
            if (keys.isEmpty()) {
                continue;
            }
            auto *shortcut = new QShortcut(keys, shortcutHost, nullptr, nullptr, Qt::WindowShortcut);
            connect(shortcut, &QShortcut::activated, this,
                    [this, g, i] { emit commandSendRequested(current.groups.at(g).commands.at(i)); });
            // Shortcuts live on the host; they go when it goes, or when they are rebuilt.
            connect(this, &QObject::destroyed, shortcut, &QObject::deleteLater);
            shortcuts.append(shortcut);
        }
    }
}

void CommandPanel::showCommandMenu(int group, int index, const QPoint &globalPos)
{
    QMenu menu(this);
    QAction *send = menu.addAction(tr("Send"));
    QAction *edit = menu.addAction(tr("Edit Library..."));
    QAction *chosen = menu.exec(globalPos);
    // The requests leave from the event loop: carrying them out may rebuild the panel,
    // and with it the button whose event is still being handled.
    if (chosen == send) {
        const Command command = current.groups.at(group).commands.at(index);
        QMetaObject::invokeMethod(
            this, [this, command] { emit commandSendRequested(command); }, Qt::QueuedConnection);
    } else if (chosen == edit) {
        QMetaObject::invokeMethod(
            this, [this] { emit editLibraryRequested(CommandLibraryDialog::CommandsPage); },
            Qt::QueuedConnection);
    }
}

void CommandPanel::showSequenceMenu(int index, const QPoint &globalPos)
{
    const bool running = !runningName.isEmpty() && current.sequences.at(index).name == runningName;
    QMenu menu(this);
    QAction *run = menu.addAction(running ? tr("Stop") : tr("Run"));
    QAction *edit = menu.addAction(tr("Edit Library..."));
    QAction *chosen = menu.exec(globalPos);
    if (chosen == run) {
        QMetaObject::invokeMethod(
            this, [this, index] { onRunClicked(index); }, Qt::QueuedConnection);
    } else if (chosen == edit) {
        QMetaObject::invokeMethod(
            this, [this] { emit editLibraryRequested(CommandLibraryDialog::SequencesPage); },
            Qt::QueuedConnection);
    }
}

void CommandPanel::onRunClicked(int index)
{
    if (index < 0 || index >= current.sequences.size()) {
        return;
    }
    const Sequence &sequence = current.sequences.at(index);
    if (!runningName.isEmpty() && sequence.name == runningName) {
        emit sequenceStopRequested();
    } else {
        emit sequenceRunRequested(sequence);
    }
}
