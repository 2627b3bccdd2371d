#pragma once

// The strip a port's pane shows while a file transfer runs: the file, a progress bar,
// bytes, speed and time left, and a Cancel button. After the end it shows the summary
// until the pane removes it.

#include <QPointer>
#include <QWidget>

class FileTransferSession;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

class FileTransferBar : public QWidget
{
    Q_OBJECT
public:
    explicit FileTransferBar(QWidget *parent = nullptr);

    // Shows where `session` stands now.
    void showSession(const FileTransferSession &session);
    // Follows `session` until it is destroyed: shown again on every progress and state
    // change, and twice a second so that speed and time left stay current on a stall.
    void follow(FileTransferSession *session);

    // How bytes, speed and time left read on the bar (XferProgressText).
    static QString bytesText(qint64 done, qint64 total);
    static QString speedText(double bytesPerSecond);
    static QString timeLeftText(qint64 seconds);

signals:
    void cancelRequested();

private:
    void refresh();

    QPointer<FileTransferSession> followed;
    QLabel *nameLabel = nullptr;
    QProgressBar *bar = nullptr;
    QLabel *figuresLabel = nullptr;
    QPushButton *cancelButton = nullptr;
    QTimer *clockTimer = nullptr;
};
