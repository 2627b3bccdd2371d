#include "recording/replayportview.h"

#include "connection/settings.h"
#include "decode/decoderunner.h"
#include "decode/framespanel.h"
#include "plot/plotpanel.h"
#include "recording/replaysource.h"
#include "session/receiverenderer.h"
#include "connection/rxdata.h"

#include <QAction>
#include <QActionGroup>
#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

ReplayPortView::ReplayPortView(const SessionExport::PortInfo &info, QWidget *parent)
    : QWidget(parent)
    , port(info)
    , format(std::make_unique<FormatSetting>())
    , title(new QLabel(this))
    , viewButton(new QToolButton(this))
    , view(new QPlainTextEdit(this))
    , runner(new DecodeRunner(this))
    , frames(new FramesPanel(runner, this))
    , plot(new PlotPanel(this))
{
    // The port's recorded display settings; a port with none shows hex.
    const bool known = !info.mode.isEmpty() || !info.rxFormat.isEmpty();
    format->receiveMsgFormat =
        (!known || info.rxFormat.compare(QLatin1String("hex"), Qt::CaseInsensitive) == 0)
            ? HexFormat
            : TextFormat;
    format->sendMsgFormat =
        info.txFormat.compare(QLatin1String("text"), Qt::CaseInsensitive) == 0 ? TextFormat
                                                                                 : HexFormat;
    if (!info.rxEncoding.isEmpty()) {
        format->receiveEncoding = info.rxEncoding;
    }
    if (!info.txEncoding.isEmpty()) {
        format->sendEncoding = info.txEncoding;
    }
    format->displaySendMsg = true;
    view->setReadOnly(true);
    view->setObjectName(QStringLiteral("replayText"));
    view->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    QFont mono(QStringLiteral("monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    view->setFont(mono);
    renderer = std::make_unique<ReceiveRenderer>(view, format.get());

    // Decoding and plotting keep the recording's time, not the machine's.
    runner->setClock([this] { return nowUs / 1000; });
    runner->setWallClock([this] { return QDateTime::fromMSecsSinceEpoch(nowUs / 1000); });
    plot->setTimeSource([this] { return double(nowUs) / 1e6; });
    plot->setTitleSource([this] { return port.label; });
    frames->setPortNameProbe([this] { return port.label; });
    frames->setReceiveHexProbe([this] { return format->receiveMsgFormat == HexFormat; });
    frames->hide();
    plot->hide();
    runner->setPanelVisible(false);
    connect(frames, &FramesPanel::closeRequested, this, [this] { setFramesVisible(false); });
    connect(plot, &PlotPanel::closeRequested, this, [this] { setPlotVisible(false); });

    title->setText(info.label.isEmpty() ? info.id : info.label);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    viewButton->setText(tr("View"));
    viewButton->setPopupMode(QToolButton::InstantPopup);
    buildViewMenu();

    auto *head = new QHBoxLayout;
    head->setContentsMargins(4, 2, 4, 2);
    head->addWidget(title, 1);
    head->addWidget(viewButton);
    auto *splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(view);
    splitter->addWidget(frames);
    splitter->addWidget(plot);
    splitter->setStretchFactor(0, 3);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(head);
    layout->addWidget(splitter, 1);
}

ReplayPortView::~ReplayPortView() = default;

void ReplayPortView::buildViewMenu()
{
    auto *menu = new QMenu(this);
    QMenu *received = menu->addMenu(tr("Received"));
    auto *group = new QActionGroup(this);
    QAction *hex = received->addAction(tr("Hex"));
    QAction *text = received->addAction(tr("Text"));
    for (QAction *action : {hex, text}) {
        action->setCheckable(true);
        group->addAction(action);
    }
    (format->receiveMsgFormat == HexFormat ? hex : text)->setChecked(true);
    connect(hex, &QAction::triggered, this, [this] { setReceivedHex(true); });
    connect(text, &QAction::triggered, this, [this] { setReceivedHex(false); });
    QAction *stamps = menu->addAction(tr("Timestamps"));
    stamps->setCheckable(true);
    connect(stamps, &QAction::toggled, this, [this](bool on) {
        format->displayMsgTime = on;
        renderer->startNewLine();
    });
    QAction *sent = menu->addAction(tr("Show Sent Data"));
    sent->setCheckable(true);
    sent->setChecked(format->displaySendMsg);
    connect(sent, &QAction::toggled, this, [this](bool on) { format->displaySendMsg = on; });
    menu->addSeparator();
    QAction *plotAction = menu->addAction(tr("Plot"));
    connect(plotAction, &QAction::triggered, this, [this] { setPlotVisible(!plotVisible()); });
    QAction *decode = menu->addAction(tr("Protocol Decode"));
    connect(decode, &QAction::triggered, this, [this] { setFramesVisible(!framesVisible()); });
    menu->addSeparator();
    connect(menu->addAction(tr("Zoom In")), &QAction::triggered, view, [this] { view->zoomIn(); });
    connect(menu->addAction(tr("Zoom Out")), &QAction::triggered, view,
            [this] { view->zoomOut(); });
    connect(menu->addAction(tr("Reset Zoom")), &QAction::triggered, view, [this] {
        QFont mono(QStringLiteral("monospace"));
        mono.setStyleHint(QFont::TypeWriter);
        view->setFont(mono);
    });
    viewButton->setMenu(menu);
}

void ReplayPortView::setReceivedHex(bool hex)
{
    format->receiveMsgFormat = hex ? HexFormat : TextFormat;
    renderer->resetDecoders();
    renderer->startNewLine();
}

void ReplayPortView::apply(const ReplayEvent &replay)
{
    if (!batching) {
        renderer->beginBatch();
        batching = true;
    }
    const SessionEvent &event = replay.event;
    nowUs = replay.playUs;
    ++shown;
    if (event.kind == SessionEvent::Note) {
        renderer->appendSystemLine(QStringLiteral("-- %1 --").arg(event.text));
        return;
    }
    rxData rx;
    rx.time = QDateTime::fromMSecsSinceEpoch(event.t / 1000);
    rx.direction = event.kind == SessionEvent::Tx ? Sent : Received;
    rx.data = event.bytes;
    rx.raw = event.bytes;
    rx.peer = event.peer;
    if (rx.direction == Received || format->displaySendMsg) {
        renderer->render(rx);
    }
    if (rx.direction == Received) {
        runner->ingestRx(event.bytes, event.peer);
        if (plot->isVisible()) {
            plot->ingest(event.bytes, event.peer);
        }
    } else {
        runner->ingestTx(event.bytes, event.peer);
    }
}

void ReplayPortView::showBookmark(const QString &name, qint64 us)
{
    nowUs = std::max(nowUs, us);
    renderer->appendSystemLine(QStringLiteral("★ %1 --").arg(name));
}

void ReplayPortView::showLine(const QString &text)
{
    renderer->appendSystemLine(text);
}

void ReplayPortView::flush()
{
    if (batching) {
        batching = false;
        renderer->endBatch();
        renderer->trimToBudget();
    }
}

void ReplayPortView::clear()
{
    flush();
    renderer->clear();
    runner->reset();
    frames->clearFrames();
    plot->clear();
    shown = 0;
}

void ReplayPortView::setTitleSuffix(const QString &suffix)
{
    const QString name = port.label.isEmpty() ? port.id : port.label;
    title->setText(suffix.isEmpty() ? name : name + QStringLiteral("  ") + suffix);
}

void ReplayPortView::setFramesVisible(bool on)
{
    frames->setVisible(on);
    runner->setPanelVisible(on);
}

void ReplayPortView::setPlotVisible(bool on)
{
    plot->setVisible(on);
    plot->setPaused(!on);
}

bool ReplayPortView::framesVisible() const
{
    return !frames->isHidden();
}

bool ReplayPortView::plotVisible() const
{
    return !plot->isHidden();
}
