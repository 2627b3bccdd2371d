#include "session/receivefindbar.h"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QShortcut>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>

ReceiveFindBar::ReceiveFindBar(QPlainTextEdit *view, QWidget *panel, QWidget *parent)
    : QWidget(parent)
    , view(view)
{
    setObjectName(QStringLiteral("receiveFindBar"));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(4);

    edit = new QLineEdit(this);
    edit->setObjectName(QStringLiteral("receiveFindEdit"));
    edit->setPlaceholderText(tr("Keyword"));
    edit->setClearButtonEnabled(true);
    edit->installEventFilter(this);
    caseBox = new QCheckBox(tr("Case"), this);
    caseBox->setObjectName(QStringLiteral("receiveFindCaseBox"));
    filterBox = new QCheckBox(tr("Filter"), this);
    filterBox->setObjectName(QStringLiteral("receiveFindFilterBox"));
    filterBox->setToolTip(tr("Show only the lines that hold the keyword"));
    previousButton = new QToolButton(this);
    previousButton->setObjectName(QStringLiteral("receiveFindPreviousButton"));
    previousButton->setText(tr("Prev"));
    previousButton->setToolTip(tr("Previous match (Shift+F3)"));
    nextButton = new QToolButton(this);
    nextButton->setObjectName(QStringLiteral("receiveFindNextButton"));
    nextButton->setText(tr("Next"));
    nextButton->setToolTip(tr("Next match (F3)"));
    statusLabel = new QLabel(this);
    statusLabel->setObjectName(QStringLiteral("receiveFindStatusLabel"));
    statusLabel->setMinimumWidth(statusLabel->fontMetrics().horizontalAdvance(
        QStringLiteral("00000/00000")));
    closeButton = new QToolButton(this);
    closeButton->setObjectName(QStringLiteral("receiveFindCloseButton"));
    closeButton->setText(QStringLiteral("\u00D7"));
    closeButton->setToolTip(tr("Close (Esc)"));
    closeButton->setAutoRaise(true);

    layout->addWidget(edit, 1);
    layout->addWidget(caseBox);
    layout->addWidget(filterBox);
    layout->addWidget(previousButton);
    layout->addWidget(nextButton);
    layout->addWidget(statusLabel);
    layout->addWidget(closeButton);

    refreshTimer = new QTimer(this);
    refreshTimer->setSingleShot(true);
    refreshTimer->setInterval(RefreshDelayMs);
    connect(refreshTimer, &QTimer::timeout, this, [this] { refreshResults(false); });

    connect(edit, &QLineEdit::textChanged, this, [this] { refreshResults(true); });
    connect(caseBox, &QCheckBox::toggled, this, [this] { refreshResults(true); });
    connect(filterBox, &QCheckBox::toggled, this, [this] {
        if (trimmedChars > 0 || refreshTimer->isActive()) {
            refreshResults(false); // the filter follows the matches, which must be current
        } else {
            applyFilter();
        }
    });
    connect(previousButton, &QToolButton::clicked, this, [this] { moveMatch(-1); });
    connect(nextButton, &QToolButton::clicked, this, [this] { moveMatch(1); });
    connect(closeButton, &QToolButton::clicked, this, &ReceiveFindBar::closeBar);
    connect(view->document(), &QTextDocument::contentsChange, this,
            &ReceiveFindBar::onContentsChange);

    QWidget *scope = panel ? panel : view;
    const auto shortcut = [this, scope](const QKeySequence &keys, auto slot) {
        auto *s = new QShortcut(keys, scope);
        s->setContext(Qt::WidgetWithChildrenShortcut);
        connect(s, &QShortcut::activated, this, slot);
    };
    shortcut(QKeySequence::Find, [this] { open(); });
    shortcut(QKeySequence(Qt::Key_F3), [this] {
        if (active()) {
            moveMatch(1);
        }
    });
    shortcut(QKeySequence(Qt::SHIFT | Qt::Key_F3), [this] {
        if (active()) {
            moveMatch(-1);
        }
    });
    hide();
    updateStatus();
}

bool ReceiveFindBar::active() const
{
    return !isHidden();
}

QString ReceiveFindBar::needle() const
{
    return active() ? edit->text() : QString();
}

QString ReceiveFindBar::statusText() const
{
    return statusLabel->text();
}

void ReceiveFindBar::open()
{
    // A short selection in the view on one line is what the user wants to find.
    const QString selected = view->textCursor().selectedText();
    show();
    if (!selected.isEmpty() && selected.size() <= 200 && !selected.contains(QChar::ParagraphSeparator)) {
        edit->setText(selected);
    }
    edit->setFocus(Qt::ShortcutFocusReason);
    edit->selectAll();
    refreshResults(true);
}

