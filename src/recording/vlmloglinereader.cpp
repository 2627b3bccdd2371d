#include "recording/vlmloglinereader.h"

#include <QIODevice>

#include <cstring>

namespace Vlmlog {

LineReader::LineReader(QIODevice *device, qint64 maxLine)
    : device(device)
    , maxLine(std::max<qint64>(maxLine, 1))
{
    bufferOffset = device ? device->pos() : 0;
}

bool LineReader::seek(qint64 offset)
{
    buffer.clear();
    pos = 0;
    scanned = 0;
    skipping = false;
    atEnd = false;
    bufferOffset = offset;
    if (!device || !device->seek(offset)) {
        error = device ? device->errorString() : QStringLiteral("no device");
        if (error.isEmpty()) {
            error = QStringLiteral("seek failed");
        }
        return false;
    }
    error.clear();
    return true;
}

bool LineReader::fill()
{
    // What lies before the read position was handed out already; keep only the rest.
    if (pos > 0) {
        buffer.remove(0, pos);
        bufferOffset += pos;
        pos = 0;
    }
    const qsizetype old = buffer.size();
    buffer.resize(old + BlockSize);
    const qint64 got = device->read(buffer.data() + old, BlockSize);
    if (got < 0) {
        buffer.resize(old);
        error = device->errorString();
        if (error.isEmpty()) {
            error = QStringLiteral("read failed");
        }
        return false;
    }
    buffer.resize(old + got);
    if (got == 0) {
        atEnd = true;
        return false;
    }
    return true;
}

bool LineReader::next(Line *line)
{
    if (failed() || !device) {
        return false;
    }
    for (;;) {
        const qsizetype from = pos + scanned;
        const char *found = static_cast<const char *>(
            std::memchr(buffer.constData() + from, '\n', size_t(buffer.size() - from)));
        if (found) {
            const qsizetype lf = found - buffer.constData();
            line->terminated = true;
            if (skipping) {
                line->offset = skipStart;
                line->length = bufferOffset + lf - skipStart;
                line->oversized = true;
                line->bytes = {};
                skipping = false;
            } else {
                line->offset = bufferOffset + pos;
                line->length = lf - pos;
                line->oversized = line->length > maxLine;
                line->bytes = line->oversized
                                  ? QByteArrayView()
                                  : QByteArrayView(buffer.constData() + pos, lf - pos);
            }
            pos = lf + 1;
            scanned = 0;
            return true;
        }
        scanned = buffer.size() - pos;
        if (!skipping && scanned > maxLine) {
            skipping = true;
            skipStart = bufferOffset + pos;
        }
        if (skipping) {
            // Only the start of a line that is too long is kept.
            bufferOffset += buffer.size();
            buffer.clear();
            pos = 0;
            scanned = 0;
        }
        if (atEnd || !fill()) {
            if (failed()) {
                return false;
            }
            line->terminated = false;
            if (skipping) {
                line->offset = skipStart;
                line->length = bufferOffset + buffer.size() - skipStart;
                line->oversized = true;
                line->bytes = {};
                skipping = false;
            } else if (pos < buffer.size()) {
                line->offset = bufferOffset + pos;
                line->length = buffer.size() - pos;
                line->oversized = line->length > maxLine;
                line->bytes = line->oversized
                                  ? QByteArrayView()
                                  : QByteArrayView(buffer.constData() + pos, buffer.size() - pos);
            } else {
                return false;
            }
            pos = buffer.size();
            scanned = 0;
            return true;
        }
    }
}

} // namespace Vlmlog
