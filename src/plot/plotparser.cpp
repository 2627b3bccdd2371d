#include "plot/plotparser.h"

#include <QtEndian>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr char TailBytes[4] = {0, 0, char(0x80), 0x7F};

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isSeparator(char c)
{
    return c == ' ' || c == '\t' || c == ',' || c == ';';
}

bool readsAsNumber(QByteArrayView text, double *value = nullptr)
{
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (value) {
        *value = number;
    }
    return ok;
}

// A label names something: it holds a letter, an underscore or a byte of a UTF-8
// character, and does not read as a number ("1e5" and "nan" do).
bool isLabel(QByteArrayView label)
{
    const bool named = std::any_of(label.begin(), label.end(), [](char c) {
        const auto u = uchar(c);
        return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u == '_' || u >= 0x80;
    });
    return named && !readsAsNumber(label);
}

// "temp : 21.5" is the pair "temp:21.5": blanks next to a colon go.
QByteArray joinColonBlanks(QByteArrayView line)
{
    QByteArray out;
    out.reserve(line.size());
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char c = line.at(i);
        if (c != ':') {
            out.append(c);
            continue;
        }
        while (!out.isEmpty() && isBlank(out.back())) {
            out.chop(1);
        }
        out.append(c);
        while (i + 1 < line.size() && isBlank(line.at(i + 1))) {
            ++i;
        }
    }
    return out;
}

} // namespace

void PlotParser::setFormat(PlotFormat format)
{
    if (format != fmt) {
        fmt = format;
        resetChannels();
    }
}

bool PlotParser::setRegex(const QString &pattern)
{
    if (pattern.isEmpty()) {
        regex = QRegularExpression();
        regexErrorText.clear();
        resetChannels();
        return false;
    }
    QRegularExpression candidate(pattern);
    if (!candidate.isValid()) {
        regex = QRegularExpression();
        regexErrorText = candidate.errorString();
        return false;
    }
    regexErrorText.clear();
    if (pattern == regex.pattern()) {
        return true;
    }
    regex = candidate;
    regex.optimize();
    resetChannels();
    return true;
}

void PlotParser::feed(const QByteArray &data, Rows &rows)
{
    if (data.isEmpty()) {
        return;
    }
    if (fmt == PlotFormat::JustFloat) {
        feedJustFloat(data, rows);
    } else {
        feedLines(data, rows);
    }
}

void PlotParser::reset()
{
    pending.clear();
    discarding = false;
    synced = false;
}

void PlotParser::resetChannels()
{
    reset();
    channelIndex.clear();
    channelNames.clear();
    bad = 0;
    good = 0;
    ++generationValue;
}

// CR and LF each end a line, so CR LF ends one line and an empty one, which counts as
// nothing. A line is judged whole: one longer than MaxLineBytes is skipped and counted
// once, whether it came in one chunk or in many.
void PlotParser::feedLines(const QByteArray &data, Rows &rows)
{
    const char *bytes = data.constData();
    const qsizetype size = data.size();
    qsizetype start = 0;
    for (qsizetype i = 0; i < size; ++i) {
        const char c = bytes[i];
        if (c != '\n' && c != '\r') {
            continue;
        }
        const QByteArrayView piece(bytes + start, i - start);
        if (discarding) {
            discarding = false; // the end of a line already counted as too long
        } else if (pending.size() + piece.size() > MaxLineBytes) {
            ++bad;
        } else if (pending.isEmpty()) {
            takeLine(piece, rows);
        } else {
            pending.append(piece);
            takeLine(pending, rows);
        }
        pending.truncate(0);
        start = i + 1;
    }
    if (start < size && !discarding) {
        pending.append(bytes + start, size - start);
        if (pending.size() > MaxLineBytes) {
            pending.clear();
            discarding = true;
            ++bad;
        }
    }
}