void ReceiveFindBar::closeBar()
{
    refreshTimer->stop();
    hide();
    matches.clear();
    currentMatch = -1;
    scanFrom = -1;
    applyFilter();
    updateHighlight();
    updateStatus();
    view->setFocus(Qt::OtherFocusReason);
}

void ReceiveFindBar::scheduleStreamRefresh()
{
    // A running timer is left to run: a steady stream must not put the pass off forever.
    if (active() && !refreshTimer->isActive()) {
        refreshTimer->start();
    }
}

void ReceiveFindBar::noteTrimmedChars(int count)
{
    trimmedChars += std::max(count, 0);
    scheduleStreamRefresh();
}

void ReceiveFindBar::onContentsChange(int position, int removed, int added)
{
    if (changingVisibility || (removed == 0 && added == 0)) {
        return;
    }
    if (removed > 0) {
        scanFrom = -1; // text went away (a trim, a clear): every position moved
    } else if (scanFrom >= 0) {
        scanFrom = std::min(scanFrom, view->document()->findBlock(position).position());
    }
    scheduleStreamRefresh();
}

bool ReceiveFindBar::findText(const QString &text, bool caseSensitive)
{
    show();
    {
        const QSignalBlocker editBlocker(edit);
        const QSignalBlocker caseBlocker(caseBox);
        edit->setText(text);
        caseBox->setChecked(caseSensitive);
    }
    currentMatch = -1;
    refreshResults(false);
    if (matches.isEmpty()) {
        return false;
    }
    currentMatch = int(matches.size()) - 1;
    updateHighlight();
    updateStatus();
    revealCurrentMatch();
    return true;
}

void ReceiveFindBar::refreshResults(bool reveal)
{
    refreshTimer->stop();
    const QString text = needle();
    const bool caseSensitive = caseBox->isChecked();

    const int remembered = currentMatch >= 0 && currentMatch < matches.size()
                               ? std::max(0, matches.at(currentMatch).first - trimmedChars)
                               : -1;
    trimmedChars = 0;

    // Search again from where the text may have changed; the whole text when the needle
    // did.
    QTextDocument *document = view->document();
    if (text != scannedNeedle || caseSensitive != scannedCase) {
        scanFrom = -1;
    }
    const int from = std::max(scanFrom, 0);
    if (scanFrom < 0) {
        matches.clear();
    } else {
        while (!matches.isEmpty() && matches.last().first >= from) {
            matches.removeLast();
        }
    }
    if (!text.isEmpty()) {
        const Qt::CaseSensitivity cs = caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
        if (scanFrom < 0) {
            // The whole text at once: line ends are one character each in the document,
            // and a needle of one line cannot span them.
            const QString all = document->toRawText();
            for (qsizetype at = all.indexOf(text, 0, cs); at >= 0;
                 at = all.indexOf(text, at + text.size(), cs)) {
                matches.append({int(at), int(text.size())});
            }
        } else {
            for (QTextBlock block = document->findBlock(from); block.isValid(); block = block.next()) {
                const QString line = block.text();
                for (qsizetype at = line.indexOf(text, 0, cs); at >= 0;
                     at = line.indexOf(text, at + text.size(), cs)) {
                    matches.append({block.position() + int(at), int(text.size())});
                }
            }
        }
    }
    const bool fullPass = scanFrom < 0;
    scanFrom = document->lastBlock().position();
    scannedNeedle = text;
    scannedCase = caseSensitive;

    if (matches.isEmpty()) {
        currentMatch = -1;
    } else if (remembered >= 0) {
        const auto at = std::lower_bound(matches.cbegin(), matches.cend(), remembered,
                                         [](const std::pair<int, int> &match, int position) {
                                             return match.first < position;
                                         });
        currentMatch = at == matches.cend() ? int(matches.size()) - 1 : int(at - matches.cbegin());
    } else {
        currentMatch = 0;
    }

    applyFilterFrom(from, fullPass);
    updateHighlight();
    updateStatus();
    if (reveal) {
        revealCurrentMatch();
    }
}

void ReceiveFindBar::applyFilter()
{
    applyFilterFrom(0, true);
}

