// Playing, stepping and seeking in the replay window.

#include "recording/gototimedialog.h"
#include "recording/replayportview.h"
#include "recording/replayreader.h"
#include "recording/replaytimeline.h"
#include "recording/replaywindow.h"

#include <QAction>
#include <QComboBox>
#include <QSettings>
#include <QSpinBox>
#include <QTimer>

void ReplayWindow::applyEvent(const ReplayEvent &event)
{
    if (event.portIndex >= 0 && event.portIndex < views.size() &&
        views[event.portIndex]->isVisibleTo(this)) {
        views[event.portIndex]->apply(event);
    }
}

void ReplayWindow::flushViews()
{
    for (ReplayPortView *view : std::as_const(views)) {
        view->flush();
    }
}

void ReplayWindow::showBookmarksUpTo(qint64 us)
{
    if (!doc) {
        return;
    }
    for (const ReplayBookmark &bookmark : doc->bookmarks().list()) {
        if (bookmark.t <= bookmarksShownTo || bookmark.t > us) {
            continue;
        }
        const QString name = bookmark.name.isEmpty() ? bookmark.id : bookmark.name;
        for (ReplayPortView *view : std::as_const(views)) {
            if (bookmark.port.isEmpty() || bookmark.port == view->info().id) {
                view->showBookmark(name, bookmark.t);
            }
        }
    }
    bookmarksShownTo = std::max(bookmarksShownTo, us);
}

void ReplayWindow::play()
{
    if (!doc || doc->index().eventCount == 0) {
        return;
    }
    if (reader->position() >= doc->index().eventCount) {
        // At the end: start over.
        seekInternal(0, doc->index().firstUs);
    }
    clockEngine.play(now());
    playAction->setText(tr("Pause"));
    pumpTimer->start();
}

void ReplayWindow::pause()
{
    clockEngine.pause(now());
    pumpTimer->stop();
    playAction->setText(tr("Play"));
    refreshPosition();
}

void ReplayWindow::togglePlay()
{
    clockEngine.isPlaying() ? pause() : play();
}

void ReplayWindow::pump()
{
    const ReplayEngine::TickResult result = clockEngine.tick(now());
    for (const ReplayEvent &event : result.events) {
        applyEvent(event);
    }
    if (!result.events.isEmpty()) {
        showBookmarksUpTo(result.events.constLast().playUs);
    }
    flushViews();
    refreshPosition();
    if (result.lagUs > 0) {
        showStatus(tr("Replay cannot keep up at %1; showing as fast as it can.")
                       .arg(speedCombo->currentText()));
    }
    if (result.stop == ReplayEngine::EndOfSource) {
        reachedEnd();
    } else if (result.stop == ReplayEngine::ReachedEnd) {
        reachedLimit();
    }
}

void ReplayWindow::reachedEnd()
{
    pumpTimer->stop();
    playAction->setText(tr("Play"));
    const ReplayIndex &idx = doc->index();
    showStatus(idx.endNext.isEmpty() ? tr("End of the recording.")
                                     : tr("This recording continues in %1.").arg(idx.endNext));
    refreshPosition();
}

void ReplayWindow::reachedLimit()
{
    if (loopOn) {
        seekToPlayUs(loopFrom);
        clockEngine.play(now());
        return;
    }
    pumpTimer->stop();
    playAction->setText(tr("Play"));
    refreshPosition();
}

void ReplayWindow::seekInternal(qint64 ordinal, qint64 playUs)
{
    if (!doc) {
        return;
    }
    const ReplayIndex &idx = doc->index();
    ordinal = std::clamp<qint64>(ordinal, 0, idx.eventCount);
    const ReplayIndex::Checkpoint from = idx.prefillStart(ordinal, 65536, 2000);
    for (ReplayPortView *view : std::as_const(views)) {
        view->clear();
        if (from.ordinal > 0) {
            view->showLine(tr("-- Showing from %1 --").arg(timeText(from.playUs)));
        }
    }
    // The context before the target, shown at once; bookmarks in it appear in place.
    bookmarksShownTo = from.ordinal > 0 ? from.playUs - 1 : -1;
    reader->seekOrdinal(from.ordinal);
    ReplayEvent event;
    while (reader->position() < ordinal && reader->peek(&event)) {
        showBookmarksUpTo(event.playUs - 1);
        applyEvent(event);
        reader->pop();
    }
    showBookmarksUpTo(playUs);
    flushViews();
    clockEngine.reset(playUs, now());
    applyEndUs();
    refreshPosition();
}

