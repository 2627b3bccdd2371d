#pragma once

// The strip a port shows while a sequence runs and after it ends: the step being run and
// its time, then the result in the colour of the outcome, with Stop while running and a
// close button after the end.

#include "automation/sequenceengine.h"

#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;
class QTimer;
class QToolButton;
class SequenceRunner;

class SequenceBar : public QWidget
{
    Q_OBJECT
public:
    static constexpr int TickMs = 200;

    explicit SequenceBar(QWidget *parent = nullptr);

    // The runner to follow; the bar refreshes on its state changes and, while it runs,
    // on a short timer for the step time.
    void setRunner(const SequenceRunner *runner);
    QString text() const;

public slots:
    void refresh();

signals:
    void stopRequested();

private:
    void applyStyle(SequenceState state);

    QPointer<const SequenceRunner> followed;
    QLabel *label = nullptr;
    QPushButton *stopButton = nullptr;
    QToolButton *closeButton = nullptr;
    QTimer *ticker = nullptr;
    SequenceState shownState = SequenceState::Idle;
};
