#pragma once

#include <QByteArray>

// Removes terminal control sequences (CSI colour and cursor commands, OSC strings)
// from received bytes. State and the bytes of an unfinished sequence survive between
// calls, so a sequence split over two reads vanishes whole; an over-long or malformed
// sequence comes through as data, so nothing is lost silently.
class AnsiEscapeFilter
{
public:
    QByteArray process(const QByteArray &bytes);
    void reset();

    // The 8-bit introducers 0x9B (CSI) and 0x9D (OSC) and the terminator 0x9C are
    // only control bytes in single-byte encodings; in UTF-8 and the CJK encodings
    // they are parts of characters and must pass untouched.
    void setEightBitControls(bool on) { eightBitControls = on; }
    bool eightBitControlsEnabled() const { return eightBitControls; }

    int state() const { return currentState; }
    QByteArray pendingBytes() const { return pending; }

private:
    enum State {
        Text = 0,
        AfterEsc = 1,
        Csi = 2,
        String = 3,
        EscInString = 4,
    };

    int currentState = Text;
    QByteArray pending;
    bool eightBitControls = false;
};
