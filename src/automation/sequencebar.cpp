#include "automation/sequencebar.h"

#include "automation/sequencerunner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>

namespace {
QString seconds(qint64 ms, int decimals)
{
    return SequenceBar::tr("%1 s").arg(QString::number(double(ms) / 1000.0, 'f', decimals));
}
} // namespace

SequenceBar::SequenceBar(QWidget *parent)
    : QWidget(parent)
    , ticker(new QTimer(this))
{
    setObjectName(QStringLiteral("sequenceBar"));
    setAttribute(Qt::WA_StyledBackground, true);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 2, 2, 2);
    label = new QLabel(this);
    label->setObjectName(QStringLiteral("sequenceBarLabel"));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(label, 1);
    stopButton = new QPushButton(tr("Stop"), this);
    stopButton->setObjectName(QStringLiteral("sequenceBarStopButton"));
    layout->addWidget(stopButton);
    closeButton = new QToolButton(this);
    closeButton->setObjectName(QStringLiteral("sequenceBarCloseButton"));
    closeButton->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    closeButton->setAutoRaise(true);
    closeButton->setToolTip(tr("Hide the result"));
    layout->addWidget(closeButton);

    ticker->setInterval(TickMs);
    connect(ticker, &QTimer::timeout, this, &SequenceBar::refresh);
    connect(stopButton, &QPushButton::clicked, this, &SequenceBar::stopRequested);
    connect(closeButton, &QToolButton::clicked, this, &QWidget::hide);
    hide();
}

void SequenceBar::setRunner(const SequenceRunner *runner)
{
    if (followed) {
        disconnect(followed, nullptr, this, nullptr);
    }
    followed = runner;
    if (runner) {
        connect(runner, &SequenceRunner::stateChanged, this, &SequenceBar::refresh);
        // A new run shows the bar again after its result was hidden.
        connect(runner, &SequenceRunner::started, this, &QWidget::show);
    }
    shownState = SequenceState::Idle;
    refresh();
}

QString SequenceBar::text() const
{
    return label->text();
}

void SequenceBar::refresh()
{
    const SequenceState state = followed ? followed->state() : SequenceState::Idle;
    if (state == SequenceState::Idle) {
        ticker->stop();
        hide();
        return;
    }
    const SequenceEngine &engine = followed->engine();
    const QString name = engine.sequenceName().isEmpty()
                             ? tr("Sequence")
                             : QStringLiteral("\"%1\"").arg(engine.sequenceName());
    const int failed = engine.failedStepIndex();
    QString text;
    switch (state) {
    case SequenceState::Running: {
        const int step = std::min(engine.currentStep(), engine.stepCount() - 1);
        text = QStringLiteral("\u25b6 ") +
               tr("%1 \u00b7 step %2/%3: %4 \u00b7 %5")
                   .arg(name, QString::number(step + 1), QString::number(engine.stepCount()),
                        engine.stepTitle(step), seconds(followed->stepElapsedMs(), 1));
        if (engine.failureCount() > 0) {
            text += QStringLiteral(" \u00b7 ") + tr("%n failed", nullptr, engine.failureCount());
        }
        break;
    }
    case SequenceState::Passed:
        text = QStringLiteral("\u2714 ") +
               tr("%1 passed in %2").arg(name, seconds(followed->elapsedMs(), 2));
        break;
    case SequenceState::Failed:
        text = QStringLiteral("\u2716 ") + tr("%1 failed at step %2 (%3): %4")
                                               .arg(name, QString::number(failed + 1),
                                                    engine.stepTitle(failed), engine.endMessage());
        break;
    case SequenceState::Stopped:
        text = QStringLiteral("\u25a0 ") + tr("%1 stopped at step %2: %3")
                                               .arg(name, QString::number(failed + 1),
                                                    engine.endMessage());
        break;
    case SequenceState::Idle:
        break;
    }
    label->setText(text);

    const bool running = state == SequenceState::Running;
    stopButton->setVisible(running);
    closeButton->setVisible(!running);
    if (running && !ticker->isActive()) {
        ticker->start();
    } else if (!running) {
        ticker->stop();
    }
    if (state != shownState) {
        // A run that starts, or ends, brings the bar into view.
        shownState = state;
        applyStyle(state);
        show();
    }
}

void SequenceBar::applyStyle(SequenceState state)
{
    QString background;
    QString foreground;
    switch (state) {
    case SequenceState::Passed:
        background = QStringLiteral("#2e9d52");
        foreground = QStringLiteral("white");
        break;
    case SequenceState::Failed:
        background = QStringLiteral("#c0392b");
        foreground = QStringLiteral("white");
        break;
    case SequenceState::Stopped:
        background = QStringLiteral("#f0a020");
        foreground = QStringLiteral("#1a1a1a");
        break;
    default:
        background = palette().color(QPalette::AlternateBase).name();
        foreground = palette().color(QPalette::WindowText).name();
        break;
    }
    setStyleSheet(QStringLiteral("#sequenceBar { background: %1; } #sequenceBarLabel { color: %2; }")
                      .arg(background, foreground));
}
