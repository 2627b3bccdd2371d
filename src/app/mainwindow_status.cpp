// The main window's status bar: the focused port's traffic and log file, transient
// notices with a short history, the Live Sync indicator and the account label.

#include "app/mainwindow.h"

#include "session/serialportwidget.h"

#include <QCursor>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTimer>
#include <QUrl>

namespace {
constexpr int DefaultInfoTimeoutMs = 5000;
constexpr int DefaultWarningTimeoutMs = 15000;
} // namespace

void MainWindow::createStatusBar()
{
    QStatusBar *bar = statusBar();
    noticeLabel = new QLabel(bar);
    noticeLabel->setObjectName(QStringLiteral("noticeLabel"));
    noticeLabel->setMinimumWidth(80);
    noticeLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    bar->addWidget(noticeLabel, 1);

    rxLabel = new QLabel(bar);
    rxLabel->setObjectName(QStringLiteral("rxLabel"));
    txLabel = new QLabel(bar);
    txLabel->setObjectName(QStringLiteral("txLabel"));
    logLabel = new QLabel(bar);
    logLabel->setObjectName(QStringLiteral("logLabel"));
    logLabel->setTextFormat(Qt::RichText);
    liveSyncLabel = new QLabel(bar);
    liveSyncLabel->setObjectName(QStringLiteral("liveSyncLabel"));
    liveSyncLabel->setAlignment(Qt::AlignCenter);
    liveSyncLabel->setCursor(Qt::PointingHandCursor);
    liveSyncLabel->setContextMenuPolicy(Qt::CustomContextMenu);
    accountLabel = new QLabel(bar);
    accountLabel->setObjectName(QStringLiteral("accountLabel"));
    accountLabel->setCursor(Qt::PointingHandCursor);
    for (QLabel *label : {rxLabel, txLabel, logLabel, liveSyncLabel, accountLabel}) {
        bar->addPermanentWidget(label);
    }
    liveSyncLabel->installEventFilter(this);
    accountLabel->installEventFilter(this);
    connect(liveSyncLabel, &QLabel::customContextMenuRequested, this,
            &MainWindow::showLiveSyncMenu);
    connect(accountLabel, &QLabel::linkActivated, this, &MainWindow::showAccountMenu);
    connect(logLabel, &QLabel::linkActivated, this,
            &MainWindow::on_acFileViewCurrentDataLog_triggered);

    noticeTimer = new QTimer(this);
    noticeTimer->setSingleShot(true);
    connect(noticeTimer, &QTimer::timeout, this, &MainWindow::clearStatusNotice);

    statusRefreshTimer = new QTimer(this);
    statusRefreshTimer->setInterval(250);
    connect(statusRefreshTimer, &QTimer::timeout, this, &MainWindow::updateStatusBar);
    statusRefreshTimer->start();

    updateLiveSyncIndicator();
    updateAccountStatus();
}

void MainWindow::updateStatusBar()
{
    SerialPortWidget *port = focusedPortWidget();
    if (!port || !rxLabel) {
        return;
    }
    rxLabel->setText(tr("Rx: %L1 Bytes").arg(port->rxByteCount()));
    txLabel->setText(tr("Tx: %L1 Bytes").arg(port->txByteCount()));
    const FormatSetting format = port->formatSettings();
    const QString name = format.logFileName;
    // A name that still holds a template token is not a file yet.
    const bool resolved =
        !name.isEmpty() && name != unresolvedLogFileName() && !name.contains(QLatin1Char('%'));
    if (format.logSaveFlag && resolved) {
        const QFileInfo file(name);
        logLabel->setText(
            QStringLiteral("<a href=\"current-log\">%1</a>").arg(file.fileName().toHtmlEscaped()));
        logLabel->setToolTip(file.absoluteFilePath());
    } else {
        logLabel->setText(QStringLiteral("  "));
        logLabel->setToolTip(QString());
    }
    if (tabLayout) {
        refreshPortTabTitles();
    }
}

