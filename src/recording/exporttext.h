#pragma once

// The byte-level pieces the session export writers are built from. They append ASCII
// (or UTF-8) to a buffer without going through QString, since an export of a large
// history writes millions of them.

#include "recording/sessionevent.h"

#include <QByteArray>
#include <QTimeZone>

namespace ExportText {

// Upper-case hex pairs, with one blank between when `spaced`.
void appendHex(QByteArray &out, QByteArrayView bytes, bool spaced);
// CR, LF, tab and backslash escaped; 32-126 as they are; others "\xHH".
void appendEscaped(QByteArray &out, QByteArrayView bytes);
// A CSV cell of ASCII text, with the formula guard when `neutralize`.
void appendCsvAscii(QByteArray &out, QByteArrayView text, bool neutralize);
// One event line of JSON Lines, without its line end; `portJson` and `peerJson` are
// JSON strings (the peer empty for none).
void appendEventJson(QByteArray &out, const SessionEvent &event, const QByteArray &portJson,
                     const QByteArray &peerJson);

// "yyyy-MM-dd HH:mm:ss.zzz" in a zone. The text up to the second is kept, so the
// events of one second cost a zone conversion once.
class TimeFormatter
{
public:
    explicit TimeFormatter(const QTimeZone &zone);
    void append(QByteArray &out, qint64 us);

private:
    QTimeZone zone;
    qint64 second = 0;
    bool cached = false;
    QByteArray prefix;
};

} // namespace ExportText
