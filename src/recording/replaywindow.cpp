#include "recording/replaywindow.h"

#include "recording/replayfiles.h"
#include "recording/replayportview.h"
#include "recording/replayreader.h"
#include "recording/replaysearch.h"
#include "recording/replaytimeline.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProgressBar>
#include <QSettings>
#include <QSpinBox>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

ReplayWindow::ReplayWindow(QWidget *parent)
    : QMainWindow(parent)
    , pumpTimer(new QTimer(this))
    , indexTimer(new QTimer(this))
    , searchTimer(new QTimer(this))
    , followTimer(new QTimer(this))
    , timeline(new ReplayTimeline(this))
    , noticeBanner(new QLabel(this))
    , continueBanner(new QLabel(this))
    , positionLabel(new QLabel(this))
    , statusLabel(new QLabel(this))
    , progress(new QProgressBar(this))
    , cancelIndexButton(new QToolButton(this))
    , speedCombo(new QComboBox(this))
    , idleSpin(new QSpinBox(this))
    , findEdit(new QLineEdit(this))
    , findHex(new QToolButton(this))
    , findCase(new QToolButton(this))
    , bookmarkList(new QTreeWidget(this))
{
    setObjectName(QStringLiteral("replayWindow"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    auto elapsed = std::make_shared<QElapsedTimer>();
    elapsed->start();
    clock = [elapsed] { return elapsed->nsecsElapsed() / 1000; };

    pumpTimer->setInterval(PumpMs);
    pumpTimer->setTimerType(Qt::PreciseTimer);
    connect(pumpTimer, &QTimer::timeout, this, &ReplayWindow::pump);
    indexTimer->setInterval(0);
    connect(indexTimer, &QTimer::timeout, this, &ReplayWindow::indexMore);
    searchTimer->setInterval(0);
    connect(searchTimer, &QTimer::timeout, this, &ReplayWindow::searchStep);
    // A file without an end line may still be recorded: look for new lines now and then.
    followTimer->setInterval(1000);
    connect(followTimer, &QTimer::timeout, this, [this] {
        if (doc && !indexTimer->isActive()) {
            indexTimer->start();
        }
    });

    buildActions();
    buildMenus();
    buildToolBar();
    buildBookmarkDock();

    noticeBanner->setObjectName(QStringLiteral("replayNoticeBanner"));
    continueBanner->setObjectName(QStringLiteral("replayContinueBanner"));
    for (QLabel *banner : {noticeBanner, continueBanner}) {
        banner->setWordWrap(true);
        banner->setMargin(6);
        banner->setStyleSheet(QStringLiteral("background:#fff4ce;color:#3b3000;"));
        banner->hide();
    }
    connect(continueBanner, &QLabel::linkActivated, this, &ReplayWindow::openRequested);
    connect(timeline, &ReplayTimeline::seekRequested, this, &ReplayWindow::seekToPlayUs);
    connect(timeline, &ReplayTimeline::bucketsChanged, this, &ReplayWindow::refreshTimeline);

    portSplitter = new QSplitter(Qt::Horizontal, this);
    portSplitter->setChildrenCollapsible(false);
    auto *central = new QWidget(this);
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(noticeBanner);
    layout->addWidget(continueBanner);
    layout->addWidget(portSplitter, 1);
    layout->addWidget(timeline);
    setCentralWidget(central);

    statusLabel->setObjectName(QStringLiteral("replayStatus"));
    statusBar()->addWidget(statusLabel, 1);
    progress->setRange(0, 1000);
    progress->setMaximumWidth(200);
    progress->hide();
    cancelIndexButton->setText(tr("Cancel"));
    cancelIndexButton->hide();
    connect(cancelIndexButton, &QToolButton::clicked, this, [this] {
        indexTimer->stop();
        followTimer->stop();
        progress->hide();
        cancelIndexButton->hide();
        showStatus(tr("Reading %1 was cancelled.").arg(doc ? doc->title() : QString()));
    });
    statusBar()->addPermanentWidget(progress);
    statusBar()->addPermanentWidget(cancelIndexButton);
    statusBar()->addPermanentWidget(positionLabel);
    refreshTitle();
    resize(1100, 700);
}

ReplayWindow::~ReplayWindow() = default;

void ReplayWindow::setClock(std::function<qint64()> c)
{
    clock = std::move(c);
}

qint64 ReplayWindow::now() const
{
    return clock();
}

const ReplayIndex *ReplayWindow::index() const
{
    return doc ? &doc->index() : nullptr;
}

bool ReplayWindow::isIndexing() const
{
    return indexTimer->isActive();
}

qint64 ReplayWindow::position() const
{
    return reader ? reader->position() : 0;
}

QString ReplayWindow::statusText() const
{
    return lastStatus;
}

void ReplayWindow::showStatus(const QString &text)
{
    lastStatus = text;
    statusLabel->setText(text);
}

void ReplayWindow::buildActions()
{
    playAction = new QAction(tr("Play"), this);
    playAction->setShortcut(Qt::Key_Space);
    connect(playAction, &QAction::triggered, this, &ReplayWindow::togglePlay);
    stepForwardAction = new QAction(tr("Step Forward"), this);
    stepForwardAction->setShortcut(Qt::Key_Period);
    connect(stepForwardAction, &QAction::triggered, this, &ReplayWindow::stepForward);
    stepBackAction = new QAction(tr("Step Back"), this);
    stepBackAction->setShortcut(Qt::Key_Comma);
    connect(stepBackAction, &QAction::triggered, this, &ReplayWindow::stepBack);
    goToStartAction = new QAction(tr("Go to Start"), this);
    goToStartAction->setShortcut(Qt::Key_Home);
    connect(goToStartAction, &QAction::triggered, this, &ReplayWindow::goToStart);
    goToTimeAction = new QAction(tr("Go to Time..."), this);
    goToTimeAction->setShortcut(QKeySequence(QStringLiteral("Ctrl+G")));
    connect(goToTimeAction, &QAction::triggered, this, &ReplayWindow::goToTime);
    idleAction = new QAction(tr("Skip Idle Gaps"), this);
    idleAction->setCheckable(true);
    connect(idleAction, &QAction::toggled, this,
            [this](bool on) { setIdleCap(on, idleSpin->value()); });
    loopAction = new QAction(tr("Loop Between Bookmarks"), this);
    loopAction->setObjectName(QStringLiteral("replayLoopAction"));
    loopAction->setCheckable(true);
    connect(loopAction, &QAction::triggered, this, &ReplayWindow::toggleLoop);
    findAction = new QAction(tr("Find in Recording"), this);
    findAction->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+F")));
    connect(findAction, &QAction::triggered, this, [this] {
        findEdit->setFocus();
        findEdit->selectAll();
    });
    saveBookmarksAction = new QAction(tr("Save Bookmarks"), this);
    saveBookmarksAction->setShortcut(QKeySequence::Save);
    connect(saveBookmarksAction, &QAction::triggered, this, &ReplayWindow::saveBookmarks);
    saveCopyAction = new QAction(tr("Save a Copy..."), this);
    connect(saveCopyAction, &QAction::triggered, this, [this] { saveCopy(); });
    reloadAction = new QAction(tr("Reload"), this);
    connect(reloadAction, &QAction::triggered, this, &ReplayWindow::reload);
    addBookmarkAction = new QAction(tr("Add Bookmark"), this);
    addBookmarkAction->setShortcut(QKeySequence(QStringLiteral("Ctrl+B")));
    connect(addBookmarkAction, &QAction::triggered, this, &ReplayWindow::addBookmarkAtPlayhead);
    nextBookmarkAction = new QAction(tr("Next Bookmark"), this);
    connect(nextBookmarkAction, &QAction::triggered, this, &ReplayWindow::nextBookmark);
    previousBookmarkAction = new QAction(tr("Previous Bookmark"), this);
    connect(previousBookmarkAction, &QAction::triggered, this, &ReplayWindow::previousBookmark);
    verticalAction = new QAction(tr("Arrange Vertically"), this);
    verticalAction->setCheckable(true);
    verticalAction->setChecked(QSettings().value(QStringLiteral("Replay/PortsVertical")).toBool());
    connect(verticalAction, &QAction::toggled, this, [this](bool on) {
        portSplitter->setOrientation(on ? Qt::Vertical : Qt::Horizontal);
        QSettings().setValue(QStringLiteral("Replay/PortsVertical"), on);
    });
}

void ReplayWindow::buildMenus()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    QAction *open = file->addAction(tr("Open Recording..."));
    connect(open, &QAction::triggered, this, [this] {
        const QString path = QFileDialog::getOpenFileName(
            this, tr("Open Recording"),
            QSettings().value(QStringLiteral("Replay/LastDirectory")).toString(),
            tr("Recordings and session exports (*.vlmlog *.jsonl)"));
        if (!path.isEmpty()) {
            emit openRequested(path);
        }
    });
    file->addAction(reloadAction);
    file->addAction(saveBookmarksAction);
    file->addAction(saveCopyAction);
    file->addSeparator();
    QAction *close = file->addAction(tr("Close"));
    close->setShortcut(QKeySequence(QStringLiteral("Ctrl+W")));
    connect(close, &QAction::triggered, this, &QWidget::close);

    QMenu *view = menuBar()->addMenu(tr("&View"));
    portsMenu = view->addMenu(tr("Ports"));
    view->addAction(verticalAction);
    QAction *full = view->addAction(tr("Full Screen"));
    full->setCheckable(true);
    connect(full, &QAction::toggled, this,
            [this](bool on) { on ? showFullScreen() : showNormal(); });

    QMenu *playback = menuBar()->addMenu(tr("&Playback"));
    playback->addAction(playAction);
    playback->addAction(stepForwardAction);
    playback->addAction(stepBackAction);
    playback->addAction(goToStartAction);
    playback->addAction(goToTimeAction);
    QMenu *speed = playback->addMenu(tr("Speed"));
    auto *speeds = new QActionGroup(this);
    for (const double value : ReplayEngine::kSpeeds) {
        QAction *action = speed->addAction(value > 0 ? tr("%1x").arg(value) : tr("Fastest"));
        action->setCheckable(true);
        action->setData(value);
        speeds->addAction(action);
        connect(action, &QAction::triggered, this, [this, value] { setSpeed(value); });
    }
    playback->addAction(idleAction);
    playback->addAction(loopAction);
    playback->addAction(findAction);

    QMenu *marks = menuBar()->addMenu(tr("&Bookmarks"));
    marks->addAction(addBookmarkAction);
    marks->addAction(nextBookmarkAction);
    marks->addAction(previousBookmarkAction);
}

void ReplayWindow::buildToolBar()
{
    QToolBar *bar = addToolBar(tr("Playback"));
    bar->setObjectName(QStringLiteral("replayToolBar"));
    bar->setMovable(false);
    bar->addAction(goToStartAction);
    bar->addAction(stepBackAction);
    bar->addAction(playAction);
    bar->addAction(stepForwardAction);
    bar->addSeparator();
    speedCombo->setObjectName(QStringLiteral("replaySpeedCombo"));
    for (const double value : ReplayEngine::kSpeeds) {
        speedCombo->addItem(value > 0 ? tr("%1x").arg(value) : tr("Fastest"), value);
    }
    const double stored = QSettings().value(QStringLiteral("Replay/Speed"), 1.0).toDouble();
    speedCombo->setCurrentIndex(std::max(0, speedCombo->findData(stored)));
    clockEngine.setSpeed(speedCombo->currentData().toDouble(), 0);
    connect(speedCombo, &QComboBox::activated, this,
            [this](int i) { setSpeed(speedCombo->itemData(i).toDouble()); });
    bar->addWidget(speedCombo);
    bar->addAction(idleAction);
    // "Skip gaps longer than %1 s": the spin box where the number is.
    const QStringList around = tr("Skip gaps longer than %1 s").split(QStringLiteral("%1"));
    idleSpin->setRange(1, 60);
    idleSpin->setPrefix(around.value(0));
    idleSpin->setSuffix(around.value(1));
    idleSpin->setValue(QSettings().value(QStringLiteral("Replay/IdleCapSeconds"), 2).toInt());
    connect(idleSpin, &QSpinBox::valueChanged, this,
            [this](int seconds) { setIdleCap(idleAction->isChecked(), seconds); });
    bar->addWidget(idleSpin);
    idleAction->setChecked(QSettings().value(QStringLiteral("Replay/SkipIdle")).toBool());
    auto *loopButton = new QToolButton(this);
    loopButton->setObjectName(QStringLiteral("replayLoopButton"));
    loopButton->setDefaultAction(loopAction);
    bar->addWidget(loopButton);
    bar->addSeparator();
    bar->addAction(addBookmarkAction);
    bar->addSeparator();
    findEdit->setObjectName(QStringLiteral("replayFindEdit"));
    findEdit->setPlaceholderText(tr("Find in recording"));
    findEdit->setClearButtonEnabled(true);
    findEdit->setMaximumWidth(220);
    connect(findEdit, &QLineEdit::returnPressed, this, [this] { findInRecording(false); });
    bar->addWidget(findEdit);
    findHex->setObjectName(QStringLiteral("replayFindHex"));
    findHex->setText(tr("Hex"));
    findHex->setCheckable(true);
    bar->addWidget(findHex);
    findCase->setObjectName(QStringLiteral("replayFindCase"));
    findCase->setText(tr("Aa"));
    findCase->setToolTip(tr("Match case"));
    findCase->setCheckable(true);
    bar->addWidget(findCase);
    QAction *previousMatch = bar->addAction(tr("Previous match"));
    connect(previousMatch, &QAction::triggered, this, [this] { findInRecording(true); });
    QAction *nextMatch = bar->addAction(tr("Next match"));
    connect(nextMatch, &QAction::triggered, this, [this] { findInRecording(false); });
}

void ReplayWindow::buildBookmarkDock()
{
    auto *dock = new QDockWidget(tr("Bookmarks"), this);
    dock->setObjectName(QStringLiteral("replayBookmarkDock"));
    bookmarkList->setObjectName(QStringLiteral("replayBookmarkList"));
    bookmarkList->setColumnCount(3);
    bookmarkList->setHeaderLabels({tr("Time"), tr("Name"), tr("Note")});
    bookmarkList->setRootIsDecorated(false);
    bookmarkList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    bookmarkList->setEditTriggers(QAbstractItemView::DoubleClicked |
                                  QAbstractItemView::EditKeyPressed);
    connect(bookmarkList, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem *item, int) {
        if (!doc || bookmarkList->signalsBlocked()) {
            return;
        }
        doc->bookmarks().update(item->data(0, Qt::UserRole).toString(), item->text(1),
                                item->text(2));
        refreshTitle();
    });
    connect(bookmarkList, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem *item) {
        seekToPlayUs(item->data(0, Qt::UserRole + 1).toLongLong());
    });
    dock->setWidget(bookmarkList);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    QAction *show = dock->toggleViewAction();
    show->setText(tr("Show Bookmark List"));
    for (QMenu *menu : menuBar()->findChildren<QMenu *>()) {
        if (menu->title() == tr("&Bookmarks")) {
            menu->addAction(show);
        }
    }
}

