#include "session/logwriter.h"

#include "common/logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace {

constexpr int DayMs = 86400000;

QString cleanAbsolute(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}
} // namespace

LogWriter::LogWriter(Clock clock, QObject *parent)
    : QObject(parent)
    , clock(std::move(clock))
{
    // Far enough back that the first time rotation is not held back by the guard.
    lastRotated = now().addSecs(-100);
}

QDateTime LogWriter::now() const
{
    return clock ? clock() : QDateTime();
}

QString LogWriter::decode_timestamp(const QDateTime &now, const QString &tmpl)
{
    static const std::pair<const char *, const char *> tokens[] = {
        {"%Y", "yyyy"}, {"%y", "yy"}, {"%M", "MM"},  {"%D", "dd"},  {"%h", "hh"},
        {"%m", "mm"},   {"%s", "ss"}, {"%z", "zzz"}, {"%e", "zzz"},
    };
    QString result = tmpl;
    for (const auto &[token, format] : tokens) {
        if (result.contains(QLatin1String(token))) {
            result.replace(QLatin1String(token), now.toString(QLatin1String(format)));
        }
    }
    return result;
}

QString LogWriter::get_current_time(const QString &tmpl) const
{
    return decode_timestamp(now(), tmpl);
}

QString LogWriter::decode_file_name(const QString &tmpl, const QString &portName) const
{
    return decode_file_name(tmpl, portName, now());
}

QString LogWriter::decode_file_name(const QString &tmpl, const QString &portName,
                                    const QDateTime &now)
{
    QString name = tmpl;
    name.replace(QLatin1String("%S"), portName);
    return decode_timestamp(now, name);
}

void LogWriter::appendLine(const QString &text, const FormatSetting &format,
                           const QDateTime &time)
{
    if (!format.logSaveFlag) {
        logging = false;
        return;
    }
    noteLoggingState(true);
    if (text.isEmpty()) {
        return;
    }
    if (pendingTimes.isEmpty() || pendingTimes.constLast().time != time) {
        pendingTimes.append({pending.size(), time});
    }
    pending.append(text);
}

void LogWriter::noteLoggingState(bool on)
{
    if (on && !logging) {
        notes.clear();
    }
    logging = on;
}

bool LogWriter::fail(const QString &text, QString *error)
{
    // Each failure is told once; while it lasts the next flushes fail quietly.
    if (!notes.contains(text)) {
        notes.insert(text);
        qCWarning(lcTerminal).noquote() << text;
        if (error) {
            *error = text;
        }
    }
    return false;
}

bool LogWriter::timeRotationDue(const FormatSetting &format, const QDateTime &at)
{
    // The crossing point: the configured time plus the margin, kept inside the day.
    const int rotateMs =
        std::min(format.logRotateTime.msecsSinceStartOfDay(), DayMs - RotateTimeMarginMs - 1);
    const int crossingMs = rotateMs + RotateTimeMarginMs;
    bool due = false;
    if (!timeCheckedAt.isValid()) {
        // The first test: the writer starts armed, so a time already passed today counts.
        due = rotateDue && at.time().msecsSinceStartOfDay() > crossingMs;
    } else {
        // Later tests: due once for each crossing since the previous test, and still due
        // when an earlier rotation failed.
        QDateTime crossing = at;
        crossing.setTime(QTime::fromMSecsSinceStartOfDay(crossingMs));
        if (crossing >= at) {
            crossing = crossing.addDays(-1);
        }
        due = rotateDue || crossing >= timeCheckedAt;
    }
    rotateDue = due;
    timeCheckedAt = at;
    return due;
}

LogWriter::Rotation LogWriter::rotationDue(const FormatSetting &format, const QString &fileName,
                                           qint64 size)
{
    const QDateTime at = now();
    bool byTime = false;
    if (format.logRotateAtTime) {
        byTime = timeRotationDue(format, at);
    } else {
        rotateDue = false;
        timeCheckedAt = at;
    }

    if (format.logRotateAtSize && size >= 0 && size > std::max(format.logRotateSize, 0)) {
        qCInfo(lcTerminal) << "Rotate log file for file size:" << size << fileName;
        return Rotation::BySize;
    }
    if (!byTime) {
        return Rotation::None;
    }
    qCInfo(lcTerminal) << "Rotate log file for time" << fileName;
    if (lastRotated.addMSecs(RotateGuardMs) > at) {
        qCInfo(lcTerminal) << "Keep current log file because it was rotated recently";
        rotateDue = false;
        return Rotation::None;
    }
    return Rotation::ByTime;
}

QString LogWriter::archiveName(const QString &current, const QDateTime &at) const
{
    const QFileInfo info(current);
    QString name = info.completeBaseName() + QLatin1Char('-') +
                   at.toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
    if (!info.suffix().isEmpty()) {
        name += QLatin1Char('.') + info.suffix();
    }
    const QString base = info.absoluteDir().filePath(name);
    QString candidate = base;
    for (int count = 1; QFileInfo::exists(candidate); ++count) {
        if (count > ArchiveCountLimit) {
            return {};
        }
        candidate = base + QStringLiteral(".%1").arg(count);
    }
    return candidate;
}

