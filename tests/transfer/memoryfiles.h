#pragma once

// File ends in memory for driving XmodemCodec without a disk, with switches to make
// each of their operations fail.

#include "transfer/xfersource.h"

class MemorySource : public XferSource
{
public:
    explicit MemorySource(QByteArray bytes) : data(std::move(bytes)) {}
    qint64 size() const override { return data.size(); }
    QByteArray read(qint64 offset, qint64 length) override
    {
        return failRead ? QByteArray() : data.mid(offset, length);
    }
    bool hasError() const override { return failRead; }
    bool stillIntact() const override { return intact; }

    QByteArray data;
    bool failRead = false;
    bool intact = true;
};

class MemorySink : public XferSink
{
public:
    bool open(const XferFileMeta &m) override
    {
        meta = m;
        opened = !failOpen;
        return opened;
    }
    bool write(const QByteArray &bytes) override
    {
        if (!opened || failWrite) {
            return false;
        }
        data += bytes;
        return true;
    }
    bool commit(qint64 size) override
    {
        committedSize = size;
        committed = !failCommit;
        return committed;
    }

    XferFileMeta meta;
    QByteArray data;
    qint64 committedSize = -2;
    bool opened = false;
    bool committed = false;
    bool failOpen = false;
    bool failWrite = false;
    bool failCommit = false;
};