bool ReplayWindow::openFile(const QString &path, bool isRecording, QString *error)
{
    if (doc) {
        if (error) {
            *error = tr("This window already shows a recording.");
        }
        return false;
    }
    auto next = std::make_unique<ReplayDocument>();
    if (!next->open(path, isRecording, error)) {
        return false;
    }
    doc = std::move(next);
    QSettings().setValue(QStringLiteral("Replay/LastDirectory"), QFileInfo(path).absolutePath());
    indexer = doc->indexer();
    playDevice = doc->openDevice();
    reader = std::make_unique<ReplayReader>(playDevice.get(), &doc->index());
    clockEngine.setSource(reader.get());
    // A first slice now, so that the header and the first events are there at once.
    afterIndexStep(!indexer->step(ReplayIndexer::SliceBytes));
    return true;
}

void ReplayWindow::reload()
{
    if (!doc) {
        return;
    }
    pause();
    indexTimer->stop();
    searchTimer->stop();
    search.reset();
    doc->resetIndex();
    indexer = doc->indexer();
    reader = std::make_unique<ReplayReader>(playDevice.get(), &doc->index());
    clockEngine = ReplayEngine(reader.get());
    clockEngine.setSpeed(speedCombo->currentData().toDouble(), now());
    setIdleCap(idleAction->isChecked(), idleSpin->value());
    qDeleteAll(views);
    views.clear();
    portsMenu->clear();
    indexedOnce = false;
    while (indexer->step(ReplayIndexer::SliceBytes)) {
    }
    afterIndexStep(true);
    reloadedNote = tr("Reloaded: %n event(s).", nullptr, int(doc->index().eventCount));
    refreshBanners();
}

