#pragma once

#include "connection/settings.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <functional>

// Writes what a port displays to its log file. Decoded text is batched in `pending` and
// written by flush(): the file name comes from a template, the file is rotated by size or
// at a time of day, and failures are returned to the session, each told once, while the
// text that could not be written waits for the next flush.
//
// The writer owns no clock: the session passes one in, and tests pass one they advance.
class LogWriter : public QObject
{
    Q_OBJECT
public:
    using Clock = std::function<QDateTime()>;

    // Time rotation waits this long after the configured time of day...
    static constexpr int RotateTimeMarginMs = 200;
    // ...and is skipped when the log was rotated less than this long ago.
    static constexpr qint64 RotateGuardMs = 30000;
    // Archive names tried with ".1", ".2", ... before rotation gives up.
    static constexpr int ArchiveCountLimit = 10000;

    explicit LogWriter(Clock clock, QObject *parent = nullptr);

    // Replaces the tokens of a name or stamp template ("%Y", "%y", "%M", "%D", "%h", "%m",
    // "%s", "%z", "%e") with the parts of `now`.
    static QString decode_timestamp(const QDateTime &now, const QString &tmpl);
    // decode_timestamp of the writer's clock.
    QString get_current_time(const QString &tmpl) const;
    // "%S" becomes the port name, then the time tokens are replaced.
    QString decode_file_name(const QString &tmpl, const QString &portName) const;
    static QString decode_file_name(const QString &tmpl, const QString &portName,
                                    const QDateTime &now);

    // Queues `text` if the port logs (`logSaveFlag`); otherwise drops it and notes that
    // logging is off. `time` is when its bytes arrived or were sent: each line that
    // starts in this text is stamped with it. An invalid time stamps with the time of
    // the flush.
    void appendLine(const QString &text, const FormatSetting &format,
                    const QDateTime &time = QDateTime());
    // Logging switched on after being off forgets the failures already told.
    void noteLoggingState(bool on);
    // Writes `pending`, resolving `format.logFileName` when needed and rotating first when
    // due. On failure returns false and keeps `pending`; `error` gets the reason the first
    // time it occurs and stays empty while the same failure repeats. `header` goes at the
    // top of a file that did not exist.
    bool flush(FormatSetting &format, const QString &portName, const QString &header,
               QString *error);

    QString pendingText() const { return pending; }
    bool loggingOn() const { return logging; }
    QDateTime lastRotatedAt() const { return lastRotated; }

private:
    enum class Rotation { None, BySize, ByTime };

    QDateTime now() const;
    Rotation rotationDue(const FormatSetting &format, const QString &fileName, qint64 size);
    bool timeRotationDue(const FormatSetting &format, const QDateTime &at);
    bool rotate(FormatSetting &format, const QString &portName, const QString &current,
                QString *reason);
    QString archiveName(const QString &current, const QDateTime &at) const;
    QString stampLines(const FormatSetting &format);
    bool fail(const QString &text, QString *error);

    Clock clock;
    QSet<QString> notes;
    bool logging = false;
    QString pending;
    // Where in `pending` text of each time begins, in order.
    struct TimeMark
    {
        qsizetype at = 0;
        QDateTime time;
    };
    QList<TimeMark> pendingTimes;
    bool rotateDue = true;
    bool firstWrite = true;
    bool atLineStart = true;
    QDateTime lastRotated;
    QDateTime timeCheckedAt; // the previous test of the time rotation
};
