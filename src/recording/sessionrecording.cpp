#include "recording/sessionrecording.h"

#include "recording/recordingplan.h"
#include "recording/replayfiles.h"
#include "recording/sessionrecorder.h"
#include "recording/vlmlogwriter.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimeZone>
#include <QTimer>

SessionRecording::SessionRecording(PortsFunction ports, QObject *parent)
    : QObject(parent)
    , portsFunction(std::move(ports))
    , timer(new QTimer(this))
{
    timer->setInterval(PollMs);
    connect(timer, &QTimer::timeout, this, &SessionRecording::poll);
}

SessionRecording::~SessionRecording()
{
    if (isRecording()) {
        finishQuietly(QStringLiteral("closed"));
    }
}

void SessionRecording::setClock(std::function<qint64()> c)
{
    clock = std::move(c);
}

qint64 SessionRecording::now() const
{
    return clock ? clock() : QDateTime::currentMSecsSinceEpoch() * 1000;
}

bool SessionRecording::isRecording() const
{
    return file && file->isOpen();
}

QString SessionRecording::currentPath() const
{
    return file ? file->fileName() : QString();
}

QString SessionRecording::partPath(const QString &base, int part)
{
    return ReplayFiles::partPath(base, part);
}

QStringList SessionRecording::existingParts(const QString &base)
{
    return ReplayFiles::existingParts(base);
}

QString SessionRecording::portId(const QString &key) const
{
    for (const Tracked &t : tracked) {
        if (t.key == key) {
            return t.id;
        }
    }
    return {};
}

SessionRecording::Tracked *SessionRecording::track(const Port &port)
{
    Tracked entry;
    entry.key = port.key;
    entry.id = QStringLiteral("p%1").arg(nextId++);
    entry.info = port.info;
    entry.info.id = entry.id;
    entry.lastSeq = port.recorder ? port.recorder->latestSeq() : 0;
    tracked.append(entry);
    return &tracked.last();
}

bool SessionRecording::start(const Options &opts, QString *error)
{
    if (isRecording()) {
        if (error) {
            *error = tr("A recording is already running.");
        }
        return false;
    }
    options = opts;
    tracked.clear();
    pendingBookmarks.clear();
    lastError.clear();
    nextId = 1;
    lastT = 0;
    totalWritten = 0;
    const QList<Port> ports = portsFunction ? portsFunction() : QList<Port>();
    for (const Port &port : ports) {
        Tracked *entry = track(port);
        if (options.includeHeld && port.recorder) {
            entry->lastSeq = port.recorder->firstRetainedSeq() - 1;
        }
        entry->announced = true; // the header names it
    }
    const QString folder = QFileInfo(options.path).absolutePath();
    if (!QDir().mkpath(folder)) {
        if (error) {
            *error = tr("Could not create the folder %1.").arg(QDir::toNativeSeparators(folder));
        }
        return false;
    }
    if (!openFile(options.path, false, error) || !beginPart(1, QString(), error)) {
        file.reset();
        return false;
    }
    timer->start();
    emit stateChanged();
    return true;
}

bool SessionRecording::openFile(const QString &path, bool exclusive, QString *error)
{
    auto next = std::make_unique<QFile>(path);
    const QIODevice::OpenMode mode = exclusive
                                         ? QIODevice::WriteOnly | QIODevice::NewOnly
                                         : QIODevice::WriteOnly | QIODevice::Truncate;
    if (!next->open(mode)) {
        if (error) {
            *error = exclusive && QFileInfo::exists(path)
                         ? tr("Could not start the next part: %1 already exists.")
                               .arg(QDir::toNativeSeparators(path))
                         : tr("Could not write %1: %2")
                               .arg(QDir::toNativeSeparators(path), next->errorString());
        }
        return false;
    }
    file = std::move(next);
    if (writer) {
        writer->setDevice(file.get());
    } else {
        writer = std::make_unique<VlmlogWriter>(file.get());
    }
    return true;
}

bool SessionRecording::beginPart(int part, const QString &previous, QString *error)
{
    Vlmlog::RecordingHeader header;
    for (const Tracked &t : tracked) {
        if (t.present) {
            header.ports.append(t.info);
        }
    }
    header.appVersion = appVersion.isEmpty() ? QCoreApplication::applicationVersion() : appVersion;
    header.timeZone = QString::fromUtf8(QTimeZone::systemTimeZoneId());
    header.previous = previous;
    header.startedAt = now();
    header.part = part;
    writer->header(header);
    const qint64 before = writer->buffered();
    if (!writer->flush()) {
        if (error) {
            *error = tr("Could not write %1: %2")
                         .arg(QDir::toNativeSeparators(file->fileName()), file->errorString());
        }
        return false;
    }
    totalWritten += before;
    partNumber = part;
    writer->resetWritten();
    return true;
}

void SessionRecording::poll()
{
    pollNow(false);
}

void SessionRecording::drainPorts(const QStringList &keys)
{
    pollNow(true, keys, true);
}

void SessionRecording::addBookmark(const ReplayBookmark &bookmark)
{
    pendingBookmarks.append(bookmark);
}