void ReplayWindow::indexToEnd()
{
    if (!indexer) {
        return;
    }
    while (indexer->step(ReplayIndexer::SliceBytes)) {
    }
    afterIndexStep(true);
}

void ReplayWindow::indexMore()
{
    if (!indexer) {
        indexTimer->stop();
        return;
    }
    afterIndexStep(!indexer->step(ReplayIndexer::SliceBytes));
}

void ReplayWindow::afterIndexStep(bool finished)
{
    const ReplayIndex &idx = doc->index();
    if (!indexedOnce) {
        indexedOnce = true;
        const QTimeZone recorded(idx.timeZone.toUtf8());
        zone = recorded.isValid() ? recorded : QTimeZone::systemTimeZone();
        timeline->setTimeZone(zone);
        doc->adoptIndexedBookmarks();
        showStatus(tr("Reading %1...").arg(doc->title()));
    }
    if (views.size() < std::min<qsizetype>(idx.ports.size(), MaxShownPorts)) {
        buildViews();
    }
    if (!doc->bookmarks().isModified() && doc->bookmarks().list() != idx.bookmarks) {
        doc->bookmarks().reset(idx.bookmarks);
        refreshBookmarkList();
    }
    if (!finished) {
        progress->setValue(int(indexer->progress() * 1000));
        progress->show();
        cancelIndexButton->show();
        if (!indexTimer->isActive()) {
            indexTimer->start();
        }
    } else {
        indexTimer->stop();
        progress->hide();
        cancelIndexButton->hide();
        if (!indexer->errorString().isEmpty()) {
            showStatus(tr("%1 can no longer be read.").arg(doc->title()));
        } else if (lastStatus.startsWith(tr("Reading %1...").arg(doc->title()))) {
            showStatus(QString());
        }
        // No end line: it may still be being recorded, so follow it.
        if (idx.endReason.isEmpty()) {
            followTimer->start();
        } else {
            followTimer->stop();
        }
        doc->setStillRecording(idx.endReason.isEmpty() && idx.isRecording);
    }
    if (!clockEngine.isAnchored() && idx.eventCount > 0) {
        seekInternal(0, idx.firstUs);
    }
    refreshTimeline();
    refreshBanners();
    refreshPosition();
    refreshTitle();
}