bool LogWriter::rotate(FormatSetting &format, const QString &portName, const QString &current,
                       QString *reason)
{
    const QDateTime at = now();
    const QString decoded = decode_file_name(format.logFilePath, portName, at);
    if (decoded.isEmpty()) {
        *reason = tr("Please input correct log file name!");
        return false;
    }
    const QString next = cleanAbsolute(decoded);

    if (next == cleanAbsolute(current)) {
        if (!QFileInfo::exists(current)) {
            // Nothing written yet, so nothing to archive: not a rotation.
            rotateDue = false;
            return true;
        }
        const QString archive = archiveName(current, at);
        if (archive.isEmpty()) {
            *reason = tr("Could not rotate log file '%1': %2")
                          .arg(current, tr("every archive name is taken"));
            return false;
        }
        qCInfo(lcTerminal) << "Archive log file" << current << "to" << archive;
        QFile file(current);
        if (!file.rename(archive)) {
            *reason = tr("Could not rotate log file '%1': %2").arg(current, file.errorString());
            return false;
        }
    } else {
        qCInfo(lcTerminal) << "Change log file to" << next;
        format.logFileName = next;
    }
    lastRotated = at;
    rotateDue = false;
    atLineStart = true;
    return true;
}

QString LogWriter::stampLines(const FormatSetting &format)
{
    // Each line gets the time of the text it starts in: when its bytes arrived or were
    // sent, not when the log is written.
    const QString &text = pending;
    const QString flushStamp = decode_timestamp(now(), format.logFileTime);
    QString out;
    out.reserve(text.size() + flushStamp.size() * (text.count(QLatin1Char('\n')) + 1));
    qsizetype mark = 0;
    qsizetype from = 0;
    while (from < text.size()) {
        if (atLineStart) {
            while (mark + 1 < pendingTimes.size() && pendingTimes.at(mark + 1).at <= from) {
                ++mark;
            }
            const QDateTime time = mark < pendingTimes.size() ? pendingTimes.at(mark).time
                                                              : QDateTime();
            out += time.isValid() ? decode_timestamp(time, format.logFileTime) : flushStamp;
        }
        const qsizetype end = text.indexOf(QLatin1Char('\n'), from);
        const qsizetype stop = end < 0 ? text.size() : end + 1;
        out += QStringView(text).mid(from, stop - from);
        atLineStart = end >= 0;
        from = stop;
    }
    return out;
}

bool LogWriter::flush(FormatSetting &format, const QString &portName, const QString &header,
                      QString *error)
{
    if (error) {
        error->clear();
    }
    if (pending.isEmpty()) {
        return true;
    }

    if (format.logFileName.isEmpty() || format.logFileName == unresolvedLogFileName()) {
        const QString resolved = decode_file_name(format.logFilePath, portName);
        if (resolved.isEmpty()) {
            return fail(tr("Please input correct log file name!"), error);
        }
        format.logFileName = resolved;
    }
    QString fileName = format.logFileName;
    if (QFileInfo(fileName).isDir()) {
        return fail(tr("Log path is a directory, not a file: %1").arg(fileName), error);
    }

    const QFileInfo current(fileName);
    if (rotationDue(format, fileName, current.exists() ? current.size() : -1) != Rotation::None) {
        QString reason;
        if (!rotate(format, portName, fileName, &reason)) {
            return fail(reason, error);
        }
        fileName = format.logFileName;
        if (QFileInfo(fileName).isDir()) {
            return fail(tr("Log path is a directory, not a file: %1").arg(fileName), error);
        }
    }

    const QFileInfo target(fileName);
    const QString folder = target.absolutePath();
    if (!QDir(folder).exists() && !QDir().mkpath(folder)) {
        return fail(tr("Could not create log directory '%1'").arg(folder), error);
    }
    const bool isNew = !target.exists();
    if (isNew) {
        qCInfo(lcTerminal) << "Create log file as file does not exist. file:" << fileName;
    }

    QFile file(fileName);
    const bool truncate = firstWrite && !format.logAppend;
    if (!file.open(QIODevice::WriteOnly | (truncate ? QIODevice::Truncate : QIODevice::Append))) {
        return fail(tr("Could not open log file '%1': %2").arg(fileName, file.errorString()),
                    error);
    }

    const bool lineStartBefore = atLineStart;
    if (isNew) {
        atLineStart = true;
    }
    QByteArray data = isNew ? header.toUtf8() : QByteArray();
    if (format.logTimestampEnabled) {
        data += stampLines(format).toUtf8();
    } else {
        data += pending.toUtf8();
        atLineStart = pending.endsWith(QLatin1Char('\n'));
    }
    if (file.write(data) != data.size() || !file.flush()) {
        const QString why = file.errorString();
        atLineStart = lineStartBefore;
        return fail(tr("Could not write log file '%1': %2").arg(fileName, why), error);
    }
    firstWrite = false;
    pending.clear();
    pendingTimes.clear();
    return true;
}
