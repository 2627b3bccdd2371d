// File > Record Session and File > Open Recording: every port of the window recorded
// into one file, and a recording opened in its own window.

#include "app/mainwindow.h"

#include "recording/recordsessiondialog.h"
#include "recording/replaywindow.h"
#include "recording/sessionrecording.h"
#include "session/porthistories.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QMenu>
#include <QMessageBox>

void MainWindow::createRecordingActions(QMenu *file)
{
    acRecordSession = file->addAction(tr("Record Session..."));
    acRecordSession->setObjectName(QStringLiteral("acRecordSession"));
    connect(acRecordSession, &QAction::triggered, this, &MainWindow::recordSession);
    QAction *open = file->addAction(tr("Open Recording..."));
    open->setObjectName(QStringLiteral("acOpenRecording"));
    connect(open, &QAction::triggered, this, [this] { openRecording(); });

    // The ports as they are at each pass: panels come and go while recording.
    sessionRecording = new SessionRecording(
        [this] {
            QList<SessionRecording::Port> ports;
            for (int i = 0; i < portCountValue; ++i) {
                SerialPortWidget *panel = portWidgets[size_t(i)];
                PortSession *session = panel->session();
                // The panel's own identity: its connection may change while recording.
                const QString key = QString::number(quintptr(session), 16);
                ports.append({key, PortHistories::portInfo(session),
                              PortHistories::historyOf(session)});
            }
            return ports;
        },
        this);
    sessionRecording->setClock(&PortHistories::nowUs);
    sessionRecording->setAppVersion(QCoreApplication::applicationVersion());
    connect(sessionRecording, &SessionRecording::stateChanged, this, [this] {
        acRecordSession->setText(sessionRecording->isRecording() ? tr("Stop Recording")
                                                                 : tr("Record Session..."));
    });
    connect(sessionRecording, &SessionRecording::failed, this, [this](const QString &message) {
        QMessageBox::warning(this, tr("Record Session"), message);
    });
}

void MainWindow::recordSession()
{
    if (sessionRecording->isRecording()) {
        sessionRecording->stop();
        return;
    }
    const QString name =
        QStringLiteral("session-%1.vlmlog")
            .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")));
    const QString folder = lastDirectory.isEmpty() ? QDir::homePath() : lastDirectory;
    RecordSessionDialog dialog(QDir(folder).filePath(name),
                               tr("%n port(s)", nullptr, portCountValue), this);
    if (recordSessionDialogHook ? !recordSessionDialogHook(dialog)
                                : dialog.exec() != QDialog::Accepted) {
        return;
    }
    QString error;
    if (!sessionRecording->start(dialog.options(), &error)) {
        QMessageBox::warning(this, tr("Record Session"), error);
    }
}

ReplayWindow *MainWindow::openRecording(const QString &path)
{
    QString file = path;
    if (file.isEmpty()) {
        file = QFileDialog::getOpenFileName(
            this, tr("Open Recording"), lastDirectory,
            tr("Recordings and session exports (*.vlmlog *.jsonl)"));
        if (file.isEmpty()) {
            return nullptr;
        }
    }
    auto *window = new ReplayWindow();
    window->setAttribute(Qt::WA_DeleteOnClose);
    QString error;
    if (!window->openFile(file, file.endsWith(QLatin1String(".vlmlog"), Qt::CaseInsensitive),
                          &error)) {
        delete window;
        QMessageBox::warning(this, tr("Open Recording"), error);
        return nullptr;
    }
    window->show();
    return window;
}
