#pragma once

// A port's session history as files for people and programs: plain text, CSV for
// spreadsheets (UTF-8 with a byte order mark, CR LF rows, a formula guard on every text
// cell) and JSON Lines for scripts and replay. It also owns the JSON forms a recording
// writes, and the forms a selection is copied in: hex, a hex dump and a C array.
//
// Events of several ports are merged by time; at equal times a port keeps its own order
// and earlier sources come first. Writers stream through a buffer written out whenever
// it passes 64 KiB, so a large export never holds the whole file in memory.

#include "recording/sessionevent.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QTimeZone>

#include <memory>

class QIODevice;
struct SelectionPiece;

class SessionExport
{
    Q_DECLARE_TR_FUNCTIONS(SessionExport)

public:
    struct PortInfo
    {
        QString id;
        QString label;
        QString mode;
        QString settings;
        QString rxEncoding;
        QString txEncoding;
        QString rxFormat;
        QString txFormat;
        qint64 omitted = 0; // events left out by the exporter's choice
        qint64 dropped = 0; // events the history no longer held

        bool operator==(const PortInfo &) const = default;
    };

    struct Source
    {
        PortInfo info;
        QList<SessionEvent> events;
    };

    struct Options
    {
        QTimeZone timeZone = QTimeZone::systemTimeZone();
        qint64 exportedAtUs = 0;
        QString appVersion;
        int textColumn = 0; // CSV text column: 0 escaped ASCII, 1 decoded with the port's encoding
        int dataAs = 0;     // text rows: 0 hex, 1 escaped text
        bool truncated = false;
        // An export written in slices: later slices leave the header out, and the
        // first one's header counts the whole export when `records` is set.
        bool rowsOnly = false;
        qint64 records = -1;
        qint64 firstUs = 0;
        qint64 lastUs = 0;
    };

    struct CArrayOptions
    {
        QString name;
        QString comment;
        bool includeHeaderLine = false; // #include <stdint.h>
        bool staticStorage = false;
        bool lengthDefine = false; // #define NAME_LEN n
        bool sizeComment = false;  // /* sizeof(name) == n */
        int bytesPerLine = 12;     // 1 .. 64
    };

    enum class Format {
        Text,
        Csv,
        Jsonl,
    };

    // Each returns false at the first failed write of `device`; what was written stays.
    static bool writeText(QIODevice *device, const QList<Source> &sources, const Options &options);
    static bool writeCsv(QIODevice *device, const QList<Source> &sources, const Options &options);
    static bool writeJsonl(QIODevice *device, const QList<Source> &sources, const Options &options);
    static QByteArray toText(const QList<Source> &sources, const Options &options);
    static QByteArray toCsv(const QList<Source> &sources, const Options &options);
    static QByteArray toJsonl(const QList<Source> &sources, const Options &options);

    // The JSON forms, UTF-8, without a line end.
    static QByteArray jsonlEvent(const SessionEvent &event, const QString &portId);
    static QByteArray portJson(const PortInfo &info, qint64 omitted, qint64 dropped);
    static QByteArray headerJson(const QList<PortInfo> &ports, const Options &options);
    // `text` as a JSON string with its quotes, exactly as QJsonDocument writes it.
    static QByteArray jsonString(const QString &text);

    // Upper-case hex pairs, with nothing or one blank between.
    static QByteArray hexCompact(QByteArrayView bytes);
    static QByteArray hexSpaced(QByteArrayView bytes);
    // "yyyy-MM-dd HH:mm:ss.zzz" in `zone`, the microseconds floored to milliseconds.
    static QString formatTime(qint64 us, const QTimeZone &zone);
    // CR, LF, tab and backslash as "\r", "\n", "\t", "\\"; bytes 32-126 as they are; all
    // others as "\xHH".
    static QString escapeText(QByteArrayView bytes);
    static QString toHexDump(QByteArrayView bytes, qint64 startOffset = 0);
    // With `neutralize`, a leading tab, "+", "-", "=" or "@" gets a "'" in front so that a
    // spreadsheet does not run it; a text with a comma, quote, CR or LF is quoted.
    static QString csvField(const QString &text, bool neutralize);
    // A C identifier for `text`: other characters become "_", a leading digit gets "n_",
    // nothing left gives "vlm_data".
    static QString cIdentifier(const QString &text);
    static QString toCArray(QByteArrayView bytes, const CArrayOptions &options);
    // One line that says what a selection holds: its size, directions and times.
    static QString selectionComment(const QList<SelectionPiece> &pieces, const QString &source,
                                    const QTimeZone &zone);
};
