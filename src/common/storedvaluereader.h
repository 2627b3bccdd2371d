#pragma once

// Tolerant reads of stored settings values. A stored value may come back as the type
// it was written with (while the QSettings cache holds it), as text (an ini file read
// from disk) or as a list (an ini value with commas). Every function here accepts all
// three and never refuses: an absent key or a value that does not parse gives the
// caller's default, and numbers are clamped into the caller's range.

#include <QList>
#include <QString>
#include <QStringList>
#include <QTime>

class QSettings;

// Turns any accepted spelling of a text encoding into its canonical name; unknown
// names give the default encoding. The registry of wire encodings provides one.
using EncodingNormalizer = QString (*)(const QString &name);

class StoredValueReader
{
public:
    // While one exists, the reads of its thread note the key of every stored value that
    // they could not take as it stood (a number out of range, a word that is no choice,
    // text that does not parse), so that the caller can say what was replaced. A key that
    // is absent, or holds the caller's default, is no replacement. Logs nest; the
    // innermost one takes the notes.
    class ReplacementLog
    {
    public:
        ReplacementLog();
        ~ReplacementLog();
        Q_DISABLE_COPY_MOVE(ReplacementLog)
        // The keys in the order they were read, each once.
        QStringList keys() const { return noted; }

    private:
        friend class StoredValueReader;
        QStringList noted;
        ReplacementLog *outer = nullptr;
    };

    // "UTF-8": the encoding of a port when nothing else is known.
    static QString defaultEncoding();

    // An integer: absent or unparsable gives `fallback`; the result lies in min..max.
    static qint32 readInt(const QSettings &settings, const QString &key, qint32 fallback,
                          qint32 min, qint32 max);
    // An integer that must be one of `allowed`; anything else gives `fallback`.
    static qint32 readChoice(const QSettings &settings, const QString &key, qint32 fallback,
                             const QList<qint32> &allowed);
    // "true"/"false" or "1"/"0" in any case and spacing; anything else gives `fallback`.
    static bool readBool(const QSettings &settings, const QString &key, bool fallback);
    // Text as stored; a value the ini reader split at commas is joined again with ", ".
    static QString readString(const QSettings &settings, const QString &key,
                              const QString &fallback);
    // A list; a single stored text is a list of one.
    static QStringList readStringList(const QSettings &settings, const QString &key,
                                      const QStringList &fallback);
    // A time of day stored as a time or as ISO text ("08:30", "08:30:00.250").
    static QTime readTime(const QSettings &settings, const QString &key, const QTime &fallback);
    // A colour "#rrggbb" (any case, surrounding blanks ignored), returned in lower case.
    static QString readColor(const QSettings &settings, const QString &key,
                             const QString &fallback);
    // An encoding name passed through `normalize`; without one, the trimmed name, and
    // a blank name gives `fallback`.
    static QString readEncoding(const QSettings &settings, const QString &key,
                                const QString &fallback, EncodingNormalizer normalize);

    // Hosts as the host history keeps them: trimmed, blanks dropped, a repeated host
    // kept at its last place.
    static QStringList cleanHostList(const QStringList &hosts);
    static bool isColor(const QString &text);

private:
    static void noteReplaced(const QString &key);
};