void ReplayWindow::buildViews()
{
    const ReplayIndex &idx = doc->index();
    const qsizetype shown = std::min<qsizetype>(idx.ports.size(), MaxShownPorts);
    for (qsizetype i = views.size(); i < idx.ports.size(); ++i) {
        auto *view = new ReplayPortView(idx.ports[i], portSplitter);
        view->setObjectName(QStringLiteral("replayPortView_%1").arg(idx.ports[i].id));
        views.append(view);
        portSplitter->addWidget(view);
        view->setVisible(i < shown);
        QAction *toggle = portsMenu->addAction(idx.ports[i].label.isEmpty() ? idx.ports[i].id
                                                                            : idx.ports[i].label);
        toggle->setCheckable(true);
        toggle->setChecked(i < shown);
        connect(toggle, &QAction::toggled, view, &QWidget::setVisible);
    }
    portSplitter->setOrientation(verticalAction->isChecked() ? Qt::Vertical : Qt::Horizontal);
}

void ReplayWindow::refreshBanners()
{
    if (!doc) {
        return;
    }
    const ReplayIndex &idx = doc->index();
    QStringList notes;
    if (idx.torn) {
        notes << tr("The recording ends mid-line (VLM may have been closed abruptly); "
                    "everything before it is here.");
    }
    if (!idx.hasHeader && idx.indexedTo > 0) {
        notes << tr("No header: port names and encodings are unknown, so data is shown in Hex.");
    }
    if (idx.skippedLines + idx.badLines > 0) {
        notes << tr("%n line(s) could not be read and were skipped.", nullptr,
                    int(idx.skippedLines + idx.badLines));
    }
    if (zone != QTimeZone::systemTimeZone() && zone.isValid()) {
        const int offset = zone.offsetFromUtc(QDateTime::fromMSecsSinceEpoch(idx.firstUs / 1000));
        const QString sign = offset < 0 ? QStringLiteral("-") : QStringLiteral("+");
        const int minutes = std::abs(offset) / 60;
        notes << tr("Recorded in %1 (UTC%2)")
                     .arg(QString::fromUtf8(zone.id()),
                          tr("%1%2:%3")
                              .arg(sign)
                              .arg(minutes / 60, 2, 10, QLatin1Char('0'))
                              .arg(minutes % 60, 2, 10, QLatin1Char('0')));
    }
    if (idx.ports.size() > MaxShownPorts) {
        notes << tr("Showing the first %1 of %2 ports; choose the others under View > Ports.")
                     .arg(MaxShownPorts)
                     .arg(idx.ports.size());
    }
    if (!reloadedNote.isEmpty()) {
        notes << reloadedNote;
    }
    noticeBanner->setText(notes.join(u'\n'));
    noticeBanner->setVisible(!notes.isEmpty());
    const QString next = ReplayFiles::linkedPart(doc->path(), idx.endNext);
    continueBanner->setVisible(!next.isEmpty());
    if (!next.isEmpty()) {
        continueBanner->setText(tr("This recording continues in %1.")
                                    .arg(QStringLiteral("<a href=\"%1\">%2</a>")
                                             .arg(next.toHtmlEscaped(), idx.endNext.toHtmlEscaped())));
    }
}

