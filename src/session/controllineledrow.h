#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include <array>

class HLed;
class QPushButton;
class QTimer;

// The row of indicator lights of a port: Tx and Rx flash with traffic; RTS and DTR show
// the requested output lines (and switch them on a click); CTS, DSR, DCD and RI show the
// input lines; the Break button holds a break while pressed.
class ControlLineLedRow : public QWidget
{
    Q_OBJECT
public:
    enum Led {
        Tx = 0,
        Rx,
        Rts,
        Dtr,
        Cts,
        Dsr,
        Dcd,
        Ri,
        LedCount,
    };

    static constexpr int FlashMs = 60;

    explicit ControlLineLedRow(QWidget *parent = nullptr);

    HLed *led(Led which) const { return leds[which]; }
    QPushButton *breakButton() const { return breakButtonWidget; }

    void flashTx() { flash(Tx); }
    void flashRx() { flash(Rx); }
    // Lights `which` for a short while; repeated flashes keep it lit.
    void flash(Led which, int ms = FlashMs);
    // Turns a flashed light off once its time is over.
    void advanceBlink(Led which, qint64 nowMs);

    // An output or input line: lit when on; `takenOver` when something other than the
    // user drives it (flow control, a bridge).
    void setLine(Led which, bool on, bool takenOver = false);
    // Without a source of input line states the input lights stay off.
    void clearInputs();
    // Shows or hides the lights of the serial lines and the Break button; Tx and Rx
    // always show. A network connection has no serial lines to show.
    void setSerialLinesVisible(bool visible);

    void beginBreakIndication();
    void endBreakIndication();
    // Lets go of the Break button's pressed look when the line could not stay down.
    void releaseBreakHold();
    bool breakIndicated() const { return breakShown; }

    static QColor neutralColor();
    static QColor takenOverColor();
    static QColor breakColor();

signals:
    void rtsClicked();
    void dtrClicked();
    void breakPressed();
    void breakReleased();

private:
    void onBlinkTick();

    std::array<HLed *, LedCount> leds{};
    std::array<qint64, LedCount> litUntil{};
    QPushButton *breakButtonWidget = nullptr;
    QTimer *blinkTimer = nullptr;
    QElapsedTimer clock;
    bool breakShown = false;
};
