#include "plot/plotexport.h"

#include "plot/plotbuffer.h"

#include <QIODevice>

#include <charconv>
#include <cmath>

namespace {

constexpr qsizetype FlushBytes = 1 << 20;

void appendNumber(QByteArray &out, double value, std::chars_format form, int precision)
{
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, value, form, precision);
    out.append(text, result.ptr - text);
}

} // namespace

QString PlotExport::neutralize(const QString &text)
{
    static const QString formulaStarts = QStringLiteral("=+-@\t\r");
    if (!text.isEmpty() && formulaStarts.contains(text.front())) {
        return QLatin1Char('\'') + text;
    }
    return text;
}

QByteArray PlotExport::csvHeader(const QStringList &names, int channels)
{
    QByteArray header = "sample,time_s";
    for (int c = 0; c < channels; ++c) {
        QString name = names.value(c);
        if (name.isEmpty()) {
            name = QStringLiteral("CH%1").arg(c + 1);
        }
        name = neutralize(name);
        name.replace(QLatin1Char('"'), QStringLiteral("\"\""));
        header += ",\"" + name.toUtf8() + '"';
    }
    return header + '\n';
}

bool PlotExport::writeCsv(QIODevice *device, const PlotBuffer &buffer, const QStringList &names)
{
    const int channels = buffer.channelCount();
    QByteArray out = csvHeader(names, channels);
    out.reserve(FlushBytes + 4096);
    for (qint64 sample = buffer.firstSample(); sample < buffer.total(); ++sample) {
        out += QByteArray::number(sample);
        out += ',';
        appendNumber(out, buffer.time(sample), std::chars_format::fixed, 6);
        for (int c = 0; c < channels; ++c) {
            out += ',';
            const double value = buffer.value(c, sample);
            if (!std::isnan(value)) {
                appendNumber(out, value, std::chars_format::general, 10);
            }
        }
        out += '\n';
        if (out.size() >= FlushBytes) {
            if (device->write(out) != out.size()) {
                return false;
            }
            out.truncate(0);
        }
    }
    return device->write(out) == out.size();
}
