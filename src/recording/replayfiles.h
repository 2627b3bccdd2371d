#pragma once

// File names of recordings: the parts a long recording is split into, and whether two
// paths name one file.

#include <QString>
#include <QStringList>

namespace ReplayFiles {

// Two paths name one file (canonical paths; case-insensitive on Windows).
bool samePath(const QString &a, const QString &b);
// "<base>-part<n>.<suffix>" beside `base`, or "<base>-part<n>" for a name with no suffix.
QString partPath(const QString &base, int part);
// The files beside `base` that are parts of it ("<base>-part<digits>.<suffix>").
QStringList existingParts(const QString &base);
// The part that a recording's end line or header names ("next" or "previous"), in the
// folder of `current`; empty when the name is empty or the file is not there.
QString linkedPart(const QString &current, const QString &name);

} // namespace ReplayFiles
