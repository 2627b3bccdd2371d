#include "session/ansiescapefilter.h"

#include <cstring>

namespace {
constexpr char Esc = 0x1b;
constexpr char Bel = 0x07;
constexpr unsigned char Csi8 = 0x9b;
constexpr unsigned char Osc8 = 0x9d;
constexpr unsigned char St8 = 0x9c;
constexpr qsizetype CsiLimit = 257;     // a CSI continues while shorter than this
constexpr qsizetype StringLimit = 4097; // an OSC string continues while shorter than this
} // namespace

void AnsiEscapeFilter::reset()
{
    currentState = Text;
    pending.clear();
}

QByteArray AnsiEscapeFilter::process(const QByteArray &bytes)
{
    // Fast path: plain text with nothing that could start a sequence.
    if (currentState == Text && !std::memchr(bytes.constData(), Esc, size_t(bytes.size()))) {
        if (!eightBitControls) {
            return bytes;
        }
        bool introducer = false;
        for (char c : bytes) {
            const auto u = static_cast<unsigned char>(c);
            if (u == Csi8 || u == Osc8) {
                introducer = true;
                break;
            }
        }
        if (!introducer) {
            return bytes;
        }
    }

    QByteArray out;
    out.reserve(bytes.size());
    const auto flushPending = [&] {
        out.append(pending);
        pending.clear();
        currentState = Text;
    };

    for (char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        switch (currentState) {
        case Text:
            if (c == Esc) {
                pending = QByteArray(1, c);
                currentState = AfterEsc;
            } else if (eightBitControls && u == Csi8) {
                pending = QByteArray(1, c);
                currentState = Csi;
            } else if (eightBitControls && u == Osc8) {
                pending = QByteArray(1, c);
                currentState = String;
            } else {
                out.append(c);
            }
            break;
        case AfterEsc:
            pending.append(c);
            if (c == '[') {
                currentState = Csi;
            } else if (c == ']') {
                currentState = String;
            } else {
                flushPending();
            }
            break;
        case Csi:
            if (c == Esc) {
                out.append(pending);
                pending = QByteArray(1, c);
                currentState = AfterEsc;
                break;
            }
            pending.append(c);
            if (u >= 0x40 && u <= 0x7e) {
                pending.clear();
                currentState = Text;
            } else if (u >= 0x20 && u <= 0x3f && pending.size() < CsiLimit) {
                // parameter or intermediate byte: the sequence goes on
            } else {
                flushPending();
            }
            break;
        case String:
            pending.append(c);
            if (c == Bel || (eightBitControls && u == St8)) {
                pending.clear();
                currentState = Text;
            } else if (c == Esc) {
                currentState = EscInString;
            } else if (c == '\r' || c == '\n') {
                pending.clear();
                currentState = Text;
                out.append(c);
            } else if (pending.size() >= StringLimit) {
                flushPending();
            }
            break;
        case EscInString:
            pending.append(c);
            if (c == '\\' || (eightBitControls && u == St8)) {
                pending.clear();
                currentState = Text;
            } else if (c == '\r' || c == '\n') {
                pending.clear();
                currentState = Text;
                out.append(c);
            } else if (pending.size() >= StringLimit) {
                // Also bounds a run of ESC bytes, which would otherwise hold here forever.
                flushPending();
            } else if (c != Esc) {
                currentState = String;
            }
            break;
        }
    }
    return out;
}