void PlotParser::takeLine(QByteArrayView line, Rows &rows)
{
    Row row;
    const bool taken =
        fmt == PlotFormat::Regex ? parseRegexLine(line, row) : parseTextLine(line, row);
    if (taken) {
        rows.append(std::move(row));
        ++good;
    } else if (!line.trimmed().isEmpty()) {
        ++bad;
    }
}

// Tokens are cut at blanks, commas and semicolons; a token with a colon is a labelled
// value ("temp:21.5", read from its last colon), any other must be a number. Then:
//  - no label: the values are positional channels;
//  - every token labelled: each value goes to its label's channel;
//  - one label, on the first token, heading a list whose every gap holds a comma or a
//    semicolon ("data:1,2,3", the FireWater form): the label names the line, not a
//    channel, and the values are positional;
//  - any other mix is refused.
// The list form asks for commas or semicolons because a blank does not join values
// into a list: "temp:21.5 4" is a labelled value beside a bare one, which is refused,
// while "data:1,2,3" and "data:1, 2, 3" are lists. This keeps "temp:21.5 hum:40",
// "hum:41", "1.5,-0.2,3" and "data:1,2,3" accepted and "temp:21.5 4" refused.
bool PlotParser::parseTextLine(QByteArrayView raw, Row &row)
{
    QByteArrayView line = raw.trimmed();
    if (line.isEmpty()) {
        return false;
    }
    QByteArray joined;
    if (line.contains(':')) {
        joined = joinColonBlanks(line);
        line = joined;
    }

    QVarLengthArray<double, MaxChannels> values;
    QVarLengthArray<QByteArrayView, MaxChannels> labels; // empty where unlabelled
    int labelled = 0;
    bool firstLabelled = false;
    bool listGaps = true; // every gap between two tokens holds a comma or semicolon
    const qsizetype size = line.size();
    qsizetype i = 0;
    while (i < size) {
        bool listMark = false;
        while (i < size && isSeparator(line.at(i))) {
            listMark = listMark || line.at(i) == ',' || line.at(i) == ';';
            ++i;
        }
        if (i == size) {
            break;
        }
        const qsizetype begin = i;
        while (i < size && !isSeparator(line.at(i))) {
            ++i;
        }
        const QByteArrayView token = line.sliced(begin, i - begin);
        if (!values.isEmpty() && !listMark) {
            listGaps = false;
        }
        double value = 0.0;
        const qsizetype colon = token.lastIndexOf(':');
        if (colon < 0) {
            if (!readsAsNumber(token, &value)) {
                return false;
            }
            labels.append(QByteArrayView());
        } else {
            const QByteArrayView label = token.first(colon);
            if (!isLabel(label) || !readsAsNumber(token.sliced(colon + 1), &value)) {
                return false;
            }
            firstLabelled = firstLabelled || values.isEmpty();
            ++labelled;
            labels.append(label);
        }
        values.append(value);
    }

    const qsizetype tokens = values.size();
    if (tokens == 0) {
        return false;
    }
    if (labelled == 0 || (labelled == 1 && firstLabelled && tokens > 1 && listGaps)) {
        const int count = int(std::min<qsizetype>(tokens, MaxChannels));
        notePositional(count);
        row = Row(values.cbegin(), values.cbegin() + count);
        return true;
    }
    if (labelled != tokens) {
        return false;
    }
    QVarLengthArray<int, MaxChannels> columns;
    for (const QByteArrayView label : labels) {
        columns.append(channelFor(QString::fromUtf8(label)));
    }
    row = Row(channelNames.size(), NaN);
    for (qsizetype k = 0; k < tokens; ++k) {
        if (columns.at(k) >= 0) {
            row[columns.at(k)] = values.at(k); // a repeated label: the last value wins
        }
    }
    return true;
}

