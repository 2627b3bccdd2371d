#pragma once

// The find bar of a receive view: it searches the view's text while data keeps coming,
// counts and highlights the matches, steps through them (F3, Shift+F3), and in filter
// mode shows only the lines that hold the needle. Esc closes it, which shows every line
// again.
//
// While data streams in, the search follows on a short timer without moving the
// reader's place. Only the text that changed since the last pass is searched again:
// new text at the end costs a search of the last line and the new ones; a trim of the
// view's front (which the renderer reports through noteTrimmedChars) or any edit
// further up starts over.

#include <QList>
#include <QWidget>

#include <utility>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QTimer;
class QToolButton;

class ReceiveFindBar : public QWidget
{
    Q_OBJECT
public:
    static constexpr int RefreshDelayMs = 150;
    // Matches highlighted around the current one; a view never draws more.
    static constexpr int HighlightLimit = 2000;

    // `panel` is where Ctrl+F, F3 and Shift+F3 work (the view's port panel).
    ReceiveFindBar(QPlainTextEdit *view, QWidget *panel, QWidget *parent = nullptr);

    void open();
    void closeBar();
    bool active() const;
    void scheduleStreamRefresh();
    Q_INVOKABLE void noteTrimmedChars(int count);
    // Opens the bar on `text` and goes to its last place in the view. False when the
    // view does not hold it.
    bool findText(const QString &text, bool caseSensitive);
    void moveMatch(int step);
    void refreshResults(bool reveal);
    void applyFilter();
    void updateHighlight();
    void updateStatus();
    void revealCurrentMatch();

    // (position, length) in document characters, ascending.
    const QList<std::pair<int, int>> &matchList() const { return matches; }
    int currentMatchIndex() const { return currentMatch; }
    QString statusText() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QString needle() const;
    void onContentsChange(int position, int removed, int added);
    void applyFilterFrom(int position, bool all);

    QPlainTextEdit *view;
    QLineEdit *edit = nullptr;
    QCheckBox *caseBox = nullptr;
    QCheckBox *filterBox = nullptr;
    QToolButton *previousButton = nullptr;
    QToolButton *nextButton = nullptr;
    QLabel *statusLabel = nullptr;
    QToolButton *closeButton = nullptr;
    QTimer *refreshTimer = nullptr;

    QList<std::pair<int, int>> matches;
    int currentMatch = -1;
    int trimmedChars = 0;
    // Where the next pass starts searching: the start of the last line searched, or
    // of the first line edited since. -1: from the start.
    int scanFrom = -1;
    QString scannedNeedle;
    bool scannedCase = false;
    bool filterShown = false; // whether blocks are hidden by the filter now
    bool changingVisibility = false;
};
