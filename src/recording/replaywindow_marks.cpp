// Bookmarks, search and saving in the replay window.

#include "recording/replayfiles.h"
#include "recording/replayportview.h"
#include "recording/replayreader.h"
#include "recording/replaysearch.h"
#include "recording/replaytimeline.h"
#include "recording/replaywindow.h"

#include <QAction>
#include <QCloseEvent>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

void ReplayWindow::addBookmarkAtPlayhead()
{
    if (doc) {
        addBookmarkAt(clockEngine.playheadUs(now()), QString(), false);
    }
}

void ReplayWindow::addBookmarkAt(qint64 us, const QString &port, bool quiet)
{
    if (!doc) {
        return;
    }
    const QString name = tr("Bookmark %1").arg(doc->bookmarks().list().size() + 1);
    doc->bookmarks().add(us, port, name, QString());
    refreshBookmarkList();
    if (!quiet) {
        showStatus(tr("Bookmark %1 added at %2.").arg(name, timeText(us)));
    }
}

void ReplayWindow::nextBookmark()
{
    if (!doc) {
        return;
    }
    const ReplayBookmark *next = doc->bookmarks().next(clockEngine.playheadUs(now()));
    if (!next) {
        showStatus(tr("No more bookmarks."));
        return;
    }
    seekToPlayUs(next->t);
}

void ReplayWindow::previousBookmark()
{
    if (!doc) {
        return;
    }
    const ReplayBookmark *previous = doc->bookmarks().previous(clockEngine.playheadUs(now()));
    if (!previous) {
        showStatus(tr("No earlier bookmark."));
        return;
    }
    seekToPlayUs(previous->t);
}

void ReplayWindow::toggleLoop(bool on)
{
    loopOn = false;
    if (on && doc) {
        QList<qint64> times;
        for (QTreeWidgetItem *item : bookmarkList->selectedItems()) {
            times << item->data(0, Qt::UserRole + 1).toLongLong();
        }
        if (times.isEmpty() || times.size() > 2) {
            showStatus(tr("Select one bookmark, or two, in the list to loop between."));
        } else {
            std::sort(times.begin(), times.end());
            // One bookmark loops from it to the end of the recording.
            setLoop(times.first(), times.size() == 2 ? times.last() : doc->index().lastPlayUs + 1);
            loopOn = true;
        }
    }
    loopAction->setChecked(loopOn);
    applyEndUs();
    refreshTimeline();
}

void ReplayWindow::findInRecording(bool backward)
{
    if (!doc) {
        return;
    }
    QString error;
    const ReplayQuery query =
        ReplayQuery::fromInput(findEdit->text(), findHex->isChecked(), findCase->isChecked(), &error);
    if (query.isEmpty()) {
        showStatus(error);
        return;
    }
    searchDevice = doc->openDevice();
    search = std::make_unique<ReplaySearch>(searchDevice.get(), &doc->index(), query);
    searchBackward = backward;
    searchPassNo = 1;
    searchFrom = reader->position();
    // Forward: from the playhead to the end, then round from the start. Backward: every
    // hit before the playhead, of which the last is taken.
    if (backward) {
        search->startPass(0, std::max<qint64>(0, searchFrom - 1), false);
    } else {
        search->startPass(searchFrom, doc->index().eventCount, true);
    }
    showStatus(tr("Searching the recording..."));
    searchTimer->start();
}

void ReplayWindow::searchStep()
{
    if (!search) {
        searchTimer->stop();
        return;
    }
    if (search->step(ReplayIndexer::SliceBytes)) {
        showStatus(tr("Searching the recording... %1%").arg(int(search->progress() * 100)));
        return;
    }
    if (!search->hits().isEmpty()) {
        finishSearch(true);
        return;
    }
    if (!searchBackward && searchPassNo == 1 && searchFrom > 0) {
        searchPassNo = 2;
        search->startPass(0, searchFrom, true);
        return;
    }
    finishSearch(false);
}

