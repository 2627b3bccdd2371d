#pragma once

// The two file ends of a transfer as the engine sees them. The engine never touches a
// file itself: it reads from an XferSource when sending and writes to an XferSink when
// receiving, and learns of failures from their return values.

#include "transfer/xferstep.h"

class XferSource
{
public:
    virtual ~XferSource() = default;
    virtual qint64 size() const = 0;
    // Up to `length` bytes from `offset`; fewer at the end, none on failure.
    virtual QByteArray read(qint64 offset, qint64 length) = 0;
    virtual bool hasError() const = 0;
    // False once the file on disk no longer has the size and time it had when opened.
    virtual bool stillIntact() const = 0;
};

class XferSink
{
public:
    virtual ~XferSink() = default;
    virtual bool open(const XferFileMeta &meta) = 0;
    virtual bool write(const QByteArray &bytes) = 0;
    // Makes the received file final; `size` is the announced size, -1 when unknown.
    virtual bool commit(qint64 size) = 0;
};
