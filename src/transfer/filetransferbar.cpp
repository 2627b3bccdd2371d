#include "transfer/filetransferbar.h"

#include "transfer/filetransfersession.h"
#include "transfer/xferprogresstext.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <limits>

FileTransferBar::FileTransferBar(QWidget *parent)
    : QWidget(parent)
    , nameLabel(new QLabel(this))
    , bar(new QProgressBar(this))
    , figuresLabel(new QLabel(this))
    , cancelButton(new QPushButton(tr("Cancel"), this))
    , clockTimer(new QTimer(this))
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 2, 4, 2);
    nameLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    bar->setTextVisible(true);
    bar->setMinimumWidth(160);
    figuresLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(nameLabel);
    layout->addWidget(bar, 1);
    layout->addWidget(figuresLabel);
    layout->addWidget(cancelButton);
    connect(cancelButton, &QPushButton::clicked, this, &FileTransferBar::cancelRequested);
    clockTimer->setInterval(500);
    connect(clockTimer, &QTimer::timeout, this, &FileTransferBar::refresh);
}

void FileTransferBar::follow(FileTransferSession *session)
{
    if (followed) {
        disconnect(followed, nullptr, this, nullptr);
    }
    followed = session;
    if (!session) {
        clockTimer->stop();
        return;
    }
    connect(session, &FileTransferSession::progressed, this, &FileTransferBar::refresh);
    connect(session, &FileTransferSession::stateChanged, this, &FileTransferBar::refresh);
    connect(session, &QObject::destroyed, clockTimer, &QTimer::stop);
    clockTimer->start();
    refresh();
}

void FileTransferBar::refresh()
{
    if (!followed) {
        clockTimer->stop();
        return;
    }
    showSession(*followed);
    if (followed->isOver()) {
        clockTimer->stop();
    }
}

void FileTransferBar::showSession(const FileTransferSession &session)
{
    const XferProgress p = session.progress();
    const QString name = p.fileName.isEmpty() ? session.startedText() : p.fileName;
    nameLabel->setText(name);
    setToolTip(session.startedText());

    if (p.bytesTotal > 0) {
        // QProgressBar counts in int: scale a large file down to keep within range.
        const int shift = p.bytesTotal > std::numeric_limits<int>::max() ? 10 : 0;
        bar->setRange(0, int(p.bytesTotal >> shift));
        bar->setValue(int(std::min(p.bytesDone, p.bytesTotal) >> shift));
    } else if (p.bytesTotal == 0 || session.isOver()) {
        bar->setRange(0, 1);
        bar->setValue(session.state() == FileTransferSession::State::Finished ? 1 : 0);
    } else {
        bar->setRange(0, 0); // no length known: a busy bar
    }

    // After the end the summary takes the bar's place: it is the longer text.
    bar->setVisible(!session.isOver());
    figuresLabel->setSizePolicy(session.isOver() ? QSizePolicy::Expanding : QSizePolicy::Preferred,
                                QSizePolicy::Preferred);
    switch (session.state()) {
    case FileTransferSession::State::Finished:
    case FileTransferSession::State::Ended:
        figuresLabel->setText(session.summaryText());
        cancelButton->setEnabled(false);
        break;
    case FileTransferSession::State::Cancelling:
        figuresLabel->setText(tr("Stopping..."));
        cancelButton->setEnabled(false);
        break;
    case FileTransferSession::State::Idle:
    case FileTransferSession::State::Running: {
        QStringList parts{bytesText(p.bytesDone, p.bytesTotal), speedText(session.bytesPerSecond())};
        const QString left = timeLeftText(session.secondsRemaining());
        if (!left.isEmpty()) {
            parts << left;
        }
        if (p.retries > 0) {
            parts << tr("%n retries", nullptr, p.retries);
        }
        figuresLabel->setText(parts.join(QStringLiteral(" · ")));
        cancelButton->setEnabled(true);
        break;
    }
    }
}

QString FileTransferBar::bytesText(qint64 done, qint64 total)
{
    return XferProgressText::bytesText(done, total);
}

QString FileTransferBar::speedText(double bytesPerSecond)
{
    return XferProgressText::speedText(bytesPerSecond);
}

QString FileTransferBar::timeLeftText(qint64 seconds)
{
    return XferProgressText::timeLeftText(seconds);
}
