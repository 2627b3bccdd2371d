// The port's history as the panel shows it: the find bar over the receive view
// (Ctrl+F), the view's context menu that copies or saves the bytes behind a selection,
// the View menu's entries for the frames panel, find and session export, and what
// Clear does to the history.

#include "session/serialportwidget.h"

#include "decode/framespanel.h"
#include "recording/sessionrecorder.h"
#include "session/receivefindbar.h"
#include "session/receiverenderer.h"
#include "session/selectionactions.h"
#include "session/ui_serialportwidget.h"

#include <QAction>
#include <QMenu>
#include <QPlainTextEdit>
#include <QVBoxLayout>

void SerialPortWidget::setupHistoryViews()
{
    QPlainTextEdit *view = ui->receiveBrowser;
    receiveFind = new ReceiveFindBar(view, this, view->parentWidget());
    // Right under the view, above its LED row.
    if (auto *layout = qobject_cast<QVBoxLayout *>(view->parentWidget()->layout())) {
        layout->insertWidget(layout->indexOf(view) + 1, receiveFind);
    }
    renderer->setFindBar(receiveFind);

    selection = new SelectionActions(view, renderer.get(), this);
    selection->setTitleProbe([this] { return sessionPortLabel(); });
    connect(selection, &SelectionActions::message, this,
            [this](const QString &text) { showMessage(text, 8000); });
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(view, &QWidget::customContextMenuRequested, this,
            &SerialPortWidget::showReceiveContextMenu);

    setupFramesPanel();
    QAction *find = viewMenuValue->addAction(tr("Find..."));
    find->setObjectName(QStringLiteral("acViewFind"));
    find->setShortcut(QKeySequence::Find);
    // The find bar's own shortcut serves the key; this entry shows it.
    find->setShortcutContext(Qt::WidgetShortcut);
    connect(find, &QAction::triggered, receiveFind, &ReceiveFindBar::open);
    viewMenuValue->addSeparator();
    QAction *exportSession = viewMenuValue->addAction(tr("Export Session..."));
    exportSession->setObjectName(QStringLiteral("acViewExportSession"));
    exportSession->setToolTip(tr("Write what this port received and sent to a file"));
    connect(exportSession, &QAction::triggered, this, &SerialPortWidget::sessionExportRequested);
}

void SerialPortWidget::showReceiveContextMenu(const QPoint &position)
{
    QPlainTextEdit *view = ui->receiveBrowser;
    std::unique_ptr<QMenu> menu(view->createStandardContextMenu(position));
    menu->addSeparator();
    QAction *find = menu->addAction(tr("Find..."), receiveFind, &ReceiveFindBar::open);
    find->setShortcut(QKeySequence::Find);
    selection->addToMenu(menu.get());
    menu->addSeparator();
    menu->addAction(tr("Export Session..."), this, &SerialPortWidget::sessionExportRequested);
    menu->exec(view->viewport()->mapToGlobal(position));
}

void SerialPortWidget::clearHistoryViews()
{
    // The history keeps everything; exports may start after this mark.
    portSession->recorder()->markClear(PortSession::wallClockUs());
    frames->clearFrames();
    if (receiveFind->active()) {
        receiveFind->refreshResults(false);
    }
}

SessionRecorder *SerialPortWidget::sessionRecorder() const
{
    return portSession->recorder();
}

void SerialPortWidget::setSessionRecordCapacity(qint64 bytes)
{
    portSession->recorder()->setCapacity(bytes);
}

SessionExport::PortInfo SerialPortWidget::sessionExportInfo(const QString &id) const
{
    const auto formatName = [](int value) {
        return value == TextFormat ? QStringLiteral("text") : QStringLiteral("hex");
    };
    SessionExport::PortInfo info;
    info.id = id;
    info.label = sessionPortLabel();
    info.mode = connectionModeTransportWord(portSettings.connMode);
    info.settings = sessionPortInfo();
    info.rxEncoding = format.receiveEncoding;
    info.txEncoding = format.sendEncoding;
    info.rxFormat = formatName(format.receiveMsgFormat);
    info.txFormat = formatName(format.sendMsgFormat);
    return info;
}