void SessionRecording::pollNow(bool final, const QStringList &removedKeys, bool drain)
{
    if (!isRecording()) {
        return;
    }
    if (!QFileInfo::exists(file->fileName())) {
        fail(tr("%1 is gone: it was deleted or moved while it was being recorded.")
                 .arg(QDir::toNativeSeparators(file->fileName())));
        return;
    }
    const qint64 t = now();
    bool busy = true;
    bool wrote = false;
    while (busy) {
        const QList<Port> ports = portsFunction ? portsFunction() : QList<Port>();
        QList<RecordingPlan::PortState> states;
        for (Tracked &entry : tracked) {
            entry.present = false;
        }
        for (const Port &port : ports) {
            Tracked *entry = nullptr;
            for (Tracked &candidate : tracked) {
                if (candidate.key == port.key) {
                    entry = &candidate;
                }
            }
            if (!entry) {
                entry = track(port);
                entry->lastSeq = port.recorder ? port.recorder->firstRetainedSeq() - 1 : 0;
            }
            SessionExport::PortInfo info = port.info;
            info.id = entry->id;
            if (!entry->announced || !(info == entry->info)) {
                // A new port, or one whose name or settings changed.
                entry->info = info;
                entry->announced = true;
                writer->port(info, std::max(t, lastT));
            }
            entry->present = true;
            states.append({entry->id, port.recorder, entry->lastSeq});
        }
        const QList<RecordingPlan::Item> items = RecordingPlan::collect(
            states, pendingBookmarks, t, final, PassBytes, &busy);
        pendingBookmarks.clear();
        for (const RecordingPlan::Item &item : items) {
            writer->item(item, item.portId);
            lastT = std::max(lastT, item.event.t);
            if (item.seq < 0) {
                continue;
            }
            for (Tracked &entry : tracked) {
                if (entry.id == item.portId) {
                    entry.lastSeq = std::max<quint64>(entry.lastSeq, quint64(item.seq));
                }
            }
        }
        // A port no longer reported gets its note once, after its last events.
        for (Tracked &entry : tracked) {
            const bool leaving = !entry.present || removedKeys.contains(entry.key);
            if (leaving && !entry.removalNoted && !busy) {
                // Timed at the last written event, so that the file stays in time order
                // when the window's clock runs ahead of the histories.
                writer->note(entry.id, tr("Port removed from the window"), lastT > 0 ? lastT : t);
                entry.removalNoted = true;
            } else if (entry.present && !removedKeys.contains(entry.key)) {
                entry.removalNoted = false;
            }
        }
        if (writer->buffered() > 0) {
            const qint64 size = writer->buffered();
            if (!writer->flush()) {
                fail(tr("Could not write %1: %2")
                         .arg(QDir::toNativeSeparators(file->fileName()), file->errorString()));
                return;
            }
            file->flush();
            totalWritten += size;
            wrote = true;
        }
        if (options.partBytes > 0 && writer->written() >= options.partBytes) {
            rotate(std::max(t, lastT));
            if (!isRecording()) {
                return;
            }
        }
        if (!drain) {
            break;
        }
    }
    if (wrote) {
        emit progressed();
    }
}

bool SessionRecording::writeEnd(const QString &reason, const QString &next)
{
    writer->end(std::max(now(), lastT), reason, next);
    const qint64 size = writer->buffered();
    const bool ok = writer->flush() && file->flush();
    if (ok) {
        totalWritten += size;
    }
    return ok;
}

void SessionRecording::rotate(qint64 t)
{
    Q_UNUSED(t)
    const QString oldPath = file->fileName();
    const QString nextPath = partPath(options.path, partNumber + 1);
    auto oldFile = std::move(file);
    QString error;
    if (!openFile(nextPath, true, &error)) {
        file = std::move(oldFile);
        writer->setDevice(file.get());
        writeEnd(QStringLiteral("error"), QString());
        fail(error);
        return;
    }
    auto newFile = std::move(file);
    file = std::move(oldFile);
    writer->setDevice(file.get());
    const bool ended = writeEnd(QStringLiteral("rotated"), QFileInfo(nextPath).fileName());
    file->close();
    file = std::move(newFile);
    writer->setDevice(file.get());
    if (!ended) {
        fail(tr("Could not write %1: %2").arg(QDir::toNativeSeparators(oldPath), tr("write failed")));
        return;
    }
    if (!beginPart(partNumber + 1, QFileInfo(oldPath).fileName(), &error)) {
        fail(error);
    }
}

void SessionRecording::stop(const QString &reason)
{
    if (!isRecording()) {
        return;
    }
    pollNow(true, {}, true);
    if (!isRecording()) {
        return; // the pass failed and said so
    }
    const bool ok = writeEnd(reason, QString());
    const QString path = file->fileName();
    const QString error = file->errorString();
    file->close();
    file.reset();
    timer->stop();
    if (!ok) {
        lastError = tr("Could not write %1: %2").arg(QDir::toNativeSeparators(path), error);
        emit failed(lastError);
    }
    emit stateChanged();
}

void SessionRecording::finishQuietly(const QString &reason)
{
    const QSignalBlocker blocker(this);
    stop(reason);
}

void SessionRecording::fail(const QString &message)
{
    if (file) {
        file->close();
        file.reset();
    }
    timer->stop();
    lastError = message;
    emit failed(message);
    emit stateChanged();
}