void ReplayWindow::refreshTitle()
{
    setWindowTitle(tr("%1[*] - Replay").arg(doc ? doc->title() : tr("Replay")));
    setWindowModified(doc && doc->bookmarks().isModified());
}

void ReplayWindow::refreshTimeline()
{
    if (!doc) {
        return;
    }
    const ReplayIndex &idx = doc->index();
    timeline->setSpan(idx.firstUs, std::max(idx.firstUs, idx.lastPlayUs));
    timeline->setActivity(idx.activity(timeline->buckets()));
    timeline->setBookmarks(doc->bookmarks().list());
    timeline->setLoop(loopOn ? loopFrom : 1, loopOn ? loopTo : 0);
}

QString ReplayWindow::timeText(qint64 us) const
{
    const ReplayIndex *idx = index();
    const bool days = idx && idx->lastPlayUs - idx->firstUs > 86400LL * 1000000;
    return QDateTime::fromMSecsSinceEpoch(us / 1000, zone)
        .toString(days ? QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz") : QStringLiteral("HH:mm:ss.zzz"));
}

QString ReplayWindow::spanText(qint64 us) const
{
    const qint64 ms = std::max<qint64>(us, 0) / 1000;
    return tr("%1:%2:%3.%4")
        .arg(ms / 3600000)
        .arg(ms / 60000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

void ReplayWindow::refreshPosition()
{
    if (!doc) {
        positionLabel->clear();
        return;
    }
    const ReplayIndex &idx = doc->index();
    const qint64 head = clockEngine.playheadUs(now());
    timeline->setPlayhead(head);
    positionLabel->setText(tr("+%1 / %2").arg(spanText(head - idx.firstUs),
                                              spanText(idx.lastPlayUs - idx.firstUs)) +
                           QStringLiteral("   ") +
                           tr("event %1 of %2").arg(position()).arg(idx.eventCount));
}

void ReplayWindow::refreshBookmarkList()
{
    const QSignalBlocker blocker(bookmarkList);
    bookmarkList->clear();
    if (!doc) {
        return;
    }
    for (const ReplayBookmark &bookmark : doc->bookmarks().list()) {
        auto *item = new QTreeWidgetItem(bookmarkList, {timeText(bookmark.t), bookmark.name, bookmark.note});
        item->setData(0, Qt::UserRole, bookmark.id);
        item->setData(0, Qt::UserRole + 1, bookmark.t);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    timeline->setBookmarks(doc->bookmarks().list());
    refreshTitle();
}
