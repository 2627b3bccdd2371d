#include "decode/framecsv.h"

#include "decode/framebytes.h"
#include "decode/framedecoder.h"

#include <QRegularExpression>

namespace {

const QString LineEnd = QStringLiteral("\r\n");

QString timeText(const DecodedFrame &frame)
{
    return frame.time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

QString text(const QString &cell)
{
    return FrameCsv::escape(cell, true);
}

} // namespace

QString FrameCsv::directionToken(FrameDirection direction)
{
    return direction == FrameDirection::Tx ? QStringLiteral("TX") : QStringLiteral("RX");
}

QString FrameCsv::statusToken(FrameStatus status)
{
    switch (status) {
    case FrameStatus::Ok:
        return QStringLiteral("OK");
    case FrameStatus::Exception:
        return QStringLiteral("EXCEPTION");
    case FrameStatus::ChecksumError:
        return QStringLiteral("CHECKSUM_ERROR");
    case FrameStatus::Malformed:
        return QStringLiteral("MALFORMED");
    case FrameStatus::Incomplete:
        return QStringLiteral("INCOMPLETE");
    case FrameStatus::Unrecognized:
        break;
    }
    return QStringLiteral("UNRECOGNIZED");
}

QString FrameCsv::escape(const QString &text, bool neutralize)
{
    QString out = text;
    if (neutralize && !out.isEmpty()) {
        const QChar first = out.front();
        if (first == u'\t' || first == u'\r' || first == u'+' || first == u'-' || first == u'=' ||
            first == u'@') {
            out.prepend(u'\'');
        }
    }
    const bool quote = out.contains(u',') || out.contains(u'"') || out.contains(u'\r') ||
                       out.contains(u'\n') ||
                       (!out.isEmpty() && (out.front().isSpace() || out.back().isSpace()));
    if (quote) {
        out.replace(u'"', QStringLiteral("\"\""));
        out = u'"' + out + u'"';
    }
    return out;
}

QString FrameCsv::escapeValue(const QString &text)
{
    static const QRegularExpression number(
        QStringLiteral("^-?\\d+(\\.\\d+)?([eE][-+]?\\d+)?( [^=+\\-@|!()\\t\\r\\n]*)?$"));
    return escape(text, !number.match(text).hasMatch());
}

QString FrameCsv::defaultFileName(const QString &portName, const QDateTime &when)
{
    static const QRegularExpression unsafe(QStringLiteral("[\\\\/:*?\"<>|\\s]"));
    QString name = portName.trimmed();
    name.remove(unsafe);
    if (name.isEmpty()) {
        name = QStringLiteral("port");
    }
    return QStringLiteral("%1-frames-%2.csv")
        .arg(name, when.toString(QStringLiteral("yyyyMMdd-HHmmss")));
}

QString FrameCsv::framesHeader()
{
    return QStringLiteral("Seq,Time,Direction,Peer,Protocol,Status,Length,Raw,Summary,Paired,"
                          "Latency (ms),Fields") +
           LineEnd;
}

QString FrameCsv::frameRow(const DecodedFrame &frame, const ExplainFunction &explain,
                           const QString &protocol)
{
    QStringList fieldTexts;
    if (explain) {
        for (const DecodedField &field : explain(frame)) {
            fieldTexts.append(field.name + u'=' + field.value);
        }
    }
    // The latency belongs to the response: the half whose partner came first.
    const bool response = frame.pairedSeq != 0 && frame.pairedSeq < frame.seq;
    const QStringList cells{
        QString::number(frame.seq),
        text(timeText(frame)),
        directionToken(frame.direction),
        text(frame.peer),
        text(protocol),
        statusToken(frame.status),
        QString::number(frame.raw.size()),
        FrameDecoder::hexText(frame.raw),
        text(frame.summary),
        frame.pairedSeq ? QString::number(frame.pairedSeq) : QString(),
        response && frame.latencyMs >= 0 ? QString::number(frame.latencyMs) : QString(),
        text(fieldTexts.join(QStringLiteral("; "))),
    };
    return cells.join(u',') + LineEnd;
}

QString FrameCsv::fieldsHeader()
{
    return QStringLiteral("Seq,Time,Direction,Status,Field,Value,Offset,Length,Raw") + LineEnd;
}

QString FrameCsv::fieldRows(const DecodedFrame &frame, const ExplainFunction &explain)
{
    if (!explain) {
        return {};
    }
    const QByteArray image = FrameBytes::fieldImage(frame);
    const QString lead = QString::number(frame.seq) + u',' + text(timeText(frame)) + u',' +
                         directionToken(frame.direction) + u',' + statusToken(frame.status) + u',';
    QString out;
    QString group;
    for (const DecodedField &field : explain(frame)) {
        QString name = field.name;
        if (field.indent > 0 && !group.isEmpty()) {
            name = group + QStringLiteral(" / ") + field.name;
        } else {
            group = field.name;
        }
        const bool hasBytes = field.offset >= 0 && field.length >= 1;
        out += lead + text(name) + u',' + escapeValue(field.value) + u',';
        if (hasBytes) {
            out += QString::number(field.offset) + u',' + QString::number(field.length) + u',' +
                   FrameDecoder::hexText(QByteArrayView(image).sliced(
                       std::min<qsizetype>(field.offset, image.size()),
                       std::clamp<qsizetype>(image.size() - field.offset, 0, field.length)));
        } else {
            out += u',' + QString(u',');
        }
        out += LineEnd;
    }
    return out;
}

QString FrameCsv::frames(const QList<DecodedFrame> &list, const ExplainFunction &explain,
                         const QString &protocol)
{
    QString out = framesHeader();
    for (const DecodedFrame &frame : list) {
        out += frameRow(frame, explain, protocol);
    }
    return out;
}

QString FrameCsv::fields(const QList<DecodedFrame> &list, const ExplainFunction &explain)
{
    QString out = fieldsHeader();
    for (const DecodedFrame &frame : list) {
        out += fieldRows(frame, explain);
    }
    return out;
}
