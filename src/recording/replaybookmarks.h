#pragma once

// The bookmarks of a replay, kept in time order (then by id). Ids are "b1", "b2", ...;
// an entry read with no id or a repeated one gets a fresh one.

#include "recording/replaybookmark.h"

#include <QList>

class ReplayBookmarks
{
public:
    const QList<ReplayBookmark> &list() const { return items; }
    bool isModified() const { return modified; }
    void setModified(bool on) { modified = on; }

    ReplayBookmark add(qint64 t, const QString &port, const QString &name, const QString &note);
    bool update(const QString &id, const QString &name, const QString &note);
    bool remove(const QString &id);
    // Replaces the list (normalised) and clears the modified flag.
    void reset(const QList<ReplayBookmark> &list);
    // The first after `t` / the last before `t`, among those of `port` or of all ports;
    // nullptr when there is none.
    const ReplayBookmark *next(qint64 t, const QString &port = {}) const;
    const ReplayBookmark *previous(qint64 t, const QString &port = {}) const;
    int indexOf(const QString &id) const;

    static QList<ReplayBookmark> normalized(const QList<ReplayBookmark> &list);
    static bool lessThan(const ReplayBookmark &a, const ReplayBookmark &b);

private:
    QString freeId() const;
    bool matches(const ReplayBookmark &bookmark, const QString &port) const;

    QList<ReplayBookmark> items;
    bool modified = false;
};
