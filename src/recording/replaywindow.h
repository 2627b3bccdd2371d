#pragma once

// The window that plays a recording: one view per port, a timeline, a transport bar, a
// bookmark list and a search field. The file is indexed in slices in the background,
// so a recording of gigabytes opens at once and can be played while it is read; every
// jump starts from the nearest checkpoint, so it costs the same anywhere in the file.
// Time comes from a monotonic clock that tests can replace.

#include "recording/replaydocument.h"
#include "recording/replayengine.h"

#include <QMainWindow>
#include <QTimeZone>

#include <functional>
#include <memory>

class QAction;
class QActionGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QProgressBar;
class QSpinBox;
class QSplitter;
class QTimer;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;
class ReplayPortView;
class ReplayReader;
class ReplaySearch;
class ReplayTimeline;
struct ReplayHit;

class ReplayWindow : public QMainWindow
{
    Q_OBJECT
public:
    static constexpr int MaxShownPorts = 4;
    static constexpr int PumpMs = 16;

    explicit ReplayWindow(QWidget *parent = nullptr);
    ~ReplayWindow() override;

    bool openFile(const QString &path, bool isRecording, QString *error);
    void reload();
    void play();
    void pause();
    void togglePlay();
    void stepForward();
    void stepBack();
    void goToStart();
    void goToTime();
    void seekToOrdinal(qint64 n);
    void seekToPlayUs(qint64 us);
    void setSpeed(double speed);
    void setIdleCap(bool on, int seconds);
    void setLoop(qint64 fromUs, qint64 toUs);
    void toggleLoop(bool on);
    void addBookmarkAtPlayhead();
    void addBookmarkAt(qint64 us, const QString &port, bool quiet);
    void nextBookmark();
    void previousBookmark();
    void findInRecording(bool backward);
    void jumpToHit(const ReplayHit &hit);
    bool saveBookmarks();
    bool saveCopy(const QString &path = {});

    // Monotonic microseconds; an elapsed timer unless a test sets another.
    void setClock(std::function<qint64()> clock);
    // Runs indexing to the end now (tests, and a caller that wants it whole).
    void indexToEnd();
    bool isIndexing() const;
    const ReplayIndex *index() const;
    ReplayEngine &engine() { return clockEngine; }
    qint64 position() const;
    QList<ReplayPortView *> portViews() const { return views; }
    QString statusText() const;
    QString timeText(qint64 us) const;

signals:
    void openRequested(const QString &path);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void buildActions();
    void buildMenus();
    void buildToolBar();
    void buildBookmarkDock();
    void buildViews();
    void indexMore();
    void afterIndexStep(bool finished);
    void pump();
    void reachedEnd();
    void reachedLimit();
    void seekInternal(qint64 ordinal, qint64 playUs);
    void applyEvent(const struct ReplayEvent &event);
    void flushViews();
    void showBookmarksUpTo(qint64 us);
    void refreshBanners();
    void refreshPosition();
    void refreshBookmarkList();
    void refreshTimeline();
    void refreshTitle();
    void applyEndUs();
    void searchStep();
    void finishSearch(bool found);
    void showStatus(const QString &text);
    qint64 now() const;
    QString spanText(qint64 us) const;

    std::unique_ptr<ReplayDocument> doc;
    std::unique_ptr<ReplayIndexer> indexer;
    std::unique_ptr<QIODevice> playDevice;
    std::unique_ptr<ReplayReader> reader;
    std::unique_ptr<QIODevice> searchDevice;
    std::unique_ptr<ReplaySearch> search;
    ReplayEngine clockEngine;
    std::function<qint64()> clock;
    QTimeZone zone = QTimeZone::systemTimeZone();
    QList<ReplayPortView *> views;
    qint64 bookmarksShownTo = -1;
    qint64 loopFrom = 1;
    qint64 loopTo = 0;
    bool loopOn = false;
    bool searchBackward = false;
    int searchPassNo = 0;
    qint64 searchFrom = 0;
    bool indexedOnce = false;

    QTimer *pumpTimer;
    QTimer *indexTimer;
    QTimer *searchTimer;
    QTimer *followTimer;
    QSplitter *portSplitter = nullptr;
    ReplayTimeline *timeline;
    QLabel *noticeBanner;
    QLabel *continueBanner;
    QLabel *positionLabel;
    QLabel *statusLabel;
    QProgressBar *progress;
    QToolButton *cancelIndexButton;
    QComboBox *speedCombo;
    QSpinBox *idleSpin;
    QLineEdit *findEdit;
    QToolButton *findHex;
    QToolButton *findCase;
    QTreeWidget *bookmarkList;
    QMenu *portsMenu = nullptr;
    QAction *playAction;
    QAction *stepForwardAction;
    QAction *stepBackAction;
    QAction *goToStartAction;
    QAction *goToTimeAction;
    QAction *idleAction;
    QAction *loopAction;
    QAction *findAction;
    QAction *saveBookmarksAction;
    QAction *saveCopyAction;
    QAction *reloadAction;
    QAction *addBookmarkAction;
    QAction *nextBookmarkAction;
    QAction *previousBookmarkAction;
    QAction *verticalAction;
    QString lastStatus;
    QString reloadedNote;
};