void ReplayWindow::seekToOrdinal(qint64 n)
{
    if (!doc) {
        return;
    }
    const ReplayIndex &idx = doc->index();
    qint64 us = idx.lastPlayUs;
    if (n < idx.eventCount) {
        reader->seekOrdinal(n);
        ReplayEvent event;
        if (reader->peek(&event)) {
            us = event.playUs;
        }
    }
    seekInternal(n, us);
}

void ReplayWindow::seekToPlayUs(qint64 us)
{
    if (!doc) {
        return;
    }
    const bool playing = clockEngine.isPlaying();
    seekInternal(reader->ordinalAtTime(us), std::max(us, doc->index().firstUs));
    if (playing) {
        clockEngine.play(now());
    }
}

void ReplayWindow::stepForward()
{
    if (!doc) {
        return;
    }
    pause();
    ReplayEvent event;
    ReplayEngine::Stop stop = ReplayEngine::None;
    while (clockEngine.step(&event, &stop)) {
        if (event.portIndex >= 0 && event.portIndex < views.size() &&
            views[event.portIndex]->isVisibleTo(this)) {
            applyEvent(event);
            showBookmarksUpTo(event.playUs);
            flushViews();
            refreshPosition();
            return;
        }
    }
    showStatus(stop == ReplayEngine::ReachedEnd && loopOn
                   ? tr("End of the loop; Play goes round it again.")
                   : tr("End of the recording."));
    refreshPosition();
}

void ReplayWindow::stepBack()
{
    if (!doc) {
        return;
    }
    pause();
    const qint64 at = reader->position();
    if (at <= 0) {
        showStatus(tr("At the start of the recording."));
        return;
    }
    seekToOrdinal(at - 1);
}

void ReplayWindow::goToStart()
{
    if (doc) {
        pause();
        seekInternal(0, doc->index().firstUs);
    }
}

void ReplayWindow::goToTime()
{
    if (!doc) {
        return;
    }
    const ReplayIndex &idx = doc->index();
    GoToTimeDialog dialog(idx.firstUs, idx.lastPlayUs, clockEngine.playheadUs(now()), zone, this);
    if (dialog.exec() == QDialog::Accepted) {
        seekToPlayUs(dialog.timeUs());
    }
}

void ReplayWindow::setSpeed(double speed)
{
    clockEngine.setSpeed(speed, now());
    const int at = speedCombo->findData(speed > 0 ? speed : 0.0);
    if (at >= 0) {
        speedCombo->setCurrentIndex(at);
    }
    QSettings().setValue(QStringLiteral("Replay/Speed"), speed);
}

void ReplayWindow::setIdleCap(bool on, int seconds)
{
    clockEngine.setIdleCapUs(on ? qint64(seconds) * 1000000 : 0, now());
    QSettings().setValue(QStringLiteral("Replay/SkipIdle"), on);
    QSettings().setValue(QStringLiteral("Replay/IdleCapSeconds"), seconds);
    if (idleAction->isChecked() != on) {
        idleAction->setChecked(on);
    }
}

void ReplayWindow::setLoop(qint64 fromUs, qint64 toUs)
{
    loopFrom = std::min(fromUs, toUs);
    loopTo = std::max(fromUs, toUs);
    applyEndUs();
    refreshTimeline();
}

void ReplayWindow::applyEndUs()
{
    clockEngine.setEndUs(loopOn && loopFrom <= loopTo ? loopTo : -1);
}