void ReplayWindow::finishSearch(bool found)
{
    searchTimer->stop();
    if (found) {
        const ReplayHit hit = searchBackward ? search->hits().constLast() : search->hits().constFirst();
        search.reset();
        jumpToHit(hit);
        return;
    }
    const ReplayQuery query = ReplayQuery::fromInput(findEdit->text(), findHex->isChecked(),
                                                     findCase->isChecked(), nullptr);
    search.reset();
    const QList<ReplayBookmark> marks = ReplaySearch::matchBookmarks(doc->bookmarks().list(), query);
    if (!marks.isEmpty()) {
        seekToPlayUs(marks.first().t);
        showStatus(tr("Found in bookmark \"%1\".").arg(marks.first().name));
        return;
    }
    showStatus(tr("No more matches in the recording."));
}

void ReplayWindow::jumpToHit(const ReplayHit &hit)
{
    pause();
    // The event with the match is the last one shown.
    seekInternal(hit.ordinal + 1, hit.playUs);
    const QString at = timeText(hit.playUs);
    showStatus(hit.splitAcrossEvents ? tr("Match at %1 (split across lines on screen).").arg(at)
                                     : tr("Match at %1.").arg(at));
}

bool ReplayWindow::saveBookmarks()
{
    if (!doc) {
        return false;
    }
    QString error;
    if (!doc->saveBookmarks(doc->path(), QDateTime::currentMSecsSinceEpoch() * 1000, &error)) {
        showStatus(error);
        return false;
    }
    refreshTitle();
    showStatus(tr("Bookmarks saved."));
    return true;
}

bool ReplayWindow::saveCopy(const QString &target)
{
    if (!doc) {
        return false;
    }
    QString path = target;
    if (path.isEmpty()) {
        const QFileInfo info(doc->path());
        const QString name = doc->path().isEmpty()
                                 ? QStringLiteral("VLM-session-%1.vlmlog")
                                       .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")))
                                 : QStringLiteral("%1-copy.%2").arg(info.completeBaseName(), info.suffix());
        const QString folder =
            QSettings().value(QStringLiteral("Replay/LastDirectory"), info.absolutePath()).toString();
        path = QFileDialog::getSaveFileName(this, tr("Save a Copy..."), QDir(folder).filePath(name),
                                            tr("VLM recordings (*.vlmlog);;JSON Lines (*.jsonl)"));
        if (path.isEmpty()) {
            return false;
        }
    }
    if (ReplayFiles::samePath(path, doc->path())) {
        showStatus(tr("That is the file this window has open; choose another name."));
        return false;
    }
    QString error;
    if (!doc->saveCopy(path, QDateTime::currentMSecsSinceEpoch() * 1000, &error)) {
        showStatus(error);
        return false;
    }
    QSettings().setValue(QStringLiteral("Replay/LastDirectory"), QFileInfo(path).absolutePath());
    refreshTitle();
    showStatus(tr("Saved a copy to %1.").arg(QDir::toNativeSeparators(path)));
    return true;
}

void ReplayWindow::closeEvent(QCloseEvent *event)
{
    if (doc && doc->bookmarks().isModified()) {
        QMessageBox box(QMessageBox::Question, windowTitle(),
                        tr("The bookmarks of this replay have changed."), QMessageBox::NoButton, this);
        QPushButton *save = box.addButton(tr("Save Bookmarks"), QMessageBox::AcceptRole);
        QPushButton *copy = box.addButton(tr("Save a Copy..."), QMessageBox::ActionRole);
        box.addButton(QMessageBox::Discard);
        QPushButton *cancel = box.addButton(QMessageBox::Cancel);
        box.exec();
        if (box.clickedButton() == cancel || (box.clickedButton() == save && !saveBookmarks()) ||
            (box.clickedButton() == copy && !saveCopy())) {
            event->ignore();
            return;
        }
    }
    pause();
    indexTimer->stop();
    followTimer->stop();
    searchTimer->stop();
    event->accept();
}
