#pragma once

// Names for received files. A name offered by a device is only a wish: it may carry
// folders, drive letters, control characters or a device name of Windows, and none of
// that may decide where a file lands.

#include <QString>

class QDateTime;

// The last part of `name` made safe to create in a chosen folder: folders, drive and
// stream parts, control and reserved characters removed, blanks and trailing dots
// trimmed, Windows device names prefixed with "_", at most 255 UTF-8 bytes. An empty
// result becomes "received_<yyyyMMdd-hhmmss>.bin" of `now`.
QString xferSafeFileName(const QString &name, const QDateTime &now);

// `name` in `folder` if nothing of that name exists (a dangling link counts), else the
// first free "stem (N).suffix" for N from 2 to 10000; empty when all are taken.
QString xferUniquePath(const QString &folder, const QString &name);

// `text` cut to at most `maxBytes` bytes of UTF-8, at a character boundary.
QString xferCutUtf8(const QString &text, qsizetype maxBytes);