// With capture groups, the first match gives one value per group: unnamed groups are
// positional channels (they come first, in group order), named groups find their
// channel by name. Without groups, every match is one positional value.
bool PlotParser::parseRegexLine(QByteArrayView raw, Row &row)
{
    if (regex.pattern().isEmpty() || !regex.isValid()) {
        return false;
    }
    const QString line = QString::fromUtf8(raw);
    const auto number = [](QStringView text) {
        bool ok = false;
        const double value = text.trimmed().toDouble(&ok);
        return ok ? value : NaN;
    };
    const int groups = regex.captureCount();
    if (groups > 0) {
        const QRegularExpressionMatch match = regex.match(line);
        if (!match.hasMatch()) {
            return false;
        }
        const QStringList names = regex.namedCaptureGroups();
        int unnamed = 0;
        for (int g = 1; g <= groups; ++g) {
            unnamed += names.value(g).isEmpty() ? 1 : 0;
        }
        notePositional(std::min(unnamed, MaxChannels));
        QVarLengthArray<std::pair<int, double>, MaxChannels> cells;
        int position = 0;
        for (int g = 1; g <= groups; ++g) {
            const QString name = names.value(g);
            int column = -1;
            if (name.isEmpty()) {
                column = position < MaxChannels ? position : -1;
                ++position;
            } else {
                column = channelFor(name);
            }
            if (column >= 0) {
                cells.append({column, number(match.capturedView(g))});
            }
        }
        row = Row(channelNames.size(), NaN);
        for (const auto &[column, value] : cells) {
            row[column] = value;
        }
        return true;
    }
    Row values;
    QRegularExpressionMatchIterator it = regex.globalMatch(line);
    while (it.hasNext() && values.size() < MaxChannels) {
        const QRegularExpressionMatch match = it.next();
        if (match.capturedLength() == 0) {
            break;
        }
        values.append(number(match.capturedView()));
    }
    if (values.isEmpty()) {
        return false;
    }
    notePositional(int(values.size()));
    row = std::move(values);
    return true;
}

// Frames are little-endian floats ended by 00 00 80 7F. The first tail after a reset
// only syncs: what came before it may be the end of a frame. A tail whose distance from
// the last one is no whole number of floats may be float bytes that look like a tail,
// so the search goes on past it, until more than a frame's worth has passed.
void PlotParser::feedJustFloat(const QByteArray &data, Rows &rows)
{
    const QByteArrayView tail(TailBytes, sizeof TailBytes);
    pending.append(data);
    qsizetype start = 0; // just after the last tail
    qsizetype from = 0;
    for (qsizetype p = pending.indexOf(tail, from); p >= 0; p = pending.indexOf(tail, from)) {
        const qsizetype length = p - start;
        if (!synced) {
            synced = true;
        } else if (length % 4 != 0 && length <= MaxFramePayload - 1) {
            from = p + 1;
            continue;
        } else if (length % 4 != 0 || length == 0 || length > MaxFramePayload) {
            ++bad;
        } else {
            Row row(length / 4);
            const char *floats = pending.constData() + start;
            for (qsizetype k = 0; k < row.size(); ++k) {
                row[k] = double(qFromLittleEndian<float>(floats + 4 * k));
            }
            notePositional(int(row.size()));
            rows.append(std::move(row));
            ++good;
        }
        start = from = p + qsizetype(sizeof TailBytes);
    }
    pending.remove(0, start);
    if (pending.size() > MaxHeldFrameBytes) {
        pending = pending.right(3); // they may be the start of a tail
        ++bad;
        synced = false;
    }
}

int PlotParser::channelFor(const QString &name)
{
    const auto found = channelIndex.constFind(name);
    if (found != channelIndex.cend()) {
        return found.value();
    }
    if (channelNames.size() >= MaxChannels) {
        return -1;
    }
    const int index = int(channelNames.size());
    channelNames.append(name);
    channelIndex.insert(name, index);
    ++generationValue;
    return index;
}

void PlotParser::notePositional(int count)
{
    if (channelNames.size() >= count) {
        return;
    }
    while (channelNames.size() < count) {
        channelNames.append(QString());
    }
    ++generationValue;
}
