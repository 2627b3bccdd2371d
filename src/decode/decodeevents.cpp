#include "decode/decodeevents.h"

#include <QIODevice>

namespace {

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

} // namespace

DecodeEvents::LineKind DecodeEvents::parseLine(QByteArrayView line, DecodeEvent *event,
                                               QString *error)
{
    const qsizetype comment = line.indexOf('#');
    if (comment >= 0) {
        line = line.first(comment);
    }
    const QList<QByteArray> tokens = line.toByteArray().simplified().split(' ');
    if (tokens.size() == 1 && tokens.first().isEmpty()) {
        return LineKind::Blank;
    }
    const auto bad = [error](const QString &why) {
        if (error) {
            *error = why;
        }
        return LineKind::Bad;
    };
    if (tokens.size() < 3 || tokens.size() > 4) {
        return bad(tr("expected \"<ms> <tx|rx> <hex> [peer]\""));
    }
    bool ok = false;
    const qint64 ms = tokens.at(0).toLongLong(&ok);
    if (!ok) {
        return bad(tr("\"%1\" is not a time in milliseconds").arg(QString::fromUtf8(tokens.at(0))));
    }
    const QByteArray direction = tokens.at(1).toLower();
    if (direction != "tx" && direction != "rx") {
        return bad(tr("\"%1\" is not tx or rx").arg(QString::fromUtf8(tokens.at(1))));
    }
    const QByteArray &hex = tokens.at(2);
    if (hex.size() % 2 != 0 || !std::all_of(hex.begin(), hex.end(), isHexDigit)) {
        return bad(tr("\"%1\" is not bytes in hex (two digits each, no blanks)")
                       .arg(QString::fromUtf8(hex)));
    }
    if (event) {
        event->ms = ms;
        event->direction = direction == "tx" ? FrameDirection::Tx : FrameDirection::Rx;
        event->bytes = QByteArray::fromHex(hex);
        event->peer = tokens.size() == 4 ? QString::fromUtf8(tokens.at(3)) : QString();
    }
    return LineKind::Event;
}

bool DecodeEvents::parse(QByteArrayView text, QList<DecodeEvent> *events, QString *error,
                         int *badLine)
{
    int number = 0;
    qsizetype from = 0;
    while (from < text.size()) {
        qsizetype end = text.indexOf('\n', from);
        if (end < 0) {
            end = text.size();
        }
        ++number;
        DecodeEvent event;
        QString why;
        switch (parseLine(text.sliced(from, end - from), &event, &why)) {
        case LineKind::Event:
            event.line = number;
            if (events) {
                events->append(event);
            }
            break;
        case LineKind::Bad:
            if (error) {
                *error = tr("Line %1: %2").arg(number).arg(why);
            }
            if (badLine) {
                *badLine = number;
            }
            return false;
        case LineKind::Blank:
            break;
        }
        from = end + 1;
    }
    return true;
}

bool DecodeEvents::read(QIODevice &device, QList<DecodeEvent> *events, QString *error, int *badLine)
{
    if (!device.isReadable()) {
        if (error) {
            *error = tr("The events cannot be read: %1").arg(device.errorString());
        }
        return false;
    }
    return parse(device.readAll(), events, error, badLine);
}

QByteArray DecodeEvents::formatLine(const DecodeEvent &event)
{
    QByteArray line = QByteArray::number(event.ms) +
                      (event.direction == FrameDirection::Tx ? " tx " : " rx ") +
                      event.bytes.toHex();
    if (!event.peer.isEmpty()) {
        line += ' ' + event.peer.toUtf8();
    }
    return line;
}