void ReceiveFindBar::applyFilterFrom(int position, bool all)
{
    const QString text = needle();
    const bool filterOn = active() && !text.isEmpty() && filterBox->isChecked();
    if (!filterOn && !filterShown) {
        return; // every block is visible already
    }
    QTextDocument *document = view->document();
    QScrollBar *bar = view->verticalScrollBar();
    const bool atEnd = bar->value() == bar->maximum();
    int firstChanged = -1;
    int lastChanged = -1;
    changingVisibility = true;
    // A line is shown when a match starts in it; the matches are in order, so one pass
    // over both does.
    QTextBlock block = all ? document->begin() : document->findBlock(position);
    auto match = std::lower_bound(matches.cbegin(), matches.cend(), block.position(),
                                  [](const std::pair<int, int> &m, int at) { return m.first < at; });
    for (; block.isValid(); block = block.next()) {
        const int end = block.position() + block.length();
        bool hit = false;
        while (match != matches.cend() && match->first < end) {
            hit = hit || match->first >= block.position();
            ++match;
        }
        const bool visible = !filterOn || hit;
        if (block.isVisible() != visible) {
            block.setVisible(visible);
            if (firstChanged < 0) {
                firstChanged = block.position();
            }
            lastChanged = end;
        }
    }
    if (firstChanged >= 0) {
        document->markContentsDirty(firstChanged, lastChanged - firstChanged);
        view->viewport()->update();
        if (atEnd) {
            bar->setValue(bar->maximum());
        }
    }
    changingVisibility = false;
    filterShown = filterOn;
}

void ReceiveFindBar::updateHighlight()
{
    QList<QTextEdit::ExtraSelection> selections;
    if (!matches.isEmpty()) {
        QTextDocument *document = view->document();
        const int count = int(matches.size());
        const int current = std::max(currentMatch, 0);
        const int first = std::clamp(current - HighlightLimit / 2, 0, std::max(0, count - HighlightLimit));
        const int last = std::min(count, first + HighlightLimit);
        QTextCharFormat all;
        all.setBackground(QColor(0xFF, 0xF2, 0xA8));
        QTextCharFormat chosen;
        chosen.setBackground(QColor(0xFF, 0xCC, 0x66));
        selections.reserve(last - first);
        for (int i = first; i < last; ++i) {
            QTextEdit::ExtraSelection selection;
            selection.cursor = QTextCursor(document);
            selection.cursor.setPosition(matches.at(i).first);
            selection.cursor.setPosition(matches.at(i).first + matches.at(i).second,
                                         QTextCursor::KeepAnchor);
            selection.format = i == currentMatch ? chosen : all;
            selections.append(selection);
        }
    }
    view->setExtraSelections(selections);
}

void ReceiveFindBar::updateStatus()
{
    previousButton->setEnabled(!matches.isEmpty());
    nextButton->setEnabled(!matches.isEmpty());
    if (needle().isEmpty()) {
        statusLabel->clear();
    } else if (matches.isEmpty()) {
        statusLabel->setText(QStringLiteral("0/0"));
    } else {
        statusLabel->setText(QStringLiteral("%1/%2").arg(currentMatch + 1).arg(matches.size()));
    }
}

void ReceiveFindBar::moveMatch(int step)
{
    if (trimmedChars > 0 || refreshTimer->isActive()) {
        refreshResults(false); // positions moved since the last pass
    }
    if (matches.isEmpty()) {
        return;
    }
    const int count = int(matches.size());
    currentMatch = ((std::max(currentMatch, 0) + step) % count + count) % count;
    updateHighlight();
    updateStatus();
    revealCurrentMatch();
}

void ReceiveFindBar::revealCurrentMatch()
{
    if (currentMatch < 0 || currentMatch >= matches.size()) {
        return;
    }
    QTextCursor cursor(view->document());
    cursor.setPosition(matches.at(currentMatch).first);
    cursor.setPosition(matches.at(currentMatch).first + matches.at(currentMatch).second,
                       QTextCursor::KeepAnchor);
    view->setTextCursor(cursor);
    view->ensureCursorVisible();
}

bool ReceiveFindBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == edit && (event->type() == QEvent::ShortcutOverride ||
                            event->type() == QEvent::KeyPress)) {
        const auto *key = static_cast<QKeyEvent *>(event);
        const bool shift = key->modifiers() & Qt::ShiftModifier;
        const bool ours = key->key() == Qt::Key_F3 || key->key() == Qt::Key_Escape ||
                          key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (ours && event->type() == QEvent::ShortcutOverride) {
            // Ours, not the window's shortcuts'.
            event->accept();
            return true;
        }
        if (ours) {
            if (key->key() == Qt::Key_Escape) {
                closeBar();
            } else {
                moveMatch(shift ? -1 : 1);
            }
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
