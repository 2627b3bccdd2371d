#pragma once

// The file recording of a window's ports. Every 250 ms it asks its owner for the
// current ports, takes the new events of their histories, merges them by time and
// appends them to a .vlmlog file; at a size limit it goes on in a new part whose name
// the old one's end line gives. Every write ends on a whole line, so the file is a
// valid recording at every instant. Events that a history dropped before they could be
// written are stated in the file.
//
// The owner reports its ports through a function, so a recording needs no port panel
// and runs the same without a window. Timers but no widgets: this file includes no
// widget header.

#include "recording/recordingplanitem.h"
#include "recording/sessionexport.h"

#include <QObject>

#include <functional>
#include <memory>

class QFile;
class QTimer;
class SessionRecorder;
class VlmlogWriter;

class SessionRecording : public QObject
{
    Q_OBJECT
public:
    static constexpr int PollMs = 250;
    static constexpr qint64 PassBytes = 1048576;

    struct Options
    {
        QString path;
        bool includeHeld = false;      // start with what the histories already hold
        qint64 partBytes = 104857600; // 0: never start a new part
    };

    struct Port
    {
        QString key; // the owner's stable name for the port
        SessionExport::PortInfo info;
        const SessionRecorder *recorder = nullptr;
    };

    struct Tracked
    {
        QString key;
        QString id; // "p1", "p2", ... in order of first sight
        SessionExport::PortInfo info;
        quint64 lastSeq = 0;
        bool present = true;
        bool announced = false;
        bool removalNoted = false;
    };

    using PortsFunction = std::function<QList<Port>()>;

    explicit SessionRecording(PortsFunction ports, QObject *parent = nullptr);
    ~SessionRecording() override;

    bool start(const Options &options, QString *error);
    void stop(const QString &reason = QStringLiteral("stopped"));
    // One pass now (the timer's work).
    void poll();
    // One pass: with `final` the still open events go too; `removedKeys` are ports about
    // to go, whose events are written now; with `drain` passes repeat until nothing
    // waits.
    void pollNow(bool final, const QStringList &removedKeys = {}, bool drain = false);
    // Writes what the named ports still hold, before they are closed.
    void drainPorts(const QStringList &keys);
    void addBookmark(const ReplayBookmark &bookmark);

    bool isRecording() const;
    QString currentPath() const;
    qint64 bytesWritten() const { return totalWritten; }
    int part() const { return partNumber; }
    QString portId(const QString &key) const;
    QString errorString() const { return lastError; }
    // Microseconds since the epoch; the system clock unless a test sets another.
    void setClock(std::function<qint64()> clock);
    void setAppVersion(const QString &version) { appVersion = version; }

    static QString partPath(const QString &base, int part);
    static QStringList existingParts(const QString &base);

signals:
    void progressed();
    void stateChanged();
    void failed(const QString &message);

private:
    bool openFile(const QString &path, bool exclusive, QString *error);
    bool beginPart(int part, const QString &previous, QString *error);
    void rotate(qint64 t);
    void fail(const QString &message);
    void finishQuietly(const QString &reason);
    bool writeEnd(const QString &reason, const QString &next);
    Tracked *track(const Port &port);
    qint64 now() const;

    PortsFunction portsFunction;
    std::function<qint64()> clock;
    QTimer *timer = nullptr;
    std::unique_ptr<QFile> file;
    std::unique_ptr<VlmlogWriter> writer;
    Options options;
    QList<Tracked> tracked;
    QList<ReplayBookmark> pendingBookmarks;
    QString appVersion;
    QString lastError;
    qint64 lastT = 0;
    qint64 totalWritten = 0;
    int partNumber = 0;
    int nextId = 1;
};