void MainWindow::on_acFileViewCurrentDataLog_triggered()
{
    SerialPortWidget *port = focusedPortWidget();
    if (!port || !port->formatSettings().logSaveFlag) {
        showStatusNotice(tr("The focused port does not log to a file."));
        return;
    }
    // What the port has shown so far is in the file before it opens.
    QString error;
    if (!port->flushLog(&error) && !error.isEmpty()) {
        showStatusNotice(error, NoticeWarning);
    }
    const QString path = port->formatSettings().logFileName;
    if (!QFileInfo::exists(path) ||
        !QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()))) {
        showStatusNotice(tr("Could not open %1").arg(QDir::toNativeSeparators(path)),
                         NoticeWarning);
    }
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    // The Live Sync indicator is a label: a left click opens its menu, as its tooltip
    // promises (a right click does through the context menu).
    if (watched == liveSyncLabel && event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
        showLiveSyncMenu();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

QString MainWindow::statusBarAccent(NoticeKind kind)
{
    switch (kind) {
    case NoticeError:
        return QStringLiteral("#d32f2f");
    case NoticeWarning:
        return QStringLiteral("#b26a00");
    case NoticeInfo:
        break;
    }
    return QString();
}

int MainWindow::presentNotice(const QString &text, NoticeKind kind, int timeoutMs,
                              const QString &detail)
{
    if (!noticeLabel) {
        return 0;
    }
    if (holdingStartupNotices) {
        heldNotices.append({text, kind, timeoutMs, detail});
        return ++noticeGeneration;
    }
    ++noticeGeneration;
    noticeText = text;
    noticeKind = kind;
    noticeLabel->setToolTip(detail.isEmpty() ? text : text + QLatin1Char('\n') + detail);
    const QString accent = statusBarAccent(kind);
    noticeLabel->setStyleSheet(accent.isEmpty() ? QString()
                                                : QStringLiteral("color: %1;").arg(accent));
    int timeout = timeoutMs;
    if (timeout < 0) {
        timeout = kind == NoticeInfo ? DefaultInfoTimeoutMs : DefaultWarningTimeoutMs;
    }
    if (timeout == 0) {
        noticeTimer->stop();
    } else {
        noticeTimer->start(timeout);
    }
    relayoutStatusNotice();
    // With several panels the window's own bar is hidden (each panel shows its own), so
    // the focused panel's bar says it too.
    if (portCountValue > 1) {
        if (SerialPortWidget *port = focusedPortWidget()) {
            port->statusBar()->showMessage(text, timeout);
        }
    }
    return noticeGeneration;
}

int MainWindow::showStatusNotice(const QString &text, NoticeKind kind, int timeoutMs,
                                 const QString &detail)
{
    appendNoticeHistory(text, kind, detail);
    return presentNotice(text, kind, timeoutMs, detail);
}

void MainWindow::recordStatusNotice(const QString &text, NoticeKind kind)
{
    appendNoticeHistory(text, kind, QString());
}

void MainWindow::appendNoticeHistory(const QString &text, NoticeKind kind, const QString &detail)
{
    history.append({QDateTime::currentDateTime(), kind, text, detail});
    while (history.size() > NoticeHistoryLimit) {
        history.removeFirst();
    }
}

void MainWindow::clearStatusNotice()
{
    noticeTimer->stop();
    noticeText.clear();
    noticeKind = NoticeInfo;
    noticeLabel->clear();
    noticeLabel->setToolTip(QString());
    noticeLabel->setStyleSheet(QString());
}

void MainWindow::dismissStatusNotice(int id)
{
    if (id == noticeGeneration) {
        clearStatusNotice();
    }
}

QString MainWindow::currentNoticeText() const
{
    return noticeText;
}

void MainWindow::relayoutStatusNotice()
{
    if (!noticeLabel) {
        return;
    }
    const int room = std::max(40, noticeLabel->width());
    noticeLabel->setText(noticeLabel->fontMetrics().elidedText(noticeText, Qt::ElideRight, room));
}

void MainWindow::releaseStartupNotices()
{
    if (!holdingStartupNotices) {
        return;
    }
    holdingStartupNotices = false;
    const QList<HeldNotice> held = std::exchange(heldNotices, {});
    QTimer::singleShot(0, this, [this, held] {
        for (const HeldNotice &notice : held) {
            presentNotice(notice.text, notice.kind, notice.timeoutMs, notice.detail);
        }
    });
}

void MainWindow::onPortStatusShown(SerialPortWidget *port, const QString &text, int timeoutMs)
{
    // With one panel its own status bar is hidden, so its messages come here; with
    // several, each panel shows its own. Either way they enter the history.
    if (portCountValue == 1 && port == portWidgets[0]) {
        showStatusNotice(text, NoticeInfo, timeoutMs);
    } else {
        recordStatusNotice(text, NoticeInfo);
    }
}

void MainWindow::updateLiveSyncIndicator()
{
    const LiveSyncSummary summary = LiveSyncStatus::summarize(shareLiveSyncStates());
    if (liveSyncShown && summary == lastLiveSync) {
        return;
    }
    liveSyncShown = true;
    lastLiveSync = summary;
    liveSyncLabel->setText(summary.text());
    if (summary.level == LiveSyncState::Nothing) {
        liveSyncLabel->setToolTip(tr("Live Sync — nothing shared right now") +
                                  QStringLiteral("<br>") +
                                  tr("Click to share this machine's ports"));
    } else {
        QStringList lines;
        for (const QString &line : summary.tooltipLines) {
            lines << QStringLiteral("<b>%1</b>").arg(line.toHtmlEscaped());
        }
        liveSyncLabel->setToolTip(tr("Live Sync — %1").arg(summary.text()) +
                                  QStringLiteral("<br>") + lines.join(QStringLiteral("<br>")));
    }
    remeasureLiveSyncWidth();
}

void MainWindow::remeasureLiveSyncWidth()
{
    const QFontMetrics metrics = liveSyncLabel->fontMetrics();
    int widest = 0;
    for (const QString &text : {tr("Live Sync"), tr("Not listening"), tr("Shared ×%1").arg(16),
                                tr("In use ×%1").arg(16)}) {
        widest = std::max(widest, metrics.horizontalAdvance(text));
    }
    liveSyncLabel->setFixedWidth(widest + 16);
}

void MainWindow::showLiveSyncMenu()
{
    QMenu menu(this);
    menu.addAction(tr("RFC 2217 Server..."))->setEnabled(false);
    connect(menu.addAction(tr("Live Share...")), &QAction::triggered, this,
            &MainWindow::on_acCloudShareGuest_triggered);
    const QList<LiveSyncState> shares = shareLiveSyncStates();
    if (!shares.isEmpty())
        menu.addSeparator();
    for (const LiveSyncState &state : shares) {
        menu.addAction(state.label)->setEnabled(false);
        for (const QString &line : state.menuLines)
            menu.addAction(QStringLiteral("    ") + line)->setEnabled(false);
    }
    if (!shares.isEmpty())
        menu.addAction(tr("Cloud > Share Port with a Guest… to stop"))->setEnabled(false);
    menu.exec(QCursor::pos());
}
