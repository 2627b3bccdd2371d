#include "recording/replaybookmarks.h"

#include <QSet>

#include <algorithm>

bool ReplayBookmarks::lessThan(const ReplayBookmark &a, const ReplayBookmark &b)
{
    return a.t != b.t ? a.t < b.t : a.id < b.id;
}

QList<ReplayBookmark> ReplayBookmarks::normalized(const QList<ReplayBookmark> &list)
{
    QList<ReplayBookmark> out;
    out.reserve(list.size());
    for (const ReplayBookmark &bookmark : list) {
        if (bookmark.t >= 0) {
            out.append(bookmark);
        }
    }
    std::stable_sort(out.begin(), out.end(), lessThan);
    QSet<QString> seen;
    for (const ReplayBookmark &bookmark : out) {
        seen.insert(bookmark.id);
    }
    QSet<QString> used;
    int counter = 1;
    for (ReplayBookmark &bookmark : out) {
        if (bookmark.id.isEmpty() || used.contains(bookmark.id)) {
            QString id;
            do {
                id = QStringLiteral("b%1").arg(counter++);
            } while (seen.contains(id));
            seen.insert(id);
            bookmark.id = id;
        }
        used.insert(bookmark.id);
    }
    return out;
}

QString ReplayBookmarks::freeId() const
{
    for (int n = 1;; ++n) {
        const QString id = QStringLiteral("b%1").arg(n);
        if (indexOf(id) < 0) {
            return id;
        }
    }
}

ReplayBookmark ReplayBookmarks::add(qint64 t, const QString &port, const QString &name,
                                    const QString &note)
{
    const ReplayBookmark bookmark{t, freeId(), port, name, note};
    items.insert(std::upper_bound(items.begin(), items.end(), bookmark, lessThan), bookmark);
    modified = true;
    return bookmark;
}

bool ReplayBookmarks::update(const QString &id, const QString &name, const QString &note)
{
    const int at = indexOf(id);
    if (at < 0) {
        return false;
    }
    items[at].name = name;
    items[at].note = note;
    modified = true;
    return true;
}

bool ReplayBookmarks::remove(const QString &id)
{
    const int at = indexOf(id);
    if (at < 0) {
        return false;
    }
    items.removeAt(at);
    modified = true;
    return true;
}

void ReplayBookmarks::reset(const QList<ReplayBookmark> &list)
{
    items = normalized(list);
    modified = false;
}

bool ReplayBookmarks::matches(const ReplayBookmark &bookmark, const QString &port) const
{
    return port.isEmpty() || bookmark.port.isEmpty() || bookmark.port == port;
}

const ReplayBookmark *ReplayBookmarks::next(qint64 t, const QString &port) const
{
    for (const ReplayBookmark &bookmark : items) {
        if (bookmark.t > t && matches(bookmark, port)) {
            return &bookmark;
        }
    }
    return nullptr;
}

const ReplayBookmark *ReplayBookmarks::previous(qint64 t, const QString &port) const
{
    for (auto it = items.crbegin(); it != items.crend(); ++it) {
        if (it->t < t && matches(*it, port)) {
            return &*it;
        }
    }
    return nullptr;
}

int ReplayBookmarks::indexOf(const QString &id) const
{
    for (int i = 0; i < items.size(); ++i) {
        if (items[i].id == id) {
            return i;
        }
    }
    return -1;
}
